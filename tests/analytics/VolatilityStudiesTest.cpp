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

TEST(AverageTrueRange, HandWorkedWithGapsBothWays) {
    // True ranges: 2 (first bar: high - low), 2, 3.5 (gap up: 14 - 10.5), 2.5 (gap down:
    // 13.5 - 11), 2.
    const std::vector<Candle> candles = {
        test::candle(0, 9, 10, 8, 9, 1),        test::candle(60, 9, 11, 9, 10.5, 1),
        test::candle(120, 13, 14, 13, 13.5, 1), test::candle(180, 12, 12, 11, 11, 1),
        test::candle(240, 11, 12, 10, 11.5, 1),
    };
    const auto wilder = output(runStudy(candles, u"averageTrueRange"_s, {{u"length"_s, 3.0}}), u"atr"_s);
    EXPECT_TRUE(std::isnan(wilder[1]));
    EXPECT_DOUBLE_EQ(wilder[2], 2.5);      // (2 + 2 + 3.5) / 3
    EXPECT_DOUBLE_EQ(wilder[3], 2.5);      // (2.5 * 2 + 2.5) / 3
    EXPECT_DOUBLE_EQ(wilder[4], 7.0 / 3);  // (2.5 * 2 + 2) / 3

    const auto simple = output(
        runStudy(candles, u"averageTrueRange"_s, {{u"length"_s, 3.0}, {u"averageType"_s, u"simple"_s}}),
        u"atr"_s);
    EXPECT_DOUBLE_EQ(simple[3], 8.0 / 3);  // (2 + 3.5 + 2.5) / 3
    EXPECT_DOUBLE_EQ(simple[4], 8.0 / 3);  // (3.5 + 2.5 + 2) / 3
}

// Wilder, New Concepts in Technical Trading Systems (1978): ATR starts as the mean of the first 14
// true ranges and goes on as (previous * 13 + true range) / 14. The standard deviation is the
// population one of each window, in two passes.
TEST(AverageTrueRangeAndDeviation, AgreeWithTheDefinitionsOnALongSeries) {
    const auto candles = test::randomBars(20000, 31);
    const auto bars = test::columns(candles);
    expectOutput(runStudy(candles, u"averageTrueRange"_s), u"atr"_s,
                 textbook::wilderAtr(bars.high, bars.low, bars.close, 14), 1e-9);
    expectOutput(runStudy(candles, u"standardDeviation"_s), u"stdDev"_s,
                 textbook::populationDeviation(bars.close, 20), 1e-9);
    expectOutput(runStudy(candles, u"standardDeviation"_s, {{u"source"_s, u"high"_s}, {u"length"_s, 5.0}}),
                 u"stdDev"_s, textbook::populationDeviation(bars.high, 5), 1e-9);
}

// Historical (close-to-close) volatility as option traders quote it: the sample standard deviation
// (n - 1) of the last n log returns ln(close / previous close), times sqrt(bars in a year), in
// percent.
double volatilityOf(const std::vector<double>& closes, CandleInterval interval) {
    return output(
               runStudy(test::closesOnly(closes), u"historicalVolatility"_s, {{u"length"_s, 3.0}}, interval),
               u"hv"_s)
        .back();
}

TEST(HistoricalVolatility, HandWorkedAndAnnualisedForEachInterval) {
    // Log returns ln(1.01), ln(100/101), ln(1.02): mean 0.0065675, sample deviation 0.0151567;
    // times sqrt(252) and 100 is 24.0604%.
    const std::vector<double> closes = {100, 101, 100, 102};
    const double daily = volatilityOf(closes, CandleInterval::daily);
    EXPECT_NEAR(daily, 24.0604216937048, 1e-9);
    EXPECT_TRUE(std::isnan(output(
        runStudy(test::closesOnly(closes), u"historicalVolatility"_s, {{u"length"_s, 3.0}}), u"hv"_s)[2]));
    // A year holds 52 weeks, 12 months, and 390 one-minute or 6.5 hourly bars in each of 252 days.
    EXPECT_NEAR(volatilityOf(closes, CandleInterval::weekly) / daily, std::sqrt(52.0 / 252), 1e-12);
    EXPECT_NEAR(volatilityOf(closes, CandleInterval::monthly) / daily, std::sqrt(12.0 / 252), 1e-12);
    EXPECT_NEAR(volatilityOf(closes, CandleInterval::oneMinute) / daily, std::sqrt(390.0), 1e-12);
    EXPECT_NEAR(volatilityOf(closes, CandleInterval::fiveMinute) / daily, std::sqrt(78.0), 1e-12);
    EXPECT_NEAR(volatilityOf(closes, CandleInterval::hourly) / daily, std::sqrt(6.5), 1e-12);
}

TEST(HistoricalVolatility, StartsAgainAfterACloseWithNoLogReturn) {
    auto candles = test::randomBars(200, 34);
    candles[50].close = Decimal(0);
    const auto hv = output(runStudy(candles, u"historicalVolatility"_s, {{u"length"_s, 5.0}}), u"hv"_s);
    // Returns into and out of bar 50 have no value; five good ones are needed again after them.
    EXPECT_FALSE(std::isnan(hv[49]));
    for (std::size_t i = 50; i <= 55; ++i) EXPECT_TRUE(std::isnan(hv[i])) << i;
    // From there on it reads as if the bars began at 51.
    const std::vector<Candle> after(candles.begin() + 51, candles.end());
    const auto fresh = output(runStudy(after, u"historicalVolatility"_s, {{u"length"_s, 5.0}}), u"hv"_s);
    for (std::size_t i = 56; i < candles.size(); ++i) EXPECT_NEAR(hv[i], fresh[i - 51], 1e-9) << i;
}

}  // namespace
}  // namespace tavix
