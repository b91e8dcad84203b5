#pragma once

#include "analytics/Study.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <span>
#include <utility>
#include <vector>

namespace tavix {

// Small pieces the studies share.

// The longest window any study's length setting allows.
constexpr int longestLength = 1000;

// A whole-number setting as a count of bars (settings are checked, so never below zero anyway).
inline std::size_t count(int length) {
    return static_cast<std::size_t>(std::max(length, 0));
}

// Where a column's real values begin: one fed from another study starts with that study's warm-up.
inline std::size_t firstReal(std::span<const double> values) {
    std::size_t i = 0;
    while (i < values.size() && std::isnan(values[i])) ++i;
    return i;
}

// A finished column of numbers as an output, moved rather than copied.
inline StudySeries numberOutput(const QString& name, std::vector<double> values) {
    StudySeries series;
    series.name = name;
    series.kind = StudySeries::Kind::number;
    series.numbers = std::move(values);
    return series;
}

// Hands finished series to the run as its outputs, in order, without copying them (a braced list
// would copy).
template <class... Series>
void setOutputs(StudyRun& run, Series&&... series) {
    run.outputs.clear();
    run.outputs.reserve(sizeof...(Series));
    (run.outputs.push_back(std::forward<Series>(series)), ...);
}

// When a running sum over a window is summed afresh, so that rounding cannot pile up: counting
// down rather than taking `i % length` keeps a division out of every step (it cost more than the
// rest of the step).
class Refresh {
public:
    explicit Refresh(std::size_t every) : every_(every) {}
    // True on the first step and then once every `every` steps.
    bool due() {
        if (left_ == 0) {
            left_ = every_ - 1;
            return true;
        }
        --left_;
        return false;
    }

private:
    std::size_t every_;
    std::size_t left_ = 0;
};

// An "averageType" choice defaulting to `byDefault`.
inline StudySetting averageTypeSetting(AverageType byDefault) {
    return StudySetting::choice(QStringLiteral("averageType"), QStringLiteral("Average type"),
                                averageTypeWords(), static_cast<int>(byDefault));
}

inline StudySetting lengthSetting(int byDefault, int min = 1, int max = longestLength) {
    return StudySetting::whole(QStringLiteral("length"), QStringLiteral("Length"), byDefault, min, max);
}

}  // namespace tavix
