#include "practice/PracticeOptions.h"

#include <gtest/gtest.h>

#include <cmath>

namespace tavix {
namespace {

Date at(const char16_t* iso) {
    return *Date::parseIso(QStringView(iso));
}
Decimal dec(const char* text) {
    return *Decimal::parse(std::string_view(text));
}

OptionSymbol contract(const char16_t* occ) {
    return *OptionSymbol::parse(QString::fromUtf16(occ));
}

TEST(PracticeOptionsTest, ContractsStopAtFourInTheAfternoonNewYork) {
    EXPECT_EQ(PracticeOptions::expiresAt(contract(u"XYZ260116C00100000")), at(u"2026-01-16T21:00:00Z"));
    EXPECT_EQ(PracticeOptions::expiresAt(contract(u"XYZ260320C00100000")), at(u"2026-03-20T20:00:00Z"));
}

TEST(PracticeOptionsTest, WeeklyExpiriesAreTheFridaysStillTrading) {
    const auto fromFridayAfternoon = PracticeOptions::weeklyExpiries(at(u"2026-03-06T20:59:00Z"), 2);
    ASSERT_EQ(fromFridayAfternoon.size(), 2U);
    EXPECT_EQ(fromFridayAfternoon[0], at(u"2026-03-06T05:00:00Z"));
    EXPECT_EQ(fromFridayAfternoon[1], at(u"2026-03-13T04:00:00Z"));
    // After the close, and at the weekend, this week's contracts are gone.
    EXPECT_EQ(PracticeOptions::weeklyExpiries(at(u"2026-03-06T21:00:00Z"), 1).front(),
              at(u"2026-03-13T04:00:00Z"));
    EXPECT_EQ(PracticeOptions::weeklyExpiries(at(u"2026-03-07T12:00:00Z"), 1).front(),
              at(u"2026-03-13T04:00:00Z"));
    EXPECT_EQ(PracticeOptions::weeklyExpiries(at(u"2026-03-07T12:00:00Z"), 4).size(), 4U);
}

TEST(PracticeOptionsTest, StrikesStepByPriceLevel) {
    EXPECT_EQ(PracticeOptions::strikeStep(dec("12")), dec("0.5"));
    EXPECT_EQ(PracticeOptions::strikeStep(dec("99.99")), dec("1"));
    EXPECT_EQ(PracticeOptions::strikeStep(dec("100")), dec("2.5"));
    EXPECT_EQ(PracticeOptions::strikeStep(dec("500")), dec("5"));
    EXPECT_EQ(PracticeOptions::strikeStep(dec("64250")), dec("10"));
    const auto around = PracticeOptions::strikes(dec("443.6"), 2);
    ASSERT_EQ(around.size(), 5U);
    EXPECT_EQ(around.front(), dec("435"));
    EXPECT_EQ(around[2], dec("445"));
    EXPECT_EQ(around.back(), dec("455"));
    // No strike at or under zero.
    const auto low = PracticeOptions::strikes(dec("0.6"), 2);
    ASSERT_EQ(low.size(), 3U);  // centred on 0.5: -0.5 and 0 are left out
    EXPECT_EQ(low.front(), dec("0.5"));
}

TEST(PracticeOptionsTest, ModelBehaves) {
    const OptionSymbol call = contract(u"XYZ260320C00100000");
    const OptionSymbol put = contract(u"XYZ260320P00100000");
    const Date now = at(u"2026-03-06T17:00:00Z");
    const double sigma = PracticeOptions::volatility(QStringLiteral("XYZ"));
    EXPECT_EQ(sigma, PracticeOptions::volatility(QStringLiteral("xyz")));
    EXPECT_NE(sigma, PracticeOptions::volatility(QStringLiteral("ABC")));
    EXPECT_GE(sigma, 0.20);
    EXPECT_LT(sigma, 0.70);

    const auto c = *PracticeOptions::value(call, 100, now);
    const auto p = *PracticeOptions::value(put, 100, now);
    EXPECT_NEAR(c.delta - p.delta, 1.0, 1e-12);
    EXPECT_LT(c.theta, 0);
    EXPECT_LT(p.theta, 0);
    EXPECT_EQ(c.volatility, sigma);
    // Theta is the price lost over a day, near enough for a smooth curve.
    const auto nextDay = *PracticeOptions::value(call, 100, now + 86400);
    EXPECT_NEAR(nextDay.price - c.price, c.theta, std::fabs(c.theta) * 0.1);

    // Just before the end an option is worth its payoff.
    const Date last = PracticeOptions::expiresAt(call) - 1;
    EXPECT_NEAR(PracticeOptions::value(call, 103, last)->price, 3.0, 1e-3);
    EXPECT_NEAR(PracticeOptions::value(put, 103, last)->price, 0.0, 1e-3);
    EXPECT_FALSE(PracticeOptions::value(call, 103, last + 1));
    EXPECT_FALSE(PracticeOptions::value(call, 0, now));
}

TEST(PracticeOptionsTest, ListedPricesAreWholeCentsFromOneCent) {
    EXPECT_EQ(PracticeOptions::listedPrice(0.0001), dec("0.01"));
    EXPECT_EQ(PracticeOptions::listedPrice(3.14159), dec("3.14"));
    EXPECT_EQ(PracticeOptions::listedPrice(2.675), dec("2.68"));
    const auto [bid, ask] = PracticeOptions::spread(dec("4.00"));
    EXPECT_EQ(bid, dec("3.94"));
    EXPECT_EQ(ask, dec("4.06"));
    const auto [lowBid, lowAsk] = PracticeOptions::spread(dec("0.01"));
    EXPECT_EQ(lowBid, dec("0.01"));
    EXPECT_EQ(lowAsk, dec("0.02"));
}

}  // namespace
}  // namespace tavix
