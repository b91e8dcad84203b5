#pragma once

#include "market/Date.h"
#include "market/Decimal.h"
#include "market/Enums.h"

#include <QString>

#include <cstdint>
#include <optional>

namespace tavix {

// One row of an option chain.
struct OptionContract {
    QString id;  // the option symbol
    QString underlying;
    OptionRight right = OptionRight::call;
    Decimal strike;
    Date expiry;
    std::optional<Decimal> bid;
    std::optional<Decimal> ask;
    Decimal last;
    std::optional<Decimal> theta;
    std::optional<Decimal> delta;
    std::optional<Decimal> impliedVolatility;
    std::optional<std::int64_t> openInterest;
    int multiplier = 100;  // shares per contract

    // The ask when there is one over zero, else the last price.
    Decimal buyPrice() const { return ask && ask->isPositive() ? *ask : last; }
    Decimal costPerContract() const { return buyPrice() * Decimal(multiplier); }
    Decimal breakEven() const { return right == OptionRight::call ? strike + buyPrice() : strike - buyPrice(); }

    friend bool operator==(const OptionContract&, const OptionContract&) = default;
};

// A coin's order steps at a brokerage.
struct CoinRules {
    Decimal smallest;    // the smallest amount that may be ordered
    Decimal amountStep;  // amounts are a whole number of steps
    Decimal priceStep;   // prices are a whole number of steps

    friend bool operator==(const CoinRules&, const CoinRules&) = default;
};

}  // namespace tavix
