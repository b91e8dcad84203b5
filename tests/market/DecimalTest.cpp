#include "market/Decimal.h"

#include "DecimalReference.h"

#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <unordered_set>
#include <vector>

using tavix::Decimal;
using tavix::UInt128;
using namespace tavix::test;

namespace {

using Rounding = Decimal::Rounding;

Decimal dec(std::string_view text) {
    auto d = Decimal::parse(text);
    if (!d) throw std::invalid_argument("test value does not parse: " + std::string(text));
    return *d;
}

std::string text(const Decimal& d) {
    return d.toStdString();
}

// "0.000…0001" with the 1 at 10^-places, and "1000…0" with `zeros` zeros.
std::string tiny(int places) {
    return "0." + std::string(static_cast<std::size_t>(places - 1), '0') + "1";
}
std::string ones(int zeros) {
    return "1" + std::string(static_cast<std::size_t>(zeros), '0');
}

const std::string nines38(38, '9');

// Reports at most a handful of mismatches from a long sweep, so one fault does not print thousands.
class Mismatches {
public:
    bool check(const std::string& got, const std::string& want, const std::string& what) {
        if (got == want) return true;
        if (++count_ <= 10) ADD_FAILURE() << what << ": got " << got << ", want " << want;
        return false;
    }
    ~Mismatches() { EXPECT_EQ(count_, 0) << "mismatches in total"; }

private:
    int count_ = 0;
};

// `a op b` as text, or what it threw.
std::string run(const std::string& a, char op, const std::string& b) {
    const Decimal x = dec(a), y = dec(b);
    try {
        return text(op == '+' ? x + y : op == '-' ? x - y : op == '*' ? x * y : x / y);
    } catch (const std::overflow_error&) {
        return "overflow";
    } catch (const std::domain_error&) {
        return "division by zero";
    }
}

}  // namespace

TEST(DecimalParse, ReadsTheUsualFormsAndRoundsPastThirtyEightDigits) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"0.1", "0.1"},      {"-12.500", "-12.5"}, {"1e-7", "0.0000001"}, {".5", "0.5"},
        {"5.", "5"},         {"+3", "3"},          {"-0.000", "0"},       {"00012.3400", "12.34"},
        {"1E5", "100000"},   {"1e+5", "100000"},   {"12.5e-1", "1.25"},   {"0.00123e3", "1.23"},
        {"-.5e1", "-5"},     {"0e999", "0"},       {"1e-128", tiny(128)}, {"100e-130", tiny(128)},
        {"1e164", ones(164)}, {"1e-0", "1"},
        // Half away from zero at the 39th digit.
        {"1234567890123456789012345678901234567890", "1234567890123456789012345678901234567900"},
        {"1234567890123456789012345678901234567849", "1234567890123456789012345678901234567800"},
        {"0." + std::string(41, '9'), "1"}, {"-" + nines38 + ".5", "-" + ones(38)},
        // Trailing zeros past 38 digits are not "dropped digits" and lose nothing.
        {"12345" + std::string(60, '0'), "12345" + std::string(60, '0')},
        {"0.12345" + std::string(60, '0'), "0.12345"},
    };
    for (const auto& [input, want] : cases) {
        auto d = Decimal::parse(input);
        ASSERT_TRUE(d.has_value()) << input;
        EXPECT_EQ(text(*d), want) << input;
    }
}

TEST(DecimalParse, RefusesBadText) {
    for (const char* bad : {"", "-", "+", ".", "-.", "+.e1", "1.2.3", "abc", "1e", "1e+", "1e-", "e5", " 1",
                            "1 ", "inf", "Infinity", "nan", "1,5", "1e5.5", "1e1000000", "--1", "+-1", "0x10",
                            "1_000", "12a", "1e2e3", "1.5.", "1e165", "-1e165", "1e-129",
                            "99999999999999999999999999999999999999e128"}) {
        EXPECT_FALSE(Decimal::parse(std::string_view(bad)).has_value()) << '"' << bad << '"';
    }
    EXPECT_FALSE(Decimal::parse(std::string_view("1\0", 2)).has_value());
    EXPECT_FALSE(Decimal::parse(QStringLiteral("１２")).has_value());  // full-width digits
    EXPECT_FALSE(Decimal::parse(QStringLiteral("1²")).has_value());
    EXPECT_EQ(text(*Decimal::parse(QStringLiteral("-12.50"))), "-12.5");
}

