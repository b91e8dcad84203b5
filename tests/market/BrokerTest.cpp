#include "market/Broker.h"
#include "market/BrokerRegistry.h"

#include "support/Await.h"

#include <gtest/gtest.h>

namespace tavix {
namespace {

Decimal dec(const char* text) { return *Decimal::parse(std::string_view(text)); }

// A broker with only the required operations, so the interface's defaults are what runs.
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
    QCoro::Task<std::vector<Order>> orders(QString, std::optional<Date>) override {
        co_return std::vector<Order>(book);  // QCoro moves from a co_returned lvalue: copy it first
    }

    // Candles on weekdays only, and intraday ones only in the 14:30-21:00 UTC session, like a stock
    // market: a narrow range finds too few.
    QCoro::Task<std::vector<Candle>> candles(QString symbol, CandleInterval interval, DateRange range) override {
        rangesAsked.push_back(range);
        std::vector<Candle> out;
        const auto step = static_cast<double>(seconds(interval));
        double first = std::ceil(range.start.secondsSince1970() / step) * step;
        for (double t = first; t < range.end.secondsSince1970(); t += step) {
            const auto day = static_cast<long long>(t / 86400);
            if ((day + 4) % 7 == 0 || (day + 4) % 7 == 6) continue;  // Sunday, Saturday
            const double timeOfDay = t - static_cast<double>(day) * 86400;
            if (step < 86400 && (timeOfDay < 52200 || timeOfDay >= 75600)) continue;
            out.push_back(Candle{.time = Date(t), .open = dec("1"), .high = dec("1"), .low = dec("1"),
                                 .close = dec("1"), .volume = static_cast<std::int64_t>(t) % 1000});
        }
        (void)symbol;
        co_return out;
    }

