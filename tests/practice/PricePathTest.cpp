#include "practice/PricePath.h"

#include "market/Decimal.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace tavix {
namespace {

Date at(const char16_t* iso) {
    return *Date::parseIso(QStringView(iso));
}
Decimal dec(const char* text) {
    return *Decimal::parse(std::string_view(text));
}

// Day numbers of the week used below: Friday 6 March 2026 (New York on winter time), the weekend,
// and Monday 9 March (summer time began on Sunday 8 March).
constexpr long long friday = 20518;
constexpr long long saturday = 20519;
constexpr long long monday = 20521;

TEST(PricePathTest, Fnv1aMatchesPublishedVectorsOverUtf8Bytes) {
    EXPECT_EQ(PricePath::fnv1a(QStringView()), 0xcbf29ce484222325ULL);
    EXPECT_EQ(PricePath::fnv1a(u"a"), 0xaf63dc4c8601ec8cULL);
    EXPECT_EQ(PricePath::fnv1a(u"foobar"), 0x85944171f73967e8ULL);
    // A text is hashed as UTF-8, not as UTF-16 code units.
    EXPECT_EQ(PricePath::fnv1a(u"\u00e9"), PricePath::fnv1a(std::string_view("\xc3\xa9")));
}

TEST(PricePathTest, UniformIsSplitMix64TopBits) {
    // SplitMix64 from state 0 gives 0xe220a8397b1dcdaf, 0x6e789e6aa1b965f4, ... as the state
    // steps by the golden gamma; U(0, k) is the k-th of them.
    EXPECT_EQ(PricePath::uniform(0, 1),
              static_cast<double>(0xe220a8397b1dcdafULL >> 11) / 9007199254740992.0);
    EXPECT_EQ(PricePath::uniform(0, 2),
              static_cast<double>(0x6e789e6aa1b965f4ULL >> 11) / 9007199254740992.0);
    // x + k × gamma wraps modulo 2^64: seeding with -gamma and asking for k = 2 is state gamma.
    EXPECT_EQ(PricePath::uniform(0 - PricePath::golden, 2), PricePath::uniform(0, 1));
    for (std::uint64_t x : {1ULL, 0xffffffffffffffffULL, 0x123456789abcdefULL}) {
        const double u = PricePath::uniform(x, 4);
        EXPECT_GE(u, 0.0);
        EXPECT_LT(u, 1.0);
    }
}

TEST(PricePathTest, WeekdaysAndTradingDays) {
    EXPECT_TRUE(PricePath::isWeekday(friday));
    EXPECT_FALSE(PricePath::isWeekday(saturday));
    EXPECT_FALSE(PricePath::isWeekday(saturday + 1));
    EXPECT_TRUE(PricePath::isWeekday(0));    // 1970-01-01 was a Thursday
    EXPECT_FALSE(PricePath::isWeekday(-4));  // 1969-12-28, a Sunday
    EXPECT_EQ(PricePath::previousTradingDay(monday, false), friday);
    EXPECT_EQ(PricePath::previousTradingDay(monday, true), monday - 1);

    // A stock's day is the New York day: 03:00 UTC Saturday is still Friday evening there, and
    // the whole weekend belongs to Friday.
    EXPECT_EQ(PricePath::tradingDay(at(u"2026-03-07T03:00:00Z"), false), friday);
    EXPECT_EQ(PricePath::tradingDay(at(u"2026-03-08T22:00:00Z"), false), friday);
    EXPECT_EQ(PricePath::tradingDay(at(u"2026-03-09T04:30:00Z"), false), monday);
    // A coin's day is the UTC day.
    EXPECT_EQ(PricePath::tradingDay(at(u"2026-03-07T03:00:00Z"), true), saturday);
}

TEST(PricePathTest, ClosingLevelWeighsEachDayByPowersOfPointEight) {
    const std::uint64_t h = PricePath::fnv1a(u"AAPL");
    // The day's own move, worked out by hand from the random stream.
    const auto move = [&](long long day) {
        const std::uint64_t x = (static_cast<std::uint64_t>(day) * 0x9e3779b97f4a7c15ULL) ^ h;
        const double size = PricePath::uniform(x, 2) < 0.08 ? 1.8 + 1.2 * PricePath::uniform(x, 3) : 1.0;
        return (2 * PricePath::uniform(x, 1) - 1) * 0.03 * size;
    };
    // Level(d) = move(d) + 0.8 × Level(previous trading day), up to the 33rd day dropping out.
    const double dropped = std::pow(0.8, 32) * 0.09;
    for (long long day : {friday, monday, monday + 1}) {
        const double level = PricePath::closingLevel(h, day, false);
        const double before = PricePath::closingLevel(h, PricePath::previousTradingDay(day, false), false);
        EXPECT_NEAR(level - 0.8 * before, move(day), dropped) << day;
        EXPECT_LT(std::fabs(level), 0.45);
    }
    const double coinSunday = PricePath::closingLevel(h, saturday + 1, true);
    EXPECT_NEAR(coinSunday - 0.8 * PricePath::closingLevel(h, saturday, true), move(saturday + 1), dropped);
}

TEST(PricePathTest, StockSessionsOpenAtNineThirtyNewYorkAcrossTheClockChange) {
    const std::uint64_t h = PricePath::fnv1a(u"MSFT");
    const TradingSession winter = TradingSession::of(friday, h, false);
    EXPECT_EQ(winter.open, at(u"2026-03-06T14:30:00Z"));
    EXPECT_EQ(winter.close, at(u"2026-03-06T21:00:00Z"));
    const TradingSession summer = TradingSession::of(monday, h, false);
    EXPECT_EQ(summer.open, at(u"2026-03-09T13:30:00Z"));
    EXPECT_EQ(summer.close, at(u"2026-03-09T20:00:00Z"));
    EXPECT_EQ(summer.previousDay, friday);
    EXPECT_EQ(summer.previousClose, winter.close);
    // Monday opens where Friday closed, plus the gap.
    EXPECT_DOUBLE_EQ(summer.previous, winter.ending);
    EXPECT_DOUBLE_EQ(summer.level(summer.open), summer.previous + summer.gap);
}

TEST(PricePathTest, SaturdayBelongsToFridaysSession) {
    const std::uint64_t h = PricePath::fnv1a(u"TSLA");
    const TradingSession weekend = TradingSession::containing(at(u"2026-03-07T17:00:00Z"), h, false);
    EXPECT_EQ(weekend.day, friday);
    EXPECT_EQ(weekend.previousDay, friday - 1);
    EXPECT_DOUBLE_EQ(weekend.level(at(u"2026-03-07T17:00:00Z")), weekend.ending);

    const TradingSession coin = TradingSession::containing(at(u"2026-03-07T17:00:00Z"), h, true);
    EXPECT_EQ(coin.day, saturday);
    EXPECT_EQ(coin.open, at(u"2026-03-07T00:00:00Z"));
    EXPECT_EQ(coin.close, at(u"2026-03-08T00:00:00Z"));
    EXPECT_EQ(coin.previousDay, friday);
}

TEST(PricePathTest, LevelIsFlatOutsideTheSessionAndMovesInside) {
    const std::uint64_t h = PricePath::fnv1a(u"NVDA");
    const TradingSession s = TradingSession::of(friday, h, false);
    const double opening = s.previous + s.gap;
    EXPECT_DOUBLE_EQ(s.level(at(u"2026-03-06T05:00:00Z")), opening);
    EXPECT_DOUBLE_EQ(s.level(at(u"2026-03-06T14:29:59Z")), opening);
    EXPECT_DOUBLE_EQ(s.level(at(u"2026-03-06T21:00:01Z")), s.ending);
    EXPECT_DOUBLE_EQ(s.level(at(u"2026-03-06T23:59:00Z")), s.ending);
    EXPECT_DOUBLE_EQ(s.level(s.close), s.ending);
    // Halfway: f = b = 1/2, so the curve has come 7/8 of the way plus the swing term.
    const Date middle = s.open + (s.close - s.open) / 2;
    const double expected =
        opening + 0.875 * (s.ending - opening) + s.swing * std::sin(0.5 * s.swings * std::numbers::pi);
    EXPECT_NEAR(s.level(middle), expected, 1e-12);
    EXPECT_GE(s.swings, 1.0);
    EXPECT_LT(s.swings, 3.0);
}

TEST(PricePathTest, OutsideTheSessionThePriceMovesOnlyByTheWiggle) {
    const PathSymbol aapl = PathSymbol::of(QStringLiteral("AAPL"));
    const Date early = at(u"2026-03-06T12:00:00Z");  // 7:00 in New York
    const Date later = at(u"2026-03-06T14:00:00Z");  // 9:00
    const TradingSession s = aapl.session(early);
    const double flat = aapl.base * std::exp(s.previous + s.gap);
    for (Date t : {early, later}) {
        const double price = PricePath::stockPrice(QStringLiteral("AAPL"), t).toDouble();
        EXPECT_NEAR(price / PricePath::wiggle(t, aapl.phase), flat, 0.006) << t.toIso().toStdString();
    }
    // After the close the price keeps the closing level.
    const Date evening = at(u"2026-03-06T23:00:00Z");
    EXPECT_NEAR(PricePath::stockPrice(QStringLiteral("AAPL"), evening).toDouble() /
                    PricePath::wiggle(evening, aapl.phase),
                aapl.base * std::exp(s.ending), 0.006);
    // The wiggle stays within three tenths of a percent.
    for (double t = 0; t < 200; t += 7) {
        EXPECT_NEAR(PricePath::wiggle(early + t, aapl.phase), 1.0, 0.003);
    }
}

TEST(PricePathTest, SeedPricesPhaseAndVolumeSeed) {
    // A = 65, P = 80, L = 76: a = 65, 2080, 64560 mod 9000 = 1560, 48436 mod 9000 = 3436.
    EXPECT_EQ(PricePath::seedPrice(QStringLiteral("AAPL")), dec("443.6"));
    EXPECT_EQ(PricePath::phase(QStringLiteral("AB")), 131.0);
    EXPECT_EQ(PricePath::phase(QStringLiteral("ZZZZ")), 0.0);     // 4 × 90 = 360
    EXPECT_EQ(PricePath::volumeSeed(QStringLiteral("AB")), 291);  // 65 × 17 + 66 = 1171 mod 880
    for (const char16_t* symbol : {u"A", u"SPY", u"BRK.B", u"QQQ", u"XYZXYZXYZ", u"\u00c9T\u00c9"}) {
        const Decimal seed = PricePath::seedPrice(QString::fromUtf16(symbol));
        EXPECT_GE(seed, dec("100.0"));
        EXPECT_LE(seed, dec("999.9"));
        EXPECT_LE(seed.scale(), 1);
    }
    // Coins start from the coin table; a coin quoted in another coin at their ratio.
    EXPECT_EQ(PricePath::seedPrice(QStringLiteral("BTC/USD")), dec("64250"));
    EXPECT_EQ(PricePath::seedPrice(QStringLiteral("ETH/USDT")), dec("3180"));
    EXPECT_EQ(PricePath::seedPrice(QStringLiteral("ETH/BTC")), dec("3180") / dec("64250"));
}

TEST(PricePathTest, TickRounding) {
    EXPECT_EQ(PricePath::tick(0.004123456789, true), dec("0.00412346"));
    EXPECT_EQ(PricePath::tickPlaces(0.004, true), 8);
    EXPECT_EQ(PricePath::tick(0.512345, true), dec("0.5123"));
    EXPECT_EQ(PricePath::tickPlaces(0.5, true), 4);
    EXPECT_EQ(PricePath::tick(25000.126, true), dec("25000.13"));
    EXPECT_EQ(PricePath::tickPlaces(25000, true), 2);
    EXPECT_EQ(PricePath::tickPlaces(-0.5, true), 4);
    EXPECT_EQ(PricePath::tickPlaces(0.004, false), 2);
    EXPECT_EQ(PricePath::tick(0.004, false), dec("0"));
    EXPECT_EQ(PricePath::tick(123.456, false), dec("123.46"));
    // Half a tick goes away from zero, judged on the shortest text: the doubles nearest 2.675
    // and 1.005 lie just below them.
    EXPECT_EQ(PricePath::tick(2.675, false), dec("2.68"));
    EXPECT_EQ(PricePath::tick(1.005, false), dec("1.01"));
    EXPECT_EQ(PricePath::tick(-1.005, false), dec("-1.01"));
    EXPECT_EQ(PricePath::tick(0.00012345005, true), dec("0.00012345"));
    EXPECT_EQ(PricePath::tick(0.00012345500, true), dec("0.00012346"));
}

TEST(PricePathTest, CoinsFollowTheirLevelsAndTradeAtWeekends) {
    const QString btc = QStringLiteral("BTC/USD");
    const Decimal saturdayNoon = PricePath::stockPrice(btc, at(u"2026-03-07T12:00:00Z"));
    const Decimal saturdayEvening = PricePath::stockPrice(btc, at(u"2026-03-07T20:00:00Z"));
    EXPECT_NE(saturdayNoon, saturdayEvening);
    // Within the span the daily moves allow of the table's level.
    EXPECT_GT(saturdayNoon, dec("64250") * dec("0.6"));
    EXPECT_LT(saturdayNoon, dec("64250") * dec("1.6"));
    EXPECT_LE(saturdayNoon.scale(), 2);
    const Decimal shib = PricePath::stockPrice(QStringLiteral("SHIB/USD"), at(u"2026-03-07T12:00:00Z"));
    EXPECT_GT(shib.scale(), 4);
    EXPECT_LE(shib.scale(), 8);
}

}  // namespace
}  // namespace tavix
