#pragma once

#include <span>
#include <vector>

namespace tavix::rolling {

// The highest and lowest of the last `length` values at each bar, in O(n) whatever the length.
// Like the moving averages, the column may start with NaN (another study's warm-up): the window
// fills once `length` real values have been seen, and gives NaN before.
std::vector<double> highest(std::span<const double> values, int length);
std::vector<double> lowest(std::span<const double> values, int length);

struct Range {
    std::vector<double> highest;
    std::vector<double> lowest;
};

// The highest of `highs` and the lowest of `lows` over the same windows, as `highest` and `lowest`
// give them, worked out side by side: each pass carries a running extreme from value to value, and
// two such chains in one loop take barely longer than one.
Range range(std::span<const double> highs, std::span<const double> lows, int length);

}  // namespace tavix::rolling
