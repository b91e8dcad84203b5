// Prices are whole cents, so ties are common; each study below must decide them exactly, at any
// price level, rather than by which way an ulp falls.
#include "RandomBars.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

namespace tavix {
namespace {

using namespace Qt::StringLiterals;

Decimal cents(long long amount) {
    return Decimal(amount) / Decimal(100);
}

Candle bar(std::size_t i, long long high, long long low, long long close) {
    return Candle{Date(1.7e9 + 60.0 * static_cast<double>(i)), cents(close), cents(high), cents(low), cents(close),
                  Decimal(1000 + static_cast<long long>(i))};
}

// Price levels from a cent to thousands of dollars, in uneven steps.
std::vector<long long> levels() {
    std::vector<long long> found;
    for (long long level = 7; level < 600000; level = level * 11 / 10 + 13) found.push_back(level);
    return found;
}

std::vector<double> studied(const std::vector<Candle>& candles, const char* study, const char* output) {
    return test::output(test::runStudy(candles, QString::fromLatin1(study)), QString::fromLatin1(output));
}

// Every defined value of a column equals `expected` exactly.
void expectAll(const std::vector<double>& values, double expected, std::size_t from, long long level,
               const char* what) {
    for (std::size_t i = from; i < values.size(); ++i) {
        if (std::isnan(values[i])) continue;
        ASSERT_EQ(values[i], expected) << what << " at bar " << i << ", level " << level << " cents";
    }
}

// Bars whose high + low + close is the same, made of different prices.
std::vector<Candle> equalTypicalPrices(long long level, std::size_t count) {
    constexpr std::array<std::array<long long, 3>, 3> shapes = {{{3, -1, 1}, {2, 0, 1}, {4, -2, 1}}};
    std::vector<Candle> candles;
    for (std::size_t i = 0; i < count; ++i) {
        const auto& [high, low, close] = shapes[i % shapes.size()];
        candles.push_back(bar(i, level + high, level + low, level + close));
    }
    return candles;
}

TEST(ExactTies, EqualTypicalPricesMoveNoMoneyAndHaveNoDeviation) {
    for (const long long level : levels()) {
        const auto candles = equalTypicalPrices(level, 40);
        expectAll(studied(candles, "moneyFlowIndex", "mfi"), 50, 0, level, "money flow");
        expectAll(studied(candles, "cci", "cci"), 0, 0, level, "CCI");
    }
}

TEST(ExactTies, EqualUpAndDownMovesGiveNoDirection) {
    // Each bar reaches a cent further both ways: the moves are equal, so neither counts.
    for (const long long level : levels()) {
        std::vector<Candle> candles;
        for (std::size_t i = 0; i < 40; ++i) {
            const auto spread = static_cast<long long>(i) * 3;
            candles.push_back(bar(i, level + 500 + spread, level + 500 - spread, level + 500));
        }
        const auto run = test::runStudy(candles, u"adx"_s);
        expectAll(test::output(run, u"diPlus"_s), 0, 1, level, "DI+");
        expectAll(test::output(run, u"diMinus"_s), 0, 1, level, "DI-");
        expectAll(test::output(run, u"adx"_s), 0, 1, level, "ADX");
    }
}

TEST(ExactTies, AFlatStretchKeepsStochasticRsiAndVolatilityStill) {
    for (const long long level : levels()) {
        // An uneven walk, then the price stands still from bar 60 on.
        std::vector<Candle> candles;
        long long close = level + 1000;
        for (std::size_t i = 0; i < 60; ++i) {
            close += static_cast<long long>(i * 7 % 11) - 4;
            candles.push_back(bar(i, close, close, close));
        }
        for (std::size_t i = 60; i < 120; ++i) candles.push_back(bar(i, close, close, close));

        // RSI stays where the walk left it; its stochastic over windows of that one value is the
        // flat value, 50, from the first bar whose smoothing sees only such windows (14 + 2 + 2 on).
        const auto rsi = studied(candles, "rsi", "rsi");
        expectAll(rsi, rsi[60], 60, level, "RSI");
        const auto stochastic = test::runStudy(candles, u"stochasticRsi"_s);
        expectAll(test::output(stochastic, u"k"_s), 50, 76, level, "stochastic RSI %K");
        expectAll(test::output(stochastic, u"d"_s), 50, 78, level, "stochastic RSI %D");

        // Twenty returns of zero in the window: no volatility at all.
        expectAll(studied(candles, "historicalVolatility", "hv"), 0, 80, level, "historical volatility");
    }
}

}  // namespace
}  // namespace tavix
