#pragma once

#include "alpaca/AlpacaEndpoints.h"
#include "alpaca/RequestBudget.h"
#include "market/Decimal.h"
#include "market/Json.h"

#include <qcoro/qcorotask.h>

#include <QByteArray>
#include <QNetworkRequest>
#include <QPointer>
#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

class QNetworkAccessManager;

namespace tavix {

// The key pair an Alpaca account is reached with. Neither half ever goes into a log line or an
// error text.
struct AlpacaCredentials {
    QString key;  // sent as the key id
    QString secret;
};

// Sends authorised requests to Alpaca's two hosts and turns answers into bodies or BrokerErrors.
// Every request first spends from its host's budget (data or trading). Nothing is retried here:
// a time-out on an order may still have placed it, so the callers decide.
//
// Copies share one state (budgets, hook, credentials), and a request in flight keeps that state
// alive, so the owner may go away while an answer is still on its way.
class AlpacaTransport {
public:
    using Host = AlpacaHost;
    using Query = AlpacaQuery;
    // Turns Alpaca's refusal of an order into the user's sentence, or gives nothing to pass
    // Alpaca's message on. Arguments: the message, "existing_qty", "held_for_orders".
    using RefusalTranslator = std::function<std::optional<QString>(
        const QString& message, const std::optional<Decimal>& held, const std::optional<Decimal>& resting)>;
    // Reads one page's body and gives its "next_page_token" (none or empty when it was the last).
    using PageReader = std::function<std::optional<QString>(const QByteArray& body)>;

    struct Options {
        int dataPerMinute = 150;
        int tradingPerMinute = 120;
        std::chrono::milliseconds timeout = std::chrono::seconds(60);
        RequestBudget::Clock clock;      // defaults to the wall clock
        RequestBudget::Sleeper sleeper;  // defaults to a timer
        RefusalTranslator refusal;       // none: Alpaca's message is passed on
    };

    static constexpr int maxPages = 1000;

    // `network` is the application's shared access manager; it must outlive every request.
    AlpacaTransport(AlpacaEndpoints endpoints, AlpacaCredentials credentials, QNetworkAccessManager* network,
                    Options options);
    AlpacaTransport(AlpacaEndpoints endpoints, AlpacaCredentials credentials, QNetworkAccessManager* network);

    const AlpacaEndpoints& endpoints() const;
    RequestBudget& dataBudget();
    RequestBudget& tradingBudget();

    // The request as every call sends it: the time-out and the three headers
    // APCA-API-KEY-ID, APCA-API-SECRET-KEY and Accept: application/json.
    QNetworkRequest authorized(const QUrl& url) const;

    QCoro::Task<QByteArray> get(Host host, QString path, Query query = {});
    QCoro::Task<QByteArray> post(Host host, QString path, Json body);
    QCoro::Task<QByteArray> patch(Host host, QString path, Json body);
    QCoro::Task<QByteArray> put(Host host, QString path, Json body);
    QCoro::Task<QByteArray> del(Host host, QString path, Query query = {});
    // Any method; a body goes out as JSON with its Content-Type.
    QCoro::Task<QByteArray> send(QByteArray method, Host host, QString path, Query query,
                                 std::optional<Json> body);

    // Reads a paged list: GET with `query`, hands each body to `read`, and asks again with
    // "page_token" set to the token it gives until there is none. A service that repeats its
    // token, or pages past a thousand, is stopped with "Alpaca kept paging (n pages); stopped
    // rather than loop"; page 1,001 is never asked for.
    QCoro::Task<void> pages(Host host, QString path, Query query, PageReader read);

    // Consecutive groups of at most `size` symbols, in order; each group is one request.
    static std::vector<QStringList> batches(const QStringList& symbols, qsizetype size);

    // The text of the paging stop, for `count` pages read.
    static QString pagingMessage(int count);

private:
    struct State;
    static QCoro::Task<QByteArray> exchange(std::shared_ptr<State> state, QByteArray method, Host host,
                                            QString path, Query query, std::optional<Json> body);
    static QCoro::Task<void> readPages(std::shared_ptr<State> state, Host host, QString path, Query query,
                                       PageReader read);

    std::shared_ptr<State> state_;
};

}  // namespace tavix
