#include "GatedPracticeFixture.h"

#include <gtest/gtest.h>

namespace tavix::test {
namespace {

class AppModelWatchlistTest : public GatedPracticeFixture {
protected:
    // The model starts on this list rather than the first-run one.
    AppModel& startWith(const QStringList& watchlist, std::function<void(GatedPractice&)> prepare = {}) {
        Session::setWatchlist(watchlist);
        return startGated(std::move(prepare));
    }

    QString accountID() const { return model->account()->id; }
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
    gated->searchError = MockBroker::timedOut();
    gated->setQuotesFail(true);
    await(m.addToWatchlist(QStringLiteral("ZZZZ")));
    EXPECT_EQ(m.watchlistError(), MockBroker::timedOut().description());

    EXPECT_EQ(m.watchlist(), list({"AAPL", "MSFT"}));
    EXPECT_EQ(Session::watchlist(), list({"AAPL", "MSFT"}));
}

TEST_F(AppModelWatchlistTest, AddTakesWhatTheBrokerListsOrPrices) {
    AppModel& m = startWith(list({"AAPL"}));
    m.setWatchlistDraft(QStringLiteral("ms"));
    await(m.lookUp());
    ASSERT_FALSE(m.symbolMatches().empty());

    // Listed by the search: taken even while quotes can't be read.
    gated->setQuotesFail(true);
    m.setWatchlistDraft(QStringLiteral("msft"));
    await(m.addToWatchlist());
    EXPECT_EQ(m.watchlist(), list({"AAPL", "MSFT"}));
    EXPECT_EQ(m.watchlistDraft(), QString());
    EXPECT_TRUE(m.symbolMatches().empty());
    EXPECT_EQ(m.watchlistError(), std::nullopt);
    gated->setQuotesFail(false);

    // A coin pair and a padded option symbol (which no search lists, but the broker prices) are
    // kept in their standard forms and priced at once.
    await(m.addToWatchlist(QStringLiteral(" btc/usd")));
    await(m.addToWatchlist(QStringLiteral("spy   301220c00500000")));
    EXPECT_EQ(m.watchlist(), list({"AAPL", "MSFT", "BTC/USD", "SPY301220C00500000"}));
    EXPECT_TRUE(m.quotes().contains(QStringLiteral("BTC/USD")));
    EXPECT_TRUE(m.quotes().contains(QStringLiteral("SPY301220C00500000")));

    // What was saved is what the next start opens with.
    startGated();
    EXPECT_EQ(model->watchlist(), list({"AAPL", "MSFT", "BTC/USD", "SPY301220C00500000"}));
}

TEST_F(AppModelWatchlistTest, ALookUpThatLandsLateIsDropped) {
    AppModel& m = startWith(list({"AAPL"}));
    gated->searches.holding = true;

    m.setWatchlistDraft(QStringLiteral("app"));
    auto first = m.lookUp();
    EXPECT_TRUE(m.searching());
    m.setWatchlistDraft(QStringLiteral("micro"));
    auto second = m.lookUp();
    ASSERT_EQ(gated->searches.count(), 2);

    // The answer for "app" no longer fits the box; the newer look-up is still under way.
    gated->searches.releaseOne();
    EXPECT_TRUE(m.symbolMatches().empty());
    EXPECT_TRUE(m.searching());

    gated->searches.releaseOne();
    EXPECT_FALSE(m.searching());
    ASSERT_FALSE(m.symbolMatches().empty());
    EXPECT_EQ(m.symbolMatches().front().symbol, QStringLiteral("MSFT"));

    // An account switch drops an answer for the account that was left.
    m.setWatchlistDraft(QStringLiteral("nvid"));
    auto third = m.lookUp();
    await(m.useAccount(BrokerID::mock()));
    gated->searches.releaseOne();
    EXPECT_FALSE(m.searching());
    EXPECT_EQ(m.symbolMatches().front().symbol, QStringLiteral("MSFT"));

    // A failed look-up says why.
    gated->searches.holding = false;
    gated->searchError = MockBroker::timedOut();
    await(m.lookUp());
    EXPECT_EQ(m.watchlistError(), MockBroker::timedOut().description());
    EXPECT_FALSE(m.searching());
}

TEST_F(AppModelWatchlistTest, RemovingAndMovingAreSavedAndQuotesFollowWhatIsQuoted) {
    AppModel& m = startWith(list({"AAPL", "MSFT", "NVDA", "SPY"}));
    m.switchTo(QStringLiteral("NVDA"));
    await(m.refresh());
    ASSERT_TRUE(m.quotes().contains(QStringLiteral("MSFT")));
    ASSERT_TRUE(m.quotes().contains(QStringLiteral("NVDA")));

    m.removeFromWatchlist(QStringLiteral("msft"));
    m.removeFromWatchlist(QStringLiteral("NVDA"));
    EXPECT_EQ(Session::watchlist(), list({"AAPL", "SPY"}));
    EXPECT_FALSE(m.quotes().contains(QStringLiteral("MSFT")));
    // Still on the chart, so still quoted.
    EXPECT_TRUE(m.quotes().contains(QStringLiteral("NVDA")));

    m.moveInWatchlist(QStringLiteral("SPY"), 0);
    EXPECT_EQ(Session::watchlist(), list({"SPY", "AAPL"}));
    m.moveInWatchlist(QStringLiteral("SPY"), 99);
    EXPECT_EQ(m.watchlist(), list({"AAPL", "SPY"}));
}

TEST_F(AppModelWatchlistTest, QuotedSymbolsAreTheListThenHoldingsThenTheChartOnce) {
    AppModel& m = startWith(list({"AAPL", "ETH/USD"}));
    OrderRequest buy{.symbol = QStringLiteral("SOL/USD"),
                     .assetType = AssetType::crypto,
                     .quantity = *Decimal::parse("1"),
                     .timeInForce = TimeInForce::goodTillCancelled};
    OrderRequest alsoHeld = buy;
    alsoHeld.symbol = QStringLiteral("ETH/USD");
    await(gated->placeOrder(buy, accountID()));
    await(gated->placeOrder(alsoHeld, accountID()));
    await(m.refreshAccount());
    ASSERT_EQ(m.positions().size(), 2U);

    m.switchTo(QStringLiteral("SOL/USD"));
    EXPECT_EQ(m.quotedSymbols(), list({"AAPL", "ETH/USD", "SOL/USD"}));
    m.switchTo(QStringLiteral("TSLA"));
    EXPECT_EQ(m.quotedSymbols(), list({"AAPL", "ETH/USD", "SOL/USD", "TSLA"}));
}

TEST_F(AppModelWatchlistTest, SyncMergesWithTheBaseOfThisAccountOnly) {
    // The broker kept no list at start, so nothing was agreed yet.
    AppModel& m = startWith(list({"AAPL", "MSFT", "NVDA"}));
    ASSERT_EQ(Session::watchlistBase(accountID()), std::nullopt);
    // Another account's agreement: had it been read, SPY and TSLA would count as removed here.
    const QStringList elsewhere = list({"AAPL", "SPY", "TSLA", "AMD"});
    Session::setWatchlistBase(elsewhere, QStringLiteral("another-account"));

    gated->ownList = list({"AAPL", "SPY", "TSLA"});
    await(m.syncWatchlist());
    const QStringList united = list({"AAPL", "MSFT", "NVDA", "SPY", "TSLA"});
    EXPECT_EQ(m.watchlist(), united);
    EXPECT_EQ(gated->ownList, united);
    EXPECT_EQ(Session::watchlistBase(accountID()), united);

    // Removed here, and removed at the broker meanwhile: each removal wins over the other side
    // still having it, and the broker's addition is kept.
    gated->ownList = list({"AAPL", "NVDA", "SPY", "TSLA", "AMD"});
    m.removeFromWatchlist(QStringLiteral("SPY"));
    ASSERT_TRUE(eventually([&] { return !gated->ownList->contains(QStringLiteral("SPY")); }));
    const QStringList merged = list({"AAPL", "NVDA", "TSLA", "AMD"});
    EXPECT_EQ(m.watchlist(), merged);
    EXPECT_EQ(Session::watchlist(), merged);
    EXPECT_EQ(gated->ownList, merged);
    EXPECT_EQ(Session::watchlistBase(accountID()), merged);
    EXPECT_EQ(Session::watchlistBase(QStringLiteral("another-account")), elsewhere);

    // An addition reaches the broker's list too.
    await(m.addToWatchlist(QStringLiteral("AMZN")));
    EXPECT_EQ(gated->ownList->last(), QStringLiteral("AMZN"));
}

TEST_F(AppModelWatchlistTest, ASymbolTheBrokerWontListIsNotTakenForARemoval) {
    AppModel& m = startWith(list({"AAPL"}), [](GatedPractice& broker) {
        broker.ownList = QStringList();
        broker.refusedByList = QStringList(QStringLiteral("BTC/USD"));
    });
    await(m.addToWatchlist(QStringLiteral("BTC/USD")));
    EXPECT_EQ(gated->ownList, list({"AAPL"}));
    // Agreed is only what both sides hold, so the next sync keeps the coin here.
    EXPECT_EQ(Session::watchlistBase(accountID()), list({"AAPL"}));
    await(m.syncWatchlist());
    EXPECT_EQ(m.watchlist(), list({"AAPL", "BTC/USD"}));
}

TEST_F(AppModelWatchlistTest, OneSyncAtATimeAndACallMeanwhileRunsOneMoreRound) {
    AppModel& m = startWith(list({"AAPL"}), [](GatedPractice& broker) { broker.ownList = QStringList(); });
    const int reads = gated->listReadCount;
    gated->listReads.holding = true;

    auto running = m.syncWatchlist();
    auto meanwhile = m.syncWatchlist();
    auto andAgain = m.syncWatchlist();
    // The calls made meanwhile end at once; only the running one reads the broker's list.
    EXPECT_TRUE(meanwhile.isReady());
    EXPECT_TRUE(andAgain.isReady());
    EXPECT_EQ(gated->listReadCount, reads + 1);

    gated->listReads.holding = false;
    gated->listReads.releaseOne();
    await(std::move(running));
    EXPECT_EQ(gated->listReadCount, reads + 2);

    // Done: the next call syncs again.
    await(m.syncWatchlist());
    EXPECT_EQ(gated->listReadCount, reads + 3);
}

TEST_F(AppModelWatchlistTest, ASyncFailureIsToldOnceAndTheNextSyncTriesAgain) {
    AppModel& m = startWith(list({"AAPL"}), [](GatedPractice& broker) {
        broker.ownList = list({"AAPL", "SPY"});
        broker.listError = BrokerError::api(500, QStringLiteral("internal server error"));
    });
    const QString words = BrokerError::api(500, QStringLiteral("internal server error")).description();
    EXPECT_EQ(m.watchlistError(), words);
    EXPECT_EQ(m.watchlist(), list({"AAPL"}));

    m.setWatchlistDraft(QStringLiteral("x"));
    ASSERT_EQ(m.watchlistError(), std::nullopt);
    const int reads = gated->listReadCount;
    await(m.syncWatchlist());
    EXPECT_EQ(gated->listReadCount, reads + 1);
    EXPECT_EQ(m.watchlistError(), std::nullopt);

    gated->listError.reset();
    await(m.syncWatchlist());
    EXPECT_EQ(m.watchlist(), list({"AAPL", "SPY"}));

    // After a good sync the same failure is news again.
    gated->listError = BrokerError::api(500, QStringLiteral("internal server error"));
    await(m.syncWatchlist());
    EXPECT_EQ(m.watchlistError(), words);
}

TEST_F(AppModelWatchlistTest, AlpacasOwnListIsMergedWhenItsAccountOpens) {
    FakeAlpaca& service = fakeAlpaca();
    Session::setWatchlist(list({"SPY", "BTC/USD"}));
    started();
    const auto refused = await(model->connectAlpaca(service.key, service.secret));
    ASSERT_EQ(refused, std::nullopt);

    const QStringList united = list({"SPY", "BTC/USD", "AAPL", "MSFT"});
    EXPECT_EQ(model->watchlist(), united);
    ASSERT_EQ(service.watchlists.size(), 1U);
    QStringList atAlpaca;
    for (const Json& asset : service.watchlists.front().find("assets")->items()) {
        atAlpaca << FakeAlpaca::field(asset, "symbol");
    }
    EXPECT_EQ(atAlpaca, united);
    ASSERT_TRUE(model->account().has_value());
    EXPECT_EQ(Session::watchlistBase(accountID()), united);
}

}  // namespace
}  // namespace tavix::test
