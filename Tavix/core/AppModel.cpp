#include "core/AppModel.h"

#include "core/AppModelLoops.h"

#include "core/AlpacaKeys.h"
#include "core/KeychainWords.h"
#include "core/ModelLog.h"
#include "core/Pacer.h"
#include "market/SymbolShape.h"
#include "practice/MockBroker.h"

#include <QPointer>

#include <cmath>
#include <utility>

namespace tavix {

namespace {

QStringList defaultWatchlist() {
    return {QStringLiteral("AAPL"), QStringLiteral("MSFT"),    QStringLiteral("NVDA"),
            QStringLiteral("SPY"),  QStringLiteral("BTC/USD"), QStringLiteral("ETH/USD")};
}

QString unreadableKeysSentence() {
    return QStringLiteral("Tavix couldn't read your Alpaca keys from ") + keychainWords().plain +
           QStringLiteral(", so it opened on Practice. Add them again in Settings to use that account.");
}

bool sameKeys(const std::optional<AlpacaCredentials>& a, const AlpacaCredentials& b) {
    return a && a->key == b.key && a->secret == b.secret;
}

}  // namespace

AppModel::AppModel(AppModelEnvironment environment, QObject* parent)
    : QObject(parent), environment_(std::move(environment)), loops_(std::make_unique<Loops>()) {
    registerBrokers();
    readSaved();
}

void AppModel::registerBrokers() {
    registry_.registerType<MockBroker>([this]() -> std::shared_ptr<Broker> { return makePractice(); });
    registry_.registerType<AlpacaBroker>([this]() -> std::shared_ptr<Broker> {
        // Only attach asks for it, after putting the keys in place.
        if (!alpacaKeys_) throw BrokerError::notConnected();
        if (environment_.alpacaEndpoints) {
            return std::make_shared<AlpacaBroker>(*environment_.alpacaEndpoints, AlpacaEnvironment::paper,
                                                  *alpacaKeys_, environment_.network,
                                                  environment_.alpacaOptions);
        }
        return std::make_shared<AlpacaBroker>(AlpacaEnvironment::paper, *alpacaKeys_, environment_.network,
                                              environment_.alpacaOptions);
    });
}

void AppModel::readSaved() {
    alpacaProfiles_ = Session::alpacaProfiles();
    alpacaSlot_ =
        Session::alpacaSlot().value_or(alpacaProfiles_.empty() ? QString() : alpacaProfiles_.front().slot);
    if (auto saved = Session::limits()) {
        limits_ = *saved;
        limitsChosen_ = true;
    }
    bounces_ = Session::bounces();
    priceAlerts_ = Session::priceAlerts();
    rideWatches_ = Session::rideWatches();
    contractWatches_ = Session::contractWatches();
    watchlist_ = Session::watchlist().value_or(defaultWatchlist());
    dropMisshapenSymbols();
    // The symbol and interval the chart showed last time, when they still make sense.
    const auto opened = Session::developerText(QStringLiteral("tavixOpenSymbol"));
    const auto chosen = Session::selectedSymbol().value_or(QString());
    const bool chosenFits = SymbolShape::isSymbol(chosen) && (watchlist_.isEmpty() || watchlist_.contains(chosen));
    selectedSymbol_ = opened ? *opened : chosenFits ? chosen : watchlist_.value(0);
    chartInterval_ = Session::chartInterval().value_or(chartInterval_);
    // Opens in the one mode that is switched on when only one is.
    const ViewChoice view = Session::viewChoice();
    if (!view.easyMode && view.expertMode) mode_ = Mode::expert;
    watchlistSort_ = Session::sort(mode_).value_or(WatchlistSort::added);
    sortReversed_ = Session::sortReversed(mode_);
}

void AppModel::dropMisshapenSymbols() {
    QStringList kept, dropped;
    for (const QString& symbol : watchlist_) {
        (SymbolShape::isSymbol(symbol) ? kept : dropped) << symbol;
    }
    if (dropped.isEmpty()) return;
    watchlist_ = kept;
    Session::setWatchlist(kept);
    QStringList shown;
    for (const QString& symbol : dropped) shown << SymbolShape::shortened(symbol);
    const QString what = dropped.size() == 1 ? QStringLiteral("it isn't") : QStringLiteral("they aren't");
    droppedSymbols_ = QStringLiteral("Tavix took ") + shown.join(QStringLiteral(", ")) +
                      QStringLiteral(" off your watchlist: ") + what + QStringLiteral(" a symbol it can look up.");
    banner_ = droppedSymbols_;
}

std::shared_ptr<MockBroker> AppModel::makePractice() {
    if (practice_) return practice_;
    std::optional<QString> path = environment_.practiceStorePath.value_or(Session::practiceStoreURL());
    if (path && path->isEmpty()) path.reset();  // kept in memory
    std::chrono::milliseconds lag = environment_.practiceLag.value_or(
        std::chrono::milliseconds(std::llround(std::max(Session::lag(), 0.0) * 1000.0)));
    if (environment_.makePractice) {
        practice_ = environment_.makePractice(std::move(path), lag);
    } else {
        Pacer* pacer = environment_.pacer;
        practice_ = std::make_shared<MockBroker>(std::move(path), lag, [pacer] { return pacer->now(); });
    }
    return practice_;
}

QCoro::Task<void> AppModel::bootstrap() {
    if (bootstrapped_ || Session::hostsTests()) co_return;
    bootstrapped_ = true;
    makePractice();
    beginOpening();
    write(alpacaProfiles_, Session::alpacaProfiles(), Field::alpacaProfiles);
    QPointer<AppModel> self(this);
    Start start = co_await startingBroker();
    if (!self) co_return;
    co_await attach(start.id, start.keys);
    if (!self) co_return;
    if (start.banner) {
        setBanner(start.banner);
    } else if (practice_ && broker_ == practice_ && practice_->notice()) {
        setBanner(practice_->notice());  // the saved practice ledger could not be read
    } else if (droppedSymbols_) {
        setBanner(droppedSymbols_);  // opening the account cleared it
    }
    startBackground();
}

QCoro::Task<AppModel::Start> AppModel::startingBroker() {
    Start start{BrokerID::mock(), std::nullopt, std::nullopt};
    const std::optional<BrokerID> saved = Session::broker();
    // A broker this build no longer knows opens on Practice; the saved choice stays for a build
    // that knows it.
    if (!saved || !registry_.entries().contains(*saved)) {
        if (saved)
            logModelInfo(QStringLiteral("saved broker ") + saved->rawValue +
                         QStringLiteral(" unknown, opening Practice"));
        co_return start;
    }
    if (*saved != BrokerID::alpaca()) {
        start.id = *saved;
        co_return start;
    }
    std::optional<AlpacaCredentials> keys;
    try {
        if (!alpacaSlot_.isEmpty()) keys = co_await AlpacaKeys::saved(environment_.keychain, alpacaSlot_);
    } catch (const KeychainError& error) {
        logModelWarning(QStringLiteral("reading Alpaca keys failed: ") + QString::fromUtf8(error.what()));
    }
    if (!keys) {
        start.banner = unreadableKeysSentence();
        co_return start;
    }
    start.id = BrokerID::alpaca();
    start.keys = std::move(keys);
    co_return start;
}

void AppModel::beginOpening() {
    write(opening_, true, Field::opening);
}

QCoro::Task<void> AppModel::attach(BrokerID id, std::optional<AlpacaCredentials> keys) {
    QPointer<AppModel> self(this);
    stopStream();
    // Raised first, so work of the old account that lands while the new broker is built is dropped.
    const std::uint64_t generation = ++accountGeneration_;
    std::optional<QString> problem;

    if (id == BrokerID::alpaca()) {
        const QString slot = alpacaSlot_;
        if (!keys && !slot.isEmpty()) {
            try {
                keys = co_await AlpacaKeys::saved(environment_.keychain, slot);
            } catch (const KeychainError& error) {
                logModelWarning(QStringLiteral("reading Alpaca keys failed: ") +
                                QString::fromUtf8(error.what()));
            }
            if (!self || generation != accountGeneration_) co_return;
        }
        if (keys) {
            // The registry keeps one live Alpaca broker; other keys need a new one.
            if (!sameKeys(alpacaKeys_, *keys)) registry_.forget(BrokerID::alpaca());
            alpacaKeys_ = keys;
            attachedSlot_ = slot;
        } else {
            problem = unreadableKeysSentence();
            id = BrokerID::mock();
        }
    }

    std::shared_ptr<Broker> next;
    try {
        next = registry_.broker(id);
    } catch (const BrokerError& error) {
        problem = error.description();
    }
    if (!next) next = registry_.broker(BrokerID::mock());

    broker_ = next;
    write(brokerName_, next->displayName(), Field::brokerName);
    clearAccountState();
    setBanner(std::nullopt);
    beginOpening();

    co_await refresh();
    if (!self || generation != accountGeneration_) co_return;
    write(opening_, false, Field::opening);
    if (problem) {
        setBanner(problem);
    } else if (!banner_) {
        tellOtherAccountsWatches();
    }
    startStream();
    co_await loadChart();
    if (!self || generation != accountGeneration_) co_return;
    noteAlpacaAccount();
    co_await syncWatchlist();
}

void AppModel::clearAccountState() {
    write(account_, std::optional<BrokerAccount>(), Field::account);
    write(balance_, std::optional<Balance>(), Field::balance);
    write(positions_, std::vector<Position>(), Field::positions);
    write(orders_, std::vector<Order>(), Field::orders);
    write(quotes_, std::map<QString, Quote>(), Field::quotes);
    write(isConnected_, false, Field::isConnected);
    settledOrders_.clear();
    // The link's health belongs to the broker that was left.
    misses_ = 0;
    lastMiss_.reset();
    readProblem_.reset();
    quoteProblem_.reset();
    write(linkShaky_, false, Field::linkShaky);
    write(linkSlow_, false, Field::linkSlow);
    // The ticket's preview and any send or cancel under way were for the account that was left:
    // their answers are dropped when they come.
    ticket_.preview.reset();
    ticket_.checking = false;
    ticket_.sending = false;
    ticket_.cancelling.clear();
    Q_EMIT changed(Field::ticket);
}

void AppModel::setMode(Mode mode) {
    if (mode == mode_) return;
    write(mode_, mode, Field::mode);
    // Each mode keeps its own sort.
    const auto sort = Session::sort(mode).value_or(WatchlistSort::added);
    const bool reversed = Session::sortReversed(mode);
    if (sort == watchlistSort_ && reversed == sortReversed_) return;
    watchlistSort_ = sort;
    sortReversed_ = reversed;
    Q_EMIT changed(Field::watchlistSort);
}

void AppModel::setLimits(const SafetyLimits& limits) {
    limitsChosen_ = true;
    Session::setLimits(limits);
    write(limits_, limits, Field::limits);
}

void AppModel::setBanner(std::optional<QString> banner) {
    write(banner_, std::move(banner), Field::banner);
}

void AppModel::setRideWatches(Json::Array watches) {
    Session::setRideWatches(watches);
    write(rideWatches_, std::move(watches), Field::rideWatches);
    updateKeepAwake();
}

void AppModel::setContractWatches(Json::Array watches) {
    Session::setContractWatches(watches);
    write(contractWatches_, std::move(watches), Field::contractWatches);
    updateKeepAwake();
}

void AppModel::setPriceAlerts(Json::Array alerts) {
    Session::setPriceAlerts(alerts);
    write(priceAlerts_, std::move(alerts), Field::priceAlerts);
}

void AppModel::setBounces(Json::Array bounces) {
    Session::setBounces(bounces);
    write(bounces_, std::move(bounces), Field::bounces);
    updateKeepAwake();
}

AccountKind AppModel::accountKind() const {
    if (!broker_) return AccountKind::practice;
    if (broker_->id() == BrokerID::alpaca()) {
        const AlpacaProfile* profile = attachedSlot_ ? profileOf(*attachedSlot_) : nullptr;
        return profile && profile->live ? AccountKind::live : AccountKind::paper;
    }
    return accountKindOf(broker_->id());
}

AppModel::Health AppModel::health() const {
    if (!isConnected_ && misses_ > 0) return Health::lost;
    if (linkShaky_) return Health::unstable;
    if (linkSlow_) return Health::slow;
    return Health::stable;
}

QString AppModel::healthWord(Health health) {
    switch (health) {
        case Health::stable:
            return QStringLiteral("Stable");
        case Health::slow:
            return QStringLiteral("Slow");
        case Health::unstable:
            return QStringLiteral("Unstable");
        case Health::lost:
            return QStringLiteral("Lost");
    }
    return {};
}

}  // namespace tavix
