#pragma once

#include "screens/Question.h"

#include <QMainWindow>
#include <QPointer>

#include <memory>

class QLabel;
class QSplitter;
class QTabWidget;
class QTableView;

namespace tavix {

class AccountHeader;
class AlpacaAccountDialog;
class AppModel;
class ChartPanel;
class OrdersPanel;
class TicketPanel;
class WatchlistPanel;
class WindowMemory;

// Tavix's main window: the account header, the one-line banner, then the watchlist on the left
// and the chart above the positions and orders on the right.
class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    // The model must outlive the window.
    explicit MainWindow(AppModel& model, QWidget* parent = nullptr);
    ~MainWindow() override;

    // Replaces the message box that puts questions (quitting, forgetting an account).
    void setAsker(Asker asker);

    // The question put when Tavix is closed while it looks after trades.
    static Question quitQuestion(const QString& warning);
    // The question put before an Alpaca account is forgotten.
    static Question forgetQuestion(const QString& label);
    // The Help menu's list of keyboard shortcuts.
    static Question shortcutsNotice();

    AccountHeader* header() const { return header_; }
    WatchlistPanel* watchlist() const { return watchlist_; }
    ChartPanel* chart() const { return chart_; }
    TicketPanel* ticket() const { return ticket_; }
    OrdersPanel* orders() const { return orders_; }
    // The add form while it exists (it is made the first time it is opened).
    AlpacaAccountDialog* alpacaForm() const;

protected:
    void closeEvent(QCloseEvent* event) override;
    // Letters typed where no text box has the focus go to the add-a-symbol box.
    bool eventFilter(QObject* watched, QEvent* event) override;
    // Tab and Shift+Tab go pane by pane through `panes_`, round and round.
    bool focusNextPrevChild(bool next) override;

private:
    void buildMenus();
    void chainPanes();
    void showBanner();
    void showAlpacaForm();
    void askToForget(const QString& slot);

    AppModel& model_;
    Asker asker_;
    AccountHeader* header_;
    QLabel* banner_;
    WatchlistPanel* watchlist_;
    ChartPanel* chart_;
    TicketPanel* ticket_;
    OrdersPanel* orders_;
    QTabWidget* tabs_;
    QSplitter* mainSplit_;
    QSplitter* rightSplit_;
    std::unique_ptr<WindowMemory> memory_;
    QList<QWidget*> panes_;
    QPointer<AlpacaAccountDialog> alpacaForm_;
};

}  // namespace tavix
