#include "GatedPracticeFixture.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace tavix::test {
namespace {

constexpr double day = 86400;

class AppModelChartTest : public GatedPracticeFixture {
protected:
    // Pinned prices give flat candles, so a test can tell whose candles landed.
    AppModel& startPinned() {
        return startGated([](GatedPractice& broker) {
            broker.pin(QStringLiteral("MSFT"), *Decimal::parse("100"));
            broker.pin(QStringLiteral("NVDA"), *Decimal::parse("200"));
        });
    }

    static bool allCloseAt(const std::vector<Candle>& candles, const char* price) {
        const Decimal wanted = *Decimal::parse(price);
        return !candles.empty() && std::all_of(candles.begin(), candles.end(),
                                               [&](const Candle& candle) { return candle.close == wanted; });
    }
};

TEST_F(AppModelChartTest, SwitchingLoadsTheSymbolOverASpanEndingNow) {
    AppModel& m = startPinned();
    const auto reads = gated->candleCalls.size();

    m.switchTo(QStringLiteral(" msft"));
    EXPECT_EQ(m.selectedSymbol(), QStringLiteral("MSFT"));
    ASSERT_TRUE(eventually([&] { return !m.candles().empty(); }));
    EXPECT_TRUE(allCloseAt(m.candles(), "100"));
    ASSERT_EQ(gated->candleCalls.size(), reads + 1);
    const auto& asked = gated->candleCalls.back();
    EXPECT_EQ(asked.symbol, QStringLiteral("MSFT"));
    EXPECT_EQ(asked.interval, CandleInterval::fiveMinute);
    EXPECT_EQ(asked.range.end, pacer.now());
    EXPECT_EQ(asked.range.end - asked.range.start, 5 * day);

    // The symbol already shown keeps its candles.
    m.switchTo(QStringLiteral("MSFT"));
    EXPECT_EQ(gated->candleCalls.size(), reads + 1);
}

TEST_F(AppModelChartTest, CandlesReadForAnotherSymbolOrIntervalAreDropped) {
    AppModel& m = startPinned();
    gated->candleReads.holding = true;

    m.switchTo(QStringLiteral("MSFT"));
    m.switchTo(QStringLiteral("NVDA"));
    ASSERT_EQ(gated->candleReads.count(), 2);
    gated->candleReads.releaseOne();
    EXPECT_TRUE(m.candles().empty());
    gated->candleReads.releaseOne();
    EXPECT_TRUE(allCloseAt(m.candles(), "200"));

    // Changed interval mid read: only the read for the interval now shown lands.
    m.setChartInterval(CandleInterval::hourly);
    auto reload = m.loadChart();
    m.setChartInterval(CandleInterval::daily);
    ASSERT_EQ(gated->candleReads.count(), 3);
    gated->candleReads.releaseOne();
    gated->candleReads.releaseOne();
    EXPECT_TRUE(m.candles().empty());
    gated->candleReads.releaseOne();
    ASSERT_GE(m.candles().size(), 2U);
    EXPECT_GE(m.candles()[1].time - m.candles()[0].time, day);
}

TEST_F(AppModelChartTest, ALoadOvertakenByANewerOneIsDropped) {
    AppModel& m = startPinned();
    m.switchTo(QStringLiteral("MSFT"));
    ASSERT_TRUE(eventually([&] { return !m.candles().empty(); }));

    gated->candleReads.holding = true;
    auto older = m.loadChart();
    auto newer = m.loadChart();
    // The price moved; the newer read answers first, with the new price.
    gated->pin(QStringLiteral("MSFT"), *Decimal::parse("120"));
    gated->candleReads.releaseNewest();
    EXPECT_TRUE(allCloseAt(m.candles(), "120"));
    // The older read, answering after it, must not cover it over.
    gated->pin(QStringLiteral("MSFT"), *Decimal::parse("100"));
    gated->candleReads.releaseOne();
    EXPECT_TRUE(allCloseAt(m.candles(), "120"));
}

TEST_F(AppModelChartTest, AFailedReadGoesToTheBannerAndKeepsTheChartEmpty) {
    AppModel& m = startPinned();
    gated->candlesError = BrokerError::transport(QStringLiteral("The request timed out."));
    m.switchTo(QStringLiteral("NVDA"));
    ASSERT_TRUE(eventually([&] { return m.banner().has_value(); }));
    EXPECT_EQ(m.banner(), BrokerError::transport(QStringLiteral("The request timed out.")).description());
    EXPECT_TRUE(m.candles().empty());

    // Choosing it again once the broker answers loads it.
    gated->candlesError.reset();
    m.switchTo(QStringLiteral("NVDA"));
    EXPECT_TRUE(eventually([&] { return allCloseAt(m.candles(), "200"); }));
}

}  // namespace
}  // namespace tavix::test
