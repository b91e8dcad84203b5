// The state FakeAlpaca starts with: a paper account on Monday 2026-03-02, mid-morning in New York,
// shaped as Alpaca sends it.
#include "support/FakeAlpaca.h"

#include <algorithm>
#include <cstdlib>

namespace tavix::test {

namespace {

// Cents as the shortest exact decimal text, as Alpaca writes it: 18025 -> "180.25", 18200 -> "182".
QString money(long long cents) {
    QString text = QString::number(cents / 100);
    if (cents % 100 == 0) return text;
    text += QStringLiteral(".%1").arg(cents % 100, 2, 10, QChar(u'0'));
    if (text.endsWith(u'0')) text.chop(1);
    return text;
}

Json parsed(const QString& text) {
    return Json::parse(text.toStdString());
}

std::vector<Json> list(const char* array) {
    return Json::parse(array).items();
}

Json dayBar(const QString& t, long long openCents, long long closeCents, long long volume) {
    const auto price = [](long long cents) { return money(cents).toLatin1(); };
    return FakeAlpaca::bar(
        t, price(openCents).constData(), price(std::max(openCents, closeCents) + 95).constData(),
        price(std::min(openCents, closeCents) - 80).constData(), price(closeCents).constData(), volume);
}

Json stockSnapshot(long long prevCloseCents, long long lastCents) {
    Json snapshot = parsed(QStringLiteral(R"({
        "latestTrade":{"t":"2026-03-02T15:04:03.481234567Z","x":"V","p":%1,"s":100,"c":["@"],"i":52983525029461,"z":"C"},
        "latestQuote":{"t":"2026-03-02T15:04:04.917305118Z","ax":"V","ap":%2,"as":3,"bx":"V","bp":%3,"bs":2,
                       "c":["R"],"z":"C"}})")
                               .arg(money(lastCents), money(lastCents + 3), money(lastCents - 2)));
    snapshot.set("dailyBar",
                 dayBar(QStringLiteral("2026-03-02T05:00:00Z"), prevCloseCents + 40, lastCents, 1893421));
    return snapshot.set("prevDailyBar", dayBar(QStringLiteral("2026-02-27T05:00:00Z"), prevCloseCents - 120,
                                               prevCloseCents, 52841096));
}

Json cryptoSnapshot(const char* last, const char* bid, const char* ask, const char* prevClose) {
    return parsed(QStringLiteral(R"({
        "latestTrade":{"t":"2026-03-02T15:04:01.770412003Z","p":%1,"s":0.00041,"tks":"B","i":9007199254740993},
        "latestQuote":{"t":"2026-03-02T15:04:02.104938271Z","bp":%2,"bs":0.8713,"ap":%3,"as":1.1304},
        "dailyBar":{"t":"2026-03-02T05:00:00Z","o":%4,"h":%1,"l":%4,"c":%1,"v":1.284037511,"n":412,"vw":%1},
        "prevDailyBar":{"t":"2026-03-01T05:00:00Z","o":%4,"h":%4,"l":%4,"c":%4,"v":1.284037511,"n":412}})")
                      .arg(QString::fromLatin1(last), QString::fromLatin1(bid), QString::fromLatin1(ask),
                           QString::fromLatin1(prevClose)));
}

Json asset(const char* symbol, const char* name, const char* attributes = "") {
    const bool crypto = QByteArray(symbol).contains('/');
    Json a = parsed(
        QStringLiteral(R"({"id":"b0b6dd9d-8b9b-48a9-ba46-b9d54906e415","class":"%1","exchange":"%2",
        "symbol":"%3","name":"%4","status":"active","tradable":true,"marginable":%5,"shortable":%5,
        "fractionable":true,"attributes":[%6]})")
            .arg(crypto ? QStringLiteral("crypto") : QStringLiteral("us_equity"),
                 crypto ? QStringLiteral("CRYPTO") : QStringLiteral("NASDAQ"), QString::fromLatin1(symbol),
                 QString::fromLatin1(name), crypto ? QStringLiteral("false") : QStringLiteral("true"),
                 QString::fromLatin1(attributes)));
    if (crypto)
        a.set("min_order_size", "0.000018")
            .set("min_trade_increment", "0.000000001")
            .set("price_increment", "1");
    return a;
}

