#include "screens/PositionsTableModel.h"

#include "core/AppModel.h"
#include "core/PriceText.h"
#include "core/MoneyText.h"
#include "core/OrderWords.h"
#include "screens/Theme.h"

#include <QColor>

namespace tavix {

PositionsTableModel::PositionsTableModel(const AppModel& model, QObject* parent)
    : TextTableModel(model, AppModel::Field::positions,
                     {QStringLiteral("Symbol"), QStringLiteral("Quantity"), QStringLiteral("Average price"),
                      QStringLiteral("Market value"), QStringLiteral("Unrealised P/L"), QStringLiteral("Exits")},
                     {symbolColumn, exitsColumn}, parent) {
    // Exits come and go with the orders, not the positions.
    QObject::connect(&model_, &AppModel::changed, this, [this](AppModel::Field field) {
        if ((field == AppModel::Field::orders || field == AppModel::Field::mode) && rowCount() > 0) {
            Q_EMIT dataChanged(index(0, exitsColumn), index(rowCount() - 1, exitsColumn));
        }
    });
}

QString PositionsTableModel::exitsText(const QString& symbol, const std::vector<Order>& orders, Mode mode) {
    QStringList parts;
    const auto add = [&](const Order& order, const Order* parent) {
        if (order.symbol != symbol || !order.isOpen()) return;
        const OrderWords::Role role = OrderWords::role(order, parent);
        QString part;
        switch (role) {
            case OrderWords::Role::sellPrice:
                part = mode == Mode::easy ? QStringLiteral("Sell price ") : QStringLiteral("Take profit ");
                break;
            case OrderWords::Role::getOut:
            case OrderWords::Role::trailingGetOut:
                part = mode == Mode::easy ? QStringLiteral("Get-out ") : QStringLiteral("Stop loss ");
                break;
            case OrderWords::Role::buyBack:
                part = QStringLiteral("Buy back ");
                break;
            case OrderWords::Role::plain:
                return;  // an order that opens, not an exit
        }
        parts << part + OrderWords::price(order, mode);
    };
    for (const Order& order : orders) {
        add(order, nullptr);
        // A bracket's exits work once its entry has filled.
        for (const Order& leg : order.legs) add(leg, &order);
    }
    return parts.join(QStringLiteral(" · "));
}

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
        case exitsColumn: {
            const QString exits = exitsText(position.symbol, model_.orders(), model_.mode());
            return exits.isEmpty() ? QStringLiteral("none") : exits;
        }
        default:
            return {};
    }
}

}  // namespace tavix
