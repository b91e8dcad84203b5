#pragma once

#include "market/Broker.h"
#include "practice/Ledger.h"
#include "practice/LedgerStore.h"
#include "practice/PracticeMarket.h"

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>

namespace tavix {

// The practice brokerage: no account and no network. Prices come from PracticeMarket, orders
// are worked against them in a cash-and-holdings ledger, and the ledger is saved to a file so
// practice positions survive a restart.
//
// Refusals travel as BrokerError::invalidOrder carrying the same raw words the Alpaca service
// uses ("quantity must be greater than zero", "trail_price must be <= 25% of the stock price" …),
// unchanged in the error's text(), so that one translation layer turns both into the user's
// words.
//
// Orders are worked lazily: every read of orders, positions or the balance (and every order
// call) first matches all open orders against the prices at the clock's time, then saves the
// ledger if it changed.
class MockBroker : public Broker {
public:
    // The next order call fails with `error`, before the order is booked or after.
    struct Failure {
        BrokerError error;
        bool afterBooking = false;
    };

    // Without a store path nothing is saved. `clock` tells the time (tests drive it); `lag` is
    // slept before every answer, to feel like a network.
    explicit MockBroker(std::optional<QString> storePath = std::nullopt,
                        std::chrono::milliseconds lag = std::chrono::milliseconds(0),
                        std::function<Date()> clock = &Date::now);
    ~MockBroker() override;

    static BrokerID staticID() { return BrokerID::mock(); }
    static QString staticDisplayName() { return QStringLiteral("Practice"); }
    static BrokerCapabilities staticCapabilities();

    BrokerID id() const override { return staticID(); }
    QString displayName() const override { return staticDisplayName(); }
    BrokerCapabilities capabilities() const override { return staticCapabilities(); }
    FeeSchedule fees() const override { return FeeSchedule::free(); }

    QCoro::Task<bool> isConnected() override;
    QCoro::Task<void> connect() override;
    QCoro::Task<void> disconnect() override;

    QCoro::Task<std::vector<BrokerAccount>> accounts() override;
    // Equity is cash plus what the holdings are worth at the prices now (shorts count negative);
    // buying power is the cash not owed back to cover shorts. The day's change is, summed over
    // symbols, what was realised today plus what the holdings are worth now against their day
    // basis: shares held overnight count from the previous close, shares bought today from what
    // they cost (see Holding::dayStart). Stocks' days are New York days, coins' UTC days.
    QCoro::Task<Balance> balance(QString accountID) override;
    // Each holding at the price now; options count 100 shares a contract. `available` leaves out
    // what working orders on the closing side hold (a bracket or exit pair holds its part once).
    QCoro::Task<std::vector<Position>> positions(QString accountID) override;
    QCoro::Task<std::map<QString, Quote>> quotes(QStringList symbols) override;
    QCoro::Task<std::vector<OptionContract>> optionChain(QString symbol, std::optional<Date> expiry) override;
    QCoro::Task<std::vector<Candle>> candles(QString symbol, CandleInterval interval,
                                             DateRange range) override;

    QCoro::Task<Order> placeOrder(OrderRequest request, QString accountID) override;
    QCoro::Task<void> cancelOrder(QString orderID, QString accountID) override;
    // Newest first: every order entered since the date, and every open order whatever its age.
    // A bracket's or exit pair's orders come as legs of their parent; an order that was replaced
    // stays listed with `replacedBy`.
    QCoro::Task<std::vector<Order>> orders(QString accountID, std::optional<Date> since) override;
    QCoro::Task<std::vector<Order>> orderHistory(QString accountID) override;
    QCoro::Task<Order> order(QString orderID, QString accountID) override;
    QCoro::Task<Order> replaceOrder(QString orderID, QString accountID, std::optional<Decimal> limitPrice,
                                    std::optional<Decimal> stopPrice) override;

    QCoro::Task<std::optional<CoinRules>> coinRules(QString symbol) override;
    QCoro::Task<std::vector<SymbolMatch>> searchSymbols(QString text) override;

    // The practice account.
    const BrokerAccount& account() const { return account_; }

    // The simulated time-out of `failNext`: "The request timed out."
    static BrokerError timedOut();
    // The raw words a refusal from `setRefusals` carries unless told otherwise.
    static QString defaultRefusalWords();

    // --- Time and prices -------------------------------------------------------------------
    void setClock(std::function<Date()> clock) { clock_ = std::move(clock); }
    Date now() const { return clock_(); }
    void setLag(std::chrono::milliseconds lag) { lag_ = lag; }
    std::chrono::milliseconds lag() const { return lag_; }
    // A pinned symbol always quotes at its pinned price.
    void pin(const QString& symbol, Decimal price) { market_.pin(symbol, price); }
    void unpin(const QString& symbol) { market_.unpin(symbol); }
    const std::map<QString, Decimal>& pinned() const { return market_.pinned(); }
    // Symbols quoted without bid or ask.
    void setBidless(const QString& symbol, bool bidless);
    const std::set<QString>& bidless() const { return bidless_; }
    const PracticeMarket& market() const { return market_; }

