#pragma once

#include "market/BrokerError.h"

#include <QString>

namespace tavix {

// What the user reads when a broker call failed. A broker that could not be reached at all is named,
// with what to check, rather than described by the network's own words ("no HTTP response (host not
// found)"), which stay in the log; every other failure keeps the broker's own description.
QString problemWords(const BrokerError& error, const QString& brokerName);

}  // namespace tavix
