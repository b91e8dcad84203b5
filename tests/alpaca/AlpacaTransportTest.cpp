#include "alpaca/AlpacaTransport.h"

#include "market/BrokerError.h"
#include "support/Await.h"
#include "support/FakeAlpaca.h"
#include "support/LogCapture.h"

#include <QElapsedTimer>
#include <QNetworkAccessManager>

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>

namespace tavix {
namespace {

using namespace std::chrono_literals;
using test::FakeAlpaca;
using Host = AlpacaTransport::Host;

const QString alpacaCategory = QStringLiteral("com.brindlecove.tavix.alpaca");

// A clock that moves only when the budget sleeps.
struct FakeTime {
    Date now = Date::parseIso(u"2026-03-02T15:00:00Z").value();
    std::vector<double> sleeps;
};

QCoro::Task<void> passTime(FakeTime* time, double seconds) {
    time->sleeps.push_back(seconds);
    time->now += seconds;
    co_return;
}

template <class T>
BrokerError caught(QCoro::Task<T> task) {
    try {
        test::await(std::move(task));
    } catch (const BrokerError& error) {
        return error;
    }
    ADD_FAILURE() << "the request did not fail";
    return BrokerError::notConnected();
}

Json marketOrder(const char* symbol, const char* qty, const char* side) {
    Json order = Json::object();
    order.set("symbol", symbol).set("qty", qty).set("side", side).set("type", "market");
    order.set("time_in_force", "day");
    return order;
}

// Reads "next_page_token" and counts the items of one list member.
AlpacaTransport::PageReader countingPages(const char* member, int* items) {
    return [member, items](const QByteArray& body) -> std::optional<QString> {
        const Json page = Json::parse(body);
        *items += static_cast<int>(page.at(member).size());
        const Json* token = page.find("next_page_token");
        if (!token || token->isNull()) return std::nullopt;
        return token->toQString();
    };
}

class AlpacaTransportTest : public ::testing::Test {
protected:
    AlpacaTransport::Options options(std::chrono::milliseconds timeout = 5s) {
        AlpacaTransport::Options o;
        o.timeout = timeout;
        o.clock = [t = &time] { return t->now; };
        o.sleeper = [t = &time](double seconds) { return passTime(t, seconds); };
        o.refusal = [this](const QString& message, const std::optional<Decimal>& held,
                           const std::optional<Decimal>& resting) -> std::optional<QString> {
            refusals.push_back({message, held, resting});
            if (message.contains(QStringLiteral("insufficient qty")))
                return QStringLiteral("only 3 free to sell.");
            return std::nullopt;
        };
        return o;
    }
    AlpacaTransport transport(std::chrono::milliseconds timeout = 5s) {
        return AlpacaTransport(fake.endpoints(), fake.credentials(), &network, options(timeout));
    }

    struct Refusal {
        QString message;
        std::optional<Decimal> held;
        std::optional<Decimal> resting;
    };

