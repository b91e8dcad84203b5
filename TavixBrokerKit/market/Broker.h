#pragma once

#include "market/Account.h"
#include "market/BrokerCapabilities.h"
#include "market/BrokerError.h"
#include "market/BrokerID.h"
#include "market/CoinRules.h"
#include "market/FeeSchedule.h"
#include "market/LiveFeed.h"
#include "market/MarketClock.h"
#include "market/OptionContract.h"
#include "market/Order.h"
#include "market/OrderPreview.h"
#include "market/OrderRequest.h"
#include "market/Quote.h"
#include "market/SymbolMatch.h"

#include <qcoro/qcorotask.h>

#include <QString>
#include <QStringList>

#include <map>
#include <optional>
#include <vector>

namespace tavix {

// The one way the application, the bots and the automations reach a brokerage. Every operation
// is a coroutine that fails only by throwing BrokerError, whose description is the user's text.
// A broker lives on the main thread; state may change across a co_await.
class Broker {
public:
    virtual ~Broker() = default;
    Broker() = default;
    Broker(const Broker&) = delete;
    Broker& operator=(const Broker&) = delete;

    // What the broker type is. Concrete types also expose them as statics for the registry.
    virtual BrokerID id() const = 0;
    virtual QString displayName() const = 0;
    virtual BrokerCapabilities capabilities() const = 0;
    virtual FeeSchedule fees() const = 0;
    // How often to poll quotes when there is no live feed.
    virtual double quotePollSeconds() const { return 1.0; }
    bool supports(BrokerCapabilities wanted) const { return capabilities().contains(wanted); }

    virtual QCoro::Task<bool> isConnected() = 0;
    virtual QCoro::Task<void> connect() = 0;
    virtual QCoro::Task<void> disconnect() = 0;

    virtual QCoro::Task<std::vector<BrokerAccount>> accounts() = 0;
    virtual QCoro::Task<Balance> balance(QString accountID) = 0;
    virtual QCoro::Task<std::vector<Position>> positions(QString accountID) = 0;
    // Symbols the broker cannot price are missing from the map.
    virtual QCoro::Task<std::map<QString, Quote>> quotes(QStringList symbols) = 0;
    virtual QCoro::Task<std::vector<OptionContract>> optionChain(QString symbol, std::optional<Date> expiry);
    // Oldest first.
    virtual QCoro::Task<std::vector<Candle>> candles(QString symbol, CandleInterval interval, DateRange range) = 0;
    // The overloads of candles carry their own names, so a broker that overrides one does not
    // hide the others.
    virtual QCoro::Task<std::map<QString, std::vector<Candle>>> candlesForSymbols(QStringList symbols,
                                                                                  CandleInterval interval,
                                                                                  DateRange range);
    // Up to `count` candles that end before `before`.
    virtual QCoro::Task<std::vector<Candle>> candlesBefore(QString symbol, CandleInterval interval, Date before,
                                                           int count);

    virtual QCoro::Task<OrderPreview> previewOrder(OrderRequest request, QString accountID);
    virtual QCoro::Task<Order> placeOrder(OrderRequest request, QString accountID) = 0;
    virtual QCoro::Task<void> cancelOrder(QString orderID, QString accountID) = 0;
    virtual QCoro::Task<std::vector<Order>> orders(QString accountID, std::optional<Date> since) = 0;
    virtual QCoro::Task<std::vector<Order>> orderHistory(QString accountID);
    virtual QCoro::Task<std::vector<Fill>> fills(QString accountID, std::optional<Date> since);
    virtual QCoro::Task<Order> order(QString orderID, QString accountID);

    // Whether the market is open; by default worked out from the New York calendar.
    virtual QCoro::Task<MarketClock> marketClock();

    virtual QCoro::Task<std::optional<RemoteWatchlist>> ownWatchlist();
    virtual QCoro::Task<RemoteWatchlist> addToOwnWatchlist(QString symbol, RemoteWatchlist list);
    virtual QCoro::Task<RemoteWatchlist> removeFromOwnWatchlist(QString symbol, RemoteWatchlist list);
    // Makes the list hold `symbols`; by default one add or remove call per difference, in turn.
    virtual QCoro::Task<RemoteWatchlist> replaceOwnWatchlist(QStringList symbols, RemoteWatchlist list);
    virtual QCoro::Task<std::optional<CoinRules>> coinRules(QString symbol);
    virtual QCoro::Task<std::vector<SymbolMatch>> searchSymbols(QString text);
    virtual QCoro::Task<Order> replaceOrder(QString orderID, QString accountID, std::optional<Decimal> limitPrice,
                                            std::optional<Decimal> stopPrice);
    // The broker's live feed, or nothing. The broker keeps ownership.
    virtual LiveFeed* liveFeed() { return nullptr; }

protected:
    // The time the broker's defaults work from; brokers with a clock of their own override it.
    virtual Date currentTime() const { return Date::now(); }

    // The preview worked out here, without asking the brokerage: the price the order names, its
    // value and commission, and warnings the user can act on.
    OrderPreview localPreview(const OrderRequest& request) const;

    // Asks for ever wider ranges ending at `before` until `count` candles come back (or the
    // widening gives up), and returns the last `count`.
    QCoro::Task<std::vector<Candle>> widening(QString symbol, CandleInterval interval, Date before, int count);
};

}  // namespace tavix
