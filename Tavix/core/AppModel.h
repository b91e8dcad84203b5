#pragma once

#include "alpaca/AlpacaBroker.h"
#include "core/AccountKind.h"
#include "core/AlpacaProfile.h"
#include "core/OrderTicket.h"
#include "core/Session.h"
#include "market/Broker.h"
#include "market/BrokerRegistry.h"
#include "market/Json.h"
#include "market/Keychain.h"
#include "market/SafetyLimits.h"

#include <qcoro/qcorotask.h>

#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

class QNetworkAccessManager;

namespace tavix {

class KeepAwake;
class MockBroker;
class Pacer;

// What the model is given from outside, so tests can put fakes in every place.
struct AppModelEnvironment {
    Keychain* keychain = nullptr;    // required
    KeepAwake* keepAwake = nullptr;  // required
    Pacer* pacer = nullptr;          // required: paces the loops and tells the time
    QNetworkAccessManager* network = nullptr;  // required for Alpaca
    // Where Alpaca lives; tests point it at a loopback fake.
    std::optional<AlpacaEndpoints> alpacaEndpoints;
    AlpacaBrokerOptions alpacaOptions;
    // Overrides Session::practiceStoreURL(); an empty text keeps the practice ledger in memory.
    std::optional<QString> practiceStorePath;
    // Overrides the lag read from the developer keys.
    std::optional<std::chrono::milliseconds> practiceLag;
    // Builds the practice broker; tests hand in one with a driven clock. Default: MockBroker on
    // the store and lag above.
    std::function<std::shared_ptr<MockBroker>(std::optional<QString> storePath, std::chrono::milliseconds lag)>
        makePractice;
};

// The one object every screen, automation and bot talks to: the broker in use and its account,
// balance, positions and orders, the watchlist and its quotes, the selected symbol and its
// candles, and the background loops that keep them current.
//
// Observed fields notify through `changed(Field)`, and only when their value really changed: an
// equal value is not written back, so nothing redraws for nothing.
//
// Every account switch raises `accountGeneration()`; asynchronous work remembers the generation
// it started under and drops its result when the account changed meanwhile.
//
// Main thread only. The implementation is split by concern: AppModel.cpp (construction,
// start-up, attach, fields), AppModelAccount.cpp (account reads, reconnect, settle, health),
// AppModelAlpaca.cpp (profiles, keys, connectAlpaca, forgetAlpaca), AppModelLoops.cpp (account,
// quote and market-clock loops, keep-awake), AppModelWatchlist.cpp (watchlist, look-ups, sync
// with the broker's own list), AppModelChart.cpp (selected symbol and candles),
// AppModelWarnings.cpp (quit and leaving warnings).
class AppModel : public QObject {
    Q_OBJECT

public:
    enum class Field {
        mode,
        connectingCount,
        opening,
        searching,
        isConnected,
        marketClock,
        limits,
        brokerName,
        alpacaProfiles,
        alpacaSlot,
        addingAlpacaAccount,
        account,
        balance,
        positions,
        orders,
        watchlist,
        watchlistSort,
        watchlistDraft,
        watchlistError,
        symbolMatches,
        quotes,
        selectedSymbol,
        chartInterval,
        candles,
        chartProblem,
        ticket,
        optionChain,
        banner,
        rideWatches,
        contractWatches,
        priceAlerts,
        bounces,
        linkShaky,
        linkSlow,
    };
    Q_ENUM(Field)

    // The header's word for the link.
    enum class Health { stable, slow, unstable, lost };

    static constexpr double accountLoopSeconds = 20;
    static constexpr double marketClockLoopSeconds = 60;
    static constexpr double slowReadSeconds = 3;
    static constexpr double shakyWindowSeconds = 300;
    static constexpr int newsEveryRounds = 15;
    static constexpr int chartEveryRounds = 10;
    static constexpr int streamingQuoteEveryRounds = 60;
    static constexpr double chartStaleSeconds = 60;

    // Reads the saved state; touches no network.
    explicit AppModel(AppModelEnvironment environment, QObject* parent = nullptr);
    ~AppModel() override;

