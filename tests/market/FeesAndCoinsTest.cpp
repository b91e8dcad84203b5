#include "market/CoinRules.h"
#include "market/CryptoPair.h"
#include "market/FeeSchedule.h"
#include "market/HeldRefusal.h"
#include "market/OptionContract.h"
#include "market/OptionSymbol.h"

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

TEST(CoinRulesSteps, GuessesFollowThePriceLevel) {
    const auto dear = CoinRules::guess(dec("65000"));
    const auto cheap = CoinRules::guess(dec("0.12"));
    const auto tiny = CoinRules::guess(dec("0.00001234"));
    EXPECT_LT(dear.amountStep, cheap.amountStep);
    EXPECT_GT(dear.priceStep, cheap.priceStep);
    EXPECT_TRUE(tiny.isPrice(dec("0.00001234")));  // a tiny coin's price still fits its steps
    for (const auto& r : {dear, cheap, tiny, CoinRules::guess(dec("25"))}) {
        EXPECT_TRUE(r.smallest.isPositive() && r.amountStep.isPositive() && r.priceStep.isPositive());
        EXPECT_TRUE(r.isAmount(r.smallest));
    }
}

TEST(CoinFees, MakersRestAndTakersCross) {
    Quote quote{.symbol = QStringLiteral("BTC/USD"), .last = dec("60000"), .bid = dec("59990"), .ask = dec("60010")};
    OrderRequest buy{.symbol = QStringLiteral("BTC/USD"), .assetType = AssetType::crypto, .quantity = dec("0.1"),
                     .type = OrderType::limit, .limitPrice = dec("59900"),
                     .timeInForce = TimeInForce::goodTillCancelled};
    EXPECT_EQ(CryptoPair::makerRate(), dec("0.0015"));
    EXPECT_EQ(CryptoPair::rate(buy, quote), CryptoPair::makerRate());
    buy.limitPrice = dec("60010");
    EXPECT_EQ(CryptoPair::rate(buy, quote), CryptoPair::takerRate());
    buy.type = OrderType::market;
    EXPECT_EQ(CryptoPair::rate(buy, quote), CryptoPair::takerRate());
    OrderRequest sell = buy;
    sell.side = OrderSide::sell;
    sell.type = OrderType::limit;
    sell.limitPrice = dec("60005");  // above the bid: rests
    EXPECT_EQ(CryptoPair::rate(sell, quote), CryptoPair::makerRate());
    EXPECT_GT(CryptoPair::takerRate(), CryptoPair::makerRate());

    EXPECT_EQ(CryptoPair::timeInForceProblem(buy), std::nullopt);
    buy.timeInForce = TimeInForce::day;
    EXPECT_EQ(CryptoPair::timeInForceProblem(buy),
              QStringLiteral("a coin order stays until you cancel it, or fills now or not at all: there's no "
                             "trading day for it to end with."));
}

TEST(OptionContracts, DerivedPricesAndDays) {
    const Date expiry = *OptionSymbol::expiryDate(2026, 1, 16);
    OptionContract put{.id = QStringLiteral("AAPL260116P00190000"), .underlying = QStringLiteral("AAPL"),
                       .right = OptionRight::put, .strike = dec("190"), .expiry = expiry, .bid = dec("3.1"),
                       .ask = dec("3.3"), .last = dec("3.2")};
    EXPECT_EQ(put.buyPrice(), dec("3.3"));
    EXPECT_EQ(put.costPerContract(), dec("330"));
    EXPECT_EQ(put.breakEven(), dec("186.7"));  // a put breaks even below its strike
    put.ask = dec("0");
    EXPECT_EQ(put.buyPrice(), dec("3.2"));  // no real ask: the last price
    put.ask.reset();
    EXPECT_EQ(put.buyPrice(), dec("3.2"));
    OptionContract call = put;
    call.right = OptionRight::call;
    EXPECT_EQ(call.breakEven(), dec("193.2"));

    EXPECT_EQ(put.daysToExpiry(*Date::parseIso(u"2026-01-13T15:00:00Z")), 3);
    EXPECT_EQ(put.daysToExpiry(*Date::parseIso(u"2026-01-16T20:00:00Z")), 0);
    EXPECT_EQ(put.daysToExpiry(*Date::parseIso(u"2026-02-01T12:00:00Z")), 0);  // never below zero
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
