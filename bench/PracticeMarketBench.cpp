// The practice market's hot paths: quotes for a polled watchlist, candles for a chart and a chain.
#include "practice/PracticeMarket.h"
#include "practice/PricePath.h"

#include <benchmark/benchmark.h>

#include <QStringList>

namespace {

using tavix::Date;
using tavix::PracticeMarket;

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

// The application polls the same list again and again, a second or so apart.
void QuotesOf500Polled(benchmark::State& state) {
    const QStringList symbols = watchlist();
    PracticeMarket market;
    Date now = midSession;
    for (auto _ : state) {
        now += 1.0;
        for (const QString& symbol : symbols) benchmark::DoNotOptimize(market.quote(symbol, now));
    }
    state.SetItemsProcessed(state.iterations() * symbols.size());
}
BENCHMARK(QuotesOf500Polled)->Unit(benchmark::kMicrosecond);

// The first look at each symbol: nothing cached yet.
void QuotesOf500Cold(benchmark::State& state) {
    const QStringList symbols = watchlist();
    for (auto _ : state) {
        PracticeMarket market;
        for (const QString& symbol : symbols) benchmark::DoNotOptimize(market.quote(symbol, midSession));
    }
    state.SetItemsProcessed(state.iterations() * symbols.size());
}
BENCHMARK(QuotesOf500Cold)->Unit(benchmark::kMicrosecond);

void PricesOf500(benchmark::State& state) {
    const QStringList symbols = watchlist();
    PracticeMarket market;
    Date now = midSession;
    for (auto _ : state) {
        now += 1.0;
        for (const QString& symbol : symbols) benchmark::DoNotOptimize(market.price(symbol, now));
    }
    state.SetItemsProcessed(state.iterations() * symbols.size());
}
BENCHMARK(PricesOf500)->Unit(benchmark::kMicrosecond);

// The path alone, for one symbol whose session is known: the floor under every quote.
void PathPrice(benchmark::State& state) {
    const tavix::PathSymbol path = tavix::PathSymbol::of(QStringLiteral("AAPL"));
    const tavix::TradingSession session = path.session(midSession);
    Date now = midSession;
    for (auto _ : state) {
        now += 1.0;
        benchmark::DoNotOptimize(path.rawPrice(session, now));
    }
}
BENCHMARK(PathPrice);

void OptionQuote(benchmark::State& state) {
    PracticeMarket market;
    const QString contract = QStringLiteral("AAPL260320C00450000");
    Date now = midSession;
    for (auto _ : state) {
        now += 1.0;
        benchmark::DoNotOptimize(market.quote(contract, now));
    }
}
BENCHMARK(OptionQuote);

// A day of one-minute candles and a month of five-minute candles.
void Candles(benchmark::State& state) {
    PracticeMarket market;
    const auto interval =
        state.range(0) == 1 ? tavix::CandleInterval::oneMinute : tavix::CandleInterval::fiveMinute;
    const double span = state.range(0) == 1 ? 86400 : 30 * 86400;
    for (auto _ : state) {
        benchmark::DoNotOptimize(market.candles(QStringLiteral("AAPL"), interval,
                                                tavix::DateRange{midSession - span, midSession}, midSession));
    }
}
BENCHMARK(Candles)->Arg(1)->Arg(5)->Unit(benchmark::kMicrosecond);

void OptionChain(benchmark::State& state) {
    PracticeMarket market;
    for (auto _ : state) {
        benchmark::DoNotOptimize(market.optionChain(QStringLiteral("AAPL"), std::nullopt, midSession));
    }
}
BENCHMARK(OptionChain)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
