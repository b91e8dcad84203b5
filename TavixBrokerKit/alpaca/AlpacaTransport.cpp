#include "alpaca/AlpacaTransport.h"

#include "alpaca/AlpacaDTO.h"
#include "market/BrokerError.h"

#include <qcoro/qcoronetworkreply.h>

#include <QIODevice>
#include <QLoggingCategory>
#include <QNetworkAccessManager>
#include <QNetworkReply>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace tavix {

namespace {

Q_LOGGING_CATEGORY(alpacaLog, "com.brindlecove.tavix.alpaca")

// Longest error text passed on from a body that is not Alpaca's error record (a proxy's HTML
// page would otherwise fill the banner).
constexpr qsizetype longestMessage = 500;

struct LaterDeleter {
    // The reply's finished signal is still being emitted when the awaiting coroutine ends.
    void operator()(QObject* object) const {
        if (object) object->deleteLater();
    }
};

// A request body that can be read once. Qt quietly sends a request again when its connection
// closes before an answer comes; for an order that may already have been placed, so rewinding is
// refused and the request fails instead. (A body that was never read may still be rewound.)
class OneShotBody final : public QIODevice {
public:
    explicit OneShotBody(QByteArray data) : data_(std::move(data)) {
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    }

    bool isSequential() const override { return false; }
    qint64 size() const override { return data_.size(); }
    bool seek(qint64 position) override {
        if (position != offset_ && (read_ || position < 0 || position > data_.size())) return false;
        offset_ = position;
        return QIODevice::seek(position);
    }
    bool reset() override { return seek(0); }
    bool atEnd() const override { return offset_ >= data_.size(); }

protected:
    qint64 readData(char* out, qint64 most) override {
        const qint64 count = std::min(most, data_.size() - offset_);
        if (count <= 0) return 0;
        std::memcpy(out, data_.constData() + offset_, static_cast<std::size_t>(count));
        offset_ += count;
        read_ = true;
        return count;
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    QByteArray data_;
    qint64 offset_ = 0;
    bool read_ = false;
};

bool isOrderRefusal(int status, const QByteArray& method, const QString& path) {
    if (status != 403 && status != 422) return false;
    if (method == "POST") return path.startsWith(QStringLiteral("/v2/orders"));
    if (method == "PATCH") return path.startsWith(QStringLiteral("/v2/orders/"));
    return false;
}

// Errors below HTTP (connection, proxy, a broken answer): whatever arrived cannot be trusted,
// even with a status. Statuses themselves (400 is ProtocolInvalidOperationError) are not these.
bool isNetworkFailure(QNetworkReply::NetworkError error) {
    const int code = static_cast<int>(error);
    return (code >= 1 && code < 200) || error == QNetworkReply::ProtocolFailure ||
           error == QNetworkReply::ContentReSendError;
}

QString noResponse(QNetworkReply::NetworkError error, std::chrono::milliseconds timeout) {
    QString reason;
    switch (error) {
        case QNetworkReply::ConnectionRefusedError:
            reason = QStringLiteral("connection refused");
            break;
        case QNetworkReply::RemoteHostClosedError:
        case QNetworkReply::ContentReSendError:
            reason = QStringLiteral("connection closed");
            break;
        case QNetworkReply::HostNotFoundError:
            reason = QStringLiteral("host not found");
            break;
        case QNetworkReply::TimeoutError:
        case QNetworkReply::OperationCanceledError:
            reason = QStringLiteral("no answer in ") +
                     QString::number(static_cast<double>(timeout.count()) / 1000.0) + QStringLiteral(" s");
            break;
        case QNetworkReply::SslHandshakeFailedError:
            reason = QStringLiteral("secure connection failed");
            break;
        case QNetworkReply::TemporaryNetworkFailureError:
        case QNetworkReply::NetworkSessionFailedError:
            reason = QStringLiteral("network unavailable");
            break;
        default:
            break;
    }
    const QString text = QStringLiteral("no HTTP response");
    return reason.isEmpty() ? text : text + QStringLiteral(" (") + reason + u')';
}

struct ErrorAnswer {
    QString message;
    std::optional<Decimal> held;
    std::optional<Decimal> resting;
};

// Alpaca's error record when the body is one; otherwise the body's text, then the reason phrase.
ErrorAnswer errorAnswer(const QByteArray& body, const QNetworkReply& reply) {
    try {
        AlpacaDTO::APIError error;
        AlpacaDTO::fromJson(Json::parse(body), error);
        return {error.message, error.existingQty, error.heldForOrders};
    } catch (const JsonError&) {
    }
    QString text = QString::fromUtf8(body).simplified();
    if (text.size() > longestMessage) text = text.left(longestMessage - 1) + QChar(0x2026);
    if (text.isEmpty()) text = reply.attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString();
    return {text, std::nullopt, std::nullopt};
}

}  // namespace

struct AlpacaTransport::State {
    AlpacaEndpoints endpoints;
    AlpacaCredentials credentials;
    QPointer<QNetworkAccessManager> network;
    std::chrono::milliseconds timeout;
    RequestBudget data;
    RequestBudget trading;
    RefusalTranslator refusal;

