#include "market/Decimal.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
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
constexpr UInt128 mantissaLimit = pow10[38];              // mantissas stay below this
constexpr std::uint64_t pow10_19 = 10'000'000'000'000'000'000ULL;

int digitCount(UInt128 value) {
    if (value == 0) return 1;
    // Start near the answer using the bit length, then step.
    int bits = 128 - (static_cast<std::uint64_t>(value >> 64) != 0
                          ? __builtin_clzll(static_cast<std::uint64_t>(value >> 64))
                          : 64 + __builtin_clzll(static_cast<std::uint64_t>(value)));
    int guess = (bits * 1233) >> 12;  // ≈ bits × log10(2)
    if (guess > 38) guess = 38;
    while (guess < 38 && value >= pow10[static_cast<std::size_t>(guess)]) ++guess;
    while (guess > 1 && value < pow10[static_cast<std::size_t>(guess - 1)]) --guess;
    return guess;
}

// A 256-bit unsigned integer, for the intermediate results of multiplication, alignment and division.
struct Wide {
    std::uint64_t w[4] = {0, 0, 0, 0};  // little-endian limbs

    static Wide from(UInt128 v) {
        Wide r;
        r.w[0] = static_cast<std::uint64_t>(v);
        r.w[1] = static_cast<std::uint64_t>(v >> 64);
        return r;
    }
    bool fits128() const { return w[2] == 0 && w[3] == 0; }
    UInt128 low128() const { return (static_cast<UInt128>(w[1]) << 64) | w[0]; }
    bool isZero() const { return (w[0] | w[1] | w[2] | w[3]) == 0; }
};

Wide multiply(UInt128 a, UInt128 b) {
    const std::uint64_t a0 = static_cast<std::uint64_t>(a), a1 = static_cast<std::uint64_t>(a >> 64);
    const std::uint64_t b0 = static_cast<std::uint64_t>(b), b1 = static_cast<std::uint64_t>(b >> 64);
    Wide r;
    UInt128 p00 = static_cast<UInt128>(a0) * b0;
    UInt128 p01 = static_cast<UInt128>(a0) * b1;
    UInt128 p10 = static_cast<UInt128>(a1) * b0;
    UInt128 p11 = static_cast<UInt128>(a1) * b1;
    r.w[0] = static_cast<std::uint64_t>(p00);
    UInt128 mid = (p00 >> 64) + static_cast<std::uint64_t>(p01) + static_cast<std::uint64_t>(p10);
    r.w[1] = static_cast<std::uint64_t>(mid);
    UInt128 high = (mid >> 64) + (p01 >> 64) + (p10 >> 64) + static_cast<std::uint64_t>(p11);
    r.w[2] = static_cast<std::uint64_t>(high);
    r.w[3] = static_cast<std::uint64_t>((high >> 64) + (p11 >> 64));
    return r;
}

