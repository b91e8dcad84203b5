#include "screens/PositionsTableModel.h"

#include "core/AppModel.h"
#include "core/PriceText.h"
#include "screens/MoneyText.h"
#include "screens/Theme.h"

#include <QColor>

namespace tavix {

PositionsTableModel::PositionsTableModel(const AppModel& model, QObject* parent)
    : QAbstractTableModel(parent), model_(model) {
    QObject::connect(&model_, &AppModel::changed, this, [this](AppModel::Field field) {
        if (field != AppModel::Field::positions) return;
        beginResetModel();
        endResetModel();
    });
}

int PositionsTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(model_.positions().size());
}

int PositionsTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : columnTotal;
}

QVariant PositionsTableModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) return {};
    const Position& position = model_.positions().at(static_cast<std::size_t>(index.row()));
    if (role == Qt::TextAlignmentRole) {
        return index.column() == symbolColumn ? QVariant(Qt::AlignLeft | Qt::AlignVCenter)
                                              : QVariant(Qt::AlignRight | Qt::AlignVCenter);
    }
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

QVariant PositionsTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal) return {};
    if (role == Qt::TextAlignmentRole) {
        return section == symbolColumn ? QVariant(Qt::AlignLeft | Qt::AlignVCenter)
                                       : QVariant(Qt::AlignRight | Qt::AlignVCenter);
    }
    if (role != Qt::DisplayRole) return {};
    switch (section) {
        case symbolColumn:
            return QStringLiteral("Symbol");
        case quantityColumn:
            return QStringLiteral("Quantity");
        case averageColumn:
            return QStringLiteral("Average price");
        case valueColumn:
            return QStringLiteral("Market value");
        case profitColumn:
            return QStringLiteral("Unrealised P/L");
        default:
            return {};
    }
}

}  // namespace tavix
