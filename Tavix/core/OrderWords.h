#pragma once

#include "core/Session.h"
#include "market/Order.h"

#include <QString>

namespace tavix {

// The plain words in which every order and its state is shown, in easy and expert mode.
namespace OrderWords {

// The part an order plays: on its own, a sell-price exit, a get-out (stop) exit, a trailing
// get-out, or a buy-back of a short.
enum class Role { plain, sellPrice, getOut, trailingGetOut, buyBack };

// The role of `order`, an exit leg when `parent` is the order it hangs under.
Role role(const Order& order, const Order* parent = nullptr);
bool isStop(const Order& order, Role role);

// "Buy", "Sell", "Buy back", "Sell short"; past: "Bought", "Sold", "Bought back", "Sold short".
QString side(const Order& order, Role role, bool past = false);
// "pending", "working", "partial", "filled" …, with ", cancelling" while a cancel is on its way.
QString status(const Order& order, Role role, Mode mode, bool cancelling = false);
// What happened to it: "Waiting for its price", "Safety exit, waiting", "Went through",
// "Hit the stop" …
QString happened(const Order& order, Role role, const Order* parent = nullptr, bool cancelling = false);
// How long it lasts: "Today only" / "DAY", "Until you cancel it" / "GTC" …
QString lasts(std::optional<TimeInForce> timeInForce, Mode mode);
// Its price as the user reads it: "at market", "182.50", "175.00 STP", "175.00 STP LMT 174.50",
// "TRAIL 1.50" or "TRAIL 2.5%", with " EXT" for extended hours.
QString price(const Order& order, Mode mode);
// How much, in words: "10 shares", "1 contract", "0.5 BTC", or "$500.00" for an order by money.
QString easyCount(const Order& order);
// One line: side, how much, symbol and price ("Buy 10 shares of AAPL at 182.50").
QString summary(const Order& order, Role role, Mode mode);
// How an order that has ended ended, in a few words ("filled at 182.40", "cancelled").
QString shortEnd(const Order& order, const Order* parent = nullptr);

// Moving a working order to a new price: the refusal of a price not above zero, and the report.
std::optional<QString> moveRefusal(const std::optional<Decimal>& price);
QString moved(const Decimal& price);

}  // namespace OrderWords

}  // namespace tavix
