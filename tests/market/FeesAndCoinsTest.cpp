#include "market/CoinRules.h"
#include "market/CryptoPair.h"
#include "market/FeeSchedule.h"
#include "market/HeldRefusal.h"

#include <gtest/gtest.h>

namespace tavix {
namespace {

Decimal dec(const char* text) { return *Decimal::parse(std::string_view(text)); }

TEST(FeeSchedules, CommissionsPerOrderAndPerContract) {
    OrderRequest stock{.symbol = QStringLiteral("AAPL"), .quantity = dec("100")};
    OrderRequest option{.symbol = QStringLiteral("AAPL260116C00190000"), .assetType = AssetType::option,
                        .side = OrderSide::buyToOpen, .quantity = dec("3")};
    const auto schwab = FeeSchedule::schwab();
    EXPECT_EQ(schwab.commission(stock), dec("0"));
    EXPECT_EQ(schwab.commission(option), dec("2.07"));  // 3 × (0.65 + 0.04)
    EXPECT_EQ(schwab.roundTripCommission(option), dec("4.14"));
    EXPECT_EQ(FeeSchedule::free().commission(option), dec("0"));

    FeeSchedule custom{.perEquityTrade = dec("4.95"), .perOptionTrade = dec("1"), .perOptionContract = dec("0.5")};
    EXPECT_EQ(custom.commission(stock), dec("4.95"));
    EXPECT_EQ(custom.roundTripCommission(stock), dec("9.9"));
    EXPECT_EQ(custom.commission(option), dec("2.5"));
}

TEST(FeeSchedules, EquityRoundTripAddsRegulatoryFeesRoundedUpToTheCent) {
    const auto alpaca = FeeSchedule::alpaca();
    // 1000 shares sold at 50: SEC 0.0000278 × 50,000 = 1.39; CAT 0.000035 × 2000 = 0.07.
    EXPECT_EQ(alpaca.equityRoundTrip(dec("1000"), dec("50")), dec("1.46"));
    // One share at 10: every fee is a fraction of a cent and rounds up to one.
    EXPECT_EQ(alpaca.equityRoundTrip(dec("1"), dec("10")), dec("0.02"));
    EXPECT_EQ(FeeSchedule::free().equityRoundTrip(dec("1000"), dec("50")), dec("0"));
}

TEST(CoinRulesSteps, AmountsAndPricesComeInWholeSteps) {
    const CoinRules rules{dec("0.0001"), dec("0.000001"), dec("0.5")};
    EXPECT_EQ(rules.amount(dec("0.12345678")), dec("0.123456"));
    EXPECT_TRUE(rules.isAmount(dec("0.000123")));
    EXPECT_FALSE(rules.isAmount(dec("0.00005")));     // under the smallest
    EXPECT_FALSE(rules.isAmount(dec("0.0001234")));  // between steps
    EXPECT_EQ(rules.price(dec("60000.3"), true), dec("60000.5"));
    EXPECT_EQ(rules.price(dec("60000.3"), false), dec("60000"));
    EXPECT_EQ(rules.price(dec("60000.5"), true), dec("60000.5"));
    EXPECT_TRUE(rules.isPrice(dec("60000.5")));
    EXPECT_FALSE(rules.isPrice(dec("60000.25")));

    OrderRequest order{.symbol = QStringLiteral("BTC/USD"), .assetType = AssetType::crypto,
                       .quantity = dec("0.00005"), .type = OrderType::limit, .limitPrice = dec("60000.25"),
                       .timeInForce = TimeInForce::goodTillCancelled};
    EXPECT_EQ(rules.problem(order), QStringLiteral("The smallest amount of BTC you can order is 0.0001."));
    order.quantity = dec("0.0012345");
    EXPECT_EQ(rules.problem(order),
              QStringLiteral("Amounts of BTC go in steps of 0.000001: 0.0012345 won't do, 0.001234 would."));
    order.quantity = dec("0.001234");
    EXPECT_EQ(rules.problem(order), QStringLiteral("Prices of BTC go in steps of 0.5: the limit price 60000.25 "
                                                   "won't do, 60000 or 60000.5 would."));
    order.limitPrice = dec("60000.5");
    EXPECT_EQ(rules.problem(order), std::nullopt);
}

TEST(CoinOrders, LastUntilCancelledOrFillNow) {
    OrderRequest buy{.symbol = QStringLiteral("BTC/USD"), .assetType = AssetType::crypto, .quantity = dec("0.1"),
                     .type = OrderType::market, .timeInForce = TimeInForce::goodTillCancelled};
    EXPECT_EQ(CryptoPair::timeInForceProblem(buy), std::nullopt);
    buy.timeInForce = TimeInForce::day;
    EXPECT_EQ(CryptoPair::timeInForceProblem(buy),
              QStringLiteral("a coin order stays until you cancel it, or fills now or not at all: there's no "
                             "trading day for it to end with."));
}

TEST(HeldRefusalWords, SayWhatIsHeldAndWhatToDo) {
    EXPECT_EQ(HeldRefusal::words(dec("0"), dec("0"), false), QStringLiteral("there's none of it here to sell."));
    EXPECT_EQ(HeldRefusal::words(dec("0"), dec("0"), false, true),
              QStringLiteral("there's none of it here to Buy back."));
    EXPECT_EQ(HeldRefusal::words(dec("0"), dec("0"), true),
              QStringLiteral("there's none of it here to sell, and crypto can't be sold short."));
    EXPECT_EQ(HeldRefusal::words(dec("10"), dec("10"), false),
              QStringLiteral("an order already resting holds all 10. Change that order to sell a different amount, "
                             "or cancel that order first."));
    EXPECT_EQ(HeldRefusal::words(dec("10"), dec("6"), false),
              QStringLiteral("an order already resting holds the rest. Only 4 of your 10 is free to sell. Cancel it "
                             "first, then sell all 10."));
    EXPECT_EQ(HeldRefusal::words(dec("10"), dec("0"), false),
              QStringLiteral("you hold 10, only 10 free to sell. Sell 10 first, then sell again to go short."));
    EXPECT_EQ(HeldRefusal::words(dec("-5"), dec("0"), false),
              QStringLiteral("you hold -5, only 5 free to buy back. Buy back 5 first, then buy again to own it."));
    EXPECT_EQ(HeldRefusal::words(dec("0.5"), dec("0"), true),
              QStringLiteral("you hold 0.5, and crypto can't be sold short. Sell 0.5 at most."));
}

}  // namespace
}  // namespace tavix
