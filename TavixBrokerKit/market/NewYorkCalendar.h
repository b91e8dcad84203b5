#pragma once

#include "market/Date.h"

#include <QDate>
#include <QTimeZone>

#include <vector>

namespace tavix {

// Day arithmetic in New York time, where the US stock market keeps its hours.
class NewYorkCalendar {
public:
    static const QTimeZone& zone();
    // New York's offset from UTC at an instant, in seconds (-18000 in winter, -14400 in summer).
    static int utcOffsetSeconds(Date at);
    // The calendar day in New York at an instant.
    static QDate dateOf(Date at);
    // The instant that day starts in New York.
    static Date startOfDay(QDate day);

    // Whole days since 1970-01-01 of each instant's New York date (the zone's offset at each
    // instant applied first).
    static std::vector<long long> dayNumbers(const std::vector<Date>& dates);
    static long long dayNumber(Date at);

    struct Civil {
        int year;
        int month;  // 1...12
        int day;    // 1...31
        friend bool operator==(const Civil&, const Civil&) = default;
    };
    // The Gregorian date of a day number, by the days-from-civil inverse over 400-year cycles.
    static Civil civil(long long fromDays);
};

}  // namespace tavix
