#pragma once

#include "alpaca/AlpacaTransport.h"
#include "market/Keychain.h"

#include <qcoro/qcorotask.h>

#include <QString>

#include <optional>

namespace tavix {

// An Alpaca profile's key and secret, kept together as one keychain item named by the profile's
// slot.
class AlpacaKeys {
public:
    // The keys saved for the slot, or nothing when none are. Throws KeychainError when the
    // keychain fails, or when the item is not a pair of keys.
    static QCoro::Task<std::optional<AlpacaCredentials>> saved(Keychain* keychain, QString slot);
    // Throws KeychainError.
    static QCoro::Task<void> save(Keychain* keychain, QString slot, AlpacaCredentials keys);
    static QCoro::Task<void> forget(Keychain* keychain, QString slot);
};

}  // namespace tavix
