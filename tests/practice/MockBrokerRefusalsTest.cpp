// The practice broker's refusals: the raw words a brokerage answers with, carried unchanged, and
// the record's own checks. A refused order is never booked.
#include "PracticeFixture.h"

namespace tavix::test {
namespace {

const QString acme = QStringLiteral("ACME");

OrderRequest trailing(const char* trail) {
    auto request = stockOrder(acme, OrderSide::sell, 10, OrderType::trailingStop);
    if (trail) request.trailAmount = dec(trail);
    return request;
}
OrderRequest coin(const char* symbol, OrderSide side, const char* amount) {
    return OrderRequest{.symbol = QString::fromUtf8(symbol),
                        .assetType = AssetType::crypto,
                        .side = side,
                        .quantity = dec(amount),
                        .timeInForce = TimeInForce::goodTillCancelled};
}
OrderRequest option(const char* symbol) {
    return OrderRequest{.symbol = QString::fromUtf8(symbol),
                        .assetType = AssetType::option,
                        .side = OrderSide::buyToOpen,
                        .quantity = 1};
}

class MockBrokerRefusals : public PracticeFixture {
protected:
    void SetUp() override {
        PracticeFixture::SetUp();
        broker->pin(acme, Decimal(100));
    }
};

TEST_F(MockBrokerRefusals, EachInItsOwnWordsAtItsBoundary) {
    broker->pin(QStringLiteral("BTC/USD"), Decimal(25000));
    auto bought = place(coin("btc/usd", OrderSide::buy, "0.5"));
    EXPECT_EQ(bought.symbol, QStringLiteral("BTC/USD"));  // kept in the standard form
    orders();
    // The last minute of trading for ACME260306 (until 16:00 New York on its last day).
    clock = *Date::parseIso(u"2026-03-06T20:59:00Z");

    auto trailWithExits = trailing("5");
    trailWithExits.stopLoss = Decimal(80);
    auto trailOnOption = option("ACME260417C00100000");
    trailOnOption.type = OrderType::trailingStop;
    trailOnOption.trailAmount = Decimal(1);
    auto dayCoin = coin("BTC/USD", OrderSide::buy, "0.1");
    dayCoin.timeInForce = TimeInForce::day;
    auto stopLimit = stockOrder(acme, OrderSide::sell, 1, OrderType::stopLimit);
    stopLimit.limitPrice = Decimal(90);
    auto half = stockOrder(acme, OrderSide::buy, 1);
    half.quantity = dec("2.5");
    auto badExit = stockOrder(acme, OrderSide::buy, 1);
    badExit.takeProfit = Decimal(0);
    const std::pair<OrderRequest, const char*> cases[] = {
        {trailing("25.01"), "trail_price must be <= 25% of the stock price"},
        {trailing("25"), "accepted"},  // a quarter exactly is allowed
        {trailing(nullptr), "A trailing stop needs how far behind the price it follows."},
        {trailing("0"), "A trailing stop needs how far behind the price it follows."},
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
        {dayCoin, "crypto orders are good-till-cancelled or immediate-or-cancel."},
        {stockOrder(acme, OrderSide::buy, 1, OrderType::limit), "a limit order needs a limit price."},
        {stopLimit, "a stop order needs a stop price."},
        {half, "Tavix buys whole shares only, and 2.5 isn't a whole number."},
        {badExit, "an exit's price has to be over zero."},
    };
    for (const auto& [request, words] : cases) {
        SCOPED_TRACE(words);
        EXPECT_EQ(refusalOf(request), QString::fromUtf8(words));
    }
    clock = *Date::parseIso(u"2026-03-06T21:00:00Z");
    EXPECT_EQ(refusalOf(option("ACME260306C00100000")),
              QStringLiteral("ACME260306C00100000 has expired and no longer trades"));

    broker->setBidless(acme, true);
    EXPECT_EQ(refusalOf(stockOrder(acme, OrderSide::buy, 1)),
              QStringLiteral("no available quote for symbol. please reenter with a limit"));
    EXPECT_EQ(refusalOf(limitOrder(acme, OrderSide::buy, 1, "99")), QStringLiteral("accepted"));
}

TEST_F(MockBrokerRefusals, TravelAsInvalidOrderWithTheRawWordsAndBookNothing) {
    try {
        place(stockOrder(acme, OrderSide::buy, 0));
        FAIL();
    } catch (const BrokerError& e) {
        EXPECT_EQ(e, BrokerError::invalidOrder(QStringLiteral("quantity must be greater than zero")));
        EXPECT_EQ(e.description(),
                  QStringLiteral("That order can't be sent: quantity must be greater than zero"));
    }
    EXPECT_TRUE(broker->ledger().book.empty());
    EXPECT_EQ(broker->ledger().sequence, 0);
    EXPECT_EQ(broker->sendsTried(), 1);
}

}  // namespace
}  // namespace tavix::test
