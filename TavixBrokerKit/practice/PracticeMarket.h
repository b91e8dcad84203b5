#pragma once

#include "market/Enums.h"
#include "market/OptionContract.h"
#include "market/Quote.h"
#include "market/SymbolMatch.h"

#include <QString>

#include <map>
#include <memory>
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
    PracticeMarket();
    ~PracticeMarket();
    // A copy keeps the pins and starts with an empty cache.
    PracticeMarket(const PracticeMarket& other);
    PracticeMarket& operator=(const PracticeMarket& other);

    // The last price at an instant, rounded to the tick. Nothing for text that is no symbol
    // the practice market can price (an option symbol that does not parse, an empty text), nor for
    // an option after 16:00 New York on its expiry day. Symbols are read in their standard form
    // ("aapl" is AAPL, "btc/usd" is BTC/USD); a pinned underlying prices its options too.
    std::optional<Decimal> price(const QString& symbol, Date at) const;

    // A full quote at an instant: last, a bid and ask around it (none when `bidless`), the
    // session's open, high and low so far, the previous close and the volume so far. A pinned
    // symbol quotes flat at its pin. The quote's symbol is the standard form.
    std::optional<Quote> quote(const QString& symbol, Date at, bool bidless = false) const;

    // Candles of the interval that start within the range [start, end) and have begun by `now`,
    // oldest first. Intraday bars start at each session's open and every interval after it until
    // the close (stocks 9:30 to 16:00 New York on weekdays; coins from midnight UTC, every day);
    // the last bar so far closes at `now`. Daily bars are timed at the start of their day (New York
    // for stocks, UTC for coins) and appear once the session has opened; weekly bars (from Monday)
    // and monthly bars (calendar months) gather the daily ones. At most `maxCandles`, the latest.
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

    // At most this many candles come back; a longer range keeps its latest candles.
    static constexpr int maxCandles = 10000;

private:
    // Per symbol, what does not depend on the instant: the path's constants, the session in use
    // and the sampled extremes of the session so far. Guarded by its own lock.
    class Cache;
    // The work behind the public calls, done under the cache's lock.
    class Pricer;

    std::map<QString, Decimal> pinned_;
    std::unique_ptr<Cache> cache_;
};

}  // namespace tavix
