#include "practice/PracticeOptions.h"

#include "market/NewYorkCalendar.h"
#include "practice/PricePath.h"

#include <QDate>

#include <cmath>
#include <numbers>

namespace tavix {
namespace {

const Decimal cent = Decimal::fromParts(1, -2, false);

double normalCdf(double x) {
    return 0.5 * std::erfc(-x / std::numbers::sqrt2);
}
double normalDensity(double x) {
    return std::exp(-0.5 * x * x) / std::sqrt(2 * std::numbers::pi);
}

std::optional<Decimal> fourPlaces(double value) {
    auto exact = Decimal::fromDouble(value);
    if (!exact) return std::nullopt;
    return exact->rounded(4);
}

bool isFriday(long long day) {
    return ((day + 4) % 7 + 7) % 7 == 5;
}

}  // namespace

double PracticeOptions::volatility(const QString& underlying) {
    return 0.20 + 0.50 * PricePath::uniform(PricePath::fnv1a(underlying.trimmed().toUpper()), 7);
}

Date PracticeOptions::expiresAt(const OptionSymbol& option) {
    // 16 hours of New York clock time after the day starts, allowing for a clock change that day.
    const Date afternoon = option.expiry + 57600;
    const int shift =
        NewYorkCalendar::utcOffsetSeconds(afternoon) - NewYorkCalendar::utcOffsetSeconds(option.expiry);
    return afternoon - shift;
}

std::optional<OptionValue> PracticeOptions::value(const OptionSymbol& option, double underlyingPrice,
                                                  Date at) {
    const Date end = expiresAt(option);
    if (at >= end || !(underlyingPrice > 0)) return std::nullopt;
    return blackScholes(option.right, underlyingPrice, option.strike.toDouble(),
                        volatility(option.underlying), (end - at) / yearSeconds);
}

OptionValue PracticeOptions::blackScholes(OptionRight right, double underlying, double strike,
                                          double volatility, double years) {
    const double s = underlying;
    const double k = strike;
    const double sigma = volatility;
    const double root = sigma * std::sqrt(years);
    const double d1 = (std::log(s / k) + (rate + 0.5 * sigma * sigma) * years) / root;
    const double d2 = d1 - root;
    const double discount = std::exp(-rate * years);
    const double decay = -s * normalDensity(d1) * sigma / (2 * std::sqrt(years));

    OptionValue v;
    v.volatility = sigma;
    if (right == OptionRight::call) {
        v.price = s * normalCdf(d1) - k * discount * normalCdf(d2);
        v.delta = normalCdf(d1);
        v.theta = (decay - rate * k * discount * normalCdf(d2)) / 365.0;
    } else {
        v.price = k * discount * normalCdf(-d2) - s * normalCdf(-d1);
        v.delta = normalCdf(d1) - 1;
        v.theta = (decay + rate * k * discount * normalCdf(-d2)) / 365.0;
    }
    return v;
}

Decimal PracticeOptions::listedPrice(double value) {
    if (!std::isfinite(value)) return cent;
    // Cents are the stock tick: the same rounding through the shortest text.
    return max(PricePath::tick(value, false), cent);
}

std::pair<Decimal, Decimal> PracticeOptions::spread(Decimal last) {
    const Decimal half = max((last * Decimal(15) / Decimal(1000)).rounded(2, Decimal::Rounding::up), cent);
    return {max(last - half, cent), last + half};
}

Decimal PracticeOptions::strikeStep(Decimal underlyingPrice) {
    if (underlyingPrice < Decimal(25)) return *Decimal::parse(std::string_view("0.5"));
    if (underlyingPrice < Decimal(100)) return Decimal(1);
    if (underlyingPrice < Decimal(250)) return *Decimal::parse(std::string_view("2.5"));
    if (underlyingPrice < Decimal(1000)) return Decimal(5);
    return Decimal(10);
}

std::vector<Decimal> PracticeOptions::strikes(Decimal underlyingPrice, int eachSide) {
    std::vector<Decimal> list;
    if (!underlyingPrice.isPositive() || eachSide < 0) return list;
    const Decimal step = strikeStep(underlyingPrice);
    const Decimal center = (underlyingPrice / step).rounded(0) * step;
    for (int i = -eachSide; i <= eachSide; ++i) {
        const Decimal strike = center + Decimal(i) * step;
        if (strike.isPositive()) list.push_back(strike);
    }
    return list;
}

std::vector<Date> PracticeOptions::weeklyExpiries(Date now, int count) {
    std::vector<Date> list;
    const double local = now.secondsSince1970() + NewYorkCalendar::utcOffsetSeconds(now);
    long long day = static_cast<long long>(std::floor(local / PricePath::daySeconds));
    const QDate epoch(1970, 1, 1);
    // A week past the last wanted Friday bounds the walk.
    for (long long last = day + 7LL * (count + 1); day <= last && static_cast<int>(list.size()) < count;
         ++day) {
        if (!isFriday(day)) continue;
        const QDate date = epoch.addDays(day);
        const auto expiry = OptionSymbol::expiryDate(date.year(), date.month(), date.day());
        if (!expiry || isExpired(OptionSymbol{QString(), *expiry, OptionRight::call, Decimal(1)}, now))
            continue;
        list.push_back(*expiry);
    }
    return list;
}

std::optional<OptionContract> PracticeOptions::contract(const OptionSymbol& option, double underlyingPrice,
                                                        Date at) {
    const auto model = value(option, underlyingPrice, at);
    if (!model) return std::nullopt;
    const QString id = option.occ();
    const Decimal last = listedPrice(model->price);
    const auto [bid, ask] = spread(last);
    // Open interest is a property of the contract, not of the moment: seeded by its symbol.
    const double seed = PricePath::uniform(PricePath::fnv1a(id), 1);
    OptionContract row;
    row.id = id;
    row.underlying = option.underlying;
    row.right = option.right;
    row.strike = option.strike;
    row.expiry = option.expiry;
    row.bid = bid;
    row.ask = ask;
    row.last = last;
    row.theta = fourPlaces(model->theta);
    row.delta = fourPlaces(model->delta);
    row.impliedVolatility = fourPlaces(model->volatility);
    row.openInterest = 100 + static_cast<std::int64_t>(std::floor(seed * 4900));
    row.multiplier = multiplier;
    return row;
}

}  // namespace tavix
