// Why the practice broker turns an order away. The words are the raw ones a brokerage service
// answers with, so the same translation into the user's words serves both.
#include "practice/MockBroker.h"

#include "market/CryptoPair.h"
#include "market/OptionSymbol.h"

namespace tavix {
namespace {

// An option trades until the close of its expiry day, 16:00 New York.
constexpr double expiryDayClose = 16 * 3600.0;

QString standardSymbol(const OrderRequest& request) {
    if (request.assetType == AssetType::crypto) return CryptoPair::normalized(request.symbol);
    if (request.assetType == AssetType::option) {
        if (auto option = OptionSymbol::parse(request.symbol)) return option->occ();
    }
    return request.symbol.trimmed().toUpper();
}

}  // namespace

OrderRequest MockBroker::normalized(OrderRequest request) {
    request.symbol = standardSymbol(request);
    return request;
}

std::optional<QString> MockBroker::refusal(const OrderRequest& request, Date at) const {
    const QString& symbol = request.symbol;
    if (!request.quantity.isPositive()) return QStringLiteral("quantity must be greater than zero");

    if (request.assetType == AssetType::option) {
        const auto option = OptionSymbol::parse(symbol);
        if (!option) return symbol + QStringLiteral(" is not an option contract");
        if (at >= option->expiry + expiryDayClose)
            return symbol + QStringLiteral(" has expired and no longer trades");
    }
    if (request.assetType == AssetType::crypto && !CryptoPair::isPair(symbol)) {
        return symbol + QStringLiteral(" isn't a crypto pair (one looks like BTC/USD).");
    }
    const bool trailing = request.type == OrderType::trailingStop;
    if (trailing) {
        if (request.assetType == AssetType::option)
            return QStringLiteral("Trailing stops are for shares, not options.");
        if (request.takeProfit || request.stopLoss) {
            return QStringLiteral("A trailing stop goes on its own, with no exits riding on it.");
        }
        if (!request.trailAmount || !request.trailAmount->isPositive()) {
            return QStringLiteral("A trailing stop needs how far behind the price it follows.");
        }
    }
    if (auto problem = request.pricingProblem()) return problem;
    if (auto problem = request.shareProblem()) return problem;

    const QString standard = standardSymbol(request);
    const auto price = market_.price(standard, at);
    if (!price) return QStringLiteral("asset \"") + symbol + QStringLiteral("\" not found");
    if (trailing && *request.trailAmount * Decimal(4) > *price) {
        return QStringLiteral("trail_price must be <= 25% of the stock price");
    }
    if (request.type == OrderType::market && !request.isExitPair() &&
        (bidless_.contains(symbol) || bidless_.contains(standard))) {
        return QStringLiteral("no available quote for symbol. please reenter with a limit");
    }
    if (request.assetType == AssetType::crypto && !isBuy(request.side)) {
        const QString coin = CryptoPair::baseOf(standard).value_or(standard);
        auto holding = ledger_.holdings.find(standard);
        const Decimal held = holding == ledger_.holdings.end() ? Decimal() : holding->second.quantity;
        if (!held.isPositive())
            return QStringLiteral("crypto can't be sold short: there's no ") + coin +
                   QStringLiteral(" here to sell.");
        if (held < request.quantity) {
            return QStringLiteral("crypto can't be sold short: there's only ") + held.toString() + u' ' +
                   coin + QStringLiteral(" here to sell.");
        }
    }
    return std::nullopt;
}

}  // namespace tavix
