#include "practice/CoinTable.h"

#include <array>
#include <utility>

namespace tavix {
namespace {

struct CoinLevel {
    const char16_t* coin;
    const char* level;
};

// Round levels near where each coin has traded; three of them sit under 1 and two under 0.01
// so that every tick size of the path is exercised.
constexpr std::array<CoinLevel, 16> table = {{
    {u"BTC", "64250"},
    {u"ETH", "3180"},
    {u"SOL", "148.50"},
    {u"BNB", "575"},
    {u"XRP", "0.5230"},
    {u"DOGE", "0.1245"},
    {u"ADA", "0.4410"},
    {u"AVAX", "27.80"},
    {u"LINK", "14.60"},
    {u"DOT", "6.35"},
    {u"LTC", "71.40"},
    {u"BCH", "385"},
    {u"UNI", "7.90"},
    {u"AAVE", "96.50"},
    {u"SHIB", "0.00001875"},
    {u"PEPE", "0.00000935"},
}};

}  // namespace

std::optional<Decimal> CoinTable::level(const QString& coin) {
    const QString upper = coin.trimmed().toUpper();
    for (const auto& entry : table) {
        if (upper == QStringView(entry.coin)) return Decimal::parse(std::string_view(entry.level));
    }
    return std::nullopt;
}

QStringList CoinTable::coins() {
    QStringList list;
    list.reserve(static_cast<qsizetype>(table.size()));
    for (const auto& entry : table) list.append(QString::fromUtf16(entry.coin));
    return list;
}

bool CoinTable::isDollar(const QString& currency) {
    const QString upper = currency.trimmed().toUpper();
    return upper == u"USD" || upper == u"USDT" || upper == u"USDC";
}

}  // namespace tavix
