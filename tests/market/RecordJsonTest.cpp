#include "market/RecordJson.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace tavix;

namespace {

Decimal dec(std::string_view text) {
    return Decimal::parse(text).value();
}

const Date opened = Date::fromSeconds(1772461800.125);
const Date closed = Date::fromSeconds(1772462100);

// Through text and back, as records are saved and loaded.
template <class T>
T roundTrip(const T& value) {
    return decodeJson<T>(Json::parse(toJson(value).serialize()));
}

std::vector<std::string> keys(const Json& json) {
    std::vector<std::string> out;
    for (const auto& member : json.members()) out.push_back(member.first);
    return out;
}

template <class T>
std::string decodeError(std::string_view text) {
    try {
        decodeJson<T>(Json::parse(text));
    } catch (const JsonError& e) {
        return e.what();
    }
    return "no error";
}

Order sellLeg(const char* id, OrderType type, OrderStatus status) {
    return Order{.id = QString::fromLatin1(id), .accountID = QStringLiteral("acct"),
                 .symbol = QStringLiteral("AAPL"), .side = OrderSide::sell, .type = type, .status = status,
                 .quantity = dec("10")};
}

Order bracketOrder() {
    Order takeProfit = sellLeg("o-2", OrderType::limit, OrderStatus::working);
    takeProfit.limitPrice = dec("210.5");
    Order stopLoss = sellLeg("o-3", OrderType::stop, OrderStatus::working);
    stopLoss.stopPrice = dec("190");
    // A leg with its own child, so nesting below the first level is covered too.
    Order trailing = sellLeg("o-4", OrderType::trailingStop, OrderStatus::replaced);
    trailing.replacedBy = QStringLiteral("o-5");
    trailing.trailAmount = dec("2.5");
    trailing.highWaterMark = dec("205.01");
    stopLoss.legs.push_back(trailing);
    Order entry = sellLeg("12345678901234567890123", OrderType::limit, OrderStatus::partiallyFilled);
    entry.assetType = AssetType::equity;
    entry.side = OrderSide::buy;
    entry.filledQuantity = dec("4");
    entry.limitPrice = dec("200.01");
    entry.averageFillPrice = dec("199.9975");
    entry.enteredAt = opened;
    entry.closedAt = closed;
    entry.legs = {takeProfit, stopLoss};
    entry.clientOrderID = QStringLiteral("tavix-bot-1");
    entry.timeInForce = TimeInForce::goodTillCancelled;
    entry.extendedHours = false;
    return entry;
}

TEST(RecordJsonRoundTrip, AccountRecords) {
    const BrokerAccount full{QStringLiteral("hash-1"), QStringLiteral("****1234"),
                             QStringLiteral(u"Spielgeld €"), QStringLiteral("margin"), true};
    const BrokerAccount bare{QStringLiteral("hash-2"), QStringLiteral("****9"), std::nullopt, std::nullopt,
                             false};
    EXPECT_EQ(roundTrip(full), full);
    EXPECT_EQ(roundTrip(bare), bare);

    const Balance balance{dec("1000.01"), dec("4000.04"), dec("25000"),
                          dec("-12.5"),   dec("-0.05"),   std::nullopt};
    EXPECT_EQ(roundTrip(balance), balance);
    const Position position{QStringLiteral("AAPL  260320C00200000"), AssetType::option, dec("-3"),
                            dec("4.35"), dec("-1305"), dec("0.000000001"), dec("12"), dec("-3")};
    EXPECT_EQ(roundTrip(position), position);
    const Position barePosition{.symbol = QStringLiteral("X"), .assetType = AssetType::crypto};
    EXPECT_EQ(roundTrip(barePosition), barePosition);
}

TEST(RecordJsonRoundTrip, PriceRecords) {
    const Quote quote{QStringLiteral("BRK.B"), dec("412.345"), dec("412.3"), dec("412.4"), dec("410"),
                      dec("415.5"), dec("409.99"), dec("408.1"), 9007199254740993, opened};
    EXPECT_EQ(roundTrip(quote), quote);
    const Quote lastOnly{.symbol = QStringLiteral("X"), .last = dec("1e-7"), .asOf = closed};
    EXPECT_EQ(roundTrip(lastOnly), lastOnly);

    const Candle candle{opened, dec("1.1"), dec("1.25"), dec("1.05"), dec("1.2"), 123456789012};
    EXPECT_EQ(roundTrip(candle), candle);
    const DateRange range{opened, closed};
    EXPECT_EQ(roundTrip(range), range);
    const OptionContract contract{QStringLiteral("AAPL  260320C00200000"), QStringLiteral("AAPL"),
                                  OptionRight::put, dec("200"), Date::fromSeconds(1773964800), dec("4.3"),
                                  dec("4.4"), dec("4.35"), dec("-0.0521"), dec("-0.45"), dec("0.2875"),
                                  15000, 10};
    EXPECT_EQ(roundTrip(contract), contract);

    const CoinRules rules{dec("0.000000001"), dec("0.000000001"), dec("0.01")};
    EXPECT_EQ(roundTrip(rules), rules);
}

TEST(RecordJsonRoundTrip, OrderRecords) {
    const OrderRequest request{QStringLiteral("AAPL"), AssetType::equity, OrderSide::sellShort, dec("12"),
                               OrderType::stopLimit, dec("99.5"), dec("100"), TimeInForce::fillOrKill,
                               OrderSession::extended, dec("90"), dec("105"), dec("0.5"),
                               QStringLiteral("mine-1")};
    EXPECT_EQ(roundTrip(request), request);
    EXPECT_EQ(roundTrip(OrderRequest{}), OrderRequest{});

    const Order order = bracketOrder();
    const Order back = roundTrip(order);
    EXPECT_EQ(back, order);
    ASSERT_EQ(back.legs.size(), 2u);
    EXPECT_EQ(back.legs[1].legs.at(0).replacedBy, QStringLiteral("o-5"));
    EXPECT_EQ(roundTrip(Order{}), Order{});

    const Fill fill{QStringLiteral("98765432109876543210"), QStringLiteral("o-1"), QStringLiteral("BTC/USD"),
                    AssetType::crypto, OrderSide::buy, dec("0.000123"), dec("64000.12"), opened,
                    dec("0.0025")};
    EXPECT_EQ(roundTrip(fill), fill);
    const Fill bareFill{.id = QStringLiteral("f"), .time = closed};
    EXPECT_EQ(roundTrip(bareFill), bareFill);

    const OrderPreview preview{
        request, dec("99.5"), dec("1194"), dec("0"), dec("2806.01"),
        {QStringLiteral("Outside regular hours."), QStringLiteral(u"Short sale: “borrow”")}};
    EXPECT_EQ(roundTrip(preview), preview);
}

TEST(RecordJsonRoundTrip, ListRecords) {
    const SymbolMatch match{QStringLiteral("MSFT"), QStringLiteral("Microsoft Corp"), true};
    EXPECT_EQ(roundTrip(match), match);
    EXPECT_EQ(roundTrip(std::vector<SymbolMatch>{match, SymbolMatch{}}),
              (std::vector<SymbolMatch>{match, SymbolMatch{}}));

    const RemoteWatchlist list{QStringLiteral("wl-1"), QStringLiteral("Tech"),
                               {QStringLiteral("MSFT"), QStringLiteral("AAPL"), QStringLiteral("NVDA")}};
    EXPECT_EQ(roundTrip(list), list);
    const RemoteWatchlist unsaved{std::nullopt, QStringLiteral("New"), {}};
    EXPECT_EQ(roundTrip(unsaved), unsaved);
}

TEST(RecordJsonShape, KeysAreFieldNamesAbsentOptionalsLeftOutEnumsByName) {
    const Quote quote{.symbol = QStringLiteral("AAPL"),
                      .last = dec("123.45"),
                      .bid = dec("123.4"),
                      .volume = 1200,
                      .asOf = Date::fromSeconds(1772461800)};
    EXPECT_EQ(toJson(quote).serializeStd(),
              R"({"symbol":"AAPL","last":123.45,"bid":123.4,"volume":1200,"asOf":"2026-03-02T14:30:00Z"})");

    const Json order = toJson(bracketOrder());
    EXPECT_EQ(keys(order), (std::vector<std::string>{"id", "accountID", "symbol", "assetType", "side", "type",
                                                     "status", "quantity", "filledQuantity", "limitPrice",
                                                     "averageFillPrice", "enteredAt", "closedAt", "legs",
                                                     "clientOrderID", "timeInForce", "extendedHours"}));
    EXPECT_EQ(order.at("status").stringUtf8(), "partiallyFilled");
    EXPECT_TRUE(order.at("extendedHours").isBool());
    EXPECT_EQ(order.at("averageFillPrice").numberText(), "199.9975");
    EXPECT_EQ(order.at("legs").items()[1].at("legs").items()[0].at("type").stringUtf8(), "trailingStop");

    const OrderRequest request{.symbol = QStringLiteral("SPY"), .quantity = dec("1")};
    EXPECT_EQ(toJson(request).serializeStd(),
              R"({"symbol":"SPY","assetType":"equity","side":"buy","quantity":1,"type":"market",)"
              R"("timeInForce":"day","session":"regular"})");
}

TEST(RecordJsonDecode, ReadsFlexibleDecimalsAndLeavesOutEmptyLists) {
    const Quote quote = decodeJson<Quote>(
        Json::parse(R"({"symbol":"AAPL","last":"123.45","bid":"0.0000001","asOf":"2026-03-02T14:30:00Z"})"));
    EXPECT_EQ(quote.last, dec("123.45"));
    EXPECT_EQ(quote.bid, dec("0.0000001"));
    EXPECT_FALSE(quote.ask.has_value());

    // Unknown keys are ignored; an order without "legs" has none; null reads as absent.
    const Order order = decodeJson<Order>(Json::parse(
        R"({"id":"1","accountID":"a","symbol":"X","assetType":"equity","side":"buy","type":"market",)"
        R"("status":"filled","quantity":5,"filledQuantity":5,"limitPrice":null,"brokerExtra":{"x":1}})"));
    EXPECT_TRUE(order.legs.empty());
    EXPECT_FALSE(order.limitPrice.has_value());
}

TEST(RecordJsonDecode, ErrorsNameTheRecordAndField) {
    EXPECT_EQ(decodeError<Quote>(R"({"symbol":"AAPL","last":true,"asOf":"2026-03-02T14:30:00Z"})"),
              "Quote.last: expected a number, found a boolean");
    EXPECT_EQ(decodeError<Quote>(R"({"last":1,"asOf":"2026-03-02T14:30:00Z"})"), "Quote.symbol: missing");
    EXPECT_EQ(decodeError<Quote>(R"({"symbol":"AAPL","last":1,"volume":1.5,"asOf":"2026-03-02T14:30:00Z"})"),
              "Quote.volume: expected a whole number");
    EXPECT_EQ(decodeError<Candle>(R"({"time":"soon","open":1,"high":1,"low":1,"close":1,"volume":1})"),
              "Candle.time: expected an ISO 8601 date");
    EXPECT_EQ(decodeError<Position>(R"({"symbol":"X","assetType":"bond","quantity":1,"averagePrice":1,)"
                                    R"("marketValue":1,"unrealizedPL":1})"),
              "Position.assetType: not one of the known cases");
    EXPECT_EQ(decodeError<Balance>("[]"), "Balance: expected an object");

    // A fault inside a nested leg names the path down to it.
    Json order = toJson(bracketOrder());
    for (auto& [key, value] : order.members()) {
        if (key == "legs") value.items()[1].members().front().second = Json(7);  // the leg's id
    }
    EXPECT_EQ(decodeError<Order>(order.serializeStd()),
              "Order.legs: [1] Order.id: expected a string, found a number");

    // A failed decode leaves the record it was decoding into as it was.
    Quote kept{.symbol = QStringLiteral("KEEP"), .last = dec("1")};
    EXPECT_THROW(fromJson(Json::parse(R"({"symbol":"NEW","last":"x"})"), kept), JsonError);
    EXPECT_EQ(kept.symbol, QStringLiteral("KEEP"));
}

}  // namespace
