#pragma once

#include "market/BrokerID.h"
#include "market/Decimal.h"
#include "market/Order.h"
#include "market/OrderRequest.h"

#include <QLoggingCategory>
#include <QString>

#include <optional>

namespace tavix {

Q_DECLARE_LOGGING_CATEGORY(ordersLog)

// One line in the system log (category com.brindlecove.tavix.orders) for every order action.
// Every value is written in clear so the log alone tells what happened; keys and secrets are
// never part of an order and so never reach it. Each `…Line` function gives the text that the
// matching logging function writes.
class OrderLog {
public:
    static void sent(const OrderRequest& request, const Order& as, const BrokerID& broker);
    static void refused(const OrderRequest& request, const QString& error, const BrokerID& broker);
    static void cancelled(const QString& orderID, bool ok, const BrokerID& broker);
    static void replaced(const QString& orderID, const QString& with, std::optional<Decimal> limit,
                         std::optional<Decimal> stop, const BrokerID& broker);
    static void replaceRefused(const QString& orderID, const QString& error, const BrokerID& broker);

    static QString sentLine(const OrderRequest& request, const Order& as, const BrokerID& broker);
    static QString refusedLine(const OrderRequest& request, const QString& error, const BrokerID& broker);
    static QString cancelledLine(const QString& orderID, bool ok, const BrokerID& broker);
    static QString replacedLine(const QString& orderID, const QString& with, std::optional<Decimal> limit,
                                std::optional<Decimal> stop, const BrokerID& broker);
    static QString replaceRefusedLine(const QString& orderID, const QString& error, const BrokerID& broker);
};

}  // namespace tavix
