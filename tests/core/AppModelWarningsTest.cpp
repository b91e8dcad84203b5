#include "AppModelFixture.h"

namespace tavix::test {
namespace {

const QString keepWorking =
    QStringLiteral("\n\nYour get-out prices and orders already at your broker keep working.");
const QString aapl = QStringLiteral("AAPL271217C00150000"), msft = QStringLiteral("MSFT271217P00300000");

class AppModelWarningsTest : public AppModelFixture {
protected:
    void SetUp() override {
        AppModelFixture::SetUp();
        await(makeModel().attach(BrokerID::mock()));
        ASSERT_TRUE(model->account());
        here = model->account()->id;
    }

    Json contract(const QString& symbol, const QString& account) const {
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

    const QString multiplier = QStringLiteral(
        "Tavix sells at your sell price, and on the last day from 10am New York, only while it's open. Still "
        "held at the close of its last day, a contract can turn into shares.");
    m.setBounces({bounce("AAPL", "buying"), bounce("TSLA", "holding"), bounce("NVDA", "ended")});
    m.setContractWatches(
        {contract(aapl, here), contract(msft, here), contract(QStringLiteral("BTC/USD"), here)});
    m.setRideWatches({ride("SPY", here)});
    EXPECT_EQ(m.quitWarning(),
              QStringLiteral("Your bounces on AAPL and TSLA: no next trade until Tavix is open "
                             "again.\n2 Multiplier trades: ") +
                  multiplier +
                  QStringLiteral("\nYour exits on BTC/USD: Tavix sells at your sell price only "
                                 "while it's open.\nYour ride on SPY: it starts following only "
                                 "while Tavix is open.") +
                  keepWorking);

    m.setBounces({});
    m.setContractWatches({contract(aapl, here)});
    m.setRideWatches({});
    EXPECT_EQ(m.quitWarning(), QStringLiteral("A Multiplier trade: ") + multiplier + keepWorking);
}

TEST_F(AppModelWarningsTest, LeavingCountsThisAccountsMultiplierTradesOnly) {
    AppModel& m = *model;
    const QString tail = QStringLiteral(
        ". Their stops stay at the broker, but Tavix only sells on the last day or switches to following "
        "while it's on this account. Come back before the last day.");
    EXPECT_EQ(m.accountLeaving(), std::nullopt);

    m.setContractWatches(
        {contract(aapl, QStringLiteral("elsewhere")), contract(QStringLiteral("BTC/USD"), here)});
    EXPECT_EQ(m.accountLeaving(), std::nullopt);
    m.setContractWatches({contract(aapl, here)});
    EXPECT_EQ(m.accountLeaving(), QStringLiteral("This account has a Multiplier trade") + tail);
    m.setContractWatches({contract(aapl, here), contract(msft, here)});
    EXPECT_EQ(m.accountLeaving(), QStringLiteral("This account has 2 Multiplier trades") + tail);
}

TEST_F(AppModelWarningsTest, ComingBackToAnAccountTellsOfWatchesLeftInAnother) {
    AppModel& m = *model;
    const auto told = [](const char* trades, const char* their) {
        return QStringLiteral(
                   "Tavix is looking after %1 in another account. It only watches the account it's "
                   "on, so %2 last-day sale and exits wait until you switch back.")
            .arg(QLatin1String(trades), QLatin1String(their));
    };
    m.setContractWatches({contract(aapl, QStringLiteral("other"))});
    await(m.attach(BrokerID::mock()));
    EXPECT_EQ(m.banner(), told("a trade", "its"));

    m.setRideWatches({ride("SPY", QStringLiteral("other")), ride("QQQ", here)});
    await(m.attach(BrokerID::mock()));
    EXPECT_EQ(m.banner(), told("2 trades", "their"));

    m.setContractWatches({});
    m.setRideWatches({ride("QQQ", here)});
    await(m.attach(BrokerID::mock()));
    EXPECT_EQ(m.banner(), std::nullopt);
}

}  // namespace
}  // namespace tavix::test
