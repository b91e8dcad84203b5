#pragma once

// JSON for the market records: keys are the field names, absent optionals are left out,
// enumerations are their case names, decimals exact numbers and dates ISO 8601 UTC text.

#include "market/Account.h"
#include "market/CoinRules.h"
#include "market/JsonCodec.h"
#include "market/OptionContract.h"
#include "market/Order.h"
#include "market/OrderPreview.h"
#include "market/OrderRequest.h"
#include "market/Quote.h"
#include "market/SafetyLimits.h"
#include "market/SymbolMatch.h"

namespace tavix {

Json toJson(const BrokerAccount& value);
Json toJson(const Balance& value);
Json toJson(const Position& value);
Json toJson(const Quote& value);
Json toJson(const Candle& value);
Json toJson(const DateRange& value);
Json toJson(const OrderRequest& value);
Json toJson(const Order& value);
Json toJson(const Fill& value);
Json toJson(const SymbolMatch& value);
Json toJson(const RemoteWatchlist& value);
Json toJson(const OptionContract& value);
Json toJson(const CoinRules& value);
Json toJson(const OrderPreview& value);
Json toJson(const SafetyLimits& value);

void fromJson(const Json& json, BrokerAccount& out);
void fromJson(const Json& json, Balance& out);
void fromJson(const Json& json, Position& out);
void fromJson(const Json& json, Quote& out);
void fromJson(const Json& json, Candle& out);
void fromJson(const Json& json, DateRange& out);
void fromJson(const Json& json, OrderRequest& out);
void fromJson(const Json& json, Order& out);
void fromJson(const Json& json, Fill& out);
void fromJson(const Json& json, SymbolMatch& out);
void fromJson(const Json& json, RemoteWatchlist& out);
void fromJson(const Json& json, OptionContract& out);
void fromJson(const Json& json, CoinRules& out);
void fromJson(const Json& json, OrderPreview& out);
void fromJson(const Json& json, SafetyLimits& out);

}  // namespace tavix
