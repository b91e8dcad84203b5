#include "market/Decimal.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace tavix {
namespace {

constexpr std::array<UInt128, 39> makePowers() {
    std::array<UInt128, 39> powers{};
    UInt128 p = 1;
    for (auto& value : powers) {
        value = p;
        p *= 10;
    }
    return powers;
}
constexpr std::array<UInt128, 39> pow10 = makePowers();  // 10^0 ... 10^38
constexpr UInt128 mantissaLimit = pow10[38];             // mantissas stay below this
constexpr std::uint64_t pow10_19 = 10'000'000'000'000'000'000ULL;

constexpr std::array<std::uint64_t, 20> makePowers64() {
    std::array<std::uint64_t, 20> powers{};
    std::uint64_t p = 1;
    for (auto& value : powers) {
        value = p;
        p *= 10;
    }
    return powers;
}
constexpr std::array<std::uint64_t, 20> pow10_64 = makePowers64();  // 10^0 ... 10^19

UInt128 power(int n) {
    return pow10[static_cast<std::size_t>(n)];
}
std::uint64_t power64(int n) {
    return pow10_64[static_cast<std::size_t>(n)];
}
std::uint64_t high64(UInt128 v) {
    return static_cast<std::uint64_t>(v >> 64);
}
std::uint64_t low64(UInt128 v) {
    return static_cast<std::uint64_t>(v);
}
UInt128 join(std::uint64_t high, std::uint64_t low) {
    return (static_cast<UInt128>(high) << 64) | low;
}

// Decimal digits of a value below 2^128: 1 to 39.
int digitCount(UInt128 value) {
    if (value == 0) return 1;
    const int bits =
        high64(value) != 0 ? 128 - __builtin_clzll(high64(value)) : 64 - __builtin_clzll(low64(value));
    // The bit length gives the digit count to within one: t = floor(bits × log10 2), exact for
    // every bit length up to 128.
    const int t = (bits * 1233) >> 12;
    return t + (value >= power(t) ? 1 : 0);
}

// (high:low) / divisor where high < divisor, so the quotient fits in 64 bits: one hardware division
// instead of a call into the runtime's general 128-bit division.
inline std::uint64_t divide128(std::uint64_t high, std::uint64_t low, std::uint64_t divisor,
                               std::uint64_t& remainder) {
#if defined(__x86_64__)
    std::uint64_t quotient;
    __asm__("divq %[divisor]"
            : "=a"(quotient), "=d"(remainder)
            : [divisor] "r"(divisor), "a"(low), "d"(high)
            : "cc");
    return quotient;
#else
    const UInt128 n = join(high, low);
    remainder = static_cast<std::uint64_t>(n % divisor);
    return static_cast<std::uint64_t>(n / divisor);
#endif
}

// (n2:n1:n0) / divisor for a divisor of 2^64 or more, when (n2:n1) < divisor so the quotient fits in
// 64 bits. One step of long division (Knuth's algorithm D with two-limb digits).
std::uint64_t divide192(std::uint64_t n2, std::uint64_t n1, std::uint64_t n0, UInt128 divisor,
                        UInt128& remainder) {
    // Shift so the divisor's top bit is set; the estimate from its high limb is then off by at most 2.
    const int s = __builtin_clzll(high64(divisor));
    const UInt128 d = divisor << s;
    const std::uint64_t d1 = high64(d), d0 = low64(d);
    const std::uint64_t u2 = s == 0 ? n2 : (n2 << s) | (n1 >> (64 - s));
    const std::uint64_t u1 = s == 0 ? n1 : (n1 << s) | (n0 >> (64 - s));
    const std::uint64_t u0 = n0 << s;
    std::uint64_t q;
    UInt128 r;  // (u2:u1) - q × d1
    if (u2 >= d1) {
        q = std::numeric_limits<std::uint64_t>::max();
        r = join(u2, u1) - static_cast<UInt128>(q) * d1;
    } else {
        std::uint64_t r64;
        q = divide128(u2, u1, d1, r64);
        r = r64;
    }
    // q × (d1:d0) <= (u2:u1:u0) exactly when q × d0 <= (r:u0); r past 64 bits settles it.
    while (high64(r) == 0 && static_cast<UInt128>(q) * d0 > join(low64(r), u0)) {
        --q;
        r += d1;
    }
    remainder = (join(u1, u0) - static_cast<UInt128>(q) * d) >> s;  // the true remainder fits in 128 bits
    return q;
}

// A 256-bit unsigned integer, for the intermediate results of multiplication and alignment.
struct Wide {
    std::uint64_t w[4] = {0, 0, 0, 0};  // little-endian limbs

