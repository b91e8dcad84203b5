#include "RandomBars.h"
#include "TextbookStudies.h"

#include <gtest/gtest.h>

#include <QDateTime>
#include <QTimeZone>

#include <cmath>

namespace tavix {
namespace {

using namespace Qt::StringLiterals;
using test::expectOutput;
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
    const auto run = runStudy(candles, u"vwap"_s);
    const auto vwap = output(run, u"vwap"_s), upper = output(run, u"upper"_s),
               lower = output(run, u"lower"_s);

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

// VWAP as traders define it: sum(typical price * volume) / sum(volume) since the session began,
// here each New York calendar day, with bands at the volume-weighted standard deviation of the
// day's typical prices around it, sqrt(sum(v * (p - vwap)^2) / sum(v)), summed afresh at each bar.
// Each bar's day is read from Qt's time zone afresh; the week holds the change to daylight time.
TEST(Vwap, AgreesWithDailySumsOverAWeekAcrossTheSpringChange) {
    const auto candles = test::randomBars(8 * 288, 21, at("2024-03-07T00:00:00Z"), 300);
    const auto bars = test::columns(candles);
    const auto run = runStudy(candles, u"vwap"_s, {{u"numDevDn"_s, 1.0}});

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
    expectOutput(run, u"vwap"_s, vwap, 1e-10);
    expectOutput(run, u"upper"_s, upper, 1e-10);
    expectOutput(run, u"lower"_s, lower, 1e-10);
}

// Granville (1963): volume is added on an up close, taken away on a down close, and an unchanged
// close leaves the total where it was.
TEST(OnBalanceVolume, HandWorkedRunningTotal) {
    auto candles = test::closesOnly({10, 11, 11, 10.5, 12});
    for (std::size_t i = 0; i < candles.size(); ++i)
        candles[i].volume = 100 * static_cast<std::int64_t>(i + 1);
    EXPECT_EQ(output(runStudy(candles, u"onBalanceVolume"_s), u"obv"_s),
              (std::vector<double>{0, 200, 200, -200, 300}));
}

TEST(MoneyFlowIndex, HandWorkedWindowsOfThreeChanges) {
    // Flows: +11*100, -10*200, +12*100, flat (none), +13*100.
    auto candles = test::closesOnly({10, 11, 10, 12, 12, 13});
    const std::vector<std::int64_t> volumes = {100, 100, 200, 100, 50, 100};
    for (std::size_t i = 0; i < candles.size(); ++i) candles[i].volume = volumes[i];
    const auto mfi = output(runStudy(candles, u"moneyFlowIndex"_s, {{u"length"_s, 3.0}}), u"mfi"_s);
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
    EXPECT_EQ(output(runStudy(candles, u"moneyFlowIndex"_s), u"mfi"_s).back(), 100);

    // Fourteen unchanged bars: no money moved either way.
    for (int i = 0; i < 14; ++i) {
        time += 60;
        candles.push_back(test::candle(time, close, close + 0.1, close - 0.1, close, 1000));
    }
    EXPECT_EQ(output(runStudy(candles, u"moneyFlowIndex"_s), u"mfi"_s).back(), 50);
}

}  // namespace
}  // namespace tavix
