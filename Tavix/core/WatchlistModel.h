#pragma once

#include "market/Broker.h"
#include "market/Quote.h"

#include <qcoro/qcorotask.h>

#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>

#include <cstdint>
#include <map>
#include <optional>

namespace tavix {

// The watched symbols and their latest quotes, read from a broker on the broker's poll pace.
// Lives on the main thread. One read is out at a time: a tick that finds one under way lets it be.
// A read that lands after the symbols changed is dropped, and a new read for the new symbols
// follows at once. A failed read keeps the last good prices and leaves the broker's words in
// `message` until a read succeeds again.
class WatchlistModel : public QObject {
    Q_OBJECT

public:
    // The broker must outlive the model.
    explicit WatchlistModel(Broker& broker, QStringList symbols = {}, QObject* parent = nullptr);

    const QStringList& symbols() const { return symbols_; }
    void setSymbols(QStringList symbols);

    // Latest quote of each watched symbol that has been priced at least once.
    const std::map<QString, Quote>& quotes() const { return quotes_; }
    const Quote* quote(const QString& symbol) const;

    // What went wrong with the last read, in the user's words; nothing after a good read.
    const std::optional<QString>& message() const { return message_; }

    bool isRefreshing() const { return refreshing_; }
    bool isRunning() const { return timer_.isActive(); }

    // Reads now, then every `quotePollSeconds` of the broker until stopped.
    void start();
    void stop();

    // Reads quotes now, unless a read is already under way.
    void refresh();

Q_SIGNALS:
    void symbolsChanged();
    void quotesChanged();
    void messageChanged();
    void refreshingChanged();

private:
    struct Reading {
        std::map<QString, Quote> quotes;
        std::optional<QString> error;
    };

    // Free of `this`: the read may outlive the model, and only its landing is guarded.
    static QCoro::Task<Reading> read(Broker* broker, QStringList symbols);
    void land(std::uint64_t generation, Reading reading);
    void setMessage(std::optional<QString> message);
    void setRefreshing(bool refreshing);

    Broker& broker_;
    QStringList symbols_;
    std::map<QString, Quote> quotes_;
    std::optional<QString> message_;
    QTimer timer_;
    bool refreshing_ = false;
    bool readAgain_ = false;
    // Raised whenever the symbols change; a read carries the value it started under.
    std::uint64_t generation_ = 0;
};

}  // namespace tavix
