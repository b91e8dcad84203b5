#include "core/AppModel.h"

#include "core/Pacer.h"
#include "core/ProblemWords.h"

#include <QPointer>

#include <utility>

namespace tavix {

namespace {

constexpr double minute = 60;
constexpr double day = 24 * 60 * minute;

// How far back a chart reaches: enough candles to read, few enough to load quickly.
double chartSpanSeconds(CandleInterval interval) {
    switch (interval) {
        case CandleInterval::oneSecond:
            return 15 * minute;
        case CandleInterval::oneMinute:
            return day;
        case CandleInterval::fiveMinute:
            return 5 * day;
        case CandleInterval::fifteenMinute:
            return 10 * day;
        case CandleInterval::thirtyMinute:
            return 20 * day;
        case CandleInterval::hourly:
            return 30 * day;
        case CandleInterval::daily:
            return 365 * day;
        case CandleInterval::weekly:
            return 5 * 365 * day;
        case CandleInterval::monthly:
            return 20 * 365 * day;
    }
    return 5 * day;
}

}  // namespace

void AppModel::switchTo(const QString& symbol) {
    const QString wanted = canonicalSymbol(symbol);
    if (wanted.isEmpty()) return;
    // Choosing the symbol already shown keeps its chart, unless it has none yet.
    if (wanted == selectedSymbol_ && !candles_.empty()) return;
    write(selectedSymbol_, wanted, Field::selectedSymbol);
    Session::setSelectedSymbol(wanted);
    // A fresh ticket for the new symbol; the old one's preview and report go with it.
    ticket_ = OrderTicket::fresh(wanted);
    Q_EMIT changed(Field::ticket);
    write(optionChain_, std::vector<OptionContract>(), Field::optionChain);
    write(candles_, std::vector<Candle>(), Field::candles);
    write(chartProblem_, std::optional<QString>(), Field::chartProblem);
    candlesReadAt_.reset();
    // Runs on by itself; the model is guarded inside it.
    QCoro::Task<void> loading = loadChart();
}

void AppModel::clearSelection() {
    write(selectedSymbol_, QString(), Field::selectedSymbol);
    Session::setSelectedSymbol(QString());
    write(candles_, std::vector<Candle>(), Field::candles);
    write(chartProblem_, std::optional<QString>(), Field::chartProblem);
    candlesReadAt_.reset();
    ++chartTicket_;  // a load under way is for a symbol no longer shown
}

void AppModel::setChartInterval(CandleInterval interval) {
    if (interval == chartInterval_) return;
    write(chartInterval_, interval, Field::chartInterval);
    Session::setChartInterval(interval);
    write(candles_, std::vector<Candle>(), Field::candles);
    write(chartProblem_, std::optional<QString>(), Field::chartProblem);
    candlesReadAt_.reset();
    QCoro::Task<void> loading = loadChart();
}

QCoro::Task<void> AppModel::loadChart() {
    QPointer<AppModel> self(this);
    std::shared_ptr<Broker> broker = broker_;
    const QString symbol = selectedSymbol_;
    if (!broker || symbol.isEmpty()) co_return;
    const CandleInterval interval = chartInterval_;
    const std::uint64_t generation = accountGeneration_;
    const std::uint64_t ticket = ++chartTicket_;
    const Date end = environment_.pacer->now();
    const DateRange range{end - chartSpanSeconds(interval), end};

    std::vector<Candle> read;
    std::optional<QString> problem;
    try {
        read = co_await broker->candles(symbol, interval, range);
    } catch (const BrokerError& error) {
        problem = problemWords(error, broker->displayName());
    }
    if (!self) co_return;
    // Candles for another symbol, interval or account, or overtaken by a newer load, are dropped.
    if (ticket != chartTicket_ || generation != accountGeneration_ || symbol != selectedSymbol_ ||
        interval != chartInterval_) {
        co_return;
    }
    if (problem) {
        // Said on the chart itself, where the user looks for the candles.
        write(chartProblem_, std::optional<QString>(QStringLiteral("Tavix couldn't load this chart. ") + *problem),
              Field::chartProblem);
        co_return;
    }
    write(chartProblem_, std::optional<QString>(), Field::chartProblem);
    write(candles_, std::move(read), Field::candles);
    candlesReadAt_ = environment_.pacer->now();
}

}  // namespace tavix
