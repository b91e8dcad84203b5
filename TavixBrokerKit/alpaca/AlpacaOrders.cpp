#include "alpaca/AlpacaBroker.h"

#include "alpaca/AlpacaMapping.h"

#include <set>
#include <utility>

namespace tavix {

namespace {

const QString ordersPath = QStringLiteral("/v2/orders");

bool needsLimit(OrderType type) { return type == OrderType::limit || type == OrderType::stopLimit; }
bool needsStop(OrderType type) { return type == OrderType::stop || type == OrderType::stopLimit; }

// Whether a contract order opens or closes a position, in Alpaca's words. Plain buys open and
// plain sells close, as they do for someone who holds the contract.
QString positionIntent(OrderSide side) {
    switch (side) {
        case OrderSide::buy:
        case OrderSide::buyToOpen:
            return QStringLiteral("buy_to_open");
        case OrderSide::buyToClose:
        case OrderSide::buyToCover:
            return QStringLiteral("buy_to_close");
        case OrderSide::sellToOpen:
        case OrderSide::sellShort:
            return QStringLiteral("sell_to_open");
        case OrderSide::sell:
        case OrderSide::sellToClose:
            return QStringLiteral("sell_to_close");
    }
    return QStringLiteral("buy_to_open");
}

// The keys every form shares, in the order Alpaca documents them.
Json commonPayload(const OrderRequest& request, bool withClientID) {
    Json body = Json::object();
    body.set("symbol", Json(request.symbol));
    body.set("qty", Json(request.quantity.toString()));
    body.set("side", Json(AlpacaMapping::wireSide(request.side)));
    body.set("type", Json(AlpacaMapping::wireType(request.type)));
    body.set("time_in_force", Json(AlpacaMapping::wireTimeInForce(request.timeInForce)));
    if (withClientID && request.clientOrderID) body.set("client_order_id", Json(*request.clientOrderID));
    return body;
}

void setPrices(Json& body, const OrderRequest& request) {
    if (needsLimit(request.type) && request.limitPrice) body.set("limit_price", Json(request.limitPrice->toString()));
    if (needsStop(request.type) && request.stopPrice) body.set("stop_price", Json(request.stopPrice->toString()));
    if (request.type == OrderType::trailingStop) {
        if (!request.trailAmount) {
            throw BrokerError::invalidOrder(
                QStringLiteral("A trailing stop needs how far behind the price it follows."));
        }
        body.set("trail_price", Json(request.trailAmount->toString()));
    }
}

Json cryptoPayload(const OrderRequest& request) {
    Json body = commonPayload(request, false);
    if (needsLimit(request.type) && request.limitPrice) body.set("limit_price", Json(request.limitPrice->toString()));
    if (needsStop(request.type) && request.stopPrice) body.set("stop_price", Json(request.stopPrice->toString()));
    if (request.clientOrderID) body.set("client_order_id", Json(*request.clientOrderID));
    return body;
}

Json optionPayload(const OrderRequest& request) {
    Json body = commonPayload(request, true);
    setPrices(body, request);
    body.set("position_intent", Json(positionIntent(request.side)));
    return body;
}

Json stockPayload(const OrderRequest& request) {
    Json body = commonPayload(request, true);
    setPrices(body, request);
    if (request.session == OrderSession::extended) body.set("extended_hours", Json(true));
    if (request.takeProfit || request.stopLoss) {
        // Exits on shares already held go in as a one-cancels-other pair; an entry carries them
        // as a bracket.
        body.set("order_class", Json(request.isExitPair() ? "oco" : "bracket"));
        if (request.takeProfit) {
            Json takeProfit = Json::object();
            takeProfit.set("limit_price", Json(request.takeProfit->toString()));
            body.set("take_profit", std::move(takeProfit));
        }
        if (request.stopLoss) {
            Json stopLoss = Json::object();
            stopLoss.set("stop_price", Json(request.stopLoss->toString()));
            body.set("stop_loss", std::move(stopLoss));
        }
    }
    return body;
}

QString orderPath(const QString& orderID) { return ordersPath + QLatin1Char('/') + orderID; }

}  // namespace

Json AlpacaBroker::payload(const OrderRequest& request) {
    switch (request.assetType) {
        case AssetType::option:
            return optionPayload(request);
        case AssetType::crypto:
            return cryptoPayload(request);
        default:
            return stockPayload(request);
    }
}

QCoro::Task<Order> AlpacaBroker::placeOrder(OrderRequest request, QString accountID) {
    // The plain rules first, in the words every broker uses; contracts have their own wording for
    // counts, given by `check`.
    if (auto problem = request.pricingProblem()) throw BrokerError::invalidOrder(*problem);
    if (request.assetType != AssetType::option) {
        // Coins also meet their own pair rules here.
        if (auto problem = request.shareProblem()) throw BrokerError::invalidOrder(*problem);
    }
    const bool needsAccount = request.assetType == AssetType::crypto ||
                              (request.assetType == AssetType::option && isBuy(request.side));
    if (needsAccount && !account_) co_await readAccount();
    if (auto problem = check(request, currentTime())) throw BrokerError::invalidOrder(*problem);
    if (request.assetType == AssetType::crypto && !isBuy(request.side)) {
        if (auto problem = co_await cryptoSaleProblem(request)) throw BrokerError::invalidOrder(*problem);
    }

    const Json body = payload(request);
    // Sent once: an answer lost on the way may still have placed the order, so it is never resent.
    const QByteArray answer = co_await transport_.post(AlpacaHost::trading, ordersPath, body);
    const auto placed = AlpacaDTO::decode<AlpacaDTO::Order>(answer, "Order");
    co_return AlpacaMapping::order(placed, ownAccountID(accountID));
}

QCoro::Task<void> AlpacaBroker::cancelOrder(QString orderID, QString /*accountID*/) {
    co_await transport_.del(AlpacaHost::trading, orderPath(orderID));
}

QCoro::Task<std::vector<Order>> AlpacaBroker::orders(QString accountID, std::optional<Date> since) {
    // GCC builds coroutine arguments badly from braced lists, so queries are named first.
    const AlpacaQuery openQuery{{QStringLiteral("status"), QStringLiteral("open")},
                                {QStringLiteral("limit"), QStringLiteral("500")},
                                {QStringLiteral("nested"), QStringLiteral("true")}};
    const QByteArray open = co_await transport_.get(AlpacaHost::trading, ordersPath, openQuery);
    AlpacaQuery recentQuery{{QStringLiteral("status"), QStringLiteral("all")},
                            {QStringLiteral("limit"), QStringLiteral("100")},
                            {QStringLiteral("nested"), QStringLiteral("true")}};
    if (since) recentQuery.append({QStringLiteral("after"), since->toIso()});
    const QByteArray recent = co_await transport_.get(AlpacaHost::trading, ordersPath, recentQuery);

    // Open orders show up in both lists; each is kept once, the open list first.
    const QString owner = ownAccountID(accountID);
    std::vector<Order> combined;
    std::set<QString> seen;
    for (const QByteArray* body : {&open, &recent}) {
        for (const auto& dto : AlpacaDTO::decode<std::vector<AlpacaDTO::Order>>(*body, "Array<Order>")) {
            if (!seen.insert(dto.id).second) continue;
            combined.push_back(AlpacaMapping::order(dto, owner));
        }
    }
    co_return combined;
}

QCoro::Task<std::vector<Order>> AlpacaBroker::orderHistory(QString accountID) {
    const AlpacaQuery query{{QStringLiteral("status"), QStringLiteral("all")},
                            {QStringLiteral("limit"), QStringLiteral("500")},
                            {QStringLiteral("nested"), QStringLiteral("true")}};
    const QByteArray body = co_await transport_.get(AlpacaHost::trading, ordersPath, query);
    const QString owner = ownAccountID(accountID);
    std::vector<Order> mapped;
    for (const auto& dto : AlpacaDTO::decode<std::vector<AlpacaDTO::Order>>(body, "Array<Order>")) {
        mapped.push_back(AlpacaMapping::order(dto, owner));
    }
    co_return mapped;
}

QCoro::Task<Order> AlpacaBroker::order(QString orderID, QString accountID) {
    const AlpacaQuery query{{QStringLiteral("nested"), QStringLiteral("true")}};
    const QByteArray body = co_await transport_.get(AlpacaHost::trading, orderPath(orderID), query);
    co_return AlpacaMapping::order(AlpacaDTO::decode<AlpacaDTO::Order>(body, "Order"), ownAccountID(accountID));
}

QCoro::Task<Order> AlpacaBroker::orderByClientID(QString clientOrderID, QString accountID) {
    const AlpacaQuery query{{QStringLiteral("client_order_id"), clientOrderID}};
    const QByteArray body =
        co_await transport_.get(AlpacaHost::trading, QStringLiteral("/v2/orders:by_client_order_id"), query);
    co_return AlpacaMapping::order(AlpacaDTO::decode<AlpacaDTO::Order>(body, "Order"), ownAccountID(accountID));
}

QCoro::Task<std::vector<Fill>> AlpacaBroker::fills(QString /*accountID*/, std::optional<Date> since) {
    constexpr int pageSize = 100;
    AlpacaQuery query{{QStringLiteral("activity_types"), QStringLiteral("FILL")},
                      {QStringLiteral("direction"), QStringLiteral("desc")},
                      {QStringLiteral("page_size"), QString::number(pageSize)}};
    if (since) query.append({QStringLiteral("after"), since->toIso()});

    // The activity list carries no token of its own: the next page starts after the id of the
    // last activity read, and a full page means there may be more.
    std::vector<Fill> read;
    std::optional<QString> token;
    int pages = 0;
    for (;;) {
        AlpacaQuery asked = query;
        if (token) asked.append({QStringLiteral("page_token"), *token});
        const QByteArray body =
            co_await transport_.get(AlpacaHost::trading, QStringLiteral("/v2/account/activities"), asked);
        const auto activities = AlpacaDTO::decode<std::vector<AlpacaDTO::Activity>>(body, "Array<Activity>");
        for (const auto& activity : activities) {
            if (auto fill = AlpacaMapping::fill(activity)) read.push_back(std::move(*fill));
        }
        if (activities.size() < static_cast<std::size_t>(pageSize)) break;
        const QString next = activities.back().id;
        if (next.isEmpty()) break;
        ++pages;
        if ((token && next == *token) || pages >= AlpacaTransport::maxPages) {
            throw BrokerError::decoding(AlpacaTransport::pagingMessage(pages));
        }
        token = next;
    }
    co_return read;
}

QCoro::Task<Order> AlpacaBroker::replaceOrder(QString orderID, QString accountID, std::optional<Decimal> limitPrice,
                                              std::optional<Decimal> stopPrice) {
    if (!limitPrice && !stopPrice) {
        throw BrokerError::invalidOrder(QStringLiteral("there's no new price to move it to."));
    }
    if ((limitPrice && !limitPrice->isPositive()) || (stopPrice && !stopPrice->isPositive())) {
        throw BrokerError::invalidOrder(QStringLiteral("a price has to be over zero."));
    }
    Json body = Json::object();
    if (limitPrice) body.set("limit_price", Json(limitPrice->toString()));
    if (stopPrice) body.set("stop_price", Json(stopPrice->toString()));
    const QByteArray answer = co_await transport_.patch(AlpacaHost::trading, orderPath(orderID), body);
    co_return AlpacaMapping::order(AlpacaDTO::decode<AlpacaDTO::Order>(answer, "Order"), ownAccountID(accountID));
}

QString AlpacaBroker::ownAccountID(const QString& asked) const {
    if (!asked.isEmpty()) return asked;
    return account_ ? account_->accountNumber : QString();
}

}  // namespace tavix
