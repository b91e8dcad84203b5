// The market-data host of FakeAlpaca: snapshots of stocks, coins and contracts, stock bars and trades.
#include "support/FakeAlpaca.h"

#include "market/Date.h"

#include <algorithm>
#include <utility>

namespace tavix::test {

namespace {

QStringList symbolsOf(const HttpRequest& request) {
    return queryText(request, "symbols").split(u',', Qt::SkipEmptyParts);
}

// Points of one series that fall in the asked range ("start", "end"), in the asked order.
std::vector<Json> inRange(const std::vector<Json>& series, const HttpRequest& request) {
    const auto start = Date::parseIso(queryText(request, "start"));
    const auto end = Date::parseIso(queryText(request, "end"));
    std::vector<Json> kept;
    std::copy_if(series.begin(), series.end(), std::back_inserter(kept), [&](const Json& point) {
        const auto t = Date::parseIso(FakeAlpaca::field(point, "t"));
        return t && (!start || *t >= *start) && (!end || *t <= *end);
    });
    if (queryText(request, "sort") == QStringLiteral("desc")) std::reverse(kept.begin(), kept.end());
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
    return Json(Json::Object{{member, std::move(value)}, {"next_page_token", std::move(token)}});
}

}  // namespace

HttpResponse FakeAlpaca::dataRoute(const HttpRequest& request) {
    const QStringList parts = request.path.split(u'/', Qt::SkipEmptyParts);
    const QString& path = request.path;
    const bool stock = parts.size() == 4 && parts[1] == QStringLiteral("stocks");
    HttpResponse response = HttpResponse::json(404, error(40410000, QStringLiteral("Not Found")));
    const bool bars = path == QStringLiteral("/v2/stocks/bars") || (stock && parts[3] == QStringLiteral("bars"));
    if (bars && freeDataPlan && queryText(request, "feed") == QStringLiteral("sip")) {
        const auto end = Date::parseIso(queryText(request, "end"));
        const auto now = Date::parseIso(field(clock, "timestamp"));
        if (!end || !now || *end > *now - 15 * 60.0) {
            return HttpResponse::json(
                403, error(40310000, QStringLiteral("subscription does not permit querying recent SIP data")));
        }
    }
    if (path == QStringLiteral("/v2/stocks/snapshots")) {
        // Alpaca sends this map bare, without a wrapper.
        response = HttpResponse::json(200, known(stockSnapshots, symbolsOf(request)));
    } else if (path == QStringLiteral("/v2/stocks/bars") ||  // coins have no bars here: an empty map
               path == QStringLiteral("/v1beta3/crypto/us/bars")) {
        response = barsRoute(request, std::nullopt);
    } else if (stock && parts[3] == QStringLiteral("bars")) {
        response = barsRoute(request, parts[2]);
    } else if (stock && parts[3] == QStringLiteral("trades")) {
        const auto found = stockTrades.find(parts[2]);
        const auto trades =
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
    QStringList symbols = symbol ? QStringList{*symbol} : symbolsOf(request);
    symbols.sort();
    std::vector<std::pair<std::string, Json>> points;
    for (const QString& s : symbols) {
        const auto found = stockBars.find({s, queryText(request, "timeframe")});
        if (found == stockBars.end()) continue;
        for (Json& b : inRange(found->second, request)) points.emplace_back(s.toStdString(), std::move(b));
    }
    const Page p = page(request, points.size());
    Json bars = symbol ? Json::array() : Json::object();
    for (auto i = static_cast<std::size_t>(p.from); i < static_cast<std::size_t>(p.to); ++i) {
        const auto& [s, point] = points[i];
        if (symbol) {
            bars.push(point);
            continue;
        }
        if (!bars.contains(s)) bars.set(s, Json::array());
        std::find_if(bars.members().begin(), bars.members().end(), [&](const auto& m) {
            return m.first == s;
        })->second.push(point);
    }
    return HttpResponse::json(200, wrapped("bars", std::move(bars), p.token));
}

// Contracts of an underlying are those whose symbol is its root and 15 characters of date, right
// and strike.
HttpResponse FakeAlpaca::optionSnapshotsRoute(const HttpRequest& request,
                                              const std::optional<QString>& underlying) {
    const QString from = queryText(request, "expiration_date_gte");
    const QString to = queryText(request, "expiration_date_lte");
    std::vector<QString> chosen;
    for (const auto& [contract, snapshot] : optionSnapshots) {
        const QString yymmdd = contract.right(15).left(6);
        const QString expiry =
            QStringLiteral("20%1-%2-%3").arg(yymmdd.left(2), yymmdd.mid(2, 2), yymmdd.right(2));
        if (underlying ? contract.size() > 15 && contract.chopped(15) == *underlying && expiry >= from &&
                             (to.isEmpty() || expiry <= to)
                       : symbolsOf(request).contains(contract))
            chosen.push_back(contract);
    }
    const Page p = page(request, chosen.size());
    Json snapshots = Json::object();
    for (auto i = static_cast<std::size_t>(p.from); i < static_cast<std::size_t>(p.to); ++i)
        snapshots.set(chosen[i].toStdString(), optionSnapshots.at(chosen[i]));
    return HttpResponse::json(200, wrapped("snapshots", std::move(snapshots), p.token));
}

}  // namespace tavix::test
