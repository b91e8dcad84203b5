#include "market/RecordJson.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

using namespace tavix;

namespace {

Decimal dec(std::string_view text) {
    return Decimal::parse(text).value();
}
QString q(const char* text) {
    return QString::fromUtf8(text);
}

const Date opened = Date::fromSeconds(1772461800.125);
const Date closed = Date::fromSeconds(1772462100);

// Each value through text and back, as records are saved and loaded.
template <class... T>
void expectRoundTrips(const T&... values) {
    auto one = [](const auto& value) {
        using Value = std::decay_t<decltype(value)>;
        SCOPED_TRACE(toJson(value).serializeStd());
        EXPECT_EQ(decodeJson<Value>(Json::parse(toJson(value).serialize())), value);
    };
    (one(values), ...);
}

std::string decodeError(const Json& json, auto& out) {
    try {
        fromJson(json, out);
    } catch (const JsonError& e) {
        return e.what();
    }
    return "no error";
}

template <class T>
std::string decodeError(std::string_view text) {
    T out;
    return decodeError(Json::parse(text), out);
}

// An entry with two exits, one of which has its own child, so nesting below the first level is covered.
Order bracketOrder() {
    const auto sell = [](const char* id, OrderType type, OrderStatus status) {
        return Order{.id = q(id), .accountID = q("acct"), .symbol = q("AAPL"), .side = OrderSide::sell,
                     .type = type, .status = status, .quantity = dec("10")};
    };
    Order takeProfit = sell("o-2", OrderType::limit, OrderStatus::working);
    takeProfit.limitPrice = dec("210.5");
    Order trailing = sell("o-4", OrderType::trailingStop, OrderStatus::replaced);
    std::tie(trailing.replacedBy, trailing.trailAmount, trailing.highWaterMark) =
        std::tuple(q("o-5"), dec("2.5"), dec("205.01"));
    Order stopLoss = sell("o-3", OrderType::stop, OrderStatus::working);
    std::tie(stopLoss.stopPrice, stopLoss.legs) = std::tuple(dec("190"), std::vector{trailing});
    return {q("12345678901234567890123"), q("acct"), q("AAPL"), AssetType::equity, OrderSide::buy,
            OrderType::limit, OrderStatus::partiallyFilled, dec("10"), dec("4"), dec("200.01"), std::nullopt,
            dec("199.9975"), opened, closed, {takeProfit, stopLoss}, q("tavix-bot-1"), std::nullopt,
            TimeInForce::goodTillCancelled, false, std::nullopt, std::nullopt};
}

TEST(RecordJsonRoundTrip, EveryRecordAndValueSurvivesTextAndBack) {
    const OrderRequest request{q("AAPL"),      AssetType::equity,       OrderSide::sellShort, dec("12"),
                               OrderType::stopLimit, dec("99.5"), dec("100"), TimeInForce::fillOrKill,
                               OrderSession::extended, dec("90"), dec("105"), dec("0.5"), q("mine-1")};
    const SymbolMatch match{q("MSFT"), q("Microsoft Corp"), true};
    expectRoundTrips(
        BrokerAccount{q("hash-1"), q("****1234"), q("Spielgeld €"), q("margin"), true},
        BrokerAccount{q("hash-2"), q("****9"), std::nullopt, std::nullopt, false},
        Balance{dec("1000.01"), dec("4000.04"), dec("25000"), dec("-12.5"), dec("-0.05"), std::nullopt},
        Position{q("AAPL  260320C00200000"), AssetType::option, dec("-3"), dec("4.35"), dec("-1305"),
                 dec("0.000000001"), dec("12"), dec("-3")},
        Position{.symbol = q("X"), .assetType = AssetType::crypto},
        Quote{q("BRK.B"), dec("412.345"), dec("412.3"), dec("412.4"), dec("410"), dec("415.5"), dec("409.99"),
              dec("408.1"), 9007199254740993, opened},
        Quote{.symbol = q("X"), .last = dec("1e-7"), .asOf = closed},
        Candle{opened, dec("1.1"), dec("1.25"), dec("1.05"), dec("1.2"), 123456789012}, DateRange{opened, closed},
        OptionContract{q("AAPL  260320C00200000"), q("AAPL"), OptionRight::put, dec("200"),
                       Date::fromSeconds(1773964800), dec("4.3"), dec("4.4"), dec("4.35"), dec("-0.0521"),
                       dec("-0.45"), dec("0.2875"), 15000, 10},
        CoinRules{dec("0.000000001"), dec("0.000000001"), dec("0.01")}, request, OrderRequest{}, bracketOrder(),
        Order{},
        Fill{q("98765432109876543210"), q("o-1"), q("BTC/USD"), AssetType::crypto, OrderSide::buy,
             dec("0.000123"), dec("64000.12"), opened, dec("0.0025")},
        Fill{.id = q("f"), .time = closed},
        OrderPreview{request, dec("99.5"), dec("1194"), dec("0"), dec("2806.01"),
                     {q("Outside regular hours."), q("Short sale: “borrow”")}},
        match, std::vector<SymbolMatch>{match, SymbolMatch{}},
        RemoteWatchlist{q("wl-1"), q("Tech"), {q("MSFT"), q("AAPL"), q("NVDA")}},
        RemoteWatchlist{std::nullopt, q("New"), {}});

    // The plain values records are made of.
    expectRoundTrips(dec("-0.00000001"), dec("12345678901234567890123"), Date::fromSeconds(1772461800.25),
                     std::numeric_limits<int>::min(), std::int64_t{9007199254740993},
                     std::numeric_limits<long long>::max(), 1e-300, true, OrderStatus::partiallyFilled,
                     QStringList{q("AAPL"), q("BRK.B"), q("ü")}, std::vector<Decimal>{dec("1.5"), dec("0.0001")},
                     std::set<QString>{q("b"), q("a")},
                     std::map<QString, Decimal>{{q("MSFT"), dec("410.2")}, {q("AAPL"), dec("1")}});
}

TEST(RecordJsonShape, KeysAreFieldNamesAbsentOptionalsLeftOutEnumsByName) {
    const Quote quote{.symbol = q("AAPL"), .last = dec("123.45"), .bid = dec("123.4"), .volume = 1200,
                      .asOf = Date::fromSeconds(1772461800)};
    EXPECT_EQ(toJson(quote).serializeStd(),
              R"({"symbol":"AAPL","last":123.45,"bid":123.4,"volume":1200,"asOf":"2026-03-02T14:30:00Z"})");
    EXPECT_EQ(toJson(OrderRequest{.symbol = q("SPY"), .quantity = dec("1")}).serializeStd(),
              R"({"symbol":"SPY","assetType":"equity","side":"buy","quantity":1,"type":"market",)"
              R"("timeInForce":"day","session":"regular"})");
    EXPECT_EQ(toJson(Date::fromSeconds(1772461800.25)).stringUtf8(), "2026-03-02T14:30:00.25Z");
    EXPECT_EQ(toJson(std::map<QString, Decimal>{{q("MSFT"), dec("410.2")}, {q("AAPL"), dec("1")}}).serializeStd(),
              R"({"AAPL":1,"MSFT":410.2})");
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
    EXPECT_EQ(decodeJson<Date>(Json("2026-03-02T09:30:00-05:00")), Date::fromSeconds(1772461800));
}

TEST(RecordJsonDecode, ErrorsNameTheRecordAndField) {
    EXPECT_EQ(decodeError<Quote>(R"({"symbol":"AAPL","last":true,"asOf":"2026-03-02T14:30:00Z"})"),
              "Quote.last: expected a number, found a boolean");
    EXPECT_EQ(decodeError<Quote>(R"({"last":1,"asOf":"2026-03-02T14:30:00Z"})"), "Quote.symbol: missing");
    EXPECT_EQ(decodeError<Quote>(R"({"symbol":"AAPL","last":1,"volume":"many","asOf":"2026-03-02T14:30:00Z"})"),
              "Quote.volume: expected a decimal number in the string");
    // Coins trade in fractions, and their volumes keep them.
    EXPECT_EQ(decodeJson<Candle>(Json::parse(R"({"time":"2026-03-02T14:30:00Z","open":1,"high":1,"low":1,)"
                                             R"("close":1,"volume":1.284037511})"))
                  .volume,
              dec("1.284037511"));
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
    Quote kept{.symbol = q("KEEP"), .last = dec("1")};
    EXPECT_THROW(fromJson(Json::parse(R"({"symbol":"NEW","last":"x"})"), kept), JsonError);
    EXPECT_EQ(kept.symbol, q("KEEP"));
}

TEST(RecordJsonDecode, ValuesRefuseWhatTheyCannotReadAndKeepTheirOldValue) {
    Decimal kept = dec("7");
    EXPECT_EQ(decodeError(Json::parse(R"("12,5")"), kept), "expected a decimal number in the string");
    for (const char* bad : {R"("")", "true", "null"}) EXPECT_NE(decodeError(Json::parse(bad), kept), "no error");
    EXPECT_EQ(kept, dec("7"));

    Date date;
    EXPECT_NE(decodeError(Json(1772461800), date), "no error");  // seconds are not a date here
    int small = 0;
    EXPECT_EQ(decodeError(Json::parse("2147483648"), small), "a whole number out of the 32-bit range");
    EXPECT_THROW(toJson(std::numeric_limits<double>::quiet_NaN()), JsonError);

    const std::vector<Decimal> prices = {dec("1.5"), dec("0.0001")};
    std::vector<Decimal> keptPrices = prices;
    EXPECT_EQ(decodeError(Json::parse(R"([2, "x", 3])"), keptPrices), "[1] expected a decimal number in the string");
    EXPECT_EQ(keptPrices, prices);  // a failed read replaces nothing
    std::map<QString, Decimal> marks;
    EXPECT_EQ(decodeError(Json::parse(R"({"AAPL":1,"MSFT":"x"})"), marks),
              R"(["MSFT"] expected a decimal number in the string)");
}

}  // namespace
