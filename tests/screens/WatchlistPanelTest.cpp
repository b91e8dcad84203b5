#include "WindowFixture.h"

#include "screens/WatchlistTableModel.h"
#include "screens/WatchlistView.h"

#include "screens/Theme.h"

#include <QLineEdit>
#include <QMimeData>

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

// A changed price tints its cell for a moment, green up and red down; a row dragged to a new place
// moves there in the user's own order, and only in that order.
TEST_F(WatchlistPanelTest, PricesFlashAndRowsDragIntoPlace) {
    Session::setWatchlist(list({"AAPL", "MSFT", "NVDA"}));
    openStarted();
    auto* rows = find<WatchlistView>("watchlist")->rows();
    const QModelIndex last = rows->index(rows->rowOf(QStringLiteral("AAPL")), WatchlistTableModel::lastColumn);
    EXPECT_FALSE(last.data(Qt::BackgroundRole).isValid());
    model->practice()->pin(QStringLiteral("AAPL"), model->quotes().at(QStringLiteral("AAPL")).last + Decimal(1));
    await(model->refresh());
    EXPECT_EQ(last.data(Qt::BackgroundRole).value<QColor>().rgb(), theme::rise().rgb());
    EXPECT_TRUE(eventually([&] { return !last.data(Qt::BackgroundRole).isValid(); }));

    const auto drag = [&](const char* symbol, int toRow) {
        std::unique_ptr<QMimeData> data(rows->mimeData({rows->index(rows->rowOf(QString::fromLatin1(symbol)), 0)}));
        rows->dropMimeData(data.get(), Qt::MoveAction, toRow, 0, QModelIndex());
    };
    drag("NVDA", 0);
    EXPECT_EQ(model->watchlist(), list({"NVDA", "AAPL", "MSFT"}));
    drag("NVDA", 3);  // below the last row
    EXPECT_EQ(model->watchlist(), list({"AAPL", "MSFT", "NVDA"}));
    model->setWatchlistSort(WatchlistSort::alphabet, true);
    EXPECT_FALSE(rows->flags(rows->index(0, 0)) & Qt::ItemIsDragEnabled);
    drag("AAPL", 0);
    EXPECT_EQ(model->watchlist(), list({"AAPL", "MSFT", "NVDA"}));
}

// The selected row keeps its rise and fall colours rather than the selection's one colour.
TEST_F(WatchlistPanelTest, TheSelectedRowKeepsItsColours) {
    Session::setWatchlist(list({"AAPL"}));
    openStarted();
    auto* view = find<WatchlistView>("watchlist");
    const QModelIndex change = view->rows()->index(0, WatchlistTableModel::changeColumn);
    ASSERT_TRUE(view->selectionModel()->isRowSelected(0, {}));
    const QColor wanted = change.data(Qt::ForegroundRole).value<QColor>();
    const QImage cell = view->viewport()->grab(view->visualRect(change)).toImage();
    int matching = 0;
    for (int y = 0; y < cell.height(); ++y) {
        for (int x = 0; x < cell.width(); ++x) matching += cell.pixelColor(x, y).rgb() == wanted.rgb() ? 1 : 0;
    }
    EXPECT_GT(matching, 0);
}

}  // namespace
}  // namespace tavix::test
