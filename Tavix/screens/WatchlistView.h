#pragma once

#include <QTableView>

#include <memory>

class QMenu;

namespace tavix {

class AppModel;
class WatchlistTableModel;

// The watchlist table: Symbol, Last, Change, Change %, Bid, Ask. Choosing a row puts its symbol
// on the chart; the Delete key or the row's menu takes it off the list.
class WatchlistView : public QTableView {
    Q_OBJECT

public:
    // The app model must outlive the view.
    explicit WatchlistView(AppModel& model, QWidget* parent = nullptr);

    // The menu of a row ("Remove from Watchlist"), or nothing for a row that does not exist.
    std::unique_ptr<QMenu> menuForRow(int row);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    void showSelectedSymbol();
    void choose(const QModelIndex& current);

    AppModel& model_;
    WatchlistTableModel* table_;
};

}  // namespace tavix
