// Orders at the practice broker: matched at the broker's clock, filled whole or in parts,
// cancelled, replaced, and the groups (brackets, exit pairs).
#include "PracticeFixture.h"

namespace tavix::test {
namespace {

class MockBrokerOrders : public PracticeFixture {
protected:
    // Pins the price and gives the quote there.
    Quote pinAt(const char* price) {
        broker->pin(acme, dec(price));
        return await(broker->quotes({acme})).at(acme);
    }
    Order buyShares(int quantity) { return order(place(stockOrder(OrderSide::buy, quantity)).id); }
};

// Ten shares; the first price is the stop, or a trailing stop's trail.
OrderRequest typed(OrderSide side, OrderType type, const char* stop, const char* limit = nullptr) {
    auto request = stockOrder(side, 10, type);
    (type == OrderType::trailingStop ? request.trailAmount : request.stopPrice) = dec(stop);
    if (limit) request.limitPrice = dec(limit);
    return request;
}

// At a price: the order's status there, and where a trailing stop stands and its best price.
struct Step {
    const char* price;
    OrderStatus status;
    const char* stop = nullptr;
    const char* best = nullptr;
};

TEST_F(MockBrokerOrders, EachOrderTypeDealsWhereItShould) {
    using enum OrderSide;
    using enum OrderStatus;
    using enum OrderType;
    const std::tuple<int, OrderRequest, std::vector<Step>> cases[] = {
        {0, stockOrder(buy, 10), {{"100", filled}}},
        {10, stockOrder(sell, 10), {{"100", filled}}},
        {0, limitOrder(buy, 10, "95"), {{"100", working}, {"94", filled}}},
        {5, limitOrder(sell, 5, "120"), {{"100", working}, {"94", working}, {"121", filled}}},
        {10, typed(sell, stop, "90"), {{"100", working}, {"85", filled}}},
        // Falls through the stop to below the limit, then back over the limit but not the stop:
        // triggered stays, so it deals.
        {10, typed(sell, stopLimit, "90", "89"), {{"100", working}, {"85", working}, {"89.50", filled}}},
        // Down from its best, but not to the stop: the best stays.
        {10,
         typed(sell, trailingStop, "5"),
         {{"100", working, "95"},
          {"110", working, "105", "110"},
          {"106", working, nullptr, "110"},
          {"104.90", filled}}},
        // A buy follows the lowest price, the trail above it.
        {0,
         typed(buy, trailingStop, "2"),
         {{"100", working, "102"}, {"90", working, "92"}, {"91.99", working}, {"92", filled}}},
    };
    for (const auto& [held, request, steps] : cases) {
        SCOPED_TRACE(testing::Message() << enumName(request.type) << ' ' << enumName(request.side));
        makeBroker(std::nullopt);
        if (held) buyShares(held);
        const Order placed = place(request);
        EXPECT_EQ(placed.status, pending);  // until the next read
        for (const auto& step : steps) {
            SCOPED_TRACE(step.price);
            advance(60);
            const Quote there = pinAt(step.price);
            ASSERT_LT(*there.bid, *there.ask);
            const Order now = order(placed.id);
            EXPECT_EQ(now.status, step.status);
            if (step.stop) {
                EXPECT_EQ(now.stopPrice, dec(step.stop));
            }
            if (step.best) {
                EXPECT_EQ(now.highWaterMark, dec(step.best));
            }
            if (step.status != filled) continue;
            // A buy pays the ask and a sale gets the bid.
            EXPECT_EQ(now.averageFillPrice, request.side == buy ? there.ask : there.bid);
            EXPECT_EQ(now.closedAt, clock);
        }
        EXPECT_EQ(position(acme).has_value(), held == 0);
    }
}

TEST_F(MockBrokerOrders, LargeRestingLimitsFillInPartsAcrossReads) {
    auto id = place(limitOrder(OrderSide::buy, 301, "101")).id;
    auto first = order(id);
    EXPECT_EQ(first.status, OrderStatus::partiallyFilled);
    EXPECT_EQ(first.filledQuantity, Decimal(151));      // half of 301, rounded up
    EXPECT_EQ(order(id).filledQuantity, Decimal(226));  // 75 more of the 150 left
    EXPECT_EQ(order(id).status, OrderStatus::filled);
    EXPECT_EQ(position(acme)->quantity, Decimal(301));

    // Every read matches: a part fills on a read of positions too.
    auto again = place(limitOrder(OrderSide::buy, 200, "101")).id;
    EXPECT_EQ(position(acme)->quantity, Decimal(401));
    EXPECT_EQ(order(again).status, OrderStatus::filled);
    // A market order of the same size fills whole.
    EXPECT_EQ(order(place(stockOrder(OrderSide::sell, 501)).id).filledQuantity, Decimal(501));
}

TEST_F(MockBrokerOrders, APartFilledAtTwoPricesAveragesThem) {
    auto id = place(limitOrder(OrderSide::buy, 200, "101")).id;
    const Quote first = pinAt("100");
    order(id);  // 100 at the ask of 100
    const Quote second = pinAt("99");
    auto done = order(id);
    ASSERT_EQ(done.status, OrderStatus::filled);
    EXPECT_EQ(*done.averageFillPrice, (*first.ask + *second.ask) / Decimal(2));
    EXPECT_EQ(position(acme)->averagePrice, ((*first.ask + *second.ask) / Decimal(2)).rounded(4));
}

TEST_F(MockBrokerOrders, CancelAndReplaceWorkOnlyOnOpenOrders) {
    auto resting = place(limitOrder(OrderSide::buy, 10, "50"));
    cancel(resting.id);
    EXPECT_EQ(order(resting.id).status, OrderStatus::cancelled);
    EXPECT_EQ(errorOf(broker->cancelOrder(resting.id, account())),
              BrokerError::invalidOrder(QStringLiteral("that order isn't working any more.")));
    // A market order fills at the match that runs before the cancel, so it is too late.
    auto market = place(stockOrder(OrderSide::buy, 1));
    EXPECT_THROW(cancel(market.id), BrokerError);
    EXPECT_EQ(order(market.id).status, OrderStatus::filled);

    auto old = place(limitOrder(OrderSide::buy, 10, "50"));
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
        return errorOf(broker->replaceOrder(moved.id, account(), limit, stop)).value().text();
    };
    // A limit order has no stop to move.
    EXPECT_EQ(refused(std::nullopt, Decimal(55)), QStringLiteral("there's no new price to move it to."));
    EXPECT_EQ(refused(Decimal(0), std::nullopt), QStringLiteral("the limit price has to be over zero."));
    EXPECT_EQ(order(moved.id).status, OrderStatus::working);  // a refused move changes nothing
}

TEST_F(MockBrokerOrders, ABracketsExitsAreArmedByItsEntrysFillAndCancelEachOther) {
    auto id = place(withExits(limitOrder(OrderSide::buy, 10, "95"), 110, 90)).id;
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
    auto placed = place(withExits(limitOrder(OrderSide::buy, 10, "95"), 110, 90));
    broker->pin(acme, Decimal(85));
    auto out = order(placed.id);
    EXPECT_EQ(out.stopLossLeg()->status, OrderStatus::filled);
    EXPECT_EQ(out.takeProfitLeg()->status, OrderStatus::cancelled);
    EXPECT_FALSE(position(acme).has_value());
}

TEST_F(MockBrokerOrders, CancellingAPartFilledEntryArmsItsExitsForWhatFilled) {
    auto id = place(withExits(limitOrder(OrderSide::buy, 300, "101"), 0, 80)).id;
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
    auto group = place(withExits(stockOrder(OrderSide::sell, 10), 110, 90));
    const Quote fell = pinAt("89");
    auto after = order(group.id);
    EXPECT_EQ(after.stopLossLeg()->status, OrderStatus::filled);
    EXPECT_EQ(after.stopLossLeg()->averageFillPrice, fell.bid);
    EXPECT_EQ(after.status, OrderStatus::cancelled);
    EXPECT_FALSE(position(acme).has_value());

    // The other way round, in parts: the take-profit's part fill takes its quantity off the stop.
    pinAt("100");
    buyShares(300);
    auto big = place(withExits(stockOrder(OrderSide::sell, 300), 110, 90));
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
