#include "bots/PlugRest.h"

#include "market/Json.h"

#include <gtest/gtest.h>

namespace tavix {
namespace {

std::variant<PlugRequest, PlugReply> ask(const char* method, const char* path, const char* query = "",
                                         const QByteArray& body = {}) {
    return PlugRest::read(QByteArray(method), QString::fromLatin1(path), QString::fromLatin1(query), body);
}

// The refusal's status and sentence, or "" when the request was read.
std::pair<int, QString> refusal(const std::variant<PlugRequest, PlugReply>& read) {
    if (!std::holds_alternative<PlugReply>(read)) return {0, QString()};
    const PlugReply& reply = std::get<PlugReply>(read);
    return {reply.status, Json::parse(reply.body).at("error").toQString()};
}

template <class Asked>
const Asked& asked(const std::variant<PlugRequest, PlugReply>& read) {
    return std::get<Asked>(std::get<PlugRequest>(read));
}

TEST(PlugRest, RoutesAndTheirRefusals) {
    EXPECT_TRUE(std::holds_alternative<PlugAsk::Account>(std::get<PlugRequest>(ask("GET", "/v1/account"))));
    EXPECT_TRUE(std::holds_alternative<PlugAsk::Orders>(std::get<PlugRequest>(ask("GET", "/v1/orders"))));
    EXPECT_EQ(asked<PlugAsk::Order>(ask("GET", "/v1/orders/o-1")).id, QStringLiteral("o-1"));
    EXPECT_EQ(asked<PlugAsk::Cancel>(ask("DELETE", "/v1/orders/o-1")).id, QStringLiteral("o-1"));
    EXPECT_EQ(asked<PlugAsk::Quote>(ask("GET", "/v1/quote", "symbol=%20brk.b")).symbol, QStringLiteral("BRK.B"));
    const auto bars = asked<PlugAsk::Bars>(ask("GET", "/v1/bars", "symbol=AAPL"));
    EXPECT_EQ(bars.span, QStringLiteral("1m"));
    EXPECT_EQ(bars.limit, 100);

    const std::vector<std::tuple<const char*, const char*, const char*, int, const char*>> refused = {
        {"GET", "/nowhere", "", 404, "Nothing here. Bots use /v1/... or /mcp, and GET / says so."},
        {"GET", "/mcp", "", 405, "MCP here is POST only: there is no event stream."},
        {"GET", "/v1/quote", "", 400, "Give a symbol, such as AAPL."},
        {"GET", "/v1/quote", "symbol=123$", 400, "That isn't a symbol. Use one such as AAPL."},
        {"GET", "/v1/quote", "symbol=AAPL&symbol=MSFT", 400, "Send symbol once."},
        {"GET", "/v1/quote", "symbol=AAPL&x=1", 400, "x, which isn't asked for. This call takes symbol."},
        {"GET", "/v1/bars", "symbol=AAPL&span=2m", 400, "span is one of 1m, 5m, 15m, 30m, 1h, 1D, 1W, 1M."},
        {"GET", "/v1/bars", "symbol=AAPL&limit=0", 400, "limit is a whole number from 1 to 1000."},
        {"GET", "/v1/bars", "symbol=AAPL&limit=1001", 400, "limit is a whole number from 1 to 1000."},
        {"GET", "/v1/orders/", "", 400, "Give the order's id, as list_orders or GET /v1/orders shows it."},
        {"POST", "/v1/notes", "", 400, "Give the note's text."},
    };
    for (const auto& [method, path, query, status, sentence] : refused) {
        EXPECT_EQ(refusal(ask(method, path, query)), (std::pair{status, QString::fromUtf8(sentence)})) << path << '?' << query;
    }
    EXPECT_EQ(asked<PlugAsk::Note>(ask("POST", "/v1/notes", "", R"({"text":" watching AAPL "})")).text,
              QStringLiteral("watching AAPL"));
}

TEST(PlugRest, StudiesAreNamedSetAndChecked) {
    const auto two = asked<PlugAsk::Study>(
        ask("GET", "/v1/study", "symbol=AAPL&span=5m&study=bollingerBands&study=fast:rsi&fast.length=9"));
    ASSERT_EQ(two.studies.size(), 2u);
    EXPECT_EQ(two.studies[1].study, QStringLiteral("rsi"));
    EXPECT_EQ(two.studies[1].label, QStringLiteral("fast"));
    EXPECT_EQ(std::get<double>(two.studies[1].inputs.at(QStringLiteral("length"))), 9);
    // One study takes bare settings, words for choices.
    const auto one = asked<PlugAsk::Study>(ask("GET", "/v1/study", "symbol=AAPL&study=rsi&averageType=simple"));
    EXPECT_EQ(std::get<QString>(one.studies[0].inputs.at(QStringLiteral("averageType"))), QStringLiteral("simple"));

    EXPECT_EQ(refusal(ask("GET", "/v1/study", "symbol=AAPL&study=rsi&study=rsi")).second,
              QStringLiteral("rsi is asked for twice: give each its own name, such as sma20 and sma50."));
    EXPECT_EQ(refusal(ask("GET", "/v1/study", "symbol=AAPL&study=my-rsi:rsi")).second,
              QStringLiteral("A study's name is one word of letters and digits, such as rsi or sma50."));
    EXPECT_EQ(refusal(ask("GET", "/v1/study", "symbol=AAPL&study=rsi&study=macd&length=9")).second,
              QStringLiteral("With more than one study, say whose length it is, such as rsi.length."));
    QByteArray nine = "symbol=AAPL";
    for (int i = 0; i < 9; ++i) nine += "&study=s" + QByteArray::number(i) + ":rsi";
    EXPECT_EQ(refusal(PlugRest::read("GET", QStringLiteral("/v1/study"), QString::fromLatin1(nine), {})).second,
              QStringLiteral("At most 8 studies a call."));
    QByteArray many = "symbol=AAPL&study=rsi";
    for (int i = 0; i < 17; ++i) many += "&rsi.x" + QByteArray::number(i) + "=1";
    EXPECT_EQ(refusal(PlugRest::read("GET", QStringLiteral("/v1/study"), QString::fromLatin1(many), {})).second,
              QStringLiteral("A study has at most 16 settings."));
    EXPECT_EQ(refusal(ask("GET", "/v1/study", "symbol=AAPL&study=nosuch")).first, 400);
}

TEST(PlugRest, OrderBodiesAndEachRefusal) {
    const PlugOrder made = std::get<PlugOrder>(PlugRest::order(
        R"({"symbol":"aapl","side":"BUY","qty":"1.5","type":"limit","limit_price":182.5,"reason":"breakout"})"));
    EXPECT_EQ(made, (PlugOrder{.symbol = QStringLiteral("AAPL"), .side = QStringLiteral("buy"), .qty = *Decimal::parse("1.5"),
                               .type = QStringLiteral("limit"), .limitPrice = *Decimal::parse("182.5"),
                               .reason = QStringLiteral("breakout")}));
    const std::vector<std::pair<QByteArray, const char*>> refused = {
        {"[1]", R"(The body is a JSON object, such as {"symbol":"AAPL","side":"buy","qty":1,"reason":"..."})"},
        {R"({"symbol":"AAPL","colour":"red"})",
         "colour isn't an order field. The fields are symbol, side, qty, type, limit_price, stop_price, trail_price, "
         "time_in_force and reason."},
        {R"({"side":"buy"})", "Give a symbol, such as AAPL."},
        {R"({"symbol":"AAPL","side":"hold"})", "side is buy or sell."},
        {R"({"symbol":"AAPL","side":"buy","qty":0})", "qty is how many shares: a number above 0."},
        {R"({"symbol":"AAPL","side":"buy","qty":"lots"})", "qty is how many shares: a number above 0."},
        {R"({"symbol":"AAPL","side":"buy","qty":1,"limit_price":-1,"reason":"x"})", "limit_price is a price above 0."},
        {R"({"symbol":"AAPL","side":"sell","qty":1,"type":"trailing_stop","reason":"x"})",
         "Give the trail as trail_price, in dollars a share: 5% of a $100 share is 5."},
        {R"({"symbol":"AAPL","side":"buy","qty":1})", "Give a reason, in your own words: the user sees it beside the order."},
        {R"({"symbol":"AAPL","side":"buy","qty":1,"reason":7})", "reason is words: why this order."},
    };
    for (const auto& [body, sentence] : refused) {
        const auto read = PlugRest::order(body);
        ASSERT_TRUE(std::holds_alternative<QString>(read)) << body.toStdString();
        EXPECT_EQ(std::get<QString>(read), QString::fromUtf8(sentence));
    }
}

TEST(PlugRest, TheIndexListsEveryCallInOrder) {
    const Json index = Json::parse(PlugRest::index());
    EXPECT_EQ(index.at("name").toQString(), QStringLiteral("Tavix"));
    EXPECT_EQ(index.at("plug").toInt64(), 1);
    EXPECT_EQ(index.at("mcp").toQString(), QStringLiteral("/mcp"));
    ASSERT_EQ(index.at("calls").items().size(), 11u);
    EXPECT_EQ(index.at("calls").items().front().at("call").toQString(), QStringLiteral("GET /v1/account"));
    EXPECT_EQ(index.at("calls").items().back().at("description").toQString(),
              QStringLiteral("A line on its row: {\"text\": \"...\"}."));
}

}  // namespace
}  // namespace tavix
