#include "market/WatchlistSync.h"

#include <QSet>

#include <gtest/gtest.h>

namespace tavix {
namespace {

QStringList list(std::initializer_list<const char*> symbols) {
    QStringList out;
    for (const char* s : symbols) out << QString::fromLatin1(s);
    return out;
}

TEST(WatchlistMerge, AdditionsFromEitherSideAreKeptAndRemovalsWin) {
    auto plan = WatchlistSync::plan(list({"AAPL", "MSFT"}), list({"TSLA", "AAPL"}), std::nullopt);
    EXPECT_EQ(plan.target, list({"AAPL", "MSFT", "TSLA"}));
    EXPECT_EQ(plan.addRemote, list({"MSFT"}));
    EXPECT_TRUE(plan.removeRemote.isEmpty());  // without a base the lists are united

    const auto base = list({"AAPL", "MSFT", "NVDA", "SPY"});
    // Local removed MSFT and added AMD; the broker removed SPY and added TSLA; NVDA was removed
    // on one side only and must not come back.
    const auto local = list({"AMD", "AAPL", "NVDA", "SPY"});
    const auto remote = list({"AAPL", "MSFT", "TSLA"});
    plan = WatchlistSync::plan(local, remote, base);
    EXPECT_EQ(plan.target, list({"AMD", "AAPL", "TSLA"}));
    EXPECT_EQ(plan.addRemote, list({"AMD"}));
    EXPECT_EQ(plan.removeRemote, list({"MSFT"}));

    // Unchanged on both sides: nothing to do.
    plan = WatchlistSync::plan(base, base, base);
    EXPECT_EQ(plan.target, base);
    EXPECT_TRUE(plan.addRemote.isEmpty() && plan.removeRemote.isEmpty());

    // The same symbol added on both sides appears once.
    plan = WatchlistSync::plan(list({"AAPL", "QQQ"}), list({"QQQ", "AAPL"}), list({"AAPL"}));
    EXPECT_EQ(plan.target, list({"AAPL", "QQQ"}));
    EXPECT_TRUE(plan.addRemote.isEmpty() && plan.removeRemote.isEmpty());
}

TEST(WatchlistMerge, NeverLosesAnAdditionNorResurrectsARemoval) {
    // Exhaustive over four symbols: each may be in or out of base, local and remote.
    const QStringList symbols = list({"A", "B", "C", "D"});
    for (int mask = 0; mask < (1 << 12); ++mask) {
        QStringList base, local, remote;
        for (int i = 0; i < 4; ++i) {
            if (mask & (1 << (3 * i))) base << symbols[i];
            if (mask & (1 << (3 * i + 1))) local << symbols[i];
            if (mask & (1 << (3 * i + 2))) remote << symbols[i];
        }
        const auto plan = WatchlistSync::plan(local, remote, base);
        for (const auto& s : symbols) {
            const bool addedSomewhere = !base.contains(s) && (local.contains(s) || remote.contains(s));
            const bool removedSomewhere = base.contains(s) && (!local.contains(s) || !remote.contains(s));
            if (addedSomewhere) {
                ASSERT_TRUE(plan.target.contains(s)) << mask;
            }
            if (removedSomewhere) {
                ASSERT_FALSE(plan.target.contains(s)) << mask;
            }
            ASSERT_EQ(plan.target.count(s), plan.target.contains(s) ? 1 : 0);
        }
        // Applying the plan to the broker's list gives the target, as a set.
        QStringList applied = remote;
        for (const auto& s : plan.removeRemote) applied.removeAll(s);
        applied << plan.addRemote;
        ASSERT_EQ(QSet<QString>(applied.begin(), applied.end()),
                  QSet<QString>(plan.target.begin(), plan.target.end()))
            << mask;
    }
}

}  // namespace
}  // namespace tavix
