#include "alpaca/AlpacaMapping.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

using namespace tavix;

namespace {

Decimal dec(std::string_view text) {
    return Decimal::parse(text).value();
}

template <class T>
T wire(const std::string& body) {
    return AlpacaDTO::decode<T>(QByteArray::fromStdString(body), "fixture");
}

Date at(const char* iso) {
    return Date::parseIso(QString::fromLatin1(iso)).value();
}

// The base record with some keys given other values or added (`extra` is a list of members).
std::string with(const std::string& base, const std::string& extra) {
    Json record = Json::parse(base);
    if (extra.empty()) return record.serializeStd();
    const Json changes = Json::parse("{" + extra + "}");
    for (const auto& [key, value] : changes.members()) {
        auto& members = record.members();
        auto found =
            std::find_if(members.begin(), members.end(), [&](const auto& m) { return m.first == key; });
        if (found != members.end()) {
            found->second = value;
        } else {
            record.set(key, value);
        }
    }
    return record.serializeStd();
}

// An order as the trading service nests it.
std::string orderJson(const std::string& id, const std::string& extra, const std::string& legs = "null") {
    return with(R"({"id":")" + id + R"(","client_order_id":"","symbol":"AAPL","asset_class":"us_equity",
        "qty":"10","filled_qty":"0","filled_avg_price":null,"order_class":"","order_type":"market",
        "side":"buy","time_in_force":"day","limit_price":null,"stop_price":null,"trail_price":null,"hwm":null,
        "status":"new",
        "extended_hours":false,"created_at":"2026-03-02T14:30:00.123456789Z",
        "submitted_at":"2026-03-02T14:30:00.123456789Z","filled_at":null,"canceled_at":null,"legs":)" +
                    legs + "}",
                extra);
}

Order mapped(const std::string& extra) {
    return AlpacaMapping::order(wire<AlpacaDTO::Order>(orderJson("o", extra)), QStringLiteral("A"));
}

TEST(AlpacaMappingWords, AssetTypeWithoutAClassComesFromTheSymbolsForm) {
    const QString none;
    EXPECT_EQ(AlpacaMapping::assetType(none, QString(), QStringLiteral("mleg")), AssetType::option);
    EXPECT_EQ(AlpacaMapping::assetType(none, QStringLiteral("AAPL260116P00190000")), AssetType::option);
    EXPECT_EQ(AlpacaMapping::assetType(none, QStringLiteral("ETH/BTC")), AssetType::crypto);
    EXPECT_EQ(AlpacaMapping::assetType(none, QStringLiteral("BTCUSD")), AssetType::crypto);
    EXPECT_EQ(AlpacaMapping::assetType(none, QStringLiteral("GBTC")), AssetType::equity);
    EXPECT_EQ(AlpacaMapping::assetType(none, QStringLiteral("MSFT")), AssetType::equity);
}

TEST(AlpacaMappingOrders, ABracketsLegsBecomeItsExits) {
    const std::string legs =
        "[" + orderJson("tp", R"("side":"sell","order_type":"limit","limit_price":"301","status":"new",
                           "client_order_id":"tavix-exit-tp")") +
        "," + orderJson("sl", R"("side":"sell","order_type":"stop","stop_price":"299","status":"held",
                           "client_order_id":"tavix-exit-sl")") +
        "]";
    const auto dto =
        wire<AlpacaDTO::Order>(orderJson("parent", R"("order_class":"bracket","order_type":"limit",
        "limit_price":"300.5","time_in_force":"gtc","client_order_id":"tavix-bot-7f3a","status":"filled",
        "filled_qty":"10","filled_avg_price":"300.37","filled_at":"2026-03-02T14:30:05.5-05:00")",
                                         legs));
    const Order order = AlpacaMapping::order(dto, QStringLiteral("PA1"));

    EXPECT_EQ(order.timeInForce, TimeInForce::goodTillCancelled);
    EXPECT_EQ(order.enteredAt, at("2026-03-02T14:30:00.123456789Z"));
    EXPECT_EQ(order.closedAt, at("2026-03-02T19:30:05.5Z"));

    ASSERT_EQ(order.legs.size(), 2u);
    const Order* takeProfit = order.takeProfitLeg();
    const Order* stopLoss = order.stopLossLeg();
    ASSERT_TRUE(takeProfit && stopLoss);
    EXPECT_EQ(takeProfit->limitPrice, dec("301"));
    EXPECT_EQ(takeProfit->status, OrderStatus::working);
    EXPECT_EQ(stopLoss->stopPrice, dec("299"));
    EXPECT_EQ(stopLoss->accountID, QStringLiteral("PA1"));
    EXPECT_TRUE(stopLoss->isOpen());
}

