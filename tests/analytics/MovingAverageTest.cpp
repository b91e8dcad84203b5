#include "analytics/MovingAverage.h"
#include "analytics/StudyCatalog.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <stdexcept>
#include <vector>

namespace tavix {
namespace {

const double nan = noValue;

// Equal where both have a value, and no value in the same places.
void expectSeries(const std::vector<double>& expected, const std::vector<double>& actual,
                  double tolerance = 1e-12) {
    ASSERT_EQ(expected.size(), actual.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        if (std::isnan(expected[i])) {
            EXPECT_TRUE(std::isnan(actual[i])) << "bar " << i << " should have no value, has " << actual[i];
        } else {
            EXPECT_NEAR(expected[i], actual[i], tolerance * std::max(1.0, std::abs(expected[i])))
                << "bar " << i;
        }
    }
}

// --- Reference definitions, written straight from the textbook for these tests only -------------
// Each works every bar out afresh from its window (O(n * length)), the way the definitions read.

// Simple moving average: the arithmetic mean of the last n values.
std::vector<double> textbookSimple(const std::vector<double>& x, std::size_t n) {
    std::vector<double> out(x.size(), nan);
    for (std::size_t i = n - 1; i < x.size(); ++i) {
        double sum = 0;
        for (std::size_t j = i + 1 - n; j <= i; ++j) sum += x[j];
        out[i] = sum / static_cast<double>(n);
    }
    return out;
}

// Linearly weighted moving average: weights 1..n from oldest to newest, divided by n(n+1)/2.
std::vector<double> textbookWeighted(const std::vector<double>& x, std::size_t n) {
    std::vector<double> out(x.size(), nan);
    for (std::size_t i = 0; i < x.size(); ++i) {
        if (i + 1 < n || std::isnan(x[i + 1 - n])) continue;
        double sum = 0;
        for (std::size_t k = 1; k <= n; ++k) sum += static_cast<double>(k) * x[i + k - n];
        out[i] = sum / (static_cast<double>(n * (n + 1)) / 2);
    }
    return out;
}

// Exponential smoothing as charting references define the EMA (multiplier 2/(n+1)) and as
// J. Welles Wilder defined his smoothing in "New Concepts in Technical Trading Systems" (1978):
// today = yesterday + alpha * (value - yesterday), started from the simple mean of the first n.
std::vector<double> textbookSmoothed(const std::vector<double>& x, std::size_t n, double alpha) {
    std::vector<double> out(x.size(), nan);
    if (x.size() < n) return out;
    out[n - 1] = textbookSimple(x, n)[n - 1];
    for (std::size_t i = n; i < x.size(); ++i) out[i] = out[i - 1] + alpha * (x[i] - out[i - 1]);
    return out;
}

// Alan Hull's moving average (2005): WMA(2 * WMA(price, n/2) - WMA(price, n), round(sqrt(n))).
std::vector<double> textbookHull(const std::vector<double>& x, std::size_t n) {
    const auto fast = textbookWeighted(x, n / 2);
    const auto slow = textbookWeighted(x, n);
    std::vector<double> raw(x.size());
    for (std::size_t i = 0; i < x.size(); ++i) raw[i] = 2 * fast[i] - slow[i];
    return textbookWeighted(raw, static_cast<std::size_t>(std::lround(std::sqrt(static_cast<double>(n)))));
}

// Population standard deviation of the last n values, two passes: the mean, then the mean squared
// distance from it (the form John Bollinger uses for his bands).
std::vector<double> textbookDeviation(const std::vector<double>& x, std::size_t n) {
    const auto mean = textbookSimple(x, n);
    std::vector<double> out(x.size(), nan);
    for (std::size_t i = n - 1; i < x.size(); ++i) {
        double squares = 0;
        for (std::size_t j = i + 1 - n; j <= i; ++j) squares += (x[j] - mean[i]) * (x[j] - mean[i]);
        out[i] = std::sqrt(squares / static_cast<double>(n));
    }
    return out;
}

// A deterministic walk of `count` prices near `level`, with a flat stretch and a jump, the shapes
// where running sums lose digits.
std::vector<double> walk(std::size_t count, double level, double step) {
    std::uint64_t state = 0x9E3779B97F4A7C15ull;
    std::vector<double> prices(count);
    double price = level;
    for (std::size_t i = 0; i < count; ++i) {
        state = state * 6364136223846793005ull + 1442695040888963407ull;
        const double unit = static_cast<double>(state >> 11) / 9007199254740992.0;  // [0, 1)
        if (i >= count / 3 && i < count / 3 + 300) {
            // flat: a halted symbol
        } else if (i == count / 2) {
            price *= 3;
        } else {
            price += (unit - 0.5) * step;
        }
        prices[i] = std::round(price * 100) / 100;
    }
    return prices;
}

// --- Hand-worked cases ---------------------------------------------------------------------------

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
}

TEST(MovingAverage, HullHandWorked) {
    // n = 4: WMA(2) and WMA(4) of the prices, then WMA(2) of 2*fast - slow. The differences are
    // 253/30, 253/15, 506/15, 68/3 from the fourth bar on.
    const std::vector<double> x = {1, 2, 4, 8, 16, 32, 16};
    expectSeries({nan, nan, nan, nan, 253.0 / 18, 253.0 / 9, 1186.0 / 45}, average::hull(x, 4));
}

TEST(MovingAverage, DeviationOfThePublishedExample) {
    // The population standard deviation of 2, 4, 4, 4, 5, 5, 7, 9 is 2 (mean 5, variance 32/8).
    const std::vector<double> x = {2, 4, 4, 4, 5, 5, 7, 9};
    expectSeries({nan, nan, nan, nan, nan, nan, nan, 2}, average::deviation(x, 8));
    // Windows of three: {2,4,4}, {4,4,4}, {4,4,5}, {4,5,5}, {5,5,7}, {5,7,9}.
    const double third = std::sqrt(8.0 / 9), flat = 0, oneOff = std::sqrt(2.0 / 9);
    expectSeries({nan, nan, third, flat, oneOff, oneOff, third, std::sqrt(8.0 / 3)},
                 average::deviation(x, 3));
}

TEST(MovingAverage, WarmUpCountsOnlyRealValues) {
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
    }
    expectSeries({nan, nan}, average::deviation(std::vector<double>{1, 2}, 3));
}

