#include "RandomBars.h"
#include "TextbookStudies.h"

#include <gtest/gtest.h>

#include <QDateTime>
#include <QTimeZone>

#include <cmath>

namespace tavix {
namespace {

using namespace Qt::StringLiterals;
namespace textbook = test::textbook;
constexpr double none = textbook::none;
using test::candle;
using test::closesOnly;

// Bars from highs and lows alone; each closes at its midpoint.
std::vector<Candle> ranges(const std::vector<std::pair<double, double>>& highLow) {
    std::vector<Candle> candles;
    for (const auto& [high, low] : highLow) {
        const double mid = (high + low) / 2;
        candles.push_back(
            candle(1.7e9 + 60.0 * static_cast<double>(candles.size()), mid, high, low, mid, 100));
    }
    return candles;
}

// "length=3 source=hl2": a number where it reads as one, a word otherwise.
test::Inputs inputs(const char* text) {
    test::Inputs parsed;
    for (const QString& pair : QString::fromLatin1(text).split(u' ', Qt::SkipEmptyParts)) {
        const QString name = pair.section(u'=', 0, 0), value = pair.section(u'=', 1);
        bool number = false;
        const double asNumber = value.toDouble(&number);
        parsed[name] = number ? test::Inputs::mapped_type(asNumber) : test::Inputs::mapped_type(value);
    }
    return parsed;
}

StudyRun run(const std::vector<Candle>& candles, const char* study, const char* settings = "",
             CandleInterval interval = CandleInterval::oneMinute) {
    return test::runStudy(candles, QString::fromLatin1(study), inputs(settings), interval);
}

void expect(const StudyRun& run, const char* output, const std::vector<double>& expected,
            double tolerance = 1e-12) {
    SCOPED_TRACE(run.label.toStdString());
    test::expectOutput(run, QString::fromLatin1(output), expected, tolerance);
}

// Short series worked out by hand (or, for the sources, by the textbook over the blended columns),
// run through the catalogue as the chart and the bots do.
TEST(Studies, HandWorkedSeries) {
    // The sources blend each bar's prices; random bars have wicks of their own on both sides.
    const auto random = test::randomBars(60, 3);
    const StudyBars bars(random, CandleInterval::oneMinute);
    std::vector<double> hl2;
    for (std::size_t i = 0; i < bars.size(); ++i) hl2.push_back((bars.high[i] + bars.low[i]) / 2);
    expect(run(random, "simpleMovingAvg", "length=3 source=hl2"), "average", textbook::sma(hl2, 3));
    expect(run(random, "exponentialMovingAvg", "length=3 source=hlc3"), "average",
           textbook::ema(test::typical(bars), 3));
    expect(run(random, "weightedMovingAvg", "length=3 source=close"), "average",
           textbook::weighted(bars.close, 3));
    expect(run(random, "hullMovingAvg", "length=3"), "average", textbook::hull(bars.close, 3));
    // Windows of two: (10*1 + 20*3)/4, (20*3 + 30*0)/3, then a window that traded nothing has no
    // average at all, then (40*5)/5.
    expect(run(closesOnly({10, 20, 30, 35, 40}, {1, 3, 0, 0, 5}), "volumeWeightedMovingAvg", "length=2"),
           "average", {none, 17.5, 20, none, 40});

    // Population deviation over windows of 3: {10,12,14} mean 12, variance 8/3; {12,14,13} mean 13,
    // variance 2/3; {14,13,11} mean 38/3, variance 14/9. Bands 2 deviations up, 1 down.
    const auto bollinger =
        run(closesOnly({10, 12, 14, 13, 11}), "bollingerBands", "length=3 numDevUp=2 numDevDn=1");
    expect(bollinger, "middle", {none, none, 12, 13, 38.0 / 3});
    expect(bollinger, "upper",
           {none, none, 12 + 2 * std::sqrt(8.0 / 3), 13 + 2 * std::sqrt(2.0 / 3),
            38.0 / 3 + 2 * std::sqrt(14.0 / 9)});
    expect(bollinger, "lower",
           {none, none, 12 - std::sqrt(8.0 / 3), 13 - std::sqrt(2.0 / 3), 38.0 / 3 - std::sqrt(14.0 / 9)});
    // The extremes include the current bar: the new high counts on its own bar.
    const auto donchian =
        run({candle(0, 4, 5, 3, 4, 1), candle(60, 5, 7, 4, 6, 1), candle(120, 5, 6, 2, 3, 1),
             candle(180, 3, 4, 3, 4, 1), candle(240, 6, 8, 5, 7, 1)},
            "donchianChannels", "length=3");
    expect(donchian, "upper", {none, none, 7, 7, 8}, 0);
    expect(donchian, "lower", {none, none, 2, 2, 2}, 0);
    expect(donchian, "middle", {none, none, 4.5, 4.5, 5}, 0);

    // Wilder's RSI, length 2. Changes +1, -0.5, +1, -0.5.
    // Bar 2: gain (1 + 0) / 2 = 0.5, loss (0 + 0.5) / 2 = 0.25, RS 2, RSI 66.67.
    // Bar 3: gain (0.5 + 1) / 2 = 0.75, loss (0.25 + 0) / 2 = 0.125, RS 6, RSI 85.71.
    // Bar 4: gain 0.375, loss (0.125 + 0.5) / 2 = 0.3125, RS 1.2, RSI 54.55.
    const auto swings = closesOnly({10, 11, 10.5, 11.5, 11});
    expect(run(swings, "rsi", "length=2"), "rsi",
           {none, none, 100 - 100 / 3.0, 100 - 100 / 7.0, 100 - 100 / 2.2});
    // The same changes averaged simply (Cutler's form): each window holds a gain of 1 and a loss of
    // 0.5, RS 2.
    expect(run(swings, "rsi", "length=2 averageType=simple"), "rsi",
           {none, none, 200.0 / 3, 200.0 / 3, 200.0 / 3});
    // Only gains, only losses, no change at all; three changes need four closes.
    expect(run(closesOnly({1, 2, 3, 4, 5}), "rsi", "length=3"), "rsi", {none, none, none, 100, 100}, 0);
    expect(run(closesOnly({5, 4, 3, 2, 1}), "rsi", "length=3"), "rsi", {none, none, none, 0, 0}, 0);
    expect(run(closesOnly({7, 7, 7, 7, 7}), "rsi", "length=3"), "rsi", {none, none, none, 50, 50}, 0);

    // Lane's stochastic, %K over 2 bars, no smoothing, %D over 2; closes sit off their bars'
    // midpoints so the scale shows. Bar 1: (11 - 8) / (12 - 8) = 75. Bar 2: (8 - 8) / (12 - 8) = 0.
    // Bar 3: (10 - 8) / (11 - 8) = 66.67.
    const auto stochastic = run({candle(0, 9, 10, 8, 9, 1), candle(60, 11, 12, 9, 11, 1),
                                 candle(120, 10, 11, 8, 8, 1), candle(180, 9, 10, 9, 10, 1)},
                                "stochastic", "kLength=2 kSmoothing=1 dLength=2");
    expect(stochastic, "k", {none, 75, 0, 200.0 / 3});
    expect(stochastic, "d", {none, none, 37.5, 100.0 / 3});
    // RSI pinned at 100 has no range to place it in: midway, not a gap or a division by zero. Three
    // RSI values need bars 2 to 4.
    const auto pinned = run(closesOnly({10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21}), "stochasticRsi",
                            "rsiLength=2 stochLength=3 kSmoothing=1 dLength=1");
    expect(pinned, "k", {none, none, none, none, 50, 50, 50, 50, 50, 50, 50, 50}, 0);
    expect(pinned, "d", {none, none, none, none, 50, 50, 50, 50, 50, 50, 50, 50}, 0);
    // Length 3. Windows {4, 2, 3}: mean 3, deviation 2/3, CCI 0. {2, 3, 8}: mean 13/3, deviation
    // 22/9, CCI (11/3) / (0.015 * 22/9) = 100. {3, 8, 5}: mean 16/3, deviation 16/9, CCI -12.5.
    expect(run(closesOnly({4, 2, 3, 8, 5}), "cci", "length=3"), "cci", {none, none, 0, 100, -12.5}, 1e-9);
    // Williams: %R = -100 * (highest high - close) / (highest high - lowest low).
    expect(run({candle(0, 9, 10, 8, 9, 1), candle(60, 11, 12, 9, 12, 1), candle(120, 10, 11, 8, 8, 1)},
               "williamsR", "length=2"),
           "williamsR", {none, 0, -100});
    const auto moves = closesOnly({50, 40, 55, 60, 44});
    expect(run(moves, "rateOfChange", "length=2"), "roc", {none, none, 10, 50, -20});
    expect(run(moves, "momentum", "length=3"), "momentum", {none, none, none, 10, 4});

    // Fast SMA(2): -, 1.5, 3, 5.5, 9. Slow SMA(3): -, -, 7/3, 13/3, 22/3. MACD: 2/3, 7/6, 5/3.
    // Signal SMA(2) of MACD: 11/12, 17/12; histogram 1/4 and 1/4.
    const auto macd = run(closesOnly({1, 2, 4, 7, 11}), "macd",
                          "fastLength=2 slowLength=3 signalLength=2 averageType=simple");
    expect(macd, "macd", {none, none, 2.0 / 3, 7.0 / 6, 5.0 / 3});
    expect(macd, "signal", {none, none, none, 11.0 / 12, 17.0 / 12});
    expect(macd, "histogram", {none, none, none, 0.25, 0.25});
    // Bars that never move give zero, not gaps.
    const auto still = run(closesOnly(std::vector<double>(10, 50)), "adx", "length=3");
    expect(still, "adx", {none, none, none, none, none, 0, 0, 0, 0, 0}, 0);
    expect(still, "diPlus", {none, none, none, 0, 0, 0, 0, 0, 0, 0}, 0);
    expect(still, "diMinus", {none, none, none, 0, 0, 0, 0, 0, 0, 0}, 0);
    // Step 0.1, maximum 0.2. Bar 1 rises: long, stop at bar 0's low 9, extreme 11.
    // Bar 2: 9 + 0.1 * (11 - 9) = 9.2, held below the two lows before (10 and 9): 9. New high 12, AF 0.2.
    // Bar 3: 9 + 0.2 * (12 - 9) = 9.6. New high 13, AF stays at its maximum 0.2.
    // Bar 4: 9.6 + 0.2 * (13 - 9.6) = 10.28; the low of 8 breaks it: short at the old extreme 13,
    //        extreme 8, AF back to 0.1.
    // Bar 5: 13 + 0.1 * (8 - 13) = 12.5, held above the two highs before (11 and 13): 13.
    // Bar 6: 12.5, above the highs 10 and 11; the low of 7 is a new extreme.
    expect(run(ranges({{10, 9}, {11, 10}, {12, 11}, {13, 12}, {11, 8}, {10, 9}, {9, 7}}), "parabolicSar",
               "step=0.1 maximum=0.2"),
           "sar", {none, 9, 9, 9.6, 13, 13, 12.5});
    // A first bar that falls starts short, at the first bar's high, and is held at the high two bars
    // back; with a new low on bar 2 the factor is 0.04 on bar 3: 10 + 0.04 * (7.5 - 10) = 9.9, above
    // the two highs before.
    expect(run(ranges({{10, 9}, {9.5, 8}, {9, 7.5}, {8.5, 7}}), "parabolicSar"), "sar", {none, 10, 10, 9.9});
    // Conversion over 2 bars, base over 3, span B over 4, shifted 2 bars; each line is
    // (max high + min low) / 2 over its window. Span A at bar i is (conversion + base) / 2 of bar
    // i - 2; span B the 4-bar midpoint of bar i - 2. The lagging line is the close two bars later;
    // the last two bars have none.
    const auto ichimoku = run(ranges({{10, 8}, {12, 9}, {11, 7}, {14, 10}, {13, 12}, {15, 11}}), "ichimoku",
                              "conversionLength=2 baseLength=3 spanBLength=4 displacement=2");
    expect(ichimoku, "conversion", {none, 10, 9.5, 10.5, 12, 13});
    expect(ichimoku, "base", {none, none, 9.5, 10.5, 10.5, 12.5});
    expect(ichimoku, "spanA", {none, none, none, none, 9.5, 10.5});
    expect(ichimoku, "spanB", {none, none, none, none, none, 10.5});
    expect(ichimoku, "lagging", {9, 12, 12.5, 13, none, none});

    // True ranges: 2 (first bar: high - low), 2, 3.5 (gap up: 14 - 10.5), 2.5 (gap down: 13.5 - 11),
    // 2. Wilder's: (2 + 2 + 3.5) / 3, (2.5 * 2 + 2.5) / 3, (2.5 * 2 + 2) / 3. Simply: (2 + 3.5 + 2.5)
    // / 3, (3.5 + 2.5 + 2) / 3.
    const std::vector<Candle> gaps = {candle(0, 9, 10, 8, 9, 1), candle(60, 9, 11, 9, 10.5, 1),
                                      candle(120, 13, 14, 13, 13.5, 1), candle(180, 12, 12, 11, 11, 1),
                                      candle(240, 11, 12, 10, 11.5, 1)};
    expect(run(gaps, "averageTrueRange", "length=3"), "atr", {none, none, 2.5, 2.5, 7.0 / 3});
    expect(run(gaps, "averageTrueRange", "length=3 averageType=simple"), "atr",
           {none, none, 2.5, 8.0 / 3, 8.0 / 3});

    // VWAP starts again at each New York midnight. Bar 1: (100 * 10 + 104 * 30) / 40 = 103,
    // volume-weighted variance (10 * 9 + 30 * 1) / 40 = 3. Bar 4 is the typical price
    // (13 + 7 + 13) / 3, not the close or the midpoint.
    const auto vwap =
        run({test::flatCandle(test::isoTime("2024-01-09T13:00:00Z"), 100, 10),  // 08:00 New York
             test::flatCandle(test::isoTime("2024-01-10T04:59:00Z"), 104, 30),  // 23:59 that day
             test::flatCandle(test::isoTime("2024-01-10T05:00:00Z"), 50, 20),   // a new day
             test::flatCandle(test::isoTime("2024-01-11T05:00:00Z"), 70, 0),    // not traded yet
             candle(test::isoTime("2024-01-11T05:01:00Z"), 8, 13, 7, 13, 10)},
            "vwap");
    expect(vwap, "vwap", {100, 103, 50, none, 11});
    expect(vwap, "upper", {100, 103 + 2 * std::sqrt(3.0), 50, none, 11});
    expect(vwap, "lower", {100, 103 - 2 * std::sqrt(3.0), 50, none, 11});
    // Granville: volume is added on an up close, taken away on a down close, and an unchanged close
    // leaves the total where it was.
    expect(run(closesOnly({10, 11, 11, 10.5, 12}, {100, 200, 300, 400, 500}), "onBalanceVolume"), "obv",
           {0, 200, 200, -200, 300}, 0);
    // Flows over windows of three changes: +11*100, -10*200, +12*100, flat (none), +13*100.
    expect(run(closesOnly({10, 11, 10, 12, 12, 13}, {100, 100, 200, 100, 50, 100}), "moneyFlowIndex",
               "length=3"),
           "mfi", {none, none, none, 100.0 * 2300 / 4300, 100.0 * 1200 / 3200, 100});
}

// Bands `up` widths above and `down` widths below a middle line.
void expectBands(const StudyRun& run, const std::vector<double>& middle, const std::vector<double>& width,
                 double up, double down) {
    std::vector<double> upper(middle.size()), lower(middle.size());
    for (std::size_t i = 0; i < middle.size(); ++i) {
        upper[i] = middle[i] + up * width[i];
        lower[i] = middle[i] - down * width[i];
    }
    expect(run, "middle", middle, 1e-9);
    expect(run, "upper", upper, 1e-9);
    expect(run, "lower", lower, 1e-9);
}

// Each family against its textbook definition over thousands of random bars. Bollinger on Bollinger
// Bands (2001): the middle band is a moving average of the price and the bands sit a number of
// population standard deviations of the same window above and below it. Keltner Channels as Linda
// Raschke restated Chester Keltner's: an exponential average of the close with bands a multiple of
// Wilder's average true range away. RSI, ATR and ADX as Wilder's worksheets work them out (New
// Concepts in Technical Trading Systems, 1978).
TEST(Studies, AgreeWithTheirDefinitionsOnALongSeries) {
    const auto candles = test::randomBars(5000, 11);
    const StudyBars bars(candles, CandleInterval::oneMinute);
    expectBands(run(candles, "bollingerBands"), textbook::sma(bars.close, 20),
                textbook::populationDeviation(bars.close, 20), 2, 2);
    // Both the average and the range must be warm before the bands have a value: the range is
    // shorter than the average once, then longer.
    for (const auto& [settings, atrLength] : {std::pair{"atrLength=10", 10u}, {"atrLength=30", 30u}}) {
        expectBands(run(candles, "keltnerChannels", settings), textbook::ema(bars.close, 20),
                    textbook::wilderAtr(bars.high, bars.low, bars.close, atrLength), 1.5, 1.5);
    }

    expect(run(candles, "rsi"), "rsi", textbook::wilderRsi(bars.close, 14), 1e-9);
    expect(run(candles, "rsi", "source=5"), "rsi", textbook::wilderRsi(test::typical(bars), 14), 1e-9);
    expect(run(candles, "averageTrueRange"), "atr", textbook::wilderAtr(bars.high, bars.low, bars.close, 14),
           1e-9);
    expect(run(candles, "standardDeviation"), "stdDev", textbook::populationDeviation(bars.close, 20), 1e-9);
    for (const auto& [settings, length] : {std::pair{"length=14", 14u}, {"length=5", 5u}}) {
        const auto expected = textbook::wilderDirectional(bars.high, bars.low, bars.close, length);
        const auto adx = run(candles, "adx", settings);
        expect(adx, "adx", expected.adx, 1e-9);
        expect(adx, "diPlus", expected.diPlus, 1e-9);
        expect(adx, "diMinus", expected.diMinus, 1e-9);
    }
}

// Historical (close-to-close) volatility as option traders quote it: the sample standard deviation
// (n - 1) of the last n log returns ln(close / previous close), times sqrt(bars in a year), in
// percent.
TEST(HistoricalVolatility, HandWorkedAndAnnualisedForEachInterval) {
    // Log returns ln(1.01), ln(100/101), ln(1.02): mean 0.0065675, sample deviation 0.0151567;
    // times sqrt(252) and 100 is 24.0604%.
    const auto hv = [](CandleInterval interval) {
        return test::output(
            run(closesOnly({100, 101, 100, 102}), "historicalVolatility", "length=3", interval), u"hv"_s);
    };
    const double daily = hv(CandleInterval::daily).back();
    EXPECT_NEAR(daily, 24.0604216937048, 1e-9);
    EXPECT_TRUE(std::isnan(hv(CandleInterval::oneMinute)[2]));
    // A year holds 52 weeks, 12 months, and 390 one-minute or 6.5 hourly bars in each of 252 days.
    const std::pair<CandleInterval, double> barsInAYear[] = {{CandleInterval::weekly, 52.0 / 252},
                                                             {CandleInterval::monthly, 12.0 / 252},
                                                             {CandleInterval::oneMinute, 390.0},
                                                             {CandleInterval::fiveMinute, 78.0},
                                                             {CandleInterval::hourly, 6.5}};
    for (const auto& [interval, ratio] : barsInAYear)
        EXPECT_NEAR(hv(interval).back() / daily, std::sqrt(ratio), 1e-12) << enumName(interval);
}

TEST(HistoricalVolatility, StartsAgainAfterACloseWithNoLogReturn) {
    auto candles = test::randomBars(200, 34);
    candles[50].close = Decimal(0);
    const auto hv = test::output(run(candles, "historicalVolatility", "length=5"), u"hv"_s);
    // Returns into and out of bar 50 have no value; five good ones are needed again after them.
    EXPECT_FALSE(std::isnan(hv[49]));
    for (std::size_t i = 50; i <= 55; ++i) EXPECT_TRUE(std::isnan(hv[i])) << i;
    // From there on it reads as if the bars began at 51.
    const std::vector<Candle> after(candles.begin() + 51, candles.end());
    const auto fresh = test::output(run(after, "historicalVolatility", "length=5"), u"hv"_s);
    for (std::size_t i = 56; i < candles.size(); ++i) EXPECT_NEAR(hv[i], fresh[i - 51], 1e-9) << i;
}

// VWAP as traders define it: sum(typical price * volume) / sum(volume) since the session began,
// here each New York calendar day, with bands at the volume-weighted standard deviation of the
// day's typical prices around it, sqrt(sum(v * (p - vwap)^2) / sum(v)), summed afresh at each bar.
// Each bar's day is read from Qt's time zone afresh; the week holds the change to daylight time.
TEST(Vwap, AgreesWithDailySumsOverAWeekAcrossTheSpringChange) {
    const auto candles = test::randomBars(8 * 288, 21, test::isoTime("2024-03-07T00:00:00Z"), 300);
    const StudyBars bars(candles, CandleInterval::oneMinute);

    const QTimeZone newYork("America/New_York");
    std::vector<double> vwap(bars.size(), test::textbook::none), upper = vwap, lower = vwap;
    const auto typical = test::typical(bars);
    QDate day;
    std::size_t first = 0;
    for (std::size_t i = 0; i < bars.size(); ++i) {
        const QDate today = QDateTime::fromSecsSinceEpoch(static_cast<qint64>(bars.time[i]), newYork).date();
        if (today != day) {
            day = today;
            first = i;
        }
        double money = 0, volume = 0;
        for (std::size_t j = first; j <= i; ++j) {
            money += typical[j] * bars.volume[j];
            volume += bars.volume[j];
        }
        if (volume == 0) continue;
        vwap[i] = money / volume;
        double squares = 0;
        for (std::size_t j = first; j <= i; ++j)
            squares += bars.volume[j] * std::pow(typical[j] - vwap[i], 2);
        const double deviation = std::sqrt(squares / volume);
        upper[i] = vwap[i] + 2 * deviation;
        lower[i] = vwap[i] - deviation;
    }
    const auto studied = run(candles, "vwap", "numDevDn=1");
    expect(studied, "vwap", vwap, 1e-10);
    expect(studied, "upper", upper, 1e-10);
    expect(studied, "lower", lower, 1e-10);
}

TEST(MoneyFlowIndex, ReadsExactlyOneHundredOrFiftyWhenOneSideOrBothAreEmpty) {
    // After a long random stretch, fifteen rising bars: nothing falling is left in the window of
    // fourteen changes, so the index is exactly 100, not a hair below from sums that added and took
    // away.
    auto candles = test::randomBars(2000, 22);
    double close = candles.back().close.toDouble(), time = candles.back().time.secondsSince1970();
    const auto append = [&](int count, double step) {
        for (int i = 0; i < count; ++i) {
            close += step;
            time += 60;
            candles.push_back(candle(time, close, close + 0.1, close - 0.1, close, 1000 + i));
        }
    };
    const auto mfi = [&] { return test::output(run(candles, "moneyFlowIndex"), u"mfi"_s).back(); };
    append(15, 0.37);
    EXPECT_EQ(mfi(), 100);
    // Fourteen unchanged bars: no money moved either way.
    append(14, 0);
    EXPECT_EQ(mfi(), 50);
}

}  // namespace
}  // namespace tavix
