#pragma once

#include "market/Decimal.h"
#include "market/Enums.h"

#include <QString>

#include <optional>

namespace tavix {

// What the application, a bot or an automation asks a broker to do.
struct OrderRequest {
    QString symbol;  // equity ticker, option symbol or crypto pair such as "BTC/USD"
    AssetType assetType = AssetType::equity;
    OrderSide side = OrderSide::buy;
    Decimal quantity;  // shares, contracts or coin units
    OrderType type = OrderType::market;
    std::optional<Decimal> limitPrice;
    std::optional<Decimal> stopPrice;
    TimeInForce timeInForce = TimeInForce::day;
    OrderSession session = OrderSession::regular;
    std::optional<Decimal> takeProfit;  // an attached take-profit exit (bracket)
    std::optional<Decimal> stopLoss;    // an attached stop-loss exit (bracket)
    std::optional<Decimal> trailAmount;  // dollars behind the best price, for trailing stops
    std::optional<QString> clientOrderID;

    // A one-cancels-other pair of exits on shares already held, not an entry with a bracket.
    bool isExitPair() const;

    // Each check gives a lower-case clause for the first problem found, or nothing. Callers put
    // their own words in front.
    std::optional<QString> pricingProblem() const;
    std::optional<QString> shareProblem() const;
    std::optional<QString> cryptoProblem() const;

    friend bool operator==(const OrderRequest&, const OrderRequest&) = default;
};

}  // namespace tavix
