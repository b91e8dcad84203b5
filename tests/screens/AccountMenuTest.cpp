#include "WindowFixture.h"

#include "core/AlpacaKeys.h"
#include "screens/AccountHeader.h"
#include "screens/AccountMenuButton.h"
#include "screens/AlpacaAccountDialog.h"

#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QSignalSpy>

namespace tavix::test {
namespace {

AlpacaProfile profile(const char* slot, std::optional<QString> number, std::optional<QString> name) {
    AlpacaProfile made;
    made.slot = QString::fromLatin1(slot);
    made.number = std::move(number);
    made.name = std::move(name);
    return made;
}

class AccountMenuTest : public WindowFixture {
protected:
    QMenu* menu() const { return window->header()->accountMenu()->menu(); }

    // The menu as the user reads it: each entry's text, a check mark for the one in use.
    QStringList entries() const {
        QStringList texts;
        for (QAction* action : menu()->actions()) {
            if (action->isSeparator()) {
                texts << QStringLiteral("---");
            } else {
                texts << (action->isChecked() ? QStringLiteral("✓ ") : QString()) + action->text();
            }
        }
        return texts;
    }

    QAction* entry(const QString& text) const {
        for (QAction* action : menu()->actions()) {
            if (action->text() == text) return action;
        }
        return nullptr;
    }

    AlpacaAccountDialog* form() const { return window->alpacaForm(); }
    QLineEdit* field(const char* name) const {
        return form()->findChild<QLineEdit*>(QString::fromLatin1(name));
    }
    QPushButton* button(const QString& text) const {
        for (auto* found : form()->findChildren<QPushButton*>()) {
            if (found->text() == text) return found;
        }
        return nullptr;
    }
    QString formMessage() const {
        auto* label = form()->findChild<QLabel*>(QStringLiteral("alpacaMessage"));
        return label && label->isVisible() ? label->text() : QString();
    }

