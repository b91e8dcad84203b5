#include "core/OrderTicket.h"

#include "core/MoneyText.h"
#include "core/OrderWords.h"
#include "core/PriceText.h"
#include "market/CryptoPair.h"
#include "market/OptionSymbol.h"

#include <algorithm>

namespace tavix {

namespace {

Decimal heldOf(const std::vector<Position>& positions, const QString& symbol) {
    for (const Position& position : positions) {
        if (position.symbol == symbol) return position.quantity;
    }
    return Decimal();
}

QString shares(const Decimal& count) {
    return quantityText(count) + (count == Decimal(1) ? QStringLiteral(" share") : QStringLiteral(" shares"));
}

// How far from the market a limit may start before the note says it may never fill.
const Decimal farShare = Decimal(5) / Decimal(100);

}  // namespace

OrderTicket OrderTicket::fresh(const QString& symbol) {
    OrderTicket ticket;
    ticket.request.symbol = symbol;
    ticket.request.quantity = Decimal(1);
    if (CryptoPair::isPair(symbol)) {
        ticket.request.assetType = AssetType::crypto;
        ticket.request.timeInForce = TimeInForce::goodTillCancelled;
    }
    return ticket;
}

Decimal OrderTicket::value(const OrderRequest& request, const Quote* quote) {
    std::optional<Decimal> price;
    if ((request.type == OrderType::limit || request.type == OrderType::stopLimit) && request.limitPrice) {
        price = request.limitPrice;
    } else if (request.type == OrderType::stop && request.stopPrice) {
        price = request.stopPrice;
    } else if (quote) {
        price = isBuy(request.side) ? quote->ask.value_or(quote->last) : quote->bid.value_or(quote->last);
    }
    const Decimal each = price.value_or(Decimal());
    const Decimal size = request.assetType == AssetType::option ? Decimal(100) : Decimal(1);
    return each * request.quantity * size;
}

bool OrderTicket::isOpening(const OrderRequest& request, const std::vector<Position>& positions) {
    const Decimal held = heldOf(positions, request.symbol);
    if (isBuy(request.side)) return !held.isNegative() || request.quantity > held.abs();
    // A sale opens (or adds to) a short unless it only sells what is held.
    return !held.isPositive() || request.quantity > held;
}

std::optional<QString> OrderTicket::limitRefusal(const SafetyLimits& limits, const Decimal& value, bool opening,
                                                 const std::optional<Balance>& balance) {
    if (!opening) return std::nullopt;  // selling what is held is never refused
    const std::optional<Decimal> dayPL = balance ? balance->dayChange : std::nullopt;
    if (const auto refusal = limits.refusal(value, opening, dayPL)) {
        if (refusal->kind == SafetyLimits::Refusal::Kind::dayLossReached) {
            return QStringLiteral("You're down ") + moneyText(refusal->amount) + QStringLiteral(" today, past your ") +
                   moneyText(refusal->limit) +
                   QStringLiteral(" stop. No new trades until tomorrow; you can still sell what you hold.");
        }
        return QStringLiteral("That's ") + moneyText(refusal->amount) + QStringLiteral(" in one trade, over your ") +
               moneyText(refusal->limit) +
               QStringLiteral(" limit. Make it smaller, or change the limit in Settings → Limits.");
    }
    if (balance && value > balance->buyingPower) {
        return QStringLiteral("That's ") + moneyText(value) + QStringLiteral(", more than the ") +
               moneyText(balance->buyingPower) + QStringLiteral(" you have to trade. Make it smaller.");
    }
    return std::nullopt;
}

std::optional<QString> OrderTicket::offScreenProblem(const OrderRequest& request, const QString& onScreen) {
    if (request.symbol == onScreen) return std::nullopt;
    // A contract is traded from its underlying's chart.
    if (request.assetType == AssetType::option) {
        const auto contract = OptionSymbol::parse(request.symbol);
        if (contract && contract->underlying == onScreen) return std::nullopt;
    }
    return QStringLiteral("That order was on ") + request.symbol + QStringLiteral(". The ticket is on ") + onScreen +
           QStringLiteral(" now: check it again.");
}

std::optional<QString> OrderTicket::againstHeldProblem(const OrderRequest& request,
                                                       const std::vector<Position>& positions, Mode mode) {
    if (request.assetType != AssetType::equity) return std::nullopt;
    const Decimal held = heldOf(positions, request.symbol);
    const bool easy = mode == Mode::easy;
    if (request.side == OrderSide::buy && held.isNegative()) {
        const QString count = shares(held.abs());
        return easy ? QStringLiteral("You already have ") + count +
                          QStringLiteral(" sold short. Betting it goes up buys, and that would buy yours back "
                                         "instead. Buy it back first.")
                    : QStringLiteral("You already have ") + count +
                          QStringLiteral(" sold short, so this buy would buy it back instead of opening a new "
                                         "position. Buy it back first.");
    }
    if (request.side == OrderSide::sellShort && held.isPositive()) {
        const QString count = shares(held);
        return easy ? QStringLiteral("You already own ") + count +
                          QStringLiteral(". Betting it goes down sells shares you don't own yet, and with yours "
                                         "here it would sell yours instead. Sell them first, or pick another stock.")
                    : QStringLiteral("You already own ") + count +
                          QStringLiteral(", so a short sale would sell those shares instead of opening a short. Sell "
                                         "them first.");
    }
    return std::nullopt;
}

std::optional<QString> OrderTicket::unreadableProblem(const QString& field, const QString& text,
                                                      const QString& example) {
    if (text.trimmed().isEmpty() || Decimal::parse(text.trimmed())) return std::nullopt;
    return field + QStringLiteral(" doesn't read as a number. Type it like ") + example;
}

std::optional<QString> OrderTicket::settleExpertTicket(const OrderRequest& request,
                                                       const std::vector<Position>& positions) {
    const bool exits = request.takeProfit || request.stopLoss;
    const bool onHeld = !isBuy(request.side) && heldOf(positions, request.symbol).isPositive();
    if (exits && onHeld && !(request.takeProfit && request.stopLoss)) {
        return QStringLiteral(
            "Exits on shares you hold go in as one OCO order, so it needs both a take profit and a stop loss.");
    }
    return std::nullopt;
}

QString OrderTicket::checkSentence(const OrderPreview& preview, const std::optional<Decimal>& target,
                                   const std::optional<Decimal>& stop, const std::optional<Decimal>& marketPrice) {
    const OrderRequest& r = preview.request;
    const bool option = r.assetType == AssetType::option;
    QString what;
    if (r.assetType == AssetType::crypto) {
        what = quantityText(r.quantity) + u' ' + CryptoPair::baseOf(r.symbol).value_or(r.symbol);
    } else {
        const bool one = r.quantity == Decimal(1);
        what = quantityText(r.quantity) +
               (option ? (one ? QStringLiteral(" contract") : QStringLiteral(" contracts"))
                       : (one ? QStringLiteral(" share") : QStringLiteral(" shares")));
    }
    QString sentence = (isBuy(r.side) ? QStringLiteral("Buys ") : QStringLiteral("Sells ")) + what +
                       QStringLiteral(" of ") + r.symbol;
    if (const auto each = preview.estimatedPrice ? preview.estimatedPrice : marketPrice) {
        sentence += QStringLiteral(" at about ") + moneyText(*each) + QStringLiteral(" each");
    }
    if (preview.estimatedValue) sentence += QStringLiteral(", ") + moneyText(*preview.estimatedValue) + QStringLiteral(" in all");
    sentence += u'.';
    if (r.type == OrderType::trailingStop && r.trailAmount && marketPrice && marketPrice->isPositive()) {
        // A trail under a tenth of a percent of the price is told as such, not as a rounded 0.0 %.
        if (*r.trailAmount / *marketPrice < Decimal(5) / Decimal(1000)) {
            sentence += QStringLiteral(" It follows the price by under a tenth of a percent.");
        } else {
            sentence += QStringLiteral(" It follows ") + moneyText(*r.trailAmount) + QStringLiteral(" behind the price.");
        }
    }
    if (target || stop) {
        const bool shortSale = r.side == OrderSide::sellShort;
        QStringList then;
        if (target) then << (shortSale ? QStringLiteral("buys back at ") : QStringLiteral("sells at ")) + moneyText(*target);
        if (stop) then << QStringLiteral("gets out at ") + moneyText(*stop);
        sentence += QStringLiteral(" Then it ") + then.join(QStringLiteral(" or ")) + u'.';
    }
    return sentence;
}

QStringList OrderTicket::checkNotes(const OrderPreview& preview, bool marketOpen,
                                    const std::optional<Decimal>& marketPrice) {
    const OrderRequest& r = preview.request;
    QStringList notes;
    if (!marketOpen && r.assetType != AssetType::crypto) {
        QString closed = QStringLiteral("The market is closed, so this goes in at the next open, at whatever price it opens at.");
        if (r.type == OrderType::market) {
            closed += QStringLiteral(" A market order takes whatever is there; a limit sets the worst price you'd take.");
        }
        notes << closed;
    }
    if (r.type == OrderType::limit && r.limitPrice && marketPrice && marketPrice->isPositive()) {
        const Decimal gap = (*r.limitPrice - *marketPrice).abs();
        if (gap / *marketPrice > farShare) {
            if (!isBuy(r.side) && *r.limitPrice > *marketPrice) {
                notes << QStringLiteral("This sale starts at ") + moneyText(*r.limitPrice) +
                             QStringLiteral(" and then takes at least ") + moneyText(gap) +
                             QStringLiteral(" over where it starts, so it may never fill.");
            } else if (isBuy(r.side) && *r.limitPrice < *marketPrice) {
                notes << QStringLiteral("This buy starts at ") + moneyText(*r.limitPrice) +
                             QStringLiteral(" and then pays at most ") + moneyText(gap) +
                             QStringLiteral(" under where it starts, so it may never fill.");
            }
        }
    }
    return notes;
}

QString OrderTicket::sentReport(const Order& order, Mode mode) {
    const bool buying = isBuy(order.side);
    const QString how = OrderWords::easyCount(order) + QStringLiteral(" of ") + order.symbol;
    switch (order.status) {
        case OrderStatus::partiallyFilled:
            return QStringLiteral("You've ") + (buying ? QStringLiteral("bought") : QStringLiteral("sold")) +
                   QStringLiteral(" some of ") + how + QStringLiteral(" so far.");
        case OrderStatus::filled:
            return QStringLiteral("Done: you ") + (buying ? QStringLiteral("bought ") : QStringLiteral("sold ")) + how;
        case OrderStatus::cancelled:
        case OrderStatus::rejected:
        case OrderStatus::expired:
            return QStringLiteral("That didn't go through: your broker turned it down.");
        default:
            (void)mode;
            return QStringLiteral("Sent: ") + (buying ? QStringLiteral("buying ") : QStringLiteral("selling ")) + how +
                   QStringLiteral(". It shows in What you own once it fills.");
    }
}

QString OrderTicket::coinFeeNote(const Decimal& held, const QString& coin) {
    return QStringLiteral("The fee came out of the coin: you hold ") + quantityText(held) + u' ' + coin;
}

QString OrderTicket::linkedCancelSentence(const QString& symbol) {
    return QStringLiteral("Cancelled both exits on ") + symbol + QStringLiteral(": they're linked, so one can't go alone.");
}

}  // namespace tavix
