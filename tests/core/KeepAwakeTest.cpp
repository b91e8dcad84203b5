#include "SessionBus.h"
#include "core/KeepAwake.h"
#include "support/Await.h"
#include "support/LogCapture.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QObject>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace tavix::test {

// The desktop's screen saver as DBusKeepAwake sees it: hands out cookies and notes what it was told.
class FakeScreenSaver : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.ScreenSaver")

public:
    struct Inhibited {
        QString application;
        QString reason;
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

TEST_F(KeepAwakeTest, HoldsWithTheReasonAndGivesTheCookieBackOnEnd) {
    DBusKeepAwake awake;
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

TEST_F(KeepAwakeTest, ASecondBeginReplacesTheActivityAndDestructionReleasesIt) {
    auto awake = std::make_unique<DBusKeepAwake>();
    awake->begin(QStringLiteral("Watching AAPL"));
    ASSERT_TRUE(eventually([&] { return awake->isHeldBySystem(); }));
    const uint first = screenSaver_.inhibited.at(0).cookie;

    awake->begin(QStringLiteral("A Multiplier trade's last-day sale is near"));
    ASSERT_TRUE(eventually([&] { return screenSaver_.inhibited.size() == 2 && awake->isHeldBySystem(); }));
    EXPECT_EQ(screenSaver_.inhibited[1].reason, QStringLiteral("A Multiplier trade's last-day sale is near"));
    EXPECT_EQ(awake->reason(), QStringLiteral("A Multiplier trade's last-day sale is near"));
    ASSERT_TRUE(eventually([&] { return screenSaver_.released.size() == 1; }));
    EXPECT_EQ(screenSaver_.released[0], first);

    awake.reset();
    ASSERT_TRUE(eventually([&] { return screenSaver_.released.size() == 2; }));
    EXPECT_EQ(screenSaver_.released[1], screenSaver_.inhibited[1].cookie);
}

// end() can come before the desktop has answered begin(): the cookie that arrives late must be
// handed straight back, or the computer would never sleep again.
TEST_F(KeepAwakeTest, AnActivityEndedBeforeTheDesktopAnswersIsGivenBackWhenTheAnswerComes) {
    DBusKeepAwake awake;
    awake.begin(QStringLiteral("Watching SPY"));
    awake.end();
    ASSERT_TRUE(
        eventually([&] { return screenSaver_.inhibited.size() == 1 && screenSaver_.released.size() == 1; }));
    EXPECT_EQ(screenSaver_.released[0], screenSaver_.inhibited[0].cookie);
    EXPECT_FALSE(awake.isHeldBySystem());
}

// With neither a screen saver that answers nor logind, the reason is still remembered and the
// log says so once. The fake keeps the name so no other screen saver can answer, but exports nothing.
TEST_F(KeepAwakeTest, WithoutAnyDesktopServiceRemembersTheReasonAndLogsOnce) {
    if (QDBusConnection::systemBus().isConnected())
        GTEST_SKIP() << "a system bus (and maybe logind) is present";
    QDBusConnection::sessionBus().unregisterObject(screenSaverPath);
    test::LogCapture log;
    DBusKeepAwake awake;
    const QString category = QStringLiteral("com.brindlecove.tavix.awake");
    awake.begin(QStringLiteral("Watching AAPL"));
    ASSERT_TRUE(eventually([&] { return !log.messages(category).isEmpty(); }));
    EXPECT_FALSE(awake.isHeldBySystem());

    awake.begin(QStringLiteral("Watching MSFT"));
    // The second refusal has nothing to show for itself: give its answer time to come, then count.
    eventually([] { return false; }, std::chrono::milliseconds(300));
    EXPECT_EQ(log.messages(category).size(), 1);
    EXPECT_EQ(awake.reason(), QStringLiteral("Watching MSFT"));
    EXPECT_FALSE(awake.isHeldBySystem());
    EXPECT_TRUE(screenSaver_.inhibited.empty());
}

}  // namespace

#include "KeepAwakeTest.moc"
