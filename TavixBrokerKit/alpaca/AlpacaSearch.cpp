// Symbol search over Alpaca's asset list (read once, shared by searches that start together) and
// the order steps of coin pairs.
#include "alpaca/AlpacaBroker.h"

#include "alpaca/AlpacaMapping.h"
#include "market/CryptoPair.h"

#include <algorithm>
#include <coroutine>
#include <exception>
#include <utility>

namespace tavix {

namespace {

// Rows a search answers with: a screenful; the rest of a broad match is noise.
constexpr std::size_t searchCap = 25;
// The asset list changes slowly; a session left running reads it again after a day.
constexpr double listedSeconds = 86400.0;

}  // namespace

// One read of the asset list. Searches that arrive while it runs wait on it and share its
// result or its failure.
struct AlpacaBroker::Listing {
    bool done = false;
    std::vector<SymbolMatch> matches;
    std::exception_ptr error;
    std::vector<std::coroutine_handle<>> waiters;

    // Holds a plain pointer: the waiter's own shared_ptr keeps the listing alive, and GCC 12
    // miscounts owning temporaries inside co_await expressions.
    struct Done {
        Listing* listing;
        bool await_ready() const noexcept { return listing->done; }
        void await_suspend(std::coroutine_handle<> waiter) { listing->waiters.push_back(waiter); }
        void await_resume() const noexcept {}
    };

    void finish() {
        done = true;
        auto waiting = std::exchange(waiters, {});
        for (auto waiter : waiting) waiter.resume();
    }
};

QCoro::Task<std::vector<SymbolMatch>> AlpacaBroker::listed() {
    const Date now = currentTime();
    if (listed_ && listedAt_ && now - *listedAt_ < listedSeconds)
        co_return std::vector<SymbolMatch>(*listed_);

    if (listing_) {
        // A read is under way: wait for it rather than asking again.
        const std::shared_ptr<Listing> running = listing_;
        co_await Listing::Done{running.get()};
        if (running->error) std::rethrow_exception(running->error);
        co_return std::vector<SymbolMatch>(running->matches);
    }

    const auto running = std::make_shared<Listing>();
    listing_ = running;
    try {
        const AlpacaQuery query = {{QStringLiteral("status"), QStringLiteral("active")}};
        const QByteArray body =
            co_await transport_.get(AlpacaHost::trading, QStringLiteral("/v2/assets"), query);
        const auto assets = AlpacaDTO::decode<std::vector<AlpacaDTO::Asset>>(body, "Array<Asset>");
        for (const AlpacaDTO::Asset& asset : assets) {
            if (auto match = AlpacaMapping::symbolMatch(asset)) running->matches.push_back(std::move(*match));
        }
    } catch (...) {
        running->error = std::current_exception();
    }
    if (listing_ == running) listing_.reset();
    if (!running->error) {
        listed_ = running->matches;
        listedAt_ = currentTime();
    }
    // Waiters resume before this returns; each holds the listing, not this broker's state.
    running->finish();
    if (running->error) std::rethrow_exception(running->error);
    co_return std::vector<SymbolMatch>(running->matches);
}

QCoro::Task<std::vector<SymbolMatch>> AlpacaBroker::searchSymbols(QString text) {
    const QString typed = text.simplified();
    if (typed.isEmpty()) co_return {};
    const std::vector<SymbolMatch> index = co_await listed();

    const QString upper = typed.toUpper();
    const QStringList words = typed.split(u' ', Qt::SkipEmptyParts);
    // Every typed word starts a word of the name ("apple", "berk hath").
    const auto nameMatches = [&](const SymbolMatch& match) {
        const QStringList nameWords = match.name.split(u' ', Qt::SkipEmptyParts);
        return std::all_of(words.begin(), words.end(), [&](const QString& word) {
            return std::any_of(nameWords.begin(), nameWords.end(),
                               [&](const QString& n) { return n.startsWith(word, Qt::CaseInsensitive); });
        });
    };
    struct Hit {
        int rank;  // 0 the symbol itself, 1 a symbol that starts so, 2 a name that matches
        const SymbolMatch* match;
    };
    std::vector<Hit> hits;
    for (const SymbolMatch& match : index) {
        const QString symbol = match.symbol.toUpper();
        // Coins may be typed without their quote currency or slash ("btc", "btcusd").
        const QString bare = QString(symbol).remove(u'/');
        if (symbol == upper || bare == upper) {
            hits.push_back({0, &match});
        } else if (symbol.startsWith(upper) || bare.startsWith(upper)) {
            hits.push_back({1, &match});
        } else if (nameMatches(match)) {
            hits.push_back({2, &match});
        }
    }
    std::stable_sort(hits.begin(), hits.end(), [](const Hit& a, const Hit& b) {
        if (a.rank == 0 || b.rank == 0) return a.rank < b.rank;
        if (a.match->major != b.match->major) return a.match->major;
        if (a.rank != b.rank) return a.rank < b.rank;
        if (a.match->symbol.size() != b.match->symbol.size())
            return a.match->symbol.size() < b.match->symbol.size();
        return a.match->symbol < b.match->symbol;
    });
    std::vector<SymbolMatch> result;
    for (const Hit& hit : hits) {
        if (result.size() == searchCap) break;
        result.push_back(*hit.match);
    }
    co_return result;
}

QCoro::Task<std::optional<CoinRules>> AlpacaBroker::coinRules(QString symbol) {
    const auto pair = CryptoPair::pair(symbol);
    if (!pair || !CryptoPair::isPair(symbol)) co_return std::nullopt;
    const QString name = pair->symbol();
    if (const auto held = coinRulesRead_.find(name); held != coinRulesRead_.end())
        co_return CoinRules(held->second);

    // The slash-less form keeps the pair one path segment.
    const QByteArray body = co_await transport_.get(AlpacaHost::trading,
                                                    QStringLiteral("/v2/assets/") + pair->base + pair->quote);
    const auto asset = AlpacaDTO::decode<AlpacaDTO::Asset>(body, "Asset");
    std::optional<CoinRules> rules = AlpacaMapping::coinRules(asset);
    if (!rules) {
        // The asset gives no steps: guess them from where the coin trades.
        QStringList asked;  // named: GCC 12 cannot take a braced list inside a co_await expression
        asked.append(name);
        const auto quoted = co_await quotes(asked);
        const auto found = quoted.find(name);
        if (found == quoted.end()) co_return std::nullopt;
        rules = CoinRules::guess(found->second.last);
    }
    coinRulesRead_[name] = *rules;
    co_return rules;
}

}  // namespace tavix
