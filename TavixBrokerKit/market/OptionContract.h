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
    // Whole calendar days from `now` to the expiry in New York, never below 0.
    int daysToExpiry(Date now) const;

    friend bool operator==(const OptionContract&, const OptionContract&) = default;
};

}  // namespace tavix
