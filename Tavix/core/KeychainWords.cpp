#include "core/KeychainWords.h"

#include <QtGlobal>

namespace tavix {

KeychainWords keychainWords() {
#if defined(Q_OS_MACOS)
    return {QStringLiteral("the Mac's Keychain"), QStringLiteral("the Keychain")};
#elif defined(Q_OS_WIN)
    return {QStringLiteral("Windows Credential Manager"), QStringLiteral("Windows Credential Manager")};
#else
    return {QStringLiteral("your system keyring"), QStringLiteral("your system keyring")};
#endif
}

}  // namespace tavix
