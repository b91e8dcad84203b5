#pragma once

// The main window on the model harness's fakes. Questions the window puts are recorded and
// answered by the test.

#include "screens/MainWindow.h"
#include "support/AppModelHarness.h"

#include <QLabel>
#include <QTest>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace tavix::test {

class WindowFixture : public AppModelHarness {
protected:
    void TearDown() override {
        window.reset();
        AppModelHarness::TearDown();
    }

    // The window on a fresh model, shown; questions are answered with `answer`.
    void openWindow() {
        window = std::make_unique<MainWindow>(makeModel());
        window->setAsker([this](const Question& question) {
            asked.push_back(question);
            return answer;
        });
        if (Session::windowGeometry().isEmpty()) window->resize(1200, 760);
        window->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    }

    // The window on a model that ran its start-up: Practice read, its quotes and the chart loaded.
    void openStarted() {
        openWindow();
        await(model->bootstrap());
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

    std::unique_ptr<MainWindow> window;
    std::vector<Question> asked;
    bool answer = false;
};

}  // namespace tavix::test
