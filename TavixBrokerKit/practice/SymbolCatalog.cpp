#include "practice/SymbolCatalog.h"

#include <QRegularExpression>
#include <QStringList>

#include <algorithm>

namespace tavix {
namespace {

SymbolMatch entry(const char16_t* symbol, const char16_t* name, bool major) {
    return SymbolMatch{QString::fromUtf16(symbol), QString::fromUtf16(name), major};
}

// Words of a text in upper case, split at anything that is not a letter or a digit.
QStringList wordsOf(const QString& text) {
    static const QRegularExpression separators(QStringLiteral("[^\\p{L}\\p{N}]+"));
    return text.toUpper().split(separators, Qt::SkipEmptyParts);
}

}  // namespace

const std::vector<SymbolMatch>& SymbolCatalog::all() {
    static const std::vector<SymbolMatch> list = {
        entry(u"AAPL", u"Apple Inc.", true),
        entry(u"MSFT", u"Microsoft Corporation", true),
        entry(u"NVDA", u"NVIDIA Corporation", true),
        entry(u"AMZN", u"Amazon.com, Inc.", true),
        entry(u"GOOGL", u"Alphabet Inc. Class A", true),
        entry(u"META", u"Meta Platforms, Inc.", true),
        entry(u"TSLA", u"Tesla, Inc.", true),
        entry(u"AMD", u"Advanced Micro Devices, Inc.", true),
        entry(u"SPY", u"SPDR S&P 500 ETF Trust", true),
        entry(u"QQQ", u"Invesco QQQ Trust", true),
        entry(u"BTC/USD", u"Bitcoin / US Dollar", true),
        entry(u"ETH/USD", u"Ethereum / US Dollar", true),
        entry(u"NFLX", u"Netflix, Inc.", false),
        entry(u"JPM", u"JPMorgan Chase & Co.", false),
        entry(u"V", u"Visa Inc.", false),
        entry(u"MA", u"Mastercard Incorporated", false),
        entry(u"BAC", u"Bank of America Corporation", false),
        entry(u"WMT", u"Walmart Inc.", false),
        entry(u"COST", u"Costco Wholesale Corporation", false),
        entry(u"KO", u"The Coca-Cola Company", false),
        entry(u"PEP", u"PepsiCo, Inc.", false),
        entry(u"MCD", u"McDonald's Corporation", false),
        entry(u"DIS", u"The Walt Disney Company", false),
        entry(u"NKE", u"NIKE, Inc.", false),
        entry(u"SBUX", u"Starbucks Corporation", false),
        entry(u"HD", u"The Home Depot, Inc.", false),
        entry(u"UNH", u"UnitedHealth Group Incorporated", false),
        entry(u"JNJ", u"Johnson & Johnson", false),
        entry(u"PG", u"The Procter & Gamble Company", false),
        entry(u"XOM", u"Exxon Mobil Corporation", false),
        entry(u"CVX", u"Chevron Corporation", false),
        entry(u"BA", u"The Boeing Company", false),
        entry(u"F", u"Ford Motor Company", false),
        entry(u"GM", u"General Motors Company", false),
        entry(u"INTC", u"Intel Corporation", false),
        entry(u"AVGO", u"Broadcom Inc.", false),
        entry(u"QCOM", u"QUALCOMM Incorporated", false),
        entry(u"CSCO", u"Cisco Systems, Inc.", false),
        entry(u"ORCL", u"Oracle Corporation", false),
        entry(u"IBM", u"International Business Machines Corporation", false),
        entry(u"CRM", u"Salesforce, Inc.", false),
        entry(u"ADBE", u"Adobe Inc.", false),
        entry(u"PYPL", u"PayPal Holdings, Inc.", false),
        entry(u"UBER", u"Uber Technologies, Inc.", false),
        entry(u"PLTR", u"Palantir Technologies Inc.", false),
        entry(u"T", u"AT&T Inc.", false),
        entry(u"VZ", u"Verizon Communications Inc.", false),
        entry(u"SOL/USD", u"Solana / US Dollar", false),
        entry(u"DOGE/USD", u"Dogecoin / US Dollar", false),
    };
    return list;
}

std::vector<SymbolMatch> SymbolCatalog::search(const QString& text) {
    const QString typed = text.trimmed().toUpper();
    const QStringList typedWords = wordsOf(typed);
    if (typed.isEmpty()) return {};

    struct Hit {
        int rank;
        std::size_t order;
    };
    std::vector<Hit> hits;
    const auto& list = all();
    for (std::size_t i = 0; i < list.size(); ++i) {
        const SymbolMatch& candidate = list[i];
        const QString symbol = candidate.symbol.toUpper();
        int kind;  // 0 exact symbol, 1 symbol prefix, 2 name words
        if (symbol == typed) {
            kind = 0;
        } else if (symbol.startsWith(typed)) {
            kind = 1;
        } else {
            const QStringList nameWords = wordsOf(candidate.name);
            const bool named =
                !typedWords.isEmpty() &&
                std::all_of(typedWords.begin(), typedWords.end(), [&](const QString& word) {
                    return std::any_of(nameWords.begin(), nameWords.end(),
                                       [&](const QString& nameWord) { return nameWord.startsWith(word); });
                });
            if (!named) continue;
            kind = 2;
        }
        hits.push_back({(candidate.major ? 0 : 3) + kind, i});
    }
    std::stable_sort(hits.begin(), hits.end(), [](const Hit& a, const Hit& b) { return a.rank < b.rank; });

    std::vector<SymbolMatch> matches;
    matches.reserve(hits.size());
    for (const Hit& hit : hits) matches.push_back(list[hit.order]);
    return matches;
}

}  // namespace tavix
