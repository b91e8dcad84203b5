#pragma once

#include "market/Date.h"

#include <QDate>
#include <QTimeZone>

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
};

}  // namespace tavix
