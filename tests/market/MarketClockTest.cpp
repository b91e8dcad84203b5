#include "market/MarketClock.h"
#include "market/NewYorkCalendar.h"

#include <QDateTime>

#include <gtest/gtest.h>

#include <vector>

namespace tavix {
namespace {

// An instant given as New York wall time.
Date newYork(int y, int mo, int d, int h, int mi, int s = 0) {
    QDateTime local(QDate(y, mo, d), QTime(h, mi, s), NewYorkCalendar::zone());
    return Date(static_cast<double>(local.toSecsSinceEpoch()));
}

TEST(MarketClockHours, OpenAndClosedAroundOrdinaryDaysHolidaysAndHalfDays) {
    struct Case {
        Date at;
        bool isOpen;
        Date nextOpen, nextClose;
    };
    const std::vector<Case> cases = {
        {newYork(2026, 3, 4, 9, 29, 59), false, newYork(2026, 3, 4, 9, 30), newYork(2026, 3, 4, 16, 0)},  // Wednesday
        // Open: the next open is the session after this one. The close itself is closed.
        {newYork(2026, 3, 4, 9, 30), true, newYork(2026, 3, 5, 9, 30), newYork(2026, 3, 4, 16, 0)},
        {newYork(2026, 3, 4, 16, 0), false, newYork(2026, 3, 5, 9, 30), newYork(2026, 3, 5, 16, 0)},
        {newYork(2026, 3, 6, 17, 0), false, newYork(2026, 3, 9, 9, 30), newYork(2026, 3, 9, 16, 0)},  // Friday
        {newYork(2026, 4, 3, 11, 0), false, newYork(2026, 4, 6, 9, 30), newYork(2026, 4, 6, 16, 0)},  // Good Friday
        // The day after Thanksgiving closes at one.
        {newYork(2026, 11, 27, 12, 59), true, newYork(2026, 11, 30, 9, 30), newYork(2026, 11, 27, 13, 0)},
        {newYork(2026, 11, 27, 13, 0), false, newYork(2026, 11, 30, 9, 30), newYork(2026, 11, 30, 16, 0)},
        // Thanksgiving Wednesday evening: Thursday is a holiday, Friday a half day.
        {newYork(2026, 11, 25, 18, 0), false, newYork(2026, 11, 27, 9, 30), newYork(2026, 11, 27, 13, 0)},
    };
    for (const Case& c : cases) {
        const auto clock = MarketClock::regularHours(c.at);
        EXPECT_EQ(clock.isOpen, c.isOpen) << c.at.toIso().toStdString();
        EXPECT_EQ(clock.nextOpen, c.nextOpen) << c.at.toIso().toStdString();
        EXPECT_EQ(clock.nextClose, c.nextClose) << c.at.toIso().toStdString();
    }
}

TEST(MarketClockHours, TheOpenStaysAtHalfPastNineInNewYorkAcrossDaylightSaving) {
    // Clocks go forward on 8 March 2026: the open stays 9:30 in New York, an hour earlier in UTC.
    const auto before = MarketClock::session(QDate(2026, 3, 6));
    const auto after = MarketClock::session(QDate(2026, 3, 9));
    ASSERT_TRUE(before && after);
    EXPECT_EQ(before->open.toIso(), QStringLiteral("2026-03-06T14:30:00Z"));
    EXPECT_EQ(after->open.toIso(), QStringLiteral("2026-03-09T13:30:00Z"));
    EXPECT_EQ(MarketClock::session(QDate(2026, 11, 2))->open.toIso(), QStringLiteral("2026-11-02T14:30:00Z"));
}

TEST(MarketClockHours, EveryDayFrom2026To2028FollowsTheTables) {
    int sessions = 0;
    for (QDate day(2026, 1, 1); day <= QDate(2028, 12, 31); day = day.addDays(1)) {
        const QString key = day.toString(QStringLiteral("yyyy-MM-dd"));
        const bool weekend = day.dayOfWeek() >= 6;
        const bool holiday = MarketClock::holidays().contains(key);
        const auto session = MarketClock::session(day);
        ASSERT_EQ(session.has_value(), !weekend && !holiday) << key.toStdString();
        // Whatever the day, the clock at noon either is open or points at a later session.
        const Date noon = newYork(day.year(), day.month(), day.day(), 12, 0);
        const auto clock = MarketClock::regularHours(noon);
        EXPECT_EQ(clock.isOpen, session.has_value()) << key.toStdString();
        EXPECT_GT(clock.nextOpen, noon);
        EXPECT_GT(clock.nextClose, noon);
        EXPECT_LE(clock.nextOpen - noon, 5 * 86400.0) << key.toStdString();
        if (!session) continue;
        ++sessions;
        EXPECT_EQ(NewYorkCalendar::dateOf(session->open), day);
        const double hours = (session->close - session->open) / 3600.0;
        EXPECT_EQ(hours, MarketClock::halfDays().contains(key) ? 3.5 : 6.5) << key.toStdString();
    }
    EXPECT_EQ(sessions, 261 + 261 + 260 - 29);  // the weekdays of 2026, 2027 and 2028, less the holidays
}

}  // namespace
}  // namespace tavix
