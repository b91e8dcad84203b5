#include "core/OrderWords.h"

#include <gtest/gtest.h>

namespace tavix {
namespace {

using namespace OrderWords;

Decimal dec(const char* text) {
    return *Decimal::parse(text);
}

Order order(OrderSide side, OrderType type, OrderStatus status = OrderStatus::working) {
    return Order{.symbol = QStringLiteral("AAPL"), .side = side, .type = type, .status = status, .quantity = Decimal(10)};
}

TEST(OrderWords, RolesAndSides) {
    const Order entry = order(OrderSide::buy, OrderType::limit);
    Order target = order(OrderSide::sell, OrderType::limit);
    Order stop = order(OrderSide::sell, OrderType::stop);
    Order trail = order(OrderSide::sell, OrderType::trailingStop);
    EXPECT_EQ(role(entry), Role::plain);
    EXPECT_EQ(role(target, &entry), Role::sellPrice);
    EXPECT_EQ(role(stop, &entry), Role::getOut);
    EXPECT_EQ(role(stop), Role::getOut);  // a stop on held shares stands alone
    EXPECT_EQ(role(trail), Role::trailingGetOut);
    EXPECT_EQ(role(order(OrderSide::buyToCover, OrderType::limit)), Role::buyBack);
    EXPECT_EQ(role(order(OrderSide::buy, OrderType::limit), &target), Role::buyBack);
    EXPECT_TRUE(isStop(stop, Role::getOut));
    EXPECT_TRUE(isStop(trail, Role::trailingGetOut));
    EXPECT_FALSE(isStop(target, Role::sellPrice));

    const std::vector<std::tuple<OrderSide, Role, const char*, const char*>> sides = {
        {OrderSide::buy, Role::plain, "Buy", "Bought"},
        {OrderSide::sell, Role::plain, "Sell", "Sold"},
        {OrderSide::buyToCover, Role::buyBack, "Buy back", "Bought back"},
        {OrderSide::sellShort, Role::plain, "Sell short", "Sold short"},
        {OrderSide::sellToOpen, Role::plain, "Sell short", "Sold short"},
        {OrderSide::buyToOpen, Role::plain, "Buy", "Bought"},
    };
    for (const auto& [s, r, now, past] : sides) {
        EXPECT_EQ(side(order(s, OrderType::market), r), QString::fromLatin1(now));
        EXPECT_EQ(side(order(s, OrderType::market), r, true), QString::fromLatin1(past));
    }
}

TEST(OrderWords, StatusesAndWhatHappened) {
    const std::vector<std::tuple<OrderStatus, const char*, const char*, const char*>> table = {
        {OrderStatus::pending, "pending", "Waiting for its price", "Safety exit, waiting"},
        {OrderStatus::working, "working", "Waiting for its price", "Safety exit, waiting"},
        {OrderStatus::partiallyFilled, "partial", "Partly went through", "Partly went through"},
        {OrderStatus::filled, "filled", "Went through", "Hit the stop"},
        {OrderStatus::cancelled, "cancelled", "Cancelled", "Cancelled"},
        {OrderStatus::rejected, "rejected", "Turned down", "Turned down"},
        {OrderStatus::expired, "expired", "Ran out of time", "Ran out of time"},
        {OrderStatus::unknown, "unknown", "Checking", "Checking"},
        {OrderStatus::replaced, "replaced", "Moved", "Moved"},
    };
    for (const auto& [s, word, plain, getOut] : table) {
        const Order o = order(OrderSide::sell, OrderType::limit, s);
        EXPECT_EQ(status(o, Role::plain, Mode::easy), QString::fromLatin1(word));
        EXPECT_EQ(happened(o, Role::plain), QString::fromLatin1(plain));
        EXPECT_EQ(happened(o, Role::getOut), QString::fromLatin1(getOut));
    }
    Order extended = order(OrderSide::buy, OrderType::limit);
    extended.extendedHours = true;
    EXPECT_EQ(happened(extended, Role::plain), QStringLiteral("Waiting for its price, extended hours"));
    EXPECT_EQ(status(extended, Role::plain, Mode::expert, true), QStringLiteral("working, cancelling"));
    // An order that has ended is not being cancelled any more.
    EXPECT_EQ(status(order(OrderSide::buy, OrderType::limit, OrderStatus::filled), Role::plain, Mode::expert, true),
              QStringLiteral("filled"));
}

TEST(OrderWords, HowLongItLastsAndItsPrice) {
    const std::vector<std::tuple<TimeInForce, const char*, const char*>> lasting = {
        {TimeInForce::day, "Today only", "DAY"},
        {TimeInForce::goodTillCancelled, "Until you cancel it", "GTC"},
        {TimeInForce::fillOrKill, "All at once or not at all", "FOK"},
        {TimeInForce::immediateOrCancel, "Right away or not at all", "IOC"},
        {TimeInForce::atOpen, "At the opening price only", "OPG"},
        {TimeInForce::atClose, "At the closing price only", "CLS"},
    };
    for (const auto& [tif, easy, expert] : lasting) {
        EXPECT_EQ(lasts(tif, Mode::easy), QString::fromLatin1(easy));
        EXPECT_EQ(lasts(tif, Mode::expert), QString::fromLatin1(expert));
    }

    Order limit = order(OrderSide::buy, OrderType::limit);
    limit.limitPrice = dec("182.5");
    Order stopLimit = order(OrderSide::sell, OrderType::stopLimit);
    stopLimit.stopPrice = dec("175");
    stopLimit.limitPrice = dec("174.5");
    stopLimit.extendedHours = true;
    Order trail = order(OrderSide::sell, OrderType::trailingStop);
    trail.trailPercent = dec("2.5");
    EXPECT_EQ(price(order(OrderSide::buy, OrderType::market), Mode::easy), QStringLiteral("at market"));
    EXPECT_EQ(price(limit, Mode::easy), QStringLiteral("182.50"));
    EXPECT_EQ(price(stopLimit, Mode::expert), QStringLiteral("175.00 STP LMT 174.50 EXT"));
    EXPECT_EQ(price(trail, Mode::expert), QStringLiteral("TRAIL 2.5%"));
    trail.trailAmount = dec("1.5");
    EXPECT_EQ(price(trail, Mode::expert), QStringLiteral("TRAIL 1.50"));

    EXPECT_EQ(summary(limit, Role::plain, Mode::easy), QStringLiteral("Buy 10 shares of AAPL at 182.50"));
    Order coin{.symbol = QStringLiteral("BTC/USD"), .assetType = AssetType::crypto, .quantity = dec("0.25")};
    EXPECT_EQ(easyCount(coin), QStringLiteral("0.25 BTC"));
    Order contract{.symbol = QStringLiteral("AAPL260320C00200000"), .assetType = AssetType::option,
                   .quantity = Decimal(1)};
    EXPECT_EQ(easyCount(contract), QStringLiteral("1 contract"));
    Order byMoney = order(OrderSide::buy, OrderType::market);
    byMoney.notional = Decimal(500);
    EXPECT_EQ(summary(byMoney, Role::plain, Mode::easy), QStringLiteral("Buy $500.00 of AAPL at market"));

    EXPECT_EQ(moveRefusal(Decimal(0)), QStringLiteral("Type a price above zero to move it to."));
    EXPECT_EQ(moveRefusal(std::nullopt), QStringLiteral("Type a price above zero to move it to."));
    EXPECT_EQ(moveRefusal(dec("0.01")), std::nullopt);
    EXPECT_EQ(moved(dec("181")), QStringLiteral("Moved: it waits for 181.00"));
}

}  // namespace
}  // namespace tavix