    FakeAlpaca fake;
    QNetworkAccessManager network;
    FakeTime time;
    std::vector<Refusal> refusals;
    test::LogCapture log;
};

TEST_F(AlpacaTransportTest, SendsMethodPathQueryInOrderTheThreeHeadersAndAJsonBody) {
    AlpacaTransport alpaca = transport();
    test::await(alpaca.get(Host::trading, QStringLiteral("/v2/orders"),
                           {{QStringLiteral("status"), QStringLiteral("all")},
                            {QStringLiteral("limit"), QStringLiteral("100")},
                            {QStringLiteral("nested"), QStringLiteral("true")},
                            {QStringLiteral("after"), QStringLiteral("2026-03-02T09:30:00+00:00")}}));
    Json body = Json::object();
    body.set("symbol", "AAPL").set("qty", "2").set("side", "buy").set("type", "limit");
    body.set("time_in_force", "day").set("limit_price", "150.25").set("client_order_id", "tavix-7");
    const QByteArray placed = test::await(alpaca.post(Host::trading, QStringLiteral("/v2/orders"), body));
    const QString id = FakeAlpaca::field(Json::parse(placed), "id");
    fake.stage([](const test::HttpRequest& r) { return r.method != "GET" && r.method != "POST"; },
               test::HttpResponse::json(200, Json::object()), -1);
    test::await(alpaca.patch(Host::trading, QStringLiteral("/v2/orders/") + id,
                             Json(Json::Object{{"limit_price", Json("151")}})));
    test::await(alpaca.del(Host::trading, QStringLiteral("/v2/orders/") + id));
    test::await(alpaca.put(Host::trading,
                           QStringLiteral("/v2/watchlists/3174d6df-7726-44b4-a5bd-7fda5ae6e009"),
                           Json(Json::Object{{"name", Json("Primary Watchlist")},
                                             {"symbols", Json(Json::Array{Json("SPY")})}})));
    test::await(alpaca.get(Host::data, QStringLiteral("/v1beta3/crypto/us/snapshots"),
                           {{QStringLiteral("symbols"), QStringLiteral("BTC/USD,ETH/USD")}}));

    const auto& sent = fake.requests();
    ASSERT_EQ(sent.size(), 6u);
    EXPECT_EQ(sent[0].method, "GET");
    EXPECT_EQ(sent[0].path, QStringLiteral("/v2/orders"));
    EXPECT_EQ(sent[0].query, (QList<QPair<QString, QString>>{
                                 {QStringLiteral("status"), QStringLiteral("all")},
                                 {QStringLiteral("limit"), QStringLiteral("100")},
                                 {QStringLiteral("nested"), QStringLiteral("true")},
                                 {QStringLiteral("after"), QStringLiteral("2026-03-02T09:30:00+00:00")}}));
    EXPECT_FALSE(sent[0].header("Content-Type").has_value());
    for (const auto& request : sent) {
        EXPECT_EQ(request.header("APCA-API-KEY-ID"), fake.key.toUtf8());
        EXPECT_EQ(request.header("APCA-API-SECRET-KEY"), fake.secret.toUtf8());
        EXPECT_EQ(request.header("Accept"), QByteArray("application/json"));
    }
    EXPECT_EQ(sent[1].method, "POST");
    EXPECT_EQ(sent[1].header("Content-Type"), QByteArray("application/json"));
    EXPECT_EQ(sent[1].json(), body);
    EXPECT_EQ(sent[2].method, "PATCH");
    EXPECT_EQ(sent[2].path, QStringLiteral("/v2/orders/") + id);
    EXPECT_EQ(sent[2].json(), Json(Json::Object{{"limit_price", Json("151")}}));
    EXPECT_EQ(sent[3].method, "DELETE");
    EXPECT_TRUE(sent[3].body.isEmpty());
    EXPECT_EQ(sent[4].method, "PUT");
    EXPECT_EQ(sent[5].queryValue(QStringLiteral("symbols")), QStringLiteral("BTC/USD,ETH/USD"));
    // The trading host's answers come back as Alpaca sent them.
    EXPECT_EQ(FakeAlpaca::field(Json::parse(placed), "limit_price"), QStringLiteral("150.25"));
}

TEST_F(AlpacaTransportTest, A429GivesRateLimitedWithTheRetryAfterSecondsAndLogsThem) {
    AlpacaTransport alpaca = transport();
    fake.rateLimit(FakeAlpaca::on("GET", QStringLiteral("/v2/account")), 7);
    EXPECT_EQ(caught(alpaca.get(Host::trading, QStringLiteral("/v2/account"))),
              BrokerError::rateLimited(7.0));
    fake.rateLimit(FakeAlpaca::on("GET", QStringLiteral("/v2/stocks")), std::nullopt);
    const BrokerError withoutWait = caught(alpaca.get(Host::data, QStringLiteral("/v2/stocks/snapshots"),
                                                      {{QStringLiteral("symbols"), QStringLiteral("AAPL")}}));
    EXPECT_EQ(withoutWait, BrokerError::rateLimited(std::nullopt));
    EXPECT_EQ(log.messages(alpacaCategory),
              (QStringList{QStringLiteral("429 from Alpaca on /v2/account, retry after 7"),
                           QStringLiteral("429 from Alpaca on /v2/stocks/snapshots, retry after -1")}));
    // Nothing is retried: one request each.
    EXPECT_EQ(fake.requests().size(), 2u);
}

TEST_F(AlpacaTransportTest, OtherStatusesBecomeApiErrorsWithAlpacasMessageOrTheBodyText) {
    AlpacaTransport alpaca = transport();
    fake.fail(FakeAlpaca::on("GET", QStringLiteral("/v2/positions")), 503, 50310000,
              QStringLiteral("service unavailable"));
    EXPECT_EQ(caught(alpaca.get(Host::trading, QStringLiteral("/v2/positions"))),
              BrokerError::api(503, QStringLiteral("service unavailable")));

    fake.garble(FakeAlpaca::on("GET", QStringLiteral("/v2/clock")), "<html>\n  <b>Bad gateway</b>\n</html>",
                502);
    EXPECT_EQ(caught(alpaca.get(Host::trading, QStringLiteral("/v2/clock"))),
              BrokerError::api(502, QStringLiteral("<html> <b>Bad gateway</b> </html>")));

    fake.stage(FakeAlpaca::on("GET", QStringLiteral("/v2/assets")), test::HttpResponse::empty(500));
    EXPECT_EQ(caught(alpaca.get(Host::trading, QStringLiteral("/v2/assets"))),
              BrokerError::api(500, QStringLiteral("Internal Server Error")));

    // A refusal away from the order paths is not an order refusal.
    fake.fail(FakeAlpaca::on("DELETE", QStringLiteral("/v2/orders/")), 422, 42210000,
              QStringLiteral("order is not cancelable"));
    EXPECT_EQ(
        caught(alpaca.del(Host::trading, QStringLiteral("/v2/orders/61e69015-8549-4bfd-b9c3-01e75843f47d"))),
        BrokerError::api(422, QStringLiteral("order is not cancelable")));
    EXPECT_TRUE(refusals.empty());
}

TEST_F(AlpacaTransportTest, OrderRefusalsBecomeInvalidOrderWithThePlainSentenceWhenThereIsOne) {
    AlpacaTransport alpaca = transport();
    const Json order = marketOrder("LIDR", "5", "sell");

    fake.fail(FakeAlpaca::on("POST", QStringLiteral("/v2/orders")), 403, 40310000,
              QStringLiteral("insufficient qty available for order (requested: 5, available: 3)"),
              {{"available", Json("3")}, {"existing_qty", Json("5")}, {"held_for_orders", Json("2")}});
    EXPECT_EQ(caught(alpaca.post(Host::trading, QStringLiteral("/v2/orders"), order)),
              BrokerError::invalidOrder(QStringLiteral("only 3 free to sell.")));
    ASSERT_EQ(refusals.size(), 1u);
    EXPECT_EQ(refusals[0].held, Decimal::parse("5"));
    EXPECT_EQ(refusals[0].resting, Decimal::parse("2"));

    fake.fail(FakeAlpaca::on("POST", QStringLiteral("/v2/orders")), 422, 42210000,
              QStringLiteral("sub-penny increment does not fulfill minimum pricing criteria"));
    EXPECT_EQ(caught(alpaca.post(Host::trading, QStringLiteral("/v2/orders"), order)),
              BrokerError::invalidOrder(
                  QStringLiteral("sub-penny increment does not fulfill minimum pricing criteria")));

    fake.fail(FakeAlpaca::on("PATCH", QStringLiteral("/v2/orders/")), 422, 42210000,
              QStringLiteral("stop price must be less than current price"));
    EXPECT_EQ(
        caught(alpaca.patch(Host::trading, QStringLiteral("/v2/orders/a1d3f5c2-6b8e-4f10-9c2d-3e4f5a6b7c8d"),
                            Json(Json::Object{{"stop_price", Json("200")}}))),
        BrokerError::invalidOrder(QStringLiteral("stop price must be less than current price")));
    EXPECT_EQ(refusals.size(), 3u);
    EXPECT_EQ(refusals[2].held, std::nullopt);
}

TEST_F(AlpacaTransportTest, NoAnswerIsATransportErrorAndTheOrderIsNeverSentTwice) {
    AlpacaTransport alpaca = transport();
    const Json order = marketOrder("AAPL", "1", "buy");
    const std::size_t held = fake.orders.size();
    fake.drop(FakeAlpaca::on("POST", QStringLiteral("/v2/orders")));
    const BrokerError error = caught(alpaca.post(Host::trading, QStringLiteral("/v2/orders"), order));
    EXPECT_EQ(error.kind(), BrokerError::Kind::transport);
    EXPECT_TRUE(error.text().startsWith(QStringLiteral("no HTTP response"))) << error.text().toStdString();
    // Give a resend every chance to show up.
    test::eventually([] { return false; }, 200ms);
    EXPECT_EQ(fake.count("POST", QStringLiteral("/v2/orders")), 1);
    EXPECT_EQ(fake.orders.size(), held);

    // Qt itself tries a GET again on a fresh connection, which is harmless; drop every try.
    fake.drop(FakeAlpaca::on("GET", QStringLiteral("/v2/account")), -1);
    EXPECT_EQ(caught(alpaca.get(Host::trading, QStringLiteral("/v2/account"))).kind(),
              BrokerError::Kind::transport);

    // A slow answer times out, without a second try.
    AlpacaTransport impatient = transport(150ms);
    fake.slow(FakeAlpaca::on("POST", QStringLiteral("/v2/orders")), 1500ms);
    QElapsedTimer clock;
    clock.start();
    EXPECT_EQ(caught(impatient.post(Host::trading, QStringLiteral("/v2/orders"), order)),
              BrokerError::transport(QStringLiteral("no HTTP response (no answer in 0.15 s)")));
    EXPECT_LT(clock.elapsed(), 1200);
    EXPECT_EQ(fake.count("POST", QStringLiteral("/v2/orders")), 2);

    const QUrl nowhere(QStringLiteral("http://127.0.0.1:1"));
    AlpacaTransport unreachable(AlpacaEndpoints(nowhere, nowhere), fake.credentials(), &network, options());
    EXPECT_EQ(caught(unreachable.get(Host::trading, QStringLiteral("/v2/account"))),
              BrokerError::transport(QStringLiteral("no HTTP response (connection refused)")));
}

TEST_F(AlpacaTransportTest, PagingFollowsTokensToTheEndAndKeepsTheQueryOrder) {
    AlpacaTransport alpaca = transport();
    int bars = 0;
    test::await(alpaca.pages(Host::data, QStringLiteral("/v2/stocks/AAPL/bars"),
                             {{QStringLiteral("timeframe"), QStringLiteral("1Day")},
                              {QStringLiteral("limit"), QStringLiteral("4")},
                              {QStringLiteral("feed"), QStringLiteral("iex")}},
                             countingPages("bars", &bars)));
    EXPECT_EQ(bars, 10);
    const auto asked = fake.requests("GET", QStringLiteral("/v2/stocks/AAPL/bars"));
    ASSERT_EQ(asked.size(), 3u);
    EXPECT_EQ(asked[0].queryKeys(),
              (QStringList{QStringLiteral("timeframe"), QStringLiteral("limit"), QStringLiteral("feed")}));
    EXPECT_EQ(asked[2].queryKeys(), (QStringList{QStringLiteral("timeframe"), QStringLiteral("limit"),
                                                 QStringLiteral("feed"), QStringLiteral("page_token")}));
}

TEST_F(AlpacaTransportTest, PagingStopsOnARepeatedTokenAndAfterAThousandPages) {
    AlpacaTransport alpaca = transport();
    fake.setPaging(QStringLiteral("/v2/options/contracts"), FakeAlpaca::Paging::repeatToken);
    int contracts = 0;
    EXPECT_EQ(
        caught(alpaca.pages(Host::trading, QStringLiteral("/v2/options/contracts"),
                            {{QStringLiteral("underlying_symbols"), QStringLiteral("AAPL")},
                             {QStringLiteral("limit"), QStringLiteral("2")}},
                            countingPages("option_contracts", &contracts))),
        BrokerError::decoding(QStringLiteral("Alpaca kept paging (2 pages); stopped rather than loop")));
    const auto asked = fake.requests("GET", QStringLiteral("/v2/options/contracts"));
    ASSERT_EQ(asked.size(), 2u);
    EXPECT_EQ(asked[0].queryValue(QStringLiteral("page_token")), std::nullopt);
    EXPECT_TRUE(asked[1].queryValue(QStringLiteral("page_token")).has_value());

    fake.setPaging(QStringLiteral("/v1beta1/options/snapshots/AAPL"), FakeAlpaca::Paging::endless);
    int snapshots = 0;
    EXPECT_EQ(
        caught(alpaca.pages(Host::data, QStringLiteral("/v1beta1/options/snapshots/AAPL"),
                            {{QStringLiteral("feed"), QStringLiteral("indicative")},
                             {QStringLiteral("limit"), QStringLiteral("5")}},
                            countingPages("snapshots", &snapshots))),
        BrokerError::decoding(QStringLiteral("Alpaca kept paging (1000 pages); stopped rather than loop")));
    EXPECT_EQ(fake.count("GET", QStringLiteral("/v1beta1/options/snapshots/AAPL")), 1000);
    EXPECT_EQ(snapshots, 12);
    // A thousand data requests cost six full minutes of the budget, all waited for.
    EXPECT_EQ(time.sleeps.size(), 6u);
}

TEST_F(AlpacaTransportTest, KeysAndSecretsStayOutOfErrorsAndLogs) {
    AlpacaTransport alpaca = transport();
    std::vector<BrokerError> errors;
    fake.rateLimit(FakeAlpaca::on("GET", QStringLiteral("/v2/account")), 3);
    errors.push_back(caught(alpaca.get(Host::trading, QStringLiteral("/v2/account"))));
    // A proxy that echoes the request back in its error page.
    fake.garble(
        FakeAlpaca::on("GET", QStringLiteral("/v2/clock")),
        "bad request: APCA-API-KEY-ID=" + fake.key.toUtf8() + " APCA-API-SECRET-KEY=" + fake.secret.toUtf8(),
        400);
    errors.push_back(caught(alpaca.get(Host::trading, QStringLiteral("/v2/clock"))));
    fake.fail(FakeAlpaca::on("POST", QStringLiteral("/v2/orders")), 403, 40310000,
              QStringLiteral("key ") + fake.key + QStringLiteral(" refused"));
    errors.push_back(caught(alpaca.post(Host::trading, QStringLiteral("/v2/orders"), Json::object())));
    // Qt itself tries a GET again on a fresh connection; drop every try.
    fake.drop(FakeAlpaca::on("GET", QStringLiteral("/v2/positions")), -1);
    errors.push_back(caught(alpaca.get(Host::trading, QStringLiteral("/v2/positions"))));
    AlpacaTransport wrongSecret(fake.endpoints(), {fake.key, QStringLiteral("notTheSecretAtAll0123456789")},
                                &network, options());
    errors.push_back(caught(wrongSecret.get(Host::trading, QStringLiteral("/v2/account"))));
    EXPECT_EQ(errors.back(), BrokerError::api(401, QStringLiteral("unauthorized")));

    for (const BrokerError& error : errors) {
        EXPECT_FALSE(error.description().contains(fake.key)) << error.what();
        EXPECT_FALSE(error.description().contains(fake.secret)) << error.what();
        EXPECT_FALSE(QString::fromUtf8(error.what()).contains(fake.secret));
    }
    EXPECT_EQ(errors[1].text(),
              QStringLiteral("bad request: APCA-API-KEY-ID=(hidden) APCA-API-SECRET-KEY=(hidden)"));
    EXPECT_FALSE(log.lines().empty());
    EXPECT_FALSE(log.mentions(fake.key));
    EXPECT_FALSE(log.mentions(fake.secret));
    EXPECT_FALSE(log.mentions(QStringLiteral("notTheSecretAtAll0123456789")));
}

TEST_F(AlpacaTransportTest, ARequestOutlivesTheTransportThatSentIt) {
    fake.slow(FakeAlpaca::on("GET", QStringLiteral("/v2/clock")), 100ms);
    std::optional<AlpacaTransport> alpaca(transport());
    auto pending = alpaca->get(Host::trading, QStringLiteral("/v2/clock"));
    alpaca.reset();
    const Json clock = Json::parse(test::await(std::move(pending)));
    EXPECT_TRUE(clock.at("is_open").toBool());
}

}  // namespace
}  // namespace tavix
