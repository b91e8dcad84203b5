#include "market/OrderLog.h"

#include "support/LogCapture.h"

#include <gtest/gtest.h>

namespace tavix {
namespace {

Decimal dec(const char* text) { return *Decimal::parse(std::string_view(text)); }

TEST(OrderLogLines, EveryActionIsOneLineWithEveryValueInClear) {
    const OrderRequest bracket{.symbol = QStringLiteral("AAPL"), .side = OrderSide::sellShort,
                               .quantity = dec("12.50"), .type = OrderType::stopLimit, .limitPrice = dec("187.1"),
                               .stopPrice = dec("187.25"), .takeProfit = dec("180"), .stopLoss = dec("190"),
                               .clientOrderID = QStringLiteral("tavix-bot-7")};
    const BrokerID alpaca = BrokerID::alpaca();
    test::LogCapture log;
    OrderLog::sent(bracket, Order{.id = QStringLiteral("ord-42")}, alpaca);
    OrderLog::refused(OrderRequest{.symbol = QStringLiteral("MSFT"), .quantity = dec("3")},
                      QStringLiteral("insufficient buying power"), alpaca);
    OrderLog::cancelled(QStringLiteral("ord-42"), true, alpaca);
    OrderLog::cancelled(QStringLiteral("ord-43"), false, alpaca);
    OrderLog::replaced(QStringLiteral("ord-42"), QStringLiteral("ord-44"), dec("186.5"), std::nullopt, alpaca);
    OrderLog::replaceRefused(QStringLiteral("ord-44"), QStringLiteral("that order isn't working any more."), alpaca);

    const QStringList lines = log.messages(QStringLiteral("com.brindlecove.tavix.orders"));
    ASSERT_EQ(lines.size(), 6);
    EXPECT_EQ(lines[0], QStringLiteral("alpaca placed sellShort 12.5 AAPL stopLimit stop=187.25 limit=187.1 "
                                       "tp=180 sl=190 client=tavix-bot-7 id=ord-42"));
    EXPECT_EQ(lines[1], QStringLiteral("alpaca REFUSED buy 3 MSFT market market client=-: insufficient buying power"));
    EXPECT_EQ(lines[2], QStringLiteral("alpaca cancelled id=ord-42"));
    EXPECT_TRUE(lines[3].startsWith(QStringLiteral("alpaca cancel r")));
    EXPECT_EQ(lines[4], QStringLiteral("alpaca replaced id=ord-42 limit=186.5 stop=- new=ord-44"));
    EXPECT_EQ(lines[5], QStringLiteral("alpaca REPLACE REFUSED id=ord-44: that order isn't working any more."));
}

}  // namespace
}  // namespace tavix
