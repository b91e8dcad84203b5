#include "analytics/ExactTies.h"
#include "analytics/MovingAverage.h"
#include "analytics/StudyCatalog.h"
#include "analytics/StudyParts.h"
#include "market/NewYorkCalendar.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tavix {

namespace {

double typicalPrice(const StudyBars& bars, std::size_t i) {
    return (bars.high[i] + bars.low[i] + bars.close[i]) / 3;
}

// The volume-weighted average of the typical price since the start of the bar's New York day
// (midnight, so pre-market trading counts), with bands the volume-weighted standard deviation of
// price around it. A day that has traded nothing yet has no value.
void vwap(const StudyBars& bars, StudyRun& run) {
    const std::size_t n = bars.size();
    const double above = run.number(u"numDevUp");
    const double below = run.number(u"numDevDn");
    std::vector<double> line(n, noValue), upper(n, noValue), lower(n, noValue);
    // The current New York day as [dayStart, dayEnd) in UTC seconds: the zone is asked only when a
    // bar falls outside it, about once a day, and days of 23 or 25 hours come out right.
    double dayStart = std::numeric_limits<double>::infinity();
    double dayEnd = -std::numeric_limits<double>::infinity();
    // West's weighted running mean and sum of squares: steadier than sums of price * volume and
    // price squared * volume, which cancel badly when the deviation is small against the price.
    double weight = 0, mean = 0, squares = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const double time = bars.time[i];
        if (!(time >= dayStart && time < dayEnd)) {
            const QDate day = NewYorkCalendar::dateOf(Date(time));
            dayStart = NewYorkCalendar::startOfDay(day).secondsSince1970();
            dayEnd = NewYorkCalendar::startOfDay(day.addDays(1)).secondsSince1970();
            weight = mean = squares = 0;
        }
        const double volume = bars.volume[i];
        if (volume > 0) {
            const double price = typicalPrice(bars, i);
            weight += volume;
            const double delta = price - mean;
            mean += delta * (volume / weight);
            squares += volume * delta * (price - mean);
        }
        if (weight <= 0) continue;
        const double deviation = std::sqrt(std::max(0.0, squares / weight));
        line[i] = mean;
        upper[i] = mean + above * deviation;
        lower[i] = mean - below * deviation;
    }
    setOutputs(run, numberOutput(QStringLiteral("vwap"), std::move(line)),
               numberOutput(QStringLiteral("upper"), std::move(upper)),
               numberOutput(QStringLiteral("lower"), std::move(lower)));
}

// Granville's on-balance volume: a running total that adds a bar's volume when it closes above the
// previous close and takes it away when it closes below. It starts from nothing on the first bar.
void onBalanceVolume(const StudyBars& bars, StudyRun& run) {
    const std::size_t n = bars.size();
    std::vector<double> total(n);
    double running = 0;
    for (std::size_t i = 1; i < n; ++i) {
        if (bars.close[i] > bars.close[i - 1])
            running += bars.volume[i];
        else if (bars.close[i] < bars.close[i - 1])
            running -= bars.volume[i];
        total[i] = running;
    }
    setOutputs(run, numberOutput(QStringLiteral("obv"), std::move(total)));
}

void volume(const StudyBars& bars, StudyRun& run) {
    auto smoothed = average::of(run.averageType(), bars.volume, run.whole(u"length"));
    setOutputs(run, numberOutput(QStringLiteral("volume"), bars.volume),
               numberOutput(QStringLiteral("average"), std::move(smoothed)));
}

// Quong and Soudack's money flow index: of the money (typical price * volume) that moved over the
// last `length` bar-to-bar changes, the share that moved on a rising typical price, from 0 to 100.
// Flat changes count on neither side; a window with no money moving either way reads 50.
void moneyFlowIndex(const StudyBars& bars, StudyRun& run) {
    const std::size_t n = bars.size();
    const auto length = static_cast<std::size_t>(run.whole(u"length"));
    std::vector<double> index(n, noValue);
    // Each change's money, signed by its direction (0 for none), so the window can drop it later.
    // The direction compares h + l + c exactly: two equal typical prices made of other prices can
    // differ by an ulp as doubles, and a tie must count on neither side.
    std::vector<double> flow(n);
    for (std::size_t i = 1; i < n; ++i) {
        const double price = typicalPrice(bars, i);
        const int direction = exact::compareSums(bars.high[i], bars.low[i], bars.close[i], bars.high[i - 1],
                                                 bars.low[i - 1], bars.close[i - 1]);
        const double money = price * bars.volume[i];
        flow[i] = direction > 0 ? money : direction < 0 ? -money : 0;
    }
    // Running sums of each side, with how many changes feed them: a side with none is exactly zero,
    // not the crumbs that adding and taking away leave behind.
    double rising = 0, falling = 0;
    std::size_t risingCount = 0, fallingCount = 0;
    const auto enter = [&](double money) {
        if (money > 0) {
            rising += money;
            ++risingCount;
        } else if (money < 0) {
            falling -= money;
            ++fallingCount;
        }
    };
    const auto leave = [&](double money) {
        if (money > 0) {
            rising = --risingCount == 0 ? 0 : rising - money;
        } else if (money < 0) {
            falling = --fallingCount == 0 ? 0 : falling + money;
        }
    };
    for (std::size_t i = 1; i < n; ++i) {
        enter(flow[i]);
        if (i > length) leave(flow[i - length]);
        if (i < length) continue;
        const double moved = rising + falling;
        index[i] = moved > 0 ? 100 * (rising / moved) : 50;
    }
    setOutputs(run, numberOutput(QStringLiteral("mfi"), std::move(index)));
}

StudySetting deviationsSetting(const QString& setting, const QString& label) {
    return StudySetting::number(setting, label, 2, 0, 10, 0.1);
}

}  // namespace

std::vector<StudyKind> volumeStudies() {
    std::vector<StudyKind> kinds;
    kinds.push_back({QStringLiteral("vwap"),
                     QStringLiteral("VWAP"),
                     StudyGroup::volume,
                     {deviationsSetting(QStringLiteral("numDevUp"), QStringLiteral("Deviations up")),
                      deviationsSetting(QStringLiteral("numDevDn"), QStringLiteral("Deviations down"))},
                     {QStringLiteral("vwap"), QStringLiteral("upper"), QStringLiteral("lower")},
                     &vwap});
    kinds.push_back({QStringLiteral("onBalanceVolume"),
                     QStringLiteral("On-Balance Volume"),
                     StudyGroup::volume,
                     {},
                     {QStringLiteral("obv")},
                     &onBalanceVolume});
    kinds.push_back({QStringLiteral("volume"),
                     QStringLiteral("Volume"),
                     StudyGroup::volume,
                     {lengthSetting(20), averageTypeSetting(AverageType::simple)},
                     {QStringLiteral("volume"), QStringLiteral("average")},
                     &volume});
    kinds.push_back({QStringLiteral("moneyFlowIndex"),
                     QStringLiteral("Money Flow Index"),
                     StudyGroup::volume,
                     {lengthSetting(14)},
                     {QStringLiteral("mfi")},
                     &moneyFlowIndex});
    return kinds;
}

}  // namespace tavix
