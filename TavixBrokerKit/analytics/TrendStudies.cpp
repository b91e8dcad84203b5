#include "analytics/ExactTies.h"
#include "analytics/MovingAverage.h"
#include "analytics/RollingExtreme.h"
#include "analytics/StudyCatalog.h"
#include "analytics/StudyParts.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace tavix {

namespace {

// Appel's MACD: the fast average less the slow one, its own average as the signal line, and the gap
// between the two as the histogram.
void computeMacd(const StudyBars& bars, StudyRun& run) {
    const std::size_t n = bars.size();
    const AverageType type = run.averageType();
    const average::Job jobs[] = {{type, bars.close, run.whole(u"fastLength")},
                                 {type, bars.close, run.whole(u"slowLength")}};
    const auto averages = average::each(jobs);
    const auto& fast = averages[0];
    const auto& slow = averages[1];

    auto macd = StudySeries::numberSeries(QStringLiteral("macd"), n);
    for (std::size_t i = 0; i < n; ++i) macd.numbers[i] = fast[i] - slow[i];  // NaN while either warms up
    auto signal =
        numberOutput(QStringLiteral("signal"), average::of(type, macd.numbers, run.whole(u"signalLength")));
    auto histogram = StudySeries::numberSeries(QStringLiteral("histogram"), n);
    for (std::size_t i = 0; i < n; ++i) histogram.numbers[i] = macd.numbers[i] - signal.numbers[i];
    setOutputs(run, std::move(macd), std::move(signal), std::move(histogram));
}

// Wilder's directional movement: true range and the two directional moves from bar to bar, each
// smoothed his way; DI+ and DI- as shares of the smoothed range, and ADX as the smoothed DX.
void computeAdx(const StudyBars& bars, StudyRun& run) {
    const std::size_t n = bars.size();
    const int length = run.whole(u"length");

    // The first bar has no previous one, so no move: NaN keeps it out of the smoothing.
    std::vector<double> trueRange(n, noValue);
    std::vector<double> plusMove(n, noValue);
    std::vector<double> minusMove(n, noValue);
    for (std::size_t i = 1; i < n; ++i) {
        const double high = bars.high[i];
        const double low = bars.low[i];
        const double previousClose = bars.close[i - 1];
        trueRange[i] = std::max({high - low, std::abs(high - previousClose), std::abs(low - previousClose)});
        const double up = high - bars.high[i - 1];
        const double down = bars.low[i - 1] - low;
        // Which move is larger is decided on the exact prices: equal moves give no direction. (Whether
        // a move is above zero is exact already: the doubles keep the prices' order.)
        const int upVersusDown = exact::compareDifferences(high, bars.high[i - 1], bars.low[i - 1], low);
        plusMove[i] = upVersusDown > 0 && up > 0 ? up : 0;
        minusMove[i] = upVersusDown < 0 && down > 0 ? down : 0;
    }
    const average::Job jobs[] = {{AverageType::wilders, trueRange, length},
                                 {AverageType::wilders, plusMove, length},
                                 {AverageType::wilders, minusMove, length}};
    const auto smoothed = average::each(jobs);
    const auto& range = smoothed[0];
    const auto& plus = smoothed[1];
    const auto& minus = smoothed[2];

    auto diPlus = StudySeries::numberSeries(QStringLiteral("diPlus"), n);
    auto diMinus = StudySeries::numberSeries(QStringLiteral("diMinus"), n);
    // DX takes over the up moves' column, which the smoothing above has finished with.
    auto& dx = plusMove;
    for (std::size_t i = 0; i < n; ++i) {
        if (std::isnan(range[i])) {
            dx[i] = noValue;
            continue;
        }
        // Bars that never move give no direction either way, rather than a division by zero.
        const double up = range[i] > 0 ? 100 * plus[i] / range[i] : 0;
        const double down = range[i] > 0 ? 100 * minus[i] / range[i] : 0;
        diPlus.numbers[i] = up;
        diMinus.numbers[i] = down;
        dx[i] = up + down > 0 ? 100 * std::abs(up - down) / (up + down) : 0;
    }
    setOutputs(run, numberOutput(QStringLiteral("adx"), average::wilders(dx, length)), std::move(diPlus),
               std::move(diMinus));
}

// Wilder's parabolic stop and reverse. The first trade's side follows the first bar's move (long
// unless the second bar's fall beats its rise), its stop starting at the first bar's far end. On the
// bar that breaks the stop the trade turns, and that bar already shows the new stop: the old trade's
// extreme, kept beyond the bar's own range.
void computeParabolicSar(const StudyBars& bars, StudyRun& run) {
    const std::size_t n = bars.size();
    const double step = run.number(u"step");
    const double maximum = run.number(u"maximum");
    auto sar = StudySeries::numberSeries(QStringLiteral("sar"), n);
    if (n >= 2) {
        const auto& high = bars.high;
        const auto& low = bars.low;
        const double rise = high[1] - high[0];
        const double fall = low[0] - low[1];
        bool rising = !(fall > 0 && fall > rise);
        double stop = rising ? low[0] : high[0];
        double extreme = rising ? high[1] : low[1];
        double factor = std::min(step, maximum);
        for (std::size_t i = 1; i < n; ++i) {
            if (i >= 2) {
                stop += factor * (extreme - stop);
                // The stop never moves into the two bars before it.
                if (rising) {
                    stop = std::min({stop, low[i - 1], low[i - 2]});
                } else {
                    stop = std::max({stop, high[i - 1], high[i - 2]});
                }
            }
            if (rising && low[i] <= stop) {
                rising = false;
                stop = std::max(extreme, high[i]);
                extreme = low[i];
                factor = std::min(step, maximum);
            } else if (!rising && high[i] >= stop) {
                rising = true;
                stop = std::min(extreme, low[i]);
                extreme = high[i];
                factor = std::min(step, maximum);
            } else if (rising ? high[i] > extreme : low[i] < extreme) {
                extreme = rising ? high[i] : low[i];
                factor = std::min(factor + step, maximum);
            }
            sar.numbers[i] = stop;
        }
    }
    setOutputs(run, std::move(sar));
}

// The middle of the highest high and lowest low over `length` bars, as Hosoda's lines are drawn.
std::vector<double> midpoint(const StudyBars& bars, int length) {
    auto [highest, lowest] = rolling::range(bars.high, bars.low, length);
    for (std::size_t i = 0; i < highest.size(); ++i) highest[i] = (highest[i] + lowest[i]) / 2;
    return std::move(highest);
}

// Hosoda's Ichimoku: the conversion and base lines; the two leading spans drawn `displacement` bars
// ahead of the bar they are worked out on, and the lagging line (the close) as far behind. Shifted
// values that would fall past either end of the candles are left out.
void computeIchimoku(const StudyBars& bars, StudyRun& run) {
    const std::size_t n = bars.size();
    const std::size_t shift = count(run.whole(u"displacement"));

    auto conversion =
        numberOutput(QStringLiteral("conversion"), midpoint(bars, run.whole(u"conversionLength")));
    auto base = numberOutput(QStringLiteral("base"), midpoint(bars, run.whole(u"baseLength")));
    auto spanA = StudySeries::numberSeries(QStringLiteral("spanA"), n);
    auto spanB = StudySeries::numberSeries(QStringLiteral("spanB"), n);
    auto lagging = StudySeries::numberSeries(QStringLiteral("lagging"), n);

    const auto longMidpoint = midpoint(bars, run.whole(u"spanBLength"));
    for (std::size_t i = 0; i + shift < n; ++i) {
        spanA.numbers[i + shift] = (conversion.numbers[i] + base.numbers[i]) / 2;
        spanB.numbers[i + shift] = longMidpoint[i];
        lagging.numbers[i] = bars.close[i + shift];
    }
    setOutputs(run, std::move(conversion), std::move(base), std::move(spanA), std::move(spanB),
               std::move(lagging));
}

}  // namespace

