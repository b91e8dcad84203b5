#pragma once

#include "analytics/Study.h"

#include <variant>
#include <vector>

namespace tavix {

// Every study Tavix works out, in the order the chart's menu and the bots' catalogue list them.
class StudyCatalog {
public:
    static const std::vector<StudyKind>& kinds();
    static const StudyKind* find(QStringView word);

    // Settles a request against its kind: defaults for what is not given, and a plain sentence for
    // an unknown study, an unknown setting, a fraction where a whole number is wanted, a value
    // outside the setting's range, or a word that is not one of its choices. Never clamps.
    static std::variant<StudyRun, QString> settle(const StudyRequest& request);

    // Works out every request on the same bars. Throws nothing: a request that does not settle gives
    // its sentence instead of a run.
    static std::vector<std::variant<StudyRun, QString>> run(const std::vector<Candle>& candles,
                                                            CandleInterval interval,
                                                            const std::vector<StudyRequest>& requests);
};

// Each group's kinds, in their order; the catalogue lists the groups in this order.
std::vector<StudyKind> movingAverageStudies();
std::vector<StudyKind> bandStudies();
std::vector<StudyKind> trendStudies();
std::vector<StudyKind> patternStudies();
std::vector<StudyKind> momentumStudies();
std::vector<StudyKind> volumeStudies();
std::vector<StudyKind> volatilityStudies();

}  // namespace tavix
