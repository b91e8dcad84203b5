#pragma once

#include "bots/PlugReply.h"

#include <QByteArray>
#include <QString>

#include <optional>
#include <variant>
#include <vector>

namespace tavix {

// The head of one request to the plug, read and checked before anything else: the first line, the
// headers (names compared without case), and the gates every request passes in turn.
struct PlugHead {
    QByteArray method;
    QString path;   // decoded, without the query
    QString query;  // as sent, after the "?"
    QByteArray version;
    std::vector<std::pair<QByteArray, QByteArray>> headers;

    static constexpr qsizetype mostHeadBytes = 16 * 1024;
    static constexpr qsizetype mostBodyBytes = 64 * 1024;

    // Every value of a header, by name, without case.
    std::vector<QByteArray> values(const QByteArray& name) const;
    std::optional<QByteArray> value(const QByteArray& name) const;
    bool expectsContinue() const;

    // Where the head ends in what has arrived (the index just past the blank line), or nothing
    // yet; a refusal (431) once 16 KB have come without one.
    using Scan = std::variant<std::monostate, qsizetype, PlugReply>;
    static Scan scan(const QByteArray& arrived);
    // The head read from its bytes (without the blank line), or the refusal of it.
    static std::variant<PlugHead, PlugReply> parse(const QByteArray& bytes);

    // What the gates decide, in order: refused (with the reply), or let through with the key (none
    // for GET /) and the body's length.
    struct Passed {
        std::optional<QString> key;
        qsizetype bodyLength = 0;
    };
    std::variant<Passed, PlugReply> gate(quint16 port) const;
};

}  // namespace tavix
