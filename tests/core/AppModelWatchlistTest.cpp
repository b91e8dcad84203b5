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

// Text that is no symbol at all is refused in words before any broker is asked, and never lands
// in the list or the saved state.
TEST_F(AppModelWatchlistTest, TextOfNoSymbolShapeIsRefusedBeforeTheBrokerIsAsked) {
    AppModel& m = startWith(list({"AAPL"}));
    const int quotesBefore = practice->quoteReads;
    const QString longText(300, u'A');
    for (const QString& typed : {QStringLiteral("123$$"), longText, QStringLiteral("AAPL MSFT"),
                                 QStringLiteral("BTC/"), QStringLiteral("1ABC"), QStringLiteral("ABCDEFGHIJK")}) {
        m.setWatchlistDraft(typed);
        await(m.addToWatchlist());
        ASSERT_TRUE(m.watchlistError()) << typed.toStdString();
        EXPECT_TRUE(m.watchlistError()->endsWith(
            QStringLiteral(" isn't a symbol. Type a ticker such as AAPL, a coin pair such as BTC/USD, or an "
                           "option symbol such as AAPL260320C00200000.")));
        EXPECT_LT(m.watchlistError()->size(), 160) << "the typed text is quoted short";
    }
    EXPECT_EQ(practice->quoteReads, quotesBefore);
    EXPECT_EQ(m.watchlist(), list({"AAPL"}));
    EXPECT_EQ(Session::watchlist(), list({"AAPL"}));

    // Every real shape still goes through, and what was added is what the chart shows.
    for (const char* symbol : {"BRK.B", "eth/usd", "MSFT"}) {
        await(m.addToWatchlist(QString::fromLatin1(symbol)));
        EXPECT_EQ(m.watchlistError(), std::nullopt) << symbol;
        EXPECT_EQ(m.selectedSymbol(), m.watchlist().back());
    }
    EXPECT_EQ(m.watchlist(), list({"AAPL", "BRK.B", "ETH/USD", "MSFT"}));
}

TEST_F(AppModelWatchlistTest, SavedTextOfNoSymbolShapeIsDroppedWithABanner) {
    AppModel& m = startWith(list({"AAPL", "123$$", "MSFT", QString(300, u'X').toLatin1().constData()}));
    EXPECT_EQ(m.watchlist(), list({"AAPL", "MSFT"}));
    EXPECT_EQ(Session::watchlist(), list({"AAPL", "MSFT"}));
    ASSERT_TRUE(m.banner());
    EXPECT_TRUE(m.banner()->startsWith(QStringLiteral("Tavix took 123$$, XXXXXXXXXXXXXXXXXXXXXXX")));
    EXPECT_TRUE(m.banner()->endsWith(QStringLiteral(" off your watchlist: they aren't a symbol it can look up.")));
}

// Removing the symbol on the chart moves the chart to the row that takes its place, or the one
// above it at the end; an empty list leaves nothing selected.
TEST_F(AppModelWatchlistTest, RemovingTheSelectedSymbolSelectsItsNeighbour) {
    AppModel& m = startWith(list({"AAPL", "MSFT", "NVDA"}));
    m.switchTo(QStringLiteral("MSFT"));
    m.removeFromWatchlist(QStringLiteral("MSFT"));
    EXPECT_EQ(m.selectedSymbol(), QStringLiteral("NVDA"));
    m.removeFromWatchlist(QStringLiteral("NVDA"));
    EXPECT_EQ(m.selectedSymbol(), QStringLiteral("AAPL"));
    // Removing another row leaves the chart alone.
    await(m.addToWatchlist(QStringLiteral("SPY")));
    m.switchTo(QStringLiteral("AAPL"));
    m.removeFromWatchlist(QStringLiteral("SPY"));
    EXPECT_EQ(m.selectedSymbol(), QStringLiteral("AAPL"));
    m.removeFromWatchlist(QStringLiteral("AAPL"));
    EXPECT_EQ(m.selectedSymbol(), QString());
    EXPECT_TRUE(m.candles().empty());
}

// The chart's symbol and interval come back after a restart; saved ones that no longer fit fall
// back quietly.
TEST_F(AppModelWatchlistTest, TheChartsSymbolAndIntervalSurviveARestart) {
    AppModel& m = startWith(list({"AAPL", "MSFT", "NVDA"}));
    m.switchTo(QStringLiteral("NVDA"));
    m.setChartInterval(CandleInterval::hourly);
    model.reset();
    AppModel& again = started();
    EXPECT_EQ(again.selectedSymbol(), QStringLiteral("NVDA"));
    EXPECT_EQ(again.chartInterval(), CandleInterval::hourly);

    model.reset();
    Session::store().setValue(QStringLiteral("tavix.selectedSymbol"), QStringLiteral("GONE"));
    Session::store().setValue(QStringLiteral("tavix.chartInterval"), QStringLiteral("fortnightly"));
    AppModel& fallen = started();
    EXPECT_EQ(fallen.selectedSymbol(), QStringLiteral("AAPL"));
    EXPECT_EQ(fallen.chartInterval(), CandleInterval::fiveMinute);
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
