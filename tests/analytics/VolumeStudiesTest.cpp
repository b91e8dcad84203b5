#include "RandomBars.h"
#include "TextbookStudies.h"

#include <gtest/gtest.h>

#include <QDateTime>
#include <QTimeZone>

#include <cmath>

namespace tavix {
namespace {

using test::output;
using test::runStudy;

double at(const char* iso) {
    return Date::parseIso(QString::fromLatin1(iso)).value().secondsSince1970();
}

TEST(Vwap, StartsAgainAtEachNewYorkMidnightWithPreMarketIncluded) {
    const std::vector<Candle> candles = {
        test::flatCandle(at("2024-01-09T13:00:00Z"), 100, 10),  // 08:00 New York, before the open
        test::flatCandle(at("2024-01-10T04:59:00Z"), 104, 30),  // 23:59 the same New York day
        test::flatCandle(at("2024-01-10T05:00:00Z"), 50, 20),   // midnight: a new day
        test::flatCandle(at("2024-01-11T05:00:00Z"), 70, 0),    // a new day that has not traded yet
        test::candle(at("2024-01-11T05:01:00Z"), 8, 13, 7, 13, 10),
    };
    const auto run = runStudy(candles, QStringLiteral("vwap"));
    const auto& vwap = output(run, QStringLiteral("vwap"));
    const auto& upper = output(run, QStringLiteral("upper"));
    const auto& lower = output(run, QStringLiteral("lower"));

    EXPECT_DOUBLE_EQ(vwap[0], 100);
    // (100 * 10 + 104 * 30) / 40 = 103; volume-weighted variance (10 * 9 + 30 * 1) / 40 = 3.
    EXPECT_DOUBLE_EQ(vwap[1], 103);
    EXPECT_NEAR(upper[1], 103 + 2 * std::sqrt(3.0), 1e-12);
    EXPECT_NEAR(lower[1], 103 - 2 * std::sqrt(3.0), 1e-12);
    EXPECT_DOUBLE_EQ(vwap[2], 50);
    EXPECT_DOUBLE_EQ(upper[2], 50);
    EXPECT_FALSE(run.outputs[0].value(3));
    EXPECT_TRUE(std::isnan(upper[3]) && std::isnan(lower[3]));
    // The typical price (13 + 7 + 13) / 3, not the close or the midpoint.
    EXPECT_DOUBLE_EQ(vwap[4], 11);
}

TEST(Vwap, FindsNewYorkMidnightAcrossDaylightSavingChanges) {
    const std::vector<Candle> candles = {
        // 10 March 2024 lasts 23 hours: it starts at 05:00 UTC and the next day at 04:00 UTC.
        test::flatCandle(at("2024-03-10T05:00:00Z"), 10, 1),
        test::flatCandle(at("2024-03-11T03:59:00Z"), 20, 1),
        test::flatCandle(at("2024-03-11T04:00:00Z"), 30, 1),
        // 3 November 2024 lasts 25 hours: it starts at 04:00 UTC and the next day at 05:00 UTC.
        test::flatCandle(at("2024-11-03T04:00:00Z"), 10, 1),
        test::flatCandle(at("2024-11-04T04:30:00Z"), 20, 1),
        test::flatCandle(at("2024-11-04T05:00:00Z"), 40, 1),
    };
    const auto& vwap = output(runStudy(candles, QStringLiteral("vwap")), QStringLiteral("vwap"));
    EXPECT_DOUBLE_EQ(vwap[1], 15);  // 23:59 daylight time, still the 10th
    EXPECT_DOUBLE_EQ(vwap[2], 30);  // midnight daylight time
    EXPECT_DOUBLE_EQ(vwap[3], 10);
    EXPECT_DOUBLE_EQ(vwap[4], 15);  // 23:30 standard time, still the 3rd
    EXPECT_DOUBLE_EQ(vwap[5], 40);
}

// VWAP as traders define it: sum(typical price * volume) / sum(volume) since the session began,
// here each New York calendar day, with bands at the volume-weighted standard deviation of the
// day's typical prices around it, sqrt(sum(v * (p - vwap)^2) / sum(v)), summed afresh at each bar.
// Each bar's day is read from Qt's time zone afresh.
TEST(Vwap, AgreesWithDailySumsOverAWeekAcrossTheSpringChange) {
    const auto candles = test::randomBars(8 * 288, 21, at("2024-03-07T00:00:00Z"), 300);
    const auto bars = test::columns(candles);
    const auto run = runStudy(candles, QStringLiteral("vwap"), {{QStringLiteral("numDevDn"), 1.0}});

    const QTimeZone newYork("America/New_York");
    std::vector<double> vwap(bars.close.size(), test::textbook::none), upper = vwap, lower = vwap;
    const auto typical = [&](std::size_t i) { return (bars.high[i] + bars.low[i] + bars.close[i]) / 3; };
    QDate day;
    std::size_t first = 0;
    for (std::size_t i = 0; i < bars.close.size(); ++i) {
        const QDate today = QDateTime::fromSecsSinceEpoch(static_cast<qint64>(bars.time[i]), newYork).date();
        if (today != day) {
            day = today;
            first = i;
        }
        double money = 0, volume = 0;
        for (std::size_t j = first; j <= i; ++j) {
            money += typical(j) * bars.volume[j];
            volume += bars.volume[j];
        }
        if (volume == 0) continue;
        vwap[i] = money / volume;
        double squares = 0;
        for (std::size_t j = first; j <= i; ++j)
            squares += bars.volume[j] * std::pow(typical(j) - vwap[i], 2);
        const double deviation = std::sqrt(squares / volume);
        upper[i] = vwap[i] + 2 * deviation;
        lower[i] = vwap[i] - deviation;
    }
    test::expectSeriesNear(output(run, QStringLiteral("vwap")), vwap, 1e-10, "vwap");
    test::expectSeriesNear(output(run, QStringLiteral("upper")), upper, 1e-10, "upper");
    test::expectSeriesNear(output(run, QStringLiteral("lower")), lower, 1e-10, "lower");
}

// Granville (1963): volume is added on an up close, taken away on a down close, and an unchanged
// close leaves the total where it was.
TEST(OnBalanceVolume, HandWorkedRunningTotal) {
    auto candles = test::closesOnly({10, 11, 11, 10.5, 12});
    for (std::size_t i = 0; i < candles.size(); ++i)
        candles[i].volume = 100 * static_cast<std::int64_t>(i + 1);
    const auto& obv = output(runStudy(candles, QStringLiteral("onBalanceVolume")), QStringLiteral("obv"));
    EXPECT_EQ(obv, (std::vector<double>{0, 200, 200, -200, 300}));
}

TEST(VolumeStudy, GivesTheVolumeAndItsAverage) {
    auto candles = test::closesOnly({1, 2, 3, 4});
    for (std::size_t i = 0; i < candles.size(); ++i)
        candles[i].volume = 100 * static_cast<std::int64_t>(i + 1);
    const auto run = runStudy(candles, QStringLiteral("volume"), {{QStringLiteral("length"), 3.0}});
    EXPECT_EQ(output(run, QStringLiteral("volume")), (std::vector<double>{100, 200, 300, 400}));
    const auto& average = output(run, QStringLiteral("average"));
    EXPECT_TRUE(std::isnan(average[1]));
    EXPECT_DOUBLE_EQ(average[2], 200);
    EXPECT_DOUBLE_EQ(average[3], 300);
}

TEST(MoneyFlowIndex, HandWorkedWindowsOfThreeChanges) {
    // Flows: +11*100, -10*200, +12*100, flat (none), +13*100.
    auto candles = test::closesOnly({10, 11, 10, 12, 12, 13});
    const std::vector<std::int64_t> volumes = {100, 100, 200, 100, 50, 100};
    for (std::size_t i = 0; i < candles.size(); ++i) candles[i].volume = volumes[i];
    const auto& mfi =
        output(runStudy(candles, QStringLiteral("moneyFlowIndex"), {{QStringLiteral("length"), 3.0}}),
               QStringLiteral("mfi"));
    for (std::size_t i = 0; i < 3; ++i) EXPECT_TRUE(std::isnan(mfi[i])) << i;
    EXPECT_NEAR(mfi[3], 100.0 * 2300 / 4300, 1e-12);
    EXPECT_NEAR(mfi[4], 100.0 * 1200 / 3200, 1e-12);
    EXPECT_EQ(mfi[5], 100);
}

TEST(MoneyFlowIndex, ReadsExactlyOneHundredOrFiftyWhenOneSideOrBothAreEmpty) {
    // After a long random stretch, fifteen rising bars: nothing falling is left in the window of
    // fourteen changes, so the index is exactly 100, not a hair below from sums that added and took
    // away.
    auto candles = test::randomBars(2000, 22);
    double close = candles.back().close.toDouble();
    double time = candles.back().time.secondsSince1970();
    for (int i = 0; i < 15; ++i) {
        close += 0.37;
        time += 60;
        candles.push_back(test::candle(time, close, close + 0.1, close - 0.1, close, 1000 + i));
    }
    const auto& rising = output(runStudy(candles, QStringLiteral("moneyFlowIndex")), QStringLiteral("mfi"));
    EXPECT_EQ(rising.back(), 100);

    // Fourteen unchanged bars: no money moved either way.
    for (int i = 0; i < 14; ++i) {
        time += 60;
        candles.push_back(test::candle(time, close, close + 0.1, close - 0.1, close, 1000));
    }
    const auto& flat = output(runStudy(candles, QStringLiteral("moneyFlowIndex")), QStringLiteral("mfi"));
    EXPECT_EQ(flat.back(), 50);
}

// Quong and Soudack, "Volume-Weighted RSI: Money Flow" (1989): raw money flow = typical price *
// volume; positive when the typical price rose from the bar before, negative when it fell; over
// the period, money ratio = positive / negative and MFI = 100 - 100 / (1 + money ratio).
TEST(MoneyFlowIndex, AgreesWithTheDefinitionOnALongSeries) {
    const auto candles = test::randomBars(5000, 23);
    const auto bars = test::columns(candles);
    for (const std::size_t length : {14u, 3u}) {
        SCOPED_TRACE(length);
        const auto run = runStudy(candles, QStringLiteral("moneyFlowIndex"),
                                  {{QStringLiteral("length"), static_cast<double>(length)}});
        std::vector<double> expected(bars.close.size(), test::textbook::none);
        const auto typical = [&](std::size_t i) { return (bars.high[i] + bars.low[i] + bars.close[i]) / 3; };
        for (std::size_t i = length; i < bars.close.size(); ++i) {
            double positive = 0, negative = 0;
            for (std::size_t j = i + 1 - length; j <= i; ++j) {
                if (typical(j) > typical(j - 1)) positive += typical(j) * bars.volume[j];
                if (typical(j) < typical(j - 1)) negative += typical(j) * bars.volume[j];
            }
            if (negative > 0)
                expected[i] = 100 - 100 / (1 + positive / negative);
            else
                expected[i] = positive > 0 ? 100 : 50;
        }
        test::expectSeriesNear(output(run, QStringLiteral("mfi")), expected, 1e-9, "mfi");
    }
}

}  // namespace
}  // namespace tavix
