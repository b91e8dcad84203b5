#pragma once

#include "market/Decimal.h"
#include "market/OrderRequest.h"

#include <QString>

#include <optional>

namespace tavix {

// A coin's order steps at a brokerage.
struct CoinRules {
    Decimal smallest;    // the smallest amount that may be ordered
    Decimal amountStep;  // amounts are a whole number of steps
    Decimal priceStep;   // prices are a whole number of steps

    // Rules for a coin whose broker gives none, from its price level: dearer coins trade in
    // finer amounts and coarser prices.
    static CoinRules guess(const Decimal& near);

    // The amount brought down to a whole number of steps (never more than was asked).
    Decimal amount(const Decimal& value) const;
    bool isAmount(const Decimal& value) const;
    // The price brought to a whole number of steps, upwards or downwards.
    Decimal price(const Decimal& value, bool up) const;
    bool isPrice(const Decimal& value) const;

    // The first problem of a coin order under these rules, as a sentence for the user.
    std::optional<QString> problem(const OrderRequest& request) const;

    friend bool operator==(const CoinRules&, const CoinRules&) = default;
};

}  // namespace tavix
