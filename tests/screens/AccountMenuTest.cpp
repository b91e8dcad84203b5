#include "WindowFixture.h"

#include "core/AlpacaKeys.h"
#include "screens/AccountHeader.h"
#include "screens/AccountMenuButton.h"

#include <QMenu>
#include <QSignalSpy>

namespace tavix::test {
namespace {

AlpacaProfile profile(const char* slot, std::optional<QString> number, std::optional<QString> name) {
    return {.slot = QString::fromLatin1(slot), .number = std::move(number), .name = std::move(name)};
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

}  // namespace
}  // namespace tavix::test