    static Wide from(UInt128 v) {
        Wide r;
        r.w[0] = low64(v);
        r.w[1] = high64(v);
        return r;
    }
    bool fits128() const { return w[2] == 0 && w[3] == 0; }
    UInt128 low128() const { return join(w[1], w[0]); }
    bool isZero() const { return (w[0] | w[1] | w[2] | w[3]) == 0; }
};

Wide multiply(UInt128 a, UInt128 b) {
    const std::uint64_t a0 = low64(a), a1 = high64(a);
    const std::uint64_t b0 = low64(b), b1 = high64(b);
    Wide r;
    UInt128 p00 = static_cast<UInt128>(a0) * b0;
    UInt128 p01 = static_cast<UInt128>(a0) * b1;
    UInt128 p10 = static_cast<UInt128>(a1) * b0;
    UInt128 p11 = static_cast<UInt128>(a1) * b1;
    r.w[0] = low64(p00);
    UInt128 mid = (p00 >> 64) + low64(p01) + low64(p10);
    r.w[1] = low64(mid);
    UInt128 high = (mid >> 64) + (p01 >> 64) + (p10 >> 64) + low64(p11);
    r.w[2] = low64(high);
    r.w[3] = static_cast<std::uint64_t>((high >> 64) + (p11 >> 64));
    return r;
}

Wide add(const Wide& a, const Wide& b) {
    Wide r;
    UInt128 carry = 0;
    for (int i = 0; i < 4; ++i) {
        UInt128 s = static_cast<UInt128>(a.w[i]) + b.w[i] + carry;
        r.w[i] = low64(s);
        carry = s >> 64;
    }
    return r;
}

// a - b, with a >= b.
Wide subtract(const Wide& a, const Wide& b) {
    Wide r;
    std::uint64_t borrow = 0;
    for (int i = 0; i < 4; ++i) {
        std::uint64_t x = a.w[i], y = b.w[i];
        r.w[i] = x - y - borrow;
        borrow = (x < y || (x == y && borrow)) ? 1 : 0;
    }
    return r;
}

int compareWide(const Wide& a, const Wide& b) {
    for (int i = 3; i >= 0; --i) {
        if (a.w[i] != b.w[i]) return a.w[i] < b.w[i] ? -1 : 1;
    }
    return 0;
}

// Divides by a 64-bit number in place and returns the remainder.
std::uint64_t divideSmall(Wide& a, std::uint64_t divisor) {
    std::uint64_t rem = 0;
    for (int i = 3; i >= 0; --i) a.w[i] = divide128(rem, a.w[i], divisor, rem);
    return rem;
}

Wide multiplyWide(const Wide& a, UInt128 b) {
    // a has at most 128 significant bits in every use except alignment, which keeps it under 2^256.
    Wide lowPart = multiply(a.low128(), b);
    if (a.fits128()) return lowPart;
    Wide highPart = multiply(join(a.w[3], a.w[2]), b);
    Wide shifted;
    shifted.w[2] = highPart.w[0];
    shifted.w[3] = highPart.w[1];
    return add(lowPart, shifted);
}

int digitCountWide(const Wide& value) {
    if (value.fits128()) return digitCount(value.low128());
    Wide rest = value;
    int digits = 0;
    while (!rest.fits128()) {
        divideSmall(rest, pow10_19);
        digits += 19;
    }
    return digits + digitCount(rest.low128());
}

bool roundsAway(Decimal::Rounding mode, unsigned droppedDigit, bool sticky, bool lastKeptOdd) {
    switch (mode) {
        case Decimal::Rounding::down:
            return false;
        case Decimal::Rounding::up:
            return droppedDigit != 0 || sticky;
        case Decimal::Rounding::plain:
            return droppedDigit >= 5;
        case Decimal::Rounding::bankers:
            return droppedDigit > 5 || (droppedDigit == 5 && (sticky || lastKeptOdd));
    }
    return false;
}

// Drops `count` low digits, rounding the magnitude as asked. `sticky` says whether non-zero digits
// were already dropped below the value.
Wide dropDigits(Wide value, int count, Decimal::Rounding mode, bool sticky) {
    if (count <= 0) return value;
    if (count > 77) {
        // Everything goes (2^256 has 78 digits, so the first dropped digit is at most 1).
        bool away = mode == Decimal::Rounding::up && (!value.isZero() || sticky);
        return Wide::from(away ? 1 : 0);
    }
    int rest = count - 1;
    while (rest > 0) {
        int step = std::min(rest, 19);
        std::uint64_t r = divideSmall(value, power64(step));
        sticky = sticky || r != 0;
        rest -= step;
    }
    auto digit = static_cast<unsigned>(divideSmall(value, 10));
    if (roundsAway(mode, digit, sticky, (value.w[0] & 1U) != 0)) value = add(value, Wide::from(1));
    return value;
}

// Brings a wide mantissa into 38 digits and the exponent into range, rounding half away from zero
// once, at whichever place is higher: the 38th digit or 10^minExponent.
[[gnu::noinline]] Decimal normalise(Wide mantissa, int exponent, bool negative) {
    int drop = 0;
    if (!mantissa.fits128() || mantissa.low128() >= mantissaLimit) {
        drop = digitCountWide(mantissa) - Decimal::maxDigits;
    }
    if (exponent + drop < Decimal::minExponent) drop = Decimal::minExponent - exponent;
    if (drop > 0) {
        mantissa = dropDigits(mantissa, drop, Decimal::Rounding::plain, false);
        exponent += drop;
        if (!mantissa.fits128() || mantissa.low128() >= mantissaLimit) {
            divideSmall(mantissa, 10);  // rounding carried into a 39th digit: 10^38 -> 10^37
            exponent += 1;
        }
    }
    UInt128 m = mantissa.low128();
    if (m == 0) return Decimal{};
    while (exponent > Decimal::maxExponent && m < pow10[37]) {
        m *= 10;
        exponent -= 1;
    }
    if (exponent > Decimal::maxExponent) throw std::overflow_error("decimal overflow");
    return Decimal::fromParts(m, exponent, negative);
}

constexpr std::array<char, 200> makeDigitPairs() {
    std::array<char, 200> pairs{};
    for (std::size_t i = 0; i < 100; ++i) {
        pairs[2 * i] = static_cast<char>('0' + i / 10);
        pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
    return pairs;
}
constexpr std::array<char, 200> digitPairs = makeDigitPairs();  // "00", "01", ... "99"

// Writes the digits of v right to left, ending just before `end` and at least `width` long (zero
// padded on the left); returns where they start.
char* writeBackwards(char* end, std::uint64_t v, int width) {
    char* p = end;
    while (v >= 100) {
        const auto i = static_cast<std::size_t>(v % 100) * 2;
        v /= 100;
        *--p = digitPairs[i + 1];
        *--p = digitPairs[i];
    }
    if (v >= 10) {
        const auto i = static_cast<std::size_t>(v) * 2;
        *--p = digitPairs[i + 1];
        *--p = digitPairs[i];
    } else {
        *--p = static_cast<char>('0' + v);
    }
    while (end - p < width) *--p = '0';
    return p;
}

// Writes the lowest `count` digits of v right to left, ending just before `end`, and removes them
// from v; returns where they start.
char* writeLowDigits(char* end, std::uint64_t& v, int count) {
    char* p = end;
    for (; count >= 2; count -= 2) {
        const auto i = static_cast<std::size_t>(v % 100) * 2;
        v /= 100;
        *--p = digitPairs[i + 1];
        *--p = digitPairs[i];
    }
    if (count == 1) {
        *--p = static_cast<char>('0' + v % 10);
        v /= 10;
    }
    return p;
}

// The plain text of ±v × 10^exponent for v > 0 without trailing zeros, right to left from `end`.
[[gnu::noinline]] char* writePlain(char* end, std::uint64_t v, int exponent, bool negative) {
    char* p = end;
    for (int i = 0; i < exponent; ++i) *--p = '0';
    if (exponent >= 0) {
        p = writeBackwards(p, v, 1);
    } else if (exponent >= -19 && v >= power64(-exponent)) {
        // The fraction's digits, the point, then the whole part's.
        p = writeLowDigits(p, v, -exponent);
        *--p = '.';
        p = writeBackwards(p, v, 1);
    } else {
        p = writeBackwards(p, v, -exponent);
        *--p = '.';
        *--p = '0';
    }
    if (negative) *--p = '-';
    return p;
}

// The plain text of ±(high × 10^19 + low) × 10^exponent, low having `lowWidth` digits after its
// trailing zeros went, right to left from `end`.
[[gnu::noinline]] char* writeWidePlain(char* end, std::uint64_t high, std::uint64_t low, int lowWidth,
                                       int exponent, bool negative) {
    char* p = end;
    for (int i = 0; i < exponent; ++i) *--p = '0';
    char* const digitsEnd = p;
    p = writeBackwards(p, low, lowWidth);
    p = writeBackwards(p, high, 1);
    if (exponent < 0) {
        const long fraction = -exponent;
        const long count = digitsEnd - p;
        if (fraction < count) {
            const long whole = count - fraction;  // move the whole part left to open the point
            for (long i = 0; i < whole; ++i) p[i - 1] = p[i];
            --p;
            p[whole] = '.';
        } else {
            while (digitsEnd - p < fraction) *--p = '0';
            *--p = '.';
            *--p = '0';
        }
    }
    if (negative) *--p = '-';
    return p;
}

// The eight decimal digits of x < 10^8 as text, most significant first in memory, computed in
// parallel lanes of one 64-bit word (4 + 4 digits, then 2 + 2, then 1 + 1): no loop, no branch.
std::uint64_t eightDigits(std::uint32_t x) {
    const std::uint64_t high4 = x / 10000, low4 = x % 10000;
    const std::uint64_t fours = high4 | (low4 << 32);
    const std::uint64_t high2 = ((fours * 5243) >> 19) & 0x0000007F0000007FULL;  // n / 100 for n < 10^4
    const std::uint64_t twos = high2 | ((fours - high2 * 100) << 16);
    const std::uint64_t high1 = ((twos * 103) >> 10) & 0x000F000F000F000FULL;  // n / 10 for n < 100
    const std::uint64_t ones = high1 | ((twos - high1 * 10) << 8);
    return ones + 0x3030303030303030ULL;
}

// Digits of 0 < v < 10^19.
int digitCount64(std::uint64_t v) {
    const int t = ((64 - __builtin_clzll(v)) * 1233) >> 12;
    return t + (v >= pow10_64[static_cast<std::size_t>(t)] ? 1 : 0);
}

// The plain text of ±v × 10^exponent, for v < 10^16 without trailing zeros, written left to right
// with fixed-size copies (the caller leaves 32 characters of room past the text). Returns the end,
// or nullptr when the text would need more than 16 zeros between the point and the digits.
char* writeShortPlain(char* out, std::uint64_t v, int exponent, bool negative) {
    char digits[48] = {};  // sixteen digits, zero padded, then room for the fixed-size reads
    const std::uint64_t high8 = v / 100'000'000, low8 = v % 100'000'000;
    const std::uint64_t highText = eightDigits(static_cast<std::uint32_t>(high8));
    const std::uint64_t lowText = eightDigits(static_cast<std::uint32_t>(low8));
    std::memcpy(digits, &highText, 8);
    std::memcpy(digits + 8, &lowText, 8);
    const int count = digitCount64(v);
    const char* const first = digits + 16 - count;
    const int fraction = -exponent;
    char* o = out;
    if (negative) *o++ = '-';
    if (exponent >= 0) {
        std::memcpy(o, first, 16);
        o += count;
        std::memset(o, '0', static_cast<std::size_t>(exponent));
        return o + exponent;
    }
    if (fraction < count) {
        std::memcpy(o, first, 16);
        o += count - fraction;
        *o++ = '.';
        std::memcpy(o, digits + 16 - fraction, 16);
        return o + fraction;
    }
    if (fraction - count > 16) return nullptr;
    *o++ = '0';
    *o++ = '.';
    std::memset(o, '0', 16);
    o += fraction - count;
    std::memcpy(o, first, 16);
    return o + count;
}

// Trailing decimal zeros of a non-zero value.
int trailingZeros(UInt128 value) {
    int zeros = 0;
    while (high64(value) != 0 && value % 10 == 0) {
        value /= 10;
        ++zeros;
    }
    if (high64(value) != 0) return zeros;
    std::uint64_t v = low64(value);
    while (v % 10 == 0) {
        v /= 10;
        ++zeros;
    }
    return zeros;
}

// hi + lo (hi with the larger exponent) for what the short path in addSigned leaves: mantissas past
// 64 bits, exponents far apart, sums that need rounding. Kept out of line so the short path stays
// small.
[[gnu::noinline]] Decimal addApart(UInt128 hiMantissa, int hiExponent, bool hiNeg, UInt128 loMantissa,
                                   int loExponent, bool loNeg) {
    // When the larger-exponent side scaled to the other's exponent still fits in 38 digits,
    // everything happens in 128 bits and nothing rounds unless the sum carries.
    const int shift = hiExponent - loExponent;
    if (shift <= Decimal::maxDigits &&
        hiMantissa < pow10[static_cast<std::size_t>(Decimal::maxDigits - shift)]) {
        const UInt128 x = hiMantissa * pow10[static_cast<std::size_t>(shift)], y = loMantissa;
        if (hiNeg == loNeg) {
            const UInt128 sum = x + y;  // under 2 × 10^38
            if (sum < mantissaLimit) return Decimal::fromParts(sum, loExponent, hiNeg);
            return normalise(Wide::from(sum), loExponent, hiNeg);
        }
        if (x == y) return Decimal{};
        return x > y ? Decimal::fromParts(x - y, loExponent, hiNeg)
                     : Decimal::fromParts(y - x, loExponent, loNeg);
    }

    // Otherwise scale the larger-exponent side up, as far as 76 digits, so both share one exponent.
    // Past that the smaller side lies far below the 38 digits kept and only its truncation is
    // needed, with a sticky bit for the borrow.
    const int room = 76 - digitCount(hiMantissa);
    const int k = std::min(shift, room);
    Wide high = Wide::from(hiMantissa);
    for (int left = k; left > 0;) {
        int step = std::min(left, 38);
        high = multiplyWide(high, power(step));
        left -= step;
    }
    const int exponent = hiExponent - k;
    Wide low = Wide::from(loMantissa);
    bool sticky = false;
    for (int left = exponent - loExponent; left > 0 && !low.isZero();) {
        int step = std::min(left, 19);
        sticky = divideSmall(low, power64(step)) != 0 || sticky;
        left -= step;
    }
    // high - (low + a fraction) == (high - low - 1) + (1 - the fraction): borrow one unit. The
    // result has 75 digits or more, so the fraction is far below the rounding digit.
    if (sticky && hiNeg != loNeg) low = add(low, Wide::from(1));
    if (hiNeg == loNeg) return normalise(add(high, low), exponent, hiNeg);
    int order = compareWide(high, low);
    if (order == 0) return Decimal{};
    if (order > 0) return normalise(subtract(high, low), exponent, hiNeg);
    return normalise(subtract(low, high), exponent, loNeg);
}

}  // namespace

Decimal::Decimal(long long value) {
    negative_ = value < 0;
    mantissa_ = negative_ ? static_cast<UInt128>(-(value + 1)) + 1 : static_cast<UInt128>(value);
}

Decimal::Decimal(unsigned long long value) : mantissa_(value) {}

Decimal Decimal::fromParts(UInt128 mantissa, int exponent, bool negative) {
    if (mantissa == 0) return Decimal{};
    if (mantissa >= mantissaLimit || exponent < minExponent || exponent > maxExponent) {
        return normalise(Wide::from(mantissa), exponent, negative);
    }
    return raw(mantissa, exponent, negative);
}

namespace {

// Reads "e-7" and the like at p; false when it is malformed. The value saturates far past the range.
bool readExponent(const char* p, const char* end, long long& exponent) {
    if (p == end) return true;
    if (*p != 'e' && *p != 'E') return false;
    ++p;
    bool negative = false;
    if (p != end && (*p == '+' || *p == '-')) {
        negative = *p == '-';
        ++p;
    }
    if (p == end) return false;
    long long e = 0;
    for (; p != end; ++p) {
        const unsigned digit = static_cast<unsigned>(static_cast<unsigned char>(*p)) - '0';
        if (digit > 9) return false;
        if (e < 1'000'000) e = e * 10 + digit;
    }
    exponent = negative ? -e : e;
    return true;
}

// Reads digits at p into value (which may wrap: callers count the digits); returns where they end.
const char* readDigits(const char* p, const char* end, std::uint64_t& value) {
    for (; p != end; ++p) {
        const unsigned digit = static_cast<unsigned>(static_cast<unsigned char>(*p)) - '0';
        if (digit > 9) break;
        value = value * 10 + digit;
    }
    return p;
}

}  // namespace

std::optional<Decimal> Decimal::parse(std::string_view text) {
    // The usual text has at most 19 digits in all, which 64-bit arithmetic holds whatever they are.
    const char* p = text.data();
    const char* const end = p + text.size();
    bool negative = false;
    if (p != end && (*p == '+' || *p == '-')) {
        negative = *p == '-';
        ++p;
    }
    std::uint64_t value = 0;
    const char* const wholeStart = p;
    p = readDigits(p, end, value);
    const auto wholeDigits = p - wholeStart;
    std::ptrdiff_t fractionDigits = 0;
    if (p != end && *p == '.') {
        const char* const fractionStart = ++p;
        p = readDigits(p, end, value);
        fractionDigits = p - fractionStart;
    }
    if (wholeDigits + fractionDigits == 0) return std::nullopt;
    if (wholeDigits + fractionDigits > 19) return parseLong(text);
    long long exponent = 0;
    if (!readExponent(p, end, exponent)) return std::nullopt;
    return inRange(value, exponent - fractionDigits, negative);
}

// Any number of digits: the first 38 significant ones are kept and the 39th rounds them.
std::optional<Decimal> Decimal::parseLong(std::string_view text) {
    const char* p = text.data();
    const char* const end = p + text.size();
    bool negative = false;
    if (p != end && (*p == '+' || *p == '-')) {
        negative = *p == '-';
        ++p;
    }
    UInt128 mantissa = 0;
    int digits = 0;  // significant digits kept, at most 38
    long long exponent = 0;
    bool sawDigit = false, sawPoint = false, dropping = false;
    unsigned firstDropped = 0;
    for (; p != end; ++p) {
        if (*p == '.') {
            if (sawPoint) return std::nullopt;
            sawPoint = true;
            continue;
        }
        const unsigned digit = static_cast<unsigned>(static_cast<unsigned char>(*p)) - '0';
        if (digit > 9) break;
        sawDigit = true;
        if (digits == 0 && digit == 0) {
            if (sawPoint) --exponent;  // leading zeros after the point only move the exponent
        } else if (digits < maxDigits) {
            mantissa = mantissa * 10 + digit;
            ++digits;
            if (sawPoint) --exponent;
        } else {
            if (!dropping) firstDropped = digit;
            dropping = true;
            if (!sawPoint) ++exponent;
        }
    }
    long long written = 0;
    if (!sawDigit || !readExponent(p, end, written)) return std::nullopt;
    exponent += written;
    if (firstDropped >= 5) {
        ++mantissa;
        if (mantissa == mantissaLimit) {
            mantissa = pow10[37];
            ++exponent;
        }
    }
    return inRange(mantissa, exponent, negative);
}

// The parsed value, or nothing when it cannot be held: trailing zeros or spare digits may bring
// the exponent into range, but a value past the range is refused rather than rounded away.
std::optional<Decimal> Decimal::inRange(UInt128 mantissa, long long exponent, bool negative) {
    if (mantissa == 0) return Decimal{};
    if (exponent < minExponent || exponent > maxExponent) {
        while (exponent < minExponent && mantissa % 10 == 0) {
            mantissa /= 10;
            ++exponent;
        }
        while (exponent > maxExponent && mantissa < pow10[37]) {
            mantissa *= 10;
            --exponent;
        }
        if (exponent < minExponent || exponent > maxExponent) return std::nullopt;
    }
    return raw(mantissa, static_cast<int>(exponent), negative);
}

std::optional<Decimal> Decimal::parse(const QString& text) {
    QByteArray latin = text.toLatin1();
    return parse(std::string_view(latin.constData(), static_cast<std::size_t>(latin.size())));
}

std::optional<Decimal> Decimal::fromDouble(double value) {
    if (!std::isfinite(value)) return std::nullopt;
    char buffer[64];
    // Scientific form: the fixed form would spell out every binary digit of a large whole double
    // (123456789012345683968 rather than 1.2345678901234568e+20).
    const char* end = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::scientific).ptr;
    const std::string_view text(buffer, static_cast<std::size_t>(end - buffer));
    if (auto exact = parse(text)) return exact;
    if (std::fabs(value) >= 1) return std::nullopt;  // past 10^165
    // Digits below 10^-128: round at that place, as arithmetic does with results that small.
    const auto e = text.find('e');
    const auto digits = parse(text.substr(0, e));
    int exponent = 0;
    std::from_chars(buffer + e + 1, end, exponent);  // "e-130": always negative here
    if (!digits) return std::nullopt;
    return fromParts(digits->mantissa_, digits->exponent_ + exponent, digits->negative_);
}

