#include "analytics/StudyCatalog.h"

#include <charconv>
#include <cmath>
#include <exception>
#include <optional>

namespace tavix {

namespace {

std::vector<StudyKind> allKinds() {
    std::vector<StudyKind> kinds;
    for (auto group : {movingAverageStudies, bandStudies, trendStudies, patternStudies, momentumStudies,
                       volumeStudies, volatilityStudies}) {
        std::vector<StudyKind> more = group();
        kinds.insert(kinds.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
    }
    return kinds;
}

// The shortest plain text that reads back as the same number: 0.5, 20, 1000000.
QString shortest(double value) {
    char buffer[400];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
    if (result.ec != std::errc()) return QString::number(value);
    return QString::fromLatin1(buffer, static_cast<qsizetype>(result.ptr - buffer));
}

QString range(const StudySetting& setting) {
    return QStringLiteral("from ") + shortest(setting.min) + QStringLiteral(" to ") + shortest(setting.max);
}

// A number typed as text (a query string's "9") reads as that number.
std::optional<double> numberIn(const QString& text) {
    bool ok = false;
    const double value = text.trimmed().toDouble(&ok);
    if (!ok) return std::nullopt;
    return value;
}

// Settles one input against its setting: the value to run with, or the sentence that refuses it.
std::variant<double, QString> settleInput(const StudySetting& setting,
                                          const std::variant<double, QString>& input) {
    const QString& name = setting.setting;
    if (setting.type == StudySetting::Type::choice) {
        const QString notAChoice = name + QStringLiteral(" is one of ") +
                                   setting.choices.join(QStringLiteral(", ")) + QStringLiteral(".");
        std::optional<double> place;
        if (const auto* word = std::get_if<QString>(&input)) {
            const qsizetype found = setting.choices.indexOf(*word);
            if (found >= 0) return static_cast<double>(found);
            place = numberIn(*word);
        } else {
            place = std::get<double>(input);
        }
        if (!place || !std::isfinite(*place) || *place != std::floor(*place) || *place < 0 ||
            *place >= static_cast<double>(setting.choices.size())) {
            return notAChoice;
        }
        return *place;
    }

    const QString wholeSentence =
        name + QStringLiteral(" is a whole number, ") + range(setting) + QStringLiteral(".");
    const QString rangeSentence = name + QStringLiteral(" is ") + range(setting) + QStringLiteral(".");
    const bool whole = setting.type == StudySetting::Type::whole;
    std::optional<double> value;
    if (const auto* text = std::get_if<QString>(&input)) {
        value = numberIn(*text);
    } else {
        value = std::get<double>(input);
    }
    if (!value || !std::isfinite(*value)) return whole ? wholeSentence : rangeSentence;
    if (whole && *value != std::floor(*value)) return wholeSentence;
    if (*value < setting.min || *value > setting.max) return rangeSentence;
    return *value;
}

}  // namespace

const std::vector<StudyKind>& StudyCatalog::kinds() {
    static const std::vector<StudyKind> kinds = allKinds();
    return kinds;
}

const StudyKind* StudyCatalog::find(QStringView word) {
    for (const StudyKind& kind : kinds()) {
        if (kind.word == word) return &kind;
    }
    return nullptr;
}

std::variant<StudyRun, QString> StudyCatalog::settle(const StudyRequest& request) {
    const StudyKind* kind = find(request.study);
    if (kind == nullptr) {
        QStringList words;
        for (const StudyKind& k : kinds()) words << k.word;
        return request.study + QStringLiteral(" isn't a study. Studies: ") +
               words.join(QStringLiteral(", ")) + QStringLiteral(".");
    }

    StudyRun run;
    run.kind = kind;
    run.label = request.label.value_or(kind->word);
    run.settings.reserve(kind->settings.size());
    for (const StudySetting& setting : kind->settings) run.settings.push_back(setting.defaultValue);

    for (const auto& [name, input] : request.inputs) {
        const StudySetting* setting = kind->setting(name);
        if (setting == nullptr) {
            return kind->word + QStringLiteral(" has no setting called ") + name + QStringLiteral(".");
        }
        auto settled = settleInput(*setting, input);
        if (auto* sentence = std::get_if<QString>(&settled)) return std::move(*sentence);
        run.settings[static_cast<std::size_t>(setting - kind->settings.data())] = std::get<double>(settled);
    }
    return run;
}

std::vector<std::variant<StudyRun, QString>> StudyCatalog::run(const std::vector<Candle>& candles,
                                                               CandleInterval interval,
                                                               const std::vector<StudyRequest>& requests) {
    std::vector<std::variant<StudyRun, QString>> answers;
    answers.reserve(requests.size());
    std::optional<StudyBars> bars;
    for (const StudyRequest& request : requests) {
        auto settled = settle(request);
        if (auto* run = std::get_if<StudyRun>(&settled)) {
            if (!bars) bars.emplace(candles, interval);
            try {
                run->kind->compute(*bars, *run);
            } catch (const std::exception& error) {
                // Only running out of memory should get here; the other studies still get their turn.
                QString sentence = run->kind->title + QStringLiteral(" couldn't be worked out: ") +
                                   QString::fromLocal8Bit(error.what()) + QStringLiteral(".");
                settled = std::move(sentence);
            }
        }
        answers.push_back(std::move(settled));
    }
    return answers;
}

}  // namespace tavix
