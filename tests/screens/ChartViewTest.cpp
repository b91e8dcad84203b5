#include "WindowFixture.h"

#include "screens/ChartView.h"
#include "screens/Theme.h"

#include <QImage>

namespace tavix::test {
namespace {

class ChartViewTest : public WindowFixture {
protected:
    ChartView* chart() const { return find<ChartView>("chart"); }

    // How many pixels of the chart have exactly this colour.
    static int pixelsOf(const QImage& image, const QColor& colour) {
        int count = 0;
        const QRgb wanted = colour.rgb();
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) count += image.pixel(x, y) == wanted ? 1 : 0;
        }
        return count;
    }
};

TEST_F(ChartViewTest, PaintsTheSelectedSymbolsCandles) {
    Session::setWatchlist({QStringLiteral("AAPL"), QStringLiteral("MSFT")});
    openWindow();
    ASSERT_TRUE(model->candles().empty());
    const QImage empty = chart()->grab().toImage();
    EXPECT_EQ(pixelsOf(empty, theme::rise()), 0);
    EXPECT_EQ(pixelsOf(empty, theme::fall()), 0);

    await(model->bootstrap());
    ASSERT_TRUE(eventually([&] { return !model->candles().empty(); }));
    EXPECT_EQ(text("chartTitle"), QStringLiteral("AAPL"));
    const QImage drawn = chart()->grab().toImage();
    ASSERT_EQ(drawn.size(), empty.size());
    EXPECT_NE(drawn, empty);
    // Made-up prices go both ways: bodies of both colours are drawn.
    EXPECT_GT(pixelsOf(drawn, theme::rise()), 0);
    EXPECT_GT(pixelsOf(drawn, theme::fall()), 0);

    // Another symbol empties the chart until its candles come, and the title follows.
    model->switchTo(QStringLiteral("MSFT"));
    EXPECT_EQ(text("chartTitle"), QStringLiteral("MSFT"));
}

}  // namespace
}  // namespace tavix::test
