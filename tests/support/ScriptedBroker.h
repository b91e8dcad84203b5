#pragma once

#include "market/Broker.h"

#include <QObject>
#include <QStringList>

#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace tavix::test {

// A broker whose answers the test writes. Quotes come from `prices`, accounts from `accountList`;
// `quotesError` makes every quote read fail, and `holding` keeps quote reads waiting until the test
// releases them one by one, so a test can let a read land after it changed something else.
// A held read answers with what the script says when it is released, not when it was asked.
// Everything that is not about accounts or quotes is refused as unsupported.
class ScriptedBroker : public Broker {
public:
    ScriptedBroker();
    ~ScriptedBroker() override;

    BrokerID id() const override { return brokerID; }
    QString displayName() const override { return QStringLiteral("Scripted"); }
    BrokerCapabilities capabilities() const override;
    FeeSchedule fees() const override { return {}; }
    double quotePollSeconds() const override { return pollSeconds; }

    QCoro::Task<bool> isConnected() override;
    QCoro::Task<void> connect() override;
    QCoro::Task<void> disconnect() override;

    QCoro::Task<std::vector<BrokerAccount>> accounts() override;
    QCoro::Task<Balance> balance(QString accountID) override;
    QCoro::Task<std::vector<Position>> positions(QString accountID) override;
    QCoro::Task<std::map<QString, Quote>> quotes(QStringList symbols) override;
    QCoro::Task<std::vector<Candle>> candles(QString symbol, CandleInterval interval, DateRange range) override;
    QCoro::Task<Order> placeOrder(OrderRequest request, QString accountID) override;
    QCoro::Task<void> cancelOrder(QString orderID, QString accountID) override;
    QCoro::Task<std::vector<Order>> orders(QString accountID, std::optional<Date> since) override;

    // Sets the price of a symbol: last, and optionally the previous close, bid and ask (texts
    // so tests read like the prices they show).
    void setPrice(const QString& symbol, const char* last, const char* previousClose = nullptr,
                  const char* bid = nullptr, const char* ask = nullptr);

    // Held reads waiting for release.
    int heldCount() const { return static_cast<int>(held_.size()); }
    // Lets the oldest held read answer. Returns false when none was waiting.
    bool releaseOne();

    BrokerID brokerID = BrokerID::mock();
    double pollSeconds = 1.0;
    std::map<QString, Quote> prices;
    std::optional<BrokerError> quotesError;
    std::optional<BrokerError> accountsError;
    std::vector<BrokerAccount> accountList;
    bool holding = false;
    bool connected = true;
    int connectCalls = 0;
    // The symbol lists quotes() was asked for, in order.
    std::vector<QStringList> quoteCalls;

private:
    class Gate;
    std::deque<std::shared_ptr<Gate>> held_;
};

}  // namespace tavix::test