Wide add(const Wide& a, const Wide& b) {
    Wide r;
    UInt128 carry = 0;
    for (int i = 0; i < 4; ++i) {
        UInt128 s = static_cast<UInt128>(a.w[i]) + b.w[i] + carry;
        r.w[i] = static_cast<std::uint64_t>(s);
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
        std::uint64_t d = x - y - borrow;
        borrow = (x < y || (x == y && borrow)) ? 1 : 0;
        r.w[i] = d;
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
    UInt128 rem = 0;
    for (int i = 3; i >= 0; --i) {
        UInt128 cur = (rem << 64) | a.w[i];
        a.w[i] = static_cast<std::uint64_t>(cur / divisor);
        rem = cur % divisor;
    }
    return static_cast<std::uint64_t>(rem);
}

// Divides by any non-zero 128-bit number; the remainder is returned through `remainder`.
Wide divideWide(const Wide& a, UInt128 divisor, UInt128& remainder) {
    if ((divisor >> 64) == 0) {
        Wide q = a;
        remainder = divideSmall(q, static_cast<std::uint64_t>(divisor));
        return q;
    }
    // Shift-subtract long division: the divisor is over 2^64, so the quotient is under 2^192.
    Wide q;
    UInt128 rem = 0;
    for (int bit = 255; bit >= 0; --bit) {
        bool top = (rem >> 127) != 0;
        rem = (rem << 1) | ((a.w[bit / 64] >> (bit % 64)) & 1U);
        if (top || rem >= divisor) {
            rem -= divisor;
            q.w[bit / 64] |= (std::uint64_t{1} << (bit % 64));
        }
    }
    remainder = rem;
    return q;
}

Wide multiplyWide(const Wide& a, UInt128 b) {
    // a has at most 128 significant bits in every use except alignment, which keeps it under 2^256.
    Wide lowPart = multiply(a.low128(), b);
    if (a.fits128()) return lowPart;
    Wide highPart = multiply((static_cast<UInt128>(a.w[3]) << 64) | a.w[2], b);
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

bool roundsAway(Decimal::Rounding mode, bool negative, unsigned droppedDigit, bool sticky, bool lastKeptOdd) {
    (void)negative;
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

// Drops `count` low digits, rounding as asked. `sticky` says whether non-zero digits were already
// dropped below the value.
Wide dropDigits(Wide value, int count, Decimal::Rounding mode, bool negative, bool sticky) {
    if (count <= 0) return value;
    if (count > 77) {
        // Everything goes; the value was under one unit of the kept place.
        bool away = mode == Decimal::Rounding::up && (!value.isZero() || sticky);
        return Wide::from(away ? 1 : 0);
    }
    int rest = count - 1;
    while (rest > 0) {
        int step = rest > 19 ? 19 : rest;
        std::uint64_t r = divideSmall(value, static_cast<std::uint64_t>(pow10[static_cast<std::size_t>(step)]));
        sticky = sticky || r != 0;
        rest -= step;
    }
    unsigned digit = static_cast<unsigned>(divideSmall(value, 10));
    if (roundsAway(mode, negative, digit, sticky, (value.w[0] & 1U) != 0)) {
        value = add(value, Wide::from(1));
    }
    return value;
}

}  // namespace

// Brings a wide mantissa into 38 digits and the exponent into range, rounding as asked.
static Decimal normalise(Wide mantissa, int exponent, bool negative, bool sticky = false,
                         Decimal::Rounding mode = Decimal::Rounding::plain) {
    if (!mantissa.fits128() || mantissa.low128() >= mantissaLimit || sticky) {
        int excess = digitCountWide(mantissa) - Decimal::maxDigits;
        if (excess > 0) {
            mantissa = dropDigits(mantissa, excess, mode, negative, sticky);
            exponent += excess;
            if (!mantissa.fits128() || mantissa.low128() >= mantissaLimit) {
                divideSmall(mantissa, 10);  // rounding carried into a 39th digit: 10^38 -> 10^37
                exponent += 1;
            }
        }
    }
    if (exponent < Decimal::minExponent) {
        mantissa = dropDigits(mantissa, Decimal::minExponent - exponent, mode, negative, sticky);
        exponent = Decimal::minExponent;
    }
    UInt128 m = mantissa.low128();
    while (exponent > Decimal::maxExponent && m != 0 && m < pow10[37]) {
        m *= 10;
        exponent -= 1;
    }
    if (m == 0) return Decimal{};
    if (exponent > Decimal::maxExponent) throw std::overflow_error("decimal overflow");
    return Decimal::fromParts(m, exponent, negative);
}

Decimal::Decimal(long long value) {
    negative_ = value < 0;
    mantissa_ = negative_ ? static_cast<UInt128>(-(value + 1)) + 1 : static_cast<UInt128>(value);
}

Decimal::Decimal(unsigned long long value) : mantissa_(value) {}

Decimal Decimal::fromParts(UInt128 mantissa, int exponent, bool negative) {
    Decimal d;
    d.mantissa_ = mantissa;
    d.exponent_ = mantissa == 0 ? 0 : exponent;
    d.negative_ = mantissa != 0 && negative;
    if (mantissa >= mantissaLimit || exponent < minExponent || exponent > maxExponent) {
        return normalise(Wide::from(mantissa), exponent, negative);
    }
    return d;
}

std::optional<Decimal> Decimal::parse(std::string_view text) {
    std::size_t i = 0;
    const std::size_t n = text.size();
    bool negative = false;
    if (i < n && (text[i] == '+' || text[i] == '-')) {
        negative = text[i] == '-';
        ++i;
    }
    UInt128 mantissa = 0;
    int digits = 0;      // significant digits kept
    int exponent = 0;
    bool sawDigit = false, sawPoint = false;
    unsigned firstDropped = 0;
    bool sticky = false;
    bool dropping = false;
    for (; i < n; ++i) {
        char c = text[i];
        if (c == '.') {
            if (sawPoint) return std::nullopt;
            sawPoint = true;
            continue;
        }
        if (c < '0' || c > '9') break;
        sawDigit = true;
        unsigned digit = static_cast<unsigned>(c - '0');
        if (digits == 0 && digit == 0) {
            if (sawPoint) --exponent;  // leading zeros after the point only move the exponent
            continue;
        }
        if (digits < maxDigits) {
            mantissa = mantissa * 10 + digit;
            ++digits;
            if (sawPoint) --exponent;
        } else {
            // Past 38 digits: remember the first dropped digit and whether anything else was non-zero.
            if (!dropping) {
                firstDropped = digit;
                dropping = true;
            } else if (digit != 0) {
                sticky = true;
            }
            if (!sawPoint) ++exponent;
        }
    }
    if (!sawDigit) return std::nullopt;
    if (i < n) {
        if (text[i] != 'e' && text[i] != 'E') return std::nullopt;
        ++i;
        bool expNegative = false;
        if (i < n && (text[i] == '+' || text[i] == '-')) {
            expNegative = text[i] == '-';
            ++i;
        }
        if (i >= n) return std::nullopt;
        long long e = 0;
        for (; i < n; ++i) {
            char c = text[i];
            if (c < '0' || c > '9') return std::nullopt;
            e = e * 10 + (c - '0');
            if (e > 100000) return std::nullopt;
        }
        exponent += static_cast<int>(expNegative ? -e : e);
    }
    if (dropping && roundsAway(Rounding::plain, negative, firstDropped, sticky, (mantissa & 1U) != 0)) {
        mantissa += 1;
        if (mantissa >= mantissaLimit) {
            mantissa /= 10;
            ++exponent;
        }
    }
    if (mantissa == 0) return Decimal{};
    int adjusted = exponent + digitCount(mantissa);
    if (adjusted > maxExponent + maxDigits || exponent < minExponent - maxDigits) return std::nullopt;
    try {
        return normalise(Wide::from(mantissa), exponent, negative);
    } catch (const std::overflow_error&) {
        return std::nullopt;
    }
}

std::optional<Decimal> Decimal::parse(const QString& text) {
    QByteArray latin = text.toLatin1();
    return parse(std::string_view(latin.constData(), static_cast<std::size_t>(latin.size())));
}

std::optional<Decimal> Decimal::fromDouble(double value) {
    if (!std::isfinite(value)) return std::nullopt;
    char buffer[64];
    auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return parse(std::string_view(buffer, static_cast<std::size_t>(result.ptr - buffer)));
}

std::string Decimal::toStdString() const {
    if (mantissa_ == 0) return "0";
    // Digits of the mantissa without trailing zeros.
    char digits[48];
    char* end;
    if ((mantissa_ >> 64) == 0) {
        end = std::to_chars(digits, digits + sizeof digits, static_cast<std::uint64_t>(mantissa_)).ptr;
    } else {
        UInt128 high = mantissa_ / pow10_19;
        auto low = static_cast<std::uint64_t>(mantissa_ % pow10_19);
        end = std::to_chars(digits, digits + sizeof digits, static_cast<std::uint64_t>(high)).ptr;
        char lowText[20];
        char* lowEnd = std::to_chars(lowText, lowText + sizeof lowText, low).ptr;
        auto lowLength = lowEnd - lowText;
        for (auto pad = lowLength; pad < 19; ++pad) *end++ = '0';
        for (char* p = lowText; p < lowEnd; ++p) *end++ = *p;
    }
    int exponent = exponent_;
    while (end - digits > 1 && end[-1] == '0') {
        --end;
        ++exponent;
    }
    const auto count = static_cast<int>(end - digits);
    std::string out;
    out.reserve(static_cast<std::size_t>(count + (exponent < 0 ? -exponent : exponent) + 3));
    if (negative_) out.push_back('-');
    if (exponent >= 0) {
        out.append(digits, end);
        out.append(static_cast<std::size_t>(exponent), '0');
    } else if (-exponent < count) {
        const auto whole = static_cast<std::size_t>(count + exponent);
        out.append(digits, whole);
        out.push_back('.');
        out.append(digits + whole, end);
    } else {
        out.append("0.");
        out.append(static_cast<std::size_t>(-exponent - count), '0');
        out.append(digits, end);
    }
    return out;
}

QString Decimal::toString() const { return QString::fromLatin1(toStdString()); }

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

double Decimal::toDouble() const { return std::strtod(toStdString().c_str(), nullptr); }

std::optional<long long> Decimal::toInt64() const {
    if (!isWhole()) return std::nullopt;
    Decimal whole = rounded(0);
    UInt128 m = whole.mantissa_;
    for (int e = whole.exponent_; e > 0; --e) {
        if (m > (static_cast<UInt128>(1) << 64)) return std::nullopt;
        m *= 10;
    }
    for (int e = whole.exponent_; e < 0; ++e) m /= 10;
    const UInt128 limit = static_cast<UInt128>(1) << 63;
    if (negative_ ? m > limit : m >= limit) return std::nullopt;
    if (negative_) return m == limit ? std::numeric_limits<long long>::min() : -static_cast<long long>(m);
    return static_cast<long long>(m);
}

Decimal Decimal::rounded(int scale, Rounding mode) const {
    if (mantissa_ == 0 || -exponent_ <= scale) return *this;
    int drop = -exponent_ - scale;
    Wide m = dropDigits(Wide::from(mantissa_), drop, mode, negative_, false);
    return normalise(m, -scale, negative_);
}

bool Decimal::isWhole() const {
    if (exponent_ >= 0 || mantissa_ == 0) return true;
    if (-exponent_ > 38) return false;
    return mantissa_ % pow10[static_cast<std::size_t>(-exponent_)] == 0;
}

Decimal Decimal::abs() const {
    Decimal d = *this;
    d.negative_ = false;
    return d;
}

int Decimal::scale() const {
    std::string text = toStdString();
    auto point = text.find('.');
    return point == std::string::npos ? 0 : static_cast<int>(text.size() - point - 1);
}

Decimal Decimal::operator-() const {
    Decimal d = *this;
    d.negative_ = mantissa_ != 0 && !negative_;
    return d;
}

namespace {

// Adds magnitudes (or subtracts, when the signs differ) after lining up the exponents.
Decimal addSigned(const Decimal& a, bool aNegative, const Decimal& b, bool bNegative) {
    if (a.isZero()) return Decimal::fromParts(b.mantissa(), b.exponent(), bNegative);
    if (b.isZero()) return Decimal::fromParts(a.mantissa(), a.exponent(), aNegative);
    const Decimal* hi = &a;  // the one with the larger exponent
    const Decimal* lo = &b;
    bool hiNeg = aNegative, loNeg = bNegative;
    if (a.exponent() < b.exponent()) {
        std::swap(hi, lo);
        std::swap(hiNeg, loNeg);
    }
    // Scale the larger-exponent side up, as far as 76 digits, so both share one exponent. Past
    // that the smaller side lies far below the 38 digits kept and only its truncation is needed,
    // with a sticky bit for the rounding.
    const int shift = hi->exponent() - lo->exponent();
    const int room = 76 - digitCount(hi->mantissa());
    const int k = shift < room ? shift : room;
    Wide high = Wide::from(hi->mantissa());
    for (int left = k; left > 0;) {
        int step = left > 38 ? 38 : left;
        high = multiplyWide(high, pow10[static_cast<std::size_t>(step)]);
        left -= step;
    }
    const int exponent = hi->exponent() - k;
    Wide low = Wide::from(lo->mantissa());
    bool sticky = false;
    for (int left = exponent - lo->exponent(); left > 0 && !low.isZero();) {
        int step = left > 19 ? 19 : left;
        sticky = divideSmall(low, static_cast<std::uint64_t>(pow10[static_cast<std::size_t>(step)])) != 0 || sticky;
        left -= step;
    }
    if (sticky && hiNeg != loNeg) {
        // high - (low + a fraction) == (high - low - 1) + (1 - the fraction): borrow one unit.
        low = add(low, Wide::from(1));
    }
    if (hiNeg == loNeg) return normalise(add(high, low), exponent, hiNeg, sticky);
    int order = compareWide(high, low);
    if (order == 0) return Decimal{};
    if (order > 0) return normalise(subtract(high, low), exponent, hiNeg, sticky);
    return normalise(subtract(low, high), exponent, loNeg, sticky);
}

}  // namespace

Decimal operator+(const Decimal& a, const Decimal& b) {
    if (a.exponent_ == b.exponent_ && a.negative_ == b.negative_) {
        UInt128 sum = a.mantissa_ + b.mantissa_;
        if (sum < mantissaLimit) return Decimal::fromParts(sum, a.exponent_, a.negative_);
    }
    return addSigned(a, a.negative_, b, b.negative_);
}

Decimal operator-(const Decimal& a, const Decimal& b) {
    return addSigned(a, a.negative_, b, b.mantissa_ != 0 && !b.negative_);
}

Decimal operator*(const Decimal& a, const Decimal& b) {
    bool negative = a.negative_ != b.negative_;
    int exponent = a.exponent_ + b.exponent_;
    if ((a.mantissa_ >> 64) == 0 && (b.mantissa_ >> 64) == 0) {
        UInt128 product = a.mantissa_ * b.mantissa_;
        if (product < mantissaLimit && exponent >= Decimal::minExponent && exponent <= Decimal::maxExponent) {
            return Decimal::fromParts(product, exponent, negative);
        }
    }
    return normalise(multiply(a.mantissa_, b.mantissa_), exponent, negative);
}

Decimal operator/(const Decimal& a, const Decimal& b) {
    if (b.mantissa_ == 0) throw std::domain_error("division by zero");
    if (a.mantissa_ == 0) return Decimal{};
    bool negative = a.negative_ != b.negative_;
    // Scale the dividend so the quotient has at least 39 digits, then round once.
    int shift = Decimal::maxDigits + 1 + digitCount(b.mantissa_) - digitCount(a.mantissa_);
    if (shift < 0) shift = 0;
    Wide dividend = Wide::from(a.mantissa_);
    int left = shift;
    while (left > 0) {
        int step = left > 38 ? 38 : left;
        dividend = multiplyWide(dividend, pow10[static_cast<std::size_t>(step)]);
        left -= step;
    }
    UInt128 remainder = 0;
    Wide quotient = divideWide(dividend, b.mantissa_, remainder);
    int exponent = a.exponent_ - b.exponent_ - shift;
    Decimal result = normalise(quotient, exponent, negative, remainder != 0);
    if (remainder != 0) return result;
    // An exact quotient: drop the zeros the scaling added, down to the natural exponent.
    UInt128 m = result.mantissa_;
    int e = result.exponent_;
    const int natural = a.exponent_ - b.exponent_;
    for (int step : {16, 8, 4, 2, 1}) {
        UInt128 p = pow10[static_cast<std::size_t>(step)];
        while (e + step <= natural && m % p == 0) {
            m /= p;
            e += step;
        }
    }
    return Decimal::fromParts(m, e, negative);
}

int Decimal::compareMagnitude(const Decimal& a, const Decimal& b) {
    if (a.mantissa_ == 0 || b.mantissa_ == 0) {
        return (a.mantissa_ != 0) - (b.mantissa_ != 0);
    }
    if (a.exponent_ == b.exponent_) return a.mantissa_ < b.mantissa_ ? -1 : (a.mantissa_ > b.mantissa_ ? 1 : 0);
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
    UInt128 m = mantissa_;
    int e = exponent_;
    while (m % 10 == 0) {
        m /= 10;
        ++e;
    }
    std::size_t h = std::hash<std::uint64_t>{}(static_cast<std::uint64_t>(m));
    h ^= std::hash<std::uint64_t>{}(static_cast<std::uint64_t>(m >> 64)) + 0x9e3779b97f4a7c15ULL + (h << 6) + (h >> 2);
    h ^= std::hash<int>{}(e) + 0x9e3779b97f4a7c15ULL + (h << 6) + (h >> 2);
    return negative_ ? ~h : h;
}

}  // namespace tavix
