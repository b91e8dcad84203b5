#pragma once

#include "market/Date.h"
#include "market/Decimal.h"
#include "market/Enums.h"

#include <QString>

#include <optional>

namespace tavix {

// An option named by its OCC symbol: underlying, expiry, right and strike, e.g.
// "AAPL260116C00190000" for the AAPL 190 call expiring on 16 January 2026.
struct OptionSymbol {
    QString underlying;
    Date expiry;  // the start (00:00) of the expiry day in New York time
    OptionRight right = OptionRight::call;
    Decimal strike;

    // Reads an OCC symbol. The underlying may be padded with spaces to six characters (the
    // 21-character form) and letter case is forgiven; anything else is refused with nothing.
    static std::optional<OptionSymbol> parse(const QString& text);

    // The OCC symbol with the underlying unpadded: underlying, yyMMdd in New York time, C or P,
    // and the strike × 1000 in eight digits.
    QString occ() const;

    // The start of a calendar day in New York time, or nothing for an impossible date.
    static std::optional<Date> expiryDate(int year, int month, int day);

    friend bool operator==(const OptionSymbol&, const OptionSymbol&) = default;
};

}  // namespace tavix
