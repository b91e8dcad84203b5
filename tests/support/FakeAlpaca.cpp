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
Json& put(Json& object, const std::string& key, Json value) {
    for (auto& member : object.members()) {
        if (member.first == key) {
            member.second = std::move(value);
            return object;
        }
    }
    return object.set(key, std::move(value));
}

Json stringOrNull(const QString& value) {
    return value.isEmpty() ? Json() : Json(value);
}

bool isClosedStatus(const QString& status) {
    static const QStringList closed = {
        QStringLiteral("filled"),   QStringLiteral("canceled"), QStringLiteral("expired"),
        QStringLiteral("replaced"), QStringLiteral("rejected"), QStringLiteral("done_for_day"),
    };
    return closed.contains(status);
}

HttpResponse notFound(const QString& message = QStringLiteral("Not Found")) {
    return HttpResponse::json(404, FakeAlpaca::error(40410000, message));
}

std::optional<Json> bodyObject(const HttpRequest& request) {
    try {
        Json body = request.json();
        if (body.isObject()) return body;
    } catch (const JsonError&) {
    }
    return std::nullopt;
}

HttpResponse badBody() {
    return HttpResponse::json(400,
                              FakeAlpaca::error(40010000, QStringLiteral("request body format is invalid")));
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
                      request.path.startsWith(QStringLiteral("/v1beta"));
    return data ? dataRoute(request) : tradingRoute(request);
}

// Tokens carry the offset of the next page.
FakeAlpaca::Page FakeAlpaca::page(const HttpRequest& request, qsizetype items) const {
    Paging paging = Paging::normal;
    for (const auto& [prefix, chosen] : paging_) {
        if (request.path.startsWith(prefix)) paging = chosen;
    }
    const qsizetype limit = std::max<qsizetype>(
        request.queryValue(QStringLiteral("limit")).value_or(QStringLiteral("1000")).toLongLong(), 1);
    const auto token = request.queryValue(QStringLiteral("page_token"));
    const qsizetype offset = token ? QByteArray::fromBase64(token->toLatin1()).toLongLong() : 0;
    const auto tokenFor = [](qsizetype at) {
        return Json(QString::fromLatin1(QByteArray::number(at).toBase64()));
    };
    Page result{std::min(offset, items), std::min(offset + limit, items), Json()};
    if (paging == Paging::repeatToken) {
        result.token = token ? Json(*token) : tokenFor(offset + limit);
    } else if (paging == Paging::endless || result.to < items) {
        result.token = tokenFor(offset + limit);
    }
    return result;
}

// ---- Trading host

HttpResponse FakeAlpaca::tradingRoute(const HttpRequest& request) {
    const QStringList parts = request.path.split(u'/', Qt::SkipEmptyParts);
    const QByteArray& method = request.method;
    if (parts.size() < 2 || parts[0] != QStringLiteral("v2")) return notFound();
    const QString& root = parts[1];
    const bool get = method == "GET";

    if (root == QStringLiteral("account") && get)
        return parts.size() == 2 ? HttpResponse::json(200, account) : activitiesRoute(request);
    if (root == QStringLiteral("clock") && get) return HttpResponse::json(200, clock);
    if (root == QStringLiteral("positions") && get)
        return HttpResponse::json(200, Json(Json::Array(positions)));
    if (root == QStringLiteral("orders") && parts.size() == 2) {
        if (get) return listOrders(request);
        if (method == "POST") return placeOrder(request);
    }
    if (root == QStringLiteral("assets") && get) {
        // "BTC/USD" may come as two path parts, or as "BTCUSD".
        const QString wanted = parts.mid(2).join(u'/');
        Json list = Json::array();
        for (const Json& a : assets) {
            const QString symbol = text(a, "symbol");
            if (parts.size() > 2 && (symbol == wanted || QString(symbol).remove(u'/') == wanted))
                return HttpResponse::json(200, a);
            const auto status = request.queryValue(QStringLiteral("status"));
            if (!status || text(a, "status") == *status) list.push(a);
        }
        return parts.size() > 2 ? notFound(QStringLiteral("asset not found for ") + wanted)
                                : HttpResponse::json(200, list);
    }
    if (root == QStringLiteral("watchlists")) return watchlistsRoute(request, parts);
    if (root == QStringLiteral("options") && get) return optionContractsRoute(request);
    return notFound();
}

HttpResponse FakeAlpaca::listOrders(const HttpRequest& request) {
    const QString status = request.queryValue(QStringLiteral("status")).value_or(QStringLiteral("open"));
    std::vector<Json> listed;
    for (const Json& o : orders) {
        const bool closed = isClosedStatus(text(o, "status"));
        if ((status == QStringLiteral("open") && closed) || (status == QStringLiteral("closed") && !closed))
            continue;
        listed.push_back(o);
    }
    // Newest first; `orders` is kept oldest first.
    std::reverse(listed.begin(), listed.end());
    return HttpResponse::json(200, Json(Json::Array(std::move(listed))));
}

Json FakeAlpaca::newOrder(const Json& body) {
    const QString id = QStringLiteral("7b08df51-0000-4000-8000-%1").arg(nextID_++, 12, 10, QChar(u'0'));
    const QString clientID = text(body, "client_order_id");
    Json o = order(id, text(body, "symbol"), text(body, "side"), text(body, "type"), text(body, "qty"),
                   QStringLiteral("accepted"));
    for (auto& [name, value] : o.members()) {
        if (name == "client_order_id" && !clientID.isEmpty()) value = Json(clientID);
        if (name == "qty") value = stringOrNull(text(body, "qty"));
        if (name == "time_in_force") value = Json(text(body, "time_in_force"));
        if (name == "limit_price") value = stringOrNull(text(body, "limit_price"));
        if (name == "stop_price") value = stringOrNull(text(body, "stop_price"));
        if (name == "order_class") value = Json(text(body, "order_class"));
    }
    return o;
}

