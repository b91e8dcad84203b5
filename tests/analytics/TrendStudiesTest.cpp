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

// Bars from highs and lows alone; each closes at its midpoint.
std::vector<Candle> ranges(const std::vector<std::pair<double, double>>& highLow) {
    std::vector<Candle> candles;
    for (std::size_t i = 0; i < highLow.size(); ++i) {
        const auto [high, low] = highLow[i];
        candles.push_back(test::candle(1'700'000'000.0 + 60.0 * static_cast<double>(i), (high + low) / 2,
                                       high, low, (high + low) / 2, 100));
    }
    return candles;
}

TEST(Macd, HandWorkedWithSimpleAverages) {
    // Fast SMA(2): -, 1.5, 3, 5.5, 9. Slow SMA(3): -, -, 7/3, 13/3, 22/3. MACD: 2/3, 7/6, 5/3.
    // Signal SMA(2) of MACD: 11/12, 17/12; histogram 1/4 and 1/4.
    const auto run = runStudy(test::closesOnly({1, 2, 4, 7, 11}), u"macd"_s,
                              {{u"fastLength"_s, 2.0},
                               {u"slowLength"_s, 3.0},
                               {u"signalLength"_s, 2.0},
                               {u"averageType"_s, u"simple"_s}});
    expectOutput(run, u"macd"_s, {none, none, 2.0 / 3, 7.0 / 6, 5.0 / 3}, 1e-12);
    expectOutput(run, u"signal"_s, {none, none, none, 11.0 / 12, 17.0 / 12}, 1e-12);
    expectOutput(run, u"histogram"_s, {none, none, none, 0.25, 0.25}, 1e-12);
}

struct Directional {
    std::vector<double> adx, diPlus, diMinus;
};

// Wilder, New Concepts in Technical Trading Systems (1978), in his running-sum form: TR14, +DM14
// and -DM14 start as the sums of the first 14 days (from the second day, which is the first with a
// move) and go on as previous - previous / 14 + today; DI = 100 * DM14 / TR14;
// DX = 100 * |DI+ - DI-| / (DI+ + DI-); ADX starts as the mean of the first 14 DX, then
// (previous * 13 + DX) / 14.
Directional wilderDirectional(const StudyBars& bars, std::size_t length) {
    const std::size_t n = bars.close.size();
    Directional out{std::vector<double>(n, textbook::none), std::vector<double>(n, textbook::none),
                    std::vector<double>(n, textbook::none)};
    double tr = 0, plus = 0, minus = 0, adxSum = 0, adx = 0;
    std::vector<double> dx(n, textbook::none);
    for (std::size_t i = 1; i < n; ++i) {
        const double range = std::max({bars.high[i] - bars.low[i], std::abs(bars.high[i] - bars.close[i - 1]),
                                       std::abs(bars.low[i] - bars.close[i - 1])});
        const double up = bars.high[i] - bars.high[i - 1];
        const double down = bars.low[i - 1] - bars.low[i];
        const double plusDm = up > down && up > 0 ? up : 0;
        const double minusDm = down > up && down > 0 ? down : 0;
        const auto len = static_cast<double>(length);
        if (i <= length) {
            tr += range;
            plus += plusDm;
            minus += minusDm;
        } else {
            tr = tr - tr / len + range;
            plus = plus - plus / len + plusDm;
            minus = minus - minus / len + minusDm;
        }
        if (i < length) continue;
        const double diPlus = 100 * plus / tr;
        const double diMinus = 100 * minus / tr;
        out.diPlus[i] = diPlus;
        out.diMinus[i] = diMinus;
        dx[i] = 100 * std::abs(diPlus - diMinus) / (diPlus + diMinus);
        if (i < 2 * length - 1) {
            adxSum += dx[i];
        } else if (i == 2 * length - 1) {
            adx = (adxSum + dx[i]) / len;
            out.adx[i] = adx;
        } else {
            adx = (adx * (len - 1) + dx[i]) / len;
            out.adx[i] = adx;
        }
    }
    return out;
}

