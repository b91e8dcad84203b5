#include "practice/PricePath.h"

#include "market/CryptoPair.h"
#include "market/NewYorkCalendar.h"
#include "practice/CoinTable.h"

#include <QByteArray>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace tavix {
namespace {

constexpr std::uint64_t fnvOffset = 0xcbf29ce484222325ULL;
constexpr std::uint64_t fnvPrime = 0x100000001b3ULL;

// Day numbers may be negative; the random stream takes them modulo 2^64.
std::uint64_t bits(long long value) {
    return static_cast<std::uint64_t>(value);
}

long long floorDiv(double seconds, double unit) {
    return static_cast<long long>(std::floor(seconds / unit));
}

// Folds the Unicode scalar values of a text.
template <class Step>
std::uint64_t foldScalars(const QString& text, Step step) {
    std::uint64_t a = 0;
    for (char32_t s : text.toUcs4()) a = step(a, static_cast<std::uint64_t>(s));
    return a;
}

// The stock base level for a symbol (100.0 to 999.9) as an exact decimal.
Decimal foldedSeed(const QString& symbol) {
    const std::uint64_t a =
        foldScalars(symbol, [](std::uint64_t acc, std::uint64_t s) { return (acc * 31 + s) % 9000; });
    return Decimal(static_cast<unsigned long long>(a + 1000)) / Decimal(10);
}

}  // namespace

std::uint64_t PricePath::fnv1a(std::string_view bytes) {
    std::uint64_t h = fnvOffset;
    for (char c : bytes) {
        h ^= static_cast<std::uint64_t>(static_cast<unsigned char>(c));
        h *= fnvPrime;
    }
    return h;
}

std::uint64_t PricePath::fnv1a(QStringView text) {
    const QByteArray utf8 = text.toUtf8();
    return fnv1a(std::string_view(utf8.constData(), static_cast<std::size_t>(utf8.size())));
}

double PricePath::uniform(std::uint64_t x, std::uint64_t k) {
    std::uint64_t z = x + k * golden;
    z ^= z >> 30;
    z *= 0xbf58476d1ce4e5b9ULL;
    z ^= z >> 27;
    z *= 0x94d049bb133111ebULL;
    z ^= z >> 31;
    return static_cast<double>(z >> 11) * 0x1.0p-53;
}

bool PricePath::isWeekday(long long day) {
    const long long weekday = ((day + 4) % 7 + 7) % 7;  // 0 = Sunday
    return weekday >= 1 && weekday <= 5;
}

long long PricePath::previousTradingDay(long long day, bool crypto) {
    long long d = day - 1;
    if (!crypto) {
        while (!isWeekday(d)) --d;
    }
    return d;
}

long long PricePath::tradingDay(Date containing, bool crypto) {
    const double t = containing.secondsSince1970();
    if (crypto) return floorDiv(t, daySeconds);
    long long day = floorDiv(t + NewYorkCalendar::utcOffsetSeconds(containing), daySeconds);
    while (!isWeekday(day)) --day;
    return day;
}

double PricePath::closingLevel(std::uint64_t hash, long long day, bool crypto) {
    double level = 0;
    double weight = 1;
    long long d = day;
    for (int i = 0; i < 32; ++i) {
        const std::uint64_t x = (bits(d) * golden) ^ hash;
        const double size = uniform(x, 2) < 0.08 ? 1.8 + 1.2 * uniform(x, 3) : 1.0;
        const double move = (2 * uniform(x, 1) - 1) * 0.03 * size;
        level += weight * move;
        weight *= 0.8;
        d = previousTradingDay(d, crypto);
    }
    return level;
}

Decimal PricePath::seedPrice(const QString& symbol) {
    if (auto pair = CryptoPair::pair(symbol); pair && CryptoPair::isPair(symbol)) {
        if (auto level = CoinTable::level(pair->base)) {
            // A coin quoted in another coin is worth the ratio of their dollar levels.
            if (auto quoteLevel = CoinTable::level(pair->quote);
                quoteLevel && !CoinTable::isDollar(pair->quote)) {
                return *level / *quoteLevel;
            }
            return *level;
        }
    }
    return foldedSeed(symbol);
}

double PricePath::phase(const QString& symbol) {
    const std::uint64_t sum = foldScalars(symbol, [](std::uint64_t acc, std::uint64_t s) { return acc + s; });
    return static_cast<double>(sum % 360);
}

int PricePath::volumeSeed(const QString& symbol) {
    return static_cast<int>(
        foldScalars(symbol, [](std::uint64_t acc, std::uint64_t s) { return (acc * 17 + s) % 880; }));
}

