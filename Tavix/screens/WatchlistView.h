#pragma once

#include <QTableView>

namespace tavix {

class WatchlistModel;
class WatchlistTableModel;

// The watchlist table: Symbol, Last, Change, Change %, Bid, Ask.
class WatchlistView : public QTableView {
    Q_OBJECT

public:
    // The watchlist must outlive the view.
    explicit WatchlistView(const WatchlistModel& watchlist, QWidget* parent = nullptr);

    QSize sizeHint() const override;

private:
    WatchlistTableModel* table_;
};

}  // namespace tavix
