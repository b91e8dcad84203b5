#include "market/Broker.h"
#include "market/WatchlistSync.h"

#include "support/Await.h"

#include <gtest/gtest.h>

namespace tavix {
namespace {

QStringList list(std::initializer_list<const char*> symbols) {
    QStringList out;
    for (const char* s : symbols) out << QString::fromLatin1(s);
    return out;
}

TEST(WatchlistMerge, WithoutABaseTheListsAreUnited) {
    auto plan = WatchlistSync::plan(list({"AAPL", "MSFT"}), list({"TSLA", "AAPL"}), std::nullopt);
    EXPECT_EQ(plan.target, list({"AAPL", "MSFT", "TSLA"}));
    EXPECT_EQ(plan.addRemote, list({"MSFT"}));
    EXPECT_TRUE(plan.removeRemote.isEmpty());
}

TEST(WatchlistMerge, AdditionsFromEitherSideAreKeptAndRemovalsWin) {
    const auto base = list({"AAPL", "MSFT", "NVDA", "SPY"});
    // Local removed MSFT and added AMD; the broker removed SPY and added TSLA; NVDA was removed
    // on one side only and must not come back.
    const auto local = list({"AMD", "AAPL", "NVDA", "SPY"});
    const auto remote = list({"AAPL", "MSFT", "TSLA"});
    auto plan = WatchlistSync::plan(local, remote, base);
    EXPECT_EQ(plan.target, list({"AMD", "AAPL", "TSLA"}));
    EXPECT_EQ(plan.addRemote, list({"AMD"}));
    EXPECT_EQ(plan.removeRemote, list({"MSFT"}));

    // Unchanged on both sides: nothing to do.
    plan = WatchlistSync::plan(base, base, base);
    EXPECT_EQ(plan.target, base);
    EXPECT_TRUE(plan.addRemote.isEmpty() && plan.removeRemote.isEmpty());

    // The same symbol added on both sides appears once.
    plan = WatchlistSync::plan(list({"AAPL", "QQQ"}), list({"QQQ", "AAPL"}), list({"AAPL"}));
    EXPECT_EQ(plan.target, list({"AAPL", "QQQ"}));
    EXPECT_TRUE(plan.addRemote.isEmpty() && plan.removeRemote.isEmpty());
}

TEST(WatchlistMerge, NeverLosesAnAdditionNorResurrectsARemoval) {
    // Exhaustive over four symbols: each may be in or out of base, local and remote.
    const QStringList symbols = list({"A", "B", "C", "D"});
    for (int mask = 0; mask < (1 << 12); ++mask) {
        QStringList base, local, remote;
        for (int i = 0; i < 4; ++i) {
            if (mask & (1 << (3 * i))) base << symbols[i];
            if (mask & (1 << (3 * i + 1))) local << symbols[i];
            if (mask & (1 << (3 * i + 2))) remote << symbols[i];
        }
        const auto plan = WatchlistSync::plan(local, remote, base);
        for (const auto& s : symbols) {
            const bool addedSomewhere = !base.contains(s) && (local.contains(s) || remote.contains(s));
            const bool removedSomewhere = base.contains(s) && (!local.contains(s) || !remote.contains(s));
            if (addedSomewhere) {
                ASSERT_TRUE(plan.target.contains(s)) << mask;
            }
            if (removedSomewhere) {
                ASSERT_FALSE(plan.target.contains(s)) << mask;
            }
            ASSERT_EQ(plan.target.count(s), plan.target.contains(s) ? 1 : 0);
        }
        // Applying the plan to the broker's list gives the target, as a set.
        QStringList applied = remote;
        for (const auto& s : plan.removeRemote) applied.removeAll(s);
        applied << plan.addRemote;
        ASSERT_EQ(QSet<QString>(applied.begin(), applied.end()),
                  QSet<QString>(plan.target.begin(), plan.target.end()))
            << mask;
    }
}

// A broker whose own watchlist records each call, so the default replace can be watched.
class ListBroker : public Broker {
public:
    BrokerID id() const override { return BrokerID{QStringLiteral("list")}; }
    QString displayName() const override { return QStringLiteral("List"); }
    BrokerCapabilities capabilities() const override { return {}; }
    FeeSchedule fees() const override { return FeeSchedule::free(); }
    QCoro::Task<bool> isConnected() override { co_return true; }
    QCoro::Task<void> connect() override { co_return; }
    QCoro::Task<void> disconnect() override { co_return; }
    QCoro::Task<std::vector<BrokerAccount>> accounts() override { co_return {}; }
    QCoro::Task<Balance> balance(QString) override { co_return Balance{}; }
    QCoro::Task<std::vector<Position>> positions(QString) override { co_return {}; }
    QCoro::Task<std::map<QString, Quote>> quotes(QStringList) override { co_return {}; }
    QCoro::Task<std::vector<Candle>> candles(QString, CandleInterval, DateRange) override { co_return {}; }
    QCoro::Task<Order> placeOrder(OrderRequest, QString) override { co_return Order{}; }
    QCoro::Task<void> cancelOrder(QString, QString) override { co_return; }
    QCoro::Task<std::vector<Order>> orders(QString, std::optional<Date>) override { co_return {}; }
    QCoro::Task<RemoteWatchlist> addToOwnWatchlist(QString symbol, RemoteWatchlist l) override {
        calls << QStringLiteral("+") + symbol;
        l.symbols << symbol;
        co_return l;
    }
    QCoro::Task<RemoteWatchlist> removeFromOwnWatchlist(QString symbol, RemoteWatchlist l) override {
        calls << QStringLiteral("-") + symbol;
        l.symbols.removeAll(symbol);
        co_return l;
    }
    QStringList calls;
};

TEST(WatchlistMerge, DefaultReplaceAddsAndRemovesOneAtATime) {
    ListBroker broker;
    RemoteWatchlist current{QStringLiteral("w1"), QStringLiteral("Tavix"), list({"AAPL", "MSFT", "SPY"})};
    auto result = test::await(broker.replaceOwnWatchlist(list({"NVDA", "AAPL", "SPY"}), current));
    EXPECT_EQ(broker.calls, list({"+NVDA", "-MSFT"}));
    EXPECT_EQ(result.id, QStringLiteral("w1"));
    EXPECT_EQ(QSet<QString>(result.symbols.begin(), result.symbols.end()),
              QSet<QString>({QStringLiteral("NVDA"), QStringLiteral("AAPL"), QStringLiteral("SPY")}));
    auto clock = test::await(broker.marketClock());
    EXPECT_GT(clock.nextOpen, clock.asOf);
}

}  // namespace
}  // namespace tavix