std::vector<StudyKind> trendStudies() {
    return {
        {QStringLiteral("macd"),
         QStringLiteral("MACD"),
         StudyGroup::trend,
         {StudySetting::whole(QStringLiteral("fastLength"), QStringLiteral("Fast length"), 12, 1,
                              longestLength),
          StudySetting::whole(QStringLiteral("slowLength"), QStringLiteral("Slow length"), 26, 1,
                              longestLength),
          StudySetting::whole(QStringLiteral("signalLength"), QStringLiteral("Signal length"), 9, 1,
                              longestLength),
          averageTypeSetting(AverageType::exponential)},
         {QStringLiteral("macd"), QStringLiteral("signal"), QStringLiteral("histogram")},
         &computeMacd},
        {QStringLiteral("adx"),
         QStringLiteral("ADX"),
         StudyGroup::trend,
         {lengthSetting(14)},
         {QStringLiteral("adx"), QStringLiteral("diPlus"), QStringLiteral("diMinus")},
         &computeAdx},
        {QStringLiteral("parabolicSar"),
         QStringLiteral("Parabolic SAR"),
         StudyGroup::trend,
         {StudySetting::number(QStringLiteral("step"), QStringLiteral("Step"), 0.02, 0.001, 1, 0.001),
          StudySetting::number(QStringLiteral("maximum"), QStringLiteral("Maximum"), 0.2, 0.001, 1, 0.01)},
         {QStringLiteral("sar")},
         &computeParabolicSar},
        {QStringLiteral("ichimoku"),
         QStringLiteral("Ichimoku Cloud"),
         StudyGroup::trend,
         {StudySetting::whole(QStringLiteral("conversionLength"), QStringLiteral("Conversion line length"), 9,
                              1, longestLength),
          StudySetting::whole(QStringLiteral("baseLength"), QStringLiteral("Base line length"), 26, 1,
                              longestLength),
          StudySetting::whole(QStringLiteral("spanBLength"), QStringLiteral("Leading span B length"), 52, 1,
                              longestLength),
          StudySetting::whole(QStringLiteral("displacement"), QStringLiteral("Displacement"), 26, 0,
                              longestLength)},
         {QStringLiteral("conversion"), QStringLiteral("base"), QStringLiteral("spanA"),
          QStringLiteral("spanB"), QStringLiteral("lagging")},
         &computeIchimoku},
    };
}

}  // namespace tavix
