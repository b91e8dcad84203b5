#include "practice/PracticeMarket.h"

#include "market/CryptoPair.h"
#include "market/NewYorkCalendar.h"
#include "market/OptionSymbol.h"
#include "market/UpperVectorState.h"
#include "practice/PracticeOptions.h"
#include "practice/PricePath.h"
#include "practice/SymbolCatalog.h"

#include <QDate>

#include <algorithm>
#include <cmath>
#include <limits>
#include <mutex>
#include <unordered_map>

namespace tavix {
namespace {

constexpr double sampleStep = 300;        // a quote's high and low are sampled every five minutes
constexpr std::size_t cacheLimit = 4096;  // symbols remembered before the cache starts over
constexpr int strikesEachSide = 10;
constexpr int weeklyExpiries = 4;
constexpr long long maxDaysWalked = 40000;  // candles never look further back than this

enum class Kind { stock, crypto, option };

// What a text names, worked out once per text.
struct Named {
    Kind kind = Kind::stock;
    QString symbol;  // standard form: upper case, "BTC/USD", an unpadded OCC symbol
    std::uint64_t hash = 0;
    int volumeSeed = 0;
    PathSymbol path;  // for an option, its underlying's path
    std::optional<OptionSymbol> option;
    // For an option, what its model needs beside the underlying's price.
    Date expiresAt;
    double strike = 0;
    double volatility = 0;
};

// An OCC symbol ends in C or P and eight strike digits.
bool looksLikeOption(const QString& text) {
    if (text.size() < 16) return false;
    const QChar right = text[text.size() - 9].toUpper();
    if (right != u'C' && right != u'P') return false;
    return std::all_of(text.end() - 8, text.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
}

std::optional<Named> nameOf(const QString& text) {
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty()) return std::nullopt;
    Named n;
    if (CryptoPair::isPair(trimmed)) {
        n.kind = Kind::crypto;
        n.symbol = CryptoPair::normalized(trimmed);
        n.path = PathSymbol::of(n.symbol);
    } else if (looksLikeOption(trimmed)) {
        auto option = OptionSymbol::parse(trimmed);
        if (!option) return std::nullopt;
        n.kind = Kind::option;
        n.symbol = option->occ();
        n.path = PathSymbol::of(option->underlying);
        n.option = option;
        n.expiresAt = PracticeOptions::expiresAt(*option);
        n.strike = option->strike.toDouble();
        n.volatility = PracticeOptions::volatility(option->underlying);
    } else {
        n.kind = Kind::stock;
        n.symbol = trimmed.toUpper();
        n.path = PathSymbol::of(n.symbol);
    }
    n.hash = PricePath::fnv1a(n.symbol);
    n.volumeSeed = PricePath::volumeSeed(n.symbol);
    return n;
}

Date startOfNewYorkDay(long long day) {
    return NewYorkCalendar::startOfDay(QDate(1970, 1, 1).addDays(day));
}

// The calendar day an instant falls on: New York for stocks and options, UTC for coins.
long long calendarDay(Date at, bool crypto) {
    const double local = at.secondsSince1970() + (crypto ? 0 : NewYorkCalendar::utcOffsetSeconds(at));
    return static_cast<long long>(std::floor(local / PricePath::daySeconds));
}

Date startOfCalendarDay(long long day, bool crypto) {
    return crypto ? Date(static_cast<double>(day) * PricePath::daySeconds) : startOfNewYorkDay(day);
}

// The session in use for a symbol, with the sampled extremes of the session so far.
struct Slot {
    bool valid = false;
    TradingSession session;
    Date coverStart;  // the instants whose session this is: [coverStart, coverEnd)
    Date coverEnd;
    // Extremes of the samples at open + k × 5 minutes for k = 0 … size − 1.
    std::vector<double> highs;
    std::vector<double> lows;
    // The opening and previous closing prices, once worked out.
    std::optional<Decimal> open;
    std::optional<Decimal> previousClose;
    // The pinned underlying an option's prices above were worked out with.
    std::optional<Decimal> pinUsed;

