// Orders at the practice broker: matched at the broker's clock, filled whole or in parts,
// cancelled, replaced, and the groups (brackets, exit pairs).
#include "PracticeFixture.h"

namespace tavix::test {
namespace {

const QString acme = QStringLiteral("ACME");

class MockBrokerOrders : public PracticeFixture {
protected:
    void SetUp() override { restart(); }
    // A new practice account with ACME at 100.
    void restart() {
        makeBroker(std::nullopt);
        broker->pin(acme, Decimal(100));
    }
    // Pins the price and gives the quote there.
    Quote pinAt(const char* price) {
        broker->pin(acme, dec(price));
        return quote(acme);
    }
    Order buyShares(int quantity) { return order(place(stockOrder(acme, OrderSide::buy, quantity)).id); }
    // A take-profit and a stop-loss on the request (0 for none).
    static OrderRequest withExits(OrderRequest request, int takeProfit, int stopLoss) {
        if (takeProfit) request.takeProfit = Decimal(takeProfit);
        if (stopLoss) request.stopLoss = Decimal(stopLoss);
        return request;
    }
};

TEST_F(MockBrokerOrders, EachOrderTypeDealsWhereItShould) {
    {
        SCOPED_TRACE("market: pending until the next read, then across the spread");
        const Quote at100 = quote(acme);
        ASSERT_LT(*at100.bid, *at100.ask);
        auto placed = place(stockOrder(acme, OrderSide::buy, 10));
        EXPECT_EQ(placed.status, OrderStatus::pending);
        advance(60);
        auto listed = orders();
        ASSERT_EQ(listed.size(), 1u);
        EXPECT_EQ(listed[0].status, OrderStatus::filled);
        EXPECT_EQ(listed[0].filledQuantity, Decimal(10));
        EXPECT_EQ(listed[0].averageFillPrice, at100.ask);  // a buy pays the ask
        EXPECT_EQ(listed[0].closedAt, clock);
        auto sold = place(stockOrder(acme, OrderSide::sell, 10));
        EXPECT_EQ(order(sold.id).averageFillPrice, at100.bid);  // a sale gets the bid
    }
    {
        SCOPED_TRACE("limit: waits for the price to reach it");
        restart();
        auto buy = place(limitOrder(acme, OrderSide::buy, 10, "95"));
        auto sell = place(limitOrder(acme, OrderSide::sell, 5, "120"));
        buyShares(5);
        EXPECT_EQ(order(buy.id).status, OrderStatus::working);
        EXPECT_EQ(order(sell.id).status, OrderStatus::working);
        const Quote low = pinAt("94");
        auto bought = order(buy.id);
        EXPECT_EQ(bought.status, OrderStatus::filled);
        EXPECT_EQ(bought.averageFillPrice, low.ask);
        EXPECT_EQ(order(sell.id).status, OrderStatus::working);
        pinAt("121");
        EXPECT_EQ(order(sell.id).status, OrderStatus::filled);
        EXPECT_GE(*order(sell.id).averageFillPrice, Decimal(120));
    }
    {
        SCOPED_TRACE("stop and stop limit: trigger, then deal as market or wait for the limit");
        restart();
        buyShares(20);
        auto stop = stockOrder(acme, OrderSide::sell, 10, OrderType::stop);
        stop.stopPrice = Decimal(90);
        auto stopID = place(stop).id;
        auto stopLimit = stockOrder(acme, OrderSide::sell, 10, OrderType::stopLimit);
        stopLimit.stopPrice = Decimal(90);
        stopLimit.limitPrice = Decimal(89);
        auto stopLimitID = place(stopLimit).id;
        EXPECT_EQ(order(stopID).status, OrderStatus::working);
        // Falls through both stops to below the stop limit's limit.
        const Quote fell = pinAt("85");
        EXPECT_EQ(order(stopID).averageFillPrice, fell.bid);
        EXPECT_EQ(order(stopLimitID).status, OrderStatus::working);
        // Back over its limit but not its stop: triggered stays, so it deals.
        pinAt("89.50");
        EXPECT_EQ(order(stopLimitID).status, OrderStatus::filled);
        EXPECT_FALSE(position(acme).has_value());
    }
    {
        SCOPED_TRACE("trailing stop: follows its best price");
        restart();
        buyShares(10);
        auto trailing = stockOrder(acme, OrderSide::sell, 10, OrderType::trailingStop);
        trailing.trailAmount = Decimal(5);
        auto id = place(trailing).id;
        EXPECT_EQ(order(id).stopPrice, Decimal(95));
        pinAt("110");
        auto risen = order(id);
        EXPECT_EQ(risen.highWaterMark, Decimal(110));
        EXPECT_EQ(risen.stopPrice, Decimal(105));
        pinAt("106");  // down, but not to the stop: the best stays
        auto dipped = order(id);
        EXPECT_EQ(dipped.status, OrderStatus::working);
        EXPECT_EQ(dipped.highWaterMark, Decimal(110));
        const Quote fell = pinAt("104.90");
        EXPECT_EQ(order(id).averageFillPrice, fell.bid);
        // A buy follows the lowest price, the trail above it.
        trailing.side = OrderSide::buy;
        trailing.trailAmount = Decimal(2);
        auto buyID = place(trailing).id;  // at 104.90: stop 106.90
        pinAt("90");
        EXPECT_EQ(order(buyID).stopPrice, Decimal(92));
        pinAt("91.99");
        EXPECT_EQ(order(buyID).status, OrderStatus::working);
        pinAt("92");
        EXPECT_EQ(order(buyID).status, OrderStatus::filled);
    }
}

TEST_F(MockBrokerOrders, LargeRestingLimitsFillInPartsAcrossReads) {
    auto id = place(limitOrder(acme, OrderSide::buy, 301, "101")).id;
    auto first = order(id);
    EXPECT_EQ(first.status, OrderStatus::partiallyFilled);
    EXPECT_EQ(first.filledQuantity, Decimal(151));      // half of 301, rounded up
    EXPECT_EQ(order(id).filledQuantity, Decimal(226));  // 75 more of the 150 left
    EXPECT_EQ(order(id).status, OrderStatus::filled);
    EXPECT_EQ(position(acme)->quantity, Decimal(301));

    // Every read matches: a part fills on a read of positions too.
    auto again = place(limitOrder(acme, OrderSide::buy, 200, "101")).id;
    EXPECT_EQ(position(acme)->quantity, Decimal(401));
    EXPECT_EQ(order(again).status, OrderStatus::filled);
    // A market order of the same size fills whole.
    auto market = place(stockOrder(acme, OrderSide::sell, 501));
    EXPECT_EQ(order(market.id).filledQuantity, Decimal(501));
}

TEST_F(MockBrokerOrders, APartFilledAtTwoPricesAveragesThem) {
    auto id = place(limitOrder(acme, OrderSide::buy, 200, "101")).id;
    const Quote first = quote(acme);
    order(id);  // 100 at the ask of 100
    const Quote second = pinAt("99");
    auto done = order(id);
    ASSERT_EQ(done.status, OrderStatus::filled);
    EXPECT_EQ(*done.averageFillPrice, (*first.ask + *second.ask) / Decimal(2));
    EXPECT_EQ(position(acme)->averagePrice, ((*first.ask + *second.ask) / Decimal(2)).rounded(4));
}

TEST_F(MockBrokerOrders, CancelAndReplaceWorkOnlyOnOpenOrders) {
    auto resting = place(limitOrder(acme, OrderSide::buy, 10, "50"));
    cancel(resting.id);
    EXPECT_EQ(order(resting.id).status, OrderStatus::cancelled);
    try {
        cancel(resting.id);
        FAIL() << "cancelled twice";
    } catch (const BrokerError& e) {
        EXPECT_EQ(e, BrokerError::invalidOrder(QStringLiteral("that order isn't working any more.")));
    }
    // A market order fills at the match that runs before the cancel, so it is too late.
    auto market = place(stockOrder(acme, OrderSide::buy, 1));
    EXPECT_THROW(cancel(market.id), BrokerError);
    EXPECT_EQ(order(market.id).status, OrderStatus::filled);

    auto old = place(limitOrder(acme, OrderSide::buy, 10, "50"));
    advance(10);
    auto moved = await(broker->replaceOrder(old.id, account(), Decimal(60), std::nullopt));
    EXPECT_NE(moved.id, old.id);
    EXPECT_EQ(moved.limitPrice, Decimal(60));
    EXPECT_EQ(moved.quantity, Decimal(10));
    EXPECT_EQ(moved.enteredAt, clock);
    auto replaced = order(old.id);
    EXPECT_EQ(replaced.status, OrderStatus::replaced);
    EXPECT_EQ(replaced.replacedBy, moved.id);
    auto refused = [&](std::optional<Decimal> limit, std::optional<Decimal> stop) {
        try {
            await(broker->replaceOrder(moved.id, account(), limit, stop));
        } catch (const BrokerError& e) {
            return e.text();
        }
        return QStringLiteral("moved");
    };
    // A limit order has no stop to move.
    EXPECT_EQ(refused(std::nullopt, Decimal(55)), QStringLiteral("there's no new price to move it to."));
    EXPECT_EQ(refused(Decimal(0), std::nullopt), QStringLiteral("the limit price has to be over zero."));
    EXPECT_EQ(order(moved.id).status, OrderStatus::working);  // a refused move changes nothing
}

TEST_F(MockBrokerOrders, ABracketsExitsAreArmedByItsEntrysFillAndCancelEachOther) {
    auto id = place(withExits(limitOrder(acme, OrderSide::buy, 10, "95"), 110, 90)).id;
    pinAt("111");
    auto before = order(id);
    EXPECT_EQ(before.status, OrderStatus::working);
    EXPECT_EQ(before.takeProfitLeg()->status, OrderStatus::pending);  // unarmed: did not sell

    pinAt("94");
    EXPECT_EQ(order(id).takeProfitLeg()->status, OrderStatus::working);
    EXPECT_EQ(position(acme)->available, Decimal(0));  // the exits hold all ten

    pinAt("110.50");
    auto exited = order(id);
    EXPECT_EQ(exited.takeProfitLeg()->status, OrderStatus::filled);
    EXPECT_EQ(exited.stopLossLeg()->status, OrderStatus::cancelled);
    EXPECT_FALSE(position(acme).has_value());

    // A fall through both: the entry buys at 85, and its stop-loss, armed by that fill, sells
    // in the same match.
    auto placed = place(withExits(limitOrder(acme, OrderSide::buy, 10, "95"), 110, 90));
    broker->pin(acme, Decimal(85));
    auto out = order(placed.id);
    EXPECT_EQ(out.stopLossLeg()->status, OrderStatus::filled);
    EXPECT_EQ(out.takeProfitLeg()->status, OrderStatus::cancelled);
    EXPECT_FALSE(position(acme).has_value());
}

TEST_F(MockBrokerOrders, CancellingAPartFilledEntryArmsItsExitsForWhatFilled) {
    auto id = place(withExits(limitOrder(acme, OrderSide::buy, 300, "101"), 0, 80)).id;
    order(id);  // 150 filled
    broker->pin(acme, Decimal(102));
    cancel(id);
    auto ended = order(id);
    EXPECT_EQ(ended.status, OrderStatus::cancelled);
    ASSERT_EQ(ended.legs.size(), 1u);
    EXPECT_EQ(ended.legs[0].quantity, Decimal(150));
    EXPECT_EQ(ended.legs[0].status, OrderStatus::working);
}

TEST_F(MockBrokerOrders, AnExitPairOnHeldSharesCancelsOneLegWhenTheOtherFills) {
    buyShares(10);
    const auto exits = withExits(stockOrder(acme, OrderSide::sell, 10), 110, 90);
    auto group = place(exits);
    const Quote fell = pinAt("89");
    auto after = order(group.id);
    EXPECT_EQ(after.stopLossLeg()->status, OrderStatus::filled);
    EXPECT_EQ(after.stopLossLeg()->averageFillPrice, fell.bid);
    EXPECT_EQ(after.status, OrderStatus::cancelled);
    EXPECT_FALSE(position(acme).has_value());

    // The other way round, in parts: the take-profit's part fill takes its quantity off the stop.
    pinAt("100");
    buyShares(300);
    auto big = place(withExits(stockOrder(acme, OrderSide::sell, 300), 110, 90));
    pinAt("111");
    auto part = order(big.id);
    EXPECT_EQ(part.filledQuantity, Decimal(150));
    EXPECT_EQ(part.stopLossLeg()->quantity, Decimal(150));
    EXPECT_EQ(part.stopLossLeg()->status, OrderStatus::working);
    pinAt("80");
    auto rest = order(big.id);
    EXPECT_EQ(rest.stopLossLeg()->status, OrderStatus::filled);
    EXPECT_EQ(rest.status, OrderStatus::filled);  // nothing left of it: the 150 it sold stand
    EXPECT_EQ(rest.filledQuantity, Decimal(150));
    EXPECT_FALSE(position(acme).has_value());
}

}  // namespace
}  // namespace tavix::test
