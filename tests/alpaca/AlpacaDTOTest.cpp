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

void expectInstant(const std::optional<Date>& date, double seconds) {
    ASSERT_TRUE(date.has_value());
    EXPECT_NEAR(date->secondsSince1970(), seconds, 1e-6);
}

// The order exactly as the trading service sends it: numbers as strings, nine fraction digits,
// null legs and an empty order class.
constexpr const char* plainOrder =
    R"({"id":"7b08df51-1a7f-4bd8-8c5c-0d6a2b3f1e90","client_order_id":"5680c4bc-0b1e",
    "symbol":"AAPL","asset_class":"us_equity","qty":"2","notional":null,"filled_qty":"0",
        "filled_avg_price":null,
    "order_class":"","order_type":"limit","type":"limit","side":"buy","time_in_force":"gtc",
        "limit_price":"150",
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
            "filled_qty":"0",
                 "type":"limit","side":"sell","time_in_force":"day","limit_price":"301","status":"new",
                 "extended_hours":false,"legs":null},
                {"id":"sl","client_order_id":"b","symbol":"AAPL","asset_class":"us_equity","qty":"10",
                    "filled_qty":"0",
                 "type":"stop","side":"sell","time_in_force":"day","stop_price":"299","status":"held",
                 "extended_hours":false}]})";
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
    EXPECT_EQ(problem.rfind("Account.options_trading_level: expected a number", 0), 0u) << problem;
}

TEST(AlpacaDTOMarketData, StockSnapshotsComeWithoutAWrapper) {
    const char* body = R"({"AAPL":{
        "latestQuote":{"t":"2026-03-02T20:59:59.999999999Z","ax":"V","ap":234.6,"as":2,"bx":"V","bp":234.5,
            "bs":1,"c":["R"],"z":"C"},
        "dailyBar":{"t":"2026-03-02T05:00:00Z","o":230.1,"h":235,"l":229.87,"c":234.56,"v":48123456789,
            "n":612345,"vw":233.1},
        "prevDailyBar":{"t":"2026-02-27T05:00:00Z","o":228,"h":231.2,"l":227.5,"c":230.01,"v":51234567,
            "n":598765}},
        "NEWCO":{"latestTrade":{"t":"2026-03-02T15:00:00Z","p":10.5,"s":3}}})";
    const auto snapshots = AlpacaDTO::decode<std::map<QString, AlpacaDTO::Snapshot>>(
        QByteArray(body), "Dictionary<String, Snapshot>");
    ASSERT_EQ(snapshots.size(), 2u);
    const auto& apple = snapshots.at(QStringLiteral("AAPL"));
    EXPECT_EQ(apple.dailyBar->v, dec("48123456789"));
    EXPECT_FALSE(apple.prevDailyBar->vw.has_value());  // a missing "vw" does not fail the bar
    expectInstant(apple.latestQuote->t, 1772485199.999999999);

    const auto& newco = snapshots.at(QStringLiteral("NEWCO"));  // new listing: one trade, nothing else
    EXPECT_TRUE(newco.latestTrade.has_value());
    EXPECT_FALSE(newco.latestQuote || newco.dailyBar || newco.prevDailyBar);

    EXPECT_EQ((decodingFailure<std::map<QString, AlpacaDTO::Snapshot>>(R"(["AAPL"])",
                                                                       "Dictionary<String, Snapshot>")),
              QStringLiteral("Dictionary<String, Snapshot>"));
    EXPECT_EQ((decodingFailure<std::map<QString, AlpacaDTO::Snapshot>>(
                  R"({"AAPL":{"latestTrade":{"t":"2026-03-02T15:00:00Z","p":"n/a","s":3}}})",
                  "Dictionary<String, Snapshot>")),
              QStringLiteral("Dictionary<String, Snapshot>"));
}

TEST(AlpacaDTOMarketData, BarPagesIncludingNullLists) {
    // A quiet range answers with null bars.
    const auto quiet =
        decoded<AlpacaDTO::BarsResponse>(R"({"bars":null,"symbol":"AAPL","next_page_token":null})");
    EXPECT_TRUE(quiet.bars.empty());

    const auto many = decoded<AlpacaDTO::MultiBarsResponse>(
        R"({"bars":{"AAPL":[{"t":"2026-03-02T05:00:00Z","o":1,"h":2,"l":0.5,"c":1.5,"v":10}],
            "MSFT":[{"t":"2026-03-02T05:00:00Z","o":3,"h":4,"l":2,"c":3.5,"v":20},
                    {"t":"2026-03-03T05:00:00Z","o":3.5,"h":4,"l":3,"c":3.75,"v":30}]},
                        "next_page_token":null})");
    EXPECT_EQ(many.bars.at(QStringLiteral("MSFT")).size(), 2u);
    EXPECT_EQ(decodingFailure<AlpacaDTO::MultiBarsResponse>(
                  R"({"bars":{"AAPL":[{"t":"2026-03-02T05:00:00Z"}]}})", "MultiBarsResponse"),
              QStringLiteral("MultiBarsResponse"));
}

