#include "WindowFixture.h"

#include "screens/WatchlistTableModel.h"
#include "screens/WatchlistView.h"

#include <QLineEdit>
#include <QListView>
#include <QMenu>

namespace tavix::test {
namespace {

class WatchlistPanelTest : public WindowFixture {
protected:
    void SetUp() override {
        WindowFixture::SetUp();
        Session::setWatchlist(list({"AAPL", "SPY"}));
        openStarted();
    }

    QLineEdit* box() const { return find<QLineEdit>("watchlistAdd"); }
    QListView* matches() const { return find<QListView>("symbolMatches"); }
    WatchlistView* table() const { return find<WatchlistView>("watchlist"); }

    QStringList rows() const {
        QStringList symbols;
        for (int r = 0; r < table()->model()->rowCount(); ++r) {
            symbols << table()->model()->index(r, WatchlistTableModel::symbolColumn).data().toString();
        }
        return symbols;
    }

    void clickRow(int row) {
        const QRect cell = table()->visualRect(table()->model()->index(row, 0));
        QTest::mouseClick(table()->viewport(), Qt::LeftButton, {}, cell.center());
    }
};

TEST_F(WatchlistPanelTest, TypingASymbolAndPressingEnterAddsIt) {
    ASSERT_EQ(rows(), list({"AAPL", "SPY"}));
    QTest::keyClicks(box(), QStringLiteral("nvda"));
    EXPECT_EQ(model->watchlistDraft(), QStringLiteral("nvda"));
    QTest::keyClick(box(), Qt::Key_Return);
    ASSERT_TRUE(eventually([&] { return rows().size() == 3; }));
    EXPECT_EQ(rows(), list({"AAPL", "SPY", "NVDA"}));
    // The new row is priced at once, and the box is ready for the next symbol.
    EXPECT_NE(table()->model()->index(2, WatchlistTableModel::lastColumn).data().toString(),
              QStringLiteral("—"));
    EXPECT_TRUE(eventually([&] { return box()->text().isEmpty(); }));
    EXPECT_FALSE(shown("watchlistError"));
}

TEST_F(WatchlistPanelTest, AComplaintShowsUnderTheBoxAndKeepsTheText) {
    QTest::keyClicks(box(), QStringLiteral("spy"));
    QTest::keyClick(box(), Qt::Key_Return);
    ASSERT_TRUE(eventually([&] { return shown("watchlistError"); }));
    // The model's own words, which its tests check.
    EXPECT_EQ(text("watchlistError"), model->watchlistError().value_or(QString()));
    EXPECT_EQ(box()->text(), QStringLiteral("spy"));

    // Correcting the text takes the complaint away.
    QTest::keyClick(box(), Qt::Key_Backspace);
    EXPECT_FALSE(shown("watchlistError"));
}

TEST_F(WatchlistPanelTest, MatchesAppearAfterAPauseAndOneCanBeChosen) {
    QTest::keyClicks(box(), QStringLiteral("ms"));
    // Nothing is looked up while the user is still typing.
    EXPECT_FALSE(matches()->isVisible());
    ASSERT_TRUE(eventually([&] { return matches()->isVisible(); }));
    ASSERT_GT(matches()->model()->rowCount(), 0);

    // Down picks the first match and Enter adds it rather than the typed text.
    const QString first = model->symbolMatches().front().symbol;
    QTest::keyClick(box(), Qt::Key_Down);
    QTest::keyClick(box(), Qt::Key_Return);
    ASSERT_TRUE(eventually([&] { return rows().size() == 3; }));
    EXPECT_EQ(rows().last(), first);
    EXPECT_TRUE(eventually([&] { return !matches()->isVisible(); }));

    // A click on a match adds it too.
    QTest::keyClicks(box(), QStringLiteral("q"));
    ASSERT_TRUE(eventually([&] { return matches()->isVisible(); }));
    int row = 0;
    QString clicked;
    for (; row < matches()->model()->rowCount(); ++row) {
        clicked = model->symbolMatches().at(static_cast<std::size_t>(row)).symbol;
        if (!rows().contains(clicked)) break;
    }
    ASSERT_LT(row, matches()->model()->rowCount()) << "every match is already listed";
    const QRect item = matches()->visualRect(matches()->model()->index(row, 0));
    QTest::mouseClick(matches()->viewport(), Qt::LeftButton, {}, item.center());
    ASSERT_TRUE(eventually([&] { return rows().size() == 4; }));
    EXPECT_EQ(rows().last(), clicked);
}

TEST_F(WatchlistPanelTest, ChoosingARowChartsItAndDeleteRemovesIt) {
    ASSERT_EQ(model->selectedSymbol(), QStringLiteral("AAPL"));
    clickRow(1);
    EXPECT_EQ(model->selectedSymbol(), QStringLiteral("SPY"));

    QTest::keyClick(table(), Qt::Key_Delete);
    EXPECT_EQ(model->watchlist(), list({"AAPL"}));
    EXPECT_EQ(rows(), list({"AAPL"}));

    // The row's own menu does the same.
    auto menu = table()->menuForRow(0);
    ASSERT_NE(menu, nullptr);
    ASSERT_EQ(menu->actions().size(), 1);
    EXPECT_EQ(menu->actions().at(0)->text(), QStringLiteral("Remove from Watchlist"));
    menu->actions().at(0)->trigger();
    EXPECT_TRUE(model->watchlist().isEmpty());
    EXPECT_EQ(table()->menuForRow(0), nullptr);
}

}  // namespace
}  // namespace tavix::test
