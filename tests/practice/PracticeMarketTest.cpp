#include "practice/PracticeMarket.h"

#include "market/NewYorkCalendar.h"
#include "market/OptionSymbol.h"
#include "practice/PracticeOptions.h"
#include "practice/PricePath.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>

namespace tavix {
namespace {

Date at(const char16_t* iso) {
    return *Date::parseIso(QStringView(iso));
}
Decimal dec(const char* text) {
    return *Decimal::parse(std::string_view(text));
}
QString text(const char16_t* s) {
    return QString::fromUtf16(s);
}

// Friday 6 March 2026: New York is five hours behind UTC, the session runs 14:30 to 21:00 UTC.
const Date fridayOpen = at(u"2026-03-06T14:30:00Z");
const Date fridayNoon = at(u"2026-03-06T17:00:00Z");
const Date fridayClose = at(u"2026-03-06T21:00:00Z");

TEST(PracticeMarketTest, TwoMarketsAgreeAndTheCacheNeverChangesAPrice) {
    PracticeMarket warm;
    // Visit instants out of order, across sessions, weekends and the clock change, so that a
    // stale cached session would show.
    std::vector<Date> instants;
    for (double t = 0; t < 6 * 86400; t += 2222) instants.push_back(at(u"2026-03-05T00:00:00Z") + t);
    std::reverse(instants.begin() + static_cast<long>(instants.size() / 2), instants.end());
    for (const QString& symbol : {text(u"AAPL"), text(u"BTC/USD"), text(u"DOGE/USD"), text(u"SPY")}) {
        for (Date t : instants) {
            const auto price = warm.price(symbol, t);
            ASSERT_TRUE(price.has_value());
            EXPECT_EQ(*price, PracticeMarket().price(symbol, t))
                << symbol.toStdString() << ' ' << t.toIso().toStdString();
            EXPECT_EQ(*price, PricePath::stockPrice(symbol, t));
            EXPECT_EQ(warm.quote(symbol, t)->last, *price);
        }
    }
}

TEST(PracticeMarketTest, SymbolsAreReadInTheirStandardForm) {
    PracticeMarket market;
    EXPECT_EQ(market.price(text(u" aapl "), fridayNoon), market.price(text(u"AAPL"), fridayNoon));
    EXPECT_EQ(market.price(text(u"btc/usd"), fridayNoon), market.price(text(u"BTC/USD"), fridayNoon));
    EXPECT_EQ(market.quote(text(u"btc/usd"), fridayNoon)->symbol, text(u"BTC/USD"));
    EXPECT_FALSE(market.price(text(u"   "), fridayNoon));
    EXPECT_FALSE(market.quote(text(u"AAPL261399C00190000"), fridayNoon));  // no 13th month
}

TEST(PracticeMarketTest, PinnedPricesWin) {
    PracticeMarket market;
    const auto simulated = market.price(text(u"AAPL"), fridayNoon);
    market.pin(text(u"AAPL"), dec("123.45"));
    const auto quote = market.quote(text(u"aapl"), fridayNoon);
    EXPECT_EQ(quote->last, dec("123.45"));
    EXPECT_LT(*quote->bid, quote->last);
    EXPECT_EQ(quote->high, dec("123.45"));
    // A copy keeps the pins.
    EXPECT_EQ(PracticeMarket(market).price(text(u"AAPL"), fridayNoon), dec("123.45"));
    market.unpin(text(u"AAPL"));
    EXPECT_EQ(market.price(text(u"AAPL"), fridayNoon), simulated);
}

TEST(PracticeMarketTest, QuotesHoldTogether) {
    PracticeMarket market;
    for (const QString& symbol : {text(u"AAPL"), text(u"BTC/USD"), text(u"SHIB/USD"), text(u"PEPE/USD")}) {
        std::int64_t volumeBefore = -1;
        for (Date t = fridayOpen - 3600; t < fridayClose + 3600; t += 1234) {
            const auto q = market.quote(symbol, t);
            ASSERT_TRUE(q.has_value());
            SCOPED_TRACE(symbol.toStdString() + " " + t.toIso().toStdString());
            EXPECT_LT(*q->bid, q->last);
            EXPECT_GT(*q->ask, q->last);
            EXPECT_GE(*q->high, q->last);
            EXPECT_LE(*q->low, q->last);
            EXPECT_EQ(q->asOf, t);
            EXPECT_GE(*q->volume, volumeBefore);
            volumeBefore = *q->volume;
        }
    }
    const auto bidless = market.quote(text(u"AAPL"), fridayNoon, true);
    EXPECT_FALSE(bidless->bid || bidless->ask);
    EXPECT_EQ(bidless->last, market.quote(text(u"AAPL"), fridayNoon)->last);
}

TEST(PracticeMarketTest, QuoteDescribesTheSessionSoFar) {
    PracticeMarket market;
    const QString symbol = text(u"MSFT");
    const auto q = market.quote(symbol, fridayNoon);
    EXPECT_EQ(q->open, market.price(symbol, fridayOpen));
    // The previous close is Thursday's 16:00 price.
    EXPECT_EQ(q->previousClose, market.price(symbol, fridayOpen - 17.5 * 3600));
    // High and low cover the five-minute marks since the open.
    for (Date t = fridayOpen; t <= fridayNoon; t += 300) {
        const Decimal p = *market.price(symbol, t);
        EXPECT_GE(*q->high, p);
        EXPECT_LE(*q->low, p);
    }
    // Half way through a session about half the day's volume has traded; before the open none.
    EXPECT_EQ(market.quote(symbol, fridayOpen - 60)->volume, 0);
    const auto end = market.quote(symbol, fridayClose + 60);
    EXPECT_NEAR(static_cast<double>(*q->volume) / static_cast<double>(*end->volume), 2.5 / 6.5, 1e-5);
    // Monday's previous close is Friday's close, over the weekend.
    const auto monday = market.quote(symbol, at(u"2026-03-09T15:00:00Z"));
    EXPECT_EQ(monday->previousClose, market.price(symbol, fridayClose));
    // Earlier instants after later ones still see their own session's extremes.
    const auto morning = market.quote(symbol, fridayOpen + 900);
    EXPECT_EQ(morning->high,
              std::max({*market.price(symbol, fridayOpen), *market.price(symbol, fridayOpen + 300),
                        *market.price(symbol, fridayOpen + 600), *market.price(symbol, fridayOpen + 900)}));
}

TEST(PracticeMarketTest, OptionsFollowTheirUnderlying) {
    PracticeMarket market;
    const QString call = text(u"XYZ260320C00100000");
    const QString put = text(u"XYZ260320P00100000");
    std::optional<Decimal> lastCall, lastPut;
    for (const char* level : {"80", "95", "100", "105", "120"}) {
        market.pin(text(u"XYZ"), dec(level));
        const Decimal c = *market.price(call, fridayNoon);
        const Decimal p = *market.price(put, fridayNoon);
        if (lastCall) {
            EXPECT_GT(c, *lastCall) << level;
            EXPECT_LT(p, *lastPut) << level;
        }
        lastCall = c;
        lastPut = p;
        EXPECT_GE(p, dec("0.01"));
        EXPECT_EQ(c.rounded(2), c);
        // Put-call parity: a call less a put is the stock less the discounted strike.
        const double years = (at(u"2026-03-20T20:00:00Z") - fridayNoon) / (365 * 86400.0);
        if (p > dec("0.05") && c > dec("0.05")) {
            EXPECT_NEAR((c - p).toDouble(),
                        dec(level).toDouble() - 100 * std::exp(-PracticeOptions::rate * years), 0.011)
                << level;
        }
    }

    // A quote's open and range follow a change of the pinned underlying.
    const auto pinnedHigh = market.quote(call, fridayNoon);
    EXPECT_EQ(pinnedHigh->open, market.price(call, fridayOpen));
    EXPECT_EQ(pinnedHigh->high, pinnedHigh->open);  // at a fixed stock price the call only decays
    market.pin(text(u"XYZ"), dec("90"));
    const auto pinnedLow = market.quote(call, fridayNoon);
    EXPECT_EQ(pinnedLow->open, market.price(call, fridayOpen));
    EXPECT_LT(*pinnedLow->high, *pinnedHigh->low);

    // Options are priced from the simulated stock when it is not pinned.
    market.unpin(text(u"XYZ"));
    const auto q = market.quote(call, fridayNoon);
    ASSERT_TRUE(q.has_value());
    EXPECT_GE(*q->high, q->last);

    // After 16:00 New York on the expiry day the contract has no price.
    EXPECT_TRUE(market.price(call, at(u"2026-03-20T19:59:00Z")));
    EXPECT_FALSE(market.quote(call, at(u"2026-03-20T20:00:00Z")));
}

TEST(PracticeMarketTest, OptionChainAroundThePrice) {
    PracticeMarket market;
    market.pin(text(u"XYZ"), dec("203.40"));
    const auto chain = market.optionChain(text(u"XYZ"), std::nullopt, fridayNoon);
    ASSERT_FALSE(chain.empty());
    std::set<double> expiries;
    for (const OptionContract& row : chain) {
        SCOPED_TRACE(row.id.toStdString());
        const auto parsed = OptionSymbol::parse(row.id);
        ASSERT_TRUE(parsed.has_value());
        EXPECT_TRUE(parsed->strike == row.strike && parsed->right == row.right &&
                    parsed->expiry == row.expiry);
        EXPECT_EQ(row.multiplier, 100);
        EXPECT_EQ(row.last, market.price(row.id, fridayNoon));
        // Strikes 2.5 apart from 177.5 to 227.5 around 203.40.
        EXPECT_GE(row.strike, dec("177.5"));
        EXPECT_LE(row.strike, dec("227.5"));
        EXPECT_TRUE((row.strike / dec("2.5")).isWhole());
        if (row.right == OptionRight::call) {
            EXPECT_TRUE(*row.delta >= Decimal() && *row.delta <= Decimal(1));
        } else {
            EXPECT_TRUE(*row.delta <= Decimal() && *row.delta >= Decimal(-1));
            EXPECT_LT(row.breakEven(), row.strike);
        }
        expiries.insert(row.expiry.secondsSince1970());
    }
    // Four weekly Fridays, the first being this one (it still trades at noon).
    EXPECT_EQ(expiries.size(), 4U);
    EXPECT_EQ(*expiries.begin(), at(u"2026-03-06T05:00:00Z").secondsSince1970());
    EXPECT_EQ(chain.size(), 4U * 21U * 2U);

    const auto one = market.optionChain(text(u"XYZ"), at(u"2026-03-13T18:00:00Z"), fridayNoon);
    ASSERT_EQ(one.size(), 21U * 2U);
    EXPECT_EQ(one.front().expiry, at(u"2026-03-13T04:00:00Z"));  // summer time by then
    EXPECT_TRUE(
        market.optionChain(text(u"XYZ"), at(u"2026-03-06T05:00:00Z"), at(u"2026-03-06T22:00:00Z")).empty());
    EXPECT_TRUE(market.optionChain(text(u"BTC/USD"), std::nullopt, fridayNoon).empty());
}

// Bars lie inside sessions, start at the session open and step by the interval.
void expectIntradayBars(const PracticeMarket& market, const QString& symbol, const std::vector<Candle>& bars,
                        double interval, Date now) {
    ASSERT_FALSE(bars.empty());
    for (std::size_t i = 0; i < bars.size(); ++i) {
        const Candle& c = bars[i];
        SCOPED_TRACE(c.time.toIso().toStdString());
        const TradingSession s = PathSymbol::of(symbol).session(c.time);
        EXPECT_GE(c.time, s.open);
        EXPECT_LT(c.time, s.close);
        EXPECT_LE(c.time, now);
        EXPECT_EQ(std::fmod(c.time - s.open, interval), 0.0);
        EXPECT_EQ(c.open, market.price(symbol, c.time));
        const Date end = std::min({c.time + interval, s.close, now});
        if (end < s.close) {
            EXPECT_EQ(c.close, market.price(symbol, end));
        } else {
            // The last bar closes at the session's closing level; a coin's next session opens at
            // that same instant with its gap, so look a hair earlier.
            const double closing = market.price(symbol, end - 0.001)->toDouble();
            EXPECT_NEAR(c.close.toDouble(), closing, closing * 1e-5);
        }
        EXPECT_GE(c.high, std::max(c.open, c.close));
        EXPECT_LE(c.low, std::min(c.open, c.close));
        if (i > 0) {
            EXPECT_GT(c.time, bars[i - 1].time);
            // Contiguous: the next bar, or the first bar of a later session.
            if (c.time - bars[i - 1].time != interval) {
                EXPECT_EQ(c.time, s.open);
            }
        }
    }
}

TEST(PracticeMarketTest, IntradayCandles) {
    PracticeMarket market;
    const Date now = at(u"2026-03-09T15:07:00Z");  // Monday 11:07 in New York
    const DateRange week{at(u"2026-03-05T00:00:00Z"), at(u"2026-03-10T00:00:00Z")};
    const auto stock = market.candles(text(u"AAPL"), CandleInterval::fiveMinute, week, now);
    expectIntradayBars(market, text(u"AAPL"), stock, 300, now);
    // Thursday and Friday full (78 bars each) and Monday up to 11:05.
    EXPECT_EQ(stock.size(), 78U + 78U + 20U);
    EXPECT_EQ(stock.back().time, at(u"2026-03-09T15:05:00Z"));

    const auto coin = market.candles(text(u"BTC/USD"), CandleInterval::hourly, week, now);
    expectIntradayBars(market, text(u"BTC/USD"), coin, 3600, now);
    EXPECT_EQ(coin.size(), 24U * 4U + 16U);  // the weekend trades

    // The range's start cuts bars off; bars before it are not included.
    const auto cut = market.candles(text(u"AAPL"), CandleInterval::fifteenMinute,
                                    DateRange{at(u"2026-03-06T20:40:00Z"), at(u"2026-03-06T23:00:00Z")}, now);
    ASSERT_EQ(cut.size(), 1U);
    EXPECT_EQ(cut.front().time, at(u"2026-03-06T20:45:00Z"));

    // An absurd range is clipped to the latest bars.
    const auto seconds =
        market.candles(text(u"AAPL"), CandleInterval::oneSecond, DateRange{Date(0), now}, now);
    ASSERT_EQ(seconds.size(), static_cast<std::size_t>(PracticeMarket::maxCandles));
    EXPECT_EQ(seconds.back().time, now - 1);  // the range's end is not part of it
    EXPECT_TRUE(market.candles(text(u"AAPL"), CandleInterval::hourly, DateRange{now, now - 1}, now).empty());
}

TEST(PracticeMarketTest, DailyWeeklyAndMonthlyCandles) {
    PracticeMarket market;
    const Date now = at(u"2026-03-09T15:07:00Z");
    const DateRange range{at(u"2026-02-01T00:00:00Z"), now};
    const auto days = market.candles(text(u"AAPL"), CandleInterval::daily, range, now);
    // 20 weekdays in February, the first five of March and Monday so far.
    ASSERT_EQ(days.size(), 20U + 5U + 1U);
    for (const Candle& c : days) {
        const QDate day = NewYorkCalendar::dateOf(c.time);
        EXPECT_EQ(c.time, NewYorkCalendar::startOfDay(day));
        const TradingSession s = PathSymbol::of(text(u"AAPL")).session(c.time + 43200);
        EXPECT_EQ(c.open, market.price(text(u"AAPL"), s.open));
        EXPECT_EQ(c.close, market.price(text(u"AAPL"), std::min(s.close, now)));
    }
    EXPECT_EQ(days.back().close, market.price(text(u"AAPL"), now));

    const auto weeks = market.candles(text(u"AAPL"), CandleInterval::weekly, range, now);
    // Weeks starting on the Mondays 2, 9, 16 and 23 February and 2 and 9 March.
    ASSERT_EQ(weeks.size(), 6U);
    EXPECT_EQ(weeks.front().time, NewYorkCalendar::startOfDay(QDate(2026, 2, 2)));
    EXPECT_EQ(weeks[4].open, days[20].open);
    EXPECT_EQ(weeks[4].close, days[24].close);
    EXPECT_EQ(weeks[4].high,
              std::max({days[20].high, days[21].high, days[22].high, days[23].high, days[24].high}));

    const auto months = market.candles(text(u"AAPL"), CandleInterval::monthly, range, now);
    ASSERT_EQ(months.size(), 2U);
    EXPECT_EQ(months[1].time, NewYorkCalendar::startOfDay(QDate(2026, 3, 1)));
    EXPECT_EQ(months[1].open, days[20].open);

    const auto coinDays = market.candles(text(u"ETH/USD"), CandleInterval::daily,
                                         DateRange{at(u"2026-03-01T00:00:00Z"), now}, now);
    EXPECT_EQ(coinDays.size(), 9U);
    EXPECT_EQ(coinDays.front().time, at(u"2026-03-01T00:00:00Z"));
}

TEST(PracticeMarketTest, SearchPutsMajorNamesFirst) {
    PracticeMarket market;
    const auto a = market.search(text(u"a"));
    ASSERT_GT(a.size(), 3U);
    const auto firstMinor = std::find_if(a.begin(), a.end(), [](const SymbolMatch& m) { return !m.major; });
    EXPECT_TRUE(std::none_of(firstMinor, a.end(), [](const SymbolMatch& m) { return m.major; }));
    EXPECT_NE(firstMinor, a.begin());

    const auto apple = market.search(text(u"apple"));
    ASSERT_EQ(apple.size(), 1U);
    EXPECT_EQ(apple.front().symbol, text(u"AAPL"));
    EXPECT_EQ(market.search(text(u"btc")).front().name, text(u"Bitcoin / US Dollar"));
    EXPECT_EQ(market.search(text(u"US DOLLAR")).size(), 4U);
    EXPECT_TRUE(market.search(text(u"  ")).empty());
    EXPECT_EQ(PracticeMarket::optionPriceNote(),
              text(u"Practice option prices are worked out by Tavix from its simulated stock price."));
}

}  // namespace
}  // namespace tavix
