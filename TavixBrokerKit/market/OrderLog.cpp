#include "market/OrderLog.h"

namespace tavix {

Q_LOGGING_CATEGORY(ordersLog, "com.brindlecove.tavix.orders")

namespace {

QString orDash(const std::optional<Decimal>& value) { return value ? value->toString() : QStringLiteral("-"); }
QString orDash(const std::optional<QString>& value) {
    return value && !value->isEmpty() ? *value : QStringLiteral("-");
}

// The prices an order names: "market", "limit=10.5", "stop=9 limit=9.1", "trail=0.5".
QString prices(const OrderRequest& r) {
    QStringList parts;
    if (r.stopPrice) parts << QStringLiteral("stop=") + r.stopPrice->toString();
    if (r.limitPrice) parts << QStringLiteral("limit=") + r.limitPrice->toString();
    if (r.trailAmount) parts << QStringLiteral("trail=") + r.trailAmount->toString();
    return parts.isEmpty() ? QStringLiteral("market") : parts.join(u' ');
}

}  // namespace

QString OrderLog::sentLine(const OrderRequest& r, const Order& as, const BrokerID& broker) {
    return QStringLiteral("%1 placed %2 %3 %4 %5 %6 tp=%7 sl=%8 client=%9 id=%10")
        .arg(broker.rawValue, enumText(r.side), r.quantity.toString(), r.symbol, enumText(r.type), prices(r),
             orDash(r.takeProfit), orDash(r.stopLoss), orDash(r.clientOrderID.has_value() ? r.clientOrderID
                                                                                            : as.clientOrderID))
        .arg(as.id);
}

QString OrderLog::refusedLine(const OrderRequest& r, const QString& error, const BrokerID& broker) {
    return QStringLiteral("%1 REFUSED %2 %3 %4 %5 %6 client=%7: %8")
        .arg(broker.rawValue, enumText(r.side), r.quantity.toString(), r.symbol, enumText(r.type), prices(r),
             orDash(r.clientOrderID), error);
}

QString OrderLog::cancelledLine(const QString& orderID, bool ok, const BrokerID& broker) {
    return QStringLiteral("%1 %2 id=%3")
        .arg(broker.rawValue, ok ? QStringLiteral("cancelled") : QStringLiteral("cancel refused"), orderID);
}

QString OrderLog::replacedLine(const QString& orderID, const QString& with, std::optional<Decimal> limit,
                               std::optional<Decimal> stop, const BrokerID& broker) {
    return QStringLiteral("%1 replaced id=%2 limit=%3 stop=%4 new=%5")
        .arg(broker.rawValue, orderID, orDash(limit), orDash(stop), with);
}

QString OrderLog::replaceRefusedLine(const QString& orderID, const QString& error, const BrokerID& broker) {
    return QStringLiteral("%1 REPLACE REFUSED id=%2: %3").arg(broker.rawValue, orderID, error);
}

void OrderLog::sent(const OrderRequest& r, const Order& as, const BrokerID& broker) {
    qCInfo(ordersLog).noquote() << sentLine(r, as, broker);
}
void OrderLog::refused(const OrderRequest& r, const QString& error, const BrokerID& broker) {
    qCWarning(ordersLog).noquote() << refusedLine(r, error, broker);
}
void OrderLog::cancelled(const QString& orderID, bool ok, const BrokerID& broker) {
    qCInfo(ordersLog).noquote() << cancelledLine(orderID, ok, broker);
}
void OrderLog::replaced(const QString& orderID, const QString& with, std::optional<Decimal> limit,
                        std::optional<Decimal> stop, const BrokerID& broker) {
    qCInfo(ordersLog).noquote() << replacedLine(orderID, with, limit, stop, broker);
}
void OrderLog::replaceRefused(const QString& orderID, const QString& error, const BrokerID& broker) {
    qCWarning(ordersLog).noquote() << replaceRefusedLine(orderID, error, broker);
}

}  // namespace tavix
