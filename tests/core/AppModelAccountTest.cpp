#include "AppModelFixture.h"

namespace tavix::test {
namespace {

using Field = AppModel::Field;
using AppModelAccountTest = AppModelFixture;

TEST_F(AppModelAccountTest, AResultThatLandsAfterASwitchIsDropped) {
    AppModel& m = makeModel();
    await(m.attach(BrokerID::mock()));
    ASSERT_TRUE(m.account());
    const auto before = m.accountGeneration();

    practice->balanceReads.holding = true;
    QCoro::Task<void> stale = m.refreshAccount();
    ASSERT_EQ(practice->balanceReads.count(), 1);

    practice->balanceReads.holding = false;
    await(m.attach(BrokerID::mock()));
    EXPECT_GT(m.accountGeneration(), before);
    ASSERT_TRUE(m.account());

    // The old read now fails; had it been applied, the account would be dropped and the failure shown.
    practice->readError = BrokerError::transport(QStringLiteral("connection refused"));
    ASSERT_TRUE(practice->balanceReads.releaseOne());
    await(std::move(stale));
    EXPECT_TRUE(m.account());
    EXPECT_TRUE(m.isConnected());
    EXPECT_FALSE(m.banner());
    EXPECT_FALSE(m.linkShaky());
    EXPECT_EQ(m.health(), AppModel::Health::stable);
}

TEST_F(AppModelAccountTest, OnlyChangedValuesNotify) {
    AppModel& m = started();
    ASSERT_TRUE(m.balance());
    m.stopBackground();  // rounds are run by hand below
    changes.clear();

    await(m.refreshAccount());
    for (Field unchanged :
         {Field::balance, Field::positions, Field::orders, Field::isConnected, Field::linkSlow})
        EXPECT_EQ(changes[unchanged], 0) << static_cast<int>(unchanged);

    await(practice->placeOrder({.symbol = QStringLiteral("AAPL"),
                                .quantity = Decimal(1),
                                .type = OrderType::limit,
                                .limitPrice = Decimal(1),
                                .timeInForce = TimeInForce::goodTillCancelled},
                               m.account()->id));
    await(m.refreshAccount());
    EXPECT_EQ(changes[Field::orders], 1);
    ASSERT_EQ(m.orders().size(), 1u);
    EXPECT_EQ(m.orders().front().symbol, QStringLiteral("AAPL"));

    m.setBanner(QStringLiteral("Hello"));
    m.setBanner(QStringLiteral("Hello"));
    EXPECT_EQ(changes[Field::banner], 1);
}

}  // namespace
}  // namespace tavix::test
