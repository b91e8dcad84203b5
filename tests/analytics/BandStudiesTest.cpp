#include "RandomBars.h"
#include "TextbookStudies.h"

#include <gtest/gtest.h>

#include <cmath>

namespace tavix {
namespace {

using test::output;
using test::runStudy;
namespace textbook = test::textbook;

TEST(BollingerBands, HandWorkedWindowUsesPopulationDeviation) {
    // Windows of 3: {10,12,14} mean 12, variance 8/3; {12,14,13} mean 13, variance 2/3;
    // {14,13,11} mean 38/3, variance 14/9. Bands 2 deviations up, 1 down.
    const auto run = runStudy(test::closesOnly({10, 12, 14, 13, 11}), QStringLiteral("bollingerBands"),
                              {{QStringLiteral("length"), 3.0},
                               {QStringLiteral("numDevUp"), 2.0},
                               {QStringLiteral("numDevDn"), 1.0}});
    ASSERT_EQ(run.outputs.size(), 3u);
    const auto& upper = output(run, QStringLiteral("upper"));
    const auto& middle = output(run, QStringLiteral("middle"));
    const auto& lower = output(run, QStringLiteral("lower"));
    for (std::size_t i : {0u, 1u}) {
        EXPECT_FALSE(run.outputs[0].value(i)) << "warm-up bar " << i;
        EXPECT_TRUE(std::isnan(middle[i]) && std::isnan(lower[i]));
    }
    EXPECT_NEAR(middle[2], 12, 1e-12);
    EXPECT_NEAR(upper[2], 12 + 2 * std::sqrt(8.0 / 3), 1e-12);
    EXPECT_NEAR(lower[2], 12 - std::sqrt(8.0 / 3), 1e-12);
    EXPECT_NEAR(upper[3], 13 + 2 * std::sqrt(2.0 / 3), 1e-12);
    EXPECT_NEAR(lower[3], 13 - std::sqrt(2.0 / 3), 1e-12);
    EXPECT_NEAR(middle[4], 38.0 / 3, 1e-12);
    EXPECT_NEAR(upper[4], 38.0 / 3 + 2 * std::sqrt(14.0 / 9), 1e-12);
}

// Bollinger on Bollinger Bands (2001): the middle band is a moving average of the price and the
// bands sit a number of population standard deviations of the same window above and below it.
TEST(BollingerBands, AgreeWithTheDefinitionOnALongSeries) {
    const auto candles = test::randomBars(5000, 11);
    const auto bars = test::columns(candles);

    const auto standard = runStudy(candles, QStringLiteral("bollingerBands"));
    const auto middle = textbook::sma(bars.close, 20);
    const auto deviation = textbook::populationDeviation(bars.close, 20);
    std::vector<double> upper(middle.size()), lower(middle.size());
    for (std::size_t i = 0; i < middle.size(); ++i) {
        upper[i] = middle[i] + 2 * deviation[i];
        lower[i] = middle[i] - 2 * deviation[i];
    }
    test::expectSeriesNear(output(standard, QStringLiteral("middle")), middle, 1e-9, "middle");
    test::expectSeriesNear(output(standard, QStringLiteral("upper")), upper, 1e-9, "upper");
    test::expectSeriesNear(output(standard, QStringLiteral("lower")), lower, 1e-9, "lower");

    // The same over the bars' midpoints, around an exponential average, with uneven bands.
    const auto varied = runStudy(candles, QStringLiteral("bollingerBands"),
                                 {{QStringLiteral("source"), QStringLiteral("hl2")},
                                  {QStringLiteral("averageType"), QStringLiteral("exponential")},
                                  {QStringLiteral("length"), 30.0},
                                  {QStringLiteral("numDevUp"), 1.5},
                                  {QStringLiteral("numDevDn"), 2.5}});
    std::vector<double> midpoint(bars.close.size());
    for (std::size_t i = 0; i < midpoint.size(); ++i) midpoint[i] = (bars.high[i] + bars.low[i]) / 2;
    const auto emaMiddle = textbook::ema(midpoint, 30);
    const auto emaDeviation = textbook::populationDeviation(midpoint, 30);
    for (std::size_t i = 0; i < midpoint.size(); ++i) {
        upper[i] = emaMiddle[i] + 1.5 * emaDeviation[i];
        lower[i] = emaMiddle[i] - 2.5 * emaDeviation[i];
    }
    test::expectSeriesNear(output(varied, QStringLiteral("middle")), emaMiddle, 1e-9, "ema middle");
    test::expectSeriesNear(output(varied, QStringLiteral("upper")), upper, 1e-9, "ema upper");
    test::expectSeriesNear(output(varied, QStringLiteral("lower")), lower, 1e-9, "ema lower");
}

// Keltner Channels as Linda Raschke restated Chester Keltner's: an exponential average of the close
// with bands a multiple of Wilder's average true range away.
TEST(KeltnerChannels, AgreeWithEmaAndWilderAtrOnALongSeries) {
    const auto candles = test::randomBars(5000, 12);
    const auto bars = test::columns(candles);
    for (const std::size_t atrLength : {10u, 30u}) {
        SCOPED_TRACE(atrLength);
        const auto run = runStudy(candles, QStringLiteral("keltnerChannels"),
                                  {{QStringLiteral("atrLength"), static_cast<double>(atrLength)}});
        const auto middle = textbook::ema(bars.close, 20);
        const auto atr = textbook::wilderAtr(bars.high, bars.low, bars.close, atrLength);
        std::vector<double> upper(middle.size()), lower(middle.size());
        for (std::size_t i = 0; i < middle.size(); ++i) {
            upper[i] = middle[i] + 1.5 * atr[i];
            lower[i] = middle[i] - 1.5 * atr[i];
        }
        test::expectSeriesNear(output(run, QStringLiteral("middle")), middle, 1e-9, "middle");
        test::expectSeriesNear(output(run, QStringLiteral("upper")), upper, 1e-9, "upper");
        test::expectSeriesNear(output(run, QStringLiteral("lower")), lower, 1e-9, "lower");
        // Both the average and the range must be warm before the bands have a value.
        const std::size_t firstValue = std::max<std::size_t>(20, atrLength) - 1;
        EXPECT_TRUE(std::isnan(output(run, QStringLiteral("upper"))[firstValue - 1]));
        EXPECT_FALSE(std::isnan(output(run, QStringLiteral("upper"))[firstValue]));
    }
}

TEST(DonchianChannels, HandWorkedExtremesIncludeTheCurrentBar) {
    const std::vector<Candle> candles = {test::candle(0, 4, 5, 3, 4, 1), test::candle(60, 5, 7, 4, 6, 1),
                                         test::candle(120, 5, 6, 2, 3, 1), test::candle(180, 3, 4, 3, 4, 1),
                                         test::candle(240, 6, 8, 5, 7, 1)};
    const auto run = runStudy(candles, QStringLiteral("donchianChannels"), {{QStringLiteral("length"), 3.0}});
    const auto& upper = output(run, QStringLiteral("upper"));
    const auto& middle = output(run, QStringLiteral("middle"));
    const auto& lower = output(run, QStringLiteral("lower"));
    EXPECT_TRUE(std::isnan(upper[1]) && std::isnan(middle[1]) && std::isnan(lower[1]));
    EXPECT_EQ(upper[2], 7);
    EXPECT_EQ(lower[2], 2);
    EXPECT_EQ(middle[2], 4.5);
    EXPECT_EQ(upper[4], 8);  // the new high counts on its own bar
    EXPECT_EQ(lower[4], 2);
    EXPECT_EQ(middle[4], 5);
}

// Donchian's channel: the highest high and the lowest low of the last n bars, read here by looking
// at every bar of every window.
TEST(DonchianChannels, AgreeWithEveryWindowScannedOnALongSeries) {
    const auto candles = test::randomBars(3000, 13);
    const auto bars = test::columns(candles);
    for (const std::size_t length : {1u, 7u, 20u, 200u}) {
        SCOPED_TRACE(length);
        const auto run = runStudy(candles, QStringLiteral("donchianChannels"),
                                  {{QStringLiteral("length"), static_cast<double>(length)}});
        std::vector<double> upper(bars.high.size(), textbook::none), lower = upper, middle = upper;
        for (std::size_t i = length - 1; i < bars.high.size(); ++i) {
            upper[i] = *std::max_element(bars.high.begin() + static_cast<long>(i + 1 - length),
                                         bars.high.begin() + static_cast<long>(i + 1));
            lower[i] = *std::min_element(bars.low.begin() + static_cast<long>(i + 1 - length),
                                         bars.low.begin() + static_cast<long>(i + 1));
            middle[i] = (upper[i] + lower[i]) / 2;
        }
        test::expectSeriesNear(output(run, QStringLiteral("upper")), upper, 0, "upper");
        test::expectSeriesNear(output(run, QStringLiteral("middle")), middle, 0, "middle");
        test::expectSeriesNear(output(run, QStringLiteral("lower")), lower, 0, "lower");
    }
}

TEST(BandStudies, RefuseInputsOutsideTheirSettingsInsteadOfClamping) {
    EXPECT_EQ(test::refusal(QStringLiteral("bollingerBands"), {{QStringLiteral("numDevUp"), -1.0}}),
              QStringLiteral("numDevUp is from 0 to 10."));
    EXPECT_EQ(test::refusal(QStringLiteral("bollingerBands"), {{QStringLiteral("length"), 1.0}}),
              QStringLiteral("length is from 2 to 1000."));
    EXPECT_TRUE(test::refusal(QStringLiteral("bollingerBands"),
                              {{QStringLiteral("averageType"), QStringLiteral("triangular")}})
                    .startsWith(QStringLiteral("averageType is one of simple, exponential")));
    EXPECT_TRUE(
        test::refusal(QStringLiteral("bollingerBands"), {{QStringLiteral("source"), QStringLiteral("vwap")}})
            .startsWith(QStringLiteral("source is one of close, open, high, low, hl2, hlc3, ohlc4")));
    EXPECT_EQ(test::refusal(QStringLiteral("donchianChannels"), {{QStringLiteral("length"), 0.0}}),
              QStringLiteral("length is from 1 to 1000."));
}

}  // namespace
}  // namespace tavix
