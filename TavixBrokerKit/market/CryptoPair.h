#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace tavix {

// A coin traded against a quote currency, written "BTC/USD".
struct CryptoPair {
    QString base;   // "BTC"
    QString quote;  // "USD"

    QString symbol() const { return base + u'/' + quote; }

    // The currencies a coin may be quoted in.
    static const QStringList& quotes();

    // True for a coin pair written with a slash: a base coin, "/", and a known quote currency.
    // Letter case and surrounding spaces are forgiven ("btc/usd").
    static bool isPair(const QString& text);
    // The pair for a text; also reads the slash-less form "BTCUSD" that some services use.
    static std::optional<CryptoPair> pair(const QString& text);
    // The standard form "BTC/USD", or the text unchanged when it is not a pair.
    static QString normalized(const QString& text);
    // The base coin of a pair ("BTC" for "BTC/USD"), or nothing.
    static std::optional<QString> baseOf(const QString& text);

    friend bool operator==(const CryptoPair&, const CryptoPair&) = default;
};

}  // namespace tavix