// An order of the builder's shape with some members changed.
Json changed(const char* id, const char* symbol, const char* side, const char* type, const char* qty,
             const char* status, std::initializer_list<std::pair<const char*, Json>> changes) {
    Json o =
        FakeAlpaca::order(QString::fromLatin1(id), QString::fromLatin1(symbol), QString::fromLatin1(side),
                          QString::fromLatin1(type), QString::fromLatin1(qty), QString::fromLatin1(status));
    for (const auto& [key, value] : changes) FakeAlpaca::put(o, key, value);
    return o;
}

// A call spread: one order whose legs name the contracts, with no symbol or side of its own.
Json mlegOrder() {
    const auto leg = [](const char* id, const char* symbol, const char* side, const char* intent) {
        return changed(id, symbol, side, "limit", "1", "new",
                       {{"asset_class", "us_option"}, {"position_intent", intent}, {"order_class", "mleg"},
                        {"ratio_qty", "1"}, {"order_type", ""}, {"type", ""}});
    };
    Json order = parsed(QStringLiteral(R"({"id":"f1e2d3c4-b5a6-4978-8695-a4b3c2d1e0f9",
        "client_order_id":"9a8b7c6d-spread","created_at":"2026-03-02T14:50:00.5Z","updated_at":"2026-03-02T14:50:00.5Z",
        "submitted_at":"2026-03-02T14:50:00.5Z","filled_at":null,"expired_at":null,"canceled_at":null,
        "failed_at":null,"replaced_at":null,"replaced_by":null,"replaces":null,"asset_class":"","notional":null,
        "qty":"1","filled_qty":"0","filled_avg_price":null,"order_class":"mleg","order_type":"limit",
        "type":"limit","time_in_force":"day","limit_price":"1.25","stop_price":null,"status":"new",
        "extended_hours":false,"trail_percent":null,"trail_price":null,"hwm":null})"));
    return order.set("legs", Json(Json::Array{leg("f1e2d3c4-b5a6-4978-8695-a4b3c2d1e0fa", "AAPL260320C00190000",
                                                   "buy", "buy_to_open"),
                                               leg("f1e2d3c4-b5a6-4978-8695-a4b3c2d1e0fb", "AAPL260320C00200000",
                                                   "sell", "sell_to_open")}));
}

}  // namespace

Json FakeAlpaca::error(int code, const QString& message) {
    return Json(Json::Object{{"code", Json(code)}, {"message", Json(message)}});
}

Json FakeAlpaca::bar(const QString& t, const char* open, const char* high, const char* low, const char* close,
                     long long volume) {
    return Json(Json::Object{{"t", Json(t)},
                             {"o", Json::numberFromText(open)},
                             {"h", Json::numberFromText(high)},
                             {"l", Json::numberFromText(low)},
                             {"c", Json::numberFromText(close)},
                             {"v", Json(volume)},
                             {"n", Json(volume / 97 + 1)},
                             {"vw", Json::numberFromText(close)}});
}

Json FakeAlpaca::trade(const QString& t, const char* price, const char* size, long long id) {
    return Json(Json::Object{{"t", Json(t)},
                             {"x", Json("V")},
                             {"p", Json::numberFromText(price)},
                             {"s", Json::numberFromText(size)},
                             {"c", Json(Json::Array{Json("@")})},
                             {"i", Json(id)},
                             {"z", Json("C")}});
}

Json FakeAlpaca::order(const QString& id, const QString& symbol, const QString& side, const QString& type,
                       const QString& qty, const QString& status) {
    return parsed(QStringLiteral(R"({"id":"%1","client_order_id":"5680c4bc-%2","created_at":"%7",
        "updated_at":"%7","submitted_at":"%7","filled_at":null,"expired_at":null,"canceled_at":null,
        "failed_at":null,"replaced_at":null,"replaced_by":null,"replaces":null,
        "asset_id":"b0b6dd9d-8b9b-48a9-ba46-b9d54906e415","symbol":"%3","asset_class":"%8","notional":null,
        "qty":"%4","filled_qty":"%9","filled_avg_price":null,"order_class":"","order_type":"%5","type":"%5",
        "side":"%6","time_in_force":"day","limit_price":null,"stop_price":null,"status":"%10",
        "extended_hours":false,"legs":null,"trail_percent":null,"trail_price":null,"hwm":null})")
                      .arg(id, id.right(12), symbol, qty, type, side,
                           QStringLiteral("2026-03-02T14:31:24.668464435Z"),
                           symbol.contains(u'/') ? QStringLiteral("crypto") : QStringLiteral("us_equity"),
                           status == QStringLiteral("filled") ? qty : QStringLiteral("0"), status));
}

