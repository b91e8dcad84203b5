#include "analytics/MovingAverage.h"
#include "analytics/PriceSource.h"
#include "analytics/StudyCatalog.h"
#include "analytics/StudyParts.h"
#include "analytics/TrueRange.h"
#include "market/UpperVectorState.h"

#include <cmath>
#include <utility>

namespace tavix {

namespace {

// Wilder's average true range; his own smoothing unless another average is asked for.
void averageTrueRange(const StudyBars& bars, StudyRun& run) {
    auto range = average::of(run.averageType(), trueRange(bars), run.whole(u"length"));
    setOutputs(run, numberOutput(QStringLiteral("atr"), std::move(range)));
}

// The population standard deviation of the price over the last `length` bars.
void standardDeviation(const StudyBars& bars, StudyRun& run) {
    std::vector<double> storage;
    const auto price = priceColumn(bars, priceSource(run), storage);
    setOutputs(run, numberOutput(QStringLiteral("stdDev"), average::deviation(price, run.whole(u"length"))));
}

// How many bars of an interval a year holds: 252 trading days, 52 weeks, 12 months, and for bars
// shorter than a day those of a 6.5-hour regular session on each trading day.
double barsPerYear(CandleInterval interval) {
    switch (interval) {
        case CandleInterval::daily:
            return 252;
        case CandleInterval::weekly:
            return 52;
        case CandleInterval::monthly:
            return 12;
        default:
            break;
    }
    constexpr double sessionSeconds = 6.5 * 3600;
    return 252 * sessionSeconds / static_cast<double>(seconds(interval));
}

// Historical volatility: the sample standard deviation (n - 1) of the last `length` log returns
// close to close, annualised by the square root of the bars in a year, in percent. The window's
// mean and sum of squared deviations move by Welford's update for a value swapped in and out, which
// keeps its accuracy over long series where running sums of tiny squares would not. A close that
// is not above zero has no log return: the window starts again after it.
void historicalVolatility(const StudyBars& bars, StudyRun& run) {
    const std::size_t n = bars.size();
    const auto length = static_cast<std::size_t>(run.whole(u"length"));
    const double annualised = 100 * std::sqrt(barsPerYear(bars.interval));
    std::vector<double> volatility(n, noValue);
    std::vector<double> returns(n, noValue);
    clearUpperVectorState();
    std::size_t count = 0;  // returns in the window, up to `length`
    std::size_t flat = 0;   // returns of exactly zero in a row
    double mean = 0, squares = 0;
    for (std::size_t i = 1; i < n; ++i) {
        if (!(bars.close[i] > 0 && bars.close[i - 1] > 0)) {
            count = 0;
            mean = squares = 0;
            continue;
        }
        const double value = std::log(bars.close[i] / bars.close[i - 1]);
        returns[i] = value;
        flat = value == 0 ? flat + 1 : 0;
        if (count < length) {
            ++count;
            const double delta = value - mean;
            mean += delta / static_cast<double>(count);
            squares += delta * (value - mean);
        } else {
            const double dropped = returns[i - length];
            const double previousMean = mean;
            mean += (value - dropped) / static_cast<double>(length);
            squares += (value - dropped) * (value - mean + dropped - previousMean);
        }
        if (count < length) continue;
        if (flat >= length) {
            // A window of no change at all: exactly 0, and the running figures start clean rather
            // than carry what swapping the moves out left behind.
            mean = squares = 0;
            volatility[i] = 0;
            continue;
        }
        volatility[i] = annualised * std::sqrt(std::max(0.0, squares / static_cast<double>(length - 1)));
    }
    setOutputs(run, numberOutput(QStringLiteral("hv"), std::move(volatility)));
}

}  // namespace

std::vector<StudyKind> volatilityStudies() {
    std::vector<StudyKind> kinds;
    kinds.push_back({QStringLiteral("averageTrueRange"),
                     QStringLiteral("Average True Range"),
                     StudyGroup::volatility,
                     {lengthSetting(14), averageTypeSetting(AverageType::wilders)},
                     {QStringLiteral("atr")},
                     &averageTrueRange});
    kinds.push_back({QStringLiteral("standardDeviation"),
                     QStringLiteral("Standard Deviation"),
                     StudyGroup::volatility,
                     {priceSourceSetting(), lengthSetting(20, 2)},
                     {QStringLiteral("stdDev")},
                     &standardDeviation});
    kinds.push_back({QStringLiteral("historicalVolatility"),
                     QStringLiteral("Historical Volatility"),
                     StudyGroup::volatility,
                     {lengthSetting(20, 2)},
                     {QStringLiteral("hv")},
                     &historicalVolatility});
    return kinds;
}

}  // namespace tavix