    // --- start-up and accounts ------------------------------------------------------------------
    // Once per run, and never when an automated test run hosts the application: makes the
    // practice broker, opens the saved account (falling back to Practice when its keys can't be
    // read) and starts the loops.
    QCoro::Task<void> bootstrap();
    // Makes the broker for `id` current: stops the live feed, builds the broker (Alpaca with
    // `keys`, or the keys saved for the current slot), raises the generation and clears the
    // account state, reads the account, starts the live feed, loads the chart, notes the Alpaca
    // account's number and syncs the watchlist, in that order.
    QCoro::Task<void> attach(BrokerID id, std::optional<AlpacaCredentials> keys = std::nullopt);
    // Switch the account in use; refused (into the banner) while a bounce runs.
    QCoro::Task<void> useAccount(BrokerID id);
    QCoro::Task<void> useAlpaca(QString slot);
    // Adds an Alpaca paper account, or replaces the profile with slot `replacing`. Nothing on
    // success, otherwise the user's message.
    QCoro::Task<std::optional<QString>> connectAlpaca(QString key, QString secret,
                                                      std::optional<QString> replacing = std::nullopt,
                                                      std::optional<QString> name = std::nullopt);
    // Removes a profile and its keys; when it was in use, Practice is opened.
    QCoro::Task<void> forgetAlpaca(QString slot);
    void setAddingAlpacaAccount(bool adding);

    // Reads balance, positions and orders now, then settles ended orders.
    QCoro::Task<void> refreshAccount();
    // Connects the broker and reads its account.
    QCoro::Task<void> reconnect();
    // Reads the account (reconnecting first when there is none) and the quotes.
    QCoro::Task<void> refresh();
    // Forgets everything that belongs to the account in use.
    void clearAccountState();

    // --- loops ----------------------------------------------------------------------------------
    // Starts the account, quote and market-clock loops, each only when not running.
    void startBackground();
    void stopBackground();
    bool isRunningBackground() const;
    int accountRound() const { return accountRound_; }
    int quoteRound() const { return quoteRound_; }
    int newsRefreshes() const { return newsRefreshes_; }
    // Holds or ends the keep-awake activity for what is watched now.
    void updateKeepAwake();

    // --- watchlist ------------------------------------------------------------------------------
    void setWatchlistDraft(QString draft);
    // Looks the draft up at the broker into `symbolMatches`.
    QCoro::Task<void> lookUp();
    // Adds a symbol (the draft when empty) after checking it; a complaint goes to watchlistError.
    QCoro::Task<void> addToWatchlist(QString symbol = {});
    void removeFromWatchlist(const QString& symbol);
    void moveInWatchlist(const QString& symbol, int toIndex);
    // How the watchlist is shown in this mode; saved per mode.
    WatchlistSort watchlistSort() const { return watchlistSort_; }
    bool sortReversed() const { return sortReversed_; }
    void setWatchlistSort(WatchlistSort sort, bool reversed);
    // Brings the watchlist and the broker's own list together.
    QCoro::Task<void> syncWatchlist();
    // The symbols whose quotes the loops read: the watchlist, the positions and the selected one.
    QStringList quotedSymbols() const;

    // --- chart ----------------------------------------------------------------------------------
    // Selects another symbol: fresh candles are loaded for it.
    void switchTo(const QString& symbol);
    // Nothing selected: the chart is empty (the watchlist emptied).
    void clearSelection();
    void setChartInterval(CandleInterval interval);
    QCoro::Task<void> loadChart();

    // --- trading by hand (AppModelTrading.cpp) --------------------------------------------------
    const OrderTicket& ticket() const { return ticket_; }
    // Puts an order on the ticket, with the sell price and get-out price it attaches; the preview
    // of the ticket before goes.
    void setTicket(const OrderRequest& request, std::optional<Decimal> targetExit = std::nullopt,
                   std::optional<Decimal> stopExit = std::nullopt);
    // Checks the ticket in turn and asks the broker for its preview; the first problem found goes
    // to the banner and no preview is asked for.
    QCoro::Task<void> buildPreview();
    // Checks the ticket again and sends it; the report or the refusal goes to the banner.
    QCoro::Task<void> submit();
    // Cancels an order; `linked` exits are cancelled with it, as the broker links them.
    QCoro::Task<void> cancel(Order order, bool linked);
    // Moves a working order to a new price (its limit, or its stop for a stop order).
    QCoro::Task<void> moveOrder(Order order, std::optional<Decimal> price);
    // The selected symbol's option contracts (of one expiry, or the nearest when none is named).
    const std::vector<OptionContract>& optionChain() const { return optionChain_; }
    QCoro::Task<void> loadOptionChain(std::optional<Date> expiry = std::nullopt);
    // Cancels the orders Tavix's own automations keep on a symbol, so a new order does not collide
    // with them.
    QCoro::Task<void> clearTavixOrders(QString symbol);

