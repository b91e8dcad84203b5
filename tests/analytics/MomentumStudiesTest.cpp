#include "RandomBars.h"
#include "TextbookStudies.h"

#include <gtest/gtest.h>

#include <cmath>

namespace tavix {
namespace {

using namespace Qt::StringLiterals;
using test::expectOutput;
using test::output;
using test::runStudy;
namespace textbook = test::textbook;
constexpr double none = textbook::none;

// Wilder, New Concepts in Technical Trading Systems (1978): the first average gain and loss are the
// means of the first 14 day-to-day gains and losses (from the second day), then
// (previous * 13 + today's) / 14; RS = average gain / average loss; RSI = 100 - 100 / (1 + RS).
std::vector<double> wilderRsi(const std::vector<double>& closes, std::size_t length) {
    std::vector<double> out(closes.size(), none);
    double gain = 0, loss = 0;
    const auto len = static_cast<double>(length);
    for (std::size_t i = 1; i < closes.size(); ++i) {
        const double change = closes[i] - closes[i - 1];
        const double up = change > 0 ? change : 0;
        const double down = change < 0 ? -change : 0;
        if (i <= length) {
            gain += up / len;
            loss += down / len;
        } else {
            gain = (gain * (len - 1) + up) / len;
            loss = (loss * (len - 1) + down) / len;
        }
        if (i >= length) out[i] = 100 - 100 / (1 + gain / loss);
    }
    return out;
}

TEST(Rsi, HandWorkedWilderSmoothing) {
    // Length 2. Changes +1, -0.5, +1, -0.5.
    // Bar 2: gain (1 + 0) / 2 = 0.5, loss (0 + 0.5) / 2 = 0.25, RS 2, RSI 66.67.
    // Bar 3: gain (0.5 + 1) / 2 = 0.75, loss (0.25 + 0) / 2 = 0.125, RS 6, RSI 85.71.
    // Bar 4: gain 0.375, loss (0.125 + 0.5) / 2 = 0.3125, RS 1.2, RSI 54.55.
    const auto closes = test::closesOnly({10, 11, 10.5, 11.5, 11});
    expectOutput(runStudy(closes, u"rsi"_s, {{u"length"_s, 2.0}}), u"rsi"_s,
                 {none, none, 100 - 100 / 3.0, 100 - 100 / 7.0, 100 - 100 / 2.2}, 1e-12);
    // The same changes averaged simply (Cutler's form): bar 3 is gains (0 + 1) / 2 against losses
    // (0.5 + 0) / 2, RS 2.
    const auto simple = runStudy(closes, u"rsi"_s, {{u"length"_s, 2.0}, {u"averageType"_s, u"simple"_s}});
    EXPECT_NEAR(*simple.outputs[0].value(3), 100 - 100 / 3.0, 1e-12);

    // Only gains, only losses, no change at all.
    const auto rsiOf = [](std::vector<double> x) {
        return runStudy(test::closesOnly(x), u"rsi"_s, {{u"length"_s, 3.0}});
    };
    const auto rising = rsiOf({1, 2, 3, 4, 5});
    EXPECT_FALSE(rising.outputs[0].value(2)) << "three changes need four closes";
    EXPECT_EQ(rising.outputs[0].value(3), 100.0);
    EXPECT_EQ(rsiOf({5, 4, 3, 2, 1}).outputs[0].value(4), 0.0);
    EXPECT_EQ(rsiOf({7, 7, 7, 7, 7}).outputs[0].value(4), 50.0);
}

TEST(Rsi, AgreesWithWildersWorksheetOnALongSeriesAndReadsItsSource) {
    const auto candles = test::randomBars(5000, 31);
    const auto bars = test::columns(candles);
    expectOutput(runStudy(candles, u"rsi"_s), u"rsi"_s, wilderRsi(bars.close, 14), 1e-9);
    expectOutput(runStudy(candles, u"rsi"_s, {{u"source"_s, 5.0}}), u"rsi"_s,
                 wilderRsi(test::typical(bars), 14), 1e-9);
}

// Lane's stochastic: %K = 100 * (close - lowest low) / (highest high - lowest low) over the window;
// %D is a simple mean of %K.
TEST(Stochastic, HandWorked) {
    // kLength 2, no smoothing, %D over 2; closes sit off their bars' midpoints so the scale shows.
    // Bar 1: (11 - 8) / (12 - 8) = 75. Bar 2: (8 - 8) / (12 - 8) = 0. Bar 3: (10 - 8) / (11 - 8) = 66.67.
    const std::vector<Candle> candles{test::candle(0, 9, 10, 8, 9, 1), test::candle(60, 11, 12, 9, 11, 1),
                                      test::candle(120, 10, 11, 8, 8, 1), test::candle(180, 9, 10, 9, 10, 1)};
    const auto fast = runStudy(candles, u"stochastic"_s,
                               {{u"kLength"_s, 2.0}, {u"kSmoothing"_s, 1.0}, {u"dLength"_s, 2.0}});
    expectOutput(fast, u"k"_s, {none, 75, 0, 200.0 / 3}, 1e-12);
    expectOutput(fast, u"d"_s, {none, none, 37.5, 100.0 / 3}, 1e-12);
}

// Chande and Kroll, The New Technical Trader (1994): StochRSI = (RSI - lowest RSI) / (highest RSI -
// lowest RSI) over the window, here on a 0 to 100 scale. RSI pinned at 100 has no range to place it
// in: midway, not a gap or a division by zero.
TEST(StochasticRsi, PinnedRsiReadsMidway) {
    std::vector<double> rising;
    for (int i = 0; i < 12; ++i) rising.push_back(10 + i);
    const auto pinned = runStudy(
        test::closesOnly(rising), u"stochasticRsi"_s,
        {{u"rsiLength"_s, 2.0}, {u"stochLength"_s, 3.0}, {u"kSmoothing"_s, 1.0}, {u"dLength"_s, 1.0}});
    EXPECT_FALSE(pinned.outputs[0].value(3)) << "three RSI values need bars 2 to 4";
    EXPECT_EQ(pinned.outputs[0].value(4), 50.0);
    EXPECT_EQ(pinned.outputs[1].value(11), 50.0);
}

TEST(Cci, HandWorked) {
    // Length 3. Windows {4, 2, 3}: mean 3, deviation 2/3, CCI 0. {2, 3, 8}: mean 13/3, deviation
    // 22/9, CCI (11/3) / (0.015 * 22/9) = 100. {3, 8, 5}: mean 16/3, deviation 16/9, CCI -12.5.
    expectOutput(runStudy(test::closesOnly({4, 2, 3, 8, 5}), u"cci"_s, {{u"length"_s, 3.0}}), u"cci"_s,
                 {none, none, 0, 100, -12.5}, 1e-9);
}

// Williams: %R = -100 * (highest high - close) / (highest high - lowest low) over the window.
TEST(WilliamsR, HandWorked) {
    const std::vector<Candle> candles{test::candle(0, 9, 10, 8, 9, 1), test::candle(60, 11, 12, 9, 12, 1),
                                      test::candle(120, 10, 11, 8, 8, 1)};
    expectOutput(runStudy(candles, u"williamsR"_s, {{u"length"_s, 2.0}}), u"williamsR"_s, {none, 0, -100},
                 1e-12);
}

TEST(RateOfChangeAndMomentum, CompareWithTheCloseLengthBarsBack) {
    const auto candles = test::closesOnly({50, 40, 55, 60, 44});
    expectOutput(runStudy(candles, u"rateOfChange"_s, {{u"length"_s, 2.0}}), u"roc"_s,
                 {none, none, 10, 50, -20}, 1e-12);
    expectOutput(runStudy(candles, u"momentum"_s, {{u"length"_s, 3.0}}), u"momentum"_s,
                 {none, none, none, 10, 4}, 1e-12);
}

}  // namespace
}  // namespace tavix
