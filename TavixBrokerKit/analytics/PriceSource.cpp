#include "analytics/PriceSource.h"

namespace tavix {

QStringList priceSourceWords() {
    QStringList words;
    for (const PriceSource source : allCases<PriceSource>()) words << enumText(source);
    return words;
}

StudySetting priceSourceSetting() {
    return StudySetting::choice(QStringLiteral("source"), QStringLiteral("Source"), priceSourceWords(),
                                static_cast<int>(PriceSource::close));
}

std::span<const double> priceColumn(const StudyBars& bars, PriceSource source, std::vector<double>& storage) {
    switch (source) {
        case PriceSource::close:
            return bars.close;
        case PriceSource::open:
            return bars.open;
        case PriceSource::high:
            return bars.high;
        case PriceSource::low:
            return bars.low;
        default:
            break;
    }
    const std::size_t n = bars.size();
    storage.resize(n);
    if (source == PriceSource::hl2) {
        for (std::size_t i = 0; i < n; ++i) storage[i] = (bars.high[i] + bars.low[i]) / 2;
    } else if (source == PriceSource::hlc3) {
        for (std::size_t i = 0; i < n; ++i) storage[i] = (bars.high[i] + bars.low[i] + bars.close[i]) / 3;
    } else {
        for (std::size_t i = 0; i < n; ++i)
            storage[i] = (bars.open[i] + bars.high[i] + bars.low[i] + bars.close[i]) / 4;
    }
    return storage;
}

PriceSource priceSource(const StudyRun& run) {
    return static_cast<PriceSource>(run.whole(u"source"));
}

}  // namespace tavix
