#include "alpaca/RequestBudget.h"

#include <qcoro/qcorotimer.h>

#include <QLoggingCategory>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace tavix {

namespace {
Q_LOGGING_CATEGORY(budgetLog, "com.brindlecove.tavix.budget")
}  // namespace

QCoro::Task<void> RequestBudget::sleep(double seconds) {
    QTimer timer;
    timer.setSingleShot(true);
    // A coarse timer may fire a little early; the budget would then only wait again.
    timer.setTimerType(Qt::PreciseTimer);
    timer.start(
        std::chrono::milliseconds(static_cast<long long>(std::ceil(std::max(seconds, 0.0) * 1000.0))));
    co_await timer;
}

RequestBudget::RequestBudget(QString name, int perMinute, Clock clock, Sleeper sleeper)
    : name_(std::move(name)),
      perMinute_(std::max(perMinute, 1)),
      clock_(clock ? std::move(clock) : Clock(&Date::now)),
      sleeper_(sleeper ? std::move(sleeper) : Sleeper(&RequestBudget::sleep)) {}

void RequestBudget::dropOld(Date now) {
    std::erase_if(stamps_, [now](Date stamp) { return now - stamp >= window; });
}

int RequestBudget::inTheMinute() {
    dropOld(clock_());
    return static_cast<int>(stamps_.size());
}

QCoro::Task<void> RequestBudget::spend() {
    double waited = 0;
    for (;;) {
        const Date now = clock_();
        dropOld(now);
        if (stamps_.size() < static_cast<std::size_t>(perMinute_)) break;
        const Date oldest = stamps_.front();
        const double wait = std::max(window - (now - oldest), 0.0);
        waited += wait;
        co_await sleeper_(wait);
        // The oldest stamp has had its minute. Another waiter may have taken the room meanwhile;
        // the loop then waits for the next one.
        while (!stamps_.empty() && stamps_.front() <= oldest) stamps_.pop_front();
    }
    stamps_.push_back(clock_());
    if (waited > 0)
        qCInfo(budgetLog).noquote() << waitLine(name_, waited, static_cast<qsizetype>(stamps_.size()));
}

QString RequestBudget::waitLine(const QString& name, double waited, qsizetype count) {
    return name + QStringLiteral(" budget: waited ") + QString::number(waited, 'f', 1) +
           QStringLiteral(" s, ") + QString::number(count) + QStringLiteral(" in the minute");
}

}  // namespace tavix
