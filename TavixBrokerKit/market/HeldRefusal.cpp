#include "market/HeldRefusal.h"

namespace tavix {

QString HeldRefusal::words(const Decimal& held, const Decimal& resting, bool coin, bool buyingBack) {
    const bool shortPosition = held.isNegative() || (held.isZero() && buyingBack);
    const Decimal amount = held.abs();
    const QString verb = shortPosition ? QStringLiteral("buy back") : QStringLiteral("sell");
    if (amount.isZero()) {
        if (coin) return QStringLiteral("there's none of it here to sell, and crypto can't be sold short.");
        return QStringLiteral("there's none of it here to ") +
               (shortPosition ? QStringLiteral("Buy back") : QStringLiteral("sell")) + u'.';
    }
    const Decimal free = max(amount - resting.abs(), Decimal(0));
    if (resting.isPositive() && free.isZero()) {
        return QStringLiteral("an order already resting holds all ") + amount.toString() +
               QStringLiteral(". Change that order to ") + verb + QStringLiteral(" a different amount") +
               QStringLiteral(", or cancel that order first.");
    }
    if (resting.isPositive()) {
        return QStringLiteral("an order already resting holds the rest. ") + QStringLiteral("Only ") +
               free.toString() + QStringLiteral(" of your ") + amount.toString() + QStringLiteral(" is free to ") +
               verb + QStringLiteral(". Cancel it first, then ") + verb + QStringLiteral(" all ") +
               amount.toString() + u'.';
    }
    if (coin) {
        return QStringLiteral("you hold ") + amount.toString() + QStringLiteral(", and crypto can't be sold short. Sell ") +
               amount.toString() + QStringLiteral(" at most.");
    }
    const QString advice = shortPosition ? QStringLiteral(" first, then buy again to own it.")
                                         : QStringLiteral(" first, then sell again to go short.");
    const QString closeVerb = shortPosition ? QStringLiteral("Buy back ") : QStringLiteral("Sell ");
    return QStringLiteral("you hold ") + (shortPosition ? held.toString() : amount.toString()) +
           QStringLiteral(", only ") + amount.toString() + QStringLiteral(" free to ") + verb + QStringLiteral(". ") +
           closeVerb + amount.toString() + advice;
}

}  // namespace tavix
