#pragma once

#include "market/BrokerCapabilities.h"

#include <QString>

#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <variant>

namespace tavix {

// The one error a broker operation fails with. `description()` is the text shown to the user.
class BrokerError : public std::exception {
public:
    enum class Kind {
        unsupported,
        invalidOrder,
        accountNotFound,
        rateLimited,
        transport,
        api,
        decoding,
        keychain,
        notConnected,
        reauthorizationRequired,
    };

    static BrokerError unsupported(BrokerCapabilities capabilities);
    static BrokerError invalidOrder(QString text);
    static BrokerError accountNotFound(QString accountID);
    static BrokerError rateLimited(std::optional<double> retryAfter);
    static BrokerError transport(QString text);
    static BrokerError api(int status, QString message);
    static BrokerError decoding(QString text);
    static BrokerError keychain(std::int32_t status);
    static BrokerError notConnected();
    static BrokerError reauthorizationRequired();

    Kind kind() const { return kind_; }
    QString description() const;
    const char* what() const noexcept override { return what_.c_str(); }

    // Payloads; each is meaningful only for its kind.
    BrokerCapabilities capabilities() const { return capabilities_; }
    const QString& text() const { return text_; }  // invalidOrder, accountNotFound, transport, decoding, api message
    std::optional<double> retryAfter() const { return retryAfter_; }
    int status() const { return status_; }  // api status, keychain status

    friend bool operator==(const BrokerError& a, const BrokerError& b) {
        return a.kind_ == b.kind_ && a.capabilities_ == b.capabilities_ && a.text_ == b.text_ &&
               a.retryAfter_ == b.retryAfter_ && a.status_ == b.status_;
    }

private:
    explicit BrokerError(Kind kind);

    Kind kind_;
    BrokerCapabilities capabilities_;
    QString text_;
    std::optional<double> retryAfter_;
    int status_ = 0;
    std::string what_;
};

}  // namespace tavix
