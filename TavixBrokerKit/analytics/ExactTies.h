#pragma once

#include <cmath>
#include <optional>

namespace tavix::exact {

// Prices are decimals, nearly always with two places, but the studies work in doubles, where two
// equal sums or differences of prices can come out an ulp apart and a tie goes either way. A
// price as a whole number of hundred-millionths lets ties be decided exactly. Prices too large or
// with more places than that have no such number, and are compared as doubles.
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

// -1, 0 or 1 as `a` is below, equal to or above `b`: exactly when both have units, else as the
// doubles `x` and `y` that stand for them.
inline int compare(std::optional<long long> a, std::optional<long long> b, double x, double y) {
    if (a && b) return *a < *b ? -1 : *a > *b ? 1 : 0;
    return x < y ? -1 : x > y ? 1 : 0;
}

}  // namespace tavix::exact
