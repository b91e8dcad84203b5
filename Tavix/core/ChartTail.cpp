#include "core/ChartTail.h"

#include <cmath>

namespace tavix::ChartTail {

bool follow(std::vector<Candle>& candles, const Quote& quote, CandleInterval interval) {
    if (candles.empty() || !quote.last.isPositive()) return false;
    const auto step = static_cast<double>(seconds(interval));
    Candle& newest = candles.back();
    const double start = newest.time.secondsSince1970();
    const double at = quote.asOf.secondsSince1970();
    if (at < start) return false;  // from before the newest bar: the chart read already has it

    if (at >= start + step) {
        // Day, week and month bars begin on the market's calendar; the next chart read makes them.
        if (step >= static_cast<double>(seconds(CandleInterval::daily))) return false;
        const double boundary = std::floor(at / step) * step;
        candles.push_back(Candle{Date(boundary), quote.last, quote.last, quote.last, quote.last, Decimal()});
        return true;
    }
    const Candle before = newest;
    newest.close = quote.last;
    newest.high = max(newest.high, quote.last);
    newest.low = min(newest.low, quote.last);
    return !(newest == before);
}

}  // namespace tavix::ChartTail
