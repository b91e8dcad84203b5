#pragma once

#include "analytics/Study.h"

#include <vector>

namespace tavix {

// Wilder's true range of each bar: the greatest of high - low, |high - previous close| and
// |low - previous close|, so a gap counts as range. The first bar has no previous close, so it is
// its own high - low.
std::vector<double> trueRange(const StudyBars& bars);

}  // namespace tavix
