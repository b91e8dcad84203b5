#include "WindowFixture.h"

#include "screens/MoneyText.h"

namespace tavix::test {
namespace {

class MainWindowTest : public WindowFixture {};

TEST_F(MainWindowTest, TheHeaderShowsTheAccountInUseAndItsLink) {
    openWindow();
    // Before anything is read there is no account to show, and no money.
    EXPECT_FALSE(shown("worth"));
    EXPECT_FALSE(shown("connecting"));

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
}

TEST_F(MainWindowTest, QuitAsksOnlyWhileSomethingIsWatched) {
    openStarted();
    ASSERT_FALSE(model->quitWarning().has_value());
    EXPECT_TRUE(window->close());
    EXPECT_TRUE(asked.empty());
    EXPECT_FALSE(window->isVisible());

    window->show();
    Json::Object ride;
    ride.emplace_back("symbol", Json("AAPL"));
    model->setRideWatches(Json::Array{Json(std::move(ride))});
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
