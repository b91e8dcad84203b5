// The practice broker misbehaving on demand: a time-out after booking and a broker gone during its
// lag.
#include "PracticeFixture.h"

namespace tavix::test {
namespace {

using MockBrokerHooks = PracticeFixture;

TEST_F(MockBrokerHooks, ATimeOutAfterBookingLeavesTheOrderIn) {
    broker->failNext(MockBroker::timedOut(), true);
    auto request = stockOrder(OrderSide::buy, 3);
    request.clientOrderID = QStringLiteral("tavix-1");
    EXPECT_EQ(errorOf(broker->placeOrder(request, account())), MockBroker::timedOut());
    EXPECT_EQ(MockBroker::timedOut().text(), QStringLiteral("The request timed out."));
    auto listed = orders();
    ASSERT_EQ(listed.size(), 1u);
    EXPECT_EQ(listed[0].clientOrderID, QStringLiteral("tavix-1"));
    EXPECT_EQ(listed[0].status, OrderStatus::filled);
    EXPECT_EQ(position(acme)->quantity, Decimal(3));
}

TEST_F(MockBrokerHooks, ABrokerGoneDuringItsLagFailsInsteadOfTouchingIt) {
    broker->setLag(std::chrono::milliseconds(20));
    auto task = broker->balance(account());
    broker.reset();
    EXPECT_THROW(await(std::move(task)), BrokerError);
}

}  // namespace
}  // namespace tavix::test