    void use(const std::optional<Decimal>& underlyingPin) {
        if (pinUsed == underlyingPin) return;
        highs.clear();
        lows.clear();
        open.reset();
        previousClose.reset();
        pinUsed = underlyingPin;
    }
};

struct Entry {
    std::optional<Named> named;  // nothing for a text that names no instrument
    Slot slot;
};

// Which side of the day a random draw belongs to, for volumes.
std::uint64_t sessionSeed(const TradingSession& session, std::uint64_t hash) {
    return (static_cast<std::uint64_t>(session.day + 1000000) * PricePath::golden) ^ hash;
}

}  // namespace

class PracticeMarket::Cache {
public:
    std::mutex mutex;

    Entry& entry(const QString& text) {
        auto found = entries_.find(text);
        if (found != entries_.end()) return found->second;
        if (entries_.size() >= cacheLimit) entries_.clear();
        Entry& made = entries_[text];
        made.named = nameOf(text);
        return made;
    }

private:
    std::unordered_map<QString, Entry> entries_;
};

class PracticeMarket::Pricer {
public:
    Pricer(const std::map<QString, Decimal>& pins, PracticeMarket::Cache& cache)
        : pins_(pins), cache_(cache) {}

    const Named* named(const QString& text) {
        Entry& e = cache_.entry(text);
        return e.named ? &*e.named : nullptr;
    }

    std::optional<Decimal> pinOf(const QString& text, const Named& n) const {
        if (pins_.empty()) return std::nullopt;
        if (auto found = pins_.find(text); found != pins_.end()) return found->second;
        if (auto found = pins_.find(n.symbol); found != pins_.end()) return found->second;
        return std::nullopt;
    }

    std::optional<Decimal> underlyingPin(const Named& n) const {
        if (n.kind != Kind::option || pins_.empty()) return std::nullopt;
        if (auto found = pins_.find(n.path.symbol); found != pins_.end()) return found->second;
        return std::nullopt;
    }

    // The session in use at an instant, kept while instants stay inside it.
    Slot& slot(Entry& e, Date at) {
        Slot& s = e.slot;
        if (s.valid && at >= s.coverStart && at < s.coverEnd) return s;
        const PathSymbol& path = e.named->path;
        s = Slot{};
        s.session = path.session(at);
        if (path.crypto) {
            s.coverStart = s.session.open;
            s.coverEnd = s.session.close;
        } else {
            long long next = s.session.day + 1;
            while (!PricePath::isWeekday(next)) ++next;
            s.coverStart = startOfNewYorkDay(s.session.day);
            s.coverEnd = startOfNewYorkDay(next);
        }
        s.valid = true;
        return s;
    }

    // The price before its tick of what `n` names, given its underlying's price (for stocks and
    // coins, the price itself). At or after an option's expiry only its payoff is left.
    static double fromUnderlying(const Named& n, double underlying, Date at) {
        if (n.kind != Kind::option) return underlying;
        const OptionRight right = n.option->right;
        if (at < n.expiresAt && underlying > 0) {
            const double years = (n.expiresAt - at) / PracticeOptions::yearSeconds;
            return PracticeOptions::blackScholes(right, underlying, n.strike, n.volatility, years).price;
        }
        return std::max(right == OptionRight::call ? underlying - n.strike : n.strike - underlying, 0.0);
    }

    static double rawAt(const Named& n, const TradingSession& s, Date at, const std::optional<Decimal>& pin) {
        const double underlying = pin ? pin->toDouble() : n.path.rawPrice(s, at);
        return fromUnderlying(n, underlying, at);
    }

    // The previous session's closing price.
    static double rawPreviousClose(const Named& n, const TradingSession& s,
                                   const std::optional<Decimal>& pin) {
        const double underlying =
            pin ? pin->toDouble()
                : n.path.base * std::exp(s.previous) * PricePath::wiggle(s.previousClose, n.path.phase);
        return fromUnderlying(n, underlying, s.previousClose);
    }

