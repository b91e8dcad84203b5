#include "WindowFixture.h"

#include "practice/MockBroker.h"
#include "screens/MoneyText.h"
#include "screens/OrdersTableModel.h"
#include "screens/PositionsTableModel.h"
#include "screens/Theme.h"

#include <QTableView>

namespace tavix::test {
namespace {

Decimal dec(const char* text) {
    return *Decimal::parse(text);
}

TEST(MoneyTextTest, GroupsThousandsRoundsToCentsAndSigns) {
    EXPECT_EQ(moneyText(dec("100000")), QStringLiteral("$100,000.00"));
    EXPECT_EQ(moneyText(dec("1234567.891")), QStringLiteral("$1,234,567.89"));
    EXPECT_EQ(moneyText(dec("999.995")), QStringLiteral("$1,000.00"));
    EXPECT_EQ(moneyText(dec("-3.1")), QStringLiteral("-$3.10"));
    EXPECT_EQ(moneyText(dec("-0.004")), QStringLiteral("$0.00"));
    EXPECT_EQ(signedMoneyText(dec("12.3")), QStringLiteral("+$12.30"));
    EXPECT_EQ(signedMoneyText(dec("-1234.5")), QStringLiteral("-$1,234.50"));
    EXPECT_EQ(signedMoneyText(dec("0.001")), QStringLiteral("$0.00"));
    EXPECT_EQ(quantityText(dec("1250")), QStringLiteral("1,250"));
    EXPECT_EQ(quantityText(dec("-0.0125")), QStringLiteral("-0.0125"));
    EXPECT_EQ(quantityText(dec("123")), QStringLiteral("123"));
}

TEST(OrderPricesTextTest, SaysWhichPriceIsWhich) {
    Order order;
    EXPECT_EQ(OrdersTableModel::pricesText(order), QStringLiteral("—"));
    order.type = OrderType::limit;
    order.limitPrice = dec("101");
    EXPECT_EQ(OrdersTableModel::pricesText(order), QStringLiteral("101.00"));
    order.type = OrderType::stopLimit;
    order.stopPrice = dec("99.5");
    EXPECT_EQ(OrdersTableModel::pricesText(order), QStringLiteral("101.00, stop 99.50"));
    order = Order{};
    order.type = OrderType::trailingStop;
    order.trailAmount = dec("2");
    EXPECT_EQ(OrdersTableModel::pricesText(order), QStringLiteral("trail 2.00"));
}

TEST(OrderSubmittedTextTest, ShowsTheDayOnlyForAnotherDay) {
    const Date at = *Date::parseIso(QStringLiteral("2026-03-02T15:04:05Z"));
    const QString sameDay = OrdersTableModel::submittedText(at, at + 60);
    EXPECT_EQ(sameDay.size(), 8) << sameDay.toStdString();  // HH:mm:ss
    const QString earlier = OrdersTableModel::submittedText(at, at + 3 * 86400);
    EXPECT_TRUE(earlier.contains(QStringLiteral("Mar"))) << earlier.toStdString();
}

class AccountTablesTest : public WindowFixture {
protected:
    QString cell(const char* table, int row, int column) const {
        auto* view = find<QTableView>(table);
        return view ? view->model()->index(row, column).data().toString() : QStringLiteral("(no table)");
    }
    int rowCount(const char* table) const { return find<QTableView>(table)->model()->rowCount(); }
};

TEST_F(AccountTablesTest, ShowWhatTheAccountHoldsAndItsOrdersInPlainWords) {
    openStarted();
    EXPECT_EQ(rowCount("positions"), 0);
    EXPECT_EQ(rowCount("orders"), 0);

    // Coins trade around the clock, so the practice fills this whatever the hour.
    OrderRequest buy;
    buy.symbol = QStringLiteral("BTC/USD");
    buy.assetType = AssetType::crypto;
    buy.quantity = dec("0.25");
    buy.timeInForce = TimeInForce::goodTillCancelled;
    OrderRequest limit = buy;
    limit.type = OrderType::limit;
    limit.limitPrice = dec("1000");
    await(model->practice()->placeOrder(buy, model->account()->id));
    await(model->practice()->placeOrder(limit, model->account()->id));
    await(model->refreshAccount());

    ASSERT_EQ(rowCount("positions"), 1);
    const Position& held = model->positions().front();
    EXPECT_EQ(cell("positions", 0, PositionsTableModel::symbolColumn), QStringLiteral("BTC/USD"));
    EXPECT_EQ(cell("positions", 0, PositionsTableModel::quantityColumn), QStringLiteral("0.25"));
    EXPECT_EQ(cell("positions", 0, PositionsTableModel::valueColumn), moneyText(held.marketValue));
    EXPECT_EQ(cell("positions", 0, PositionsTableModel::profitColumn), signedMoneyText(held.unrealizedPL));

    ASSERT_EQ(rowCount("orders"), 2);
    QStringList seen;
    for (int row = 0; row < 2; ++row) {
        QStringList texts;
        for (int column = 0; column < OrdersTableModel::submittedColumn; ++column) {
            texts << cell("orders", row, column);
        }
        seen << texts.join(u'|');
    }
    seen.sort();
    EXPECT_EQ(seen, (QStringList{QStringLiteral("BTC/USD|Buy|Limit|0.25|1000.00|Working"),
                                 QStringLiteral("BTC/USD|Buy|Market|0.25|—|Filled")}));
    EXPECT_FALSE(cell("orders", 0, OrdersTableModel::submittedColumn).isEmpty());
}

}  // namespace
}  // namespace tavix::test