std::string_view Decimal::writeText(char (&buffer)[textCapacity]) const {
    char* const end = buffer + textCapacity;
    if (mantissa_ == 0) {
        end[-1] = '0';
        return {end - 1, 1};
    }
    // The mantissa as a high part and 19 low digits when it passes 64 bits, without trailing zeros.
    int exponent = exponent_;
    std::uint64_t low = low64(mantissa_), high = 0;
    int lowWidth = 1;
    bool big = high64(mantissa_) != 0;
    if (big) {
        high = divide128(high64(mantissa_), low64(mantissa_), pow10_19, low);  // mantissa < 10^38
        lowWidth = 19;
        if (low == 0) {
            low = high;
            big = false;
            lowWidth = 1;
            exponent += 19;
        }
    }
    while (low % 10 == 0) {
        low /= 10;
        ++exponent;
        if (big) --lowWidth;
    }
    if (!big && low < pow10_64[16]) {
        if (char* textEnd = writeShortPlain(buffer, low, exponent, negative_)) {
            return {buffer, static_cast<std::size_t>(textEnd - buffer)};
        }
    }
    char* p = big ? writeWidePlain(end, high, low, lowWidth, exponent, negative_)
                  : writePlain(end, low, exponent, negative_);
    return {p, static_cast<std::size_t>(end - p)};
}

