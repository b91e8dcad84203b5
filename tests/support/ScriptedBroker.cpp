#include "support/ScriptedBroker.h"

#include <coroutine>
#include <stdexcept>
#include <utility>

namespace tavix::test {

// A held quote read waits on its gate until the test opens it.
class ScriptedBroker::Gate {
public:
    bool open = false;
    std::coroutine_handle<> waiting;

    // Holds a plain pointer: the held read keeps the gate alive, and g++ 12 mishandles temporaries
    // with destructors inside a co_await expression.
    struct Awaiter {
        Gate* gate;
        bool await_ready() const noexcept { return gate->open; }
        void await_suspend(std::coroutine_handle<> handle) noexcept { gate->waiting = handle; }
        void await_resume() const noexcept {}
    };
};

namespace {

Decimal number(const char* text) {
    auto value = Decimal::parse(std::string_view(text));
    if (!value) throw std::invalid_argument(std::string("not a number: ") + text);
    return *value;
}

std::optional<Decimal> maybeNumber(const char* text) {
    if (text == nullptr) return std::nullopt;
    return number(text);
}

}  // namespace

ScriptedBroker::ScriptedBroker() = default;

// Held reads are answered rather than abandoned, so no coroutine frame is left suspended forever.
ScriptedBroker::~ScriptedBroker() {
    holding = false;
    while (releaseOne()) {
    }
}

BrokerCapabilities ScriptedBroker::capabilities() const {
    return BrokerCapabilities::readAccounts() | BrokerCapabilities::quotes();
}

QCoro::Task<bool> ScriptedBroker::isConnected() { co_return connected; }

QCoro::Task<void> ScriptedBroker::connect() {
    ++connectCalls;
    connected = true;
    co_return;
}

QCoro::Task<void> ScriptedBroker::disconnect() {
    connected = false;
    co_return;
}

QCoro::Task<std::vector<BrokerAccount>> ScriptedBroker::accounts() {
    if (accountsError) throw *accountsError;
    co_return accountList;
}

QCoro::Task<Balance> ScriptedBroker::balance(QString) {
    throw BrokerError::unsupported(BrokerCapabilities::readAccounts());
    co_return {};
}

QCoro::Task<std::vector<Position>> ScriptedBroker::positions(QString) {
    throw BrokerError::unsupported(BrokerCapabilities::readAccounts());
    co_return {};
}

QCoro::Task<std::map<QString, Quote>> ScriptedBroker::quotes(QStringList symbols) {
    quoteCalls.push_back(symbols);
    if (holding) {
        auto gate = std::make_shared<Gate>();
        held_.push_back(gate);
        co_await Gate::Awaiter{gate.get()};
    }
    if (quotesError) throw *quotesError;
    std::map<QString, Quote> found;
    for (const auto& symbol : symbols) {
        if (auto it = prices.find(symbol); it != prices.end()) found.insert(*it);
    }
    co_return found;
}

QCoro::Task<std::vector<Candle>> ScriptedBroker::candles(QString, CandleInterval, DateRange) {
    throw BrokerError::unsupported(BrokerCapabilities::priceHistory());
    co_return {};
}

QCoro::Task<Order> ScriptedBroker::placeOrder(OrderRequest, QString) {
    throw BrokerError::unsupported(BrokerCapabilities::trading());
    co_return {};
}

QCoro::Task<void> ScriptedBroker::cancelOrder(QString, QString) {
    throw BrokerError::unsupported(BrokerCapabilities::trading());
    co_return;
}

QCoro::Task<std::vector<Order>> ScriptedBroker::orders(QString, std::optional<Date>) {
    throw BrokerError::unsupported(BrokerCapabilities::trading());
    co_return {};
}

void ScriptedBroker::setPrice(const QString& symbol, const char* last, const char* previousClose, const char* bid,
                              const char* ask) {
    prices[symbol] = Quote{.symbol = symbol,
                           .last = number(last),
                           .bid = maybeNumber(bid),
                           .ask = maybeNumber(ask),
                           .previousClose = maybeNumber(previousClose),
                           .asOf = Date::now()};
}

bool ScriptedBroker::releaseOne() {
    if (held_.empty()) return false;
    auto gate = held_.front();
    held_.pop_front();
    gate->open = true;
    if (gate->waiting) std::exchange(gate->waiting, nullptr).resume();
    return true;
}

}  // namespace tavix::test
