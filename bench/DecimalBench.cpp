// Decimal against Intel's BID128 decimal floating point on the operations money code does most:
// add, multiply, divide, parse and format, on prices and quantities of mixed scales.

#include "market/Decimal.h"

#include <benchmark/benchmark.h>

// libbidgcc000.a is the build with arguments by value, and the rounding mode and status flags passed
// in each call rather than kept in globals.
#define DECIMAL_CALL_BY_REFERENCE 0
#define DECIMAL_GLOBAL_ROUNDING 0
#define DECIMAL_GLOBAL_EXCEPTION_FLAGS 0
extern "C" {
#include <bid_conf.h>
#include <bid_functions.h>
}

#include <array>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

using tavix::Decimal;

namespace {

constexpr std::size_t operandCount = 4096;  // a power of two, so the index wraps with a mask

struct Operands {
    std::vector<std::string> priceTexts, quantityTexts, wideTexts;
    std::vector<Decimal> prices, quantities, notionals, wideLeft, wideRight;
    std::vector<BID_UINT128> bidPrices, bidQuantities, bidNotionals, bidWideLeft, bidWideRight;
};

// Wide operands: 25 to 34 significant digits at exponents from 10^-30 to 10^10, so an addition
// must align mantissas far apart (and often round).
std::string wideNumber(std::mt19937_64& rng) {
    const int digits = std::uniform_int_distribution<int>(25, 34)(rng);
    std::string text = std::to_string(std::uniform_int_distribution<int>(1, 9)(rng));
    for (int i = 1; i < digits; ++i) text += static_cast<char>('0' + std::uniform_int_distribution<int>(0, 9)(rng));
    return text + "e" + std::to_string(std::uniform_int_distribution<int>(-30, 10)(rng));
}

// Prices such as 187.34, 0.0042 or 4210.5; quantities such as 12.5, 100 or 0.125.
std::string randomNumber(std::mt19937_64& rng, int maxWhole, int minPlaces, int maxPlaces) {
    const int whole = std::uniform_int_distribution<int>(0, maxWhole)(rng);
    const int places = std::uniform_int_distribution<int>(minPlaces, maxPlaces)(rng);
    std::string text = std::to_string(whole);
    if (places > 0) {
        text += '.';
        for (int i = 0; i < places; ++i)
            text += static_cast<char>('0' + std::uniform_int_distribution<int>(0, 9)(rng));
        if (text.back() == '0') text.back() = '5';
    }
    if (text == "0") text = "1";
    return text;
}

BID_UINT128 bidFromText(const std::string& text) {
    _IDEC_flags flags = 0;
    std::string copy = text;  // the library takes a non-const pointer
    return bid128_from_string(copy.data(), BID_ROUNDING_TO_NEAREST, &flags);
}

const Operands& operands() {
    static const Operands made = [] {
        Operands o;
        std::mt19937_64 rng(20260302);
        for (std::size_t i = 0; i < operandCount; ++i) {
            const bool pennyStock = std::uniform_int_distribution<int>(0, 9)(rng) == 0;
            o.priceTexts.push_back(pennyStock ? randomNumber(rng, 0, 4, 4) : randomNumber(rng, 5000, 2, 2));
            o.quantityTexts.push_back(randomNumber(rng, 500, 0, 3));
        }
        for (std::size_t i = 0; i < operandCount; ++i) {
            o.prices.push_back(*Decimal::parse(o.priceTexts[i]));
            o.quantities.push_back(*Decimal::parse(o.quantityTexts[i]));
            o.notionals.push_back(o.prices[i] * o.quantities[i]);
            o.bidPrices.push_back(bidFromText(o.priceTexts[i]));
            o.bidQuantities.push_back(bidFromText(o.quantityTexts[i]));
            o.bidNotionals.push_back(bidFromText(o.notionals[i].toStdString()));
        }
        for (std::size_t i = 0; i < operandCount; ++i) {
            o.wideTexts.push_back(wideNumber(rng));
            const std::string other = wideNumber(rng);
            o.wideLeft.push_back(*Decimal::parse(o.wideTexts[i]));
            o.wideRight.push_back(*Decimal::parse(other));
            o.bidWideLeft.push_back(bidFromText(o.wideTexts[i]));
            o.bidWideRight.push_back(bidFromText(other));
        }
        return o;
    }();
    return made;
}

template <class Operation>
void run(benchmark::State& state, Operation operation) {
    std::size_t i = 0;
    for (auto _ : state) {
        operation(i);
        i = (i + 1) & (operandCount - 1);
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}

void decimalAdd(benchmark::State& state) {
    const auto& o = operands();
    run(state, [&](std::size_t i) { benchmark::DoNotOptimize(o.prices[i] + o.quantities[i]); });
}
void bidAdd(benchmark::State& state) {
    const auto& o = operands();
    run(state, [&](std::size_t i) {
        _IDEC_flags flags = 0;
        benchmark::DoNotOptimize(
            bid128_add(o.bidPrices[i], o.bidQuantities[i], BID_ROUNDING_TO_NEAREST, &flags));
    });
}

void decimalSubtract(benchmark::State& state) {
    const auto& o = operands();
    run(state, [&](std::size_t i) { benchmark::DoNotOptimize(o.notionals[i] - o.prices[i]); });
}
void bidSubtract(benchmark::State& state) {
    const auto& o = operands();
    run(state, [&](std::size_t i) {
        _IDEC_flags flags = 0;
        benchmark::DoNotOptimize(
            bid128_sub(o.bidNotionals[i], o.bidPrices[i], BID_ROUNDING_TO_NEAREST, &flags));
    });
}

void decimalMultiply(benchmark::State& state) {
    const auto& o = operands();
    run(state, [&](std::size_t i) { benchmark::DoNotOptimize(o.prices[i] * o.quantities[i]); });
}
void bidMultiply(benchmark::State& state) {
    const auto& o = operands();
    run(state, [&](std::size_t i) {
        _IDEC_flags flags = 0;
        benchmark::DoNotOptimize(
            bid128_mul(o.bidPrices[i], o.bidQuantities[i], BID_ROUNDING_TO_NEAREST, &flags));
    });
}

// Price over quantity: mostly inexact, so all 38 digits are computed.
void decimalDivide(benchmark::State& state) {
    const auto& o = operands();
    run(state, [&](std::size_t i) { benchmark::DoNotOptimize(o.prices[i] / o.quantities[i]); });
}
void bidDivide(benchmark::State& state) {
    const auto& o = operands();
    run(state, [&](std::size_t i) {
        _IDEC_flags flags = 0;
        benchmark::DoNotOptimize(
            bid128_div(o.bidPrices[i], o.bidQuantities[i], BID_ROUNDING_TO_NEAREST, &flags));
    });
}

// Notional over quantity gives the price back: an exact quotient.
void decimalDivideExact(benchmark::State& state) {
    const auto& o = operands();
    run(state, [&](std::size_t i) { benchmark::DoNotOptimize(o.notionals[i] / o.quantities[i]); });
}
void bidDivideExact(benchmark::State& state) {
    const auto& o = operands();
    run(state, [&](std::size_t i) {
        _IDEC_flags flags = 0;
        benchmark::DoNotOptimize(
            bid128_div(o.bidNotionals[i], o.bidQuantities[i], BID_ROUNDING_TO_NEAREST, &flags));
    });
}

void decimalParse(benchmark::State& state) {
    const auto& o = operands();
    run(state,
        [&](std::size_t i) { benchmark::DoNotOptimize(Decimal::parse(std::string_view(o.priceTexts[i]))); });
}
void bidParse(benchmark::State& state) {
    auto texts = operands().priceTexts;  // mutable copies for the non-const parameter
    run(state, [&](std::size_t i) {
        _IDEC_flags flags = 0;
        benchmark::DoNotOptimize(bid128_from_string(texts[i].data(), BID_ROUNDING_TO_NEAREST, &flags));
    });
}

void decimalFormat(benchmark::State& state) {
    const auto& o = operands();
    run(state, [&](std::size_t i) { benchmark::DoNotOptimize(o.notionals[i].toStdString()); });
}
void bidFormat(benchmark::State& state) {
    const auto& o = operands();
    std::array<char, 64> buffer{};
    run(state, [&](std::size_t i) {
        _IDEC_flags flags = 0;
        bid128_to_string(buffer.data(), o.bidNotionals[i], &flags);
        benchmark::DoNotOptimize(buffer.data());
        benchmark::ClobberMemory();
    });
}

void decimalAddWide(benchmark::State& state) {
    const auto& o = operands();
    run(state, [&](std::size_t i) { benchmark::DoNotOptimize(o.wideLeft[i] + o.wideRight[i]); });
}
void bidAddWide(benchmark::State& state) {
    const auto& o = operands();
    run(state, [&](std::size_t i) {
        _IDEC_flags flags = 0;
        benchmark::DoNotOptimize(bid128_add(o.bidWideLeft[i], o.bidWideRight[i], BID_ROUNDING_TO_NEAREST, &flags));
    });
}

void decimalParseWide(benchmark::State& state) {
    const auto& o = operands();
    run(state, [&](std::size_t i) { benchmark::DoNotOptimize(Decimal::parse(std::string_view(o.wideTexts[i]))); });
}
void bidParseWide(benchmark::State& state) {
    auto texts = operands().wideTexts;
    run(state, [&](std::size_t i) {
        _IDEC_flags flags = 0;
        benchmark::DoNotOptimize(bid128_from_string(texts[i].data(), BID_ROUNDING_TO_NEAREST, &flags));
    });
}

// A price as the screens show one, rather than a product of price and quantity.
void decimalFormatPrice(benchmark::State& state) {
    const auto& o = operands();
    run(state, [&](std::size_t i) { benchmark::DoNotOptimize(o.prices[i].toStdString()); });
}
void bidFormatPrice(benchmark::State& state) {
    const auto& o = operands();
    std::array<char, 64> buffer{};
    run(state, [&](std::size_t i) {
        _IDEC_flags flags = 0;
        bid128_to_string(buffer.data(), o.bidPrices[i], &flags);
        benchmark::DoNotOptimize(buffer.data());
        benchmark::ClobberMemory();
    });
}

}  // namespace

BENCHMARK(decimalAdd);
BENCHMARK(bidAdd);
BENCHMARK(decimalSubtract);
BENCHMARK(bidSubtract);
BENCHMARK(decimalMultiply);
BENCHMARK(bidMultiply);
BENCHMARK(decimalDivide);
BENCHMARK(bidDivide);
BENCHMARK(decimalDivideExact);
BENCHMARK(bidDivideExact);
BENCHMARK(decimalParse);
BENCHMARK(bidParse);
BENCHMARK(decimalFormat);
BENCHMARK(bidFormat);
BENCHMARK(decimalAddWide);
BENCHMARK(bidAddWide);
BENCHMARK(decimalParseWide);
BENCHMARK(bidParseWide);
BENCHMARK(decimalFormatPrice);
BENCHMARK(bidFormatPrice);

BENCHMARK_MAIN();
