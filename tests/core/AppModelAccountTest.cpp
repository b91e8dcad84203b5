#include "AppModelFixture.h"

#include "market/SafetyLimits.h"
#include "support/ScriptedBroker.h"

namespace tavix::test {
namespace {

using Field = AppModel::Field;

class AppModelAccountTest : public AppModelFixture {};

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

TEST_F(AppModelAccountTest, AFailedReadIsShownAndTheNextRoundConnectsAgain) {
    AppModel& m = started();
    ASSERT_TRUE(m.account());
    const BrokerError failure = BrokerError::transport(QStringLiteral("connection refused"));

    practice->readError = failure;
    pacer.advance(AppModel::accountLoopSeconds);
    EXPECT_FALSE(m.account());
    EXPECT_FALSE(m.isConnected());
    EXPECT_EQ(m.banner(), failure.description());
    EXPECT_EQ(m.health(), AppModel::Health::lost);
    EXPECT_EQ(AppModel::healthWord(m.health()), QStringLiteral("Lost"));

    practice->readError.reset();
    changes.clear();
    pacer.advance(AppModel::accountLoopSeconds);
    EXPECT_EQ(changesOf(Field::connectingCount), 2) << "the round reconnects, up and down again";
    ASSERT_TRUE(m.account());
    EXPECT_TRUE(m.isConnected());
    EXPECT_FALSE(m.banner()) << "the failure's banner goes with the good read";
    EXPECT_EQ(m.health(), AppModel::Health::unstable) << "a failure within five minutes";

    changes.clear();
    pacer.advance(AppModel::accountLoopSeconds);
    EXPECT_EQ(changesOf(Field::connectingCount), 0) << "with an account the round only reads";

    // Five minutes without a failure steady the link again.
    pacer.advance(AppModel::shakyWindowSeconds);
    EXPECT_FALSE(m.linkShaky());
    EXPECT_EQ(m.health(), AppModel::Health::stable);
}

TEST_F(AppModelAccountTest, AReadOfThreeSecondsIsSlowUntilAQuickOne) {
    AppModel& m = started();
    practice->balanceReads.holding = true;
    pacer.advance(AppModel::accountLoopSeconds);
    ASSERT_EQ(practice->balanceReads.count(), 1);
    pacer.advance(AppModel::slowReadSeconds);
    practice->balanceReads.holding = false;
    ASSERT_TRUE(practice->balanceReads.releaseOne());
    ASSERT_TRUE(eventually([&] { return m.linkSlow(); }));
    EXPECT_EQ(m.health(), AppModel::Health::slow);
    EXPECT_EQ(AppModel::healthWord(m.health()), QStringLiteral("Slow"));

    // The held round scheduled the next one when it ended.
    pacer.advance(AppModel::accountLoopSeconds);
    EXPECT_FALSE(m.linkSlow());
    EXPECT_EQ(m.health(), AppModel::Health::stable);
}

TEST_F(AppModelAccountTest, OnlyChangedValuesNotify) {
    AppModel& m = started();
    ASSERT_TRUE(m.balance());
    m.stopBackground();  // rounds are run by hand below
    changes.clear();

    await(m.refreshAccount());
    EXPECT_EQ(changesOf(Field::balance), 0);
    EXPECT_EQ(changesOf(Field::positions), 0);
    EXPECT_EQ(changesOf(Field::orders), 0);
    EXPECT_EQ(changesOf(Field::isConnected), 0);
    EXPECT_EQ(changesOf(Field::linkSlow), 0);

    OrderRequest far{.symbol = QStringLiteral("AAPL"),
                     .quantity = Decimal(1),
                     .type = OrderType::limit,
                     .limitPrice = Decimal(1),
                     .timeInForce = TimeInForce::goodTillCancelled};
    await(practice->placeOrder(far, m.account()->id));
    await(m.refreshAccount());
    EXPECT_EQ(changesOf(Field::orders), 1);
    ASSERT_EQ(m.orders().size(), 1u);
    EXPECT_EQ(m.orders().front().symbol, QStringLiteral("AAPL"));

    m.setBanner(QStringLiteral("Hello"));
    m.setBanner(QStringLiteral("Hello"));
    EXPECT_EQ(changesOf(Field::banner), 1);
}

TEST_F(AppModelAccountTest, TheFirstBalanceSuggestsLimitsOnlyWhenNoneWereChosen) {
    AppModel& m = makeModel();
    await(m.attach(BrokerID::mock()));
    ASSERT_TRUE(m.balance());
    const SafetyLimits suggested = SafetyLimits::starting(m.balance()->equity);
    ASSERT_TRUE(suggested.perTrade);
    EXPECT_EQ(m.limits(), suggested);
    EXPECT_EQ(Session::limits(), suggested);

    const SafetyLimits chosen{Decimal(500), std::nullopt};
    Session::setLimits(chosen);
    AppModel& again = makeModel();
    await(again.attach(BrokerID::mock()));
    EXPECT_EQ(again.limits(), chosen);
    EXPECT_EQ(Session::limits(), chosen);
}

TEST_F(AppModelAccountTest, ASwitchLeavesNothingOfTheOldAccountBehind) {
    AppModel& m = started();
    ASSERT_TRUE(m.account());
    ASSERT_FALSE(m.quotes().empty());

    // A second broker that reads accounts and quotes but nothing else, in place of Alpaca.
    auto scripted = std::make_shared<ScriptedBroker>();
    scripted->brokerID = BrokerID::alpaca();
    scripted->accountList = {
        BrokerAccount{.id = QStringLiteral("S1"), .displayNumber = QStringLiteral("S-1")}};
    m.registry().registerBroker(BrokerID::alpaca(), QStringLiteral("Scripted"), scripted->capabilities(),
                                [scripted] { return scripted; });
    await(m.attach(BrokerID::alpaca(), AlpacaCredentials{QStringLiteral("PK1"), QStringLiteral("s")}));

    EXPECT_EQ(m.broker(), scripted.get());
    EXPECT_EQ(m.brokerName(), QStringLiteral("Scripted"));
    EXPECT_FALSE(m.balance()) << "the practice balance is gone and the scripted one can't be read";
    EXPECT_TRUE(m.orders().empty());
    EXPECT_FALSE(m.isConnected());
    EXPECT_EQ(m.health(), AppModel::Health::lost);
    ASSERT_TRUE(m.banner());
    EXPECT_EQ(scripted->connectCalls, 0) << "it said it was connected";
    EXPECT_FALSE(m.opening());
}

}  // namespace
}  // namespace tavix::test
