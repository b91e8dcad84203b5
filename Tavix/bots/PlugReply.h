#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>

namespace tavix {

// One reply of the plug: a status, a JSON body and any extra headers. Every connection carries
// exactly one request and is closed after its reply, and the wire form says so.
struct PlugReply {
    int status = 200;
    QByteArray body;
    QList<QPair<QByteArray, QByteArray>> headers;

    // The reason phrase of a status; "Status" for any the plug does not name.
    static QByteArray phrase(int status);
    // A refusal: the body is {"error": text}.
    static PlugReply refusal(int status, const QString& text);
    // The bytes sent: status line, Content-Type, Content-Length, Connection: close,
    // Cache-Control: no-store, the extra headers, a blank line and the body.
    QByteArray wire() const;
};

}  // namespace tavix
