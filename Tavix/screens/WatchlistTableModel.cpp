#include "screens/WatchlistTableModel.h"

#include "core/PriceText.h"
#include "core/WatchlistModel.h"
#include "screens/Theme.h"

#include <QColor>

namespace tavix {

namespace {

const QString missing = QStringLiteral("—");

QVariant optionalPrice(const std::optional<Decimal>& price) {
    return price ? priceText(*price) : missing;
}

}  // namespace

WatchlistTableModel::WatchlistTableModel(const WatchlistModel& watchlist, QObject* parent)
    : QAbstractTableModel(parent), watchlist_(watchlist) {
    // The watchlist has already changed when it says so; a reset makes views read it afresh.
    QObject::connect(&watchlist_, &WatchlistModel::symbolsChanged, this, [this] {
        beginResetModel();
        endResetModel();
    });
    QObject::connect(&watchlist_, &WatchlistModel::quotesChanged, this, [this] {
        if (rowCount() == 0) return;
        Q_EMIT dataChanged(index(0, lastColumn), index(rowCount() - 1, columnTotal - 1));
    });
}

int WatchlistTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(watchlist_.symbols().size());
}

int WatchlistTableModel::columnCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : columnTotal; }

QVariant WatchlistTableModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) return {};
    const QString& symbol = watchlist_.symbols().at(index.row());
    switch (role) {
        case Qt::DisplayRole:
            return text(symbol, index.column());
        case Qt::ForegroundRole:
            return colour(symbol, index.column());
        case Qt::TextAlignmentRole:
            return index.column() == symbolColumn ? QVariant(Qt::AlignLeft | Qt::AlignVCenter)
                                                    : QVariant(Qt::AlignRight | Qt::AlignVCenter);
        default:
            return {};
    }
}

QVariant WatchlistTableModel::text(const QString& symbol, int column) const {
    if (column == symbolColumn) return symbol;
    const Quote* quote = watchlist_.quote(symbol);
    if (!quote) return missing;
    switch (column) {
        case lastColumn:
            return priceText(quote->last);
        case changeColumn: {
            auto moved = quote->change();
            return moved ? changeText(*moved) : missing;
        }
        case percentColumn: {
            auto moved = quote->change();
            if (!moved) return missing;
            return percentText(*moved, *quote->previousClose).value_or(missing);
        }
        case bidColumn:
            return optionalPrice(quote->bid);
        case askColumn:
            return optionalPrice(quote->ask);
        default:
            return {};
    }
}

QVariant WatchlistTableModel::colour(const QString& symbol, int column) const {
    if (column != changeColumn && column != percentColumn) return {};
    const Quote* quote = watchlist_.quote(symbol);
    auto moved = quote ? quote->change() : std::nullopt;
    if (!moved || moved->isZero()) return theme::mutedText();
    return moved->isPositive() ? theme::rise() : theme::fall();
}

QVariant WatchlistTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal) return {};
    if (role == Qt::TextAlignmentRole) {
        return section == symbolColumn ? QVariant(Qt::AlignLeft | Qt::AlignVCenter)
                                         : QVariant(Qt::AlignRight | Qt::AlignVCenter);
    }
    if (role != Qt::DisplayRole) return {};
    switch (section) {
        case symbolColumn:
            return QStringLiteral("Symbol");
        case lastColumn:
            return QStringLiteral("Last");
        case changeColumn:
            return QStringLiteral("Change");
        case percentColumn:
            return QStringLiteral("Change %");
        case bidColumn:
            return QStringLiteral("Bid");
        case askColumn:
            return QStringLiteral("Ask");
        default:
            return {};
    }
}

}  // namespace tavix
