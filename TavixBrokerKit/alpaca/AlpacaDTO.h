#pragma once

// Alpaca's JSON answers as plain records, read by key and kept apart from the mapping into the
// market records. Trading numbers come as strings and market data as numbers; both read exactly.
// A missing optional field never fails a record; a required field that is missing or of the
// wrong type does, naming the record and the field.

#include "market/BrokerError.h"
#include "market/Date.h"
#include "market/Decimal.h"
#include "market/Json.h"
#include "market/JsonCodec.h"

#include <QByteArray>
#include <QDate>
#include <QString>
#include <QStringList>

#include <map>
#include <optional>
#include <vector>

namespace tavix::AlpacaDTO {

struct Account {
    QString id;
    QString accountNumber;
    QString status;
    Decimal cash;
    Decimal buyingPower;
    Decimal equity;
    Decimal lastEquity;
    std::optional<bool> patternDayTrader;
    std::optional<int> optionsApprovedLevel;
    std::optional<int> optionsTradingLevel;
    std::optional<Decimal> optionsBuyingPower;
    std::optional<Decimal> nonMarginableBuyingPower;
    std::optional<QString> cryptoStatus;
};

struct Bar {
    Date t;
    Decimal o;
    Decimal h;
    Decimal l;
    Decimal c;
    Decimal v;  // whole shares for stocks, fractions for coins
    std::optional<Decimal> vw;
};

struct Asset {
    QString symbol;
    QString name;  // empty when Alpaca gives none
    bool tradable = false;
    QString assetClass;  // "class": us_equity, us_option, crypto
    QString status;
    std::optional<Decimal> minOrderSize;
    std::optional<Decimal> minTradeIncrement;
    std::optional<Decimal> priceIncrement;
    QStringList attributes;

