#include "screens/WatchlistView.h"

#include "screens/WatchlistTableModel.h"

#include <QHeaderView>

#include <algorithm>

namespace tavix {

WatchlistView::WatchlistView(const WatchlistModel& watchlist, QWidget* parent)
    : QTableView(parent), table_(new WatchlistTableModel(watchlist, this)) {
    setObjectName(QStringLiteral("watchlist"));
    setModel(table_);
    setShowGrid(false);
    setAlternatingRowColors(true);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setWordWrap(false);
    setCornerButtonEnabled(false);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 14);

    QHeaderView* header = horizontalHeader();
    header->setHighlightSections(false);
    header->setSectionsClickable(false);
    header->setMinimumSectionSize(80);
    header->setSectionResizeMode(QHeaderView::Stretch);
}

QSize WatchlistView::sizeHint() const {
    // Room for every column and a handful of rows without scrolling.
    const int rows = std::max(6, table_->rowCount());
    return {WatchlistTableModel::columnTotal * 118,
            horizontalHeader()->sizeHint().height() + rows * verticalHeader()->defaultSectionSize() + 4};
}

}  // namespace tavix