    // --- Misbehaviour on demand ---------------------------------------------------------------
    // The next `count` orders are refused with `words` (raw words, as the service says them).
    void setRefusals(int count, QString words = defaultRefusalWords());
    int refusals() const { return refusals_; }
    void failNext(BrokerError error, bool afterBooking = false) {
        failNext_ = Failure{std::move(error), afterBooking};
    }
    void clearFailNext() { failNext_.reset(); }
    const std::optional<Failure>& nextFailure() const { return failNext_; }
    void setQuotesFail(bool fail) { quotesFail_ = fail; }
    bool quotesFail() const { return quotesFail_; }
    // Order sends attempted, refused ones included.
    int sendsTried() const { return sendsTried_; }
    // While holding, a cancel is accepted but not done until the held cancels are released.
    void setHoldingCancels(bool holding) { holdingCancels_ = holding; }
    bool holdingCancels() const { return holdingCancels_; }
    const std::set<QString>& heldCancels() const { return heldCancels_; }
    // Does the held cancels of orders still open (an order that filled meanwhile stays filled).
    void releaseHeldCancels();
    // The next `reads` order reads still report orders that fill meanwhile as working.
    void reportFillsLate(int reads);
    int lateFillReads() const { return lateFillReads_; }

    // --- The ledger ---------------------------------------------------------------------------
    const Ledger& ledger() const { return ledger_; }
    const std::set<QString>& openOrders() const { return open_; }
    bool isUnsaved() const { return unsaved_; }
    std::optional<QString> storePath() const;
    // True when a saved account could not be read and a new one was started; `notice` then holds
    // the words for the user.
    bool startedFresh() const { return notice_.has_value(); }
    const std::optional<QString>& notice() const { return notice_; }
    // Why the last save failed, or nothing. A failed save is tried again at the next change.
    const std::optional<QString>& saveProblem() const { return saveProblem_; }
    const LedgerStore* store() const { return store_.get(); }

    // Works every open order against the prices at `at`.
    void match(Date at);
    // Writes the ledger when it changed since the last save; false when the write failed.
    bool saveIfNeeded();

protected:
    // The market clock and other defaults read the practice clock, so tests can move it.
    Date currentTime() const override { return clock_(); }

private:
    // Quotes gathered once per match.
    using QuoteCache = std::map<QString, std::optional<Quote>>;

    // Sleeps the lag; fails when the broker went away meanwhile.
    QCoro::Task<void> pause();
    void requireAccount(const QString& accountID) const;
    // The failure asked for by failNext, taken (it happens once).
    std::optional<Failure> takeFailure(bool afterBooking);

    // Refusals (MockRefusals.cpp): the raw words for a request, or nothing.
    std::optional<QString> refusal(const OrderRequest& request, Date at) const;
    static OrderRequest normalized(OrderRequest request);

    // Booking and changing orders (MockOrders.cpp).
    QString book(OrderRequest request, Date at);
    QString addWorking(Working working);
    void cancelNow(const QString& id, Date at);
    QString replace(const QString& id, std::optional<Decimal> limitPrice, std::optional<Decimal> stopPrice,
                    Date at);

    // Matching (MockMatching.cpp).
    void work(const QString& id, Date at, QuoteCache& quotes);
    const std::optional<Quote>& quoteFor(const QString& symbol, Date at, QuoteCache& quotes) const;
    void fill(const QString& id, Decimal quantity, Decimal price, Date at, QuoteCache& quotes);
    // Ends an open order without a (full) fill: cancelled, expired or rejected. Its exits go with
    // it, unless it is an entry that filled in part: they then arm for what filled.
    void end(const QString& id, OrderStatus status, Date at);
    void armLegs(Working& entry);
    void shrinkSiblings(const QString& id, Decimal quantity, Date at);
    static Date dayEnd(const Working& working);

    // Reading (MockBroker.cpp).
    Order record(const QString& id, bool late) const;
    std::vector<Order> readOrders(std::optional<Date> since);
    void finishOrderRead(const std::vector<QString>& reported);
    // What a holding is worth at the price at `at`, in whole cents.
    Decimal worth(const QString& symbol, const Holding& holding, Date at) const;
    Decimal dayBasis(const QString& symbol, const Holding& holding, long long day, Date at) const;
    Decimal dayProfit(const QString& symbol, const Holding& holding, Decimal value, Date at) const;
    static long long tradingDay(Date at, bool crypto);

    BrokerAccount account_;
    bool connected_ = true;
    Ledger ledger_;
    std::set<QString> open_;
    bool unsaved_ = false;
    std::unique_ptr<LedgerStore> store_;  // holds the `written` cache
    std::function<Date()> clock_;
    std::chrono::milliseconds lag_;
    PracticeMarket market_;  // holds the pinned prices
    std::set<QString> bidless_;
    int refusals_ = 0;
    QString refusalWords_;
    std::optional<Failure> failNext_;
    bool quotesFail_ = false;
    int sendsTried_ = 0;
    bool holdingCancels_ = false;
    std::set<QString> heldCancels_;
    int lateFillReads_ = 0;
    std::set<QString> lateFills_;  // orders that filled while fills are reported late
    std::optional<QString> notice_;
    std::optional<QString> saveProblem_;
    // Expires when the broker does, so a coroutine that slept through its end can tell.
    std::shared_ptr<int> alive_ = std::make_shared<int>(0);
};

}  // namespace tavix
