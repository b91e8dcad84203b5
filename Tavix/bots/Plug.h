#pragma once

#include "bots/PlugRequest.h"

#include <qcoro/qcorotask.h>

#include <QByteArray>
#include <QObject>
#include <QPointer>
#include <QString>

#include <atomic>
#include <functional>
#include <stdexcept>

class QThread;

namespace tavix {

class PlugWorker;

// What the bot desk answers a request with: an HTTP status and a JSON body.
struct PlugAnswer {
    int status = 200;
    QByteArray body;
};

// Who answers the plug's requests: the bot desk. Runs on the main thread.
class PlugHandler {
public:
    virtual ~PlugHandler() = default;
    virtual QCoro::Task<PlugAnswer> answer(PlugRequest request, QString key) = 0;
};

// The small HTTP/1.1 server on 127.0.0.1 through which bots reach Tavix: a REST face under /v1/
// and a Model Context Protocol face at /mcp. Its sockets live on a thread of their own; only the
// handler's answer runs on the main thread. Every request is read and policed there (idle limit,
// head size, gates, the rate table) before anything reaches the handler, and every connection
// carries one request and is closed after its reply.
class Plug : public QObject {
    Q_OBJECT

public:
    // The listener could not start.
    struct Failure : std::runtime_error {
        Failure(quint16 port, QString cause, bool portTaken);
        quint16 port;
        QString cause;
        bool portTaken;
        // The user's sentence for it.
        QString words() const;
    };

    // `clock` gives seconds (the rate table's and the idle limit's time); tests drive it.
    explicit Plug(PlugHandler* handler, quint16 port, std::function<double()> clock = {},
                  QString appVersion = QStringLiteral("1.0"), QObject* parent = nullptr);
    ~Plug() override;

    // Opens the listener on 127.0.0.1 and returns once it listens; throws Failure when it can't.
    QCoro::Task<void> start();
    // Closes the listener and every open connection.
    void stop();
    bool listening() const;
    // The port actually bound (the one asked for, or the system's pick for 0).
    quint16 port() const;
    // From now on requests are refused with "Tavix is closing.".
    void closing();
    // Drops the handler, as when the bot desk is released: requests are answered 503.
    void forgetHandler();
    // How many connections are open now.
    std::size_t openConnections() const;

    static constexpr double idleSeconds = 10;

private:
    friend class PlugWorker;
    // On the main thread: the handler's answer for a request the worker read, sent back to it.
    void dispatch(quint64 connection, PlugRequest request, QString key, bool mcp, QByteArray mcpID);

    PlugHandler* handler_;
    quint16 wanted_;
    std::function<double()> clock_;
    QString appVersion_;
    QThread* thread_;
    PlugWorker* worker_;
    std::atomic<bool> closing_{false};
};

}  // namespace tavix
