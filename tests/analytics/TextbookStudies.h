#pragma once

// Second, deliberately plain implementations of the textbook definitions the studies are checked
// against: every window summed afresh, two passes for deviations, no running forms. NaN marks a bar
// with no value yet.

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace tavix::test::textbook {

constexpr double none = std::numeric_limits<double>::quiet_NaN();

inline double windowMean(const std::vector<double>& values, std::size_t last, std::size_t length) {
    double sum = 0;
    for (std::size_t j = last + 1 - length; j <= last; ++j) sum += values[j];
    return sum / static_cast<double>(length);
}

// The arithmetic mean of the last `length` values.
inline std::vector<double> sma(const std::vector<double>& values, std::size_t length) {
    std::vector<double> out(values.size(), none);
    for (std::size_t i = length - 1; i < values.size(); ++i) out[i] = windowMean(values, i, length);
    return out;
}

// Linearly weighted: weights 1..n from oldest to newest, over n(n+1)/2; none until the window holds
// n values.
inline std::vector<double> weighted(const std::vector<double>& values, std::size_t length) {
    std::vector<double> out(values.size(), none);
    for (std::size_t i = length - 1; i < values.size(); ++i) {
        if (std::isnan(values[i + 1 - length])) continue;
        double sum = 0;
        for (std::size_t k = 1; k <= length; ++k) sum += static_cast<double>(k) * values[i + k - length];
        out[i] = sum / (static_cast<double>(length * (length + 1)) / 2);
    }
    return out;
}

// Alan Hull's moving average (2005): WMA(2 * WMA(price, n/2) - WMA(price, n), round(sqrt(n))).
inline std::vector<double> hull(const std::vector<double>& values, std::size_t length) {
    const auto fast = weighted(values, length / 2);
    const auto slow = weighted(values, length);
    std::vector<double> raw(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) raw[i] = 2 * fast[i] - slow[i];
    return weighted(raw, static_cast<std::size_t>(std::lround(std::sqrt(static_cast<double>(length)))));
}

// The exponential average as chart services define it: the first value is the simple average of
// the first `length`, then each is previous + alpha * (value - previous). alpha = 2 / (length + 1)
// for the usual EMA; Wilder's smoothing is the same with alpha = 1 / length, which is his
// "previous * (length - 1) + value, over length" (Wilder, New Concepts in Technical Trading
// Systems, 1978).
inline std::vector<double> smoothed(const std::vector<double>& values, std::size_t length, double alpha) {
    std::vector<double> out(values.size(), none);
    if (values.size() < length) return out;
    out[length - 1] = windowMean(values, length - 1, length);
    for (std::size_t i = length; i < values.size(); ++i)
        out[i] = out[i - 1] + alpha * (values[i] - out[i - 1]);
    return out;
}

inline std::vector<double> ema(const std::vector<double>& values, std::size_t length) {
    return smoothed(values, length, 2.0 / (static_cast<double>(length) + 1));
}

// The population standard deviation (divide by n) of the last `length` values, in two passes.
inline std::vector<double> populationDeviation(const std::vector<double>& values, std::size_t length) {
    std::vector<double> out(values.size(), none);
    for (std::size_t i = length - 1; i < values.size(); ++i) {
        const double mean = windowMean(values, i, length);
        double squares = 0;
        for (std::size_t j = i + 1 - length; j <= i; ++j) squares += (values[j] - mean) * (values[j] - mean);
        out[i] = std::sqrt(squares / static_cast<double>(length));
    }
    return out;
}

// Wilder's true range (1978): the greatest of today's high - low, |high - yesterday's close| and
// |low - yesterday's close|; the first day has only high - low.
inline std::vector<double> trueRange(const std::vector<double>& high, const std::vector<double>& low,
                                     const std::vector<double>& close) {
    std::vector<double> range(close.size());
    for (std::size_t i = 0; i < close.size(); ++i) {
        range[i] = high[i] - low[i];
        if (i > 0)
            range[i] =
                std::max({range[i], std::abs(high[i] - close[i - 1]), std::abs(low[i] - close[i - 1])});
    }
    return range;
}

// His average true range: the first is the mean of the first `length` ranges, then
// (previous * (length - 1) + range) / length.
inline std::vector<double> wilderAtr(const std::vector<double>& high, const std::vector<double>& low,
                                     const std::vector<double>& close, std::size_t length) {
    return smoothed(trueRange(high, low, close), length, 1 / static_cast<double>(length));
}

// His RSI: the first average gain and loss are the means of the first `length` day-to-day gains and
// losses (from the second day), then (previous * (length - 1) + today's) / length, his smoothing;
// RS = average gain / average loss; RSI = 100 - 100 / (1 + RS).
inline std::vector<double> wilderRsi(const std::vector<double>& closes, std::size_t length) {
    std::vector<double> gains, losses, out(closes.size(), none);
    for (std::size_t i = 1; i < closes.size(); ++i) {
        gains.push_back(std::max(closes[i] - closes[i - 1], 0.0));
        losses.push_back(std::max(closes[i - 1] - closes[i], 0.0));
    }
    const auto gain = smoothed(gains, length, 1 / static_cast<double>(length));
    const auto loss = smoothed(losses, length, 1 / static_cast<double>(length));
    for (std::size_t i = 1; i < closes.size(); ++i) out[i] = 100 - 100 / (1 + gain[i - 1] / loss[i - 1]);
    return out;
}

struct Directional {
    std::vector<double> adx, diPlus, diMinus;
};

// His directional movement in the running-sum form of his worksheet: TR, +DM and -DM start as the
// sums of the first `length` days (from the second day, the first with a move) and go on as
// previous - previous / length + today; DI = 100 * DM / TR; DX = 100 * |DI+ - DI-| / (DI+ + DI-);
// ADX starts as the mean of the first `length` DX, then (previous * (length - 1) + DX) / length.
inline Directional wilderDirectional(const std::vector<double>& high, const std::vector<double>& low,
                                     const std::vector<double>& close, std::size_t length) {
    const std::size_t n = close.size();
    Directional out{std::vector<double>(n, none), std::vector<double>(n, none), std::vector<double>(n, none)};
    const auto ranges = trueRange(high, low, close);
    const auto len = static_cast<double>(length);
    double tr = 0, plus = 0, minus = 0, dxSum = 0, adx = 0;
    for (std::size_t i = 1; i < n; ++i) {
        const double up = high[i] - high[i - 1], down = low[i - 1] - low[i];
        // The bars are whole cents, so the moves are compared in cents, where a tie is a tie.
        const auto inCents = [](double price) { return std::llround(price * 100); };
        const long long upCents = inCents(high[i]) - inCents(high[i - 1]);
        const long long downCents = inCents(low[i - 1]) - inCents(low[i]);
        const auto carry = [&](double& sum, double today) {
            sum = i <= length ? sum + today : sum - sum / len + today;
        };
        carry(tr, ranges[i]);
        carry(plus, upCents > downCents && upCents > 0 ? up : 0);
        carry(minus, downCents > upCents && downCents > 0 ? down : 0);
        if (i < length) continue;
        out.diPlus[i] = 100 * plus / tr;
        out.diMinus[i] = 100 * minus / tr;
        const double dx = 100 * std::abs(out.diPlus[i] - out.diMinus[i]) / (out.diPlus[i] + out.diMinus[i]);
        dxSum += dx;
        if (i == 2 * length - 1) out.adx[i] = adx = dxSum / len;
        if (i > 2 * length - 1) out.adx[i] = adx = (adx * (len - 1) + dx) / len;
    }
    return out;
}

}  // namespace tavix::test::textbook
