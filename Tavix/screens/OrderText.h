#pragma once

#include "market/Enums.h"

#include <QString>

namespace tavix {

// Plain words for an order's parts, as the orders table shows them: "Buy to open", "Stop limit",
// "Partly filled".
QString sideText(OrderSide side);
QString orderTypeText(OrderType type);
QString orderStatusText(OrderStatus status);

}  // namespace tavix
