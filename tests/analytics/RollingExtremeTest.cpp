#include "analytics/RollingExtreme.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <random>
#include <vector>

namespace tavix {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

// The window over the last `length` bars, NaN bars skipped, full once `length` real values have
// been seen; among equal values the latest stands (it tells 0 from -0).
std::vector<double> byHand(const std::vector<double>& values, int length, bool highest) {
    const auto window = static_cast<std::size_t>(length);
    std::vector<double> out(values.size(), nan);
    std::size_t seen = 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (std::isnan(values[i]) || ++seen < window) continue;
        double best = values[i];
        for (std::size_t j = i + 1 >= window ? i + 1 - window : 0; j <= i; ++j) {
            if (!std::isnan(values[j]) && (highest ? values[j] >= best : values[j] <= best)) best = values[j];
        }
        out[i] = best;
    }
    return out;
}

void expectColumn(const std::vector<double>& got, const std::vector<double>& want, int length) {
    ASSERT_EQ(got.size(), want.size());
    for (std::size_t i = 0; i < got.size(); ++i) {
        ASSERT_EQ(std::isnan(got[i]), std::isnan(want[i])) << "bar " << i << " length " << length;
        if (std::isnan(want[i])) continue;
        ASSERT_EQ(got[i], want[i]) << "bar " << i << " length " << length;
        ASSERT_EQ(std::signbit(got[i]), std::signbit(want[i])) << "bar " << i << " length " << length;
    }
}

// Each extreme alone, and both side by side through `range`.
void expectSame(const std::vector<double>& highs, const std::vector<double>& lows, int length) {
    const auto highest = byHand(highs, length, true);
    const auto lowest = byHand(lows, length, false);
    expectColumn(rolling::highest(highs, length), highest, length);
    expectColumn(rolling::lowest(lows, length), lowest, length);
    const auto both = rolling::range(highs, lows, length);
    expectColumn(both.highest, highest, length);
    expectColumn(both.lowest, lowest, length);
}

void expectSame(const std::vector<double>& values, int length) {
    expectSame(values, values, length);
}

TEST(RollingExtreme, MatchesTheWindowWorkedOutByHand) {
    std::mt19937 random(7);
    std::uniform_int_distribution<int> step(-3, 3);
    std::vector<double> walk;
    double at = 0;
    for (int i = 0; i < 230; ++i) walk.push_back(at += step(random));  // many ties
    // Lengths that divide the column, leave a short last block, equal it, exceed it.
    for (const int length : {1, 2, 3, 7, 10, 23, 229, 230, 231}) expectSame(walk, length);

    auto warmedUp = walk;
    for (std::size_t i = 0; i < 17; ++i) warmedUp[i] = nan;
    for (const int length : {1, 5, 14, 213, 214}) expectSame(warmedUp, length);

    // Gaps after the first real value shrink the windows' counts of values, not their spans.
    auto gapped = warmedUp;
    gapped[40] = nan;
    gapped[41] = nan;
    gapped[229] = nan;
    for (const int length : {1, 3, 14, 60}) expectSame(gapped, length);

    // Two different columns side by side; lows that start later than the highs, or have a gap, go
    // the slower way and the answers must not change.
    const std::vector<double> reversed(walk.rbegin(), walk.rend());
    for (const int length : {1, 2, 3, 14, 213, 230, 231}) {
        expectSame(walk, reversed, length);
        expectSame(walk, warmedUp, length);
        expectSame(walk, gapped, length);
    }

    expectSame({}, 3);
    expectSame({nan, nan}, 1);
    // Among equal values the latest stands.
    expectSame({0.0, -0.0, 0.0, -0.0, -0.0, 0.0, 1.0, -0.0}, 2);
    for (const int length : {3, 4}) expectSame({-0.0, 0.0, -0.0, 0.0, 0.0, -0.0, -1.0, 0.0, -0.0}, length);
}

}  // namespace
}  // namespace tavix
