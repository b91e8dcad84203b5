#pragma once

#include <algorithm>
#include <cmath>
#include <optional>

namespace tavix::exact {

// Prices are decimals, nearly always with two places, but the studies work in doubles, where two
// equal sums or differences of prices can come out an ulp apart and a tie goes either way. Where
// two such doubles are close enough for rounding to have decided their order (`nearTie`), the
// prices are compared again as whole numbers of hundred-millionths, exactly; elsewhere the doubles
// are trusted, so the exact work is done only on the rare near ties. Prices too large or with
// more places than that have no such number, and the doubles decide.

// Whether x and y, worked out from prices no larger than `scale`, are too close for their doubles
// to be trusted: each price is off by up to half an ulp of itself, whatever the size of x and y.
inline bool nearTie(double x, double y, double scale) {
    return std::abs(x - y) <= 1e-12 * scale;
}

inline std::optional<long long> units(double price) {
    constexpr double largest = 1e7;  // past this, price * 1e8 no longer lands within 0.5 of the units
    if (!(std::abs(price) < largest)) return std::nullopt;
    const double scaled = price * 1e8;
    const double whole = std::nearbyint(scaled);
    if (std::abs(scaled - whole) > 1e-3) return std::nullopt;
    return static_cast<long long>(whole);
}

// The sum of three prices in units, when each has them.
inline std::optional<long long> sum(double a, double b, double c) {
    const auto x = units(a), y = units(b), z = units(c);
    if (!x || !y || !z) return std::nullopt;
    return *x + *y + *z;
}

inline int sign(long long v) {
    return v < 0 ? -1 : v > 0 ? 1 : 0;
}
inline int sign(double v) {
    return v < 0 ? -1 : v > 0 ? 1 : 0;
}

// How a + b + c compares with d + e + f: -1, 0 or 1.
inline int compareSums(double a, double b, double c, double d, double e, double f) {
    const double x = a + b + c, y = d + e + f;
    if (!nearTie(x, y, std::max({std::abs(a), std::abs(b), std::abs(c), std::abs(d), std::abs(e), std::abs(f)})))
        return sign(x - y);
    const auto left = sum(a, b, c), right = sum(d, e, f);
    if (left && right) return sign(*left - *right);
    return sign(x - y);
}

// How a − b compares with c − d: -1, 0 or 1.
inline int compareDifferences(double a, double b, double c, double d) {
    const double x = a - b, y = c - d;
    if (!nearTie(x, y, std::max({std::abs(a), std::abs(b), std::abs(c), std::abs(d)}))) return sign(x - y);
    const auto ua = units(a), ub = units(b), uc = units(c), ud = units(d);
    if (ua && ub && uc && ud) return sign((*ua - *ub) - (*uc - *ud));
    return sign(x - y);
}

}  // namespace tavix::exact
