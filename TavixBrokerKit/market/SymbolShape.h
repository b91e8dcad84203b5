#pragma once

#include <QString>

namespace tavix {

// The shapes a symbol may have, checked where one is typed or read from outside, before any broker
// is asked: a stock or fund ticker ("AAPL", "BRK.B"), a coin pair ("BTC/USD") or an OCC option
// symbol ("AAPL260320C00200000").
namespace SymbolShape {

// A ticker: a letter, then up to nine letters, digits or dots, in capitals.
bool isTicker(const QString& text);
// A ticker, a coin pair or an option symbol, as the text stands (trim and upper-case it first).
bool isSymbol(const QString& text);
// The plain sentence for text that is none of these; long text is cut short in it.
QString refusal(const QString& typed);
// Text cut to `most` characters with an ellipsis, for quoting what someone typed.
QString shortened(const QString& text, int most = 24);

}  // namespace SymbolShape

}  // namespace tavix