    QNetworkRequest authorized(const QUrl& url) const {
        QNetworkRequest request(url);
        request.setTransferTimeout(static_cast<int>(timeout.count()));
        request.setRawHeader("APCA-API-KEY-ID", credentials.key.toUtf8());
        request.setRawHeader("APCA-API-SECRET-KEY", credentials.secret.toUtf8());
        request.setRawHeader("Accept", "application/json");
        return request;
    }

    // A service (or a proxy in front of it) may echo the request back in an error.
    QString hidingKeys(QString text) const {
        for (const QString& part : {credentials.key, credentials.secret}) {
            if (part.size() >= 8) text.replace(part, QStringLiteral("(hidden)"));
        }
        return text;
    }

    QByteArray answer(const QByteArray& method, const QString& path, QNetworkReply& reply) const {
        const QVariant statusAttribute = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute);
        if (!statusAttribute.isValid() || isNetworkFailure(reply.error())) {
            throw BrokerError::transport(noResponse(reply.error(), timeout));
        }
        const int status = statusAttribute.toInt();
        const QByteArray body = reply.readAll();
        if (status >= 200 && status <= 299) return body;

        if (status == 429) {
            std::optional<double> seconds;
            bool ok = false;
            const double header = reply.rawHeader("Retry-After").trimmed().toDouble(&ok);
            if (ok && std::isfinite(header) && header >= 0) seconds = header;
            qCWarning(alpacaLog).noquote() << QStringLiteral("429 from Alpaca on ") + path +
                                                  QStringLiteral(", retry after ") +
                                                  QString::number(seconds.value_or(-1.0));
            throw BrokerError::rateLimited(seconds);
        }

        const ErrorAnswer error = errorAnswer(body, reply);
        if (isOrderRefusal(status, method, path)) {
            std::optional<QString> sentence;
            if (refusal) sentence = refusal(error.message, error.held, error.resting);
            throw BrokerError::invalidOrder(hidingKeys(sentence.value_or(error.message)));
        }
        throw BrokerError::api(status, hidingKeys(error.message));
    }
};

AlpacaTransport::AlpacaTransport(AlpacaEndpoints endpoints, AlpacaCredentials credentials,
                                 QNetworkAccessManager* network, Options options)
    : state_(std::make_shared<State>(State{
          .endpoints = std::move(endpoints),
          .credentials = std::move(credentials),
          .network = network,
          .timeout = options.timeout,
          .data =
              RequestBudget(QStringLiteral("data"), options.dataPerMinute, options.clock, options.sleeper),
          .trading = RequestBudget(QStringLiteral("trading"), options.tradingPerMinute, options.clock,
                                   options.sleeper),
          .refusal = std::move(options.refusal),
      })) {}

AlpacaTransport::AlpacaTransport(AlpacaEndpoints endpoints, AlpacaCredentials credentials,
                                 QNetworkAccessManager* network)
    : AlpacaTransport(std::move(endpoints), std::move(credentials), network, Options{}) {}

