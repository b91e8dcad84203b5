// The main of every GUI-free test program: a Qt event loop for coroutines and test-mode paths so
// nothing touches the user's own settings or files.
#include <QCoreApplication>
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
    QCoreApplication app(argc, argv);
    QStandardPaths::setTestModeEnabled(true);
    return RUN_ALL_TESTS();
}
