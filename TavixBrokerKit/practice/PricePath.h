#pragma once

#include "market/Date.h"
#include "market/Decimal.h"

#include <QString>
#include <QStringView>

#include <cstdint>
#include <string_view>

namespace tavix {

// The practice market's price path: every step is a pure function of the symbol and the instant,
// so the same symbol at the same instant gives the same price on every run and every machine.
// Unsigned arithmetic is modulo 2^64 on purpose (hashing and the random stream rely on it).
class PricePath {
public:
    static constexpr std::uint64_t golden = 0x9e3779b97f4a7c15ULL;
    static constexpr double daySeconds = 86400.0;

    // 64-bit FNV-1a of the text's UTF-8 bytes.
    static std::uint64_t fnv1a(std::string_view bytes);
    static std::uint64_t fnv1a(QStringView text);

    // SplitMix64 output of x + k × golden, its top 53 bits scaled into [0, 1).
    static double uniform(std::uint64_t x, std::uint64_t k);

    // Day numbers count days since 1970-01-01. Stocks trade Monday to Friday (holidays are ignored
    // here); coins trade every day.
    static bool isWeekday(long long day);
    // The nearest earlier day that trades.
    static long long previousTradingDay(long long day, bool crypto);
    // The trading day whose session an instant belongs to: for coins the UTC day; for stocks the
    // New York day, where a Saturday or Sunday belongs to the Friday before it.
    static long long tradingDay(Date containing, bool crypto);

    // The level (a log price move) the day closes at: the last 32 trading days' moves, each up to
    // 3 % with an 8 % chance of a move 1.8 to 3 times larger, older days counting less.
    static double closingLevel(std::uint64_t hash, long long day, bool crypto);

    // The base price: a coin's level from the coin table, else (a + 1000) / 10 where a folds the
    // symbol's Unicode scalar values by a = (a × 31 + s) mod 9000, so 100.0 to 999.9.
    static Decimal seedPrice(const QString& symbol);
    // The sum of the symbol's Unicode scalar values mod 360.
    static double phase(const QString& symbol);
    // The fold a = (a × 17 + s) mod 880 that seeds a symbol's typical volume.
    static int volumeSeed(const QString& symbol);

    // The second-to-second wiggle factor around 1.
    static double wiggle(Date at, double phase);

    // Decimal places of the tick: stocks 2; coins 2 from 1 up, 4 under 1, 8 under 0.01.
    static int tickPlaces(double price, bool crypto);
    // 10^places for the places a tick can have (0 to 8).
    static double ticksPerUnit(int places);
    // The price through its shortest text, rounded half away from zero to the tick.
    static Decimal tick(double price, bool crypto);

    // The whole path for a stock or a coin pair (written "BTC/USD") at an instant, with no pins.
    static Decimal stockPrice(const QString& symbol, Date at);
};

// The trading session that contains an instant, with the constants of its level curve.
struct TradingSession {
    long long day = 0;
    bool crypto = false;
    Date open;
    Date close;
    long long previousDay = 0;
    Date previousClose;   // when the previous day's session closed
    double previous = 0;  // closing level of the previous day
    double ending = 0;    // closing level of this day
    double gap = 0;
    double swing = 0;
    double swings = 0;

    // The session of a trading day (a weekday for stocks).
    static TradingSession of(long long day, std::uint64_t hash, bool crypto);
    static TradingSession containing(Date at, std::uint64_t hash, bool crypto);

    // Flat at the opening level before the open, eases to the closing level with a few swings,
    // flat at the closing level after the close.
    double level(Date at) const;
    // The fraction of the session passed at an instant, held within 0…1.
    double fraction(Date at) const;
};

// What the path needs of one symbol, worked out once.
struct PathSymbol {
    QString symbol;
    std::uint64_t hash = 0;
    double base = 0;
    double phase = 0;
    bool crypto = false;
    int volumeSeed = 0;

    // For a stock symbol or a coin pair in its standard form.
    static PathSymbol of(const QString& symbol);

    // The price as a double, before the tick.
    double rawPrice(const TradingSession& session, Date at) const;
    Decimal price(const TradingSession& session, Date at) const;
    TradingSession session(Date at) const { return TradingSession::containing(at, hash, crypto); }
};

}  // namespace tavix
