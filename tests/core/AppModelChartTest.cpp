#include "AppModelFixture.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace tavix::test {
namespace {

// Pinned prices give flat candles, so a test can tell whose read landed on the chart.
class AppModelChartTest : public AppModelFixture {
protected:
    AppModel& startPinned() {
        prepare = [](HeldPractice& broker) {
            broker.pin(QStringLiteral("MSFT"), Decimal(100));
            broker.pin(QStringLiteral("NVDA"), Decimal(200));
        };
        return started();
    }

    bool chartAt(int price) const {
        const auto& candles = model->candles();
        return !candles.empty() && std::all_of(candles.begin(), candles.end(), [&](const Candle& candle) {
                   return candle.close == Decimal(price);
               });
    }
};

// A chart read that answers after the user moved on must never paint the wrong symbol, interval or
// an older price over a newer one.
TEST_F(AppModelChartTest, StaleReadsAreDropped) {
    AppModel& m = startPinned();
    practice->candleReads.holding = true;

    // Another symbol chosen mid read.
    m.switchTo(QStringLiteral("MSFT"));
    m.switchTo(QStringLiteral("NVDA"));
    ASSERT_EQ(practice->candleReads.count(), 2);
    practice->candleReads.releaseOne();
    EXPECT_TRUE(m.candles().empty());
    practice->candleReads.releaseOne();
    EXPECT_TRUE(chartAt(200));

    // Another interval chosen mid read: only the read for the interval now shown lands.
    m.setChartInterval(CandleInterval::hourly);
    m.setChartInterval(CandleInterval::daily);
    ASSERT_EQ(practice->candleReads.count(), 2);
    practice->candleReads.releaseOne();
    EXPECT_TRUE(m.candles().empty());
    practice->candleReads.releaseOne();
    ASSERT_GE(m.candles().size(), 2U);
    EXPECT_GE(m.candles()[1].time - m.candles()[0].time, 86400.0);

    // A load overtaken by a newer one: the newer answers first with the new price, and the older,
    // answering after it, must not cover it over.
    auto older = m.loadChart();
    auto newer = m.loadChart();
    practice->pin(QStringLiteral("NVDA"), Decimal(120));
    practice->candleReads.releaseNewest();
    EXPECT_TRUE(chartAt(120));
    practice->pin(QStringLiteral("NVDA"), Decimal(200));
    practice->candleReads.releaseOne();
    EXPECT_TRUE(chartAt(120));
}

// A chart that could not be read says so on the chart, and the next good read clears it.
TEST_F(AppModelChartTest, AFailedLoadIsToldOnTheChartUntilTheNextRead) {
    AppModel& m = startPinned();
    practice->candleError = MockBroker::timedOut();
    m.switchTo(QStringLiteral("NVDA"));
    ASSERT_TRUE(eventually([&] { return m.chartProblem().has_value(); }));
    EXPECT_EQ(*m.chartProblem(), QStringLiteral("Tavix couldn't load this chart. Tavix can't reach Practice right "
                                                "now. Check your internet connection; Tavix keeps trying on its own."));
    EXPECT_TRUE(m.candles().empty());
    practice->candleError.reset();
    m.setChartInterval(CandleInterval::oneMinute);
    EXPECT_EQ(m.chartProblem(), std::nullopt);
    ASSERT_TRUE(eventually([&] { return chartAt(200); }));
}

}  // namespace
}  // namespace tavix::test