TEST(AlpacaMappingOrders, OptionsCoinsMoneyOrdersAndReplacements) {
    const auto option = mapped(R"("symbol":"AAPL260116C00190000","asset_class":"us_option","side":"sell",
        "position_intent":"sell_to_close","qty":"2")");
    EXPECT_EQ(option.assetType, AssetType::option);
    EXPECT_EQ(option.side, OrderSide::sellToClose);
    EXPECT_EQ(option.symbol, QStringLiteral("AAPL260116C00190000"));

    // A stock's sell_short is a sell; only options carry an intent.
    EXPECT_EQ(mapped(R"("side":"sell_short","position_intent":"sell_to_open")").side, OrderSide::sell);

    const auto coin = mapped(R"("symbol":"BTCUSD","asset_class":"crypto","qty":"0.00012345")");
    EXPECT_EQ(coin.assetType, AssetType::crypto);
    EXPECT_EQ(coin.symbol, QStringLiteral("BTC/USD"));
    EXPECT_EQ(coin.quantity, dec("0.00012345"));

    // Bought by amount of money: no quantity until it fills.
    const auto money = mapped(R"("qty":null,"notional":"500","filled_qty":"2.1345","status":"filled",
        "filled_at":"2026-03-02T14:31:00Z")");
    EXPECT_EQ(money.quantity, dec("2.1345"));
    EXPECT_EQ(money.notional, dec("500"));
    EXPECT_EQ(money.closedAt, at("2026-03-02T14:31:00Z"));

    const auto replaced = mapped(R"("order_type":"trailing_stop","side":"sell","trail_price":"2.5",
        "hwm":"310.25","status":"replaced","replaced_by":"o6","canceled_at":"2026-03-02T15:00:00Z",
        "time_in_force":"opg","extended_hours":true)");
    EXPECT_EQ(replaced.type, OrderType::trailingStop);
    EXPECT_EQ(replaced.closedAt, at("2026-03-02T15:00:00Z"));
    EXPECT_EQ(replaced.timeInForce, TimeInForce::atOpen);
    EXPECT_EQ(mapped(R"("time_in_force":"cls")").timeInForce, TimeInForce::atClose);
    EXPECT_FALSE(mapped(R"("time_in_force":"gtx")").timeInForce.has_value());
    EXPECT_EQ(mapped(R"("type":"trailing_stop","trail_percent":"2.5")").trailPercent, dec("2.5"));
    EXPECT_EQ(mapped(R"("status":"pending_review")").status, OrderStatus::pending);
    EXPECT_FALSE(replaced.clientOrderID.has_value());  // an empty id is no id

    // An order in a state Alpaca invents tomorrow still reads; it just is not open.
    const auto order = mapped(R"("status":"quantum")");
    EXPECT_EQ(order.status, OrderStatus::unknown);
    EXPECT_FALSE(order.isOpen());
}

TEST(AlpacaMappingHoldings, PositionsAreSignedAndCoinsNamedWithASlash) {
    const auto positions = wire<std::vector<AlpacaDTO::Position>>(R"([
        {"symbol":"TSLA","asset_class":"us_equity","qty":"5","qty_available":"5","avg_entry_price":"200",
         "side":"short","market_value":"-1100","unrealized_pl":"-100","unrealized_intraday_pl":"3"},
        {"symbol":"BTCUSD","asset_class":"crypto","qty":"0.5","avg_entry_price":"60000","side":"long",
         "market_value":"43500","unrealized_pl":"13500"}])");
    const Position tesla = AlpacaMapping::position(positions[0]);
    EXPECT_EQ(tesla.quantity, dec("-5"));
    EXPECT_EQ(tesla.available, dec("-5"));
    EXPECT_EQ(tesla.marketValue, dec("-1100"));

    const Position coin = AlpacaMapping::position(positions[1]);
    EXPECT_EQ(coin.assetType, AssetType::crypto);
    EXPECT_EQ(coin.symbol, QStringLiteral("BTC/USD"));
    EXPECT_FALSE(coin.available.has_value());
    EXPECT_FALSE(coin.dayPL.has_value());
}

