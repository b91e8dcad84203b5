#include "core/AppModel.h"

#include "core/ChartTail.h"
#include "core/ProblemWords.h"
#include "core/ModelLog.h"
#include "core/Pacer.h"

#include <QPointer>

#include <utility>

namespace tavix {

namespace {

// Decrements the connect count when the connect ends, however it ends.
class ConnectingMark {
public:
    ConnectingMark(AppModel* model, int* count, std::function<void()> changed)
        : model_(model), count_(count), changed_(std::move(changed)) {
        ++*count_;
        changed_();
    }
    ~ConnectingMark() {
        if (!model_) return;
        --*count_;
        changed_();
    }
    ConnectingMark(const ConnectingMark&) = delete;
    ConnectingMark& operator=(const ConnectingMark&) = delete;

private:
    QPointer<AppModel> model_;
    int* count_;
    std::function<void()> changed_;
};

void collectEnded(const std::vector<Order>& orders, std::vector<const Order*>& ended) {
    for (const Order& order : orders) {
        if (!order.isOpen()) ended.push_back(&order);
        collectEnded(order.legs, ended);
    }
}

}  // namespace

QCoro::Task<void> AppModel::reconnect() {
    QPointer<AppModel> self(this);
    const std::uint64_t generation = accountGeneration_;
    std::shared_ptr<Broker> broker = broker_;
    if (!broker) co_return;
    bool found = false;
    {
        ConnectingMark mark(this, &connectingCount_, [this] { Q_EMIT changed(Field::connectingCount); });
        const Date started = environment_.pacer->now();
        try {
            const bool connected = co_await broker->isConnected();
            if (!self || generation != accountGeneration_) co_return;
            if (!connected) {
                co_await broker->connect();
                if (!self || generation != accountGeneration_) co_return;
            }
            std::vector<BrokerAccount> accounts = co_await broker->accounts();
            if (!self || generation != accountGeneration_) co_return;
            if (accounts.empty()) throw BrokerError::accountNotFound(QString());
            noteReadTime(environment_.pacer->now() - started);
            write(account_, std::optional<BrokerAccount>(accounts.front()), Field::account);
            write(isConnected_, true, Field::isConnected);
            found = true;
        } catch (const BrokerError& error) {
            if (self && generation == accountGeneration_) noteReadFailure(error);
        }
    }
    if (!self || !found || generation != accountGeneration_) co_return;
    co_await refreshAccount();
}

QCoro::Task<void> AppModel::refreshAccount() {
    if (!account_ || !broker_) co_return;
    QPointer<AppModel> self(this);
    const std::uint64_t generation = accountGeneration_;
    std::shared_ptr<Broker> broker = broker_;
    const QString accountID = account_->id;
    const Date started = environment_.pacer->now();
    try {
        Balance balance = co_await broker->balance(accountID);
        if (!self || generation != accountGeneration_) co_return;
        write(balance_, std::optional<Balance>(balance), Field::balance);
        // The first balance ever read suggests limits when the user chose none.
        if (!limitsChosen_ && balance.equity > Decimal()) setLimits(SafetyLimits::starting(balance.equity));

        std::vector<Position> positions = co_await broker->positions(accountID);
        if (!self || generation != accountGeneration_) co_return;
        write(positions_, std::move(positions), Field::positions);

        std::vector<Order> orders = co_await broker->orders(accountID, std::nullopt);
        if (!self || generation != accountGeneration_) co_return;
        write(orders_, std::move(orders), Field::orders);

        noteReadTime(environment_.pacer->now() - started);
        write(isConnected_, true, Field::isConnected);
        if (readProblem_ && banner_ == readProblem_) setBanner(std::nullopt);
        readProblem_.reset();
        settle(orders_);
    } catch (const BrokerError& error) {
        if (self && generation == accountGeneration_) noteReadFailure(error);
    }
    if (self) reviewHealth();
}

QCoro::Task<void> AppModel::refresh() {
    QPointer<AppModel> self(this);
    const std::uint64_t generation = accountGeneration_;
    if (account_) {
        co_await refreshAccount();
    } else {
        co_await reconnect();
    }
    if (!self || generation != accountGeneration_) co_return;
    co_await readQuotes();
}

QCoro::Task<void> AppModel::readQuotes() {
    const QStringList symbols = quotedSymbols();
    if (symbols.isEmpty() || !broker_) co_return;
    QPointer<AppModel> self(this);
    const std::uint64_t generation = accountGeneration_;
    std::shared_ptr<Broker> broker = broker_;
    try {
        std::map<QString, Quote> read = co_await broker->quotes(symbols);
        if (!self || generation != accountGeneration_) co_return;
        take(read);
        if (quoteProblem_ && banner_ == quoteProblem_) setBanner(std::nullopt);
        quoteProblem_.reset();
    } catch (const BrokerError& error) {
        if (!self || generation != accountGeneration_) co_return;
        logModelWarning(QStringLiteral("quote read failed: ") + error.description());
        quoteProblem_ = problemWords(error, brokerName_);
        // An account read's problem says more; it is not covered over.
        if (!readProblem_) setBanner(quoteProblem_);
    }
}

void AppModel::take(const std::map<QString, Quote>& read) {
    bool any = false;
    for (const auto& [symbol, quote] : read) {
        auto held = quotes_.find(symbol);
        if (held != quotes_.end() && held->second == quote) continue;
        quotes_.insert_or_assign(symbol, quote);
        any = true;
        // The chart's newest bar moves with every poll, not only with each chart read.
        if (symbol == selectedSymbol_ && ChartTail::follow(candles_, quote, chartInterval_)) {
            Q_EMIT changed(Field::candles);
        }
    }
    if (any) Q_EMIT changed(Field::quotes);
}

void AppModel::noteReadFailure(const BrokerError& error) {
    ++misses_;
    lastMiss_ = environment_.pacer->now();
    logModelWarning(QStringLiteral("account read failed: ") + error.description());
    write(linkShaky_, true, Field::linkShaky);
    readProblem_ = problemWords(error, brokerName_);
    setBanner(readProblem_);
    write(isConnected_, false, Field::isConnected);
    // Without an account the next account-loop round connects again.
    write(account_, std::optional<BrokerAccount>(), Field::account);
}

void AppModel::noteReadTime(double seconds) {
    write(linkSlow_, seconds >= slowReadSeconds, Field::linkSlow);
}

void AppModel::reviewHealth() {
    const bool shaky = lastMiss_ && environment_.pacer->now() - *lastMiss_ < shakyWindowSeconds;
    write(linkShaky_, shaky, Field::linkShaky);
}

void AppModel::settle(const std::vector<Order>& orders) {
    std::vector<const Order*> ended;
    collectEnded(orders, ended);
    // Followed once each; what an ended order sets off (fills, exits put back) hangs on here.
    for (const Order* order : ended) settledOrders_.insert(order->id);
}

}  // namespace tavix
