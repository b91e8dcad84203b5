#include "core/AccountSummary.h"
#include "core/WatchlistModel.h"
#include "screens/MainWindow.h"
#include "screens/Theme.h"
#include "screens/WatchlistTableModel.h"
#include "support/Await.h"
#include "support/ScriptedBroker.h"

#include <QDir>
#include <QLabel>
#include <QTableView>
#include <QTest>

#include <gtest/gtest.h>

#include <iostream>

namespace tavix {
namespace {

using Column = WatchlistTableModel::Column;

class MainWindowTest : public ::testing::Test {
protected:
    MainWindowTest() {
        broker.accountList = {BrokerAccount{.id = QStringLiteral("practice"),
                                            .displayNumber = QStringLiteral("••••4242"),
                                            .nickname = QStringLiteral("Demo Account")}};
        broker.setPrice(QStringLiteral("AAPL"), "187.5", "185", "187.49", "187.51");
        broker.setPrice(QStringLiteral("DOGE/USD"), "0.0812", "0.0835");
        broker.setPrice(QStringLiteral("BTC/USD"), "64123.4", "64123.4", "64120", "64126.85");
        window.resize(760, 420);
        window.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&window));
    }

    // A failed check leaves a picture of the window behind, to see what the user would have seen.
    void TearDown() override {
        if (!HasFailure()) return;
        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        const QString name = QStringLiteral("tavix-%1-%2.png")
                                 .arg(QString::fromUtf8(info->test_suite_name()), QString::fromUtf8(info->name()));
        const QString path = QDir(QString::fromStdString(::testing::TempDir())).absoluteFilePath(name);
        if (window.grab().save(path)) {
            std::cout << "The window as it was: " << path.toStdString() << std::endl;
        } else {
            std::cout << "Could not save the window to " << path.toStdString() << std::endl;
        }
    }

    void loadEverything() {
        account.load();
        watchlist.refresh();
        ASSERT_TRUE(test::eventually([&] { return !account.isLoading() && !watchlist.isRefreshing(); }));
    }

    QTableView* table() { return window.findChild<QTableView*>(QStringLiteral("watchlist")); }
    QString labelText(const char* name) {
        auto* label = window.findChild<QLabel*>(QString::fromLatin1(name));
        return label ? label->text() : QStringLiteral("(no label %1)").arg(QString::fromLatin1(name));
    }
    QLabel* banner() { return window.findChild<QLabel*>(QStringLiteral("banner")); }

    QModelIndex at(int row, int column) { return table()->model()->index(row, column); }
    QString cell(int row, int column) { return at(row, column).data().toString(); }
    QStringList row(int r) {
        QStringList texts;
        for (int c = 0; c < Column::columnTotal; ++c) texts << cell(r, c);
        return texts;
    }

    test::ScriptedBroker broker;
    WatchlistModel watchlist{broker, {QStringLiteral("AAPL"), QStringLiteral("DOGE/USD"), QStringLiteral("BTC/USD")}};
    AccountSummary account{broker};
    MainWindow window{account, watchlist};
};

TEST_F(MainWindowTest, ShowsTheAccountAndTheSymbolsWithTheirExactPrices) {
    loadEverything();
    EXPECT_EQ(window.windowTitle(), QStringLiteral("Tavix"));
    EXPECT_EQ(labelText("accountKind"), QStringLiteral("Practice"));
    EXPECT_TRUE(labelText("accountNumber").contains(QStringLiteral("••••4242"))) << labelText("accountNumber").toStdString();

    ASSERT_NE(table(), nullptr);
    QStringList headers;
    for (int c = 0; c < table()->model()->columnCount(); ++c) {
        headers << table()->model()->headerData(c, Qt::Horizontal).toString();
    }
    EXPECT_EQ(headers, (QStringList{QStringLiteral("Symbol"), QStringLiteral("Last"), QStringLiteral("Change"),
                                    QStringLiteral("Change %"), QStringLiteral("Bid"), QStringLiteral("Ask")}));
    ASSERT_EQ(table()->model()->rowCount(), 3);
    EXPECT_EQ(row(0), (QStringList{QStringLiteral("AAPL"), QStringLiteral("187.50"), QStringLiteral("+2.50"),
                                   QStringLiteral("+1.35%"), QStringLiteral("187.49"), QStringLiteral("187.51")}));
    EXPECT_EQ(row(1), (QStringList{QStringLiteral("DOGE/USD"), QStringLiteral("0.0812"), QStringLiteral("-0.0023"),
                                   QStringLiteral("-2.75%"), QStringLiteral("—"), QStringLiteral("—")}));
    EXPECT_EQ(row(2), (QStringList{QStringLiteral("BTC/USD"), QStringLiteral("64123.40"), QStringLiteral("0.00"),
                                   QStringLiteral("0.00%"), QStringLiteral("64120.00"), QStringLiteral("64126.85")}));

    // Up is green, down is red, no move is neither.
    EXPECT_EQ(at(0, Column::changeColumn).data(Qt::ForegroundRole).value<QColor>(), theme::rise());
    EXPECT_EQ(at(0, Column::percentColumn).data(Qt::ForegroundRole).value<QColor>(), theme::rise());
    EXPECT_EQ(at(1, Column::changeColumn).data(Qt::ForegroundRole).value<QColor>(), theme::fall());
    EXPECT_EQ(at(2, Column::changeColumn).data(Qt::ForegroundRole).value<QColor>(), theme::mutedText());
    EXPECT_FALSE(banner()->isVisible());
}

