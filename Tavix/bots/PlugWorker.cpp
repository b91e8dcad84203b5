#include "bots/PlugWorker.h"

#include "bots/Plug.h"
#include "bots/PlugMcp.h"
#include "bots/PlugRest.h"

#include <QHostAddress>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

namespace tavix {

namespace {

// How often idle connections are looked at; the limit itself is on the plug's clock.
constexpr int sweepMs = 200;

}  // namespace

PlugWorker::PlugWorker(Plug& plug, std::function<double()> clock, QString appVersion)
    : plug_(plug), clock_(std::move(clock)), appVersion_(std::move(appVersion)) {}

std::optional<std::pair<QString, bool>> PlugWorker::listen(quint16 port) {
    if (!server_) {
        server_ = new QTcpServer(this);
        QObject::connect(server_, &QTcpServer::newConnection, this, &PlugWorker::accept);
        sweeper_ = new QTimer(this);
        sweeper_->setInterval(sweepMs);
        QObject::connect(sweeper_, &QTimer::timeout, this, &PlugWorker::sweep);
    }
    // The loopback interface only: nothing off this computer can reach the plug.
    if (!server_->listen(QHostAddress::LocalHost, port)) {
        return std::pair{server_->errorString(), server_->serverError() == QAbstractSocket::AddressInUseError};
    }
    port_ = server_->serverPort();
    sweeper_->start();
    return std::nullopt;
}

void PlugWorker::close() {
    if (server_) server_->close();
    port_ = 0;
    if (sweeper_) sweeper_->stop();
    for (auto& [id, connection] : open_) {
        connection.socket->disconnect(this);
        connection.socket->abort();
        connection.socket->deleteLater();
    }
    open_.clear();
}

void PlugWorker::accept() {
    while (QTcpSocket* socket = server_->nextPendingConnection()) {
        const quint64 id = next_++;
        open_[id] = Connection{socket, {}, clock_(), std::nullopt, 0, std::nullopt, false};
        QObject::connect(socket, &QTcpSocket::readyRead, this, [this, id] { readFrom(id); });
        QObject::connect(socket, &QTcpSocket::disconnected, this, [this, id] {
            const auto found = open_.find(id);
            if (found == open_.end()) return;
            found->second.socket->deleteLater();
            open_.erase(found);
        });
    }
}

void PlugWorker::answer(quint64 id, const QByteArray& bytes) {
    const auto found = open_.find(id);
    if (found == open_.end()) return;
    QTcpSocket* socket = found->second.socket;
    open_.erase(found);
    socket->disconnect(this);
    socket->write(bytes);
    socket->disconnectFromHost();  // after what was written has gone
    QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
}

void PlugWorker::send(quint64 connection, const QByteArray& bytes) {
    answer(connection, bytes);
}

void PlugWorker::readFrom(quint64 id) {
    const auto found = open_.find(id);
    if (found == open_.end()) return;
    Connection& connection = found->second;
    connection.arrived += connection.socket->readAll();
    if (connection.handed) return;
    if (!connection.head) {
        const auto scanned = PlugHead::scan(connection.arrived);
        if (const auto* refused = std::get_if<PlugReply>(&scanned)) return answer(id, refused->wire());
        if (std::holds_alternative<std::monostate>(scanned)) return;
        connection.headEnd = std::get<qsizetype>(scanned);
        auto parsed = PlugHead::parse(connection.arrived.left(connection.headEnd - 4));
        if (const auto* refused = std::get_if<PlugReply>(&parsed)) return answer(id, refused->wire());
        connection.head = std::get<PlugHead>(std::move(parsed));
        if (connection.head->expectsContinue()) connection.socket->write("HTTP/1.1 100 Continue\r\n\r\n");
        auto gated = connection.head->gate(port_);
        if (const auto* refused = std::get_if<PlugReply>(&gated)) return answer(id, refused->wire());
        connection.passed = std::get<PlugHead::Passed>(gated);
        if (connection.passed->key) {
            if (const auto wait = rates_.admit(*connection.passed->key, clock_())) {
                PlugReply refused = PlugReply::refusal(429, PlugRates::refusal(*wait));
                refused.headers.append(qMakePair(QByteArray("Retry-After"), QByteArray::number(*wait)));
                return answer(id, refused.wire());
            }
        }
    }
    if (connection.arrived.size() - connection.headEnd < connection.passed->bodyLength) return;
    route(id, connection);
}

void PlugWorker::route(quint64 id, Connection& connection) {
    const PlugHead& head = *connection.head;
    const QByteArray body = connection.arrived.mid(connection.headEnd, connection.passed->bodyLength);
    const QString key = connection.passed->key.value_or(QString());
    if (head.method == "GET" && head.path == QStringLiteral("/")) {
        return answer(id, PlugReply{200, PlugRest::index(), {}}.wire());
    }
    if (head.path == QStringLiteral("/mcp") && head.method == "POST") {
        auto read = PlugMcp::read(body, appVersion_);
        if (const auto* reply = std::get_if<PlugMcp::Reply>(&read)) {
            return answer(id, PlugReply{reply->status, reply->body, {}}.wire());
        }
        auto& call = std::get<PlugMcp::ToolCall>(read);
        const QByteArray callID = call.id.serialize();
        if (const auto* refused = std::get_if<QString>(&call.request)) {
            return answer(id, PlugReply{200, PlugMcp::toolResult(call.id, 400, PlugReply::refusal(400, *refused).body), {}}.wire());
        }
        connection.handed = true;
        PlugRequest request = std::get<PlugRequest>(std::move(call.request));
        QMetaObject::invokeMethod(&plug_, [plug = &plug_, id, request = std::move(request), key, callID] {
            plug->dispatch(id, request, key, true, callID);
        }, Qt::QueuedConnection);
        return;
    }
    auto read = PlugRest::read(head.method, head.path, head.query, body);
    if (const auto* refused = std::get_if<PlugReply>(&read)) return answer(id, refused->wire());
    connection.handed = true;
    PlugRequest request = std::get<PlugRequest>(std::move(read));
    QMetaObject::invokeMethod(&plug_, [plug = &plug_, id, request = std::move(request), key] {
        plug->dispatch(id, request, key, false, {});
    }, Qt::QueuedConnection);
}

void PlugWorker::sweep() {
    const double now = clock_();
    std::vector<quint64> late;
    for (const auto& [id, connection] : open_) {
        if (!connection.handed && now - connection.since >= Plug::idleSeconds) late.push_back(id);
    }
    for (const quint64 id : late) {
        answer(id, PlugReply::refusal(408, QStringLiteral("Too slow: send the whole request within 10 seconds.")).wire());
    }
}

}  // namespace tavix
