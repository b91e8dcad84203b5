#include "screens/PositionsTableModel.h"

#include "core/AppModel.h"
#include "core/PriceText.h"
#include "core/MoneyText.h"
#include "screens/Theme.h"

#include <QColor>

namespace tavix {

PositionsTableModel::PositionsTableModel(const AppModel& model, QObject* parent)
    : TextTableModel(model, AppModel::Field::positions,
                     {QStringLiteral("Symbol"), QStringLiteral("Quantity"), QStringLiteral("Average price"),
                      QStringLiteral("Market value"), QStringLiteral("Unrealised P/L")},
                     {symbolColumn}, parent) {}

int PositionsTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(model_.positions().size());
}

QVariant PositionsTableModel::data(const QModelIndex& index, int role) const {
    if (!holds(index)) return {};
    const Position& position = model_.positions().at(static_cast<std::size_t>(index.row()));
    if (role == Qt::TextAlignmentRole) return alignment(index.column());
    if (role == Qt::ForegroundRole) {
        if (index.column() != profitColumn || position.unrealizedPL.isZero()) return {};
        return position.unrealizedPL.isPositive() ? theme::rise() : theme::fall();
    }
    if (role != Qt::DisplayRole) return {};
    switch (index.column()) {
        case symbolColumn:
            return position.symbol;
        case quantityColumn:
            return quantityText(position.quantity);
        case averageColumn:
            return priceText(position.averagePrice);
        case valueColumn:
            return moneyText(position.marketValue);
        case profitColumn:
            return signedMoneyText(position.unrealizedPL);
        default:
            return {};
    }
}

}  // namespace tavix
