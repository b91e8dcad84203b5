#include "support/FakeAlpaca.h"

#include "market/Date.h"

#include <algorithm>
#include <utility>

namespace tavix::test {

namespace {

HttpResponse notFound(const QString& message = QStringLiteral("Not Found")) {
    return HttpResponse::json(404, FakeAlpaca::error(40410000, message));
}

std::optional<Json> bodyObject(const HttpRequest& request) {
    try {
        if (Json body = request.json(); body.isObject()) return body;
    } catch (const JsonError&) {
    }
    return std::nullopt;
}

HttpResponse badBody() {
    return HttpResponse::json(400,
                              FakeAlpaca::error(40010000, QStringLiteral("request body format is invalid")));
}

Json stringOrNull(const QString& value) {
    return value.isEmpty() ? Json() : Json(value);
}

}  // namespace

QString queryText(const HttpRequest& request, const char* key) {
    return request.queryValue(QString::fromLatin1(key)).value_or(QString());
}

QString FakeAlpaca::field(const Json& object, std::string_view key) {
    const Json* value = object.find(key);
    if (value && value->isString()) return value->toQString();
    if (value && value->isNumber()) return QString::fromStdString(value->numberText());
    return {};
}

Json& FakeAlpaca::put(Json& object, std::string_view key, Json value) {
    for (auto& member : object.members()) {
        if (member.first == key) {
            member.second = std::move(value);
            return object;
        }
    }
    return object.set(std::string(key), std::move(value));
}

FakeAlpaca::FakeAlpaca() : server_([this](const HttpRequest& request) { return handle(request); }) {
    setUpState();
}

AlpacaEndpoints FakeAlpaca::endpoints() const {
    QUrl stream = server_.url();
    stream.setScheme(QStringLiteral("ws"));
    return AlpacaEndpoints(server_.url(), server_.url(), stream);
}

std::vector<HttpRequest> FakeAlpaca::requests(const QByteArray& method, const QString& path) const {
    std::vector<HttpRequest> found;
    std::copy_if(server_.requests().begin(), server_.requests().end(), std::back_inserter(found),
                 [&](const HttpRequest& r) { return r.method == method && r.path == path; });
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
    Json body(std::move(extra));
    body.set("code", code).set("message", message);
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

HttpResponse FakeAlpaca::handle(const HttpRequest& request) {
    std::optional<std::chrono::milliseconds> late;
    for (auto it = staged_.begin(); it != staged_.end(); ++it) {
        if (!it->match(request)) continue;
        HttpResponse response = it->response;
        if (it->times > 0 && --it->times == 0) staged_.erase(it);
        if (response.status != 0 || response.delivery != HttpResponse::Delivery::answer) return response;
        late = response.delay;
        break;
    }
    if (request.header("APCA-API-KEY-ID") != key.toUtf8() ||
        request.header("APCA-API-SECRET-KEY") != secret.toUtf8()) {
        return HttpResponse::json(401, Json(Json::Object{{"message", Json("unauthorized")}}));
    }
    const bool data = request.path.startsWith(QStringLiteral("/v2/stocks")) ||
                      request.path.startsWith(QStringLiteral("/v1beta"));
    HttpResponse response = data ? dataRoute(request) : tradingRoute(request);
    return late ? response.after(*late) : response;
}

// Tokens carry the offset of the next page.
FakeAlpaca::Page FakeAlpaca::page(const HttpRequest& request, std::size_t count) const {
    Paging paging = Paging::normal;
    for (const auto& [prefix, chosen] : paging_) {
        if (request.path.startsWith(prefix)) paging = chosen;
    }
    const auto items = static_cast<qsizetype>(count);
    const QString limitText = queryText(request, "limit");
    const qsizetype limit = std::max<qsizetype>(limitText.isEmpty() ? 1000 : limitText.toLongLong(), 1);
    const auto token = request.queryValue(QStringLiteral("page_token"));
    const qsizetype offset = token ? QByteArray::fromBase64(token->toLatin1()).toLongLong() : 0;
    Page result{std::min(offset, items), std::min(offset + limit, items), Json()};
    const Json next(QString::fromLatin1(QByteArray::number(offset + limit).toBase64()));
    if (paging == Paging::repeatToken) {
        result.token = token ? Json(*token) : next;
    } else if (paging == Paging::endless || result.to < items) {
        result.token = next;
    }
    return result;
}

// ---- Trading host

HttpResponse FakeAlpaca::tradingRoute(const HttpRequest& request) {
    const QStringList parts = request.path.split(u'/', Qt::SkipEmptyParts);
    const bool get = request.method == "GET";
    const QString root = parts.value(1);
    if (root == QStringLiteral("account") && get)
        return parts.size() == 2 ? HttpResponse::json(200, account) : activitiesRoute(request);
    if (root == QStringLiteral("clock") && get) return HttpResponse::json(200, clock);
    if (root == QStringLiteral("positions") && get)
        return HttpResponse::json(200, Json(Json::Array(positions)));
    if (root == QStringLiteral("orders") && parts.size() == 2 && request.method == "POST")
        return placeOrder(request);
    if (root == QStringLiteral("orders") && parts.size() == 2 && get) {
        // Newest first; `orders` is kept oldest first.
        static const QStringList closed = {QStringLiteral("filled"),   QStringLiteral("canceled"),
                                           QStringLiteral("expired"),  QStringLiteral("replaced"),
                                           QStringLiteral("rejected"), QStringLiteral("done_for_day")};
        const QString status = request.queryValue(QStringLiteral("status")).value_or(QStringLiteral("open"));
        Json listed = Json::array();
        for (auto o = orders.rbegin(); o != orders.rend(); ++o) {
            const bool isClosed = closed.contains(field(*o, "status"));
            if (status == QStringLiteral("all") || (status == QStringLiteral("open")) != isClosed)
                listed.push(*o);
        }
        return HttpResponse::json(200, listed);
    }
    if (root == QStringLiteral("assets") && get) {
        // A coin is asked for without its slash ("BTCUSD").
        Json list = Json::array();
        for (const Json& a : assets) {
            const QString symbol = field(a, "symbol");
            if (parts.size() > 2 && QString(symbol).remove(u'/') == parts[2])
                return HttpResponse::json(200, a);
            const auto status = request.queryValue(QStringLiteral("status"));
            if (!status || field(a, "status") == *status) list.push(a);
        }
        return parts.size() > 2 ? notFound(QStringLiteral("asset not found for ") + parts[2])
                                : HttpResponse::json(200, list);
    }
    if (root == QStringLiteral("watchlists")) return watchlistsRoute(request, parts);
    if (root == QStringLiteral("options") && get) return optionContractsRoute(request);
    return notFound();
}

Json FakeAlpaca::newOrder(const Json& body) {
    const QString id = QStringLiteral("7b08df51-0000-4000-8000-%1").arg(nextID_++, 12, 10, QChar(u'0'));
    Json o = order(id, field(body, "symbol"), field(body, "side"), field(body, "type"), field(body, "qty"),
                   QStringLiteral("accepted"));
    if (const QString clientID = field(body, "client_order_id"); !clientID.isEmpty())
        put(o, "client_order_id", clientID);
    for (const char* name : {"qty", "limit_price", "stop_price"})
        put(o, name, stringOrNull(field(body, name)));
    for (const char* name : {"time_in_force", "order_class"}) put(o, name, field(body, name));
    return o;
}

HttpResponse FakeAlpaca::placeOrder(const HttpRequest& request) {
    const auto body = bodyObject(request);
    if (!body) return badBody();
    for (const char* required : {"symbol", "side", "type", "time_in_force"}) {
        if (field(*body, required).isEmpty())
            return HttpResponse::json(
                422, error(42210000, QString::fromLatin1(required) + QStringLiteral(" is required")));
    }
    Json placed = newOrder(*body);
    if (field(*body, "order_class") == QStringLiteral("bracket")) {
        // The exits wait, held, under the entry.
        Json legs = Json::array();
        for (const char* exit : {"take_profit", "stop_loss"}) {
            const Json* prices = body->find(exit);
            if (!prices) continue;
            Json leg = *body;
            put(leg, "side", field(*body, "side") == QStringLiteral("buy") ? "sell" : "buy");
            put(leg, "type", std::string_view(exit) == "take_profit" ? "limit" : "stop");
            put(leg, "limit_price", field(*prices, "limit_price"));
            put(leg, "stop_price", field(*prices, "stop_price"));
            legs.push(newOrder(leg));
        }
        put(placed, "legs", legs);
    }
    orders.push_back(placed);
    return HttpResponse::json(200, placed);
}

HttpResponse FakeAlpaca::watchlistsRoute(const HttpRequest& request, const QStringList& parts) {
    if (parts.size() == 2 && request.method == "GET") {
        Json listing = Json::array();
        for (Json w : watchlists) {
            // The listing leaves each list's assets out.
            std::erase_if(w.members(), [](const auto& m) { return m.first == "assets"; });
            listing.push(w);
        }
        return HttpResponse::json(200, listing);
    }
    if (parts.size() == 2 && request.method == "POST") {
        const auto body = bodyObject(request);
        if (!body) return badBody();
        Json list = Json::object();
        list.set("id", QStringLiteral("3174d6df-0000-4000-8000-%1").arg(nextID_++, 12, 10, QChar(u'0')));
        list.set("account_id", field(account, "id")).set("name", field(*body, "name"));
        Json listAssets = Json::array();
        for (const Json& s : body->contains("symbols") ? body->at("symbols").items() : Json::Array{}) {
            const auto known = std::find_if(assets.begin(), assets.end(), [&](const Json& a) {
                return field(a, "symbol") == s.toQString();
            });
            listAssets.push(known != assets.end() ? *known : Json(Json::Object{{"symbol", s}}));
        }
        watchlists.push_back(list.set("assets", listAssets));
        return HttpResponse::json(200, list);
    }
    for (const Json& list : watchlists) {
        if (parts.size() == 3 && field(list, "id") == parts[2] && request.method == "GET")
            return HttpResponse::json(200, list);
    }
    return notFound(QStringLiteral("watchlist not found"));
}

// The page token is the id of the last activity already read.
HttpResponse FakeAlpaca::activitiesRoute(const HttpRequest& request) {
    const QStringList types = queryText(request, "activity_types").split(u',', Qt::SkipEmptyParts);
    const auto after = Date::parseIso(queryText(request, "after"));
    const QString pageSize = queryText(request, "page_size");
    const std::size_t size = std::min<std::size_t>(pageSize.isEmpty() ? 100 : pageSize.toULongLong(), 100);
    const QString token = queryText(request, "page_token");
    bool reading = token.isEmpty();
    Json answer = Json::array();
    for (const Json& a : activities) {
        if (!reading) {
            reading = field(a, "id") == token;
            continue;
        }
        const auto at = Date::parseIso(field(a, "transaction_time"));
        if ((types.isEmpty() || types.contains(field(a, "activity_type"))) &&
            (!after || (at && *at > *after)) && answer.size() < size)
            answer.push(a);
    }
    return HttpResponse::json(200, answer);
}

HttpResponse FakeAlpaca::optionContractsRoute(const HttpRequest& request) {
    const QString from = queryText(request, "expiration_date_gte");
    const QString to = queryText(request, "expiration_date_lte");
    std::vector<Json> listed;
    std::copy_if(optionContracts.begin(), optionContracts.end(), std::back_inserter(listed),
                 [&](const Json& c) {
                     const QString expiry = field(c, "expiration_date");
                     return field(c, "underlying_symbol") == queryText(request, "underlying_symbols") &&
                            (from.isEmpty() || expiry >= from) && (to.isEmpty() || expiry <= to);
                 });
    const Page p = page(request, listed.size());
    Json answer(Json::Object{
        {"option_contracts", Json(Json::Array(listed.begin() + p.from, listed.begin() + p.to))}});
    return HttpResponse::json(200, answer.set("next_page_token", p.token));
}

}  // namespace tavix::test
