#include "analytics/RollingExtreme.h"

#include "analytics/StudyParts.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <functional>
#include <memory>
#include <utility>

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
// tail of one block and the head of the next, so its extreme is the better of a suffix extreme of the
// one and a prefix extreme of the other. Three comparisons a value and no branch on the data, against
// the queue's unpredictable pops. Only one block's suffixes are needed at a time, so the scratch is
// one window long and stays in cache. Each lane is a column with its own comparison (`beats`, in the
// same order); the lanes share the blocks and run side by side.
struct Lane {
    std::span<const double> values;
    double* out;
};

template <std::size_t... K, class... Beats>
void blocked(std::index_sequence<K...>, const std::array<Lane, sizeof...(Beats)>& lanes, std::size_t window,
             Beats... beats) {
    constexpr std::size_t count = sizeof...(Beats);
    const std::size_t n = lanes[0].values.size();
    // Plain pointers in locals, so that the compiler keeps them in registers across the stores.
    const std::array<const double*, count> in{lanes[K].values.data()...};
    const std::array<double*, count> out{lanes[K].out...};
    if (window == 1) {
        ((std::copy(in[K], in[K] + n, out[K])), ...);
        return;
    }
    std::array<std::unique_ptr<double[]>, count> scratch;
    for (auto& column : scratch) column = std::make_unique_for_overwrite<double[]>(window);
    const std::array<double*, count> suffix{scratch[K].get()...};
    std::array<double, count> best{};
    for (std::size_t start = 0; start + window <= n; start += window) {
        // Suffix extremes of the block [start, start + window), suffix[j - start] from j to its end.
        const std::size_t last = window - 1;
        ((best[K] = suffix[K][last] = in[K][start + last]), ...);
        for (std::size_t j = last; j-- > 0;) {
            ((best[K] = keep(in[K][start + j], best[K], beats), suffix[K][j] = best[K]), ...);
        }
        // The first full window is the first block.
        if (start == 0) ((out[K][last] = suffix[K][0]), ...);
        // Windows ending in the next block reach back into this one from suffix[j - start - window + 1].
        const std::size_t next = start + window;
        const std::size_t end = std::min(next + window, n);
        if (next >= n) break;
        ((best[K] = in[K][next], out[K][next] = keep(suffix[K][1], best[K], beats)), ...);
        // The block's last window is the block itself: its prefix extreme alone.
        const std::size_t reachingBack = std::min(next + last, end);
        for (std::size_t j = next + 1; j < reachingBack; ++j) {
            const std::size_t back = j + 1 - next;
            ((best[K] = keep(best[K], in[K][j], beats), out[K][j] = keep(suffix[K][back], best[K], beats)),
             ...);
        }
        if (reachingBack < end) ((out[K][reachingBack] = keep(best[K], in[K][reachingBack], beats)), ...);
    }
}

template <class... Beats>
void blocked(const std::array<Lane, sizeof...(Beats)>& lanes, std::size_t window, Beats... beats) {
    blocked(std::index_sequence_for<Beats...>(), lanes, window, beats...);
}

// Whether the blocks can take the column from `first` on: at least one window of values, and no NaN
// gap among them (a window then spans `length` bars but fewer values, which only the queue handles).
bool blocksFit(std::span<const double> values, std::size_t first, std::size_t window) {
    const auto rest = values.subspan(first);
    if (rest.size() < window) return false;
    // v - v is 0 for every number and NaN for NaN (and for infinities, which the queue handles as
    // well). Four running sums of it, with no early exit, keep the scan from waiting on one chain of
    // additions or on a branch a value: real columns almost never have a gap.
    std::array<double, 4> sums{};
    std::size_t i = 0;
    for (; i + 4 <= rest.size(); i += 4) {
        for (std::size_t lane = 0; lane < 4; ++lane) sums[lane] += rest[i + lane] - rest[i + lane];
    }
    for (; i < rest.size(); ++i) sums[0] += rest[i] - rest[i];
    return !std::isnan(sums[0] + sums[1] + sums[2] + sums[3]);
}

template <class Beats>
std::vector<double> extreme(std::span<const double> values, int length, Beats beats) {
    const std::size_t n = values.size();
    std::vector<double> out(n, noValue);
    if (length < 1 || n == 0) return out;
    const auto window = static_cast<std::size_t>(length);
    const std::size_t first = firstReal(values);
    if (n - first < window) return out;
    if (blocksFit(values, first, window)) {
        blocked<Beats>({Lane{values.subspan(first), out.data() + first}}, window, beats);
    } else {
        queued(values, window, beats, out);
    }
    return out;
}

}  // namespace

std::vector<double> highest(std::span<const double> values, int length) {
    return extreme(values, length, std::greater<>());
}

std::vector<double> lowest(std::span<const double> values, int length) {
    return extreme(values, length, std::less<>());
}

Range range(std::span<const double> highs, std::span<const double> lows, int length) {
    const std::size_t first = firstReal(highs);
    const auto window = static_cast<std::size_t>(std::max(length, 1));
    const bool together = length >= 1 && highs.size() == lows.size() && first == firstReal(lows) &&
                          blocksFit(highs, first, window) && blocksFit(lows, first, window);
    if (!together) return {highest(highs, length), lowest(lows, length)};
    Range range{std::vector<double>(highs.size(), noValue), std::vector<double>(lows.size(), noValue)};
    const Lane high{highs.subspan(first), range.highest.data() + first};
    const Lane low{lows.subspan(first), range.lowest.data() + first};
    blocked({high, low}, window, std::greater<>(), std::less<>());
    return range;
}

}  // namespace tavix::rolling
