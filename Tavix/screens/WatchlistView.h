#pragma once

#include <QTableView>

#include <memory>

class QMenu;

namespace tavix {

class AppModel;
class WatchlistTableModel;

// The watchlist table: Symbol, Last, Change, Change %, Bid, Ask, and Volume, High and Low when
// chosen. Choosing a row puts its symbol on the chart; the Delete key or the row's menu takes it
// off the list. A click on a header sorts by that column, again turns the sort round, and a third
// time goes back to the user's own order, in which rows can be dragged to a new place. The
// header's menu chooses the columns; sort and columns are kept per mode.
class WatchlistView : public QTableView {
    Q_OBJECT

public:
    // The app model must outlive the view.
    explicit WatchlistView(AppModel& model, QWidget* parent = nullptr);

    WatchlistTableModel* rows() const { return table_; }

    // The menu of a row ("Remove from Watchlist"), or nothing for a row that does not exist.
    std::unique_ptr<QMenu> menuForRow(int row);
    // The header's menu: a check for each column that can be hidden, and the user's own order.
    std::unique_ptr<QMenu> columnMenu();
    // Moves the chart to the next (1) or previous (-1) row; stops at either end.
    void selectStep(int step);
    // What a click on a column's header does.
    void sortBy(int column);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    void showSelectedSymbol();
    void showSort();
    void showColumns();
    void setColumnShown(int column, bool shown);
    void choose(const QModelIndex& current);

    AppModel& model_;
    WatchlistTableModel* table_;
};

}  // namespace tavix
