#pragma once

#include "core/Session.h"
#include "market/Quote.h"

#include <QStringList>

#include <map>

namespace tavix {

// The order the watchlist is shown in: the user's own ("added"), or sorted by one of the named
// sorts. Symbols without a quote for the sort's figure go last, in the user's order; ties keep the
// user's order too, so rows never jump about between equal values. All comparisons are exact.
namespace WatchlistOrder {

// "alphabet": by symbol; "price": by last price; "gainers": by the day's change in percent;
// "biggestMoves": by the size of that change either way; "volume": by the day's volume; "range": by
// where the last price sits in the day's range, from its low to its high. Highest first except
// for "alphabet" and "added"; `reversed` turns the list round (symbols without a figure stay last).
QStringList ordered(const QStringList& watchlist, const std::map<QString, Quote>& quotes, WatchlistSort sort,
                    bool reversed);

}  // namespace WatchlistOrder

}  // namespace tavix
