#pragma once

#include "market/Decimal.h"

#include <optional>

namespace tavix {

// The user's money limits: they stop a runaway bot or a bad day from opening more positions.
struct SafetyLimits {
    std::optional<Decimal> perTrade;   // the most one opening order may be worth
    std::optional<Decimal> dailyLoss;  // the day's loss (a positive amount) at which opening stops

    struct Refusal {
        enum class Kind { overTradeLimit, dayLossReached };
        Kind kind;
        Decimal amount;  // the order's value, or the day's loss
        Decimal limit;

        static Refusal overTradeLimit(Decimal value, Decimal limit) { return {Kind::overTradeLimit, value, limit}; }
        static Refusal dayLossReached(Decimal loss, Decimal limit) { return {Kind::dayLossReached, loss, limit}; }
        friend bool operator==(const Refusal&, const Refusal&) = default;
    };

    // Suggested limits for an account of this worth: a quarter of it per trade and a twentieth
    // of it as the day's loss, each kept to two figures. No limits for a worth not over zero.
    static SafetyLimits starting(const Decimal& worth);
    // Two significant figures, rounded down: 12,075 -> 12,000; under 100, whole units: 99.9 -> 99.
    static Decimal twoFigures(const Decimal& amount);

    // Why an order of this value may not go, or nothing. Closing orders always pass.
    std::optional<Refusal> refusal(const Decimal& value, bool opening, std::optional<Decimal> dayPL) const;

    friend bool operator==(const SafetyLimits&, const SafetyLimits&) = default;
};

}  // namespace tavix
