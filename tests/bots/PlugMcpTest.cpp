#include "bots/PlugMcp.h"

#include <gtest/gtest.h>

namespace tavix {
namespace {

using PlugMcp::Reply;
using PlugMcp::ToolCall;

Json replied(const QByteArray& body) {
    const auto read = PlugMcp::read(body, QStringLiteral("1.2"));
    EXPECT_TRUE(std::holds_alternative<Reply>(read)) << body.toStdString();
    return std::holds_alternative<Reply>(read) ? Json::parse(std::get<Reply>(read).body) : Json();
}

TEST(PlugMcp, FaultsInTheirOrderWithTheirCodes) {
    const std::vector<std::tuple<QByteArray, int, const char*>> faults = {
        {"{nope", -32700, "Parse error: the body isn't JSON."},
        {R"([{"jsonrpc":"2.0","id":1,"method":"ping"}])", -32600, "Send one message at a time: batches aren't taken."},
        {"7", -32600, "Send one JSON-RPC 2.0 message as an object."},
        {R"({"jsonrpc":"1.0","id":1,"method":"ping"})", -32600, "Say \"jsonrpc\": \"2.0\"."},
        {R"({"jsonrpc":"2.0","id":1})", -32600, "Say which method."},
        {R"({"jsonrpc":"2.0","id":{},"method":"ping"})", -32600, "The id is a string or a number."},
        {R"({"jsonrpc":"2.0","id":1,"method":"ping","params":[1]})", -32602, "params is an object."},
        {R"({"jsonrpc":"2.0","id":1,"method":"resources/list"})", -32601, "Method not found: resources/list"},
        {R"({"jsonrpc":"2.0","id":"a","method":"tools/call","params":{}})", -32602, "Name the tool to call."},
    };
    for (const auto& [body, code, text] : faults) {
        const Json answer = replied(body);
        EXPECT_EQ(answer.at("jsonrpc").stringUtf8(), "2.0");
        EXPECT_EQ(answer.at("error").at("code").toInt64(), code) << body.toStdString();
        EXPECT_EQ(answer.at("error").at("message").toQString(), QString::fromUtf8(text));
    }
    const auto notified = PlugMcp::read(R"({"jsonrpc":"2.0","method":"notifications/initialized"})", QString());
    ASSERT_TRUE(std::holds_alternative<Reply>(notified));
    EXPECT_EQ(std::get<Reply>(notified).status, 202);
    EXPECT_TRUE(std::get<Reply>(notified).body.isEmpty());
}

TEST(PlugMcp, InitializePingAndTheTools) {
    const Json init = replied(R"({"jsonrpc":"2.0","id":1,"method":"initialize","params":{"protocolVersion":"2025-06-18"}})");
    EXPECT_EQ(init.at("id").toInt64(), 1);
    EXPECT_EQ(init.at("result").at("protocolVersion").stringUtf8(), "2025-06-18");
    EXPECT_EQ(init.at("result").at("serverInfo").at("name").stringUtf8(), "tavix");
    EXPECT_EQ(init.at("result").at("serverInfo").at("version").stringUtf8(), "1.2");
    EXPECT_FALSE(init.at("result").at("capabilities").at("tools").at("listChanged").toBool());
    EXPECT_TRUE(init.at("result").at("instructions").toQString().startsWith(QStringLiteral("Tavix trades paper money only")));
    EXPECT_TRUE(replied(R"({"jsonrpc":"2.0","id":"p","method":"ping"})").at("result").members().empty());

    const Json listed = replied(R"({"jsonrpc":"2.0","id":2,"method":"tools/list"})");
    QStringList names;
    for (const Json& tool : listed.at("result").at("tools").items()) names << tool.at("name").toQString();
    EXPECT_EQ(names.join(u' '), QStringLiteral("get_account get_positions get_quote get_bars get_study list_studies "
                                               "list_orders place_order get_order cancel_order note"));
    const Json& place = listed.at("result").at("tools").items().at(7).at("inputSchema");
    EXPECT_EQ(place.at("required").serializeStd(), R"(["symbol","side","qty","reason"])");
    EXPECT_EQ(place.at("properties").at("time_in_force").at("enum").serializeStd(), R"(["day","gtc"])");
}

TEST(PlugMcp, ToolCallsBecomeTheRestRequests) {
    const auto call = [](const char* params) {
        const auto read = PlugMcp::read(QByteArray(R"({"jsonrpc":"2.0","id":9,"method":"tools/call","params":)") + params + "}",
                                        QString());
        EXPECT_TRUE(std::holds_alternative<ToolCall>(read)) << params;
        return std::get<ToolCall>(read).request;
    };
    const auto bars = call(R"({"name":"get_bars","arguments":{"symbol":"spy"}})");
    EXPECT_EQ(std::get<PlugAsk::Bars>(std::get<PlugRequest>(bars)).span, QStringLiteral("1m"));
    EXPECT_EQ(std::get<PlugAsk::Bars>(std::get<PlugRequest>(bars)).limit, 100);
    EXPECT_EQ(std::get<QString>(call(R"({"name":"get_bars","arguments":{"symbol":"SPY","limit":1001}})")),
              QStringLiteral("limit is a whole number from 1 to 1000."));
    EXPECT_EQ(std::get<QString>(call(R"({"name":"get_bars","arguments":{"symbol":"SPY","limit":0}})")),
              QStringLiteral("limit is a whole number from 1 to 1000."));
    EXPECT_EQ(std::get<QString>(call(R"({"name":"fly"})")), QStringLiteral("There is no tool called fly"));
    EXPECT_EQ(std::get<QString>(call(R"({"name":"get_quote","arguments":[1]})")), QStringLiteral("arguments is an object."));
    const auto placed = call(R"({"name":"place_order","arguments":{"symbol":"AAPL","side":"buy","qty":1,"reason":"test"}})");
    EXPECT_EQ(std::get<PlugAsk::Place>(std::get<PlugRequest>(placed)).order.reason, QStringLiteral("test"));
    const auto study = call(R"({"name":"get_study","arguments":{"symbol":"AAPL","studies":[{"study":"rsi","inputs":{"length":9}},{"study":"rsi","as":"slow"}]}})");
    EXPECT_EQ(std::get<PlugAsk::Study>(std::get<PlugRequest>(study)).studies.size(), 2u);

    // A setting past the double range is refused, not thrown (the fuzzer found this one).
    EXPECT_EQ(std::get<QString>(call(R"({"name":"get_study","arguments":{"symbol":"AAPL","studies":[{"study":"rsi","inputs":{"length":8e666}}]}})")),
              QStringLiteral("length is a number far out of range."));

    const Json wrapped = Json::parse(PlugMcp::toolResult(Json(9), 422, R"({"error":"no"})"));
    EXPECT_TRUE(wrapped.at("result").at("isError").toBool());
    EXPECT_EQ(wrapped.at("result").at("content").items().at(0).at("text").stringUtf8(), R"({"error":"no"})");
    EXPECT_FALSE(Json::parse(PlugMcp::toolResult(Json(9), 200, "{}")).at("result").at("isError").toBool());
}

}  // namespace
}  // namespace tavix
