#include "alpaca/AlpacaDTO.h"

#include <gtest/gtest.h>

#include <string>

using namespace tavix;

namespace {

Decimal dec(std::string_view text) {
    return Decimal::parse(text).value();
}

template <class T>
T decoded(const char* body) {
    return AlpacaDTO::decode<T>(QByteArray(body), "test");
}

// The record a failed decode names, or "decoded" when it did not fail.
template <class T>
QString decodingFailure(const char* body, const char* recordName) {
    try {
        AlpacaDTO::decode<T>(QByteArray(body), recordName);
    } catch (const BrokerError& e) {
        EXPECT_EQ(e.kind(), BrokerError::Kind::decoding);
        return e.text();
    }
    return QStringLiteral("decoded");
}

// The reader's own explanation, which names the record and the field.
template <class T>
std::string jsonProblem(const char* body) {
    try {
        T value{};
        fromJson(Json::parse(body), value);
    } catch (const JsonError& e) {
        return e.what();
    }
    return "no problem";
}

// The order exactly as the trading service sends it: numbers as strings, nine fraction digits,
// null legs and an empty order class.
constexpr const char* plainOrder =
    R"({"id":"7b08df51-1a7f-4bd8-8c5c-0d6a2b3f1e90","client_order_id":"5680c4bc-0b1e",
    "symbol":"AAPL","asset_class":"us_equity","qty":"2","notional":null,"filled_qty":"0",
    "filled_avg_price":null,"order_class":"","order_type":"limit","type":"limit","side":"buy",
    "time_in_force":"gtc","limit_price":"150",
    "stop_price":null,"trail_price":null,"hwm":null,"status":"accepted","extended_hours":false,"legs":null,
    "created_at":"2023-12-12T22:31:24.668464435Z","submitted_at":"2023-12-12T22:31:24.668464435Z",
    "filled_at":null,"canceled_at":null})";

TEST(AlpacaDTOOrder, NestedLegsAndTheOlderTypeKey) {
    // Legs as nested orders; the older answers carry only "type".
    const char* bracket = R"({"id":"p","client_order_id":"tavix-1","symbol":"AAPL","asset_class":"us_equity",
        "qty":"10","filled_qty":"10","filled_avg_price":"300.12","type":"market","side":"buy",
        "time_in_force":"day",
        "status":"filled","extended_hours":false,"order_class":"bracket",
        "legs":[{"id":"tp","client_order_id":"a","symbol":"AAPL","asset_class":"us_equity","qty":"10",
                 "filled_qty":"0","type":"limit","side":"sell","time_in_force":"day","limit_price":"301",
                 "status":"new","extended_hours":false,"legs":null},
                {"id":"sl","client_order_id":"b","symbol":"AAPL","asset_class":"us_equity","qty":"10",
                 "filled_qty":"0","type":"stop","side":"sell","time_in_force":"day","stop_price":"299",
                 "status":"held","extended_hours":false}]})";
    const auto order = decoded<AlpacaDTO::Order>(bracket);
    EXPECT_EQ(order.type, QStringLiteral("market"));
    EXPECT_EQ(order.legs.at(1).stopPrice, dec("299"));
    EXPECT_FALSE(order.submittedAt.has_value());  // missing times are simply absent

    // One bad leg fails the whole order, and the reader says where.
    std::string broken = bracket;
    broken.replace(broken.find(R"("stop_price":"299")"), 18, R"("stop_price":true)");
    EXPECT_EQ(decodingFailure<AlpacaDTO::Order>(broken.c_str(), "Order"), QStringLiteral("Order"));
    const auto problem = jsonProblem<AlpacaDTO::Order>(broken.c_str());
    EXPECT_NE(problem.find("Order.legs"), std::string::npos) << problem;
    EXPECT_NE(problem.find("stop_price"), std::string::npos) << problem;
}

TEST(AlpacaDTOOrder, ListsAndRequiredFields) {
    const std::string list = std::string("[") + plainOrder + "," + plainOrder + "]";
    EXPECT_EQ(decoded<std::vector<AlpacaDTO::Order>>(list.c_str()).size(), 2u);

    std::string noStatus = plainOrder;
    noStatus.replace(noStatus.find(R"("status":"accepted",)"), 20, "");
    EXPECT_EQ(decodingFailure<std::vector<AlpacaDTO::Order>>(("[" + noStatus + "]").c_str(), "Array<Order>"),
              QStringLiteral("Array<Order>"));
    EXPECT_EQ(jsonProblem<AlpacaDTO::Order>(noStatus.c_str()), "Order.status: missing");
    EXPECT_EQ(decodingFailure<AlpacaDTO::Order>("<html>502 Bad Gateway</html>", "Order"),
              QStringLiteral("Order"));
    EXPECT_EQ(decodingFailure<AlpacaDTO::Order>("", "Order"), QStringLiteral("Order"));
}

