// Market data through AlpacaBroker end to end against the loopback fake: quotes of all three
// kinds, the option quote cache and steadied bids, candles (consolidated/iex split, trade-built,
// newest first), option chains, and the shared asset list.
#include "AlpacaTradingFixture.h"

#include "market/OptionSymbol.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace tavix {
namespace {

using test::FakeAlpaca;

const QString contract = QStringLiteral("AAPL260306C00190000");

Decimal dec(const char* text) {
    return Decimal::parse(text).value();
}

Date at(const char* iso) {
    return Date::parseIso(QString::fromLatin1(iso)).value();
}

class AlpacaDataTest : public test::AlpacaTradingTest {
protected:
    // A contract snapshot quoted at `t` with the given bid (0: nobody bidding).
    static Json contractSnapshot(const char* t, const char* bid, const char* ask) {
        return Json::parse(
            QStringLiteral(R"({"latestQuote":{"t":"%1","bp":%2,"ap":%3,"bs":3,"as":4},
                                              "latestTrade":{"t":"2026-03-02T14:00:00.000000001Z","p":2.41,"s":1}})")
                .arg(QString::fromLatin1(t), QString::fromLatin1(bid), QString::fromLatin1(ask))
                .toStdString());
    }

    std::map<QString, Quote> quote(QStringList symbols) {
        return test::await(broker->quotes(std::move(symbols)));
    }
};

TEST_F(AlpacaDataTest, QuotesMergeStocksCoinsAndContractsEachFromItsEndpoint) {
    fake.optionSnapshots[contract] = contractSnapshot("2026-03-02T15:04:00Z", "2.40", "2.50");
    const auto quotes = quote({QStringLiteral("AAPL"), QStringLiteral("BTC/USD"), contract,
                               QStringLiteral("MSFT"), QStringLiteral("NOPE")});

    ASSERT_EQ(quotes.size(), 4u);  // the unknown symbol is left out
    EXPECT_EQ(quotes.at(QStringLiteral("AAPL")).last, dec("182.55"));
    EXPECT_EQ(quotes.at(QStringLiteral("AAPL")).previousClose, dec("181.6"));
    EXPECT_EQ(quotes.at(QStringLiteral("BTC/USD")).last, dec("62001.25"));
    EXPECT_EQ(quotes.at(contract).bid, dec("2.4"));

    const auto stocks = fake.requests("GET", QStringLiteral("/v2/stocks/snapshots"));
    ASSERT_EQ(stocks.size(), 1u);
    EXPECT_EQ(stocks[0].query,
              (QList<QPair<QString, QString>>{{QStringLiteral("symbols"), QStringLiteral("AAPL,MSFT,NOPE")},
                                              {QStringLiteral("feed"), QStringLiteral("iex")}}));
    const auto coins = fake.requests("GET", QStringLiteral("/v1beta3/crypto/us/snapshots"));
    ASSERT_EQ(coins.size(), 1u);
    EXPECT_EQ(coins[0].queryValue(QStringLiteral("symbols")), QStringLiteral("BTC/USD"));
    EXPECT_EQ(fake.count("GET", QStringLiteral("/v1beta1/options/snapshots")), 1);
    // Inside the trading day the snapshots' own day is enough.
    EXPECT_EQ(fake.count("GET", QStringLiteral("/v2/stocks/bars")), 0);
}

TEST_F(AlpacaDataTest, OutsideTheTradingDayTheLastDailyBarIsReadOnceADay) {
    now = at("2026-03-03T12:00:00Z");  // 7am New York, before any trade
    fake.stockSnapshots[QStringLiteral("XYZ")] = Json::parse(
        R"({"latestTrade":{"t":"2026-03-02T20:59:59.5Z","p":51.2,"s":10},"dailyBar":null,"prevDailyBar":null})");
    fake.stockBars[{QStringLiteral("XYZ"), QStringLiteral("1Day")}] = {
        FakeAlpaca::bar(QStringLiteral("2026-02-27T05:00:00Z"), "48", "50", "47.5", "49.9", 900000),
        FakeAlpaca::bar(QStringLiteral("2026-03-02T05:00:00Z"), "50", "52", "49.5", "51.2", 1000000)};

    const Quote first = quote({QStringLiteral("XYZ")}).at(QStringLiteral("XYZ"));
    EXPECT_EQ(first.open, dec("50"));
    EXPECT_EQ(first.high, dec("52"));
    EXPECT_EQ(first.volume, 1000000);

    const auto bars = fake.requests("GET", QStringLiteral("/v2/stocks/bars"));
    ASSERT_EQ(bars.size(), 1u);
    EXPECT_EQ(bars[0].queryValue(QStringLiteral("timeframe")), QStringLiteral("1Day"));

    now = now + 3600;  // later the same day: the bar is reused
    quote({QStringLiteral("XYZ")});
    EXPECT_EQ(fake.count("GET", QStringLiteral("/v2/stocks/bars")), 1);
    now = now + 86400;  // the next day reads again
    quote({QStringLiteral("XYZ")});
    EXPECT_EQ(fake.count("GET", QStringLiteral("/v2/stocks/bars")), 2);
}

