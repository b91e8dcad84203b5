#include "AppModelFixture.h"

namespace tavix::test {
namespace {

const QString keepWorking =
    QStringLiteral("\n\nYour get-out prices and orders already at your broker keep working.");

class AppModelWarningsTest : public AppModelFixture {
protected:
    void SetUp() override {
        AppModelFixture::SetUp();
        makeModel();
        await(model->attach(BrokerID::mock()));
        ASSERT_TRUE(model->account());
        here = model->account()->id;
    }

    Json contract(const char* symbol, const QString& account) const {
        return record(account,
                      {{"contract", Json(symbol)}, {"expiry", Json((pacer.now() + 30 * 86'400).toIso())}});
    }
    Json bounce(const char* symbol, const char* phase) const {
        return record(here, {{"plan", Json::parse(std::string(R"({"symbol":")") + symbol + R"("})")},
                             {"phase", Json::parse(std::string(R"({")") + phase + R"(":{}})")}});
    }
    Json ride(const char* symbol, const QString& account) const {
        return record(account, {{"symbol", Json(symbol)}});
    }

    QString here;
};

TEST_F(AppModelWarningsTest, QuittingWarnsOfEachKindOfWatchInOneSentence) {
    AppModel& m = *model;
    EXPECT_EQ(m.quitWarning(), std::nullopt);
    m.setBounces({bounce("AAPL", "ended")});
    EXPECT_EQ(m.quitWarning(), std::nullopt) << "an ended bounce is not looked after";

    m.setBounces({bounce("AAPL", "buying"), bounce("TSLA", "holding"), bounce("NVDA", "ended")});
    m.setContractWatches({contract("AAPL271217C00150000", here), contract("MSFT271217P00300000", here),
                          contract("BTC/USD", here)});
    m.setRideWatches({ride("SPY", here)});
    EXPECT_EQ(
        m.quitWarning(),
        QStringLiteral("Your bounces on AAPL and TSLA: no next trade until Tavix is open again.\n"
                       "2 Multiplier trades: Tavix sells at your sell price, and on the last day from 10am "
                       "New York, only while it's open. Still held at the close of its last day, a contract "
                       "can turn into shares.\n"
                       "Your exits on BTC/USD: Tavix sells at your sell price only while it's open.\n"
                       "Your ride on SPY: it starts following only while Tavix is open.") +
            keepWorking);

    m.setBounces({});
    m.setContractWatches({contract("AAPL271217C00150000", here)});
    m.setRideWatches({});
    EXPECT_EQ(
        m.quitWarning(),
        QStringLiteral("A Multiplier trade: Tavix sells at your sell price, and on the last day from 10am "
                       "New York, only while it's open. Still held at the close of its last day, a contract "
                       "can turn into shares.") +
            keepWorking);
}

TEST_F(AppModelWarningsTest, LeavingCountsThisAccountsMultiplierTradesOnly) {
    AppModel& m = *model;
    const QString tail = QStringLiteral(
        ". Their stops stay at the broker, but Tavix only sells on the last day or switches to following "
        "while it's on this account. Come back before the last day.");
    EXPECT_EQ(m.accountLeaving(), std::nullopt);

    m.setContractWatches(
        {contract("AAPL271217C00150000", QStringLiteral("elsewhere")), contract("BTC/USD", here)});
    EXPECT_EQ(m.accountLeaving(), std::nullopt);

    m.setContractWatches({contract("AAPL271217C00150000", here)});
    EXPECT_EQ(m.accountLeaving(), QStringLiteral("This account has a Multiplier trade") + tail);
    m.setContractWatches({contract("AAPL271217C00150000", here), contract("MSFT271217P00300000", here)});
    EXPECT_EQ(m.accountLeaving(), QStringLiteral("This account has 2 Multiplier trades") + tail);
}

TEST_F(AppModelWarningsTest, ComingBackToAnAccountTellsOfWatchesLeftInAnother) {
    AppModel& m = *model;
    m.setContractWatches({contract("AAPL271217C00150000", QStringLiteral("other"))});
    await(m.attach(BrokerID::mock()));
    EXPECT_EQ(m.banner(),
              QStringLiteral("Tavix is looking after a trade in another account. It only watches the "
                             "account it's on, so its last-day sale and exits wait until you switch "
                             "back."));

    m.setRideWatches({ride("SPY", QStringLiteral("other")), ride("QQQ", here)});
    await(m.attach(BrokerID::mock()));
    EXPECT_EQ(m.banner(),
              QStringLiteral("Tavix is looking after 2 trades in another account. It only watches the "
                             "account it's on, so their last-day sale and exits wait until you switch "
                             "back."));

    m.setContractWatches({});
    m.setRideWatches({ride("QQQ", here)});
    await(m.attach(BrokerID::mock()));
    EXPECT_EQ(m.banner(), std::nullopt);
}

}  // namespace
}  // namespace tavix::test
