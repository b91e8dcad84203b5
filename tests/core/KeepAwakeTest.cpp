#include "SessionBus.h"
#include "core/KeepAwake.h"
#include "support/Await.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QObject>

#include <gtest/gtest.h>

#include <vector>

namespace tavix::test {

// The desktop's screen saver as DBusKeepAwake sees it: hands out cookies and notes what it was told.
class FakeScreenSaver : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.ScreenSaver")

public:
    struct Inhibited {
        QString application, reason;
        uint cookie;
    };
    std::vector<Inhibited> inhibited;
    std::vector<uint> released;

public Q_SLOTS:
    Q_SCRIPTABLE uint Inhibit(const QString& application, const QString& reason) {
        inhibited.push_back({application, reason, nextCookie_});
        return nextCookie_++;
    }
    Q_SCRIPTABLE void UnInhibit(uint cookie) { released.push_back(cookie); }

private:
    uint nextCookie_ = 7001;
};

}  // namespace tavix::test

namespace {

using namespace tavix;
using tavix::test::eventually;

const QString screenSaverName = QStringLiteral("org.freedesktop.ScreenSaver");
const QString screenSaverPath = QStringLiteral("/org/freedesktop/ScreenSaver");

class KeepAwakeTest : public ::testing::Test {
protected:
    void SetUp() override {
        TAVIX_NEED_BUS(test::missingSessionBus());
        QDBusConnection bus = QDBusConnection::sessionBus();
        // Test programs run side by side on one bus: wait for another's fake to let the name go. A
        // desktop's own screen saver never does.
        registered_ = eventually([&] { return bus.registerService(screenSaverName); });
        TAVIX_NEED_BUS(registered_ ? std::nullopt
                                   : std::optional<QString>(screenSaverName + QStringLiteral(" is taken")));
        ASSERT_TRUE(
            bus.registerObject(screenSaverPath, &screenSaver_, QDBusConnection::ExportScriptableSlots));
    }
    void TearDown() override {
        if (!registered_) return;
        QDBusConnection bus = QDBusConnection::sessionBus();
        bus.unregisterObject(screenSaverPath);
        bus.unregisterService(screenSaverName);
    }

    test::FakeScreenSaver screenSaver_;
    bool registered_ = false;
};

TEST_F(KeepAwakeTest, HoldsWithTheReasonAndGivesEveryCookieBack) {
    DBusKeepAwake awake;
    // end() can come before the desktop has answered begin(): the cookie that arrives late must be
    // handed straight back, or the computer would never sleep again.
    awake.begin(QStringLiteral("Watching SPY"));
    awake.end();
    ASSERT_TRUE(
        eventually([&] { return screenSaver_.inhibited.size() == 1 && screenSaver_.released.size() == 1; }));
    EXPECT_EQ(screenSaver_.released[0], screenSaver_.inhibited[0].cookie);
    EXPECT_FALSE(awake.isHeldBySystem());
    screenSaver_.inhibited.clear();
    screenSaver_.released.clear();

    awake.begin(QStringLiteral("Watching AAPL 190 call"));
    ASSERT_TRUE(eventually([&] { return awake.isHeldBySystem(); }));
    ASSERT_EQ(screenSaver_.inhibited.size(), 1u);
    EXPECT_EQ(screenSaver_.inhibited[0].application, QStringLiteral("Tavix"));
    EXPECT_EQ(screenSaver_.inhibited[0].reason, QStringLiteral("Watching AAPL 190 call"));
    EXPECT_EQ(awake.reason(), QStringLiteral("Watching AAPL 190 call"));

    awake.end();
    EXPECT_FALSE(awake.isHeldBySystem());
    EXPECT_EQ(awake.reason(), std::nullopt);
    ASSERT_TRUE(eventually([&] { return !screenSaver_.released.empty(); }));
    EXPECT_EQ(screenSaver_.released, std::vector<uint>{screenSaver_.inhibited[0].cookie});

    awake.end();  // nothing held: nothing more is sent
    QCoreApplication::processEvents();
    EXPECT_EQ(screenSaver_.released.size(), 1u);
}

}  // namespace

#include "KeepAwakeTest.moc"
