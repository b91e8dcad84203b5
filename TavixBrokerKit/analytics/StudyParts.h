#pragma once

#include "analytics/Study.h"

#include <utility>
#include <vector>

namespace tavix {

// Small pieces the band, volume and volatility studies share.

// A finished column of numbers as an output, moved rather than copied.
inline StudySeries numberOutput(const QString& name, std::vector<double> values) {
    StudySeries series;
    series.name = name;
    series.kind = StudySeries::Kind::number;
    series.numbers = std::move(values);
    return series;
}

// An "averageType" choice defaulting to `byDefault`.
inline StudySetting averageTypeSetting(AverageType byDefault) {
    return StudySetting::choice(QStringLiteral("averageType"), QStringLiteral("Average type"),
                                averageTypeWords(), static_cast<int>(byDefault));
}

inline StudySetting lengthSetting(int byDefault, int min = 1, int max = 1000) {
    return StudySetting::whole(QStringLiteral("length"), QStringLiteral("Length"), byDefault, min, max);
}

}  // namespace tavix
