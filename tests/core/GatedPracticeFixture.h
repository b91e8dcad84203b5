#pragma once

// A model on a practice broker whose look-ups, candle reads and own-list reads a test can hold
// and release one by one, and which keeps a watchlist of its own on demand, as brokers with
// watchlists do.

#include "AppModelFixture.h"

#include <coroutine>
#include <deque>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace tavix::test {

// Calls that wait while `holding`, until the test lets them through, oldest first.
class Gates {
public:
    ~Gates() { openAll(); }

    QCoro::Task<void> pass() {
        if (!holding) co_return;
        auto gate = std::make_shared<Gate>();
        waiting_.push_back(gate);
        Gate::Awaiter awaiter{gate.get()};
        co_await awaiter;
    }

    bool releaseOne() {
        if (waiting_.empty()) return false;
        auto gate = waiting_.front();
        waiting_.pop_front();
        gate->open = true;
        if (gate->waiting) std::exchange(gate->waiting, nullptr).resume();
        return true;
    }
    bool releaseNewest() {
        if (waiting_.empty()) return false;
        auto gate = waiting_.back();
        waiting_.pop_back();
        gate->open = true;
        if (gate->waiting) std::exchange(gate->waiting, nullptr).resume();
        return true;
    }
    void openAll() {
        holding = false;
        while (releaseOne()) {
        }
    }
    int count() const { return static_cast<int>(waiting_.size()); }

    bool holding = false;

private:
    struct Gate {
        bool open = false;
        std::coroutine_handle<> waiting;
        // A plain pointer: g++ 12 mishandles temporaries with destructors inside co_await.
        struct Awaiter {
            Gate* gate;
            bool await_ready() const noexcept { return gate->open; }
            void await_suspend(std::coroutine_handle<> handle) noexcept { gate->waiting = handle; }
            void await_resume() const noexcept {}
        };
    };
    std::deque<std::shared_ptr<Gate>> waiting_;
};

class GatedPractice : public HeldPractice {
public:
    using HeldPractice::HeldPractice;

    ~GatedPractice() override {
        searches.openAll();
        candleReads.openAll();
        listReads.openAll();
    }

    QCoro::Task<std::vector<SymbolMatch>> searchSymbols(QString text) override {
        co_await searches.pass();
        if (searchError) throw *searchError;
        std::vector<SymbolMatch> found = co_await MockBroker::searchSymbols(text);
        co_return found;
    }

    struct CandleCall {
        QString symbol;
        CandleInterval interval;
        DateRange range;
    };
    QCoro::Task<std::vector<Candle>> candles(QString symbol, CandleInterval interval,
                                             DateRange range) override {
        candleCalls.push_back({symbol, interval, range});
        co_await candleReads.pass();
        if (candlesError) throw *candlesError;
        std::vector<Candle> read = co_await MockBroker::candles(symbol, interval, range);
        co_return read;
    }

    QCoro::Task<std::optional<RemoteWatchlist>> ownWatchlist() override {
        ++listReadCount;
        co_await listReads.pass();
        if (listError) throw *listError;
        if (!ownList) co_return std::nullopt;
        RemoteWatchlist list{QStringLiteral("list-1"), QStringLiteral("Primary Watchlist"), *ownList};
        co_return list;
    }

    // Symbols in `refusedByList` are quietly left out, as a broker does with what it can't list.
    QCoro::Task<RemoteWatchlist> replaceOwnWatchlist(QStringList symbols, RemoteWatchlist list) override {
        ++replaceCount;
        QStringList kept;
        for (const auto& symbol : symbols) {
            if (!refusedByList.contains(symbol)) kept << symbol;
        }
        ownList = kept;
        list.symbols = kept;
        co_return list;
    }

    Gates searches;
    Gates candleReads;
    Gates listReads;
    std::optional<BrokerError> searchError;
    std::optional<BrokerError> candlesError;
    std::optional<BrokerError> listError;
    std::vector<CandleCall> candleCalls;
    // The broker's own list; none means the broker keeps no list.
    std::optional<QStringList> ownList;
    QStringList refusedByList;
    int listReadCount = 0;
    int replaceCount = 0;
};

class GatedPracticeFixture : public AppModelFixture {
protected:
    void TearDown() override {
        // Held calls land before the model goes, so none is left suspended.
        if (gated) {
            gated->searches.openAll();
            gated->candleReads.openAll();
            gated->listReads.openAll();
        }
        AppModelFixture::TearDown();
    }

    // A started model on the gated practice broker; `prepare` runs on the broker before the
    // model's first reads.
    AppModel& startGated(std::function<void(GatedPractice&)> prepare = {}) {
        AppModelEnvironment made = environment();
        made.makePractice = [this, prepare](std::optional<QString> storePath, std::chrono::milliseconds lag) {
            auto broker =
                std::make_shared<GatedPractice>(std::move(storePath), lag, [this] { return pacer.now(); });
            gated = broker.get();
            practice = broker.get();
            if (prepare) prepare(*broker);
            return std::shared_ptr<MockBroker>(broker);
        };
        model.reset();
        changes.clear();
        model = std::make_unique<AppModel>(std::move(made));
        QObject::connect(model.get(), &AppModel::changed, model.get(),
                         [this](AppModel::Field field) { ++changes[field]; });
        await(model->bootstrap());
        return *model;
    }

    GatedPractice* gated = nullptr;
};

}  // namespace tavix::test
