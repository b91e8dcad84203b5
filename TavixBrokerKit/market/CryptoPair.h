#pragma once

#include "market/Decimal.h"
#include "market/OrderRequest.h"
#include "market/Quote.h"

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

    // Fee rates, as fractions of the trade's value: an order that rests on the book pays the
    // maker rate, one that trades at once against a resting order the taker rate.
    static Decimal makerRate();
    static Decimal takerRate();
    // The rate an order will pay given the current quote: market and stop orders, and limits that
    // cross the spread, take; other limits make.
    static Decimal rate(const OrderRequest& request, const Quote& against);

    static QString timeInForceRule();
    // The rule's sentence for a coin order whose time in force is neither good-till-cancelled
    // nor immediate-or-cancel.
    static std::optional<QString> timeInForceProblem(const OrderRequest& request);

    friend bool operator==(const CryptoPair&, const CryptoPair&) = default;
};

}  // namespace tavix
