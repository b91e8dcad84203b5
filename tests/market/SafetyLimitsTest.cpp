#include "market/SafetyLimits.h"

#include <gtest/gtest.h>

namespace tavix {
namespace {

Decimal dec(const char* text) { return *Decimal::parse(std::string_view(text)); }

TEST(SafetyLimitsRules, StartingLimitsKeepTwoFiguresRoundedDown) {
    for (const auto& [value, want] : {std::pair{"12075", "12000"}, {"99.9", "99"}, {"100", "100"},
                                      {"999.99", "990"}, {"0.75", "0"}, {"123456789", "120000000"}}) {
        EXPECT_EQ(SafetyLimits::twoFigures(dec(value)), dec(want)) << value;
    }
    auto limits = SafetyLimits::starting(dec("48300"));
    EXPECT_EQ(limits.perTrade, dec("12000"));
    EXPECT_EQ(limits.dailyLoss, dec("2400"));
    EXPECT_EQ(SafetyLimits::starting(dec("0")), SafetyLimits{});
    EXPECT_EQ(SafetyLimits::starting(dec("-500")), SafetyLimits{});
}

TEST(SafetyLimitsRules, DayLossIsNotLessThanAndTradeLimitIsOver) {
    SafetyLimits limits{dec("1000"), dec("500")};
    using Refusal = SafetyLimits::Refusal;
    EXPECT_EQ(limits.refusal(dec("10"), true, dec("-500")), Refusal::dayLossReached(dec("500"), dec("500")));
    EXPECT_EQ(limits.refusal(dec("10"), true, dec("-499.99")), std::nullopt);
    EXPECT_EQ(limits.refusal(dec("1000"), true, dec("0")), std::nullopt);  // at the limit is allowed
    EXPECT_EQ(limits.refusal(dec("1000.01"), true, std::nullopt),
              Refusal::overTradeLimit(dec("1000.01"), dec("1000")));
    // The day's loss is tested first.
    EXPECT_EQ(limits.refusal(dec("5000"), true, dec("-800"))->kind, Refusal::Kind::dayLossReached);
    // A closing order always passes, whatever it is worth and however the day went.
    EXPECT_EQ(limits.refusal(dec("5000"), false, dec("-800")), std::nullopt);
    // Limits not over zero are no limits.
    SafetyLimits off{dec("0"), dec("-1")};
    EXPECT_EQ(off.refusal(dec("1000000"), true, dec("-1000000")), std::nullopt);
}

}  // namespace
}  // namespace tavix
