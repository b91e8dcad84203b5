// The practice broker's refusals: the raw words a brokerage answers with, carried unchanged, and
// the record's own checks. A refused order is never booked.
#include "PracticeFixture.h"

namespace tavix::test {
namespace {

const QString acme = QStringLiteral("ACME");

class MockBrokerRefusals : public PracticeFixture {
protected:
    void SetUp() override {
        PracticeFixture::SetUp();
        broker->pin(acme, Decimal(100));
    }
    OrderRequest trailing(const char* trail) {
        auto request = stockOrder(acme, OrderSide::sell, 10, OrderType::trailingStop);
        if (trail) request.trailAmount = dec(trail);
        return request;
    }
    OrderRequest coin(const QString& symbol, OrderSide side, const char* amount) {
        return OrderRequest{.symbol = symbol,
                            .assetType = AssetType::crypto,
                            .side = side,
                            .quantity = dec(amount),
                            .timeInForce = TimeInForce::goodTillCancelled};
    }
    OrderRequest option(const QString& symbol) {
        return OrderRequest{
            .symbol = symbol, .assetType = AssetType::option, .side = OrderSide::buyToOpen, .quantity = 1};
    }
};

TEST_F(MockBrokerRefusals, QuantityAndQuotes) {
    EXPECT_EQ(refusalOf(stockOrder(acme, OrderSide::buy, 0)),
              QStringLiteral("quantity must be greater than zero"));
    EXPECT_EQ(refusalOf(stockOrder(acme, OrderSide::buy, -3)),
              QStringLiteral("quantity must be greater than zero"));

    broker->setBidless(acme, true);
    EXPECT_EQ(refusalOf(stockOrder(acme, OrderSide::buy, 1)),
              QStringLiteral("no available quote for symbol. please reenter with a limit"));
    EXPECT_EQ(refusalOf(limitOrder(acme, OrderSide::buy, 1, "99")), QStringLiteral("accepted"));
    broker->setBidless(acme, false);
    EXPECT_EQ(refusalOf(stockOrder(acme, OrderSide::buy, 1)), QStringLiteral("accepted"));
}

TEST_F(MockBrokerRefusals, TrailingStops) {
    EXPECT_EQ(refusalOf(trailing("25.01")), QStringLiteral("trail_price must be <= 25% of the stock price"));
    EXPECT_EQ(refusalOf(trailing(nullptr)),
              QStringLiteral("A trailing stop needs how far behind the price it follows."));
    EXPECT_EQ(refusalOf(trailing("0")),
              QStringLiteral("A trailing stop needs how far behind the price it follows."));

    auto withExits = trailing("5");
    withExits.stopLoss = Decimal(80);
    EXPECT_EQ(refusalOf(withExits),
              QStringLiteral("A trailing stop goes on its own, with no exits riding on it."));

    auto onOption = option(QStringLiteral("ACME260417C00100000"));
    onOption.type = OrderType::trailingStop;
    onOption.trailAmount = Decimal(1);
    EXPECT_EQ(refusalOf(onOption), QStringLiteral("Trailing stops are for shares, not options."));

    EXPECT_EQ(refusalOf(trailing("25")), QStringLiteral("accepted"));  // a quarter exactly is allowed
}

TEST_F(MockBrokerRefusals, OptionContracts) {
    EXPECT_EQ(refusalOf(option(QStringLiteral("ACME123"))),
              QStringLiteral("ACME123 is not an option contract"));
    // Its last day was Friday 27 February; the clock is on 4 March.
    EXPECT_EQ(refusalOf(option(QStringLiteral("ACME260227C00100000"))),
              QStringLiteral("ACME260227C00100000 has expired and no longer trades"));
    // Trading until 16:00 New York on its last day.
    clock = *Date::parseIso(u"2026-03-06T20:59:00Z");
    EXPECT_EQ(refusalOf(option(QStringLiteral("ACME260306C00100000"))), QStringLiteral("accepted"));
    clock = *Date::parseIso(u"2026-03-06T21:00:00Z");
    EXPECT_EQ(refusalOf(option(QStringLiteral("ACME260306C00100000"))),
              QStringLiteral("ACME260306C00100000 has expired and no longer trades"));
}

TEST_F(MockBrokerRefusals, Coins) {
    EXPECT_EQ(refusalOf(coin(QStringLiteral("BTCUSD"), OrderSide::buy, "1")),
              QStringLiteral("BTCUSD isn't a crypto pair (one looks like BTC/USD)."));
    EXPECT_EQ(refusalOf(coin(QStringLiteral("ETH/USD"), OrderSide::sell, "1")),
              QStringLiteral("crypto can't be sold short: there's no ETH here to sell."));

    broker->pin(QStringLiteral("BTC/USD"), Decimal(25000));
    auto bought = place(coin(QStringLiteral("btc/usd"), OrderSide::buy, "0.5"));
    EXPECT_EQ(bought.symbol, QStringLiteral("BTC/USD"));  // kept in the standard form
    orders();
    EXPECT_EQ(refusalOf(coin(QStringLiteral("BTC/USD"), OrderSide::sell, "0.6")),
              QStringLiteral("crypto can't be sold short: there's only 0.5 BTC here to sell."));
    EXPECT_EQ(refusalOf(coin(QStringLiteral("BTC/USD"), OrderSide::sell, "0.5")), QStringLiteral("accepted"));

    // The record's own coin checks run too.
    auto dayOrder = coin(QStringLiteral("BTC/USD"), OrderSide::buy, "0.1");
    dayOrder.timeInForce = TimeInForce::day;
    EXPECT_EQ(refusalOf(dayOrder),
              QStringLiteral("crypto orders are good-till-cancelled or immediate-or-cancel."));
}

TEST_F(MockBrokerRefusals, TheRecordsOwnChecks) {
    EXPECT_EQ(refusalOf(stockOrder(acme, OrderSide::buy, 1, OrderType::limit)),
              QStringLiteral("a limit order needs a limit price."));
    auto stopLimit = stockOrder(acme, OrderSide::sell, 1, OrderType::stopLimit);
    stopLimit.limitPrice = Decimal(90);
    EXPECT_EQ(refusalOf(stopLimit), QStringLiteral("a stop order needs a stop price."));
    auto half = stockOrder(acme, OrderSide::buy, 1);
    half.quantity = dec("2.5");
    EXPECT_EQ(refusalOf(half), QStringLiteral("Tavix buys whole shares only, and 2.5 isn't a whole number."));
    auto badExit = stockOrder(acme, OrderSide::buy, 1);
    badExit.takeProfit = Decimal(0);
    EXPECT_EQ(refusalOf(badExit), QStringLiteral("an exit's price has to be over zero."));
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
