#include "RandomBars.h"
#include "TextbookStudies.h"

#include <gtest/gtest.h>

#include <cmath>

namespace tavix {
namespace {

using test::output;
using test::runStudy;
namespace textbook = test::textbook;

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

// An exponential average that starts where `values` first has one, seeded with the simple mean.
std::vector<double> emaFrom(const std::vector<double>& values, std::size_t length) {
    std::size_t first = 0;
    while (first < values.size() && std::isnan(values[first])) ++first;
    std::vector<double> out(values.size(), textbook::none);
    const std::vector<double> tail(values.begin() + static_cast<std::ptrdiff_t>(first), values.end());
    const auto smoothed = textbook::ema(tail, length);
    std::copy(smoothed.begin(), smoothed.end(), out.begin() + static_cast<std::ptrdiff_t>(first));
    return out;
}

TEST(Macd, HandWorkedWithSimpleAverages) {
    // Fast SMA(2): -, 1.5, 3, 5.5, 9. Slow SMA(3): -, -, 7/3, 13/3, 22/3. MACD: 2/3, 7/6, 5/3.
    // Signal SMA(2) of MACD: 11/12, 17/12; histogram 1/4 and 1/4.
    const auto run = runStudy(test::closesOnly({1, 2, 4, 7, 11}), QStringLiteral("macd"),
                              {{QStringLiteral("fastLength"), 2.0},
                               {QStringLiteral("slowLength"), 3.0},
                               {QStringLiteral("signalLength"), 2.0},
                               {QStringLiteral("averageType"), QStringLiteral("simple")}});
    const auto& macd = output(run, QStringLiteral("macd"));
    const auto& signal = output(run, QStringLiteral("signal"));
    const auto& histogram = output(run, QStringLiteral("histogram"));
    test::expectSeriesNear(macd, {textbook::none, textbook::none, 2.0 / 3, 7.0 / 6, 5.0 / 3}, 1e-12, "macd");
    test::expectSeriesNear(signal, {textbook::none, textbook::none, textbook::none, 11.0 / 12, 17.0 / 12},
                           1e-12, "signal");
    test::expectSeriesNear(histogram, {textbook::none, textbook::none, textbook::none, 0.25, 0.25}, 1e-12,
                           "histogram");
}

// Appel's MACD (Technical Analysis: Power Tools for Active Investors, 2005): EMA(12) - EMA(26) of
// the close, a 9-period EMA of that as the signal, and their difference as the histogram.
TEST(Macd, AgreesWithAppelsDefinitionOnALongSeries) {
    const auto candles = test::randomBars(5000, 21);
    const auto bars = test::columns(candles);
    const auto fast = textbook::ema(bars.close, 12);
    const auto slow = textbook::ema(bars.close, 26);
    std::vector<double> macd(fast.size());
    for (std::size_t i = 0; i < macd.size(); ++i) macd[i] = fast[i] - slow[i];
    const auto signal = emaFrom(macd, 9);
    std::vector<double> histogram(macd.size());
    for (std::size_t i = 0; i < macd.size(); ++i) histogram[i] = macd[i] - signal[i];

    const auto run = runStudy(candles, QStringLiteral("macd"));
    test::expectSeriesNear(output(run, QStringLiteral("macd")), macd, 1e-9, "macd");
    test::expectSeriesNear(output(run, QStringLiteral("signal")), signal, 1e-9, "signal");
    test::expectSeriesNear(output(run, QStringLiteral("histogram")), histogram, 1e-9, "histogram");
    EXPECT_FALSE(run.outputs[1].value(25 + 7)) << "the signal needs nine MACD values";
    EXPECT_TRUE(run.outputs[1].value(25 + 8));
}

struct Directional {
    std::vector<double> adx, diPlus, diMinus;
};

// Wilder, New Concepts in Technical Trading Systems (1978), in his running-sum form: TR14, +DM14
// and -DM14 start as the sums of the first 14 days (from the second day, which is the first with a
// move) and go on as previous - previous / 14 + today; DI = 100 * DM14 / TR14;
// DX = 100 * |DI+ - DI-| / (DI+ + DI-); ADX starts as the mean of the first 14 DX, then
// (previous * 13 + DX) / 14.
Directional wilderDirectional(const test::Columns& bars, std::size_t length) {
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
    for (int length : {14, 5}) {
        const auto expected = wilderDirectional(bars, static_cast<std::size_t>(length));
        const auto run =
            runStudy(candles, QStringLiteral("adx"), {{QStringLiteral("length"), double(length)}});
        test::expectSeriesNear(output(run, QStringLiteral("adx")), expected.adx, 1e-9, "adx");
        test::expectSeriesNear(output(run, QStringLiteral("diPlus")), expected.diPlus, 1e-9, "diPlus");
        test::expectSeriesNear(output(run, QStringLiteral("diMinus")), expected.diMinus, 1e-9, "diMinus");
    }
}

TEST(Adx, SteadyRiseIsAllUpAndBarsThatNeverMoveGiveZeroNotGaps) {
    // Every bar one higher than the last, closing at its high: each true range and +DM is 1, -DM 0.
    std::vector<std::pair<double, double>> rising;
    for (int i = 0; i < 8; ++i) rising.emplace_back(11 + i, 10 + i);
    auto candles = ranges(rising);
    for (Candle& c : candles) c.close = c.high;
    const auto run = runStudy(candles, QStringLiteral("adx"), {{QStringLiteral("length"), 3.0}});
    const auto& adx = output(run, QStringLiteral("adx"));
    const auto& diPlus = output(run, QStringLiteral("diPlus"));
    const auto& diMinus = output(run, QStringLiteral("diMinus"));
    for (std::size_t i = 0; i < 3; ++i) EXPECT_TRUE(std::isnan(diPlus[i])) << "DI warm-up at bar " << i;
    for (std::size_t i = 0; i < 5; ++i) EXPECT_TRUE(std::isnan(adx[i])) << "ADX warm-up at bar " << i;
    for (std::size_t i = 3; i < 8; ++i) {
        EXPECT_DOUBLE_EQ(diPlus[i], 100);
        EXPECT_DOUBLE_EQ(diMinus[i], 0);
    }
    EXPECT_DOUBLE_EQ(adx[5], 100);
    EXPECT_DOUBLE_EQ(adx[7], 100);

    const auto flat = runStudy(test::closesOnly(std::vector<double>(10, 50)), QStringLiteral("adx"),
                               {{QStringLiteral("length"), 3.0}});
    EXPECT_EQ(run.outputs[0].value(5), 100.0);
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
                              QStringLiteral("parabolicSar"),
                              {{QStringLiteral("step"), 0.1}, {QStringLiteral("maximum"), 0.2}});
    test::expectSeriesNear(output(run, QStringLiteral("sar")), {textbook::none, 9, 9, 9.6, 13, 13, 12.5},
                           1e-12, "sar");

