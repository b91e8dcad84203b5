#include "alpaca/AlpacaBroker.h"

#include "alpaca/AlpacaMapping.h"

#include <utility>

namespace tavix {

namespace {

const QString primaryWatchlist = QStringLiteral("Primary Watchlist");

AlpacaTransport::Options transportOptions(const AlpacaBroker::Options& options) {
    AlpacaTransport::Options out;
    out.dataPerMinute = options.dataPerMinute;
    out.tradingPerMinute = options.tradingPerMinute;
    out.timeout = options.timeout;
    out.clock = options.clock;
    out.sleeper = options.sleeper;
    out.refusal = [](const QString& message, const std::optional<Decimal>& held,
                     const std::optional<Decimal>& resting) {
        return AlpacaMapping::plainRefusal(message, held, resting);
    };
    return out;
}

Json symbolsJson(const QStringList& symbols) {
    Json list = Json::array();
    for (const QString& symbol : symbols) list.push(Json(symbol));
    return list;
}

}  // namespace

AlpacaBroker::AlpacaBroker(AlpacaEnvironment environment, Credentials credentials, QNetworkAccessManager* network,
                           Options options)
    : AlpacaBroker(AlpacaEndpoints(environment), environment, std::move(credentials), network, std::move(options)) {}

AlpacaBroker::AlpacaBroker(AlpacaEndpoints endpoints, AlpacaEnvironment environment, Credentials credentials,
                           QNetworkAccessManager* network, Options options)
    : environment_(environment),
      options_(std::move(options)),
      transport_(std::move(endpoints), std::move(credentials), network, transportOptions(options_)) {}

AlpacaBroker::~AlpacaBroker() = default;

BrokerCapabilities AlpacaBroker::staticCapabilities() {
    // Streaming joins once the live stream exists; options are never bracketed at Alpaca.
    return BrokerCapabilities::readAccounts() | BrokerCapabilities::quotes() | BrokerCapabilities::priceHistory() |
           BrokerCapabilities::trading() | BrokerCapabilities::options() | BrokerCapabilities::optionChains() |
           BrokerCapabilities::transactions() | BrokerCapabilities::replaceOrders() |
           BrokerCapabilities::extendedHours();
}

Date AlpacaBroker::historyStart() { return Date::parseIso(u"2015-01-01T00:00:00Z").value(); }

Date AlpacaBroker::oneExchangeSince() {
    // Alpaca's own exchange feed carries every bar from August 2020 on; older bars are thin there.
    return Date::parseIso(u"2020-08-01T00:00:00Z").value();
}

Date AlpacaBroker::currentTime() const { return options_.clock ? options_.clock() : Date::now(); }

// ---- Connection and account

QCoro::Task<AlpacaDTO::Account> AlpacaBroker::readAccount() {
    const QByteArray body = co_await transport_.get(AlpacaHost::trading, QStringLiteral("/v2/account"));
    AlpacaDTO::Account read = AlpacaDTO::decode<AlpacaDTO::Account>(body, "Account");
    account_ = read;
    co_return read;
}

QCoro::Task<bool> AlpacaBroker::isConnected() { co_return account_.has_value(); }

QCoro::Task<void> AlpacaBroker::connect() { co_await readAccount(); }

QCoro::Task<void> AlpacaBroker::disconnect() {
    account_.reset();
    co_return;
}

QCoro::Task<std::vector<BrokerAccount>> AlpacaBroker::accounts() {
    // GCC mishandles co_await inside a conditional expression, so this stays an if.
    if (!account_) co_await readAccount();
    std::vector<BrokerAccount> list{AlpacaMapping::account(*account_, isPaper())};
    co_return list;
}

QCoro::Task<Balance> AlpacaBroker::balance(QString accountID) {
    const AlpacaDTO::Account read = co_await readAccount();
    if (!accountID.isEmpty() && accountID != read.accountNumber) throw BrokerError::accountNotFound(accountID);
    co_return AlpacaMapping::balance(read);
}

QCoro::Task<std::vector<Position>> AlpacaBroker::positions(QString accountID) {
    if (!accountID.isEmpty() && account_ && accountID != account_->accountNumber) {
        throw BrokerError::accountNotFound(accountID);
    }
    const QByteArray body = co_await transport_.get(AlpacaHost::trading, QStringLiteral("/v2/positions"));
    const auto read = AlpacaDTO::decode<std::vector<AlpacaDTO::Position>>(body, "Array<Position>");
    std::vector<Position> mapped;
    mapped.reserve(read.size());
    for (const auto& position : read) mapped.push_back(AlpacaMapping::position(position));
    co_return mapped;
}

QCoro::Task<MarketClock> AlpacaBroker::marketClock() {
    const QByteArray body = co_await transport_.get(AlpacaHost::trading, QStringLiteral("/v2/clock"));
    co_return AlpacaMapping::clock(AlpacaDTO::decode<AlpacaDTO::Clock>(body, "Clock"));
}

// ---- Watchlist

QCoro::Task<std::optional<RemoteWatchlist>> AlpacaBroker::ownWatchlist() {
    const QByteArray listing = co_await transport_.get(AlpacaHost::trading, QStringLiteral("/v2/watchlists"));
    const auto lists = AlpacaDTO::decode<std::vector<AlpacaDTO::Watchlist>>(listing, "Array<Watchlist>");
    if (lists.empty()) {
        Json body = Json::object();
        body.set("name", Json(primaryWatchlist));
        body.set("symbols", Json::array());
        const QByteArray made = co_await transport_.post(AlpacaHost::trading, QStringLiteral("/v2/watchlists"), body);
        co_return AlpacaMapping::watchlist(AlpacaDTO::decode<AlpacaDTO::Watchlist>(made, "Watchlist"));
    }
    // The listing leaves the symbols out, so the chosen list is read on its own.
    auto chosen = std::find_if(lists.begin(), lists.end(),
                               [](const AlpacaDTO::Watchlist& list) { return list.name == primaryWatchlist; });
    if (chosen == lists.end()) chosen = lists.begin();
    const QByteArray body =
        co_await transport_.get(AlpacaHost::trading, QStringLiteral("/v2/watchlists/") + chosen->id);
    co_return AlpacaMapping::watchlist(AlpacaDTO::decode<AlpacaDTO::Watchlist>(body, "Watchlist"));
}

QCoro::Task<RemoteWatchlist> AlpacaBroker::addToOwnWatchlist(QString symbol, RemoteWatchlist list) {
    if (!list.id) {
        QStringList symbols = list.symbols;
        if (!symbols.contains(symbol)) symbols.append(symbol);
        co_return co_await replaceOwnWatchlist(symbols, list);
    }
    Json body = Json::object();
    body.set("symbol", Json(symbol));
    const QByteArray answer =
        co_await transport_.post(AlpacaHost::trading, QStringLiteral("/v2/watchlists/") + *list.id, body);
    co_return AlpacaMapping::watchlist(AlpacaDTO::decode<AlpacaDTO::Watchlist>(answer, "Watchlist"));
}

QCoro::Task<RemoteWatchlist> AlpacaBroker::removeFromOwnWatchlist(QString symbol, RemoteWatchlist list) {
    if (!list.id) {
        list.symbols.removeAll(symbol);
        co_return list;
    }
    const QByteArray answer = co_await transport_.del(
        AlpacaHost::trading, QStringLiteral("/v2/watchlists/") + *list.id + QLatin1Char('/') + symbol);
    co_return AlpacaMapping::watchlist(AlpacaDTO::decode<AlpacaDTO::Watchlist>(answer, "Watchlist"));
}

QCoro::Task<RemoteWatchlist> AlpacaBroker::replaceOwnWatchlist(QStringList symbols, RemoteWatchlist list) {
    Json body = Json::object();
    body.set("name", Json(list.name.isEmpty() ? primaryWatchlist : list.name));
    body.set("symbols", symbolsJson(symbols));
    // A list not made yet is made with its symbols in one go.
    QByteArray answer;
    if (list.id) {
        answer = co_await transport_.put(AlpacaHost::trading, QStringLiteral("/v2/watchlists/") + *list.id, body);
    } else {
        answer = co_await transport_.post(AlpacaHost::trading, QStringLiteral("/v2/watchlists"), body);
    }
    co_return AlpacaMapping::watchlist(AlpacaDTO::decode<AlpacaDTO::Watchlist>(answer, "Watchlist"));
}

// ---- Raw data

QCoro::Task<QByteArray> AlpacaBroker::rawMarketData(QString path, AlpacaQuery query) {
    co_return co_await transport_.get(AlpacaHost::data, std::move(path), std::move(query));
}

}  // namespace tavix