TEST(AlpacaMappingQuotes, TheMarketDayStandsInForAMissingOrOlderDay) {
    const auto monday = wire<AlpacaDTO::Bar>(
        R"({"t":"2026-03-02T05:00:00Z","o":230.1,"h":235,"l":229.87,"c":234.56,"v":48123456,"vw":233.1})");

    // Outside the trading day the iex snapshot may hold no bars and no trade at all.
    const auto bare = wire<AlpacaDTO::Snapshot>(
        R"({"latestQuote":{"t":"2026-03-03T01:00:00Z","ap":0,"as":0,"bp":0,"bs":0}})");
    EXPECT_FALSE(AlpacaMapping::quote(QStringLiteral("AAPL"), bare).has_value());
    const auto fromDay = AlpacaMapping::quote(QStringLiteral("AAPL"), bare, monday);
    ASSERT_TRUE(fromDay.has_value());
    EXPECT_EQ(fromDay->last, dec("234.56"));
    EXPECT_EQ(fromDay->high, dec("235"));
    EXPECT_EQ(fromDay->volume, 48123456);
    EXPECT_FALSE(fromDay->bid.has_value());  // a zero bid is nobody bidding
    EXPECT_FALSE(fromDay->ask.has_value());
    EXPECT_FALSE(fromDay->previousClose.has_value());
    EXPECT_EQ(fromDay->asOf, at("2026-03-03T01:00:00Z"));

    // The snapshot still shows Friday as its day: Monday's bar is the day, Friday the day before.
    const auto friday = wire<AlpacaDTO::Snapshot>(
        R"({"latestTrade":{"t":"2026-03-02T21:00:00Z","p":234.56,"s":1},
            "dailyBar":{"t":"2026-02-27T05:00:00Z","o":228,"h":231.2,"l":227.5,"c":230.01,"v":51234567},
            "prevDailyBar":{"t":"2026-02-26T05:00:00Z","o":225,"h":229,"l":224,"c":228.5,"v":40000000}})");
    const auto rolled = AlpacaMapping::quote(QStringLiteral("AAPL"), friday, monday);
    ASSERT_TRUE(rolled.has_value());
    EXPECT_EQ(rolled->open, dec("230.1"));
    EXPECT_EQ(rolled->previousClose, dec("230.01"));
    EXPECT_EQ(rolled->change(), dec("4.55"));

    // A day bar and a "previous" one of the same day give no change rather than a wrong one.
    const auto sameDay = wire<AlpacaDTO::Snapshot>(
        R"({"latestTrade":{"t":"2026-03-02T21:00:00Z","p":234.56,"s":1},
            "prevDailyBar":{"t":"2026-03-02T05:00:00Z","o":1,"h":1,"l":1,"c":1,"v":1}})");
    EXPECT_FALSE(AlpacaMapping::quote(QStringLiteral("AAPL"), sameDay, monday)->previousClose.has_value());
}

