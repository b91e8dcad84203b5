#include "alpaca/AlpacaEndpoints.h"

#include <gtest/gtest.h>

namespace tavix {
namespace {

Date at(const char* iso) {
    return Date::parseIso(QString::fromLatin1(iso)).value();
}

TEST(AlpacaEndpoints, UrlKeepsQueryOrderAndEncodesWhatAServerWouldMisread) {
    const AlpacaEndpoints endpoints(QUrl(QStringLiteral("http://127.0.0.1:8080/")),
                                    QUrl(QStringLiteral("http://127.0.0.1:9090")));
    const QUrl orders =
        endpoints.url(AlpacaHost::trading, QStringLiteral("/v2/orders"),
                      {{QStringLiteral("status"), QStringLiteral("all")},
                       {QStringLiteral("limit"), QStringLiteral("100")},
                       {QStringLiteral("nested"), QStringLiteral("true")},
                       {QStringLiteral("after"), QStringLiteral("2026-03-02T10:00:00+05:00")}});
    EXPECT_EQ(orders.toString(QUrl::FullyEncoded),
              QStringLiteral("http://127.0.0.1:8080/v2/orders?status=all&limit=100&nested=true"
                             "&after=2026-03-02T10:00:00%2B05:00"));

    const QUrl crypto = endpoints.url(AlpacaHost::data, QStringLiteral("/v1beta3/crypto/us/snapshots"),
                                      {{QStringLiteral("symbols"), QStringLiteral("BTC/USD,ETH/USD")},
                                       {QStringLiteral("page_token"), QStringLiteral("a b&c=d")}});
    EXPECT_EQ(crypto.toString(QUrl::FullyEncoded),
              QStringLiteral("http://127.0.0.1:9090/v1beta3/crypto/us/snapshots?symbols=BTC/USD,ETH/USD"
                             "&page_token=a%20b%26c%3Dd"));
    EXPECT_EQ(endpoints.url(AlpacaHost::trading, QStringLiteral("/v2/clock")).toString(),
              QStringLiteral("http://127.0.0.1:8080/v2/clock"));
}

TEST(AlpacaEndpoints, DaysAreNewYorkCalendarDays) {
    // 03:00 UTC is still the evening before in New York.
    EXPECT_EQ(AlpacaEndpoints::day(at("2026-03-03T03:00:00Z")), QStringLiteral("2026-03-02"));
    EXPECT_EQ(AlpacaEndpoints::day(at("2026-03-03T05:00:00Z")), QStringLiteral("2026-03-03"));
    // Whole days across a month end, a leap day and the spring clock change.
    EXPECT_EQ(AlpacaEndpoints::day(at("2026-02-28T15:00:00Z"), 1), QStringLiteral("2026-03-01"));
    EXPECT_EQ(AlpacaEndpoints::day(at("2028-02-28T15:00:00Z"), 1), QStringLiteral("2028-02-29"));
    EXPECT_EQ(AlpacaEndpoints::day(at("2026-03-08T04:30:00Z"), 1), QStringLiteral("2026-03-08"));
    EXPECT_EQ(AlpacaEndpoints::day(at("2026-03-10T12:00:00Z"), -45), QStringLiteral("2026-01-24"));
}

}  // namespace
}  // namespace tavix
