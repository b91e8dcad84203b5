// Candles: stock bars (with the consolidated/iex split for old ranges), coin bars, and bars built
// from trades for intervals the service does not offer.
#include "alpaca/AlpacaBroker.h"

#include "alpaca/AlpacaMapping.h"
#include "market/CryptoPair.h"

#include <QLoggingCategory>

#include <algorithm>
#include <cmath>
#include <utility>

namespace tavix {

namespace {

Q_LOGGING_CATEGORY(candlesLog, "com.brindlecove.tavix.alpaca")

// Points per page: the service's largest, so most ranges are one request.
const QString pageLimit = QStringLiteral("10000");
// Symbols per many-symbol bars request.
constexpr qsizetype barBatchSize = 100;

const QString sip = QStringLiteral("sip");
// How far behind the present free keys may read the consolidated feed.
constexpr double sipDelaySeconds = 15 * 60;
const QString iex = QStringLiteral("iex");

bool isCoin(const QString& symbol) {
    return symbol.contains(u'/');
}

// A 4xx answer to the consolidated feed means this key may not read it (free plans); a 429 is a
// rate limit and a 5xx a hiccup, neither of which says anything about the feed.
bool refusesFeed(const BrokerError& error) {
    return error.kind() == BrokerError::Kind::api && error.status() >= 400 && error.status() < 500;
}

// Kept out of the coroutines: GCC 12 cannot compile the logging macros' function names there.
void logSipRefused(const BrokerError& error) {
    qCInfo(candlesLog, "sip refused (%d); history stays on iex", error.status());
}

bool within(Date t, const DateRange& range) {
    return t >= range.start && t <= range.end;
}

std::vector<Candle> sortedUnique(std::vector<Candle> candles) {
    std::stable_sort(candles.begin(), candles.end(),
                     [](const Candle& a, const Candle& b) { return a.time < b.time; });
    candles.erase(std::unique(candles.begin(), candles.end(),
                              [](const Candle& a, const Candle& b) { return a.time == b.time; }),
                  candles.end());
    return candles;
}

}  // namespace

namespace {

// One stock's bars from `feed`, oldest first, within the range. The query names an end only when
// given one; otherwise paging stops as soon as a page reaches past the range.
QCoro::Task<std::vector<Candle>> stockBars(AlpacaTransport transport, QString symbol, QString timeframe,
                                           DateRange range, QString feed, std::optional<Date> end = std::nullopt) {
    std::vector<Candle> candles;
    AlpacaQuery query = {{QStringLiteral("timeframe"), timeframe},
                         {QStringLiteral("start"), range.start.toIso()},
                         {QStringLiteral("limit"), pageLimit},
                         {QStringLiteral("adjustment"), QStringLiteral("split")},
                         {QStringLiteral("feed"), feed}};
    if (end) query.append({QStringLiteral("end"), end->toIso()});
    co_await transport.pages(AlpacaHost::data,
                             QStringLiteral("/v2/stocks/") + symbol + QStringLiteral("/bars"), query,
                             [&](const QByteArray& body) -> std::optional<QString> {
                                 auto page = AlpacaDTO::decode<AlpacaDTO::BarsResponse>(body, "BarsResponse");
                                 bool past = false;
                                 for (const AlpacaDTO::Bar& bar : page.bars) {
                                     if (within(bar.t, range)) candles.push_back(AlpacaMapping::candle(bar));
                                     if (bar.t > range.end) past = true;
                                 }
                                 if (past) return std::nullopt;
                                 return page.nextPageToken;
                             });
    co_return sortedUnique(std::move(candles));
}

// Several symbols' bars from one many-symbol endpoint, in batches, oldest first, within the range.
QCoro::Task<std::map<QString, std::vector<Candle>>> multiBars(AlpacaTransport transport, QString path,
                                                              QStringList symbols, AlpacaQuery extra,
                                                              DateRange range) {
    std::map<QString, std::vector<Candle>> result;
    for (const QStringList& batch : AlpacaTransport::batches(symbols, barBatchSize)) {
        AlpacaQuery query = {{QStringLiteral("symbols"), batch.join(u',')}};
        query += extra;
        co_await transport.pages(AlpacaHost::data, path, query,
                                 [&](const QByteArray& body) -> std::optional<QString> {
                                     auto page = AlpacaDTO::decode<AlpacaDTO::MultiBarsResponse>(
                                         body, "MultiBarsResponse");
                                     for (const auto& [symbol, bars] : page.bars) {
                                         for (const AlpacaDTO::Bar& bar : bars) {
                                             if (within(bar.t, range))
                                                 result[symbol].push_back(AlpacaMapping::candle(bar));
                                         }
                                     }
                                     return page.nextPageToken;
                                 });
    }
    for (auto& [symbol, candles] : result) candles = sortedUnique(std::move(candles));
    co_return result;
}

// Coin pairs' bars, oldest first, within the range.
QCoro::Task<std::map<QString, std::vector<Candle>>> coinBars(AlpacaTransport transport, QStringList symbols,
                                                             QString timeframe, DateRange range) {
    const AlpacaQuery extra = {{QStringLiteral("timeframe"), timeframe},
                               {QStringLiteral("start"), range.start.toIso()},
                               {QStringLiteral("limit"), pageLimit}};
    return multiBars(std::move(transport), QStringLiteral("/v1beta3/crypto/us/bars"), std::move(symbols), extra,
                     range);
}

// Many stocks' bars from one feed, oldest first, within the range.
QCoro::Task<std::map<QString, std::vector<Candle>>> manyStockBars(AlpacaTransport transport,
                                                                  QStringList symbols, QString timeframe,
                                                                  DateRange range, QString feed) {
    const AlpacaQuery extra = {{QStringLiteral("timeframe"), timeframe},
                               {QStringLiteral("start"), range.start.toIso()},
                               {QStringLiteral("limit"), pageLimit},
                               {QStringLiteral("adjustment"), QStringLiteral("split")},
                               {QStringLiteral("feed"), feed}};
    return multiBars(std::move(transport), QStringLiteral("/v2/stocks/bars"), std::move(symbols), extra, range);
}

}  // namespace

QCoro::Task<std::vector<Candle>> AlpacaBroker::candles(QString symbol, CandleInterval interval,
                                                       DateRange range) {
    range.start = std::max(range.start, historyStart());
    if (range.end < range.start) co_return {};
    const auto timeframe = AlpacaEndpoints::timeframe(interval);
    if (!timeframe) co_return co_await tradeBars(symbol, seconds(interval), range);

    if (isCoin(symbol)) {
        const QString pair = CryptoPair::normalized(symbol);
        // A named list: GCC 12 cannot take a braced list inside a co_await expression.
        QStringList pairs;
        pairs.append(pair);
        auto found = co_await coinBars(transport_, pairs, *timeframe, range);
        co_return std::vector<Candle>(found[pair]);
    }

    if (options_.feed != iex || sipRefused_ || range.start >= oneExchangeSince()) {
        co_return co_await stockBars(transport_, symbol, *timeframe, range, options_.feed);
    }
    // The older part from the consolidated feed, the newer from "iex". Free keys may read the
    // consolidated feed only up to 15 minutes ago, and a request without an end means "now", so
    // the end is always named.
    const Date split = std::min(range.end, oneExchangeSince());
    const Date sipEnd = std::min(split, currentTime() - sipDelaySeconds);
    std::vector<Candle> older;
    bool refused = false;
    try {
        older = co_await stockBars(transport_, symbol, *timeframe, DateRange{range.start, split}, sip, sipEnd);
    } catch (const BrokerError& error) {
        if (!refusesFeed(error)) throw;
        logSipRefused(error);
        sipRefused_ = true;
        refused = true;
    }
    if (refused) co_return co_await stockBars(transport_, symbol, *timeframe, range, iex);
    std::erase_if(older, [&](const Candle& c) { return c.time >= split; });
    if (split < range.end) {
        const auto newer =
            co_await stockBars(transport_, symbol, *timeframe, DateRange{split, range.end}, iex);
        older.insert(older.end(), newer.begin(), newer.end());
    }
    co_return sortedUnique(std::move(older));
}

QCoro::Task<std::map<QString, std::vector<Candle>>> AlpacaBroker::candlesForSymbols(QStringList symbols,
                                                                                    CandleInterval interval,
                                                                                    DateRange range) {
    range.start = std::max(range.start, historyStart());
    std::map<QString, std::vector<Candle>> result;
    symbols.removeDuplicates();
    if (symbols.isEmpty() || range.end < range.start) co_return result;
    const auto timeframe = AlpacaEndpoints::timeframe(interval);
    const bool splits = options_.feed == iex && !sipRefused_ && range.start < oneExchangeSince();
    if (!timeframe || splits) {
        // Trade-built bars and split ranges go symbol by symbol.
        for (const QString& symbol : symbols) result[symbol] = co_await candles(symbol, interval, range);
        co_return result;
    }
    QStringList stocks;
    std::map<QString, QString> coins;  // standard form -> as asked
    for (const QString& symbol : symbols) {
        if (isCoin(symbol)) {
            coins.emplace(CryptoPair::normalized(symbol), symbol);
        } else {
            stocks.append(symbol);
        }
    }
    if (!stocks.isEmpty())
        result = co_await manyStockBars(transport_, stocks, *timeframe, range, options_.feed);
    if (!coins.empty()) {
        QStringList pairs;
        for (const auto& [pair, asked] : coins) pairs.append(pair);
        auto found = co_await coinBars(transport_, pairs, *timeframe, range);
        for (auto& [pair, candles] : found) {
            const auto asked = coins.find(pair);
            result[asked == coins.end() ? pair : asked->second] = std::move(candles);
        }
    }
    for (const QString& symbol : symbols) result.try_emplace(symbol);
    co_return result;
}

QCoro::Task<std::vector<Candle>> AlpacaBroker::candlesBefore(QString symbol, CandleInterval interval,
                                                             Date before, int count) {
    if (count <= 0) co_return {};
    const auto timeframe = AlpacaEndpoints::timeframe(interval);
    if (!timeframe) co_return co_await widening(symbol, interval, before, count);
    // Only candles that have ended by `before`: the last one starts a step earlier.
    const Date last = before - static_cast<double>(seconds(interval));
    if (last < historyStart()) co_return {};

    QString path;
    AlpacaQuery query;
    if (isCoin(symbol)) {
        path = QStringLiteral("/v1beta3/crypto/us/bars");
        query = {{QStringLiteral("symbols"), CryptoPair::normalized(symbol)},
                 {QStringLiteral("timeframe"), *timeframe},
                 {QStringLiteral("start"), historyStart().toIso()},
                 {QStringLiteral("end"), last.toIso()},
                 {QStringLiteral("limit"), QString::number(count)},
                 {QStringLiteral("sort"), QStringLiteral("desc")}};
    } else {
        // A range that ends before "iex" history is complete reads the consolidated feed, unless
        // this key was refused it.
        const bool old = options_.feed == iex && !sipRefused_ && before <= oneExchangeSince();
        path = QStringLiteral("/v2/stocks/") + symbol + QStringLiteral("/bars");
        query = {{QStringLiteral("timeframe"), *timeframe},
                 {QStringLiteral("start"), historyStart().toIso()},
                 {QStringLiteral("end"), last.toIso()},
                 {QStringLiteral("limit"), QString::number(count)},
                 {QStringLiteral("adjustment"), QStringLiteral("split")},
                 {QStringLiteral("feed"), old ? sip : options_.feed},
                 {QStringLiteral("sort"), QStringLiteral("desc")}};
    }

    std::vector<Candle> newestFirst;
    const auto read = [&](const QByteArray& body) -> std::optional<QString> {
        std::vector<AlpacaDTO::Bar> bars;
        std::optional<QString> next;
        if (isCoin(symbol)) {
            auto page = AlpacaDTO::decode<AlpacaDTO::MultiBarsResponse>(body, "MultiBarsResponse");
            for (auto& [pair, series] : page.bars) bars.insert(bars.end(), series.begin(), series.end());
            next = page.nextPageToken;
        } else {
            auto page = AlpacaDTO::decode<AlpacaDTO::BarsResponse>(body, "BarsResponse");
            bars = std::move(page.bars);
            next = page.nextPageToken;
        }
        for (const AlpacaDTO::Bar& bar : bars) {
            if (static_cast<int>(newestFirst.size()) < count)
                newestFirst.push_back(AlpacaMapping::candle(bar));
        }
        if (static_cast<int>(newestFirst.size()) >= count) return std::nullopt;
        return next;
    };
    bool refused = false;
    try {
        co_await transport_.pages(AlpacaHost::data, path, query, read);
    } catch (const BrokerError& error) {
        const bool askedSip = query.contains(qMakePair(QStringLiteral("feed"), sip));
        if (!askedSip || !refusesFeed(error)) throw;
        logSipRefused(error);
        sipRefused_ = true;
        refused = true;
    }
    if (refused) {
        newestFirst.clear();
        for (auto& item : query) {
            if (item.first == QStringLiteral("feed")) item.second = iex;
        }
        co_await transport_.pages(AlpacaHost::data, path, query, read);
    }
    std::reverse(newestFirst.begin(), newestFirst.end());
    co_return sortedUnique(std::move(newestFirst));
}

QCoro::Task<std::vector<Candle>> AlpacaBroker::tradeBars(QString symbol, long long stepSeconds,
                                                         DateRange range) {
    const bool coin = isCoin(symbol);
    const QString pair = CryptoPair::normalized(symbol);
    const QString path = coin ? QStringLiteral("/v1beta3/crypto/us/trades")
                              : QStringLiteral("/v2/stocks/") + symbol + QStringLiteral("/trades");
    AlpacaQuery query;
    if (coin) query.append({QStringLiteral("symbols"), pair});
    query.append({QStringLiteral("start"), range.start.toIso()});
    query.append({QStringLiteral("limit"), pageLimit});
    if (!coin) query.append({QStringLiteral("feed"), options_.feed});

    struct Bucket {
        Candle candle;
        Decimal size;
    };
    std::map<long long, Bucket> buckets;
    const double step = static_cast<double>(std::max(stepSeconds, 1LL));
    const auto add = [&](const AlpacaDTO::Trade& trade) {
        if (!within(trade.t, range)) return;
        const auto key = static_cast<long long>(std::floor(trade.t.secondsSince1970() / step));
        auto [it, fresh] = buckets.try_emplace(key);
        Bucket& bucket = it->second;
        if (fresh) {
            bucket.candle =
                Candle{Date(static_cast<double>(key) * step), trade.p, trade.p, trade.p, trade.p, 0};
            bucket.size = trade.s;
            return;
        }
        // Trades come oldest first, so the latest one closes the bucket.
        bucket.candle.high = max(bucket.candle.high, trade.p);
        bucket.candle.low = min(bucket.candle.low, trade.p);
        bucket.candle.close = trade.p;
        bucket.size += trade.s;
    };
    co_await transport_.pages(
        AlpacaHost::data, path, query, [&](const QByteArray& body) -> std::optional<QString> {
            std::vector<AlpacaDTO::Trade> trades;
            std::optional<QString> next;
            if (coin) {
                auto page = AlpacaDTO::decode<AlpacaDTO::CryptoTradesResponse>(body, "CryptoTradesResponse");
                if (const auto found = page.trades.find(pair); found != page.trades.end())
                    trades = found->second;
                next = page.nextPageToken;
            } else {
                auto page = AlpacaDTO::decode<AlpacaDTO::TradesResponse>(body, "TradesResponse");
                trades = std::move(page.trades);
                next = page.nextPageToken;
            }
            bool past = false;
            for (const AlpacaDTO::Trade& trade : trades) {
                add(trade);
                if (trade.t > range.end) past = true;
            }
            return past ? std::nullopt : next;
        });

    std::vector<Candle> candles;
    candles.reserve(buckets.size());
    for (auto& [key, bucket] : buckets) {
        bucket.candle.volume = bucket.size.isNegative() ? Decimal() : bucket.size;
        candles.push_back(bucket.candle);
    }
    co_return candles;
}

}  // namespace tavix
