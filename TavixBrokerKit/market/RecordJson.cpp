#include "market/RecordJson.h"

#include <utility>

namespace tavix {
Json toJson(const BrokerAccount& value) {
    return JsonObjectWriter()
        .field("id", value.id)
        .field("displayNumber", value.displayNumber)
        .field("nickname", value.nickname)
        .field("type", value.type)
        .field("isDayTrader", value.isDayTrader)
        .done();
}

void fromJson(const Json& json, BrokerAccount& out) {
    decodeRecord(json, "BrokerAccount", out, [](const JsonObjectReader& r, BrokerAccount& v) {
        r.field("id", v.id);
        r.field("displayNumber", v.displayNumber);
        r.field("nickname", v.nickname);
        r.field("type", v.type);
        r.field("isDayTrader", v.isDayTrader);
    });
}

Json toJson(const Balance& value) {
    return JsonObjectWriter()
        .field("cash", value.cash)
        .field("buyingPower", value.buyingPower)
        .field("equity", value.equity)
        .field("dayChange", value.dayChange)
        .field("dayChangePercent", value.dayChangePercent)
        .field("cashToTrade", value.cashToTrade)
        .done();
}

void fromJson(const Json& json, Balance& out) {
    decodeRecord(json, "Balance", out, [](const JsonObjectReader& r, Balance& v) {
        r.field("cash", v.cash);
        r.field("buyingPower", v.buyingPower);
        r.field("equity", v.equity);
        r.field("dayChange", v.dayChange);
        r.field("dayChangePercent", v.dayChangePercent);
        r.field("cashToTrade", v.cashToTrade);
    });
}

Json toJson(const Position& value) {
    return JsonObjectWriter()
        .field("symbol", value.symbol)
        .field("assetType", value.assetType)
        .field("quantity", value.quantity)
        .field("averagePrice", value.averagePrice)
        .field("marketValue", value.marketValue)
        .field("unrealizedPL", value.unrealizedPL)
        .field("dayPL", value.dayPL)
        .field("available", value.available)
        .done();
}

void fromJson(const Json& json, Position& out) {
    decodeRecord(json, "Position", out, [](const JsonObjectReader& r, Position& v) {
        r.field("symbol", v.symbol);
        r.field("assetType", v.assetType);
        r.field("quantity", v.quantity);
        r.field("averagePrice", v.averagePrice);
        r.field("marketValue", v.marketValue);
        r.field("unrealizedPL", v.unrealizedPL);
        r.field("dayPL", v.dayPL);
        r.field("available", v.available);
    });
}

Json toJson(const Quote& value) {
    return JsonObjectWriter()
        .field("symbol", value.symbol)
        .field("last", value.last)
        .field("bid", value.bid)
        .field("ask", value.ask)
        .field("open", value.open)
        .field("high", value.high)
        .field("low", value.low)
        .field("previousClose", value.previousClose)
        .field("volume", value.volume)
        .field("asOf", value.asOf)
        .done();
}

void fromJson(const Json& json, Quote& out) {
    decodeRecord(json, "Quote", out, [](const JsonObjectReader& r, Quote& v) {
        r.field("symbol", v.symbol);
        r.field("last", v.last);
        r.field("bid", v.bid);
        r.field("ask", v.ask);
        r.field("open", v.open);
        r.field("high", v.high);
        r.field("low", v.low);
        r.field("previousClose", v.previousClose);
        r.field("volume", v.volume);
        r.field("asOf", v.asOf);
    });
}

Json toJson(const Candle& value) {
    return JsonObjectWriter()
        .field("time", value.time)
        .field("open", value.open)
        .field("high", value.high)
        .field("low", value.low)
        .field("close", value.close)
        .field("volume", value.volume)
        .done();
}

void fromJson(const Json& json, Candle& out) {
    decodeRecord(json, "Candle", out, [](const JsonObjectReader& r, Candle& v) {
        r.field("time", v.time);
        r.field("open", v.open);
        r.field("high", v.high);
        r.field("low", v.low);
        r.field("close", v.close);
        r.field("volume", v.volume);
    });
}

Json toJson(const DateRange& value) {
    return JsonObjectWriter().field("start", value.start).field("end", value.end).done();
}

void fromJson(const Json& json, DateRange& out) {
    decodeRecord(json, "DateRange", out, [](const JsonObjectReader& r, DateRange& v) {
        r.field("start", v.start);
        r.field("end", v.end);
    });
}

Json toJson(const OrderRequest& value) {
    return JsonObjectWriter()
        .field("symbol", value.symbol)
        .field("assetType", value.assetType)
        .field("side", value.side)
        .field("quantity", value.quantity)
        .field("type", value.type)
        .field("limitPrice", value.limitPrice)
        .field("stopPrice", value.stopPrice)
        .field("timeInForce", value.timeInForce)
        .field("session", value.session)
        .field("takeProfit", value.takeProfit)
        .field("stopLoss", value.stopLoss)
        .field("trailAmount", value.trailAmount)
        .field("clientOrderID", value.clientOrderID)
        .done();
}

void fromJson(const Json& json, OrderRequest& out) {
    decodeRecord(json, "OrderRequest", out, [](const JsonObjectReader& r, OrderRequest& v) {
        r.field("symbol", v.symbol);
        r.field("assetType", v.assetType);
        r.field("side", v.side);
        r.field("quantity", v.quantity);
        r.field("type", v.type);
        r.field("limitPrice", v.limitPrice);
        r.field("stopPrice", v.stopPrice);
        r.field("timeInForce", v.timeInForce);
        r.field("session", v.session);
        r.field("takeProfit", v.takeProfit);
        r.field("stopLoss", v.stopLoss);
        r.field("trailAmount", v.trailAmount);
        r.field("clientOrderID", v.clientOrderID);
    });
}

Json toJson(const Order& value) {
    return JsonObjectWriter()
        .field("id", value.id)
        .field("accountID", value.accountID)
        .field("symbol", value.symbol)
        .field("assetType", value.assetType)
        .field("side", value.side)
        .field("type", value.type)
        .field("status", value.status)
        .field("quantity", value.quantity)
        .field("filledQuantity", value.filledQuantity)
        .field("limitPrice", value.limitPrice)
        .field("stopPrice", value.stopPrice)
        .field("averageFillPrice", value.averageFillPrice)
        .field("enteredAt", value.enteredAt)
        .field("closedAt", value.closedAt)
        .field("legs", value.legs)
        .field("clientOrderID", value.clientOrderID)
        .field("replacedBy", value.replacedBy)
        .field("timeInForce", value.timeInForce)
        .field("extendedHours", value.extendedHours)
        .field("trailAmount", value.trailAmount)
        .field("highWaterMark", value.highWaterMark)
        .field("notional", value.notional)
        .field("trailPercent", value.trailPercent)
        .done();
}

void fromJson(const Json& json, Order& out) {
    decodeRecord(json, "Order", out, [](const JsonObjectReader& r, Order& v) {
        r.field("id", v.id);
        r.field("accountID", v.accountID);
        r.field("symbol", v.symbol);
        r.field("assetType", v.assetType);
        r.field("side", v.side);
        r.field("type", v.type);
        r.field("status", v.status);
        r.field("quantity", v.quantity);
        r.field("filledQuantity", v.filledQuantity);
        r.field("limitPrice", v.limitPrice);
        r.field("stopPrice", v.stopPrice);
        r.field("averageFillPrice", v.averageFillPrice);
        r.field("enteredAt", v.enteredAt);
        r.field("closedAt", v.closedAt);
        r.fieldOr("legs", v.legs);  // a plain order may leave its empty list out
        r.field("clientOrderID", v.clientOrderID);
        r.field("replacedBy", v.replacedBy);
        r.field("timeInForce", v.timeInForce);
        r.field("extendedHours", v.extendedHours);
        r.field("trailAmount", v.trailAmount);
        r.field("highWaterMark", v.highWaterMark);
        r.field("notional", v.notional);
        r.field("trailPercent", v.trailPercent);
    });
}

Json toJson(const Fill& value) {
    return JsonObjectWriter()
        .field("id", value.id)
        .field("orderID", value.orderID)
        .field("symbol", value.symbol)
        .field("assetType", value.assetType)
        .field("side", value.side)
        .field("quantity", value.quantity)
        .field("price", value.price)
        .field("time", value.time)
        .field("fee", value.fee)
        .done();
}

void fromJson(const Json& json, Fill& out) {
    decodeRecord(json, "Fill", out, [](const JsonObjectReader& r, Fill& v) {
        r.field("id", v.id);
        r.field("orderID", v.orderID);
        r.field("symbol", v.symbol);
        r.field("assetType", v.assetType);
        r.field("side", v.side);
        r.field("quantity", v.quantity);
        r.field("price", v.price);
        r.field("time", v.time);
        r.field("fee", v.fee);
    });
}

Json toJson(const SymbolMatch& value) {
    return JsonObjectWriter()
        .field("symbol", value.symbol)
        .field("name", value.name)
        .field("major", value.major)
        .done();
}

void fromJson(const Json& json, SymbolMatch& out) {
    decodeRecord(json, "SymbolMatch", out, [](const JsonObjectReader& r, SymbolMatch& v) {
        r.field("symbol", v.symbol);
        r.field("name", v.name);
        r.field("major", v.major);
    });
}

Json toJson(const RemoteWatchlist& value) {
    return JsonObjectWriter()
        .field("id", value.id)
        .field("name", value.name)
        .field("symbols", value.symbols)
        .done();
}

void fromJson(const Json& json, RemoteWatchlist& out) {
    decodeRecord(json, "RemoteWatchlist", out, [](const JsonObjectReader& r, RemoteWatchlist& v) {
        r.field("id", v.id);
        r.field("name", v.name);
        r.fieldOr("symbols", v.symbols);  // an empty list may be left out
    });
}

Json toJson(const OptionContract& value) {
    return JsonObjectWriter()
        .field("id", value.id)
        .field("underlying", value.underlying)
        .field("right", value.right)
        .field("strike", value.strike)
        .field("expiry", value.expiry)
        .field("bid", value.bid)
        .field("ask", value.ask)
        .field("last", value.last)
        .field("theta", value.theta)
        .field("delta", value.delta)
        .field("impliedVolatility", value.impliedVolatility)
        .field("openInterest", value.openInterest)
        .field("multiplier", value.multiplier)
        .done();
}

void fromJson(const Json& json, OptionContract& out) {
    decodeRecord(json, "OptionContract", out, [](const JsonObjectReader& r, OptionContract& v) {
        r.field("id", v.id);
        r.field("underlying", v.underlying);
        r.field("right", v.right);
        r.field("strike", v.strike);
        r.field("expiry", v.expiry);
        r.field("bid", v.bid);
        r.field("ask", v.ask);
        r.field("last", v.last);
        r.field("theta", v.theta);
        r.field("delta", v.delta);
        r.field("impliedVolatility", v.impliedVolatility);
        r.field("openInterest", v.openInterest);
        r.field("multiplier", v.multiplier);
    });
}

Json toJson(const CoinRules& value) {
    return JsonObjectWriter()
        .field("smallest", value.smallest)
        .field("amountStep", value.amountStep)
        .field("priceStep", value.priceStep)
        .done();
}

void fromJson(const Json& json, CoinRules& out) {
    decodeRecord(json, "CoinRules", out, [](const JsonObjectReader& r, CoinRules& v) {
        r.field("smallest", v.smallest);
        r.field("amountStep", v.amountStep);
        r.field("priceStep", v.priceStep);
    });
}

Json toJson(const OrderPreview& value) {
    return JsonObjectWriter()
        .field("request", value.request)
        .field("estimatedPrice", value.estimatedPrice)
        .field("estimatedValue", value.estimatedValue)
        .field("estimatedCommission", value.estimatedCommission)
        .field("buyingPowerAfter", value.buyingPowerAfter)
        .field("warnings", value.warnings)
        .done();
}

void fromJson(const Json& json, OrderPreview& out) {
    decodeRecord(json, "OrderPreview", out, [](const JsonObjectReader& r, OrderPreview& v) {
        r.field("request", v.request);
        r.field("estimatedPrice", v.estimatedPrice);
        r.field("estimatedValue", v.estimatedValue);
        r.field("estimatedCommission", v.estimatedCommission);
        r.field("buyingPowerAfter", v.buyingPowerAfter);
        r.fieldOr("warnings", v.warnings);  // an empty list may be left out
    });
}

Json toJson(const SafetyLimits& value) {
    return JsonObjectWriter().field("perTrade", value.perTrade).field("dailyLoss", value.dailyLoss).done();
}

void fromJson(const Json& json, SafetyLimits& out) {
    decodeRecord(json, "SafetyLimits", out, [](const JsonObjectReader& r, SafetyLimits& v) {
        r.field("perTrade", v.perTrade);
        r.field("dailyLoss", v.dailyLoss);
    });
}

}  // namespace tavix
