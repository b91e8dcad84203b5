#pragma once

#include "market/Decimal.h"

#include <QString>

namespace tavix {

// Money as the header and the tables show it: dollars, two decimals, thousands grouped:
// "$12,345.60", "-$3.10".
QString moneyText(const Decimal& amount);

// A signed amount: "+$12.30", "-$0.45", and "$0.00" for no change at all.
QString signedMoneyText(const Decimal& amount);

// A quantity with every decimal it has and thousands grouped: "1,250", "0.0125".
QString quantityText(const Decimal& quantity);

}  // namespace tavix