TEST(DecimalFormat, ToFixedShowsExactlyThePlacesAskedAndScaleCountsThem) {
    const std::vector<std::tuple<std::string, int, std::string>> cases = {
        {"12.5", 2, "12.50"},   {"12", 2, "12.00"},    {"0.005", 2, "0.01"},
        {"-0.005", 2, "-0.01"}, {"-0.004", 2, "0.00"}, {"2.675", 2, "2.68"},
        {"2.5", 0, "3"},        {"-2.5", 0, "-3"},     {"99.999", 2, "100.00"},
        {"0", 3, "0.000"},      {"1e-50", 2, "0.00"},  {"187.34", 4, "187.3400"},
        {"1234.5", -2, "1200"}, {"-0.5", 0, "-1"},     {"1e20", 1, "100000000000000000000.0"},
    };
    for (const auto& [input, places, want] : cases) {
        EXPECT_EQ(dec(input).toFixed(places), QString::fromStdString(want)) << input << " to " << places;
    }
    for (const auto& [input, want] : std::vector<std::pair<const char*, int>>{
             {"12.50", 1}, {"1200", 0}, {"-0.00100", 3}, {"0", 0}, {"1e-128", 128}}) {
        EXPECT_EQ(dec(input).scale(), want) << input;
    }
    EXPECT_EQ(Decimal::fromParts(500, -2, false).scale(), 0);
}

TEST(DecimalArithmetic, NamedCases) {
    const std::string largest = nines38 + std::string(127, '0');
    const std::vector<std::tuple<std::string, char, std::string, std::string>> cases = {
        // Carries into a 39th digit.
        {nines38, '+', "1", ones(38)},
        {"9." + std::string(37, '9'), '+', "0." + std::string(37, '0') + "5", "10"},
        {ones(37), '+', "0.5", ones(36) + "1"},
        // Cancellation.
        {"1", '-', "1e-50", "1"}, {"1", '-', "1e-38", "0." + nines38}, {"-187.34", '+', "187.34", "0"},
        {"1e37", '-', "0.5", std::string(37, '9') + ".5"}, {"1e37", '-', "0.05", ones(37)},
        // Far-apart magnitudes keep every digit that fits.
        {"1e50", '+', "1.2345e37", "1000000000000" + std::string("12345") + std::string(33, '0')},
        {nines38, '*', nines38, "99999999999999999999999999999999999998" + std::string(38, '0')},
        {"18446744073709551616", '*', "18446744073709551616", "340282366920938463463374607431768211460"},
        {"1", '/', "3", "0." + std::string(38, '3')}, {"2", '/', "3", "0." + std::string(37, '6') + "7"},
        {"-2", '/', "3", "-0." + std::string(37, '6') + "7"}, {"2341.75", '/', "12.5", "187.34"},
        {"1e20", '/', "1e-20", ones(40)}, {nines38, '/', "0." + nines38, ones(38)},
        // Exact halves at the 39th digit round away from zero.
        {"98765432109876543210987654321098765431", '/', "2", "49382716054938271605493827160549382716"},
        {"-98765432109876543210987654321098765431", '/', "0.2", "-493827160549382716054938271605493827160"},
        {"12345678901234567890123456789012345679", '/', "2", "6172839450617283945061728394506172839.5"},
        {"1", '/', "2e38", "0.000000000000000000000000000000000000005"},
        {nines38, '/', "2", "50000000000000000000000000000000000000"},
        {"2", '/', "3e127", "0." + std::string(127, '0') + "7"},
        // Past the largest exponent is an error; the largest value absorbs what it cannot show.
        {"1e83", '*', "1e83", "overflow"}, {"1e82", '*', "1e82", ones(164)}, {largest, '+', "1", largest},
        {largest, '+', largest, "overflow"}, {"1e100", '/', "1e-100", "overflow"},
        {"1", '/', "0", "division by zero"}, {"0", '/', "0.000", "division by zero"},
        // Below 10^-128 results round to that place.
        {"1e-100", '*', "1e-29", "0"}, {"5e-100", '*', "1e-29", tiny(128)},
        {"-1.5e-127", '*', "0.1", "-0." + std::string(127, '0') + "2"},
    };
    for (const auto& [a, op, b, want] : cases) EXPECT_EQ(run(a, op, b), want) << a << ' ' << op << ' ' << b;
}

