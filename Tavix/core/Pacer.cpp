#include "core/Pacer.h"

#include <QDateTime>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace tavix {

TimerPacer::TimerPacer() = default;

TimerPacer::~TimerPacer() = default;  // the timers are children of owner_

Pacer::Handle TimerPacer::after(double seconds, std::function<void()> run) {
    const Handle handle = next_++;
    auto* timer = new QTimer(&owner_);
    timer->setSingleShot(true);
    timer->setTimerType(Qt::PreciseTimer);
    const auto milliseconds = static_cast<int>(std::clamp(std::ceil(seconds * 1000.0), 0.0, 2'000'000'000.0));
    timers_.emplace(handle, timer);
    QObject::connect(timer, &QTimer::timeout, &owner_, [this, handle, timer, run = std::move(run)] {
        timers_.erase(handle);
        timer->deleteLater();
        run();
    });
    timer->start(milliseconds);
    return handle;
}

void TimerPacer::cancel(Handle handle) {
    const auto found = timers_.find(handle);
    if (found == timers_.end()) return;
    static_cast<QTimer*>(found->second)->stop();  // every entry is a QTimer made by after()
    found->second->deleteLater();
    timers_.erase(found);
}

Date TimerPacer::now() const { return Date::now(); }

ManualPacer::ManualPacer(Date start) : now_(start) {}

Pacer::Handle ManualPacer::after(double seconds, std::function<void()> run) {
    const Handle handle = next_++;
    runs_.emplace(handle, Run{now_ + std::max(seconds, 0.0), std::move(run)});
    return handle;
}

void ManualPacer::cancel(Handle handle) { runs_.erase(handle); }

void ManualPacer::advance(double seconds) {
    const Date until = now_ + seconds;
    for (;;) {
        // The earliest run due by `until`; among equal times, the one scheduled first.
        auto due = runs_.end();
        for (auto it = runs_.begin(); it != runs_.end(); ++it) {
            if (it->second.at <= until && (due == runs_.end() || it->second.at < due->second.at)) due = it;
        }
        if (due == runs_.end()) break;
        now_ = std::max(now_, due->second.at);
        auto run = std::move(due->second.run);
        runs_.erase(due);
        run();
    }
    now_ = until;
}

}  // namespace tavix
