#pragma once

#include "analytics/Study.h"

#include <span>
#include <vector>

namespace tavix {

// Moving averages over a column that may itself start with NaN (another study's warm-up): each
// starts once `length` real values have been seen, and gives NaN before. A NaN after the start is
// not expected (inputs are complete once warm).
namespace average {

std::vector<double> simple(std::span<const double> values, int length);
// Seeded with the simple average of the first `length` values, then alpha = 2 / (length + 1).
std::vector<double> exponential(std::span<const double> values, int length);
// Linearly weighted: the newest value weighs `length`, the oldest 1.
std::vector<double> weighted(std::span<const double> values, int length);
// Wilder's smoothing (RMA): seeded with the simple average, then alpha = 1 / length.
std::vector<double> wilders(std::span<const double> values, int length);
// Hull: WMA(2 * WMA(n/2) - WMA(n), round(sqrt(n))).
std::vector<double> hull(std::span<const double> values, int length);

std::vector<double> of(AverageType type, std::span<const double> values, int length);

// One column to average, for `each`.
struct Job {
    AverageType type;
    std::span<const double> values;
    int length;
};

// Several columns averaged in one call, with the same results as `of` one at a time. Exponential
// and Wilder's smoothing wait on their own previous step, so running up to four of them side by
// side lets the processor overlap the steps.
std::vector<std::vector<double>> each(std::span<const Job> jobs);

// Population standard deviation over the last `length` values (as Bollinger used it).
std::vector<double> deviation(std::span<const double> values, int length);

}  // namespace average

}  // namespace tavix
