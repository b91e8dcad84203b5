#pragma once

#include "market/Date.h"
#include "market/Decimal.h"
#include "market/OptionContract.h"
#include "market/OptionSymbol.h"

#include <QString>

#include <optional>
#include <utility>
#include <vector>

namespace tavix {

// What the model says one contract is worth at an instant, per share.
struct OptionValue {
    double price = 0;
    double delta = 0;
    double theta = 0;  // change in price per calendar day
    double volatility = 0;
};

// Practice option prices, worked out from the simulated price of the underlying.
//
// The model is Black-Scholes for European options on a stock without dividends, with a fixed
// rate and a volatility that is a pure function of the underlying's symbol. It was chosen because
// it is closed-form (a chain of a few hundred contracts costs microseconds, and a price is the
// same function of symbol and instant as the stock's), it gives delta and theta directly, and
// its prices move the way a user expects: calls rise and puts fall with the stock, and both lose
// value as expiry nears. Early exercise and dividends do not matter for practice prices.
class PracticeOptions {
public:
    static constexpr double rate = 0.04;
    static constexpr int multiplier = 100;
    static constexpr double yearSeconds = 365.0 * 86400.0;

    // Between 0.20 and 0.70 a year, fixed for each underlying.
    static double volatility(const QString& underlying);
    // A contract stops trading at 16:00 New York time on its expiry day.
    static Date expiresAt(const OptionSymbol& option);
    static bool isExpired(const OptionSymbol& option, Date at) { return at >= expiresAt(option); }

    // The model's value; nothing once the contract has expired or for an underlying price that
    // is not over zero.
    static std::optional<OptionValue> value(const OptionSymbol& option, double underlyingPrice, Date at);
    // The model itself, for a contract `years` (over zero) before its end and a positive price.
    static OptionValue blackScholes(OptionRight right, double underlying, double strike, double volatility,
                                    double years);
    // A listed contract's price: rounded to cents, never below 0.01.
    static Decimal listedPrice(double value);
    // The bid and ask around a last price: a couple of percent wide, at least a cent each side,
    // never below 0.01.
    static std::pair<Decimal, Decimal> spread(Decimal last);

    // The strike spacing for a price level: 0.5 under 25, 1 under 100, 2.5 under 250, 5 under 1000,
    // else 10.
    static Decimal strikeStep(Decimal underlyingPrice);
    // The strike nearest the price and `eachSide` strikes either side of it, lowest first; none at
    // or under zero.
    static std::vector<Decimal> strikes(Decimal underlyingPrice, int eachSide);
    // The start (New York) of the next `count` Fridays whose contracts still trade at `now`.
    static std::vector<Date> weeklyExpiries(Date now, int count);

    // One row of a chain, or nothing once expired.
    static std::optional<OptionContract> contract(const OptionSymbol& option, double underlyingPrice,
                                                  Date at);
};

}  // namespace tavix
