#pragma once

#include "market/Date.h"

#include <QDate>
#include <QString>

#include <optional>
#include <set>

namespace tavix {

// Whether the US stock market is open, and when it next opens and closes.
struct MarketClock {
    bool isOpen = false;
    Date nextOpen;   // the next regular open (when open: the open of the session after this one)
    Date nextClose;  // the close of this session when open, else of the next session
    Date asOf;

    // The regular session of one New York day.
    struct Session {
        Date open;
        Date close;
        friend bool operator==(const Session&, const Session&) = default;
    };

    // Market holidays and early-close days, "yyyy-MM-dd" in New York. These tables are the whole
    // rule: nothing is computed, and days past them are ordinary weekdays.
    static const std::set<QString>& holidays();
    static const std::set<QString>& halfDays();

    // The day's session: none on weekends and holidays; 9:30 to 16:00 New York, 13:00 on half days.
    static std::optional<Session> session(QDate newYorkDay);

    // The clock at an instant, worked out from the calendar alone. If no session turns up within
    // nine days (the tables never allow that) the clock reads closed with its next open and
    // close at the end of that window, so whoever waits for it simply asks again then.
    static MarketClock regularHours(Date at);

    friend bool operator==(const MarketClock&, const MarketClock&) = default;
};

}  // namespace tavix
