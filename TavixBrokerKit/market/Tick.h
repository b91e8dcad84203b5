#pragma once

#include "market/Date.h"
#include "market/Decimal.h"

#include <QString>

#include <cstdint>
#include <optional>
#include <set>
#include <variant>

namespace tavix {

struct TradeTick {
    QString symbol;
    Decimal price;
    std::int64_t size = 0;
    Date time;
    friend bool operator==(const TradeTick&, const TradeTick&) = default;
};

struct QuoteTick {
    QString symbol;
    std::optional<Decimal> bid;
    std::optional<Decimal> ask;
    Date time;
    friend bool operator==(const QuoteTick&, const QuoteTick&) = default;
};

// The symbols a live feed now carries.
struct CarryingTick {
    std::set<QString> symbols;
    friend bool operator==(const CarryingTick&, const CarryingTick&) = default;
};

// What a live feed hands out: a trade, a quote, or the set of symbols being carried.
using Tick = std::variant<TradeTick, QuoteTick, CarryingTick>;

}  // namespace tavix
