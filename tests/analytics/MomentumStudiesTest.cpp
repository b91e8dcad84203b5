#include "RandomBars.h"
#include "TextbookStudies.h"

#include <gtest/gtest.h>

#include <cmath>

namespace tavix {
namespace {

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

// The highest and lowest of a window, found by looking at every value in it.
std::pair<double, double> windowRange(const std::vector<double>& high, const std::vector<double>& low,
                                      std::size_t last, std::size_t length) {
    double highest = high[last], lowest = low[last];
    for (std::size_t j = last + 1 - length; j <= last; ++j) {
        highest = std::max(highest, high[j]);
        lowest = std::min(lowest, low[j]);
    }
    return {highest, lowest};
}

// The simple mean of a column that starts with NaN, starting once `length` values exist.
std::vector<double> smaFrom(const std::vector<double>& values, std::size_t length) {
    std::size_t first = 0;
    while (first < values.size() && std::isnan(values[first])) ++first;
    std::vector<double> out(values.size(), none);
    for (std::size_t i = first + length - 1; i < values.size(); ++i)
        out[i] = textbook::windowMean(values, i, length);
    return out;
}

TEST(Rsi, HandWorkedWilderSmoothing) {
    // Length 2. Changes +1, -0.5, +1, -0.5.
    // Bar 2: gain (1 + 0) / 2 = 0.5, loss (0 + 0.5) / 2 = 0.25, RS 2, RSI 66.67.
    // Bar 3: gain (0.5 + 1) / 2 = 0.75, loss (0.25 + 0) / 2 = 0.125, RS 6, RSI 85.71.
    // Bar 4: gain 0.375, loss (0.125 + 0.5) / 2 = 0.3125, RS 1.2, RSI 54.55.
    const auto run = runStudy(test::closesOnly({10, 11, 10.5, 11.5, 11}), QStringLiteral("rsi"),
                              {{QStringLiteral("length"), 2.0}});
    test::expectSeriesNear(output(run, QStringLiteral("rsi")),
                           {none, none, 100 - 100 / 3.0, 100 - 100 / 7.0, 100 - 100 / 2.2}, 1e-12, "rsi");

    // The same changes averaged simply (Cutler's form): bar 3 is gains (0 + 1) / 2 against losses
    // (0.5 + 0) / 2, RS 2.
    const auto simple = runStudy(
        test::closesOnly({10, 11, 10.5, 11.5, 11}), QStringLiteral("rsi"),
        {{QStringLiteral("length"), 2.0}, {QStringLiteral("averageType"), QStringLiteral("simple")}});
    EXPECT_NEAR(*simple.outputs[0].value(3), 100 - 100 / 3.0, 1e-12);
}

TEST(Rsi, OneSidedAndUnchangedPrices) {
    const auto rising =
        runStudy(test::closesOnly({1, 2, 3, 4, 5}), QStringLiteral("rsi"), {{QStringLiteral("length"), 3.0}});
    const auto falling =
        runStudy(test::closesOnly({5, 4, 3, 2, 1}), QStringLiteral("rsi"), {{QStringLiteral("length"), 3.0}});
    const auto flat =
        runStudy(test::closesOnly({7, 7, 7, 7, 7}), QStringLiteral("rsi"), {{QStringLiteral("length"), 3.0}});
    EXPECT_FALSE(rising.outputs[0].value(2)) << "three changes need four closes";
    EXPECT_EQ(rising.outputs[0].value(3), 100.0);
    EXPECT_EQ(falling.outputs[0].value(4), 0.0);
    EXPECT_EQ(flat.outputs[0].value(4), 50.0);
}

TEST(Rsi, AgreesWithWildersWorksheetOnALongSeriesAndReadsItsSource) {
    const auto candles = test::randomBars(5000, 31);
    const auto bars = test::columns(candles);
    test::expectSeriesNear(output(runStudy(candles, QStringLiteral("rsi")), QStringLiteral("rsi")),
                           wilderRsi(bars.close, 14), 1e-9, "rsi of closes");

    const auto opens =
        runStudy(candles, QStringLiteral("rsi"),
                 {{QStringLiteral("length"), 9.0}, {QStringLiteral("source"), QStringLiteral("open")}});
    test::expectSeriesNear(output(opens, QStringLiteral("rsi")), wilderRsi(bars.open, 9), 1e-9,
                           "rsi of opens");

    std::vector<double> typical(bars.close.size());
    for (std::size_t i = 0; i < typical.size(); ++i)
        typical[i] = (bars.high[i] + bars.low[i] + bars.close[i]) / 3;
    const auto blended = runStudy(candles, QStringLiteral("rsi"), {{QStringLiteral("source"), 5.0}});
    test::expectSeriesNear(output(blended, QStringLiteral("rsi")), wilderRsi(typical, 14), 1e-9,
                           "rsi of hlc3");
}

// Lane's stochastic: %K = 100 * (close - lowest low) / (highest high - lowest low) over 14 bars; the
// slow form smooths %K with a 3-bar simple mean and %D is a 3-bar simple mean of that.
TEST(Stochastic, HandWorkedAndAgainstLanesDefinition) {
    // kLength 2, no smoothing, %D over 2; closes sit off their bars' midpoints so the scale shows.
    std::vector<Candle> candles{test::candle(0, 9, 10, 8, 9, 1), test::candle(60, 11, 12, 9, 11, 1),
                                test::candle(120, 10, 11, 8, 8, 1), test::candle(180, 9, 10, 9, 10, 1)};
    const auto fast = runStudy(candles, QStringLiteral("stochastic"),
                               {{QStringLiteral("kLength"), 2.0},
                                {QStringLiteral("kSmoothing"), 1.0},
                                {QStringLiteral("dLength"), 2.0}});
    // Bar 1: (11 - 8) / (12 - 8) = 75. Bar 2: (8 - 8) / (12 - 8) = 0. Bar 3: (10 - 8) / (11 - 8) = 66.67.
    test::expectSeriesNear(output(fast, QStringLiteral("k")), {none, 75, 0, 200.0 / 3}, 1e-12, "fast k");
    test::expectSeriesNear(output(fast, QStringLiteral("d")), {none, none, 37.5, 100.0 / 3}, 1e-12, "fast d");

    const auto longCandles = test::randomBars(5000, 32);
    const auto bars = test::columns(longCandles);
    std::vector<double> raw(bars.close.size(), none);
    for (std::size_t i = 13; i < raw.size(); ++i) {
        const auto [highest, lowest] = windowRange(bars.high, bars.low, i, 14);
        raw[i] = 100 * (bars.close[i] - lowest) / (highest - lowest);
    }
    const auto k = smaFrom(raw, 3);
    const auto run = runStudy(longCandles, QStringLiteral("stochastic"));
    test::expectSeriesNear(output(run, QStringLiteral("k")), k, 1e-9, "k");
    test::expectSeriesNear(output(run, QStringLiteral("d")), smaFrom(k, 3), 1e-9, "d");
    EXPECT_FALSE(run.outputs[1].value(13 + 3)) << "%D needs three smoothed %K";
    EXPECT_TRUE(run.outputs[1].value(13 + 4));
}

// Chande and Kroll, The New Technical Trader (1994): StochRSI = (RSI - lowest RSI) / (highest RSI -
// lowest RSI) over the window, here on a 0 to 100 scale and smoothed into %K and %D as Lane's is.
TEST(StochasticRsi, AgreesWithChandeAndKrollsDefinitionOnALongSeries) {
    const auto candles = test::randomBars(5000, 33);
    const auto rsi = wilderRsi(test::columns(candles).close, 14);
    std::vector<double> raw(rsi.size(), none);
    for (std::size_t i = 14 + 13; i < rsi.size(); ++i) {
        const auto [highest, lowest] = windowRange(rsi, rsi, i, 14);
        raw[i] = 100 * (rsi[i] - lowest) / (highest - lowest);
    }
    const auto k = smaFrom(raw, 3);
    const auto run = runStudy(candles, QStringLiteral("stochasticRsi"));
    test::expectSeriesNear(output(run, QStringLiteral("k")), k, 1e-9, "k");
    test::expectSeriesNear(output(run, QStringLiteral("d")), smaFrom(k, 3), 1e-9, "d");

    // RSI pinned at 100 has no range to place it in: midway, not a gap or a division by zero.
    std::vector<double> rising;
    for (int i = 0; i < 12; ++i) rising.push_back(10 + i);
    const auto pinned = runStudy(test::closesOnly(rising), QStringLiteral("stochasticRsi"),
                                 {{QStringLiteral("rsiLength"), 2.0},
                                  {QStringLiteral("stochLength"), 3.0},
                                  {QStringLiteral("kSmoothing"), 1.0},
                                  {QStringLiteral("dLength"), 1.0}});
    EXPECT_FALSE(pinned.outputs[0].value(3)) << "three RSI values need bars 2 to 4";
    EXPECT_EQ(pinned.outputs[0].value(4), 50.0);
    EXPECT_EQ(pinned.outputs[1].value(11), 50.0);
}

// Lambert, "Commodity Channel Index: Tool for Trading Cyclic Trends" (1980): typical price
// (H + L + C) / 3; CCI = (TP - SMA(TP)) / (0.015 * mean absolute deviation of TP from that SMA).
TEST(Cci, HandWorkedAndAgainstLambertsDefinition) {
    // Length 3. Windows {4, 2, 3}: mean 3, deviation 2/3, CCI 0. {2, 3, 8}: mean 13/3, deviation
    // 22/9, CCI (11/3) / (0.015 * 22/9) = 100. {3, 8, 5}: mean 16/3, deviation 16/9, CCI -12.5.
    const auto run =
        runStudy(test::closesOnly({4, 2, 3, 8, 5}), QStringLiteral("cci"), {{QStringLiteral("length"), 3.0}});
    test::expectSeriesNear(output(run, QStringLiteral("cci")), {none, none, 0, 100, -12.5}, 1e-9, "cci");

    const auto candles = test::randomBars(5000, 34);
    const auto bars = test::columns(candles);
    std::vector<double> typical(bars.close.size());
    for (std::size_t i = 0; i < typical.size(); ++i)
        typical[i] = (bars.high[i] + bars.low[i] + bars.close[i]) / 3;
    std::vector<double> cci(typical.size(), none);
    for (std::size_t i = 19; i < typical.size(); ++i) {
        const double mean = textbook::windowMean(typical, i, 20);
        double deviation = 0;
        for (std::size_t j = i - 19; j <= i; ++j) deviation += std::abs(typical[j] - mean);
        cci[i] = (typical[i] - mean) / (0.015 * deviation / 20);
    }
    test::expectSeriesNear(output(runStudy(candles, QStringLiteral("cci")), QStringLiteral("cci")), cci, 1e-9,
                           "cci");
}

// Williams: %R = -100 * (highest high - close) / (highest high - lowest low) over the window.
TEST(WilliamsR, AgreesWithWilliamsDefinitionAndStaysBetweenMinus100AndZero) {
    std::vector<Candle> candles{test::candle(0, 9, 10, 8, 9, 1), test::candle(60, 11, 12, 9, 12, 1),
                                test::candle(120, 10, 11, 8, 8, 1)};
    const auto small = runStudy(candles, QStringLiteral("williamsR"), {{QStringLiteral("length"), 2.0}});
    test::expectSeriesNear(output(small, QStringLiteral("williamsR")), {none, 0, -100}, 1e-12, "small");

    const auto longCandles = test::randomBars(5000, 35);
    const auto bars = test::columns(longCandles);
    std::vector<double> expected(bars.close.size(), none);
    for (std::size_t i = 13; i < expected.size(); ++i) {
        const auto [highest, lowest] = windowRange(bars.high, bars.low, i, 14);
        expected[i] = -100 * (highest - bars.close[i]) / (highest - lowest);
    }
    const auto run = runStudy(longCandles, QStringLiteral("williamsR"));
    const auto& percent = output(run, QStringLiteral("williamsR"));
    test::expectSeriesNear(percent, expected, 1e-9, "williamsR");
    for (std::size_t i = 13; i < percent.size(); ++i) ASSERT_TRUE(percent[i] >= -100 && percent[i] <= 0) << i;
}

TEST(RateOfChangeAndMomentum, CompareWithTheCloseLengthBarsBack) {
    const auto candles = test::closesOnly({50, 40, 55, 60, 44});
    const auto roc = runStudy(candles, QStringLiteral("rateOfChange"), {{QStringLiteral("length"), 2.0}});
    test::expectSeriesNear(output(roc, QStringLiteral("roc")), {none, none, 10, 50, -20}, 1e-12, "roc");
    const auto momentum = runStudy(candles, QStringLiteral("momentum"), {{QStringLiteral("length"), 3.0}});
    test::expectSeriesNear(output(momentum, QStringLiteral("momentum")), {none, none, none, 10, 4}, 1e-12,
                           "momentum");

    const auto standard = runStudy(test::randomBars(30, 36), QStringLiteral("rateOfChange"));
    EXPECT_FALSE(standard.outputs[0].value(11));
    EXPECT_TRUE(standard.outputs[0].value(12));
}

TEST(MomentumStudies, ShortSeriesGiveNoValuesAndBadSettingsAreRefused) {
    for (const QString& study :
         {QStringLiteral("rsi"), QStringLiteral("stochastic"), QStringLiteral("stochasticRsi"),
          QStringLiteral("cci"), QStringLiteral("williamsR"), QStringLiteral("rateOfChange"),
          QStringLiteral("momentum")}) {
        const auto run = runStudy(test::randomBars(1, 37), study);
        for (const StudySeries& series : run.outputs) {
            ASSERT_EQ(series.size(), 1u) << study.toStdString();
            EXPECT_FALSE(series.value(0)) << study.toStdString();
        }
    }
    EXPECT_FALSE(
        test::refusal(QStringLiteral("rsi"), {{QStringLiteral("source"), QStringLiteral("vwap")}}).isEmpty());
    EXPECT_FALSE(
        test::refusal(QStringLiteral("stochastic"), {{QStringLiteral("kSmoothing"), 0.0}}).isEmpty());
    EXPECT_FALSE(test::refusal(QStringLiteral("cci"), {{QStringLiteral("length"), 2.5}}).isEmpty());
    EXPECT_FALSE(test::refusal(QStringLiteral("williamsR"), {{QStringLiteral("period"), 14.0}}).isEmpty());
}

}  // namespace
}  // namespace tavix
