#include "market/BrokerError.h"

#include <cmath>

namespace tavix {

BrokerError::BrokerError(Kind kind) : kind_(kind) {}


#define TAVIX_FINISH(e)                                 \
    do {                                                \
        (e).what_ = (e).description().toStdString();    \
        return (e);                                     \
    } while (false)

BrokerError BrokerError::unsupported(BrokerCapabilities capabilities) {
    BrokerError e(Kind::unsupported);
    e.capabilities_ = capabilities;
    TAVIX_FINISH(e);
}
BrokerError BrokerError::invalidOrder(QString text) {
    BrokerError e(Kind::invalidOrder);
    e.text_ = std::move(text);
    TAVIX_FINISH(e);
}
BrokerError BrokerError::accountNotFound(QString accountID) {
    BrokerError e(Kind::accountNotFound);
    e.text_ = std::move(accountID);
    TAVIX_FINISH(e);
}
BrokerError BrokerError::rateLimited(std::optional<double> retryAfter) {
    BrokerError e(Kind::rateLimited);
    e.retryAfter_ = retryAfter;
    TAVIX_FINISH(e);
}
BrokerError BrokerError::transport(QString text) {
    BrokerError e(Kind::transport);
    e.text_ = std::move(text);
    TAVIX_FINISH(e);
}
BrokerError BrokerError::api(int status, QString message) {
    BrokerError e(Kind::api);
    e.status_ = status;
    e.text_ = std::move(message);
    TAVIX_FINISH(e);
}
BrokerError BrokerError::decoding(QString text) {
    BrokerError e(Kind::decoding);
    e.text_ = std::move(text);
    TAVIX_FINISH(e);
}
BrokerError BrokerError::keychain(std::int32_t status) {
    BrokerError e(Kind::keychain);
    e.status_ = status;
    TAVIX_FINISH(e);
}
BrokerError BrokerError::notConnected() {
    BrokerError e(Kind::notConnected);
    TAVIX_FINISH(e);
}
BrokerError BrokerError::reauthorizationRequired() {
    BrokerError e(Kind::reauthorizationRequired);
    TAVIX_FINISH(e);
}

QString BrokerError::description() const {
    switch (kind_) {
        case Kind::unsupported:
            return QStringLiteral("This brokerage doesn't support that (") + capabilities_.text() +
                   QStringLiteral(").");
        case Kind::invalidOrder:
            return QStringLiteral("That order can't be sent: ") + text_;
        case Kind::accountNotFound:
            return QStringLiteral("Account ") + text_ + QStringLiteral(" wasn't found.");
        case Kind::rateLimited:
            if (!retryAfter_) return QStringLiteral("Too many requests. Try again shortly.");
            return QStringLiteral("Too many requests. Try again in ") +
                   QString::number(static_cast<long long>(std::floor(*retryAfter_))) + QStringLiteral("s.");
        case Kind::transport:
            // The reason may already be a sentence ("The request timed out."): one full stop.
            return QStringLiteral("Couldn't reach the brokerage: ") + text_ +
                   (text_.endsWith(u'.') ? QString() : QStringLiteral("."));
        case Kind::api:
            return QStringLiteral("Brokerage returned ") + QString::number(status_) + QStringLiteral(": ") + text_;
        case Kind::decoding:
            return QStringLiteral("Unexpected response from the brokerage: ") + text_;
        case Kind::keychain:
            return QStringLiteral("Keychain error ") + QString::number(status_);
        case Kind::notConnected:
            return QStringLiteral("This brokerage isn't connected yet.");
        case Kind::reauthorizationRequired:
            return QStringLiteral("Your brokerage sign-in expired. Sign in again to keep trading.");
    }
    return {};
}

}  // namespace tavix
