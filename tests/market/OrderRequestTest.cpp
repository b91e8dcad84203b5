#include "market/OrderRequest.h"

#include <gtest/gtest.h>

#include <vector>

namespace tavix {
namespace {

Decimal dec(const char* text) { return *Decimal::parse(std::string_view(text)); }

// A coin order that passes every check, then changed.
OrderRequest coins(void (*change)(OrderRequest&)) {
    OrderRequest r{.symbol = QStringLiteral("BTC/USD"), .assetType = AssetType::crypto, .quantity = dec("0.5"),
                   .type = OrderType::limit, .limitPrice = dec("60000"),
                   .timeInForce = TimeInForce::goodTillCancelled};
    change(r);
    return r;
}

OrderRequest shares(const char* quantity) {
    return {.symbol = QStringLiteral("AAPL"), .quantity = dec(quantity)};
}

TEST(OrderRequestChecks, EachCheckReportsItsFirstProblem) {
    using enum OrderType;
    const auto pricing = &OrderRequest::pricingProblem, count = &OrderRequest::shareProblem,
               crypto = &OrderRequest::cryptoProblem;
    const char* trail = "a trailing stop needs how far behind the price it follows.";
    const char* exit = "an exit's price has to be over zero.";
    const char* noShares = "the number of shares has to be more than zero.";
    const char* noLimit = "a limit order needs a limit price.";
    struct Case {
        std::optional<QString> (OrderRequest::*check)() const;
        OrderRequest request;
        const char* want;  // null: no problem
    };
    const std::vector<Case> cases = {
        {pricing, {.type = trailingStop}, trail},
        {pricing, {.type = trailingStop, .trailAmount = dec("0")}, trail},  // zero is refused exactly like none
        {pricing, {.type = trailingStop, .trailAmount = dec("0.5")}, nullptr},
        {pricing, {.type = stopLimit}, noLimit},  // neither price: the limit price is reported first
        {pricing, {.type = stopLimit, .limitPrice = dec("-1")}, "the limit price has to be over zero."},
        {pricing, {.type = stopLimit, .limitPrice = dec("10")}, "a stop order needs a stop price."},
        {pricing, {.type = stopLimit, .limitPrice = dec("10"), .stopPrice = dec("0")},
         "the stop price has to be over zero."},
        {pricing, {.type = stopLimit, .limitPrice = dec("10"), .stopPrice = dec("9.5"), .takeProfit = dec("0")},
         exit},
        {pricing, {.takeProfit = dec("12"), .stopLoss = dec("-3")}, exit},
        {pricing, {.type = stopLimit, .limitPrice = dec("10"), .stopPrice = dec("9.5"), .takeProfit = dec("12"),
                   .stopLoss = dec("8")}, nullptr},

        {count, shares("2.5"), "Tavix buys whole shares only, and 2.5 isn't a whole number."},
        {count, shares("0"), noShares},
        {count, shares("-3"), noShares},
        {count, shares("3.000"), nullptr},  // whole however it is written
        {count, shares("100"), nullptr},
        // Coin amounts may be fractional but go through the crypto rules.
        {count, coins([](OrderRequest&) {}), nullptr},
        {count, coins([](OrderRequest& r) { r.quantity = dec("0"); }), "the amount has to be more than zero."},
        {count, coins([](OrderRequest& r) { r.quantity = dec("0.25"); r.symbol = QStringLiteral("BTCX"); }),
         "BTCX isn't a crypto pair (one looks like BTC/USD)."},

        {crypto, coins([](OrderRequest& r) { r.side = OrderSide::sellShort; r.takeProfit = dec("70000"); }),
         "crypto is bought and sold, never sold short."},
        {crypto, coins([](OrderRequest& r) { r.side = OrderSide::sell; r.takeProfit = dec("70000"); }),
         "crypto orders can't carry a sell price or a get-out price with them. Tavix places those itself once "
         "the coins are held."},
        {crypto, coins([](OrderRequest& r) { r.type = trailingStop; }), "crypto doesn't take trailing stops."},
        {crypto, coins([](OrderRequest& r) { r.type = stop; }), "crypto takes a stop limit, not a plain stop."},
        {crypto, coins([](OrderRequest& r) { r.type = stopLimit; r.limitPrice.reset(); }), noLimit},
        {crypto, coins([](OrderRequest& r) { r.type = stopLimit; r.limitPrice = dec("59000"); }),
         "a stop limit needs a stop price."},
        {crypto, coins([](OrderRequest& r) { r.type = stopLimit; r.stopPrice = dec("59500"); }), nullptr},
        {crypto, coins([](OrderRequest& r) { r.timeInForce = TimeInForce::day; }),
         "crypto orders are good-till-cancelled or immediate-or-cancel."},
        {crypto, coins([](OrderRequest& r) { r.timeInForce = TimeInForce::immediateOrCancel; }), nullptr},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const Case& c = cases[i];
        EXPECT_EQ((c.request.*c.check)(), c.want ? std::optional(QString::fromUtf8(c.want)) : std::nullopt)
            << "case " << i;
    }
}

}  // namespace
}  // namespace tavix