    std::vector<Order> book;
    std::vector<DateRange> rangesAsked;
};

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

TEST(BrokerErrorText, ErrorsCompareByCaseAndPayload) {
    EXPECT_EQ(BrokerError::api(500, QStringLiteral("x")), BrokerError::api(500, QStringLiteral("x")));
    EXPECT_NE(BrokerError::api(500, QStringLiteral("x")), BrokerError::api(502, QStringLiteral("x")));
    EXPECT_NE(BrokerError::transport(QStringLiteral("x")), BrokerError::decoding(QStringLiteral("x")));
    EXPECT_NE(BrokerError::rateLimited(1.0), BrokerError::rateLimited(std::nullopt));
}

TEST(BrokerCapabilitySets, ContainAndUnite) {
    auto caps = BrokerCapabilities::quotes() | BrokerCapabilities::streaming();
    EXPECT_EQ(caps.rawValue(), 258);
    EXPECT_FALSE(caps.contains(BrokerCapabilities::quotes() | BrokerCapabilities::trading()));
    EXPECT_TRUE(caps.contains(BrokerCapabilities()));
    EXPECT_EQ(caps.text(), QStringLiteral("quotes, streaming"));
    BareBroker broker;
    EXPECT_TRUE(broker.supports(BrokerCapabilities::trading()));
    EXPECT_FALSE(broker.supports(BrokerCapabilities::trading() | BrokerCapabilities::replaceOrders()));
    EXPECT_EQ(broker.quotePollSeconds(), 1.0);
}

TEST(BrokerRegistryLife, KeepsOneLiveBrokerPerIdUntilForgotten) {
    BrokerRegistry registry;
    int made = 0;
    registry.registerBroker(BrokerID{QStringLiteral("bare")}, QStringLiteral("Bare"), BrokerCapabilities::trading(),
                            [&] {
                                ++made;
                                return std::make_shared<BareBroker>();
                            });
    auto first = registry.broker(BrokerID{QStringLiteral("bare")});
    auto again = registry.broker(BrokerID{QStringLiteral("bare")});
    EXPECT_EQ(first.get(), again.get());
    EXPECT_EQ(made, 1);
    registry.forget(BrokerID{QStringLiteral("bare")});
    auto fresh = registry.broker(BrokerID{QStringLiteral("bare")});
    EXPECT_NE(first.get(), fresh.get());
    EXPECT_EQ(made, 2);
    EXPECT_EQ(registry.entries().at(BrokerID{QStringLiteral("bare")}).displayName, QStringLiteral("Bare"));

    EXPECT_THROW(registry.broker(BrokerID::schwab()), BrokerError);
    registry.registerBroker(BrokerID::alpaca(), QStringLiteral("Alpaca"), {},
                            []() -> std::shared_ptr<Broker> { throw BrokerError::keychain(7); });
    try {
        registry.broker(BrokerID::alpaca());
        FAIL() << "a failing factory must fail the lookup";
    } catch (const BrokerError& e) {
        EXPECT_EQ(e, BrokerError::keychain(7));
    }
    EXPECT_FALSE(registry.isLive(BrokerID::alpaca()));
}

TEST(BrokerDefaults, OrderLookupFillsAndHistoryComeFromOrders) {
    BareBroker broker;
    broker.book = {Order{.id = QStringLiteral("A"), .status = OrderStatus::filled, .quantity = dec("3"),
                         .filledQuantity = dec("3"), .averageFillPrice = dec("10.5"), .closedAt = Date(50)},
                   Order{.id = QStringLiteral("B"), .status = OrderStatus::working, .quantity = dec("1")}};
    EXPECT_EQ(test::await(broker.order(QStringLiteral("B"), QStringLiteral("acct"))).id, QStringLiteral("B"));
    try {
        test::await(broker.order(QStringLiteral("Z"), QStringLiteral("acct")));
        FAIL() << "an unknown id must fail";
    } catch (const BrokerError& e) {
        EXPECT_EQ(e.kind(), BrokerError::Kind::invalidOrder);
        EXPECT_TRUE(e.text().startsWith(QStringLiteral("no order")));
    }
    auto fills = test::await(broker.fills(QStringLiteral("acct"), std::nullopt));
    ASSERT_EQ(fills.size(), 1U);
    EXPECT_EQ(fills[0].price, dec("10.5"));
    EXPECT_EQ(test::await(broker.orderHistory(QStringLiteral("acct"))).size(), 2U);
}

TEST(BrokerDefaults, WhatABrokerLacksFailsAsUnsupported) {
    BareBroker broker;
    try {
        test::await(broker.replaceOrder(QStringLiteral("A"), QStringLiteral("acct"), dec("1"), std::nullopt));
        FAIL() << "replaceOrder must fail without the capability";
    } catch (const BrokerError& e) {
        EXPECT_EQ(e, BrokerError::unsupported(BrokerCapabilities::replaceOrders()));
        EXPECT_EQ(e.description(), QStringLiteral("This brokerage doesn't support that (replaceOrders)."));
    }
    EXPECT_THROW(test::await(broker.optionChain(QStringLiteral("AAPL"), std::nullopt)), BrokerError);
    EXPECT_EQ(test::await(broker.ownWatchlist()), std::nullopt);
    EXPECT_EQ(test::await(broker.coinRules(QStringLiteral("BTC/USD"))), std::nullopt);
    EXPECT_TRUE(test::await(broker.searchSymbols(QStringLiteral("AA"))).empty());
    EXPECT_EQ(broker.liveFeed(), nullptr);
}

TEST(BrokerDefaults, CandlesBeforeWidensUntilItHasEnough) {
    BareBroker broker;
    const Date monday = *Date::parseIso(u"2026-03-09T00:00:00Z");
    auto daily = test::await(broker.candlesBefore(QStringLiteral("AAPL"), CandleInterval::daily, monday, 30));
    ASSERT_EQ(daily.size(), 30U);
    EXPECT_EQ(daily.back().time, monday - 3 * 86400.0);  // the Friday before

    broker.rangesAsked.clear();
    auto minutes = test::await(broker.candlesBefore(QStringLiteral("AAPL"), CandleInterval::oneMinute, monday, 3000));
    ASSERT_EQ(minutes.size(), 3000U);  // about eight trading days of minutes: needs a wider second ask
    EXPECT_EQ(minutes.back().time, monday - 3 * 86400.0 + 75540);  // Friday's last minute
    for (std::size_t i = 1; i < minutes.size(); ++i) ASSERT_LT(minutes[i - 1].time, minutes[i].time);
    ASSERT_GE(broker.rangesAsked.size(), 2U);
    for (std::size_t i = 1; i < broker.rangesAsked.size(); ++i) {
        EXPECT_LT(broker.rangesAsked[i].start, broker.rangesAsked[i - 1].start);
        EXPECT_EQ(broker.rangesAsked[i].end, monday);
    }
    EXPECT_TRUE(test::await(broker.candlesBefore(QStringLiteral("AAPL"), CandleInterval::daily, monday, 0)).empty());

    auto several = test::await(broker.candlesForSymbols(QStringList{QStringLiteral("A"), QStringLiteral("B")},
                                              CandleInterval::hourly,
                                              DateRange{monday + 15 * 3600.0, monday + 21 * 3600.0}));
    ASSERT_EQ(several.size(), 2U);
    EXPECT_EQ(several.at(QStringLiteral("B")).size(), 6U);
}

TEST(BrokerDefaults, LocalPreviewPricesFromTheOrderAndCountsFees) {
    BareBroker broker;
    OrderRequest limit{.symbol = QStringLiteral("AAPL"), .quantity = dec("10"), .type = OrderType::limit,
                       .limitPrice = dec("187.34")};
    auto preview = test::await(broker.previewOrder(limit, QStringLiteral("acct")));
    EXPECT_EQ(preview.estimatedPrice, dec("187.34"));
    EXPECT_EQ(preview.estimatedValue, dec("1873.4"));
    EXPECT_EQ(preview.estimatedCommission, dec("1"));
    EXPECT_TRUE(preview.warnings.isEmpty());

    OrderRequest option{.symbol = QStringLiteral("AAPL260116C00190000"), .assetType = AssetType::option,
                        .side = OrderSide::buyToOpen, .quantity = dec("3"), .type = OrderType::limit,
                        .limitPrice = dec("2.05")};
    preview = test::await(broker.previewOrder(option, QStringLiteral("acct")));
    EXPECT_EQ(preview.estimatedValue, dec("615"));
    EXPECT_EQ(preview.estimatedCommission, dec("2.45"));

    OrderRequest market{.symbol = QStringLiteral("AAPL"), .quantity = dec("1"), .session = OrderSession::extended};
    preview = test::await(broker.previewOrder(market, QStringLiteral("acct")));
    EXPECT_EQ(preview.estimatedPrice, std::nullopt);
    EXPECT_EQ(preview.warnings.size(), 2);
}

}  // namespace
}  // namespace tavix
