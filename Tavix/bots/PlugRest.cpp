#include "bots/PlugRest.h"

#include "analytics/StudyCatalog.h"
#include "market/Json.h"
#include "market/SymbolShape.h"

#include <QRegularExpression>
#include <QUrl>

#include <array>
#include <map>

namespace tavix::PlugRest {

namespace {

struct Call {
    const char* line;
    const char* does;
};

const std::array<Call, 11> calls = {{
    {"GET /v1/account", "Cash, buying power and worth."},
    {"GET /v1/positions", "What the account holds."},
    {"GET /v1/quote?symbol=AAPL", "The price now."},
    {"GET /v1/bars?symbol=AAPL&span=5m&limit=100",
     "Bars, oldest first. span: 1m 5m 15m 30m 1h 1D 1W 1M. The whole market's bars up to 15 minutes ago and one "
     "exchange's (IEX) after, so the bar at that seam can change on a later read."},
    {"GET /v1/study?symbol=AAPL&span=5m&study=bollingerBands&study=rsi&rsi.length=9",
     "Chart studies on the same bars, several at once, candle patterns too. study=sma50:simpleMovingAvg names one; "
     "name.setting=20 sets one; a choice takes its word (rsi.averageType=simple). Worked out on the bars returned, so "
     "a study that warms up or adds up (RSI, bands, OBV) can read a little differently with another limit or on a "
     "later read: trade off its moves, not an exact level. VWAP starts each New York day at midnight, pre-market "
     "included."},
    {"GET /v1/studies",
     "Every study: its settings with defaults, ranges and choices, and the names its values come back under."},
    {"GET /v1/orders", "This bot's orders."},
    {"GET /v1/orders/{id}",
     "One of its orders as it is now; a trailing_stop's has trail_price and hwm, the best price since it was placed."},
    {"POST /v1/orders",
     "An order: symbol, side, qty, reason; type, limit_price, stop_price, trail_price, time_in_force if wanted. A "
     "trailing_stop takes trail_price, its trail in dollars a share."},
    {"DELETE /v1/orders/{id}", "Cancel one of its orders."},
    {"POST /v1/notes", "A line on its row: {\"text\": \"...\"}."},
}};

const QStringList spans = {QStringLiteral("1m"), QStringLiteral("5m"), QStringLiteral("15m"), QStringLiteral("30m"),
                           QStringLiteral("1h"), QStringLiteral("1D"), QStringLiteral("1W"), QStringLiteral("1M")};
constexpr int mostStudies = 8;
constexpr int mostSettings = 16;

PlugReply refused(const QString& why) {
    return PlugReply::refusal(400, why);
}

PlugReply nothingHere() {
    return PlugReply::refusal(404, QStringLiteral("Nothing here. Bots use /v1/... or /mcp, and GET / says so."));
}

// The query's keys and values in the order sent, decoded.
std::vector<std::pair<QString, QString>> pairsOf(const QString& query) {
    std::vector<std::pair<QString, QString>> pairs;
    for (const QString& part : query.split(u'&', Qt::SkipEmptyParts)) {
        const qsizetype equals = part.indexOf(u'=');
        const auto decode = [](QString text) {
            return QUrl::fromPercentEncoding(text.replace(u'+', u' ').toUtf8());
        };
        pairs.emplace_back(decode(equals < 0 ? part : part.left(equals)), decode(equals < 0 ? QString() : part.mid(equals + 1)));
    }
    return pairs;
}

// The one value of each key allowed, refusing a key sent twice or one not asked for.
std::variant<std::map<QString, QString>, QString> plainQuery(const std::vector<std::pair<QString, QString>>& pairs,
                                                             const QStringList& allowed) {
    std::map<QString, QString> values;
    for (const auto& [key, value] : pairs) {
        if (!allowed.contains(key)) {
            return key + QStringLiteral(", which isn't asked for. This call takes ") + allowed.join(QStringLiteral(", ")) +
                   u'.';
        }
        if (!values.emplace(key, value).second) return QStringLiteral("Send ") + key + QStringLiteral(" once.");
    }
    return values;
}

std::optional<QString> valueOf(const std::map<QString, QString>& values, const char* key) {
    const auto found = values.find(QString::fromLatin1(key));
    if (found == values.end()) return std::nullopt;
    return found->second;
}

std::variant<PlugAsk::Study, QString> studyQuery(const std::vector<std::pair<QString, QString>>& pairs) {
    static const QRegularExpression word(QStringLiteral("^[A-Za-z0-9]+$"));
    PlugAsk::Study asked;
    std::map<QString, QString> plain;
    std::vector<std::pair<QString, QString>> settings;
    std::vector<std::pair<QString, QString>> named;  // name, kind, in order
    for (const auto& [key, value] : pairs) {
        if (key == QStringLiteral("study")) {
            const qsizetype colon = value.indexOf(u':');
            const QString name = colon < 0 ? value.trimmed() : value.left(colon).trimmed();
            const QString kind = colon < 0 ? value.trimmed() : value.mid(colon + 1).trimmed();
            if (!word.match(name).hasMatch()) {
                return QStringLiteral("A study's name is one word of letters and digits, such as rsi or sma50.");
            }
            for (const auto& [earlier, unused] : named) {
                if (earlier == name) {
                    return name + QStringLiteral(" is asked for twice: give each its own name, such as sma20 and sma50.");
                }
            }
            named.emplace_back(name, kind);
        } else if (key == QStringLiteral("symbol") || key == QStringLiteral("span") || key == QStringLiteral("limit")) {
            if (!plain.emplace(key, value).second) return QStringLiteral("Send ") + key + QStringLiteral(" once.");
        } else {
            settings.emplace_back(key, value);
        }
    }
    if (named.empty()) return QStringLiteral("Name a study, such as study=rsi. GET /v1/studies lists them.");
    if (named.size() > static_cast<std::size_t>(mostStudies)) {
        return QStringLiteral("At most ") + QString::number(mostStudies) + QStringLiteral(" studies a call.");
    }
    std::map<QString, PlugStudy> studies;
    for (const auto& [name, kind] : named) {
        studies[name] = PlugStudy{kind, {}, name == kind ? std::nullopt : std::optional<QString>(name)};
    }
    for (const auto& [key, value] : settings) {
        const qsizetype dot = key.indexOf(u'.');
        QString owner = dot < 0 ? QString() : key.left(dot);
        const QString setting = dot < 0 ? key : key.mid(dot + 1);
        if (dot < 0) {
            if (named.size() > 1) {
                return QStringLiteral("With more than one study, say whose ") + setting + QStringLiteral(" it is, such as ") +
                       named.front().first + u'.' + setting + u'.';
            }
            owner = named.front().first;
        }
        const auto found = studies.find(owner);
        if (found == studies.end()) {
            return key + QStringLiteral(", which isn't asked for. Name the study first, such as study=") + owner + u'.';
        }
        auto& inputs = found->second.inputs;
        if (inputs.size() >= static_cast<std::size_t>(mostSettings)) return QStringLiteral("A study has at most 16 settings.");
        bool number = false;
        const double asNumber = value.toDouble(&number);
        if (number) {
            inputs[setting] = asNumber;
        } else {
            inputs[setting] = value;
        }
    }
    // Each study checked against the catalogue: its kind, its settings and their ranges.
    for (const auto& [name, kind] : named) {
        const auto settled = StudyCatalog::settle(studies[name]);
        if (const auto* problem = std::get_if<QString>(&settled)) return *problem;
        asked.studies.push_back(studies[name]);
    }
    const auto chosen = symbol(valueOf(plain, "symbol"));
    if (chosen.index() == 1) return std::get<1>(chosen);
    asked.symbol = std::get<0>(chosen);
    asked.span = valueOf(plain, "span").value_or(QStringLiteral("1m"));
    if (auto problem = spanProblem(asked.span)) return *problem;
    const auto most = limit(valueOf(plain, "limit"));
    if (const auto* problem = std::get_if<QString>(&most)) return *problem;
    asked.limit = std::get<int>(most);
    return asked;
}

}  // namespace

QByteArray index() {
    Json::Array listed;
    for (const Call& call : calls) {
        Json entry = Json::object();
        entry.set("call", Json(call.line));
        entry.set("description", Json(QString::fromUtf8(call.does)));
        listed.push_back(std::move(entry));
    }
    Json body = Json::object();
    body.set("calls", Json(std::move(listed)));
    body.set("mcp", Json("/mcp"));
    body.set("name", Json("Tavix"));
    body.set("plug", Json(1));
    return body.serialize();
}

std::variant<QString, QString> symbol(const std::optional<QString>& given) {
    if (!given || given->trimmed().isEmpty()) {
        return std::variant<QString, QString>(std::in_place_index<1>, QStringLiteral("Give a symbol, such as AAPL."));
    }
    const QString upper = given->trimmed().toUpper();
    if (!SymbolShape::isTicker(upper)) {
        return std::variant<QString, QString>(std::in_place_index<1>,
                                              QStringLiteral("That isn't a symbol. Use one such as AAPL."));
    }
    return std::variant<QString, QString>(std::in_place_index<0>, upper);
}

std::optional<QString> spanProblem(const QString& span) {
    if (spans.contains(span)) return std::nullopt;
    return QStringLiteral("span is one of 1m, 5m, 15m, 30m, 1h, 1D, 1W, 1M.");
}

std::variant<int, QString> limit(const std::optional<QString>& given) {
    if (!given) return 100;
    bool whole = false;
    const int value = given->trimmed().toInt(&whole);
    if (!whole || value < 1 || value > 1000) return QStringLiteral("limit is a whole number from 1 to 1000.");
    return value;
}

std::variant<PlugOrder, QString> order(const QByteArray& body) {
    const QString example = QStringLiteral(R"(The body is a JSON object, such as {"symbol":"AAPL","side":"buy","qty":1,"reason":"..."})");
    Json json;
    try {
        json = Json::parse(body);
    } catch (const JsonError&) {
        return example;
    }
    if (!json.isObject()) return example;
    static const QStringList fields = {QStringLiteral("symbol"),      QStringLiteral("side"),       QStringLiteral("qty"),
                                       QStringLiteral("type"),        QStringLiteral("limit_price"), QStringLiteral("stop_price"),
                                       QStringLiteral("trail_price"), QStringLiteral("time_in_force"), QStringLiteral("reason")};
    for (const auto& [key, value] : json.members()) {
        const QString name = QString::fromStdString(key);
        if (!fields.contains(name)) {
            return name + QStringLiteral(" isn't an order field. The fields are symbol, side, qty, type, ") +
                   QStringLiteral("limit_price, stop_price, trail_price, time_in_force and reason.");
        }
    }
    PlugOrder made;
    const Json* given = json.find("symbol");
    const auto chosen = symbol(given && given->isString() ? std::optional<QString>(given->toQString()) : std::nullopt);
    if (chosen.index() == 1) return std::get<1>(chosen);
    made.symbol = std::get<0>(chosen);
    const Json* side = json.find("side");
    made.side = side && side->isString() ? side->toQString().trimmed().toLower() : QString();
    if (made.side != QStringLiteral("buy") && made.side != QStringLiteral("sell")) return QStringLiteral("side is buy or sell.");
    const auto decimal = [&](const char* key) -> std::optional<Decimal> {
        const Json* value = json.find(key);
        if (!value || value->isNull()) return std::nullopt;
        try {
            if (value->isString()) return Decimal::parse(value->toQString().trimmed());
            if (value->isNumber()) return value->toDecimal();
        } catch (const JsonError&) {
        }
        return Decimal(-1);  // not a number at all: refused as not above 0
    };
    const auto qty = decimal("qty");
    if (!qty || !qty->isPositive()) return QStringLiteral("qty is how many shares: a number above 0.");
    made.qty = *qty;
    if (const Json* type = json.find("type"); type && type->isString()) made.type = type->toQString().trimmed().toLower();
    if (const Json* lasting = json.find("time_in_force"); lasting && lasting->isString()) {
        made.timeInForce = lasting->toQString().trimmed().toLower();
    }
    for (const auto& [key, out] : {std::pair{"limit_price", &made.limitPrice}, std::pair{"stop_price", &made.stopPrice},
                                   std::pair{"trail_price", &made.trailPrice}}) {
        const auto price = decimal(key);
        if (json.find(key) && !json.find(key)->isNull() && (!price || !price->isPositive())) {
            return QString::fromLatin1(key) + QStringLiteral(" is a price above 0.");
        }
        *out = price;
    }
    if (made.type == QStringLiteral("trailing_stop") && !made.trailPrice) {
        return QStringLiteral("Give the trail as trail_price, in dollars a share: 5% of a $100 share is 5.");
    }
    const Json* reason = json.find("reason");
    if (!reason || reason->isNull()) return QStringLiteral("Give a reason, in your own words: the user sees it beside the order.");
    if (!reason->isString() || reason->toQString().trimmed().isEmpty()) return QStringLiteral("reason is words: why this order.");
    made.reason = reason->toQString().trimmed();
    return made;
}

std::variant<PlugRequest, PlugReply> read(const QByteArray& method, const QString& path, const QString& query,
                                          const QByteArray& body) {
    if (path == QStringLiteral("/mcp") && method == "GET") {
        return PlugReply::refusal(405, QStringLiteral("MCP here is POST only: there is no event stream."));
    }
    if (!path.startsWith(QStringLiteral("/v1/"))) return nothingHere();
    const auto pairs = pairsOf(query);
    const auto checked = [&](const QStringList& allowed) { return plainQuery(pairs, allowed); };
    const QString rest = path.mid(4);
    const auto answer = [](auto request) -> std::variant<PlugRequest, PlugReply> { return PlugRequest(std::move(request)); };

    if (method == "GET" && (rest == QStringLiteral("account") || rest == QStringLiteral("positions") ||
                            rest == QStringLiteral("studies") || rest == QStringLiteral("orders"))) {
        const auto values = checked({});
        if (const auto* problem = std::get_if<QString>(&values)) return refused(*problem);
        if (rest == QStringLiteral("account")) return answer(PlugAsk::Account{});
        if (rest == QStringLiteral("positions")) return answer(PlugAsk::Positions{});
        if (rest == QStringLiteral("studies")) return answer(PlugAsk::Studies{});
        return answer(PlugAsk::Orders{});
    }
    if (method == "GET" && (rest == QStringLiteral("quote") || rest == QStringLiteral("bars"))) {
        const bool bars = rest == QStringLiteral("bars");
        const auto values = checked(bars ? QStringList{QStringLiteral("symbol"), QStringLiteral("span"), QStringLiteral("limit")}
                                         : QStringList{QStringLiteral("symbol")});
        if (const auto* problem = std::get_if<QString>(&values)) return refused(*problem);
        const auto& given = std::get<std::map<QString, QString>>(values);
        const auto chosen = symbol(valueOf(given, "symbol"));
        if (chosen.index() == 1) return refused(std::get<1>(chosen));
        if (!bars) return answer(PlugAsk::Quote{std::get<0>(chosen)});
        const QString span = valueOf(given, "span").value_or(QStringLiteral("1m"));
        if (auto problem = spanProblem(span)) return refused(*problem);
        const auto most = limit(valueOf(given, "limit"));
        if (const auto* problem = std::get_if<QString>(&most)) return refused(*problem);
        return answer(PlugAsk::Bars{std::get<0>(chosen), span, std::get<int>(most)});
    }
    if (method == "GET" && rest == QStringLiteral("study")) {
        auto asked = studyQuery(pairs);
        if (const auto* problem = std::get_if<QString>(&asked)) return refused(*problem);
        return answer(std::get<PlugAsk::Study>(std::move(asked)));
    }
    if (rest.startsWith(QStringLiteral("orders/")) && (method == "GET" || method == "DELETE")) {
        const QString id = rest.mid(7).trimmed();
        if (id.isEmpty() || id.contains(u'/')) {
            return refused(QStringLiteral("Give the order's id, as list_orders or GET /v1/orders shows it."));
        }
        if (method == "GET") return answer(PlugAsk::Order{id});
        return answer(PlugAsk::Cancel{id});
    }
    if (method == "POST" && rest == QStringLiteral("orders")) {
        auto made = order(body);
        if (const auto* problem = std::get_if<QString>(&made)) return refused(*problem);
        return answer(PlugAsk::Place{std::get<PlugOrder>(std::move(made))});
    }
    if (method == "POST" && rest == QStringLiteral("notes")) {
        try {
            const Json json = Json::parse(body);
            const Json* text = json.isObject() ? json.find("text") : nullptr;
            if (text && text->isString() && !text->toQString().trimmed().isEmpty()) {
                return answer(PlugAsk::Note{text->toQString().trimmed()});
            }
        } catch (const JsonError&) {
        }
        return refused(QStringLiteral("Give the note's text."));
    }
    return nothingHere();
}

}  // namespace tavix::PlugRest
