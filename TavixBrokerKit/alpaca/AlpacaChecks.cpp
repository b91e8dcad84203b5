#include "alpaca/AlpacaBroker.h"

#include "alpaca/AlpacaMapping.h"
#include "market/CryptoPair.h"
#include "market/MarketClock.h"
#include "market/OptionSymbol.h"

#include <utility>

namespace tavix {

namespace {

// Money as the user reads it: "$1,234.50", "-$12.00".
QString dollars(const Decimal& amount) {
    const QString fixed = (amount.isNegative() ? -amount : amount).toFixed(2);
    const qsizetype point = fixed.indexOf(u'.');
    QString whole = fixed.left(point);
    for (qsizetype at = whole.size() - 3; at > 0; at -= 3) whole.insert(at, u',');
    return (amount.isNegative() ? QStringLiteral("-$") : QStringLiteral("$")) + whole + fixed.mid(point);
}

std::vector<Decimal> namedPrices(const OrderRequest& request) {
    std::vector<Decimal> prices;
    const bool limit = request.type == OrderType::limit || request.type == OrderType::stopLimit;
    const bool stop = request.type == OrderType::stop || request.type == OrderType::stopLimit;
    if (limit && request.limitPrice) prices.push_back(*request.limitPrice);
    if (stop && request.stopPrice) prices.push_back(*request.stopPrice);
    if (request.takeProfit) prices.push_back(*request.takeProfit);
    if (request.stopLoss) prices.push_back(*request.stopLoss);
    return prices;
}

// Stock prices: whole cents from $1 up, at most four places below it.
std::optional<QString> stockPriceProblem(const OrderRequest& request) {
    if ((request.type == OrderType::limit || request.type == OrderType::stopLimit) && !request.limitPrice) {
        return QStringLiteral("a limit order needs a limit price.");
    }
    if ((request.type == OrderType::stop || request.type == OrderType::stopLimit) && !request.stopPrice) {
        return QStringLiteral("a stop order needs a stop price.");
    }
    for (const Decimal& price : namedPrices(request)) {
        if (price >= Decimal(1) && price.rounded(2) != price) {
            return price.toString() +
                   QStringLiteral(" isn't a price an order can carry: from $1 up, prices go in whole cents.");
        }
        if (price < Decimal(1) && price.rounded(4) != price) {
            return price.toString() +
                   QStringLiteral(" isn't a price an order can carry: under $1, four decimal places at most.");
        }
    }
    return std::nullopt;
}

bool restsUntilCancelledOrToday(TimeInForce timeInForce) {
    return timeInForce == TimeInForce::day || timeInForce == TimeInForce::goodTillCancelled;
}

// Order shapes Alpaca turns away, told in plain words before anything is sent.
std::optional<QString> stockShapeProblem(const OrderRequest& request) {
    const bool extended = request.session == OrderSession::extended;
    const bool exits = request.takeProfit || request.stopLoss;
    if (request.type == OrderType::trailingStop) {
        if (exits) {
            return QStringLiteral(
                "Alpaca can't attach a take-profit or a stop-loss to a trailing stop. Place the trailing stop on "
                "its own.");
        }
        if (!restsUntilCancelledOrToday(request.timeInForce)) {
            return QStringLiteral(
                "a trailing stop waits for the price to turn, so it can't be fill-or-kill or immediate-or-cancel. "
                "Make it a day or good-till-cancelled order.");
        }
    }
    if (exits && extended) {
        return QStringLiteral(
            "Alpaca doesn't take a take-profit or a stop-loss in extended hours. Trade in regular hours, or "
            "place the order without them.");
    }
    if (exits && request.isExitPair()) {
        if (request.type != OrderType::limit) {
            return QStringLiteral(
                "exits on shares you hold go to Alpaca as one OCO order, and that has to be a limit order. Make "
                "the order type limit.");
        }
    } else if (exits) {
        if (!request.takeProfit || !request.stopLoss) {
            return QStringLiteral(
                "Alpaca brackets an order only with both a take-profit and a stop-loss. Add the other one, or "
                "place this exit on its own once the shares are held.");
        }
        if (!restsUntilCancelledOrToday(request.timeInForce)) {
            return QStringLiteral("Alpaca brackets only day or good-till-cancelled orders.");
        }
    }
    if (extended && (request.type != OrderType::limit || request.timeInForce != TimeInForce::day)) {
        return QStringLiteral(
            "Alpaca takes extended-hours orders only as limit orders for the day. Make it a day limit, or trade "
            "in regular hours.");
    }
    return std::nullopt;
}

std::optional<QString> optionProblem(const OrderRequest& request, Date now) {
    if (!OptionSymbol::parse(request.symbol)) {
        return request.symbol + QStringLiteral(" isn't an option contract id (one looks like AAPL251017C00185000).");
    }
    if (!request.quantity.isPositive()) return QStringLiteral("the number of contracts has to be more than zero.");
    if (!request.quantity.isWhole()) {
        return QStringLiteral("options trade in whole contracts, and ") + request.quantity.toString() +
               QStringLiteral(" isn't one.");
    }
    if (request.type == OrderType::trailingStop) {
        return QStringLiteral("Alpaca doesn't take trailing stops on options. Use a stop or a stop limit.");
    }
    if (request.takeProfit || request.stopLoss) {
        return QStringLiteral(
            "Alpaca can't attach a take-profit or a stop-loss to an options order - it only brackets stock. Buy "
            "the contract on its own, then place the exit as its own order.");
    }
    if (request.timeInForce != TimeInForce::day && request.timeInForce != TimeInForce::goodTillCancelled) {
        return QStringLiteral("Alpaca only takes day or good-till-cancelled orders on options.");
    }
    if ((request.type == OrderType::limit || request.type == OrderType::stopLimit) && !request.limitPrice) {
        return QStringLiteral("a limit order needs a limit price.");
    }
    if ((request.type == OrderType::stop || request.type == OrderType::stopLimit) && !request.stopPrice) {
        return QStringLiteral("a stop order needs a stop price.");
    }
    for (const Decimal& price : namedPrices(request)) {
        if (price.rounded(2) != price) {
            return price.toString() +
                   QStringLiteral(" isn't a price an option order can carry: premiums go in whole cents.");
        }
    }
    if (!MarketClock::regularHours(now).isOpen) {
        return QStringLiteral("Alpaca trades options in regular hours only (9:30am to 4pm New York).");
    }
    return std::nullopt;
}

// The price the order names for working out what it costs; market orders name none.
std::optional<Decimal> namedPrice(const OrderRequest& request) {
    if ((request.type == OrderType::limit || request.type == OrderType::stopLimit) && request.limitPrice) {
        return request.limitPrice;
    }
    if (request.type == OrderType::stop && request.stopPrice) return request.stopPrice;
    return std::nullopt;
}

}  // namespace

std::optional<QString> AlpacaBroker::check(const OrderRequest& request, Date now) const {
    switch (request.assetType) {
        case AssetType::option: {
            if (auto problem = optionProblem(request, now)) return problem;
            const auto price = namedPrice(request);
            if (isBuy(request.side) && price && account_ && account_->optionsBuyingPower) {
                const Decimal needed = *price * request.quantity * Decimal(100);
                if (needed > *account_->optionsBuyingPower) {
                    return QStringLiteral("this needs ") + dollars(needed) +
                           QStringLiteral(" of options buying power and the account has ") +
                           dollars(*account_->optionsBuyingPower) + QStringLiteral(".");
                }
            }
            return std::nullopt;
        }
        case AssetType::crypto: {
            // Paper accounts report "PAPER_ONLY": coins trade there as on an active account.
            if (account_ && account_->cryptoStatus && *account_->cryptoStatus != QStringLiteral("ACTIVE") &&
                *account_->cryptoStatus != QStringLiteral("PAPER_ONLY")) {
                return QStringLiteral("Crypto isn't switched on for this Alpaca account (it says ") +
                       *account_->cryptoStatus + QStringLiteral("). Turn it on in Alpaca's dashboard first.");
            }
            const auto price = namedPrice(request);
            if (isBuy(request.side) && price && account_) {
                // Coins are never bought on margin: only the money that is not borrowed counts.
                const Decimal cash = account_->nonMarginableBuyingPower.value_or(account_->cash);
                const Decimal needed = *price * request.quantity;
                if (needed > cash) {
                    return QStringLiteral("crypto is bought with cash only: this needs ") + dollars(needed) +
                           QStringLiteral(" and the account has ") + dollars(cash) +
                           QStringLiteral(" to spend on it.");
                }
            }
            return std::nullopt;
        }
        default:
            if (auto problem = stockPriceProblem(request)) return problem;
            return stockShapeProblem(request);
    }
}

QCoro::Task<std::optional<QString>> AlpacaBroker::cryptoSaleProblem(OrderRequest request) {
    const auto held = co_await positions(QString());
    // Alpaca names coin positions without the slash ("BTCUSD").
    const QString wanted = QString(request.symbol).remove(u'/');
    Decimal free;
    for (const Position& position : held) {
        if (QString(position.symbol).remove(u'/') != wanted) continue;
        free = position.available.value_or(position.quantity);
    }
    if (request.quantity <= free) co_return std::nullopt;
    const QString what = free.isPositive()
                             ? QStringLiteral("only ") + free.toString()
                             : QStringLiteral("no ") + CryptoPair::baseOf(request.symbol).value_or(request.symbol);
    co_return QStringLiteral("There's ") + what + QStringLiteral(" here to sell, and crypto can't be sold short.");
}

QCoro::Task<OrderPreview> AlpacaBroker::previewOrder(OrderRequest request, QString accountID) {
    OrderPreview preview = localPreview(request);
    const AlpacaDTO::Account read = co_await readAccount();
    if (!accountID.isEmpty() && accountID != read.accountNumber) throw BrokerError::accountNotFound(accountID);
    if (preview.estimatedValue) {
        // Buying spends buying power; selling gives nothing back until it fills.
        preview.buyingPowerAfter =
            isBuy(request.side) ? read.buyingPower - *preview.estimatedValue : read.buyingPower;
    }
    std::optional<QString> problem = request.pricingProblem();
    if (!problem && request.assetType != AssetType::option) problem = request.shareProblem();
    if (!problem) problem = check(request, currentTime());
    if (problem) preview.warnings << *problem;
    co_return preview;
}

}  // namespace tavix
