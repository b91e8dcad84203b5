// The market-data host of FakeAlpaca: snapshots, bars and trades for stocks, coins and contracts.
#include "support/FakeAlpaca.h"

#include "market/Date.h"

#include <QRegularExpression>

#include <algorithm>
#include <utility>

namespace tavix::test {

namespace {

QString text(const Json& object, std::string_view key) {
    return FakeAlpaca::field(object, key);
}

// Points of several symbols, [from, to), as Alpaca's map of symbol to list.
Json grouped(const std::vector<std::pair<QString, Json>>& points, qsizetype from, qsizetype to) {
    Json map = Json::object();
    for (qsizetype i = from; i < to; ++i) {
        const auto& [symbol, point] = points[static_cast<std::size_t>(i)];
        const std::string key = symbol.toStdString();
        Json* series = nullptr;
        for (auto& member : map.members()) {
            if (member.first == key) series = &member.second;
        }
        if (!series) series = &map.set(key, Json::array()).members().back().second;
        series->push(point);
    }
    return map;
}

HttpResponse badRequest(const QString& message) {
    return HttpResponse::json(400, FakeAlpaca::error(40010000, message));
}

QStringList symbolsOf(const HttpRequest& request) {
    return request.queryValue(QStringLiteral("symbols")).value_or(QString()).split(u',', Qt::SkipEmptyParts);
}

bool validTimeframe(const QString& timeframe) {
    static const QRegularExpression pattern(
        QStringLiteral("^(([1-9]|[1-5][0-9])(Min|T)|([1-9]|1[0-9]|2[0-3])(Hour|H)|1(Day|D)|1(Week|W)|(1|2|3|"
                       "4|6|12)(Month|M))$"));
    return pattern.match(timeframe).hasMatch();
}

// Points of one series that fall in the asked range ("start", "end"), in the asked order.
std::vector<Json> inRange(const std::vector<Json>& series, const HttpRequest& request) {
    const auto start = Date::parseIso(request.queryValue(QStringLiteral("start")).value_or(QString()));
    const auto end = Date::parseIso(request.queryValue(QStringLiteral("end")).value_or(QString()));
    std::vector<Json> kept;
    for (const Json& point : series) {
        const auto t = Date::parseIso(text(point, "t"));
        if (!t) continue;
        if (start && *t < *start) continue;
        if (end && *t > *end) continue;
        kept.push_back(point);
    }
    if (request.queryValue(QStringLiteral("sort")) == QStringLiteral("desc"))
        std::reverse(kept.begin(), kept.end());
    return kept;
}

// Contract symbols of an underlying: the root before the 15 characters of date, right and strike.
QString rootOf(const QString& contract) {
    return contract.size() > 15 ? contract.left(contract.size() - 15) : QString();
}

QString expiryOf(const QString& contract) {
    if (contract.size() <= 15) return {};
    const QString yymmdd = contract.mid(contract.size() - 15, 6);
    return QStringLiteral("20") + yymmdd.left(2) + u'-' + yymmdd.mid(2, 2) + u'-' + yymmdd.right(2);
}

}  // namespace

HttpResponse FakeAlpaca::dataRoute(const HttpRequest& request) {
    if (request.method != "GET")
        return HttpResponse::json(405, error(40510000, QStringLiteral("method not allowed")));
    const QStringList parts = request.path.split(u'/', Qt::SkipEmptyParts);
    const QString& path = request.path;

    if (path == QStringLiteral("/v2/stocks/snapshots")) {
        const QStringList symbols = symbolsOf(request);
        if (symbols.isEmpty()) return badRequest(QStringLiteral("missing symbols"));
        // Alpaca sends this map bare, without a wrapper; unknown symbols are left out.
        Json answer = Json::object();
        for (const QString& s : symbols) {
            if (auto it = stockSnapshots.find(s); it != stockSnapshots.end())
                answer.set(s.toStdString(), it->second);
        }
        return HttpResponse::json(200, answer);
    }
    if (path == QStringLiteral("/v2/stocks/bars")) return stockBarsRoute(request, std::nullopt);
    if (parts.size() == 4 && parts[0] == QStringLiteral("v2") && parts[1] == QStringLiteral("stocks")) {
        if (parts[3] == QStringLiteral("bars")) return stockBarsRoute(request, parts[2]);
        if (parts[3] == QStringLiteral("trades")) return tradesRoute(request, parts[2], false);
    }
    if (path == QStringLiteral("/v1beta3/crypto/us/snapshots")) {
        const QStringList symbols = symbolsOf(request);
        if (symbols.isEmpty()) return badRequest(QStringLiteral("missing symbols"));
        Json snapshots = Json::object();
        for (const QString& s : symbols) {
            if (auto it = cryptoSnapshots.find(s); it != cryptoSnapshots.end())
                snapshots.set(s.toStdString(), it->second);
        }
        Json answer = Json::object();
        answer.set("snapshots", snapshots);
        return HttpResponse::json(200, answer);
    }
    if (path == QStringLiteral("/v1beta3/crypto/us/bars")) return cryptoBarsRoute(request);
    if (path == QStringLiteral("/v1beta3/crypto/us/trades")) return tradesRoute(request, std::nullopt, true);
    if (path == QStringLiteral("/v1beta1/options/snapshots"))
        return optionSnapshotsRoute(request, std::nullopt);
    if (parts.size() == 4 && path.startsWith(QStringLiteral("/v1beta1/options/snapshots/"))) {
        return optionSnapshotsRoute(request, parts[3]);
    }
    return HttpResponse::json(404, error(40410000, QStringLiteral("Not Found")));
}

HttpResponse FakeAlpaca::stockBarsRoute(const HttpRequest& request, const std::optional<QString>& symbol) {
    const QString timeframe = request.queryValue(QStringLiteral("timeframe")).value_or(QString());
    if (!validTimeframe(timeframe)) return badRequest(QStringLiteral("invalid timeframe"));
    const QString feed = request.queryValue(QStringLiteral("feed")).value_or(QStringLiteral("sip"));
    if (feed != QStringLiteral("iex") && feed != QStringLiteral("sip") &&
        feed != QStringLiteral("delayed_sip")) {
        return badRequest(QStringLiteral("invalid feed"));
    }
    if (symbol) {
        const auto found = stockBars.find({*symbol, timeframe});
        const std::vector<Json> series =
            found == stockBars.end() ? std::vector<Json>{} : inRange(found->second, request);
        const Page p = page(request, static_cast<qsizetype>(series.size()));
        Json bars = Json::array();
        for (qsizetype i = p.from; i < p.to; ++i) bars.push(series[static_cast<std::size_t>(i)]);
        Json answer = Json::object();
        answer.set("bars", bars);
        answer.set("symbol", *symbol);
        answer.set("next_page_token", p.token);
        return HttpResponse::json(200, answer);
    }
    QStringList symbols = symbolsOf(request);
    if (symbols.isEmpty()) return badRequest(QStringLiteral("missing symbols"));
    symbols.sort();
    // The limit counts points across all symbols, in symbol order.
    std::vector<std::pair<QString, Json>> points;
    for (const QString& s : symbols) {
        const auto found = stockBars.find({s, timeframe});
        if (found == stockBars.end()) continue;
        for (Json& b : inRange(found->second, request)) points.emplace_back(s, std::move(b));
    }
    const Page p = page(request, static_cast<qsizetype>(points.size()));
    const Json bars = grouped(points, p.from, p.to);
    Json answer = Json::object();
    answer.set("bars", bars);
    answer.set("next_page_token", p.token);
    return HttpResponse::json(200, answer);
}

HttpResponse FakeAlpaca::cryptoBarsRoute(const HttpRequest& request) {
    const QString timeframe = request.queryValue(QStringLiteral("timeframe")).value_or(QString());
    if (!validTimeframe(timeframe)) return badRequest(QStringLiteral("invalid timeframe"));
    QStringList symbols = symbolsOf(request);
    if (symbols.isEmpty()) return badRequest(QStringLiteral("missing symbols"));
    symbols.sort();
    std::vector<std::pair<QString, Json>> points;
    for (const QString& s : symbols) {
        const auto found = cryptoBars.find({s, timeframe});
        if (found == cryptoBars.end()) continue;
        for (Json& b : inRange(found->second, request)) points.emplace_back(s, std::move(b));
    }
    const Page p = page(request, static_cast<qsizetype>(points.size()));
    const Json bars = grouped(points, p.from, p.to);
    Json answer = Json::object();
    answer.set("bars", bars);
    answer.set("next_page_token", p.token);
    return HttpResponse::json(200, answer);
}

HttpResponse FakeAlpaca::tradesRoute(const HttpRequest& request, const std::optional<QString>& symbol,
                                     bool crypto) {
    if (symbol) {
        const auto found = stockTrades.find(*symbol);
        const std::vector<Json> series =
            found == stockTrades.end() ? std::vector<Json>{} : inRange(found->second, request);
        const Page p = page(request, static_cast<qsizetype>(series.size()));
        Json trades = Json::array();
        for (qsizetype i = p.from; i < p.to; ++i) trades.push(series[static_cast<std::size_t>(i)]);
        Json answer = Json::object();
        answer.set("trades", trades);
        answer.set("symbol", *symbol);
        answer.set("next_page_token", p.token);
        return HttpResponse::json(200, answer);
    }
    QStringList symbols = symbolsOf(request);
    if (symbols.isEmpty()) return badRequest(QStringLiteral("missing symbols"));
    symbols.sort();
    const auto& source = crypto ? cryptoTrades : stockTrades;
    std::vector<std::pair<QString, Json>> points;
    for (const QString& s : symbols) {
        const auto found = source.find(s);
        if (found == source.end()) continue;
        for (Json& t : inRange(found->second, request)) points.emplace_back(s, std::move(t));
    }
    const Page p = page(request, static_cast<qsizetype>(points.size()));
    const Json trades = grouped(points, p.from, p.to);
    Json answer = Json::object();
    answer.set("trades", trades);
    answer.set("next_page_token", p.token);
    return HttpResponse::json(200, answer);
}

HttpResponse FakeAlpaca::optionSnapshotsRoute(const HttpRequest& request,
                                              const std::optional<QString>& underlying) {
    const QString feed = request.queryValue(QStringLiteral("feed")).value_or(QStringLiteral("indicative"));
    if (feed != QStringLiteral("indicative") && feed != QStringLiteral("opra"))
        return badRequest(QStringLiteral("invalid feed"));
    std::vector<QString> chosen;
    if (underlying) {
        const QString from = request.queryValue(QStringLiteral("expiration_date_gte")).value_or(QString());
        const QString to = request.queryValue(QStringLiteral("expiration_date_lte")).value_or(QString());
        for (const auto& [contract, snapshot] : optionSnapshots) {
            if (rootOf(contract) != *underlying) continue;
            const QString expiry = expiryOf(contract);
            if (!from.isEmpty() && expiry < from) continue;
            if (!to.isEmpty() && expiry > to) continue;
            chosen.push_back(contract);
        }
    } else {
        const QStringList symbols = symbolsOf(request);
        if (symbols.isEmpty()) return badRequest(QStringLiteral("missing symbols"));
        for (const QString& s : symbols) {
            if (optionSnapshots.count(s)) chosen.push_back(s);
        }
        std::sort(chosen.begin(), chosen.end());
    }
    const Page p = page(request, static_cast<qsizetype>(chosen.size()));
    Json snapshots = Json::object();
    for (qsizetype i = p.from; i < p.to; ++i) {
        const QString& contract = chosen[static_cast<std::size_t>(i)];
        snapshots.set(contract.toStdString(), optionSnapshots.at(contract));
    }
    Json answer = Json::object();
    answer.set("snapshots", snapshots);
    answer.set("next_page_token", p.token);
    return HttpResponse::json(200, answer);
}

}  // namespace tavix::test