std::string Decimal::toStdString() const {
    char buffer[textCapacity];
    return std::string(writeText(buffer));
}

QString Decimal::toString() const {
    char buffer[textCapacity];
    const std::string_view text = writeText(buffer);
    return QString::fromLatin1(text.data(), static_cast<qsizetype>(text.size()));
}

QString Decimal::toFixed(int places) const {
    Decimal r = rounded(places);
    std::string text = r.abs().toStdString();
    auto point = text.find('.');
    int have = point == std::string::npos ? 0 : static_cast<int>(text.size() - point - 1);
    if (places > 0) {
        if (point == std::string::npos) text.push_back('.');
        text.append(static_cast<std::size_t>(places - have), '0');
    }
    if (r.isNegative()) text.insert(text.begin(), '-');
    return QString::fromLatin1(text);
}

double Decimal::toDouble() const {
    // from_chars ignores the C locale, which Qt sets from the environment (a comma in German).
    char buffer[textCapacity];
    const std::string_view text = writeText(buffer);
    double value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

std::optional<long long> Decimal::toInt64() const {
    if (!isWhole()) return std::nullopt;
    Decimal whole = rounded(0);
    UInt128 m = whole.mantissa_;
    for (int e = whole.exponent_; e > 0; --e) {
        if (m > (static_cast<UInt128>(1) << 64)) return std::nullopt;
        m *= 10;
    }
    const UInt128 limit = static_cast<UInt128>(1) << 63;
    if (negative_ ? m > limit : m >= limit) return std::nullopt;
    if (negative_) return m == limit ? std::numeric_limits<long long>::min() : -static_cast<long long>(m);
    return static_cast<long long>(m);
}

Decimal Decimal::rounded(int scale, Rounding mode) const {
    // Past these scales the answer no longer changes (and -scale stays far from overflow).
    scale = std::clamp(scale, -(maxExponent + maxDigits + 2), -minExponent);
    if (mantissa_ == 0 || -exponent_ <= scale) return *this;
    int drop = -exponent_ - scale;
    Wide m = dropDigits(Wide::from(mantissa_), drop, mode, false);
    return normalise(m, -scale, negative_);
}

bool Decimal::isWhole() const {
    if (exponent_ >= 0 || mantissa_ == 0) return true;
    if (-exponent_ >= maxDigits) return false;
    return mantissa_ % pow10[static_cast<std::size_t>(-exponent_)] == 0;
}

Decimal Decimal::abs() const {
    Decimal d = *this;
    d.negative_ = false;
    return d;
}

int Decimal::scale() const {
    if (mantissa_ == 0 || exponent_ >= 0) return 0;
    return std::max(0, -exponent_ - trailingZeros(mantissa_));
}

Decimal Decimal::operator-() const {
    Decimal d = *this;
    d.negative_ = mantissa_ != 0 && !negative_;
    return d;
}

// a + b, where b's sign is given apart so that subtraction is the same work.
Decimal Decimal::addSigned(const Decimal& a, const Decimal& b, bool bNegative) {
    if (b.mantissa_ == 0) return a;
    if (a.mantissa_ == 0) return raw(b.mantissa_, b.exponent_, bNegative);
    const Decimal* hi = &a;  // the one with the larger exponent
    const Decimal* lo = &b;
    bool hiNeg = a.negative_, loNeg = bNegative;
    if (a.exponent_ < b.exponent_) {
        std::swap(hi, lo);
        std::swap(hiNeg, loNeg);
    }
    const int shift = hi->exponent_ - lo->exponent_;

    // Prices and quantities: both under 2^64 and close in scale, so one 64-bit multiply aligns them.
    // The aligned value may pass 10^38 (not 2^128), and then the result is normalised.
    if (shift <= 19 && high64(hi->mantissa_) == 0 && high64(lo->mantissa_) == 0) {
        const UInt128 x = static_cast<UInt128>(low64(hi->mantissa_)) * power64(shift), y = lo->mantissa_;
        UInt128 result;
        bool negative = hiNeg;
        if (hiNeg == loNeg) {
            result = x + y;
        } else if (x >= y) {
            if (x == y) return Decimal{};
            result = x - y;
        } else {
            result = y - x;
            negative = loNeg;
        }
        if (result < mantissaLimit) return raw(result, lo->exponent_, negative);
        return normalise(Wide::from(result), lo->exponent_, negative);
    }

    return addApart(hi->mantissa_, hi->exponent_, hiNeg, lo->mantissa_, lo->exponent_, loNeg);
}

Decimal operator+(const Decimal& a, const Decimal& b) {
    return Decimal::addSigned(a, b, b.negative_);
}

Decimal operator-(const Decimal& a, const Decimal& b) {
    return Decimal::addSigned(a, b, !b.negative_);
}

Decimal operator*(const Decimal& a, const Decimal& b) {
    const bool negative = a.negative_ != b.negative_;
    const int exponent = a.exponent_ + b.exponent_;
    if (high64(a.mantissa_) == 0 && high64(b.mantissa_) == 0) {
        const UInt128 product = static_cast<UInt128>(low64(a.mantissa_)) * low64(b.mantissa_);
        if (product == 0) return Decimal{};
        if (product < mantissaLimit && exponent >= Decimal::minExponent && exponent <= Decimal::maxExponent) {
            return Decimal::raw(product, exponent, negative);
        }
    }
    return normalise(multiply(a.mantissa_, b.mantissa_), exponent, negative);
}

namespace {

// Long division by a fixed divisor, a chunk of up to 19 quotient digits per step.
class LongDivision {
public:
    explicit LongDivision(UInt128 divisor) : divisor_(divisor), small_(high64(divisor) == 0) {}

    // The whole quotient of a 128-bit dividend.
    UInt128 whole(UInt128 dividend, UInt128& remainder) const {
        if (small_) {
            const std::uint64_t d = low64(divisor_);
            std::uint64_t r;
            if (high64(dividend) == 0) {
                const std::uint64_t q = low64(dividend) / d;
                remainder = low64(dividend) - q * d;
                return q;
            }
            const std::uint64_t qHigh = divide128(0, high64(dividend), d, r);
            const std::uint64_t qLow = divide128(r, low64(dividend), d, r);
            remainder = r;
            return join(qHigh, qLow);
        }
        return divide192(0, high64(dividend), low64(dividend), divisor_, remainder);
    }

    // The next `digits` (at most 19) quotient digits: (remainder × 10^digits) / divisor, leaving the
    // new remainder. The remainder is below the divisor, so the chunk is below 10^digits.
    std::uint64_t next(UInt128& remainder, int digits) const {
        const std::uint64_t scale = power64(digits);
        if (small_) {
            const UInt128 n = remainder * scale;  // below divisor × 10^19 < 2^128
            std::uint64_t r;
            const std::uint64_t q = divide128(high64(n), low64(n), low64(divisor_), r);
            remainder = r;
            return q;
        }
        const Wide n = multiply(remainder, scale);
        return divide192(n.w[2], n.w[1], n.w[0], divisor_, remainder);
    }

    // 2 × remainder >= divisor, without overflow.
    bool atLeastHalf(UInt128 remainder) const { return remainder >= divisor_ - remainder; }

private:
    UInt128 divisor_;
    bool small_;
};

}  // namespace

Decimal operator/(const Decimal& a, const Decimal& b) {
    if (b.mantissa_ == 0) throw std::domain_error("division by zero");
    if (a.mantissa_ == 0) return Decimal{};
    const bool negative = a.negative_ != b.negative_;
    int exponent = a.exponent_ - b.exponent_;
    const LongDivision division(b.mantissa_);
    auto finish = [&](UInt128 q) { return Decimal::fromParts(q, exponent, negative); };

    // Whole quotient first; when it leaves no remainder the result is exact and short.
    UInt128 remainder;
    UInt128 q = division.whole(a.mantissa_, remainder);
    if (remainder == 0) return finish(q);
    // Then 19 digits at a time up to 38 significant digits, stopping early when the division ends.
    int digits = q == 0 ? 0 : digitCount(q);
    while (digits < Decimal::maxDigits) {
        int step = digits == 0 ? 19 : std::min(19, Decimal::maxDigits - digits);
        std::uint64_t chunk = division.next(remainder, step);
        if (remainder == 0) {
            while (chunk % 10 == 0) {  // the chunk is non-zero: the remainder before it was
                chunk /= 10;
                --step;
            }
        }
        q = q * power(step) + chunk;
        exponent -= step;
        if (remainder == 0) return finish(q);
        digits = q == 0 ? 0 : (digits == 0 ? digitCount(q) : digits + step);
    }
    // 38 digits and a remainder. Below 10^-128 the digits themselves are rounded at that place.
    if (exponent < Decimal::minExponent) return normalise(Wide::from(q), exponent, negative);
    if (division.atLeastHalf(remainder)) {
        ++q;
        if (q == mantissaLimit) {
            q = pow10[37];
            ++exponent;
        }
    }
    return finish(q);
}

int Decimal::compareMagnitude(const Decimal& a, const Decimal& b) {
    if (a.mantissa_ == 0 || b.mantissa_ == 0) {
        return (a.mantissa_ != 0) - (b.mantissa_ != 0);
    }
    if (a.exponent_ == b.exponent_)
        return a.mantissa_ < b.mantissa_ ? -1 : (a.mantissa_ > b.mantissa_ ? 1 : 0);
    int adjustedA = digitCount(a.mantissa_) + a.exponent_;
    int adjustedB = digitCount(b.mantissa_) + b.exponent_;
    if (adjustedA != adjustedB) return adjustedA < adjustedB ? -1 : 1;
    // Same magnitude of ten: scaling the one with the larger exponent keeps it within 38 digits.
    UInt128 ma = a.mantissa_, mb = b.mantissa_;
    if (a.exponent_ > b.exponent_) {
        ma *= pow10[static_cast<std::size_t>(a.exponent_ - b.exponent_)];
    } else {
        mb *= pow10[static_cast<std::size_t>(b.exponent_ - a.exponent_)];
    }
    return ma < mb ? -1 : (ma > mb ? 1 : 0);
}

int Decimal::compare(const Decimal& a, const Decimal& b) {
    int signA = a.signum(), signB = b.signum();
    if (signA != signB) return signA < signB ? -1 : 1;
    int magnitude = compareMagnitude(a, b);
    return signA < 0 ? -magnitude : magnitude;
}

std::size_t Decimal::hash() const {
    if (mantissa_ == 0) return 0;
    // Hash the value without trailing zeros, so 1.5 and 1.50 agree.
    const int zeros = trailingZeros(mantissa_);
    UInt128 m = mantissa_;
    for (int left = zeros; left > 0;) {
        const int step = std::min(left, 19);
        m /= power64(step);
        left -= step;
    }
    const int e = exponent_ + zeros;
    std::size_t h = std::hash<std::uint64_t>{}(low64(m));
    h ^= std::hash<std::uint64_t>{}(high64(m)) + 0x9e3779b97f4a7c15ULL + (h << 6) + (h >> 2);
    h ^= std::hash<int>{}(e) + 0x9e3779b97f4a7c15ULL + (h << 6) + (h >> 2);
    return negative_ ? ~h : h;
}

}  // namespace tavix
