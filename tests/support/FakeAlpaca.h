#pragma once

// Alpaca's trading and market-data REST services on one loopback port, told apart by path. The
// state is kept in Alpaca's own shapes (trading numbers as strings, market data as numbers,
// timestamps with nine fraction digits, stock snapshots as a bare symbol map) and tests edit it
// freely. Every request is recorded; troubles are staged on demand: 429 with or without
// Retry-After, 5xx, refusals, bodies that do not decode, slow answers, dropped connections, and
// paging that repeats its token or never ends.

#include "alpaca/AlpacaEndpoints.h"
#include "alpaca/AlpacaTransport.h"
#include "market/Json.h"
#include "support/HttpServer.h"

#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace tavix::test {

class FakeAlpaca {
public:
    // How list endpoints hand out "next_page_token".
    enum class Paging {
        normal,       // a token while items remain
        repeatToken,  // every later page gives back the token it was asked with
        endless,      // a fresh token on every page, even past the last item
    };

    FakeAlpaca();

    // Trading and data both at this server; the stream base is never reached by REST tests.
    AlpacaEndpoints endpoints() const;
    AlpacaCredentials credentials() const { return {key, secret}; }

    // The key pair the fake accepts; anything else gets 401 {"message":"unauthorized"}.
    QString key = QStringLiteral("PKFAKE7Q4RL2ZK9XWM3N");
    QString secret = QStringLiteral("fakeSecretZ8mQ2vN5rT1yB6kP0wJ4hL7xC3dF9sG");

    // What was asked, oldest first; `path` matches exactly.
    const std::vector<HttpRequest>& requests() const { return server_.requests(); }
    std::vector<HttpRequest> requests(const QByteArray& method, const QString& path) const;
    int count(const QByteArray& method, const QString& path) const;
    void clearRequests() { server_.clearRequests(); }

    // ---- Troubles. Each answers the next `times` requests that match (-1: every one), in
    // place of the route, first staged first.
    using Match = std::function<bool(const HttpRequest&)>;
    void stage(Match match, HttpResponse response, int times = 1);
    // Matches a method and a path that starts with `pathPrefix`.
    static Match on(QByteArray method, QString pathPrefix);

    void rateLimit(Match match, std::optional<int> retryAfter, int times = 1);
    // Alpaca's error record {"code","message"} with extra members, at `status`.
    void fail(Match match, int status, int code, QString message, Json::Object extra = {}, int times = 1);
    // A body that is not the record the route would give.
    void garble(Match match, QByteArray body = "<html>upstream hiccup</html>", int status = 200,
                int times = 1);
    // The route's own answer, sent late.
    void slow(Match match, std::chrono::milliseconds delay, int times = 1);
    void drop(Match match, int times = 1);

    // Paging of list endpoints whose path starts with `pathPrefix`.
    void setPaging(QString pathPrefix, Paging paging) { paging_.emplace_back(std::move(pathPrefix), paging); }

    // ---- The service's state, in Alpaca's shapes.
    Json account;
    Json clock;
    // Free keys read the consolidated ("sip") feed only up to 15 minutes before the clock's
    // timestamp; a bars request that names no end, or a later one, is refused as Alpaca refuses it.
    bool freeDataPlan = true;
    std::vector<Json> positions;
    std::vector<Json> orders;  // parents, with their legs nested
    std::vector<Json> assets;
    std::vector<Json> watchlists;  // with "assets"; the listing leaves them out
    std::vector<Json> activities;  // newest first
    std::vector<Json> optionContracts;
    std::map<QString, Json> stockSnapshots;
    std::map<QString, Json> optionSnapshots;
    std::map<QString, Json> cryptoSnapshots;
    // Bars by (symbol, timeframe), oldest first; trades by symbol, oldest first.
    std::map<std::pair<QString, QString>, std::vector<Json>> stockBars;
    std::map<QString, std::vector<Json>> stockTrades;

    // ---- Builders in Alpaca's shapes, for tests that add their own state.
    static Json bar(const QString& t, const char* open, const char* high, const char* low, const char* close,
                    long long volume);
    static Json trade(const QString& t, const char* price, const char* size, long long id);
    static Json order(const QString& id, const QString& symbol, const QString& side, const QString& type,
                      const QString& qty, const QString& status);
    static Json error(int code, const QString& message);

    // A member's text: a string as it is, a number as written; empty when absent or null.
    static QString field(const Json& object, std::string_view key);
    // Replaces a member, or appends it when absent.
    static Json& put(Json& object, std::string_view key, Json value);

private:
    struct Staged {
        Match match;
        HttpResponse response;
        int times;
    };
    // One page, [from, to) of a list of `items`, and the token for the next (null at the end).
    struct Page {
        qsizetype from = 0;
        qsizetype to = 0;
        Json token;
    };

    HttpResponse handle(const HttpRequest& request);
    HttpResponse tradingRoute(const HttpRequest& request);
    HttpResponse dataRoute(const HttpRequest& request);
    HttpResponse placeOrder(const HttpRequest& request);
    HttpResponse watchlistsRoute(const HttpRequest& request, const QStringList& parts);
    HttpResponse activitiesRoute(const HttpRequest& request);
    HttpResponse optionContractsRoute(const HttpRequest& request);
    HttpResponse barsRoute(const HttpRequest& request, const std::optional<QString>& symbol);
    HttpResponse optionSnapshotsRoute(const HttpRequest& request, const std::optional<QString>& underlying);

    Page page(const HttpRequest& request, std::size_t items) const;
    Json newOrder(const Json& body);
    void setUpState();

    std::vector<Staged> staged_;
    std::vector<std::pair<QString, Paging>> paging_;
    int nextID_ = 1;
    HttpServer server_;
};

// A query value, empty when absent.
QString queryText(const HttpRequest& request, const char* key);

}  // namespace tavix::test
