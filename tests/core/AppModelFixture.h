#pragma once

// The model harness with a practice broker whose reads a test can hold and fail, and which keeps
// a watchlist of its own on demand, as brokers with watchlists do.

#include "support/AppModelHarness.h"
#include "support/Gates.h"

#include <functional>
#include <map>
#include <optional>
#include <utility>

namespace tavix::test {

class HeldPractice : public MockBroker {
public:
    using MockBroker::MockBroker;
    ~HeldPractice() override {
        balanceReads.openAll();
        candleReads.openAll();
        listReads.openAll();
    }

    QCoro::Task<Balance> balance(QString accountID) override {
        co_await balanceReads.pass();
        if (readError) throw *readError;
        Balance read = co_await MockBroker::balance(accountID);
        co_return read;
    }
    QCoro::Task<std::vector<Candle>> candles(QString symbol, CandleInterval interval, DateRange range) override {
        co_await candleReads.pass();
        if (candleError) throw *candleError;
        std::vector<Candle> read = co_await MockBroker::candles(std::move(symbol), interval, range);
        co_return read;
    }
    QCoro::Task<Order> placeOrder(OrderRequest request, QString accountID) override {
        co_await placings.pass();
        Order placed = co_await MockBroker::placeOrder(std::move(request), std::move(accountID));
        co_return placed;
    }
    // Counts quote reads, so a test can see how often the loops poll.
    QCoro::Task<std::map<QString, Quote>> quotes(QStringList symbols) override {
        ++quoteReads;
        std::map<QString, Quote> read = co_await MockBroker::quotes(std::move(symbols));
        co_return read;
    }
    QCoro::Task<std::vector<SymbolMatch>> searchSymbols(QString text) override {
        if (searchError) throw *searchError;
        std::vector<SymbolMatch> found = co_await MockBroker::searchSymbols(text);
        co_return found;
    }
    QCoro::Task<std::optional<RemoteWatchlist>> ownWatchlist() override {
        ++listReadCount;
        co_await listReads.pass();
        if (!ownList) co_return std::nullopt;
        RemoteWatchlist list{QStringLiteral("list-1"), QStringLiteral("Primary Watchlist"), *ownList};
        co_return list;
    }
    // Symbols in `refusedByList` are quietly left out, as a broker does with what it can't list.
    QCoro::Task<RemoteWatchlist> replaceOwnWatchlist(QStringList symbols, RemoteWatchlist list) override {
        symbols.removeIf([this](const QString& symbol) { return refusedByList.contains(symbol); });
        ownList = list.symbols = symbols;
        co_return list;
    }

    Gates balanceReads;
    Gates candleReads;
    Gates listReads;
    Gates placings;
    int listReadCount = 0;
    std::optional<BrokerError> readError;
    std::optional<BrokerError> searchError;
    std::optional<BrokerError> candleError;
    int quoteReads = 0;
    std::optional<QStringList> ownList;  // none: the broker keeps no list
    QStringList refusedByList;
};

class AppModelFixture : public AppModelHarness {
protected:
    // The practice broker runs on the pacer's clock, and `prepare` sees it before the model reads.
    AppModelEnvironment environment() override {
        AppModelEnvironment made = AppModelHarness::environment();
        made.makePractice = [this](std::optional<QString> storePath, std::chrono::milliseconds lag) {
            auto broker =
                std::make_shared<HeldPractice>(std::move(storePath), lag, [this] { return pacer.now(); });
            practice = broker.get();
            if (prepare) prepare(*broker);
            return std::shared_ptr<MockBroker>(broker);
        };
        return made;
    }

    // A watch or bounce record, as the model keeps them, on the practice broker.
    static Json record(const QString& account, std::initializer_list<std::pair<const char*, Json>> fields) {
        Json made = Json::object();
        made.set("brokerID", Json("mock"));
        made.set("accountID", Json(account));
        for (const auto& [key, value] : fields) made.set(key, value);
        return made;
    }

    HeldPractice* practice = nullptr;  // the practice broker the model made last (owned by the model)
    std::function<void(HeldPractice&)> prepare;
};

}  // namespace tavix::test
