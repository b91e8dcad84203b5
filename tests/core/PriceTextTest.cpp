#include "core/PriceText.h"

#include <gtest/gtest.h>

namespace tavix {
namespace {

Decimal d(const char* text) { return *Decimal::parse(std::string_view(text)); }

TEST(PriceText, MoneyShowsCentsAndFinerPricesKeepEveryDecimal) {
    EXPECT_EQ(priceText(d("187.5")), QStringLiteral("187.50"));
    EXPECT_EQ(priceText(d("64123")), QStringLiteral("64123.00"));
    EXPECT_EQ(priceText(d("0.5")), QStringLiteral("0.50"));
    EXPECT_EQ(priceText(d("0.0812")), QStringLiteral("0.0812"));
    EXPECT_EQ(priceText(d("0.00004217")), QStringLiteral("0.00004217"));
    EXPECT_EQ(priceText(d("12.345")), QStringLiteral("12.345"));
    EXPECT_EQ(priceText(d("1.50")), QStringLiteral("1.50"));
}

TEST(PriceText, ChangesCarryTheirSign) {
    EXPECT_EQ(changeText(d("2.5")), QStringLiteral("+2.50"));
    EXPECT_EQ(changeText(d("-0.4")), QStringLiteral("-0.40"));
    EXPECT_EQ(changeText(d("0")), QStringLiteral("0.00"));
    EXPECT_EQ(changeText(d("-0.0012")), QStringLiteral("-0.0012"));
}

TEST(PriceText, PercentagesAreRoundedToTwoPlaces) {
    EXPECT_EQ(percentText(d("2.5"), d("185")), QStringLiteral("+1.35%"));
    EXPECT_EQ(percentText(d("-1"), d("3")), QStringLiteral("-33.33%"));
    EXPECT_EQ(percentText(d("1"), d("8")), QStringLiteral("+12.50%"));
    // A move too small to show is no move, with no sign.
    EXPECT_EQ(percentText(d("-0.001"), d("500")), QStringLiteral("0.00%"));
    EXPECT_EQ(percentText(d("1"), d("0")), std::nullopt);
}

}  // namespace
}  // namespace tavix
