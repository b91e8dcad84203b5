#include "AppModelFixture.h"

namespace tavix::test {
namespace {

class AppModelWatchlistTest : public AppModelFixture {
protected:
    // The model starts on this list rather than the first-run one.
    AppModel& startWith(const QStringList& watchlist) {
        Session::setWatchlist(watchlist);
        started();
        here = model->account()->id;
        return *model;
    }

    QString here;
};

TEST_F(AppModelWatchlistTest, AddChecksEachComplaintInTurnAndKeepsTheDraft) {
    AppModel& m = startWith(list({"AAPL", "MSFT"}));

    m.setWatchlistDraft(QStringLiteral("   "));
    await(m.addToWatchlist());
    EXPECT_EQ(m.watchlistError(), QStringLiteral("Type a symbol to add it to your watchlist."));

    m.setWatchlistDraft(QStringLiteral(" msft "));
    await(m.addToWatchlist());
    EXPECT_EQ(m.watchlistError(), QStringLiteral("MSFT is already on your watchlist."));
    EXPECT_EQ(m.watchlistDraft(), QStringLiteral(" msft "));

    // An option that expired long ago: neither listed nor priced.
    m.setWatchlistDraft(QStringLiteral("aapl200117c00150000"));
    await(m.addToWatchlist());
    EXPECT_EQ(m.watchlistError(),
              QStringLiteral("Practice doesn't know AAPL200117C00150000. Check the spelling and try again."));
    EXPECT_EQ(m.watchlistDraft(), QStringLiteral("aapl200117c00150000"));

    // When the broker can't answer, its words are the complaint rather than "doesn't know".
    practice->searchError = MockBroker::timedOut();
    practice->setQuotesFail(true);
    await(m.addToWatchlist(QStringLiteral("ZZZZ")));
    EXPECT_EQ(m.watchlistError(), MockBroker::timedOut().description());

    EXPECT_EQ(m.watchlist(), list({"AAPL", "MSFT"}));
    EXPECT_EQ(Session::watchlist(), list({"AAPL", "MSFT"}));
}

TEST_F(AppModelWatchlistTest, SyncMergesWithTheBaseOfThisAccountOnly) {
    // The broker kept no list at start, so nothing was agreed yet.
    AppModel& m = startWith(list({"AAPL", "MSFT", "NVDA"}));
    ASSERT_EQ(Session::watchlistBase(here), std::nullopt);
    // Another account's agreement: had it been read, SPY and TSLA would count as removed here.
    const QStringList elsewhere = list({"AAPL", "SPY", "TSLA", "AMD"});
    Session::setWatchlistBase(elsewhere, QStringLiteral("another-account"));

    practice->ownList = list({"AAPL", "SPY", "TSLA"});
    await(m.syncWatchlist());
    const QStringList united = list({"AAPL", "MSFT", "NVDA", "SPY", "TSLA"});
    EXPECT_EQ(m.watchlist(), united);
    EXPECT_EQ(practice->ownList, united);
    EXPECT_EQ(Session::watchlistBase(here), united);

    // Removed here, and removed at the broker meanwhile: each removal wins over the other side
    // still having it, and the broker's addition is kept.
    practice->ownList = list({"AAPL", "NVDA", "SPY", "TSLA", "AMD"});
    m.removeFromWatchlist(QStringLiteral("SPY"));
    ASSERT_TRUE(eventually([&] { return !practice->ownList->contains(QStringLiteral("SPY")); }));
    const QStringList merged = list({"AAPL", "NVDA", "TSLA", "AMD"});
    EXPECT_EQ(m.watchlist(), merged);
    EXPECT_EQ(Session::watchlist(), merged);
    EXPECT_EQ(practice->ownList, merged);
    EXPECT_EQ(Session::watchlistBase(here), merged);
    EXPECT_EQ(Session::watchlistBase(QStringLiteral("another-account")), elsewhere);

    // An addition reaches the broker's list too.
    await(m.addToWatchlist(QStringLiteral("AMZN")));
    EXPECT_EQ(practice->ownList->last(), QStringLiteral("AMZN"));
}

// Two syncs running side by side would merge against the same base and one would undo the other's
// additions; a call made meanwhile instead runs one more round after the running one.
TEST_F(AppModelWatchlistTest, OneSyncAtATimeAndACallMeanwhileRunsOneMoreRound) {
    prepare = [](HeldPractice& broker) { broker.ownList = QStringList(); };
    AppModel& m = startWith(list({"AAPL"}));
    const int reads = practice->listReadCount;
    practice->listReads.holding = true;

    auto running = m.syncWatchlist();
    auto meanwhile = m.syncWatchlist();
    auto andAgain = m.syncWatchlist();
    EXPECT_TRUE(meanwhile.isReady());
    EXPECT_TRUE(andAgain.isReady());
    EXPECT_EQ(practice->listReadCount, reads + 1);

    practice->listReads.openAll();
    await(std::move(running));
    EXPECT_EQ(practice->listReadCount, reads + 2);

    await(m.syncWatchlist());
    EXPECT_EQ(practice->listReadCount, reads + 3);
}

TEST_F(AppModelWatchlistTest, ASymbolTheBrokerWontListIsNotTakenForARemoval) {
    prepare = [](HeldPractice& broker) {
        broker.ownList = QStringList();
        broker.refusedByList = list({"BTC/USD"});
    };
    AppModel& m = startWith(list({"AAPL"}));
    await(m.addToWatchlist(QStringLiteral("BTC/USD")));
    EXPECT_EQ(practice->ownList, list({"AAPL"}));
    // Agreed is only what both sides hold, so the next sync keeps the coin here.
    EXPECT_EQ(Session::watchlistBase(here), list({"AAPL"}));
    await(m.syncWatchlist());
    EXPECT_EQ(m.watchlist(), list({"AAPL", "BTC/USD"}));
}

}  // namespace
}  // namespace tavix::test