    static Decimal tick(const Named& n, double raw) {
        return n.kind == Kind::option ? PracticeOptions::listedPrice(raw)
                                      : PricePath::tick(raw, n.path.crypto);
    }

    static bool expired(const Named& n, Date at) { return n.kind == Kind::option && at >= n.expiresAt; }

    std::optional<Decimal> price(const QString& text, Date at) {
        Entry& e = cache_.entry(text);
        if (!e.named) return std::nullopt;
        const Named& n = *e.named;
        if (auto pin = pinOf(text, n)) return pin;
        if (expired(n, at)) return std::nullopt;
        const Slot& s = slot(e, at);
        return tick(n, rawAt(n, s.session, at, underlyingPin(n)));
    }

    // The raw price of a stock or coin for a chain; nothing for other texts.
    std::optional<double> underlyingPrice(const QString& text, Date at) {
        Entry& e = cache_.entry(text);
        if (!e.named || e.named->kind != Kind::stock) return std::nullopt;
        if (auto pin = pinOf(text, *e.named)) return pin->toDouble();
        const Slot& s = slot(e, at);
        return e.named->path.rawPrice(s.session, at);
    }

    // A session's typical volume: shares for stocks, coins for coins, contracts for options.
    static double dayVolume(const Named& n, const TradingSession& s) {
        const double typical = n.volumeSeed + 20;
        const double perDay = n.kind == Kind::stock    ? typical * 100000
                              : n.kind == Kind::crypto ? typical * 1e6 / n.path.base
                                                       : typical * 10;
        return perDay * (0.6 + 0.8 * PricePath::uniform(sessionSeed(s, n.hash), 5));
    }

    static std::int64_t volume(double amount) {
        if (!(amount > 0)) return 0;
        return static_cast<std::int64_t>(
            std::min(std::llround(amount), std::numeric_limits<long long>::max()));
    }

    // Bid and ask a few hundredths of a percent either side of last, at least a tick each.
    static std::pair<std::optional<Decimal>, std::optional<Decimal>> spread(const Named& n, Decimal last,
                                                                            double raw) {
        if (n.kind == Kind::option) {
            auto [bid, ask] = PracticeOptions::spread(last);
            return {bid, ask};
        }
        const int places = PricePath::tickPlaces(raw, n.path.crypto);
        const double width = 0.0001 + 0.0003 * PricePath::uniform(n.hash, 9);
        const double ticks =
            std::max(1.0, std::ceil(std::fabs(raw) * width * PricePath::ticksPerUnit(places)));
        const Decimal half = Decimal::fromParts(static_cast<UInt128>(ticks), -places, false);
        const Decimal bid = last - half;
        return {bid.isPositive() ? std::optional<Decimal>(bid) : std::nullopt, last + half};
    }

