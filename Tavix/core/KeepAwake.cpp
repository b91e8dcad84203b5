#include "core/KeepAwake.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusUnixFileDescriptor>
#include <QLoggingCategory>

#include <unistd.h>

namespace tavix {

namespace {

Q_LOGGING_CATEGORY(awakeLog, "com.brindlecove.tavix.awake")

const QString applicationName = QStringLiteral("Tavix");

const QString screenSaverService = QStringLiteral("org.freedesktop.ScreenSaver");
const QString screenSaverPath = QStringLiteral("/org/freedesktop/ScreenSaver");
const QString screenSaverInterface = QStringLiteral("org.freedesktop.ScreenSaver");

const QString logindService = QStringLiteral("org.freedesktop.login1");
const QString logindPath = QStringLiteral("/org/freedesktop/login1");
const QString logindInterface = QStringLiteral("org.freedesktop.login1.Manager");

// A slow bus must never hold the activity request up for long.
constexpr int callTimeoutMs = 1000;

}  // namespace

struct DBusKeepAwake::Hold {
    QString reason;
    std::shared_ptr<bool> toldUnheld;
    bool wanted = true;  // cleared by a release, even one that comes before the desktop answers
    std::optional<uint> cookie;
    int descriptor = -1;

    static void askScreenSaver(std::shared_ptr<Hold> hold);
    static void askLogind(std::shared_ptr<Hold> hold);
    void giveBack();
};

namespace {

// Calls without blocking; `onReply` runs with the watcher once the answer (or the time-out) comes.
template <class OnReply>
void callAsync(const QDBusConnection& bus, const QDBusMessage& call, OnReply onReply) {
    QDBusConnection connection = bus;
    auto* watcher = new QDBusPendingCallWatcher(connection.asyncCall(call, callTimeoutMs));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                     [onReply = std::move(onReply)](QDBusPendingCallWatcher* finished) {
                         finished->deleteLater();
                         onReply(*finished);
                     });
}

void unInhibitScreenSaver(uint cookie) {
    QDBusMessage call = QDBusMessage::createMethodCall(screenSaverService, screenSaverPath,
                                                       screenSaverInterface, QStringLiteral("UnInhibit"));
    call << cookie;
    // Nothing to do with the answer: a screen saver that has gone away holds nothing either.
    QDBusConnection::sessionBus().send(call);
}

}  // namespace

void DBusKeepAwake::Hold::askScreenSaver(std::shared_ptr<Hold> hold) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        askLogind(std::move(hold));
        return;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(screenSaverService, screenSaverPath,
                                                       screenSaverInterface, QStringLiteral("Inhibit"));
    call << applicationName << hold->reason;
    callAsync(bus, call, [hold](const QDBusPendingCall& answer) {
        QDBusPendingReply<uint> reply = answer;
        if (reply.isError()) {
            askLogind(hold);
            return;
        }
        if (!hold->wanted) {
            unInhibitScreenSaver(reply.value());
            return;
        }
        hold->cookie = reply.value();
    });
}

void DBusKeepAwake::Hold::askLogind(std::shared_ptr<Hold> hold) {
    if (!hold->wanted) return;
    QDBusConnection bus = QDBusConnection::systemBus();
    auto unheld = [](Hold& held) {
        if (!held.wanted || *held.toldUnheld) return;
        *held.toldUnheld = true;
        qCInfo(awakeLog).noquote() << "No desktop service keeps the computer awake; Tavix keeps working."
                                   << "Activity:" << held.reason;
    };
    if (!bus.isConnected()) {
        unheld(*hold);
        return;
    }
    QDBusMessage call =
        QDBusMessage::createMethodCall(logindService, logindPath, logindInterface, QStringLiteral("Inhibit"));
    call << QStringLiteral("idle") << applicationName << hold->reason << QStringLiteral("block");
    callAsync(bus, call, [hold, unheld](const QDBusPendingCall& answer) {
        QDBusPendingReply<QDBusUnixFileDescriptor> reply = answer;
        if (reply.isError() || !reply.value().isValid()) {
            unheld(*hold);
            return;
        }
        // The reply's descriptor closes with the reply; a released hold lets it go just so.
        if (!hold->wanted) return;
        hold->descriptor = ::dup(reply.value().fileDescriptor());
        if (hold->descriptor < 0) unheld(*hold);
    });
}

void DBusKeepAwake::Hold::giveBack() {
    wanted = false;
    if (cookie) unInhibitScreenSaver(*cookie);
    cookie.reset();
    if (descriptor >= 0) ::close(descriptor);
    descriptor = -1;
}

DBusKeepAwake::DBusKeepAwake() = default;

DBusKeepAwake::~DBusKeepAwake() {
    release();
}

void DBusKeepAwake::begin(const QString& reason) {
    // Release before taking: the desktop lists one activity per request, and the old reason is stale.
    release();
    reason_ = reason;
    hold_ = std::make_shared<Hold>();
    hold_->reason = reason;
    hold_->toldUnheld = toldUnheld_;
    Hold::askScreenSaver(hold_);
}

void DBusKeepAwake::end() {
    release();
    reason_.reset();
}

bool DBusKeepAwake::isHeldBySystem() const {
    return hold_ && (hold_->cookie || hold_->descriptor >= 0);
}

void DBusKeepAwake::release() {
    if (!hold_) return;
    hold_->giveBack();
    hold_.reset();
}

}  // namespace tavix
