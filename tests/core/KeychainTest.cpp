#include "SessionBus.h"
#include "core/AlpacaKeys.h"
#include "market/Keychain.h"
#include "support/Await.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>

#include <chrono>

using namespace tavix;
using tavix::test::await;

namespace {

// Items the tests make live under a service of their own, so even a run against a developer's
// real keyring never meets the application's items.
const QString testService = QStringLiteral("com.brindlecove.tavix.test");

TEST(KeychainTest, WritesReadsUpdatesAndRemovesAnItem) {
    TAVIX_NEED_BUS(test::missingSecretService());
    SystemKeychain keychain(testService);
    const QString account = QStringLiteral("tavix-test-item");
    await(keychain.remove(account));
    EXPECT_EQ(await(keychain.read(account)), std::nullopt);

    // Text beyond ASCII, with quotes and a backslash, must come back byte for byte.
    const QString first = QStringLiteral("pä$$ \"wörd\" \\ ✓");
    await(keychain.write(account, first));
    EXPECT_EQ(await(keychain.read(account)), first);

    await(keychain.write(account, QStringLiteral("second")));
    EXPECT_EQ(await(keychain.read(account)), QStringLiteral("second"));

    await(keychain.remove(account));
    EXPECT_EQ(await(keychain.read(account)), std::nullopt);
    // Removing what is already gone is not an error.
    EXPECT_NO_THROW(await(keychain.remove(account)));
}

// Without any session bus the system keychain must fail at once, never wait for a bus that won't
// come. The bus address is read once per process, so this runs as its own CTest entry with a dead
// address (tests/CMakeLists.txt); in any other run it skips.
TEST(KeychainWithoutBus, FailsFastWithAKeychainError) {
    if (qgetenv("DBUS_SESSION_BUS_ADDRESS") != "unix:path=/nonexistent") {
        GTEST_SKIP() << "runs only with DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent";
    }
    SystemKeychain keychain(testService);
    const QString secret = QStringLiteral("never-in-a-message");
    QElapsedTimer clock;
    clock.start();
    try {
        await(keychain.write(QStringLiteral("tavix-test-nobus"), secret), std::chrono::seconds(5));
        FAIL() << "write succeeded without a bus";
    } catch (const KeychainError& error) {
        EXPECT_NE(std::string(error.what()).find("write"), std::string::npos) << error.what();
        EXPECT_EQ(std::string(error.what()).find(secret.toStdString()), std::string::npos) << error.what();
    }
    EXPECT_THROW(await(keychain.read(QStringLiteral("tavix-test-nobus")), std::chrono::seconds(5)),
                 KeychainError);
    EXPECT_THROW(await(keychain.remove(QStringLiteral("tavix-test-nobus")), std::chrono::seconds(5)),
                 KeychainError);
    EXPECT_LT(clock.elapsed(), 5000);
}

TEST(AlpacaKeysTest, AnItemThatIsNotAPairOfKeysIsAKeychainErrorWithoutItsText) {
    MemoryKeychain keychain;
    const QString garbled[] = {
        QStringLiteral("hunter2-not-json"),
        QStringLiteral("{\"key\":\"PK1\"}"),
        QStringLiteral("{\"key\":\"PK1\",\"secret\":42}"),
        QStringLiteral("{\"key\":\"\",\"secret\":\"hunter2\"}"),
        QStringLiteral("[\"PK1\",\"hunter2\"]"),
    };
    for (const QString& text : garbled) {
        SCOPED_TRACE(text.toStdString());
        await(keychain.write(QStringLiteral("alpaca"), text));
        try {
            await(AlpacaKeys::saved(&keychain, QStringLiteral("alpaca")));
            ADD_FAILURE() << "a damaged item was read as keys";
        } catch (const KeychainError& error) {
            EXPECT_EQ(std::string(error.what()).find("hunter2"), std::string::npos) << error.what();
        }
    }
}

}  // namespace