    std::optional<Quote> quote(const QString& text, Date at, bool bidless) {
        Entry& e = cache_.entry(text);
        if (!e.named) return std::nullopt;
        const Named& n = *e.named;
        Quote q;
        q.symbol = n.symbol;
        q.asOf = at;
        if (auto pin = pinOf(text, n)) {
            q.last = *pin;
            q.open = q.high = q.low = q.previousClose = *pin;
            if (!bidless) std::tie(q.bid, q.ask) = spread(n, *pin, pin->toDouble());
            return q;
        }
        if (expired(n, at)) return std::nullopt;
        Slot& s = slot(e, at);
        const TradingSession& session = s.session;
        const auto underPin = underlyingPin(n);
        const double now = rawAt(n, session, at, underPin);
        q.last = tick(n, now);
        if (!bidless) std::tie(q.bid, q.ask) = spread(n, q.last, now);
        s.use(underPin);
        if (!s.open) s.open = tick(n, rawAt(n, session, session.open, underPin));
        if (!s.previousClose) s.previousClose = tick(n, rawPreviousClose(n, session, underPin));
        q.open = s.open;
        q.previousClose = s.previousClose;

        double high = now;
        double low = now;
        if (at >= session.open) {
            const Date until = std::min(at, session.close);
            const auto count = static_cast<std::size_t>(std::floor((until - session.open) / sampleStep)) + 1;
            while (s.highs.size() < count) {
                const Date sampleAt = session.open + sampleStep * static_cast<double>(s.highs.size());
                const double value = rawAt(n, session, sampleAt, underPin);
                s.highs.push_back(s.highs.empty() ? value : std::max(s.highs.back(), value));
                s.lows.push_back(s.lows.empty() ? value : std::min(s.lows.back(), value));
            }
            high = std::max(high, s.highs[count - 1]);
            low = std::min(low, s.lows[count - 1]);
        }
        q.high = tick(n, high);
        q.low = tick(n, low);
        q.volume = volume(dayVolume(n, session) * session.fraction(at));
        return q;
    }

    // One candle over [start, end]: the prices at both ends and `inside` samples between them.
    static Candle bar(const Named& n, const TradingSession& s, Date start, Date end, int inside,
                      const std::optional<Decimal>& pin, double volumeAmount) {
        const double first = rawAt(n, s, start, pin);
        const double last = rawAt(n, s, end, pin);
        double high = std::max(first, last);
        double low = std::min(first, last);
        for (int i = 1; i <= inside; ++i) {
            const double value = rawAt(n, s, start + (end - start) * i / (inside + 1), pin);
            high = std::max(high, value);
            low = std::min(low, value);
        }
        return Candle{start,        tick(n, first), tick(n, high),
                      tick(n, low), tick(n, last),  volume(volumeAmount)};
    }

    static Candle flat(Date time, Decimal pin) { return Candle{time, pin, pin, pin, pin, 0}; }

    // Intraday candles, newest first: bars start at each session's open and every interval after
    // it until the close (for coins, midnight UTC and on round the clock).
    std::vector<Candle> intraday(const Named& n, const std::optional<Decimal>& pin, double interval,
                                 DateRange range, Date now) {
        std::vector<Candle> newest;
        const Date latest = std::min(now, range.end);
        const bool crypto = n.path.crypto;
        const auto underPin = underlyingPin(n);
        const long long firstDay = PricePath::tradingDay(range.start, crypto);
        long long day = PricePath::tradingDay(latest, crypto);
        for (long long walked = 0; day >= firstDay && walked < maxDaysWalked; ++walked) {
            const TradingSession s = TradingSession::of(day, n.path.hash, crypto);
            day = PricePath::previousTradingDay(day, crypto);
            const double length = s.close - s.open;
            const double typical = dayVolume(n, s);
            Date stop = s.close;
            if (n.kind == Kind::option) stop = std::min(stop, n.expiresAt);
            const double bars = std::ceil((stop - s.open) / interval);
            for (double k = bars - 1; k >= 0; --k) {
                const Date start = s.open + k * interval;
                if (start >= stop || start > now || start >= range.end) continue;
                if (start < range.start) break;
                const Date end = std::min({start + interval, stop, now});
                if (pin) {
                    newest.push_back(flat(start, *pin));
                } else {
                    const std::uint64_t seed =
                        (static_cast<std::uint64_t>(std::llround(start.secondsSince1970())) *
                         PricePath::golden) ^
                        n.hash;
                    const double share = (end - start) / length * (0.5 + PricePath::uniform(seed, 1));
                    newest.push_back(bar(n, s, start, end, 4, underPin, typical * share));
                }
                if (newest.size() >= static_cast<std::size_t>(PracticeMarket::maxCandles)) return newest;
            }
        }
        return newest;
    }

