#pragma once

#include "analytics/Study.h"
#include "market/Decimal.h"

#include <QString>

#include <optional>
#include <variant>
#include <vector>

namespace tavix {

// An order as a bot sends it. On the wire: symbol, side, qty, type, limit_price, stop_price,
// trail_price, time_in_force, reason.
struct PlugOrder {
    QString symbol;
    QString side;  // "buy" or "sell"
    Decimal qty;
    QString type = QStringLiteral("market");
    std::optional<Decimal> limitPrice;
    std::optional<Decimal> stopPrice;
    std::optional<Decimal> trailPrice;
    QString timeInForce = QStringLiteral("day");
    QString reason;

    friend bool operator==(const PlugOrder&, const PlugOrder&) = default;
};

// A study asked of the plug: its kind, its settings, and the name its values come back under.
using PlugStudy = StudyRequest;

// What a request to the plug asks, once read and checked.
namespace PlugAsk {
struct Account {};
struct Positions {};
struct Quote {
    QString symbol;
};
struct Bars {
    QString symbol;
    QString span;
    int limit = 100;
};
struct Study {
    QString symbol;
    QString span;
    int limit = 100;
    std::vector<PlugStudy> studies;
};
struct Studies {};
struct Orders {};
struct Order {
    QString id;
};
struct Place {
    PlugOrder order;
};
struct Cancel {
    QString id;
};
struct Note {
    QString text;
};
}  // namespace PlugAsk

using PlugRequest = std::variant<PlugAsk::Account, PlugAsk::Positions, PlugAsk::Quote, PlugAsk::Bars, PlugAsk::Study,
                                 PlugAsk::Studies, PlugAsk::Orders, PlugAsk::Order, PlugAsk::Place, PlugAsk::Cancel,
                                 PlugAsk::Note>;

}  // namespace tavix
