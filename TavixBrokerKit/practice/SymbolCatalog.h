#pragma once

#include "market/SymbolMatch.h"

#include <QString>

#include <vector>

namespace tavix {

// The fixed sample list the practice broker searches: well-known US stocks, two index funds and
// four coins.
class SymbolCatalog {
public:
    static const std::vector<SymbolMatch>& all();

    // Entries whose symbol starts with the text, or whose name has a word starting with each word
    // of the text; letter case is forgiven. Major names come first, then an exact symbol, then
    // symbol prefixes before name matches, then the list's own order. Blank text matches nothing.
    static std::vector<SymbolMatch> search(const QString& text);
};

}  // namespace tavix
