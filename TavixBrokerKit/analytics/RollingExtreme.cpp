#include "analytics/RollingExtreme.h"

#include "analytics/Study.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>

namespace tavix::rolling {

namespace {

// The value a window keeps of two: the earlier only if it beats the later, so that among equal
// values (+0 and -0) the latest one stands, whichever way the window is put together.
template <class Beats>
double keep(double earlier, double later, Beats beats) {
    return beats(earlier, later) ? earlier : later;
}

// Keeps the indices of the values that can still be the window's extreme, best first: a new value
// drops every queued value it beats, so each index enters and leaves the queue once. Used when NaN
// gaps sit between real values, since the window then spans `length` bars but fewer values.
template <class Beats>
void queued(std::span<const double> values, std::size_t window, Beats beats, std::vector<double>& out) {
    const std::size_t n = values.size();
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
}

// van Herk and Gil-Werman: cut the column into blocks of `window` values; a window then covers the
// tail of one block and the head of the next, so its extreme is the better of a suffix extreme and a
// prefix extreme. Three comparisons a value and no branch on the data, against the queue's
// unpredictable pops.
template <class Beats>
void blocked(std::span<const double> values, std::size_t window, Beats beats, double* out) {
    const std::size_t n = values.size();
    const auto suffix = std::make_unique_for_overwrite<double[]>(n);
    for (std::size_t start = 0; start < n; start += window) {
        const std::size_t end = std::min(start + window, n);
        double best = values[end - 1];
        suffix[end - 1] = best;
        for (std::size_t j = end - 1; j-- > start;) {
            best = keep(values[j], best, beats);
            suffix[j] = best;
        }
    }
    // The first full window is the first block.
    out[window - 1] = suffix[0];
    for (std::size_t start = window; start < n; start += window) {
        const std::size_t end = std::min(start + window, n);
        double best = values[start];
        out[start] = keep(suffix[start + 1 - window], best, beats);
        for (std::size_t j = start + 1; j < end; ++j) {
            best = keep(best, values[j], beats);
            out[j] = keep(suffix[j + 1 - window], best, beats);
        }
    }
}

template <class Beats>
std::vector<double> extreme(std::span<const double> values, int length, Beats beats) {
    const std::size_t n = values.size();
    std::vector<double> out(n, noValue);
    if (length < 1 || n == 0) return out;
    const auto window = static_cast<std::size_t>(length);

    // Another study's warm-up may lead the column; the windows fill from its first real value.
    const auto first = static_cast<std::size_t>(
        std::find_if(values.begin(), values.end(), [](double v) { return !std::isnan(v); }) - values.begin());
    const auto rest = values.subspan(first);
    if (rest.size() < window) return out;
    if (std::any_of(rest.begin(), rest.end(), [](double v) { return std::isnan(v); })) {
        queued(values, window, beats, out);
    } else {
        blocked(rest, window, beats, out.data() + first);
    }
    return out;
}

}  // namespace

std::vector<double> highest(std::span<const double> values, int length) {
    return extreme(values, length, [](double earlier, double later) { return earlier > later; });
}

std::vector<double> lowest(std::span<const double> values, int length) {
    return extreme(values, length, [](double earlier, double later) { return earlier < later; });
}

}  // namespace tavix::rolling
