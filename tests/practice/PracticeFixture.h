#pragma once

// A practice broker on a clock the test moves, with short ways to place and read orders.

#include "practice/MockBroker.h"
#include "support/Await.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <ostream>

namespace tavix {
// Readable values in failure messages.
inline void PrintTo(const Decimal& value, std::ostream* os) {
    *os << value.toStdString();
}
}  // namespace tavix

namespace tavix::test {

// Wednesday 4 March 2026, 10:00 in New York.
inline Date wednesdayMorning() {
    return *Date::parseIso(u"2026-03-04T15:00:00Z");
}

inline OrderRequest stockOrder(const QString& symbol, OrderSide side, int quantity,
                               OrderType type = OrderType::market) {
    return OrderRequest{
        .symbol = symbol, .assetType = AssetType::equity, .side = side, .quantity = quantity, .type = type};
}

inline OrderRequest limitOrder(const QString& symbol, OrderSide side, int quantity, const char* limit) {
    auto request = stockOrder(symbol, side, quantity, OrderType::limit);
    request.limitPrice = Decimal::parse(limit);
    return request;
}

inline Decimal dec(const char* text) {
    return *Decimal::parse(text);
}

class PracticeFixture : public ::testing::Test {
protected:
    void SetUp() override { makeBroker(std::nullopt); }

    void makeBroker(std::optional<QString> storePath) {
        broker.reset();
        broker = std::make_unique<MockBroker>(std::move(storePath), std::chrono::milliseconds(0),
                                              [this] { return clock; });
    }

    QString account() const { return broker->account().id; }
    void advance(double seconds) { clock = clock + seconds; }

    Order place(const OrderRequest& request) { return await(broker->placeOrder(request, account())); }
    // The raw words of a refusal, or "accepted".
    QString refusalOf(const OrderRequest& request) {
        try {
            place(request);
        } catch (const BrokerError& error) {
            EXPECT_EQ(error.kind(), BrokerError::Kind::invalidOrder);
            return error.text();
        }
        return QStringLiteral("accepted");
    }
    std::vector<Order> orders() { return await(broker->orders(account(), std::nullopt)); }
    Order order(const QString& id) { return await(broker->order(id, account())); }
    void cancel(const QString& id) { await(broker->cancelOrder(id, account())); }
    Quote quote(const QString& symbol) { return await(broker->quotes({symbol})).at(symbol); }
    std::optional<Position> position(const QString& symbol) {
        for (auto& p : await(broker->positions(account()))) {
            if (p.symbol == symbol) return p;
        }
        return std::nullopt;
    }

    Date clock = wednesdayMorning();
    std::unique_ptr<MockBroker> broker;
};

}  // namespace tavix::test
