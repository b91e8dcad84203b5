#pragma once

// The main window on a model made of fakes: a memory keychain, a recording keep-awake, a
// hand-driven pacer (so no loop runs unless a test moves time) and a practice ledger in memory.
// Settings are cleared around each test; questions the window puts are recorded and answered by
// the test. A failed test leaves a picture of the window behind.

#include "core/AppModel.h"
#include "core/KeepAwake.h"
#include "core/Pacer.h"
#include "core/Session.h"
#include "market/Keychain.h"
#include "screens/MainWindow.h"
#include "support/Await.h"
#include "support/FakeAlpaca.h"

#include <QDir>
#include <QLabel>
#include <QNetworkAccessManager>
#include <QSettings>
#include <QTest>

#include <gtest/gtest.h>

#include <iostream>
#include <memory>
#include <vector>

namespace tavix::test {

class WindowFixture : public ::testing::Test {
protected:
    void SetUp() override { clearSettings(); }

    void TearDown() override {
        if (HasFailure() && window) savePicture();
        window.reset();
        model.reset();
        clearSettings();
    }

    static void clearSettings() {
        Session::reopen();
        Session::store().clear();
        Session::standardStore().clear();
        Session::reopen();
    }

    AppModel& makeModel() {
        AppModelEnvironment environment;
        environment.keychain = &keychain;
        environment.keepAwake = &keepAwake;
        environment.pacer = &pacer;
        environment.network = &network;
        if (alpaca) environment.alpacaEndpoints = alpaca->endpoints();
        environment.alpacaOptions.clock = [this] { return pacer.now(); };
        environment.practiceStorePath = QString();
        environment.practiceLag = std::chrono::milliseconds(0);
        model = std::make_unique<AppModel>(std::move(environment));
        return *model;
    }

    // The window on a fresh model, shown; questions are answered with `answer`.
    MainWindow& openWindow() {
        if (!model) makeModel();
        window = std::make_unique<MainWindow>(*model);
        window->setAsker([this](const Question& question) {
            asked.push_back(question);
            return answer;
        });
        window->resize(1200, 760);
        window->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(window.get()));
        return *window;
    }

    // The window on a model that ran its start-up: the saved account (Practice unless told
    // otherwise) read, its quotes and the chart loaded.
    MainWindow& openStarted() {
        openWindow();
        await(model->bootstrap());
        return *window;
    }

    FakeAlpaca& fakeAlpaca() {
        if (!alpaca) alpaca = std::make_unique<FakeAlpaca>();
        return *alpaca;
    }

    template <class Widget>
    Widget* find(const char* name) const {
        return window->findChild<Widget*>(QString::fromLatin1(name));
    }

    QString text(const char* labelName) const {
        auto* label = find<QLabel>(labelName);
        return label ? label->text() : QStringLiteral("(no label %1)").arg(QString::fromLatin1(labelName));
    }

    bool shown(const char* widgetName) const {
        auto* widget = find<QWidget>(widgetName);
        return widget && widget->isVisible();
    }

    void savePicture() const {
        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        const QString name =
            QStringLiteral("tavix-%1-%2.png")
                .arg(QString::fromUtf8(info->test_suite_name()), QString::fromUtf8(info->name()));
        const QString path = QDir(QString::fromStdString(::testing::TempDir())).absoluteFilePath(name);
        if (window->grab().save(path)) {
            std::cout << "The window as it was: " << path.toStdString() << std::endl;
        } else {
            std::cout << "Could not save the window to " << path.toStdString() << std::endl;
        }
    }

    MemoryKeychain keychain;
    RecordingKeepAwake keepAwake;
    ManualPacer pacer;
    QNetworkAccessManager network;
    std::unique_ptr<FakeAlpaca> alpaca;
    std::unique_ptr<AppModel> model;
    std::unique_ptr<MainWindow> window;
    std::vector<Question> asked;
    bool answer = false;
};

}  // namespace tavix::test
