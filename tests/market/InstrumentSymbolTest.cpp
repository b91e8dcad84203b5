#include "market/NewYorkCalendar.h"
#include "market/OptionSymbol.h"

#include <gtest/gtest.h>

namespace tavix {
namespace {

Decimal dec(const char* text) { return *Decimal::parse(std::string_view(text)); }

TEST(OptionSymbols, WriteStrikesInThousandthsAndReadBack) {
    OptionSymbol call{QStringLiteral("AAPL"), *OptionSymbol::expiryDate(2026, 1, 16), OptionRight::call, dec("190")};
    EXPECT_EQ(call.occ(), QStringLiteral("AAPL260116C00190000"));
    OptionSymbol put{QStringLiteral("F"), *OptionSymbol::expiryDate(2027, 12, 17), OptionRight::put, dec("2.5")};
    EXPECT_EQ(put.occ(), QStringLiteral("F271217P00002500"));

    const char* underlyings[] = {"F", "GM", "IBM", "AAPL", "GOOGL", "BRKB12"};
    const char* strikes[] = {"0.5", "2.5", "12.125", "190", "1234.567", "99999.999"};
    for (const char* u : underlyings) {
        for (const char* k : strikes) {
            for (auto right : {OptionRight::call, OptionRight::put}) {
                OptionSymbol original{QString::fromLatin1(u), *OptionSymbol::expiryDate(2028, 2, 29), right, dec(k)};
                auto parsed = OptionSymbol::parse(original.occ());
                ASSERT_TRUE(parsed) << original.occ().toStdString();
                EXPECT_EQ(*parsed, original) << original.occ().toStdString();
            }
        }
    }
}

TEST(OptionSymbols, ExpiryIsTheStartOfTheNewYorkDay) {
    // 16 January 2026 is winter: midnight in New York is 05:00 UTC. 17 July 2026 is summer: 04:00.
    EXPECT_EQ(OptionSymbol::expiryDate(2026, 1, 16)->toIso(), QStringLiteral("2026-01-16T05:00:00Z"));
    EXPECT_EQ(OptionSymbol::expiryDate(2026, 7, 17)->toIso(), QStringLiteral("2026-07-17T04:00:00Z"));
    EXPECT_EQ(OptionSymbol::expiryDate(2026, 2, 30), std::nullopt);
    EXPECT_EQ(OptionSymbol::expiryDate(2026, 13, 1), std::nullopt);
    auto parsed = OptionSymbol::parse(QStringLiteral("SPY260717P00550000"));
    ASSERT_TRUE(parsed);
    EXPECT_EQ(NewYorkCalendar::dateOf(parsed->expiry), QDate(2026, 7, 17));
}

TEST(OptionSymbols, ForgivePaddingAndCaseButRefuseNonsense) {
    auto padded = OptionSymbol::parse(QStringLiteral("AAPL  260116C00190000"));
    ASSERT_TRUE(padded);
    EXPECT_EQ(padded->underlying, QStringLiteral("AAPL"));
    EXPECT_EQ(padded->strike, dec("190"));
    EXPECT_EQ(OptionSymbol::parse(QStringLiteral("aapl260116p00190000")).value_or(OptionSymbol{}).right,
              OptionRight::put);

    // Right neither C nor P, month 13, 30 February, seven and nine strike digits, zero strike, no underlying,
    // too long, letters the format does not take, the letter O for zero, a coin pair.
    const char* nonsense[] = {"", "AAPL", "AAPL260116X00190000", "AAPL261316C00190000", "AAPL260230C00190000",
                              "AAPL260116C0019000", "AAPL260116C001900000", "AAPL260116C00000000",
                              "260116C00190000", "TOOLONGX260116C00190000", "AA-PL260116C00190000",
                              "1AAP260116C00190000", "AAPL26O116C00190000", "BTC/USD"};
    for (const char* text : nonsense) {
        EXPECT_EQ(OptionSymbol::parse(QString::fromLatin1(text)), std::nullopt) << text;
    }
}

}  // namespace
}  // namespace tavix
