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

// Bands `up` widths above and `down` widths below a middle line.
void expectBands(const StudyRun& run, const std::vector<double>& middle, const std::vector<double>& width,
                 double up, double down) {
    std::vector<double> upper(middle.size()), lower(middle.size());
    for (std::size_t i = 0; i < middle.size(); ++i) {
        upper[i] = middle[i] + up * width[i];
        lower[i] = middle[i] - down * width[i];
    }
    expectOutput(run, u"middle"_s, middle, 1e-9);
    expectOutput(run, u"upper"_s, upper, 1e-9);
    expectOutput(run, u"lower"_s, lower, 1e-9);
}

TEST(BollingerBands, HandWorkedWindowUsesPopulationDeviation) {
    // Windows of 3: {10,12,14} mean 12, variance 8/3; {12,14,13} mean 13, variance 2/3;
    // {14,13,11} mean 38/3, variance 14/9. Bands 2 deviations up, 1 down.
    const auto run = runStudy(test::closesOnly({10, 12, 14, 13, 11}), u"bollingerBands"_s,
                              {{u"length"_s, 3.0}, {u"numDevUp"_s, 2.0}, {u"numDevDn"_s, 1.0}});
    const auto upper = output(run, u"upper"_s), middle = output(run, u"middle"_s),
               lower = output(run, u"lower"_s);
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
// Keltner Channels as Linda Raschke restated Chester Keltner's: an exponential average of the close
// with bands a multiple of Wilder's average true range away.
TEST(BollingerAndKeltner, AgreeWithTheirDefinitionsOnALongSeries) {
    const auto candles = test::randomBars(5000, 11);
    const auto bars = test::columns(candles);
    expectBands(runStudy(candles, u"bollingerBands"_s), textbook::sma(bars.close, 20),
                textbook::populationDeviation(bars.close, 20), 2, 2);

    // The same over the bars' midpoints, around an exponential average, with uneven bands.
    std::vector<double> midpoint(bars.size());
    for (std::size_t i = 0; i < midpoint.size(); ++i) midpoint[i] = (bars.high[i] + bars.low[i]) / 2;
    expectBands(runStudy(candles, u"bollingerBands"_s,
                         {{u"source"_s, u"hl2"_s},
                          {u"averageType"_s, u"exponential"_s},
                          {u"length"_s, 30.0},
                          {u"numDevUp"_s, 1.5},
                          {u"numDevDn"_s, 2.5}}),
                textbook::ema(midpoint, 30), textbook::populationDeviation(midpoint, 30), 1.5, 2.5);

    for (const std::size_t atrLength : {10u, 30u}) {
        SCOPED_TRACE(atrLength);
        const auto run =
            runStudy(candles, u"keltnerChannels"_s, {{u"atrLength"_s, static_cast<double>(atrLength)}});
        expectBands(run, textbook::ema(bars.close, 20),
                    textbook::wilderAtr(bars.high, bars.low, bars.close, atrLength), 1.5, 1.5);
        // Both the average and the range must be warm before the bands have a value.
        const std::size_t firstValue = std::max<std::size_t>(20, atrLength) - 1;
        EXPECT_TRUE(std::isnan(output(run, u"upper"_s)[firstValue - 1]));
        EXPECT_FALSE(std::isnan(output(run, u"upper"_s)[firstValue]));
    }
}

TEST(DonchianChannels, HandWorkedExtremesIncludeTheCurrentBar) {
    const std::vector<Candle> candles = {test::candle(0, 4, 5, 3, 4, 1), test::candle(60, 5, 7, 4, 6, 1),
                                         test::candle(120, 5, 6, 2, 3, 1), test::candle(180, 3, 4, 3, 4, 1),
                                         test::candle(240, 6, 8, 5, 7, 1)};
    const auto run = runStudy(candles, u"donchianChannels"_s, {{u"length"_s, 3.0}});
    // The new high counts on its own bar.
    expectOutput(run, u"upper"_s, {textbook::none, textbook::none, 7, 7, 8}, 0);
    expectOutput(run, u"lower"_s, {textbook::none, textbook::none, 2, 2, 2}, 0);
    expectOutput(run, u"middle"_s, {textbook::none, textbook::none, 4.5, 4.5, 5}, 0);
}

}  // namespace
}  // namespace tavix
