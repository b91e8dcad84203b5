#include "analytics/MovingAverage.h"
#include "analytics/PriceSource.h"
#include "analytics/StudyCatalog.h"
#include "analytics/StudyParts.h"

#include <span>
#include <vector>

namespace tavix {

namespace {

constexpr int defaultLength = 20;

std::vector<StudySetting> lengthAndSource(int minLength) {
    return {StudySetting::whole(QStringLiteral("length"), QStringLiteral("Length"), defaultLength, minLength,
                                longestLength),
            priceSourceSetting()};
}

template <std::vector<double> (*Average)(std::span<const double>, int)>
void computeAverage(const StudyBars& bars, StudyRun& run) {
    std::vector<double> storage;
    const std::span<const double> prices = priceColumn(bars, priceSource(run), storage);
    setOutputs(run, numberOutput(run.kind->values.front(), Average(prices, run.whole(u"length"))));
}

// The volume-weighted average: the window's price times volume over its volume. A window that
// traded nothing has no such average, so it gets no value rather than a made-up price.
void computeVolumeWeighted(const StudyBars& bars, StudyRun& run) {
    std::vector<double> storage;
    const std::span<const double> prices = priceColumn(bars, priceSource(run), storage);
    const auto length = static_cast<std::size_t>(run.whole(u"length"));
    const std::size_t size = bars.size();
    StudySeries series = StudySeries::numberSeries(run.kind->values.front(), size);
    double traded = 0;  // price times volume over the window
    double volume = 0;
    Refresh refresh(length);
    for (std::size_t i = 0; i < size; ++i) {
        if (refresh.due()) {
            // Sum the window afresh now and then, so running-sum rounding cannot pile up.
            traded = 0;
            volume = 0;
            for (std::size_t j = i + 1 > length ? i + 1 - length : 0; j <= i; ++j) {
                traded += prices[j] * bars.volume[j];
                volume += bars.volume[j];
            }
        } else {
            traded += prices[i] * bars.volume[i];
            volume += bars.volume[i];
            if (i >= length) {
                traded -= prices[i - length] * bars.volume[i - length];
                volume -= bars.volume[i - length];
            }
        }
        if (i + 1 >= length && volume > 0) series.numbers[i] = traded / volume;
    }
    setOutputs(run, std::move(series));
}

StudyKind averageKind(QString word, QString title, int minLength,
                      void (*compute)(const StudyBars&, StudyRun&)) {
    StudyKind kind;
    kind.word = std::move(word);
    kind.title = std::move(title);
    kind.group = StudyGroup::movingAverages;
    kind.settings = lengthAndSource(minLength);
    kind.values = QStringList{QStringLiteral("average")};
    kind.compute = compute;
    return kind;
}

}  // namespace

std::vector<StudyKind> movingAverageStudies() {
    std::vector<StudyKind> kinds;
    kinds.push_back(averageKind(QStringLiteral("simpleMovingAvg"), QStringLiteral("Simple Moving Average"), 1,
                                computeAverage<average::simple>));
    kinds.push_back(averageKind(QStringLiteral("exponentialMovingAvg"),
                                QStringLiteral("Exponential Moving Average"), 1,
                                computeAverage<average::exponential>));
    kinds.push_back(averageKind(QStringLiteral("weightedMovingAvg"),
                                QStringLiteral("Weighted Moving Average"), 1,
                                computeAverage<average::weighted>));
    // Hull's average halves its length, so it needs at least two bars.
    kinds.push_back(averageKind(QStringLiteral("hullMovingAvg"), QStringLiteral("Hull Moving Average"), 2,
                                computeAverage<average::hull>));
    kinds.push_back(averageKind(QStringLiteral("volumeWeightedMovingAvg"),
                                QStringLiteral("Volume-Weighted Moving Average"), 1, computeVolumeWeighted));
    return kinds;
}

}  // namespace tavix
