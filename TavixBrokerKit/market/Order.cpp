#include "market/Order.h"

#include "market/OptionSymbol.h"

namespace tavix {
namespace {

const Order* firstLegOfType(const std::vector<Order>& legs, OrderType type) {
    for (const auto& leg : legs) {
        if (leg.type == type) return &leg;
    }
    return nullptr;
}

void collectFills(const Order& order, std::vector<Fill>& out) {
    if (order.filledQuantity.isPositive() && order.averageFillPrice) {
        out.push_back(Fill{
            .id = order.id,
            .orderID = order.id,
            .symbol = order.symbol,
            .assetType = order.assetType,
            .side = order.side,
            .quantity = order.filledQuantity,
            .price = *order.averageFillPrice,
            .time = order.closedAt.value_or(order.enteredAt.value_or(Date())),
            .fee = std::nullopt,
        });
    }
    for (const auto& leg : order.legs) collectFills(leg, out);
}

}  // namespace

const Order* Order::takeProfitLeg() const { return firstLegOfType(legs, OrderType::limit); }
const Order* Order::stopLossLeg() const { return firstLegOfType(legs, OrderType::stop); }

QString Fill::underlying() const {
    if (auto option = OptionSymbol::parse(symbol)) return option->underlying;
    return symbol;
}

std::vector<Fill> Fill::fromOrders(const std::vector<Order>& orders) {
    std::vector<Fill> fills;
    for (const auto& order : orders) collectFills(order, fills);
    return fills;
}

}  // namespace tavix
