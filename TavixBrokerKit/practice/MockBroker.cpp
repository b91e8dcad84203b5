#include "practice/MockBroker.h"

#include "market/CoinRules.h"
#include "market/CryptoPair.h"
#include "market/NewYorkCalendar.h"

#include <qcoro/qcorotimer.h>

#include <QLoggingCategory>

#include <algorithm>
#include <cmath>

namespace tavix {
namespace {

Q_LOGGING_CATEGORY(practiceLog, "com.brindlecove.tavix.practice")

}  // namespace

MockBroker::MockBroker(std::optional<QString> storePath, std::chrono::milliseconds lag,
                       std::function<Date()> clock)
    : account_{.id = QStringLiteral("practice"),
               .displayNumber = QStringLiteral("••••4242"),
               .nickname = QStringLiteral("Demo Account"),
               .type = QStringLiteral("margin"),
               .isDayTrader = false},
      ledger_(Ledger::opening()),
      clock_(clock ? std::move(clock) : std::function<Date()>(&Date::now)),
      lag_(lag),
      refusalWords_(defaultRefusalWords()) {
    if (storePath) {
        store_ = std::make_unique<LedgerStore>(*storePath);
        auto loaded = store_->load(clock_());
        ledger_ = std::move(loaded.ledger);
        notice_ = std::move(loaded.notice);
        if (notice_) qCWarning(practiceLog, "%s", qUtf8Printable(*notice_));
    }
    for (const auto& [id, working] : ledger_.book) {
        if (working.isOpen()) open_.insert(id);
    }
}

MockBroker::~MockBroker() {
    // Every change is saved as it happens; this catches one whose save failed.
    saveIfNeeded();
}

BrokerCapabilities MockBroker::staticCapabilities() {
    return BrokerCapabilities::readAccounts() | BrokerCapabilities::quotes() |
           BrokerCapabilities::priceHistory() | BrokerCapabilities::trading() |
           BrokerCapabilities::options() | BrokerCapabilities::optionChains() |
           BrokerCapabilities::replaceOrders();
}

BrokerError MockBroker::timedOut() {
    return BrokerError::transport(QStringLiteral("The request timed out."));
}

QString MockBroker::defaultRefusalWords() {
    return QStringLiteral("insufficient buying power");
}

std::optional<QString> MockBroker::storePath() const {
    if (!store_) return std::nullopt;
    return store_->path();
}

QCoro::Task<void> MockBroker::pause() {
    if (lag_.count() <= 0) co_return;
    std::weak_ptr<int> alive = alive_;
    co_await QCoro::sleepFor(lag_);
    if (alive.expired()) throw BrokerError::notConnected();
}

void MockBroker::requireAccount(const QString& accountID) const {
    if (!connected_) throw BrokerError::notConnected();
    if (accountID != account_.id) throw BrokerError::accountNotFound(accountID);
}

std::optional<MockBroker::Failure> MockBroker::takeFailure(bool afterBooking) {
    if (!failNext_ || failNext_->afterBooking != afterBooking) return std::nullopt;
    auto failure = std::move(failNext_);
    failNext_.reset();
    return failure;
}

bool MockBroker::saveIfNeeded() {
    if (!unsaved_) return true;
    if (!store_) {
        unsaved_ = false;
        return true;
    }
    saveProblem_ = store_->save(ledger_);
    if (saveProblem_) {
        qCWarning(practiceLog, "practice ledger not saved: %s", qUtf8Printable(*saveProblem_));
        return false;
    }
    unsaved_ = false;
    return true;
}

// --- Connection and account ------------------------------------------------------------------

QCoro::Task<bool> MockBroker::isConnected() {
    co_await pause();
    co_return connected_;
}

QCoro::Task<void> MockBroker::connect() {
    co_await pause();
    connected_ = true;
}

QCoro::Task<void> MockBroker::disconnect() {
    co_await pause();
    connected_ = false;
}

QCoro::Task<std::vector<BrokerAccount>> MockBroker::accounts() {
    co_await pause();
    if (!connected_) throw BrokerError::notConnected();
    co_return std::vector<BrokerAccount>{account_};
}

long long MockBroker::tradingDay(Date at, bool crypto) {
    const double t = at.secondsSince1970();
    if (crypto) return static_cast<long long>(std::floor(t / 86400.0));
    // Stocks count in New York days, and a weekend belongs to the Friday before it.
    auto day = static_cast<long long>(std::floor((t + NewYorkCalendar::utcOffsetSeconds(at)) / 86400.0));
    const long long weekday = ((day + 4) % 7 + 7) % 7;  // 0 Sunday … 6 Saturday
    if (weekday == 6) day -= 1;
    if (weekday == 0) day -= 2;
    return day;
}

Decimal MockBroker::worth(const QString& symbol, const Holding& holding, Date at) const {
    const auto price = market_.price(symbol, at);
    // A symbol that can no longer be priced (an expired contract) stays at what it cost.
    if (!price) return holding.cost;
    return (holding.quantity * *price * Ledger::multiplier(holding.assetType)).rounded(2);
}

Decimal MockBroker::dayBasis(const QString& symbol, const Holding& holding, long long day, Date at) const {
    if (holding.dayStart && holding.dayStart->day == day) return holding.dayStart->value;
    // Untouched today: all of it counts from the previous close.
    const auto quote = market_.quote(symbol, at, true);
    if (!quote) return holding.cost;
    const Decimal start = quote->previousClose.value_or(quote->last);
    return (holding.quantity * start * Ledger::multiplier(holding.assetType)).rounded(2);
}

// The day's profit of a holding: what it is worth now against its day basis (held overnight from
// the previous close, bought today from its price), plus what was realised on it today.
Decimal MockBroker::dayProfit(const QString& symbol, const Holding& holding, Decimal value, Date at) const {
    const long long day = tradingDay(at, CryptoPair::isPair(symbol));
    return value - dayBasis(symbol, holding, day, at) + ledger_.realizedOn(symbol, day);
}

QCoro::Task<Balance> MockBroker::balance(QString accountID) {
    co_await pause();
    requireAccount(accountID);
    const Date at = now();
    match(at);
    Decimal equity = ledger_.cash;
    Decimal shorts;
    Decimal dayChange;
    for (const auto& [symbol, holding] : ledger_.holdings) {
        const Decimal value = worth(symbol, holding, at);
        equity += value;
        if (value.isNegative()) shorts -= value;
        dayChange += dayProfit(symbol, holding, value, at);
    }
    // Profit realised today on what is no longer held.
    if (ledger_.dayRealized) {
        for (const auto& [symbol, sum] : *ledger_.dayRealized) {
            if (ledger_.holdings.contains(symbol)) continue;
            if (sum.day == tradingDay(at, CryptoPair::isPair(symbol))) dayChange += sum.value;
        }
    }
    Balance result{
        .cash = ledger_.cash,
        // Cash that is not owed back to cover short sales.
        .buyingPower = max(Decimal(), ledger_.cash - shorts),
        .equity = equity,
        .dayChange = dayChange,
    };
    const Decimal start = equity - dayChange;
    if (start.isPositive()) result.dayChangePercent = (dayChange / start * Decimal(100)).rounded(2);
    saveIfNeeded();
    co_return result;
}

QCoro::Task<std::vector<Position>> MockBroker::positions(QString accountID) {
    co_await pause();
    requireAccount(accountID);
    const Date at = now();
    match(at);
    // What open orders on the closing side hold of each symbol; a group (bracket or exit pair)
    // holds its quantity once.
    std::map<QString, Decimal> held;
    for (const auto& parentID : ledger_.parents) {
        std::map<QString, Decimal> groupHeld;
        auto consider = [&](const QString& id) {
            const Working* w = ledger_.find(id);
            if (!w || !w->isOpen() || !w->armed) return;
            auto holding = ledger_.holdings.find(w->request.symbol);
            if (holding == ledger_.holdings.end()) return;
            const bool closing = holding->second.quantity.isPositive() != isBuy(w->request.side);
            if (!closing) return;
            Decimal& most = groupHeld[w->request.symbol];
            most = max(most, w->remaining());
        };
        consider(parentID);
        if (const Working* parent = ledger_.find(parentID)) {
            for (const auto& leg : parent->legIDs) consider(leg);
        }
        for (const auto& [symbol, quantity] : groupHeld) held[symbol] += quantity;
    }

    std::vector<Position> result;
    result.reserve(ledger_.holdings.size());
    for (const auto& [symbol, holding] : ledger_.holdings) {
        const Decimal m = Ledger::multiplier(holding.assetType);
        const Decimal value = worth(symbol, holding, at);
        const Decimal free = max(Decimal(), holding.quantity.abs() - held[symbol]);
        result.push_back(Position{
            .symbol = symbol,
            .assetType = holding.assetType,
            .quantity = holding.quantity,
            .averagePrice = (holding.cost / (holding.quantity * m)).rounded(4),
            .marketValue = value,
            .unrealizedPL = value - holding.cost,
            .dayPL = dayProfit(symbol, holding, value, at),
            .available = holding.quantity.isNegative() ? -free : free,
        });
    }
    saveIfNeeded();
    co_return result;
}

// --- Market data -----------------------------------------------------------------------------

QCoro::Task<std::map<QString, Quote>> MockBroker::quotes(QStringList symbols) {
    co_await pause();
    if (quotesFail_) throw timedOut();
    const Date at = now();
    std::map<QString, Quote> result;
    for (const auto& symbol : symbols) {
        auto [slot, added] = result.try_emplace(symbol);
        if (!added) continue;
        if (auto quote = market_.quote(symbol, at, bidless_.contains(symbol))) {
            slot->second = std::move(*quote);
        } else {
            result.erase(slot);  // a symbol that can't be priced is left out
        }
    }
    co_return result;
}

QCoro::Task<std::vector<OptionContract>> MockBroker::optionChain(QString symbol, std::optional<Date> expiry) {
    co_await pause();
    co_return market_.optionChain(symbol, expiry, now());
}

QCoro::Task<std::vector<Candle>> MockBroker::candles(QString symbol, CandleInterval interval,
                                                     DateRange range) {
    co_await pause();
    co_return market_.candles(symbol, interval, range, now());
}

QCoro::Task<std::vector<SymbolMatch>> MockBroker::searchSymbols(QString text) {
    co_await pause();
    co_return market_.search(text);
}

QCoro::Task<std::optional<CoinRules>> MockBroker::coinRules(QString symbol) {
    co_await pause();
    if (!CryptoPair::isPair(symbol)) co_return std::nullopt;
    const auto price = market_.price(CryptoPair::normalized(symbol), now());
    if (!price || !price->isPositive()) co_return std::nullopt;
    // The practice market has no rules of its own: those of the coin's price level.
    co_return CoinRules::guess(*price);
}

// --- Reading orders --------------------------------------------------------------------------

Order MockBroker::record(const QString& id, bool late) const {
    const Working& w = *ledger_.find(id);
    const OrderRequest& r = w.request;
    Order order{
        .id = id,
        .accountID = account_.id,
        .symbol = r.symbol,
        .assetType = r.assetType,
        .side = r.side,
        .type = r.type,
        .status = w.status,
        .quantity = r.quantity,
        .filledQuantity = w.filledQuantity(),
        .limitPrice = r.limitPrice,
        .stopPrice = r.stopPrice,
        .averageFillPrice = w.fillPrice,
        .enteredAt = w.enteredAt,
        .closedAt = w.closedAt,
        .clientOrderID = r.clientOrderID,
        .replacedBy = w.replacedBy,
        .timeInForce = r.timeInForce,
        .extendedHours = r.session == OrderSession::extended,
        .trailAmount = r.trailAmount,
    };
    if (r.type == OrderType::trailingStop && r.stopPrice && r.trailAmount) {
        // The stop sits the trail behind the best price seen.
        order.highWaterMark = isBuy(r.side) ? *r.stopPrice - *r.trailAmount : *r.stopPrice + *r.trailAmount;
    }
    if (late && lateFills_.contains(id)) {
        order.status = OrderStatus::working;
        order.filledQuantity = Decimal();
        order.averageFillPrice.reset();
        order.closedAt.reset();
    }
    for (const auto& leg : w.legIDs) {
        if (ledger_.find(leg)) order.legs.push_back(record(leg, late));
    }
    return order;
}

void MockBroker::finishOrderRead(const std::vector<QString>& reported) {
    for (const auto& id : reported) {
        Working* w = ledger_.find(id);
        if (w && w->fresh) {
            w->fresh = false;
            unsaved_ = true;
        }
    }
    if (lateFillReads_ > 0 && --lateFillReads_ == 0) lateFills_.clear();
    saveIfNeeded();
}

std::vector<Order> MockBroker::readOrders(std::optional<Date> since) {
    const bool late = lateFillReads_ > 0;
    std::vector<Order> result;
    std::vector<QString> reported;
    // Newest first, as the services list them. Open orders are listed whatever their age.
    for (auto it = ledger_.parents.rbegin(); it != ledger_.parents.rend(); ++it) {
        const Working* w = ledger_.find(*it);
        if (!w) continue;
        bool open = w->isOpen();
        for (const auto& leg : w->legIDs) open = open || open_.contains(leg);
        if (since && w->enteredAt < *since && !open) continue;
        result.push_back(record(*it, late));
        reported.push_back(*it);
        reported.insert(reported.end(), w->legIDs.begin(), w->legIDs.end());
    }
    finishOrderRead(reported);
    return result;
}

QCoro::Task<std::vector<Order>> MockBroker::orders(QString accountID, std::optional<Date> since) {
    co_await pause();
    requireAccount(accountID);
    match(now());
    co_return readOrders(since);
}

QCoro::Task<std::vector<Order>> MockBroker::orderHistory(QString accountID) {
    co_await pause();
    requireAccount(accountID);
    match(now());
    co_return readOrders(std::nullopt);
}

QCoro::Task<Order> MockBroker::order(QString orderID, QString accountID) {
    co_await pause();
    requireAccount(accountID);
    match(now());
    const Working* w = ledger_.find(orderID);
    if (!w)
        throw BrokerError::invalidOrder(QStringLiteral("no order ") + orderID +
                                        QStringLiteral(" at this brokerage."));
    Order result = record(orderID, lateFillReads_ > 0);
    std::vector<QString> reported{orderID};
    reported.insert(reported.end(), w->legIDs.begin(), w->legIDs.end());
    finishOrderRead(reported);
    co_return result;
}

// --- Test hooks --------------------------------------------------------------------------------

void MockBroker::setBidless(const QString& symbol, bool bidless) {
    if (bidless) {
        bidless_.insert(symbol);
    } else {
        bidless_.erase(symbol);
    }
}

void MockBroker::setRefusals(int count, QString words) {
    refusals_ = std::max(0, count);
    refusalWords_ = std::move(words);
}

void MockBroker::reportFillsLate(int reads) {
    lateFillReads_ = std::max(0, reads);
    lateFills_.clear();
}

void MockBroker::releaseHeldCancels() {
    const Date at = now();
    // Fills up to now land first: a cancel that arrives after its order filled does nothing.
    match(at);
    const auto held = std::move(heldCancels_);
    heldCancels_.clear();
    for (const auto& id : held) {
        if (open_.contains(id)) cancelNow(id, at);
    }
    saveIfNeeded();
}

}  // namespace tavix
