#include "market/CoinRules.h"

#include "market/CryptoPair.h"

namespace tavix {
namespace {

Decimal dec(const char* text) { return *Decimal::parse(std::string_view(text)); }

// How many whole steps fit in the value, rounded as asked.
Decimal steps(const Decimal& value, const Decimal& step, Decimal::Rounding rounding) {
    return (value / step).rounded(0, rounding);
}

}  // namespace

CoinRules CoinRules::guess(const Decimal& near) {
    const Decimal price = near.abs();
    if (price >= Decimal(1000)) return {dec("0.0001"), dec("0.000001"), dec("0.1")};
    if (price >= Decimal(1)) return {dec("0.01"), dec("0.0001"), dec("0.01")};
    if (price >= dec("0.01")) return {dec("1"), dec("0.01"), dec("0.0001")};
    return {dec("1000"), dec("1"), dec("0.00000001")};
}

Decimal CoinRules::amount(const Decimal& value) const {
    if (!amountStep.isPositive()) return value;
    return steps(value, amountStep, Decimal::Rounding::down) * amountStep;
}

bool CoinRules::isAmount(const Decimal& value) const {
    return value >= smallest && value.isPositive() && amount(value) == value;
}

Decimal CoinRules::price(const Decimal& value, bool up) const {
    if (!priceStep.isPositive()) return value;
    const auto rounding = (up != value.isNegative()) ? Decimal::Rounding::up : Decimal::Rounding::down;
    return steps(value, priceStep, rounding) * priceStep;
}

bool CoinRules::isPrice(const Decimal& value) const { return price(value, false) == value; }

std::optional<QString> CoinRules::problem(const OrderRequest& request) const {
    const QString coin = CryptoPair::baseOf(request.symbol).value_or(request.symbol);
    if (request.quantity < smallest) {
        return QStringLiteral("The smallest amount of ") + coin + QStringLiteral(" you can order is ") +
               smallest.toString() + QStringLiteral(".");
    }
    if (!isAmount(request.quantity)) {
        return QStringLiteral("Amounts of ") + coin + QStringLiteral(" go in steps of ") + amountStep.toString() +
               QStringLiteral(": ") + request.quantity.toString() + QStringLiteral(" won't do, ") +
               amount(request.quantity).toString() + QStringLiteral(" would.");
    }
    for (const auto& [name, value] : {std::pair{QStringLiteral("limit"), request.limitPrice},
                                      std::pair{QStringLiteral("stop"), request.stopPrice}}) {
        if (value && !isPrice(*value)) {
            return QStringLiteral("Prices of ") + coin + QStringLiteral(" go in steps of ") +
                   priceStep.toString() + QStringLiteral(": the ") + name + QStringLiteral(" price ") +
                   value->toString() + QStringLiteral(" won't do, ") + price(*value, false).toString() +
                   QStringLiteral(" or ") + price(*value, true).toString() + QStringLiteral(" would.");
        }
    }
    return std::nullopt;
}

}  // namespace tavix
