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
// been seen; among equal values the latest stands.
std::vector<double> byHand(const std::vector<double>& values, int length, bool highest) {
    const std::size_t window = static_cast<std::size_t>(length);
    std::vector<double> out(values.size(), nan);
    std::size_t seen = 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (std::isnan(values[i])) continue;
        if (++seen < window) continue;
        double best = values[i];
        for (std::size_t j = i + 1 >= window ? i + 1 - window : 0; j < i; ++j) {
            if (std::isnan(values[j])) continue;
            if (highest ? !(best > values[j]) : !(best < values[j])) best = values[j];
        }
        // Ties resolved toward the latest: walk again from the newest.
        for (std::size_t j = i + 1; j-- > (i + 1 >= window ? i + 1 - window : 0);) {
            if (values[j] == best) {
                best = values[j];
                break;
            }
        }
        out[i] = best;
    }
    return out;
}

void expectSame(const std::vector<double>& values, int length) {
    for (const bool highest : {true, false}) {
        const auto got = highest ? rolling::highest(values, length) : rolling::lowest(values, length);
        const auto want = byHand(values, length, highest);
        ASSERT_EQ(got.size(), want.size());
        for (std::size_t i = 0; i < got.size(); ++i) {
            ASSERT_EQ(std::isnan(got[i]), std::isnan(want[i])) << "bar " << i << " length " << length;
            if (std::isnan(want[i])) continue;
            ASSERT_EQ(got[i], want[i]) << "bar " << i << " length " << length;
            ASSERT_EQ(std::signbit(got[i]), std::signbit(want[i])) << "bar " << i << " length " << length;
        }
    }
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

    expectSame({}, 3);
    expectSame({nan, nan}, 1);
}

TEST(RollingExtreme, KeepsTheLatestOfEqualZeros) {
    expectSame({0.0, -0.0, 0.0, -0.0, -0.0, 0.0, 1.0, -0.0}, 2);
    expectSame({-0.0, 0.0, -0.0, 0.0, 0.0, -0.0, -1.0, 0.0, -0.0}, 3);
    expectSame({-0.0, 0.0, -0.0, 0.0, 0.0, -0.0, -1.0, 0.0, -0.0}, 4);
}

}  // namespace
}  // namespace tavix
