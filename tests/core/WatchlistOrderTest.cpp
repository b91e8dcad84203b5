#include "core/WatchlistOrder.h"

#include <gtest/gtest.h>

namespace tavix {
namespace {

Decimal dec(const char* text) {
    return *Decimal::parse(text);
}

Quote quote(const char* last, const char* previous, const char* low, const char* high, long long volume) {
    return Quote{.symbol = QString(), .last = dec(last), .high = dec(high), .low = dec(low),
                 .previousClose = dec(previous), .volume = Decimal(volume)};
}

TEST(WatchlistOrder, EachSortOrdersByItsFigureWithTiesAndGapsInTheUsersOrder) {
    const QStringList mine = {QStringLiteral("MSFT"), QStringLiteral("AAPL"), QStringLiteral("ZZZZ"),
                              QStringLiteral("NVDA"), QStringLiteral("SPY")};
    // AAPL +2 %, MSFT -3 %, NVDA +2 % (a tie with AAPL), SPY -1 %; ZZZZ has no quote yet.
    const std::map<QString, Quote> quotes = {
        {QStringLiteral("AAPL"), quote("102", "100", "99", "103", 500)},
        {QStringLiteral("MSFT"), quote("97", "100", "96", "101", 900)},
        {QStringLiteral("NVDA"), quote("204", "200", "200", "204", 100)},
        {QStringLiteral("SPY"), quote("495", "500", "494", "500", 900)},
    };
    const auto order = [&](WatchlistSort sort, bool reversed = false) {
        return WatchlistOrder::ordered(mine, quotes, sort, reversed).join(u' ');
    };
    EXPECT_EQ(order(WatchlistSort::added), QStringLiteral("MSFT AAPL ZZZZ NVDA SPY"));
    EXPECT_EQ(order(WatchlistSort::added, true), QStringLiteral("SPY NVDA ZZZZ AAPL MSFT"));
    EXPECT_EQ(order(WatchlistSort::alphabet), QStringLiteral("AAPL MSFT NVDA SPY ZZZZ"));
    EXPECT_EQ(order(WatchlistSort::alphabet, true), QStringLiteral("ZZZZ SPY NVDA MSFT AAPL"));
    EXPECT_EQ(order(WatchlistSort::price), QStringLiteral("SPY NVDA AAPL MSFT ZZZZ"));
    EXPECT_EQ(order(WatchlistSort::gainers), QStringLiteral("AAPL NVDA SPY MSFT ZZZZ"));
    EXPECT_EQ(order(WatchlistSort::gainers, true), QStringLiteral("MSFT SPY AAPL NVDA ZZZZ"));
    EXPECT_EQ(order(WatchlistSort::biggestMoves), QStringLiteral("MSFT AAPL NVDA SPY ZZZZ"));
    EXPECT_EQ(order(WatchlistSort::volume), QStringLiteral("MSFT SPY AAPL NVDA ZZZZ"));
    // Where the last sits from the day's low (0) to its high (1): NVDA 1, AAPL 0.75, MSFT 0.2, SPY 1/6.
    EXPECT_EQ(order(WatchlistSort::range), QStringLiteral("NVDA AAPL MSFT SPY ZZZZ"));
}

}  // namespace
}  // namespace tavix
