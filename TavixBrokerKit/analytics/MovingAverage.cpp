#include "analytics/MovingAverage.h"

#include "analytics/StudyParts.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

namespace tavix::average {

namespace {

void requireLength(int length) {
    if (length < 1)
        throw std::invalid_argument("a moving average needs a length of at least 1, not " +
                                    std::to_string(length));
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

// Exponential smoothing of up to four columns in one pass, each seeded with the simple average of
// its first `length` real values. The steps are taken in turn bar by bar, so that one column's step
// runs while another's waits on the one before.
struct Smoother {
    std::span<const double> values;
    std::size_t length;
    double alpha;
    std::vector<double>* out;
};

template <std::size_t Count>
void smoothSideBySide(const Smoother* smoothers) {
    // The state lives in locals: kept in the structs, every store to a column could (for all the
    // compiler knows) change an average, which would put a memory round trip into each step.
    std::array<const double*, Count> values{};
    std::array<double*, Count> out{};
    std::array<std::size_t, Count> first{};
    std::array<std::size_t, Count> size{};
    std::array<double, Count> alpha{};
    std::array<double, Count> average{};
    std::size_t start = std::numeric_limits<std::size_t>::max();
    std::size_t end = 0;
    for (std::size_t k = 0; k < Count; ++k) {
        const Smoother& s = smoothers[k];
        s.out->assign(s.values.size(), noValue);
        values[k] = s.values.data();
        out[k] = s.out->data();
        size[k] = s.values.size();
        first[k] = firstFull(s.values, s.length);
        alpha[k] = s.alpha;
        if (first[k] < size[k]) {
            average[k] = windowSum(s.values, first[k], s.length) / static_cast<double>(s.length);
            out[k][first[k]] = average[k];
        }
        start = std::min(start, first[k] + 1);
        end = std::max(end, size[k]);
    }
    for (std::size_t i = start; i < end; ++i) {
        for (std::size_t k = 0; k < Count; ++k) {
            if (i > first[k] && i < size[k]) {
                average[k] += alpha[k] * (values[k][i] - average[k]);
                out[k][i] = average[k];
            }
        }
    }
}

// Exponential smoothing with weight `alpha` for the newest value, seeded with the simple average
// of the first `length` real values.
std::vector<double> smoothed(std::span<const double> values, int length, double alpha) {
    requireLength(length);
    std::vector<double> out;
    Smoother smoother{values, static_cast<std::size_t>(length), alpha, &out};
    smoothSideBySide<1>(&smoother);
    return out;
}

void smoothAll(std::vector<Smoother>& smoothers) {
    for (std::size_t done = 0; done < smoothers.size();) {
        const std::size_t left = smoothers.size() - done;
        Smoother* batch = smoothers.data() + done;
        if (left >= 4) {
            smoothSideBySide<4>(batch);
            done += 4;
        } else if (left == 3) {
            smoothSideBySide<3>(batch);
            done += 3;
        } else if (left == 2) {
            smoothSideBySide<2>(batch);
            done += 2;
        } else {
            smoothSideBySide<1>(batch);
            done += 1;
        }
    }
}

}  // namespace

std::vector<double> simple(std::span<const double> values, int length) {
    requireLength(length);
    const auto n = static_cast<std::size_t>(length);
    std::vector<double> out(values.size(), noValue);
    const std::size_t first = firstFull(values, n);
    if (first >= values.size()) return out;
    double sum = 0;
    Refresh refresh(n);
    for (std::size_t i = first; i < values.size(); ++i) {
        if (refresh.due()) {
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
    Refresh refresh(n);
    for (std::size_t i = first; i < values.size(); ++i) {
        if (refresh.due()) {
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

std::vector<std::vector<double>> each(std::span<const Job> jobs) {
    std::vector<std::vector<double>> results(jobs.size());
    std::vector<Smoother> smoothers;
    for (std::size_t j = 0; j < jobs.size(); ++j) {
        const Job& job = jobs[j];
        if (job.type == AverageType::exponential || job.type == AverageType::wilders) {
            requireLength(job.length);
            const double alpha = job.type == AverageType::wilders ? 1.0 / job.length : 2.0 / (job.length + 1);
            smoothers.push_back({job.values, static_cast<std::size_t>(job.length), alpha, &results[j]});
        } else {
            results[j] = of(job.type, job.values, job.length);
        }
    }
    smoothAll(smoothers);
    return results;
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
    Refresh refresh(n);
    for (std::size_t i = first; i < values.size(); ++i) {
        if (i > first) repeated = values[i] == values[i - 1] ? repeated + 1 : 1;
        const bool fresh = refresh.due();
        if (repeated >= n) {
            mean = values[i];
            squares = 0;
        } else if (fresh) {
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
