#pragma once

#include <QByteArray>
#include <QString>

#include <vector>
#include <map>
#include <optional>

namespace tavix {

// The plug's rate table: per key (by the SHA-256 fingerprint of its text), the times of its recent
// requests. A key may ask 120 times in any 60 seconds; the table forgets keys whose requests have
// all aged out once it holds 513 keys or more, so a flood of made-up keys cannot grow it without
// bound.
class PlugRates {
public:
    static constexpr int perMinute = 120;
    static constexpr double windowSeconds = 60;
    static constexpr std::size_t pruneAt = 513;

    // Admits one request of `key` at `now` (seconds), or gives the seconds to wait (at least 1).
    std::optional<int> admit(const QString& key, double now);
    // The refusal's sentence for that wait.
    static QString refusal(int seconds);

    static QByteArray fingerprint(const QString& key);
    std::size_t keys() const { return recent_.size(); }

private:
    // Oldest first. A vector: most keys hold a request or two, and a deque's first block alone is
    // larger than a whole minute of one key's times.
    std::map<QByteArray, std::vector<double>> recent_;
};

}  // namespace tavix