    // Alpaca names the attribute "options_enabled"; older answers said "has_options".
    bool hasOptions() const {
        return attributes.contains(QStringLiteral("options_enabled")) ||
               attributes.contains(QStringLiteral("has_options"));
    }
};

struct Order {
    QString id;
    QString clientOrderID;
    QString symbol;  // empty on a multi-leg order, whose legs name the contracts
    QString side;    // likewise
    QString type;                // "order_type", else "type"
    std::optional<Decimal> qty;  // null on an order placed by amount of money
    std::optional<Decimal> notional;  // the amount of money, on such an order
    Decimal filledQty;
    std::optional<Decimal> limitPrice;
    std::optional<Decimal> stopPrice;
    std::optional<Decimal> filledAvgPrice;
    std::optional<Decimal> trailPrice;
    std::optional<Decimal> trailPercent;
    std::optional<Decimal> hwm;
    QString timeInForce;
    bool extendedHours = false;
    std::optional<Date> createdAt;
    std::optional<Date> submittedAt;
    std::optional<Date> filledAt;
    std::optional<Date> canceledAt;
    std::optional<Date> expiredAt;
    std::optional<Date> failedAt;
    QString status;
    QString assetClass;  // empty on a multi-leg order
    std::optional<QString> orderClass;
    std::optional<QString> positionIntent;
    std::vector<Order> legs;  // null, missing or empty for a plain order
    std::optional<QString> replacedBy;
};

struct Position {
    QString symbol;
    QString assetClass;
    Decimal qty;
    std::optional<Decimal> qtyAvailable;
    Decimal avgEntryPrice;
    Decimal marketValue;
    Decimal unrealizedPL;
    std::optional<Decimal> unrealizedIntradayPL;
    QString side;  // long or short
};

struct Clock {
    Date timestamp;
    Date nextOpen;
    Date nextClose;
    bool isOpen = false;
};

struct Watchlist {
    struct Asset {
        QString symbol;
    };
    QString id;
    QString name;
    std::vector<Asset> assets;  // the list of all watchlists leaves them out
};

struct Quote {
    Decimal bp;  // bid
    Decimal ap;  // ask
    Date t;
};

struct Trade {
    Decimal p;  // price
    Decimal s;  // size
    Date t;
};

struct Snapshot {
    std::optional<Trade> latestTrade;
    std::optional<Quote> latestQuote;
    std::optional<Bar> dailyBar;
    std::optional<Bar> prevDailyBar;
};

struct Greeks {
    std::optional<Decimal> delta;
    std::optional<Decimal> gamma;
    std::optional<Decimal> theta;
    std::optional<Decimal> vega;
    std::optional<Decimal> rho;
};

struct OptionSnapshot {
    std::optional<Trade> latestTrade;
    std::optional<Quote> latestQuote;
    std::optional<Bar> dailyBar;
    std::optional<Bar> prevDailyBar;
    std::optional<Greeks> greeks;
    std::optional<Decimal> impliedVolatility;
};

struct OptionSnapshotsResponse {
    std::map<QString, OptionSnapshot> snapshots;
    std::optional<QString> nextPageToken;
};

struct CryptoSnapshotsResponse {
    std::map<QString, Snapshot> snapshots;
};

struct OptionContract {
    QString symbol;
    QString rootSymbol;
    QString underlyingSymbol;
    QString status;
    QString type;  // call or put
    bool tradable = false;
    QDate expirationDate;
    Decimal strikePrice;
    std::optional<Decimal> multiplier;
    std::optional<Decimal> size;
    std::optional<Decimal> openInterest;
    std::optional<Decimal> closePrice;
};

struct OptionContractsResponse {
    std::vector<OptionContract> optionContracts;
    std::optional<QString> nextPageToken;
};

struct BarsResponse {
    std::vector<Bar> bars;  // Alpaca sends null when there are none
    std::optional<QString> nextPageToken;
};

struct MultiBarsResponse {
    std::map<QString, std::vector<Bar>> bars;
    std::optional<QString> nextPageToken;
};

struct TradesResponse {
    std::vector<Trade> trades;
    std::optional<QString> nextPageToken;
};

struct CryptoTradesResponse {
    std::map<QString, std::vector<Trade>> trades;
    std::optional<QString> nextPageToken;
};

// One account activity. Fills carry everything; option events (expiry, exercise, assignment)
// come without a side or an order, so those fields are optional.
struct Activity {
    QString id;
    QString activityType;      // FILL, OPEXP, OPEXC, OPASN, OPTRD …
    std::optional<Date> time;  // "transaction_time", else "date"
    std::optional<QString> symbol;
    std::optional<QString> side;
    std::optional<QString> type;  // fill, partial_fill, canceled
    std::optional<QString> status;
    std::optional<QString> orderID;
    std::optional<Decimal> qty;
    std::optional<Decimal> price;
    std::optional<Decimal> netAmount;
};

struct APIError {
    std::optional<int> code;  // a 401 answer has only the message
    QString message;
    std::optional<Decimal> existingQty;
    std::optional<Decimal> heldForOrders;
};

// The general readers (decimals, dates, lists, maps) next to the records' own, so that a list
// of records or a map of lists of records finds both.
using tavix::fromJson;

void fromJson(const Json& json, Account& out);
void fromJson(const Json& json, Bar& out);
void fromJson(const Json& json, Asset& out);
void fromJson(const Json& json, Order& out);
void fromJson(const Json& json, Position& out);
void fromJson(const Json& json, Clock& out);
void fromJson(const Json& json, Watchlist::Asset& out);
void fromJson(const Json& json, Watchlist& out);
void fromJson(const Json& json, Quote& out);
void fromJson(const Json& json, Trade& out);
void fromJson(const Json& json, Snapshot& out);
void fromJson(const Json& json, Greeks& out);
void fromJson(const Json& json, OptionSnapshot& out);
void fromJson(const Json& json, OptionSnapshotsResponse& out);
void fromJson(const Json& json, CryptoSnapshotsResponse& out);
void fromJson(const Json& json, OptionContract& out);
void fromJson(const Json& json, OptionContractsResponse& out);
void fromJson(const Json& json, BarsResponse& out);
void fromJson(const Json& json, MultiBarsResponse& out);
void fromJson(const Json& json, TradesResponse& out);
void fromJson(const Json& json, CryptoTradesResponse& out);
void fromJson(const Json& json, Activity& out);
void fromJson(const Json& json, APIError& out);

// The body decoded as T (a record, a std::vector of records, or std::map<QString, Snapshot> for
// the stock snapshots, which Alpaca sends without a wrapper). A body that is not JSON or not of
// that shape fails with BrokerError::decoding naming the record ("Order", "Array<Position>",
// "Dictionary<String, Snapshot>" …).
template <class T>
T decode(const QByteArray& body, const char* recordName) {
    try {
        T value{};
        fromJson(Json::parse(body), value);
        return value;
    } catch (const JsonError&) {
        throw BrokerError::decoding(QString::fromLatin1(recordName));
    }
}

}  // namespace tavix::AlpacaDTO
