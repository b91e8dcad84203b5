#pragma once

// Bars for study tests: hand-made candles, long random walks, a way to run one study through the
// catalogue as the chart and the bots do, and a comparison of whole series.

#include "analytics/StudyCatalog.h"

#include <gtest/gtest.h>

#include <QString>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <stdexcept>
#include <vector>

namespace tavix::test {

using namespace Qt::StringLiterals;
using Inputs = std::map<QString, std::variant<double, QString>>;

inline Decimal price(double value) {
    return Decimal::fromDouble(value).value();
}

inline Candle candle(double time, double open, double high, double low, double close, std::int64_t volume) {
    return Candle{Date(time), price(open), price(high), price(low), price(close), volume};
}

// A bar that traded at one price only.
inline Candle flatCandle(double time, double at, std::int64_t volume) {
    return candle(time, at, at, at, at, volume);
}

// Closes only, one a minute; every bar's open, high and low equal its close. Volumes are 100 unless
// given.
inline std::vector<Candle> closesOnly(const std::vector<double>& closes,
                                      const std::vector<std::int64_t>& volumes = {}) {
    std::vector<Candle> candles;
    for (std::size_t i = 0; i < closes.size(); ++i) {
        candles.push_back(flatCandle(1'700'000'000.0 + 60.0 * static_cast<double>(i), closes[i],
                                     volumes.empty() ? 100 : volumes[i]));
    }
    return candles;
}

// Seconds since 1970 of an ISO 8601 time.
inline double isoTime(const char* iso) {
    return Date::parseIso(QString::fromLatin1(iso)).value().secondsSince1970();
}

// A random walk in cents, with gaps between bars, wicks on both sides and random volumes (some
// zero), one bar every `step` seconds from `start`.
inline std::vector<Candle> randomBars(std::size_t count, unsigned seed, double start = 1'700'000'000.0,
                                      double step = 60.0) {
    std::mt19937 random(seed);
    std::normal_distribution<double> move(0.0, 0.4);
    std::uniform_real_distribution<double> wick(0.0, 0.6);
    std::uniform_int_distribution<std::int64_t> volume(-200, 5000);
    const auto cents = [](double value) { return std::round(value * 100) / 100; };
    std::vector<Candle> candles;
    double last = 100;
    for (std::size_t i = 0; i < count; ++i) {
        const double open = cents(std::max(5.0, last + move(random) / 4));
        const double close = cents(std::max(5.0, open + move(random)));
        const double high = cents(std::max(open, close) + wick(random));
        const double low = cents(std::max(1.0, std::min(open, close) - wick(random)));
        candles.push_back(candle(start + step * static_cast<double>(i), open, high, low, close,
                                 std::max<std::int64_t>(0, volume(random))));
        last = close;
    }
    return candles;
}

// One study worked out through the catalogue; a refusal throws its sentence so the test fails
// saying why.
inline StudyRun runStudy(const std::vector<Candle>& candles, const QString& study, const Inputs& inputs = {},
                         CandleInterval interval = CandleInterval::oneMinute) {
    auto answers = StudyCatalog::run(candles, interval, {StudyRequest{study, inputs, std::nullopt}});
    if (auto* sentence = std::get_if<QString>(&answers.at(0)))
        throw std::runtime_error(sentence->toStdString());
    return std::get<StudyRun>(std::move(answers.at(0)));
}

// The sentence a request is refused with, or empty when it settles.
inline QString refusal(const QString& study, const Inputs& inputs) {
    const auto settled = StudyCatalog::settle(StudyRequest{study, inputs, std::nullopt});
    if (const auto* sentence = std::get_if<QString>(&settled)) return *sentence;
    return {};
}

// A copy of one output's numbers, so it may be taken from a run that is not kept.
inline std::vector<double> output(const StudyRun& run, const QString& name) {
    for (const StudySeries& series : run.outputs) {
        if (series.name == name) return series.numbers;
    }
    throw std::runtime_error("no output " + name.toStdString());
}

inline std::vector<double> typical(const StudyBars& bars) {
    std::vector<double> out(bars.size());
    for (std::size_t i = 0; i < out.size(); ++i) out[i] = (bars.high[i] + bars.low[i] + bars.close[i]) / 3;
    return out;
}

// Same length, no value in the same places, and every value within `tolerance` relative to the
// larger of its magnitude and 1.
inline void expectSeriesNear(const std::vector<double>& actual, const std::vector<double>& expected,
                             double tolerance, const std::string& what) {
    ASSERT_EQ(actual.size(), expected.size()) << what;
    int shown = 0;
    for (std::size_t i = 0; i < actual.size() && shown < 5; ++i) {
        const bool same = std::isnan(expected[i]) ? std::isnan(actual[i])
                                                  : std::abs(actual[i] - expected[i]) <=
                                                        tolerance * std::max(1.0, std::abs(expected[i]));
        if (!same) {
            ADD_FAILURE() << what << " at bar " << i << ": " << actual[i] << " where " << expected[i]
                          << " is due";
            ++shown;
        }
    }
}

inline void expectOutput(const StudyRun& run, const QString& name, const std::vector<double>& expected,
                         double tolerance) {
    expectSeriesNear(output(run, name), expected, tolerance, name.toStdString());
}

}  // namespace tavix::test
