#include "screens/MainWindow.h"

#include "core/AccountSummary.h"
#include "core/WatchlistModel.h"
#include "screens/Theme.h"
#include "screens/WatchlistView.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

#include <utility>

namespace tavix {

MainWindow::MainWindow(AccountSummary& account, WatchlistModel& watchlist, QWidget* parent)
    : QMainWindow(parent),
      account_(account),
      watchlist_(watchlist),
      accountKind_(new QLabel),
      accountNumber_(new QLabel),
      banner_(new QLabel),
      watchlistView_(new WatchlistView(watchlist)) {
    setWindowTitle(QStringLiteral("Tavix"));
    setStyleSheet(theme::windowStyleSheet());

    auto* central = new QWidget;
    central->setObjectName(QStringLiteral("central"));
    auto* layout = new QVBoxLayout(central);
    layout->setContentsMargins(16, 14, 16, 16);
    layout->setSpacing(10);

    accountKind_->setObjectName(QStringLiteral("accountKind"));
    accountNumber_->setObjectName(QStringLiteral("accountNumber"));
    auto* heading = new QHBoxLayout;
    heading->setSpacing(10);
    heading->addWidget(accountKind_);
    heading->addWidget(accountNumber_);
    heading->addStretch(1);
    layout->addLayout(heading);

    banner_->setObjectName(QStringLiteral("banner"));
    banner_->setWordWrap(false);
    banner_->setTextFormat(Qt::PlainText);
    // One line: a long message is cut at the window's edge rather than widening the window.
    banner_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    banner_->hide();
    layout->addWidget(banner_);

    layout->addWidget(watchlistView_, 1);
    setCentralWidget(central);

    QObject::connect(&account_, &AccountSummary::accountChanged, this, &MainWindow::showAccount);
    QObject::connect(&account_, &AccountSummary::messageChanged, this, &MainWindow::showBanner);
    QObject::connect(&watchlist_, &WatchlistModel::messageChanged, this, &MainWindow::showBanner);
    showAccount();
    showBanner();
}

void MainWindow::setNotice(std::optional<QString> notice) {
    notice_ = std::move(notice);
    showBanner();
}

void MainWindow::showAccount() {
    accountKind_->setText(accountKindWord(account_.kind()));
    QString number;
    if (const auto& account = account_.account()) {
        number = account->displayNumber;
        if (account->nickname && !account->nickname->trimmed().isEmpty()) {
            number += QStringLiteral("  ·  ") + account->nickname->trimmed();
        }
    }
    accountNumber_->setText(number);
}

void MainWindow::showBanner() {
    // One message at a time: the prices' trouble first, since it is what the user is looking at.
    std::optional<QString> message = watchlist_.message();
    if (!message) message = account_.message();
    if (!message) message = notice_;
    banner_->setText(message.value_or(QString()));
    banner_->setToolTip(message.value_or(QString()));
    banner_->setVisible(message.has_value());
}

}  // namespace tavix
