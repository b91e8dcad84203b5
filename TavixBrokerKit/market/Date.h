#pragma once

#include <QString>

#include <compare>
#include <optional>

namespace tavix {

// An absolute instant: seconds since 1970-01-01 00:00 UTC. Arithmetic is in seconds.
class Date {
public:
    constexpr Date() = default;
    constexpr explicit Date(double secondsSince1970) : seconds_(secondsSince1970) {}

    static Date now();
    static constexpr Date fromSeconds(double secondsSince1970) { return Date(secondsSince1970); }

    // Reads ISO 8601 / RFC 3339 instants: "2026-03-02T14:30:00Z", with any number of fraction
    // digits (nine from some services) and a "Z" or "+hh:mm" offset. A date alone means its UTC
    // midnight. Anything else gives nothing.
    static std::optional<Date> parseIso(QStringView text);

    // "2026-03-02T14:30:00Z", with as many fraction digits as the instant needs (at most 6).
    // Empty for an instant outside the years 0001-9999, or not a number.
    QString toIso() const;

    constexpr double secondsSince1970() const { return seconds_; }

    friend constexpr Date operator+(Date d, double seconds) { return Date(d.seconds_ + seconds); }
    friend constexpr Date operator-(Date d, double seconds) { return Date(d.seconds_ - seconds); }
    friend constexpr double operator-(Date a, Date b) { return a.seconds_ - b.seconds_; }
    Date& operator+=(double seconds) {
        seconds_ += seconds;
        return *this;
    }
    friend constexpr bool operator==(Date a, Date b) = default;
    friend constexpr auto operator<=>(Date a, Date b) = default;

private:
    double seconds_ = 0;
};

}  // namespace tavix
