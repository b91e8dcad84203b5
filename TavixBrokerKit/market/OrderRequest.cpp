#include "market/OrderRequest.h"

#include "market/CryptoPair.h"

namespace tavix {

bool OrderRequest::isExitPair() const {
    return assetType == AssetType::equity && (side == OrderSide::sell || side == OrderSide::buyToCover) &&
           takeProfit.has_value() && stopLoss.has_value();
}

std::optional<QString> OrderRequest::pricingProblem() const {
    if (type == OrderType::trailingStop && !(trailAmount && trailAmount->isPositive())) {
        return QStringLiteral("a trailing stop needs how far behind the price it follows.");
    }
    if (type == OrderType::limit || type == OrderType::stopLimit) {
        if (!limitPrice) return QStringLiteral("a limit order needs a limit price.");
        if (!limitPrice->isPositive()) return QStringLiteral("the limit price has to be over zero.");
    }
    if (type == OrderType::stop || type == OrderType::stopLimit) {
        if (!stopPrice) return QStringLiteral("a stop order needs a stop price.");
        if (!stopPrice->isPositive()) return QStringLiteral("the stop price has to be over zero.");
    }
    if ((takeProfit && !takeProfit->isPositive()) || (stopLoss && !stopLoss->isPositive())) {
        return QStringLiteral("an exit's price has to be over zero.");
    }
    return std::nullopt;
}

std::optional<QString> OrderRequest::shareProblem() const {
    if (assetType == AssetType::crypto) {
        if (!quantity.isPositive()) return QStringLiteral("the amount has to be more than zero.");
        return cryptoProblem();
    }
    if (!quantity.isPositive()) return QStringLiteral("the number of shares has to be more than zero.");
    // Contracts and fund shares are whole too; the wording is the one users know from shares.
    if (quantity.rounded(0) != quantity) {
        return QStringLiteral("Tavix buys whole shares only, and ") + quantity.toString() +
               QStringLiteral(" isn't a whole number.");
    }
    return std::nullopt;
}

std::optional<QString> OrderRequest::cryptoProblem() const {
    if (!CryptoPair::isPair(symbol)) {
        return symbol + QStringLiteral(" isn't a crypto pair (one looks like BTC/USD).");
    }
    if (opensShort(side)) return QStringLiteral("crypto is bought and sold, never sold short.");
    if (takeProfit || stopLoss) {
        return QStringLiteral(
            "crypto orders can't carry a sell price or a get-out price with them. Tavix places those itself "
            "once the coins are held.");
    }
    if (type == OrderType::trailingStop) return QStringLiteral("crypto doesn't take trailing stops.");
    if (type == OrderType::stop) return QStringLiteral("crypto takes a stop limit, not a plain stop.");
    if ((type == OrderType::limit || type == OrderType::stopLimit) && !limitPrice) {
        return QStringLiteral("a limit order needs a limit price.");
    }
    if (type == OrderType::stopLimit && !stopPrice) return QStringLiteral("a stop limit needs a stop price.");
    if (timeInForce != TimeInForce::goodTillCancelled && timeInForce != TimeInForce::immediateOrCancel) {
        return QStringLiteral("crypto orders are good-till-cancelled or immediate-or-cancel.");
    }
    return std::nullopt;
}

}  // namespace tavix
