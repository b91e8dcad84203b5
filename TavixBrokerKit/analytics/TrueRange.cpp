#include "analytics/TrueRange.h"

#include <algorithm>
#include <cmath>

namespace tavix {

std::vector<double> trueRange(const StudyBars& bars) {
    const std::size_t n = bars.size();
    std::vector<double> range(n);
    if (n == 0) return range;
    range[0] = bars.high[0] - bars.low[0];
    for (std::size_t i = 1; i < n; ++i) {
        const double previousClose = bars.close[i - 1];
        range[i] = std::max({bars.high[i] - bars.low[i], std::abs(bars.high[i] - previousClose),
                             std::abs(bars.low[i] - previousClose)});
    }
    return range;
}

}  // namespace tavix
