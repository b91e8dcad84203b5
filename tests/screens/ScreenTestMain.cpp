// The main of the screen tests: a QApplication on the offscreen platform, so the windows are
// drawn without a display, and test-mode paths so nothing touches the user's own files.
#include "screens/Theme.h"

#include <QApplication>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    // Saved state goes to a folder of this run's own, never to the user's settings. The folder
    // outlives the application object, which writes the stores back as it goes.
    QTemporaryDir settings;
    if (!settings.isValid()) return 1;
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, settings.path());
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", QByteArrayLiteral("offscreen"));
    QApplication app(argc, argv);
    QStandardPaths::setTestModeEnabled(true);
    tavix::theme::apply(app);
    return RUN_ALL_TESTS();
}