TEST(MovingAverage, RefusesALengthBelowOne) {
    const std::vector<double> x = {1, 2, 3};
    for (const AverageType type : allCases<AverageType>()) {
        EXPECT_THROW(average::of(type, x, 0), std::invalid_argument) << enumName(type);
    }
    EXPECT_THROW(average::deviation(x, -1), std::invalid_argument);
}

// --- Long series against the textbook ------------------------------------------------------------

TEST(MovingAverage, LongSeriesMatchTheTextbook) {
    // Cent prices near 100 and near 50,000 (where a running sum of squares would lose the spread).
    for (const double level : {100.0, 50000.0}) {
        const auto x = walk(6000, level, level / 500);
        for (const std::size_t n :
             {std::size_t{1}, std::size_t{2}, std::size_t{7}, std::size_t{50}, std::size_t{200}}) {
            SCOPED_TRACE(testing::Message() << "level " << level << ", length " << n);
            const int length = static_cast<int>(n);
            expectSeries(textbookSimple(x, n), average::simple(x, length), 1e-12);
            expectSeries(textbookWeighted(x, n), average::weighted(x, length), 1e-12);
            expectSeries(textbookSmoothed(x, n, 2.0 / static_cast<double>(n + 1)),
                         average::exponential(x, length), 1e-12);
            expectSeries(textbookSmoothed(x, n, 1.0 / static_cast<double>(n)), average::wilders(x, length),
                         1e-12);
            if (n >= 2) expectSeries(textbookHull(x, n), average::hull(x, length), 1e-12);
            // The deviation is compared on the scale of the price: its own size can be zero.
            const auto expected = textbookDeviation(x, n);
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
}

TEST(MovingAverage, SeveralAtOnceGiveExactlyWhatEachGivesAlone) {
    // Columns smoothed side by side start at different bars (their own warm-ups and lengths), and
    // one is too short to start at all; five jobs also spill past one batch of four.
    auto led = walk(500, 100, 0.2);
    std::fill(led.begin(), led.begin() + 40, nan);
    const auto plain = walk(500, 50000, 100);
    const std::vector<double> shortColumn = {nan, 1, 2};
    const std::vector<average::Job> jobs = {
        {AverageType::wilders, led, 14},      {AverageType::exponential, plain, 26},
        {AverageType::exponential, plain, 3}, {AverageType::simple, led, 20},
        {AverageType::wilders, shortColumn, 5}, {AverageType::exponential, led, 1},
    };
    const auto together = average::each(jobs);
    ASSERT_EQ(together.size(), jobs.size());
    for (std::size_t j = 0; j < jobs.size(); ++j) {
        const auto alone = average::of(jobs[j].type, jobs[j].values, jobs[j].length);
        ASSERT_EQ(alone.size(), together[j].size()) << "job " << j;
        for (std::size_t i = 0; i < alone.size(); ++i) {
            // Bit for bit: the same steps in the same order.
            if (std::isnan(alone[i])) {
                EXPECT_TRUE(std::isnan(together[j][i])) << "job " << j << ", bar " << i;
            } else {
                EXPECT_EQ(alone[i], together[j][i]) << "job " << j << ", bar " << i;
            }
        }
    }
    const average::Job refused[] = {{AverageType::wilders, plain, 0}};
    EXPECT_THROW(average::each(refused), std::invalid_argument);
}

TEST(MovingAverage, QuietStretchHasNoDeviation) {
    // After a jump, a halted price has a deviation of zero (to far below a cent), not the
    // residue of the earlier swings.
    const auto x = walk(3000, 50000, 100);
    const auto deviation = average::deviation(x, 20);
    for (std::size_t i = 1000 + 20; i < 1300; ++i) EXPECT_LT(deviation[i], 1e-9) << i;
}

// --- The moving-average studies ------------------------------------------------------------------

std::vector<Candle> candlesOf(const std::vector<double>& closes, const std::vector<std::int64_t>& volumes) {
    std::vector<Candle> candles;
    for (std::size_t i = 0; i < closes.size(); ++i) {
        const Decimal close = *Decimal::fromDouble(closes[i]);
        // The high and low straddle the close unevenly, so the blends differ from the close.
        candles.push_back({Date(1.7e9 + 60.0 * static_cast<double>(i)), close, close + Decimal(2),
                           close - Decimal(1), close, volumes[i]});
    }
    return candles;
}

StudyRun onlyRun(const std::vector<std::variant<StudyRun, QString>>& answers) {
    if (const auto* sentence = std::get_if<QString>(&answers.at(0))) {
        ADD_FAILURE() << sentence->toStdString();
        return {};
    }
    return std::get<StudyRun>(answers.at(0));
}

TEST(MovingAverageStudies, AverageTheChosenSource) {
    const std::vector<double> closes = {10, 12, 11, 15, 14, 18};
    const auto candles = candlesOf(closes, std::vector<std::int64_t>(closes.size(), 100));
    // hl2 is the close plus a half; hlc3 the close plus a third.
    std::vector<double> hl2, hlc3;
    for (const double c : closes) {
        hl2.push_back(c + 0.5);
        hlc3.push_back(c + 1.0 / 3);
    }
    const struct {
        const char* study;
        const char* source;
        std::vector<double> expected;
    } cases[] = {
        {"simpleMovingAvg", "close", textbookSimple(closes, 3)},
        {"simpleMovingAvg", "hl2", textbookSimple(hl2, 3)},
        {"exponentialMovingAvg", "hlc3", textbookSmoothed(hlc3, 3, 0.5)},
        {"weightedMovingAvg", "close", textbookWeighted(closes, 3)},
        {"hullMovingAvg", "close", textbookHull(closes, 3)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.study) + " of " + c.source);
        StudyRequest request{
            QString::fromLatin1(c.study),
            {{QStringLiteral("length"), 3.0}, {QStringLiteral("source"), QString::fromLatin1(c.source)}},
            QStringLiteral("mine")};
        const auto answers = StudyCatalog::run(candles, CandleInterval::oneMinute, {request});
        const StudyRun run = onlyRun(answers);
        EXPECT_EQ(run.label, QStringLiteral("mine"));
        ASSERT_EQ(run.outputs.size(), 1u);
        EXPECT_EQ(run.outputs[0].name, QStringLiteral("average"));
        expectSeries(c.expected, run.outputs[0].numbers);
    }
}

TEST(MovingAverageStudies, VolumeWeightedAverage) {
    // Windows of two: (10*1 + 20*3)/4, (20*3 + 30*0)/3, then a window that traded nothing has no
    // average at all, then (40*5)/5.
    const auto candles = candlesOf({10, 20, 30, 35, 40}, {1, 3, 0, 0, 5});
    StudyRequest request{QStringLiteral("volumeWeightedMovingAvg"), {{QStringLiteral("length"), 2.0}}, {}};
    const StudyRun run = onlyRun(StudyCatalog::run(candles, CandleInterval::oneMinute, {request}));
    expectSeries({nan, 17.5, 20, nan, 40}, run.outputs.at(0).numbers);
}

TEST(MovingAverageStudies, VolumeWeightedLongSeriesMatchesTheTextbook) {
    // VWMA: the sum of price times volume over the last n bars divided by their volume.
    const auto closes = walk(5000, 100, 0.5);
    std::vector<std::int64_t> volumes(closes.size());
    for (std::size_t i = 0; i < volumes.size(); ++i)
        volumes[i] = static_cast<std::int64_t>((i * 7919) % 1000) * 100;
    const auto candles = candlesOf(closes, volumes);
    for (const int length : {1, 9, 50}) {
        StudyRequest request{
            QStringLiteral("volumeWeightedMovingAvg"), {{QStringLiteral("length"), double(length)}}, {}};
        const StudyRun run = onlyRun(StudyCatalog::run(candles, CandleInterval::oneMinute, {request}));
        const auto n = static_cast<std::size_t>(length);
        std::vector<double> expected(closes.size(), nan);
        for (std::size_t i = n - 1; i < closes.size(); ++i) {
            double traded = 0, volume = 0;
            for (std::size_t j = i + 1 - n; j <= i; ++j) {
                traded += closes[j] * static_cast<double>(volumes[j]);
                volume += static_cast<double>(volumes[j]);
            }
            if (volume > 0) expected[i] = traded / volume;
        }
        SCOPED_TRACE(length);
        expectSeries(expected, run.outputs.at(0).numbers, 1e-12);
    }
}

}  // namespace
}  // namespace tavix
