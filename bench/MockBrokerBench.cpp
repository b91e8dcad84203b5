// The practice broker's quote read for a 500-symbol watchlist, polled a second apart, against the
// practice market's own quotes for the same symbols as the reference measured in the same run.
// Goal: under 1 ms per read.
//
//   cmake --preset bench && cmake --build --preset bench --target MockBrokerBench &&
//   build/bench/bench/MockBrokerBench

#include "practice/MockBroker.h"

#include <benchmark/benchmark.h>

#include <QStringList>

namespace {

using tavix::Date;
using tavix::MockBroker;

// 500 distinct symbols: 480 made-up tickers and 20 coin pairs.
QStringList watchlist() {
    QStringList symbols;
    for (int i = 0; symbols.size() < 480; ++i) {
        QString ticker;
        for (int n = i; ticker.size() < 4; n /= 26) ticker.prepend(QChar(u'A' + n % 26));
        symbols.append(ticker);
    }
    const QStringList coins = {QStringLiteral("BTC"),  QStringLiteral("ETH"),  QStringLiteral("SOL"),
                               QStringLiteral("DOGE"), QStringLiteral("SHIB"), QStringLiteral("PEPE"),
                               QStringLiteral("XRP"),  QStringLiteral("ADA"),  QStringLiteral("LTC"),
                               QStringLiteral("AVAX")};
    for (const QString& coin : coins) {
        symbols.append(coin + QStringLiteral("/USD"));
        symbols.append(coin + QStringLiteral("/USDT"));
    }
    return symbols;
}

// 11:00 New York on a Wednesday: the session well under way.
const Date midSession(1772640000.0);

// Without lag nothing in a quote read suspends, so the whole loop runs inside one coroutine that
// completes before it returns; no event loop is needed.
QCoro::Task<void> pollQuotes(MockBroker& broker, QStringList symbols, Date& now, benchmark::State& state) {
    for (auto _ : state) {
        now += 1.0;
        auto quotes = co_await broker.quotes(symbols);
        benchmark::DoNotOptimize(quotes);
    }
}

void MockBrokerQuotesOf500(benchmark::State& state) {
    const QStringList symbols = watchlist();
    Date now = midSession;
    MockBroker broker(std::nullopt, std::chrono::milliseconds(0), [&now] { return now; });
    auto task = pollQuotes(broker, symbols, now, state);
    if (!task.isReady()) state.SkipWithError("the quote read suspended");
    state.SetItemsProcessed(state.iterations() * symbols.size());
}
BENCHMARK(MockBrokerQuotesOf500)->Unit(benchmark::kMicrosecond);

// The reference: the practice market's quotes for the same symbols, without the broker around them.
void MarketQuotesOf500(benchmark::State& state) {
    const QStringList symbols = watchlist();
    tavix::PracticeMarket market;
    Date now = midSession;
    for (auto _ : state) {
        now += 1.0;
        for (const QString& symbol : symbols) benchmark::DoNotOptimize(market.quote(symbol, now));
    }
    state.SetItemsProcessed(state.iterations() * symbols.size());
}
BENCHMARK(MarketQuotesOf500)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
