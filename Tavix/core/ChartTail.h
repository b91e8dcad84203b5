#pragma once

#include "market/Enums.h"
#include "market/Quote.h"

#include <vector>

namespace tavix {

// Keeps the chart's newest bar moving with each polled quote, between full chart reads: the
// quote's last price becomes the bar's close and widens its high and low; a quote that falls past
// the bar's end starts the next bar at the interval's boundary. Prices stay exact decimals.
namespace ChartTail {

// Applies `quote` to the candles of one symbol at `interval`; true when they changed. Quotes older
// than the newest bar, or for bars of a day or longer whose boundaries follow the market's
// calendar, only ever update the bar they fall in.
bool follow(std::vector<Candle>& candles, const Quote& quote, CandleInterval interval);

}  // namespace ChartTail

}  // namespace tavix
