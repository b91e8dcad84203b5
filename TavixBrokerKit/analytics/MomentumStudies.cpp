#include "analytics/ExactTies.h"
#include "analytics/MovingAverage.h"
#include "analytics/PriceSource.h"
#include "analytics/RollingExtreme.h"
#include "analytics/StudyCatalog.h"
#include "analytics/StudyParts.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace tavix {

namespace {

// Where `value` sits between `low` and `high`, from 0 to 100; a window with no range puts it midway.
double placeIn(double value, double low, double high) {
    if (std::isnan(low) || std::isnan(high) || std::isnan(value)) return noValue;
    return high > low ? 100 * (value - low) / (high - low) : 50;
}

// %K as the simple average of a raw 0..100 place over kSmoothing bars, and %D as the same of %K.
void setSmoothedPlace(StudyRun& run, std::span<const double> place) {
    auto k = average::simple(place, run.whole(u"kSmoothing"));
    auto d = average::simple(k, run.whole(u"dLength"));
    setOutputs(run, numberOutput(QStringLiteral("k"), std::move(k)),
               numberOutput(QStringLiteral("d"), std::move(d)));
}

// Wilder's RSI over any column: the average gain against the average loss from bar to bar, averaged
// his way unless another average is asked for.
std::vector<double> relativeStrength(std::span<const double> values, int length, AverageType type) {
    const std::size_t n = values.size();
    std::vector<double> gains(n, noValue);
    std::vector<double> losses(n, noValue);
    for (std::size_t i = 1; i < n; ++i) {
        const double change = values[i] - values[i - 1];
        gains[i] = std::max(change, 0.0);
        losses[i] = std::max(-change, 0.0);
    }
    const average::Job jobs[] = {{type, gains, length}, {type, losses, length}};
    const auto averages = average::each(jobs);
    const auto& gain = averages[0];
    const auto& loss = averages[1];
    // Wilder's and the exponential averages shrink gains and losses alike on a bar of no change, so
    // the RSI stays exactly where it was; worked out again it would wander by an ulp, and a
    // stochastic of it would swing between 0 and 100 on a flat stretch.
    const bool keepsRatio = type == AverageType::wilders || type == AverageType::exponential;
    std::vector<double> rsi(n, noValue);
    for (std::size_t i = 0; i < n; ++i) {
        if (std::isnan(gain[i]) || std::isnan(loss[i])) continue;
        if (keepsRatio && i > 0 && !std::isnan(rsi[i - 1]) && values[i] == values[i - 1]) {
            rsi[i] = rsi[i - 1];
            continue;
        }
        // A Hull average can overshoot below zero; an amount gained or lost cannot.
        const double up = std::max(gain[i], 0.0);
        const double down = std::max(loss[i], 0.0);
        if (down > 0) {
            rsi[i] = 100 - 100 / (1 + up / down);
        } else {
            rsi[i] = up > 0 ? 100 : 50;  // only gains is 100; no change at all is neither side
        }
    }
    return rsi;
}

void computeRsi(const StudyBars& bars, StudyRun& run) {
    std::vector<double> storage;
    const auto source = priceColumn(bars, priceSource(run), storage);
    setOutputs(run, numberOutput(QStringLiteral("rsi"),
                                 relativeStrength(source, run.whole(u"length"), run.averageType())));
}

// Lane's slow stochastic: the close's place in the range of the last kLength bars, smoothed into %K,
// and %D the simple average of %K.
void computeStochastic(const StudyBars& bars, StudyRun& run) {
    const std::size_t n = bars.size();
    const int length = run.whole(u"kLength");
    // The place is worked out over the highest column, which is not needed after.
    auto [fast, lowest] = rolling::range(bars.high, bars.low, length);
    for (std::size_t i = 0; i < n; ++i) fast[i] = placeIn(bars.close[i], lowest[i], fast[i]);

    setSmoothedPlace(run, fast);
}

// Chande and Kroll's stochastic RSI: RSI's place in its own range over stochLength bars, smoothed
// into %K and %D as the stochastic is, on a 0 to 100 scale.
void computeStochasticRsi(const StudyBars& bars, StudyRun& run) {
    const std::size_t n = bars.size();
    const auto rsi = relativeStrength(bars.close, run.whole(u"rsiLength"), AverageType::wilders);
    const int length = run.whole(u"stochLength");
    auto [fast, lowest] = rolling::range(rsi, rsi, length);
    for (std::size_t i = 0; i < n; ++i) fast[i] = placeIn(rsi[i], lowest[i], fast[i]);

    setSmoothedPlace(run, fast);
}

// Lambert's commodity channel index: the typical price's distance from its simple average, in units
// of 0.015 times the mean absolute deviation around that average.
void computeCci(const StudyBars& bars, StudyRun& run) {
    const std::size_t n = bars.size();
    const int length = run.whole(u"length");
    std::vector<double> storage;
    const auto typical = priceColumn(bars, PriceSource::hlc3, storage);
    const auto mean = average::simple(typical, length);
    auto cci = StudySeries::numberSeries(QStringLiteral("cci"), n);
    const std::size_t window = count(length);
    // How many bars up to each one share its exact typical price: a window of one price has no
    // deviation and a CCI of 0, where the average taken in doubles would sit an ulp off the price.
    std::size_t sameRun = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const bool same = i > 0 && exact::compareSums(bars.high[i], bars.low[i], bars.close[i], bars.high[i - 1],
                                                      bars.low[i - 1], bars.close[i - 1]) == 0;
        sameRun = same ? sameRun + 1 : 1;
        if (window == 0 || i + 1 < window) continue;
        if (sameRun >= window) {
            cci.numbers[i] = 0;
            continue;
        }
        const double centre = mean[i];
        // The deviation is around this bar's average, so it cannot be kept as a running sum.
        double deviation = 0;
        for (std::size_t j = i + 1 - window; j <= i; ++j) deviation += std::abs(typical[j] - centre);
        deviation /= static_cast<double>(window);
        cci.numbers[i] = deviation > 0 ? (typical[i] - centre) / (0.015 * deviation) : 0;
    }
    setOutputs(run, std::move(cci));
}

