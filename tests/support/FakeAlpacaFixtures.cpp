// The state FakeAlpaca starts with: a paper account on Monday 2026-03-02, mid-morning in New York,
// shaped as Alpaca sends it.
#include "support/FakeAlpaca.h"

#include "market/JsonCodec.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <utility>

namespace tavix::test {

namespace {

Json number(const QString& text) {
    return Json::numberFromText(text.toStdString());
}

// Cents as the shortest exact decimal text, as Alpaca writes it: 18025 -> "180.25", 18200 -> "182".
QString money(long long cents) {
    const QString sign = cents < 0 ? QStringLiteral("-") : QString();
    const long long whole = (cents < 0 ? -cents : cents);
    QString text = sign + QString::number(whole / 100);
    const long long fraction = whole % 100;
    if (fraction == 0) return text;
    text += u'.' + QStringLiteral("%1").arg(fraction, 2, 10, QChar(u'0'));
    if (text.endsWith(u'0')) text.chop(1);
    return text;
}

Json object(std::initializer_list<std::pair<const char*, Json>> members) {
    Json o = Json::object();
    for (const auto& [key, value] : members) o.set(key, value);
    return o;
}

QString stamp(int hour, int minute, int second, const char* fraction = "123456789") {
    return QStringLiteral("2026-03-02T%1:%2:%3.%4Z")
        .arg(hour, 2, 10, QChar(u'0'))
        .arg(minute, 2, 10, QChar(u'0'))
        .arg(second, 2, 10, QChar(u'0'))
        .arg(QString::fromLatin1(fraction));
}

Json stockQuote(const QString& t, const QString& bid, const QString& ask) {
    return object({{"t", Json(t)},
                   {"ax", Json("V")},
                   {"ap", number(ask)},
                   {"as", Json(3)},
                   {"bx", Json("V")},
                   {"bp", number(bid)},
                   {"bs", Json(2)},
                   {"c", Json(Json::Array{Json("R")})},
                   {"z", Json("C")}});
}

Json stockTrade(const QString& t, const QString& price, long long id) {
    return object({{"t", Json(t)},
                   {"x", Json("V")},
                   {"p", number(price)},
                   {"s", Json(100)},
                   {"c", Json(Json::Array{Json("@")})},
                   {"i", Json(id)},
                   {"z", Json("C")}});
}

Json dayBar(const QString& t, long long openCents, long long closeCents, long long volume) {
    const long long high = std::max(openCents, closeCents) + 95;
    const long long low = std::min(openCents, closeCents) - 80;
    Json b =
        FakeAlpaca::bar(t, money(openCents).toLatin1().constData(), money(high).toLatin1().constData(),
                        money(low).toLatin1().constData(), money(closeCents).toLatin1().constData(), volume);
    return b;
}

Json stockSnapshot(long long prevCloseCents, long long lastCents) {
    const QString last = money(lastCents);
    return object(
        {{"latestTrade", stockTrade(stamp(15, 4, 3, "481234567"), last, 52983525029461)},
         {"latestQuote",
          stockQuote(stamp(15, 4, 4, "917305118"), money(lastCents - 2), money(lastCents + 3))},
         {"minuteBar", dayBar(QStringLiteral("2026-03-02T15:03:00Z"), lastCents - 10, lastCents, 1843)},
         {"dailyBar",
          dayBar(QStringLiteral("2026-03-02T05:00:00Z"), prevCloseCents + 40, lastCents, 1893421)},
         {"prevDailyBar",
          dayBar(QStringLiteral("2026-02-27T05:00:00Z"), prevCloseCents - 120, prevCloseCents, 52841096)}});
}

Json cryptoSnapshot(const QString& last, const QString& bid, const QString& ask, const QString& prevClose) {
    const auto cryptoBar = [](const QString& t, const QString& close) {
        return object({{"t", Json(t)},
                       {"o", number(close)},
                       {"h", number(close)},
                       {"l", number(close)},
                       {"c", number(close)},
                       {"v", number(QStringLiteral("1.284037511"))},
                       {"n", Json(412)},
                       {"vw", number(close)}});
    };
    return object({{"latestTrade", object({{"t", Json(stamp(15, 4, 1, "770412003"))},
                                           {"p", number(last)},
                                           {"s", number(QStringLiteral("0.00041"))},
                                           {"tks", Json("B")},
                                           {"i", Json::numberFromText("9007199254740993")}})},
                   {"latestQuote", object({{"t", Json(stamp(15, 4, 2, "104938271"))},
                                           {"bp", number(bid)},
                                           {"bs", number(QStringLiteral("0.8713"))},
                                           {"ap", number(ask)},
                                           {"as", number(QStringLiteral("1.1304"))}})},
                   {"minuteBar", cryptoBar(QStringLiteral("2026-03-02T15:03:00Z"), last)},
                   {"dailyBar", cryptoBar(QStringLiteral("2026-03-02T05:00:00Z"), last)},
                   {"prevDailyBar", cryptoBar(QStringLiteral("2026-03-01T05:00:00Z"), prevClose)}});
}

Json position(const QString& symbol, const QString& assetClass, const QString& qty, const QString& entry,
              const QString& current, const QString& lastDay) {
    return object({{"asset_id", Json("b0b6dd9d-8b9b-48a9-ba46-b9d54906e415")},
                   {"symbol", Json(symbol)},
                   {"exchange", Json(assetClass == QStringLiteral("crypto") ? "CRYPTO" : "NASDAQ")},
                   {"asset_class", Json(assetClass)},
                   {"asset_marginable", Json(assetClass == QStringLiteral("us_equity"))},
                   {"qty", Json(qty)},
                   {"avg_entry_price", Json(entry)},
                   {"side", Json("long")},
                   {"market_value", Json(QStringLiteral("1825.5"))},
                   {"cost_basis", Json(QStringLiteral("1802.5"))},
                   {"unrealized_pl", Json(QStringLiteral("23"))},
                   {"unrealized_plpc", Json(QStringLiteral("0.0127600554785021"))},
                   {"unrealized_intraday_pl", Json(QStringLiteral("9.5"))},
                   {"unrealized_intraday_plpc", Json(QStringLiteral("0.0052312775330396"))},
                   {"current_price", Json(current)},
                   {"lastday_price", Json(lastDay)},
                   {"change_today", Json(QStringLiteral("0.0052312775330396"))},
                   {"qty_available", Json(qty)}});
}

Json activity(const QString& id, const QString& time, const QString& symbol, const QString& side,
              const QString& qty, const QString& price, const QString& type, const QString& orderID) {
    return object({{"id", Json(id)},
                   {"activity_type", Json("FILL")},
                   {"transaction_time", Json(time)},
                   {"type", Json(type)},
                   {"price", Json(price)},
                   {"qty", Json(qty)},
                   {"side", Json(side)},
                   {"symbol", Json(symbol)},
                   {"leaves_qty", Json("0")},
                   {"order_id", Json(orderID)},
                   {"cum_qty", Json(qty)},
                   {"order_status", Json(type == QStringLiteral("fill") ? "filled" : "partially_filled")}});
}

}  // namespace

Json FakeAlpaca::error(int code, const QString& message) {
    return object({{"code", Json(code)}, {"message", Json(message)}});
}

Json FakeAlpaca::bar(const QString& t, const char* open, const char* high, const char* low, const char* close,
                     long long volume) {
    const long long trades = volume / 97 + 1;
    return object({{"t", Json(t)},
                   {"o", Json::numberFromText(open)},
                   {"h", Json::numberFromText(high)},
                   {"l", Json::numberFromText(low)},
                   {"c", Json::numberFromText(close)},
                   {"v", Json(volume)},
                   {"n", Json(trades)},
                   {"vw", Json::numberFromText(close)}});
}

Json FakeAlpaca::trade(const QString& t, const char* price, const char* size, long long id) {
    return object({{"t", Json(t)},
                   {"x", Json("V")},
                   {"p", Json::numberFromText(price)},
                   {"s", Json::numberFromText(size)},
                   {"c", Json(Json::Array{Json("@")})},
                   {"i", Json(id)},
                   {"z", Json("C")}});
}

Json FakeAlpaca::order(const QString& id, const QString& symbol, const QString& side, const QString& type,
                       const QString& qty, const QString& status) {
    const QString submitted = QStringLiteral("2026-03-02T14:31:24.668464435Z");
    Json o = object({{"id", Json(id)},
                     {"client_order_id", Json(QStringLiteral("5680c4bc-") + id.right(12))},
                     {"created_at", Json(submitted)},
                     {"updated_at", Json(submitted)},
                     {"submitted_at", Json(submitted)},
                     {"filled_at", Json()},
                     {"expired_at", Json()},
                     {"canceled_at", Json()},
                     {"failed_at", Json()},
                     {"replaced_at", Json()},
                     {"replaced_by", Json()},
                     {"replaces", Json()},
                     {"asset_id", Json("b0b6dd9d-8b9b-48a9-ba46-b9d54906e415")},
                     {"symbol", Json(symbol)},
                     {"asset_class", Json(symbol.contains(u'/') ? "crypto" : "us_equity")},
                     {"notional", Json()},
                     {"qty", Json(qty)},
                     {"filled_qty", Json(status == QStringLiteral("filled") ? qty : QStringLiteral("0"))},
                     {"filled_avg_price", Json()},
                     {"order_class", Json("")},
                     {"order_type", Json(type)},
                     {"type", Json(type)},
                     {"side", Json(side)},
                     {"time_in_force", Json("day")},
                     {"limit_price", Json()},
                     {"stop_price", Json()},
                     {"status", Json(status)},
                     {"extended_hours", Json(false)},
                     {"legs", Json()},
                     {"trail_percent", Json()},
                     {"trail_price", Json()},
                     {"hwm", Json()}});
    return o;
}

Json FakeAlpaca::asset(const QString& symbol, const QString& name, const QString& assetClass,
                       QStringList attributes) {
    const bool crypto = assetClass == QStringLiteral("crypto");
    Json a = object({{"id", Json("b0b6dd9d-8b9b-48a9-ba46-b9d54906e415")},
                     {"class", Json(assetClass)},
                     {"exchange", Json(crypto ? "CRYPTO" : "NASDAQ")},
                     {"symbol", Json(symbol)},
                     {"name", Json(name)},
                     {"status", Json("active")},
                     {"tradable", Json(true)},
                     {"marginable", Json(!crypto)},
                     {"maintenance_margin_requirement", Json(crypto ? 100 : 30)},
                     {"shortable", Json(!crypto)},
                     {"easy_to_borrow", Json(!crypto)},
                     {"fractionable", Json(true)},
                     {"attributes", toJson(attributes)}});
    if (crypto) {
        a.set("min_order_size", "0.000018");
        a.set("min_trade_increment", "0.000000001");
        a.set("price_increment", "1");
    }
    return a;
}

void FakeAlpaca::setUpState() {
    account = object({{"id", Json("904837e3-3b76-47ec-b432-046db621571b")},
                      {"admin_configurations", Json::object()},
                      {"user_configurations", Json()},
                      {"account_number", Json("PA3KDV5RQ8LX")},
                      {"status", Json("ACTIVE")},
                      {"crypto_status", Json("ACTIVE")},
                      {"options_approved_level", Json(2)},
                      {"options_trading_level", Json(2)},
                      {"currency", Json("USD")},
                      {"buying_power", Json("187654.32")},
                      {"regt_buying_power", Json("187654.32")},
                      {"daytrading_buying_power", Json("0")},
                      {"effective_buying_power", Json("187654.32")},
                      {"non_marginable_buying_power", Json("93827.16")},
                      {"options_buying_power", Json("93827.16")},
                      {"bod_dtbp", Json("0")},
                      {"cash", Json("93827.16")},
                      {"accrued_fees", Json("0")},
                      {"portfolio_value", Json("101234.56")},
                      {"pattern_day_trader", Json(false)},
                      {"trading_blocked", Json(false)},
                      {"transfers_blocked", Json(false)},
                      {"account_blocked", Json(false)},
                      {"created_at", Json("2024-01-12T16:22:08.451261Z")},
                      {"trade_suspended_by_user", Json(false)},
                      {"multiplier", Json("2")},
                      {"shorting_enabled", Json(true)},
                      {"equity", Json("101234.56")},
                      {"last_equity", Json("100987.65")},
                      {"long_market_value", Json("7407.4")},
                      {"short_market_value", Json("0")},
                      {"position_market_value", Json("7407.4")},
                      {"initial_margin", Json("3703.7")},
                      {"maintenance_margin", Json("2222.22")},
                      {"last_maintenance_margin", Json("2201.1")},
                      {"sma", Json("98765.43")},
                      {"daytrade_count", Json(0)},
                      {"balance_asof", Json("2026-02-27")},
                      {"crypto_tier", Json(1)}});

    clock = object({{"timestamp", Json("2026-03-02T10:04:05.123456789-05:00")},
                    {"is_open", Json(true)},
                    {"next_open", Json("2026-03-03T09:30:00-05:00")},
                    {"next_close", Json("2026-03-02T16:00:00-05:00")}});

    positions = {
        position(QStringLiteral("AAPL"), QStringLiteral("us_equity"), QStringLiteral("10"),
                 QStringLiteral("180.25"), QStringLiteral("182.55"), QStringLiteral("181.6")),
        position(QStringLiteral("AAPL260320C00200000"), QStringLiteral("us_option"), QStringLiteral("1"),
                 QStringLiteral("3.1"), QStringLiteral("3.45"), QStringLiteral("3.2")),
        // Alpaca names coin positions without the slash.
        position(QStringLiteral("BTCUSD"), QStringLiteral("crypto"), QStringLiteral("0.0499875"),
                 QStringLiteral("61234.5"), QStringLiteral("62001.25"), QStringLiteral("61800")),
    };

    // Oldest first: a filled buy, a resting sell, and a bracket whose exits rest under it.
    Json filled = order(QStringLiteral("61e69015-8549-4bfd-b9c3-01e75843f47d"), QStringLiteral("AAPL"),
                        QStringLiteral("buy"), QStringLiteral("market"), QStringLiteral("10"),
                        QStringLiteral("filled"));
    for (auto& member : filled.members()) {
        if (member.first == "filled_at")
            member.second = Json(QStringLiteral("2026-03-02T14:31:25.014387261Z"));
        if (member.first == "filled_avg_price") member.second = Json(QStringLiteral("180.25"));
    }
    Json resting =
        order(QStringLiteral("a1d3f5c2-6b8e-4f10-9c2d-3e4f5a6b7c8d"), QStringLiteral("AAPL"),
              QStringLiteral("sell"), QStringLiteral("limit"), QStringLiteral("5"), QStringLiteral("new"));
    for (auto& member : resting.members()) {
        if (member.first == "limit_price") member.second = Json(QStringLiteral("195.5"));
        if (member.first == "time_in_force") member.second = Json(QStringLiteral("gtc"));
        if (member.first == "submitted_at") member.second = Json(QStringLiteral("2026-03-02T14:40:02.5Z"));
    }
    Json bracket =
        order(QStringLiteral("c7e2a9b4-1f3d-4e5a-8b6c-7d8e9f0a1b2c"), QStringLiteral("MSFT"),
              QStringLiteral("buy"), QStringLiteral("limit"), QStringLiteral("2"), QStringLiteral("filled"));
    Json takeProfit =
        order(QStringLiteral("d1e2f3a4-b5c6-4d7e-8f90-a1b2c3d4e5f6"), QStringLiteral("MSFT"),
              QStringLiteral("sell"), QStringLiteral("limit"), QStringLiteral("2"), QStringLiteral("new"));
    Json stopLoss =
        order(QStringLiteral("e2f3a4b5-c6d7-4e8f-90a1-b2c3d4e5f6a7"), QStringLiteral("MSFT"),
              QStringLiteral("sell"), QStringLiteral("stop"), QStringLiteral("2"), QStringLiteral("held"));
    for (auto& member : takeProfit.members()) {
        if (member.first == "limit_price") member.second = Json(QStringLiteral("430"));
        if (member.first == "order_class") member.second = Json(QStringLiteral("bracket"));
    }
    for (auto& member : stopLoss.members()) {
        if (member.first == "stop_price") member.second = Json(QStringLiteral("395"));
        if (member.first == "order_class") member.second = Json(QStringLiteral("bracket"));
    }
    for (auto& member : bracket.members()) {
        if (member.first == "order_class") member.second = Json(QStringLiteral("bracket"));
        if (member.first == "limit_price") member.second = Json(QStringLiteral("410.1"));
        if (member.first == "filled_avg_price") member.second = Json(QStringLiteral("410.05"));
        if (member.first == "filled_at")
            member.second = Json(QStringLiteral("2026-03-02T14:45:00.000000001Z"));
        if (member.first == "submitted_at") member.second = Json(QStringLiteral("2026-03-02T14:44:59.99Z"));
        if (member.first == "legs") member.second = Json(Json::Array{takeProfit, stopLoss});
    }
    orders = {filled, resting, bracket};

    assets = {
        asset(QStringLiteral("AAPL"), QStringLiteral("Apple Inc. Common Stock"), QStringLiteral("us_equity"),
              {QStringLiteral("fractional_eh_enabled"), QStringLiteral("has_options")}),
        asset(QStringLiteral("MSFT"), QStringLiteral("Microsoft Corporation Common Stock"),
              QStringLiteral("us_equity"), {QStringLiteral("has_options")}),
        asset(QStringLiteral("SPY"), QStringLiteral("SPDR S&P 500 ETF Trust"), QStringLiteral("us_equity"),
              {QStringLiteral("has_options")}),
        asset(QStringLiteral("BRK.B"), QStringLiteral("Berkshire Hathaway Inc. Class B Common Stock"),
              QStringLiteral("us_equity")),
        asset(QStringLiteral("BTC/USD"), QStringLiteral("Bitcoin  / US Dollar"), QStringLiteral("crypto")),
        asset(QStringLiteral("ETH/USD"), QStringLiteral("Ethereum / US Dollar"), QStringLiteral("crypto")),
    };
    Json gone = asset(QStringLiteral("OLDCO"), QStringLiteral("Old Company Ordinary Shares"),
                      QStringLiteral("us_equity"));
    for (auto& member : gone.members()) {
        if (member.first == "status") member.second = Json("inactive");
        if (member.first == "tradable") member.second = Json(false);
    }
    assets.push_back(gone);

    watchlists = {object({{"id", Json("3174d6df-7726-44b4-a5bd-7fda5ae6e009")},
                          {"account_id", Json("904837e3-3b76-47ec-b432-046db621571b")},
                          {"created_at", Json("2025-11-04T17:21:10.123456789Z")},
                          {"updated_at", Json("2026-02-27T20:01:02.987654321Z")},
                          {"name", Json("Primary Watchlist")},
                          {"assets", Json(Json::Array{assets[0], assets[1]})}})};

    activities = {
        activity(QStringLiteral("20260302144500000::8e1f0c3a-7b2d-4c5e-9f6a-1b2c3d4e5f60"),
                 QStringLiteral("2026-03-02T14:45:00.000000001Z"), QStringLiteral("MSFT"),
                 QStringLiteral("buy"), QStringLiteral("2"), QStringLiteral("410.05"), QStringLiteral("fill"),
                 QStringLiteral("c7e2a9b4-1f3d-4e5a-8b6c-7d8e9f0a1b2c")),
        activity(QStringLiteral("20260302143125014::1a2b3c4d-5e6f-4a7b-8c9d-0e1f2a3b4c5d"),
                 QStringLiteral("2026-03-02T14:31:25.014387261Z"), QStringLiteral("AAPL"),
                 QStringLiteral("buy"), QStringLiteral("6"), QStringLiteral("180.25"), QStringLiteral("fill"),
                 QStringLiteral("61e69015-8549-4bfd-b9c3-01e75843f47d")),
        activity(QStringLiteral("20260302143124990::0f1e2d3c-4b5a-4968-8776-655443322110"),
                 QStringLiteral("2026-03-02T14:31:24.990001Z"), QStringLiteral("AAPL"), QStringLiteral("buy"),
                 QStringLiteral("4"), QStringLiteral("180.25"), QStringLiteral("partial_fill"),
                 QStringLiteral("61e69015-8549-4bfd-b9c3-01e75843f47d")),
        object({{"id", Json("20260220000000000::5a4b3c2d-1e0f-4a9b-8c7d-6e5f4a3b2c1d")},
                {"activity_type", Json("OPEXP")},
                {"date", Json("2026-02-20")},
                {"net_amount", Json("0")},
                {"description", Json("Option Expiry")},
                {"symbol", Json("AAPL260220C00250000")},
                {"qty", Json("-1")},
                {"status", Json("executed")}}),
    };

    // Two expiries, three strikes, calls and puts; the far strike has no greeks yet.
    optionContracts.clear();
    optionSnapshots.clear();
    struct Expiry {
        const char* code;
        const char* date;
    };
    for (const Expiry expiry : {Expiry{"260306", "2026-03-06"}, Expiry{"260320", "2026-03-20"}}) {
        for (const int strike : {190, 200, 210}) {
            for (const char right : {'C', 'P'}) {
                const QString symbol = QStringLiteral("AAPL") + QString::fromLatin1(expiry.code) +
                                       QLatin1Char(right) +
                                       QStringLiteral("%1").arg(strike * 1000, 8, 10, QChar(u'0'));
                const bool call = right == 'C';
                const long long intrinsic =
                    call ? std::max(0LL, 18255LL - strike * 100LL) : std::max(0LL, strike * 100LL - 18255LL);
                // Time value shrinks away from the money.
                const long long distance = std::abs(strike * 100LL - 18255LL);
                const long long mid = intrinsic + std::max(20LL, 400 - distance / 5);
                optionContracts.push_back(
                    object({{"id", Json(QStringLiteral("0c6b2f2e-0000-4000-8000-") + symbol.right(12))},
                            {"symbol", Json(symbol)},
                            {"name", Json(QStringLiteral("AAPL %1 %2 %3")
                                              .arg(QString::fromLatin1(expiry.date))
                                              .arg(strike)
                                              .arg(call ? QStringLiteral("Call") : QStringLiteral("Put")))},
                            {"status", Json("active")},
                            {"tradable", Json(true)},
                            {"expiration_date", Json(expiry.date)},
                            {"root_symbol", Json("AAPL")},
                            {"underlying_symbol", Json("AAPL")},
                            {"underlying_asset_id", Json("b0b6dd9d-8b9b-48a9-ba46-b9d54906e415")},
                            {"type", Json(call ? "call" : "put")},
                            {"style", Json("american")},
                            {"strike_price", Json(QString::number(strike))},
                            {"multiplier", Json("100")},
                            {"size", Json("100")},
                            {"open_interest", Json(QString::number(1000 + strike))},
                            {"open_interest_date", Json("2026-02-27")},
                            {"close_price", Json(money(mid))},
                            {"close_price_date", Json("2026-02-27")}}));
                Json snapshot = object({{"latestQuote", object({{"t", Json(stamp(15, 4, 0, "502113847"))},
                                                                {"ax", Json("C")},
                                                                {"ap", number(money(mid + 5))},
                                                                {"as", Json(12)},
                                                                {"bx", Json("X")},
                                                                {"bp", number(money(mid - 5))},
                                                                {"bs", Json(9)},
                                                                {"c", Json("A")}})},
                                        {"latestTrade", object({{"t", Json(stamp(14, 58, 12, "310000001"))},
                                                                {"x", Json("C")},
                                                                {"p", number(money(mid))},
                                                                {"s", Json(1)},
                                                                {"c", Json("I")}})}});
                if (strike != 210) {
                    snapshot.set("greeks", object({{"delta", number(call ? QStringLiteral("0.5412")
                                                                         : QStringLiteral("-0.4588"))},
                                                   {"gamma", number(QStringLiteral("0.0311"))},
                                                   {"rho", number(QStringLiteral("0.0522"))},
                                                   {"theta", number(QStringLiteral("-0.1873"))},
                                                   {"vega", number(QStringLiteral("0.1204"))}}));
                    snapshot.set("impliedVolatility", number(QStringLiteral("0.2871")));
                }
                optionSnapshots[symbol] = snapshot;
            }
        }
    }

    stockSnapshots = {
        {QStringLiteral("AAPL"), stockSnapshot(18160, 18255)},
        {QStringLiteral("MSFT"), stockSnapshot(41212, 41005)},
        {QStringLiteral("SPY"), stockSnapshot(68401, 68555)},
    };
    cryptoSnapshots = {
        {QStringLiteral("BTC/USD"), cryptoSnapshot(QStringLiteral("62001.25"), QStringLiteral("61995.1"),
                                                   QStringLiteral("62010.705"), QStringLiteral("61800"))},
        {QStringLiteral("ETH/USD"), cryptoSnapshot(QStringLiteral("3321.4"), QStringLiteral("3320.95"),
                                                   QStringLiteral("3322.1"), QStringLiteral("3290.05"))},
    };

    // Ten trading days of daily bars, and the first half hour of today in minutes.
    stockBars.clear();
    const char* const days[] = {"2026-02-17", "2026-02-18", "2026-02-19", "2026-02-20", "2026-02-23",
                                "2026-02-24", "2026-02-25", "2026-02-26", "2026-02-27", "2026-03-02"};
    for (const auto& [symbol, base] :
         {std::pair{QStringLiteral("AAPL"), 17800LL}, std::pair{QStringLiteral("MSFT"), 40500LL}}) {
        std::vector<Json>& daily = stockBars[{symbol, QStringLiteral("1Day")}];
        long long close = base;
        int i = 0;
        for (const char* d : days) {
            const long long open = close + (i % 3 == 0 ? -35 : 20);
            close = open + (i % 2 == 0 ? 85 : -40);
            daily.push_back(dayBar(QString::fromLatin1(d) + QStringLiteral("T05:00:00Z"), open, close,
                                   41000000 + 731 * i));
            ++i;
        }
        std::vector<Json>& minutes = stockBars[{symbol, QStringLiteral("1Min")}];
        long long last = base + 420;
        for (int m = 0; m < 30; ++m) {
            const long long next = last + ((m * 7) % 5) - 2;
            minutes.push_back(dayBar(QStringLiteral("2026-03-02T14:%1:00Z").arg(30 + m, 2, 10, QChar(u'0')),
                                     last, next, 12000 + 37 * m));
            last = next;
        }
    }
    std::vector<Json>& aaplTrades = stockTrades[QStringLiteral("AAPL")];
    aaplTrades.clear();
    for (int s = 0; s < 20; ++s) {
        aaplTrades.push_back(trade(stamp(14, 30, s, "004518221"), money(18240 + s % 7).toLatin1().constData(),
                                   s % 4 == 0 ? "100" : "7", 52983525027000 + s));
    }
    cryptoBars.clear();
    std::vector<Json>& btcMinutes = cryptoBars[{QStringLiteral("BTC/USD"), QStringLiteral("1Min")}];
    for (int m = 0; m < 30; ++m) {
        const QString close = money(6199000 + 125 * m);
        btcMinutes.push_back(
            object({{"t", Json(QStringLiteral("2026-03-02T14:%1:00Z").arg(30 + m, 2, 10, QChar(u'0')))},
                    {"o", number(close)},
                    {"h", number(close)},
                    {"l", number(close)},
                    {"c", number(close)},
                    {"v", number(QStringLiteral("0.031270448"))},
                    {"n", Json(14)},
                    {"vw", number(close)}}));
    }
    std::vector<Json>& btcTrades = cryptoTrades[QStringLiteral("BTC/USD")];
    btcTrades.clear();
    for (int s = 0; s < 10; ++s) {
        btcTrades.push_back(object({{"t", Json(stamp(14, 30, s, "771203004"))},
                                    {"p", number(money(6199000 + 11 * s))},
                                    {"s", number(QStringLiteral("0.00041"))},
                                    {"tks", Json(s % 2 == 0 ? "B" : "S")},
                                    // Coin trade ids pass 2^53.
                                    {"i", Json::numberFromText(std::to_string(9007199254740993LL + s))}}));
    }
}

}  // namespace tavix::test