TEST(AlpacaMappingQuotes, ContractQuotesCandlesAndTheirTimes) {
    const auto snapshots = wire<AlpacaDTO::OptionSnapshotsResponse>(R"({"snapshots":{
        "AAPL260116C00190000":{"latestQuote":{"t":"2026-01-05T15:30:00.123456789Z","ap":5.15,"bp":4.95}},
        "AAPL260116C00195000":{"latestQuote":{"t":"2026-01-05T15:30:00Z","ap":3.2,"bp":3.1},
                               "latestTrade":{"t":"2026-01-05T15:31:00Z","p":3.14,"s":2},
                               "prevDailyBar":{"t":"2026-01-02T05:00:00Z","o":3,"h":3.5,"l":2.9,"c":3.05,
                                   "v":120}},
        "AAPL260116C00400000":{"latestQuote":{"t":"2026-01-05T15:30:00Z","ap":0,"bp":0}}}})");
    const auto quoteOf = [&](const char* symbol) {
        const QString contract = QString::fromLatin1(symbol);
        return AlpacaMapping::contractQuote(contract, snapshots.snapshots.at(contract));
    };
    const auto untraded = quoteOf("AAPL260116C00190000");
    ASSERT_TRUE(untraded.has_value());
    EXPECT_EQ(untraded->last, dec("5.05"));  // between bid and ask
    EXPECT_EQ(untraded->asOf, at("2026-01-05T15:30:00.123456789Z"));

    const auto traded = quoteOf("AAPL260116C00195000");
    EXPECT_EQ(traded->last, dec("3.14"));
    EXPECT_EQ(traded->change(), dec("0.09"));
    EXPECT_EQ(traded->asOf, at("2026-01-05T15:31:00Z"));

    EXPECT_FALSE(quoteOf("AAPL260116C00400000").has_value());

    const auto candle = AlpacaMapping::candle(
        wire<AlpacaDTO::Bar>(R"({"t":"2022-01-03T09:00:00Z","o":178.26,"h":178.26,"l":178.21,"c":178.21,
                                 "v":9007199254740993,"vw":178.235733})"));
    EXPECT_EQ(candle.time, at("2022-01-03T09:00:00Z"));
    EXPECT_EQ(candle.volume, 9007199254740993);  // past 2^53, still exact
    const auto coinCandle = AlpacaMapping::candle(wire<AlpacaDTO::Bar>(
        R"({"t":"2026-03-02T14:30:00Z","o":87000,"h":87100,"l":86900,"c":87050,"v":1.6})"));
    EXPECT_EQ(coinCandle.volume, dec("1.6"));  // coins trade in fractions
}

TEST(AlpacaMappingActivities, OnlyExecutionsBecomeFills) {
    const auto activities = wire<std::vector<AlpacaDTO::Activity>>(R"([
        {"id":"a1","activity_type":"FILL","transaction_time":"2022-03-04T14:53:18.500245Z",
            "type":"partial_fill",
         "price":"2630.95","qty":"9","side":"buy","symbol":"GOOGL","order_id":"o1",
             "order_status":"partially_filled"},
        {"id":"a2","activity_type":"FILL","transaction_time":"2022-03-04T15:00:00Z","type":"fill",
         "price":"10.5","qty":"100","side":"sell_short","symbol":"XYZ","order_id":"o2"},
        {"id":"a3","activity_type":"FILL","transaction_time":"2022-03-04T15:01:00Z","type":"canceled",
         "price":"10.5","qty":"100","side":"buy","symbol":"XYZ","order_id":"o3"},
        {"id":"a4","activity_type":"FILL","transaction_time":"2026-01-05T15:31:00Z","type":"fill",
         "price":"3.14","qty":"2","side":"buy","symbol":"AAPL260116C00195000","order_id":"o4"},
        {"id":"a5","activity_type":"FILL","transaction_time":"2026-03-02T15:00:00Z","type":"fill",
         "price":"87000.5","qty":"0.0005","side":"sell","symbol":"BTC/USD","order_id":"o5"},
        {"id":"a6","activity_type":"OPEXP","date":"2026-01-16","symbol":"AAPL260116C00190000","qty":"-1",
         "status":"executed"},
        {"id":"a7","activity_type":"DIV","date":"2026-02-12","symbol":"AAPL","net_amount":"2.6",
            "qty":"10"}])");

    std::vector<Fill> fills;
    for (const auto& activity : activities) {
        if (auto fill = AlpacaMapping::fill(activity)) fills.push_back(*fill);
    }
    ASSERT_EQ(fills.size(), 4u);
    EXPECT_EQ(fills[0], (Fill{QStringLiteral("a1"), QStringLiteral("o1"), QStringLiteral("GOOGL"),
                              AssetType::equity, OrderSide::buy, dec("9"), dec("2630.95"),
                              at("2022-03-04T14:53:18.500245Z"), std::nullopt}));
    EXPECT_EQ(fills[1].side, OrderSide::sell);  // a short sale is a sale
    EXPECT_EQ(fills[2].assetType, AssetType::option);
    EXPECT_EQ(fills[2].multiplier(), 100);
    EXPECT_EQ(fills[3].assetType, AssetType::crypto);
    EXPECT_EQ(fills[3].symbol, QStringLiteral("BTC/USD"));

    // The expiry is an option event, not a fill; a dividend is neither.
    const auto expiry = AlpacaMapping::optionEvent(activities[5]);
    ASSERT_TRUE(expiry.has_value());
    EXPECT_EQ(expiry->kind, AlpacaMapping::OptionEvent::Kind::expiry);
    EXPECT_EQ(expiry->symbol, QStringLiteral("AAPL260116C00190000"));
    EXPECT_EQ(expiry->quantity, dec("-1"));
    EXPECT_FALSE(AlpacaMapping::optionEvent(activities[6]).has_value());
    EXPECT_FALSE(AlpacaMapping::optionEvent(activities[0]).has_value());
}

