#include "screens/OrderText.h"

namespace tavix {

QString sideText(OrderSide side) {
    switch (side) {
        case OrderSide::buy:
            return QStringLiteral("Buy");
        case OrderSide::sell:
            return QStringLiteral("Sell");
        case OrderSide::buyToOpen:
            return QStringLiteral("Buy to open");
        case OrderSide::sellToClose:
            return QStringLiteral("Sell to close");
        case OrderSide::sellToOpen:
            return QStringLiteral("Sell to open");
        case OrderSide::buyToClose:
            return QStringLiteral("Buy to close");
        case OrderSide::sellShort:
            return QStringLiteral("Sell short");
        case OrderSide::buyToCover:
            return QStringLiteral("Buy to cover");
    }
    return {};
}

QString orderTypeText(OrderType type) {
    switch (type) {
        case OrderType::market:
            return QStringLiteral("Market");
        case OrderType::limit:
            return QStringLiteral("Limit");
        case OrderType::stop:
            return QStringLiteral("Stop");
        case OrderType::stopLimit:
            return QStringLiteral("Stop limit");
        case OrderType::trailingStop:
            return QStringLiteral("Trailing stop");
    }
    return {};
}

QString orderStatusText(OrderStatus status) {
    switch (status) {
        case OrderStatus::pending:
            return QStringLiteral("Pending");
        case OrderStatus::working:
            return QStringLiteral("Working");
        case OrderStatus::partiallyFilled:
            return QStringLiteral("Partly filled");
        case OrderStatus::filled:
            return QStringLiteral("Filled");
        case OrderStatus::cancelled:
            return QStringLiteral("Cancelled");
        case OrderStatus::rejected:
            return QStringLiteral("Rejected");
        case OrderStatus::expired:
            return QStringLiteral("Expired");
        case OrderStatus::unknown:
            return QStringLiteral("Unknown");
        case OrderStatus::replaced:
            return QStringLiteral("Replaced");
    }
    return {};
}

}  // namespace tavix
