// The practice broker's refusals: the raw words a brokerage answers with, carried unchanged, and
// the record's own checks. A refused order is never booked.
#include "PracticeFixture.h"

namespace tavix::test {
namespace {

OrderRequest trailing(const char* trail) {
    auto request = stockOrder(OrderSide::sell, 10, OrderType::trailingStop);
    if (trail) request.trailAmount = dec(trail);
    return request;
}
OrderRequest coin(const char* symbol, OrderSide side, const char* amount,
                  TimeInForce timeInForce = TimeInForce::goodTillCancelled) {
    return {.symbol = QString::fromUtf8(symbol), .assetType = AssetType::crypto, .side = side,
            .quantity = dec(amount), .timeInForce = timeInForce};
}
OrderRequest option(const char* symbol) {
    return {.symbol = QString::fromUtf8(symbol), .assetType = AssetType::option, .side = OrderSide::buyToOpen,
            .quantity = 1};
}

using MockBrokerRefusals = PracticeFixture;

TEST_F(MockBrokerRefusals, EachInItsOwnWordsAtItsBoundary) {
    broker->pin(QStringLiteral("BTC/USD"), Decimal(25000));
    // Kept in the standard form.
    EXPECT_EQ(place(coin("btc/usd", OrderSide::buy, "0.5")).symbol, QStringLiteral("BTC/USD"));
    orders();
    // The last minute of trading for ACME260306 (until 16:00 New York on its last day).
    clock = at(u"2026-03-06T20:59:00Z");

    auto trailWithExits = trailing("5");
    trailWithExits.stopLoss = Decimal(80);
    auto trailOnOption = option("ACME260417C00100000");
    trailOnOption.type = OrderType::trailingStop;
    trailOnOption.trailAmount = Decimal(1);
    auto stopLimit = limitOrder(OrderSide::sell, 1, "90");
    stopLimit.type = OrderType::stopLimit;
    auto badExit = stockOrder(OrderSide::buy, 1);
    badExit.takeProfit = Decimal(0);
    const char* const noTrail = "A trailing stop needs how far behind the price it follows.";
    const std::pair<OrderRequest, const char*> cases[] = {
        {trailing("25.01"), "trail_price must be <= 25% of the stock price"},
        {trailing("25"), "accepted"},  // a quarter exactly is allowed
        {trailing(nullptr), noTrail},
        {trailing("0"), noTrail},
        {trailWithExits, "A trailing stop goes on its own, with no exits riding on it."},
        {trailOnOption, "Trailing stops are for shares, not options."},
        {option("ACME123"), "ACME123 is not an option contract"},
        // Its last day was Friday 27 February.
        {option("ACME260227C00100000"), "ACME260227C00100000 has expired and no longer trades"},
        {option("ACME260306C00100000"), "accepted"},
        {coin("BTCUSD", OrderSide::buy, "1"), "BTCUSD isn't a crypto pair (one looks like BTC/USD)."},
        {coin("ETH/USD", OrderSide::sell, "1"), "crypto can't be sold short: there's no ETH here to sell."},
        {coin("BTC/USD", OrderSide::sell, "0.6"),
         "crypto can't be sold short: there's only 0.5 BTC here to sell."},
        {coin("BTC/USD", OrderSide::sell, "0.5"), "accepted"},
        {coin("BTC/USD", OrderSide::buy, "0.1", TimeInForce::day),
         "crypto orders are good-till-cancelled or immediate-or-cancel."},
        {stockOrder(OrderSide::buy, 1, OrderType::limit), "a limit order needs a limit price."},
        {stopLimit, "a stop order needs a stop price."},
        {stockOrder(OrderSide::buy, dec("2.5")),
         "Tavix buys whole shares only, and 2.5 isn't a whole number."},
        {badExit, "an exit's price has to be over zero."},
        {stockOrder(OrderSide::buy, 0), "quantity must be greater than zero"},
    };
    for (const auto& [request, words] : cases) {
        SCOPED_TRACE(words);
        EXPECT_EQ(refusalOf(request), QString::fromUtf8(words));
    }
    // Only the first coin and the three accepted are booked: a refusal takes no order number.
    EXPECT_EQ(broker->ledger().book.size(), 4u);
    EXPECT_EQ(broker->ledger().sequence, 4);
    EXPECT_EQ(broker->sendsTried(), 20);
    clock = at(u"2026-03-06T21:00:00Z");
    EXPECT_EQ(refusalOf(option("ACME260306C00100000")),
              QStringLiteral("ACME260306C00100000 has expired and no longer trades"));

    broker->setBidless(acme, true);
    EXPECT_EQ(refusalOf(stockOrder(OrderSide::buy, 1)),
              QStringLiteral("no available quote for symbol. please reenter with a limit"));
    EXPECT_EQ(refusalOf(limitOrder(OrderSide::buy, 1, "99")), QStringLiteral("accepted"));
}

}  // namespace
}  // namespace tavix::test
