#include "market/SymbolShape.h"

#include "market/CryptoPair.h"
#include "market/OptionSymbol.h"

#include <QRegularExpression>

namespace tavix::SymbolShape {

bool isTicker(const QString& text) {
    static const QRegularExpression ticker(QStringLiteral("^[A-Z][A-Z0-9.]{0,9}$"));
    return ticker.match(text).hasMatch();
}

bool isSymbol(const QString& text) {
    // Longer than any real symbol: refused before the slower checks run on a pasted page.
    constexpr qsizetype longest = 32;
    if (text.isEmpty() || text.size() > longest) return false;
    if (isTicker(text)) return true;
    if (text.contains(u'/')) return CryptoPair::isPair(text);
    return OptionSymbol::parse(text).has_value();
}

QString shortened(const QString& text, int most) {
    if (text.size() <= most) return text;
    return text.left(most - 1) + QChar(0x2026);
}

QString refusal(const QString& typed) {
    return QChar(0x201C) + shortened(typed.trimmed()) + QChar(0x201D) +
           QStringLiteral(" isn't a symbol. Type a ticker such as AAPL, a coin pair such as BTC/USD, or an "
                          "option symbol such as AAPL260320C00200000.");
}

}  // namespace tavix::SymbolShape
