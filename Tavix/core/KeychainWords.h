#pragma once

#include <QString>

namespace tavix {

// What the user calls the system's secret store, in full and short: the Keychain on macOS, the
// Credential Manager on Windows, the keyring elsewhere.
struct KeychainWords {
    QString full;   // "the Mac's Keychain"
    QString plain;  // "the Keychain"
};

KeychainWords keychainWords();

}  // namespace tavix
