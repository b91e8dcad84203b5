#include "market/SafetyLimits.h"

namespace tavix {

SafetyLimits SafetyLimits::starting(const Decimal& worth) {
    if (!worth.isPositive()) return {};
    return SafetyLimits{twoFigures(worth / Decimal(4)), twoFigures(worth / Decimal(20))};
}

Decimal SafetyLimits::twoFigures(const Decimal& amount) {
    Decimal m(1);
    while (amount / m >= Decimal(100)) m *= Decimal(10);
    return (amount / m).rounded(0, Decimal::Rounding::down) * m;
}

std::optional<SafetyLimits::Refusal> SafetyLimits::refusal(const Decimal& value, bool opening,
                                                           std::optional<Decimal> dayPL) const {
    if (!opening) return std::nullopt;
    if (dailyLoss && dailyLoss->isPositive() && dayPL) {
        const Decimal loss = -*dayPL;
        if (loss >= *dailyLoss) return Refusal::dayLossReached(loss, *dailyLoss);
    }
    if (perTrade && perTrade->isPositive() && value > *perTrade) {
        return Refusal::overTradeLimit(value, *perTrade);
    }
    return std::nullopt;
}

}  // namespace tavix
