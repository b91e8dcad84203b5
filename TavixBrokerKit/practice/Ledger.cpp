#include "practice/Ledger.h"

#include "market/JsonCodec.h"
#include "market/RecordJson.h"

#include <algorithm>

namespace tavix {

Ledger Ledger::opening() {
    return Ledger{.cash = startingCash()};
}

Decimal Ledger::startingCash() {
    return Decimal(100000);
}

Decimal Ledger::multiplier(AssetType type) {
    return type == AssetType::option ? Decimal(100) : Decimal(1);
}

Working* Ledger::find(const QString& id) {
    auto found = book.find(id);
    return found == book.end() ? nullptr : &found->second;
}

const Working* Ledger::find(const QString& id) const {
    auto found = book.find(id);
    return found == book.end() ? nullptr : &found->second;
}

namespace {

const QString idPrefix = QStringLiteral("practice-");

// The number of an id Tavix made ("practice-12" is 12), or 0.
long long idNumber(const QString& id) {
    if (!id.startsWith(idPrefix)) return 0;
    bool whole = false;
    const long long number = id.mid(idPrefix.size()).toLongLong(&whole);
    return whole && number > 0 ? number : 0;
}

}  // namespace

QString Ledger::nextID() {
    // Never an id already in the book, whatever the sequence says.
    QString id;
    do {
        ++sequence;
        id = idPrefix + QString::number(sequence);
    } while (book.contains(id));
    return id;
}

long long Ledger::highestIDNumber() const {
    long long highest = 0;
    for (const auto& [id, working] : book) {
        highest = std::max({highest, idNumber(id), working.replacedBy ? idNumber(*working.replacedBy) : 0});
    }
    return highest;
}

Decimal Ledger::apply(const LedgerTrade& trade) {
    const Decimal m = multiplier(trade.assetType);
    auto [entry, added] = holdings.try_emplace(trade.symbol, Holding{.assetType = trade.assetType});
    Holding& holding = entry->second;
    // The first trade of a day starts the day basis from the previous close.
    if (!holding.dayStart || holding.dayStart->day != trade.day) {
        holding.dayStart = DaySum{trade.day, (holding.quantity * trade.dayStartPrice * m).rounded(2)};
    }
    Decimal realized;
    Decimal left = trade.quantity;  // what is still to apply, signed
    if (!holding.quantity.isZero() && !left.isZero() && holding.quantity.signum() != left.signum()) {
        // Closing first: the closed part takes its share of the cost and of the day basis.
        const Decimal held = holding.quantity.abs();
        const Decimal closing = min(left.abs(), held);
        const bool all = closing == held;
        const Decimal removedCost = all ? holding.cost : (holding.cost * closing / held).rounded(2);
        const Decimal removedDay =
            all ? holding.dayStart->value : (holding.dayStart->value * closing / held).rounded(2);
        const Decimal direction(holding.quantity.signum());
        const Decimal closedValue = (direction * closing * trade.price * m).rounded(2);
        cash += closedValue;
        realized += closedValue - removedCost;
        keepDay(trade.symbol, trade.day, closedValue - removedDay);
        holding.quantity -= direction * closing;
        holding.cost -= removedCost;
        holding.dayStart->value -= removedDay;
        left += direction * closing;
    }
    if (!left.isZero()) {
        // Opening or adding: a short's cost is negative, what selling it brought in.
        const Decimal value = (left * trade.price * m).rounded(2);
        cash -= value;
        holding.quantity += left;
        holding.cost += value;
        holding.dayStart->value += value;
    }
    if (holding.quantity.isZero()) holdings.erase(entry);
    return realized;
}

void Ledger::keepDay(const QString& symbol, long long day, const Decimal& profit) {
    auto& days = dayRealized ? *dayRealized : dayRealized.emplace();
    DaySum& today = days[symbol];
    if (today.day != day) today = DaySum{day, Decimal()};
    today.value += profit;
}

Decimal Ledger::realizedOn(const QString& symbol, long long day) const {
    if (!dayRealized) return Decimal();
    auto found = dayRealized->find(symbol);
    if (found == dayRealized->end() || found->second.day != day) return Decimal();
    return found->second.value;
}

std::optional<QString> Ledger::problem() const {
    for (const auto& id : parents) {
        if (!book.contains(id))
            return QStringLiteral("the order list names ") + id + QStringLiteral(", which isn't in the book");
    }
    for (const auto& [id, working] : book) {
        if (working.parentID && !book.contains(*working.parentID)) {
            return id + QStringLiteral(" hangs under ") + *working.parentID +
                   QStringLiteral(", which isn't in the book");
        }
        for (const auto& leg : working.legIDs) {
            if (!book.contains(leg)) {
                return id + QStringLiteral(" has a leg ") + leg + QStringLiteral(", which isn't in the book");
            }
        }
        if (!working.request.quantity.isPositive()) return id + QStringLiteral(" has no quantity");
    }
    for (const auto& [symbol, holding] : holdings) {
        if (holding.quantity.isZero()) return symbol + QStringLiteral(" is held with no quantity");
    }
    return std::nullopt;
}

Json toJson(const DaySum& value) {
    return JsonObjectWriter().field("day", value.day).field("value", value.value).done();
}

void fromJson(const Json& json, DaySum& out) {
    JsonObjectReader reader(json, "DaySum");
    reader.field("day", out.day);
    reader.field("value", out.value);
}

Json toJson(const Holding& value) {
    return JsonObjectWriter()
        .field("quantity", value.quantity)
        .field("cost", value.cost)
        .field("assetType", value.assetType)
        .field("dayStart", value.dayStart)
        .done();
}

void fromJson(const Json& json, Holding& out) {
    JsonObjectReader reader(json, "Holding");
    reader.field("quantity", out.quantity);
    reader.field("cost", out.cost);
    reader.field("assetType", out.assetType);
    reader.field("dayStart", out.dayStart);
}

Json toJson(const Working& value) {
    return JsonObjectWriter()
        .field("request", value.request)
        .field("role", value.role)
        .field("parentID", value.parentID)
        .field("legIDs", value.legIDs)
        .field("armed", value.armed)
        .field("status", value.status)
        .field("fillPrice", value.fillPrice)
        .field("enteredAt", value.enteredAt)
        .field("closedAt", value.closedAt)
        .field("fresh", value.fresh)
        .field("triggered", value.triggered)
        .field("filled", value.filled)
        .field("replacedBy", value.replacedBy)
        .done();
}

void fromJson(const Json& json, Working& out) {
    JsonObjectReader reader(json, "Working");
    reader.field("request", out.request);
    reader.field("role", out.role);
    reader.field("parentID", out.parentID);
    reader.field("legIDs", out.legIDs);
    reader.field("armed", out.armed);
    reader.field("status", out.status);
    reader.field("fillPrice", out.fillPrice);
    reader.field("enteredAt", out.enteredAt);
    reader.field("closedAt", out.closedAt);
    reader.field("fresh", out.fresh);
    reader.field("triggered", out.triggered);
    reader.field("filled", out.filled);
    reader.field("replacedBy", out.replacedBy);
}

Json toJson(const Ledger& value) {
    return JsonObjectWriter()
        .field("cash", value.cash)
        .field("holdings", value.holdings)
        .field("book", value.book)
        .field("parents", value.parents)
        .field("sequence", value.sequence)
        .field("dayRealized", value.dayRealized)
        .done();
}

void fromJson(const Json& json, Ledger& out) {
    JsonObjectReader reader(json, "Ledger");
    reader.field("cash", out.cash);
    reader.field("holdings", out.holdings);
    reader.field("book", out.book);
    reader.field("parents", out.parents);
    reader.field("sequence", out.sequence);
    reader.field("dayRealized", out.dayRealized);
    // A sequence saved behind the ids it handed out would give one of them again, and the new
    // order would silently replace the old one in the book.
    out.sequence = std::max(out.sequence, out.highestIDNumber());
}

}  // namespace tavix
