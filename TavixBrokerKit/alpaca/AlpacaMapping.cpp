#include "alpaca/AlpacaMapping.h"

#include "market/CryptoPair.h"
#include "market/OptionSymbol.h"

#include <QRegularExpression>

#include <array>
#include <limits>
#include <utility>

namespace tavix {
namespace {

bool same(const QString& a, QLatin1StringView b) {
    return a.compare(b, Qt::CaseInsensitive) == 0;
}

std::optional<QString> nonEmpty(const std::optional<QString>& text) {
    if (!text || text->isEmpty()) return std::nullopt;
    return text;
}

// Coins come back both as "BTC/USD" and, in older answers, "BTCUSD"; only the dollar family is
// read without its slash, so a stock ticker that happens to end in "BTC" stays a stock.
std::optional<CryptoPair> coinPair(const QString& symbol) {
    if (symbol.contains(u'/')) return CryptoPair::pair(symbol);
    auto pair = CryptoPair::pair(symbol);
    if (pair && pair->quote.startsWith(QLatin1StringView("USD"))) return pair;
    return std::nullopt;
}

AssetType assetTypeOfSymbol(const QString& symbol) {
    if (OptionSymbol::parse(symbol)) return AssetType::option;
    if (coinPair(symbol)) return AssetType::crypto;
    return AssetType::equity;
}

// The symbol in the form the rest of the application keys on: coins as "BTC/USD".
QString standardSymbol(const QString& symbol, AssetType type) {
    if (type == AssetType::crypto) {
        if (auto pair = coinPair(symbol)) return pair->symbol();
    }
    return symbol;
}

std::optional<Decimal> positive(const Decimal& value) {
    if (!value.isPositive()) return std::nullopt;
    return value;
}

// Stock volumes are whole; coin volumes are fractions and keep them.
Decimal volumeOf(const Decimal& volume) {
    return volume.isNegative() ? Decimal() : volume;
}

// Open interest counts whole contracts.
std::int64_t wholeCount(const Decimal& count) {
    if (count.isNegative()) return 0;
    return count.rounded(0).toInt64().value_or(std::numeric_limits<std::int64_t>::max());
}

Decimal signedBySide(const Decimal& value, const QString& side) {
    return same(side, QLatin1StringView("short")) ? -value.abs() : value.abs();
}

// The newest of two optional times.
std::optional<Date> newest(std::optional<Date> a, std::optional<Date> b) {
    if (!a) return b;
    if (!b) return a;
    return std::max(*a, *b);
}

}  // namespace

OrderStatus AlpacaMapping::orderStatus(const QString& text) {
    static const std::array<std::pair<QLatin1StringView, OrderStatus>, 19> table = {{
        {QLatin1StringView("accepted"), OrderStatus::pending},
        {QLatin1StringView("pending_review"), OrderStatus::pending},
        {QLatin1StringView("accepted_for_bidding"), OrderStatus::pending},
        {QLatin1StringView("pending_new"), OrderStatus::pending},
        {QLatin1StringView("new"), OrderStatus::working},
        {QLatin1StringView("held"), OrderStatus::working},
        {QLatin1StringView("pending_replace"), OrderStatus::working},
        {QLatin1StringView("pending_cancel"), OrderStatus::working},
        {QLatin1StringView("stopped"), OrderStatus::working},
        {QLatin1StringView("suspended"), OrderStatus::working},
        {QLatin1StringView("calculated"), OrderStatus::working},
        {QLatin1StringView("partially_filled"), OrderStatus::partiallyFilled},
        {QLatin1StringView("filled"), OrderStatus::filled},
        {QLatin1StringView("canceled"), OrderStatus::cancelled},
        {QLatin1StringView("pending_cancel_done"), OrderStatus::cancelled},
        {QLatin1StringView("rejected"), OrderStatus::rejected},
        {QLatin1StringView("expired"), OrderStatus::expired},
        {QLatin1StringView("done_for_day"), OrderStatus::expired},
        {QLatin1StringView("replaced"), OrderStatus::replaced},
    }};
    for (const auto& [word, status] : table) {
        if (text == word) return status;
    }
    return OrderStatus::unknown;
}

namespace {
constexpr std::array<std::pair<std::string_view, OrderType>, 5> typeWords = {{
    {"market", OrderType::market},
    {"limit", OrderType::limit},
    {"stop", OrderType::stop},
    {"stop_limit", OrderType::stopLimit},
    {"trailing_stop", OrderType::trailingStop},
}};
constexpr std::array<std::pair<std::string_view, TimeInForce>, 6> timeInForceWords = {{
    {"day", TimeInForce::day},
    {"gtc", TimeInForce::goodTillCancelled},
    {"fok", TimeInForce::fillOrKill},
    {"ioc", TimeInForce::immediateOrCancel},
    {"opg", TimeInForce::atOpen},
    {"cls", TimeInForce::atClose},
}};

QString latin1(std::string_view text) {
    return QString::fromLatin1(text.data(), static_cast<qsizetype>(text.size()));
}
}  // namespace

OrderType AlpacaMapping::orderType(const QString& text) {
    for (const auto& [word, type] : typeWords) {
        if (text == latin1(word)) return type;
    }
    return OrderType::market;
}

QString AlpacaMapping::wireType(OrderType type) {
    for (const auto& [word, candidate] : typeWords) {
        if (candidate == type) return latin1(word);
    }
    return QStringLiteral("market");
}

OrderSide AlpacaMapping::orderSide(const QString& text) {
    return text == QLatin1StringView("sell") || text == QLatin1StringView("sell_short") ? OrderSide::sell
                                                                                        : OrderSide::buy;
}

QString AlpacaMapping::wireSide(OrderSide side) {
    return isBuy(side) ? QStringLiteral("buy") : QStringLiteral("sell");
}

std::optional<TimeInForce> AlpacaMapping::timeInForce(const QString& text) {
    for (const auto& [word, value] : timeInForceWords) {
        if (text == latin1(word)) return value;
    }
    return std::nullopt;
}

QString AlpacaMapping::wireTimeInForce(TimeInForce timeInForce) {
    for (const auto& [word, value] : timeInForceWords) {
        if (value == timeInForce) return latin1(word);
    }
    return QStringLiteral("day");
}

AssetType AlpacaMapping::assetType(const QString& assetClass, const QString& symbol,
                                   const QString& orderClass) {
    if (assetClass == QLatin1StringView("us_equity")) return AssetType::equity;
    if (assetClass == QLatin1StringView("us_option")) return AssetType::option;
    if (assetClass == QLatin1StringView("crypto")) return AssetType::crypto;
    if (orderClass == QLatin1StringView("mleg")) return AssetType::option;
    return assetTypeOfSymbol(symbol);
}

QString AlpacaMapping::multiLegSymbol(const AlpacaDTO::Order& dto) {
    // A multi-leg order is named by the underlying its legs share, else by its first leg.
    QString underlying;
    for (const auto& leg : dto.legs) {
        const auto parsed = OptionSymbol::parse(leg.symbol);
        const QString name = parsed ? parsed->underlying : leg.symbol;
        if (underlying.isEmpty()) {
            underlying = name;
        } else if (name != underlying) {
            return dto.legs.front().symbol;
        }
    }
    return underlying;
}

OrderSide AlpacaMapping::optionSide(const QString& side, const std::optional<QString>& intent) {
    if (intent) {
        if (*intent == QLatin1StringView("buy_to_open")) return OrderSide::buyToOpen;
        if (*intent == QLatin1StringView("buy_to_close")) return OrderSide::buyToClose;
        if (*intent == QLatin1StringView("sell_to_open")) return OrderSide::sellToOpen;
        if (*intent == QLatin1StringView("sell_to_close")) return OrderSide::sellToClose;
    }
    return orderSide(side);
}

Order AlpacaMapping::order(const AlpacaDTO::Order& dto, const QString& accountID) {
    Order order;
    order.id = dto.id;
    order.accountID = accountID;
    order.assetType = assetType(dto.assetClass, dto.symbol, dto.orderClass.value_or(QString()));
    order.symbol = standardSymbol(dto.symbol, order.assetType);
    if (order.symbol.isEmpty()) order.symbol = multiLegSymbol(dto);
    order.side =
        order.assetType == AssetType::option ? optionSide(dto.side, dto.positionIntent) : orderSide(dto.side);
    if (dto.side.isEmpty() && !dto.legs.empty()) {
        order.side = optionSide(dto.legs.front().side, dto.legs.front().positionIntent);
    }
    order.type = orderType(dto.type);
    order.status = orderStatus(dto.status);
    // An order placed by amount of money has no quantity until it fills.
    order.quantity = dto.qty.value_or(dto.filledQty);
    order.filledQuantity = dto.filledQty;
    order.limitPrice = dto.limitPrice;
    order.stopPrice = dto.stopPrice;
    order.averageFillPrice = dto.filledAvgPrice;
    order.enteredAt = dto.submittedAt ? dto.submittedAt : dto.createdAt;
    for (const auto& closed : {dto.filledAt, dto.canceledAt, dto.expiredAt, dto.failedAt}) {
        if (closed) {
            order.closedAt = closed;
            break;
        }
    }
    order.legs.reserve(dto.legs.size());
    for (const auto& leg : dto.legs) order.legs.push_back(AlpacaMapping::order(leg, accountID));
    // The automations recognise their own orders by this id's prefix.
    order.clientOrderID = nonEmpty(dto.clientOrderID);
    order.replacedBy = nonEmpty(dto.replacedBy);
    order.timeInForce = timeInForce(dto.timeInForce);
    order.extendedHours = dto.extendedHours;
    order.trailAmount = dto.trailPrice;
    order.highWaterMark = dto.hwm;
    order.notional = dto.notional;
    order.trailPercent = dto.trailPercent;
    return order;
}

Position AlpacaMapping::position(const AlpacaDTO::Position& dto) {
    Position position;
    position.assetType = assetType(dto.assetClass, dto.symbol);
    position.symbol = standardSymbol(dto.symbol, position.assetType);
    // Shorts are negative whichever way Alpaca signs the number.
    position.quantity = signedBySide(dto.qty, dto.side);
    position.averagePrice = dto.avgEntryPrice;
    position.marketValue = dto.marketValue;
    position.unrealizedPL = dto.unrealizedPL;
    position.dayPL = dto.unrealizedIntradayPL;
    if (dto.qtyAvailable) position.available = signedBySide(*dto.qtyAvailable, dto.side);
    return position;
}

std::optional<Quote> AlpacaMapping::quote(const QString& symbol, const AlpacaDTO::Snapshot& snapshot,
                                          const std::optional<AlpacaDTO::Bar>& marketDay) {
    std::optional<AlpacaDTO::Bar> day = snapshot.dailyBar;
    std::optional<AlpacaDTO::Bar> before = snapshot.prevDailyBar;
    if (marketDay && (!day || marketDay->t > day->t)) {
        // The bar read on its own is newer: the snapshot's day, if any, is the day before it.
        if (day) before = day;
        day = marketDay;
    }
    if (before && day && before->t >= day->t) before.reset();

    Quote quote;
    quote.symbol = symbol;
    if (snapshot.latestTrade) {
        quote.last = snapshot.latestTrade->p;
    } else if (day) {
        quote.last = day->c;
    } else {
        return std::nullopt;
    }
    if (snapshot.latestQuote) {
        quote.bid = positive(snapshot.latestQuote->bp);  // zero means nobody is bidding
        quote.ask = positive(snapshot.latestQuote->ap);
    }
    if (day) {
        quote.open = day->o;
        quote.high = day->h;
        quote.low = day->l;
        quote.volume = volumeOf(day->v);
    }
    if (before) quote.previousClose = before->c;
    auto asOf = newest(snapshot.latestTrade ? std::optional(snapshot.latestTrade->t) : std::nullopt,
                       snapshot.latestQuote ? std::optional(snapshot.latestQuote->t) : std::nullopt);
    quote.asOf = asOf ? *asOf : day->t;
    return quote;
}

std::optional<Quote> AlpacaMapping::contractQuote(const QString& symbol,
                                                  const AlpacaDTO::OptionSnapshot& snapshot) {
    Quote quote;
    quote.symbol = symbol;
    if (snapshot.latestQuote) {
        quote.bid = positive(snapshot.latestQuote->bp);
        quote.ask = positive(snapshot.latestQuote->ap);
    }
    if (snapshot.latestTrade) {
        quote.last = snapshot.latestTrade->p;
    } else if (snapshot.dailyBar) {
        quote.last = snapshot.dailyBar->c;
    } else if (quote.bid && quote.ask) {
        quote.last = (*quote.bid + *quote.ask) / Decimal(2);
    } else if (quote.bid || quote.ask) {
        quote.last = quote.bid ? *quote.bid : *quote.ask;
    } else {
        return std::nullopt;
    }
    if (snapshot.dailyBar) {
        quote.open = snapshot.dailyBar->o;
        quote.high = snapshot.dailyBar->h;
        quote.low = snapshot.dailyBar->l;
        quote.volume = volumeOf(snapshot.dailyBar->v);
    }
    if (snapshot.prevDailyBar) quote.previousClose = snapshot.prevDailyBar->c;
    // The quote's own time, so a late answer can be told from a fresh one.
    auto asOf = newest(snapshot.latestTrade ? std::optional(snapshot.latestTrade->t) : std::nullopt,
                       snapshot.latestQuote ? std::optional(snapshot.latestQuote->t) : std::nullopt);
    if (!asOf && snapshot.dailyBar) asOf = snapshot.dailyBar->t;
    quote.asOf = asOf.value_or(Date());
    return quote;
}

Candle AlpacaMapping::candle(const AlpacaDTO::Bar& bar) {
    return Candle{bar.t, bar.o, bar.h, bar.l, bar.c, volumeOf(bar.v)};
}

std::optional<Fill> AlpacaMapping::fill(const AlpacaDTO::Activity& activity) {
    if (!same(activity.activityType, QLatin1StringView("FILL"))) return std::nullopt;
    if (activity.type && same(*activity.type, QLatin1StringView("canceled"))) return std::nullopt;
    if (!activity.symbol || !activity.side || !activity.orderID || !activity.qty || !activity.price ||
        !activity.time) {
        return std::nullopt;
    }
    Fill fill;
    fill.id = activity.id;
    fill.orderID = *activity.orderID;
    fill.assetType = assetTypeOfSymbol(*activity.symbol);
    fill.symbol = standardSymbol(*activity.symbol, fill.assetType);
    fill.side = orderSide(*activity.side);
    fill.quantity = *activity.qty;
    fill.price = *activity.price;
    fill.time = *activity.time;
    return fill;
}

std::optional<AlpacaMapping::OptionEvent> AlpacaMapping::optionEvent(const AlpacaDTO::Activity& activity) {
    static const std::array<std::pair<QLatin1StringView, OptionEvent::Kind>, 4> kinds = {{
        {QLatin1StringView("OPEXP"), OptionEvent::Kind::expiry},
        {QLatin1StringView("OPEXC"), OptionEvent::Kind::exercise},
        {QLatin1StringView("OPASN"), OptionEvent::Kind::assignment},
        {QLatin1StringView("OPTRD"), OptionEvent::Kind::trade},
    }};
    if (!activity.symbol) return std::nullopt;
    for (const auto& [word, kind] : kinds) {
        if (same(activity.activityType, word)) {
            return OptionEvent{kind, activity.id, *activity.symbol, activity.qty, activity.time};
        }
    }
    return std::nullopt;
}

BrokerAccount AlpacaMapping::account(const AlpacaDTO::Account& dto, bool isPaper) {
    BrokerAccount account;
    account.id = dto.accountNumber;
    account.displayNumber = dto.accountNumber;
    account.nickname = isPaper ? QStringLiteral("Paper Trading") : QStringLiteral("Live Trading");
    account.isDayTrader = dto.patternDayTrader.value_or(false);
    return account;
}

Balance AlpacaMapping::balance(const AlpacaDTO::Account& dto) {
    Balance balance;
    balance.cash = dto.cash;
    balance.buyingPower = dto.buyingPower;
    balance.equity = dto.equity;
    balance.dayChange = dto.equity - dto.lastEquity;
    if (dto.lastEquity.isPositive()) {
        balance.dayChangePercent = (*balance.dayChange * Decimal(100) / dto.lastEquity).rounded(4);
    }
    return balance;
}

MarketClock AlpacaMapping::clock(const AlpacaDTO::Clock& dto) {
    return MarketClock{dto.isOpen, dto.nextOpen, dto.nextClose, dto.timestamp};
}

std::optional<OptionContract> AlpacaMapping::optionContract(
    const AlpacaDTO::OptionContract& contract, const std::optional<AlpacaDTO::OptionSnapshot>& snapshot) {
    OptionContract row;
    if (same(contract.type, QLatin1StringView("call"))) {
        row.right = OptionRight::call;
    } else if (same(contract.type, QLatin1StringView("put"))) {
        row.right = OptionRight::put;
    } else if (auto parsed = OptionSymbol::parse(contract.symbol)) {
        row.right = parsed->right;
    } else {
        return std::nullopt;
    }
    // Alpaca's own examples leave "multiplier" out; the contract's size says the same.
    const auto multiplier =
        contract.multiplier ? contract.multiplier->toInt64() : contract.size.value_or(Decimal(100)).toInt64();
    if (!multiplier || *multiplier <= 0 || *multiplier > std::numeric_limits<int>::max()) return std::nullopt;
    const QDate& day = contract.expirationDate;
    const auto expiry = OptionSymbol::expiryDate(day.year(), day.month(), day.day());
    if (!expiry) return std::nullopt;

    row.id = contract.symbol;
    row.underlying = contract.underlyingSymbol.isEmpty() ? contract.rootSymbol : contract.underlyingSymbol;
    row.strike = contract.strikePrice;
    row.expiry = *expiry;
    row.multiplier = static_cast<int>(*multiplier);
    if (contract.openInterest) row.openInterest = wholeCount(*contract.openInterest);

    // An untraded contract's last is the last close Alpaca knows, or nothing (zero).
    row.last = contract.closePrice.value_or(Decimal());
    if (snapshot) {
        if (snapshot->latestQuote) {
            row.bid = positive(snapshot->latestQuote->bp);
            row.ask = positive(snapshot->latestQuote->ap);
        }
        if (snapshot->latestTrade) {
            row.last = snapshot->latestTrade->p;
        } else if (snapshot->dailyBar) {
            row.last = snapshot->dailyBar->c;
        }
        if (snapshot->greeks) {
            row.theta = snapshot->greeks->theta;
            row.delta = snapshot->greeks->delta;
        }
        row.impliedVolatility = snapshot->impliedVolatility;
    }
    return row;
}

RemoteWatchlist AlpacaMapping::watchlist(const AlpacaDTO::Watchlist& dto) {
    RemoteWatchlist list;
    list.id = dto.id;
    list.name = dto.name;
    for (const auto& asset : dto.assets) list.symbols.append(asset.symbol);
    return list;
}

std::optional<SymbolMatch> AlpacaMapping::symbolMatch(const AlpacaDTO::Asset& asset) {
    if (!asset.tradable || !same(asset.status, QLatin1StringView("active"))) return std::nullopt;
    const QString name = plainName(asset.name);
    if (asset.assetClass == QLatin1StringView("us_equity")) {
        if (asset.symbol.isEmpty()) return std::nullopt;
        return SymbolMatch{asset.symbol, name.isEmpty() ? asset.symbol : name, asset.hasOptions()};
    }
    if (asset.assetClass == QLatin1StringView("crypto")) {
        const auto pair = coinPair(asset.symbol);
        if (!pair) return std::nullopt;
        return SymbolMatch{pair->symbol(), name.isEmpty() ? pair->symbol() : name,
                           pair->quote == QLatin1StringView("USD")};
    }
    return std::nullopt;
}

QString AlpacaMapping::plainName(const QString& text) {
    // Share-class boilerplate that follows the company's name in Alpaca's asset list; everything
    // from the first of them on is dropped ("… American Depositary Shares each representing …").
    static const std::array<QLatin1StringView, 13> endings = {
        QLatin1StringView(" Common Stock"),
        QLatin1StringView(" Common Shares"),
        QLatin1StringView(" Common Units"),
        QLatin1StringView(" Ordinary Shares"),
        QLatin1StringView(" Ordinary Share"),
        QLatin1StringView(" American Depositary Shares"),
        QLatin1StringView(" American Depository Shares"),
        QLatin1StringView(" American Depositary Receipts"),
        QLatin1StringView(" Depositary Shares"),
        QLatin1StringView(" Sponsored ADR"),
        QLatin1StringView(" Shares of Beneficial Interest"),
        QLatin1StringView(" Units of Beneficial Interest"),
        QLatin1StringView(" Capital Stock"),
    };
    const QString simple = text.simplified();
    qsizetype cut = simple.size();
    for (const auto& ending : endings) {
        for (qsizetype at = simple.indexOf(ending, 0, Qt::CaseInsensitive); at > 0 && at < cut;
             at = simple.indexOf(ending, at + 1, Qt::CaseInsensitive)) {
            const qsizetype after = at + ending.size();
            // A whole phrase only: "Ordinary Share" must not cut "Ordinary Shareholders".
            if (after == simple.size() || !simple[after].isLetter()) {
                cut = at;
                break;
            }
        }
    }
    QString name = simple.left(cut);
    while (!name.isEmpty() && (name.back() == u',' || name.back() == u'-' || name.back() == u' '))
        name.chop(1);
    return name.isEmpty() ? simple : name;
}

std::optional<CoinRules> AlpacaMapping::coinRules(const AlpacaDTO::Asset& asset) {
    if (asset.assetClass != QLatin1StringView("crypto")) return std::nullopt;
    if (!asset.minOrderSize || !asset.minTradeIncrement || !asset.priceIncrement) return std::nullopt;
    if (!asset.minOrderSize->isPositive() || !asset.minTradeIncrement->isPositive() ||
        !asset.priceIncrement->isPositive()) {
        return std::nullopt;
    }
    return CoinRules{*asset.minOrderSize, *asset.minTradeIncrement, *asset.priceIncrement};
}

std::optional<QString> AlpacaMapping::plainRefusal(const QString& message, const std::optional<Decimal>& held,
                                                   const std::optional<Decimal>& resting) {
    const auto has = [&](const char* fragment) {
        return message.contains(QLatin1StringView(fragment), Qt::CaseInsensitive);
    };
    if (has("stop price must be less than current price")) {
        return QStringLiteral(
            "a sell's get-out price has to be under the price now, and this one isn't. Set it lower.");
    }
    if (has("stop price must be greater than current price")) {
        return QStringLiteral(
            "a buy's stop price has to be over the price now, and this one isn't. Set it higher.");
    }
    if (has("insufficient buying power")) return QStringLiteral("there isn't enough buying power for it.");
    if (has("insufficient qty")) {
        std::optional<Decimal> available;
        static const QRegularExpression pattern(QStringLiteral("available: ?([\\d.]+)"),
                                                QRegularExpression::CaseInsensitiveOption);
        if (const auto match = pattern.match(message); match.hasMatch()) {
            available = Decimal::parse(match.captured(1));
        }
        if (!available && held) available = max(*held - resting.value_or(Decimal()), Decimal());
        if (available) {
            return QStringLiteral("only ") + available->toString() +
                   QStringLiteral(
                       " free to sell: it's more than you hold, or an order already resting holds the rest.");
        }
        return QStringLiteral(
            "it's more than is free to sell: more than you hold, or an order already resting holds "
            "the rest.");
    }
    if (has("wash trade")) {
        return QStringLiteral(
            "it could trade against an order of yours already resting on the other side, which Alpaca won't "
            "allow. "
            "Cancel that order first.");
    }
    if (has("no available quote")) {
        return QStringLiteral(
            "nobody is bidding for it or offering it right now, so only an order with a limit price can go "
            "in.");
    }
    if (has("trail_price must be <=") || has("trail_percent must be <=")) {
        return QStringLiteral(
            "the trail is wider than Alpaca allows. It can be at most a quarter of the price.");
    }
    if (has("trail_price must be >=") || has("trail_percent must be >=")) {
        return QStringLiteral(
            "the trail is closer than Alpaca allows. It has to be at least 0.1% of the price.");
    }
    return std::nullopt;
}

}  // namespace tavix