TEST(Adx, AgreesWithWildersWorksheetOnALongSeries) {
    const auto candles = test::randomBars(5000, 22);
    const auto bars = test::columns(candles);
    for (const std::size_t length : {14u, 5u}) {
        const auto expected = wilderDirectional(bars, length);
        const auto run = runStudy(candles, u"adx"_s, {{u"length"_s, static_cast<double>(length)}});
        expectOutput(run, u"adx"_s, expected.adx, 1e-9);
        expectOutput(run, u"diPlus"_s, expected.diPlus, 1e-9);
        expectOutput(run, u"diMinus"_s, expected.diMinus, 1e-9);
    }
}

TEST(Adx, BarsThatNeverMoveGiveZeroNotGaps) {
    const auto flat = runStudy(test::closesOnly(std::vector<double>(10, 50)), u"adx"_s, {{u"length"_s, 3.0}});
    EXPECT_EQ(flat.outputs[0].value(9), 0.0);
    EXPECT_EQ(flat.outputs[1].value(9), 0.0);
    EXPECT_EQ(flat.outputs[2].value(3), 0.0);
}

TEST(ParabolicSar, HandWorkedThroughARiseAndAReversal) {
    // Step 0.1, maximum 0.2. Bar 1 rises: long, stop at bar 0's low 9, extreme 11.
    // Bar 2: 9 + 0.1 * (11 - 9) = 9.2, held below the two lows before (10 and 9): 9. New high 12, AF 0.2.
    // Bar 3: 9 + 0.2 * (12 - 9) = 9.6. New high 13, AF stays at its maximum 0.2.
    // Bar 4: 9.6 + 0.2 * (13 - 9.6) = 10.28; the low of 8 breaks it: short at the old extreme 13,
    //        extreme 8, AF back to 0.1.
    // Bar 5: 13 + 0.1 * (8 - 13) = 12.5, held above the two highs before (11 and 13): 13.
    // Bar 6: 12.5, above the highs 10 and 11; the low of 7 is a new extreme.
    const auto run = runStudy(ranges({{10, 9}, {11, 10}, {12, 11}, {13, 12}, {11, 8}, {10, 9}, {9, 7}}),
                              u"parabolicSar"_s, {{u"step"_s, 0.1}, {u"maximum"_s, 0.2}});
    expectOutput(run, u"sar"_s, {none, 9, 9, 9.6, 13, 13, 12.5}, 1e-12);

    // A first bar that falls starts short, at the first bar's high; with a new low on bar 2 the
    // factor is 0.04 on bar 3: 10 + 0.04 * (7.5 - 10) = 9.9, above the two highs before.
    const auto falling = runStudy(ranges({{10, 9}, {9.5, 8}, {9, 7.5}, {8.5, 7}}), u"parabolicSar"_s);
    EXPECT_EQ(falling.outputs[0].value(1), 10.0);
    EXPECT_EQ(falling.outputs[0].value(2), 10.0) << "held at the high two bars back";
    EXPECT_NEAR(*falling.outputs[0].value(3), 9.9, 1e-12);
}

TEST(Ichimoku, HandWorkedLinesAndShifts) {
    // Conversion over 2 bars, base over 3, span B over 4, shifted 2 bars; each line is
    // (max high + min low) / 2 over its window.
    const auto run =
        runStudy(ranges({{10, 8}, {12, 9}, {11, 7}, {14, 10}, {13, 12}, {15, 11}}), u"ichimoku"_s,
                 {{u"conversionLength"_s, 2.0},
                  {u"baseLength"_s, 3.0},
                  {u"spanBLength"_s, 4.0},
                  {u"displacement"_s, 2.0}});
    expectOutput(run, u"conversion"_s, {none, 10, 9.5, 10.5, 12, 13}, 1e-12);
    expectOutput(run, u"base"_s, {none, none, 9.5, 10.5, 10.5, 12.5}, 1e-12);
    // Span A at bar i is (conversion + base) / 2 of bar i - 2; span B the 4-bar midpoint of bar i - 2.
    expectOutput(run, u"spanA"_s, {none, none, none, none, 9.5, 10.5}, 1e-12);
    expectOutput(run, u"spanB"_s, {none, none, none, none, none, 10.5}, 1e-12);
    // The lagging line is the close two bars later; the last two bars have none.
    expectOutput(run, u"lagging"_s, {9, 12, 12.5, 13, none, none}, 1e-12);
}

}  // namespace
}  // namespace tavix
