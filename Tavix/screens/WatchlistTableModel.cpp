#include "screens/WatchlistTableModel.h"

#include "core/AppModel.h"
#include "core/PriceText.h"
#include "screens/Theme.h"

#include <QColor>

namespace tavix {

namespace {

const QString missing = QStringLiteral("—");

QVariant optionalPrice(const std::optional<Decimal>& price) {
    return price ? priceText(*price) : missing;
}

}  // namespace

WatchlistTableModel::WatchlistTableModel(const AppModel& model, QObject* parent)
    : TextTableModel(model, AppModel::Field::watchlist,
                     {QStringLiteral("Symbol"), QStringLiteral("Last"), QStringLiteral("Change"),
                      QStringLiteral("Change %"), QStringLiteral("Bid"), QStringLiteral("Ask")},
                     {symbolColumn}, parent) {
    QObject::connect(&model_, &AppModel::changed, this, [this](AppModel::Field field) {
        if (field == AppModel::Field::quotes && rowCount() > 0) {
            Q_EMIT dataChanged(index(0, lastColumn), index(rowCount() - 1, columnTotal - 1));
        }
    });
}

QString WatchlistTableModel::symbolAt(int row) const {
    return row >= 0 && row < rowCount() ? model_.watchlist().at(row) : QString();
}

int WatchlistTableModel::rowOf(const QString& symbol) const {
    return static_cast<int>(model_.watchlist().indexOf(symbol));
}

int WatchlistTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(model_.watchlist().size());
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
        case Qt::ForegroundRole:
            return colour(symbol, index.column());
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

}  // namespace tavix