    // A first bar that falls starts short, at the first bar's high; with a new low on bar 2 the
    // factor is 0.04 on bar 3: 10 + 0.04 * (7.5 - 10) = 9.9, above the two highs before.
    const auto falling =
        runStudy(ranges({{10, 9}, {9.5, 8}, {9, 7.5}, {8.5, 7}}), QStringLiteral("parabolicSar"));
    EXPECT_EQ(falling.outputs[0].value(1), 10.0);
    EXPECT_EQ(falling.outputs[0].value(2), 10.0) << "held at the high two bars back";
    EXPECT_NEAR(*falling.outputs[0].value(3), 9.9, 1e-12);
}

// Wilder (1978): SAR(tomorrow) = SAR(today) + AF * (EP - SAR(today)); AF starts at the step, grows
// by a step with each new extreme up to the maximum; a long stop never rises above the last two
// lows (a short one never below the last two highs); when a bar reaches the stop the position turns,
// the new stop is the old trade's extreme point and the new extreme this bar's far end.
std::vector<double> wilderSar(const test::Columns& bars, double step, double maximum) {
    const std::size_t n = bars.close.size();
    std::vector<double> out(n, textbook::none);
    if (n < 2) return out;
    struct Trade {
        bool longSide;
        double stop, extreme, factor;
    };
    const bool startLong =
        !(bars.low[0] - bars.low[1] > 0 && bars.low[0] - bars.low[1] > bars.high[1] - bars.high[0]);
    Trade trade{startLong, startLong ? bars.low[0] : bars.high[0], startLong ? bars.high[1] : bars.low[1],
                step};
    for (std::size_t day = 1; day < n; ++day) {
        if (day > 1) {
            double next = trade.stop + trade.factor * (trade.extreme - trade.stop);
            next = trade.longSide ? std::min({next, bars.low[day - 1], bars.low[day - 2]})
                                  : std::max({next, bars.high[day - 1], bars.high[day - 2]});
            trade.stop = next;
        }
        const bool stopped = trade.longSide ? bars.low[day] <= trade.stop : bars.high[day] >= trade.stop;
        if (stopped) {
            const double turnAt = trade.longSide ? std::max(trade.extreme, bars.high[day])
                                                 : std::min(trade.extreme, bars.low[day]);
            trade = Trade{!trade.longSide, turnAt, trade.longSide ? bars.low[day] : bars.high[day], step};
        } else if (trade.longSide && bars.high[day] > trade.extreme) {
            trade.extreme = bars.high[day];
            trade.factor = std::min(trade.factor + step, maximum);
        } else if (!trade.longSide && bars.low[day] < trade.extreme) {
            trade.extreme = bars.low[day];
            trade.factor = std::min(trade.factor + step, maximum);
        }
        out[day] = trade.stop;
    }
    return out;
}

TEST(ParabolicSar, AgreesWithWildersRulesAndStaysOutsideEveryBar) {
    const auto candles = test::randomBars(5000, 23);
    const auto bars = test::columns(candles);
    const auto run = runStudy(candles, QStringLiteral("parabolicSar"));
    const auto& sar = output(run, QStringLiteral("sar"));
    test::expectSeriesNear(sar, wilderSar(bars, 0.02, 0.2), 1e-9, "sar");

    // A stop inside a bar's range would have been hit on that bar.
    int reversals = 0;
    bool wasBelow = sar[1] < bars.low[1];
    for (std::size_t i = 1; i < sar.size(); ++i) {
        const bool below = sar[i] < bars.low[i];
        ASSERT_TRUE(sar[i] <= bars.low[i] || sar[i] >= bars.high[i])
            << "stop " << sar[i] << " inside bar " << i;
        reversals += below != wasBelow ? 1 : 0;
        wasBelow = below;
    }
    EXPECT_GT(reversals, 50) << "a random walk turns the position often";

    const auto quick = runStudy(candles, QStringLiteral("parabolicSar"),
                                {{QStringLiteral("step"), 0.05}, {QStringLiteral("maximum"), 0.5}});
    test::expectSeriesNear(output(quick, QStringLiteral("sar")), wilderSar(bars, 0.05, 0.5), 1e-9,
                           "quick sar");
}

TEST(Ichimoku, HandWorkedLinesAndShifts) {
    // Conversion over 2 bars, base over 3, span B over 4, shifted 2 bars.
    const auto run = runStudy(ranges({{10, 8}, {12, 9}, {11, 7}, {14, 10}, {13, 12}, {15, 11}}),
                              QStringLiteral("ichimoku"),
                              {{QStringLiteral("conversionLength"), 2.0},
                               {QStringLiteral("baseLength"), 3.0},
                               {QStringLiteral("spanBLength"), 4.0},
                               {QStringLiteral("displacement"), 2.0}});
    const double none = textbook::none;
    // (max high + min low) / 2 over each window.
    const std::vector<double> conversion{none, 10, 9.5, 10.5, 12, 13};
    const std::vector<double> base{none, none, 9.5, 10.5, 10.5, 12.5};
    test::expectSeriesNear(output(run, QStringLiteral("conversion")), conversion, 1e-12, "conversion");
    test::expectSeriesNear(output(run, QStringLiteral("base")), base, 1e-12, "base");
    // Span A at bar i is (conversion + base) / 2 of bar i - 2; span B the 4-bar midpoint of bar i - 2.
    test::expectSeriesNear(output(run, QStringLiteral("spanA")), {none, none, none, none, 9.5, 10.5}, 1e-12,
                           "spanA");
    test::expectSeriesNear(output(run, QStringLiteral("spanB")), {none, none, none, none, none, 10.5}, 1e-12,
                           "spanB");
    // The lagging line is the close two bars later; the last two bars have none.
    test::expectSeriesNear(output(run, QStringLiteral("lagging")), {9, 12, 12.5, 13, none, none}, 1e-12,
                           "lagging");
}

// Hosoda's Ichimoku Kinko Hyo: each line is the midpoint (highest high + lowest low) / 2 of its
// window (9 conversion, 26 base, 52 span B); span A is the mean of conversion and base; the spans
// are drawn 26 bars ahead and the close 26 bars behind.
TEST(Ichimoku, AgreesWithHosodasDefinitionOnALongSeries) {
    const auto candles = test::randomBars(3000, 24);
    const auto bars = test::columns(candles);
    const std::size_t n = bars.close.size();
    const auto midpoint = [&](std::size_t last, std::size_t length) {
        if (last + 1 < length) return textbook::none;
        double high = bars.high[last], low = bars.low[last];
        for (std::size_t j = last + 1 - length; j <= last; ++j) {
            high = std::max(high, bars.high[j]);
            low = std::min(low, bars.low[j]);
        }
        return (high + low) / 2;
    };
    std::vector<double> conversion(n), base(n), spanA(n, textbook::none), spanB(n, textbook::none),
        lagging(n, textbook::none);
    for (std::size_t i = 0; i < n; ++i) {
        conversion[i] = midpoint(i, 9);
        base[i] = midpoint(i, 26);
        if (i >= 26) {
            spanA[i] = (midpoint(i - 26, 9) + midpoint(i - 26, 26)) / 2;
            spanB[i] = midpoint(i - 26, 52);
        }
        if (i + 26 < n) lagging[i] = bars.close[i + 26];
    }
    const auto run = runStudy(candles, QStringLiteral("ichimoku"));
    test::expectSeriesNear(output(run, QStringLiteral("conversion")), conversion, 1e-12, "conversion");
    test::expectSeriesNear(output(run, QStringLiteral("base")), base, 1e-12, "base");
    test::expectSeriesNear(output(run, QStringLiteral("spanA")), spanA, 1e-12, "spanA");
    test::expectSeriesNear(output(run, QStringLiteral("spanB")), spanB, 1e-12, "spanB");
    test::expectSeriesNear(output(run, QStringLiteral("lagging")), lagging, 1e-12, "lagging");
}

TEST(TrendStudies, ShortSeriesGiveNoValuesRatherThanFailing) {
    for (const QString& study : {QStringLiteral("macd"), QStringLiteral("adx"),
                                 QStringLiteral("parabolicSar"), QStringLiteral("ichimoku")}) {
        for (std::size_t count : {0u, 1u}) {
            const auto run = runStudy(test::randomBars(count, 25), study);
            for (const StudySeries& series : run.outputs) {
                ASSERT_EQ(series.size(), count) << study.toStdString();
                for (std::size_t i = 0; i < count; ++i) EXPECT_FALSE(series.value(i)) << study.toStdString();
            }
        }
    }
}

TEST(TrendStudies, RefuseSettingsOutsideTheirRanges) {
    EXPECT_FALSE(test::refusal(QStringLiteral("parabolicSar"), {{QStringLiteral("maximum"), 0.0}}).isEmpty());
    EXPECT_FALSE(
        test::refusal(QStringLiteral("macd"), {{QStringLiteral("averageType"), QStringLiteral("median")}})
            .isEmpty());
    EXPECT_FALSE(
        test::refusal(QStringLiteral("ichimoku"), {{QStringLiteral("displacement"), -1.0}}).isEmpty());
    EXPECT_FALSE(test::refusal(QStringLiteral("adx"), {{QStringLiteral("length"), 0.0}}).isEmpty());
    EXPECT_TRUE(test::refusal(QStringLiteral("macd"), {{QStringLiteral("averageType"), 2.0}}).isEmpty());
}

}  // namespace
}  // namespace tavix