    // Daily candles for the calendar days [fromDay, toDay), oldest first, each timed at the start
    // of its day and present once its session has opened; at most `limit`, the latest kept.
    std::vector<std::pair<long long, Candle>> daily(const Named& n, const std::optional<Decimal>& pin,
                                                    long long fromDay, long long toDay, Date now,
                                                    std::size_t limit) {
        std::vector<std::pair<long long, Candle>> bars;
        const bool crypto = n.path.crypto;
        const auto underPin = underlyingPin(n);
        for (long long day = toDay - 1; day >= fromDay && bars.size() < limit && toDay - day <= maxDaysWalked;
             --day) {
            if (!crypto && !PricePath::isWeekday(day)) continue;
            const TradingSession s = TradingSession::of(day, n.path.hash, crypto);
            if (s.open > now) continue;
            Date end = std::min(s.close, now);
            if (n.kind == Kind::option) {
                if (s.open >= n.expiresAt) continue;
                end = std::min(end, n.expiresAt);
            }
            const Date time = startOfCalendarDay(day, crypto);
            bars.emplace_back(day,
                              pin ? flat(time, *pin)
                                  : bar(n, s, s.open, end, 12, underPin, dayVolume(n, s) * s.fraction(end)));
            bars.back().second.time = time;
        }
        std::reverse(bars.begin(), bars.end());
        return bars;
    }

    std::vector<Candle> candles(const QString& text, CandleInterval interval, DateRange range, Date now) {
        Entry& e = cache_.entry(text);
        if (!e.named || !(range.start < range.end)) return {};
        const Named& n = *e.named;
        const auto pin = pinOf(text, n);
        const bool crypto = n.path.crypto;
        if (interval != CandleInterval::daily && interval != CandleInterval::weekly &&
            interval != CandleInterval::monthly) {
            auto newest = intraday(n, pin, static_cast<double>(seconds(interval)), range, now);
            std::reverse(newest.begin(), newest.end());
            return newest;
        }

        // Days whose start lies in the range.
        long long fromDay = calendarDay(range.start, crypto);
        if (startOfCalendarDay(fromDay, crypto) < range.start) ++fromDay;
        const long long toDay = calendarDay(range.end - 0.001, crypto) + 1;
        const auto limit = static_cast<std::size_t>(PracticeMarket::maxCandles);
        if (interval == CandleInterval::daily) {
            std::vector<Candle> out;
            for (auto& [day, candle] : daily(n, pin, fromDay, toDay, now, limit)) out.push_back(candle);
            return out;
        }

        // Weeks start on Monday and months on their first day; a group is listed when its first
        // day lies in the range, and gathers the daily candles of all its days.
        const bool weekly = interval == CandleInterval::weekly;
        const QDate epoch(1970, 1, 1);
        const auto groupOf = [&](long long day) -> long long {
            if (weekly) return day - (((day + 4) % 7 + 7) % 7 + 6) % 7;
            const QDate date = epoch.addDays(day);
            return epoch.daysTo(QDate(date.year(), date.month(), 1));
        };
        const auto nextGroup = [&](long long group) -> long long {
            return weekly ? group + 7 : epoch.daysTo(epoch.addDays(group).addMonths(1));
        };
        long long firstGroup = groupOf(fromDay);
        if (firstGroup < fromDay) firstGroup = nextGroup(firstGroup);
        const long long lastGroupEnd = nextGroup(groupOf(toDay - 1));
        if (firstGroup >= lastGroupEnd) return {};
        const auto days = daily(n, pin, firstGroup, lastGroupEnd, now, limit);
        // When the walk was cut short, the oldest group may be missing days: leave it out.
        const bool clipped = !days.empty() && days.size() >= limit;
        std::vector<Candle> out;
        long long current = std::numeric_limits<long long>::min();
        for (const auto& [day, candle] : days) {
            const long long group = groupOf(day);
            if (group != current) {
                current = group;
                Candle c = candle;
                c.time = startOfCalendarDay(group, crypto);
                out.push_back(c);
                continue;
            }
            Candle& c = out.back();
            c.high = max(c.high, candle.high);
            c.low = min(c.low, candle.low);
            c.close = candle.close;
            c.volume += candle.volume;
        }
        if (clipped && !out.empty()) out.erase(out.begin());
        return out;
    }

