#include "WindowFixture.h"

#include "screens/OrdersPanel.h"
#include "screens/OrdersTableModel.h"
#include "screens/Shortcuts.h"
#include "screens/TicketPanel.h"

#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QTabWidget>
#include <QTableView>

namespace tavix::test {
namespace {

class TradeByHandTest : public WindowFixture {
protected:
    void open() {
        Session::setWatchlist(list({"AAPL", "BTC/USD"}));
        openStarted();
        model->practice()->pin(QStringLiteral("AAPL"), Decimal(100));
        window->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    }
    QString happened(int row) const {
        return window->orders()->rows()->index(row, OrdersTableModel::happenedColumn).data().toString();
    }
    void tabsShowOrders() {
        auto* tabs = window->findChild<QTabWidget*>(QStringLiteral("accountTabs"));
        tabs->setCurrentWidget(window->orders());
    }
    void press(const QKeySequence& keys) {
        QTest::keySequence(QApplication::focusWidget(), keys);
        QApplication::processEvents();
    }
    void type(const char* box, const QString& text) {
        auto* edit = find<QLineEdit>(box);
        edit->setFocus();
        edit->selectAll();
        QTest::keyClicks(edit, text);
    }
};

// A whole trade from the keyboard: a limit buy is checked and sent, waits in plain words, is moved
// and cancelled; a coin bought by the dollar shows as a position.
TEST_F(TradeByHandTest, PlaceMoveAndCancelALimitBuyThenBuyACoin) {
    open();
    model->setMode(Mode::expert);
    press(Shortcuts::buy());
    EXPECT_EQ(QApplication::focusWidget(), find<QWidget>("ticketQuantity"));
    QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("2"));
    find<QComboBox>("ticketType")->setCurrentIndex(1);  // Limit
    type("ticketLimit", QStringLiteral("90"));
    find<QLineEdit>("ticketTarget")->clear();
    find<QLineEdit>("ticketGetOut")->clear();
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    ASSERT_TRUE(eventually([&] { return window->ticket()->confirming(); })) << model->banner().value_or(QString()).toStdString();
    EXPECT_TRUE(text("ticketSentence").startsWith(QStringLiteral("Buys 2 shares of AAPL at about $90.00 each")));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    ASSERT_TRUE(eventually([&] { return window->orders()->rows()->rowCount() == 1; }));

    model->setMode(Mode::easy);
    EXPECT_EQ(happened(0), QStringLiteral("Waiting for its price"));

    // Move it by editing its price in place.
    QTableView* table = window->orders()->table();
    tabsShowOrders();
    table->setFocus();
    table->setCurrentIndex(window->orders()->rows()->index(0, OrdersTableModel::priceColumn));
    QTest::keyClick(table, Qt::Key_F2);
    QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("91"));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    ASSERT_TRUE(eventually([&] { return model->banner() == QStringLiteral("Moved: it waits for 91.00"); }))
        << model->banner().value_or(QString()).toStdString();

    // Cancel it with Delete on its row.
    ASSERT_TRUE(eventually([&] { return window->orders()->rows()->rowCount() >= 1; }));
    int open = -1;
    for (int row = 0; row < window->orders()->rows()->rowCount(); ++row) {
        if (window->orders()->rows()->orderAt(row)->isOpen()) open = row;
    }
    ASSERT_GE(open, 0);
    table->setFocus();
    table->setCurrentIndex(window->orders()->rows()->index(open, 0));
    QTest::keyClick(table, Qt::Key_Delete);
    ASSERT_TRUE(eventually([&] {
        for (int row = 0; row < window->orders()->rows()->rowCount(); ++row) {
            if (window->orders()->rows()->orderAt(row)->isOpen()) return false;
        }
        return true;
    }));
    bool cancelled = false;
    for (int row = 0; row < window->orders()->rows()->rowCount(); ++row) cancelled |= happened(row) == QStringLiteral("Cancelled");
    EXPECT_TRUE(cancelled);

    // A coin by the dollar, at market: it shows as a position.
    model->switchTo(QStringLiteral("BTC/USD"));
    press(Shortcuts::buy());
    QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("100"));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    ASSERT_TRUE(eventually([&] { return window->ticket()->confirming(); })) << model->banner().value_or(QString()).toStdString();
    // Escape backs out; Enter checks again and Enter sends.
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
    EXPECT_FALSE(window->ticket()->confirming());
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    ASSERT_TRUE(eventually([&] { return window->ticket()->confirming(); }));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    ASSERT_TRUE(eventually([&] {
        return std::any_of(model->positions().begin(), model->positions().end(),
                           [](const Position& p) { return p.symbol == QStringLiteral("BTC/USD"); });
    })) << model->banner().value_or(QString()).toStdString();
}

// A contract bought from the chain: expiry, calls or puts, a strike with its bid and ask, and how
// many contracts; the check says it in contracts and the order goes out under the contract's symbol.
TEST_F(TradeByHandTest, BuyACallFromTheChain) {
    open();
    press(Shortcuts::buy());
    find<QComboBox>("ticketWhat")->setCurrentIndex(1);
    ASSERT_TRUE(eventually([&] { return !model->optionChain().empty() && find<QComboBox>("ticketStrike")->count() > 0; }));
    EXPECT_TRUE(find<QComboBox>("ticketStrike")->currentText().contains(QStringLiteral("bid/ask")));
    type("ticketQuantity", QStringLiteral("1"));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    ASSERT_TRUE(eventually([&] { return window->ticket()->confirming(); })) << model->banner().value_or(QString()).toStdString();
    EXPECT_TRUE(text("ticketSentence").startsWith(QStringLiteral("Buys 1 contract of AAPL"))) << text("ticketSentence").toStdString();
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    ASSERT_TRUE(eventually([&] { return !model->orders().empty(); })) << model->banner().value_or(QString()).toStdString();
    EXPECT_EQ(model->orders().front().assetType, AssetType::option);
    EXPECT_EQ(model->orders().front().symbol, find<QComboBox>("ticketStrike")->currentData().toString());
}

}  // namespace
}  // namespace tavix::test
