// Quotes: stocks from the snapshot map (with the last daily bar outside the trading day), coin
// pairs from the crypto snapshots, and contracts through the option quote cache.
#include "alpaca/AlpacaBroker.h"

#include "alpaca/AlpacaMapping.h"
#include "market/CryptoPair.h"
#include "market/NewYorkCalendar.h"
#include "market/OptionSymbol.h"

#include <QLoggingCategory>

#include <algorithm>
#include <utility>

namespace tavix {

namespace {

Q_LOGGING_CATEGORY(quotesLog, "com.brindlecove.tavix.quotes")

// Symbols per snapshot request: long enough lists to save requests, short enough that the URL
// stays far under the service's limit even for 21-character contract symbols.
constexpr qsizetype quoteBatchSize = 100;
// Contract snapshots per page (the service's largest).
const QString contractPageLimit = QStringLiteral("1000");
// How far back the market-day read looks for a symbol's last daily bar: past a long weekend
// with a holiday on either side.
constexpr int marketDayLookback = 10;

QString text(const std::optional<Decimal>& value) {
    return value ? value->toString() : QStringLiteral("-");
}

void logQuote(const Quote& quote) {
    qCDebug(quotesLog, "%s %s bid %s ask %s quoted %s", qUtf8Printable(quote.symbol),
            qUtf8Printable(quote.last.toString()), qUtf8Printable(text(quote.bid)),
            qUtf8Printable(text(quote.ask)), qUtf8Printable(quote.asOf.toIso()));
}

// Kept out of the coroutines: GCC 12 cannot compile the logging macros' function names there.
void logKept(const QString& symbol) {
    qCInfo(quotesLog, "contract %s kept: answer quoted before the one held", qUtf8Printable(symbol));
}

QString joined(const QStringList& symbols) {
    return symbols.join(u',');
}

}  // namespace

QCoro::Task<std::map<QString, Quote>> AlpacaBroker::quotes(QStringList symbols) {
    QStringList stocks;
    QStringList coins;
    QStringList contracts;
    symbols.removeDuplicates();
    for (const QString& symbol : symbols) {
        if (symbol.trimmed().isEmpty()) continue;
        if (symbol.contains(u'/')) {
            coins.append(symbol);
        } else if (OptionSymbol::parse(symbol)) {
            contracts.append(symbol);
        } else {
            stocks.append(symbol);
        }
    }
    std::map<QString, Quote> merged;
    if (!stocks.isEmpty()) merged.merge(co_await stockQuotes(stocks));
    if (!coins.isEmpty()) merged.merge(co_await cryptoQuotes(coins));
    if (!contracts.isEmpty()) merged.merge(co_await contractQuotes(contracts));
    for (const auto& [symbol, quote] : merged) logQuote(quote);
    co_return merged;
}

QCoro::Task<std::map<QString, Quote>> AlpacaBroker::stockQuotes(QStringList symbols) {
    std::map<QString, AlpacaDTO::Snapshot> snapshots;
    for (const QStringList& batch : AlpacaTransport::batches(symbols, quoteBatchSize)) {
        const AlpacaQuery query = {{QStringLiteral("symbols"), joined(batch)},
                                   {QStringLiteral("feed"), options_.feed}};
        const QByteArray body =
            co_await transport_.get(AlpacaHost::data, QStringLiteral("/v2/stocks/snapshots"), query);
        snapshots.merge(
            AlpacaDTO::decode<std::map<QString, AlpacaDTO::Snapshot>>(body, "Dictionary<String, Snapshot>"));
    }

    // Outside the trading day (before the first trade of the day, or a feed that has no bar for
    // it yet) the snapshot's day is missing or stale; the last daily bar, read once a day, fills it.
    const Date now = currentTime();
    const QDate today = NewYorkCalendar::dateOf(now);
    QStringList outsideDay;
    for (const auto& [symbol, snapshot] : snapshots) {
        if (!snapshot.dailyBar || NewYorkCalendar::dateOf(snapshot.dailyBar->t) != today)
            outsideDay.append(symbol);
    }
    QStringList unread;
    for (const QString& symbol : outsideDay) {
        const auto at = marketDayAt_.find(symbol);
        if (at == marketDayAt_.end() || NewYorkCalendar::dateOf(at->second) != today) unread.append(symbol);
    }
    if (!unread.isEmpty()) co_await refreshMarketDay(unread);

    std::map<QString, Quote> result;
    for (const auto& [symbol, snapshot] : snapshots) {
        std::optional<AlpacaDTO::Bar> day;
        if (outsideDay.contains(symbol)) {
            if (const auto found = marketDay_.find(symbol); found != marketDay_.end()) day = found->second;
        }
        if (auto quote = AlpacaMapping::quote(symbol, snapshot, day))
            result.emplace(symbol, std::move(*quote));
    }
    co_return result;
}

QCoro::Task<void> AlpacaBroker::refreshMarketDay(QStringList symbols) {
    const Date now = currentTime();
    std::map<QString, AlpacaDTO::Bar> latest;
    for (const QStringList& batch : AlpacaTransport::batches(symbols, quoteBatchSize)) {
        const AlpacaQuery query = {{QStringLiteral("symbols"), joined(batch)},
                                   {QStringLiteral("timeframe"), QStringLiteral("1Day")},
                                   {QStringLiteral("start"), AlpacaEndpoints::day(now, -marketDayLookback)},
                                   {QStringLiteral("limit"), QStringLiteral("10000")},
                                   {QStringLiteral("adjustment"), QStringLiteral("split")},
                                   {QStringLiteral("feed"), options_.feed}};
        co_await transport_.pages(
            AlpacaHost::data, QStringLiteral("/v2/stocks/bars"), query, [&latest](const QByteArray& body) {
                auto page = AlpacaDTO::decode<AlpacaDTO::MultiBarsResponse>(body, "MultiBarsResponse");
                for (const auto& [symbol, bars] : page.bars) {
                    for (const AlpacaDTO::Bar& bar : bars) {
                        const auto held = latest.find(symbol);
                        if (held == latest.end() || held->second.t < bar.t) latest[symbol] = bar;
                    }
                }
                return page.nextPageToken;
            });
    }
    // A symbol without a bar is marked read too, so it is not asked for again all day.
    for (const QString& symbol : symbols) {
        marketDayAt_[symbol] = now;
        if (const auto found = latest.find(symbol); found != latest.end()) marketDay_[symbol] = found->second;
    }
}

QCoro::Task<std::map<QString, Quote>> AlpacaBroker::cryptoQuotes(QStringList symbols) {
    // Asked in the standard form ("BTC/USD"), answered under the caller's own spelling.
    std::map<QString, QString> asked;
    QStringList pairs;
    for (const QString& symbol : symbols) {
        const QString pair = CryptoPair::normalized(symbol);
        if (!asked.count(pair)) pairs.append(pair);
        asked.emplace(pair, symbol);
    }
    std::map<QString, Quote> result;
    for (const QStringList& batch : AlpacaTransport::batches(pairs, quoteBatchSize)) {
        const AlpacaQuery query = {{QStringLiteral("symbols"), joined(batch)}};
        const QByteArray body =
            co_await transport_.get(AlpacaHost::data, QStringLiteral("/v1beta3/crypto/us/snapshots"), query);
        const auto answer =
            AlpacaDTO::decode<AlpacaDTO::CryptoSnapshotsResponse>(body, "CryptoSnapshotsResponse");
        for (const auto& [pair, snapshot] : answer.snapshots) {
            const auto name = asked.find(pair);
            const QString symbol = name == asked.end() ? pair : name->second;
            if (auto quote = AlpacaMapping::quote(symbol, snapshot))
                result.emplace(symbol, std::move(*quote));
        }
    }
    co_return result;
}

QCoro::Task<std::map<QString, Quote>> AlpacaBroker::contractQuotes(QStringList symbols) {
    const Date now = currentTime();
    std::map<QString, Quote> result;
    QStringList wanted;
    for (const QString& symbol : symbols) {
        const auto read = optionReadAt_.find(symbol);
        const auto held = optionQuotes_.find(symbol);
        if (read != optionReadAt_.end() && held != optionQuotes_.end() && now - read->second >= 0 &&
            now - read->second < optionQuoteSeconds) {
            result.emplace(symbol, held->second);
        } else {
            wanted.append(symbol);
        }
    }
    if (wanted.isEmpty()) co_return result;

    std::map<QString, AlpacaDTO::OptionSnapshot> snapshots;
    for (const QStringList& batch : AlpacaTransport::batches(wanted, quoteBatchSize)) {
        const AlpacaQuery query = {{QStringLiteral("symbols"), joined(batch)},
                                   {QStringLiteral("feed"), QStringLiteral("indicative")},
                                   {QStringLiteral("limit"), contractPageLimit}};
        co_await transport_.pages(AlpacaHost::data, QStringLiteral("/v1beta1/options/snapshots"), query,
                                  [&snapshots](const QByteArray& body) {
                                      auto page = AlpacaDTO::decode<AlpacaDTO::OptionSnapshotsResponse>(
                                          body, "OptionSnapshotsResponse");
                                      snapshots.merge(page.snapshots);
                                      return page.nextPageToken;
                                  });
    }

    // State may have moved while the answer was on its way: read the clock and the cache again.
    const Date at = currentTime();
    for (const QString& symbol : wanted) {
        const auto snapshot = snapshots.find(symbol);
        if (snapshot == snapshots.end()) continue;
        auto fresh = AlpacaMapping::contractQuote(symbol, snapshot->second);
        if (!fresh) continue;
        optionReadAt_[symbol] = at;
        const auto held = optionQuotes_.find(symbol);
        const auto heldAt = optionQuotedAt_.find(symbol);
        if (held != optionQuotes_.end() && heldAt != optionQuotedAt_.end() && fresh->asOf < heldAt->second) {
            // Indicative snapshots come from several servers; one may lag behind the last.
            logKept(symbol);
            result.emplace(symbol, held->second);
            continue;
        }
        Quote quote = steadied(std::move(*fresh), at);
        optionQuotes_[symbol] = quote;
        optionQuotedAt_[symbol] = quote.asOf;
        result.emplace(symbol, std::move(quote));
    }
    co_return result;
}

// Indicative contract quotes now and then come back without a bid for a moment. Each answer's
// bid (zero when it had none) is remembered for optionBidSeconds, and:
// - a single answer without a bid, right after one with a bid, shows the last bid seen, so the
//   bid neither drops to zero nor jumps to some older value;
// - a second answer without a bid in a row lets it go: nobody is bidding any more;
// - when nothing in the window had a bid, the answer is shown as it came.
Quote AlpacaBroker::steadied(Quote quote, Date at) {
    auto& seen = optionBids_[quote.symbol];
    std::erase_if(seen, [&](const std::pair<Date, Decimal>& entry) {
        return at - entry.first > optionBidSeconds || entry.first > at;
    });
    const bool hasBid = quote.bid && quote.bid->isPositive();
    if (!hasBid && !seen.empty() && seen.back().second.isPositive()) quote.bid = seen.back().second;
    seen.emplace_back(at, hasBid ? *quote.bid : Decimal(0));
    return quote;
}

}  // namespace tavix
