#pragma once

#include "market/Date.h"

#include <qcoro/qcorotask.h>

#include <QString>

#include <deque>
#include <functional>

namespace tavix {

// A number of requests allowed in any rolling minute. `spend()` returns at once while the minute
// has room and otherwise waits until the oldest request in it is a minute old, so a burst queues
// instead of drawing 429s. Concurrent callers queue in the same wait.
//
// The clock and the sleeper are replaceable so tests drive a minute without waiting one.
class RequestBudget {
public:
    using Clock = std::function<Date()>;
    using Sleeper = std::function<QCoro::Task<void>(double seconds)>;

    static constexpr double window = 60.0;

    // Sleeps on the event loop's timer.
    static QCoro::Task<void> sleep(double seconds);

    // `name` appears in the wait's log line ("data", "trading").
    RequestBudget(QString name, int perMinute, Clock clock = {}, Sleeper sleeper = {});

    // Waits for room in the minute, then counts one request at the current time.
    QCoro::Task<void> spend();

    const QString& name() const { return name_; }
    int perMinute() const { return perMinute_; }
    // Requests counted in the minute up to now.
    int inTheMinute();

    // The log line for a wait: "data budget: waited 12.5 s, 150 in the minute".
    static QString waitLine(const QString& name, double waited, qsizetype count);

private:
    void dropOld(Date now);

    QString name_;
    int perMinute_;
    Clock clock_;
    Sleeper sleeper_;
    std::deque<Date> stamps_;
};

}  // namespace tavix