TEST_F(MainWindowTest, ShowsADashUntilASymbolIsPriced) {
    broker.prices.erase(QStringLiteral("DOGE/USD"));
    loadEverything();
    EXPECT_EQ(cell(1, Column::symbolColumn), QStringLiteral("DOGE/USD"));
    EXPECT_EQ(cell(1, Column::lastColumn), QStringLiteral("—"));
    EXPECT_EQ(cell(0, Column::lastColumn), QStringLiteral("187.50"));
}

TEST_F(MainWindowTest, PricesMoveAfterARefresh) {
    loadEverything();
    broker.setPrice(QStringLiteral("AAPL"), "184.1", "185", "184.09", "184.12");
    watchlist.refresh();
    ASSERT_TRUE(test::eventually([&] { return cell(0, Column::lastColumn) == QStringLiteral("184.10"); }));
    EXPECT_EQ(cell(0, Column::changeColumn), QStringLiteral("-0.90"));
    EXPECT_EQ(at(0, Column::changeColumn).data(Qt::ForegroundRole).value<QColor>(), theme::fall());
    // The view is told, not just the model: the cell's drawn region is up to date.
    EXPECT_EQ(table()->model()->rowCount(), 3);

    watchlist.setSymbols({QStringLiteral("BTC/USD")});
    ASSERT_EQ(table()->model()->rowCount(), 1);
    EXPECT_EQ(cell(0, Column::symbolColumn), QStringLiteral("BTC/USD"));
}

TEST_F(MainWindowTest, TheBannerShowsABrokerErrorAndTheLastPricesStay) {
    loadEverything();
    const auto error = BrokerError::transport(QStringLiteral("the connection was reset"));
    broker.quotesError = error;
    watchlist.refresh();
    ASSERT_TRUE(test::eventually([&] { return banner()->isVisible(); }));
    EXPECT_EQ(banner()->text(), error.description());
    EXPECT_EQ(cell(0, Column::lastColumn), QStringLiteral("187.50"));

    broker.quotesError.reset();
    watchlist.refresh();
    ASSERT_TRUE(test::eventually([&] { return !banner()->isVisible(); }));
}

TEST_F(MainWindowTest, AnAccountThatCannotBeReadIsToldInTheBanner) {
    broker.accountsError = BrokerError::notConnected();
    loadEverything();
    EXPECT_TRUE(banner()->isVisible());
    EXPECT_EQ(banner()->text(), BrokerError::notConnected().description());
    EXPECT_EQ(labelText("accountKind"), QStringLiteral("Practice"));
    EXPECT_EQ(labelText("accountNumber"), QString());

    // A notice waits behind a broker's trouble and shows once that is over.
    window.setNotice(QStringLiteral("Your practice account was started afresh."));
    EXPECT_EQ(banner()->text(), BrokerError::notConnected().description());
    broker.accountsError.reset();
    account.load();
    ASSERT_TRUE(test::eventually([&] { return !account.isLoading(); }));
    EXPECT_EQ(banner()->text(), QStringLiteral("Your practice account was started afresh."));
}

}  // namespace
}  // namespace tavix
