#pragma once

// A model on a practice broker whose look-ups, candle reads and own-list reads a test can hold
// and release one by one, and which keeps a watchlist of its own on demand, as brokers with
// watchlists do.

#include "AppModelFixture.h"

#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace tavix::test {

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
        made.makePractice = practiceOf<GatedPractice>([this, prepare](GatedPractice& broker) {
            gated = &broker;
            practice = &broker;
            if (prepare) prepare(broker);
        });
        makeModel(std::move(made));
        await(model->bootstrap());
        return *model;
    }

    GatedPractice* gated = nullptr;
};

}  // namespace tavix::test