    std::vector<OptionContract> optionChain(const QString& underlying, std::optional<Date> expiry, Date now) {
        const Named* n = named(underlying);
        if (!n || n->kind != Kind::stock) return {};
        const auto price = underlyingPrice(underlying, now);
        if (!price) return {};
        std::vector<Date> expiries;
        if (expiry) {
            const QDate day = NewYorkCalendar::dateOf(*expiry);
            const auto start = OptionSymbol::expiryDate(day.year(), day.month(), day.day());
            if (start) expiries.push_back(*start);
        } else {
            expiries = PracticeOptions::weeklyExpiries(now, weeklyExpiries);
        }
        const auto priceDecimal = Decimal::fromDouble(*price);
        if (!priceDecimal) return {};
        const std::vector<Decimal> strikes = PracticeOptions::strikes(*priceDecimal, strikesEachSide);
        std::vector<OptionContract> chain;
        chain.reserve(expiries.size() * strikes.size() * 2);
        for (Date day : expiries) {
            for (const Decimal& strike : strikes) {
                for (OptionRight right : {OptionRight::call, OptionRight::put}) {
                    const OptionSymbol option{n->symbol, day, right, strike};
                    auto row = PracticeOptions::contract(option, *price, now);
                    if (!row) continue;
                    // A pinned contract shows its pinned price, as its quote does.
                    if (auto found = pins_.find(row->id); found != pins_.end()) {
                        row->last = found->second;
                        std::tie(row->bid, row->ask) = PracticeOptions::spread(found->second);
                    }
                    chain.push_back(std::move(*row));
                }
            }
        }
        return chain;
    }

private:
    const std::map<QString, Decimal>& pins_;
    PracticeMarket::Cache& cache_;
};

PracticeMarket::PracticeMarket() : cache_(std::make_unique<Cache>()) {}
PracticeMarket::~PracticeMarket() = default;
PracticeMarket::PracticeMarket(const PracticeMarket& other)
    : pinned_(other.pinned_), cache_(std::make_unique<Cache>()) {}
PracticeMarket& PracticeMarket::operator=(const PracticeMarket& other) {
    if (this != &other) {
        pinned_ = other.pinned_;
        cache_ = std::make_unique<Cache>();
    }
    return *this;
}

std::optional<Decimal> PracticeMarket::price(const QString& symbol, Date at) const {
    std::lock_guard lock(cache_->mutex);
    clearUpperVectorState();
    return Pricer(pinned_, *cache_).price(symbol, at);
}

std::optional<Quote> PracticeMarket::quote(const QString& symbol, Date at, bool bidless) const {
    std::lock_guard lock(cache_->mutex);
    clearUpperVectorState();
    return Pricer(pinned_, *cache_).quote(symbol, at, bidless);
}

std::vector<Candle> PracticeMarket::candles(const QString& symbol, CandleInterval interval, DateRange range,
                                            Date now) const {
    std::lock_guard lock(cache_->mutex);
    clearUpperVectorState();
    return Pricer(pinned_, *cache_).candles(symbol, interval, range, now);
}

std::vector<OptionContract> PracticeMarket::optionChain(const QString& underlying, std::optional<Date> expiry,
                                                        Date now) const {
    std::lock_guard lock(cache_->mutex);
    clearUpperVectorState();
    return Pricer(pinned_, *cache_).optionChain(underlying, expiry, now);
}

std::vector<SymbolMatch> PracticeMarket::search(const QString& text) const {
    return SymbolCatalog::search(text);
}

QString PracticeMarket::optionPriceNote() {
    return QStringLiteral("Practice option prices are worked out by Tavix from its simulated stock price.");
}

}  // namespace tavix
