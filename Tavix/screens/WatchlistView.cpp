#include "screens/WatchlistView.h"

#include "core/AppModel.h"
#include "screens/TableStyle.h"
#include "screens/WatchlistTableModel.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>
#include <QScrollBar>

#include <algorithm>

namespace tavix {

WatchlistView::WatchlistView(AppModel& model, QWidget* parent)
    : QTableView(parent), model_(model), table_(new WatchlistTableModel(model, this)) {
    setObjectName(QStringLiteral("watchlist"));
    setModel(table_);
    styleTable(*this);
    // Prices keep every digit they have: their columns fit the text and the symbol takes the rest.
    horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    horizontalHeader()->setSectionResizeMode(WatchlistTableModel::symbolColumn, QHeaderView::Stretch);
    horizontalHeader()->setStretchLastSection(false);

    QObject::connect(selectionModel(), &QItemSelectionModel::currentRowChanged, this,
                     [this](const QModelIndex& current) { choose(current); });
    // A reset forgets the selection; the chart's symbol is marked again.
    QObject::connect(table_, &QAbstractItemModel::modelReset, this, &WatchlistView::showSelectedSymbol);
    // Wider prices ask the layout for more room.
    QObject::connect(table_, &QAbstractItemModel::modelReset, this, [this] { updateGeometry(); });
    QObject::connect(table_, &QAbstractItemModel::dataChanged, this, [this] { updateGeometry(); });
    QObject::connect(&model_, &AppModel::changed, this, [this](AppModel::Field field) {
        if (field == AppModel::Field::selectedSymbol) showSelectedSymbol();
    });
    showSelectedSymbol();
}

void WatchlistView::choose(const QModelIndex& current) {
    const QString symbol = table_->symbolAt(current.row());
    if (symbol.isEmpty() || symbol == model_.selectedSymbol()) return;
    model_.switchTo(symbol);
}

void WatchlistView::showSelectedSymbol() {
    const int row = table_->rowOf(model_.selectedSymbol());
    if (row < 0) {
        selectionModel()->clearSelection();
        return;
    }
    if (currentIndex().row() == row && selectionModel()->isRowSelected(row, {})) return;
    // The model already has this symbol, so the row change calls nothing back.
    selectionModel()->setCurrentIndex(table_->index(row, 0),
                                      QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
}

std::unique_ptr<QMenu> WatchlistView::menuForRow(int row) {
    const QString symbol = table_->symbolAt(row);
    if (symbol.isEmpty()) return nullptr;
    auto menu = std::make_unique<QMenu>(this);
    QAction* remove = menu->addAction(QStringLiteral("Remove from Watchlist"));
    QObject::connect(remove, &QAction::triggered, this,
                     [this, symbol] { model_.removeFromWatchlist(symbol); });
    return menu;
}

void WatchlistView::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Delete || event->key() == Qt::Key_Backspace) {
        const QString symbol = table_->symbolAt(currentIndex().row());
        if (!symbol.isEmpty() && selectionModel()->isRowSelected(currentIndex().row(), {})) {
            model_.removeFromWatchlist(symbol);
            event->accept();
            return;
        }
    }
    QTableView::keyPressEvent(event);
}

void WatchlistView::contextMenuEvent(QContextMenuEvent* event) {
    auto menu = menuForRow(indexAt(event->pos()).row());
    if (!menu) return;
    menu->exec(event->globalPos());
}

QSize WatchlistView::minimumSizeHint() const {
    // Every column whole, so no price is cut short.
    int width = 2 * frameWidth() + verticalScrollBar()->sizeHint().width();
    for (int column = 0; column < WatchlistTableModel::columnTotal; ++column) {
        width += std::max(horizontalHeader()->sectionSizeHint(column), sizeHintForColumn(column));
    }
    return {width, QTableView::minimumSizeHint().height()};
}

QSize WatchlistView::sizeHint() const {
    // Room for every column and a handful of rows without scrolling.
    const int rows = std::max(8, table_->rowCount());
    return {minimumSizeHint().width(),
            horizontalHeader()->sizeHint().height() + rows * verticalHeader()->defaultSectionSize() + 4};
}

}  // namespace tavix
