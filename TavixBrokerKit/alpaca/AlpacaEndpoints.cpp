#include "alpaca/AlpacaEndpoints.h"

#include "market/NewYorkCalendar.h"

#include <QDate>

#include <utility>

namespace tavix {

QUrl AlpacaEndpoints::defaultTrading(AlpacaEnvironment environment) {
    return environment == AlpacaEnvironment::paper ? QUrl(QStringLiteral("https://paper-api.alpaca.markets"))
                                                   : QUrl(QStringLiteral("https://api.alpaca.markets"));
}

QUrl AlpacaEndpoints::defaultData() {
    return QUrl(QStringLiteral("https://data.alpaca.markets"));
}

QUrl AlpacaEndpoints::defaultStream() {
    return QUrl(QStringLiteral("wss://stream.data.alpaca.markets"));
}

AlpacaEndpoints::AlpacaEndpoints(AlpacaEnvironment environment)
    : AlpacaEndpoints(defaultTrading(environment), defaultData(), defaultStream()) {}

AlpacaEndpoints::AlpacaEndpoints(QUrl trading, QUrl data, QUrl stream)
    : trading_(std::move(trading)), data_(std::move(data)), stream_(std::move(stream)) {}

namespace {

QUrl joined(const QUrl& base, const QString& path) {
    QUrl url = base;
    QString basePath = url.path();
    while (basePath.endsWith(u'/')) basePath.chop(1);
    url.setPath(basePath + path);
    return url;
}

}  // namespace

QUrl AlpacaEndpoints::url(AlpacaHost host, const QString& path, const AlpacaQuery& query) const {
    QUrl url = joined(base(host), path);
    if (!query.isEmpty()) {
        static const QByteArray keep = QByteArrayLiteral(",/:");
        QByteArray text;
        for (const auto& [key, value] : query) {
            if (!text.isEmpty()) text += '&';
            text += QUrl::toPercentEncoding(key, keep) + '=' + QUrl::toPercentEncoding(value, keep);
        }
        url.setQuery(QString::fromLatin1(text), QUrl::StrictMode);
    }
    return url;
}

QUrl AlpacaEndpoints::stockStream(const QString& feed) const {
    return joined(stream_, QStringLiteral("/v2/") + feed);
}

QUrl AlpacaEndpoints::cryptoStream() const {
    return joined(stream_, QStringLiteral("/v1beta3/crypto/us"));
}

std::optional<QString> AlpacaEndpoints::timeframe(CandleInterval interval) {
    switch (interval) {
        case CandleInterval::oneSecond:
            return std::nullopt;
        case CandleInterval::oneMinute:
            return QStringLiteral("1Min");
        case CandleInterval::fiveMinute:
            return QStringLiteral("5Min");
        case CandleInterval::fifteenMinute:
            return QStringLiteral("15Min");
        case CandleInterval::thirtyMinute:
            return QStringLiteral("30Min");
        case CandleInterval::hourly:
            return QStringLiteral("1Hour");
        case CandleInterval::daily:
            return QStringLiteral("1Day");
        case CandleInterval::weekly:
            return QStringLiteral("1Week");
        case CandleInterval::monthly:
            return QStringLiteral("1Month");
    }
    return std::nullopt;
}

QString AlpacaEndpoints::day(Date date, int plus) {
    const QDate day = NewYorkCalendar::dateOf(date).addDays(plus);
    return QStringLiteral("%1-%2-%3")
        .arg(day.year(), 4, 10, QChar(u'0'))
        .arg(day.month(), 2, 10, QChar(u'0'))
        .arg(day.day(), 2, 10, QChar(u'0'));
}

}  // namespace tavix
