#pragma once

#include "market/Date.h"
#include "market/Decimal.h"

#include <QString>

#include <cstdint>
#include <optional>

namespace tavix {

struct Quote {
    QString symbol;
    Decimal last;  // last trade price; never absent
    std::optional<Decimal> bid;
    std::optional<Decimal> ask;
    std::optional<Decimal> open;
    std::optional<Decimal> high;
    std::optional<Decimal> low;
    std::optional<Decimal> previousClose;
    // Shares for stocks and contracts, whole; coins trade in fractions, which are kept.
    std::optional<Decimal> volume;
    Date asOf;

    std::optional<Decimal> change() const {
        if (!previousClose) return std::nullopt;
        return last - *previousClose;
    }

    friend bool operator==(const Quote&, const Quote&) = default;
};

struct Candle {
    Date time;  // start of the bar
    Decimal open;
    Decimal high;
    Decimal low;
    Decimal close;
    Decimal volume;  // whole for stocks, fractional for coins

    friend bool operator==(const Candle&, const Candle&) = default;
};

struct DateRange {
    Date start;
    Date end;

    friend bool operator==(const DateRange&, const DateRange&) = default;
};

}  // namespace tavix