const AlpacaEndpoints& AlpacaTransport::endpoints() const {
    return state_->endpoints;
}
RequestBudget& AlpacaTransport::dataBudget() {
    return state_->data;
}
RequestBudget& AlpacaTransport::tradingBudget() {
    return state_->trading;
}

QNetworkRequest AlpacaTransport::authorized(const QUrl& url) const {
    return state_->authorized(url);
}

QCoro::Task<QByteArray> AlpacaTransport::get(Host host, QString path, Query query) {
    return exchange(state_, QByteArrayLiteral("GET"), host, std::move(path), std::move(query), std::nullopt);
}

QCoro::Task<QByteArray> AlpacaTransport::post(Host host, QString path, Json body) {
    return exchange(state_, QByteArrayLiteral("POST"), host, std::move(path), {}, std::move(body));
}

QCoro::Task<QByteArray> AlpacaTransport::patch(Host host, QString path, Json body) {
    return exchange(state_, QByteArrayLiteral("PATCH"), host, std::move(path), {}, std::move(body));
}

QCoro::Task<QByteArray> AlpacaTransport::put(Host host, QString path, Json body) {
    return exchange(state_, QByteArrayLiteral("PUT"), host, std::move(path), {}, std::move(body));
}

QCoro::Task<QByteArray> AlpacaTransport::del(Host host, QString path, Query query) {
    return exchange(state_, QByteArrayLiteral("DELETE"), host, std::move(path), std::move(query),
                    std::nullopt);
}

QCoro::Task<QByteArray> AlpacaTransport::send(QByteArray method, Host host, QString path, Query query,
                                              std::optional<Json> body) {
    return exchange(state_, std::move(method), host, std::move(path), std::move(query), std::move(body));
}

QCoro::Task<QByteArray> AlpacaTransport::exchange(std::shared_ptr<State> state, QByteArray method, Host host,
                                                  QString path, Query query, std::optional<Json> body) {
    co_await (host == Host::data ? state->data : state->trading).spend();

    QNetworkAccessManager* network = state->network.data();
    if (!network) throw BrokerError::transport(QStringLiteral("no HTTP response"));
    QNetworkRequest request = state->authorized(state->endpoints.url(host, path, query));
    std::unique_ptr<QNetworkReply, LaterDeleter> reply;
    if (body) {
        auto* device = new OneShotBody(body->serialize());
        request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
        request.setHeader(QNetworkRequest::ContentLengthHeader, device->size());
        reply.reset(network->sendCustomRequest(request, method, device));
        device->setParent(reply.get());
    } else {
        reply.reset(network->sendCustomRequest(request, method));
    }
    co_await reply.get();
    co_return state->answer(method, path, *reply);
}

QCoro::Task<void> AlpacaTransport::pages(Host host, QString path, Query query, PageReader read) {
    return readPages(state_, host, std::move(path), std::move(query), std::move(read));
}

QCoro::Task<void> AlpacaTransport::readPages(std::shared_ptr<State> state, Host host, QString path,
                                             Query query, PageReader read) {
    std::optional<QString> used;
    int count = 0;
    for (;;) {
        Query asked = query;
        if (used) asked.append({QStringLiteral("page_token"), *used});
        const QByteArray body =
            co_await exchange(state, QByteArrayLiteral("GET"), host, path, asked, std::nullopt);
        const std::optional<QString> next = read(body);
        if (!next || next->isEmpty()) co_return;
        ++count;
        if ((used && *next == *used) || count >= maxPages) throw BrokerError::decoding(pagingMessage(count));
        used = next;
    }
}

QString AlpacaTransport::pagingMessage(int count) {
    return QStringLiteral("Alpaca kept paging (") + QString::number(count) +
           QStringLiteral(" pages); stopped rather than loop");
}

std::vector<QStringList> AlpacaTransport::batches(const QStringList& symbols, qsizetype size) {
    const qsizetype step = std::max<qsizetype>(size, 1);
    std::vector<QStringList> groups;
    for (qsizetype start = 0; start < symbols.size(); start += step)
        groups.push_back(symbols.mid(start, step));
    return groups;
}

}  // namespace tavix
