#include "support/HttpServer.h"

#include <QHostAddress>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <stdexcept>
#include <utility>

namespace tavix::test {

namespace {

// Bytes read from a connection that do not make a whole request yet.
constexpr const char* pendingProperty = "tavixPendingBytes";

QString decodeQueryPart(QByteArray part) {
    part.replace('+', ' ');  // form encoding, as the real services read it
    return QUrl::fromPercentEncoding(part);
}

// Splits the head of a request; false when it is not a request at all.
bool parseHead(const QByteArray& head, HttpRequest& request, qsizetype& contentLength) {
    const QList<QByteArray> lines = head.split('\n');
    const QList<QByteArray> first = lines.value(0).trimmed().split(' ');
    if (first.size() != 3 || !first[2].startsWith("HTTP/1.")) return false;
    request.method = first[0];
    request.target = first[1];
    const qsizetype mark = request.target.indexOf('?');
    request.path = QUrl::fromPercentEncoding(mark < 0 ? request.target : request.target.left(mark));
    if (mark >= 0) {
        for (const QByteArray& item : request.target.mid(mark + 1).split('&')) {
            if (item.isEmpty()) continue;
            const qsizetype equals = item.indexOf('=');
            if (equals < 0) {
                request.query.append({decodeQueryPart(item), QString()});
            } else {
                request.query.append(
                    {decodeQueryPart(item.left(equals)), decodeQueryPart(item.mid(equals + 1))});
            }
        }
    }
    contentLength = 0;
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const QByteArray line = lines[i].trimmed();
        if (line.isEmpty()) continue;
        const qsizetype colon = line.indexOf(':');
        if (colon <= 0) return false;
        const QByteArray name = line.left(colon).trimmed();
        const QByteArray value = line.mid(colon + 1).trimmed();
        request.headers.append({name, value});
        if (name.compare("Content-Length", Qt::CaseInsensitive) == 0) {
            bool ok = false;
            contentLength = value.toLongLong(&ok);
            if (!ok || contentLength < 0) return false;
        }
        // Bodies here always carry their length; a chunked one is a fault in the client.
        if (name.compare("Transfer-Encoding", Qt::CaseInsensitive) == 0) return false;
    }
    return true;
}

}  // namespace

std::optional<QByteArray> HttpRequest::header(const QByteArray& name) const {
    for (const auto& [key, value] : headers) {
        if (key.compare(name, Qt::CaseInsensitive) == 0) return value;
    }
    return std::nullopt;
}

std::optional<QString> HttpRequest::queryValue(const QString& key) const {
    for (const auto& [k, v] : query) {
        if (k == key) return v;
    }
    return std::nullopt;
}

QStringList HttpRequest::queryKeys() const {
    QStringList keys;
    for (const auto& item : query) keys.append(item.first);
    return keys;
}

Json HttpRequest::json() const {
    return Json::parse(body);
}

HttpResponse HttpResponse::json(int status, const Json& body) {
    return text(status, body.serialize(), "application/json");
}

HttpResponse HttpResponse::text(int status, QByteArray body, QByteArray contentType) {
    HttpResponse response;
    response.status = status;
    response.body = std::move(body);
    response.headers.append({QByteArrayLiteral("Content-Type"), std::move(contentType)});
    return response;
}

HttpResponse HttpResponse::empty(int status) {
    HttpResponse response;
    response.status = status;
    return response;
}

HttpResponse HttpResponse::dropped() {
    HttpResponse response;
    response.delivery = Delivery::drop;
    return response;
}

HttpResponse& HttpResponse::withHeader(QByteArray name, QByteArray value) {
    headers.append({std::move(name), std::move(value)});
    return *this;
}

HttpResponse& HttpResponse::after(std::chrono::milliseconds wait) {
    delay = wait;
    return *this;
}

HttpServer::HttpServer(Handler handler)
    : handler_(std::move(handler)), server_(std::make_unique<QTcpServer>()) {
    if (!server_->listen(QHostAddress::LocalHost, 0)) {
        throw std::runtime_error("the fake HTTP server could not listen on 127.0.0.1");
    }
    QObject::connect(server_.get(), &QTcpServer::newConnection, server_.get(), [this] { accept(); });
}

HttpServer::~HttpServer() {
    // Sockets are the server's children; close them first so no answer goes out half-way.
    server_->close();
}

quint16 HttpServer::port() const {
    return server_->serverPort();
}

QUrl HttpServer::url() const {
    return QUrl(QStringLiteral("http://127.0.0.1:%1").arg(port()));
}

void HttpServer::accept() {
    while (QTcpSocket* socket = server_->nextPendingConnection()) {
        ++connections_;
        QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket] { readFrom(socket); });
        QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    }
}

void HttpServer::readFrom(QTcpSocket* socket) {
    QByteArray pending = socket->property(pendingProperty).toByteArray() + socket->readAll();
    for (;;) {
        const qsizetype headEnd = pending.indexOf("\r\n\r\n");
        if (headEnd < 0) break;
        HttpRequest request;
        qsizetype length = 0;
        if (!parseHead(pending.left(headEnd), request, length)) {
            respond(socket, HttpResponse::text(400, "malformed request"));
            socket->disconnectFromHost();
            pending.clear();
            break;
        }
        const qsizetype total = headEnd + 4 + length;
        if (pending.size() < total) break;
        request.body = pending.mid(headEnd + 4, length);
        pending.remove(0, total);
        requests_.push_back(request);
        const HttpResponse response = handler_(requests_.back());
        if (response.delivery == HttpResponse::Delivery::drop) {
            socket->setProperty(pendingProperty, QByteArray());
            socket->disconnectFromHost();
            return;
        }
        if (response.delay.count() > 0) {
            // The socket is the timer's context: a connection the client gave up on cancels it.
            QTimer::singleShot(response.delay, socket,
                               [this, socket, response] { respond(socket, response); });
        } else {
            respond(socket, response);
        }
    }
    socket->setProperty(pendingProperty, pending);
}

void HttpServer::respond(QTcpSocket* socket, const HttpResponse& response) {
    if (socket->state() != QAbstractSocket::ConnectedState) return;
    QByteArray out =
        "HTTP/1.1 " + QByteArray::number(response.status) + ' ' + reasonPhrase(response.status) + "\r\n";
    for (const auto& [name, value] : response.headers) out += name + ": " + value + "\r\n";
    out += "Content-Length: " + QByteArray::number(response.body.size()) + "\r\n";
    out += "Connection: keep-alive\r\n\r\n";
    out += response.body;
    socket->write(out);
}

QByteArray reasonPhrase(int status) {
    switch (status) {
        case 200:
            return "OK";
        case 201:
            return "Created";
        case 204:
            return "No Content";
        case 207:
            return "Multi-Status";
        case 400:
            return "Bad Request";
        case 401:
            return "Unauthorized";
        case 403:
            return "Forbidden";
        case 404:
            return "Not Found";
        case 405:
            return "Method Not Allowed";
        case 409:
            return "Conflict";
        case 422:
            return "Unprocessable Entity";
        case 429:
            return "Too Many Requests";
        case 500:
            return "Internal Server Error";
        case 502:
            return "Bad Gateway";
        case 503:
            return "Service Unavailable";
        case 504:
            return "Gateway Timeout";
        default:
            return "Status";
    }
}

}  // namespace tavix::test
