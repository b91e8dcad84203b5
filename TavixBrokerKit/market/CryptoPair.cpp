#include "market/CryptoPair.h"

namespace tavix {
namespace {

bool isCoinCode(const QString& text) {
    if (text.size() < 2 || text.size() > 10) return false;
    for (QChar c : text) {
        if (!((c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9'))) return false;
    }
    return text[0] >= u'A' && text[0] <= u'Z';
}

}  // namespace

const QStringList& CryptoPair::quotes() {
    static const QStringList list = {QStringLiteral("USD"), QStringLiteral("USDT"), QStringLiteral("USDC"),
                                     QStringLiteral("BTC")};
    return list;
}

std::optional<CryptoPair> CryptoPair::pair(const QString& text) {
    const QString upper = text.trimmed().toUpper();
    const auto slash = upper.indexOf(u'/');
    if (slash >= 0) {
        CryptoPair p{upper.left(slash), upper.mid(slash + 1)};
        if (isCoinCode(p.base) && quotes().contains(p.quote) && p.base != p.quote) return p;
        return std::nullopt;
    }
    // Slash-less: the longest quote currency that ends the text.
    for (const auto& quote : {QStringLiteral("USDT"), QStringLiteral("USDC"), QStringLiteral("USD"),
                              QStringLiteral("BTC")}) {
        if (upper.endsWith(quote) && upper.size() > quote.size()) {
            CryptoPair p{upper.left(upper.size() - quote.size()), quote};
            if (isCoinCode(p.base) && p.base != p.quote) return p;
        }
    }
    return std::nullopt;
}

bool CryptoPair::isPair(const QString& text) { return text.contains(u'/') && pair(text).has_value(); }

QString CryptoPair::normalized(const QString& text) {
    if (auto p = pair(text)) return p->symbol();
    return text;
}

std::optional<QString> CryptoPair::baseOf(const QString& text) {
    if (!isPair(text)) return std::nullopt;
    return pair(text)->base;
}

Decimal CryptoPair::makerRate() { return *Decimal::parse(std::string_view("0.0015")); }
// Alpaca's first volume tier, read on 2025-06-01.
Decimal CryptoPair::takerRate() { return *Decimal::parse(std::string_view("0.0025")); }

Decimal CryptoPair::rate(const OrderRequest& request, const Quote& against) {
    if (request.type != OrderType::limit || !request.limitPrice) return takerRate();
    const bool buying = isBuy(request.side);
    const Decimal reference = buying ? against.ask.value_or(against.last) : against.bid.value_or(against.last);
    const bool crosses = buying ? *request.limitPrice >= reference : *request.limitPrice <= reference;
    return crosses ? takerRate() : makerRate();
}

QString CryptoPair::timeInForceRule() {
    return QStringLiteral(
        "a coin order stays until you cancel it, or fills now or not at all: there's no trading day for it to end "
        "with.");
}

std::optional<QString> CryptoPair::timeInForceProblem(const OrderRequest& request) {
    if (request.assetType != AssetType::crypto) return std::nullopt;
    if (request.timeInForce == TimeInForce::goodTillCancelled ||
        request.timeInForce == TimeInForce::immediateOrCancel) {
        return std::nullopt;
    }
    return timeInForceRule();
}

}  // namespace tavix
