#include "analytics/MovingAverage.h"
#include "analytics/PriceSource.h"
#include "analytics/RollingExtreme.h"
#include "analytics/StudyCatalog.h"
#include "analytics/StudyParts.h"
#include "analytics/TrueRange.h"

#include <utility>

namespace tavix {

namespace {

// Bands `above` and `below` times a width around a middle line; no value wherever either has none.
void addBands(StudyRun& run, std::vector<double> middle, const std::vector<double>& width, double above,
              double below) {
    const std::size_t n = middle.size();
    std::vector<double> upper(n), lower(n);
    for (std::size_t i = 0; i < n; ++i) {
        upper[i] = middle[i] + above * width[i];
        lower[i] = middle[i] - below * width[i];
    }
    setOutputs(run, numberOutput(QStringLiteral("upper"), std::move(upper)),
               numberOutput(QStringLiteral("middle"), std::move(middle)),
               numberOutput(QStringLiteral("lower"), std::move(lower)));
}

// Bollinger: an average of the price with bands a number of population standard deviations of the
// same window above and below it.
void bollingerBands(const StudyBars& bars, StudyRun& run) {
    std::vector<double> storage;
    const auto price = priceColumn(bars, priceSource(run), storage);
    const int length = run.whole(u"length");
    addBands(run, average::of(run.averageType(), price, length), average::deviation(price, length),
             run.number(u"numDevUp"), run.number(u"numDevDn"));
}

// Keltner in the form Linda Raschke revived: an average of the close with bands a multiple of the
// (Wilder-smoothed) average true range away.
void keltnerChannels(const StudyBars& bars, StudyRun& run) {
    const double factor = run.number(u"factor");
    const auto ranges = trueRange(bars);
    const average::Job jobs[] = {{run.averageType(), bars.close, run.whole(u"length")},
                                 {AverageType::wilders, ranges, run.whole(u"atrLength")}};
    auto averages = average::each(jobs);
    addBands(run, std::move(averages[0]), averages[1], factor, factor);
}

// Donchian: the highest high and lowest low of the last `length` bars, this one included, and the
// halfway line.
void donchianChannels(const StudyBars& bars, StudyRun& run) {
    const int length = run.whole(u"length");
    auto [upper, lower] = rolling::range(bars.high, bars.low, length);
    std::vector<double> middle(upper.size());
    for (std::size_t i = 0; i < middle.size(); ++i) middle[i] = (upper[i] + lower[i]) / 2;
    setOutputs(run, numberOutput(QStringLiteral("upper"), std::move(upper)),
               numberOutput(QStringLiteral("middle"), std::move(middle)),
               numberOutput(QStringLiteral("lower"), std::move(lower)));
}

QStringList bandValues() {
    return {QStringLiteral("upper"), QStringLiteral("middle"), QStringLiteral("lower")};
}

}  // namespace

std::vector<StudyKind> bandStudies() {
    std::vector<StudyKind> kinds;
    kinds.push_back(
        {QStringLiteral("bollingerBands"),
         QStringLiteral("Bollinger Bands"),
         StudyGroup::bands,
         {priceSourceSetting(), lengthSetting(20, 2),
          StudySetting::number(QStringLiteral("numDevUp"), QStringLiteral("Deviations up"), 2, 0, 10, 0.1),
          StudySetting::number(QStringLiteral("numDevDn"), QStringLiteral("Deviations down"), 2, 0, 10, 0.1),
          averageTypeSetting(AverageType::simple)},
         bandValues(),
         &bollingerBands});
    kinds.push_back(
        {QStringLiteral("keltnerChannels"),
         QStringLiteral("Keltner Channels"),
         StudyGroup::bands,
         {lengthSetting(20),
          StudySetting::number(QStringLiteral("factor"), QStringLiteral("ATR multiple"), 1.5, 0, 10, 0.1),
          averageTypeSetting(AverageType::exponential),
          StudySetting::whole(QStringLiteral("atrLength"), QStringLiteral("ATR length"), 10, 1, 1000)},
         bandValues(),
         &keltnerChannels});
    kinds.push_back({QStringLiteral("donchianChannels"),
                     QStringLiteral("Donchian Channels"),
                     StudyGroup::bands,
                     {lengthSetting(20)},
                     bandValues(),
                     &donchianChannels});
    return kinds;
}

}  // namespace tavix
