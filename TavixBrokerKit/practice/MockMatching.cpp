// Working the practice book against the simulated prices.
//
// The rules:
// - A buy deals at the simulated ask and a sell at the bid (the last price when the symbol is
//   quoted without them), so a round trip pays the spread as it would at a real brokerage.
// - A limit deals when that price reaches it, at that price (never worse than the limit).
// - A stop (and a stop limit) is triggered once the last price reaches its stop price, and from
//   then on deals as a market order (a stop limit as a limit).
// - A trailing stop keeps its stop price the trail behind the best last price seen at a match
//   since it was placed (highest for a sell, lowest for a buy), and triggers when the last price
//   reaches it.
// - A resting limit (day or good-till-cancelled, not a coin) with more than 100 units left fills
//   in parts: each match fills half of what is left, rounded up to a whole unit, until 100 or
//   fewer are left, which fill at once. Market orders and triggered stops fill whole.
// - Immediate-or-cancel and fill-or-kill orders that cannot deal at their first match are
//   cancelled.
// - Day orders expire at the close (16:00 New York, 20:00 for the extended session) of the
//   weekday they were entered on, or of the next weekday when entered after it.
// - Orders are worked in entry order, each group's parent before its legs. A bracket's exits arm
//   when its entry has filled; a fill on one leg of a bracket or an exit pair takes its quantity
//   off the other, which is cancelled when nothing is left of it.
#include "practice/MockBroker.h"

#include "market/CryptoPair.h"
#include "market/NewYorkCalendar.h"

#include <cmath>

