// Money in the practice ledger: cash and holdings through round trips, shorts and options, and the
// day's realised profit.
#include "PracticeFixture.h"

namespace tavix::test {
namespace {

LedgerTrade trade(const char* quantity, const char* price, long long day = 1, const char* dayStart = "0",
                  AssetType type = AssetType::equity) {
    return LedgerTrade{.symbol = acme, .assetType = type, .quantity = dec(quantity), .price = dec(price),
                       .day = day, .dayStartPrice = dec(dayStart)};
}

TEST(Ledger, AverageCostThroughSalesFlipsAndCovers) {
    Ledger ledger = Ledger::opening();
    EXPECT_EQ(ledger.cash, Decimal(100000));
    ledger.apply(trade("10", "100"));
    EXPECT_EQ(ledger.apply(trade("-4", "110")), Decimal(40));
    EXPECT_EQ(ledger.holdings.at(acme).cost, Decimal(600));
    EXPECT_EQ(ledger.cash, Decimal(100000 - 1000 + 440));

    // Selling 15 of the 6 left closes 6 at a loss and opens a short of 9 at 90.
    EXPECT_EQ(ledger.apply(trade("-15", "90")), Decimal(-60));
    const Holding& shortHolding = ledger.holdings.at(acme);
    EXPECT_EQ(shortHolding.quantity, Decimal(-9));
    EXPECT_EQ(shortHolding.cost, Decimal(-810));
    EXPECT_EQ(ledger.cash, Decimal(100000 - 1000 + 440 + 1350));

    // Covering at 80 makes 10 a share.
    EXPECT_EQ(ledger.apply(trade("9", "80")), Decimal(90));
    EXPECT_FALSE(ledger.holdings.contains(acme));
    EXPECT_EQ(ledger.cash, Decimal(100000) + Decimal(40 - 60 + 90));
}

TEST(Ledger, MoneyMovesInWholeCentsAndOptionsCountAHundredShares) {
    Ledger ledger = Ledger::opening();
    ledger.apply(trade("2", "1.55", 1, "0", AssetType::option));
    EXPECT_EQ(ledger.cash, dec("99690"));
    EXPECT_EQ(ledger.holdings.at(acme).cost, Decimal(310));

    Ledger coins = Ledger::opening();
    coins.apply(trade("0.123", "25000.37"));  // 3075.04551
    EXPECT_EQ(coins.cash, dec("96924.95"));
    // A third of the cost, rounded, and then the rest exactly: nothing is left over at the end.
    coins.apply(trade("-0.041", "25000.37"));
    coins.apply(trade("-0.082", "25000.37"));
    EXPECT_FALSE(coins.holdings.contains(acme));
    EXPECT_EQ(coins.cash, Decimal(100000));
}

TEST(Ledger, TheDaysProfitCountsOvernightSharesFromThePreviousClose) {
    Ledger ledger = Ledger::opening();
    ledger.apply(trade("10", "100", 1));
    // Next day, previous close 105: selling 5 at 110 makes 50 on cost but 25 today.
    EXPECT_EQ(ledger.apply(trade("-5", "110", 2, "105")), Decimal(50));
    EXPECT_EQ(ledger.realizedOn(acme, 2), Decimal(25));
    EXPECT_EQ(ledger.realizedOn(acme, 1), Decimal(0));  // kept for one day only
    EXPECT_EQ(ledger.holdings.at(acme).dayStart, (DaySum{2, Decimal(525)}));

    // Bought today at 108: that part counts from 108.
    ledger.apply(trade("5", "108", 2, "105"));
    EXPECT_EQ(ledger.holdings.at(acme).dayStart, (DaySum{2, Decimal(1065)}));
    ledger.apply(trade("-10", "107", 2, "105"));
    EXPECT_EQ(ledger.realizedOn(acme, 2), Decimal(25 + 1070 - 1065));

    // A new day starts the sum again.
    ledger.apply(trade("1", "100", 3, "107"));
    ledger.apply(trade("-1", "101", 3, "107"));
    EXPECT_EQ(ledger.realizedOn(acme, 3), Decimal(1));
}

}  // namespace
}  // namespace tavix::test
