#pragma once

#include "market/Date.h"

#include <QObject>
#include <QtGlobal>

#include <functional>
#include <map>

namespace tavix {

// Schedules the rounds of the model's loops. The application paces them on the event loop's
// timers; tests use ManualPacer and move time by hand, so a 20-second loop runs without waiting
// 20 seconds.
class Pacer {
public:
    using Handle = quint64;

    virtual ~Pacer() = default;
    // Runs `run` once, `seconds` from now (at once for zero or less), on the main thread.
    virtual Handle after(double seconds, std::function<void()> run) = 0;
    // Drops a scheduled run; an unknown or spent handle is ignored.
    virtual void cancel(Handle handle) = 0;
    // A clock that the pacing and the connection health read.
    virtual Date now() const = 0;
};

// Single-shot QTimers owned by the pacer; destroying it drops every pending run.
class TimerPacer : public Pacer {
public:
    TimerPacer();
    ~TimerPacer() override;
    Handle after(double seconds, std::function<void()> run) override;
    void cancel(Handle handle) override;
    Date now() const override;

private:
    QObject owner_;
    std::map<Handle, QObject*> timers_;
    Handle next_ = 1;
};

// Time moves only when told. Runs fire in time order, each at its own moment.
class ManualPacer : public Pacer {
public:
    explicit ManualPacer(Date start = Date::fromSeconds(1'780'000'000));
    Handle after(double seconds, std::function<void()> run) override;
    void cancel(Handle handle) override;
    Date now() const override { return now_; }

    // Moves the clock forward, firing every run that falls due on the way. Runs scheduled by
    // those runs fire too when they fall inside the span.
    void advance(double seconds);
    // Runs scheduled and not yet fired.
    std::size_t pending() const { return runs_.size(); }

private:
    struct Run {
        Date at;
        std::function<void()> run;
    };
    Date now_;
    std::map<Handle, Run> runs_;
    Handle next_ = 1;
};

}  // namespace tavix
