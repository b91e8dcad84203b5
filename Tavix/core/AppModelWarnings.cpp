#include "core/AppModel.h"

#include "core/Pacer.h"
#include "market/CryptoPair.h"
#include "market/OptionSymbol.h"

#include <vector>

namespace tavix {

namespace {

// The records read here are the automations' own, kept as saved; only the fields needed are read
// and anything missing or of another shape reads as absent.
std::optional<QString> textOf(const Json& record, std::string_view key) {
    const Json* value = record.find(key);
    if (!value || !value->isString()) return std::nullopt;
    return value->toQString();
}

// A broker identifier saved as its raw text, or as an object holding it.
std::optional<QString> brokerOf(const Json& record) {
    const Json* value = record.find("brokerID");
    if (!value) return std::nullopt;
    if (value->isString()) return value->toQString();
    if (value->isObject()) return textOf(*value, "rawValue");
    return std::nullopt;
}

std::optional<Date> dateOf(const Json& record, std::string_view key) {
    const Json* value = record.find(key);
    if (!value) return std::nullopt;
    if (value->isString()) return Date::parseIso(value->toQString());
    if (value->isNumber()) return Date::fromSeconds(value->toDouble());
    return std::nullopt;
}

bool hasEnded(const Json& bounce) {
    const Json* phase = bounce.find("phase");
    if (!phase) return false;
    if (phase->isObject()) return phase->contains("ended");
    return phase->isString() && phase->toQString() == QStringLiteral("ended");
}

// A contract watch on an option: the ones with a last-day sale.
bool isOptionWatch(const Json& watch) {
    const std::optional<QString> contract = textOf(watch, "contract");
    return contract && OptionSymbol::parse(*contract).has_value();
}

bool isCoinWatch(const Json& watch) {
    const std::optional<QString> contract = textOf(watch, "contract");
    return contract && CryptoPair::isPair(*contract);
}

QString bounceSymbol(const Json& bounce) {
    const Json* plan = bounce.find("plan");
    return plan ? textOf(*plan, "symbol").value_or(QString()) : QString();
}

// "A", "A and B", "A, B and C".
QString joined(const QStringList& words) {
    if (words.size() <= 1) return words.value(0);
    return words.mid(0, words.size() - 1).join(QStringLiteral(", ")) + QStringLiteral(" and ") + words.last();
}

QString counted(qsizetype count, const QString& one, const QString& many) {
    return count == 1 ? one : QString::number(count) + u' ' + many;
}

// "Your ride on AAPL", "Your rides on AAPL and MSFT".
QString yourOn(const QString& one, const QString& many, const QStringList& symbols, qsizetype count) {
    QStringList distinct;
    for (const QString& symbol : symbols) {
        if (!symbol.isEmpty() && !distinct.contains(symbol)) distinct.append(symbol);
    }
    const QString subject = QStringLiteral("Your ") + (count == 1 ? one : many);
    return distinct.isEmpty() ? subject : subject + QStringLiteral(" on ") + joined(distinct);
}

}  // namespace

bool AppModel::belongsHere(const Json& record) const {
    const std::optional<QString> broker = brokerOf(record);
    if (!broker) return true;  // saved before records named their account
    if (!broker_ || *broker != broker_->id().rawValue) return false;
    const std::optional<QString> accountID = textOf(record, "accountID");
    // Without an account read there is nothing to tell this broker's accounts apart by.
    return !accountID || !account_ || *accountID == account_->id;
}

Json::Array AppModel::runningBounces() const {
    Json::Array running;
    for (const Json& bounce : bounces_) {
        if (!hasEnded(bounce) && belongsHere(bounce)) running.push_back(bounce);
    }
    return running;
}

bool AppModel::lastDayNear() const {
    const Date now = environment_.pacer->now();
    for (const Json& watch : contractWatches_) {
        if (isCoinWatch(watch)) continue;
        const std::optional<Date> expiry = dateOf(watch, "expiry");
        if (expiry && *expiry > now && *expiry - now < 259'200) return true;
    }
    return false;
}

std::optional<QString> AppModel::keepAwakeReason() const {
    qsizetype bounces = 0;
    for (const Json& bounce : bounces_) bounces += hasEnded(bounce) ? 0 : 1;
    qsizetype options = 0;
    qsizetype coins = 0;
    for (const Json& watch : contractWatches_) ++(isOptionWatch(watch) ? options : coins);
    const qsizetype rides = static_cast<qsizetype>(rideWatches_.size());
    if (bounces + options + coins + rides == 0) return std::nullopt;
    if (lastDayNear()) return QStringLiteral("A Multiplier trade's last-day sale is coming up");

    QStringList what;
    if (bounces) what << counted(bounces, QStringLiteral("a bounce"), QStringLiteral("bounces"));
    if (options)
        what << counted(options, QStringLiteral("a Multiplier trade"), QStringLiteral("Multiplier trades"));
    if (coins) what << counted(coins, QStringLiteral("a coin's exits"), QStringLiteral("coins' exits"));
    if (rides) what << counted(rides, QStringLiteral("a ride"), QStringLiteral("rides"));
    return QStringLiteral("Watching ") + joined(what);
}

std::optional<QString> AppModel::quitWarning() const {
    QStringList bounceSymbols;
    for (const Json& bounce : bounces_) {
        if (!hasEnded(bounce)) bounceSymbols << bounceSymbol(bounce);
    }
    qsizetype options = 0;
    QStringList coinSymbols;
    for (const Json& watch : contractWatches_) {
        if (isOptionWatch(watch)) {
            ++options;
        } else {
            coinSymbols << textOf(watch, "contract").value_or(QString());
        }
    }
    QStringList rideSymbols;
    for (const Json& ride : rideWatches_) rideSymbols << textOf(ride, "symbol").value_or(QString());

    QStringList sentences;
    if (!bounceSymbols.isEmpty()) {
        sentences << yourOn(QStringLiteral("bounce"), QStringLiteral("bounces"), bounceSymbols,
                            bounceSymbols.size()) +
                         QStringLiteral(": no next trade until Tavix is open again.");
    }
    if (options > 0) {
        sentences << counted(options, QStringLiteral("A Multiplier trade"),
                             QStringLiteral("Multiplier trades")) +
                         QStringLiteral(
                             ": Tavix sells at your sell price, and on the last day from 10am New York, "
                             "only while it's open. Still held at the close of its last day, a contract "
                             "can turn into shares.");
    }
    if (!coinSymbols.isEmpty()) {
        sentences << yourOn(QStringLiteral("exits"), QStringLiteral("exits"), coinSymbols,
                            coinSymbols.size()) +
                         QStringLiteral(": Tavix sells at your sell price only while it's open.");
    }
    if (!rideSymbols.isEmpty()) {
        sentences << yourOn(QStringLiteral("ride"), QStringLiteral("rides"), rideSymbols,
                            rideSymbols.size()) +
                         QStringLiteral(": it starts following only while Tavix is open.");
    }
    if (sentences.isEmpty()) return std::nullopt;
    return sentences.join(u'\n') +
           QStringLiteral("\n\nYour get-out prices and orders already at your broker keep working.");
}

std::optional<QString> AppModel::accountLeaving() const {
    qsizetype trades = 0;
    for (const Json& watch : contractWatches_) {
        if (isOptionWatch(watch) && belongsHere(watch)) ++trades;
    }
    if (trades == 0) return std::nullopt;
    return QStringLiteral("This account has ") +
           counted(trades, QStringLiteral("a Multiplier trade"), QStringLiteral("Multiplier trades")) +
           QStringLiteral(
               ". Their stops stay at the broker, but Tavix only sells on the last day "
               "or switches to following while it's on this account. Come back before the last day.");
}

void AppModel::tellOtherAccountsWatches() {
    qsizetype elsewhere = 0;
    for (const Json& watch : contractWatches_) elsewhere += belongsHere(watch) ? 0 : 1;
    for (const Json& ride : rideWatches_) elsewhere += belongsHere(ride) ? 0 : 1;
    if (elsewhere == 0) return;
    setBanner(QStringLiteral("Tavix is looking after ") +
              counted(elsewhere, QStringLiteral("a trade"), QStringLiteral("trades")) +
              QStringLiteral(" in another account. It only watches the account it's on, so ") +
              (elsewhere == 1 ? QStringLiteral("its") : QStringLiteral("their")) +
              QStringLiteral(" last-day sale and exits wait until you switch back."));
}

}  // namespace tavix
