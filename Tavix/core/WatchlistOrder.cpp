#include "core/WatchlistOrder.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace tavix::WatchlistOrder {

namespace {

// The day's change as a fraction of the previous close, exactly.
std::optional<Decimal> changeShare(const Quote& quote) {
    if (!quote.previousClose || !quote.previousClose->isPositive()) return std::nullopt;
    return (quote.last - *quote.previousClose) / *quote.previousClose;
}

std::optional<Decimal> figure(const Quote& quote, WatchlistSort sort) {
    switch (sort) {
        case WatchlistSort::price:
            return quote.last;
        case WatchlistSort::gainers:
            return changeShare(quote);
        case WatchlistSort::biggestMoves: {
            auto share = changeShare(quote);
            return share ? std::optional<Decimal>(share->abs()) : std::nullopt;
        }
        case WatchlistSort::volume:
            return quote.volume;
        case WatchlistSort::range:
            if (!quote.high || !quote.low || !(*quote.high > *quote.low)) return std::nullopt;
            return (quote.last - *quote.low) / (*quote.high - *quote.low);
        case WatchlistSort::added:
        case WatchlistSort::alphabet:
            return std::nullopt;
    }
    return std::nullopt;
}

}  // namespace

QStringList ordered(const QStringList& watchlist, const std::map<QString, Quote>& quotes, WatchlistSort sort,
                    bool reversed) {
    if (sort == WatchlistSort::added) {
        QStringList mine = watchlist;
        if (reversed) std::reverse(mine.begin(), mine.end());
        return mine;
    }
    if (sort == WatchlistSort::alphabet) {
        QStringList sorted = watchlist;
        std::stable_sort(sorted.begin(), sorted.end(), [reversed](const QString& a, const QString& b) {
            return reversed ? b < a : a < b;
        });
        return sorted;
    }
    struct Row {
        QString symbol;
        std::optional<Decimal> value;
    };
    std::vector<Row> rows;
    rows.reserve(static_cast<std::size_t>(watchlist.size()));
    for (const QString& symbol : watchlist) {
        const auto found = quotes.find(symbol);
        rows.push_back({symbol, found == quotes.end() ? std::nullopt : figure(found->second, sort)});
    }
    std::stable_sort(rows.begin(), rows.end(), [reversed](const Row& a, const Row& b) {
        if (!a.value || !b.value) return a.value.has_value() && !b.value.has_value();
        return reversed ? *a.value < *b.value : *b.value < *a.value;
    });
    QStringList sorted;
    for (const Row& row : rows) sorted << row.symbol;
    return sorted;
}

}  // namespace tavix::WatchlistOrder
