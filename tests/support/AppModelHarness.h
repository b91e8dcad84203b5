#pragma once

// An application model on fakes: a memory keychain, a recording keep-awake, a hand-driven pacer
// whose clock the practice broker reads too (so no loop runs unless a test moves time), and a
// practice ledger kept in memory. Settings are cleared before and after each test. A loopback
// Alpaca fake is made on demand. Only the core and screens test programs can include this.

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

#include <initializer_list>
#include <map>
#include <memory>
#include <utility>

namespace tavix::test {

// A list of symbols, as a watchlist holds them.
inline QStringList list(std::initializer_list<const char*> symbols) {
    QStringList made;
    for (const char* symbol : symbols) made << QString::fromLatin1(symbol);
    return made;
}

class AppModelHarness : public ::testing::Test {
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
    virtual AppModelEnvironment environment() {
        AppModelEnvironment made{.keychain = &keychain,
                                 .keepAwake = &keepAwake,
                                 .pacer = &pacer,
                                 .network = &network,
                                 .practiceStorePath = QString(),
                                 .practiceLag = std::chrono::milliseconds(0)};
        if (alpacaFake) made.alpacaEndpoints = alpacaFake->endpoints();
        made.alpacaOptions.clock = [this] { return pacer.now(); };
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

    MemoryKeychain keychain;
    RecordingKeepAwake keepAwake;
    ManualPacer pacer;
    QNetworkAccessManager network;
    std::unique_ptr<FakeAlpaca> alpacaFake;
    std::unique_ptr<AppModel> model;
    std::map<AppModel::Field, int> changes;
};

}  // namespace tavix::test
