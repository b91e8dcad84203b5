// Decoding and mapping Alpaca's two largest everyday answers: a 10,000-bar history page and a
// 500-symbol stock snapshot answer, beside RapidJSON's own SAX parse of the same text (the floor).
//
//   cmake --preset bench && cmake --build --preset bench --target AlpacaDecodeBench &&
//   build/bench/bench/AlpacaDecodeBench

#include "alpaca/AlpacaDTO.h"
#include "alpaca/AlpacaMapping.h"

#include <benchmark/benchmark.h>
#include <rapidjson/reader.h>

#include <QByteArray>
#include <QString>

namespace {

using namespace tavix;

// Shaped like the service: numbers for prices, integer volumes, nine-digit fractional times.
QByteArray barsAnswer(int count) {
    QByteArray out = "{\"bars\":[";
    for (int i = 0; i < count; ++i) {
        const int minute = i % 60, hour = 13 + (i / 60) % 7, day = 1 + (i / 420) % 28;
        const double base = 180.0 + (i % 97) * 0.01;
        if (i) out += ',';
        out += QStringLiteral("{\"t\":\"2026-02-%1T%2:%3:00.123456789Z\",\"o\":%4,\"h\":%5,\"l\":%6,\"c\":%7,"
                              "\"v\":%8,\"n\":%9,\"vw\":%10}")
                   .arg(day, 2, 10, QLatin1Char('0'))
                   .arg(hour, 2, 10, QLatin1Char('0'))
                   .arg(minute, 2, 10, QLatin1Char('0'))
                   .arg(base, 0, 'f', 2)
                   .arg(base + 0.12, 0, 'f', 2)
                   .arg(base - 0.08, 0, 'f', 2)
                   .arg(base + 0.03, 0, 'f', 2)
                   .arg(1000 + i * 7)
                   .arg(40 + i % 50)
                   .arg(base + 0.021, 0, 'f', 4)
                   .toUtf8();
    }
    out += "],\"symbol\":\"AAPL\",\"next_page_token\":null}";
    return out;
}

QByteArray snapshotAnswer(int count) {
    QByteArray out = "{";
    for (int i = 0; i < count; ++i) {
        const double p = 20.0 + i * 0.37;
        if (i) out += ',';
        const QString bar = QStringLiteral("{\"t\":\"2026-03-0%1T05:00:00Z\",\"o\":%2,\"h\":%3,\"l\":%4,\"c\":%5,"
                                           "\"v\":%6,\"n\":812,\"vw\":%7}");
        out += QStringLiteral("\"S%1\":{\"latestTrade\":{\"t\":\"2026-03-04T15:59:59.912345678Z\",\"x\":\"V\","
                              "\"p\":%2,\"s\":100,\"c\":[\"@\"],\"i\":%3,\"z\":\"C\"},"
                              "\"latestQuote\":{\"t\":\"2026-03-04T15:59:59.998877665Z\",\"ax\":\"V\",\"ap\":%4,"
                              "\"as\":2,\"bx\":\"V\",\"bp\":%5,\"bs\":3,\"c\":[\"R\"],\"z\":\"C\"},")
                   .arg(i)
                   .arg(p, 0, 'f', 2)
                   .arg(52983525029461LL + i)
                   .arg(p + 0.01, 0, 'f', 2)
                   .arg(p - 0.01, 0, 'f', 2)
                   .toUtf8();
        out += "\"dailyBar\":" +
               bar.arg(4).arg(p, 0, 'f', 2).arg(p + 1, 0, 'f', 2).arg(p - 1, 0, 'f', 2).arg(p, 0, 'f', 2)
                   .arg(100000 + i).arg(p, 0, 'f', 4).toUtf8() +
               ",\"prevDailyBar\":" +
               bar.arg(3).arg(p - 0.5, 0, 'f', 2).arg(p + 0.5, 0, 'f', 2).arg(p - 1.5, 0, 'f', 2)
                   .arg(p - 0.2, 0, 'f', 2).arg(90000 + i).arg(p, 0, 'f', 4).toUtf8() +
               "}";
    }
    out += "}";
    return out;
}

struct NullHandler : rapidjson::BaseReaderHandler<rapidjson::UTF8<>, NullHandler> {
    bool Default() { return true; }
};

void rapidJsonFloor(benchmark::State& state, const QByteArray& text) {
    for (auto _ : state) {
        rapidjson::Reader reader;
        rapidjson::StringStream stream(text.constData());
        NullHandler handler;
        benchmark::DoNotOptimize(reader.Parse<rapidjson::kParseNumbersAsStringsFlag>(stream, handler));
    }
}

void BM_Bars10000_RapidJsonSaxFloor(benchmark::State& state) { rapidJsonFloor(state, barsAnswer(10000)); }

void BM_Bars10000_DecodeAndMap(benchmark::State& state) {
    const QByteArray text = barsAnswer(10000);
    for (auto _ : state) {
        auto answer = AlpacaDTO::decode<AlpacaDTO::BarsResponse>(text, "BarsResponse");
        std::vector<Candle> candles;
        candles.reserve(answer.bars.size());
        for (const auto& bar : answer.bars) candles.push_back(AlpacaMapping::candle(bar));
        benchmark::DoNotOptimize(candles.data());
    }
}

void BM_Snapshots500_RapidJsonSaxFloor(benchmark::State& state) { rapidJsonFloor(state, snapshotAnswer(500)); }

void BM_Snapshots500_DecodeAndMap(benchmark::State& state) {
    const QByteArray text = snapshotAnswer(500);
    for (auto _ : state) {
        auto answer =
            AlpacaDTO::decode<std::map<QString, AlpacaDTO::Snapshot>>(text, "Dictionary<String, Snapshot>");
        std::map<QString, Quote> quotes;
        for (const auto& [symbol, snapshot] : answer) {
            if (auto quote = AlpacaMapping::quote(symbol, snapshot)) quotes.emplace(symbol, std::move(*quote));
        }
        if (quotes.size() != 500) state.SkipWithError("not every snapshot became a quote");
        benchmark::DoNotOptimize(quotes);
    }
}

}  // namespace

BENCHMARK(BM_Bars10000_RapidJsonSaxFloor)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Bars10000_DecodeAndMap)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Snapshots500_RapidJsonSaxFloor)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Snapshots500_DecodeAndMap)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