TEST_F(AlpacaDataTest, ContractQuotesAreCachedAndAnOlderAnswerIsKeptOut) {
    test::LogCapture log;
    const QString path = QStringLiteral("/v1beta1/options/snapshots");
    fake.optionSnapshots[contract] = contractSnapshot("2026-03-02T15:04:00Z", "2.40", "2.50");
    EXPECT_EQ(quote({contract}).at(contract).bid, dec("2.4"));

    now = now + 9.9;  // still fresh: served without a request
    fake.optionSnapshots[contract] = contractSnapshot("2026-03-02T15:04:09Z", "2.60", "2.70");
    EXPECT_EQ(quote({contract}).at(contract).bid, dec("2.4"));
    EXPECT_EQ(fake.count("GET", path), 1);

    now = now + 0.2;  // ten seconds on: asked again
    EXPECT_EQ(quote({contract}).at(contract).bid, dec("2.6"));
    EXPECT_EQ(fake.count("GET", path), 2);

    // A lagging server answers with a quote older than the one held.
    now = now + 11;
    fake.optionSnapshots[contract] = contractSnapshot("2026-03-02T15:03:30Z", "1.10", "1.20");
    const Quote kept = quote({contract}).at(contract);
    EXPECT_EQ(fake.count("GET", path), 3);
    EXPECT_EQ(kept.bid, dec("2.6"));
    EXPECT_EQ(kept.asOf, at("2026-03-02T15:04:09Z"));
    EXPECT_TRUE(log.messages(QStringLiteral("com.brindlecove.tavix.quotes"))
                    .contains(QStringLiteral("contract ") + contract +
                              QStringLiteral(" kept: answer quoted before the one held")));
}

TEST_F(AlpacaDataTest, ASingleEmptyBidIsBridgedAndASecondLetsItGo) {
    fake.optionSnapshots[contract] = contractSnapshot("2026-03-02T15:04:00Z", "2.40", "2.50");
    EXPECT_EQ(quote({contract}).at(contract).bid, dec("2.4"));

    now = now + 11;
    fake.optionSnapshots[contract] = contractSnapshot("2026-03-02T15:04:11Z", "0", "2.50");
    EXPECT_EQ(quote({contract}).at(contract).bid, dec("2.4"));

    now = now + 11;
    fake.optionSnapshots[contract] = contractSnapshot("2026-03-02T15:04:22Z", "0", "2.50");
    EXPECT_EQ(quote({contract}).at(contract).bid, std::nullopt);

    // A bid back, then an empty answer long after it: the window has forgotten it.
    now = now + 11;
    fake.optionSnapshots[contract] = contractSnapshot("2026-03-02T15:04:33Z", "2.45", "2.50");
    EXPECT_EQ(quote({contract}).at(contract).bid, dec("2.45"));
    now = now + AlpacaBroker::optionBidSeconds + 1;
    fake.optionSnapshots[contract] = contractSnapshot("2026-03-02T15:05:30Z", "0", "2.50");
    EXPECT_EQ(quote({contract}).at(contract).bid, std::nullopt);
}

