#pragma once

#include <QByteArray>
#include <QString>

#include <deque>
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
    std::map<QByteArray, std::deque<double>> recent_;
};

}  // namespace tavix
