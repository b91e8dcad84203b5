#pragma once

#include "analytics/Study.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace tavix {

// Small pieces the studies share.

// A finished column of numbers as an output, moved rather than copied.
inline StudySeries numberOutput(const QString& name, std::vector<double> values) {
    StudySeries series;
    series.name = name;
    series.kind = StudySeries::Kind::number;
    series.numbers = std::move(values);
    return series;
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

inline StudySetting lengthSetting(int byDefault, int min = 1, int max = 1000) {
    return StudySetting::whole(QStringLiteral("length"), QStringLiteral("Length"), byDefault, min, max);
}

}  // namespace tavix
