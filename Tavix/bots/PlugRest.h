#pragma once

#include "bots/PlugReply.h"
#include "bots/PlugRequest.h"

#include <QByteArray>
#include <QString>

#include <variant>

namespace tavix {

// The plug's REST face: a method, path, query and body read into the request they ask, or refused
// with a 400 (404, 405) and the plain sentence of what is wrong.
namespace PlugRest {

// The answer to GET /: the plug's name and version, where MCP lives, and every call with a line
// on what it does.
QByteArray index();

std::variant<PlugRequest, PlugReply> read(const QByteArray& method, const QString& path, const QString& query,
                                          const QByteArray& body);

// The checks shared with the MCP face's arguments, each giving its refusal sentence.
std::variant<QString, QString> symbol(const std::optional<QString>& given);  // index 0: the symbol; 1: the refusal
std::optional<QString> spanProblem(const QString& span);
std::variant<int, QString> limit(const std::optional<QString>& given);
// An order's JSON body.
std::variant<PlugOrder, QString> order(const QByteArray& body);

}  // namespace PlugRest

}  // namespace tavix