namespace tavix {
namespace {

constexpr double dayLength = 86400.0;
const Decimal partLimit(100);

bool isWeekday(long long day) {
    const long long weekday = ((day + 4) % 7 + 7) % 7;
    return weekday >= 1 && weekday <= 5;
}

// How much of an order that can deal fills at this match.
Decimal fillPart(const Working& w) {
    const auto& r = w.request;
    const Decimal left = w.remaining();
    const bool limitLike = r.type == OrderType::limit || r.type == OrderType::stopLimit;
    const bool resting = r.timeInForce == TimeInForce::day || r.timeInForce == TimeInForce::goodTillCancelled;
    if (!limitLike || !resting || r.assetType == AssetType::crypto || left <= partLimit) return left;
    return (left / Decimal(2)).rounded(0, Decimal::Rounding::up);
}

bool isImmediate(TimeInForce tif) {
    return tif == TimeInForce::immediateOrCancel || tif == TimeInForce::fillOrKill;
}

}  // namespace

Date MockBroker::dayEnd(const Working& working) {
    const double closeSeconds = working.request.session == OrderSession::extended ? 20 * 3600.0 : 16 * 3600.0;
    const Date entered = working.enteredAt;
    auto day = static_cast<long long>(
        std::floor((entered.secondsSince1970() + NewYorkCalendar::utcOffsetSeconds(entered)) / dayLength));
    for (;; ++day) {
        if (!isWeekday(day)) continue;
        // New York's offset taken at midday of the day itself, so a clock change is respected.
        const double middle = static_cast<double>(day) * dayLength + 61200.0;
        const double offset = NewYorkCalendar::utcOffsetSeconds(Date(middle));
        const Date close(static_cast<double>(day) * dayLength + closeSeconds - offset);
        if (close > entered) return close;
    }
}

const std::optional<Quote>& MockBroker::quoteFor(const QString& symbol, Date at, QuoteCache& quotes) const {
    auto found = quotes.find(symbol);
    if (found == quotes.end()) {
        found = quotes.emplace(symbol, market_.quote(symbol, at, bidless_.contains(symbol))).first;
    }
    return found->second;
}

void MockBroker::match(Date at) {
    if (open_.empty()) return;
    QuoteCache quotes;
    // By index: working an order never adds a parent.
    for (std::size_t i = 0; i < ledger_.parents.size(); ++i) {
        const QString parentID = ledger_.parents[i];
        if (open_.contains(parentID)) work(parentID, at, quotes);
        const Working* parent = ledger_.find(parentID);
        if (!parent) continue;
        const std::vector<QString> legs = parent->legIDs;
        for (const auto& leg : legs) {
            if (open_.contains(leg)) work(leg, at, quotes);
        }
    }
}

void MockBroker::work(const QString& id, Date at, QuoteCache& quotes) {
    Working& w = *ledger_.find(id);
    if (!w.isOpen()) {
        open_.erase(id);
        return;
    }
    if (!w.armed) return;
    OrderRequest& r = w.request;
    if (r.timeInForce == TimeInForce::day) {
        const Date expiry = dayEnd(w);
        if (at >= expiry) {
            end(id, OrderStatus::expired, expiry);
            return;
        }
    }
    const auto& quote = quoteFor(r.symbol, at, quotes);
    if (!quote) return;  // nothing to deal at

    const bool first = w.status == OrderStatus::pending;
    if (first) {
        w.status = OrderStatus::working;
        unsaved_ = true;
    }
    const bool buy = isBuy(r.side);
    const Decimal last = quote->last;
    const Decimal dealAt = buy ? quote->ask.value_or(last) : quote->bid.value_or(last);
    auto reaches = [&](const Decimal& limit) { return buy ? dealAt <= limit : dealAt >= limit; };
    auto trigger = [&] {
        w.triggered = true;
        unsaved_ = true;
    };

    std::optional<Decimal> price;
    switch (r.type) {
        case OrderType::market:
            price = dealAt;
            break;
        case OrderType::limit:
            if (r.limitPrice && reaches(*r.limitPrice)) price = dealAt;
            break;
        case OrderType::stop:
        case OrderType::stopLimit:
            if (!w.triggered.value_or(false) && r.stopPrice &&
                (buy ? last >= *r.stopPrice : last <= *r.stopPrice)) {
                trigger();
            }
            if (w.triggered.value_or(false)) {
                if (r.type == OrderType::stop) {
                    price = dealAt;
                } else if (r.limitPrice && reaches(*r.limitPrice)) {
                    price = dealAt;
                }
            }
            break;
        case OrderType::trailingStop: {
            const Decimal trail = r.trailAmount.value_or(Decimal());
            if (!r.stopPrice) r.stopPrice = buy ? last + trail : last - trail;
            if (!w.triggered.value_or(false)) {
                // The best price so far is where the stop stands plus (or minus) the trail.
                const Decimal best = buy ? *r.stopPrice - trail : *r.stopPrice + trail;
                if (buy ? last < best : last > best) {
                    r.stopPrice = buy ? last + trail : last - trail;
                    unsaved_ = true;
                }
                if (buy ? last >= *r.stopPrice : last <= *r.stopPrice) trigger();
            }
            if (w.triggered.value_or(false)) price = dealAt;
            break;
        }
    }

    if (!price) {
        if (first && isImmediate(r.timeInForce)) end(id, OrderStatus::cancelled, at);
        return;
    }
    const Decimal part = fillPart(w);
    if (r.assetType == AssetType::crypto && !buy) {
        // Coins are never sold short: a sale that finds too few coins (another sale took them) is
        // turned away.
        auto holding = ledger_.holdings.find(r.symbol);
        if (holding == ledger_.holdings.end() || holding->second.quantity < part) {
            end(id, OrderStatus::rejected, at);
            return;
        }
    }
    fill(id, part, *price, at, quotes);
}

void MockBroker::fill(const QString& id, Decimal quantity, Decimal price, Date at, QuoteCache& quotes) {
    Working& w = *ledger_.find(id);
    const OrderRequest& r = w.request;
    const auto& quote = quoteFor(r.symbol, at, quotes);
    const Decimal dayStartPrice = quote ? quote->previousClose.value_or(quote->last) : price;
    ledger_.apply(LedgerTrade{
        .symbol = r.symbol,
        .assetType = r.assetType,
        .quantity = isBuy(r.side) ? quantity : -quantity,
        .price = price,
        .day = tradingDay(at, CryptoPair::isPair(r.symbol)),
        .dayStartPrice = dayStartPrice,
    });

    const Decimal before = w.filledQuantity();
    const Decimal total = before + quantity;
    w.fillPrice = before.isZero() ? price : ((*w.fillPrice * before + price * quantity) / total).rounded(8);
    w.filled = total;
    unsaved_ = true;
    if (total >= r.quantity) {
        w.status = OrderStatus::filled;
        w.closedAt = at;
        open_.erase(id);
        if (lateFillReads_ > 0) lateFills_.insert(id);
        if (w.role == WorkingRole::entry) armLegs(w);
    } else {
        w.status = OrderStatus::partiallyFilled;
    }
    shrinkSiblings(id, quantity, at);
}

void MockBroker::armLegs(Working& entry) {
    for (const auto& leg : entry.legIDs) {
        Working* child = ledger_.find(leg);
        if (child && !child->armed) {
            child->armed = true;
            unsaved_ = true;
        }
    }
}

void MockBroker::shrinkSiblings(const QString& id, Decimal quantity, Date at) {
    const Working& w = *ledger_.find(id);
    std::vector<QString> siblings;
    if (w.role == WorkingRole::oco) {
        siblings = w.legIDs;
    } else if ((w.role == WorkingRole::takeProfit || w.role == WorkingRole::stopLoss) && w.parentID) {
        if (const Working* parent = ledger_.find(*w.parentID)) {
            for (const auto& leg : parent->legIDs) {
                if (leg != id) siblings.push_back(leg);
            }
            if (parent->role == WorkingRole::oco) siblings.push_back(*w.parentID);
        }
    }
    for (const auto& siblingID : siblings) {
        Working* sibling = ledger_.find(siblingID);
        if (!sibling || !sibling->isOpen()) continue;
        sibling->request.quantity = max(sibling->filledQuantity(), sibling->request.quantity - quantity);
        unsaved_ = true;
        if (sibling->remaining().isPositive()) continue;
        if (sibling->filledQuantity().isPositive()) {
            sibling->status = OrderStatus::filled;
            sibling->closedAt = at;
            open_.erase(siblingID);
        } else {
            end(siblingID, OrderStatus::cancelled, at);
        }
    }
}

void MockBroker::end(const QString& id, OrderStatus status, Date at) {
    Working& w = *ledger_.find(id);
    if (!w.isOpen()) return;
    const Decimal unfilled = w.remaining();
    w.status = status;
    w.closedAt = at;
    open_.erase(id);
    unsaved_ = true;
    const bool partEntry = w.role == WorkingRole::entry && w.filledQuantity().isPositive();
    for (const auto& leg : w.legIDs) {
        Working* child = ledger_.find(leg);
        if (!child || !child->isOpen()) continue;
        if (partEntry) {
            // What did fill keeps its exits.
            child->request.quantity = child->request.quantity - unfilled;
            child->armed = true;
        } else {
            child->status = OrderStatus::cancelled;
            child->closedAt = at;
            open_.erase(leg);
        }
    }
}

}  // namespace tavix
