#include "screens/WatchlistView.h"

#include "core/AppModel.h"
#include "screens/TableStyle.h"
#include "screens/WatchlistTableModel.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>
#include <QScrollBar>
#include <QStyledItemDelegate>

#include <algorithm>

namespace tavix {

namespace {

// The columns shown when none were chosen yet.
const QStringList firstColumns = {QStringLiteral("symbol"), QStringLiteral("last"), QStringLiteral("change"),
                                  QStringLiteral("percent"), QStringLiteral("bid"), QStringLiteral("ask")};

// Keeps a cell's own colour (a rise in green, a fall in red) on the selected row, where the style
// would paint every text in the selection's colour.
class KeepColourDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override {
        QStyledItemDelegate::initStyleOption(option, index);
        const QVariant colour = index.data(Qt::ForegroundRole);
        if (colour.isValid()) {
            option->palette.setColor(QPalette::HighlightedText, colour.value<QColor>());
        }
    }
};

}  // namespace

WatchlistView::WatchlistView(AppModel& model, QWidget* parent)
    : QTableView(parent), model_(model), table_(new WatchlistTableModel(model, this)) {
    setObjectName(QStringLiteral("watchlist"));
    setModel(table_);
    styleTable(*this);
    setItemDelegate(new KeepColourDelegate(this));
    // Tab leaves the table for the next pane; arrows move within it.
    setTabKeyNavigation(false);
    // No text can widen the table: long cells are cut with an ellipsis.
    setTextElideMode(Qt::ElideRight);
    // Every column as wide as its figures (a symbol is at most an option's 21 letters); a narrow
    // panel scrolls sideways rather than cut a symbol or a price.
    horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    horizontalHeader()->setStretchLastSection(false);
    horizontalHeader()->setSectionsClickable(true);
    horizontalHeader()->setSortIndicatorShown(true);
    horizontalHeader()->setToolTip(
        QStringLiteral("Click to sort; again to turn it round; a third time for your own order."));
    horizontalHeader()->setContextMenuPolicy(Qt::CustomContextMenu);
    setDragDropMode(QAbstractItemView::InternalMove);
    setDefaultDropAction(Qt::MoveAction);
    setDropIndicatorShown(true);

    QObject::connect(horizontalHeader(), &QHeaderView::sectionClicked, this, &WatchlistView::sortBy);
    QObject::connect(horizontalHeader(), &QHeaderView::customContextMenuRequested, this, [this](const QPoint& at) {
        columnMenu()->exec(horizontalHeader()->mapToGlobal(at));
    });
    QObject::connect(selectionModel(), &QItemSelectionModel::currentRowChanged, this,
                     [this](const QModelIndex& current) { choose(current); });
    // A reset or a new order forgets the selection; the chart's symbol is marked again.
    QObject::connect(table_, &QAbstractItemModel::modelReset, this, &WatchlistView::showSelectedSymbol);
    QObject::connect(table_, &QAbstractItemModel::layoutChanged, this, &WatchlistView::showSelectedSymbol);
    QObject::connect(&model_, &AppModel::changed, this, [this](AppModel::Field field) {
        if (field == AppModel::Field::selectedSymbol) showSelectedSymbol();
        if (field == AppModel::Field::watchlistSort) showSort();
        if (field == AppModel::Field::mode) showColumns();
    });
    showSort();
    showColumns();
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
    selectionModel()->setCurrentIndex(table_->index(row, currentIndex().isValid() ? currentIndex().column() : 0),
                                      QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
}

void WatchlistView::sortBy(int column) {
    const WatchlistSort chosen = WatchlistTableModel::sortOf(column);
    if (model_.watchlistSort() != chosen) {
        model_.setWatchlistSort(chosen, false);
    } else if (!model_.sortReversed()) {
        model_.setWatchlistSort(chosen, true);
    } else {
        model_.setWatchlistSort(WatchlistSort::added, false);
    }
}

void WatchlistView::showSort() {
    const WatchlistSort sort = model_.watchlistSort();
    int column = -1;
    if (sort != WatchlistSort::added) {
        for (int c = 0; c < WatchlistTableModel::columnTotal && column < 0; ++c) {
            if (WatchlistTableModel::sortOf(c) == sort && !isColumnHidden(c)) column = c;
        }
    }
    // Highest first shows as descending; the alphabet's natural order as ascending.
    const bool ascending = (sort == WatchlistSort::alphabet) != model_.sortReversed();
    horizontalHeader()->setSortIndicator(column, ascending ? Qt::AscendingOrder : Qt::DescendingOrder);
    setDragEnabled(table_->canReorder());
}

void WatchlistView::showColumns() {
    const QStringList shown = Session::watchlistColumns(model_.mode()).value_or(firstColumns);
    for (int column = 0; column < WatchlistTableModel::columnTotal; ++column) {
        // The symbol is always shown: a row means nothing without it.
        setColumnHidden(column, column != WatchlistTableModel::symbolColumn &&
                                    !shown.contains(WatchlistTableModel::columnName(column)));
    }
    showSort();
    updateGeometry();
}

void WatchlistView::setColumnShown(int column, bool shown) {
    QStringList names;
    for (int c = 0; c < WatchlistTableModel::columnTotal; ++c) {
        if (c == column ? shown : !isColumnHidden(c)) names << WatchlistTableModel::columnName(c);
    }
    Session::setWatchlistColumns(names, model_.mode());
    showColumns();
}

std::unique_ptr<QMenu> WatchlistView::columnMenu() {
    auto menu = std::make_unique<QMenu>(this);
    for (int column = WatchlistTableModel::symbolColumn + 1; column < WatchlistTableModel::columnTotal; ++column) {
        QAction* action = menu->addAction(table_->headerData(column, Qt::Horizontal).toString());
        action->setCheckable(true);
        action->setChecked(!isColumnHidden(column));
        QObject::connect(action, &QAction::toggled, this, [this, column](bool on) { setColumnShown(column, on); });
    }
    menu->addSeparator();
    QAction* own = menu->addAction(QStringLiteral("My Own Order"));
    own->setEnabled(model_.watchlistSort() != WatchlistSort::added || model_.sortReversed());
    QObject::connect(own, &QAction::triggered, this,
                     [this] { model_.setWatchlistSort(WatchlistSort::added, false); });
    return menu;
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

void WatchlistView::selectStep(int step) {
    if (table_->rowCount() == 0) return;
    const int from = table_->rowOf(model_.selectedSymbol());
    const int row = from < 0 ? (step > 0 ? 0 : table_->rowCount() - 1)
                             : std::clamp(from + step, 0, table_->rowCount() - 1);
    model_.switchTo(table_->symbolAt(row));
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
    // From the keyboard (the Menu key), the menu is the current row's, shown beside it.
    const bool byKeyboard = event->reason() == QContextMenuEvent::Keyboard;
    const int row = byKeyboard ? currentIndex().row() : indexAt(event->pos()).row();
    auto menu = menuForRow(row);
    if (!menu) return;
    menu->exec(byKeyboard ? viewport()->mapToGlobal(visualRect(currentIndex()).bottomLeft()) : event->globalPos());
}

QSize WatchlistView::minimumSizeHint() const {
    // Whole symbols and their last price at the least; the other columns scroll sideways. The
    // columns' titles count, not their text: however long a cell, the table never asks for more.
    int width = 2 * frameWidth() + verticalScrollBar()->sizeHint().width() + 150;
    width += horizontalHeader()->sectionSizeHint(WatchlistTableModel::lastColumn);
    return {width, QTableView::minimumSizeHint().height()};
}

QSize WatchlistView::sizeHint() const {
    // Room for the shown columns as wide as they are, and a handful of rows without scrolling.
    int width = 2 * frameWidth() + verticalScrollBar()->sizeHint().width() + 4;
    for (int column = 0; column < WatchlistTableModel::columnTotal; ++column) {
        // Before the first prices land, room for a five-figure price in each column.
        const int typical = fontMetrics().horizontalAdvance(QStringLiteral("+00000.00")) + 20;
        if (!isColumnHidden(column)) width += std::max(horizontalHeader()->sectionSize(column), typical);
    }
    const int rows = std::max(8, table_->rowCount());
    return {width, horizontalHeader()->sizeHint().height() + rows * verticalHeader()->defaultSectionSize() + 4};
}

}  // namespace tavix
