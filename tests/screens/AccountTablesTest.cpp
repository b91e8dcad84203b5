#include "WindowFixture.h"

#include "screens/MoneyText.h"
#include "screens/OrdersTableModel.h"
#include "screens/PositionsTableModel.h"

#include <QTableView>

namespace tavix::test {
namespace {

Decimal dec(const char* text) {
    return *Decimal::parse(text);
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
