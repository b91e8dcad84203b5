#pragma once

#include "bots/PlugHead.h"
#include "bots/PlugRates.h"

#include <QByteArray>
#include <QObject>

#include <functional>
#include <map>
#include <optional>

class QTcpServer;
class QTcpSocket;
class QTimer;

namespace tavix {

class Plug;

// The plug's side on its own thread: the listener, the open connections and the rate table. It
// reads each request and answers everything the plug decides by itself; a request for the bot
// desk goes to the plug on the main thread, whose reply comes back through `send`.
class PlugWorker : public QObject {
    Q_OBJECT

public:
    PlugWorker(Plug& plug, std::function<double()> clock, QString appVersion);

    // Opens the listener; the problem and whether the port was taken when it can't.
    std::optional<std::pair<QString, bool>> listen(quint16 port);
    void close();
    quint16 port() const { return port_; }
    std::size_t openConnections() const { return open_.size(); }
    // Writes a reply to a connection still open and closes it.
    void send(quint64 connection, const QByteArray& bytes);

private:
    struct Connection {
        QTcpSocket* socket = nullptr;
        QByteArray arrived;
        double since = 0;
        std::optional<PlugHead> head;
        qsizetype headEnd = 0;
        std::optional<PlugHead::Passed> passed;
        bool handed = false;  // waiting for the plug's answer
    };

    void accept();
    void readFrom(quint64 id);
    void answer(quint64 id, const QByteArray& bytes);
    void route(quint64 id, Connection& connection);
    void sweep();

    Plug& plug_;
    std::function<double()> clock_;
    QString appVersion_;
    QTcpServer* server_ = nullptr;
    QTimer* sweeper_ = nullptr;
    quint16 port_ = 0;
    quint64 next_ = 1;
    std::map<quint64, Connection> open_;
    PlugRates rates_;
};

}  // namespace tavix
