// The practice broker misbehaving on demand: a time-out after booking and a broker gone during its
// lag.
#include "PracticeFixture.h"

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

TEST_F(MockBrokerHooks, ATimeOutAfterBookingLeavesTheOrderIn) {
    broker->failNext(MockBroker::timedOut(), true);
    auto request = stockOrder(acme, OrderSide::buy, 3);
    request.clientOrderID = QStringLiteral("tavix-1");
    EXPECT_EQ(failureOf(request), MockBroker::timedOut());
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
