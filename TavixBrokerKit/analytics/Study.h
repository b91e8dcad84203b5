#pragma once

#include "market/Enums.h"
#include "market/Quote.h"

#include <QString>
#include <QStringList>

#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <variant>
#include <vector>

namespace tavix {

// Studies are analytics drawn over prices, not money that is ever sent anywhere, so they work in
// doubles: a hundred thousand bars for every study in a few tens of milliseconds. Candles' exact
// decimals become doubles once, in StudyBars.

enum class StudyGroup { movingAverages, bands, trend, patterns, momentum, volume, volatility };
TAVIX_ENUM_NAMES(StudyGroup, std::string_view("movingAverages"), std::string_view("bands"),
                 std::string_view("trend"), std::string_view("patterns"), std::string_view("momentum"),
                 std::string_view("volume"), std::string_view("volatility"))

// One setting of a study kind: a whole number, a number, or a choice among words.
struct StudySetting {
    enum class Type { whole, number, choice };

    QString setting;  // its name in inputs: "length", "numDevUp", "averageType"
    QString label;    // what the chart's settings show: "Length"
    Type type = Type::whole;
    double defaultValue = 0;  // for a choice, the place of the default word in `choices`
    double min = 0;
    double max = 0;
    double step = 1;
    QStringList choices;  // for a choice

    static StudySetting whole(QString setting, QString label, int defaultValue, int min, int max);
    static StudySetting number(QString setting, QString label, double defaultValue, double min, double max,
                               double step);
    static StudySetting choice(QString setting, QString label, QStringList choices, int defaultPlace);
};

// The moving averages a study can be asked to use, by their words.
enum class AverageType { simple, exponential, weighted, wilders, hull };
TAVIX_ENUM_NAMES(AverageType, std::string_view("simple"), std::string_view("exponential"),
                 std::string_view("weighted"), std::string_view("wilders"), std::string_view("hull"))
// The words of averageType choices, in AverageType order.
QStringList averageTypeWords();

struct StudyBars;
struct StudyRun;

// A study kind: its word ("bollingerBands"), title ("Bollinger Bands"), group, settings and the
// names of its outputs ("upper", "middle", "lower"), and the function that works it out.
struct StudyKind {
    QString word;
    QString title;
    StudyGroup group;
    std::vector<StudySetting> settings;
    QStringList values;
    // Fills `run.outputs` (one series per name in `values`, in order, each as long as the bars).
    void (*compute)(const StudyBars& bars, StudyRun& run) = nullptr;

    const StudySetting* setting(QStringView name) const;
};

// A pattern's lean on a bar.
// One byte a bar: a pattern's bias column is as long as the chart.
enum class PatternBias : std::uint8_t { neutral, bullish, bearish };
TAVIX_ENUM_NAMES(PatternBias, std::string_view("neutral"), std::string_view("bullish"),
                 std::string_view("bearish"))

// One output of a study over the bars. Numbers hold NaN where the study has no value yet (its
// warm-up) - never zero; `value(i)` gives nothing there. Pattern studies give a flag series
// ("found") and a bias series ("bias") instead.
struct StudySeries {
    enum class Kind { number, flag, bias };

    QString name;
    Kind kind = Kind::number;
    std::vector<double> numbers;
    std::vector<std::uint8_t> flags;
    std::vector<PatternBias> biases;

    static StudySeries numberSeries(QString name, std::size_t size);  // all NaN
    static StudySeries flagSeries(QString name, std::size_t size);    // all false
    static StudySeries biasSeries(QString name, std::size_t size);    // all neutral

    std::size_t size() const;
    std::optional<double> value(std::size_t bar) const {
        const double v = numbers[bar];
        if (std::isnan(v)) return std::nullopt;
        return v;
    }
};

constexpr double noValue = std::numeric_limits<double>::quiet_NaN();

// A study asked for: its kind's word, inputs by setting name (a number, or for a choice its word or
// its place from 0), and the name its values come back under (the word when none).
struct StudyRequest {
    QString study;
    std::map<QString, std::variant<double, QString>> inputs;
    std::optional<QString> label;
};

// A study with every setting settled: the kind, and each setting's value in the kind's order
// (a choice as its place).
struct StudyRun {
    const StudyKind* kind = nullptr;
    QString label;
    std::vector<double> settings;
    std::vector<StudySeries> outputs;

    // A setting's value by name; the name must be one of the kind's.
    double number(QStringView setting) const;
    int whole(QStringView setting) const { return static_cast<int>(number(setting)); }
    AverageType averageType(QStringView setting = u"averageType") const;
};

// The candles as columns of doubles, made once for every study of a call.
struct StudyBars {
    std::vector<double> open, high, low, close, volume;
    std::vector<double> time;  // seconds since 1970, the bar's start
    CandleInterval interval = CandleInterval::oneMinute;

    StudyBars() = default;
    StudyBars(const std::vector<Candle>& candles, CandleInterval interval);
    std::size_t size() const { return close.size(); }
};

}  // namespace tavix
