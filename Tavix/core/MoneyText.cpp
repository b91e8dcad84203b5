#include "core/MoneyText.h"

namespace tavix {

namespace {

// Groups the whole part of an unsigned fixed-point text: "1234567.5" becomes "1,234,567.5".
QString grouped(const QString& digits) {
    const qsizetype point = digits.indexOf(u'.');
    const qsizetype wholeLength = point < 0 ? digits.size() : point;
    QString out;
    out.reserve(digits.size() + wholeLength / 3);
    for (qsizetype i = 0; i < wholeLength; ++i) {
        if (i > 0 && (wholeLength - i) % 3 == 0) out += u',';
        out += digits.at(i);
    }
    out += digits.mid(wholeLength);
    return out;
}

}  // namespace

QString moneyText(const Decimal& amount) {
    const Decimal cents = amount.rounded(2);
    const QString digits = grouped(cents.abs().toFixed(2));
    return cents.isNegative() ? QStringLiteral("-$") + digits : QStringLiteral("$") + digits;
}

QString signedMoneyText(const Decimal& amount) {
    const Decimal cents = amount.rounded(2);
    // Only a change that survives the rounding gets a sign; "$0.00" reads as no change.
    if (cents.isPositive()) return QStringLiteral("+") + moneyText(cents);
    return moneyText(cents);
}

QString quantityText(const Decimal& quantity) {
    const QString digits = grouped(quantity.abs().toString());
    return quantity.isNegative() ? QStringLiteral("-") + digits : digits;
}

}  // namespace tavix
