#include "WindowFixture.h"

#include "screens/ChartView.h"
#include "core/MoneyText.h"
#include "screens/Theme.h"

#include <QImage>

namespace tavix::test {
namespace {

// How many pixels of the image have exactly this colour.
int pixelsOf(const QImage& image, const QColor& colour) {
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) count += image.pixel(x, y) == colour.rgb() ? 1 : 0;
    }
    return count;
}

using MainWindowTest = WindowFixture;

TEST_F(MainWindowTest, TheHeaderAndChartFollowTheAccountAndTheSelectedSymbol) {
    Session::setWatchlist({QStringLiteral("AAPL"), QStringLiteral("MSFT")});
    openWindow();
    // Before anything is read there is no account to show, no money and no candles.
    EXPECT_FALSE(shown("worth"));
    EXPECT_FALSE(shown("connecting"));
    ASSERT_TRUE(model->candles().empty());
    const QImage empty = find<ChartView>("chart")->grab().toImage();
    EXPECT_EQ(pixelsOf(empty, theme::rise()), 0);
    EXPECT_EQ(pixelsOf(empty, theme::fall()), 0);

    await(model->bootstrap());
    ASSERT_TRUE(model->account().has_value());
    ASSERT_TRUE(model->balance().has_value());
    EXPECT_EQ(text("accountKind"), QStringLiteral("Practice"));
    EXPECT_TRUE(text("accountNumber").startsWith(model->account()->displayNumber))
        << text("accountNumber").toStdString();
    EXPECT_TRUE(shown("worth"));
    EXPECT_EQ(text("worth"), moneyText(model->balance()->equity));
    EXPECT_TRUE(text("worth").startsWith(u'$'));
    EXPECT_EQ(text("health"), QStringLiteral("Stable"));
    EXPECT_FALSE(shown("connecting"));

    ASSERT_TRUE(eventually([&] { return !model->candles().empty(); }));
    EXPECT_EQ(text("chartTitle"), QStringLiteral("AAPL"));
    const QImage drawn = find<ChartView>("chart")->grab().toImage();
    ASSERT_EQ(drawn.size(), empty.size());
    EXPECT_NE(drawn, empty);
    // Made-up prices go both ways: bodies of both colours are drawn.
    EXPECT_GT(pixelsOf(drawn, theme::rise()), 0);
    EXPECT_GT(pixelsOf(drawn, theme::fall()), 0);

    // Another symbol empties the chart until its candles come, and the title follows.
    model->switchTo(QStringLiteral("MSFT"));
    EXPECT_EQ(text("chartTitle"), QStringLiteral("MSFT"));
}

TEST_F(MainWindowTest, QuitAsksOnlyWhileSomethingIsWatched) {
    openStarted();
    ASSERT_FALSE(model->quitWarning().has_value());
    EXPECT_TRUE(window->close());
    EXPECT_TRUE(asked.empty());
    EXPECT_FALSE(window->isVisible());

    window->show();
    model->setRideWatches({Json::parse(R"({"symbol":"AAPL"})")});
    const auto warning = model->quitWarning();
    ASSERT_TRUE(warning.has_value());

    answer = false;  // Keep Tavix Open
    EXPECT_FALSE(window->close());
    EXPECT_TRUE(window->isVisible());
    ASSERT_EQ(asked.size(), 1u);
    EXPECT_EQ(asked[0].title, QStringLiteral("Quit while Tavix is looking after trades?"));
    EXPECT_EQ(asked[0].text, QStringLiteral("Quit while Tavix is looking after trades?"));
    EXPECT_EQ(asked[0].informativeText, *warning);
    EXPECT_EQ(asked[0].rejectButton, QStringLiteral("Keep Tavix Open"));
    EXPECT_EQ(asked[0].acceptButton, QStringLiteral("Quit Anyway"));

    answer = true;  // Quit Anyway
    EXPECT_TRUE(window->close());
    EXPECT_EQ(asked.size(), 2u);
    EXPECT_FALSE(window->isVisible());
}

}  // namespace
}  // namespace tavix::test
