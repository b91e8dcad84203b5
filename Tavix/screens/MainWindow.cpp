#include "screens/MainWindow.h"

#include "core/AppModel.h"
#include "core/Session.h"
#include "screens/AccountHeader.h"
#include "screens/AccountMenuButton.h"
#include "screens/AlpacaAccountDialog.h"
#include "screens/ChartPanel.h"
#include "screens/ModelTask.h"
#include "screens/OrdersTableModel.h"
#include "screens/PositionsTableModel.h"
#include "screens/TableStyle.h"
#include "screens/Theme.h"
#include "screens/WatchlistPanel.h"

#include <QCloseEvent>
#include <QLabel>
#include <QSplitter>
#include <QTabBar>
#include <QTabWidget>
#include <QTableView>
#include <QVBoxLayout>

#include <utility>

namespace tavix {

namespace {

QTableView* recordTable(QAbstractItemModel* model, const char* name) {
    auto* table = new QTableView;
    table->setObjectName(QString::fromLatin1(name));
    table->setModel(model);
    styleTable(*table);
    return table;
}

}  // namespace

MainWindow::MainWindow(AppModel& model, QWidget* parent)
    : QMainWindow(parent),
      model_(model),
      asker_([this](const Question& question) { return askWithMessageBox(this, question); }),
      header_(new AccountHeader(model)),
      banner_(new QLabel),
      watchlist_(new WatchlistPanel(model)),
      chart_(new ChartPanel(model)),
      tabs_(new QTabWidget) {
    setWindowTitle(QStringLiteral("Tavix"));
    setStyleSheet(theme::windowStyleSheet());

    auto* central = new QWidget;
    central->setObjectName(QStringLiteral("central"));
    auto* layout = new QVBoxLayout(central);
    layout->setContentsMargins(14, 12, 14, 14);
    layout->setSpacing(10);
    layout->addWidget(header_);

    banner_->setObjectName(QStringLiteral("banner"));
    banner_->setWordWrap(false);
    banner_->setTextFormat(Qt::PlainText);
    // One line: a long message is cut at the window's edge rather than widening the window.
    banner_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    banner_->hide();
    layout->addWidget(banner_);

    tabs_->setObjectName(QStringLiteral("accountTabs"));
    tabs_->setDocumentMode(true);
    tabs_->tabBar()->setDrawBase(false);  // the base line is drawn light whatever the palette
    tabs_->addTab(recordTable(new PositionsTableModel(model, this), "positions"),
                  QStringLiteral("Positions"));
    tabs_->addTab(recordTable(new OrdersTableModel(model, this), "orders"), QStringLiteral("Orders"));

    auto* right = new QSplitter(Qt::Vertical);
    right->setObjectName(QStringLiteral("rightSplit"));
    right->setChildrenCollapsible(false);
    right->addWidget(chart_);
    right->addWidget(tabs_);
    right->setStretchFactor(0, 3);
    right->setStretchFactor(1, 2);

    auto* split = new QSplitter(Qt::Horizontal);
    split->setObjectName(QStringLiteral("mainSplit"));
    split->setChildrenCollapsible(false);
    split->addWidget(watchlist_);
    split->addWidget(right);
    split->setStretchFactor(0, 2);
    split->setStretchFactor(1, 3);
    layout->addWidget(split, 1);
    setCentralWidget(central);

    QObject::connect(&model_, &AppModel::changed, this, [this](AppModel::Field field) {
        if (field == AppModel::Field::banner) showBanner();
        if (field == AppModel::Field::addingAlpacaAccount && model_.addingAlpacaAccount()) showAlpacaForm();
    });
    // Asked after the menu's action has finished firing, since the menu is rebuilt when the
    // profiles change.
    QObject::connect(header_->accountMenu(), &AccountMenuButton::forgetAsked, this, &MainWindow::askToForget,
                     Qt::QueuedConnection);
    showBanner();
    if (model_.addingAlpacaAccount()) showAlpacaForm();
}

MainWindow::~MainWindow() = default;

void MainWindow::setAsker(Asker asker) {
    asker_ = std::move(asker);
}

AlpacaAccountDialog* MainWindow::alpacaForm() const {
    return alpacaForm_.data();
}

Question MainWindow::quitQuestion(const QString& warning) {
    return {.title = QStringLiteral("Quit while Tavix is looking after trades?"),
            .text = QStringLiteral("Quit while Tavix is looking after trades?"),
            .informativeText = warning,
            .acceptButton = QStringLiteral("Quit Anyway"),
            .rejectButton = QStringLiteral("Keep Tavix Open")};
}

Question MainWindow::forgetQuestion(const QString& label) {
    return {.title = QStringLiteral("Forget this Alpaca account?"),
            .text = QStringLiteral("Forget %1?").arg(label),
            .informativeText =
                QStringLiteral("Tavix removes its keys from this computer. The account itself stays "
                               "at Alpaca, and you can add it again with its keys."),
            .acceptButton = QStringLiteral("Forget"),
            .rejectButton = QStringLiteral("Cancel")};
}

void MainWindow::showBanner() {
    const auto& message = model_.banner();
    banner_->setText(message.value_or(QString()));
    banner_->setToolTip(message.value_or(QString()));
    banner_->setVisible(message.has_value());
}

void MainWindow::showAlpacaForm() {
    if (!alpacaForm_) {
        alpacaForm_ = new AlpacaAccountDialog(model_, this);
        QObject::connect(alpacaForm_, &QDialog::finished, this,
                         [this] { model_.setAddingAlpacaAccount(false); });
    }
    alpacaForm_->open();
    alpacaForm_->raise();
    alpacaForm_->activateWindow();
}

void MainWindow::askToForget(const QString& slot) {
    QString label;
    for (const AlpacaProfile& profile : model_.alpacaProfiles()) {
        if (profile.slot == slot) label = AccountMenuButton::profileLabel(profile);
    }
    if (label.isEmpty()) return;  // already gone
    if (!asker_(forgetQuestion(label))) return;
    startModelTask(model_.forgetAlpaca(slot));
}

void MainWindow::closeEvent(QCloseEvent* event) {
    // An automated run closes windows without anyone to answer.
    if (!Session::hostsTests()) {
        if (auto warning = model_.quitWarning(); warning && !asker_(quitQuestion(*warning))) {
            event->ignore();
            return;
        }
    }
    Session::flush();
    event->accept();
}

}  // namespace tavix