    void openForm() {
        QAction* add = entry(QStringLiteral("Add Alpaca Paper Account…"));
        ASSERT_NE(add, nullptr);
        add->trigger();
        ASSERT_NE(form(), nullptr);
        ASSERT_TRUE(form()->isVisible());
    }
};

TEST_F(AccountMenuTest, ListsPracticeAndEachProfileAndSwitchesThroughTheModel) {
    FakeAlpaca& fake = fakeAlpaca();
    Session::setAlpacaProfiles({profile("alpaca", QStringLiteral("PA1111"), QStringLiteral("Swing")),
                                profile("alpaca-2", QStringLiteral("PA2222"), std::nullopt),
                                profile("alpaca-3", std::nullopt, QStringLiteral("   "))});
    await(AlpacaKeys::save(&keychain, QStringLiteral("alpaca-2"), fake.credentials()));
    openStarted();

    const QStringList expected{QStringLiteral("✓ Practice"),
                               QStringLiteral("Swing"),
                               QStringLiteral("PA2222"),
                               QStringLiteral("Alpaca paper"),
                               QStringLiteral("---"),
                               QStringLiteral("Add Alpaca Paper Account…"),
                               QStringLiteral("Forget Alpaca Account")};
    EXPECT_TRUE(eventually([&] { return entries() == expected; })) << entries().join(u'|').toStdString();

    QSignalSpy ended(window->header()->accountMenu(), &AccountMenuButton::switchEnded);
    entry(QStringLiteral("PA2222"))->trigger();
    ASSERT_TRUE(eventually([&] { return ended.size() == 1; }));
    ASSERT_TRUE(model->account().has_value());
    EXPECT_EQ(model->broker()->id(), BrokerID::alpaca());
    EXPECT_EQ(Session::broker(), BrokerID::alpaca());
    EXPECT_EQ(Session::alpacaSlot(), QStringLiteral("alpaca-2"));
    // The profile takes the number Alpaca showed for the account.
    const QString number = model->account()->displayNumber;
    EXPECT_TRUE(eventually([&] { return entries().value(2) == QStringLiteral("✓ ") + number; }))
        << entries().join(u'|').toStdString();
    EXPECT_FALSE(entries().value(0).startsWith(QStringLiteral("✓")));
    EXPECT_EQ(text("accountKind"), QStringLiteral("Paper"));
    EXPECT_TRUE(text("accountNumber").startsWith(model->account()->displayNumber));

    entry(QStringLiteral("Practice"))->trigger();
    ASSERT_TRUE(eventually([&] { return ended.size() == 2; }));
    EXPECT_EQ(model->broker()->id(), BrokerID::mock());
    EXPECT_EQ(Session::broker(), BrokerID::mock());
    EXPECT_EQ(text("accountKind"), QStringLiteral("Practice"));
}

TEST_F(AccountMenuTest, TheFormShowsWhyKeysWereRefusedAndForgetsTheSecretOnClosing) {
    openStarted();
    openForm();
    EXPECT_TRUE(model->addingAlpacaAccount());
    EXPECT_EQ(field("alpacaSecret")->echoMode(), QLineEdit::Password);

    // Which keys are refused and why is the model's; the form shows its answer and stays open.
    QTest::keyClicks(field("alpacaKey"), QStringLiteral("AKLIVE0000000000"));
    QTest::keyClicks(field("alpacaSecret"), QStringLiteral("hush"));
    QTest::mouseClick(button(QStringLiteral("Connect")), Qt::LeftButton);
    ASSERT_TRUE(eventually([&] { return !form()->isConnecting(); }));
    EXPECT_EQ(formMessage(), QStringLiteral("That's a live-money key. Tavix only takes paper keys for now. "
                                            "Paper keys start with PK."));
    EXPECT_TRUE(form()->isVisible());
    EXPECT_TRUE(model->alpacaProfiles().empty());

    QTest::mouseClick(button(QStringLiteral("Cancel")), Qt::LeftButton);
    EXPECT_FALSE(form()->isVisible());
    EXPECT_FALSE(model->addingAlpacaAccount());
    EXPECT_TRUE(field("alpacaSecret")->text().isEmpty());
    EXPECT_TRUE(formMessage().isEmpty());
}

TEST_F(AccountMenuTest, AcceptedKeysCloseTheFormAndTheAccountIsInUse) {
    FakeAlpaca& fake = fakeAlpaca();
    openStarted();
    openForm();
    QTest::keyClicks(field("alpacaKey"), fake.key);
    QTest::keyClicks(field("alpacaSecret"), fake.secret);
    QTest::keyClicks(field("alpacaName"), QStringLiteral("Paper play"));
    QTest::mouseClick(button(QStringLiteral("Connect")), Qt::LeftButton);
    ASSERT_TRUE(eventually([&] { return !form()->isConnecting(); }));
    EXPECT_FALSE(form()->isVisible()) << formMessage().toStdString();
    EXPECT_TRUE(field("alpacaSecret")->text().isEmpty());

    ASSERT_EQ(model->alpacaProfiles().size(), 1u);
    EXPECT_EQ(model->alpacaProfiles().front().name, QStringLiteral("Paper play"));
    ASSERT_TRUE(eventually([&] { return entries().value(1) == QStringLiteral("✓ Paper play"); }))
        << entries().join(u'|').toStdString();
    EXPECT_EQ(text("accountKind"), QStringLiteral("Paper"));
    EXPECT_TRUE(text("accountNumber").endsWith(QStringLiteral("Paper play")))
        << text("accountNumber").toStdString();
}

TEST_F(AccountMenuTest, ForgettingAProfileAsksFirst) {
    Session::setAlpacaProfiles({profile("alpaca", QStringLiteral("PA1111"), QStringLiteral("Swing"))});
    openStarted();
    QMenu* forget = entry(QStringLiteral("Forget Alpaca Account"))->menu();
    ASSERT_NE(forget, nullptr);
    ASSERT_EQ(forget->actions().size(), 1);
    EXPECT_EQ(forget->actions().at(0)->text(), QStringLiteral("Swing…"));

    answer = false;
    forget->actions().at(0)->trigger();
    ASSERT_TRUE(eventually([&] { return asked.size() == 1; }));
    EXPECT_EQ(asked[0].text, QStringLiteral("Forget Swing?"));
    EXPECT_EQ(model->alpacaProfiles().size(), 1u);

    answer = true;
    entry(QStringLiteral("Forget Alpaca Account"))->menu()->actions().at(0)->trigger();
    ASSERT_TRUE(eventually([&] { return model->alpacaProfiles().empty(); }));
    EXPECT_EQ(asked.size(), 2u);
    EXPECT_TRUE(eventually([&] { return entry(QStringLiteral("Forget Alpaca Account")) == nullptr; }));
}

}  // namespace
}  // namespace tavix::test
