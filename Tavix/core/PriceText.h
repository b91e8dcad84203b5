#pragma once

#include "market/Decimal.h"

#include <QString>

#include <optional>

namespace tavix {

// How prices read on screen. Money shows two decimals; a price finer than a cent (a small coin)
// keeps every decimal it has, so nothing the broker sent is rounded away.
QString priceText(const Decimal& price);

// A signed move, "+1.25" or "-0.0040", with the decimals of priceText.
QString changeText(const Decimal& change);

// The move as a percentage of `base`, two decimals and signed: "+1.35%". Nothing when the base
// is zero, since there is no percentage of nothing.
std::optional<QString> percentText(const Decimal& change, const Decimal& base);

}  // namespace tavix
