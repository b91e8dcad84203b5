#include "market/Broker.h"

#include "support/Await.h"

#include <QSet>

#include <gtest/gtest.h>

namespace tavix {
namespace {

Decimal dec(const char* text) { return *Decimal::parse(std::string_view(text)); }

// A broker with only the required operations (and its own watchlist's single steps), so the
// interface's defaults are what runs.
class BareBroker : public Broker {
public:
    BrokerID id() const override { return BrokerID{QStringLiteral("bare")}; }
    QString displayName() const override { return QStringLiteral("Bare"); }
    BrokerCapabilities capabilities() const override {
        return BrokerCapabilities::readAccounts() | BrokerCapabilities::trading();
    }
    FeeSchedule fees() const override { return FeeSchedule{.perEquityTrade = dec("1"), .perOptionTrade = dec("0.5"),
                                                           .perOptionContract = dec("0.65")}; }
    QCoro::Task<bool> isConnected() override { co_return true; }
    QCoro::Task<void> connect() override { co_return; }
    QCoro::Task<void> disconnect() override { co_return; }
    QCoro::Task<std::vector<BrokerAccount>> accounts() override { co_return {}; }
    QCoro::Task<Balance> balance(QString) override { co_return Balance{}; }
    QCoro::Task<std::vector<Position>> positions(QString) override { co_return {}; }
    QCoro::Task<std::map<QString, Quote>> quotes(QStringList) override { co_return {}; }
    QCoro::Task<Order> placeOrder(OrderRequest, QString) override { co_return Order{}; }
    QCoro::Task<void> cancelOrder(QString, QString) override { co_return; }
    QCoro::Task<std::vector<Order>> orders(QString, std::optional<Date>) override { co_return {}; }
    QCoro::Task<std::vector<Candle>> candles(QString, CandleInterval, DateRange) override { co_return {}; }
    QCoro::Task<RemoteWatchlist> addToOwnWatchlist(QString symbol, RemoteWatchlist l) override {
        calls << QStringLiteral("+") + symbol;
        l.symbols << symbol;
        co_return l;
    }
    QCoro::Task<RemoteWatchlist> removeFromOwnWatchlist(QString symbol, RemoteWatchlist l) override {
        calls << QStringLiteral("-") + symbol;
        l.symbols.removeAll(symbol);
        co_return l;
    }

