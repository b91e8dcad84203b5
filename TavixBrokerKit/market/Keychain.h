#pragma once

#include <qcoro/qcorotask.h>

#include <QString>

#include <map>
#include <optional>
#include <stdexcept>

namespace tavix {

// Thrown when the system's secret store cannot be reached or refuses an operation. The message
// says what failed for a log line and never holds a secret.
class KeychainError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Generic-password items of one service, one secret per account name. Secrets never reach the
// settings file or a log.
class Keychain {
public:
    virtual ~Keychain() = default;

    // The secret, or nothing when no item exists. Throws KeychainError when the store fails.
    virtual QCoro::Task<std::optional<QString>> read(QString account) = 0;
    // Adds the item or updates it. Throws KeychainError.
    virtual QCoro::Task<void> write(QString account, QString secret) = 0;
    // Removes the item; removing a missing item is not an error. Throws KeychainError.
    virtual QCoro::Task<void> remove(QString account) = 0;
};

// The system keychain through qtkeychain: the Secret Service on Linux, the Keychain on macOS, the
// Credential Store on Windows. Without a reachable store every call fails fast.
class SystemKeychain : public Keychain {
public:
    explicit SystemKeychain(QString service = QStringLiteral("com.brindlecove.tavix"));

    QCoro::Task<std::optional<QString>> read(QString account) override;
    QCoro::Task<void> write(QString account, QString secret) override;
    QCoro::Task<void> remove(QString account) override;

private:
    QString service_;
};

// Kept in memory only: for previews and tests. `failing` makes every call throw, as a keychain
// that cannot be reached does.
class MemoryKeychain : public Keychain {
public:
    QCoro::Task<std::optional<QString>> read(QString account) override;
    QCoro::Task<void> write(QString account, QString secret) override;
    QCoro::Task<void> remove(QString account) override;

    void setFailing(bool failing) { failing_ = failing; }
    const std::map<QString, QString>& items() const { return items_; }

private:
    std::map<QString, QString> items_;
    bool failing_ = false;
};

}  // namespace tavix
