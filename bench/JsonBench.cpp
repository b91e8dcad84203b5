// Decoding a 500-symbol market-data snapshot: our exact Json tree, the same plus mapping into Quote
// records, and RapidJSON's own parses of the same text as the reference measured in the same run.
//
//   cmake --preset bench && cmake --build --preset bench --target JsonBench && build/bench/bench/JsonBench

#include "market/JsonCodec.h"
#include "market/Quote.h"

#include <benchmark/benchmark.h>
#include <rapidjson/document.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

using namespace tavix;

namespace {

constexpr int symbolCount = 500;

// Prices with two to four decimals, sizes as integers, times as nine-digit-fraction ISO text and a
// few string and list fields, as a snapshot endpoint sends them.
std::string bar(const char* time, double base, long volume) {
    char text[256];
    std::snprintf(text, sizeof text,
                  R"({"t":"%s","o":%.2f,"h":%.2f,"l":%.2f,"c":%.2f,"v":%ld,"n":%ld,"vw":%.4f})", time, base,
                  base * 1.013, base * 0.987, base * 1.004, volume, volume / 97, base * 1.0021);
    return text;
}

std::string snapshotDocument() {
    std::string doc = "{";
    for (int i = 0; i < symbolCount; ++i) {
        const double base = 10.0 + i * 1.37;
        char symbol[16];
        std::snprintf(symbol, sizeof symbol, "S%c%c%c", 'A' + i / 100 % 26, 'A' + i / 10 % 10, 'A' + i % 10);
        char trade[256];
        std::snprintf(
            trade, sizeof trade,
            R"({"t":"2026-03-02T14:30:%02d.%09dZ","x":"V","p":%.2f,"s":%d,"c":["@","I"],"i":%lld,"z":"C"})",
            i % 60, 123456789 + i, base * 1.001, 100 + i % 7, 52983525029461LL + i);
        char quote[256];
        std::snprintf(
            quote, sizeof quote,
            R"({"t":"2026-03-02T14:30:%02d.%09dZ","ax":"V","ap":%.2f,"as":%d,"bx":"Q","bp":%.2f,"bs":%d,)"
            R"("c":["R"],"z":"C"})",
            i % 60, 987654321 - i, base * 1.0015, 3 + i % 5, base * 1.0005, 2 + i % 4);
        if (i > 0) doc += ',';
        doc += '"';
        doc += symbol;
        doc += R"(":{"latestTrade":)";
        doc += trade;
        doc += R"(,"latestQuote":)";
        doc += quote;
        doc += R"(,"minuteBar":)" + bar("2026-03-02T14:29:00Z", base, 12000 + i);
        doc += R"(,"dailyBar":)" + bar("2026-03-02T05:00:00Z", base, 4500000 + i * 1000L);
        doc += R"(,"prevDailyBar":)" + bar("2026-02-27T05:00:00Z", base * 0.99, 5100000 + i * 1000L) + "}";
    }
    doc += "}";
    return doc;
}

const std::string& document() {
    static const std::string text = snapshotDocument();
    return text;
}

// How a broker's mapping turns one symbol's snapshot into a Quote.
Quote quoteFrom(const std::string& symbol, const Json& snapshot) {
    JsonObjectReader parts(snapshot, "Snapshot");
    Quote quote;
    quote.symbol = QString::fromStdString(symbol);
    JsonObjectReader trade(snapshot.at("latestTrade"), "Trade");
    trade.field("p", quote.last);
    trade.field("t", quote.asOf);
    JsonObjectReader latest(snapshot.at("latestQuote"), "LatestQuote");
    latest.field("bp", quote.bid);
    latest.field("ap", quote.ask);
    JsonObjectReader daily(snapshot.at("dailyBar"), "Bar");
    daily.field("o", quote.open);
    daily.field("h", quote.high);
    daily.field("l", quote.low);
    daily.field("v", quote.volume);
    JsonObjectReader previous(snapshot.at("prevDailyBar"), "Bar");
    previous.field("c", quote.previousClose);
    return quote;
}

void setCounters(benchmark::State& state) {
    state.SetBytesProcessed(state.iterations() * static_cast<long long>(document().size()));
    state.counters["bytes"] = static_cast<double>(document().size());
}

constexpr unsigned saxFlags = rapidjson::kParseNumbersAsStringsFlag | rapidjson::kParseValidateEncodingFlag;

// The floor: RapidJSON's SAX reader as Json::parse drives it (in place, in a copy of the text,
// numbers as text, UTF-8 checked), with a handler that keeps nothing.
void BM_RapidJsonSaxFloor(benchmark::State& state) {
    const std::string& text = document();
    std::string copy;
    for (auto _ : state) {
        copy.assign(text);
        rapidjson::InsituStringStream stream(copy.data());
        rapidjson::BaseReaderHandler<> handler;
        rapidjson::Reader reader;
        auto result = reader.Parse<saxFlags | rapidjson::kParseInsituFlag>(stream, handler);
        if (result.IsError()) throw std::runtime_error("floor parse failed");
        benchmark::DoNotOptimize(result);
    }
    setCounters(state);
}

// The same reader straight from the caller's bytes, which costs a second copy of every string and
// number: the reason Json::parse parses in place.
void BM_RapidJsonSaxFromCallerBytes(benchmark::State& state) {
    const std::string& text = document();
    for (auto _ : state) {
        rapidjson::MemoryStream stream(text.data(), text.size());
        rapidjson::BaseReaderHandler<> handler;
        rapidjson::Reader reader;
        auto result = reader.Parse<saxFlags>(stream, handler);
        if (result.IsError()) throw std::runtime_error("floor parse failed");
        benchmark::DoNotOptimize(result);
    }
    setCounters(state);
}

// For scale: RapidJSON's own tree (numbers as doubles, so not exact), in its pool allocator.
void BM_RapidJsonDocument(benchmark::State& state) {
    const std::string& text = document();
    for (auto _ : state) {
        rapidjson::Document doc;
        doc.Parse<rapidjson::kParseValidateEncodingFlag>(text.data(), text.size());  // numbers as doubles
        if (doc.HasParseError()) throw std::runtime_error("document parse failed");
        benchmark::DoNotOptimize(doc.MemberCount());
    }
    setCounters(state);
}

void BM_JsonParse(benchmark::State& state) {
    const std::string& text = document();
    for (auto _ : state) {
        Json doc = Json::parse(text);
        benchmark::DoNotOptimize(doc.size());
    }
    setCounters(state);
}

void BM_JsonParseIntoQuotes(benchmark::State& state) {
    const std::string& text = document();
    std::vector<Quote> quotes;
    for (auto _ : state) {
        Json doc = Json::parse(text);
        quotes.clear();
        quotes.reserve(doc.size());
        for (const auto& [symbol, snapshot] : doc.members()) quotes.push_back(quoteFrom(symbol, snapshot));
        benchmark::DoNotOptimize(quotes.data());
    }
    if (quotes.size() != symbolCount) throw std::runtime_error("wrong number of quotes");
    setCounters(state);
}

void BM_JsonSerialize(benchmark::State& state) {
    const Json doc = Json::parse(document());
    for (auto _ : state) {
        std::string text = doc.serializeStd();
        benchmark::DoNotOptimize(text.data());
    }
    if (doc.serializeStd() != document()) throw std::runtime_error("serialising changed the text");
    setCounters(state);
}

}  // namespace

BENCHMARK(BM_RapidJsonSaxFloor)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RapidJsonSaxFromCallerBytes)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RapidJsonDocument)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_JsonParse)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_JsonParseIntoQuotes)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_JsonSerialize)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
