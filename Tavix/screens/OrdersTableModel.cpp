#include "screens/OrdersTableModel.h"

#include "core/AppModel.h"
#include "core/PriceText.h"
#include "core/MoneyText.h"
#include "screens/OrderText.h"

#include <QDateTime>

#include <cmath>
#include <utility>

namespace tavix {

namespace {

const QString missing = QStringLiteral("—");

QDateTime localTime(Date at) {
    return QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(std::llround(at.secondsSince1970() * 1000.0)))
        .toLocalTime();
}

}  // namespace

OrdersTableModel::OrdersTableModel(const AppModel& model, QObject* parent, std::function<Date()> now)
    : TextTableModel(model, AppModel::Field::orders,
                     {QStringLiteral("Symbol"), QStringLiteral("Side"), QStringLiteral("Type"),
                      QStringLiteral("Quantity"), QStringLiteral("Limit / Stop"), QStringLiteral("Status"),
                      QStringLiteral("Submitted")},
                     {symbolColumn, sideColumn, typeColumn, statusColumn}, parent),
      now_(std::move(now)) {}

QString OrdersTableModel::quantityCell(const Order& order) {
    if (!order.notional) return quantityText(order.quantity);
    const QString amount = moneyText(*order.notional);
    if (order.filledQuantity.isZero()) return amount;
    return amount + QStringLiteral(" (") + quantityText(order.filledQuantity) + QStringLiteral(" so far)");
}

QString OrdersTableModel::pricesText(const Order& order) {
    QStringList parts;
    if (order.limitPrice) parts << priceText(*order.limitPrice);
    if (order.stopPrice) parts << QStringLiteral("stop ") + priceText(*order.stopPrice);
    if (order.type == OrderType::trailingStop && order.trailAmount) {
        parts << QStringLiteral("trail ") + priceText(*order.trailAmount);
    } else if (order.type == OrderType::trailingStop && order.trailPercent) {
        parts << QStringLiteral("trail ") + order.trailPercent->toString() + QStringLiteral("%");
    }
    return parts.isEmpty() ? missing : parts.join(QStringLiteral(", "));
}

QString OrdersTableModel::submittedText(Date at, Date today) {
    const QDateTime local = localTime(at);
    if (local.date() == localTime(today).date()) return local.toString(QStringLiteral("HH:mm:ss"));
    return local.toString(QStringLiteral("d MMM HH:mm"));
}

int OrdersTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(model_.orders().size());
}

QVariant OrdersTableModel::data(const QModelIndex& index, int role) const {
    if (!holds(index)) return {};
    if (role == Qt::TextAlignmentRole) return alignment(index.column());
    if (role != Qt::DisplayRole) return {};
    const Order& order = model_.orders().at(static_cast<std::size_t>(index.row()));
    switch (index.column()) {
        case symbolColumn:
            return order.symbol;
        case sideColumn:
            return sideText(order.side);
        case typeColumn:
            return orderTypeText(order.type);
        case quantityColumn:
            return quantityCell(order);
        case priceColumn:
            return pricesText(order);
        case statusColumn:
            return orderStatusText(order.status);
        case submittedColumn:
            return order.enteredAt ? submittedText(*order.enteredAt, now_()) : missing;
        default:
            return {};
    }
}

}  // namespace tavix
