#pragma once

#include "market/Decimal.h"
#include "market/Enums.h"

#include <QString>

#include <optional>

namespace tavix {

struct BrokerAccount {
    QString id;             // used in every account-scoped call (for Schwab, the account hash)
    QString displayNumber;  // what the user is shown, e.g. a masked number
    std::optional<QString> nickname;
    std::optional<QString> type;  // the broker's own word: margin, cash …
    bool isDayTrader = false;

    friend bool operator==(const BrokerAccount&, const BrokerAccount&) = default;
};

struct Balance {
    Decimal cash;
    Decimal buyingPower;
    Decimal equity;  // total account value
    std::optional<Decimal> dayChange;
    std::optional<Decimal> dayChangePercent;  // 1.5 means 1.5 %
    std::optional<Decimal> cashToTrade;       // settled cash, where the broker gives it

    friend bool operator==(const Balance&, const Balance&) = default;
};

struct Position {
    QString symbol;
    AssetType assetType = AssetType::equity;
    Decimal quantity;      // negative when short
    Decimal averagePrice;  // per share or per contract, not multiplied
    Decimal marketValue;
    Decimal unrealizedPL;
    std::optional<Decimal> dayPL;
    std::optional<Decimal> available;  // not tied up by working orders

    friend bool operator==(const Position&, const Position&) = default;
};

}  // namespace tavix
