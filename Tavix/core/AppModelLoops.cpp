#include "core/AppModelLoops.h"

#include "core/KeepAwake.h"
#include "core/ModelLog.h"
#include "core/Pacer.h"

#include <QPointer>

#include <algorithm>
#include <variant>

namespace tavix {

namespace {

// The quickest quote polling the loop allows, so a broker answering zero cannot spin it.
constexpr double shortestQuoteSeconds = 0.25;

}  // namespace

AppModel::~AppModel() {
    stopBackground();
    stopStream();
}

void AppModel::startBackground() {
    if (!loops_) loops_ = std::make_unique<Loops>();
    if (loops_->running) return;
    loops_->running = true;
    ++loops_->run;
    updateKeepAwake();
    scheduleAccountRound(accountLoopSeconds);
    scheduleQuoteRound(broker_ ? std::max(broker_->quotePollSeconds(), shortestQuoteSeconds) : 1.0);
    scheduleClockRound(0);
}

void AppModel::stopBackground() {
    if (!loops_ || !loops_->running) return;
    loops_->running = false;
    ++loops_->run;
    for (auto* handle : {&loops_->account, &loops_->quote, &loops_->clock}) {
        if (*handle) environment_.pacer->cancel(**handle);
        handle->reset();
    }
}

bool AppModel::isRunningBackground() const {
    return loops_ && loops_->running;
}

void AppModel::scheduleAccountRound(double seconds) {
    const std::uint64_t run = loops_->run;
    loops_->account = environment_.pacer->after(seconds, [this, run] {
        loops_->account.reset();
        accountRoundTask(run);
    });
}

void AppModel::scheduleQuoteRound(double seconds) {
    const std::uint64_t run = loops_->run;
    loops_->quote = environment_.pacer->after(seconds, [this, run] {
        loops_->quote.reset();
        quoteRoundTask(run);
    });
}

void AppModel::scheduleClockRound(double seconds) {
    const std::uint64_t run = loops_->run;
    loops_->clock = environment_.pacer->after(seconds, [this, run] {
        loops_->clock.reset();
        clockRoundTask(run);
    });
}

QCoro::Task<void> AppModel::accountRoundTask(std::uint64_t run) {
    QPointer<AppModel> self(this);
    ++accountRound_;
    if (account_) {
        co_await refreshAccount();
    } else {
        // The last read failed or never got an account: connect again first.
        co_await reconnect();
    }
    if (!self || loops_->run != run) co_return;
    reviewHealth();
    // Contract watches, ride watches and quiet-time alerts join this round when they exist.
    // Headlines: there is no news source yet, so the rounds that would read it are counted.
    if (accountRound_ % newsEveryRounds == 0) ++newsRefreshes_;
    updateKeepAwake();
    scheduleAccountRound(accountLoopSeconds);
}

QCoro::Task<void> AppModel::quoteRoundTask(std::uint64_t run) {
    QPointer<AppModel> self(this);
    const Date started = environment_.pacer->now();
    ++quoteRound_;
    // A streaming feed keeps prices current; polling only checks on it now and then.
    if (!feed_ || quoteRound_ % streamingQuoteEveryRounds == 0) {
        co_await readQuotes();
        if (!self || loops_->run != run) co_return;
    }
    if (quoteRound_ % chartEveryRounds == 0 && chartIsStale()) {
        co_await loadChart();
        if (!self || loops_->run != run) co_return;
    }
    // The next round is due one interval after this one began, however long this one took.
    const double interval = broker_ ? std::max(broker_->quotePollSeconds(), shortestQuoteSeconds) : 1.0;
    scheduleQuoteRound(std::max(0.0, (started + interval) - environment_.pacer->now()));
}

QCoro::Task<void> AppModel::clockRoundTask(std::uint64_t run) {
    QPointer<AppModel> self(this);
    std::shared_ptr<Broker> broker = broker_;
    if (broker) {
        const std::uint64_t generation = accountGeneration_;
        try {
            MarketClock clock = co_await broker->marketClock();
            if (!self) co_return;
            if (generation == accountGeneration_) {
                write(marketClock_, std::optional<MarketClock>(clock), Field::marketClock);
            }
        } catch (const BrokerError& error) {
            if (!self) co_return;
            logModelWarning(QStringLiteral("market clock read failed: ") + error.description());
        }
    }
    if (!self || loops_->run != run) co_return;
    scheduleClockRound(marketClockLoopSeconds);
}

bool AppModel::chartIsStale() const {
    if (selectedSymbol_.isEmpty()) return false;
    return !candlesReadAt_ || environment_.pacer->now() - *candlesReadAt_ > chartStaleSeconds;
}

void AppModel::startStream() {
    if (feed_ || !broker_) return;
    LiveFeed* feed = broker_->liveFeed();
    if (!feed) return;
    feed_ = feed;
    streamed_ = quotedSymbols();
    feedConnection_ =
        QObject::connect(feed, &LiveFeed::ticked, this, [this](const Tick& tick) { land(tick); });
    feed->subscribe(streamed_);
}

void AppModel::stopStream() {
    if (!feed_) return;
    QObject::disconnect(feedConnection_);
    feed_->unsubscribe(streamed_);
    feed_ = nullptr;
    streamed_.clear();
}

void AppModel::land(const Tick& tick) {
    if (const auto* trade = std::get_if<TradeTick>(&tick)) {
        auto held = quotes_.find(trade->symbol);
        if (held == quotes_.end()) {
            quotes_.emplace(trade->symbol,
                            Quote{.symbol = trade->symbol, .last = trade->price, .asOf = trade->time});
        } else {
            if (held->second.last == trade->price && held->second.asOf == trade->time) return;
            held->second.last = trade->price;
            held->second.asOf = trade->time;
        }
        Q_EMIT changed(Field::quotes);
    } else if (const auto* quote = std::get_if<QuoteTick>(&tick)) {
        // A bid or ask without a last trade makes no quote of its own.
        auto held = quotes_.find(quote->symbol);
        if (held == quotes_.end()) return;
        if (held->second.bid == quote->bid && held->second.ask == quote->ask) return;
        held->second.bid = quote->bid;
        held->second.ask = quote->ask;
        Q_EMIT changed(Field::quotes);
    }
}

void AppModel::updateKeepAwake() {
    KeepAwake* awake = environment_.keepAwake;
    if (!awake) return;
    const std::optional<QString> reason = keepAwakeReason();
    if (!reason) {
        if (awake->reason()) awake->end();
        return;
    }
    if (awake->reason() == reason) return;
    awake->begin(*reason);
}

}  // namespace tavix
