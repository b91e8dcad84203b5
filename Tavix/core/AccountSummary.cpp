#include "core/AccountSummary.h"

#include <exception>
#include <utility>

namespace tavix {

AccountSummary::AccountSummary(Broker& broker, QObject* parent)
    : QObject(parent), broker_(broker), kind_(accountKindOf(broker.id())) {}

void AccountSummary::load() {
    if (loading_) return;
    loading_ = true;
    QCoro::connect(read(&broker_), this, [this](Reading reading) { land(std::move(reading)); });
}

QCoro::Task<AccountSummary::Reading> AccountSummary::read(Broker* broker) {
    Reading reading;
    try {
        if (!co_await broker->isConnected()) co_await broker->connect();
        auto accounts = co_await broker->accounts();
        if (!accounts.empty()) reading.account = std::move(accounts.front());
    } catch (const BrokerError& error) {
        reading.error = error.description();
    } catch (const std::exception& error) {
        // Brokers fail only with BrokerError; anything else is a fault, but must not leave the
        // summary loading for ever.
        reading.error = QStringLiteral("Tavix couldn't read the account: ") + QString::fromUtf8(error.what());
    }
    co_return reading;
}

void AccountSummary::land(Reading reading) {
    loading_ = false;
    if (reading.error) {
        if (message_ != reading.error) {
            message_ = std::move(reading.error);
            Q_EMIT messageChanged();
        }
        return;
    }
    if (message_) {
        message_.reset();
        Q_EMIT messageChanged();
    }
    if (account_ != reading.account) {
        account_ = std::move(reading.account);
        Q_EMIT accountChanged();
    }
}

}  // namespace tavix
