#include "bots/Plug.h"

#include "bots/PlugMcp.h"
#include "bots/PlugReply.h"
#include "bots/PlugWorker.h"

#include <QDateTime>
#include <QPointer>
#include <QThread>

namespace tavix {

Plug::Failure::Failure(quint16 port_, QString cause_, bool portTaken_)
    : std::runtime_error(cause_.toStdString()), port(port_), cause(std::move(cause_)), portTaken(portTaken_) {}

QString Plug::Failure::words() const {
    if (portTaken) {
        return QStringLiteral("Port ") + QString::number(port) +
               QStringLiteral(" is already in use by another program, so bots can't connect. ") +
               QStringLiteral("Quit that program, then switch the plug on again.");
    }
    return QStringLiteral("The plug couldn't start: ") + cause;
}

Plug::Plug(PlugHandler* handler, quint16 port, std::function<double()> clock, QString appVersion, QObject* parent)
    : QObject(parent),
      handler_(handler),
      wanted_(port),
      clock_(clock ? std::move(clock)
                   : std::function<double()>([] { return static_cast<double>(QDateTime::currentMSecsSinceEpoch()) / 1000.0; })),
      appVersion_(std::move(appVersion)),
      thread_(new QThread),
      worker_(new PlugWorker(*this, clock_, appVersion_)) {
    thread_->setObjectName(QStringLiteral("plug"));
    worker_->moveToThread(thread_);
    QObject::connect(thread_, &QThread::finished, worker_, &QObject::deleteLater);
    thread_->start();
}

Plug::~Plug() {
    stop();
    thread_->quit();
    thread_->wait();
    delete thread_;
}

QCoro::Task<void> Plug::start() {
    std::optional<std::pair<QString, bool>> problem;
    const quint16 wanted = wanted_;
    QMetaObject::invokeMethod(worker_, [&problem, wanted, worker = worker_] { problem = worker->listen(wanted); },
                              Qt::BlockingQueuedConnection);
    if (problem) throw Failure(wanted_, problem->first, problem->second);
    co_return;
}

void Plug::stop() {
    QMetaObject::invokeMethod(worker_, [worker = worker_] { worker->close(); }, Qt::BlockingQueuedConnection);
}

bool Plug::listening() const {
    return port() != 0;
}

quint16 Plug::port() const {
    quint16 bound = 0;
    QMetaObject::invokeMethod(worker_, [&bound, worker = worker_] { bound = worker->port(); }, Qt::BlockingQueuedConnection);
    return bound;
}

std::size_t Plug::openConnections() const {
    std::size_t open = 0;
    QMetaObject::invokeMethod(worker_, [&open, worker = worker_] { open = worker->openConnections(); },
                              Qt::BlockingQueuedConnection);
    return open;
}

void Plug::closing() {
    closing_ = true;
}

void Plug::forgetHandler() {
    handler_ = nullptr;
}

void Plug::dispatch(quint64 connection, PlugRequest request, QString key, bool mcp, QByteArray mcpID) {
    const auto reply = [this, connection, mcp, mcpID](int status, const QByteArray& body) {
        const QByteArray bytes = mcp ? PlugReply{200, PlugMcp::toolResult(Json::parse(mcpID), status, body), {}}.wire()
                                     : PlugReply{status, body, {}}.wire();
        QMetaObject::invokeMethod(worker_, [worker = worker_, connection, bytes] { worker->send(connection, bytes); },
                                  Qt::QueuedConnection);
    };
    if (closing_) return reply(503, PlugReply::refusal(503, QStringLiteral("Tavix is closing.")).body);
    if (!handler_) {
        return reply(503, PlugReply::refusal(503, QStringLiteral("Bots are switched off in Tavix just now.")).body);
    }
    // The handler answers on the main thread; its reply goes back to the plug's thread.
    QPointer<Plug> self(this);
    QCoro::connect(handler_->answer(std::move(request), std::move(key)), this,
                   [self, reply](const PlugAnswer& answer) {
                       if (self) reply(answer.status, answer.body);
                   });
}

}  // namespace tavix