    QStringList calls;
};

// Brokers without a fills endpoint report fills made from their orders; statistics and the day's
// results are built on them, so no filled share may be lost or counted twice.
TEST(FillsFromOrders, OneFillPerOrderOrLegThatFilledAtAKnownPrice) {
    const Order takeProfit{.id = QStringLiteral("TP"), .side = OrderSide::sell, .type = OrderType::limit,
                           .status = OrderStatus::partiallyFilled, .quantity = dec("10"),
                           .filledQuantity = dec("4"), .averageFillPrice = dec("110.25"),
                           .enteredAt = Date(100)};
    const Order stopLoss{.id = QStringLiteral("SL"), .side = OrderSide::sell, .type = OrderType::stop,
                         .status = OrderStatus::cancelled, .quantity = dec("10"), .closedAt = Date(300)};
    const Order parent{.id = QStringLiteral("P"), .symbol = QStringLiteral("MSFT"), .type = OrderType::limit,
                       .status = OrderStatus::filled, .quantity = dec("10"), .filledQuantity = dec("10"),
                       .averageFillPrice = dec("100.5"), .enteredAt = Date(10), .closedAt = Date(20),
                       .legs = {takeProfit, stopLoss}};
    const Order noPrice{.id = QStringLiteral("N"), .status = OrderStatus::filled, .quantity = dec("1"),
                        .filledQuantity = dec("1")};
    const Order working{.id = QStringLiteral("W"), .status = OrderStatus::working, .quantity = dec("5"),
                        .averageFillPrice = dec("9")};

    const auto fills = Fill::fromOrders({parent, noPrice, working});
    ASSERT_EQ(fills.size(), 2U);
    EXPECT_EQ(fills[0].orderID, QStringLiteral("P"));
    EXPECT_EQ(fills[0].quantity, dec("10"));
    EXPECT_EQ(fills[0].price, dec("100.5"));
    EXPECT_EQ(fills[0].time, Date(20));  // the closing time when there is one
    EXPECT_EQ(fills[1].orderID, QStringLiteral("TP"));
    EXPECT_EQ(fills[1].side, OrderSide::sell);
    EXPECT_EQ(fills[1].quantity, dec("4"));  // what filled, not what was asked
    EXPECT_EQ(fills[1].price, dec("110.25"));
    EXPECT_EQ(fills[1].time, Date(100));  // else the entry time
}

TEST(BrokerErrorText, EveryCaseReadsAsTheUserSeesIt) {
    const std::vector<std::pair<BrokerError, const char*>> cases = {
        {BrokerError::unsupported(BrokerCapabilities::trading() | BrokerCapabilities::options()),
         "This brokerage doesn't support that (trading, options)."},
        {BrokerError::invalidOrder(QStringLiteral("no shares.")), "That order can't be sent: no shares."},
        {BrokerError::accountNotFound(QStringLiteral("PA123")), "Account PA123 wasn't found."},
        {BrokerError::rateLimited(std::nullopt), "Too many requests. Try again shortly."},
        {BrokerError::rateLimited(2.7), "Too many requests. Try again in 2s."},
        {BrokerError::transport(QStringLiteral("timed out")), "Couldn't reach the brokerage: timed out."},
        {BrokerError::transport(QStringLiteral("The request timed out.")),
         "Couldn't reach the brokerage: The request timed out."},
        {BrokerError::api(403, QStringLiteral("forbidden")), "Brokerage returned 403: forbidden"},
        {BrokerError::decoding(QStringLiteral("bad date")), "Unexpected response from the brokerage: bad date"},
        {BrokerError::keychain(-25300), "Keychain error -25300"},
        {BrokerError::notConnected(), "This brokerage isn't connected yet."},
        {BrokerError::reauthorizationRequired(), "Your brokerage sign-in expired. Sign in again to keep trading."},
    };
    for (const auto& [error, want] : cases) {
        EXPECT_EQ(error.description(), QString::fromUtf8(want));
        EXPECT_STREQ(error.what(), want);
    }
}

TEST(BrokerDefaults, LocalPreviewPricesFromTheOrderAndCountsFees) {
    BareBroker broker;
    const auto preview = [&](OrderRequest r) { return test::await(broker.previewOrder(r, QStringLiteral("acct"))); };
    auto p = preview({.symbol = QStringLiteral("AAPL"), .quantity = dec("10"), .type = OrderType::limit,
                      .limitPrice = dec("187.34")});
    EXPECT_EQ(p.estimatedPrice, dec("187.34"));
    EXPECT_EQ(p.estimatedValue, dec("1873.4"));
    EXPECT_EQ(p.estimatedCommission, dec("1"));
    EXPECT_TRUE(p.warnings.isEmpty());

    p = preview({.symbol = QStringLiteral("AAPL260116C00190000"), .assetType = AssetType::option,
                 .side = OrderSide::buyToOpen, .quantity = dec("3"), .type = OrderType::limit,
                 .limitPrice = dec("2.05")});
    EXPECT_EQ(p.estimatedValue, dec("615"));
    EXPECT_EQ(p.estimatedCommission, dec("2.45"));

    p = preview({.symbol = QStringLiteral("AAPL"), .quantity = dec("1"), .session = OrderSession::extended});
    EXPECT_EQ(p.estimatedPrice, std::nullopt);
    EXPECT_EQ(p.warnings.size(), 2);
}

TEST(BrokerDefaults, ReplacingTheOwnWatchlistAddsAndRemovesOneAtATime) {
    BareBroker broker;
    const QStringList symbols = {QStringLiteral("AAPL"), QStringLiteral("MSFT"), QStringLiteral("SPY")};
    const QStringList wanted = {QStringLiteral("NVDA"), QStringLiteral("AAPL"), QStringLiteral("SPY")};
    auto result =
        test::await(broker.replaceOwnWatchlist(wanted, {QStringLiteral("w1"), QStringLiteral("Tavix"), symbols}));
    EXPECT_EQ(broker.calls, (QStringList{QStringLiteral("+NVDA"), QStringLiteral("-MSFT")}));
    EXPECT_EQ(result.id, QStringLiteral("w1"));
    EXPECT_EQ(QSet<QString>(result.symbols.begin(), result.symbols.end()),
              QSet<QString>(wanted.begin(), wanted.end()));
    auto clock = test::await(broker.marketClock());
    EXPECT_GT(clock.nextOpen, clock.asOf);
}

}  // namespace
}  // namespace tavix
