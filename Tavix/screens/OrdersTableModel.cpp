#include "screens/OrdersTableModel.h"

#include "core/AppModel.h"
#include "core/PriceText.h"
#include "screens/MoneyText.h"
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

bool alignsLeft(int column) {
    return column == OrdersTableModel::symbolColumn || column == OrdersTableModel::sideColumn ||
           column == OrdersTableModel::typeColumn || column == OrdersTableModel::statusColumn;
}

}  // namespace

OrdersTableModel::OrdersTableModel(const AppModel& model, QObject* parent, std::function<Date()> now)
    : QAbstractTableModel(parent), model_(model), now_(std::move(now)) {
    QObject::connect(&model_, &AppModel::changed, this, [this](AppModel::Field field) {
        if (field != AppModel::Field::orders) return;
        beginResetModel();
        endResetModel();
    });
}

QString OrdersTableModel::pricesText(const Order& order) {
    QStringList parts;
    if (order.limitPrice) parts << priceText(*order.limitPrice);
    if (order.stopPrice) parts << QStringLiteral("stop ") + priceText(*order.stopPrice);
    if (order.type == OrderType::trailingStop && order.trailAmount) {
        parts << QStringLiteral("trail ") + priceText(*order.trailAmount);
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

int OrdersTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : columnTotal;
}

QVariant OrdersTableModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) return {};
    if (role == Qt::TextAlignmentRole) {
        return alignsLeft(index.column()) ? QVariant(Qt::AlignLeft | Qt::AlignVCenter)
                                          : QVariant(Qt::AlignRight | Qt::AlignVCenter);
    }
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
            return quantityText(order.quantity);
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

QVariant OrdersTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal) return {};
    if (role == Qt::TextAlignmentRole) {
        return alignsLeft(section) ? QVariant(Qt::AlignLeft | Qt::AlignVCenter)
                                   : QVariant(Qt::AlignRight | Qt::AlignVCenter);
    }
    if (role != Qt::DisplayRole) return {};
    switch (section) {
        case symbolColumn:
            return QStringLiteral("Symbol");
        case sideColumn:
            return QStringLiteral("Side");
        case typeColumn:
            return QStringLiteral("Type");
        case quantityColumn:
            return QStringLiteral("Quantity");
        case priceColumn:
            return QStringLiteral("Limit / Stop");
        case statusColumn:
            return QStringLiteral("Status");
        case submittedColumn:
            return QStringLiteral("Submitted");
        default:
            return {};
    }
}

}  // namespace tavix
