#pragma once

// A small HTTP/1.1 server on 127.0.0.1 for the fakes of outside services. It parses each request
// (keep-alive connections, Content-Length bodies), records it, and answers what the handler says:
// at once, late, or not at all (the connection is closed after the request was read).

#include "market/Json.h"

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>
#include <QUrl>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

class QTcpServer;
class QTcpSocket;

namespace tavix::test {

using HttpHeaders = QList<QPair<QByteArray, QByteArray>>;

struct HttpRequest {
    QByteArray method;
    QByteArray target;                     // as sent: path and query, still encoded
    QString path;                          // decoded
    QList<QPair<QString, QString>> query;  // decoded, in the order sent
    HttpHeaders headers;                   // in the order sent
    QByteArray body;

    // Header lookup ignores case; nothing when absent.
    std::optional<QByteArray> header(const QByteArray& name) const;
    std::optional<QString> queryValue(const QString& key) const;
    // The keys of the query, in order.
    QStringList queryKeys() const;
    // The body as JSON; throws JsonError when it is not.
    Json json() const;
};

struct HttpResponse {
    enum class Delivery {
        answer,  // send the answer (after `delay`)
        drop,    // close the connection without a word
    };

    int status = 200;
    QByteArray body;
    HttpHeaders headers;  // Content-Length and Connection are added
    std::chrono::milliseconds delay{0};
    Delivery delivery = Delivery::answer;

    static HttpResponse json(int status, const Json& body);
    static HttpResponse text(int status, QByteArray body, QByteArray contentType = "text/plain");
    static HttpResponse empty(int status);
    static HttpResponse dropped();

    HttpResponse& withHeader(QByteArray name, QByteArray value);
    HttpResponse& after(std::chrono::milliseconds wait);
};

class HttpServer {
public:
    using Handler = std::function<HttpResponse(const HttpRequest&)>;

    explicit HttpServer(Handler handler);
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    quint16 port() const;
    QUrl url() const;  // http://127.0.0.1:<port>

    // Every request read so far, oldest first.
    const std::vector<HttpRequest>& requests() const { return requests_; }
    void clearRequests() { requests_.clear(); }
    int connectionsAccepted() const { return connections_; }

private:
    void accept();
    void readFrom(QTcpSocket* socket);
    void respond(QTcpSocket* socket, const HttpResponse& response);

    Handler handler_;
    std::unique_ptr<QTcpServer> server_;
    std::vector<HttpRequest> requests_;
    int connections_ = 0;
};

// The standard reason phrase of a status ("Too Many Requests").
QByteArray reasonPhrase(int status);

}  // namespace tavix::test
