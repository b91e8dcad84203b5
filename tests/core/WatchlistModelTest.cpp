#include "core/WatchlistModel.h"
#include "support/Await.h"
#include "support/ScriptedBroker.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

#include <memory>

namespace tavix {
namespace {

using test::ScriptedBroker;

QString lastOf(const WatchlistModel& model, const QString& symbol) {
    const Quote* quote = model.quote(symbol);
    return quote ? quote->last.toString() : QStringLiteral("none");
}

class WatchlistModelTest : public ::testing::Test {
protected:
    WatchlistModelTest() {
        broker.setPrice(QStringLiteral("AAPL"), "187.5", "185");
        broker.setPrice(QStringLiteral("BTC/USD"), "64123.4");
    }

    ScriptedBroker broker;
    WatchlistModel model{broker, {QStringLiteral("AAPL"), QStringLiteral("BTC/USD")}};
};

TEST_F(WatchlistModelTest, ReadsQuotesForItsSymbolsAndTellsWhenTheyChange) {
    QSignalSpy changes(&model, &WatchlistModel::quotesChanged);
    model.refresh();
    ASSERT_TRUE(test::eventually([&] { return !model.isRefreshing(); }));

    ASSERT_EQ(broker.quoteCalls.size(), 1u);
    EXPECT_EQ(broker.quoteCalls[0], (QStringList{QStringLiteral("AAPL"), QStringLiteral("BTC/USD")}));
    EXPECT_EQ(lastOf(model, QStringLiteral("AAPL")), QStringLiteral("187.5"));
    EXPECT_EQ(lastOf(model, QStringLiteral("BTC/USD")), QStringLiteral("64123.4"));
    EXPECT_EQ(changes.count(), 1);

    // The same prices again redraw nothing; a new price does.
    model.refresh();
    ASSERT_TRUE(test::eventually([&] { return !model.isRefreshing(); }));
    EXPECT_EQ(changes.count(), 1);
    broker.setPrice(QStringLiteral("AAPL"), "188.01", "185");
    model.refresh();
    ASSERT_TRUE(test::eventually([&] { return changes.count() == 2; }));
    EXPECT_EQ(lastOf(model, QStringLiteral("AAPL")), QStringLiteral("188.01"));
}

TEST_F(WatchlistModelTest, KeepsTheLastPriceOfASymbolTheBrokerStopsPricing) {
    model.refresh();
    ASSERT_TRUE(test::eventually([&] { return !model.isRefreshing(); }));
    broker.prices.erase(QStringLiteral("BTC/USD"));
    broker.setPrice(QStringLiteral("AAPL"), "190", "185");
    model.refresh();
    ASSERT_TRUE(test::eventually([&] { return lastOf(model, QStringLiteral("AAPL")) == QStringLiteral("190"); }));
    EXPECT_EQ(lastOf(model, QStringLiteral("BTC/USD")), QStringLiteral("64123.4"));
}

TEST_F(WatchlistModelTest, AFailedReadShowsTheBrokersWordsAndKeepsTheLastGoodPrices) {
    QSignalSpy messages(&model, &WatchlistModel::messageChanged);
    model.refresh();
    ASSERT_TRUE(test::eventually([&] { return !model.isRefreshing(); }));

    const auto error = BrokerError::transport(QStringLiteral("the network is down"));
    broker.quotesError = error;
    model.refresh();
    ASSERT_TRUE(test::eventually([&] { return model.message().has_value(); }));
    EXPECT_EQ(*model.message(), error.description());
    EXPECT_EQ(lastOf(model, QStringLiteral("AAPL")), QStringLiteral("187.5"));
    EXPECT_FALSE(model.isRefreshing());

    // The failure must not stop later reads, and a good one clears the message.
    broker.quotesError.reset();
    broker.setPrice(QStringLiteral("AAPL"), "186", "185");
    model.refresh();
    ASSERT_TRUE(test::eventually([&] { return !model.message().has_value(); }));
    EXPECT_EQ(lastOf(model, QStringLiteral("AAPL")), QStringLiteral("186"));
    EXPECT_EQ(messages.count(), 2);
}

TEST_F(WatchlistModelTest, NeverHasTwoReadsOut) {
    broker.holding = true;
    model.refresh();
    model.refresh();
    model.refresh();
    EXPECT_EQ(broker.quoteCalls.size(), 1u);
    EXPECT_TRUE(model.isRefreshing());

    ASSERT_TRUE(broker.releaseOne());
    ASSERT_TRUE(test::eventually([&] { return !model.isRefreshing(); }));
    EXPECT_EQ(lastOf(model, QStringLiteral("AAPL")), QStringLiteral("187.5"));

    model.refresh();
    EXPECT_EQ(broker.quoteCalls.size(), 2u);
    broker.releaseOne();
}

TEST_F(WatchlistModelTest, DropsAReadThatLandsAfterTheSymbolsChangedAndReadsTheNewOnes) {
    model.refresh();
    ASSERT_TRUE(test::eventually([&] { return !model.isRefreshing(); }));

    broker.holding = true;
    broker.setPrice(QStringLiteral("AAPL"), "999", "185");
    broker.setPrice(QStringLiteral("MSFT"), "410.25", "400");
    model.refresh();
    model.setSymbols({QStringLiteral("MSFT")});
    EXPECT_EQ(model.quote(QStringLiteral("AAPL")), nullptr) << "a symbol taken off the list keeps no quote";

    broker.holding = false;
    ASSERT_TRUE(broker.releaseOne());
    ASSERT_TRUE(test::eventually([&] { return model.quote(QStringLiteral("MSFT")) != nullptr; }));
    EXPECT_EQ(model.quote(QStringLiteral("AAPL")), nullptr);
    ASSERT_EQ(broker.quoteCalls.size(), 3u);
    EXPECT_EQ(broker.quoteCalls[2], QStringList{QStringLiteral("MSFT")});
    EXPECT_EQ(lastOf(model, QStringLiteral("MSFT")), QStringLiteral("410.25"));
}

TEST_F(WatchlistModelTest, AStaleFailureDoesNotReachTheBanner) {
    broker.holding = true;
    model.refresh();
    model.setSymbols({QStringLiteral("BTC/USD")});
    broker.quotesError = BrokerError::notConnected();
    ASSERT_TRUE(broker.releaseOne());
    EXPECT_FALSE(model.message().has_value()) << "the failure belonged to the old list";

    // The read for the new list is under way and its answer is the one that counts.
    ASSERT_EQ(broker.heldCount(), 1);
    EXPECT_EQ(broker.quoteCalls.back(), QStringList{QStringLiteral("BTC/USD")});
    broker.quotesError.reset();
    broker.releaseOne();
    ASSERT_TRUE(test::eventually([&] { return !model.isRefreshing(); }));
    EXPECT_EQ(lastOf(model, QStringLiteral("BTC/USD")), QStringLiteral("64123.4"));
    EXPECT_FALSE(model.message().has_value());
}

TEST_F(WatchlistModelTest, AReadThatOutlivesTheModelLandsNowhere) {
    broker.holding = true;
    auto shortLived = std::make_unique<WatchlistModel>(broker, QStringList{QStringLiteral("AAPL")});
    shortLived->refresh();
    ASSERT_EQ(broker.heldCount(), 1);
    shortLived.reset();
    // Under the address sanitizer a landing on the freed model would fail here.
    EXPECT_TRUE(broker.releaseOne());
}

TEST_F(WatchlistModelTest, StartReadsAtOnceAndThenOnTheBrokersPace) {
    broker.pollSeconds = 0.05;
    model.start();
    EXPECT_EQ(broker.quoteCalls.size(), 1u) << "the first read does not wait for the timer";
    ASSERT_TRUE(test::eventually([&] { return broker.quoteCalls.size() >= 3u; }, std::chrono::seconds(5)));

    model.stop();
    const auto asked = broker.quoteCalls.size();
    // No timer round may run after stop; a timer that kept going would read within 50 ms.
    QSignalSpy refreshes(&model, &WatchlistModel::refreshingChanged);
    EXPECT_FALSE(refreshes.wait(200));
    EXPECT_EQ(broker.quoteCalls.size(), asked);
}

TEST_F(WatchlistModelTest, ChangingTheSymbolsWhileRunningReadsThemAtOnce) {
    broker.pollSeconds = 60;
    broker.setPrice(QStringLiteral("NVDA"), "121.07", "119.5");
    model.start();
    ASSERT_TRUE(test::eventually([&] { return !model.isRefreshing(); }));
    model.setSymbols({QStringLiteral("NVDA")});
    ASSERT_TRUE(test::eventually([&] { return model.quote(QStringLiteral("NVDA")) != nullptr; },
                                 std::chrono::seconds(2)));
}

}  // namespace
}  // namespace tavix