// Where the shapes come from: Alpaca's official Python SDK (github.com/alpacahq/alpaca-py) records
// the service's answers in its tests. The account's options levels arrive as strings
// (tests/trading/trading_client/test_account_routes.py); option contracts come without
// "multiplier" (tests/trading/trading_client/test_option_routes.py); an order placed by money has
// "qty" null and "notional" set (tests/trading/trading_client/test_position_routes.py); multi-leg
// orders leave "symbol", "side" and "asset_class" out at the top (alpaca/trading/models.py, Order);
// "pending_review", "opg", "cls" and "PAPER_ONLY" are cases of alpaca/trading/enums.py; coin bar
// volumes are fractions (tests/data/test_historical_crypto_data.py). "options_enabled" is the
// asset attribute in Alpaca's assets documentation, where older answers said "has_options".
void FakeAlpaca::setUpState() {
    account = Json::parse(R"({"id":"904837e3-3b76-47ec-b432-046db621571b","account_number":"PA3KDV5RQ8LX",
        "status":"ACTIVE","crypto_status":"ACTIVE","options_approved_level":"2","options_trading_level":"2",
        "currency":"USD","buying_power":"187654.32","regt_buying_power":"187654.32","daytrading_buying_power":"0",
        "non_marginable_buying_power":"93827.16","options_buying_power":"93827.16","cash":"93827.16",
        "portfolio_value":"101234.56","pattern_day_trader":false,"trading_blocked":false,"multiplier":"2",
        "equity":"101234.56","last_equity":"100987.65","long_market_value":"7407.4","daytrade_count":0,
        "created_at":"2024-01-12T16:22:08.451261Z","balance_asof":"2026-02-27","crypto_tier":1})");
    clock = Json::parse(R"({"timestamp":"2026-03-02T10:04:05.123456789-05:00","is_open":true,
        "next_open":"2026-03-03T09:30:00-05:00","next_close":"2026-03-02T16:00:00-05:00"})");
    // Alpaca names coin positions without the slash.
    positions = list(R"([
        {"symbol":"AAPL","asset_class":"us_equity","qty":"10","qty_available":"10","avg_entry_price":"180.25",
         "side":"long","market_value":"1825.5","cost_basis":"1802.5","unrealized_pl":"23",
         "unrealized_intraday_pl":"9.5","current_price":"182.55","change_today":"0.0052312775330396"},
        {"symbol":"AAPL260320C00200000","asset_class":"us_option","qty":"1","qty_available":"1",
         "avg_entry_price":"3.1","side":"long","market_value":"345","unrealized_pl":"35",
         "current_price":"3.45"},
        {"symbol":"BTCUSD","asset_class":"crypto","qty":"0.0499875","qty_available":"0.0499875",
         "avg_entry_price":"61234.5","side":"long","market_value":"3099.28","unrealized_pl":"38.37",
         "current_price":"62001.25"}])");

    // Oldest first: a filled buy, a resting sell, and a bracket whose exits rest under it.
    orders = {
        changed("61e69015-8549-4bfd-b9c3-01e75843f47d", "AAPL", "buy", "market", "10", "filled",
                {{"filled_at", "2026-03-02T14:31:25.014387261Z"}, {"filled_avg_price", "180.25"}}),
        changed(
            "a1d3f5c2-6b8e-4f10-9c2d-3e4f5a6b7c8d", "AAPL", "sell", "limit", "5", "new",
            {{"limit_price", "195.5"}, {"time_in_force", "gtc"}, {"submitted_at", "2026-03-02T14:40:02.5Z"}}),
        changed("c7e2a9b4-1f3d-4e5a-8b6c-7d8e9f0a1b2c", "MSFT", "buy", "limit", "2", "filled",
                {{"order_class", "bracket"},
                 {"limit_price", "410.1"},
                 {"filled_avg_price", "410.05"},
                 {"filled_at", "2026-03-02T14:45:00.000000001Z"},
                 {"submitted_at", "2026-03-02T14:44:59.99Z"},
                 {"legs", Json(Json::Array{
                              changed("d1e2f3a4-b5c6-4d7e-8f90-a1b2c3d4e5f6", "MSFT", "sell", "limit", "2",
                                      "new", {{"limit_price", "430"}, {"order_class", "bracket"}}),
                              changed("e2f3a4b5-c6d7-4e8f-90a1-b2c3d4e5f6a7", "MSFT", "sell", "stop", "2",
                                      "held", {{"stop_price", "395"}, {"order_class", "bracket"}})})}}),
        // Bought by money, not count; a trailing stop by percent that waits for the open; a
        // two-leg call spread with nothing at the top but its class; one awaiting review.
        changed("61e69015-8549-4bfd-b9c3-01e75843f47e", "SPY", "buy", "market", "0", "accepted",
                {{"qty", Json()}, {"notional", "500"}, {"order_class", "simple"},
                 {"position_intent", "buy_to_open"}}),
        changed("b3c4d5e6-f7a8-4b9c-8d0e-1f2a3b4c5d6e", "AAPL", "sell", "trailing_stop", "3", "new",
                {{"trail_percent", "2.5"}, {"hwm", "182.55"}, {"stop_price", "177.99"}, {"time_in_force", "opg"}}),
        mlegOrder(),
        changed("0a9b8c7d-6e5f-4a3b-9c2d-1e0f9a8b7c6d", "MSFT", "buy", "limit", "1", "pending_review",
                {{"limit_price", "400"}}),
    };

    assets = {asset("AAPL", "Apple Inc. Common Stock", R"("fractional_eh_enabled","options_enabled")"),
              asset("MSFT", "Microsoft Corporation Common Stock", R"("has_options")"),
              asset("SPY", "SPDR S&P 500 ETF Trust", R"("has_options")"),
              asset("BRK.B", "Berkshire Hathaway Inc. Class B Common Stock"),
              asset("BTC/USD", "Bitcoin  / US Dollar"),
              asset("ETH/USD", "Ethereum / US Dollar"),
              asset("OLDCO", "Old Company Ordinary Shares")};
    put(put(assets.back(), "status", "inactive"), "tradable", false);

    watchlists = {Json::parse(R"({"id":"3174d6df-7726-44b4-a5bd-7fda5ae6e009",
        "account_id":"904837e3-3b76-47ec-b432-046db621571b","created_at":"2025-11-04T17:21:10.123456789Z",
        "updated_at":"2026-02-27T20:01:02.987654321Z","name":"Primary Watchlist"})")};
    watchlists[0].set("assets", Json(Json::Array{assets[0], assets[1]}));

    activities = list(R"([
        {"id":"20260302144500000::8e1f0c3a","activity_type":"FILL",
         "transaction_time":"2026-03-02T14:45:00.000000001Z",
         "type":"fill","price":"410.05","qty":"2","side":"buy","symbol":"MSFT","leaves_qty":"0","cum_qty":"2",
         "order_id":"c7e2a9b4-1f3d-4e5a-8b6c-7d8e9f0a1b2c"},
        {"id":"20260302143125014::1a2b3c4d","activity_type":"FILL",
         "transaction_time":"2026-03-02T14:31:25.014387261Z","type":"fill","price":"180.25","qty":"6",
         "side":"buy","symbol":"AAPL","leaves_qty":"0","cum_qty":"10",
         "order_id":"61e69015-8549-4bfd-b9c3-01e75843f47d"},
        {"id":"20260302143124990::0f1e2d3c","activity_type":"FILL",
         "transaction_time":"2026-03-02T14:31:24.990001Z",
         "type":"partial_fill","price":"180.25","qty":"4","side":"buy","symbol":"AAPL","leaves_qty":"6",
         "cum_qty":"4","order_id":"61e69015-8549-4bfd-b9c3-01e75843f47d"},
        {"id":"20260220000000000::5a4b3c2d","activity_type":"OPEXP","date":"2026-02-20","net_amount":"0",
         "description":"Option Expiry","symbol":"AAPL260220C00250000","qty":"-1","status":"executed"}])");

    // Two expiries, three strikes, calls and puts; the far strike has no greeks yet.
    for (const QString& date : {QStringLiteral("2026-03-06"), QStringLiteral("2026-03-20")}) {
        for (const int strike : {190, 200, 210}) {
            for (const bool call : {true, false}) {
                const QString right = call ? QStringLiteral("call") : QStringLiteral("put");
                const QString symbol = QStringLiteral("AAPL%1%2%3")
                                           .arg(date.mid(2).remove(u'-'), right.left(1).toUpper())
                                           .arg(strike * 1000, 8, 10, QChar(u'0'));
                // Time value shrinks away from the money.
                const long long mid = std::max(0LL, (call ? 1 : -1) * (18255LL - strike * 100LL)) +
                                      std::max(20LL, 400 - std::abs(strike * 100LL - 18255LL) / 5);
                optionContracts.push_back(parsed(QStringLiteral(R"({"id":"0c6b2f2e-%1","symbol":"%1",
                    "name":"AAPL %2 %3 %4","status":"active","tradable":true,"expiration_date":"%2",
                    "root_symbol":"AAPL","underlying_symbol":"AAPL","type":"%4","style":"american",
                    "strike_price":"%3","size":"100","open_interest":"%5",
                    "open_interest_date":"2026-02-27","close_price":"%6","close_price_date":"2026-02-27"})")
                                                     .arg(symbol, date, QString::number(strike), right)
                                                     .arg(1000 + strike)
                                                     .arg(money(mid))));
                Json snapshot = parsed(QStringLiteral(R"({
                    "latestQuote":{"t":"2026-03-02T15:04:00.502113847Z","ax":"C","ap":%1,"as":12,"bx":"X","bp":%2,
                                   "bs":9,"c":"A"},
                    "latestTrade":{"t":"2026-03-02T14:58:12.310000001Z","x":"C","p":%3,"s":1,"c":"I"}})")
                                           .arg(money(mid + 5), money(mid - 5), money(mid)));
                if (strike != 210) {
                    snapshot.set("greeks", parsed(QStringLiteral(R"({"delta":%1,"gamma":0.0311,"rho":0.0522,
                        "theta":-0.1873,"vega":0.1204})")
                                                      .arg(call ? QStringLiteral("0.5412")
                                                                : QStringLiteral("-0.4588"))));
                    snapshot.set("impliedVolatility", Json::numberFromText("0.2871"));
                }
                optionSnapshots[symbol] = snapshot;
            }
        }
    }

    stockSnapshots = {{QStringLiteral("AAPL"), stockSnapshot(18160, 18255)},
                      {QStringLiteral("MSFT"), stockSnapshot(41212, 41005)},
                      {QStringLiteral("SPY"), stockSnapshot(68401, 68555)}};
    cryptoSnapshots = {
        {QStringLiteral("BTC/USD"), cryptoSnapshot("62001.25", "61995.1", "62010.705", "61800")},
        {QStringLiteral("ETH/USD"), cryptoSnapshot("3321.4", "3320.95", "3322.1", "3290.05")}};

    // Ten trading days of daily bars.
    const char* const days[] = {"2026-02-17", "2026-02-18", "2026-02-19", "2026-02-20", "2026-02-23",
                                "2026-02-24", "2026-02-25", "2026-02-26", "2026-02-27", "2026-03-02"};
    for (const auto& [symbol, base] : {std::pair{"AAPL", 17800LL}, std::pair{"MSFT", 40500LL}}) {
        std::vector<Json>& daily = stockBars[{QString::fromLatin1(symbol), QStringLiteral("1Day")}];
        long long close = base;
        for (int i = 0; i < 10; ++i) {
            const long long open = close + (i % 3 == 0 ? -35 : 20);
            close = open + (i % 2 == 0 ? 85 : -40);
            daily.push_back(dayBar(QString::fromLatin1(days[i]) + QStringLiteral("T05:00:00Z"), open, close,
                                   41000000 + 731 * i));
        }
    }
}

}  // namespace tavix::test
