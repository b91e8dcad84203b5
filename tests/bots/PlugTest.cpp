#include "bots/Plug.h"
#include "bots/PlugReply.h"

#include "market/Json.h"
#include "support/Await.h"

#include <QElapsedTimer>
#include <QTcpSocket>

#include <sys/resource.h>

#include <algorithm>

#include <gtest/gtest.h>

#include <atomic>

namespace tavix {
namespace {

using test::await;
using test::eventually;

// Answers every request with its kind and the key it came with.
class EchoDesk : public PlugHandler {
public:
    QCoro::Task<PlugAnswer> answer(PlugRequest request, QString key) override {
        ++answered;
        Json body = Json::object();
        body.set("kind", Json(static_cast<int>(request.index())));
        body.set("key", Json(key));
        co_return PlugAnswer{200, body.serialize()};
    }
    int answered = 0;
};

class PlugTest : public ::testing::Test {
protected:
    void SetUp() override {
        plug = std::make_unique<Plug>(&desk, 0, [this] { return now.load(); });
        await(plug->start());
        ASSERT_TRUE(plug->listening());
    }

    QTcpSocket* connectToPlug() {
        auto* socket = new QTcpSocket;
        sockets.emplace_back(socket);
        socket->connectToHost(QStringLiteral("127.0.0.1"), plug->port());
        EXPECT_TRUE(eventually([&] { return socket->state() == QAbstractSocket::ConnectedState; }));
        return socket;
    }
    // Sends a request and reads everything until the plug closes the connection.
    QByteArray exchange(const QByteArray& request) {
        QTcpSocket* socket = connectToPlug();
        socket->write(request);
        EXPECT_TRUE(eventually([&] { return socket->state() == QAbstractSocket::UnconnectedState; }));
        return socket->readAll();
    }
    QByteArray host() const { return "Host: 127.0.0.1:" + QByteArray::number(plug->port()) + "\r\n"; }
    static int status(const QByteArray& reply) { return reply.mid(9, 3).toInt(); }

