#include "AlpacaTradingFixture.h"

namespace tavix {
namespace {

using test::AlpacaTradingTest;
using test::FakeAlpaca;

using AlpacaAccountTest = AlpacaTradingTest;

const QString watchlistID = QStringLiteral("3174d6df-7726-44b4-a5bd-7fda5ae6e009");

TEST_F(AlpacaAccountTest, ConnectingKeepsTheAccountUntilDisconnected) {
    EXPECT_FALSE(test::await(broker->isConnected()));
    test::await(broker->connect());
    EXPECT_TRUE(test::await(broker->isConnected()));

    // The account list comes from the account already read.
    const auto accounts = test::await(broker->accounts());
    ASSERT_EQ(accounts.size(), 1u);
    EXPECT_EQ(accounts[0].id, QStringLiteral("PA3KDV5RQ8LX"));
    EXPECT_EQ(accounts[0].displayNumber, QStringLiteral("PA3KDV5RQ8LX"));
    EXPECT_EQ(accounts[0].nickname, QStringLiteral("Paper Trading"));
    EXPECT_EQ(fake.count("GET", QStringLiteral("/v2/account")), 1);

    test::await(broker->disconnect());
    EXPECT_FALSE(test::await(broker->isConnected()));

    // Keys Alpaca does not know leave it disconnected.
    fake.key = QStringLiteral("PKOTHER");
    EXPECT_EQ(failure(broker->connect()).kind(), BrokerError::Kind::api);
    EXPECT_FALSE(test::await(broker->isConnected()));
}

TEST_F(AlpacaAccountTest, BalanceIsOnlyForItsOwnAccountAndAGarbledClockIsADecodingError) {
    const Balance balance = test::await(broker->balance(QStringLiteral("PA3KDV5RQ8LX")));
    EXPECT_EQ(balance.dayChange, Decimal::parse("246.91"));
    EXPECT_EQ(failure(broker->balance(QStringLiteral("PA0THER"))),
              BrokerError::accountNotFound(QStringLiteral("PA0THER")));

    const MarketClock clock = test::await(broker->marketClock());
    EXPECT_EQ(clock.nextClose, Date::parseIso(u"2026-03-02T21:00:00Z"));
    fake.garble(FakeAlpaca::on("GET", QStringLiteral("/v2/clock")));
    EXPECT_EQ(failure(broker->marketClock()), BrokerError::decoding(QStringLiteral("Clock")));
}

TEST_F(AlpacaAccountTest, PreviewAddsBuyingPowerAndAlpacasObjection) {
    OrderRequest request;
    request.symbol = QStringLiteral("AAPL");
    request.quantity = Decimal(10);
    request.type = OrderType::limit;
    request.limitPrice = *Decimal::parse("182.5");
    const OrderPreview fine = test::await(broker->previewOrder(request, QStringLiteral("PA3KDV5RQ8LX")));
    EXPECT_EQ(fine.estimatedValue, Decimal::parse("1825"));
    EXPECT_EQ(fine.buyingPowerAfter, Decimal::parse("185829.32"));
    EXPECT_TRUE(fine.warnings.isEmpty());
    EXPECT_EQ(fake.count("GET", QStringLiteral("/v2/account")), 1);

    request.limitPrice = *Decimal::parse("182.505");
    const OrderPreview refused = test::await(broker->previewOrder(request, QStringLiteral("PA3KDV5RQ8LX")));
    EXPECT_EQ(refused.warnings,
              QStringList{QStringLiteral(
                  "182.505 isn't a price an order can carry: from $1 up, prices go in whole cents.")});
    EXPECT_EQ(fake.count("POST", QStringLiteral("/v2/orders")), 0);
}

// ---- Watchlist

TEST_F(AlpacaAccountTest, OwnWatchlistIsThePrimaryOneReadWithItsSymbols) {
    // Another list listed first does not win over the primary one.
    Json other = fake.watchlists[0];
    FakeAlpaca::put(FakeAlpaca::put(other, "id", "aaaaaaaa-0000-4000-8000-000000000001"), "name", "Ideas");
    fake.watchlists.insert(fake.watchlists.begin(), other);

    const auto list = test::await(broker->ownWatchlist());
    ASSERT_TRUE(list.has_value());
    EXPECT_EQ(list->id, watchlistID);
    EXPECT_EQ(list->name, QStringLiteral("Primary Watchlist"));
    EXPECT_EQ(list->symbols, (QStringList{QStringLiteral("AAPL"), QStringLiteral("MSFT")}));
    EXPECT_EQ(fake.count("GET", QStringLiteral("/v2/watchlists")), 1);
    EXPECT_EQ(fake.count("GET", QStringLiteral("/v2/watchlists/") + watchlistID), 1);
    EXPECT_EQ(fake.count("POST", QStringLiteral("/v2/watchlists")), 0);
}

TEST_F(AlpacaAccountTest, OwnWatchlistIsMadeWhenThereIsNone) {
    fake.watchlists.clear();
    const auto list = test::await(broker->ownWatchlist());
    const auto made = fake.requests("POST", QStringLiteral("/v2/watchlists"));
    ASSERT_EQ(made.size(), 1u);
    EXPECT_EQ(made[0].json(), json(R"({"name":"Primary Watchlist","symbols":[]})"));
    ASSERT_TRUE(list.has_value());
    ASSERT_EQ(fake.watchlists.size(), 1u);
    EXPECT_EQ(list->id, FakeAlpaca::field(fake.watchlists[0], "id"));
    EXPECT_TRUE(list->symbols.isEmpty());

    // The next read finds it instead of making another.
    EXPECT_EQ(test::await(broker->ownWatchlist()), list);
    EXPECT_EQ(fake.count("POST", QStringLiteral("/v2/watchlists")), 1);
}

}  // namespace
}  // namespace tavix
