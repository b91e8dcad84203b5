#include "bots/PlugRates.h"

#include <QCryptographicHash>

#include <algorithm>
#include <cmath>

namespace tavix {

QByteArray PlugRates::fingerprint(const QString& key) {
    return QCryptographicHash::hash(key.toUtf8(), QCryptographicHash::Sha256);
}

std::optional<int> PlugRates::admit(const QString& key, double now) {
    auto& times = recent_[fingerprint(key)];
    const auto kept = std::find_if(times.begin(), times.end(), [&](double at) { return now - at < windowSeconds; });
    times.erase(times.begin(), kept);
    if (times.size() >= static_cast<std::size_t>(perMinute)) {
        const double oldestAge = now - times.front();
        return std::max(1, static_cast<int>(std::ceil(windowSeconds - oldestAge)));
    }
    times.push_back(now);
    if (recent_.size() >= pruneAt) {
        std::erase_if(recent_, [&](const auto& entry) {
            return std::all_of(entry.second.begin(), entry.second.end(),
                               [&](double at) { return now - at >= windowSeconds; });
        });
    }
    return std::nullopt;
}

QString PlugRates::refusal(int seconds) {
    return QStringLiteral("Too many requests: a bot may ask ") + QString::number(perMinute) +
           QStringLiteral(" times a minute. Try again in ") + QString::number(seconds) + QStringLiteral(" seconds.");
}

}  // namespace tavix