    // --- fields ---------------------------------------------------------------------------------
    Mode mode() const { return mode_; }
    void setMode(Mode mode);
    int connectingCount() const { return connectingCount_; }
    bool opening() const { return opening_; }
    bool searching() const { return searching_; }
    bool isConnected() const { return isConnected_; }
    const std::optional<MarketClock>& marketClock() const { return marketClock_; }
    const SafetyLimits& limits() const { return limits_; }
    void setLimits(const SafetyLimits& limits);
    const QString& brokerName() const { return brokerName_; }
    const std::vector<AlpacaProfile>& alpacaProfiles() const { return alpacaProfiles_; }
    const QString& alpacaSlot() const { return alpacaSlot_; }
    const std::optional<QString>& attachedSlot() const { return attachedSlot_; }
    bool addingAlpacaAccount() const { return addingAlpacaAccount_; }
    const std::optional<BrokerAccount>& account() const { return account_; }
    const std::optional<Balance>& balance() const { return balance_; }
    const std::vector<Position>& positions() const { return positions_; }
    const std::vector<Order>& orders() const { return orders_; }
    const QStringList& watchlist() const { return watchlist_; }
    const QString& watchlistDraft() const { return watchlistDraft_; }
    const std::optional<QString>& watchlistError() const { return watchlistError_; }
    const std::vector<SymbolMatch>& symbolMatches() const { return symbolMatches_; }
    const std::map<QString, Quote>& quotes() const { return quotes_; }
    const QString& selectedSymbol() const { return selectedSymbol_; }
    CandleInterval chartInterval() const { return chartInterval_; }
    const std::vector<Candle>& candles() const { return candles_; }
    // Why the chart could not be loaded, until the next load or symbol.
    const std::optional<QString>& chartProblem() const { return chartProblem_; }
    const std::optional<QString>& banner() const { return banner_; }
    void setBanner(std::optional<QString> banner);
    const Json::Array& rideWatches() const { return rideWatches_; }
    const Json::Array& contractWatches() const { return contractWatches_; }
    const Json::Array& priceAlerts() const { return priceAlerts_; }
    const Json::Array& bounces() const { return bounces_; }
    bool linkShaky() const { return linkShaky_; }
    bool linkSlow() const { return linkSlow_; }

    Broker* broker() const { return broker_.get(); }
    // The practice broker, once bootstrap or attach made it.
    MockBroker* practice() const { return practice_.get(); }
    BrokerRegistry& registry() { return registry_; }
    std::uint64_t accountGeneration() const { return accountGeneration_; }
    bool bootstrapped() const { return bootstrapped_; }

    AccountKind accountKind() const;
    Health health() const;
    // "Stable", "Slow", "Unstable", "Lost".
    static QString healthWord(Health health);

    // Bounces that have not ended and belong to the account in use.
    Json::Array runningBounces() const;
    // What stops when Tavix is closed, one sentence each; nothing when nothing is watched.
    std::optional<QString> quitWarning() const;
    // What leaving this account leaves without Tavix; nothing when nothing would be.
    std::optional<QString> accountLeaving() const;

    // The automations' saved lists (kept as the records they are until their owners exist).
    void setRideWatches(Json::Array watches);
    void setContractWatches(Json::Array watches);
    void setPriceAlerts(Json::Array alerts);
    void setBounces(Json::Array bounces);

Q_SIGNALS:
    void changed(tavix::AppModel::Field field);

private:
    // Implemented across the AppModel*.cpp files; see the class comment.
    struct Loops;
    class Impl;
    friend class Impl;

    template <class T>
    void write(T& member, T value, Field field) {
        if (member == value) return;
        member = std::move(value);
        Q_EMIT changed(field);
    }

    // --- start-up and accounts (AppModel.cpp, AppModelAlpaca.cpp) -------------------------------
    struct Start {
        BrokerID id;
        std::optional<AlpacaCredentials> keys;
        std::optional<QString> banner;
    };
    void registerBrokers();
    void readSaved();
    // Takes saved symbols that are no symbol at all off the watchlist, telling which in the banner.
    void dropMisshapenSymbols();
    QCoro::Task<Start> startingBroker();
    std::shared_ptr<MockBroker> makePractice();
    void beginOpening();
    // The watches kept for accounts other than this one, told in the banner.
    void tellOtherAccountsWatches();
    // The profile of the slot in use, or nothing.
    const AlpacaProfile* profileOf(const QString& slot) const;
    QString freeAlpacaSlot() const;
    void saveProfiles(std::vector<AlpacaProfile> profiles);
    void noteAlpacaAccount();
    // Makes the slot current and saves the choice.
    void chooseAlpacaSlot(const QString& slot);
    std::optional<QString> bounceRefusal() const;

    // --- reads and health (AppModelAccount.cpp) -------------------------------------------------
    void noteReadFailure(const BrokerError& error);
    void noteReadTime(double seconds);
    void reviewHealth();
    void settle(const std::vector<Order>& orders);
    // Applies polled quotes; an equal quote is not written.
    void take(const std::map<QString, Quote>& read);
    QCoro::Task<void> readQuotes();

