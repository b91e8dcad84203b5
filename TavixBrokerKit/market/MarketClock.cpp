#include "market/MarketClock.h"

#include "market/NewYorkCalendar.h"

namespace tavix {

const std::set<QString>& MarketClock::holidays() {
    static const std::set<QString> days = {
        QStringLiteral("2026-01-01"), QStringLiteral("2026-01-19"), QStringLiteral("2026-02-16"),
        QStringLiteral("2026-04-03"), QStringLiteral("2026-05-25"), QStringLiteral("2026-06-19"),
        QStringLiteral("2026-07-03"), QStringLiteral("2026-09-07"), QStringLiteral("2026-11-26"),
        QStringLiteral("2026-12-25"), QStringLiteral("2027-01-01"), QStringLiteral("2027-01-18"),
        QStringLiteral("2027-02-15"), QStringLiteral("2027-03-26"), QStringLiteral("2027-05-31"),
        QStringLiteral("2027-06-18"), QStringLiteral("2027-07-05"), QStringLiteral("2027-09-06"),
        QStringLiteral("2027-11-25"), QStringLiteral("2027-12-24"), QStringLiteral("2028-01-17"),
        QStringLiteral("2028-02-21"), QStringLiteral("2028-04-14"), QStringLiteral("2028-05-29"),
        QStringLiteral("2028-06-19"), QStringLiteral("2028-07-04"), QStringLiteral("2028-09-04"),
        QStringLiteral("2028-11-23"), QStringLiteral("2028-12-25"),
    };
    return days;
}

const std::set<QString>& MarketClock::halfDays() {
    static const std::set<QString> days = {
        QStringLiteral("2026-11-27"), QStringLiteral("2026-12-24"), QStringLiteral("2027-11-26"),
        QStringLiteral("2028-07-03"), QStringLiteral("2028-11-24"),
    };
    return days;
}

std::optional<MarketClock::Session> MarketClock::session(QDate day) {
    if (day.dayOfWeek() >= 6) return std::nullopt;
    const QString key = QString::asprintf("%04d-%02d-%02d", day.year(), day.month(), day.day());
    if (holidays().contains(key)) return std::nullopt;
    const Date start = NewYorkCalendar::startOfDay(day);
    const double closeMinutes = halfDays().contains(key) ? 780 : 960;
    return Session{start + 570 * 60.0, start + closeMinutes * 60.0};
}

MarketClock MarketClock::regularHours(Date at) {
    constexpr int searchDays = 9;
    const QDate today = NewYorkCalendar::dateOf(at);
    MarketClock clock{.asOf = at};
    QDate searchFrom = today.addDays(1);
    if (auto todays = session(today)) {
        if (todays->open <= at && at < todays->close) {
            clock.isOpen = true;
            clock.nextClose = todays->close;
        } else if (at < todays->open) {
            clock.nextOpen = todays->open;
            clock.nextClose = todays->close;
            return clock;
        }
    }
    for (int i = 0; i < searchDays; ++i) {
        if (auto next = session(searchFrom.addDays(i))) {
            clock.nextOpen = next->open;
            if (!clock.isOpen) clock.nextClose = next->close;
            return clock;
        }
    }
    const Date windowEnd = NewYorkCalendar::startOfDay(searchFrom.addDays(searchDays));
    clock.nextOpen = windowEnd;
    if (!clock.isOpen) clock.nextClose = windowEnd;
    return clock;
}

}  // namespace tavix
