#include "WindowFixture.h"

#include "screens/ChartPanel.h"
#include "screens/ChartView.h"
#include "screens/Shortcuts.h"
#include "screens/WatchlistPanel.h"
#include "screens/WatchlistTableModel.h"
#include "screens/WatchlistView.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLineEdit>
#include <QMenuBar>
#include <QSplitter>
#include <QTabBar>

namespace tavix::test {
namespace {

class WindowKeyboardTest : public WindowFixture {
protected:
    void open(const QStringList& symbols = {QStringLiteral("AAPL"), QStringLiteral("MSFT"), QStringLiteral("NVDA")}) {
        Session::setWatchlist(symbols);
        openStarted();
        window->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    }
    QLineEdit* box() const { return find<QLineEdit>("watchlistAdd"); }
    WatchlistView* table() const { return find<WatchlistView>("watchlist"); }
    QStringList rows() const {
        QStringList symbols;
        for (int r = 0; r < table()->rows()->rowCount(); ++r) symbols << table()->rows()->symbolAt(r);
        return symbols;
    }
    void press(QWidget* where, const QKeySequence& keys) {
        QTest::keySequence(where, keys);
        QApplication::processEvents();
    }
};

// Text that is no symbol is refused in words where it is typed, and however long, it never makes
// the window wider.
TEST_F(WindowKeyboardTest, ALongEntryIsRefusedAndTheWindowKeepsItsSize) {
    open();
    const QSize before = window->size();
    box()->setFocus();
    QTest::keyClicks(box(), QString(300, u'W'));
    QTest::keyClick(box(), Qt::Key_Return);
    ASSERT_TRUE(eventually([&] { return shown("watchlistError"); }));
    EXPECT_TRUE(text("watchlistError").endsWith(QStringLiteral("isn't a symbol. Type a ticker such as AAPL, a coin "
                                                               "pair such as BTC/USD, or an option symbol such as "
                                                               "AAPL260320C00200000.")));
    QApplication::processEvents();
    EXPECT_EQ(window->size(), before);
    EXPECT_LE(window->minimumSizeHint().width(), before.width());
    EXPECT_EQ(rows(), list({"AAPL", "MSFT", "NVDA"}));

    box()->clear();
    QTest::keyClicks(box(), QStringLiteral("123$$"));
    QTest::keyClick(box(), Qt::Key_Return);
    EXPECT_TRUE(text("watchlistError").startsWith(QStringLiteral("“123$$” isn't a symbol.")));
}

// Tab goes pane by pane, reaches every one and every interval button, and comes back round.
TEST_F(WindowKeyboardTest, TabVisitsEveryPaneAndReturns) {
    open();
    box()->setFocus();
    QList<QWidget*> visited;
    for (int i = 0; i < 30 && (visited.isEmpty() || QApplication::focusWidget() != box()); ++i) {
        press(QApplication::focusWidget(), QKeySequence(Qt::Key_Tab));
        visited << QApplication::focusWidget();
    }
    QStringList names;
    for (QWidget* widget : visited) names << (widget ? widget->objectName() + u':' + QString::fromLatin1(widget->metaObject()->className()) : QStringLiteral("none"));
    ASSERT_EQ(QApplication::focusWidget(), box()) << "Tab never came back: " << names.join(u' ').toStdString();
    EXPECT_TRUE(visited.contains(table()));
    EXPECT_TRUE(visited.contains(find<ChartView>("chart")));
    for (QAbstractButton* button : window->chart()->intervalButtons()) EXPECT_TRUE(visited.contains(button));
    EXPECT_TRUE(visited.contains(find<QWidget>("positions")));
    EXPECT_FALSE(visited.contains(find<QWidget>("orders")));  // on the hidden tab
    EXPECT_TRUE(visited.contains(find<QWidget>("ticketQuantity")));
    EXPECT_LT(visited.size(), 20) << "Tab went cell by cell: " << names.join(u' ').toStdString();
    // Back the same way.
    press(box(), QKeySequence(Qt::SHIFT | Qt::Key_Backtab));
    EXPECT_EQ(QApplication::focusWidget(), visited.at(visited.size() - 2));
}

// Letters typed anywhere but a text box start a symbol in the add box; Enter on a listed symbol
// jumps the chart to it, and the shortcuts step through rows and choose intervals.
TEST_F(WindowKeyboardTest, TypingAndShortcutsMoveTheChart) {
    open();
    table()->setFocus();
    for (const QChar letter : QStringLiteral("nvda")) QTest::keyClick(QApplication::focusWidget(), letter.toLatin1());
    EXPECT_EQ(QApplication::focusWidget(), box());
    EXPECT_EQ(box()->text(), QStringLiteral("nvda"));
    QTest::keyClick(box(), Qt::Key_Return);
    EXPECT_EQ(model->selectedSymbol(), QStringLiteral("NVDA"));
    EXPECT_TRUE(box()->text().isEmpty());
    EXPECT_EQ(rows().size(), 3);

    press(table(), Shortcuts::previousSymbol());
    EXPECT_EQ(model->selectedSymbol(), QStringLiteral("MSFT"));
    press(table(), Shortcuts::nextSymbol());
    press(table(), Shortcuts::nextSymbol());  // stays on the last row
    EXPECT_EQ(model->selectedSymbol(), QStringLiteral("NVDA"));

    press(table(), Shortcuts::interval(0));
    EXPECT_EQ(model->chartInterval(), CandleInterval::oneMinute);
    press(table(), Shortcuts::interval(4));
    EXPECT_EQ(model->chartInterval(), CandleInterval::daily);

    // The Help menu lists them, with their keys in the platform's words.
    QAction* list = window->findChild<QAction*>(QStringLiteral("action-shortcuts"));
    ASSERT_TRUE(list);
    list->trigger();
    ASSERT_FALSE(asked.empty());
    EXPECT_EQ(asked.back().title, QStringLiteral("Keyboard Shortcuts"));
    EXPECT_TRUE(asked.back().informativeText.contains(Shortcuts::quit().toString(QKeySequence::NativeText)));
    EXPECT_TRUE(asked.back().informativeText.contains(QStringLiteral("Next symbol on the watchlist")));

    // Alpaca keys are added from Settings, where the keychain's banner sends the user.
    QAction* settings = nullptr;
    for (QAction* menu : window->menuBar()->actions()) {
        if (menu->text() == QStringLiteral("&Settings")) settings = menu;
    }
    ASSERT_TRUE(settings && settings->menu());
    settings->menu()->actions().front()->trigger();
    EXPECT_TRUE(model->addingAlpacaAccount());
}

// Removing the row on the chart selects its neighbour; a click on a header sorts, again turns the
// sort round, and a third time gives back the user's order.
TEST_F(WindowKeyboardTest, RemovingAndSortingKeepTheChartOnAListedSymbol) {
    open({QStringLiteral("MSFT"), QStringLiteral("AAPL"), QStringLiteral("NVDA")});
    model->switchTo(QStringLiteral("AAPL"));
    table()->setFocus();
    QTest::keyClick(table(), Qt::Key_Delete);
    EXPECT_EQ(model->selectedSymbol(), QStringLiteral("NVDA"));
    EXPECT_EQ(window->chart()->findChild<QLabel*>(QStringLiteral("chartTitle"))->text(), QStringLiteral("NVDA"));

    table()->sortBy(WatchlistTableModel::symbolColumn);
    EXPECT_EQ(rows(), list({"MSFT", "NVDA"}));
    table()->sortBy(WatchlistTableModel::symbolColumn);
    EXPECT_EQ(rows(), list({"NVDA", "MSFT"}));
    EXPECT_EQ(Session::sortReversed(model->mode()), true);
    table()->sortBy(WatchlistTableModel::symbolColumn);
    EXPECT_EQ(rows(), list({"MSFT", "NVDA"}));
    EXPECT_EQ(model->watchlistSort(), WatchlistSort::added);
    // The selection follows its symbol through every order.
    EXPECT_EQ(table()->rows()->symbolAt(table()->currentIndex().row()), QStringLiteral("NVDA"));
}

// What the user arranged comes back after a restart: the chart's symbol and interval, the
// window's size and splitters, the sort and the columns.
TEST_F(WindowKeyboardTest, TheLayoutSurvivesARestart) {
    open();
    model->switchTo(QStringLiteral("MSFT"));
    model->setChartInterval(CandleInterval::fifteenMinute);
    window->resize(1100, 700);
    auto* split = find<QSplitter>("mainSplit");
    split->setSizes({300, 800});
    const QList<int> sizes = split->sizes();
    table()->sortBy(WatchlistTableModel::lastColumn);
    table()->columnMenu()->actions().at(WatchlistTableModel::volumeColumn - 1)->trigger();  // Volume on
    window->close();
    window.reset();

    openStarted();
    EXPECT_EQ(model->selectedSymbol(), QStringLiteral("MSFT"));
    EXPECT_EQ(model->chartInterval(), CandleInterval::fifteenMinute);
    EXPECT_EQ(window->size(), QSize(1100, 700));
    EXPECT_EQ(find<QSplitter>("mainSplit")->sizes(), sizes);
    EXPECT_EQ(model->watchlistSort(), WatchlistSort::price);
    EXPECT_FALSE(table()->isColumnHidden(WatchlistTableModel::volumeColumn));
    EXPECT_TRUE(table()->isColumnHidden(WatchlistTableModel::highColumn));
}

}  // namespace
}  // namespace tavix::test