HttpResponse FakeAlpaca::placeOrder(const HttpRequest& request) {
    const auto body = bodyObject(request);
    if (!body) return badBody();
    for (const char* required : {"symbol", "side", "type", "time_in_force"}) {
        if (text(*body, required).isEmpty())
            return HttpResponse::json(
                422, error(42210000, QString::fromLatin1(required) + QStringLiteral(" is required")));
    }
    Json placed = newOrder(*body);
    if (text(*body, "order_class") == QStringLiteral("bracket")) {
        // The exits wait, held, under the entry.
        const bool buy = text(*body, "side") == QStringLiteral("buy");
        Json legs = Json::array();
        for (const char* exit : {"take_profit", "stop_loss"}) {
            const Json* prices = body->find(exit);
            if (!prices) continue;
            Json leg = *body;
            put(leg, "side", Json(buy ? "sell" : "buy"));
            put(leg, "type", Json(std::string_view(exit) == "take_profit" ? "limit" : "stop"));
            put(leg, "limit_price", Json(text(*prices, "limit_price")));
            put(leg, "stop_price", Json(text(*prices, "stop_price")));
            legs.push(newOrder(leg));
        }
        put(placed, "legs", legs);
    }
    orders.push_back(placed);
    return HttpResponse::json(200, placed);
}

HttpResponse FakeAlpaca::watchlistsRoute(const HttpRequest& request, const QStringList& parts) {
    const QByteArray& method = request.method;
    const auto assetsFor = [this](const Json& body) {
        Json listAssets = Json::array();
        const Json* symbols = body.find("symbols");
        for (const Json& s : symbols && symbols->isArray() ? symbols->items() : Json::Array{}) {
            Json a = Json::object();
            a.set("symbol", s.toQString());
            for (const Json& known : assets) {
                if (text(known, "symbol") == s.toQString()) a = known;
            }
            listAssets.push(a);
        }
        return listAssets;
    };
    if (parts.size() == 2 && method == "GET") {
        Json listing = Json::array();
        for (Json w : watchlists) {
            // The listing leaves each list's assets out.
            auto& members = w.members();
            std::erase_if(members, [](const auto& m) { return m.first == "assets"; });
            listing.push(w);
        }
        return HttpResponse::json(200, listing);
    }
    if (parts.size() == 2 && method == "POST") {
        const auto body = bodyObject(request);
        if (!body) return badBody();
        Json list = Json::object();
        list.set("id", QStringLiteral("3174d6df-0000-4000-8000-%1").arg(nextID_++, 12, 10, QChar(u'0')));
        list.set("account_id", text(account, "id")).set("name", text(*body, "name"));
        list.set("assets", assetsFor(*body));
        watchlists.push_back(list);
        return HttpResponse::json(200, list);
    }
    for (Json& list : watchlists) {
        if (parts.size() != 3 || text(list, "id") != parts[2]) continue;
        if (method == "GET") return HttpResponse::json(200, list);
        const auto body = bodyObject(request);
        if (method != "PUT") break;
        if (!body) return badBody();
        put(put(list, "name", Json(text(*body, "name"))), "assets", assetsFor(*body));
        return HttpResponse::json(200, list);
    }
    return notFound(QStringLiteral("watchlist not found"));
}

// The page token is the id of the last activity already read.
HttpResponse FakeAlpaca::activitiesRoute(const HttpRequest& request) {
    const QStringList types = request.queryValue(QStringLiteral("activity_types"))
                                  .value_or(QString())
                                  .split(u',', Qt::SkipEmptyParts);
    const auto after = Date::parseIso(request.queryValue(QStringLiteral("after")).value_or(QString()));
    const qsizetype pageSize = std::min<qsizetype>(
        request.queryValue(QStringLiteral("page_size")).value_or(QStringLiteral("100")).toLongLong(), 100);
    const QString token = request.queryValue(QStringLiteral("page_token")).value_or(QString());
    bool reading = token.isEmpty();
    Json answer = Json::array();
    for (const Json& a : activities) {
        if (!reading) {
            reading = text(a, "id") == token;
            continue;
        }
        if (!types.isEmpty() && !types.contains(text(a, "activity_type"))) continue;
        const auto at = Date::parseIso(text(a, "transaction_time"));
        if (after && (!at || *at <= *after)) continue;
        if (static_cast<qsizetype>(answer.size()) < pageSize) answer.push(a);
    }
    return HttpResponse::json(200, answer);
}

HttpResponse FakeAlpaca::optionContractsRoute(const HttpRequest& request) {
    const QString underlying = request.queryValue(QStringLiteral("underlying_symbols")).value_or(QString());
    const QString from = request.queryValue(QStringLiteral("expiration_date_gte")).value_or(QString());
    const QString to = request.queryValue(QStringLiteral("expiration_date_lte")).value_or(QString());
    std::vector<Json> listed;
    for (const Json& c : optionContracts) {
        const QString expiry = text(c, "expiration_date");
        if (text(c, "underlying_symbol") != underlying || (!from.isEmpty() && expiry < from) ||
            (!to.isEmpty() && expiry > to))
            continue;
        listed.push_back(c);
    }
    const Page p = page(request, static_cast<qsizetype>(listed.size()));
    Json answer = Json::object();
    answer.set("option_contracts", Json(Json::Array(listed.begin() + p.from, listed.begin() + p.to)));
    answer.set("next_page_token", p.token);
    return HttpResponse::json(200, answer);
}

}  // namespace tavix::test
