#include "analytics/RollingExtreme.h"

#include "analytics/Study.h"

#include <cmath>
#include <cstddef>
#include <memory>

namespace tavix::rolling {

namespace {

// Keeps the indices of the values that can still be the window's extreme, best first: a new value
// drops every queued value it beats, so each index enters and leaves the queue once.
template <class Beats>
std::vector<double> extreme(std::span<const double> values, int length, Beats beats) {
    const std::size_t n = values.size();
    std::vector<double> out(n, noValue);
    if (length < 1 || n == 0) return out;
    const auto window = static_cast<std::size_t>(length);

    // Indices are pushed in order and never more than once, so n slots hold the whole queue.
    const auto queue = std::make_unique_for_overwrite<std::size_t[]>(n);
    std::size_t head = 0;
    std::size_t tail = 0;
    std::size_t seen = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const double value = values[i];
        if (std::isnan(value)) continue;
        ++seen;
        while (tail > head && !beats(values[queue[tail - 1]], value)) --tail;
        queue[tail++] = i;
        while (queue[head] + window <= i) ++head;
        if (seen >= window) out[i] = values[queue[head]];
    }
    return out;
}

}  // namespace

std::vector<double> highest(std::span<const double> values, int length) {
    return extreme(values, length, [](double queued, double next) { return queued > next; });
}

std::vector<double> lowest(std::span<const double> values, int length) {
    return extreme(values, length, [](double queued, double next) { return queued < next; });
}

}  // namespace tavix::rolling
