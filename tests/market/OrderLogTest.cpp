#include "market/OrderLog.h"

#include <gtest/gtest.h>

namespace tavix {
namespace {

Decimal dec(const char* text) { return *Decimal::parse(std::string_view(text)); }

QStringList captured;
void capture(QtMsgType, const QMessageLogContext& context, const QString& message) {
    if (QString::fromLatin1(context.category) == QStringLiteral("com.brindlecove.tavix.orders")) captured << message;
}

TEST(OrderLogLines, EveryActionIsOneLineWithEveryValueInClear) {
    OrderRequest bracket{.symbol = QStringLiteral("AAPL"), .side = OrderSide::sellShort, .quantity = dec("12.50"),
                         .type = OrderType::stopLimit, .limitPrice = dec("187.1"), .stopPrice = dec("187.25"),
                         .takeProfit = dec("180"), .stopLoss = dec("190"),
                         .clientOrderID = QStringLiteral("tavix-bot-7")};
    Order placed{.id = QStringLiteral("ord-42")};
    const BrokerID alpaca = BrokerID::alpaca();

    captured.clear();
    auto previous = qInstallMessageHandler(capture);
    OrderLog::sent(bracket, placed, alpaca);
    OrderLog::refused(OrderRequest{.symbol = QStringLiteral("MSFT"), .quantity = dec("3")},
                      QStringLiteral("insufficient buying power"), alpaca);
    OrderLog::cancelled(QStringLiteral("ord-42"), true, alpaca);
    OrderLog::cancelled(QStringLiteral("ord-43"), false, alpaca);
    OrderLog::replaced(QStringLiteral("ord-42"), QStringLiteral("ord-44"), dec("186.5"), std::nullopt, alpaca);
    OrderLog::replaceRefused(QStringLiteral("ord-44"), QStringLiteral("that order isn't working any more."), alpaca);
    qInstallMessageHandler(previous);

    ASSERT_EQ(captured.size(), 6);
    EXPECT_EQ(captured[0], QStringLiteral("alpaca placed sellShort 12.5 AAPL stopLimit stop=187.25 limit=187.1 "
                                          "tp=180 sl=190 client=tavix-bot-7 id=ord-42"));
    EXPECT_EQ(captured[1], QStringLiteral("alpaca REFUSED buy 3 MSFT market market client=-: insufficient buying power"));
    EXPECT_EQ(captured[2], QStringLiteral("alpaca cancelled id=ord-42"));
    EXPECT_TRUE(captured[3].startsWith(QStringLiteral("alpaca cancel r")));
    EXPECT_EQ(captured[4], QStringLiteral("alpaca replaced id=ord-42 limit=186.5 stop=- new=ord-44"));
    EXPECT_EQ(captured[5],
              QStringLiteral("alpaca REPLACE REFUSED id=ord-44: that order isn't working any more."));
}

}  // namespace
}  // namespace tavix