constexpr const char* accountBody = R"({"id":"904837e3","account_number":"PA3QWERTY12","status":"ACTIVE",
    "cash":"25000.10","buying_power":"100000.40","equity":"100123.45","last_equity":"99999.99",
    "pattern_day_trader":true,"crypto_status":"ACTIVE"})";

TEST(AlpacaMappingAccount, DayChangeIsEquityLessLastEquity) {
    const Balance balance = AlpacaMapping::balance(wire<AlpacaDTO::Account>(accountBody));
    EXPECT_EQ(balance.dayChange, dec("123.46"));  // equity − last equity, exactly
    EXPECT_EQ(balance.dayChangePercent, dec("0.1235"));

    std::string fresh = accountBody;
    fresh.replace(fresh.find(R"("last_equity":"99999.99")"), 24, R"("last_equity":"0")");
    const Balance first = AlpacaMapping::balance(wire<AlpacaDTO::Account>(fresh));
    EXPECT_EQ(first.dayChange, dec("100123.45"));
    EXPECT_FALSE(first.dayChangePercent.has_value());
}

std::string contractJson(const std::string& extra) {
    return with(
        R"({"id":"c1","symbol":"AAPL260116P00190000","name":"AAPL Jan 16 2026 190 Put","status":"active",
        "tradable":true,"expiration_date":"2026-01-16","root_symbol":"AAPL","underlying_symbol":"AAPL",
        "type":"put","style":"american","strike_price":"190","multiplier":"100","size":"100",
        "open_interest":"1234","close_price":"4.1"})",
        extra);
}

TEST(AlpacaMappingChains, ContractJoinedWithItsSnapshot) {
    const auto snapshot = wire<AlpacaDTO::OptionSnapshot>(
        R"({"latestQuote":{"t":"2026-01-05T15:30:00Z","ap":4.35,"bp":4.2},
            "latestTrade":{"t":"2026-01-05T15:29:00Z","p":4.3,"s":1},
            "greeks":{"delta":-0.4123,"gamma":0.0321,"rho":-0.0456,"theta":-0.1234,"vega":0.2345},
            "impliedVolatility":0.2871})");
    const auto contract = [](const std::string& extra) {
        return wire<AlpacaDTO::OptionContract>(contractJson(extra));
    };
    const auto row = AlpacaMapping::optionContract(contract(""), snapshot);
    ASSERT_TRUE(row.has_value());
    EXPECT_EQ(row->right, OptionRight::put);
    EXPECT_EQ(row->expiry, at("2026-01-16T05:00:00Z"));  // the day's start in New York
    EXPECT_EQ(row->last, dec("4.3"));
    EXPECT_EQ(row->delta, dec("-0.4123"));
    EXPECT_EQ(row->openInterest, 1234);
    EXPECT_EQ(row->breakEven(), dec("185.65"));

    // Without a snapshot the row still stands, priced at the last close.
    const auto bare = AlpacaMapping::optionContract(contract(R"("open_interest":null)"), std::nullopt);
    ASSERT_TRUE(bare.has_value());
    EXPECT_EQ(bare->last, dec("4.1"));
    EXPECT_FALSE(bare->bid || bare->ask || bare->delta || bare->impliedVolatility || bare->openInterest);

    // Alpaca's own answers leave "multiplier" out: the contract's size stands in, else 100.
    EXPECT_EQ(AlpacaMapping::optionContract(contract(R"("multiplier":null,"size":"10")"), std::nullopt)->multiplier,
              10);
    EXPECT_EQ(AlpacaMapping::optionContract(contract(R"("multiplier":null,"size":null)"), std::nullopt)->multiplier,
              100);

    // An unfamiliar type word falls back on the symbol; a contract that names no right is dropped.
    EXPECT_EQ(AlpacaMapping::optionContract(contract(R"("type":"PUT ")"), std::nullopt)->right,
              OptionRight::put);
    EXPECT_FALSE(AlpacaMapping::optionContract(contract(R"("type":"binary","symbol":"WEIRD1")"), std::nullopt)
                     .has_value());
}

