#include "core/AppModel.h"

#include "core/ModelLog.h"
#include "core/OrderWords.h"
#include "market/CryptoPair.h"

#include <QPointer>

#include <algorithm>

#include <utility>

namespace tavix {

void AppModel::setTicket(const OrderRequest& request, std::optional<Decimal> targetExit,
                         std::optional<Decimal> stopExit) {
    ticket_.request = request;
    ticket_.targetExit = targetExit;
    ticket_.stopExit = stopExit;
    ticket_.preview.reset();
    Q_EMIT changed(Field::ticket);
}

QCoro::Task<void> AppModel::buildPreview() {
    QPointer<AppModel> self(this);
    const auto refuse = [this](QString why) {
        // The shared order rules speak in fragments ("a limit order needs …"); the banner says a sentence.
        if (!why.isEmpty()) why[0] = why[0].toUpper();
        ticket_.preview.reset();
        ticket_.checking = false;
        setBanner(why);
        Q_EMIT changed(Field::ticket);
    };
    const OrderRequest request = ticket_.request;
    if (mode_ == Mode::expert) {
        if (auto problem = OrderTicket::settleExpertTicket(request, positions_)) co_return refuse(*problem);
    }
    if (auto problem = OrderTicket::offScreenProblem(request, selectedSymbol_)) {
        ticket_ = OrderTicket::fresh(selectedSymbol_);
        co_return refuse(*problem);
    }
    if (request.assetType != AssetType::option) {
        if (auto problem = request.shareProblem()) co_return refuse(*problem);
    }
    if (auto problem = request.pricingProblem()) co_return refuse(*problem);
    std::shared_ptr<Broker> broker = broker_;
    if (!broker || !account_) co_return refuse(QStringLiteral("Tavix isn't connected to a broker yet. Try again in a moment."));
    const std::uint64_t generation = accountGeneration_;
    // What is held now, read afresh: a fill since the last account read changes the answer.
    std::vector<Position> held = positions_;
    if (request.assetType == AssetType::equity) {
        try {
            held = co_await broker->positions(account_->id);
        } catch (const BrokerError& error) {
            logModelWarning(QStringLiteral("positions read before a preview failed: ") + error.description());
        }
        if (!self || generation != accountGeneration_) co_return;
    }
    if (auto problem = OrderTicket::againstHeldProblem(request, held, mode_)) co_return refuse(*problem);
    const auto quoted = quotes_.find(request.symbol);
    const Decimal value = OrderTicket::value(request, quoted == quotes_.end() ? nullptr : &quoted->second);
    if (auto problem = OrderTicket::limitRefusal(limits_, value, OrderTicket::isOpening(request, held), balance_)) {
        co_return refuse(*problem);
    }
    ticket_.checking = true;
    Q_EMIT changed(Field::ticket);
    std::optional<OrderPreview> preview;
    std::optional<QString> problem;
    try {
        preview = co_await broker->previewOrder(request, account_->id);
    } catch (const BrokerError& error) {
        problem = error.description();
    }
    if (!self || generation != accountGeneration_) co_return;
    if (problem) co_return refuse(*problem);
    ticket_.checking = false;
    ticket_.preview = std::move(preview);
    Q_EMIT changed(Field::ticket);
}

QCoro::Task<void> AppModel::submit() {
    QPointer<AppModel> self(this);
    const auto refuse = [this](const QString& why) {
        ticket_.preview.reset();
        ticket_.sending = false;
        setBanner(why);
        Q_EMIT changed(Field::ticket);
    };
    ticket_.sending = true;
    Q_EMIT changed(Field::ticket);
    if (auto problem = OrderTicket::offScreenProblem(ticket_.request, selectedSymbol_)) {
        ticket_ = OrderTicket::fresh(selectedSymbol_);
        co_return refuse(*problem);
    }
    OrderRequest request = ticket_.request;
    if (request.assetType == AssetType::equity) {
        request.takeProfit = ticket_.targetExit;
        request.stopLoss = ticket_.stopExit;
    }
    const auto quoted = quotes_.find(request.symbol);
    const Decimal value = OrderTicket::value(request, quoted == quotes_.end() ? nullptr : &quoted->second);
    if (auto problem = OrderTicket::limitRefusal(limits_, value, OrderTicket::isOpening(request, positions_), balance_)) {
        co_return refuse(*problem);
    }
    std::shared_ptr<Broker> broker = broker_;
    if (!broker || !account_) co_return refuse(QStringLiteral("Tavix isn't connected to a broker yet. Try again in a moment."));
    const std::uint64_t generation = accountGeneration_;
    const QString accountID = account_->id;
    const auto heldOf = [this](const QString& symbol) {
        for (const Position& position : positions_) {
            if (position.symbol == symbol) return position.quantity;
        }
        return Decimal();
    };
    const Decimal heldBefore = heldOf(request.symbol);
    co_await clearTavixOrders(request.symbol);
    if (!self || generation != accountGeneration_) co_return;

    std::optional<Order> placed;
    std::optional<QString> problem;
    try {
        placed = co_await broker->placeOrder(request, accountID);
    } catch (const BrokerError& error) {
        problem = error.description();
    }
    // An answer for an account no longer in use is dropped.
    if (!self || generation != accountGeneration_) co_return;
    if (problem) {
        logModelWarning(QStringLiteral("order refused: ") + *problem);
        co_return refuse(*problem);
    }
    ticket_.sending = false;
    ticket_.preview.reset();
    const QString report = OrderTicket::sentReport(*placed, mode_);
    ticket_.lastSent = report;
    Q_EMIT changed(Field::ticket);
    setBanner(report);
    co_await refreshAccount();
    if (!self || generation != accountGeneration_) co_return;
    // A coin bought whose fee came out of the coin leaves less than was bought: say what is held.
    if (request.assetType == AssetType::crypto && isBuy(request.side) && placed->status == OrderStatus::filled) {
        const Decimal held = heldOf(request.symbol);
        if (held < heldBefore + placed->filledQuantity) {
            setBanner(report + u' ' + OrderTicket::coinFeeNote(held, CryptoPair::baseOf(request.symbol).value_or(request.symbol)) + u'.');
        }
    }
}

QCoro::Task<void> AppModel::cancel(Order order, bool linked) {
    QPointer<AppModel> self(this);
    std::shared_ptr<Broker> broker = broker_;
    if (!broker || !account_) co_return;
    const std::uint64_t generation = accountGeneration_;
    const QString accountID = account_->id;
    ticket_.cancelling.insert(order.id);
    Q_EMIT changed(Field::ticket);
    // The exits linked to it: the other open legs under the same order. Some brokers cancel them
    // with it; where one is left working, it is cancelled here so neither exit stays alone.
    std::vector<QString> linkedIDs;
    if (linked) {
        for (const Order& parent : orders_) {
            const bool under = std::any_of(parent.legs.begin(), parent.legs.end(),
                                           [&](const Order& leg) { return leg.id == order.id; });
            if (!under) continue;
            for (const Order& leg : parent.legs) {
                if (leg.id != order.id && leg.isOpen()) linkedIDs.push_back(leg.id);
            }
        }
    }
    std::optional<QString> problem;
    try {
        co_await broker->cancelOrder(order.id, accountID);
    } catch (const BrokerError& error) {
        problem = error.description();
    }
    if (!self || generation != accountGeneration_) co_return;
    if (!problem) {
        for (const QString& id : linkedIDs) {
            try {
                co_await broker->cancelOrder(id, accountID);
            } catch (const BrokerError& error) {
                // Already cancelled with its partner, as brokers that link exits do.
                logModelInfo(QStringLiteral("linked exit ") + id + QStringLiteral(" not cancelled again: ") +
                             error.description());
            }
            if (!self || generation != accountGeneration_) co_return;
        }
    }
    ticket_.cancelling.erase(order.id);
    Q_EMIT changed(Field::ticket);
    if (problem) {
        setBanner(*problem);
        co_return;
    }
    const OrderWords::Role role = OrderWords::role(order);
    setBanner(linked ? OrderTicket::linkedCancelSentence(order.symbol)
                     : QStringLiteral("Cancel sent: ") + OrderWords::summary(order, role, mode_));
    co_await refreshAccount();
}

QCoro::Task<void> AppModel::moveOrder(Order order, std::optional<Decimal> price) {
    if (auto refusal = OrderWords::moveRefusal(price)) {
        setBanner(refusal);
        co_return;
    }
    QPointer<AppModel> self(this);
    std::shared_ptr<Broker> broker = broker_;
    if (!broker || !account_) co_return;
    const std::uint64_t generation = accountGeneration_;
    const bool stopOrder = order.type == OrderType::stop;
    std::optional<QString> problem;
    try {
        co_await broker->replaceOrder(order.id, account_->id, stopOrder ? std::nullopt : price,
                                      stopOrder ? price : std::nullopt);
    } catch (const BrokerError& error) {
        problem = error.description();
    }
    if (!self || generation != accountGeneration_) co_return;
    setBanner(problem ? *problem : OrderWords::moved(*price));
    if (!problem) co_await refreshAccount();
}

QCoro::Task<void> AppModel::loadOptionChain(std::optional<Date> expiry) {
    QPointer<AppModel> self(this);
    std::shared_ptr<Broker> broker = broker_;
    const QString symbol = selectedSymbol_;
    if (!broker || symbol.isEmpty()) co_return;
    const std::uint64_t generation = accountGeneration_;
    std::vector<OptionContract> chain;
    try {
        chain = co_await broker->optionChain(symbol, expiry);
    } catch (const BrokerError& error) {
        if (self && generation == accountGeneration_) setBanner(error.description());
        co_return;
    }
    // A chain for a symbol or account no longer shown is dropped.
    if (!self || generation != accountGeneration_ || symbol != selectedSymbol_) co_return;
    write(optionChain_, std::move(chain), Field::optionChain);
}

QCoro::Task<void> AppModel::clearTavixOrders(QString symbol) {
    QPointer<AppModel> self(this);
    std::shared_ptr<Broker> broker = broker_;
    if (!broker || !account_) co_return;
    const QString accountID = account_->id;
    const std::vector<Order> held = orders_;
    for (const Order& order : held) {
        const bool tavixOwn = order.clientOrderID && order.clientOrderID->startsWith(QStringLiteral("tavix-")) &&
                              !order.clientOrderID->startsWith(QStringLiteral("tavix-bot-"));
        if (order.symbol != symbol || !order.isOpen() || !tavixOwn) continue;
        try {
            co_await broker->cancelOrder(order.id, accountID);
        } catch (const BrokerError& error) {
            logModelWarning(QStringLiteral("couldn't clear ") + order.id + QStringLiteral(": ") + error.description());
        }
        if (!self) co_return;
    }
}

}  // namespace tavix
