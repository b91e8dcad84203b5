#include "analytics/MovingAverage.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

namespace tavix::average {

namespace {

void requireLength(int length) {
    if (length < 1)
        throw std::invalid_argument("a moving average needs a length of at least 1, not " +
                                    std::to_string(length));
}

// Where the real values begin: a column fed from another study starts with that study's warm-up.
std::size_t firstReal(std::span<const double> values) {
    std::size_t i = 0;
    while (i < values.size() && std::isnan(values[i])) ++i;
    return i;
}

// The first bar with a value, or values.size() when there are fewer than `length` real values.
std::size_t firstFull(std::span<const double> values, std::size_t length) {
    const std::size_t start = firstReal(values);
    if (values.size() - start < length) return values.size();
    return start + length - 1;
}

// Running sums drift by a rounding error each step; summing the window afresh once every `length`
// bars keeps the drift to one window's worth at the cost of one more pass over the values.
double windowSum(std::span<const double> values, std::size_t last, std::size_t length) {
    double sum = 0;
    for (std::size_t j = last + 1 - length; j <= last; ++j) sum += values[j];
    return sum;
}

// Exponential smoothing with weight `alpha` for the newest value, seeded with the simple average
// of the first `length` real values.
std::vector<double> smoothed(std::span<const double> values, int length, double alpha) {
    requireLength(length);
    const auto n = static_cast<std::size_t>(length);
    std::vector<double> out(values.size(), noValue);
    const std::size_t first = firstFull(values, n);
    if (first >= values.size()) return out;
    double average = windowSum(values, first, n) / length;
    out[first] = average;
    for (std::size_t i = first + 1; i < values.size(); ++i) {
        average += alpha * (values[i] - average);
        out[i] = average;
    }
    return out;
}

}  // namespace

std::vector<double> simple(std::span<const double> values, int length) {
    requireLength(length);
    const auto n = static_cast<std::size_t>(length);
    std::vector<double> out(values.size(), noValue);
    const std::size_t first = firstFull(values, n);
    if (first >= values.size()) return out;
    double sum = 0;
    for (std::size_t i = first; i < values.size(); ++i) {
        if ((i - first) % n == 0) {
            sum = windowSum(values, i, n);
        } else {
            sum += values[i] - values[i - n];
        }
        out[i] = sum / length;
    }
    return out;
}

std::vector<double> exponential(std::span<const double> values, int length) {
    return smoothed(values, length, 2.0 / (length + 1));
}

std::vector<double> wilders(std::span<const double> values, int length) {
    return smoothed(values, length, 1.0 / length);
}

std::vector<double> weighted(std::span<const double> values, int length) {
    requireLength(length);
    const auto n = static_cast<std::size_t>(length);
    std::vector<double> out(values.size(), noValue);
    const std::size_t first = firstFull(values, n);
    if (first >= values.size()) return out;
    // Moving the window one bar lowers every weight by one (so the weighted sum loses the plain sum
    // of the old window) and adds the new value at weight n.
    const double divisor = static_cast<double>(n) * static_cast<double>(n + 1) / 2;
    double sum = 0;
    double weightedSum = 0;
    for (std::size_t i = first; i < values.size(); ++i) {
        if ((i - first) % n == 0) {
            sum = 0;
            weightedSum = 0;
            for (std::size_t j = 0; j < n; ++j) {
                const double v = values[i + 1 - n + j];
                sum += v;
                weightedSum += static_cast<double>(j + 1) * v;
            }
        } else {
            weightedSum += static_cast<double>(n) * values[i] - sum;
            sum += values[i] - values[i - n];
        }
        out[i] = weightedSum / divisor;
    }
    return out;
}

std::vector<double> hull(std::span<const double> values, int length) {
    requireLength(length);
    const int half = std::max(1, length / 2);
    const int root = std::max(1, static_cast<int>(std::lround(std::sqrt(static_cast<double>(length)))));
    std::vector<double> fast = weighted(values, half);
    const std::vector<double> slow = weighted(values, length);
    // The slow average starts later, so its NaN warm-up carries into the difference.
    for (std::size_t i = 0; i < fast.size(); ++i) fast[i] = 2 * fast[i] - slow[i];
    return weighted(fast, root);
}

std::vector<double> of(AverageType type, std::span<const double> values, int length) {
    switch (type) {
        case AverageType::simple:
            return simple(values, length);
        case AverageType::exponential:
            return exponential(values, length);
        case AverageType::weighted:
            return weighted(values, length);
        case AverageType::wilders:
            return wilders(values, length);
        case AverageType::hull:
            return hull(values, length);
    }
    throw std::invalid_argument("not an average type");
}

std::vector<double> deviation(std::span<const double> values, int length) {
    requireLength(length);
    const auto n = static_cast<std::size_t>(length);
    std::vector<double> out(values.size(), noValue);
    const std::size_t first = firstFull(values, n);
    if (first >= values.size()) return out;
    // Welford's update for a sliding window: the mean and the sum of squared distances from it, both
    // of the order of the spread rather than of the price, so a quiet stretch at a high price keeps
    // its digits. Recomputed afresh once every `length` bars so rounding cannot pile up.
    double mean = 0;
    double squares = 0;
    // A window of one repeated price has no spread at all; the updates would leave a rounding residue
    // there whose square root shows (1e-8 on a halted $100 stock), so such windows start clean.
    std::size_t repeated = 1;
    for (std::size_t j = first + 1 - n; j < first; ++j)
        repeated = values[j + 1] == values[j] ? repeated + 1 : 1;
    for (std::size_t i = first; i < values.size(); ++i) {
        if (i > first) repeated = values[i] == values[i - 1] ? repeated + 1 : 1;
        if (repeated >= n) {
            mean = values[i];
            squares = 0;
        } else if ((i - first) % n == 0) {
            mean = windowSum(values, i, n) / length;
            squares = 0;
            for (std::size_t j = i + 1 - n; j <= i; ++j) squares += (values[j] - mean) * (values[j] - mean);
        } else {
            const double added = values[i];
            const double dropped = values[i - n];
            const double before = mean;
            mean += (added - dropped) / length;
            squares += (added - dropped) * (added - mean + dropped - before);
        }
        out[i] = std::sqrt(std::max(0.0, squares) / length);
    }
    return out;
}

}  // namespace tavix::average
