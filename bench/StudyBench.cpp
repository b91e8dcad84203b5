// Chart studies over a long chart: every study of the catalogue with its default settings on 100,000
// one-minute candles, all at once through one StudyCatalog::run call, and each kind on its own.
// The heap is set up as Tavix sets it up at start, unless TAVIX_BENCH_DEFAULT_HEAP is set.
#include "analytics/SeriesMemory.h"
#include "analytics/StudyCatalog.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using tavix::Candle;
using tavix::CandleInterval;
using tavix::Date;
using tavix::Decimal;
using tavix::StudyCatalog;
using tavix::StudyRequest;

constexpr std::size_t candleCount = 100'000;

Decimal cents(long long value) {
    return Decimal::fromParts(static_cast<tavix::UInt128>(value), -2, false);
}

// A deterministic random walk in cents from $150, one bar a minute around the clock (so VWAP meets
// about seventy New York midnights), with wicks and volumes that vary bar to bar.
const std::vector<Candle>& walk() {
    static const std::vector<Candle> candles = [] {
        std::vector<Candle> out;
        out.reserve(candleCount);
        std::uint64_t state = 0x2545F4914F6CDD1Dull;
        const auto next = [&state] {
            state ^= state << 13;
            state ^= state >> 7;
            state ^= state << 17;
            return state;
        };
        long long price = 15'000;
        const Date start(1'767'225'600.0);  // 2026-01-01 00:00 UTC
        for (std::size_t i = 0; i < candleCount; ++i) {
            const long long open = price;
            price = std::max(100LL, price + static_cast<long long>(next() % 41) - 20);
            const long long high = std::max(open, price) + static_cast<long long>(next() % 12);
            const long long low = std::min(open, price) - static_cast<long long>(next() % 12);
            out.push_back({start + 60.0 * static_cast<double>(i), cents(open), cents(high), cents(low),
                           cents(price), static_cast<std::int64_t>(100 + next() % 20'000)});
        }
        return out;
    }();
    return candles;
}

std::vector<StudyRequest> everyStudy() {
    std::vector<StudyRequest> requests;
    for (const tavix::StudyKind& kind : StudyCatalog::kinds())
        requests.push_back({kind.word, {}, std::nullopt});
    return requests;
}

// The whole catalogue as the chart or a bot asks for it: candles in, every study out.
void WholeCatalogue(benchmark::State& state) {
    const auto& candles = walk();
    const auto requests = everyStudy();
    for (auto _ : state) {
        benchmark::DoNotOptimize(StudyCatalog::run(candles, CandleInterval::oneMinute, requests));
    }
    state.counters["studies"] = static_cast<double>(requests.size());
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(candleCount));
}

// The candles' decimals made into columns of doubles, which every call does once.
void CandlesToColumns(benchmark::State& state) {
    const auto& candles = walk();
    for (auto _ : state) benchmark::DoNotOptimize(tavix::StudyBars(candles, CandleInterval::oneMinute));
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(candleCount));
}

// The same columns through Decimal's shortest text and from_chars, the general conversion: the
// reference the direct conversion above is measured against.
void CandlesToColumnsViaText(benchmark::State& state) {
    const auto& candles = walk();
    for (auto _ : state) {
        std::vector<double> open(candleCount), high(candleCount), low(candleCount), close(candleCount);
        for (std::size_t i = 0; i < candleCount; ++i) {
            open[i] = candles[i].open.toDouble();
            high[i] = candles[i].high.toDouble();
            low[i] = candles[i].low.toDouble();
            close[i] = candles[i].close.toDouble();
        }
        benchmark::DoNotOptimize(close.data());
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(candleCount));
}

// One kind on columns already made: settling its defaults and working it out.
void OneKind(benchmark::State& state, const tavix::StudyKind* kind) {
    const tavix::StudyBars bars(walk(), CandleInterval::oneMinute);
    const StudyRequest request{kind->word, {}, std::nullopt};
    for (auto _ : state) {
        auto settled = StudyCatalog::settle(request);
        auto& run = std::get<tavix::StudyRun>(settled);
        kind->compute(bars, run);
        benchmark::DoNotOptimize(run.outputs.data());
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("TAVIX_BENCH_DEFAULT_HEAP")) tavix::keepFreedSeriesMemory();
    benchmark::RegisterBenchmark("WholeCatalogue", WholeCatalogue)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("CandlesToColumns", CandlesToColumns)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("CandlesToColumnsViaText", CandlesToColumnsViaText)
        ->Unit(benchmark::kMillisecond);
    for (const tavix::StudyKind& kind : StudyCatalog::kinds()) {
        benchmark::RegisterBenchmark(("Study/" + kind.word.toStdString()).c_str(), OneKind, &kind)
            ->Unit(benchmark::kMicrosecond);
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
