#pragma once

#include "alpaca/AlpacaDTO.h"
#include "alpaca/AlpacaEndpoints.h"
#include "alpaca/AlpacaTransport.h"
#include "market/Broker.h"

#include <QString>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

class QNetworkAccessManager;

namespace tavix {

// How an AlpacaBroker is set up (outside the class so it can be a default argument).
struct AlpacaBrokerOptions {
    QString feed = QStringLiteral("iex");   // the stock data feed
    std::optional<QString> streamFeed;      // the stream uses `feed` when absent
    int dataPerMinute = 150;
    int tradingPerMinute = 120;
    // Tests drive time: the budgets, the option quote cache and the market day read it.
    std::function<Date()> clock;
    RequestBudget::Sleeper sleeper;
    std::chrono::milliseconds timeout = std::chrono::seconds(60);
};

// The Alpaca trading service behind the Broker interface: two REST hosts (trading and market
// data), request budgets, checks before sending and plain words for refusals. The application
// only builds it for paper accounts. Lives on the main thread; state may change across co_await.
//
// Split by concern: AlpacaBroker.cpp (construction, connection, account, positions, clock,
// watchlists), AlpacaOrders.cpp (orders, payloads, replace, cancel, fills), AlpacaChecks.cpp
// (checks and preview before sending), AlpacaQuotes.cpp (stock, coin and contract quotes, the
// option quote cache, market day), AlpacaCandles.cpp (bars, the consolidated/iex split,
// trade-built bars), AlpacaChains.cpp (option chains), AlpacaSearch.cpp (asset index, coin rules).
class AlpacaBroker : public Broker {
public:
    using Credentials = AlpacaCredentials;

    using Options = AlpacaBrokerOptions;

    static BrokerID staticID() { return BrokerID::alpaca(); }
    static QString staticDisplayName() { return QStringLiteral("Alpaca"); }
    static BrokerCapabilities staticCapabilities();
    static constexpr double optionQuoteSeconds = 10.0;
    static constexpr double optionBidSeconds = 30.0;
    static Date historyStart();  // 2015-01-01 00:00 UTC
    // From this day on "iex" history is taken as complete; older ranges ask the consolidated feed.
    static Date oneExchangeSince();

    // `network` is the application's shared access manager; it must outlive the broker.
    AlpacaBroker(AlpacaEnvironment environment, Credentials credentials, QNetworkAccessManager* network,
                 Options options = {});
    // Every host at the given endpoints (tests point them at a loopback fake).
    AlpacaBroker(AlpacaEndpoints endpoints, AlpacaEnvironment environment, Credentials credentials,
                 QNetworkAccessManager* network, Options options = {});
    ~AlpacaBroker() override;

    bool isPaper() const { return environment_ == AlpacaEnvironment::paper; }
    AlpacaEnvironment environment() const { return environment_; }
    AlpacaTransport& transport() { return transport_; }

    BrokerID id() const override { return staticID(); }
    QString displayName() const override { return staticDisplayName(); }
    BrokerCapabilities capabilities() const override { return staticCapabilities(); }
    FeeSchedule fees() const override { return FeeSchedule::alpaca(); }
    double quotePollSeconds() const override { return 2.0; }

    QCoro::Task<bool> isConnected() override;
    QCoro::Task<void> connect() override;
    QCoro::Task<void> disconnect() override;
    QCoro::Task<std::vector<BrokerAccount>> accounts() override;
    QCoro::Task<Balance> balance(QString accountID) override;
    QCoro::Task<std::vector<Position>> positions(QString accountID) override;
    QCoro::Task<MarketClock> marketClock() override;

    QCoro::Task<std::map<QString, Quote>> quotes(QStringList symbols) override;
    QCoro::Task<std::vector<Candle>> candles(QString symbol, CandleInterval interval, DateRange range) override;
    QCoro::Task<std::map<QString, std::vector<Candle>>> candlesForSymbols(QStringList symbols,
                                                                          CandleInterval interval,
                                                                          DateRange range) override;
    QCoro::Task<std::vector<Candle>> candlesBefore(QString symbol, CandleInterval interval, Date before,
                                                   int count) override;
    QCoro::Task<std::vector<OptionContract>> optionChain(QString symbol, std::optional<Date> expiry) override;