    // --- loops and the live feed (AppModelLoops.cpp) --------------------------------------------
    void scheduleAccountRound(double seconds);
    void scheduleQuoteRound(double seconds);
    void scheduleClockRound(double seconds);
    QCoro::Task<void> accountRoundTask(std::uint64_t run);
    QCoro::Task<void> quoteRoundTask(std::uint64_t run);
    QCoro::Task<void> clockRoundTask(std::uint64_t run);
    void startStream();
    void stopStream();
    void land(const Tick& tick);
    bool chartIsStale() const;

    // --- warnings (AppModelWarnings.cpp) --------------------------------------------------------
    bool belongsHere(const Json& record) const;
    bool lastDayNear() const;
    // Why the computer is kept awake now, or nothing when nothing is watched.
    std::optional<QString> keepAwakeReason() const;

    AppModelEnvironment environment_;
    BrokerRegistry registry_;
    std::shared_ptr<MockBroker> practice_;
    std::shared_ptr<Broker> broker_;
    std::unique_ptr<Loops> loops_;

    Mode mode_ = Mode::easy;
    int connectingCount_ = 0;
    bool opening_ = false;
    bool searching_ = false;
    bool isConnected_ = false;
    std::optional<MarketClock> marketClock_;
    SafetyLimits limits_;
    bool limitsChosen_ = false;
    QString brokerName_;
    std::vector<AlpacaProfile> alpacaProfiles_;
    QString alpacaSlot_;
    std::optional<QString> attachedSlot_;
    bool addingAlpacaAccount_ = false;
    std::optional<BrokerAccount> account_;
    std::optional<Balance> balance_;
    std::vector<Position> positions_;
    std::vector<Order> orders_;
    std::set<QString> settledOrders_;
    QStringList watchlist_;
    WatchlistSort watchlistSort_ = WatchlistSort::added;
    bool sortReversed_ = false;
    QString watchlistDraft_;
    std::optional<QString> watchlistError_;
    std::vector<SymbolMatch> symbolMatches_;
    std::map<QString, Quote> quotes_;
    QString selectedSymbol_;
    CandleInterval chartInterval_ = CandleInterval::fiveMinute;
    std::vector<Candle> candles_;
    std::optional<QString> chartProblem_;
    OrderTicket ticket_;
    std::vector<OptionContract> optionChain_;
    std::optional<Date> candlesReadAt_;
    std::optional<QString> banner_;
    Json::Array rideWatches_;
    Json::Array contractWatches_;
    Json::Array priceAlerts_;
    Json::Array bounces_;
    bool linkShaky_ = false;
    bool linkSlow_ = false;

    bool bootstrapped_ = false;
    std::uint64_t accountGeneration_ = 0;
    int misses_ = 0;
    std::optional<Date> lastMiss_;
    int accountRound_ = 0;
    int quoteRound_ = 0;
    int newsRefreshes_ = 0;
    bool watchlistSyncing_ = false;
    bool watchlistSyncAgain_ = false;

    // The keys the Alpaca factory builds with; set by attach before it asks the registry.
    std::optional<AlpacaCredentials> alpacaKeys_;
    // What was taken off the saved watchlist at start, told once the account is open.
    std::optional<QString> droppedSymbols_;
    // The banner a failed read set, cleared by the next good read.
    std::optional<QString> readProblem_;
    std::optional<QString> quoteProblem_;
    LiveFeed* feed_ = nullptr;
    QMetaObject::Connection feedConnection_;
    QStringList streamed_;

    // --- watchlist and chart (AppModelWatchlist/Chart.cpp) ---
    // A symbol in the form the watchlist keeps: trimmed and upper-cased, coin pairs as "BTC/USD",
    // option symbols in the unpadded OCC form.
    static QString canonicalSymbol(const QString& text);
    void complain(const QString& sentence);
    // One round of syncWatchlist.
    QCoro::Task<void> syncWatchlistOnce();
    // Runs syncWatchlist without waiting for it.
    void startWatchlistSync();
    // Drops the quote of a symbol nothing quotes any more.
    void forgetQuoteUnlessQuoted(const QString& symbol);
    void saveWatchlist(QStringList symbols);
    // Raised by every look-up and chart load; only the newest one's answer lands.
    std::uint64_t lookUpTicket_ = 0;
    std::uint64_t chartTicket_ = 0;
    // The words of the last failed sync: shown once, not again for the same failure.
    std::optional<QString> watchlistRefused_;
};

}  // namespace tavix
