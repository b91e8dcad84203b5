#include "core/ChartTail.h"

#include <gtest/gtest.h>

namespace tavix {
namespace {

Decimal dec(const char* text) {
    return *Decimal::parse(text);
}

Quote at(double seconds, const char* last) {
    return Quote{.symbol = QStringLiteral("AAPL"), .last = dec(last), .asOf = Date(seconds)};
}

// The newest five-minute bar starts at 1,800,000,000 (a multiple of 300).
std::vector<Candle> bars() {
    return {Candle{Date(1.8e9 - 300), dec("10"), dec("10.5"), dec("9.5"), dec("10.2"), Decimal(700)},
            Candle{Date(1.8e9), dec("10.2"), dec("10.4"), dec("10.1"), dec("10.3"), Decimal(300)}};
}

TEST(ChartTail, TheNewestBarFollowsEachQuoteExactly) {
    auto candles = bars();
    ASSERT_TRUE(ChartTail::follow(candles, at(1.8e9 + 20, "10.47"), CandleInterval::fiveMinute));
    EXPECT_EQ(candles.back(), (Candle{Date(1.8e9), dec("10.2"), dec("10.47"), dec("10.1"), dec("10.47"), Decimal(300)}));
    ASSERT_TRUE(ChartTail::follow(candles, at(1.8e9 + 40, "10.05"), CandleInterval::fiveMinute));
    EXPECT_EQ(candles.back().low, dec("10.05"));
    EXPECT_EQ(candles.back().high, dec("10.47"));
    EXPECT_EQ(candles.back().close, dec("10.05"));
    // The same price again changes nothing; an older quote is left to the chart read.
    EXPECT_FALSE(ChartTail::follow(candles, at(1.8e9 + 50, "10.05"), CandleInterval::fiveMinute));
    EXPECT_FALSE(ChartTail::follow(candles, at(1.8e9 - 10, "99"), CandleInterval::fiveMinute));
    EXPECT_EQ(candles.size(), 2u);

    // Past the bar's end, the next bar starts at the boundary the quote falls in.
    ASSERT_TRUE(ChartTail::follow(candles, at(1.8e9 + 640, "10.6"), CandleInterval::fiveMinute));
    ASSERT_EQ(candles.size(), 3u);
    EXPECT_EQ(candles.back(), (Candle{Date(1.8e9 + 600), dec("10.6"), dec("10.6"), dec("10.6"), dec("10.6"), Decimal()}));

    // Daily bars begin on the market's calendar: only the bar a quote falls in moves.
    auto daily = bars();
    EXPECT_FALSE(ChartTail::follow(daily, at(1.8e9 + 90000, "11"), CandleInterval::daily));
    EXPECT_TRUE(ChartTail::follow(daily, at(1.8e9 + 3600, "11"), CandleInterval::daily));
    EXPECT_EQ(daily.size(), 2u);
    std::vector<Candle> none;
    EXPECT_FALSE(ChartTail::follow(none, at(1.8e9, "1"), CandleInterval::oneMinute));
}

}  // namespace
}  // namespace tavix
