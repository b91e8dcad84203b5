#include "practice/PracticeOptions.h"

#include "PracticeFixture.h"

namespace tavix::test {
namespace {

OptionSymbol contract(const char16_t* occ) {
    return *OptionSymbol::parse(QString::fromUtf16(occ));
}

TEST(PracticeOptionsTest, BlackScholesMatchesAHandWorkedCase) {
    // At the money, a year out, 20 % volatility at the 4 % rate: d1 = 0.3 and d2 = 0.1, so
    // N(d1) = 0.617911, N(d2) = 0.539828, e^-0.04 = 0.960789 and the density at d1 is 0.381388.
    const auto call = PracticeOptions::blackScholes(OptionRight::call, 100, 100, 0.2, 1);
    EXPECT_NEAR(call.price, 61.7911 - 96.0789 * 0.539828, 1e-3);  // 9.9251
    EXPECT_NEAR(call.delta, 0.617911, 1e-6);
    EXPECT_NEAR(call.theta, -(100 * 0.381388 * 0.2 / 2 + 0.04 * 96.0789 * 0.539828) / 365, 1e-6);
    const auto put = PracticeOptions::blackScholes(OptionRight::put, 100, 100, 0.2, 1);
    EXPECT_NEAR(put.price, 96.0789 * (1 - 0.539828) - 100 * (1 - 0.617911), 1e-3);  // 6.0040
    EXPECT_NEAR(put.delta, -0.382089, 1e-6);
}

TEST(PracticeOptionsTest, ContractsStopAtFourInTheAfternoonNewYork) {
    EXPECT_EQ(PracticeOptions::expiresAt(contract(u"XYZ260116C00100000")), at(u"2026-01-16T21:00:00Z"));
    EXPECT_EQ(PracticeOptions::expiresAt(contract(u"XYZ260320C00100000")), at(u"2026-03-20T20:00:00Z"));

    // Just before the end an option is worth its payoff; after it, nothing.
    const OptionSymbol call = contract(u"XYZ260320C00100000");
    const Date last = PracticeOptions::expiresAt(call) - 1;
    EXPECT_NEAR(PracticeOptions::value(call, 103, last)->price, 3.0, 1e-3);
    EXPECT_NEAR(PracticeOptions::value(contract(u"XYZ260320P00100000"), 103, last)->price, 0.0, 1e-3);
    EXPECT_FALSE(PracticeOptions::value(call, 103, last + 1));
    EXPECT_FALSE(PracticeOptions::value(call, 0, last));
}

}  // namespace
}  // namespace tavix::test
