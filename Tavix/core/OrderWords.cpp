#include "core/OrderWords.h"

#include "core/MoneyText.h"
#include "core/PriceText.h"
#include "market/CryptoPair.h"

namespace tavix::OrderWords {

namespace {

bool isStopType(OrderType type) {
    return type == OrderType::stop || type == OrderType::stopLimit;
}

}  // namespace

Role role(const Order& order, const Order* parent) {
    if (order.type == OrderType::trailingStop) return Role::trailingGetOut;
    if (isStopType(order.type) && (parent || !isBuy(order.side))) return Role::getOut;
    if (order.side == OrderSide::buyToCover || order.side == OrderSide::buyToClose) return Role::buyBack;
    if (parent) return isBuy(order.side) ? Role::buyBack : Role::sellPrice;
    return Role::plain;
}

bool isStop(const Order& /*order*/, Role role) {
    return role == Role::getOut || role == Role::trailingGetOut;
}

QString side(const Order& order, Role role, bool past) {
    if (role == Role::buyBack || order.side == OrderSide::buyToCover || order.side == OrderSide::buyToClose) {
        return past ? QStringLiteral("Bought back") : QStringLiteral("Buy back");
    }
    if (opensShort(order.side)) {
        return past ? QStringLiteral("Sold short") : QStringLiteral("Sell short");
    }
    if (isBuy(order.side)) return past ? QStringLiteral("Bought") : QStringLiteral("Buy");
    return past ? QStringLiteral("Sold") : QStringLiteral("Sell");
}

QString status(const Order& order, Role /*role*/, Mode /*mode*/, bool cancelling) {
    QString word;
    switch (order.status) {
        case OrderStatus::pending:
            word = QStringLiteral("pending");
            break;
        case OrderStatus::working:
            word = QStringLiteral("working");
            break;
        case OrderStatus::partiallyFilled:
            word = QStringLiteral("partial");
            break;
        case OrderStatus::filled:
            word = QStringLiteral("filled");
            break;
        case OrderStatus::cancelled:
            word = QStringLiteral("cancelled");
            break;
        case OrderStatus::rejected:
            word = QStringLiteral("rejected");
            break;
        case OrderStatus::expired:
            word = QStringLiteral("expired");
            break;
        case OrderStatus::replaced:
            word = QStringLiteral("replaced");
            break;
        case OrderStatus::unknown:
            word = QStringLiteral("unknown");
            break;
    }
    if (cancelling && order.isOpen()) word += QStringLiteral(", cancelling");
    return word;
}

QString happened(const Order& order, Role role, const Order* /*parent*/, bool cancelling) {
    QString words;
    switch (order.status) {
        case OrderStatus::pending:
        case OrderStatus::working:
            if (isStop(order, role)) {
                words = QStringLiteral("Safety exit, waiting");
            } else {
                words = order.extendedHours.value_or(false) ? QStringLiteral("Waiting for its price, extended hours")
                                                            : QStringLiteral("Waiting for its price");
            }
            break;
        case OrderStatus::partiallyFilled:
            words = QStringLiteral("Partly went through");
            break;
        case OrderStatus::filled:
            words = isStop(order, role) ? QStringLiteral("Hit the stop") : QStringLiteral("Went through");
            break;
        case OrderStatus::cancelled:
            words = QStringLiteral("Cancelled");
            break;
        case OrderStatus::rejected:
            words = QStringLiteral("Turned down");
            break;
        case OrderStatus::expired:
            words = QStringLiteral("Ran out of time");
            break;
        case OrderStatus::unknown:
            words = QStringLiteral("Checking");
            break;
        case OrderStatus::replaced:
            words = QStringLiteral("Moved");
            break;
    }
    if (cancelling && order.isOpen()) words += QStringLiteral(", cancelling");
    return words;
}

QString lasts(std::optional<TimeInForce> timeInForce, Mode mode) {
    const bool easy = mode == Mode::easy;
    switch (timeInForce.value_or(TimeInForce::day)) {
        case TimeInForce::day:
            return easy ? QStringLiteral("Today only") : QStringLiteral("DAY");
        case TimeInForce::goodTillCancelled:
            return easy ? QStringLiteral("Until you cancel it") : QStringLiteral("GTC");
        case TimeInForce::fillOrKill:
            return easy ? QStringLiteral("All at once or not at all") : QStringLiteral("FOK");
        case TimeInForce::immediateOrCancel:
            return easy ? QStringLiteral("Right away or not at all") : QStringLiteral("IOC");
        case TimeInForce::atOpen:
            return easy ? QStringLiteral("At the opening price only") : QStringLiteral("OPG");
        case TimeInForce::atClose:
            return easy ? QStringLiteral("At the closing price only") : QStringLiteral("CLS");
    }
    return {};
}

QString price(const Order& order, Mode /*mode*/) {
    QString words;
    switch (order.type) {
        case OrderType::market:
            words = QStringLiteral("at market");
            break;
        case OrderType::limit:
            words = order.limitPrice ? priceText(*order.limitPrice) : QStringLiteral("at market");
            break;
        case OrderType::stop:
            words = (order.stopPrice ? priceText(*order.stopPrice) : QString()) + QStringLiteral(" STP");
            break;
        case OrderType::stopLimit:
            words = (order.stopPrice ? priceText(*order.stopPrice) : QString()) + QStringLiteral(" STP LMT ") +
                    (order.limitPrice ? priceText(*order.limitPrice) : QString());
            break;
        case OrderType::trailingStop:
            words = QStringLiteral("TRAIL ") + (order.trailAmount     ? priceText(*order.trailAmount)
                                                : order.trailPercent ? order.trailPercent->toString() + u'%'
                                                                     : QString());
            break;
    }
    if (order.extendedHours.value_or(false)) words += QStringLiteral(" EXT");
    return words.trimmed();
}

QString easyCount(const Order& order) {
    if (order.notional && order.filledQuantity.isZero()) return moneyText(*order.notional);
    const Decimal& count = order.quantity;
    const bool one = count == Decimal(1);
    switch (order.assetType) {
        case AssetType::option:
            return quantityText(count) + (one ? QStringLiteral(" contract") : QStringLiteral(" contracts"));
        case AssetType::crypto:
            return quantityText(count) + u' ' + CryptoPair::baseOf(order.symbol).value_or(order.symbol);
        default:
            return quantityText(count) + (one ? QStringLiteral(" share") : QStringLiteral(" shares"));
    }
}

QString summary(const Order& order, Role role, Mode mode) {
    const QString at = price(order, mode);
    const QString where = order.type == OrderType::market ? QStringLiteral(" ") + at : QStringLiteral(" at ") + at;
    return side(order, role) + u' ' + easyCount(order) + QStringLiteral(" of ") + order.symbol + where;
}

QString shortEnd(const Order& order, const Order* /*parent*/) {
    switch (order.status) {
        case OrderStatus::filled:
            return order.averageFillPrice ? QStringLiteral("filled at ") + priceText(*order.averageFillPrice)
                                          : QStringLiteral("filled");
        case OrderStatus::cancelled:
            return QStringLiteral("cancelled");
        case OrderStatus::rejected:
            return QStringLiteral("turned down");
        case OrderStatus::expired:
            return QStringLiteral("ran out of time");
        case OrderStatus::replaced:
            return QStringLiteral("moved");
        default:
            return QStringLiteral("still open");
    }
}

std::optional<QString> moveRefusal(const std::optional<Decimal>& price) {
    if (!price || !price->isPositive()) return QStringLiteral("Type a price above zero to move it to.");
    return std::nullopt;
}

QString moved(const Decimal& price) {
    return QStringLiteral("Moved: it waits for ") + priceText(price);
}

}  // namespace tavix::OrderWords
