#include "AppModelFixture.h"

#include "core/AlpacaKeys.h"
#include "core/KeychainWords.h"

namespace tavix::test {
namespace {

const QString accountNumber = QStringLiteral("PA3KDV5RQ8LX");

class AppModelAlpacaTest : public AppModelFixture {
protected:
    void SetUp() override {
        AppModelFixture::SetUp();
        fakeAlpaca();
    }

    int accountReads() const { return alpacaFake->count("GET", QStringLiteral("/v2/account")); }

    std::optional<QString> connect(const QString& key, const QString& secret,
                                   std::optional<QString> replacing = std::nullopt,
                                   std::optional<QString> name = std::nullopt) {
        return await(model->connectAlpaca(key, secret, std::move(replacing), std::move(name)));
    }
};

TEST_F(AppModelAlpacaTest, KeysAreRefusedInOrderSaveNothingAndALiveKeyNeverLeavesTheComputer) {
    AppModel& m = started();
    const QString live = QStringLiteral("AKLIVE123");

    // A running bounce comes before anything about the keys.
    m.setBounces({record(m.account()->id, {{"phase", Json::parse(R"({"buying":{}})")}})});
    EXPECT_EQ(connect(live, QString()),
              QStringLiteral("A bounce is running. Stop it first, so its orders aren't left without Tavix "
                             "watching them."));
    m.setBounces({});

    EXPECT_EQ(connect(live, QStringLiteral("  \n")), QStringLiteral("Paste both the key and the secret."));
    EXPECT_EQ(connect(live, QStringLiteral("secret")),
              QStringLiteral("That's a live-money key. Tavix only takes paper keys for now. Paper keys start "
                             "with PK."));
    EXPECT_TRUE(alpacaFake->requests().empty());

    // A paper key and any other prefix go to Alpaca, which judges them.
    const QString refused = QStringLiteral(
        "Alpaca's paper side didn't accept those. Check they're the paper keys, copied whole.");
    EXPECT_EQ(connect(QStringLiteral("PKWRONG"), QStringLiteral("secret")), refused);
    EXPECT_EQ(accountReads(), 1);
    EXPECT_EQ(connect(QStringLiteral("XYOTHER"), QStringLiteral("secret")), refused);
    EXPECT_EQ(accountReads(), 2);

    // Keys Alpaca takes but the keychain won't store save nothing at all.
    keychain.setFailing(true);
    EXPECT_EQ(connect(alpacaFake->key, alpacaFake->secret),
              QStringLiteral("Alpaca took the keys, but ") + keychainWords().full +
                  QStringLiteral(" wouldn't store them, so nothing was saved. Try again."));
    EXPECT_EQ(Session::broker(), std::nullopt);
    keychain.setFailing(false);

    // Any other trouble is told in its own words.
    alpacaFake->fail(test::FakeAlpaca::on("GET", QStringLiteral("/v2/account")), 500, 50010000,
                     QStringLiteral("internal server error"));
    const std::optional<QString> other = connect(alpacaFake->key, alpacaFake->secret);
    ASSERT_TRUE(other);
    EXPECT_NE(*other, refused);
    EXPECT_TRUE(other->contains(QStringLiteral("internal server error"))) << other->toStdString();
    // An Alpaca that can't be reached at all is named, with what to check, not the network's words.
    alpacaFake->drop(test::FakeAlpaca::on("GET", QStringLiteral("/v2/account")), -1);
    EXPECT_EQ(connect(alpacaFake->key, alpacaFake->secret),
              QStringLiteral("Tavix can't reach Alpaca right now. Check your internet connection; Tavix keeps "
                             "trying on its own."));

    EXPECT_TRUE(m.alpacaProfiles().empty());
    EXPECT_TRUE(keychain.items().empty());
    EXPECT_EQ(m.broker()->id(), BrokerID::mock());
}

TEST_F(AppModelAlpacaTest, GoodKeysAddAProfileWithItsAccountAndTidiedName) {
    AppModel& m = started();
    const QString name = QStringLiteral("Swing trades\nfor the spring 26");
    ASSERT_EQ(name.size(), 30);
    ASSERT_EQ(connect(QStringLiteral(" ") + alpacaFake->key + QStringLiteral(" "), alpacaFake->secret,
                      std::nullopt, name),
              std::nullopt);

    ASSERT_EQ(m.alpacaProfiles().size(), 1u);
    const AlpacaProfile& profile = m.alpacaProfiles().front();
    EXPECT_EQ(profile.slot, QStringLiteral("alpaca"));
    EXPECT_EQ(profile.accountID, accountNumber);
    EXPECT_EQ(profile.number, accountNumber);
    EXPECT_EQ(profile.name, QStringLiteral("Swing trades for the spr"));
    EXPECT_EQ(Session::alpacaProfiles(), m.alpacaProfiles());
    EXPECT_EQ(Session::broker(), BrokerID::alpaca());
    EXPECT_EQ(Session::alpacaSlot(), QStringLiteral("alpaca"));
    EXPECT_EQ(m.broker()->id(), BrokerID::alpaca());
    EXPECT_EQ(m.brokerName(), QStringLiteral("Alpaca"));
    EXPECT_EQ(m.account()->id, accountNumber);

    // A second account takes the next free slot; replacing keeps the slot and its name.
    ASSERT_EQ(connect(alpacaFake->key, alpacaFake->secret), std::nullopt);
    ASSERT_EQ(m.alpacaProfiles().size(), 2u);
    EXPECT_EQ(m.alpacaProfiles().back().slot, QStringLiteral("alpaca-2"));
    ASSERT_EQ(connect(alpacaFake->key, alpacaFake->secret, QStringLiteral("alpaca")), std::nullopt);
    ASSERT_EQ(m.alpacaProfiles().size(), 2u);
    EXPECT_EQ(m.alpacaProfiles().front().name, QStringLiteral("Swing trades for the spr"));
    EXPECT_EQ(m.alpacaSlot(), QStringLiteral("alpaca"));
    EXPECT_EQ(keychain.items().size(), 2u);
}

TEST_F(AppModelAlpacaTest, KeysOutliveARestartAndGoWithTheirProfileOnly) {
    started();
    ASSERT_EQ(connect(alpacaFake->key, alpacaFake->secret), std::nullopt);
    started();
    ASSERT_EQ(model->broker()->id(), BrokerID::alpaca());
    ASSERT_TRUE(model->account());
    EXPECT_EQ(model->account()->id, accountNumber);
    EXPECT_EQ(model->attachedSlot(), QStringLiteral("alpaca"));
    EXPECT_EQ(model->accountKind(), AccountKind::paper);
    EXPECT_FALSE(model->banner());

    // Keys the keychain won't remove keep their profile, or nothing could ever reach them again.
    keychain.setFailing(true);
    await(model->forgetAlpaca(QStringLiteral("alpaca")));
    EXPECT_EQ(model->banner(), QStringLiteral("Tavix couldn't remove that account's keys from ") +
                                   keychainWords().plain +
                                   QStringLiteral(", so it kept the account. Try again."));
    EXPECT_EQ(model->alpacaProfiles().size(), 1u);
    EXPECT_EQ(model->broker()->id(), BrokerID::alpaca());

    // Keys that can't be read at start-up open Practice, and the model keeps working.
    AppModel& m = started();
    EXPECT_EQ(m.broker()->id(), BrokerID::mock());
    EXPECT_EQ(m.banner(), QStringLiteral("Tavix couldn't read your Alpaca keys from ") +
                              keychainWords().plain +
                              QStringLiteral(", so it opened on Practice. Add them again in Settings to use "
                                             "that account."));
    EXPECT_EQ(m.accountKind(), AccountKind::practice);
    ASSERT_TRUE(m.account());
    EXPECT_EQ(Session::broker(), BrokerID::alpaca()) << "the choice stays for when the keys are back";
    pacer.advance(AppModel::accountLoopSeconds);
    EXPECT_EQ(m.accountRound(), 1);
    EXPECT_TRUE(m.isConnected());

    keychain.setFailing(false);
    started();
    ASSERT_EQ(model->broker()->id(), BrokerID::alpaca());
    await(model->forgetAlpaca(QStringLiteral("alpaca")));
    EXPECT_TRUE(model->alpacaProfiles().empty());
    EXPECT_TRUE(Session::alpacaProfiles().empty());
    EXPECT_EQ(model->broker()->id(), BrokerID::mock());
    EXPECT_EQ(Session::broker(), BrokerID::mock());
    EXPECT_EQ(await(AlpacaKeys::saved(&keychain, QStringLiteral("alpaca"))), std::nullopt);
    EXPECT_TRUE(keychain.items().empty());
}

}  // namespace
}  // namespace tavix::test
