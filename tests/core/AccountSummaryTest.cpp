#include "core/AccountSummary.h"
#include "support/Await.h"
#include "support/ScriptedBroker.h"

#include <gtest/gtest.h>

namespace tavix {
namespace {

TEST(AccountSummary, ConnectsWhenNeededAndReadsTheFirstAccount) {
    test::ScriptedBroker broker;
    broker.connected = false;
    broker.accountList = {BrokerAccount{.id = QStringLiteral("practice"), .displayNumber = QStringLiteral("••••4242")},
                          BrokerAccount{.id = QStringLiteral("other"), .displayNumber = QStringLiteral("••••9999")}};
    AccountSummary summary(broker);
    EXPECT_EQ(summary.kind(), AccountKind::practice);
    summary.load();
    ASSERT_TRUE(test::eventually([&] { return !summary.isLoading(); }));
    EXPECT_EQ(broker.connectCalls, 1);
    ASSERT_TRUE(summary.account().has_value());
    EXPECT_EQ(summary.account()->displayNumber, QStringLiteral("••••4242"));
    EXPECT_FALSE(summary.message().has_value());
}

TEST(AccountSummary, AFailedReadIsShownAndClearedByTheNextGoodOne) {
    test::ScriptedBroker broker;
    broker.brokerID = BrokerID::alpaca();
    broker.accountsError = BrokerError::reauthorizationRequired();
    AccountSummary summary(broker);
    EXPECT_EQ(summary.kind(), AccountKind::paper);
    summary.load();
    ASSERT_TRUE(test::eventually([&] { return !summary.isLoading(); }));
    EXPECT_EQ(broker.connectCalls, 0) << "a connected broker is not connected again";
    EXPECT_EQ(summary.message(), BrokerError::reauthorizationRequired().description());
    EXPECT_FALSE(summary.account().has_value());

    broker.accountsError.reset();
    broker.accountList = {BrokerAccount{.id = QStringLiteral("a1"), .displayNumber = QStringLiteral("PA1234")}};
    summary.load();
    ASSERT_TRUE(test::eventually([&] { return summary.account().has_value(); }));
    EXPECT_FALSE(summary.message().has_value());
}

}  // namespace
}  // namespace tavix
