#pragma once

#include "market/Enums.h"
#include "market/OptionContract.h"
#include "market/Quote.h"
#include "market/SymbolMatch.h"

#include <QString>

#include <map>
#include <optional>
#include <set>
#include <vector>

namespace tavix {

// The practice broker's simulated market. Every price is a pure function of the symbol and the
// instant, so two brokers asked about the same symbol at the same time agree. Stocks and funds
// follow the deterministic price path, coin pairs the same path around their coin's level, and
// option symbols are priced from their underlying's simulated price.
class PracticeMarket {
public:
    // The last price at an instant, rounded to the tick. Nothing for text that is no symbol
    // the practice market can price (an option symbol that does not parse, an empty text).
    std::optional<Decimal> price(const QString& symbol, Date at) const;

    // A full quote at an instant: last, a bid and ask around it (none when `bidless`), the
    // session's open, high and low so far, the previous close and the volume so far.
    std::optional<Quote> quote(const QString& symbol, Date at, bool bidless = false) const;

    // Candles of the interval that start within the range and have begun by `now`, oldest first.
    std::vector<Candle> candles(const QString& symbol, CandleInterval interval, DateRange range, Date now) const;

    // Calls and puts around the underlying's price for the next expiries (or the one asked for).
    std::vector<OptionContract> optionChain(const QString& underlying, std::optional<Date> expiry, Date now) const;

    // Matches the typed text against the sample list of well-known names.
    std::vector<SymbolMatch> search(const QString& text) const;

    // A pinned symbol always quotes at its pinned price.
    void pin(const QString& symbol, Decimal price) { pinned_[symbol] = price; }
    void unpin(const QString& symbol) { pinned_.erase(symbol); }
    const std::map<QString, Decimal>& pinned() const { return pinned_; }

    // The words that tell the user where practice option prices come from.
    static QString optionPriceNote();

private:
    std::map<QString, Decimal> pinned_;
};

}  // namespace tavix
