#pragma once

#include <span>
#include <vector>

namespace tavix::rolling {

// The highest and lowest of the last `length` values at each bar, in O(n) whatever the length.
// Like the moving averages, the column may start with NaN (another study's warm-up): the window
// fills once `length` real values have been seen, and gives NaN before.
std::vector<double> highest(std::span<const double> values, int length);
std::vector<double> lowest(std::span<const double> values, int length);

}  // namespace tavix::rolling