TEST_F(AlpacaDataTest, OldRangesSplitBetweenTheConsolidatedFeedAndIexUntilRefused) {
    const QString symbol = QStringLiteral("OLD");
    auto& daily = fake.stockBars[{symbol, QStringLiteral("1Day")}];
    const Date since = AlpacaBroker::oneExchangeSince();
    for (int d = -3; d < 3; ++d) {
        daily.push_back(FakeAlpaca::bar((since + d * 86400.0).toIso(), "10", "11", "9", "10.5", 100 + d));
    }
    const QString path = QStringLiteral("/v2/stocks/OLD/bars");
    const DateRange range{since - 10 * 86400.0, since + 10 * 86400.0};

    const auto candles = test::await(broker->candles(symbol, CandleInterval::daily, range));
    ASSERT_EQ(candles.size(), 6u);
    for (std::size_t i = 0; i < candles.size(); ++i) EXPECT_EQ(candles[i].volume, 97 + static_cast<int>(i));
    auto asked = fake.requests("GET", path);
    ASSERT_EQ(asked.size(), 2u);
    EXPECT_EQ(asked[0].queryValue(QStringLiteral("feed")), QStringLiteral("sip"));
    // Free keys are refused the consolidated feed unless the end is named, 15 minutes back or more.
    EXPECT_EQ(asked[0].queryValue(QStringLiteral("end")), since.toIso());
    EXPECT_EQ(asked[0].queryValue(QStringLiteral("adjustment")), QStringLiteral("split"));
    EXPECT_EQ(asked[1].queryValue(QStringLiteral("feed")), QStringLiteral("iex"));
    EXPECT_EQ(asked[1].queryValue(QStringLiteral("start")), since.toIso());

    // This key may not read the consolidated feed: the whole range comes from iex, now and later.
    fake.clearRequests();
    fake.stage(
        [](const test::HttpRequest& r) {
            return r.queryValue(QStringLiteral("feed")) == QStringLiteral("sip");
        },
        test::HttpResponse::json(
            403, FakeAlpaca::error(40310000,
                                   QStringLiteral("subscription does not permit querying recent SIP data"))));
    EXPECT_EQ(test::await(broker->candles(symbol, CandleInterval::daily, range)).size(), 6u);
    asked = fake.requests("GET", path);
    ASSERT_EQ(asked.size(), 2u);
    EXPECT_EQ(asked[1].queryValue(QStringLiteral("feed")), QStringLiteral("iex"));
    EXPECT_EQ(asked[1].queryValue(QStringLiteral("start")), range.start.toIso());
    test::await(broker->candles(symbol, CandleInterval::daily, range));
    EXPECT_EQ(fake.requests("GET", path).size(), 3u);
    EXPECT_EQ(fake.requests("GET", path).back().queryValue(QStringLiteral("feed")), QStringLiteral("iex"));

    // Ranges never reach before the start of history.
    fake.clearRequests();
    test::await(broker->candles(symbol, CandleInterval::daily, {at("2010-01-01T00:00:00Z"), range.end}));
    EXPECT_EQ(fake.requests("GET", path).at(0).queryValue(QStringLiteral("start")),
              AlpacaBroker::historyStart().toIso());
}

TEST_F(AlpacaDataTest, OneSecondCandlesAreBuiltFromTrades) {
    fake.stockTrades[QStringLiteral("ZZZ")] = {
        FakeAlpaca::trade(QStringLiteral("2026-03-02T14:30:00.100000000Z"), "10", "5", 1),
        FakeAlpaca::trade(QStringLiteral("2026-03-02T14:30:00.500000000Z"), "12", "3", 2),
        FakeAlpaca::trade(QStringLiteral("2026-03-02T14:30:00.900000000Z"), "9", "2", 3),
        FakeAlpaca::trade(QStringLiteral("2026-03-02T14:30:02.200000000Z"), "11", "1", 4),
        FakeAlpaca::trade(QStringLiteral("2026-03-02T14:31:00.000000000Z"), "99", "1", 5)};
    const auto candles =
        test::await(broker->candles(QStringLiteral("ZZZ"), CandleInterval::oneSecond,
                                    {at("2026-03-02T14:30:00Z"), at("2026-03-02T14:30:30Z")}));
    ASSERT_EQ(candles.size(), 2u);
    EXPECT_EQ(candles[0], (Candle{at("2026-03-02T14:30:00Z"), dec("10"), dec("12"), dec("9"), dec("9"), 10}));
    EXPECT_EQ(candles[1],
              (Candle{at("2026-03-02T14:30:02Z"), dec("11"), dec("11"), dec("11"), dec("11"), 1}));
}

TEST_F(AlpacaDataTest, CandlesBeforeReadNewestFirstAndComeBackOldestFirst) {
    const auto candles = test::await(
        broker->candlesBefore(QStringLiteral("AAPL"), CandleInterval::daily, at("2026-03-01T00:00:00Z"), 3));
    ASSERT_EQ(candles.size(), 3u);
    EXPECT_EQ(candles[0].time, at("2026-02-25T05:00:00Z"));
    EXPECT_EQ(candles[2].time, at("2026-02-27T05:00:00Z"));
    const auto asked = fake.requests("GET", QStringLiteral("/v2/stocks/AAPL/bars"));
    ASSERT_EQ(asked.size(), 1u);
    EXPECT_EQ(asked[0].queryValue(QStringLiteral("sort")), QStringLiteral("desc"));
    EXPECT_EQ(asked[0].queryValue(QStringLiteral("limit")), QStringLiteral("3"));
    EXPECT_EQ(asked[0].queryValue(QStringLiteral("feed")), QStringLiteral("iex"));
}

