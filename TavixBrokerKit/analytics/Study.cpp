#include "analytics/Study.h"

#include <array>
#include <stdexcept>
#include <utility>

namespace tavix {

namespace {

// Exact powers of ten as doubles: every one up to 10^22 is representable.
constexpr std::array<double, 23> exactPowersOfTen = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                     1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                                     1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// A price's nearest double. When the mantissa fits in 53 bits and the power of ten is exact, one
// multiplication or division rounds once, so the result is the correctly rounded double (the
// classic fast path of decimal-to-binary conversion). That covers every price and volume a broker
// sends; anything else goes through the text, which is correctly rounded too, only slower.
double toStudyDouble(const Decimal& value) {
    const UInt128 mantissa = value.mantissa();
    const int exponent = value.exponent();
    constexpr UInt128 exactLimit = static_cast<UInt128>(1) << 53;
    constexpr int exactPowers = static_cast<int>(exactPowersOfTen.size()) - 1;
    if (mantissa < exactLimit && exponent >= -exactPowers && exponent <= exactPowers) {
        double result = static_cast<double>(static_cast<std::uint64_t>(mantissa));
        if (exponent < 0) {
            result /= exactPowersOfTen[static_cast<std::size_t>(-exponent)];
        } else {
            result *= exactPowersOfTen[static_cast<std::size_t>(exponent)];
        }
        return value.isNegative() ? -result : result;
    }
    return value.toDouble();
}

}  // namespace

StudySetting StudySetting::whole(QString setting, QString label, int defaultValue, int min, int max) {
    StudySetting s;
    s.setting = std::move(setting);
    s.label = std::move(label);
    s.type = Type::whole;
    s.defaultValue = defaultValue;
    s.min = min;
    s.max = max;
    s.step = 1;
    return s;
}

StudySetting StudySetting::number(QString setting, QString label, double defaultValue, double min, double max,
                                  double step) {
    StudySetting s;
    s.setting = std::move(setting);
    s.label = std::move(label);
    s.type = Type::number;
    s.defaultValue = defaultValue;
    s.min = min;
    s.max = max;
    s.step = step;
    return s;
}

StudySetting StudySetting::choice(QString setting, QString label, QStringList choices, int defaultPlace) {
    StudySetting s;
    s.setting = std::move(setting);
    s.label = std::move(label);
    s.type = Type::choice;
    s.defaultValue = defaultPlace;
    s.min = 0;
    s.max = static_cast<double>(choices.size() - 1);
    s.step = 1;
    s.choices = std::move(choices);
    return s;
}

QStringList averageTypeWords() {
    QStringList words;
    for (const AverageType type : allCases<AverageType>()) words << enumText(type);
    return words;
}

const StudySetting* StudyKind::setting(QStringView name) const {
    for (const StudySetting& s : settings) {
        if (s.setting == name) return &s;
    }
    return nullptr;
}

StudySeries StudySeries::numberSeries(QString name, std::size_t size) {
    StudySeries series;
    series.name = std::move(name);
    series.kind = Kind::number;
    series.numbers.assign(size, noValue);
    return series;
}

StudySeries StudySeries::flagSeries(QString name, std::size_t size) {
    StudySeries series;
    series.name = std::move(name);
    series.kind = Kind::flag;
    series.flags.assign(size, 0);
    return series;
}

StudySeries StudySeries::biasSeries(QString name, std::size_t size) {
    StudySeries series;
    series.name = std::move(name);
    series.kind = Kind::bias;
    series.biases.assign(size, PatternBias::neutral);
    return series;
}

std::size_t StudySeries::size() const {
    switch (kind) {
        case Kind::number:
            return numbers.size();
        case Kind::flag:
            return flags.size();
        case Kind::bias:
            return biases.size();
    }
    return 0;
}

double StudyRun::number(QStringView setting) const {
    if (kind != nullptr) {
        for (std::size_t i = 0; i < kind->settings.size() && i < settings.size(); ++i) {
            if (kind->settings[i].setting == setting) return settings[i];
        }
    }
    // A compute function asking for a setting its kind does not declare is a programming error.
    throw std::logic_error("a study asked for a setting it does not have: " +
                           setting.toString().toStdString());
}

AverageType StudyRun::averageType(QStringView setting) const {
    // Read through the choice's word, so a kind may offer the averages in any order or only some.
    const StudySetting* declared = kind != nullptr ? kind->setting(setting) : nullptr;
    const int place = whole(setting);
    if (declared != nullptr && place >= 0 && place < declared->choices.size()) {
        if (auto type = enumFromName<AverageType>(declared->choices[place].toStdString())) return *type;
    }
    throw std::logic_error("a study's average type is not one of the averages: " +
                           setting.toString().toStdString());
}

StudyBars::StudyBars(const std::vector<Candle>& candles, CandleInterval barInterval) : interval(barInterval) {
    const std::size_t n = candles.size();
    open.resize(n);
    high.resize(n);
    low.resize(n);
    close.resize(n);
    volume.resize(n);
    time.resize(n);
    for (std::size_t i = 0; i < n; ++i) {
        const Candle& c = candles[i];
        open[i] = toStudyDouble(c.open);
        high[i] = toStudyDouble(c.high);
        low[i] = toStudyDouble(c.low);
        close[i] = toStudyDouble(c.close);
        volume[i] = toStudyDouble(c.volume);
        time[i] = c.time.secondsSince1970();
    }
}

}  // namespace tavix
