#include "WindowFixture.h"

#include "screens/ChartFrame.h"
#include "screens/ChartView.h"
#include "core/MoneyText.h"
#include "core/PriceText.h"

#include <QWheelEvent>

namespace tavix::test {
namespace {

class ChartViewTest : public WindowFixture {
protected:
    ChartView* chart() const { return find<ChartView>("chart"); }
    void openCharted() {
        Session::setWatchlist(list({"AAPL", "BTC/USD"}));
        openStarted();
        ASSERT_TRUE(eventually([&] { return !model->candles().empty(); }));
    }
};

// The readout shows the very candle under the pointer, with its exact figures.
TEST_F(ChartViewTest, TheCrosshairReadsTheExactCandleUnderThePointer) {
    openCharted();
    const std::size_t first = chart()->firstShown(), count = chart()->countShown();
    ASSERT_GT(count, 3u);
    for (const std::size_t i : {first, first + count / 2, first + count - 1}) {
        const auto x = chart()->barCentre(i);
        ASSERT_TRUE(x);
        QTest::mouseMove(chart(), QPoint(static_cast<int>(*x), chart()->height() / 2));
        const Candle& candle = model->candles().at(i);
        const QString figures = QStringLiteral("O ") + priceText(candle.open) + QStringLiteral("   H ") +
                                priceText(candle.high) + QStringLiteral("   L ") + priceText(candle.low) +
                                QStringLiteral("   C ") + priceText(candle.close) + QStringLiteral("   V ") +
                                quantityText(candle.volume);
        EXPECT_TRUE(chart()->readout().endsWith(figures)) << chart()->readout().toStdString();
    }
}

// Keys and the wheel zoom and scroll; the ends hold.
TEST_F(ChartViewTest, KeysAndTheWheelZoomAndScroll) {
    openCharted();
    const std::size_t total = model->candles().size(), shown = chart()->countShown();
    chart()->setFocus();
    QTest::keyClick(chart(), Qt::Key_Minus);
    EXPECT_GT(chart()->countShown(), shown);
    QTest::keyClick(chart(), Qt::Key_Plus);
    QTest::keyClick(chart(), Qt::Key_Plus);
    EXPECT_LT(chart()->countShown(), shown);
    const std::size_t newestFirst = chart()->firstShown();
    QTest::keyClick(chart(), Qt::Key_Left);
    EXPECT_EQ(chart()->firstShown(), newestFirst - 1);
    QTest::keyClick(chart(), Qt::Key_Home);
    EXPECT_EQ(chart()->firstShown(), 0u);
    QTest::keyClick(chart(), Qt::Key_End);
    EXPECT_EQ(chart()->firstShown() + chart()->countShown(), total);

    const std::size_t before = chart()->countShown();
    const QPointF at(chart()->width() / 2.0, chart()->height() / 2.0);
    QWheelEvent in(at, chart()->mapToGlobal(at), QPoint(), QPoint(0, 240), Qt::NoButton, Qt::NoModifier,
                   Qt::NoScrollPhase, false);
    QApplication::sendEvent(chart(), &in);
    EXPECT_LT(chart()->countShown(), before);
}

// Stocks are charted in New York time and coins in the computer's own, each named on the axis, with
// the date marked where days meet.
TEST_F(ChartViewTest, TimesAreInTheMarketsZoneAndDaysAreMarked) {
    openCharted();
    EXPECT_EQ(chart()->zoneWords(), QStringLiteral("New York time"));
    // Five-minute bars over several days: the day's first bar is marked.
    chart()->zoomBy(100);
    const auto starts = chart()->dayStarts();
    const ChartFrame frame = ChartFrame::of(model->candles(), QStringLiteral("AAPL"));
    std::vector<std::size_t> expected;
    for (std::size_t i = chart()->firstShown() + 1; i < chart()->firstShown() + chart()->countShown(); ++i) {
        if (frame.dayLabel(frame.bars[i].time) != frame.dayLabel(frame.bars[i - 1].time)) expected.push_back(i);
    }
    ASSERT_FALSE(expected.empty());
    EXPECT_EQ(starts, expected);
    model->switchTo(QStringLiteral("BTC/USD"));
    ASSERT_TRUE(eventually([&] { return !model->candles().empty(); }));
    EXPECT_EQ(chart()->zoneWords(), QStringLiteral("Your time"));

    // 14:30 UTC on a March weekday is 09:30 in New York (before the clocks change) and 10:30 after.
    const std::vector<Candle> two = {Candle{Date::parseIso(u"2026-03-02T14:30:00Z").value()},
                                     Candle{Date::parseIso(u"2026-03-09T13:30:00Z").value()}};
    const ChartFrame stocks = ChartFrame::of(two, QStringLiteral("AAPL"));
    EXPECT_EQ(stocks.timeLabel(stocks.bars[0].time, CandleInterval::fiveMinute), QStringLiteral("09:30"));
    EXPECT_EQ(stocks.timeLabel(stocks.bars[1].time, CandleInterval::fiveMinute), QStringLiteral("09:30"));
    EXPECT_EQ(stocks.dayLabel(stocks.bars[0].time), QStringLiteral("Mon 2 Mar"));
    EXPECT_NE(stocks.bars[0].day, stocks.bars[1].day);
}

// With nothing to chart, the chart says why in place of the candles.
TEST_F(ChartViewTest, WithNothingToChartItSaysWhy) {
    openCharted();
    EXPECT_EQ(chart()->message(), std::nullopt);
    model->clearSelection();
    EXPECT_EQ(chart()->message(), QStringLiteral("Choose a symbol on the watchlist to chart it."));
}

// The window of bars never runs past either end, and zooming keeps the bar under the pointer.
TEST(ChartWindow, ScrollAndZoomStayWithinTheBars) {
    ChartWindow window{.count = 100, .back = 0};
    window.scroll(50, 120);
    EXPECT_EQ(window.back, 20u);
    window.scroll(-500, 120);
    EXPECT_EQ(window.back, 0u);
    window.zoom(0.5, 0.0, 1000);  // anchored at the left edge: the first bar stays first
    EXPECT_EQ(window.count, 50u);
    EXPECT_EQ(window.first(1000), 900u);
    window.zoom(100, 1.0, 1000);
    EXPECT_EQ(window.count, 1000u);
    EXPECT_EQ(window.first(1000), 0u);
    window.zoom(0.0001, 0.5, 1000);
    EXPECT_EQ(window.count, ChartWindow::fewest);
}

}  // namespace
}  // namespace tavix::test
