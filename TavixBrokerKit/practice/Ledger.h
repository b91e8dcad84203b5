#pragma once

#include "market/Date.h"
#include "market/Decimal.h"
#include "market/Enums.h"
#include "market/Json.h"
#include "market/OrderRequest.h"

#include <QString>

#include <map>
#include <optional>
#include <vector>

namespace tavix {

// A money amount tied to one day (days since 1970-01-01).
struct DaySum {
    long long day = 0;
    Decimal value;

    friend bool operator==(const DaySum&, const DaySum&) = default;
};

// What the practice account holds of one symbol.
struct Holding {
    Decimal quantity;  // negative when short; options in contracts, coins in units
    Decimal cost;      // total cost basis (negative for a short: what selling it brought in)
    AssetType assetType = AssetType::equity;
    // The day basis: what the holding was worth at the previous close when the day began, plus
    // what was paid today for what was added, less the basis of what was closed today. Day
    // profit is measured against it, so shares held overnight count from the previous close and
    // shares bought today from their price.
    std::optional<DaySum> dayStart;

    friend bool operator==(const Holding&, const Holding&) = default;
};

// How an order in the book relates to others.
enum class WorkingRole {
    plain,       // an order on its own
    entry,       // opens a position and carries exits that arm when it fills
    takeProfit,  // a limit exit of a bracket
    stopLoss,    // a stop exit of a bracket or of an exit pair
    oco,         // the take-profit limit of an exit pair on held shares; its leg is the stop
};
TAVIX_ENUM_NAMES(WorkingRole, std::string_view("plain"), std::string_view("entry"),
                 std::string_view("takeProfit"), std::string_view("stopLoss"), std::string_view("oco"))

// One order in the book.
struct Working {
    OrderRequest request;  // for a trailing stop, stopPrice is the stop where it stands now
    WorkingRole role = WorkingRole::plain;
    std::optional<QString> parentID;
    std::vector<QString> legIDs;
    bool armed = true;  // a bracket's exits wait unarmed until their entry fills
    OrderStatus status = OrderStatus::pending;
    std::optional<Decimal> fillPrice;  // average over the parts filled
    Date enteredAt;
    std::optional<Date> closedAt;
    bool fresh = true;              // not yet reported to the application
    std::optional<bool> triggered;  // a stop whose stop price was reached
    std::optional<Decimal> filled;  // quantity filled so far
    std::optional<QString> replacedBy;

    Decimal filledQuantity() const { return filled.value_or(Decimal()); }
    Decimal remaining() const { return request.quantity - filledQuantity(); }
    bool isOpen() const { return isOpenStatus(status); }

    friend bool operator==(const Working&, const Working&) = default;
};

// One execution against the ledger.
struct LedgerTrade {
    QString symbol;
    AssetType assetType = AssetType::equity;
    Decimal quantity;       // positive buys, negative sells
    Decimal price;          // per share, contract or coin
    long long day = 0;      // the symbol's trading day at the trade
    Decimal dayStartPrice;  // one unit's worth when that day began (the previous close)
};

// The practice account: cash, holdings and every order it was given.
struct Ledger {
    Decimal cash;
    std::map<QString, Holding> holdings;
    std::map<QString, Working> book;
    std::vector<QString> parents;  // top-level orders, in entry order; legs hang under them
    long long sequence = 0;        // the last number used for an order id
    // The day's realised profit per symbol, measured against the day basis (see Holding).
    std::optional<std::map<QString, DaySum>> dayRealized;

    // A new practice account.
    static Ledger opening();
    static Decimal startingCash();  // 100,000 dollars

    // 100 for option contracts, 1 otherwise.
    static Decimal multiplier(AssetType type);

    Working* find(const QString& id);
    const Working* find(const QString& id) const;
    // Takes the next number of the sequence and gives the order id made from it; an id already
    // in the book is skipped.
    QString nextID();
    // The highest number of any order id in the book ("practice-12" counts 12).
    long long highestIDNumber() const;

    // Moves cash and the holding for one execution, with average cost (short positions
    // negative) and the day's realised profit (keepDay). Money moves in whole cents. Returns
    // the realised profit against the cost basis.
    Decimal apply(const LedgerTrade& trade);

    // Adds to the day's realised profit of a symbol; a new day starts the sum again.
    void keepDay(const QString& symbol, long long day, const Decimal& profit);
    // The day's realised profit of a symbol on a day (zero when nothing was realised then).
    Decimal realizedOn(const QString& symbol, long long day) const;

    // The first inconsistency of a decoded ledger (an id that points nowhere), or nothing.
    std::optional<QString> problem() const;

    friend bool operator==(const Ledger&, const Ledger&) = default;
};

Json toJson(const DaySum& value);
void fromJson(const Json& json, DaySum& out);
Json toJson(const Holding& value);
void fromJson(const Json& json, Holding& out);
Json toJson(const Working& value);
void fromJson(const Json& json, Working& out);
Json toJson(const Ledger& value);
void fromJson(const Json& json, Ledger& out);

}  // namespace tavix