    EchoDesk desk;
    std::atomic<double> now{1000};
    std::unique_ptr<Plug> plug;
    std::vector<std::unique_ptr<QTcpSocket>> sockets;
};

TEST_F(PlugTest, AnswersOverRealSocketsOneRequestAConnection) {
    const QByteArray index = exchange("GET / HTTP/1.1\r\n" + host() + "\r\n");
    EXPECT_TRUE(index.startsWith("HTTP/1.1 200 OK\r\nContent-Type: application/json\r\n"));
    EXPECT_TRUE(index.contains("\r\nConnection: close\r\nCache-Control: no-store\r\n"));
    EXPECT_TRUE(index.contains("\"name\":\"Tavix\""));

    const QByteArray account = exchange("GET /v1/account HTTP/1.1\r\n" + host() + "Authorization: Bearer k1\r\n\r\n");
    EXPECT_EQ(status(account), 200);
    EXPECT_TRUE(account.endsWith(R"({"kind":0,"key":"k1"})"));

    const QByteArray keyless = exchange("GET /v1/account HTTP/1.1\r\n" + host() + "\r\n");
    EXPECT_EQ(status(keyless), 401);
    EXPECT_TRUE(keyless.contains("WWW-Authenticate: Bearer"));
    EXPECT_EQ(status(exchange("GET /v1/account HTTP/1.1\r\nOrigin: https://x.example\r\nAuthorization: Bearer k1\r\n\r\n")), 403);

    // MCP over the same port: a tool call reaches the desk and comes back wrapped.
    const QByteArray call = R"({"jsonrpc":"2.0","id":3,"method":"tools/call","params":{"name":"get_quote","arguments":{"symbol":"AAPL"}}})";
    const QByteArray mcp = exchange("POST /mcp HTTP/1.1\r\n" + host() + "Authorization: Bearer k2\r\nContent-Length: " +
                                    QByteArray::number(call.size()) + "\r\n\r\n" + call);
    EXPECT_EQ(status(mcp), 200);
    const Json result = Json::parse(mcp.mid(mcp.indexOf("\r\n\r\n") + 4));
    EXPECT_FALSE(result.at("result").at("isError").toBool());
    EXPECT_EQ(Json::parse(result.at("result").at("content").items().at(0).at("text").stringUtf8()).at("key").toQString(),
              QStringLiteral("k2"));
    EXPECT_EQ(desk.answered, 2);
}

TEST_F(PlugTest, BodiesToSixtyFourKilobytesTrickledOrWhole) {
    const QByteArray note = R"({"text":")" + QByteArray(65536 - 11, 'n') + R"("})";
    ASSERT_EQ(note.size(), 65536);
    const QByteArray head = "POST /v1/notes HTTP/1.1\r\n" + host() + "Authorization: Bearer k1\r\nContent-Length: ";
    EXPECT_EQ(status(exchange(head + "65536\r\n\r\n" + note)), 200);
    EXPECT_EQ(status(exchange(head + "65537\r\n\r\n" + note + "x")), 413);

    // One byte at a time still makes a whole request.
    QTcpSocket* socket = connectToPlug();
    const QByteArray request = "GET /v1/positions HTTP/1.1\r\n" + host() + "Authorization: Bearer k1\r\n\r\n";
    for (const char byte : request) {
        socket->write(QByteArray(1, byte));
        socket->flush();
        QCoreApplication::processEvents();
    }
    ASSERT_TRUE(eventually([&] { return socket->state() == QAbstractSocket::UnconnectedState; }));
    EXPECT_EQ(status(socket->readAll()), 200);
}

// A request that stops half way gets 408 once ten seconds pass on the plug's clock.
TEST_F(PlugTest, AHalfSentRequestTimesOutOnThePlugsClock) {
    QTcpSocket* socket = connectToPlug();
    socket->write("GET /v1/account HTTP/1.1\r\nHost: 127.0.0.1");
    socket->flush();
    // The plug takes the connection on its own thread; give it a moment before the clock moves.
    test::eventually([] { return false; }, std::chrono::milliseconds(100));
    now = 1009;
    test::eventually([] { return false; }, std::chrono::milliseconds(300));
    EXPECT_EQ(socket->state(), QAbstractSocket::ConnectedState);
    now = 1019.5;
    ASSERT_TRUE(eventually([&] { return socket->state() == QAbstractSocket::UnconnectedState; }));
    const QByteArray reply = socket->readAll();
    EXPECT_EQ(status(reply), 408);
    EXPECT_TRUE(reply.endsWith(R"({"error":"Too slow: send the whole request within 10 seconds."})"));
}

TEST_F(PlugTest, TheHundredAndTwentyFirstRequestInAMinuteWaits) {
    const QByteArray request = "GET /v1/orders HTTP/1.1\r\n" + host() + "Authorization: Bearer busy\r\n\r\n";
    for (int i = 0; i < 120; ++i) ASSERT_EQ(status(exchange(request)), 200) << i;
    const QByteArray refused = exchange(request);
    EXPECT_EQ(status(refused), 429);
    EXPECT_TRUE(refused.contains("Retry-After: 60\r\n"));
    // Another key is not held up.
    EXPECT_EQ(status(exchange("GET /v1/orders HTTP/1.1\r\n" + host() + "Authorization: Bearer calm\r\n\r\n")), 200);
    now = 1060;
    EXPECT_EQ(status(exchange(request)), 200);
}

// A thousand connections held open and sending nothing do not hold up a real request; each is
// closed at ten seconds of the plug's clock and nothing of them is left.
TEST_F(PlugTest, SlowClientsCannotStarveOthers) {
    rlimit files{};
    getrlimit(RLIMIT_NOFILE, &files);
    files.rlim_cur = std::max<rlim_t>(files.rlim_cur, std::min<rlim_t>(files.rlim_max, 4096));
    setrlimit(RLIMIT_NOFILE, &files);
    for (int i = 0; i < 1000; ++i) connectToPlug();
    ASSERT_TRUE(eventually([&] { return plug->openConnections() == 1000; }));
    QElapsedTimer clock;
    clock.start();
    EXPECT_EQ(status(exchange("GET /v1/account HTTP/1.1\r\n" + host() + "Authorization: Bearer k\r\n\r\n")), 200);
    EXPECT_LT(clock.elapsed(), 100);
    now = 1011;
    ASSERT_TRUE(eventually([&] { return plug->openConnections() == 0; }));
    EXPECT_TRUE(eventually([&] {
        return std::all_of(sockets.begin(), sockets.end(),
                           [](const auto& s) { return s->state() == QAbstractSocket::UnconnectedState; });
    }));
}

TEST_F(PlugTest, ClosingAndAGoneDeskAnswer503AndAPortInUseIsNamed) {
    plug->closing();
    const QByteArray closing = exchange("GET /v1/account HTTP/1.1\r\n" + host() + "Authorization: Bearer k\r\n\r\n");
    EXPECT_EQ(status(closing), 503);
    EXPECT_TRUE(closing.endsWith(R"({"error":"Tavix is closing."})"));

    Plug second(&desk, plug->port());
    try {
        await(second.start());
        ADD_FAILURE() << "two plugs on one port";
    } catch (const Plug::Failure& failure) {
        EXPECT_EQ(failure.words(), QStringLiteral("Port ") + QString::number(plug->port()) +
                                       QStringLiteral(" is already in use by another program, so bots can't connect. "
                                                      "Quit that program, then switch the plug on again."));
    }
    plug->stop();
    EXPECT_FALSE(plug->listening());
}

}  // namespace
}  // namespace tavix
