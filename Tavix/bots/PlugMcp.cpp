#include "bots/PlugMcp.h"

#include "analytics/StudyCatalog.h"
#include "bots/PlugRest.h"

namespace tavix::PlugMcp {

namespace {

Json message(const Json& id) {
    Json out = Json::object();
    out.set("jsonrpc", Json("2.0"));
    out.set("id", id);
    return out;
}

Reply error(const Json& id, int code, const QString& text) {
    Json fault = Json::object();
    fault.set("code", Json(code));
    fault.set("message", Json(text));
    Json out = message(id);
    out.set("error", std::move(fault));
    return Reply{200, out.serialize()};
}

Reply result(const Json& id, Json value) {
    Json out = message(id);
    out.set("result", std::move(value));
    return Reply{200, out.serialize()};
}

Json object(std::initializer_list<std::pair<const char*, Json>> members) {
    Json out = Json::object();
    for (const auto& [key, value] : members) out.set(key, value);
    return out;
}

Json strings(std::initializer_list<const char*> words) {
    Json::Array list;
    for (const char* word : words) list.emplace_back(word);
    return Json(std::move(list));
}

Json schema(Json properties, std::initializer_list<const char*> required) {
    Json out = object({{"type", Json("object")}, {"properties", std::move(properties)}});
    if (required.size() > 0) out.set("required", strings(required));
    return out;
}

Json text(const char* description) {
    return object({{"type", Json("string")}, {"description", Json(QString::fromUtf8(description))}});
}

Json tool(const char* name, const char* description, Json inputSchema) {
    return object({{"name", Json(name)}, {"description", Json(QString::fromUtf8(description))}, {"inputSchema", std::move(inputSchema)}});
}

Json barsProperties() {
    return object({{"symbol", text("A ticker, such as AAPL.")},
                   {"span", object({{"type", Json("string")},
                                    {"enum", strings({"1m", "5m", "15m", "30m", "1h", "1D", "1W", "1M"})},
                                    {"default", Json("1m")},
                                    {"description", Json("The size of one bar.")}})},
                   {"limit", object({{"type", Json("integer")},
                                     {"minimum", Json(1)},
                                     {"maximum", Json(1000)},
                                     {"default", Json(100)},
                                     {"description", Json("The most bars.")}})}});
}

// Reads a tool's arguments into the request the REST face would make.
std::variant<PlugRequest, QString> toolRequest(const QString& name, const Json& arguments) {
    const auto textOf = [&](const char* key) -> std::optional<QString> {
        const Json* value = arguments.find(key);
        if (!value || value->isNull()) return std::nullopt;
        if (value->isString()) return value->toQString();
        if (value->isNumber()) return QString::fromStdString(value->numberText());
        return QString();
    };
    if (name == QStringLiteral("get_account")) return PlugAsk::Account{};
    if (name == QStringLiteral("get_positions")) return PlugAsk::Positions{};
    if (name == QStringLiteral("list_studies")) return PlugAsk::Studies{};
    if (name == QStringLiteral("list_orders")) return PlugAsk::Orders{};
    if (name == QStringLiteral("get_quote") || name == QStringLiteral("get_bars") || name == QStringLiteral("get_study")) {
        const auto chosen = PlugRest::symbol(textOf("symbol"));
        if (chosen.index() == 1) return std::get<1>(chosen);
        const QString symbol = std::get<0>(chosen);
        if (name == QStringLiteral("get_quote")) return PlugAsk::Quote{symbol};
        const QString span = textOf("span").value_or(QStringLiteral("1m"));
        if (auto problem = PlugRest::spanProblem(span)) return *problem;
        const auto most = PlugRest::limit(textOf("limit"));
        if (const auto* problem = std::get_if<QString>(&most)) return *problem;
        if (name == QStringLiteral("get_bars")) return PlugAsk::Bars{symbol, span, std::get<int>(most)};
        PlugAsk::Study asked{symbol, span, std::get<int>(most), {}};
        const Json* studies = arguments.find("studies");
        if (!studies || !studies->isArray() || studies->items().empty()) {
            return QStringLiteral("Name a study, such as [{\"study\": \"rsi\"}]. list_studies lists them.");
        }
        if (studies->items().size() > 8) return QStringLiteral("At most 8 studies a call.");
        QStringList names;
        for (const Json& item : studies->items()) {
            const Json* kind = item.isObject() ? item.find("study") : nullptr;
            if (!kind || !kind->isString()) return QStringLiteral("Each study names its kind, such as {\"study\": \"rsi\"}.");
            PlugStudy study{kind->toQString(), {}, std::nullopt};
            if (const Json* label = item.find("as"); label && label->isString()) study.label = label->toQString();
            const QString named = study.label.value_or(study.study);
            if (names.contains(named)) {
                return named + QStringLiteral(" is asked for twice: give each its own name, such as sma20 and sma50.");
            }
            names << named;
            if (const Json* inputs = item.find("inputs"); inputs && inputs->isObject()) {
                if (inputs->members().size() > 16) return QStringLiteral("A study has at most 16 settings.");
                for (const auto& [setting, value] : inputs->members()) {
                    if (value.isNumber()) {
                        // JSON numbers have no bound; a setting's does (1e999 is refused, not a crash).
                        try {
                            study.inputs[QString::fromStdString(setting)] = value.toDouble();
                        } catch (const JsonError&) {
                            return QString::fromStdString(setting) + QStringLiteral(" is a number far out of range.");
                        }
                    } else {
                        study.inputs[QString::fromStdString(setting)] = value.isString() ? value.toQString() : QString();
                    }
                }
            }
            const auto settled = StudyCatalog::settle(study);
            if (const auto* problem = std::get_if<QString>(&settled)) return *problem;
            asked.studies.push_back(std::move(study));
        }
        return asked;
    }
    if (name == QStringLiteral("place_order")) {
        auto made = PlugRest::order(arguments.serialize());
        if (const auto* problem = std::get_if<QString>(&made)) return *problem;
        return PlugAsk::Place{std::get<PlugOrder>(std::move(made))};
    }
    if (name == QStringLiteral("get_order") || name == QStringLiteral("cancel_order")) {
        const QString id = textOf("order_id").value_or(QString()).trimmed();
        if (id.isEmpty()) return QStringLiteral("Give the order's id, as list_orders or GET /v1/orders shows it.");
        if (name == QStringLiteral("get_order")) return PlugAsk::Order{id};
        return PlugAsk::Cancel{id};
    }
    if (name == QStringLiteral("note")) {
        const QString words = textOf("text").value_or(QString()).trimmed();
        if (words.isEmpty()) return QStringLiteral("Give the note's text.");
        return PlugAsk::Note{words};
    }
    return QStringLiteral("There is no tool called ") + name;
}

}  // namespace

Json tools() {
    Json::Array studyNames;
    for (const StudyKind& kind : StudyCatalog::kinds()) studyNames.emplace_back(kind.word);
    const Json none = object({{"type", Json("object")}, {"properties", Json::object()}});
    Json studyProperties = barsProperties();
    studyProperties.set(
        "studies",
        object({{"type", Json("array")},
                {"minItems", Json(1)},
                {"maxItems", Json(8)},
                {"description", Json(QStringLiteral("The studies, such as [{\"study\": \"bollingerBands\"}, {\"study\": \"rsi\", "
                                                    "\"inputs\": {\"length\": 9}}]. The same study twice needs an as for each: "
                                                    "sma20 and sma50."))},
                {"items", schema(object({{"study", object({{"type", Json("string")}, {"enum", Json(std::move(studyNames))}})},
                                         {"inputs", object({{"type", Json("object")},
                                                            {"additionalProperties", object({{"type", strings({"number", "string"})}})},
                                                            {"description", Json(QStringLiteral(
                                                                "Any of its settings by name, such as {\"length\": 20, \"numDevUp\": 2, "
                                                                "\"averageType\": \"exponential\"}: a number, or for a choice its word. "
                                                                "The rest are the chart's defaults; the answer lists every one used."))}})},
                                         {"as", text("The name its values come back under.")}}),
                                 {"study"})}}));
    const Json price = object({{"type", Json("number")}, {"exclusiveMinimum", Json(0)}});
    Json trail = price;
    trail.set("description",
              Json(QStringLiteral("A trailing_stop's trail, in dollars a share behind the best price since it was placed.")));
    Json qty = price;
    qty.set("description", Json("How many shares."));
    const Json order = schema(
        object({{"symbol", object({{"type", Json("string")}})},
                {"side", object({{"type", Json("string")}, {"enum", strings({"buy", "sell"})}})},
                {"qty", qty},
                {"type", object({{"type", Json("string")},
                                 {"enum", strings({"market", "limit", "stop", "stop_limit", "trailing_stop"})},
                                 {"default", Json("market")}})},
                {"limit_price", price},
                {"stop_price", price},
                {"trail_price", trail},
                {"time_in_force", object({{"type", Json("string")}, {"enum", strings({"day", "gtc"})}, {"default", Json("day")}})},
                {"reason", object({{"type", Json("string")},
                                   {"minLength", Json(1)},
                                   {"description", Json("Why, in your own words. The user sees it beside the order.")}})}}),
        {"symbol", "side", "qty", "reason"});
    Json::Array list;
    list.push_back(tool("get_account", "The paper account: cash, buying power and what it is worth.", none));
    list.push_back(tool("get_positions", "What the account holds now: each symbol, its shares, cost and gain.", none));
    list.push_back(tool("get_quote", "The latest price of one symbol.",
                        schema(object({{"symbol", text("A ticker, such as AAPL.")}}), {"symbol"})));
    list.push_back(tool("get_bars",
                        "Price bars for one symbol, oldest first and newest last. The whole market's bars up to 15 minutes "
                        "ago and one exchange's (IEX) after, so the bar at that seam can change on a later read.",
                        schema(barsProperties(), {"symbol"})));
    list.push_back(tool("get_study",
                        "Chart studies for one symbol, worked out the way Tavix's chart draws them: Bollinger Bands, RSI, "
                        "VWAP, MACD, moving averages, candle patterns and more, several at once on the same bars. Each bar's "
                        "values come back under each study's name, or its as. A script asks the same with GET "
                        "/v1/study?symbol=SPY&study=bollingerBands&study=rsi&rsi.length=9. list_studies gives every study "
                        "with its settings. Worked out on the bars returned, so a study that warms up or adds up (RSI, bands, "
                        "OBV) can read a little differently with another limit or on a later read: trade off its moves, not "
                        "an exact level. VWAP starts each New York day at midnight, pre-market included.",
                        schema(studyProperties, {"symbol", "studies"})));
    list.push_back(tool("list_studies",
                        "Every study get_study can work out: its settings with their defaults, ranges and choices, and the "
                        "names its values come back under.",
                        none));
    list.push_back(tool("list_orders", "This bot's own orders, newest first.", none));
    list.push_back(tool("place_order", "Send an order on the paper account; the user may need to approve it first.", order));
    list.push_back(tool("get_order",
                        "One of this bot's own orders as it is now. A trailing_stop's has trail_price and hwm, the best price "
                        "since it was placed.",
                        schema(object({{"order_id", text("The id list_orders shows.")}}), {"order_id"})));
    list.push_back(tool("cancel_order", "Cancel one of this bot's own open orders.",
                        schema(object({{"order_id", text("The id list_orders shows.")}}), {"order_id"})));
    list.push_back(tool("note", "Write a thought to Tavix's Activity without placing an order.",
                        schema(object({{"text", object({{"type", Json("string")}, {"minLength", Json(1)}})}}), {"text"})));
    return Json(std::move(list));
}

std::variant<Reply, ToolCall> read(const QByteArray& body, const QString& appVersion) {
    Json parsed;
    try {
        parsed = Json::parse(body);
    } catch (const JsonError&) {
        return error(Json(), -32700, QStringLiteral("Parse error: the body isn't JSON."));
    }
    if (parsed.isArray()) return error(Json(), -32600, QStringLiteral("Send one message at a time: batches aren't taken."));
    if (!parsed.isObject()) return error(Json(), -32600, QStringLiteral("Send one JSON-RPC 2.0 message as an object."));
    const Json* idField = parsed.find("id");
    const Json id = idField ? *idField : Json();
    const Json* version = parsed.find("jsonrpc");
    if (!version || !version->isString() || version->stringUtf8() != "2.0") {
        return error(id, -32600, QStringLiteral("Say \"jsonrpc\": \"2.0\"."));
    }
    const Json* method = parsed.find("method");
    if (!method || !method->isString()) return error(id, -32600, QStringLiteral("Say which method."));
    const QString name = method->toQString();
    // A notification carries no id; an id of another kind is refused.
    if (idField && !idField->isString() && !idField->isNumber() && !(idField->isNull() && name.startsWith(QStringLiteral("notifications/")))) {
        return error(Json(), -32600, QStringLiteral("The id is a string or a number."));
    }
    if (name.startsWith(QStringLiteral("notifications/"))) return Reply{202, {}};
    const Json* params = parsed.find("params");
    if (params && !params->isNull() && !params->isObject()) return error(id, -32602, QStringLiteral("params is an object."));
    if (name == QStringLiteral("initialize")) {
        return result(id, object({{"protocolVersion", Json(protocolVersion)},
                                  {"capabilities", object({{"tools", object({{"listChanged", Json(false)}})}})},
                                  {"serverInfo", object({{"name", Json("tavix")}, {"version", Json(appVersion)}})},
                                  {"instructions", Json(QStringLiteral(
                                                       "Tavix trades paper money only: no real money moves. Give every order a "
                                                       "reason in your own words; the user reads it beside the order. The user "
                                                       "may need to approve an order before it is sent, so a placed order can "
                                                       "wait."))}}));
    }
    if (name == QStringLiteral("ping")) return result(id, Json::object());
    if (name == QStringLiteral("tools/list")) return result(id, object({{"tools", tools()}}));
    if (name != QStringLiteral("tools/call")) return error(id, -32601, QStringLiteral("Method not found: ") + name);
    const Json* tool = params && params->isObject() ? params->find("name") : nullptr;
    if (!tool || !tool->isString()) return error(id, -32602, QStringLiteral("Name the tool to call."));
    const Json* arguments = params->find("arguments");
    if (arguments && !arguments->isNull() && !arguments->isObject()) {
        return ToolCall{id, QStringLiteral("arguments is an object.")};
    }
    return ToolCall{id, toolRequest(tool->toQString(), arguments && arguments->isObject() ? *arguments : Json::object())};
}

QByteArray toolResult(const Json& id, int status, const QByteArray& answer) {
    Json::Array content;
    content.push_back(object({{"type", Json("text")}, {"text", Json(QString::fromUtf8(answer))}}));
    return result(id, object({{"content", Json(std::move(content))}, {"isError", Json(status > 399)}})).body;
}

}  // namespace tavix::PlugMcp