double PricePath::wiggle(Date at, double phase) {
    const double t = at.secondsSince1970();
    return 1 + 0.003 * (0.6 * std::sin(t / 11 + phase) + 0.4 * std::sin(t / 3.1 + phase));
}

int PricePath::tickPlaces(double price, bool crypto) {
    const double size = std::fabs(price);
    if (!crypto || size >= 1 || size == 0) return 2;
    return size < 0.01 ? 8 : 4;
}

double PricePath::ticksPerUnit(int places) {
    static constexpr double powers[] = {1, 10, 100, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8};
    return powers[std::clamp(places, 0, 8)];
}

Decimal PricePath::tick(double price, bool crypto) {
    const int places = tickPlaces(price, crypto);
    // Fast path: scaled to whole ticks, a value clearly away from a half tick rounds the same way
    // as its shortest text does (the scaling error is many orders below the margin). Near a half
    // tick, the text decides.
    const double scaled = std::fabs(price) * ticksPerUnit(places);
    if (scaled < 1e9) {
        const double whole = std::floor(scaled);
        const double rest = scaled - whole;
        if (std::fabs(rest - 0.5) > 1e-6) {
            const auto ticks = static_cast<UInt128>(rest > 0.5 ? whole + 1 : whole);
            return Decimal::fromParts(ticks, -places, price < 0);
        }
    }
    // The path is bounded and finite; a non-finite value could only come from a broken caller.
    const auto exact = Decimal::fromDouble(price);
    if (!exact) return Decimal();
    return exact->rounded(places, Decimal::Rounding::plain);
}

Decimal PricePath::stockPrice(const QString& symbol, Date at) {
    const PathSymbol path = PathSymbol::of(symbol);
    return path.price(path.session(at), at);
}

TradingSession TradingSession::of(long long day, std::uint64_t hash, bool crypto) {
    TradingSession s;
    s.day = day;
    s.crypto = crypto;
    s.previousDay = PricePath::previousTradingDay(day, crypto);
    if (crypto) {
        s.open = Date(static_cast<double>(day) * PricePath::daySeconds);
        s.close = s.open + PricePath::daySeconds;
        s.previousClose = s.open;
    } else {
        // New York's offset at 17:00 UTC, when New York is well inside the day on either side of a
        // daylight-saving change.
        const auto closeOf = [](long long d, double secondsIntoDay) {
            const double midnight = static_cast<double>(d) * PricePath::daySeconds;
            const int z = NewYorkCalendar::utcOffsetSeconds(Date(midnight + 61200));
            return Date(midnight + secondsIntoDay - z);
        };
        s.open = closeOf(day, 34200);
        s.close = closeOf(day, 57600);
        s.previousClose = closeOf(s.previousDay, 57600);
    }
    s.previous = PricePath::closingLevel(hash, s.previousDay, crypto);
    s.ending = PricePath::closingLevel(hash, day, crypto);
    const std::uint64_t x = (bits(day + 1000000) * PricePath::golden) ^ hash;
    s.gap =
        (s.ending - s.previous) * PricePath::uniform(x, 1) * 0.4 + (PricePath::uniform(x, 2) - 0.5) * 0.004;
    s.swing = (std::fabs(s.ending - s.previous) * 0.15 + 0.003) * (2 * PricePath::uniform(x, 3) - 1);
    s.swings = 2 * PricePath::uniform(x, 4) + 1;
    return s;
}

TradingSession TradingSession::containing(Date at, std::uint64_t hash, bool crypto) {
    return of(PricePath::tradingDay(at, crypto), hash, crypto);
}

double TradingSession::fraction(Date at) const {
    return std::clamp((at - open) / (close - open), 0.0, 1.0);
}

double TradingSession::level(Date at) const {
    const double f = fraction(at);
    // Exactly the closing level once closed, so the next session's previous close matches it.
    if (f >= 1) return ending;
    const double b = 1 - f;
    return previous + gap + (1 - b * b * b) * (ending - previous - gap) +
           4 * f * b * swing * std::sin(f * swings * std::numbers::pi);
}

PathSymbol PathSymbol::of(const QString& symbol) {
    PathSymbol p;
    p.symbol = symbol;
    p.hash = PricePath::fnv1a(symbol);
    p.base = PricePath::seedPrice(symbol).toDouble();
    p.phase = PricePath::phase(symbol);
    p.crypto = CryptoPair::isPair(symbol);
    p.volumeSeed = PricePath::volumeSeed(symbol);
    return p;
}

double PathSymbol::rawPrice(const TradingSession& session, Date at) const {
    return base * std::exp(session.level(at)) * PricePath::wiggle(at, phase);
}

Decimal PathSymbol::price(const TradingSession& session, Date at) const {
    return PricePath::tick(rawPrice(session, at), crypto);
}

}  // namespace tavix