TEST(AlpacaMappingSearch, AssetsBecomeMatchesAndCoinRules) {
    const auto assets = wire<std::vector<AlpacaDTO::Asset>>(R"([
        {"class":"us_equity","symbol":"BABA","status":"active","tradable":true,"attributes":["has_options"],
    "name":"Alibaba Group Holding Limited American Depositary Shares each representing eight Ordinary share"},
        {"class":"us_equity","symbol":"TINY","status":"active","tradable":true,
            "name":"Tiny Corp. Class A Common Stock"},
        {"class":"crypto","symbol":"BTC/USD","name":"Bitcoin  / US Dollar","status":"active","tradable":true,
         "min_order_size":"0.000018","min_trade_increment":"0.000000001","price_increment":"1"},
        {"class":"crypto","symbol":"ETH/USDT","name":"","status":"active","tradable":true,
         "min_order_size":"0.001","min_trade_increment":"0.001"},
        {"class":"us_equity","symbol":"GONE","status":"inactive","tradable":false,
            "name":"Gone Inc. Common Stock"},
        {"class":"us_equity","symbol":"HALT","status":"active","tradable":false,"name":"Halted Inc."},
        {"class":"us_option","symbol":"AAPL260116C00190000","status":"active","tradable":true,
            "name":"AAPL call"}])");

    EXPECT_EQ(AlpacaMapping::symbolMatch(assets[0]),
              (SymbolMatch{QStringLiteral("BABA"), QStringLiteral("Alibaba Group Holding Limited"), true}));
    EXPECT_EQ(AlpacaMapping::symbolMatch(assets[1]),
              (SymbolMatch{QStringLiteral("TINY"), QStringLiteral("Tiny Corp. Class A"), false}));
    EXPECT_EQ(AlpacaMapping::symbolMatch(assets[2]),
              (SymbolMatch{QStringLiteral("BTC/USD"), QStringLiteral("Bitcoin / US Dollar"), true}));
    EXPECT_EQ(AlpacaMapping::symbolMatch(assets[3]),
              (SymbolMatch{QStringLiteral("ETH/USDT"), QStringLiteral("ETH/USDT"), false}));
    for (std::size_t i = 4; i < assets.size(); ++i) EXPECT_FALSE(AlpacaMapping::symbolMatch(assets[i])) << i;

    EXPECT_EQ(AlpacaMapping::coinRules(assets[2]),
              (CoinRules{dec("0.000018"), dec("0.000000001"), dec("1")}));
    EXPECT_FALSE(AlpacaMapping::coinRules(assets[3]).has_value());  // no price step given
    EXPECT_FALSE(AlpacaMapping::coinRules(assets[0]).has_value());
}

TEST(AlpacaMappingSearch, PlainNamesLoseTheirShareClassEndings) {
    const std::vector<std::pair<const char*, const char*>> cases = {
        {"Apple Inc. Common Stock", "Apple Inc."},
        {"Spotify Technology S.A. Ordinary Shares", "Spotify Technology S.A."},
        {"Taiwan Semiconductor Manufacturing Company Ltd. American Depositary Shares",
         "Taiwan Semiconductor Manufacturing Company Ltd."},
        {"Realty Income Trust Shares of Beneficial Interest", "Realty Income Trust"},
        {"Westamerica Bancorporation Capital Stock", "Westamerica Bancorporation"},
        {"Energy Transfer LP Common Units representing Limited Partner Interests", "Energy Transfer LP"},
        {"Nokia Corporation Sponsored ADR", "Nokia Corporation"},
        {"Acme Corp, Common Stock", "Acme Corp"},
        {"SPDR S&P 500 ETF Trust", "SPDR S&P 500 ETF Trust"},
        {"Common Stock", "Common Stock"},  // nothing would be left
        {"First Ordinary Shareholders Trust",
         "First Ordinary Shareholders Trust"},  // a phrase, not a word's start
        {"Deere & Company common stock", "Deere & Company"},
    };
    for (const auto& [raw, plain] : cases) {
        EXPECT_EQ(AlpacaMapping::plainName(QString::fromUtf8(raw)), QString::fromUtf8(plain)) << raw;
    }
}

