#include "market/OptionSymbol.h"

#include "market/NewYorkCalendar.h"

#include <QDate>

namespace tavix {
namespace {

bool allDigits(QStringView text) {
    for (QChar c : text) {
        if (c < u'0' || c > u'9') return false;
    }
    return !text.isEmpty();
}

}  // namespace

std::optional<OptionSymbol> OptionSymbol::parse(const QString& text) {
    const QString upper = text.trimmed().toUpper();
    // Fixed tail: yyMMdd (6), right (1), strike × 1000 (8).
    if (upper.size() < 16) return std::nullopt;
    const QStringView tail = QStringView(upper).right(15);
    const QString underlying = upper.left(upper.size() - 15).trimmed();
    if (underlying.isEmpty() || underlying.size() > 6 || !underlying[0].isLetter()) return std::nullopt;
    for (QChar c : underlying) {
        if (!((c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9'))) return std::nullopt;
    }
    const QStringView datePart = tail.left(6);
    const QChar rightChar = tail[6];
    const QStringView strikePart = tail.right(8);
    if (!allDigits(datePart) || !allDigits(strikePart)) return std::nullopt;
    if (rightChar != u'C' && rightChar != u'P') return std::nullopt;
    const int year = 2000 + datePart.left(2).toInt();
    const int month = datePart.mid(2, 2).toInt();
    const int day = datePart.mid(4, 2).toInt();
    auto expiry = expiryDate(year, month, day);
    if (!expiry) return std::nullopt;
    const Decimal strike = Decimal(strikePart.toLongLong()) / Decimal(1000);
    if (!strike.isPositive()) return std::nullopt;
    return OptionSymbol{underlying, *expiry, rightChar == u'C' ? OptionRight::call : OptionRight::put, strike};
}

QString OptionSymbol::occ() const {
    const QDate day = NewYorkCalendar::dateOf(expiry);
    const Decimal thousandths = (strike * Decimal(1000)).rounded(0);
    const long long strikeNumber = thousandths.toInt64().value_or(0);
    return underlying + day.toString(QStringLiteral("yyMMdd")) + (right == OptionRight::call ? u'C' : u'P') +
           QStringLiteral("%1").arg(strikeNumber, 8, 10, QLatin1Char('0'));
}

std::optional<Date> OptionSymbol::expiryDate(int year, int month, int day) {
    const QDate date(year, month, day);
    if (!date.isValid()) return std::nullopt;
    return NewYorkCalendar::startOfDay(date);
}

}  // namespace tavix
