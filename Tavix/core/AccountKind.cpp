#include "core/AccountKind.h"

namespace tavix {

AccountKind accountKindOf(const BrokerID& broker) {
    if (broker == BrokerID::mock()) return AccountKind::practice;
    if (broker == BrokerID::alpaca()) return AccountKind::paper;
    return AccountKind::live;
}

QString accountKindWord(AccountKind kind) {
    switch (kind) {
        case AccountKind::practice:
            return QStringLiteral("Practice");
        case AccountKind::paper:
            return QStringLiteral("Paper");
        case AccountKind::live:
            return QStringLiteral("Live");
    }
    return {};
}

}  // namespace tavix
