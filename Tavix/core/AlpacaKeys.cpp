#include "core/AlpacaKeys.h"

#include "market/Json.h"

#include <utility>

namespace tavix {

namespace {

AlpacaCredentials decode(const QString& text, const QString& slot) {
    try {
        Json item = Json::parse(text.toUtf8());
        AlpacaCredentials keys{item.at("key").toQString(), item.at("secret").toQString()};
        if (keys.key.isEmpty() || keys.secret.isEmpty()) throw JsonError("a key or secret is empty");
        return keys;
    } catch (const JsonError&) {
        // The parser's message may quote the item's text, which holds the secret: keep it out.
        throw KeychainError(
            QStringLiteral("Keychain item for %1 is not a pair of Alpaca keys").arg(slot).toStdString());
    }
}

}  // namespace

QCoro::Task<std::optional<AlpacaCredentials>> AlpacaKeys::saved(Keychain* keychain, QString slot) {
    std::optional<QString> text = co_await keychain->read(slot);
    if (!text) co_return std::nullopt;
    AlpacaCredentials keys = decode(*text, slot);
    co_return std::optional<AlpacaCredentials>(std::move(keys));
}

QCoro::Task<void> AlpacaKeys::save(Keychain* keychain, QString slot, AlpacaCredentials keys) {
    Json item = Json::object();
    item.set("key", Json(keys.key));
    item.set("secret", Json(keys.secret));
    QString text = QString::fromUtf8(item.serialize());
    co_await keychain->write(slot, text);
}

QCoro::Task<void> AlpacaKeys::forget(Keychain* keychain, QString slot) {
    co_await keychain->remove(slot);
}

}  // namespace tavix
