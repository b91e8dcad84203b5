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

TEST(OrderRequestChecks, SharesMustBeWholeAndPositiveCoinsMayBeFractional) {
    EXPECT_EQ(shares("2.5").shareProblem(),
              QStringLiteral("Tavix buys whole shares only, and 2.5 isn't a whole number."));
    EXPECT_EQ(shares("0").shareProblem(), QStringLiteral("the number of shares has to be more than zero."));
    EXPECT_EQ(shares("-3").shareProblem(), QStringLiteral("the number of shares has to be more than zero."));
    EXPECT_EQ(shares("3.000").shareProblem(), std::nullopt);  // whole however it is written
    EXPECT_EQ(shares("100").shareProblem(), std::nullopt);
    // Coin amounts may be fractional but go through the crypto rules.
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

}  // namespace
}  // namespace tavix
