// The official MCP TypeScript SDK's client, unchanged, against a live plug: tests/mcp-client holds
// the pinned SDK (npm ci installs it) and a short client that lists the tools and calls them.
#include "bots/Plug.h"

#include "market/Json.h"
#include "support/Await.h"

#include <QDir>
#include <QProcess>

#include <gtest/gtest.h>

namespace tavix {
namespace {

// Answers as the desk does in shape: the request's kind and the key it came with.
class ShapeDesk : public PlugHandler {
public:
    QCoro::Task<PlugAnswer> answer(PlugRequest request, QString key) override {
        Json body = Json::object();
        body.set("kind", Json(static_cast<int>(request.index())));
        body.set("key", Json(key));
        co_return PlugAnswer{request.index() == 8 ? 201 : 200, body.serialize()};
    }
};

TEST(OfficialMcpClient, ConnectsListsAndCallsEveryTool) {
    const QString folder = QStringLiteral(TAVIX_MCP_CLIENT_DIR);
    if (!QDir(folder + QStringLiteral("/node_modules/@modelcontextprotocol/sdk")).exists()) {
        GTEST_FAIL() << "the MCP SDK is not installed: run npm ci in " << folder.toStdString();
    }
    ShapeDesk desk;
    Plug plug(&desk, 0, {}, QStringLiteral("9.9"));
    test::await(plug.start());

    QProcess node;
    node.setWorkingDirectory(folder);
    node.start(QStringLiteral("node"), {QStringLiteral("client.mjs"),
                                        QStringLiteral("http://127.0.0.1:%1/mcp").arg(plug.port()), QStringLiteral("bot-key")});
    ASSERT_TRUE(test::eventually([&] { return node.state() == QProcess::NotRunning; }, std::chrono::seconds(60)));
    const QByteArray out = node.readAllStandardOutput();
    ASSERT_EQ(node.exitCode(), 0) << node.readAllStandardError().toStdString() << out.toStdString();

    const Json seen = Json::parse(out.trimmed());
    EXPECT_EQ(seen.at("server").at("name").stringUtf8(), "tavix");
    EXPECT_EQ(seen.at("server").at("version").stringUtf8(), "9.9");
    EXPECT_EQ(seen.at("tools").items().size(), 11u);
    for (const char* tool : {"get_account", "get_positions", "get_quote", "get_bars", "get_study", "list_studies",
                             "list_orders", "place_order"}) {
        const Json& call = seen.at("calls").at(tool);
        EXPECT_FALSE(call.at("isError").toBool()) << tool;
        EXPECT_EQ(Json::parse(call.at("text").stringUtf8()).at("key").stringUtf8(), "bot-key") << tool;
    }
    const Json& refused = seen.at("calls").at("get_bars_refused");
    EXPECT_TRUE(refused.at("isError").toBool());
    EXPECT_EQ(Json::parse(refused.at("text").stringUtf8()).at("error").stringUtf8(), "limit is a whole number from 1 to 1000.");
}

}  // namespace
}  // namespace tavix
