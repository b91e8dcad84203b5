// Decimal against a long-hand reference over thousands of random values: parsing in many shapes,
// the four operations with their rounding at 38 digits, and rounding to a scale in every mode.
// These guard money arithmetic, so any change to Decimal's fast paths must keep them passing.
#include "market/Decimal.h"

#include "DecimalReference.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

using tavix::Decimal;
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

}  // namespace
