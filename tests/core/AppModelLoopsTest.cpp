#include "AppModelFixture.h"

namespace tavix::test {
namespace {

using AppModelLoopsTest = AppModelFixture;

TEST_F(AppModelLoopsTest, NewsIsReadOnEveryFifteenthAccountRoundOnly) {
    AppModel& m = started();
    pacer.advance(14 * AppModel::accountLoopSeconds);
    EXPECT_EQ(m.accountRound(), 14);
    EXPECT_EQ(m.newsRefreshes(), 0);
    pacer.advance(AppModel::accountLoopSeconds);
    EXPECT_EQ(m.newsRefreshes(), 1);
    pacer.advance(14 * AppModel::accountLoopSeconds);
    EXPECT_EQ(m.newsRefreshes(), 1);
    pacer.advance(16 * AppModel::accountLoopSeconds);
    EXPECT_EQ(m.accountRound(), 45);
    EXPECT_EQ(m.newsRefreshes(), 3);
}

TEST_F(AppModelLoopsTest, QuotesArePolledAtTheBrokersIntervalUntilTheLoopsStop) {
    AppModel& m = started();
    ASSERT_TRUE(m.isRunningBackground());
    const int atStart = practice->quoteReads;
    pacer.advance(10);  // the practice broker polls every second
    EXPECT_EQ(m.quoteRound(), 10);
    EXPECT_EQ(practice->quoteReads - atStart, 10);

    m.stopBackground();
    EXPECT_FALSE(m.isRunningBackground());
    EXPECT_EQ(pacer.pending(), 0u);
    pacer.advance(120);
    EXPECT_EQ(m.quoteRound(), 10);
    EXPECT_EQ(m.accountRound(), 0);

    // Starting again twice runs one set of loops, not two.
    m.startBackground();
    m.startBackground();
    pacer.advance(AppModel::accountLoopSeconds);
    EXPECT_EQ(m.accountRound(), 1);
    EXPECT_EQ(m.quoteRound(), 30);
}

TEST_F(AppModelLoopsTest, ADestroyedModelLeavesNothingScheduledAndARoundInFlightEndsQuietly) {
    started();
    practice->balanceReads.holding = true;
    pacer.advance(AppModel::accountLoopSeconds);
    ASSERT_EQ(practice->balanceReads.count(), 1);
    // The suspended round keeps its broker alive past the model.
    model.reset();
    EXPECT_EQ(pacer.pending(), 0u);
    practice->balanceReads.holding = false;
    practice->balanceReads.releaseOne();
    pacer.advance(AppModel::accountLoopSeconds);
    EXPECT_EQ(pacer.pending(), 0u);
}

TEST_F(AppModelLoopsTest, TheComputerIsKeptAwakeWhileSomethingIsWatched) {
    AppModel& m = started();
    const QString here = m.account()->id;
    EXPECT_FALSE(keepAwake.reason());

    // An option contract whose last day is ten days away.
    m.setContractWatches({record(here, {{"contract", Json("AAPL271217C00150000")},
                                        {"expiry", Json((pacer.now() + 10 * 86'400).toIso())}})});
    EXPECT_EQ(keepAwake.reason(), QStringLiteral("Watching a Multiplier trade"));
    m.setRideWatches({record(here, {{"symbol", Json("AAPL")}}), record(here, {{"symbol", Json("MSFT")}})});
    EXPECT_EQ(keepAwake.reason(), QStringLiteral("Watching a Multiplier trade and 2 rides"));
    const int begun = keepAwake.timesBegun();
    pacer.advance(3 * AppModel::accountLoopSeconds);
    EXPECT_EQ(keepAwake.timesBegun(), begun) << "the same activity is not restarted";

    // Seven days on, the last day is under three days away; the loops' next round looks again.
    m.stopBackground();
    pacer.advance(7 * 86'400 + 60);
    m.updateKeepAwake();
    ASSERT_TRUE(keepAwake.reason());
    EXPECT_TRUE(keepAwake.reason()->startsWith(QStringLiteral("A Multiplier trade's last-day sale")));

    m.setContractWatches({});
    m.setRideWatches({});
    EXPECT_FALSE(keepAwake.reason());
}

}  // namespace
}  // namespace tavix::test