TEST(DecimalRounding, ModesOnHalvesAndTheirNeighbours) {
    struct Case {
        const char* value;
        int scale;
        Decimal::Rounding mode;
        const char* want;
    };
    using enum Decimal::Rounding;
    const std::vector<Case> cases = {
        {"2.5", 0, plain, "3"},       {"-2.5", 0, plain, "-3"},      {"2.5", 0, down, "2"},
        {"-2.5", 0, down, "-2"},      {"2.5", 0, up, "3"},           {"-2.5", 0, up, "-3"},
        {"2.5", 0, bankers, "2"},     {"-2.5", 0, bankers, "-2"},    {"3.5", 0, bankers, "4"},
        {"-3.5", 0, bankers, "-4"},   {"2.45", 1, plain, "2.5"},     {"2.45", 1, bankers, "2.4"},
        {"-2.45", 1, plain, "-2.5"},  {"-2.45", 1, bankers, "-2.4"}, {"2.451", 1, bankers, "2.5"},
        {"-2.1", 0, up, "-3"},        {"-2.9", 0, down, "-2"},       {"0.05", 1, bankers, "0"},
        {"0.15", 1, bankers, "0.2"},  {"9.99", 1, plain, "10"},      {"-9.99", 1, up, "-10"},
        {"-0.4", 0, plain, "0"},      {"-0.0001", 2, up, "-0.01"},   {"1250", -2, bankers, "1200"},
        {"1350", -2, bankers, "1400"}, {"1250", -2, plain, "1300"},  {"12.5", 3, up, "12.5"},
        {"1e-50", 2, up, "0.01"},     {"1e-50", 2, plain, "0"},      {"0.5", 0, bankers, "0"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(text(dec(c.value).rounded(c.scale, c.mode)), c.want)
            << c.value << " at scale " << c.scale << " mode " << static_cast<int>(c.mode);
    }
    EXPECT_EQ(text(dec("2.5").rounded(0)), "3");  // plain is the default
}

TEST(DecimalRounding, ToInt64TakesOnlyWholeValuesInRange) {
    const std::vector<std::pair<const char*, std::optional<long long>>> cases = {
        {"9223372036854775807", std::numeric_limits<long long>::max()},
        {"-9223372036854775808", std::numeric_limits<long long>::min()},
        {"92233720368547758.07e2", std::numeric_limits<long long>::max()},
        {"9223372036854775808", std::nullopt}, {"-9223372036854775809", std::nullopt},
        {"18446744073709551616", std::nullopt}, {"1e164", std::nullopt}, {"12.5", std::nullopt},
        {"12.000", 12}, {"1.2e3", 1200}, {"-0", 0}, {"-42", -42},
    };
    for (const auto& [input, want] : cases) EXPECT_EQ(dec(input).toInt64(), want) << input;
}

TEST(DecimalCompare, ComparesAndHashesByValueAcrossExponents) {
    EXPECT_EQ(Decimal::fromParts(0, 5, true), Decimal());
    EXPECT_LT(dec("-1.5"), dec("-1.49"));
    EXPECT_LT(dec("-1e-50"), Decimal());
    EXPECT_GT(dec(ones(38)), dec(nines38));
    EXPECT_LT(dec("0." + nines38), dec("1"));

    std::unordered_set<Decimal> set{dec("1.5"), dec("1.50"), dec("1.500"), dec("15e-1"), dec("-1.5"),
                                    dec("0"),   dec("-0"),   dec("0.00"),  dec("2")};
    EXPECT_EQ(set.size(), 4U);
    EXPECT_NE(dec("1.5").hash(), dec("-1.5").hash());
    EXPECT_NE(dec("1.5").hash(), dec("15").hash());
}

TEST(DecimalConvert, FromDoubleGoesThroughTheShortestText) {
    // Far below 10^-128 they round at that place, as arithmetic does.
    const std::vector<std::pair<double, std::string>> cases = {
        {0.1, "0.1"}, {0.1 + 0.2, "0.30000000000000004"}, {187.34, "187.34"}, {1e21, ones(21)},
        {-0.0, "0"}, {1e-128, tiny(128)}, {1e164, ones(164)}, {5e-324, "0"}, {-1e-200, "0"},
        {1.5e-128, "0." + std::string(127, '0') + "2"}, {-1.2345678901234567e-128, "-" + tiny(128)},
        {1.2345678901234567e-120, "0." + std::string(119, '0') + "123456789"},
    };
    for (const auto& [value, want] : cases) EXPECT_EQ(text(*Decimal::fromDouble(value)), want) << value;
    // Past the range a Decimal holds, or not a number at all: nothing.
    for (double out : {1e300, -1e300, std::numeric_limits<double>::infinity(),
                       std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_FALSE(Decimal::fromDouble(out).has_value()) << out;
    }
}

TEST(DecimalConvert, IntegersAndParts) {
    EXPECT_EQ(text(Decimal(std::numeric_limits<long long>::min())), "-9223372036854775808");
    EXPECT_EQ(text(Decimal(std::numeric_limits<long long>::max())), "9223372036854775807");
    EXPECT_EQ(text(Decimal(std::numeric_limits<unsigned long long>::max())), "18446744073709551615");
    // A mantissa past 38 digits is rounded into them.
    EXPECT_EQ(text(Decimal::fromParts(~UInt128{0}, 0, false)), "340282366920938463463374607431768211460");
    EXPECT_EQ(text(Decimal::fromParts(~UInt128{0}, -39, true)), "-0.34028236692093846346337460743176821146");
    const UInt128 tenTo38 = toMantissa(ones(38));
    EXPECT_EQ(text(Decimal::fromParts(tenTo38, 0, false)), ones(38));
    EXPECT_LE(Decimal::fromParts(tenTo38 + 5, 0, false).mantissa(), toMantissa(nines38));
    // Exponents past the largest throw; below the smallest they round at it.
    EXPECT_EQ(text(Decimal::fromParts(toMantissa(nines38), Decimal::maxExponent, false)),
              nines38 + std::string(127, '0'));
    EXPECT_THROW(Decimal::fromParts(1, 166, false), std::overflow_error);
    EXPECT_EQ(text(Decimal::fromParts(5, 130, false)), "5" + std::string(130, '0'));
    EXPECT_EQ(text(Decimal::fromParts(4, -129, false)), "0");
    // Rounding to 38 digits and to the smallest place at once rounds only once.
    // (10^38 + 45) × 10^-130 is 10^-92 + 4.5 × 10^-129: rounding to 38 digits first would make the
    // 4 a 5 and then round that up.
    EXPECT_EQ(text(Decimal::fromParts(tenTo38 + 45, -130, false)), tiny(92));
}

// ---- against a long-hand reference, over thousands of random values: these guard money arithmetic,
// so every fast path of Decimal must keep them passing.

TEST(DecimalSweep, RandomTextInManyShapesReadsAsTheSameValue) {
    RefGenerator gen(11);
    Mismatches mismatches;
    for (int i = 0; i < 3000; ++i) {
        RefNumber r = gen.next(-60, 60);
        const std::string want = refText(r);
        // The plain text itself round-trips.
        auto plain = Decimal::parse(want);
        if (!plain) {
            ADD_FAILURE() << "refused " << want;
            continue;
        }
        mismatches.check(text(*plain), want, "plain " + want);
        EXPECT_EQ(*plain, toDecimal(r)) << want;
        // The same value written with the point elsewhere, padding zeros and an exponent.
        const auto length = static_cast<int>(r.digits.size());
        const int point = gen.between(0, length);
        const int written = r.exponent + (length - point);
        std::string shape = r.negative ? "-" : (gen.between(0, 1) ? "+" : "");
        shape += std::string(static_cast<std::size_t>(gen.between(0, 3)), '0');
        shape += r.digits.substr(0, static_cast<std::size_t>(point)) + "." +
                 r.digits.substr(static_cast<std::size_t>(point));
        shape += std::string(static_cast<std::size_t>(gen.between(0, 3)), '0');
        shape += (gen.between(0, 1) ? "e" : "E") + std::to_string(written);
        auto shaped = Decimal::parse(shape);
        if (!shaped) {
            ADD_FAILURE() << "refused " << shape;
            continue;
        }
        mismatches.check(text(*shaped), want, "shaped " + shape);
    }
}

TEST(DecimalSweep, RandomLongTextRoundsLikeLongHand) {
    RefGenerator gen(12);
    Mismatches mismatches;
    for (int i = 0; i < 1000; ++i) {
        std::string digits = std::to_string(gen.between(1, 9));
        const int length = gen.between(39, 70);
        const int style = gen.between(0, 2);
        while (static_cast<int>(digits.size()) < length) {
            char c = static_cast<char>('0' + gen.between(0, 9));
            if (style == 1) c = '9';
            if (style == 2) c = digits.size() == 38 ? '5' : '0';  // exact halves
            digits.push_back(c);
        }
        const int exponent = gen.between(-60, 20);
        RefNumber r = makeRef(digits, exponent, gen.between(0, 1) == 1);
        const std::string input = (r.negative ? "-" : "") + digits + "e" + std::to_string(exponent);
        mismatches.check(text(dec(input)), refText(round38(r)), input);
    }
}

TEST(DecimalSweep, AdditionAndSubtractionMatchLongHand) {
    RefGenerator gen(1);
    Mismatches mismatches;
    for (int i = 0; i < 4000; ++i) {
        RefNumber a = gen.next(-60, 60);
        // A quarter share an exponent, to cover the short path as well as alignment.
        RefNumber b = gen.between(0, 3) == 0 ? gen.next(a.exponent, a.exponent) : gen.next(-60, 60);
        const Decimal x = toDecimal(a), y = toDecimal(b);
        const std::string shown = refText(a) + " and " + refText(b);
        mismatches.check(text(x + y), refText(refAdd(a, b)), "sum of " + shown);
        mismatches.check(text(x - y), refText(refAdd(a, refNegate(b))), "difference of " + shown);
        mismatches.check(text(y - x), refText(refAdd(b, refNegate(a))), "reverse difference of " + shown);
        mismatches.check(text(x - x), "0", "self difference of " + shown);
        Decimal accumulated = x;
        accumulated += y;
        accumulated -= y;
        mismatches.check(text(accumulated), refText(refAdd(refAdd(a, b), refNegate(b))), "+= -= of " + shown);
    }
}

TEST(DecimalSweep, NearTiesInAdditionRoundLikeLongHand) {
    // A 38-digit number plus or minus something near half a unit of its last place, with more
    // digits below: exercises the dropped digit, the sticky digits and the borrow.
    RefGenerator gen(2);
    Mismatches mismatches;
    for (int i = 0; i < 3000; ++i) {
        RefNumber a = gen.next(0, 0);
        a.digits = std::to_string(gen.between(1, 9)) + a.digits;
        a.digits.resize(38, a.digits.back());
        a.exponent = gen.between(-20, 20);
        const int below = gen.between(1, 37);
        std::string tail =
            std::to_string(gen.between(4, 5)) + std::string(static_cast<std::size_t>(below), '0');
        if (gen.between(0, 1)) tail.back() = static_cast<char>('1' + gen.between(0, 8));
        RefNumber b = makeRef(tail, a.exponent - 1 - below, gen.between(0, 1) == 1);
        mismatches.check(text(toDecimal(a) + toDecimal(b)), refText(refAdd(a, b)),
                         refText(a) + " + " + refText(b));
    }
}

TEST(DecimalSweep, MultiplicationMatchesLongHand) {
    RefGenerator gen(3);
    Mismatches mismatches;
    for (int i = 0; i < 4000; ++i) {
        RefNumber a = gen.next(-40, 40), b = gen.next(-40, 40);
        const Decimal x = toDecimal(a), y = toDecimal(b);
        const std::string shown = refText(a) + " × " + refText(b);
        mismatches.check(text(x * y), refText(refMultiply(a, b)), shown);
        mismatches.check(text(x * Decimal(-1)), refText(refNegate(a)), "minus one times " + refText(a));
    }
    EXPECT_EQ(text(dec(nines38) * dec(nines38)),
              "99999999999999999999999999999999999998" + std::string(38, '0'));
    EXPECT_EQ(text(dec("18446744073709551616") * dec("18446744073709551616")),
              "340282366920938463463374607431768211460");
}

TEST(DecimalSweep, DivisionMatchesLongHand) {
    RefGenerator gen(4);
    Mismatches mismatches;
    for (int i = 0; i < 3000; ++i) {
        RefNumber a = gen.next(-20, 20), b = gen.next(-20, 20);
        if (b.isZero()) continue;
        const std::string shown = refText(a) + " / " + refText(b);
        mismatches.check(text(toDecimal(a) / toDecimal(b)), refText(refDivide(a, b)), shown);
        if (!a.isZero()) mismatches.check(text(toDecimal(a) / toDecimal(a)), "1", shown + " self");
    }
}

TEST(DecimalSweep, EverySmallValueMatchesLongHand) {
    Mismatches mismatches;
    for (int i = -2000; i <= 2000; ++i) {
        const std::string digits = std::to_string(i < 0 ? -i : i);
        const RefNumber r = makeRef(digits, -3, i < 0);
        const Decimal d = toDecimal(r);
        for (int scale = -3; scale <= 3; ++scale) {
            for (Rounding mode : {Rounding::plain, Rounding::down, Rounding::up, Rounding::bankers}) {
                mismatches.check(text(d.rounded(scale, mode)), refText(refRound(r, scale, mode)),
                                 refText(r) + " at " + std::to_string(scale) + " mode " +
                                     std::to_string(static_cast<int>(mode)));
            }
        }
    }
}

TEST(DecimalSweep, RandomValuesMatchLongHand) {
    RefGenerator gen(5);
    Mismatches mismatches;
    for (int i = 0; i < 4000; ++i) {
        const RefNumber r = gen.next(-60, 10);
        const int scale = gen.between(-10, 60);
        for (Rounding mode : {Rounding::plain, Rounding::down, Rounding::up, Rounding::bankers}) {
            mismatches.check(text(toDecimal(r).rounded(scale, mode)), refText(refRound(r, scale, mode)),
                             refText(r) + " at " + std::to_string(scale) + " mode " +
                                 std::to_string(static_cast<int>(mode)));
        }
    }
}
