#include "core/AppModel.h"

#include "core/ModelLog.h"
#include "market/CryptoPair.h"
#include "market/OptionSymbol.h"
#include "market/SymbolShape.h"
#include "market/WatchlistSync.h"

#include <QPointer>
#include <QSet>

#include <algorithm>
#include <exception>
#include <utility>

namespace tavix {

namespace {

QString canonical(const QString& text) {
    const QString trimmed = text.trimmed().toUpper();
    if (trimmed.isEmpty()) return trimmed;
    if (CryptoPair::isPair(trimmed)) return CryptoPair::normalized(trimmed);
    if (auto option = OptionSymbol::parse(trimmed)) return option->occ();
    return trimmed;
}

// What the broker said about a symbol the user wants to add.
struct SymbolCheck {
    bool known = false;
    std::optional<Quote> quote;  // when a quote read is what showed it known
    std::optional<QString> error;
};

// Known when the search lists it exactly, or a quote read prices it. A failure is reported only
// when neither showed the symbol known, so a search that fails does not block a priced symbol.
QCoro::Task<SymbolCheck> checkSymbol(Broker* broker, QString symbol) {
    SymbolCheck result;
    try {
        const std::vector<SymbolMatch> matches = co_await broker->searchSymbols(symbol);
        const bool exact = std::any_of(matches.begin(), matches.end(), [&symbol](const SymbolMatch& match) {
            return canonical(match.symbol) == symbol;
        });
        if (exact) {
            result.known = true;
            co_return result;
        }
    } catch (const BrokerError& error) {
        result.error = error.description();
    }
    try {
        const QStringList asked(symbol);
        const std::map<QString, Quote> read = co_await broker->quotes(asked);
        for (const auto& [quoted, quote] : read) {
            if (canonical(quoted) != symbol) continue;
            result.known = true;
            result.quote = quote;
            result.error.reset();
            break;
        }
    } catch (const BrokerError& error) {
        if (!result.error) result.error = error.description();
    }
    co_return result;
}

QString emptySentence() {
    return QStringLiteral("Type a symbol to add it to your watchlist.");
}

QString alreadyListedSentence(const QString& symbol) {
    return symbol + QStringLiteral(" is already on your watchlist.");
}

QString unknownSentence(const QString& symbol, const QString& brokerName) {
    return brokerName + QStringLiteral(" doesn't know ") + symbol +
           QStringLiteral(". Check the spelling and try again.");
}

QString noBrokerSentence(const QString& symbol) {
    return QStringLiteral("Tavix isn't connected to a broker yet, so it can't check ") + symbol +
           QStringLiteral(". Try again in a moment.");
}

// What both sides hold after a sync: the next merge counts from it. A symbol the broker quietly
// left out stays a local addition, and one the broker gained meanwhile stays a broker addition,
// so neither is taken for a removal.
QStringList agreedBase(const QStringList& target, const QStringList& broker) {
    const QSet<QString> held(broker.begin(), broker.end());
    QStringList agreed;
    for (const auto& symbol : target) {
        if (held.contains(symbol)) agreed << symbol;
    }
    return agreed;
}

}  // namespace

QString AppModel::canonicalSymbol(const QString& text) {
    return canonical(text);
}

void AppModel::complain(const QString& sentence) {
    write(watchlistError_, std::optional<QString>(sentence), Field::watchlistError);
}

void AppModel::saveWatchlist(QStringList symbols) {
    if (symbols == watchlist_) return;
    Session::setWatchlist(symbols);
    write(watchlist_, std::move(symbols), Field::watchlist);
}

void AppModel::setWatchlistDraft(QString draft) {
    if (draft == watchlistDraft_) return;
    const bool blank = draft.trimmed().isEmpty();
    write(watchlistDraft_, std::move(draft), Field::watchlistDraft);
    // The complaint was about what the box held before.
    write(watchlistError_, std::optional<QString>(), Field::watchlistError);
    if (blank) write(symbolMatches_, std::vector<SymbolMatch>(), Field::symbolMatches);
}

QCoro::Task<void> AppModel::lookUp() {
    QPointer<AppModel> self(this);
    const std::uint64_t ticket = ++lookUpTicket_;
    const QString text = watchlistDraft_.trimmed();
    std::shared_ptr<Broker> broker = broker_;
    if (text.isEmpty() || !broker) {
        write(symbolMatches_, std::vector<SymbolMatch>(), Field::symbolMatches);
        write(searching_, false, Field::searching);
        co_return;
    }
    const std::uint64_t generation = accountGeneration_;
    write(searching_, true, Field::searching);

    std::vector<SymbolMatch> matches;
    std::optional<QString> error;
    try {
        matches = co_await broker->searchSymbols(text);
    } catch (const BrokerError& failure) {
        error = failure.description();
    }
    // A newer look-up owns the flag and the list.
    if (!self || ticket != lookUpTicket_) co_return;
    write(searching_, false, Field::searching);
    if (generation != accountGeneration_ || text != watchlistDraft_.trimmed()) co_return;
    if (error) {
        complain(*error);
        co_return;
    }
    write(symbolMatches_, std::move(matches), Field::symbolMatches);
}

QCoro::Task<void> AppModel::addToWatchlist(QString symbol) {
    QPointer<AppModel> self(this);
    const QString wanted = canonicalSymbol(symbol.trimmed().isEmpty() ? watchlistDraft_ : symbol);
    if (wanted.isEmpty()) {
        complain(emptySentence());
        co_return;
    }
    // The shape first, on every broker: a ticker, a coin pair or an option symbol.
    if (!SymbolShape::isSymbol(wanted)) {
        complain(SymbolShape::refusal(symbol.trimmed().isEmpty() ? watchlistDraft_ : symbol));
        co_return;
    }
    if (watchlist_.contains(wanted)) {
        complain(alreadyListedSentence(wanted));
        co_return;
    }
    std::shared_ptr<Broker> broker = broker_;
    if (!broker) {
        complain(noBrokerSentence(wanted));
        co_return;
    }
    const std::uint64_t generation = accountGeneration_;
    const QString brokerName = broker->displayName();

    SymbolCheck checked = co_await checkSymbol(broker.get(), wanted);
    // Checked against a broker that is no longer in use: the answer means nothing now.
    if (!self || generation != accountGeneration_) co_return;
    if (!checked.known) {
        complain(checked.error ? *checked.error : unknownSentence(wanted, brokerName));
        co_return;
    }
    // Another add may have landed the same symbol meanwhile.
    if (watchlist_.contains(wanted)) {
        complain(alreadyListedSentence(wanted));
        co_return;
    }

    QStringList symbols = watchlist_;
    symbols << wanted;
    saveWatchlist(std::move(symbols));
    write(watchlistDraft_, QString(), Field::watchlistDraft);
    write(symbolMatches_, std::vector<SymbolMatch>(), Field::symbolMatches);
    write(watchlistError_, std::optional<QString>(), Field::watchlistError);
    // What was just added is what the user wants to look at.
    switchTo(wanted);

    // Its row shows a price at once rather than at the next quote round.
    if (checked.quote) {
        std::map<QString, Quote> read;
        read.emplace(wanted, *checked.quote);
        take(read);
    } else {
        try {
            const QStringList asked(wanted);
            const std::map<QString, Quote> read = co_await broker->quotes(asked);
            if (!self || generation != accountGeneration_) co_return;
            take(read);
        } catch (const BrokerError& error) {
            // The quote loop tries again on its next round.
            logModelInfo(QStringLiteral("first quote of ") + wanted + QStringLiteral(" failed: ") +
                         error.description());
            if (!self || generation != accountGeneration_) co_return;
        }
    }
    co_await syncWatchlist();
}

void AppModel::removeFromWatchlist(const QString& symbol) {
    const QString gone = canonicalSymbol(symbol);
    const qsizetype row = watchlist_.indexOf(gone);
    if (row < 0) return;
    QStringList symbols = watchlist_;
    symbols.removeAt(row);
    // The chart moves to the row that takes the removed one's place (or the one above it at the
    // end), so it never shows a symbol that has left the list.
    const QString neighbour = symbols.isEmpty() ? QString() : symbols.value(std::min(row, symbols.size() - 1));
    saveWatchlist(std::move(symbols));
    if (gone == selectedSymbol_) {
        if (neighbour.isEmpty()) {
            clearSelection();
        } else {
            switchTo(neighbour);
        }
    }
    forgetQuoteUnlessQuoted(gone);
    startWatchlistSync();
}

void AppModel::moveInWatchlist(const QString& symbol, int toIndex) {
    const qsizetype from = watchlist_.indexOf(canonicalSymbol(symbol));
    if (from < 0) return;
    // The index the symbol ends up at; past either end means the end.
    const qsizetype to = std::clamp<qsizetype>(toIndex, 0, watchlist_.size() - 1);
    if (from == to) return;
    QStringList symbols = watchlist_;
    symbols.move(from, to);
    saveWatchlist(std::move(symbols));
    startWatchlistSync();
}

void AppModel::setWatchlistSort(WatchlistSort sort, bool reversed) {
    if (sort == watchlistSort_ && reversed == sortReversed_) return;
    Session::setSort(sort, mode_);
    Session::setSortReversed(reversed, mode_);
    watchlistSort_ = sort;
    sortReversed_ = reversed;
    Q_EMIT changed(Field::watchlistSort);
}

void AppModel::forgetQuoteUnlessQuoted(const QString& symbol) {
    if (quotedSymbols().contains(symbol)) return;
    if (quotes_.erase(symbol) > 0) Q_EMIT changed(Field::quotes);
}

void AppModel::startWatchlistSync() {
    // The task runs on by itself; the model is guarded inside it.
    QCoro::Task<void> running = syncWatchlist();
}

QCoro::Task<void> AppModel::syncWatchlist() {
    if (watchlistSyncing_) {
        watchlistSyncAgain_ = true;
        co_return;
    }
    QPointer<AppModel> self(this);
    watchlistSyncing_ = true;
    do {
        watchlistSyncAgain_ = false;
        co_await syncWatchlistOnce();
        if (!self) co_return;
    } while (watchlistSyncAgain_);
    watchlistSyncing_ = false;
}

QCoro::Task<void> AppModel::syncWatchlistOnce() {
    QPointer<AppModel> self(this);
    std::shared_ptr<Broker> broker = broker_;
    // The agreed list is kept per account, so there is nothing to count from without one.
    if (!broker || !account_) co_return;
    const std::uint64_t generation = accountGeneration_;
    const QString accountID = account_->id;

    std::optional<QString> problem;
    try {
        const std::optional<RemoteWatchlist> remote = co_await broker->ownWatchlist();
        if (!self || generation != accountGeneration_) co_return;
        if (!remote) co_return;  // the broker keeps no list of its own

        // Planned on the list as it is now, after the wait.
        const WatchlistSync::Plan plan =
            WatchlistSync::plan(watchlist_, remote->symbols, Session::watchlistBase(accountID));
        saveWatchlist(plan.target);
        QStringList held = remote->symbols;
        if (!plan.addRemote.isEmpty() || !plan.removeRemote.isEmpty()) {
            const RemoteWatchlist updated = co_await broker->replaceOwnWatchlist(plan.target, *remote);
            if (!self || generation != accountGeneration_) co_return;
            held = updated.symbols;
        }
        Session::setWatchlistBase(agreedBase(plan.target, held), accountID);
    } catch (const BrokerError& error) {
        problem = error.description();
    } catch (const std::exception& error) {
        // Brokers fail only with BrokerError; anything else is a fault, but syncing must go on.
        problem = QStringLiteral("Tavix couldn't sync your watchlist: ") + QString::fromUtf8(error.what());
    }
    if (!self || generation != accountGeneration_) co_return;

    if (!problem) {
        if (watchlistRefused_ && watchlistError_ == watchlistRefused_) {
            write(watchlistError_, std::optional<QString>(), Field::watchlistError);
        }
        watchlistRefused_.reset();
        co_return;
    }
    logModelWarning(QStringLiteral("watchlist sync failed: ") + *problem);
    // Told once; a sync that fails the same way again stays quiet.
    if (problem != watchlistRefused_) complain(*problem);
    watchlistRefused_ = problem;
}

QStringList AppModel::quotedSymbols() const {
    QStringList symbols;
    QSet<QString> seen;
    auto add = [&](const QString& symbol) {
        if (symbol.isEmpty() || seen.contains(symbol)) return;
        seen.insert(symbol);
        symbols << symbol;
    };
    for (const auto& symbol : watchlist_) add(symbol);
    for (const auto& position : positions_) add(position.symbol);
    add(selectedSymbol_);
    return symbols;
}

}  // namespace tavix
