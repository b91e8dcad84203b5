#include "market/Order.h"
#include "market/OrderRequest.h"

#include <gtest/gtest.h>

namespace tavix {
namespace {

Decimal dec(const char* text) { return *Decimal::parse(std::string_view(text)); }

OrderRequest shares(const char* quantity, OrderType type = OrderType::market) {
    return OrderRequest{.symbol = QStringLiteral("AAPL"), .quantity = dec(quantity), .type = type};
}

OrderRequest coins(OrderType type = OrderType::limit) {
    return OrderRequest{.symbol = QStringLiteral("BTC/USD"),
                        .assetType = AssetType::crypto,
                        .quantity = dec("0.5"),
                        .type = type,
                        .limitPrice = dec("60000"),
                        .timeInForce = TimeInForce::goodTillCancelled};
}

TEST(OrderRequestChecks, PricingProblemsComeInTheirFixedOrder) {
    auto r = shares("1", OrderType::trailingStop);
    EXPECT_EQ(r.pricingProblem(), QStringLiteral("a trailing stop needs how far behind the price it follows."));
    r.trailAmount = dec("0");  // zero is refused exactly like none
    EXPECT_EQ(r.pricingProblem(), QStringLiteral("a trailing stop needs how far behind the price it follows."));
    r.trailAmount = dec("0.5");
    EXPECT_EQ(r.pricingProblem(), std::nullopt);

    r = shares("1", OrderType::stopLimit);  // neither price: the limit price is reported first
    EXPECT_EQ(r.pricingProblem(), QStringLiteral("a limit order needs a limit price."));
    r.limitPrice = dec("-1");
    EXPECT_EQ(r.pricingProblem(), QStringLiteral("the limit price has to be over zero."));
    r.limitPrice = dec("10");
    EXPECT_EQ(r.pricingProblem(), QStringLiteral("a stop order needs a stop price."));
    r.stopPrice = dec("0");
    EXPECT_EQ(r.pricingProblem(), QStringLiteral("the stop price has to be over zero."));
    r.stopPrice = dec("9.5");
    r.takeProfit = dec("0");
    EXPECT_EQ(r.pricingProblem(), QStringLiteral("an exit's price has to be over zero."));
    r.takeProfit = dec("12");
    r.stopLoss = dec("-3");
    EXPECT_EQ(r.pricingProblem(), QStringLiteral("an exit's price has to be over zero."));
    r.stopLoss = dec("8");
    EXPECT_EQ(r.pricingProblem(), std::nullopt);
}

TEST(OrderRequestChecks, SharesMustBeWholeAndPositive) {
    EXPECT_EQ(shares("2.5").shareProblem(),
              QStringLiteral("Tavix buys whole shares only, and 2.5 isn't a whole number."));
    EXPECT_EQ(shares("0").shareProblem(), QStringLiteral("the number of shares has to be more than zero."));
    EXPECT_EQ(shares("-3").shareProblem(), QStringLiteral("the number of shares has to be more than zero."));
    EXPECT_EQ(shares("3.000").shareProblem(), std::nullopt);  // whole however it is written
    EXPECT_EQ(shares("100").shareProblem(), std::nullopt);
}

TEST(OrderRequestChecks, CoinAmountsMayBeFractionalButGoThroughTheCryptoRules) {
    auto r = coins();
    EXPECT_EQ(r.shareProblem(), std::nullopt);
    r.quantity = dec("0");
    EXPECT_EQ(r.shareProblem(), QStringLiteral("the amount has to be more than zero."));
    r.quantity = dec("0.25");
    r.symbol = QStringLiteral("BTCX");
    EXPECT_EQ(r.shareProblem(), QStringLiteral("BTCX isn't a crypto pair (one looks like BTC/USD)."));
}

TEST(OrderRequestChecks, CryptoProblemsComeInTheirFixedOrder) {
    auto r = coins();
    r.side = OrderSide::sellShort;
    r.takeProfit = dec("70000");
    EXPECT_EQ(r.cryptoProblem(), QStringLiteral("crypto is bought and sold, never sold short."));
    r.side = OrderSide::sell;
    EXPECT_EQ(r.cryptoProblem(),
              QStringLiteral("crypto orders can't carry a sell price or a get-out price with them. Tavix places "
                             "those itself once the coins are held."));
    r.takeProfit.reset();
    r.type = OrderType::trailingStop;
    EXPECT_EQ(r.cryptoProblem(), QStringLiteral("crypto doesn't take trailing stops."));
    r.type = OrderType::stop;
    EXPECT_EQ(r.cryptoProblem(), QStringLiteral("crypto takes a stop limit, not a plain stop."));
    r.type = OrderType::stopLimit;
    r.limitPrice.reset();
    EXPECT_EQ(r.cryptoProblem(), QStringLiteral("a limit order needs a limit price."));
    r.limitPrice = dec("59000");
    EXPECT_EQ(r.cryptoProblem(), QStringLiteral("a stop limit needs a stop price."));
    r.stopPrice = dec("59500");
    r.timeInForce = TimeInForce::day;
    EXPECT_EQ(r.cryptoProblem(), QStringLiteral("crypto orders are good-till-cancelled or immediate-or-cancel."));
    r.timeInForce = TimeInForce::immediateOrCancel;
    EXPECT_EQ(r.cryptoProblem(), std::nullopt);
}

TEST(OrderRequestChecks, ExitPairIsOnlyForHeldShares) {
    auto r = shares("10", OrderType::limit);
    r.side = OrderSide::sell;
    r.takeProfit = dec("200");
    r.stopLoss = dec("150");
    EXPECT_TRUE(r.isExitPair());
    r.side = OrderSide::buy;  // a buy with both exits is an entry with a bracket
    EXPECT_FALSE(r.isExitPair());
    r.side = OrderSide::sell;
    r.stopLoss.reset();
    EXPECT_FALSE(r.isExitPair());
    r.stopLoss = dec("150");
    r.assetType = AssetType::option;
    EXPECT_FALSE(r.isExitPair());
}

TEST(OrderRecords, OpenStatusesAndLegs) {
    for (auto status : allCases<OrderStatus>()) {
        Order o{.status = status};
        const bool open = status == OrderStatus::pending || status == OrderStatus::working ||
                          status == OrderStatus::partiallyFilled;
        EXPECT_EQ(o.isOpen(), open) << enumName(status);
    }
    Order parent{.id = QStringLiteral("1")};
    EXPECT_EQ(parent.takeProfitLeg(), nullptr);
    parent.legs = {Order{.id = QStringLiteral("2"), .type = OrderType::stop},
                   Order{.id = QStringLiteral("3"), .type = OrderType::limit},
                   Order{.id = QStringLiteral("4"), .type = OrderType::limit}};
    ASSERT_TRUE(parent.takeProfitLeg() && parent.stopLossLeg());
    EXPECT_EQ(parent.takeProfitLeg()->id, QStringLiteral("3"));
    EXPECT_EQ(parent.stopLossLeg()->id, QStringLiteral("2"));
}

TEST(OrderRecords, FillsAreBuiltFromFilledOrdersAndTheirLegs) {
    Order entry{.id = QStringLiteral("10"), .symbol = QStringLiteral("AAPL260116C00190000"),
                .assetType = AssetType::option, .side = OrderSide::buyToOpen, .status = OrderStatus::filled,
                .quantity = dec("2"), .filledQuantity = dec("2"), .averageFillPrice = dec("3.45"),
                .enteredAt = Date(100), .closedAt = Date(160)};
    Order exitLeg{.id = QStringLiteral("11"), .symbol = entry.symbol, .assetType = AssetType::option,
                  .side = OrderSide::sellToClose, .type = OrderType::limit,
                  .status = OrderStatus::partiallyFilled, .quantity = dec("2"), .filledQuantity = dec("1"),
                  .averageFillPrice = dec("4.10"), .enteredAt = Date(170)};
    Order unfilledLeg{.id = QStringLiteral("12"), .type = OrderType::stop, .quantity = dec("2")};
    Order noPrice{.id = QStringLiteral("13"), .filledQuantity = dec("5")};  // no average price: no fill
    entry.legs = {exitLeg, unfilledLeg};

    auto fills = Fill::fromOrders({entry, noPrice});
    ASSERT_EQ(fills.size(), 2U);
    EXPECT_EQ(fills[0].price, dec("3.45"));
    EXPECT_EQ(fills[0].time, Date(160));  // closing time first
    EXPECT_EQ(fills[0].multiplier(), 100);
    EXPECT_EQ(fills[0].underlying(), QStringLiteral("AAPL"));
    EXPECT_EQ(fills[1].orderID, QStringLiteral("11"));
    EXPECT_EQ(fills[1].quantity, dec("1"));
    EXPECT_EQ(fills[1].time, Date(170));  // else the entry time

    EXPECT_EQ(Fill{.symbol = QStringLiteral("MSFT")}.multiplier(), 1);
}

TEST(MarketEnums, NamesRoundTripAndIntervalsHaveFixedLengths) {
    EXPECT_EQ(enumName(OrderSide::buyToCover), "buyToCover");
    EXPECT_EQ(enumFromName<OrderType>("stopLimit"), OrderType::stopLimit);
    EXPECT_EQ(enumFromName<OrderType>("StopLimit"), std::nullopt);
    EXPECT_EQ(seconds(CandleInterval::monthly), 2592000);
    EXPECT_TRUE(isBuiltFromTrades(CandleInterval::oneSecond));
    EXPECT_FALSE(isBuiltFromTrades(CandleInterval::oneMinute));
    int buys = 0;
    for (auto side : allCases<OrderSide>()) buys += isBuy(side) ? 1 : 0;
    EXPECT_EQ(buys, 4);
    EXPECT_TRUE(isBuy(OrderSide::buyToCover));
}

}  // namespace
}  // namespace tavix
