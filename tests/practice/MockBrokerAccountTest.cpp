// Money at the practice broker: cash and holdings through round trips, shorts and options, the
// day's profit, and the ledger's own bookkeeping.
#include "PracticeFixture.h"

namespace tavix::test {
namespace {

const QString acme = QStringLiteral("ACME");

LedgerTrade trade(const char* quantity, const char* price, long long day = 1, const char* dayStart = "0",
                  AssetType type = AssetType::equity) {
    return LedgerTrade{.symbol = QStringLiteral("ACME"), .assetType = type, .quantity = dec(quantity),
                       .price = dec(price), .day = day, .dayStartPrice = dec(dayStart)};
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

TEST(Ledger, ProblemNamesIdsThatPointNowhere) {
    Ledger ledger = Ledger::opening();
    EXPECT_FALSE(ledger.problem());
    ledger.book[QStringLiteral("practice-1")] = Working{.request = stockOrder(acme, OrderSide::buy, 1)};
    ledger.parents = {QStringLiteral("practice-1")};
    EXPECT_FALSE(ledger.problem());
    ledger.parents.push_back(QStringLiteral("practice-9"));
    EXPECT_TRUE(ledger.problem());
    ledger.parents.pop_back();
    ledger.book[QStringLiteral("practice-1")].legIDs = {QStringLiteral("practice-2")};
    EXPECT_TRUE(ledger.problem());
}

class MockBrokerAccount : public PracticeFixture {
protected:
    void SetUp() override {
        PracticeFixture::SetUp();
        broker->pin(acme, Decimal(100));
    }
    Order fill(const OrderRequest& request) { return order(place(request).id); }
};

TEST_F(MockBrokerAccount, ANewAccountHoldsOneHundredThousandDollars) {
    auto accounts = await(broker->accounts());
    ASSERT_EQ(accounts.size(), 1u);
    EXPECT_EQ(accounts[0].displayNumber, QStringLiteral("••••4242"));
    EXPECT_EQ(accounts[0].nickname, QStringLiteral("Demo Account"));
    auto b = balance();
    EXPECT_EQ(b.cash, Decimal(100000));
    EXPECT_EQ(b.equity, Decimal(100000));
}

TEST_F(MockBrokerAccount, ARoundTripMovesCashAndHoldings) {
    const Quote buyQuote = quote(acme);
    fill(stockOrder(acme, OrderSide::buy, 10));
    const Decimal paid = *buyQuote.ask * Decimal(10);
    EXPECT_EQ(broker->ledger().cash, Decimal(100000) - paid);

    broker->pin(acme, Decimal(110));
    auto held = position(acme);
    ASSERT_TRUE(held);
    EXPECT_EQ(held->quantity, Decimal(10));
    EXPECT_EQ(held->averagePrice, *buyQuote.ask);
    EXPECT_EQ(held->marketValue, Decimal(1100));
    EXPECT_EQ(held->unrealizedPL, Decimal(1100) - paid);
    EXPECT_EQ(held->dayPL, Decimal(1100) - paid);  // bought today: counts from its price
    EXPECT_EQ(balance().equity, Decimal(100000) - paid + Decimal(1100));

    const Quote sellQuote = quote(acme);
    fill(stockOrder(acme, OrderSide::sell, 10));
    const Decimal got = *sellQuote.bid * Decimal(10);
    auto after = balance();
    EXPECT_EQ(after.cash, Decimal(100000) - paid + got);
    EXPECT_EQ(after.equity, after.cash);
    EXPECT_EQ(after.dayChange, got - paid);  // realised today, though nothing is held
    ASSERT_TRUE(after.dayChangePercent);
    EXPECT_EQ(*after.dayChangePercent, ((got - paid) / Decimal(100000) * Decimal(100)).rounded(2));
}

TEST_F(MockBrokerAccount, ShortsAreNegativeAndTieUpBuyingPower) {
    const Quote q = quote(acme);
    fill(stockOrder(acme, OrderSide::sellShort, 10));
    auto held = position(acme);
    ASSERT_TRUE(held);
    EXPECT_EQ(held->quantity, Decimal(-10));
    EXPECT_EQ(held->averagePrice, *q.bid);
    EXPECT_EQ(held->marketValue, Decimal(-1000));
    auto b = balance();
    EXPECT_EQ(b.cash, Decimal(100000) + *q.bid * Decimal(10));
    EXPECT_EQ(b.equity, b.cash - Decimal(1000));
    EXPECT_EQ(b.buyingPower, b.cash - Decimal(1000));

    broker->pin(acme, Decimal(90));
    EXPECT_EQ(position(acme)->unrealizedPL, *q.bid * Decimal(10) - Decimal(900));
}

TEST_F(MockBrokerAccount, OptionsAreWorthAHundredSharesAContract) {
    const QString contract = QStringLiteral("ACME260417C00100000");
    broker->pin(contract, dec("2.50"));
    const Quote q = quote(contract);
    fill(OrderRequest{
        .symbol = contract, .assetType = AssetType::option, .side = OrderSide::buyToOpen, .quantity = 2});
    auto held = position(contract);
    ASSERT_TRUE(held);
    EXPECT_EQ(held->averagePrice, *q.ask);  // per contract, not multiplied
    EXPECT_EQ(held->marketValue, Decimal(500));
    EXPECT_EQ(broker->ledger().cash, Decimal(100000) - *q.ask * Decimal(200));
}

TEST_F(MockBrokerAccount, SharesHeldOvernightCountTheDayFromThePreviousClose) {
    broker->unpin(acme);
    fill(stockOrder(acme, OrderSide::buy, 10));
    clock = clock + 86400;  // Thursday, same hour
    const Quote thursday = quote(acme);
    ASSERT_TRUE(thursday.previousClose);
    auto held = position(acme);
    ASSERT_TRUE(held);
    EXPECT_EQ(held->dayPL, (thursday.last - *thursday.previousClose) * Decimal(10));

    // Selling half keeps the day's profit whole: realised plus what is still held.
    fill(stockOrder(acme, OrderSide::sell, 5));
    const Quote later = quote(acme);
    const Decimal expected = (*thursday.bid - *thursday.previousClose) * Decimal(5) +
                             (later.last - *thursday.previousClose) * Decimal(5);
    EXPECT_EQ(position(acme)->dayPL, expected);
    EXPECT_EQ(balance().dayChange, expected);
}

TEST_F(MockBrokerAccount, AvailableLeavesOutWhatWorkingOrdersHold) {
    fill(stockOrder(acme, OrderSide::buy, 50));
    place(limitOrder(acme, OrderSide::sell, 20, "150"));
    auto exits = stockOrder(acme, OrderSide::sell, 10);
    exits.takeProfit = Decimal(150), exits.stopLoss = Decimal(50);
    place(exits);
    place(limitOrder(acme, OrderSide::buy, 5, "50"));   // a buy holds nothing
    EXPECT_EQ(position(acme)->available, Decimal(20));  // the exit pair holds its ten once
}

}  // namespace
}  // namespace tavix::test
