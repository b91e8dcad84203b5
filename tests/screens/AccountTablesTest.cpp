#include "WindowFixture.h"

#include "core/MoneyText.h"
#include "core/OrderWords.h"
#include "screens/OrdersTableModel.h"
#include "screens/PositionsTableModel.h"

#include <QTableView>

namespace tavix::test {
namespace {

class AccountTablesTest : public WindowFixture {
protected:
    QAbstractItemModel* table(const char* name) const { return find<QTableView>(name)->model(); }
    QString cell(const char* name, int row, int column) const {
        return table(name)->index(row, column).data().toString();
    }
};

TEST_F(AccountTablesTest, ShowWhatTheAccountHoldsAndItsOrdersInPlainWords) {
    openStarted();
    EXPECT_EQ(table("positions")->rowCount(), 0);
    EXPECT_EQ(table("orders")->rowCount(), 0);

    // Coins trade around the clock, so the practice fills this whatever the hour.
    const OrderRequest buy{.symbol = QStringLiteral("BTC/USD"),
                           .assetType = AssetType::crypto,
                           .quantity = *Decimal::parse("0.25"),
                           .timeInForce = TimeInForce::goodTillCancelled};
    OrderRequest limit = buy;
    limit.type = OrderType::limit;
    limit.limitPrice = *Decimal::parse("1000");
    await(model->practice()->placeOrder(buy, model->account()->id));
    await(model->practice()->placeOrder(limit, model->account()->id));
    await(model->refreshAccount());

    ASSERT_EQ(table("positions")->rowCount(), 1);
    const Position& held = model->positions().front();
    EXPECT_EQ(cell("positions", 0, PositionsTableModel::symbolColumn), QStringLiteral("BTC/USD"));
    EXPECT_EQ(cell("positions", 0, PositionsTableModel::quantityColumn), QStringLiteral("0.25"));
    EXPECT_EQ(cell("positions", 0, PositionsTableModel::valueColumn), moneyText(held.marketValue));
    EXPECT_EQ(cell("positions", 0, PositionsTableModel::profitColumn), signedMoneyText(held.unrealizedPL));

    ASSERT_EQ(table("orders")->rowCount(), 2);
    QStringList seen;
    for (int row = 0; row < 2; ++row) {
        QStringList texts;
        for (int column = 0; column < OrdersTableModel::submittedColumn; ++column)
            texts << cell("orders", row, column);
        seen << texts.join(u'|');
    }
    seen.sort();
    EXPECT_EQ(seen, (QStringList{QStringLiteral("BTC/USD|Bought|0.25|at market|Until you cancel it|Went through"),
                                 QStringLiteral("BTC/USD|Buy|0.25|1000.00|Until you cancel it|Waiting for its price")}));
    EXPECT_FALSE(cell("orders", 0, OrdersTableModel::submittedColumn).isEmpty());
}

// A holding shows the exits that work on it by the part they play, in the mode's words.
TEST(PositionCells, ExitsByTheirPart) {
    Order entry{.symbol = QStringLiteral("AAPL"), .status = OrderStatus::filled, .quantity = Decimal(10)};
    entry.legs = {Order{.symbol = QStringLiteral("AAPL"), .side = OrderSide::sell, .type = OrderType::limit,
                        .status = OrderStatus::working, .quantity = Decimal(10), .limitPrice = Decimal(190)},
                  Order{.symbol = QStringLiteral("AAPL"), .side = OrderSide::sell, .type = OrderType::stop,
                        .status = OrderStatus::working, .quantity = Decimal(10), .stopPrice = Decimal(175)}};
    const std::vector<Order> orders = {entry};
    EXPECT_EQ(PositionsTableModel::exitsText(QStringLiteral("AAPL"), orders, Mode::easy),
              QStringLiteral("Sell price 190.00 · Get-out 175.00 STP"));
    EXPECT_EQ(PositionsTableModel::exitsText(QStringLiteral("AAPL"), orders, Mode::expert),
              QStringLiteral("Take profit 190.00 · Stop loss 175.00 STP"));
    EXPECT_EQ(PositionsTableModel::exitsText(QStringLiteral("MSFT"), orders, Mode::easy), QString());
}

TEST(OrderCells, MoneyOrdersAndPercentTrailsShowWhatWasAsked) {
    Order byMoney{.quantity = *Decimal::parse("2.1345"), .notional = Decimal(500)};
    EXPECT_EQ(OrdersTableModel::quantityCell(byMoney), moneyText(Decimal(500)));
    byMoney.filledQuantity = *Decimal::parse("2.1345");
    EXPECT_EQ(OrdersTableModel::quantityCell(byMoney), moneyText(Decimal(500)) + QStringLiteral(" (2.1345 so far)"));
    EXPECT_EQ(OrdersTableModel::quantityCell(Order{.quantity = Decimal(3)}), QStringLiteral("3"));

    const Order trailing{.type = OrderType::trailingStop, .trailPercent = *Decimal::parse("2.5")};
    EXPECT_EQ(OrderWords::price(trailing, Mode::expert), QStringLiteral("TRAIL 2.5%"));
}

}  // namespace
}  // namespace tavix::test
