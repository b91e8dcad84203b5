#include "practice/PricePath.h"

#include "PracticeFixture.h"

#include <cmath>
#include <numbers>

namespace tavix::test {
namespace {

// Friday 6 March 2026 as a day number; New York is five hours behind UTC.
constexpr long long friday = 20518;

TEST(PricePathTest, Fnv1aMatchesPublishedVectorsOverUtf8Bytes) {
    EXPECT_EQ(PricePath::fnv1a(QStringView()), 0xcbf29ce484222325ULL);
    EXPECT_EQ(PricePath::fnv1a(u"a"), 0xaf63dc4c8601ec8cULL);
    EXPECT_EQ(PricePath::fnv1a(u"foobar"), 0x85944171f73967e8ULL);
    // A text is hashed as UTF-8, not as UTF-16 code units.
    EXPECT_EQ(PricePath::fnv1a(u"\u00e9"), PricePath::fnv1a(std::string_view("\xc3\xa9")));
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

TEST(PricePathTest, SeedPrices) {
    // A = 65, P = 80, L = 76: a = 65, 2080, 64560 mod 9000 = 1560, 48436 mod 9000 = 3436.
    EXPECT_EQ(PricePath::seedPrice(QStringLiteral("AAPL")), dec("443.6"));
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
    // Coins tick by the size of the price, stocks by the cent. Half a tick goes away from zero,
    // judged on the shortest text: the doubles nearest 2.675 and 1.005 lie just below them.
    const struct {
        double price;
        bool coin;
        const char* ticked;
    } cases[] = {{0.004123456789, true, "0.00412346"},
                 {0.512345, true, "0.5123"},
                 {25000.126, true, "25000.13"},
                 {0.004, false, "0"},
                 {123.456, false, "123.46"},
                 {2.675, false, "2.68"},
                 {1.005, false, "1.01"},
                 {-1.005, false, "-1.01"},
                 {0.00012345005, true, "0.00012345"},
                 {0.00012345500, true, "0.00012346"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.ticked);
        EXPECT_EQ(PricePath::tick(c.price, c.coin), dec(c.ticked));
    }
    EXPECT_EQ(PricePath::tickPlaces(-0.5, true), 4);
}

}  // namespace
}  // namespace tavix::test
