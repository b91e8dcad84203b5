#include "screens/OrdersTableModel.h"

#include "core/AppModel.h"
#include "core/MoneyText.h"
#include "core/OrderWords.h"
#include "core/PriceText.h"

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

bool movable(const Order& order) {
    return order.isOpen() && (order.type == OrderType::limit || order.type == OrderType::stop);
}

}  // namespace

OrdersTableModel::OrdersTableModel(AppModel& model, QObject* parent, std::function<Date()> now)
    : TextTableModel(model, AppModel::Field::orders,
                     {QStringLiteral("Symbol"), QStringLiteral("Side"), QStringLiteral("How much"),
                      QStringLiteral("Price"), QStringLiteral("Lasts"), QStringLiteral("What happened"),
                      QStringLiteral("Sent")},
                     {symbolColumn, sideColumn, lastsColumn, happenedColumn}, parent),
      actions_(model),
      now_(std::move(now)) {
    // The base class resets on new orders; the rows are worked out first.
    QObject::connect(&model_, &AppModel::changed, this, [this](AppModel::Field field) {
        if (field == AppModel::Field::orders) {
            rebuild();
        } else if ((field == AppModel::Field::mode || field == AppModel::Field::ticket) && rowCount() > 0) {
            Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, columnTotal - 1));
        }
    });
    rebuild();
}

void OrdersTableModel::rebuild() {
    beginResetModel();
    rows_.clear();
    for (const Order& order : model_.orders()) {
        rows_.push_back({&order, nullptr});
        for (const Order& leg : order.legs) rows_.push_back({&leg, &order});
    }
    endResetModel();
}

const Order* OrdersTableModel::orderAt(int row) const {
    return row >= 0 && row < rowCount() ? rows_[static_cast<std::size_t>(row)].order : nullptr;
}

const Order* OrdersTableModel::parentAt(int row) const {
    return row >= 0 && row < rowCount() ? rows_[static_cast<std::size_t>(row)].parent : nullptr;
}

bool OrdersTableModel::isLinked(int row) const {
    const Order* order = orderAt(row);
    if (!order) return false;
    // Two open exits under one order cancel each other: the broker takes them together.
    const Order* group = parentAt(row) ? parentAt(row) : order;
    int open = 0;
    for (const Order& leg : group->legs) open += leg.isOpen() ? 1 : 0;
    return open >= 2 && (parentAt(row) != nullptr || !order->isOpen());
}

QString OrdersTableModel::quantityCell(const Order& order) {
    if (!order.notional) return quantityText(order.quantity);
    const QString amount = moneyText(*order.notional);
    if (order.filledQuantity.isZero()) return amount;
    return amount + QStringLiteral(" (") + quantityText(order.filledQuantity) + QStringLiteral(" so far)");
}

QString OrdersTableModel::submittedText(Date at, Date today) {
    const QDateTime local = localTime(at);
    if (local.date() == localTime(today).date()) return local.toString(QStringLiteral("HH:mm:ss"));
    return local.toString(QStringLiteral("d MMM HH:mm"));
}

int OrdersTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QVariant OrdersTableModel::data(const QModelIndex& index, int role) const {
    if (!holds(index)) return {};
    if (role == Qt::TextAlignmentRole) return alignment(index.column());
    const Row& row = rows_[static_cast<std::size_t>(index.row())];
    const Order& order = *row.order;
    const Mode mode = model_.mode();
    const OrderWords::Role part = OrderWords::role(order, row.parent);
    const bool cancelling = model_.ticket().cancelling.contains(order.id);
    if (role == Qt::EditRole && index.column() == priceColumn) {
        const auto& price = order.type == OrderType::stop ? order.stopPrice : order.limitPrice;
        return price ? priceText(*price) : QString();
    }
    if (role == Qt::ToolTipRole && index.column() == priceColumn && movable(order)) {
        return QStringLiteral("Double-click or press F2 to move this order to another price.");
    }
    if (role != Qt::DisplayRole) return {};
    switch (index.column()) {
        case symbolColumn:
            return row.parent ? QStringLiteral("   ↳ ") + order.symbol : order.symbol;
        case sideColumn:
            return OrderWords::side(order, part, order.status == OrderStatus::filled);
        case quantityColumn:
            return quantityCell(order);
        case priceColumn:
            return OrderWords::price(order, mode);
        case lastsColumn:
            return OrderWords::lasts(order.timeInForce, mode);
        case happenedColumn:
            return mode == Mode::easy ? OrderWords::happened(order, part, row.parent, cancelling)
                                      : OrderWords::status(order, part, mode, cancelling);
        case submittedColumn:
            return order.enteredAt ? submittedText(*order.enteredAt, now_()) : missing;
        default:
            return {};
    }
}

Qt::ItemFlags OrdersTableModel::flags(const QModelIndex& index) const {
    Qt::ItemFlags flags = QAbstractTableModel::flags(index);
    const Order* order = orderAt(index.row());
    if (order && index.column() == priceColumn && movable(*order)) flags |= Qt::ItemIsEditable;
    return flags;
}

bool OrdersTableModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    const Order* order = orderAt(index.row());
    if (role != Qt::EditRole || index.column() != priceColumn || !order || !movable(*order)) return false;
    // The model says what happened in its banner: moved, or why not.
    QCoro::Task<void> moving = actions_.moveOrder(*order, Decimal::parse(value.toString().trimmed()));
    return true;
}

}  // namespace tavix
