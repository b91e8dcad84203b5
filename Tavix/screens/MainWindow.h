#pragma once

#include <QMainWindow>
#include <QString>

#include <optional>

class QLabel;

namespace tavix {

class AccountSummary;
class WatchlistModel;
class WatchlistView;

// Tavix's main window: the account in use, the one-line banner and the watchlist.
class MainWindow : public QMainWindow {
    Q_OBJECT

public:
    // The models must outlive the window.
    MainWindow(AccountSummary& account, WatchlistModel& watchlist, QWidget* parent = nullptr);

    // A message that stands until it is cleared, shown when nothing more urgent is.
    void setNotice(std::optional<QString> notice);

private:
    void showAccount();
    void showBanner();

    AccountSummary& account_;
    WatchlistModel& watchlist_;
    std::optional<QString> notice_;
    QLabel* accountKind_;
    QLabel* accountNumber_;
    QLabel* banner_;
    WatchlistView* watchlistView_;
};

}  // namespace tavix
