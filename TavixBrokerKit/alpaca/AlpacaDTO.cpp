#include "alpaca/AlpacaDTO.h"

#include <limits>
#include <utility>

namespace tavix::AlpacaDTO {

namespace {

// The options levels come as numbers in Alpaca's documentation and as strings ("1") from the
// service itself; both read, and anything but a small whole number fails the record.
void readLevel(const JsonObjectReader& r, std::string_view key, std::optional<int>& out) {
    std::optional<Decimal> level;
    r.field(key, level);
    if (!level) {
        out.reset();
        return;
    }
    const auto whole = level->isWhole() ? level->toInt64() : std::nullopt;
    if (!whole || *whole < 0 || *whole > std::numeric_limits<int>::max()) r.fail(key, "expected a whole number");
    out = static_cast<int>(*whole);
}

}  // namespace

void fromJson(const Json& json, Account& out) {
    decodeRecord(json, "Account", out, [](const JsonObjectReader& r, Account& v) {
        r.field("id", v.id);
        r.field("account_number", v.accountNumber);
        r.field("status", v.status);
        r.field("cash", v.cash);
        r.field("buying_power", v.buyingPower);
        r.field("equity", v.equity);
        r.field("last_equity", v.lastEquity);
        r.field("pattern_day_trader", v.patternDayTrader);
        readLevel(r, "options_approved_level", v.optionsApprovedLevel);
        readLevel(r, "options_trading_level", v.optionsTradingLevel);
        r.field("options_buying_power", v.optionsBuyingPower);
        r.field("non_marginable_buying_power", v.nonMarginableBuyingPower);
        r.field("crypto_status", v.cryptoStatus);
    });
}

void fromJson(const Json& json, Bar& out) {
    decodeRecord(json, "Bar", out, [](const JsonObjectReader& r, Bar& v) {
        r.field("t", v.t);
        r.field("o", v.o);
        r.field("h", v.h);
        r.field("l", v.l);
        r.field("c", v.c);
        r.field("v", v.v);
        r.field("vw", v.vw);
    });
}

void fromJson(const Json& json, Asset& out) {
    decodeRecord(json, "Asset", out, [](const JsonObjectReader& r, Asset& v) {
        r.field("symbol", v.symbol);
        r.fieldOr("name", v.name);  // one nameless asset must not lose the whole list
        r.field("tradable", v.tradable);
        r.field("class", v.assetClass);
        r.field("status", v.status);
        r.field("min_order_size", v.minOrderSize);
        r.field("min_trade_increment", v.minTradeIncrement);
        r.field("price_increment", v.priceIncrement);
        r.fieldOr("attributes", v.attributes);
    });
}

void fromJson(const Json& json, Order& out) {
    decodeRecord(json, "Order", out, [](const JsonObjectReader& r, Order& v) {
        r.field("id", v.id);
        r.field("client_order_id", v.clientOrderID);
        // A multi-leg order leaves these out at the top (or sends them empty): its legs carry them.
        r.fieldOr("symbol", v.symbol);
        r.fieldOr("side", v.side);
        r.fieldOr("order_type", v.type);
        if (v.type.isEmpty()) r.fieldOr("type", v.type);
        r.field("qty", v.qty);
        r.field("notional", v.notional);
        r.field("filled_qty", v.filledQty);
        r.field("limit_price", v.limitPrice);
        r.field("stop_price", v.stopPrice);
        r.field("filled_avg_price", v.filledAvgPrice);
        r.field("trail_price", v.trailPrice);
        r.field("trail_percent", v.trailPercent);
        r.field("hwm", v.hwm);
        r.field("time_in_force", v.timeInForce);
        r.field("extended_hours", v.extendedHours);
        r.field("created_at", v.createdAt);
        r.field("submitted_at", v.submittedAt);
        r.field("filled_at", v.filledAt);
        r.field("canceled_at", v.canceledAt);
        r.field("expired_at", v.expiredAt);
        r.field("failed_at", v.failedAt);
        r.field("status", v.status);
        r.fieldOr("asset_class", v.assetClass);
        r.field("order_class", v.orderClass);
        r.field("position_intent", v.positionIntent);
        r.fieldOr("legs", v.legs);
        r.field("replaced_by", v.replacedBy);
    });
}

void fromJson(const Json& json, Position& out) {
    decodeRecord(json, "Position", out, [](const JsonObjectReader& r, Position& v) {
        r.field("symbol", v.symbol);
        r.field("asset_class", v.assetClass);
        r.field("qty", v.qty);
        r.field("qty_available", v.qtyAvailable);
        r.field("avg_entry_price", v.avgEntryPrice);
        r.field("market_value", v.marketValue);
        r.field("unrealized_pl", v.unrealizedPL);
        r.field("unrealized_intraday_pl", v.unrealizedIntradayPL);
        r.field("side", v.side);
    });
}

void fromJson(const Json& json, Clock& out) {
    decodeRecord(json, "Clock", out, [](const JsonObjectReader& r, Clock& v) {
        r.field("timestamp", v.timestamp);
        r.field("next_open", v.nextOpen);
        r.field("next_close", v.nextClose);
        r.field("is_open", v.isOpen);
    });
}

void fromJson(const Json& json, Watchlist::Asset& out) {
    decodeRecord(json, "Watchlist.Asset", out,
                 [](const JsonObjectReader& r, Watchlist::Asset& v) { r.field("symbol", v.symbol); });
}

void fromJson(const Json& json, Watchlist& out) {
    decodeRecord(json, "Watchlist", out, [](const JsonObjectReader& r, Watchlist& v) {
        r.field("id", v.id);
        r.field("name", v.name);
        r.fieldOr("assets", v.assets);
    });
}

void fromJson(const Json& json, Quote& out) {
    decodeRecord(json, "Quote", out, [](const JsonObjectReader& r, Quote& v) {
        r.field("bp", v.bp);
        r.field("ap", v.ap);
        r.field("t", v.t);
    });
}

void fromJson(const Json& json, Trade& out) {
    decodeRecord(json, "Trade", out, [](const JsonObjectReader& r, Trade& v) {
        r.field("p", v.p);
        r.field("s", v.s);
        r.field("t", v.t);
    });
}

void fromJson(const Json& json, Snapshot& out) {
    decodeRecord(json, "Snapshot", out, [](const JsonObjectReader& r, Snapshot& v) {
        r.field("latestTrade", v.latestTrade);
        r.field("latestQuote", v.latestQuote);
        r.field("dailyBar", v.dailyBar);
        r.field("prevDailyBar", v.prevDailyBar);
    });
}

void fromJson(const Json& json, Greeks& out) {
    decodeRecord(json, "Greeks", out, [](const JsonObjectReader& r, Greeks& v) {
        r.field("delta", v.delta);
        r.field("gamma", v.gamma);
        r.field("theta", v.theta);
        r.field("vega", v.vega);
        r.field("rho", v.rho);
    });
}

void fromJson(const Json& json, OptionSnapshot& out) {
    decodeRecord(json, "OptionSnapshot", out, [](const JsonObjectReader& r, OptionSnapshot& v) {
        r.field("latestTrade", v.latestTrade);
        r.field("latestQuote", v.latestQuote);
        r.field("dailyBar", v.dailyBar);
        r.field("prevDailyBar", v.prevDailyBar);
        r.field("greeks", v.greeks);
        r.field("impliedVolatility", v.impliedVolatility);
    });
}

void fromJson(const Json& json, OptionSnapshotsResponse& out) {
    decodeRecord(json, "OptionSnapshotsResponse", out,
                 [](const JsonObjectReader& r, OptionSnapshotsResponse& v) {
                     r.fieldOr("snapshots", v.snapshots);
                     r.field("next_page_token", v.nextPageToken);
                 });
}

void fromJson(const Json& json, CryptoSnapshotsResponse& out) {
    decodeRecord(
        json, "CryptoSnapshotsResponse", out,
        [](const JsonObjectReader& r, CryptoSnapshotsResponse& v) { r.fieldOr("snapshots", v.snapshots); });
}

void fromJson(const Json& json, OptionContract& out) {
    decodeRecord(json, "OptionContract", out, [](const JsonObjectReader& r, OptionContract& v) {
        r.field("symbol", v.symbol);
        r.field("root_symbol", v.rootSymbol);
        r.field("underlying_symbol", v.underlyingSymbol);
        r.field("status", v.status);
        r.field("type", v.type);
        r.field("tradable", v.tradable);
        QString day;
        r.field("expiration_date", day);
        v.expirationDate = QDate::fromString(day, QStringLiteral("yyyy-MM-dd"));
        if (!v.expirationDate.isValid()) r.fail("expiration_date", "expected a calendar day (yyyy-MM-dd)");
        r.field("strike_price", v.strikePrice);
        r.field("multiplier", v.multiplier);  // Alpaca's own examples leave it out
        r.field("size", v.size);
        r.field("open_interest", v.openInterest);
        r.field("close_price", v.closePrice);
    });
}

void fromJson(const Json& json, OptionContractsResponse& out) {
    decodeRecord(json, "OptionContractsResponse", out,
                 [](const JsonObjectReader& r, OptionContractsResponse& v) {
                     r.fieldOr("option_contracts", v.optionContracts);
                     r.field("next_page_token", v.nextPageToken);
                 });
}

void fromJson(const Json& json, BarsResponse& out) {
    decodeRecord(json, "BarsResponse", out, [](const JsonObjectReader& r, BarsResponse& v) {
        r.fieldOr("bars", v.bars);
        r.field("next_page_token", v.nextPageToken);
    });
}

void fromJson(const Json& json, MultiBarsResponse& out) {
    decodeRecord(json, "MultiBarsResponse", out, [](const JsonObjectReader& r, MultiBarsResponse& v) {
        r.fieldOr("bars", v.bars);
        r.field("next_page_token", v.nextPageToken);
    });
}

void fromJson(const Json& json, TradesResponse& out) {
    decodeRecord(json, "TradesResponse", out, [](const JsonObjectReader& r, TradesResponse& v) {
        r.fieldOr("trades", v.trades);
        r.field("next_page_token", v.nextPageToken);
    });
}

void fromJson(const Json& json, CryptoTradesResponse& out) {
    decodeRecord(json, "CryptoTradesResponse", out, [](const JsonObjectReader& r, CryptoTradesResponse& v) {
        r.fieldOr("trades", v.trades);
        r.field("next_page_token", v.nextPageToken);
    });
}

void fromJson(const Json& json, Activity& out) {
    decodeRecord(json, "Activity", out, [](const JsonObjectReader& r, Activity& v) {
        r.field("id", v.id);
        r.field("activity_type", v.activityType);
        r.field("transaction_time", v.time);
        if (!v.time) r.field("date", v.time);
        r.field("symbol", v.symbol);
        r.field("side", v.side);
        r.field("type", v.type);
        r.field("status", v.status);
        r.field("order_id", v.orderID);
        r.field("qty", v.qty);
        r.field("price", v.price);
        r.field("net_amount", v.netAmount);
    });
}

void fromJson(const Json& json, APIError& out) {
    decodeRecord(json, "APIError", out, [](const JsonObjectReader& r, APIError& v) {
        r.field("code", v.code);
        r.field("message", v.message);
        r.field("existing_qty", v.existingQty);
        r.field("held_for_orders", v.heldForOrders);
    });
}

}  // namespace tavix::AlpacaDTO
