#pragma once

#include <QObject>
#include <QString>

#include <memory>
#include <optional>

namespace tavix {

// A platform activity that keeps the computer from idle sleep while Tavix watches trades.
class KeepAwake {
public:
    virtual ~KeepAwake() = default;
    // Holds the activity with this reason, replacing one already held.
    virtual void begin(const QString& reason) = 0;
    // Lets the computer sleep again; nothing happens when no activity is held.
    virtual void end() = 0;
    // The reason of the activity held, or nothing.
    virtual std::optional<QString> reason() const = 0;
};

// Asks the desktop through D-Bus: org.freedesktop.ScreenSaver's Inhibit with the reason text, and
// logind's idle inhibitor where no screen saver service answers. When neither is reachable the
// activity is only remembered (a log line says so); Tavix keeps working. The desktop answers
// asynchronously, so begin() and end() never wait on a slow bus.
class DBusKeepAwake : public KeepAwake {
public:
    DBusKeepAwake();
    ~DBusKeepAwake() override;

    void begin(const QString& reason) override;
    void end() override;
    std::optional<QString> reason() const override { return reason_; }

    // Whether the desktop took the last request (false until its answer has come).
    bool isHeldBySystem() const;

private:
    struct Hold;

    void release();

    std::optional<QString> reason_;
    // The request made for the activity held now; shared with the replies still on their way, so
    // a reply that comes after a release gives its activity straight back.
    std::shared_ptr<Hold> hold_;
    // Set once the log has said that no desktop service keeps the computer awake.
    std::shared_ptr<bool> toldUnheld_ = std::make_shared<bool>(false);
};

// Remembers what was asked, for tests and where the platform offers no activity.
class RecordingKeepAwake : public KeepAwake {
public:
    void begin(const QString& reason) override {
        reason_ = reason;
        ++begun_;
    }
    void end() override { reason_.reset(); }
    std::optional<QString> reason() const override { return reason_; }
    int timesBegun() const { return begun_; }

private:
    std::optional<QString> reason_;
    int begun_ = 0;
};

}  // namespace tavix
