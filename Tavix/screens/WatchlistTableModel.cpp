#include "screens/WatchlistTableModel.h"

#include "core/AppModel.h"
#include "core/PriceText.h"
#include "core/WatchlistOrder.h"
#include "core/MoneyText.h"
#include "screens/Theme.h"

#include <QColor>
#include <QMimeData>
#include <QTimer>

#include <array>

namespace tavix {

namespace {

const QString missing = QStringLiteral("—");
const QString rowMime = QStringLiteral("application/x-tavix-watchlist-symbol");

QVariant optionalPrice(const std::optional<Decimal>& price) {
    return price ? priceText(*price) : missing;
}

const std::array<const char*, WatchlistTableModel::columnTotal> names = {
    "symbol", "last", "change", "percent", "bid", "ask", "volume", "high", "low"};

}  // namespace

WatchlistTableModel::WatchlistTableModel(AppModel& model, QObject* parent)
    : TextTableModel(model, AppModel::Field::watchlist,
                     {QStringLiteral("Symbol"), QStringLiteral("Last"), QStringLiteral("Change"),
                      QStringLiteral("Change %"), QStringLiteral("Bid"), QStringLiteral("Ask"),
                      QStringLiteral("Volume"), QStringLiteral("High"), QStringLiteral("Low")},
                     {symbolColumn}, parent),
      actions_(model),
      flashTimer_(new QTimer(this)) {
    clock_.start();
    flashTimer_->setSingleShot(true);
    QObject::connect(flashTimer_, &QTimer::timeout, this, &WatchlistTableModel::endFlashes);
    // The base class resets on a new list; the order is worked out before the views read it.
    QObject::connect(&model_, &AppModel::changed, this, [this](AppModel::Field field) {
        switch (field) {
            case AppModel::Field::watchlist:
            case AppModel::Field::watchlistSort:
                reorder(true);
                break;
            case AppModel::Field::quotes:
                noteChangedPrices();
                reorder(false);
                if (rowCount() > 0) Q_EMIT dataChanged(index(0, lastColumn), index(rowCount() - 1, columnTotal - 1));
                break;
            default:
                break;
        }
    });
    for (const auto& [symbol, quote] : model_.quotes()) lastSeen_[symbol] = quote.last;
    rows_ = WatchlistOrder::ordered(model_.watchlist(), model_.quotes(), model_.watchlistSort(), model_.sortReversed());
}

void WatchlistTableModel::reorder(bool reset) {
    QStringList next =
        WatchlistOrder::ordered(model_.watchlist(), model_.quotes(), model_.watchlistSort(), model_.sortReversed());
    if (reset) {
        beginResetModel();
        rows_ = std::move(next);
        endResetModel();
        return;
    }
    if (next == rows_) return;
    // Same rows, new places: views keep their selection on the same symbol.
    Q_EMIT layoutAboutToBeChanged();
    const QModelIndexList before = persistentIndexList();
    QModelIndexList after;
    for (const QModelIndex& old : before) {
        const int row = static_cast<int>(next.indexOf(rows_.value(old.row())));
        after << (row < 0 ? QModelIndex() : index(row, old.column()));
    }
    rows_ = std::move(next);
    changePersistentIndexList(before, after);
    Q_EMIT layoutChanged();
}

void WatchlistTableModel::noteChangedPrices() {
    const qint64 now = clock_.elapsed();
    bool any = false;
    for (const auto& [symbol, quote] : model_.quotes()) {
        auto seen = lastSeen_.find(symbol);
        if (seen == lastSeen_.end()) {
            lastSeen_.emplace(symbol, quote.last);
            continue;
        }
        if (seen->second == quote.last) continue;
        flashes_[symbol] = Flash{quote.last > seen->second, now + flashMs};
        seen->second = quote.last;
        any = true;
    }
    if (any) flashTimer_->start(flashMs);
}

void WatchlistTableModel::endFlashes() {
    const qint64 now = clock_.elapsed();
    std::erase_if(flashes_, [now](const auto& entry) { return entry.second.until <= now; });
    if (!flashes_.empty()) flashTimer_->start(flashMs);
    if (rowCount() > 0) {
        Q_EMIT dataChanged(index(0, lastColumn), index(rowCount() - 1, lastColumn), {Qt::BackgroundRole});
    }
}

QString WatchlistTableModel::symbolAt(int row) const {
    return row >= 0 && row < rowCount() ? rows_.at(row) : QString();
}

int WatchlistTableModel::rowOf(const QString& symbol) const {
    return static_cast<int>(rows_.indexOf(symbol));
}

int WatchlistTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

WatchlistSort WatchlistTableModel::sortOf(int column) {
    switch (column) {
        case symbolColumn:
            return WatchlistSort::alphabet;
        case changeColumn:
            return WatchlistSort::biggestMoves;
        case percentColumn:
            return WatchlistSort::gainers;
        case volumeColumn:
            return WatchlistSort::volume;
        case highColumn:
        case lowColumn:
            return WatchlistSort::range;
        default:
            return WatchlistSort::price;
    }
}

QString WatchlistTableModel::columnName(int column) {
    return column >= 0 && column < columnTotal ? QString::fromLatin1(names[static_cast<std::size_t>(column)])
                                               : QString();
}

int WatchlistTableModel::columnNamed(const QString& name) {
    for (int column = 0; column < columnTotal; ++column) {
        if (columnName(column) == name) return column;
    }
    return -1;
}

bool WatchlistTableModel::canReorder() const {
    return model_.watchlistSort() == WatchlistSort::added && !model_.sortReversed();
}

const Quote* WatchlistTableModel::quote(const QString& symbol) const {
    const auto& quotes = model_.quotes();
    auto found = quotes.find(symbol);
    return found == quotes.end() ? nullptr : &found->second;
}

QVariant WatchlistTableModel::data(const QModelIndex& index, int role) const {
    if (!holds(index)) return {};
    const QString symbol = symbolAt(index.row());
    switch (role) {
        case Qt::DisplayRole:
            return text(symbol, index.column());
        case Qt::ToolTipRole:
            return index.column() == symbolColumn ? QVariant(symbol) : QVariant();
        case Qt::ForegroundRole:
            return colour(symbol, index.column());
        case Qt::BackgroundRole:
            return flash(symbol, index.column());
        case Qt::TextAlignmentRole:
            return alignment(index.column());
        default:
            return {};
    }
}

QVariant WatchlistTableModel::text(const QString& symbol, int column) const {
    if (column == symbolColumn) return symbol;
    const Quote* found = quote(symbol);
    if (!found) return missing;
    switch (column) {
        case lastColumn:
            return priceText(found->last);
        case changeColumn: {
            auto moved = found->change();
            return moved ? changeText(*moved) : missing;
        }
        case percentColumn: {
            auto moved = found->change();
            if (!moved) return missing;
            return percentText(*moved, *found->previousClose).value_or(missing);
        }
        case bidColumn:
            return optionalPrice(found->bid);
        case askColumn:
            return optionalPrice(found->ask);
        case volumeColumn:
            return found->volume ? quantityText(*found->volume) : missing;
        case highColumn:
            return optionalPrice(found->high);
        case lowColumn:
            return optionalPrice(found->low);
        default:
            return {};
    }
}

QVariant WatchlistTableModel::colour(const QString& symbol, int column) const {
    if (column != changeColumn && column != percentColumn) return {};
    const Quote* found = quote(symbol);
    auto moved = found ? found->change() : std::nullopt;
    if (!moved || moved->isZero()) return theme::mutedText();
    return moved->isPositive() ? theme::rise() : theme::fall();
}

QVariant WatchlistTableModel::flash(const QString& symbol, int column) const {
    if (column != lastColumn) return {};
    const auto found = flashes_.find(symbol);
    if (found == flashes_.end() || found->second.until <= clock_.elapsed()) return {};
    QColor tint = found->second.rose ? theme::rise() : theme::fall();
    tint.setAlpha(70);
    return tint;
}

Qt::ItemFlags WatchlistTableModel::flags(const QModelIndex& index) const {
    Qt::ItemFlags flags = QAbstractTableModel::flags(index);
    if (!canReorder()) return flags;
    return index.isValid() ? flags | Qt::ItemIsDragEnabled : flags | Qt::ItemIsDropEnabled;
}

Qt::DropActions WatchlistTableModel::supportedDropActions() const {
    return Qt::MoveAction;
}

QStringList WatchlistTableModel::mimeTypes() const {
    return {rowMime};
}

QMimeData* WatchlistTableModel::mimeData(const QModelIndexList& indexes) const {
    if (indexes.isEmpty()) return nullptr;
    auto* data = new QMimeData;
    data->setData(rowMime, symbolAt(indexes.first().row()).toUtf8());
    return data;
}

bool WatchlistTableModel::dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int /*column*/,
                                       const QModelIndex& parent) {
    if (!data || action != Qt::MoveAction || !canReorder() || !data->hasFormat(rowMime)) return false;
    const QString symbol = QString::fromUtf8(data->data(rowMime));
    const int from = rowOf(symbol);
    if (from < 0) return false;
    // Dropped on a row: that row's place; between rows: the gap's; below the last: the end.
    int to = parent.isValid() ? parent.row() : row < 0 ? rowCount() : row;
    if (to > from) --to;  // the row leaves its place before it lands
    actions_.moveInWatchlist(symbol, to);
    // The model moved the row itself: the view must not remove the dragged one afterwards.
    return false;
}

}  // namespace tavix
