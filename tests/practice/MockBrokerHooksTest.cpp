// The practice broker misbehaving on demand: refusals, time-outs before and after booking,
// failing quotes, held cancels, late fills, lag, and a lost connection.
#include "PracticeFixture.h"

#include <QElapsedTimer>

namespace tavix::test {
namespace {

const QString acme = QStringLiteral("ACME");

class MockBrokerHooks : public PracticeFixture {
protected:
    void SetUp() override {
        PracticeFixture::SetUp();
        broker->pin(acme, Decimal(100));
    }
    std::optional<BrokerError> failureOf(const OrderRequest& request) {
        try {
            place(request);
        } catch (const BrokerError& e) {
            return e;
        }
        return std::nullopt;
    }
};

TEST_F(MockBrokerHooks, RefusalsTurnAwayTheNextOrdersAndCountAsSends) {
    broker->setRefusals(2);
    const auto order = stockOrder(acme, OrderSide::buy, 1);
    EXPECT_EQ(failureOf(order), BrokerError::invalidOrder(QStringLiteral("insufficient buying power")));
    EXPECT_EQ(broker->refusals(), 1);
    broker->setRefusals(1, QStringLiteral("wash trade detected"));
    EXPECT_EQ(failureOf(order), BrokerError::invalidOrder(QStringLiteral("wash trade detected")));
    EXPECT_EQ(failureOf(order), std::nullopt);
    EXPECT_EQ(broker->sendsTried(), 3);
    EXPECT_EQ(orders().size(), 1u);
}

TEST_F(MockBrokerHooks, ATimeOutBeforeBookingLeavesNothing) {
    broker->failNext(MockBroker::timedOut());
    EXPECT_EQ(failureOf(stockOrder(acme, OrderSide::buy, 1)), MockBroker::timedOut());
    EXPECT_EQ(MockBroker::timedOut().text(), QStringLiteral("The request timed out."));
    EXPECT_TRUE(orders().empty());
    EXPECT_FALSE(broker->nextFailure());  // once only
    EXPECT_EQ(failureOf(stockOrder(acme, OrderSide::buy, 1)), std::nullopt);
    EXPECT_EQ(broker->sendsTried(), 2);
}

TEST_F(MockBrokerHooks, ATimeOutAfterBookingLeavesTheOrderIn) {
    broker->failNext(MockBroker::timedOut(), true);
    auto request = stockOrder(acme, OrderSide::buy, 3);
    request.clientOrderID = QStringLiteral("tavix-1");
    EXPECT_EQ(failureOf(request), MockBroker::timedOut());
    auto listed = orders();
    ASSERT_EQ(listed.size(), 1u);
    EXPECT_EQ(listed[0].clientOrderID, QStringLiteral("tavix-1"));
    EXPECT_EQ(listed[0].status, OrderStatus::filled);
    EXPECT_EQ(position(acme)->quantity, Decimal(3));
}

TEST_F(MockBrokerHooks, FailNextAlsoCatchesACancel) {
    auto id = place(limitOrder(acme, OrderSide::buy, 1, "50")).id;
    broker->failNext(BrokerError::rateLimited(2.0));
    EXPECT_THROW(cancel(id), BrokerError);
    EXPECT_EQ(order(id).status, OrderStatus::working);
    broker->failNext(MockBroker::timedOut(), true);
    EXPECT_THROW(cancel(id), BrokerError);
    EXPECT_EQ(order(id).status, OrderStatus::cancelled);  // it went through all the same
}

TEST_F(MockBrokerHooks, QuotesFailWhileAsked) {
    broker->setQuotesFail(true);
    EXPECT_THROW(await(broker->quotes({acme})), BrokerError);
    broker->setQuotesFail(false);
    auto quotes = await(broker->quotes({acme, acme, QString()}));
    ASSERT_EQ(quotes.size(), 1u);  // the empty symbol cannot be priced
    EXPECT_EQ(quotes.at(acme).last, Decimal(100));
}

TEST_F(MockBrokerHooks, BidlessSymbolsQuoteWithoutBidOrAsk) {
    broker->setBidless(acme, true);
    auto q = quote(acme);
    EXPECT_FALSE(q.bid);
    EXPECT_FALSE(q.ask);
    // A limit order deals at the last price then.
    auto id = place(limitOrder(acme, OrderSide::buy, 1, "100")).id;
    EXPECT_EQ(order(id).averageFillPrice, Decimal(100));
}

TEST_F(MockBrokerHooks, HeldCancelsWaitUntilReleasedAndLoseToAFill) {
    auto willFill = place(limitOrder(acme, OrderSide::buy, 1, "95")).id;
    auto wontFill = place(limitOrder(acme, OrderSide::buy, 1, "50")).id;
    broker->setHoldingCancels(true);
    cancel(willFill);
    cancel(wontFill);
    EXPECT_EQ(broker->heldCancels(), (std::set<QString>{willFill, wontFill}));
    EXPECT_EQ(order(wontFill).status, OrderStatus::working);

    broker->pin(acme, Decimal(90));  // the first one fills before its cancel lands
    broker->releaseHeldCancels();
    EXPECT_TRUE(broker->heldCancels().empty());
    EXPECT_EQ(order(willFill).status, OrderStatus::filled);
    EXPECT_EQ(order(wontFill).status, OrderStatus::cancelled);
    EXPECT_EQ(position(acme)->quantity, Decimal(1));
}

TEST_F(MockBrokerHooks, LateFillReadsShowAFilledOrderAsWorkingForAWhile) {
    auto id = place(stockOrder(acme, OrderSide::buy, 4)).id;
    broker->reportFillsLate(2);
    auto first = orders();
    ASSERT_EQ(first.size(), 1u);
    EXPECT_EQ(first[0].status, OrderStatus::working);
    EXPECT_EQ(first[0].filledQuantity, Decimal(0));
    EXPECT_FALSE(first[0].averageFillPrice);
    EXPECT_EQ(position(acme)->quantity, Decimal(4));  // the shares are there already
    EXPECT_EQ(order(id).status, OrderStatus::working);
    EXPECT_EQ(broker->lateFillReads(), 0);
    EXPECT_EQ(order(id).status, OrderStatus::filled);
    EXPECT_EQ(broker->ledger().book.at(id).status, OrderStatus::filled);
}

TEST_F(MockBrokerHooks, LagDelaysEveryAnswer) {
    broker->setLag(std::chrono::milliseconds(100));
    QElapsedTimer timer;
    timer.start();
    await(broker->accounts());
    EXPECT_GE(timer.elapsed(), 90);  // timers may fire a little early
}

TEST_F(MockBrokerHooks, ABrokerGoneDuringItsLagFailsInsteadOfTouchingIt) {
    broker->setLag(std::chrono::milliseconds(20));
    auto task = broker->balance(account());
    broker.reset();
    EXPECT_THROW(await(std::move(task)), BrokerError);
}

TEST_F(MockBrokerHooks, AccountCallsNeedTheConnectionAndTheAccount) {
    await(broker->disconnect());
    EXPECT_FALSE(await(broker->isConnected()));
    try {
        balance();
        FAIL();
    } catch (const BrokerError& e) {
        EXPECT_EQ(e, BrokerError::notConnected());
    }
    EXPECT_EQ(await(broker->quotes({acme})).size(), 1u);  // prices need no account
    await(broker->connect());
    EXPECT_EQ(balance().cash, Decimal(100000));
    try {
        await(broker->positions(QStringLiteral("someone-else")));
        FAIL();
    } catch (const BrokerError& e) {
        EXPECT_EQ(e, BrokerError::accountNotFound(QStringLiteral("someone-else")));
    }
}

}  // namespace
}  // namespace tavix::test
