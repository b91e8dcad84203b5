#pragma once

#include "core/AccountKind.h"
#include "market/Account.h"
#include "market/Broker.h"

#include <qcoro/qcorotask.h>

#include <QObject>
#include <QString>

#include <optional>

namespace tavix {

// The account the window is on: its kind and the broker's record of it, read once the broker is
// connected. A failed read leaves the broker's words in `message`.
class AccountSummary : public QObject {
    Q_OBJECT

public:
    // The broker must outlive the summary.
    explicit AccountSummary(Broker& broker, QObject* parent = nullptr);

    AccountKind kind() const { return kind_; }
    // The broker's first account, once read.
    const std::optional<BrokerAccount>& account() const { return account_; }
    const std::optional<QString>& message() const { return message_; }
    bool isLoading() const { return loading_; }

    // Connects the broker when it is not connected yet and reads its accounts. A load that finds
    // one under way lets it be.
    void load();

Q_SIGNALS:
    void accountChanged();
    void messageChanged();

private:
    struct Reading {
        std::optional<BrokerAccount> account;
        std::optional<QString> error;
    };

    static QCoro::Task<Reading> read(Broker* broker);
    void land(Reading reading);

    Broker& broker_;
    AccountKind kind_;
    std::optional<BrokerAccount> account_;
    std::optional<QString> message_;
    bool loading_ = false;
};

}  // namespace tavix
