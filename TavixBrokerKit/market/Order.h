#pragma once

#include "market/Date.h"
#include "market/Decimal.h"
#include "market/Enums.h"

#include <QString>

#include <optional>
#include <vector>

namespace tavix {

// An order as a broker reports it.
struct Order {
    QString id;
    QString accountID;
    QString symbol;
    AssetType assetType = AssetType::equity;
    OrderSide side = OrderSide::buy;
    OrderType type = OrderType::market;
    OrderStatus status = OrderStatus::pending;
    Decimal quantity;
    Decimal filledQuantity;
    std::optional<Decimal> limitPrice;
    std::optional<Decimal> stopPrice;
    std::optional<Decimal> averageFillPrice;
    std::optional<Date> enteredAt;
    std::optional<Date> closedAt;  // filled, cancelled, expired or rejected time
    std::vector<Order> legs;       // a bracket's or one-cancels-other group's children
    std::optional<QString> clientOrderID;
    std::optional<QString> replacedBy;
    std::optional<TimeInForce> timeInForce;
    std::optional<bool> extendedHours;
    std::optional<Decimal> trailAmount;
    std::optional<Decimal> highWaterMark;  // the best price a trailing stop has seen
    // An order placed by an amount of money rather than a count: the amount. Its quantity is what
    // has filled so far.
    std::optional<Decimal> notional;
    // A trailing stop that follows by a percentage of the price (5 means 5 %), not a dollar amount.
    std::optional<Decimal> trailPercent;

    bool isOpen() const { return isOpenStatus(status); }
    const Order* takeProfitLeg() const;
    const Order* stopLossLeg() const;

    friend bool operator==(const Order&, const Order&) = default;
};

// One execution.
struct Fill {
    QString id;
    QString orderID;
    QString symbol;
    AssetType assetType = AssetType::equity;
    OrderSide side = OrderSide::buy;
    Decimal quantity;
    Decimal price;  // per share or per contract
    Date time;
    std::optional<Decimal> fee;

    int multiplier() const { return assetType == AssetType::option ? 100 : 1; }
    // The option's underlying for an option symbol, else the symbol itself.
    QString underlying() const;

    // For brokers without a fills endpoint: one fill per order (legs included) that has filled
    // something at a known average price. The fill carries the order's closing time, else its
    // entry time.
    static std::vector<Fill> fromOrders(const std::vector<Order>& orders);

    friend bool operator==(const Fill&, const Fill&) = default;
};

}  // namespace tavix