TEST(AlpacaDTOAccount, StringsExactlyOptionalsMayBeMissing) {
    const auto account = decoded<AlpacaDTO::Account>(
        R"({"id":"904837e3","account_number":"PA3QWERTY12","status":"ACTIVE","currency":"USD",
            "cash":"12345678901234567890.123456789","buying_power":"400000","equity":"100123.45",
            "last_equity":"99999.99","daytrade_count":0})");
    EXPECT_EQ(account.cash, dec("12345678901234567890.123456789"));
    EXPECT_FALSE(account.patternDayTrader || account.optionsApprovedLevel || account.cryptoStatus);

    EXPECT_EQ(decodingFailure<AlpacaDTO::Account>(
                  R"({"id":"x","account_number":"PA1","status":"ACTIVE","cash":true,"buying_power":"2",
                      "equity":"3","last_equity":"4"})",
                  "Account"),
              QStringLiteral("Account"));
    // A wrong-typed optional field is still wrong: it is reported, not quietly dropped.
    const auto problem = jsonProblem<AlpacaDTO::Account>(
        R"({"id":"x","account_number":"PA1","status":"ACTIVE","cash":"1","buying_power":"2",
            "equity":"3","last_equity":"4","options_trading_level":"two"})");
    EXPECT_EQ(problem.rfind("Account.options_trading_level: expected", 0), 0u) << problem;
    // The levels come as strings from the service and as numbers in its documentation.
    const auto levels = decoded<AlpacaDTO::Account>(
        R"({"id":"x","account_number":"PA1","status":"ACTIVE","cash":"1","buying_power":"2",
            "equity":"3","last_equity":"4","options_approved_level":"2","options_trading_level":3})");
    EXPECT_EQ(levels.optionsApprovedLevel, 2);
    EXPECT_EQ(levels.optionsTradingLevel, 3);
    EXPECT_EQ(jsonProblem<AlpacaDTO::Account>(
                  R"({"id":"x","account_number":"PA1","status":"ACTIVE","cash":"1","buying_power":"2",
                      "equity":"3","last_equity":"4","options_approved_level":"1.5"})"),
              "Account.options_approved_level: expected a whole number");
}

TEST(AlpacaDTOMarketData, NullBarListsAndBadDays) {
    // A quiet range answers with null bars.
    EXPECT_TRUE(decoded<AlpacaDTO::BarsResponse>(R"({"bars":null,"symbol":"AAPL","next_page_token":null})")
                    .bars.empty());
    EXPECT_EQ(decodingFailure<AlpacaDTO::MultiBarsResponse>(
                  R"({"bars":{"AAPL":[{"t":"2026-03-02T05:00:00Z"}]}})", "MultiBarsResponse"),
              QStringLiteral("MultiBarsResponse"));

    const char* badDay = R"({"option_contracts":[{"id":"c1","symbol":"AAPL260116C00190000","status":"active",
        "tradable":true,"expiration_date":"2026-13-16","root_symbol":"AAPL","underlying_symbol":"AAPL",
        "type":"call","style":"american","strike_price":"190","multiplier":"100","size":"100"}]})";
    EXPECT_EQ(decodingFailure<AlpacaDTO::OptionContractsResponse>(badDay, "OptionContractsResponse"),
              QStringLiteral("OptionContractsResponse"));
    EXPECT_NE(jsonProblem<AlpacaDTO::OptionContractsResponse>(badDay).find("OptionContract.expiration_date"),
              std::string::npos);
}

TEST(AlpacaDTOTrading, AnExpiryIsAnActivityWithABareDay) {
    const auto activities = decoded<std::vector<AlpacaDTO::Activity>>(
        R"([{"id":"20260116000000000::1","activity_type":"OPEXP","date":"2026-01-16","net_amount":"0",
             "symbol":"AAPL260116C00190000","qty":"-1","status":"executed"}])");
    ASSERT_EQ(activities.size(), 1u);
    EXPECT_FALSE(activities[0].side || activities[0].orderID);
    ASSERT_TRUE(activities[0].time.has_value());
    EXPECT_NEAR(activities[0].time->secondsSince1970(), 1768521600, 1e-6);  // the day's UTC midnight
    EXPECT_EQ(activities[0].qty, dec("-1"));
}

}  // namespace
