#pragma once

#include "bots/PlugRequest.h"
#include "market/Json.h"

#include <QByteArray>
#include <QString>

#include <variant>

namespace tavix {

// The plug's Model Context Protocol face at POST /mcp: one JSON-RPC 2.0 message a request, no event
// stream. Messages are checked in turn, each fault with its code and sentence; `initialize`,
// `ping` and `tools/list` are answered here; `tools/call` becomes the same request the REST face
// makes, for the bot desk to answer.
namespace PlugMcp {

inline constexpr const char* protocolVersion = "2025-06-18";

// An answer made here: HTTP 200 with a JSON-RPC message, or 202 with no body for a notification.
struct Reply {
    int status = 200;
    QByteArray body;
};
// A tool to run: the message's id, and the request it asks or the refusal of its arguments.
struct ToolCall {
    Json id;
    std::variant<PlugRequest, QString> request;
};

std::variant<Reply, ToolCall> read(const QByteArray& body, const QString& appVersion);
// The JSON-RPC result of a tool call from the REST answer: its JSON as text, and isError when the
// answer's status is above 399.
QByteArray toolResult(const Json& id, int status, const QByteArray& answer);
// The tools, as tools/list gives them.
Json tools();

}  // namespace PlugMcp

}  // namespace tavix
