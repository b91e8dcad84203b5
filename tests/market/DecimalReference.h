#pragma once

// A slow decimal that is right by inspection, to check tavix::Decimal against: long-hand arithmetic
// on strings of digits, the way it is done on paper. Nothing here shares code with Decimal.

#include "market/Decimal.h"

#include <algorithm>
#include <cstddef>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace tavix::test {

// digits (most significant first, no leading zeros, "0" for zero) × 10^exponent, with a sign.
struct RefNumber {
    std::string digits = "0";
    int exponent = 0;
    bool negative = false;

    bool isZero() const { return digits == "0"; }
};

inline std::string trimLeadingZeros(std::string s) {
    std::size_t first = s.find_first_not_of('0');
    return first == std::string::npos ? std::string("0") : s.substr(first);
}

// Compares two unsigned digit strings without leading zeros.
inline int compareDigits(const std::string& a, const std::string& b) {
    if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
    int order = a.compare(b);
    return order < 0 ? -1 : (order > 0 ? 1 : 0);
}

inline std::string addDigits(const std::string& a, const std::string& b) {
    std::string out;
    int carry = 0;
    for (std::size_t i = 0; i < std::max(a.size(), b.size()) || carry != 0; ++i) {
        int x = i < a.size() ? a[a.size() - 1 - i] - '0' : 0;
        int y = i < b.size() ? b[b.size() - 1 - i] - '0' : 0;
        int s = x + y + carry;
        out.push_back(static_cast<char>('0' + s % 10));
        carry = s / 10;
    }
    std::reverse(out.begin(), out.end());
    return trimLeadingZeros(out);
}

// a - b, with a >= b.
inline std::string subtractDigits(const std::string& a, const std::string& b) {
    std::string out;
    int borrow = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        int x = a[a.size() - 1 - i] - '0';
        int y = i < b.size() ? b[b.size() - 1 - i] - '0' : 0;
        int d = x - y - borrow;
        borrow = d < 0 ? 1 : 0;
        out.push_back(static_cast<char>('0' + (d + 10) % 10));
    }
    std::reverse(out.begin(), out.end());
    return trimLeadingZeros(out);
}

inline std::string multiplyDigits(const std::string& a, const std::string& b) {
    // Schoolbook: every digit of a times every digit of b, carries settled afterwards.
    std::vector<int> columns(a.size() + b.size(), 0);
    for (std::size_t i = 0; i < a.size(); ++i) {
        for (std::size_t j = 0; j < b.size(); ++j) columns[i + j + 1] += (a[i] - '0') * (b[j] - '0');
    }
    std::string out(columns.size(), '0');
    int carry = 0;
    for (std::size_t k = columns.size(); k-- > 0;) {
        int v = columns[k] + carry;
        out[k] = static_cast<char>('0' + v % 10);
        carry = v / 10;
    }
    return trimLeadingZeros(out);
}

// Long division: quotient and remainder.
inline std::pair<std::string, std::string> divideDigits(const std::string& a, const std::string& b) {
    std::string quotient, remainder = "0";
    for (char c : a) {
        remainder = trimLeadingZeros(remainder + c);
        int q = 0;
        while (compareDigits(remainder, b) >= 0) {
            remainder = subtractDigits(remainder, b);
            ++q;
        }
        quotient.push_back(static_cast<char>('0' + q));
    }
    return {trimLeadingZeros(quotient), remainder};
}

inline RefNumber makeRef(std::string digits, int exponent, bool negative) {
    RefNumber r{trimLeadingZeros(std::move(digits)), exponent, negative};
    if (r.isZero()) r = RefNumber{};
    return r;
}

// Keeps 38 significant digits, rounding half away from zero.
inline RefNumber round38(RefNumber r) {
    if (r.digits.size() <= 38) return r;
    std::size_t drop = r.digits.size() - 38;
    bool up = r.digits[38] >= '5';
    std::string kept = r.digits.substr(0, 38);
    if (up) kept = addDigits(kept, "1");
    return makeRef(kept, r.exponent + static_cast<int>(drop), r.negative);
}

inline RefNumber refAdd(const RefNumber& a, const RefNumber& b) {
    int e = std::min(a.exponent, b.exponent);
    std::string x = a.isZero() ? "0" : a.digits + std::string(static_cast<std::size_t>(a.exponent - e), '0');
    std::string y = b.isZero() ? "0" : b.digits + std::string(static_cast<std::size_t>(b.exponent - e), '0');
    if (a.negative == b.negative) return round38(makeRef(addDigits(x, y), e, a.negative));
    int order = compareDigits(x, y);
    if (order == 0) return RefNumber{};
    if (order > 0) return round38(makeRef(subtractDigits(x, y), e, a.negative));
    return round38(makeRef(subtractDigits(y, x), e, b.negative));
}

inline RefNumber refNegate(RefNumber r) {
    if (!r.isZero()) r.negative = !r.negative;
    return r;
}

inline RefNumber refMultiply(const RefNumber& a, const RefNumber& b) {
    return round38(
        makeRef(multiplyDigits(a.digits, b.digits), a.exponent + b.exponent, a.negative != b.negative));
}