TEST(AlpacaDTOTrading, AssetsWatchlistsAndContracts) {
    const auto assets = decoded<std::vector<AlpacaDTO::Asset>>(
        R"([{"id":"1","class":"us_equity","exchange":"NASDAQ","symbol":"AAPL",
            "name":"Apple Inc. Common Stock",
             "status":"active","tradable":true,"marginable":true,"shortable":true,"fractionable":true,
             "attributes":["fractional_eh_enabled","has_options"]},
            {"id":"2","class":"crypto","exchange":"CRYPTO","symbol":"BTC/USD","name":"Bitcoin  / US Dollar",
             "status":"active","tradable":true,"min_order_size":"0.000018",
                 "min_trade_increment":"0.000000001",
             "price_increment":"1"},
            {"id":"3","class":"us_equity","symbol":"ZZZQ","status":"inactive","tradable":false}])");
    ASSERT_EQ(assets.size(), 3u);
    EXPECT_TRUE(assets[0].hasOptions());
    EXPECT_FALSE(assets[1].hasOptions());
    EXPECT_TRUE(assets[2].name.isEmpty());

    const auto listed = decoded<std::vector<AlpacaDTO::Watchlist>>(
        R"([{"id":"wl1","account_id":"a","name":"Primary Watchlist","created_at":"2026-01-01T00:00:00Z"}])");
    EXPECT_TRUE(listed[0].assets.empty());

    const char* contract = R"({"option_contracts":[{"id":"c1","symbol":"AAPL260116C00190000",
        "name":"AAPL Jan 16 2026 190 Call","status":"active","tradable":true,"expiration_date":"2026-01-16",
        "root_symbol":"AAPL","underlying_symbol":"AAPL","type":"call","style":"american","strike_price":"190",
        "multiplier":"100","size":"100","open_interest":null,"close_price":null}],"next_page_token":null})";
    const auto contracts = decoded<AlpacaDTO::OptionContractsResponse>(contract);
    EXPECT_EQ(contracts.optionContracts.at(0).expirationDate, QDate(2026, 1, 16));
    EXPECT_FALSE(contracts.optionContracts[0].openInterest.has_value());

    std::string badDay = contract;
    badDay.replace(badDay.find("2026-01-16"), 10, "2026-13-16");
    EXPECT_EQ(decodingFailure<AlpacaDTO::OptionContractsResponse>(badDay.c_str(), "OptionContractsResponse"),
              QStringLiteral("OptionContractsResponse"));
    EXPECT_NE(jsonProblem<AlpacaDTO::OptionContractsResponse>(badDay.c_str())
                  .find("OptionContract.expiration_date"),
              std::string::npos);
}

TEST(AlpacaDTOTrading, ActivitiesOfEveryKindDecode) {
    const auto activities = decoded<std::vector<AlpacaDTO::Activity>>(
        R"([{"id":"20220304095318500::092cd749","activity_type":"FILL",
            "transaction_time":"2022-03-04T14:53:18.500245Z",
             "type":"fill","price":"2630.95","qty":"9","cum_qty":"10","leaves_qty":"0","side":"buy",
                 "symbol":"GOOGL",
             "order_id":"904837e3","order_status":"filled"},
            {"id":"20260116000000000::1","activity_type":"OPEXP","date":"2026-01-16","net_amount":"0",
             "symbol":"AAPL260116C00190000","qty":"-1","status":"executed"}])");
    ASSERT_EQ(activities.size(), 2u);
    EXPECT_FALSE(activities[1].side || activities[1].orderID);
    expectInstant(activities[1].time, 1768521600);  // a bare day reads as its UTC midnight
    EXPECT_EQ(activities[1].qty, dec("-1"));
}

TEST(AlpacaDTOErrors, RefusalBodies) {
    const auto qty = decoded<AlpacaDTO::APIError>(
        R"json({"available":"0","code":40310000,"existing_qty":"5264","held_for_orders":"5264",
            "message":"insufficient qty available for order (requested: 5264, available: 0)",
                "symbol":"LIDR"})json");
    EXPECT_EQ(qty.existingQty, dec("5264"));
    EXPECT_EQ(qty.heldForOrders, dec("5264"));

    const auto unauthorized = decoded<AlpacaDTO::APIError>(R"({"message":"unauthorized"})");
    EXPECT_FALSE(unauthorized.code.has_value());
    EXPECT_EQ(unauthorized.message, QStringLiteral("unauthorized"));
    EXPECT_EQ(decodingFailure<AlpacaDTO::APIError>(R"({"code":40010001})", "APIError"),
              QStringLiteral("APIError"));
}

}  // namespace