// Larry Williams' %R: how far the close is below the highest high of the window, from 0 (at the
// high) to -100 (at the low).
void computeWilliamsR(const StudyBars& bars, StudyRun& run) {
    const std::size_t n = bars.size();
    const int length = run.whole(u"length");
    auto [percent, lowest] = rolling::range(bars.high, bars.low, length);
    for (std::size_t i = 0; i < n; ++i) percent[i] = placeIn(bars.close[i], lowest[i], percent[i]) - 100;
    setOutputs(run, numberOutput(QStringLiteral("williamsR"), std::move(percent)));
}

// The close's change over `length` bars, in percent of the close then.
void computeRateOfChange(const StudyBars& bars, StudyRun& run) {
    const std::size_t n = bars.size();
    const std::size_t back = count(run.whole(u"length"));
    auto roc = StudySeries::numberSeries(QStringLiteral("roc"), n);
    for (std::size_t i = back; i < n; ++i) {
        const double then = bars.close[i - back];
        if (then != 0) roc.numbers[i] = 100 * (bars.close[i] - then) / then;
    }
    setOutputs(run, std::move(roc));
}

// The close's change over `length` bars, in price.
void computeMomentum(const StudyBars& bars, StudyRun& run) {
    const std::size_t n = bars.size();
    const std::size_t back = count(run.whole(u"length"));
    auto momentum = StudySeries::numberSeries(QStringLiteral("momentum"), n);
    for (std::size_t i = back; i < n; ++i) momentum.numbers[i] = bars.close[i] - bars.close[i - back];
    setOutputs(run, std::move(momentum));
}

StudySetting whole(const char16_t* setting, const char16_t* label, int defaultValue) {
    return StudySetting::whole(QString::fromUtf16(setting), QString::fromUtf16(label), defaultValue, 1,
                               longestLength);
}

}  // namespace

std::vector<StudyKind> momentumStudies() {
    const StudySetting kSmoothing = whole(u"kSmoothing", u"%K smoothing", 3);
    const StudySetting dLength = whole(u"dLength", u"%D length", 3);
    return {
        {QStringLiteral("rsi"),
         QStringLiteral("RSI"),
         StudyGroup::momentum,
         {lengthSetting(14), averageTypeSetting(AverageType::wilders), priceSourceSetting()},
         {QStringLiteral("rsi")},
         &computeRsi},
        {QStringLiteral("stochastic"),
         QStringLiteral("Stochastic"),
         StudyGroup::momentum,
         {whole(u"kLength", u"%K length", 14), kSmoothing, dLength},
         {QStringLiteral("k"), QStringLiteral("d")},
         &computeStochastic},
        {QStringLiteral("stochasticRsi"),
         QStringLiteral("Stochastic RSI"),
         StudyGroup::momentum,
         {whole(u"rsiLength", u"RSI length", 14), whole(u"stochLength", u"Stochastic length", 14), kSmoothing,
          dLength},
         {QStringLiteral("k"), QStringLiteral("d")},
         &computeStochasticRsi},
        {QStringLiteral("cci"),
         QStringLiteral("CCI"),
         StudyGroup::momentum,
         {lengthSetting(20)},
         {QStringLiteral("cci")},
         &computeCci},
        {QStringLiteral("williamsR"),
         QStringLiteral("Williams %R"),
         StudyGroup::momentum,
         {lengthSetting(14)},
         {QStringLiteral("williamsR")},
         &computeWilliamsR},
        {QStringLiteral("rateOfChange"),
         QStringLiteral("Rate of Change"),
         StudyGroup::momentum,
         {lengthSetting(12)},
         {QStringLiteral("roc")},
         &computeRateOfChange},
        {QStringLiteral("momentum"),
         QStringLiteral("Momentum"),
         StudyGroup::momentum,
         {lengthSetting(10)},
         {QStringLiteral("momentum")},
         &computeMomentum},
    };
}

}  // namespace tavix
