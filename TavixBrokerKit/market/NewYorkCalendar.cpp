#include "market/NewYorkCalendar.h"

#include <QDateTime>

#include <cmath>

namespace tavix {

const QTimeZone& NewYorkCalendar::zone() {
    static const QTimeZone newYork("America/New_York");
    return newYork;
}

int NewYorkCalendar::utcOffsetSeconds(Date at) {
    const auto seconds = static_cast<qint64>(std::floor(at.secondsSince1970()));
    return zone().offsetFromUtc(QDateTime::fromSecsSinceEpoch(seconds, QTimeZone::utc()));
}

QDate NewYorkCalendar::dateOf(Date at) {
    const auto seconds = static_cast<qint64>(std::floor(at.secondsSince1970()));
    return QDateTime::fromSecsSinceEpoch(seconds, zone()).date();
}

Date NewYorkCalendar::startOfDay(QDate day) {
    return Date(static_cast<double>(day.startOfDay(zone()).toSecsSinceEpoch()));
}

}  // namespace tavix