// 38 significant digits, the last one rounded half away from zero.
inline RefNumber refDivide(const RefNumber& a, const RefNumber& b) {
    if (a.isZero()) return RefNumber{};
    // Enough extra digits that the quotient has more than 38 of them.
    int shift = 40 + static_cast<int>(b.digits.size()) - static_cast<int>(a.digits.size());
    if (shift < 0) shift = 0;
    auto [quotient, remainder] =
        divideDigits(a.digits + std::string(static_cast<std::size_t>(shift), '0'), b.digits);
    return round38(makeRef(quotient, a.exponent - b.exponent - shift, a.negative != b.negative));
}

// Rounds to `scale` digits after the point.
inline RefNumber refRound(const RefNumber& r, int scale, Decimal::Rounding mode) {
    if (r.isZero() || -r.exponent <= scale) return r;
    auto drop = static_cast<std::size_t>(-r.exponent - scale);
    std::string padded = r.digits;
    if (padded.size() <= drop) padded = std::string(drop + 1 - padded.size(), '0') + padded;
    std::string kept = padded.substr(0, padded.size() - drop);
    std::string dropped = padded.substr(padded.size() - drop);
    char first = dropped[0];
    bool restNonZero = dropped.find_first_not_of('0', 1) != std::string::npos;
    bool anyDropped = first != '0' || restNonZero;
    bool lastOdd = (kept.back() - '0') % 2 == 1;
    bool up = false;
    switch (mode) {
        case Decimal::Rounding::plain:
            up = first >= '5';
            break;
        case Decimal::Rounding::down:
            up = false;
            break;
        case Decimal::Rounding::up:
            up = anyDropped;
            break;
        case Decimal::Rounding::bankers:
            up = first > '5' || (first == '5' && (restNonZero || lastOdd));
            break;
    }
    if (up) kept = addDigits(kept, "1");
    return makeRef(kept, -scale, r.negative);
}

inline int refCompare(const RefNumber& a, const RefNumber& b) {
    int signA = a.isZero() ? 0 : (a.negative ? -1 : 1);
    int signB = b.isZero() ? 0 : (b.negative ? -1 : 1);
    if (signA != signB) return signA < signB ? -1 : 1;
    if (signA == 0) return 0;
    int e = std::min(a.exponent, b.exponent);
    int order = compareDigits(a.digits + std::string(static_cast<std::size_t>(a.exponent - e), '0'),
                              b.digits + std::string(static_cast<std::size_t>(b.exponent - e), '0'));
    return signA < 0 ? -order : order;
}

// Plain notation without superfluous zeros.
inline std::string refText(const RefNumber& r) {
    if (r.isZero()) return "0";
    std::string digits = r.digits;
    int exponent = r.exponent;
    while (digits.size() > 1 && digits.back() == '0') {
        digits.pop_back();
        ++exponent;
    }
    std::string body;
    if (exponent >= 0) {
        body = digits + std::string(static_cast<std::size_t>(exponent), '0');
    } else {
        auto places = static_cast<std::size_t>(-exponent);
        if (digits.size() <= places) digits = std::string(places + 1 - digits.size(), '0') + digits;
        body = digits.substr(0, digits.size() - places) + "." + digits.substr(digits.size() - places);
    }
    return (r.negative ? "-" : "") + body;
}

inline UInt128 toMantissa(const std::string& digits) {
    UInt128 m = 0;
    for (char c : digits) m = m * 10 + static_cast<unsigned>(c - '0');
    return m;
}

// The Decimal with the same parts (the digits must number 38 or fewer).
inline Decimal toDecimal(const RefNumber& r) {
    if (r.digits.size() > 38) throw std::invalid_argument("more digits than a Decimal holds: " + r.digits);
    return Decimal::fromParts(toMantissa(r.digits), r.exponent, r.negative);
}

// Random operands: 1 to 38 digits, some all nines (carries), some with trailing zeros (equal values
// under other exponents), now and then zero, and exponents in [minExponent, maxExponent].
class RefGenerator {
public:
    explicit RefGenerator(std::uint64_t seed) : rng_(seed) {}

    int between(int low, int high) { return std::uniform_int_distribution<int>(low, high)(rng_); }

    RefNumber next(int minExponent, int maxExponent) {
        if (between(0, 39) == 0) return RefNumber{};
        auto length = static_cast<std::size_t>(between(0, 2) == 0 ? between(1, 6) : between(1, 38));
        std::string digits;
        int style = between(0, 9);
        for (std::size_t i = 0; i < length; ++i) {
            char c = static_cast<char>('0' + between(0, 9));
            if (style == 0) c = '9';
            if (style == 1 && i > 0 && i * 2 >= length) c = '0';
            if (style == 2 && i + 1 < length && i > 0) c = '0';  // 10...05 and friends
            if (i == 0 && c == '0') c = static_cast<char>('1' + between(0, 8));
            digits.push_back(c);
        }
        return makeRef(digits, between(minExponent, maxExponent), between(0, 1) == 1);
    }

private:
    std::mt19937_64 rng_;
};

}  // namespace tavix::test
