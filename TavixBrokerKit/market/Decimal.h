#pragma once

#include <QString>

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tavix {

__extension__ using UInt128 = unsigned __int128;

// An exact base-10 number: a mantissa of at most 38 decimal digits, a sign and a base-10 exponent.
// Money, prices and quantities live in this type; it never goes through binary floating point.
// Addition, subtraction and multiplication are exact while the result fits in 38 digits, and round
// half away from zero past that; division gives 38 significant digits. Values compare by value, so
// 1.50 == 1.5.
class Decimal {
public:
    enum class Rounding {
        plain,    // half away from zero
        down,     // towards zero
        up,       // away from zero
        bankers,  // half to even
    };

    static constexpr int maxDigits = 38;
    // Exponents outside this range are refused when parsing; results that would need a smaller
    // exponent are rounded to it, results that would need a larger one throw std::overflow_error.
    static constexpr int minExponent = -128;
    static constexpr int maxExponent = 127;

    constexpr Decimal() = default;
    Decimal(int value) : Decimal(static_cast<long long>(value)) {}  // NOLINT: numbers read naturally
    Decimal(long value) : Decimal(static_cast<long long>(value)) {}
    Decimal(long long value);
    Decimal(unsigned value) : Decimal(static_cast<unsigned long long>(value)) {}
    Decimal(unsigned long value) : Decimal(static_cast<unsigned long long>(value)) {}
    Decimal(unsigned long long value);
    Decimal(double) = delete;  // use fromDouble: the conversion is never implicit
    Decimal(float) = delete;

    // Builds mantissa × 10^exponent; the mantissa must have at most 38 digits.
    static Decimal fromParts(UInt128 mantissa, int exponent, bool negative);

    // Reads "12.5", "-0.001", "1e-7", "+3", ".5", "5.". Anything else (empty text, spaces, letters,
    // "inf", "nan", a lone sign or point, a value past 10^165 or with a digit below 10^-128) is
    // refused with nothing. More than 38 significant digits are rounded half away from zero.
    static std::optional<Decimal> parse(std::string_view text);
    static std::optional<Decimal> parse(const QString& text);
    static std::optional<Decimal> parse(const char* text) { return parse(std::string_view(text)); }

    // A double becomes a Decimal through its shortest round-trip text, so 0.1 becomes exactly 0.1.
    // Infinities, NaN and doubles past 10^165 (1e300) give nothing; digits below 10^-128 are
    // rounded at that place, as arithmetic rounds results that small (5e-324 becomes 0).
    static std::optional<Decimal> fromDouble(double value);

    // The shortest exact text in plain notation: "2.5", "-0.001", "1200". Never an exponent.
    std::string toStdString() const;
    QString toString() const;
    // Text with exactly `places` decimals (rounded plainly), as money is shown: "12.50".
    QString toFixed(int places) const;

    double toDouble() const;
    // The value when it is a whole number that fits in 64 bits.
    std::optional<long long> toInt64() const;

    Decimal rounded(int scale, Rounding mode = Rounding::plain) const;
    bool isWhole() const;
    bool isZero() const { return mantissa_ == 0; }
    bool isNegative() const { return negative_ && mantissa_ != 0; }
    bool isPositive() const { return !negative_ && mantissa_ != 0; }
    int signum() const { return mantissa_ == 0 ? 0 : (negative_ ? -1 : 1); }
    Decimal abs() const;
    // Digits after the point in the shortest text (0 for whole numbers).
    int scale() const;

    UInt128 mantissa() const { return mantissa_; }
    int exponent() const { return exponent_; }

    Decimal operator-() const;
    friend Decimal operator+(const Decimal& a, const Decimal& b);
    friend Decimal operator-(const Decimal& a, const Decimal& b);
    friend Decimal operator*(const Decimal& a, const Decimal& b);
    // Throws std::domain_error on division by zero.
    friend Decimal operator/(const Decimal& a, const Decimal& b);
    Decimal& operator+=(const Decimal& other) { return *this = *this + other; }
    Decimal& operator-=(const Decimal& other) { return *this = *this - other; }
    Decimal& operator*=(const Decimal& other) { return *this = *this * other; }
    Decimal& operator/=(const Decimal& other) { return *this = *this / other; }

    friend bool operator==(const Decimal& a, const Decimal& b) { return compare(a, b) == 0; }
    friend std::strong_ordering operator<=>(const Decimal& a, const Decimal& b) {
        return compare(a, b) <=> 0;
    }

    // Equal values hash equally whatever their exponent.
    std::size_t hash() const;

private:
    // Builds from parts already in range: a non-zero mantissa under 10^38 and an exponent in range.
    static Decimal raw(UInt128 mantissa, int exponent, bool negative) {
        Decimal d;
        d.mantissa_ = mantissa;
        d.exponent_ = exponent;
        d.negative_ = negative;
        return d;
    }
    static Decimal addSigned(const Decimal& a, const Decimal& b, bool bNegative);
    // The plain text, written into `buffer`; the view points into it.
    static constexpr std::size_t textCapacity = 176;
    std::string_view writeText(char (&buffer)[textCapacity]) const;
    static std::optional<Decimal> parseLong(std::string_view text);
    static std::optional<Decimal> inRange(UInt128 mantissa, long long exponent, bool negative);

    static int compare(const Decimal& a, const Decimal& b);
    static int compareMagnitude(const Decimal& a, const Decimal& b);

    UInt128 mantissa_ = 0;
    int exponent_ = 0;
    bool negative_ = false;
};

inline Decimal max(const Decimal& a, const Decimal& b) {
    return a < b ? b : a;
}
inline Decimal min(const Decimal& a, const Decimal& b) {
    return b < a ? b : a;
}

}  // namespace tavix

template <>
struct std::hash<tavix::Decimal> {
    std::size_t operator()(const tavix::Decimal& d) const noexcept { return d.hash(); }
};
