#include "support/FakeAlpaca.h"

#include "market/Date.h"

#include <algorithm>
#include <utility>

namespace tavix::test {

namespace {

QString text(const Json& object, std::string_view key) {
    return FakeAlpaca::field(object, key);
}

// Replaces a member, or appends it when absent.
void put(Json& object, const std::string& key, Json value) {
    for (auto& member : object.members()) {
        if (member.first == key) {
            member.second = std::move(value);
            return;
        }
    }
    object.set(key, std::move(value));
}

Json stringOrNull(const QString& value) {
    return value.isEmpty() ? Json() : Json(value);
}

std::optional<Date> timeOf(const Json& object, std::string_view key) {
    return Date::parseIso(text(object, key));
}

bool isClosedStatus(const QString& status) {
    static const QStringList closed = {
        QStringLiteral("filled"),   QStringLiteral("canceled"), QStringLiteral("expired"),
        QStringLiteral("replaced"), QStringLiteral("rejected"), QStringLiteral("done_for_day"),
    };
    return closed.contains(status);
}

QString assetClassOf(const QString& symbol) {
    if (symbol.contains(u'/')) return QStringLiteral("crypto");
    // An OCC contract symbol: root, six date digits, C or P, eight strike digits.
    if (symbol.size() > 15) {
        const QChar right = symbol.at(symbol.size() - 9);
        if (right == u'C' || right == u'P') return QStringLiteral("us_option");
    }
    return QStringLiteral("us_equity");
}

HttpResponse notFound() {
    return HttpResponse::json(404, FakeAlpaca::error(40410000, QStringLiteral("Not Found")));
}

}  // namespace

QString FakeAlpaca::field(const Json& object, std::string_view key) {
    const Json* value = object.find(key);
    if (!value) return {};
    if (value->isString()) return value->toQString();
    if (value->isNumber()) return QString::fromStdString(value->numberText());
    return {};
}

FakeAlpaca::FakeAlpaca() : server_([this](const HttpRequest& request) { return handle(request); }) {
    setUpState();
}

AlpacaEndpoints FakeAlpaca::endpoints() const {
    QUrl stream = url();
    stream.setScheme(QStringLiteral("ws"));
    return AlpacaEndpoints(url(), url(), stream);
}

std::vector<HttpRequest> FakeAlpaca::requests(const QByteArray& method, const QString& path) const {
    std::vector<HttpRequest> found;
    for (const HttpRequest& r : server_.requests()) {
        if (r.method == method && r.path == path) found.push_back(r);
    }
    return found;
}

int FakeAlpaca::count(const QByteArray& method, const QString& path) const {
    return static_cast<int>(requests(method, path).size());
}

void FakeAlpaca::stage(Match match, HttpResponse response, int times) {
    staged_.push_back({std::move(match), std::move(response), times});
}

FakeAlpaca::Match FakeAlpaca::on(QByteArray method, QString pathPrefix) {
    return [method = std::move(method), prefix = std::move(pathPrefix)](const HttpRequest& r) {
        return r.method == method && r.path.startsWith(prefix);
    };
}

void FakeAlpaca::rateLimit(Match match, std::optional<int> retryAfter, int times) {
    HttpResponse response = HttpResponse::json(429, error(42910000, QStringLiteral("rate limit exceeded")));
    if (retryAfter) response.withHeader("Retry-After", QByteArray::number(*retryAfter));
    stage(std::move(match), std::move(response), times);
}

void FakeAlpaca::fail(Match match, int status, int code, QString message, Json::Object extra, int times) {
    Json body = Json::object();
    for (auto& member : extra) body.set(member.first, std::move(member.second));
    body.set("code", code);
    body.set("message", message);
    stage(std::move(match), HttpResponse::json(status, body), times);
}

void FakeAlpaca::garble(Match match, QByteArray body, int status, int times) {
    stage(std::move(match), HttpResponse::text(status, std::move(body), "text/html"), times);
}

void FakeAlpaca::slow(Match match, std::chrono::milliseconds delay, int times) {
    // A marker answer: the route still answers, only late.
    HttpResponse response;
    response.status = 0;
    response.delay = delay;
    stage(std::move(match), std::move(response), times);
}

void FakeAlpaca::drop(Match match, int times) {
    stage(std::move(match), HttpResponse::dropped(), times);
}

void FakeAlpaca::setPaging(QString pathPrefix, Paging paging) {
    paging_.emplace_back(std::move(pathPrefix), paging);
}

FakeAlpaca::Paging FakeAlpaca::pagingFor(const QString& path) const {
    Paging found = Paging::normal;
    for (const auto& [prefix, paging] : paging_) {
        if (path.startsWith(prefix)) found = paging;
    }
    return found;
}

HttpResponse FakeAlpaca::handle(const HttpRequest& request) {
    for (auto it = staged_.begin(); it != staged_.end(); ++it) {
        if (!it->match(request)) continue;
        HttpResponse response = it->response;
        if (it->times > 0 && --it->times == 0) staged_.erase(it);
        if (response.status == 0 && response.delivery == HttpResponse::Delivery::answer) {
            const auto delay = response.delay;
            return route(request).after(delay);
        }
        return response;
    }
    return route(request);
}

HttpResponse FakeAlpaca::route(const HttpRequest& request) {
    if (request.header("APCA-API-KEY-ID") != key.toUtf8() ||
        request.header("APCA-API-SECRET-KEY") != secret.toUtf8()) {
        return HttpResponse::json(401, Json(Json::Object{{"message", Json("unauthorized")}}));
    }
    const bool data = request.path.startsWith(QStringLiteral("/v2/stocks")) ||
                      request.path.startsWith(QStringLiteral("/v1beta1/")) ||
                      request.path.startsWith(QStringLiteral("/v1beta3/"));
    if (!data) return tradingRoute(request);
    HttpResponse response = dataRoute(request);
    // The data host reports its own limit on every answer.
    response.withHeader("X-RateLimit-Limit", "200").withHeader("X-RateLimit-Remaining", "199");
    return response;
}

// ---- Paging

FakeAlpaca::Page FakeAlpaca::page(const HttpRequest& request, qsizetype itemCount) const {
    Page result;
    qsizetype limit = defaultPageSize;
    const auto limitText = request.queryValue(QStringLiteral("limit"));
    if (limitText && limitText->toLongLong() > 0) limit = limitText->toLongLong();
    limit = std::max<qsizetype>(limit, 1);

    const auto token = request.queryValue(QStringLiteral("page_token"));
    qsizetype offset = 0;
    if (token) {
        const QByteArray decoded = QByteArray::fromBase64(token->toLatin1());
        offset = decoded.startsWith("offset:") ? decoded.mid(7).toLongLong() : 0;
    }
    result.from = std::min(offset, itemCount);
    result.to = std::min(offset + limit, itemCount);
    const auto tokenFor = [](qsizetype at) {
        return Json(QString::fromLatin1(QByteArray("offset:" + QByteArray::number(at)).toBase64()));
    };
    switch (pagingFor(request.path)) {
        case Paging::normal:
            if (result.to < itemCount) result.token = tokenFor(result.to);
            break;
        case Paging::repeatToken:
            result.token = token ? Json(*token) : tokenFor(offset + limit);
            break;
        case Paging::endless:
            result.token = tokenFor(offset + limit);
            break;
    }
    return result;
}

// ---- Trading host

HttpResponse FakeAlpaca::tradingRoute(const HttpRequest& request) {
    const QStringList parts = request.path.split(u'/', Qt::SkipEmptyParts);
    const QByteArray& method = request.method;
    if (parts.size() < 2 || parts[0] != QStringLiteral("v2")) return notFound();
    const QString& root = parts[1];

    if (root == QStringLiteral("account") && parts.size() == 2 && method == "GET") {
        return HttpResponse::json(200, account);
    }
    if (root == QStringLiteral("account") && parts.size() == 3 && parts[2] == QStringLiteral("activities") &&
        method == "GET") {
        return activitiesRoute(request);
    }
    if (root == QStringLiteral("clock") && method == "GET") return HttpResponse::json(200, clock);
    if (root == QStringLiteral("positions") && method == "GET") {
        if (parts.size() == 2) return HttpResponse::json(200, Json(Json::Array(positions)));
        for (const Json& p : positions) {
            if (text(p, "symbol") == parts.mid(2).join(u'/')) return HttpResponse::json(200, p);
        }
        return HttpResponse::json(404, error(40410000, QStringLiteral("position does not exist")));
    }
    if (root.startsWith(QStringLiteral("orders"))) return ordersRoute(request, parts);
    if (root == QStringLiteral("assets") && method == "GET") {
        if (parts.size() == 2) {
            const QString status = request.queryValue(QStringLiteral("status")).value_or(QString());
            const QString assetClass = request.queryValue(QStringLiteral("asset_class")).value_or(QString());
            Json list = Json::array();
            for (const Json& a : assets) {
                if (!status.isEmpty() && text(a, "status") != status) continue;
                if (!assetClass.isEmpty() && text(a, "class") != assetClass) continue;
                list.push(a);
            }
            return HttpResponse::json(200, list);
        }
        // "BTC/USD" may come as two path parts, or as "BTCUSD".
        const QString wanted = parts.mid(2).join(u'/');
        for (const Json& a : assets) {
            const QString symbol = text(a, "symbol");
            if (symbol == wanted || QString(symbol).remove(u'/') == wanted) return HttpResponse::json(200, a);
        }
        return HttpResponse::json(404, error(40410000, QStringLiteral("asset not found for ") + wanted));
    }
    if (root == QStringLiteral("watchlists")) return watchlistsRoute(request, parts);
    if (root == QStringLiteral("options") && parts.size() == 3 && parts[2] == QStringLiteral("contracts") &&
        method == "GET") {
        return optionContractsRoute(request);
    }
    return notFound();
}

Json* FakeAlpaca::findOrder(const QString& id) {
    for (Json& o : orders) {
        if (text(o, "id") == id) return &o;
        const Json* legs = o.find("legs");
        if (!legs || !legs->isArray()) continue;
        for (auto& member : o.members()) {
            if (member.first != "legs") continue;
            for (Json& leg : member.second.items()) {
                if (text(leg, "id") == id) return &leg;
            }
        }
    }
    return nullptr;
}

HttpResponse FakeAlpaca::ordersRoute(const HttpRequest& request, const QStringList& parts) {
    const QByteArray& method = request.method;
    if (parts[1] == QStringLiteral("orders:by_client_order_id") && method == "GET") {
        const QString wanted = request.queryValue(QStringLiteral("client_order_id")).value_or(QString());
        for (const Json& o : orders) {
            if (text(o, "client_order_id") == wanted) return HttpResponse::json(200, o);
        }
        return HttpResponse::json(404, error(40410000, QStringLiteral("order not found")));
    }
    if (parts[1] != QStringLiteral("orders")) return notFound();
    if (parts.size() == 2) {
        if (method == "GET") return listOrders(request);
        if (method == "POST") return placeOrder(request);
        return notFound();
    }
    const QString id = parts[2];
    if (method == "GET") {
        const Json* found = findOrder(id);
        if (!found) return HttpResponse::json(404, error(40410000, QStringLiteral("order not found")));
        return HttpResponse::json(200, *found);
    }
    if (method == "DELETE") return cancelOrder(id);
    if (method == "PATCH") return replaceOrder(request, id);
    return notFound();
}

HttpResponse FakeAlpaca::listOrders(const HttpRequest& request) {
    const QString status = request.queryValue(QStringLiteral("status")).value_or(QStringLiteral("open"));
    const bool nested = request.queryValue(QStringLiteral("nested")) == QStringLiteral("true");
    const bool ascending = request.queryValue(QStringLiteral("direction")) == QStringLiteral("asc");
    const auto after = Date::parseIso(request.queryValue(QStringLiteral("after")).value_or(QString()));
    const auto until = Date::parseIso(request.queryValue(QStringLiteral("until")).value_or(QString()));
    const qsizetype limit = std::clamp<qsizetype>(
        request.queryValue(QStringLiteral("limit")).value_or(QStringLiteral("50")).toLongLong(), 1, 500);

    std::vector<Json> listed;
    for (const Json& parent : orders) {
        std::vector<Json> family;
        if (nested) {
            family.push_back(parent);
        } else {
            Json bare = parent;
            put(bare, "legs", Json());
            family.push_back(bare);
            if (const Json* legs = parent.find("legs"); legs && legs->isArray()) {
                for (const Json& leg : legs->items()) family.push_back(leg);
            }
        }
        for (const Json& o : family) {
            const bool closed = isClosedStatus(text(o, "status"));
            if ((status == QStringLiteral("open") && closed) ||
                (status == QStringLiteral("closed") && !closed))
                continue;
            const auto submitted = timeOf(o, "submitted_at");
            if (after && (!submitted || *submitted <= *after)) continue;
            if (until && (!submitted || *submitted >= *until)) continue;
            listed.push_back(o);
        }
    }
    // Newest first unless asked otherwise; `orders` is kept oldest first.
    if (!ascending) std::reverse(listed.begin(), listed.end());
    if (static_cast<qsizetype>(listed.size()) > limit) listed.resize(static_cast<std::size_t>(limit));
    return HttpResponse::json(200, Json(Json::Array(std::move(listed))));
}

Json FakeAlpaca::newOrder(const Json& body, const QString& symbol) {
    const QString id = QStringLiteral("7b08df51-0000-4000-8000-%1").arg(nextID_++, 12, 10, QChar(u'0'));
    const QString type = text(body, "type");
    const QString assetClass = assetClassOf(symbol);
    Json o = Json::object();
    o.set("id", id);
    const QString clientID = text(body, "client_order_id");
    o.set("client_order_id",
          clientID.isEmpty() ? QStringLiteral("c0ffee00-0000-4000-8000-%1").arg(id.right(12)) : clientID);
    o.set("created_at", now);
    o.set("updated_at", now);
    o.set("submitted_at", now);
    o.set("filled_at", Json());
    o.set("expired_at", Json());
    o.set("canceled_at", Json());
    o.set("failed_at", Json());
    o.set("replaced_at", Json());
    o.set("replaced_by", Json());
    o.set("replaces", Json());
    o.set("asset_id", QStringLiteral("b0b6dd9d-8b9b-48a9-ba46-b9d54906e415"));
    o.set("symbol", symbol);
    o.set("asset_class", assetClass);
    o.set("notional", stringOrNull(text(body, "notional")));
    o.set("qty", stringOrNull(text(body, "qty")));
    o.set("filled_qty", "0");
    o.set("filled_avg_price", Json());
    o.set("order_class", text(body, "order_class"));
    o.set("order_type", type);
    o.set("type", type);
    o.set("side", text(body, "side"));
    if (assetClass == QStringLiteral("us_option"))
        o.set("position_intent", stringOrNull(text(body, "position_intent")));
    o.set("time_in_force", text(body, "time_in_force"));
    o.set("limit_price", stringOrNull(text(body, "limit_price")));
    o.set("stop_price", stringOrNull(text(body, "stop_price")));
    o.set("status", newOrderStatus);
    const Json* extended = body.find("extended_hours");
    o.set("extended_hours", extended && extended->isBool() && extended->toBool());
    o.set("legs", Json());
    o.set("trail_percent", stringOrNull(text(body, "trail_percent")));
    o.set("trail_price", stringOrNull(text(body, "trail_price")));
    o.set("hwm", Json());
    return o;
}

HttpResponse FakeAlpaca::placeOrder(const HttpRequest& request) {
    Json body;
    try {
        body = request.json();
    } catch (const JsonError&) {
        return HttpResponse::json(400, error(40010000, QStringLiteral("request body format is invalid")));
    }
    if (!body.isObject())
        return HttpResponse::json(400, error(40010000, QStringLiteral("request body format is invalid")));
    for (const char* required : {"symbol", "side", "type", "time_in_force"}) {
        if (text(body, required).isEmpty()) {
            return HttpResponse::json(
                422, error(42210000, QString::fromLatin1(required) + QStringLiteral(" is required")));
        }
    }
    if (text(body, "qty").isEmpty() && text(body, "notional").isEmpty()) {
        return HttpResponse::json(422, error(42210000, QStringLiteral("qty or notional is required")));
    }
    const QString clientID = text(body, "client_order_id");
    if (!clientID.isEmpty()) {
        for (const Json& o : orders) {
            if (text(o, "client_order_id") == clientID) {
                return HttpResponse::json(422,
                                          error(40010001, QStringLiteral("client_order_id must be unique")));
            }
        }
    }
    const QString symbol = text(body, "symbol");
    Json order = newOrder(body, symbol);
    if (text(body, "order_class") == QStringLiteral("bracket")) {
        // The exits wait, held, under the entry.
        const QString exitSide =
            text(body, "side") == QStringLiteral("buy") ? QStringLiteral("sell") : QStringLiteral("buy");
        Json legs = Json::array();
        if (const Json* takeProfit = body.find("take_profit")) {
            Json leg = newOrder(Json(Json::Object{{"symbol", Json(symbol)},
                                                  {"qty", Json(text(body, "qty"))},
                                                  {"side", Json(exitSide)},
                                                  {"type", Json("limit")},
                                                  {"time_in_force", Json(text(body, "time_in_force"))},
                                                  {"limit_price", Json(text(*takeProfit, "limit_price"))}}),
                                symbol);
            put(leg, "status", Json("held"));
            put(leg, "order_class", Json("bracket"));
            legs.push(leg);
        }
        if (const Json* stopLoss = body.find("stop_loss")) {
            const QString limit = text(*stopLoss, "limit_price");
            Json leg = newOrder(Json(Json::Object{{"symbol", Json(symbol)},
                                                  {"qty", Json(text(body, "qty"))},
                                                  {"side", Json(exitSide)},
                                                  {"type", Json(limit.isEmpty() ? "stop" : "stop_limit")},
                                                  {"time_in_force", Json(text(body, "time_in_force"))},
                                                  {"stop_price", Json(text(*stopLoss, "stop_price"))},
                                                  {"limit_price", stringOrNull(limit)}}),
                                symbol);
            put(leg, "status", Json("held"));
            put(leg, "order_class", Json("bracket"));
            legs.push(leg);
        }
        put(order, "legs", legs);
    }
    orders.push_back(order);
    return HttpResponse::json(200, order);
}

HttpResponse FakeAlpaca::replaceOrder(const HttpRequest& request, const QString& id) {
    Json* old = findOrder(id);
    if (!old) return HttpResponse::json(404, error(40410000, QStringLiteral("order not found")));
    if (isClosedStatus(text(*old, "status"))) {
        return HttpResponse::json(422, error(42210000, QStringLiteral("order is not replaceable")));
    }
    Json body;
    try {
        body = request.json();
    } catch (const JsonError&) {
        return HttpResponse::json(400, error(40010000, QStringLiteral("request body format is invalid")));
    }
    Json fresh = *old;
    const QString newID = QStringLiteral("7b08df51-0000-4000-8000-%1").arg(nextID_++, 12, 10, QChar(u'0'));
    put(fresh, "id", Json(newID));
    put(fresh, "client_order_id", Json(QStringLiteral("c0ffee00-0000-4000-8000-%1").arg(newID.right(12))));
    for (const char* field : {"qty", "limit_price", "stop_price", "trail", "time_in_force"}) {
        const QString value = text(body, field);
        if (!value.isEmpty())
            put(fresh, field == std::string_view("trail") ? "trail_price" : field, Json(value));
    }
    put(fresh, "replaces", Json(id));
    put(fresh, "status", Json(newOrderStatus));
    put(fresh, "created_at", Json(now));
    put(fresh, "submitted_at", Json(now));
    put(fresh, "updated_at", Json(now));
    put(*old, "status", Json("replaced"));
    put(*old, "replaced_by", Json(newID));
    put(*old, "replaced_at", Json(now));
    orders.push_back(fresh);
    return HttpResponse::json(200, fresh);
}

HttpResponse FakeAlpaca::cancelOrder(const QString& id) {
    Json* found = findOrder(id);
    if (!found) return HttpResponse::json(404, error(40410000, QStringLiteral("order not found")));
    if (isClosedStatus(text(*found, "status"))) {
        return HttpResponse::json(422, error(42210000, QStringLiteral("order is not cancelable")));
    }
    put(*found, "status", Json("canceled"));
    put(*found, "canceled_at", Json(now));
    return HttpResponse::empty(204);
}

Json FakeAlpaca::watchlistJson(const Json& list, bool withAssets) const {
    Json shown = Json::object();
    for (const auto& [name, value] : list.members()) {
        if (name == "assets" && !withAssets) continue;
        shown.set(name, value);
    }
    return shown;
}

HttpResponse FakeAlpaca::watchlistsRoute(const HttpRequest& request, const QStringList& parts) {
    const QByteArray& method = request.method;
    const auto assetFor = [this](const QString& symbol) {
        for (const Json& a : assets) {
            if (text(a, "symbol") == symbol) return a;
        }
        return asset(symbol, QString(), assetClassOf(symbol));
    };
    const auto readBody = [&request]() -> std::optional<Json> {
        try {
            Json body = request.json();
            if (body.isObject()) return body;
        } catch (const JsonError&) {
        }
        return std::nullopt;
    };
    const auto badBody = [] {
        return HttpResponse::json(400, error(40010000, QStringLiteral("request body format is invalid")));
    };

    if (parts.size() == 2) {
        if (method == "GET") {
            Json listing = Json::array();
            for (const Json& w : watchlists) listing.push(watchlistJson(w, false));
            return HttpResponse::json(200, listing);
        }
        if (method == "POST") {
            const auto body = readBody();
            if (!body) return badBody();
            const QString name = text(*body, "name");
            for (const Json& w : watchlists) {
                if (text(w, "name") == name) {
                    return HttpResponse::json(
                        422, error(40010001, QStringLiteral("watchlist name must be unique")));
                }
            }
            Json list = Json::object();
            list.set("id", QStringLiteral("3174d6df-0000-4000-8000-%1").arg(nextID_++, 12, 10, QChar(u'0')));
            list.set("account_id", text(account, "id"));
            list.set("created_at", now);
            list.set("updated_at", now);
            list.set("name", name);
            Json listAssets = Json::array();
            if (const Json* symbols = body->find("symbols"); symbols && symbols->isArray()) {
                for (const Json& s : symbols->items()) listAssets.push(assetFor(s.toQString()));
            }
            list.set("assets", listAssets);
            watchlists.push_back(list);
            return HttpResponse::json(200, list);
        }
        return notFound();
    }

    Json* list = nullptr;
    for (Json& w : watchlists) {
        if (text(w, "id") == parts[2]) list = &w;
    }
    if (!list) return HttpResponse::json(404, error(40410000, QStringLiteral("watchlist not found")));
    Json* listAssets = nullptr;
    for (auto& member : list->members()) {
        if (member.first == "assets") listAssets = &member.second;
    }
    if (!listAssets) listAssets = &list->set("assets", Json::array()).members().back().second;

    if (parts.size() == 3) {
        if (method == "GET") return HttpResponse::json(200, *list);
        if (method == "POST") {
            const auto body = readBody();
            if (!body) return badBody();
            const QString symbol = text(*body, "symbol");
            for (const Json& a : listAssets->items()) {
                if (text(a, "symbol") == symbol) {
                    return HttpResponse::json(
                        422, error(42210000, QStringLiteral("symbol already exists in watchlist")));
                }
            }
            listAssets->push(assetFor(symbol));
            put(*list, "updated_at", Json(now));
            return HttpResponse::json(200, *list);
        }
        if (method == "PUT") {
            const auto body = readBody();
            if (!body) return badBody();
            if (body->contains("name")) put(*list, "name", Json(text(*body, "name")));
            Json fresh = Json::array();
            if (const Json* symbols = body->find("symbols"); symbols && symbols->isArray()) {
                for (const Json& s : symbols->items()) fresh.push(assetFor(s.toQString()));
            }
            *listAssets = fresh;
            put(*list, "updated_at", Json(now));
            return HttpResponse::json(200, *list);
        }
        if (method == "DELETE") {
            const QString gone = text(*list, "id");
            std::erase_if(watchlists, [&gone](const Json& w) { return text(w, "id") == gone; });
            return HttpResponse::empty(204);
        }
        return notFound();
    }
    if (method == "DELETE") {
        const QString symbol = parts.mid(3).join(u'/');
        auto& items = listAssets->items();
        const auto before = items.size();
        std::erase_if(items, [&symbol](const Json& a) { return text(a, "symbol") == symbol; });
        if (items.size() == before)
            return HttpResponse::json(404, error(40410000, QStringLiteral("symbol not found")));
        put(*list, "updated_at", Json(now));
        return HttpResponse::json(200, *list);
    }
    return notFound();
}

HttpResponse FakeAlpaca::activitiesRoute(const HttpRequest& request) {
    QStringList types;
    if (const auto asked = request.queryValue(QStringLiteral("activity_types"))) {
        types = asked->split(u',', Qt::SkipEmptyParts);
    }
    const bool ascending = request.queryValue(QStringLiteral("direction")) == QStringLiteral("asc");
    const auto after = Date::parseIso(request.queryValue(QStringLiteral("after")).value_or(QString()));
    const qsizetype pageSize = std::clamp<qsizetype>(
        request.queryValue(QStringLiteral("page_size")).value_or(QStringLiteral("100")).toLongLong(), 1, 100);
    const QString token = request.queryValue(QStringLiteral("page_token")).value_or(QString());

    std::vector<Json> listed;
    for (const Json& a : activities) {
        if (!types.isEmpty() && !types.contains(text(a, "activity_type"))) continue;
        auto at = timeOf(a, "transaction_time");
        if (!at) at = timeOf(a, "date");
        if (after && (!at || *at <= *after)) continue;
        listed.push_back(a);
    }
    if (ascending) std::reverse(listed.begin(), listed.end());
    // The page token is the id of the last activity already read.
    auto start = listed.begin();
    if (!token.isEmpty()) {
        start = std::find_if(listed.begin(), listed.end(),
                             [&token](const Json& a) { return text(a, "id") == token; });
        if (start != listed.end()) ++start;
    }
    Json answer = Json::array();
    for (auto it = start; it != listed.end() && static_cast<qsizetype>(answer.size()) < pageSize; ++it)
        answer.push(*it);
    return HttpResponse::json(200, answer);
}

HttpResponse FakeAlpaca::optionContractsRoute(const HttpRequest& request) {
    const QStringList underlyings = request.queryValue(QStringLiteral("underlying_symbols"))
                                        .value_or(QString())
                                        .split(u',', Qt::SkipEmptyParts);
    const QString status = request.queryValue(QStringLiteral("status")).value_or(QStringLiteral("active"));
    const QString from = request.queryValue(QStringLiteral("expiration_date_gte")).value_or(QString());
    const QString to = request.queryValue(QStringLiteral("expiration_date_lte")).value_or(QString());
    const QString type = request.queryValue(QStringLiteral("type")).value_or(QString());

    std::vector<Json> listed;
    for (const Json& c : optionContracts) {
        if (!underlyings.isEmpty() && !underlyings.contains(text(c, "underlying_symbol"))) continue;
        if (text(c, "status") != status) continue;
        const QString expiry = text(c, "expiration_date");
        if (!from.isEmpty() && expiry < from) continue;
        if (!to.isEmpty() && expiry > to) continue;
        if (!type.isEmpty() && text(c, "type") != type) continue;
        listed.push_back(c);
    }
    const Page p = page(request, static_cast<qsizetype>(listed.size()));
    Json items = Json::array();
    for (qsizetype i = p.from; i < p.to; ++i) items.push(listed[static_cast<std::size_t>(i)]);
    Json answer = Json::object();
    answer.set("option_contracts", items);
    answer.set("next_page_token", p.token);
    return HttpResponse::json(200, answer);
}

}  // namespace tavix::test
