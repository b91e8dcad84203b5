#pragma once

#include "market/BrokerID.h"

#include <QString>

namespace tavix {

// Whose money an account trades: the practice broker's made-up ledger, a broker's paper account,
// or real money.
enum class AccountKind { practice, paper, live };

// The kind of account a broker gives. Tavix takes only paper keys for Alpaca; Schwab accounts are
// real money.
AccountKind accountKindOf(const BrokerID& broker);

// The word the header shows: "Practice", "Paper", "Live".
QString accountKindWord(AccountKind kind);

}  // namespace tavix