    QCoro::Task<OrderPreview> previewOrder(OrderRequest request, QString accountID) override;
    QCoro::Task<Order> placeOrder(OrderRequest request, QString accountID) override;
    QCoro::Task<void> cancelOrder(QString orderID, QString accountID) override;
    QCoro::Task<std::vector<Order>> orders(QString accountID, std::optional<Date> since) override;
    QCoro::Task<std::vector<Order>> orderHistory(QString accountID) override;
    QCoro::Task<std::vector<Fill>> fills(QString accountID, std::optional<Date> since) override;
    QCoro::Task<Order> order(QString orderID, QString accountID) override;
    QCoro::Task<Order> orderByClientID(QString clientOrderID, QString accountID);
    QCoro::Task<Order> replaceOrder(QString orderID, QString accountID, std::optional<Decimal> limitPrice,
                                    std::optional<Decimal> stopPrice) override;

    QCoro::Task<std::optional<RemoteWatchlist>> ownWatchlist() override;
    QCoro::Task<RemoteWatchlist> addToOwnWatchlist(QString symbol, RemoteWatchlist list) override;
    QCoro::Task<RemoteWatchlist> removeFromOwnWatchlist(QString symbol, RemoteWatchlist list) override;
    QCoro::Task<RemoteWatchlist> replaceOwnWatchlist(QStringList symbols, RemoteWatchlist list) override;
    QCoro::Task<std::optional<CoinRules>> coinRules(QString symbol) override;
    QCoro::Task<std::vector<SymbolMatch>> searchSymbols(QString text) override;

    // GET on the data host, answering the raw body (the agent endpoint passes it on).
    QCoro::Task<QByteArray> rawMarketData(QString path, AlpacaQuery query);

    // The JSON body `placeOrder` sends for a request (stock, option or coin form). Throws
    // BrokerError::invalidOrder for a trailing stop without its trail.
    static Json payload(const OrderRequest& request);

    // The first problem with a request under Alpaca's own rules (prices in whole cents from $1,
    // four places under $1, option rules, session), as the user's sentence; nothing when fine.
    // `account` is the last account read, for the crypto and options money checks.
    std::optional<QString> check(const OrderRequest& request, Date now) const;

protected:
    Date currentTime() const override;

private:
    // Keeps a contract's bid from dropping to zero or jumping on a single empty answer, using the
    // bids remembered over the last optionBidSeconds.
    Quote steadied(Quote quote, Date at);
    QCoro::Task<std::map<QString, Quote>> stockQuotes(QStringList symbols);
    QCoro::Task<std::map<QString, Quote>> cryptoQuotes(QStringList symbols);
    QCoro::Task<std::map<QString, Quote>> contractQuotes(QStringList symbols);
    QCoro::Task<void> refreshMarketDay(QStringList symbols);
    QCoro::Task<std::vector<Candle>> tradeBars(QString symbol, long long stepSeconds, DateRange range);
    QCoro::Task<std::vector<SymbolMatch>> listed();
    QCoro::Task<AlpacaDTO::Account> readAccount();
    // A coin sale beyond what the account holds, read from the positions; nothing when it fits.
    QCoro::Task<std::optional<QString>> cryptoSaleProblem(OrderRequest request);
    // The account id orders are filed under: the one asked with, else the account's number.
    QString ownAccountID(const QString& asked) const;

    AlpacaEnvironment environment_;
    Options options_;
    AlpacaTransport transport_;

    std::optional<AlpacaDTO::Account> account_;

    std::map<QString, Quote> optionQuotes_;
    std::map<QString, Date> optionQuotedAt_;
    // When each contract was last asked for; the cache serves it for optionQuoteSeconds after.
    std::map<QString, Date> optionReadAt_;
    std::map<QString, std::vector<std::pair<Date, Decimal>>> optionBids_;

    bool sipRefused_ = false;

    std::optional<std::vector<SymbolMatch>> listed_;
    std::optional<Date> listedAt_;
    // The running read of the asset list, so searches that start together share it.
    struct Listing;
    std::shared_ptr<Listing> listing_;

    std::map<QString, CoinRules> coinRulesRead_;
    std::map<QString, AlpacaDTO::Bar> marketDay_;
    std::map<QString, Date> marketDayAt_;
};

}  // namespace tavix
