#pragma once

// A model on fakes: a memory keychain, a recording keep-awake, a hand-driven pacer whose clock the
// practice broker reads too, and a practice ledger kept in memory. Settings are cleared before and
// after each test. A loopback Alpaca fake is made on demand.

#include "core/AppModel.h"
#include "core/KeepAwake.h"
#include "core/Pacer.h"
#include "core/Session.h"
#include "market/Keychain.h"
#include "practice/MockBroker.h"
#include "support/Await.h"
#include "support/FakeAlpaca.h"

#include <QNetworkAccessManager>
#include <QSettings>

#include <gtest/gtest.h>

#include <coroutine>
#include <deque>
#include <map>
#include <memory>
#include <utility>

namespace tavix::test {

// The practice broker with its account reads held on demand: while `holding`, balance reads wait
// until the test releases them, so a test can move the clock or switch accounts mid read.
// `readError` makes every balance read fail; quote reads are counted.
class HeldPractice : public MockBroker {
public:
    using MockBroker::MockBroker;

    ~HeldPractice() override {
        holding = false;
        while (releaseOne()) {
        }
    }

    QCoro::Task<Balance> balance(QString accountID) override {
        ++balanceReads;
        if (holding) {
            auto gate = std::make_shared<Gate>();
            held_.push_back(gate);
            co_await Gate::Awaiter{gate.get()};
        }
        if (readError) throw *readError;
        Balance read = co_await MockBroker::balance(accountID);
        co_return read;
    }

    // Counts quote reads, so a test can see how often the loops poll.
    QCoro::Task<std::map<QString, Quote>> quotes(QStringList symbols) override {
        ++quoteReads;
        std::map<QString, Quote> read = co_await MockBroker::quotes(std::move(symbols));
        co_return read;
    }

    // Lets the oldest held read answer; false when none waits.
    bool releaseOne() {
        if (held_.empty()) return false;
        auto gate = held_.front();
        held_.pop_front();
        gate->open = true;
        if (gate->waiting) std::exchange(gate->waiting, nullptr).resume();
        return true;
    }
    int heldCount() const { return static_cast<int>(held_.size()); }

    bool holding = false;
    std::optional<BrokerError> readError;
    int balanceReads = 0;
    int quoteReads = 0;

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
    std::deque<std::shared_ptr<Gate>> held_;
};

class AppModelFixture : public ::testing::Test {
protected:
    void SetUp() override { clearSettings(); }

    void TearDown() override {
        model.reset();
        clearSettings();
    }

    static void clearSettings() {
        Session::reopen();
        Session::store().clear();
        Session::standardStore().clear();
        Session::reopen();
    }

    // The environment a model is made with; tests may change it before makeModel().
    AppModelEnvironment environment() {
        AppModelEnvironment made;
        made.keychain = keychainInUse;
        made.keepAwake = &keepAwake;
        made.pacer = &pacer;
        made.network = &network;
        if (alpacaFake) made.alpacaEndpoints = alpacaFake->endpoints();
        made.alpacaOptions.clock = [this] { return pacer.now(); };
        made.practiceStorePath = QString();
        made.practiceLag = std::chrono::milliseconds(0);
        made.makePractice = [this](std::optional<QString> storePath, std::chrono::milliseconds lag) {
            auto broker =
                std::make_shared<HeldPractice>(std::move(storePath), lag, [this] { return pacer.now(); });
            practice = broker.get();
            return std::shared_ptr<MockBroker>(broker);
        };
        return made;
    }

    // Makes the model (a fresh one each call, as a restart does) and counts its notifications.
    AppModel& makeModel() {
        model.reset();
        changes.clear();
        model = std::make_unique<AppModel>(environment());
        QObject::connect(model.get(), &AppModel::changed, model.get(),
                         [this](AppModel::Field field) { ++changes[field]; });
        return *model;
    }

    // A model that ran its start-up: on the saved account, loops running.
    AppModel& started() {
        makeModel();
        await(model->bootstrap());
        return *model;
    }

    // The loopback Alpaca; models made after this call reach it.
    FakeAlpaca& fakeAlpaca() {
        if (!alpacaFake) alpacaFake = std::make_unique<FakeAlpaca>();
        return *alpacaFake;
    }

    int changesOf(AppModel::Field field) const {
        auto found = changes.find(field);
        return found == changes.end() ? 0 : found->second;
    }

    MemoryKeychain keychain;
    Keychain* keychainInUse = &keychain;
    RecordingKeepAwake keepAwake;
    ManualPacer pacer;
    QNetworkAccessManager network;
    std::unique_ptr<FakeAlpaca> alpacaFake;
    std::unique_ptr<AppModel> model;
    // The practice broker the model made last (owned by the model).
    HeldPractice* practice = nullptr;
    std::map<AppModel::Field, int> changes;
};

}  // namespace tavix::test
