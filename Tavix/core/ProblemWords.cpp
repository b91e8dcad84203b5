#include "core/ProblemWords.h"

namespace tavix {

QString problemWords(const BrokerError& error, const QString& brokerName) {
    if (error.kind() != BrokerError::Kind::transport) return error.description();
    return QStringLiteral("Tavix can't reach ") + (brokerName.isEmpty() ? QStringLiteral("your broker") : brokerName) +
           QStringLiteral(" right now. Check your internet connection; Tavix keeps trying on its own.");
}

}  // namespace tavix
