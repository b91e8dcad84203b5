#include "core/PriceText.h"

#include <algorithm>

namespace tavix {

namespace {

QString signedText(const Decimal& value, int places) {
    const Decimal shown = value.rounded(places);
    QString text = shown.toFixed(places);
    // Only a move that survives the rounding gets a plus; "0.00" reads as no move.
    if (shown.isPositive()) text.prepend(u'+');
    return text;
}

}  // namespace

QString priceText(const Decimal& price) { return price.toFixed(std::max(2, price.scale())); }

QString changeText(const Decimal& change) { return signedText(change, std::max(2, change.scale())); }

std::optional<QString> percentText(const Decimal& change, const Decimal& base) {
    if (base.isZero()) return std::nullopt;
    return signedText(change / base * Decimal(100), 2) + u'%';
}

}  // namespace tavix
