#pragma once

#include "market/Date.h"
#include "market/Enums.h"

#include <QList>
#include <QPair>
#include <QString>
#include <QUrl>

#include <optional>
#include <string_view>

namespace tavix {

// Which Alpaca account world the keys belong to. The case names are the raw values.
enum class AlpacaEnvironment { paper, live };
TAVIX_ENUM_NAMES(AlpacaEnvironment, std::string_view("paper"), std::string_view("live"))

// Alpaca answers on two REST hosts: trading (account, orders, assets) and market data.
enum class AlpacaHost { trading, data };

// Query items in the order they were added; the service reads some lists positionally.
using AlpacaQuery = QList<QPair<QString, QString>>;

// Where each Alpaca service lives and how URLs and query values are written for it. The base URLs
// are arguments so tests can point every host at one loopback fake.
class AlpacaEndpoints {
public:
    static QUrl defaultTrading(AlpacaEnvironment environment);
    static QUrl defaultData();
    static QUrl defaultStream();

    // The real hosts for the environment.
    explicit AlpacaEndpoints(AlpacaEnvironment environment);
    AlpacaEndpoints(QUrl trading, QUrl data, QUrl stream = defaultStream());

    const QUrl& trading() const { return trading_; }
    const QUrl& data() const { return data_; }
    const QUrl& base(AlpacaHost host) const { return host == AlpacaHost::data ? data_ : trading_; }

    // The base URL of the host plus the path, with the query items in the given order. Values are
    // percent-encoded except for "," "/" and ":", so "BTC/USD" and comma-joined lists stay readable
    // while "+" in a time offset survives as itself.
    QUrl url(AlpacaHost host, const QString& path, const AlpacaQuery& query = {}) const;

    // Live prices: stocks on "/v2/" + feed, crypto on "/v1beta3/crypto/us".
    QUrl stockStream(const QString& feed) const;
    QUrl cryptoStream() const;

    // Alpaca's "timeframe" words; one-second candles have none (they are built from trades).
    static std::optional<QString> timeframe(CandleInterval interval);

    // The New York calendar day of the instant, `plus` whole days later, as "yyyy-MM-dd".
    static QString day(Date date, int plus = 0);

private:
    QUrl trading_;
    QUrl data_;
    QUrl stream_;
};

}  // namespace tavix
