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

long long NewYorkCalendar::dayNumber(Date at) {
    const double local = at.secondsSince1970() + utcOffsetSeconds(at);
    return static_cast<long long>(std::floor(local / 86400.0));
}

std::vector<long long> NewYorkCalendar::dayNumbers(const std::vector<Date>& dates) {
    std::vector<long long> days;
    days.reserve(dates.size());
    for (const Date d : dates) days.push_back(dayNumber(d));
    return days;
}

NewYorkCalendar::Civil NewYorkCalendar::civil(long long fromDays) {
    // Eras of 400 years (146097 days) counted from 0000-03-01, which is 719468 days before 1970.
    const long long z = fromDays + 719468;
    const long long era = (z >= 0 ? z : z - 146096) / 146097;
    const long long doe = z - era * 146097;                                 // [0, 146096]
    const long long yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;  // [0, 399]
    const long long doy = doe - (365 * yoe + yoe / 4 - yoe / 100);          // [0, 365]
    const long long mp = (5 * doy + 2) / 153;                               // [0, 11], March first
    const long long day = doy - (153 * mp + 2) / 5 + 1;
    const long long month = mp < 10 ? mp + 3 : mp - 9;
    const long long year = yoe + era * 400 + (month <= 2 ? 1 : 0);
    return Civil{static_cast<int>(year), static_cast<int>(month), static_cast<int>(day)};
}

}  // namespace tavix