TEST_F(AlpacaDataTest, ChainsJoinContractsWithSnapshotsOverTheNearTermWindow) {
    auto chain = test::await(broker->optionChain(QStringLiteral("AAPL"), std::nullopt));
    ASSERT_EQ(chain.size(), 6u);  // 6 March only: the 20 March expiry is past the first week
    EXPECT_EQ(chain[0].id, QStringLiteral("AAPL260306C00190000"));
    EXPECT_EQ(chain[1].id, QStringLiteral("AAPL260306P00190000"));
    EXPECT_TRUE(chain[0].bid.has_value());
    EXPECT_EQ(chain[0].delta, dec("0.5412"));
    EXPECT_EQ(chain[5].delta, std::nullopt);  // the far strike has no greeks yet

    const auto contracts = fake.requests("GET", QStringLiteral("/v2/options/contracts"));
    ASSERT_EQ(contracts.size(), 1u);
    EXPECT_EQ(contracts[0].queryValue(QStringLiteral("expiration_date_gte")), QStringLiteral("2026-03-02"));
    EXPECT_EQ(contracts[0].queryValue(QStringLiteral("expiration_date_lte")), QStringLiteral("2026-03-09"));
    const auto snapshots = fake.requests("GET", QStringLiteral("/v1beta1/options/snapshots/AAPL"));
    ASSERT_EQ(snapshots.size(), 1u);
    EXPECT_EQ(snapshots[0].queryValue(QStringLiteral("feed")), QStringLiteral("indicative"));
    EXPECT_EQ(snapshots[0].queryValue(QStringLiteral("expiration_date_lte")), QStringLiteral("2026-03-09"));

    // A week with nothing expiring widens the window.
    fake.clearRequests();
    now = at("2026-03-10T15:00:00Z");
    chain = test::await(broker->optionChain(QStringLiteral("AAPL"), std::nullopt));
    ASSERT_EQ(chain.size(), 6u);
    EXPECT_EQ(chain[0].id, QStringLiteral("AAPL260320C00190000"));
    EXPECT_EQ(fake.count("GET", QStringLiteral("/v2/options/contracts")), 2);

    // A named expiry reads that day alone.
    fake.clearRequests();
    chain = test::await(broker->optionChain(QStringLiteral("AAPL"), OptionSymbol::expiryDate(2026, 3, 20)));
    EXPECT_EQ(chain.size(), 6u);
    EXPECT_EQ(fake.requests("GET", QStringLiteral("/v2/options/contracts"))
                  .at(0)
                  .queryValue(QStringLiteral("expiration_date_gte")),
              QStringLiteral("2026-03-20"));
}

TEST_F(AlpacaDataTest, TwoSearchesStartedTogetherShareOneAssetRead) {
    auto first = broker->searchSymbols(QStringLiteral("app"));
    auto second = broker->searchSymbols(QStringLiteral("micro"));
    const auto apple = test::await(std::move(first));
    const auto microsoft = test::await(std::move(second));
    EXPECT_EQ(fake.count("GET", QStringLiteral("/v2/assets")), 1);
    ASSERT_FALSE(apple.empty());
    EXPECT_EQ(apple[0], (SymbolMatch{QStringLiteral("AAPL"), QStringLiteral("Apple Inc."), true}));
    ASSERT_EQ(microsoft.size(), 1u);
    EXPECT_EQ(microsoft[0].symbol, QStringLiteral("MSFT"));

    // Later searches use the index: an exact symbol first, then major names.
    const auto b = test::await(broker->searchSymbols(QStringLiteral("b")));
    EXPECT_EQ(fake.count("GET", QStringLiteral("/v2/assets")), 1);
    ASSERT_GE(b.size(), 2u);
    EXPECT_TRUE(b[0].major);
    EXPECT_EQ(b.back().symbol, QStringLiteral("BRK.B"));
    EXPECT_TRUE(test::await(broker->searchSymbols(QStringLiteral("oldco"))).empty());  // inactive
}

}  // namespace
}  // namespace tavix
