#pragma once

// Alpaca's wire records turned into the market records, and Alpaca's words for statuses, types,
// sides and refusals turned into ours. Pure: no network, no clock.

#include "alpaca/AlpacaDTO.h"
#include "market/Account.h"
#include "market/CoinRules.h"
#include "market/Enums.h"
#include "market/MarketClock.h"
#include "market/OptionContract.h"
#include "market/Order.h"
#include "market/Quote.h"
#include "market/SymbolMatch.h"

#include <QString>

#include <optional>

namespace tavix {

class AlpacaMapping {
public:
    // Enumerations. Words Alpaca may add later map to a safe default instead of failing.
    static OrderStatus orderStatus(const QString& text);  // unknown for any word not in its table
    static OrderType orderType(const QString& text);      // market for any other or missing word
    static QString wireType(OrderType type);
    static OrderSide orderSide(const QString& text);  // "sell" and "sell_short" sell, all else buy
    static QString wireSide(OrderSide side);          // "buy" or "sell"
    static std::optional<TimeInForce> timeInForce(const QString& text);  // day, gtc, fok, ioc
    static QString wireTimeInForce(TimeInForce timeInForce);
    // From the asset class, then a multi-leg order class, then the symbol's own form.
    static AssetType assetType(const QString& assetClass, const QString& symbol,
                               const QString& orderClass = {});
    // From the position intent when there is one, else from the side alone.
    static OrderSide optionSide(const QString& side, const std::optional<QString>& intent);
    // The name of a multi-leg order, which carries no symbol of its own: the underlying its legs
    // share, else its first leg's symbol.
    static QString multiLegSymbol(const AlpacaDTO::Order& dto);

    // Records.
    static Order order(const AlpacaDTO::Order& dto, const QString& accountID);
    static Position position(const AlpacaDTO::Position& dto);
    // A stock or coin quote: last trade, bid and ask from the latest quote, the day's numbers
    // from the day's bar and the change against the bar before it. `marketDay` (the last daily
    // bar read on its own) stands in for the day when the snapshot has no newer one. Nothing when
    // no price at all is known.
    static std::optional<Quote> quote(const QString& symbol, const AlpacaDTO::Snapshot& snapshot,
                                      const std::optional<AlpacaDTO::Bar>& marketDay = std::nullopt);
    // A contract's quote; an untraded contract is priced between its bid and ask.
    static std::optional<Quote> contractQuote(const QString& symbol,
                                              const AlpacaDTO::OptionSnapshot& snapshot);
    static Candle candle(const AlpacaDTO::Bar& bar);
    // Only executions become fills: "FILL" activities that were not cancelled.
    static std::optional<Fill> fill(const AlpacaDTO::Activity& activity);
    static BrokerAccount account(const AlpacaDTO::Account& dto, bool isPaper);
    static Balance balance(const AlpacaDTO::Account& dto);
    static MarketClock clock(const AlpacaDTO::Clock& dto);
    // A chain row: the contract joined with its snapshot's prices, greeks and implied volatility.
    // Nothing when the contract names neither a call nor a put.
    static std::optional<OptionContract> optionContract(
        const AlpacaDTO::OptionContract& contract, const std::optional<AlpacaDTO::OptionSnapshot>& snapshot);
    static RemoteWatchlist watchlist(const AlpacaDTO::Watchlist& dto);

    // What happened to an option position outside a trade.
    struct OptionEvent {
        enum class Kind { expiry, exercise, assignment, trade };
        Kind kind = Kind::expiry;
        QString id;
        QString symbol;
        std::optional<Decimal> quantity;
        std::optional<Date> time;
        friend bool operator==(const OptionEvent&, const OptionEvent&) = default;
    };
    // "OPEXP", "OPEXC", "OPASN" and "OPTRD" activities; nothing for any other.
    static std::optional<OptionEvent> optionEvent(const AlpacaDTO::Activity& activity);

    // Search and coins.
    // A tradable, active stock or coin pair for the search index; nothing for anything else.
    // Stocks with listed options and coins against the dollar count as major names.
    static std::optional<SymbolMatch> symbolMatch(const AlpacaDTO::Asset& asset);
    // A company name without its share-class boilerplate ("Apple Inc. Common Stock" -> "Apple Inc.").
    static QString plainName(const QString& text);
    // A coin pair's steps when Alpaca gives all three; nothing otherwise.
    static std::optional<CoinRules> coinRules(const AlpacaDTO::Asset& asset);

    // Alpaca's refusal of an order as a plain sentence, or nothing when it is not one we know
    // (the caller then passes Alpaca's own message on). `held` and `resting` are the error's
    // "existing_qty" and "held_for_orders", used when the message itself gives no number.
    static std::optional<QString> plainRefusal(const QString& message, const std::optional<Decimal>& held,
                                               const std::optional<Decimal>& resting);
};

}  // namespace tavix
