#include "WindowFixture.h"

#include "screens/WatchlistTableModel.h"
#include "screens/WatchlistView.h"

#include <QLineEdit>

namespace tavix::test {
namespace {

using WatchlistPanelTest = WindowFixture;

TEST_F(WatchlistPanelTest, TypingASymbolAndPressingEnterAddsIt) {
    Session::setWatchlist(list({"AAPL", "SPY"}));
    openStarted();
    QLineEdit* box = find<QLineEdit>("watchlistAdd");
    QAbstractItemModel* table = find<WatchlistView>("watchlist")->model();
    const auto rows = [table] {
        QStringList symbols;
        for (int r = 0; r < table->rowCount(); ++r)
            symbols << table->index(r, WatchlistTableModel::symbolColumn).data().toString();
        return symbols;
    };

    ASSERT_EQ(rows(), list({"AAPL", "SPY"}));
    QTest::keyClicks(box, QStringLiteral("nvda"));
    EXPECT_EQ(model->watchlistDraft(), QStringLiteral("nvda"));
    QTest::keyClick(box, Qt::Key_Return);
    ASSERT_TRUE(eventually([&] { return rows().size() == 3; }));
    EXPECT_EQ(rows(), list({"AAPL", "SPY", "NVDA"}));
    // The new row is priced at once, and the box is ready for the next symbol.
    EXPECT_NE(table->index(2, WatchlistTableModel::lastColumn).data().toString(), QStringLiteral("—"));
    EXPECT_TRUE(eventually([&] { return box->text().isEmpty(); }));
    EXPECT_FALSE(shown("watchlistError"));
}

}  // namespace
}  // namespace tavix::test
