#pragma once

// A practice broker on a clock the test moves, with ACME pinned at 100 and short ways to place and
// read orders.

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

inline const QString acme = QStringLiteral("ACME");

inline Decimal dec(const char* text) {
    return *Decimal::parse(text);
}
inline Date at(const char16_t* iso) {
    return *Date::parseIso(QStringView(iso));
}

inline OrderRequest stockOrder(OrderSide side, Decimal quantity, OrderType type = OrderType::market) {
    return {.symbol = acme, .assetType = AssetType::equity, .side = side, .quantity = quantity, .type = type};
}

inline OrderRequest limitOrder(OrderSide side, int quantity, const char* limit) {
    auto request = stockOrder(side, quantity, OrderType::limit);
    request.limitPrice = dec(limit);
    return request;
}

// A take-profit and a stop-loss on the request (0 for none).
inline OrderRequest withExits(OrderRequest request, int takeProfit, int stopLoss) {
    if (takeProfit) request.takeProfit = Decimal(takeProfit);
    if (stopLoss) request.stopLoss = Decimal(stopLoss);
    return request;
}

// The error a task ends with, if any.
template <class T>
std::optional<BrokerError> errorOf(QCoro::Task<T> task) {
    try {
        await(std::move(task));
    } catch (const BrokerError& e) {
        return e;
    }
    return std::nullopt;
}

class PracticeFixture : public ::testing::Test {
protected:
    void SetUp() override { makeBroker(std::nullopt); }

    void makeBroker(std::optional<QString> storePath) {
        broker.reset();
        broker = std::make_unique<MockBroker>(std::move(storePath), std::chrono::milliseconds(0),
                                              [this] { return clock; });
        broker->pin(acme, Decimal(100));
    }

    QString account() const { return broker->account().id; }
    void advance(double seconds) { clock = clock + seconds; }

    Order place(const OrderRequest& request) { return await(broker->placeOrder(request, account())); }
    // The raw words of a refusal, or "accepted".
    QString refusalOf(const OrderRequest& request) {
        const auto error = errorOf(broker->placeOrder(request, account()));
        if (!error) return QStringLiteral("accepted");
        EXPECT_EQ(error->kind(), BrokerError::Kind::invalidOrder);
        return error->text();
    }
    std::vector<Order> orders() { return await(broker->orders(account(), std::nullopt)); }
    Order order(const QString& id) { return await(broker->order(id, account())); }
    void cancel(const QString& id) { await(broker->cancelOrder(id, account())); }
    std::optional<Position> position(const QString& symbol) {
        for (auto& p : await(broker->positions(account()))) {
            if (p.symbol == symbol) return p;
        }
        return std::nullopt;
    }

    Date clock = at(u"2026-03-04T15:00:00Z");  // a Wednesday, 10:00 in New York
    std::unique_ptr<MockBroker> broker;
};

}  // namespace tavix::test
