#include "market/Broker.h"

#include "market/WatchlistSync.h"

#include <algorithm>
#include <cmath>

namespace tavix {

QCoro::Task<std::vector<OptionContract>> Broker::optionChain(QString, std::optional<Date>) {
    throw BrokerError::unsupported(BrokerCapabilities::optionChains());
    co_return {};
}

QCoro::Task<std::map<QString, std::vector<Candle>>> Broker::candlesForSymbols(QStringList symbols,
                                                                              CandleInterval interval,
                                                                              DateRange range) {
    std::map<QString, std::vector<Candle>> result;
    for (const auto& symbol : symbols) {
        result[symbol] = co_await candles(symbol, interval, range);
    }
    co_return result;
}

QCoro::Task<std::vector<Candle>> Broker::candlesBefore(QString symbol, CandleInterval interval, Date before,
                                                       int count) {
    co_return co_await widening(symbol, interval, before, count);
}

QCoro::Task<std::vector<Candle>> Broker::widening(QString symbol, CandleInterval interval, Date before, int count) {
    if (count <= 0) co_return {};
    // Markets are shut nights, weekends and holidays, so a span of `count` intervals rarely holds
    // `count` candles. Start at twice that plus a long weekend, then double, up to eight tries.
    double span = 2.0 * static_cast<double>(seconds(interval)) * count + 4 * 86400.0;
    std::vector<Candle> found;
    for (int attempt = 0; attempt < 8; ++attempt) {
        found = co_await candles(symbol, interval, DateRange{before - span, before});
        std::erase_if(found, [&](const Candle& c) { return c.time + static_cast<double>(seconds(interval)) > before; });
        if (static_cast<int>(found.size()) >= count) break;
        span *= 2;
    }
    if (static_cast<int>(found.size()) > count) {
        found.erase(found.begin(), found.end() - count);
    }
    co_return found;
}

QCoro::Task<OrderPreview> Broker::previewOrder(OrderRequest request, QString) {
    co_return localPreview(request);
}

OrderPreview Broker::localPreview(const OrderRequest& request) const {
    OrderPreview preview{.request = request};
    switch (request.type) {
        case OrderType::limit:
        case OrderType::stopLimit:
            preview.estimatedPrice = request.limitPrice;
            break;
        case OrderType::stop:
            preview.estimatedPrice = request.stopPrice;
            break;
        case OrderType::market:
        case OrderType::trailingStop:
            break;
    }
    const Decimal multiplier = request.assetType == AssetType::option ? Decimal(100) : Decimal(1);
    if (preview.estimatedPrice) preview.estimatedValue = *preview.estimatedPrice * request.quantity * multiplier;
    preview.estimatedCommission = fees().commission(request);
    if (request.type == OrderType::market) {
        preview.warnings << QStringLiteral(
            "A market order fills at the going price, which can differ from the last price you saw.");
    }
    if (request.type == OrderType::market && request.session == OrderSession::extended) {
        preview.warnings << QStringLiteral(
            "Outside regular hours only limit orders trade. Set a limit price to trade before or after the market.");
    }
    return preview;
}

QCoro::Task<std::vector<Order>> Broker::orderHistory(QString accountID) {
    co_return co_await orders(accountID, std::nullopt);
}

QCoro::Task<std::vector<Fill>> Broker::fills(QString accountID, std::optional<Date> since) {
    auto all = co_await orders(accountID, since);
    co_return Fill::fromOrders(all);
}

QCoro::Task<Order> Broker::order(QString orderID, QString accountID) {
    auto all = co_await orders(accountID, std::nullopt);
    for (auto& candidate : all) {
        if (candidate.id == orderID) co_return candidate;
    }
    throw BrokerError::invalidOrder(QStringLiteral("no order ") + orderID + QStringLiteral(" at this brokerage."));
}

QCoro::Task<MarketClock> Broker::marketClock() { co_return MarketClock::regularHours(currentTime()); }

QCoro::Task<std::optional<RemoteWatchlist>> Broker::ownWatchlist() { co_return std::nullopt; }

QCoro::Task<RemoteWatchlist> Broker::replaceOwnWatchlist(QStringList symbols, RemoteWatchlist list) {
    // With the broker's list as the base, the plan removes exactly what is not wanted.
    const auto plan = WatchlistSync::plan(symbols, list.symbols, list.symbols);
    for (const auto& symbol : plan.addRemote) list = co_await addToOwnWatchlist(symbol, list);
    for (const auto& symbol : plan.removeRemote) list = co_await removeFromOwnWatchlist(symbol, list);
    co_return list;
}

QCoro::Task<RemoteWatchlist> Broker::addToOwnWatchlist(QString, RemoteWatchlist) {
    throw BrokerError::unsupported(BrokerCapabilities());
    co_return {};
}

QCoro::Task<RemoteWatchlist> Broker::removeFromOwnWatchlist(QString, RemoteWatchlist) {
    throw BrokerError::unsupported(BrokerCapabilities());
    co_return {};
}

QCoro::Task<std::optional<CoinRules>> Broker::coinRules(QString) { co_return std::nullopt; }

QCoro::Task<std::vector<SymbolMatch>> Broker::searchSymbols(QString) { co_return {}; }

QCoro::Task<Order> Broker::replaceOrder(QString, QString, std::optional<Decimal>, std::optional<Decimal>) {
    throw BrokerError::unsupported(BrokerCapabilities::replaceOrders());
    co_return {};
}

}  // namespace tavix