TEST(AlpacaMappingRefusals, EveryKnownRefusalBecomesASentence) {
    const auto refusal = [](const char* message) {
        return AlpacaMapping::plainRefusal(QString::fromLatin1(message), std::nullopt, std::nullopt);
    };
    const QString wider =
        QStringLiteral("the trail is wider than Alpaca allows. It can be at most a quarter of the price.");
    const QString closer =
        QStringLiteral("the trail is closer than Alpaca allows. It has to be at least 0.1% of the price.");
    const std::vector<std::pair<const char*, QString>> cases = {
        {"stop price must be less than current price",
         QStringLiteral(
             "a sell's get-out price has to be under the price now, and this one isn't. Set it lower.")},
        {"stop price must be greater than current price",
         QStringLiteral(
             "a buy's stop price has to be over the price now, and this one isn't. Set it higher.")},
        {"insufficient buying power", QStringLiteral("there isn't enough buying power for it.")},
        {"insufficient qty available for order",
         QStringLiteral(
             "it's more than is free to sell: more than you hold, or an order already resting holds "
             "the rest.")},
        {"potential wash trade detected. use complex orders",
         QStringLiteral("it could trade against an order of yours already resting on the other side, which "
                        "Alpaca won't allow. Cancel that order first.")},
        {"no available quote for symbol. please reenter with a limit",
         QStringLiteral(
             "nobody is bidding for it or offering it right now, so only an order with a limit price "
             "can go in.")},
        {"trail_price must be <= 25% of the stock price", wider},
        {"trail_percent must be <= 25", wider},
        {"trail_price must be >= 0.1% of the stock price", closer},
        {"trail_percent must be >= 0.1", closer},
        // Searched case-insensitively, inside longer messages, first fragment in the table's order wins.
        {"Order rejected: Insufficient Buying Power (required 5000)",
         QStringLiteral("there isn't enough buying power for it.")},
        {"insufficient buying power; insufficient qty",
         QStringLiteral("there isn't enough buying power for it.")},
    };
    for (const auto& [message, sentence] : cases) EXPECT_EQ(refusal(message), sentence) << message;
    // Not ours to translate: Alpaca's own words go through.
    EXPECT_FALSE(refusal("sub-penny increment does not fulfill minimum pricing criteria").has_value());
    EXPECT_FALSE(refusal("").has_value());
}

TEST(AlpacaMappingRefusals, HowManyAreFreeToSell) {
    const QString rest =
        QStringLiteral(" free to sell: it's more than you hold, or an order already resting holds the rest.");
    const std::optional<Decimal> none;
    const std::vector<std::tuple<const char*, std::optional<Decimal>, std::optional<Decimal>, QString>>
        cases = {
            {"insufficient qty available for order (requested: 10, available: 3)", none, none,
             QStringLiteral("only 3") + rest},
            {"insufficient qty (available:2.5)", none, none, QStringLiteral("only 2.5") + rest},
            // The service's real body: the message's number wins over the fields.
            {"insufficient qty available for order (requested: 5264, available: 0)", dec("5264"), dec("5000"),
             QStringLiteral("only 0") + rest},
            // No number in the words: held less what resting orders hold.
            {"insufficient qty available for order", dec("10"), dec("7.5"),
             QStringLiteral("only 2.5") + rest},
            {"INSUFFICIENT QTY", dec("4"), none, QStringLiteral("only 4") + rest},
            {"insufficient qty (available: .)", none, dec("3"),
             QStringLiteral(
                 "it's more than is free to sell: more than you hold, or an order already resting holds "
                 "the rest.")},
        };
    for (const auto& [message, held, resting, sentence] : cases) {
        EXPECT_EQ(AlpacaMapping::plainRefusal(QString::fromLatin1(message), held, resting), sentence)
            << message;
    }
}

}  // namespace
