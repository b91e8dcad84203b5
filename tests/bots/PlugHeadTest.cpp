#include "bots/PlugHead.h"
#include "bots/PlugRates.h"

#include <gtest/gtest.h>

namespace tavix {
namespace {

constexpr quint16 port = 7377;

PlugHead head(const QByteArray& text) {
    auto parsed = PlugHead::parse(text);
    EXPECT_TRUE(std::holds_alternative<PlugHead>(parsed)) << text.toStdString();
    return std::holds_alternative<PlugHead>(parsed) ? std::get<PlugHead>(parsed) : PlugHead{};
}

// The reply as bytes, or "passed" when the gates let it through.
QByteArray gated(const QByteArray& text) {
    const auto decided = head(text).gate(port);
    return std::holds_alternative<PlugReply>(decided) ? std::get<PlugReply>(decided).wire() : QByteArray("passed");
}

QByteArray refusalWire(int status, const char* error, const QByteArray& extra = {}) {
    const QByteArray body = QByteArray("{\"error\":\"") + error + "\"}";
    return "HTTP/1.1 " + QByteArray::number(status) + ' ' + PlugReply::phrase(status) +
           "\r\nContent-Type: application/json\r\nContent-Length: " + QByteArray::number(body.size()) +
           "\r\nConnection: close\r\nCache-Control: no-store\r\n" + extra + "\r\n" + body;
}

TEST(PlugReply, TheWireFormByteForByte) {
    EXPECT_EQ((PlugReply{200, "{}", {{"X-A", "b"}}}.wire()),
              QByteArray("HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 2\r\nConnection: close\r\n"
                         "Cache-Control: no-store\r\nX-A: b\r\n\r\n{}"));
    EXPECT_EQ(PlugReply::phrase(413), QByteArray("Content Too Large"));
    EXPECT_EQ(PlugReply::phrase(431), QByteArray("Request Header Fields Too Large"));
    EXPECT_EQ(PlugReply::phrase(418), QByteArray("Status"));
}

TEST(PlugHead, TheHeadEndsAtTheBlankLineWithinSixteenKilobytes) {
    EXPECT_TRUE(std::holds_alternative<std::monostate>(PlugHead::scan("GET / HTTP/1.1\r\nHost: x")));
    EXPECT_EQ(std::get<qsizetype>(PlugHead::scan("GET / HTTP/1.1\r\n\r\nbody")), 18);
    const QByteArray huge = "GET / HTTP/1.1\r\nX: " + QByteArray(PlugHead::mostHeadBytes, 'a');
    const auto refused = PlugHead::scan(huge);
    ASSERT_TRUE(std::holds_alternative<PlugReply>(refused));
    EXPECT_EQ(std::get<PlugReply>(refused).wire(), refusalWire(431, "The headers are too big: 16 KB is the most."));
}

TEST(PlugHead, EachUnreadableHeadHasItsSentence) {
    const std::vector<std::pair<QByteArray, QByteArray>> cases = {
        {"GET / HTTP/1.1\r\nX: \xff", refusalWire(400, "The request isn't readable text.")},
        {"GET /\r\n", refusalWire(400, "The first line is METHOD /path HTTP/1.1.")},
        {"GET / HTTP/2\r\n", refusalWire(505, "Send HTTP/1.1.")},
        {"GET /%ff%fe HTTP/1.1\r\n", refusalWire(400, "The path isn't readable.")},
        {"GET / HTTP/1.1\r\nNoColon\r\n", refusalWire(400, "A header has no colon.")},
        {"GET / HTTP/1.1\r\nBad Name: x\r\n", refusalWire(400, "A header's name isn't valid.")},
        {"GET / HTTP/1.1\r\nX: a\x01" "b\r\n", refusalWire(400, "A header's value isn't valid.")},
    };
    for (const auto& [text, wire] : cases) {
        const auto parsed = PlugHead::parse(text);
        ASSERT_TRUE(std::holds_alternative<PlugReply>(parsed)) << text.toStdString();
        EXPECT_EQ(std::get<PlugReply>(parsed).wire(), wire) << text.toStdString();
    }
    const PlugHead fine = head("POST /v1/orders?x=1 HTTP/1.0\r\ncontent-LENGTH: 5\r\nExpect: 100-continue\r\n");
    EXPECT_EQ(fine.path, QStringLiteral("/v1/orders"));
    EXPECT_EQ(fine.query, QStringLiteral("x=1"));
    EXPECT_EQ(fine.value("Content-Length"), QByteArray("5"));
    EXPECT_TRUE(fine.expectsContinue());
}

// The gates in their order: the first that refuses answers.
TEST(PlugHead, TheGatesRefuseInTurn) {
    const QByteArray key = "Authorization: Bearer k1\r\n";
    const QByteArray host = "Host: 127.0.0.1:7377\r\n";
    EXPECT_EQ(gated("GET /v1/account HTTP/1.1\r\nOrigin: https://x.example\r\n" + key),
              refusalWire(403, "Bots connect from programs, not web pages."));
    EXPECT_EQ(gated("GET /v1/account HTTP/1.1\r\nHost: evil.example\r\n" + key),
              refusalWire(403, "Connect to 127.0.0.1:7377 or localhost:7377."));
    EXPECT_EQ(gated("POST /v1/orders HTTP/1.1\r\nTransfer-Encoding: chunked\r\n" + host + key),
              refusalWire(411, "Send the body with a Content-Length: chunked bodies aren't read."));
    EXPECT_EQ(gated("POST /v1/orders HTTP/1.1\r\nContent-Length: 1\r\nContent-Length: 1\r\n" + key),
              refusalWire(400, "Send one Content-Length."));
    EXPECT_EQ(gated("POST /v1/orders HTTP/1.1\r\n" + key), refusalWire(411, "Send a Content-Length with the body."));
    EXPECT_EQ(gated("POST /v1/orders HTTP/1.1\r\nContent-Length: 123456789012\r\n" + key),
              refusalWire(400, "The Content-Length isn't a number."));
    EXPECT_EQ(gated("POST /v1/orders HTTP/1.1\r\nContent-Length: -1\r\n" + key),
              refusalWire(400, "The Content-Length isn't a number."));
    EXPECT_EQ(gated("POST /v1/orders HTTP/1.1\r\nContent-Length: 65537\r\n" + key),
              refusalWire(413, "The body is too big: 64 KB is the most."));
    EXPECT_EQ(gated("GET / HTTP/1.1\r\nHost: localhost:7377\r\n"), QByteArray("passed"));
    EXPECT_EQ(gated("GET /v1/account HTTP/1.1\r\n" + host),
              refusalWire(401, "No key. Add the bot in Tavix and send its key.",
                          "WWW-Authenticate: Bearer realm=\"tavix\"\r\n"));
    const auto passed = head("POST /mcp HTTP/1.1\r\nContent-Length: 65536\r\nauthorization: BEARER  k2 \r\n").gate(port);
    ASSERT_TRUE(std::holds_alternative<PlugHead::Passed>(passed));
    EXPECT_EQ(std::get<PlugHead::Passed>(passed).key, QStringLiteral("k2"));
    EXPECT_EQ(std::get<PlugHead::Passed>(passed).bodyLength, 65536);
}

// 120 requests in any 60 seconds; the 121st waits until the oldest ages out, at least a second.
TEST(PlugRates, TheHundredAndTwentyFirstWaitsAndMadeUpKeysAreForgotten) {
    PlugRates rates;
    for (int i = 0; i < 120; ++i) ASSERT_EQ(rates.admit(QStringLiteral("k"), 1000 + i * 0.25), std::nullopt);
    EXPECT_EQ(rates.admit(QStringLiteral("k"), 1030), 30);  // the oldest is 30 s old
    EXPECT_EQ(rates.admit(QStringLiteral("k"), 1059.9), 1);
    EXPECT_EQ(rates.admit(QStringLiteral("k"), 1060), std::nullopt);  // the oldest aged out
    EXPECT_EQ(rates.admit(QStringLiteral("other"), 1060), std::nullopt);
    EXPECT_EQ(PlugRates::refusal(30),
              QStringLiteral("Too many requests: a bot may ask 120 times a minute. Try again in 30 seconds."));

    PlugRates flood;
    for (int i = 0; i < 600; ++i) flood.admit(QStringLiteral("made-up-") + QString::number(i), i < 512 ? 0 : 100);
    EXPECT_LT(flood.keys(), 100u);
    EXPECT_EQ(PlugRates::fingerprint(QStringLiteral("k")).size(), 32);
}

}  // namespace
}  // namespace tavix
