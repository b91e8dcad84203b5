#pragma once

#include "market/Decimal.h"

#include <QString>

namespace tavix {

// The sentence shown when a sell (or a buy back of a short) asks for more than is free.
class HeldRefusal {
public:
    // `held`: what is held of the position being closed (positive for long shares or coins,
    // negative for a short); `resting`: how much of it resting orders already hold; `coin`: a
    // coin pair, which can never be sold short; `buyingBack`: the order buys back a short (it
    // tells the two apart when nothing is held at all).
    static QString words(const Decimal& held, const Decimal& resting, bool coin, bool buyingBack = false);
};

}  // namespace tavix
