#include "RandomBars.h"
#include "TextbookStudies.h"

#include "analytics/MovingAverage.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <stdexcept>
#include <vector>

namespace tavix {
namespace {

namespace textbook = test::textbook;
const double nan = noValue;

// Equal where both have a value, and no value in the same places.
void expectSeries(const std::vector<double>& expected, const std::vector<double>& actual,
                  double tolerance = 1e-12) {
    test::expectSeriesNear(actual, expected, tolerance, "average");
}

// A deterministic walk of `count` prices near `level`, with a flat stretch and a jump, the shapes
// where running sums lose digits.
std::vector<double> walk(std::size_t count, double level, double step) {
    std::mt19937 random(5);
    std::uniform_real_distribution<double> move(-step / 2, step / 2);
    std::vector<double> prices(count);
    double price = level;
    for (std::size_t i = 0; i < count; ++i) {
        const bool halted = i >= count / 3 && i < count / 3 + 300;
        price = i == count / 2 ? price * 3 : halted ? price : price + move(random);
        prices[i] = std::round(price * 100) / 100;
    }
    return prices;
}

TEST(MovingAverage, HandWorkedValues) {
    const std::vector<double> x = {2, 4, 6, 8, 4};
    expectSeries({nan, nan, 4, 6, 6}, average::simple(x, 3));
    // Seed 4, then alpha 1/2: 4 + (8 - 4)/2 = 6, 6 + (4 - 6)/2 = 5.
    expectSeries({nan, nan, 4, 6, 5}, average::exponential(x, 3));
    // Seed 4, then alpha 1/3: 4 + 4/3 = 16/3, 16/3 + (4 - 16/3)/3 = 44/9.
    expectSeries({nan, nan, 4, 16.0 / 3, 44.0 / 9}, average::wilders(x, 3));
    // (1*2 + 2*4 + 3*6)/6, (1*4 + 2*6 + 3*8)/6, (1*6 + 2*8 + 3*4)/6.
    expectSeries({nan, nan, 28.0 / 6, 40.0 / 6, 34.0 / 6}, average::weighted(x, 3));
    // Length 1 is the values themselves.
    expectSeries(x, average::simple(x, 1));
    expectSeries(x, average::exponential(x, 1));
    expectSeries(x, average::weighted(x, 1));

    // Hull, n = 4: WMA(2) and WMA(4) of the prices, then WMA(2) of 2*fast - slow. The differences
    // are 253/30, 253/15, 506/15, 68/3 from the fourth bar on.
    expectSeries({nan, nan, nan, nan, 253.0 / 18, 253.0 / 9, 1186.0 / 45},
                 average::hull(std::vector<double>{1, 2, 4, 8, 16, 32, 16}, 4));

    // The population standard deviation of 2, 4, 4, 4, 5, 5, 7, 9 is 2 (mean 5, variance 32/8).
    const std::vector<double> y = {2, 4, 4, 4, 5, 5, 7, 9};
    expectSeries({nan, nan, nan, nan, nan, nan, nan, 2}, average::deviation(y, 8));
    // Windows of three: {2,4,4}, {4,4,4}, {4,4,5}, {4,5,5}, {5,5,7}, {5,7,9}.
    const double third = std::sqrt(8.0 / 9), flat = 0, oneOff = std::sqrt(2.0 / 9);
    expectSeries({nan, nan, third, flat, oneOff, oneOff, third, std::sqrt(8.0 / 3)},
                 average::deviation(y, 3));
}

TEST(MovingAverage, WarmUpCountsOnlyRealValuesAndALengthBelowOneIsRefused) {
    // A column from another study starts with its warm-up; each average starts `length` real values
    // later, and never gives zero where it has no value.
    const std::vector<double> x = {nan, nan, 2, 4, 6, 8};
    expectSeries({nan, nan, nan, nan, 4, 6}, average::simple(x, 3));
    expectSeries({nan, nan, nan, nan, 4, 6}, average::exponential(x, 3));
    expectSeries({nan, nan, nan, nan, 4, 16.0 / 3}, average::wilders(x, 3));
    expectSeries({nan, nan, nan, nan, 28.0 / 6, 40.0 / 6}, average::weighted(x, 3));
    expectSeries({nan, nan, nan, nan, std::sqrt(8.0 / 3), std::sqrt(8.0 / 3)}, average::deviation(x, 3));

    // Fewer values than the length: no value anywhere; nothing at all: nothing back.
    for (const AverageType type : allCases<AverageType>()) {
        expectSeries({nan, nan, nan}, average::of(type, std::vector<double>{nan, 1, 2}, 3));
        EXPECT_TRUE(average::of(type, std::vector<double>{}, 5).empty());
        EXPECT_THROW(average::of(type, x, 0), std::invalid_argument) << enumName(type);
    }
    expectSeries({nan, nan}, average::deviation(std::vector<double>{1, 2}, 3));
    EXPECT_THROW(average::deviation(x, -1), std::invalid_argument);
}

TEST(MovingAverage, LongSeriesMatchTheTextbook) {
    // Cent prices near 100 and near 50,000 (where a running sum of squares would lose the spread).
    for (const double level : {100.0, 50000.0}) {
        const auto x = walk(6000, level, level / 500);
        for (const std::size_t n : {1u, 2u, 7u, 50u, 200u}) {
            SCOPED_TRACE(testing::Message() << "level " << level << ", length " << n);
            const int length = static_cast<int>(n);
            expectSeries(textbook::sma(x, n), average::simple(x, length));
            expectSeries(textbook::weighted(x, n), average::weighted(x, length));
            expectSeries(textbook::ema(x, n), average::exponential(x, length));
            expectSeries(textbook::smoothed(x, n, 1.0 / static_cast<double>(n)), average::wilders(x, length));
            if (n >= 2) expectSeries(textbook::hull(x, n), average::hull(x, length));
            // The deviation is compared on the scale of the price: its own size can be zero.
            const auto expected = textbook::populationDeviation(x, n);
            const auto actual = average::deviation(x, length);
            for (std::size_t i = 0; i < x.size(); ++i) {
                if (std::isnan(expected[i])) {
                    ASSERT_TRUE(std::isnan(actual[i])) << i;
                } else {
                    ASSERT_NEAR(expected[i], actual[i], level * 1e-12) << i;
                }
            }
        }
    }
    // After a jump, a halted price has a deviation of zero (to far below a cent), not the residue
    // of the earlier swings.
    const auto deviation = average::deviation(walk(3000, 50000, 100), 20);
    for (std::size_t i = 1000 + 20; i < 1300; ++i) EXPECT_LT(deviation[i], 1e-9) << i;
}

TEST(MovingAverage, SeveralAtOnceGiveExactlyWhatEachGivesAlone) {
    // Columns smoothed side by side start at different bars (their own warm-ups and lengths), and
    // one is too short to start at all; five jobs also spill past one batch of four.
    auto led = walk(500, 100, 0.2);
    std::fill(led.begin(), led.begin() + 40, nan);
    const auto plain = walk(500, 50000, 100);
    const std::vector<double> shortColumn = {nan, 1, 2};
    const std::vector<average::Job> jobs = {
        {AverageType::wilders, led, 14},        {AverageType::exponential, plain, 26},
        {AverageType::exponential, plain, 3},   {AverageType::simple, led, 20},
        {AverageType::wilders, shortColumn, 5}, {AverageType::exponential, led, 1},
    };
    const auto together = average::each(jobs);
    ASSERT_EQ(together.size(), jobs.size());
    for (std::size_t j = 0; j < jobs.size(); ++j) {
        const auto alone = average::of(jobs[j].type, jobs[j].values, jobs[j].length);
        ASSERT_EQ(alone.size(), together[j].size()) << "job " << j;
        // Bit for bit: the same steps in the same order.
        for (std::size_t i = 0; i < alone.size(); ++i)
            EXPECT_TRUE(std::isnan(alone[i]) ? std::isnan(together[j][i]) : alone[i] == together[j][i])
                << "job " << j << ", bar " << i << ": " << together[j][i] << " where " << alone[i]
                << " is due";
    }
    const average::Job refused[] = {{AverageType::wilders, plain, 0}};
    EXPECT_THROW(average::each(refused), std::invalid_argument);
}

}  // namespace
}  // namespace tavix
