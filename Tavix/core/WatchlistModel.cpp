#include "core/WatchlistModel.h"

#include <QLoggingCategory>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <exception>
#include <utility>

namespace tavix {

namespace {

Q_LOGGING_CATEGORY(quotesLog, "com.brindlecove.tavix.quotes")

std::chrono::milliseconds pollInterval(double seconds) {
    // A broker that asks for no pause still gets one, so the event loop keeps breathing.
    const double ms = std::max(50.0, seconds * 1000.0);
    return std::chrono::milliseconds(static_cast<long long>(std::llround(ms)));
}

}  // namespace

WatchlistModel::WatchlistModel(Broker& broker, QStringList symbols, QObject* parent)
    : QObject(parent), broker_(broker), symbols_(std::move(symbols)) {
    QObject::connect(&timer_, &QTimer::timeout, this, &WatchlistModel::refresh);
}

void WatchlistModel::setSymbols(QStringList symbols) {
    if (symbols == symbols_) return;
    symbols_ = std::move(symbols);
    ++generation_;
    const auto dropped =
        std::erase_if(quotes_, [this](const auto& entry) { return !symbols_.contains(entry.first); });
    Q_EMIT symbolsChanged();
    if (dropped > 0) Q_EMIT quotesChanged();
    if (refreshing_) {
        readAgain_ = true;
    } else if (isRunning()) {
        refresh();
    }
}

const Quote* WatchlistModel::quote(const QString& symbol) const {
    auto it = quotes_.find(symbol);
    return it == quotes_.end() ? nullptr : &it->second;
}

void WatchlistModel::start() {
    timer_.start(pollInterval(broker_.quotePollSeconds()));
    refresh();
}

void WatchlistModel::stop() { timer_.stop(); }

void WatchlistModel::refresh() {
    if (refreshing_ || symbols_.isEmpty()) return;
    readAgain_ = false;
    setRefreshing(true);
    // The landing runs only while this model exists; the read itself holds no pointer to it.
    QCoro::connect(read(&broker_, symbols_), this,
                   [this, generation = generation_](Reading reading) { land(generation, std::move(reading)); });
}

QCoro::Task<WatchlistModel::Reading> WatchlistModel::read(Broker* broker, QStringList symbols) {
    Reading reading;
    try {
        reading.quotes = co_await broker->quotes(std::move(symbols));
    } catch (const BrokerError& error) {
        reading.error = error.description();
    } catch (const std::exception& error) {
        // Brokers fail only with BrokerError; anything else is a fault, but the list must not
        // stop refreshing over it.
        qCWarning(quotesLog) << "quote read failed:" << error.what();
        reading.error = QStringLiteral("Tavix couldn't read prices: ") + QString::fromUtf8(error.what());
    }
    co_return reading;
}

void WatchlistModel::land(std::uint64_t generation, Reading reading) {
    setRefreshing(false);
    if (generation != generation_) {
        // Read for a list that is no longer shown.
        if (readAgain_) refresh();
        return;
    }
    if (reading.error) {
        qCInfo(quotesLog) << "quote read failed:" << *reading.error;
        setMessage(std::move(reading.error));
        return;
    }
    bool changed = false;
    for (auto& [symbol, quote] : reading.quotes) {
        if (!symbols_.contains(symbol)) continue;
        auto [it, inserted] = quotes_.try_emplace(symbol, quote);
        if (inserted) {
            changed = true;
        } else if (it->second != quote) {
            it->second = std::move(quote);
            changed = true;
        }
    }
    setMessage(std::nullopt);
    if (changed) Q_EMIT quotesChanged();
}

void WatchlistModel::setMessage(std::optional<QString> message) {
    if (message == message_) return;
    message_ = std::move(message);
    Q_EMIT messageChanged();
}

void WatchlistModel::setRefreshing(bool refreshing) {
    if (refreshing == refreshing_) return;
    refreshing_ = refreshing;
    Q_EMIT refreshingChanged();
}

}  // namespace tavix
