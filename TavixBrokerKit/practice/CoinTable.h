#pragma once

#include "market/Decimal.h"

#include <QString>
#include <QStringList>

#include <optional>

namespace tavix {

// The dollar levels the practice market's coins trade around. The path moves each coin away
// from its level by the same daily moves as a stock, so these are starting points, not prices.
class CoinTable {
public:
    // The level of a base coin ("BTC"), or nothing for a coin not in the table. Case is forgiven.
    static std::optional<Decimal> level(const QString& coin);
    // The coins in the table, in a fixed order.
    static QStringList coins();
    // True for the dollar and the dollar-tied coins a pair may be quoted in.
    static bool isDollar(const QString& currency);
};

}  // namespace tavix
