// Placing, cancelling and replacing practice orders.
#include "practice/MockBroker.h"

#include <algorithm>

namespace tavix {
namespace {

// The side that closes what a side opens.
OrderSide exitSide(OrderSide side) {
    switch (side) {
        case OrderSide::buy:
            return OrderSide::sell;
        case OrderSide::sell:
            return OrderSide::buy;
        case OrderSide::buyToOpen:
            return OrderSide::sellToClose;
        case OrderSide::sellToClose:
            return OrderSide::buyToOpen;
        case OrderSide::sellToOpen:
            return OrderSide::buyToClose;
        case OrderSide::buyToClose:
            return OrderSide::sellToOpen;
        case OrderSide::sellShort:
            return OrderSide::buyToCover;
        case OrderSide::buyToCover:
            return OrderSide::sellShort;
    }
    return OrderSide::sell;
}

// One exit of a bracket or an exit pair: a limit at the take-profit price, or a stop at the
// stop-loss price, for the same quantity.
OrderRequest exitRequest(const OrderRequest& from, OrderSide side, OrderType type, Decimal price) {
    OrderRequest exit{
        .symbol = from.symbol,
        .assetType = from.assetType,
        .side = side,
        .quantity = from.quantity,
        .type = type,
        .timeInForce = from.timeInForce,
        .session = from.session,
    };
    if (type == OrderType::limit) {
        exit.limitPrice = price;
    } else {
        exit.stopPrice = price;
    }
    return exit;
}

BrokerError noSuchOrder(const QString& id) {
    return BrokerError::invalidOrder(QStringLiteral("no order ") + id +
                                     QStringLiteral(" at this brokerage."));
}

BrokerError notWorking() {
    return BrokerError::invalidOrder(QStringLiteral("that order isn't working any more."));
}

BrokerError noNewPrice() {
    return BrokerError::invalidOrder(QStringLiteral("there's no new price to move it to."));
}

}  // namespace

QCoro::Task<Order> MockBroker::placeOrder(OrderRequest request, QString accountID) {
    co_await pause();
    ++sendsTried_;
    requireAccount(accountID);
    if (auto failure = takeFailure(false)) throw failure->error;
    if (refusals_ > 0) {
        --refusals_;
        throw BrokerError::invalidOrder(refusalWords_);
    }
    const Date at = now();
    match(at);  // holdings as they stand now, for the checks
    if (auto words = refusal(request, at)) {
        saveIfNeeded();
        throw BrokerError::invalidOrder(*words);
    }
    const QString id = book(normalized(std::move(request)), at);
    saveIfNeeded();
    // A time-out after booking: the order is in, but the caller never hears so.
    if (auto failure = takeFailure(true)) throw failure->error;
    co_return record(id, false);
}

QCoro::Task<void> MockBroker::cancelOrder(QString orderID, QString accountID) {
    co_await pause();
    requireAccount(accountID);
    if (auto failure = takeFailure(false)) throw failure->error;
    const Date at = now();
    match(at);  // it may have filled already
    const Working* w = ledger_.find(orderID);
    if (!w) throw noSuchOrder(orderID);
    if (!w->isOpen()) {
        saveIfNeeded();
        throw notWorking();
    }
    if (holdingCancels_) {
        heldCancels_.insert(orderID);
    } else {
        cancelNow(orderID, at);
    }
    saveIfNeeded();
    if (auto failure = takeFailure(true)) throw failure->error;
}

QCoro::Task<Order> MockBroker::replaceOrder(QString orderID, QString accountID,
                                            std::optional<Decimal> limitPrice,
                                            std::optional<Decimal> stopPrice) {
    co_await pause();
    requireAccount(accountID);
    if (!limitPrice && !stopPrice) throw noNewPrice();
    if (auto failure = takeFailure(false)) throw failure->error;
    const Date at = now();
    match(at);
    const Working* w = ledger_.find(orderID);
    if (!w) throw noSuchOrder(orderID);
    if (!w->isOpen()) {
        saveIfNeeded();
        throw notWorking();
    }
    const QString newID = replace(orderID, limitPrice, stopPrice, at);
    saveIfNeeded();
    if (auto failure = takeFailure(true)) throw failure->error;
    co_return record(newID, false);
}

QString MockBroker::addWorking(Working working) {
    const QString id = ledger_.nextID();
    if (working.isOpen()) open_.insert(id);
    ledger_.book.insert_or_assign(id, std::move(working));
    unsaved_ = true;
    return id;
}

QString MockBroker::book(OrderRequest request, Date at) {
    const Working blank{.status = OrderStatus::pending, .enteredAt = at, .fresh = true};

    if (request.isExitPair()) {
        // The take-profit limit carries the group; the stop hangs under it, and either one
        // filling takes its quantity off the other.
        Working parent = blank;
        parent.request = exitRequest(request, request.side, OrderType::limit, *request.takeProfit);
        parent.request.clientOrderID = request.clientOrderID;
        parent.role = WorkingRole::oco;
        const QString parentID = addWorking(std::move(parent));
        ledger_.parents.push_back(parentID);

        Working stop = blank;
        stop.request = exitRequest(request, request.side, OrderType::stop, *request.stopLoss);
        stop.role = WorkingRole::stopLoss;
        stop.parentID = parentID;
        const QString stopID = addWorking(std::move(stop));
        ledger_.find(parentID)->legIDs.push_back(stopID);
        return parentID;
    }

    if (request.takeProfit || request.stopLoss) {
        // A bracket: the entry, and exits that wait unarmed until it fills.
        const auto takeProfit = request.takeProfit;
        const auto stopLoss = request.stopLoss;
        Working entry = blank;
        entry.request = request;
        entry.request.takeProfit.reset();
        entry.request.stopLoss.reset();
        entry.role = WorkingRole::entry;
        const QString entryID = addWorking(std::move(entry));
        ledger_.parents.push_back(entryID);

        std::vector<QString> legs;
        const OrderSide side = exitSide(request.side);
        if (takeProfit) {
            Working leg = blank;
            leg.request = exitRequest(request, side, OrderType::limit, *takeProfit);
            leg.role = WorkingRole::takeProfit;
            leg.parentID = entryID;
            leg.armed = false;
            legs.push_back(addWorking(std::move(leg)));
        }
        if (stopLoss) {
            Working leg = blank;
            leg.request = exitRequest(request, side, OrderType::stop, *stopLoss);
            leg.role = WorkingRole::stopLoss;
            leg.parentID = entryID;
            leg.armed = false;
            legs.push_back(addWorking(std::move(leg)));
        }
        ledger_.find(entryID)->legIDs = std::move(legs);
        return entryID;
    }

    Working plain = blank;
    if (request.type == OrderType::trailingStop) {
        // The stop starts the trail away from the price now; stopPrice then follows the best.
        const Decimal price = market_.price(request.symbol, at).value_or(Decimal());
        request.stopPrice = isBuy(request.side) ? price + *request.trailAmount : price - *request.trailAmount;
    }
    plain.request = std::move(request);
    const QString id = addWorking(std::move(plain));
    ledger_.parents.push_back(id);
    return id;
}

void MockBroker::cancelNow(const QString& id, Date at) {
    Working* w = ledger_.find(id);
    if (!w || !w->isOpen()) return;
    end(id, OrderStatus::cancelled, at);
}

QString MockBroker::replace(const QString& id, std::optional<Decimal> limitPrice,
                            std::optional<Decimal> stopPrice, Date at) {
    const Working& old = *ledger_.find(id);
    OrderRequest request = old.request;
    bool moved = false;
    const OrderType type = request.type;
    if (limitPrice && (type == OrderType::limit || type == OrderType::stopLimit)) {
        request.limitPrice = limitPrice;
        moved = true;
    }
    if (stopPrice && (type == OrderType::stop || type == OrderType::stopLimit)) {
        request.stopPrice = stopPrice;
        moved = true;
    }
    if (!moved) throw noNewPrice();
    if (auto problem = request.pricingProblem()) throw BrokerError::invalidOrder(*problem);
    // The new order carries what is left; what filled stays with the old one.
    request.quantity = old.remaining();

    Working next = old;
    next.request = std::move(request);
    next.status = OrderStatus::pending;
    next.fillPrice.reset();
    next.enteredAt = at;
    next.closedAt.reset();
    next.fresh = true;
    next.triggered.reset();
    next.filled.reset();
    next.replacedBy.reset();
    const QString newID = addWorking(std::move(next));

    Working& replaced = *ledger_.find(id);
    replaced.status = OrderStatus::replaced;
    replaced.closedAt = at;
    replaced.replacedBy = newID;
    open_.erase(id);
    // The legs move to the new order.
    const Working& fresh = *ledger_.find(newID);
    for (const auto& leg : fresh.legIDs) {
        if (Working* child = ledger_.find(leg)) child->parentID = newID;
    }
    replaced.legIDs.clear();

    auto& parents = ledger_.parents;
    if (fresh.parentID) {
        // A leg is swapped in its group; the old one is listed on its own after the group.
        Working& parent = *ledger_.find(*fresh.parentID);
        std::replace(parent.legIDs.begin(), parent.legIDs.end(), id, newID);
        auto place = std::find(parents.begin(), parents.end(), *fresh.parentID);
        parents.insert(place == parents.end() ? place : place + 1, id);
    } else {
        // The new order takes its place right after the old one.
        auto place = std::find(parents.begin(), parents.end(), id);
        parents.insert(place == parents.end() ? place : place + 1, newID);
    }
    unsaved_ = true;
    return newID;
}

}  // namespace tavix
