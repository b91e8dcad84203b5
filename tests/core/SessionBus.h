#pragma once

// What the keychain and keep-awake tests need from the session bus. A developer's plain ctest may
// have no bus or no Secret Service, so those tests skip; scripts/test.sh runs them inside a private
// bus with a throw-away keyring and sets TAVIX_REQUIRE_KEYRING=1, which turns the skip into a failure.

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QString>
#include <QtGlobal>

#include <gtest/gtest.h>

#include <optional>

namespace tavix::test {

// Why the session bus can't be used, or nothing when it can.
inline std::optional<QString> missingSessionBus() {
    if (!QDBusConnection::sessionBus().isConnected()) return QStringLiteral("no D-Bus session bus");
    return std::nullopt;
}

// Why the Secret Service can't be used, or nothing when it can.
inline std::optional<QString> missingSecretService() {
    if (auto missing = missingSessionBus()) return missing;
    QDBusConnectionInterface* bus = QDBusConnection::sessionBus().interface();
    const QString name = QStringLiteral("org.freedesktop.secrets");
    if (bus->isServiceRegistered(name).value() || bus->activatableServiceNames().value().contains(name))
        return std::nullopt;
    return QStringLiteral("no Secret Service on the session bus");
}

}  // namespace tavix::test

// Skips the test (from SetUp or the test body) when `missing` holds a reason, or fails it when the
// run requires the keyring.
#define TAVIX_NEED_BUS(missing)                                                                 \
    do {                                                                                        \
        if (auto tavixWhy = (missing)) {                                                        \
            if (qEnvironmentVariableIntValue("TAVIX_REQUIRE_KEYRING") == 1)                     \
                FAIL() << tavixWhy->toStdString() << " (TAVIX_REQUIRE_KEYRING=1)";              \
            GTEST_SKIP() << tavixWhy->toStdString() << "; run through scripts/with-keyring.sh"; \
        }                                                                                       \
    } while (false)
