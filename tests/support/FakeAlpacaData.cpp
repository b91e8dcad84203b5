// The market-data host of FakeAlpaca: snapshots of stocks, coins and contracts, stock bars and trades.
#include "support/FakeAlpaca.h"

#include "market/Date.h"

#include <algorithm>
#include <utility>

namespace tavix::test {

namespace {

QStringList symbolsOf(const HttpRequest& request) {
    return request.queryValue(QStringLiteral("symbols")).value_or(QString()).split(u',', Qt::SkipEmptyParts);
}

// Points of one series that fall in the asked range ("start", "end"), in the asked order.
std::vector<Json> inRange(const std::vector<Json>& series, const HttpRequest& request) {
    const auto start = Date::parseIso(request.queryValue(QStringLiteral("start")).value_or(QString()));
    const auto end = Date::parseIso(request.queryValue(QStringLiteral("end")).value_or(QString()));
    std::vector<Json> kept;
    for (const Json& point : series) {
        const auto t = Date::parseIso(FakeAlpaca::field(point, "t"));
        if (t && (!start || *t >= *start) && (!end || *t <= *end)) kept.push_back(point);
    }
    if (request.queryValue(QStringLiteral("sort")) == QStringLiteral("desc"))
        std::reverse(kept.begin(), kept.end());
    return kept;
}

// The symbols' snapshots that exist, as a map; unknown symbols are left out.
Json known(const std::map<QString, Json>& snapshots, const QStringList& symbols) {
    Json map = Json::object();
    for (const QString& s : symbols) {
        if (auto it = snapshots.find(s); it != snapshots.end()) map.set(s.toStdString(), it->second);
    }
    return map;
}

Json wrapped(const char* member, Json value, Json token = Json()) {
    Json answer = Json::object();
    answer.set(member, std::move(value));
    answer.set("next_page_token", std::move(token));
    return answer;
}

}  // namespace

HttpResponse FakeAlpaca::dataRoute(const HttpRequest& request) {
    const QStringList parts = request.path.split(u'/', Qt::SkipEmptyParts);
    const QString& path = request.path;
    HttpResponse response = HttpResponse::json(404, error(40410000, QStringLiteral("Not Found")));
    if (path == QStringLiteral("/v2/stocks/snapshots")) {
        // Alpaca sends this map bare, without a wrapper.
        response = HttpResponse::json(200, known(stockSnapshots, symbolsOf(request)));
    } else if (path == QStringLiteral("/v2/stocks/bars") ||  // coins have no bars here: an empty map
               path == QStringLiteral("/v1beta3/crypto/us/bars")) {
        response = barsRoute(request, std::nullopt);
    } else if (parts.size() == 4 && parts[1] == QStringLiteral("stocks") &&
               parts[3] == QStringLiteral("bars")) {
        response = barsRoute(request, parts[2]);
    } else if (parts.size() == 4 && parts[1] == QStringLiteral("stocks") &&
               parts[3] == QStringLiteral("trades")) {
        const auto found = stockTrades.find(parts[2]);
        const std::vector<Json> trades =
            found == stockTrades.end() ? std::vector<Json>{} : inRange(found->second, request);
        response = HttpResponse::json(200, wrapped("trades", Json(Json::Array(trades))));
    } else if (path == QStringLiteral("/v1beta3/crypto/us/snapshots")) {
        response = HttpResponse::json(200, wrapped("snapshots", known(cryptoSnapshots, symbolsOf(request))));
    } else if (path == QStringLiteral("/v1beta1/options/snapshots")) {
        response = optionSnapshotsRoute(request, std::nullopt);
    } else if (parts.size() == 4 && path.startsWith(QStringLiteral("/v1beta1/options/snapshots/"))) {
        response = optionSnapshotsRoute(request, parts[3]);
    }
    // The data host reports its own limit on every answer.
    response.withHeader("X-RateLimit-Limit", "200").withHeader("X-RateLimit-Remaining", "199");
    return response;
}

// One symbol's bars as a list, or several symbols' as a map, paged across all points in symbol order.
HttpResponse FakeAlpaca::barsRoute(const HttpRequest& request, const std::optional<QString>& symbol) {
    const QString timeframe = request.queryValue(QStringLiteral("timeframe")).value_or(QString());
    QStringList symbols = symbol ? QStringList{*symbol} : symbolsOf(request);
    symbols.sort();
    std::vector<std::pair<QString, Json>> points;
    for (const QString& s : symbols) {
        const auto found = stockBars.find({s, timeframe});
        if (found == stockBars.end()) continue;
        for (Json& b : inRange(found->second, request)) points.emplace_back(s, std::move(b));
    }
    const Page p = page(request, static_cast<qsizetype>(points.size()));
    Json bars = symbol ? Json::array() : Json::object();
    for (qsizetype i = p.from; i < p.to; ++i) {
        const auto& [s, point] = points[static_cast<std::size_t>(i)];
        if (symbol) {
            bars.push(point);
            continue;
        }
        if (!bars.contains(s.toStdString())) bars.set(s.toStdString(), Json::array());
        for (auto& member : bars.members()) {
            if (member.first == s.toStdString()) member.second.push(point);
        }
    }
    return HttpResponse::json(200, wrapped("bars", std::move(bars), p.token));
}

// Contracts of an underlying are those whose symbol is its root and 15 characters of date, right
// and strike.
HttpResponse FakeAlpaca::optionSnapshotsRoute(const HttpRequest& request,
                                              const std::optional<QString>& underlying) {
    const QString from = request.queryValue(QStringLiteral("expiration_date_gte")).value_or(QString());
    const QString to = request.queryValue(QStringLiteral("expiration_date_lte")).value_or(QString());
    std::vector<QString> chosen;
    for (const auto& [contract, snapshot] : optionSnapshots) {
        if (!underlying) {
            if (symbolsOf(request).contains(contract)) chosen.push_back(contract);
            continue;
        }
        const QString yymmdd = contract.right(15).left(6);
        const QString expiry =
            QStringLiteral("20%1-%2-%3").arg(yymmdd.left(2), yymmdd.mid(2, 2), yymmdd.right(2));
        if (contract.size() > 15 && contract.chopped(15) == *underlying && expiry >= from &&
            (to.isEmpty() || expiry <= to))
            chosen.push_back(contract);
    }
    const Page p = page(request, static_cast<qsizetype>(chosen.size()));
    Json snapshots = Json::object();
    for (qsizetype i = p.from; i < p.to; ++i) {
        const QString& contract = chosen[static_cast<std::size_t>(i)];
        snapshots.set(contract.toStdString(), optionSnapshots.at(contract));
    }
    return HttpResponse::json(200, wrapped("snapshots", std::move(snapshots), p.token));
}

}  // namespace tavix::test
