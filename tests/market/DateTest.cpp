#include "market/Date.h"

#include <gtest/gtest.h>

#include <cmath>

#include <random>
#include <stdexcept>
#include <utility>
#include <vector>

using tavix::Date;

namespace {

constexpr double afternoon = 1772461800;  // 2026-03-02T14:30:00Z

double seconds(const char* text) {
    auto date = Date::parseIso(QString::fromLatin1(text));
    if (!date) throw std::invalid_argument(std::string("refused: ") + text);
    return date->secondsSince1970();
}

}  // namespace

TEST(DateParse, ReadsInstantsWithAnyFractionOrOffsetAndBareDates) {
    const std::vector<std::pair<const char*, double>> cases = {
        {"2026-03-02T14:30:00Z", afternoon}, {"2026-03-02T14:30:00.000Z", afternoon},
        {"2026-03-02T14:30:00.5Z", afternoon + 0.5}, {"2026-03-02T14:30:00,25Z", afternoon + 0.25},
        // The fraction is added once to exact whole seconds: the result is the nearest double.
        {"2026-03-02T14:30:00.1Z", afternoon + 0.1}, {"1970-01-01T00:00:00.000001Z", 0.000001},
        {"2026-03-02t14:30:00z", afternoon}, {"2026-03-02 14:30:00Z", afternoon}, {"2026-03-02T14:30Z", afternoon},
        {"1969-12-31T23:59:59Z", -1}, {"0001-01-01T00:00:00Z", -62135596800.0},
        {"9999-12-31T23:59:59Z", 253402300799.0}, {"2016-12-31T23:59:60Z", 1483228800},  // a leap second
        {"2026-03-02T20:00:00+05:30", afternoon}, {"2026-03-02T10:30:00-04:00", afternoon},
        {"2026-03-02T20:00:00+0530", afternoon}, {"2026-03-02T19:30:00+05", afternoon},
        {"2026-03-02T14:30:00-00:00", afternoon}, {"2026-03-03T01:00:00+10:30", afternoon},  // the day before
        {"2026-03-01T23:30:00-15:00", afternoon},
        // A date alone is its UTC midnight.
        {"2026-03-02", afternoon - 14.5 * 3600}, {"2000-02-29", 951782400}, {"1969-12-31", -86400},
    };
    for (const auto& [text, want] : cases) EXPECT_EQ(seconds(text), want) << text;
    EXPECT_NEAR(seconds("2026-03-02T14:30:00.123456789Z"), afternoon + 0.123456789, 1e-6);
    EXPECT_NEAR(seconds("2026-03-02T14:30:00.12345678901234567890123Z"), afternoon + 0.123456789, 1e-6);
}

TEST(DateParse, RefusesGarbageAndInstantsWithoutAZone) {
    for (const char* bad : {"", "garbage", "2026", "2026-03", "2026-3-2", "2026-03-2", "2026/03/02",
                            "2026-02-30", "2025-02-29", "2100-02-29", "2026-13-01", "2026-00-10",
                            "2026-03-00", "0000-01-01", "2026-03-02X", "2026-03-02T", "2026-03-02Z",
                            "2026-03-02T14:30:00", "2026-03-02T14:30", "2026-03-02T14:30:00.5",
                            "2026-03-02T25:00:00Z", "2026-03-02T14:60:00Z", "2026-03-02T14:30:61Z",
                            "2026-03-02T14:30:00.Z", "2026-03-02T14:30.5Z", "2026-03-02T14:30:00ZZ",
                            "2026-03-02T14:30:00Z ", " 2026-03-02T14:30:00Z", "2026-03-02T14:30:00+",
                            "2026-03-02T14:30:00-", "2026-03-02T14:30:00+5:30", "2026-03-02T14:30:00+05:3",
                            "2026-03-02T14:30:00+053", "2026-03-02T14:30:00+24:00",
                            "2026-03-02T14:30:00+05:60", "2026-03-02T14:30:00 Z", "2026-03-02T4:30:00Z",
                            "2026-03-02T14:3:00Z", "2026-03-02T14:30:0Z"}) {
        EXPECT_FALSE(Date::parseIso(QString::fromLatin1(bad)).has_value()) << '"' << bad << '"';
    }
    EXPECT_FALSE(Date::parseIso(QStringLiteral("２０２６-03-02")).has_value());  // full-width digits
    EXPECT_FALSE(Date::parseIso(QStringLiteral("2026-03-02T14:30:00.٣Z")).has_value());
}

TEST(DateFormat, WritesUtcWithTheFractionItNeeds) {
    const std::vector<std::pair<double, const char*>> cases = {
        {afternoon, "2026-03-02T14:30:00Z"}, {afternoon + 0.120, "2026-03-02T14:30:00.12Z"},
        {afternoon + 0.000001, "2026-03-02T14:30:00.000001Z"}, {afternoon + 0.1234567, "2026-03-02T14:30:00.123457Z"},
        {-0.5, "1969-12-31T23:59:59.5Z"}, {59.9999999, "1970-01-01T00:01:00Z"},  // rounds into the next second
        {951868799, "2000-02-29T23:59:59Z"}, {253402300799.0, "9999-12-31T23:59:59Z"},
        // Instants with no ISO text give an empty one instead of undefined behaviour.
        {std::nan(""), ""}, {1e300, ""},
    };
    for (const auto& [at, want] : cases) EXPECT_EQ(Date(at).toIso(), QString::fromLatin1(want)) << at;
    EXPECT_EQ(Date::parseIso(u"2026-03-02T14:30:00.999999999Z")->toIso(), QStringLiteral("2026-03-02T14:30:01Z"));
    EXPECT_EQ(Date::parseIso(u"2026-03-02T20:00:00.25+05:30")->toIso(), QStringLiteral("2026-03-02T14:30:00.25Z"));
}

TEST(DateFormat, TextRoundTrips) {
    // Any instant to the microsecond: its text reads back as the same text.
    std::mt19937_64 rng(9);
    std::uniform_int_distribution<long long> micros(-2'000'000'000'000'000LL, 4'000'000'000'000'000LL);
    for (int i = 0; i < 2000; ++i) {
        const long long at = micros(rng);
        const Date date(static_cast<double>(at) / 1e6);
        const QString text = date.toIso();
        const auto back = Date::parseIso(text);
        ASSERT_TRUE(back.has_value()) << text.toStdString();
        EXPECT_EQ(back->toIso(), text);
        EXPECT_NEAR(back->secondsSince1970(), date.secondsSince1970(), 1e-6) << text.toStdString();
    }
}
