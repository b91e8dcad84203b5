#include "screens/MainWindow.h"

#include "core/AppModel.h"
#include "core/Session.h"
#include "screens/AccountHeader.h"
#include "screens/AccountMenuButton.h"
#include "screens/AlpacaAccountDialog.h"
#include "screens/ChartPanel.h"
#include "screens/ModelTask.h"
#include "screens/OrdersPanel.h"
#include "screens/TicketPanel.h"
#include "screens/PositionsTableModel.h"
#include "screens/TableStyle.h"
#include "screens/Theme.h"
#include "screens/ChartView.h"
#include "screens/Shortcuts.h"
#include "screens/WatchlistPanel.h"
#include "screens/WatchlistView.h"
#include "screens/WindowMemory.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCloseEvent>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
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
    table->setTabKeyNavigation(false);  // Tab goes on to the next pane
    table->setTextElideMode(Qt::ElideRight);
    // Columns as wide as their figures and titles; a narrow window scrolls sideways rather than cut them.
    table->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    table->horizontalHeader()->setStretchLastSection(true);
    return table;
}

// Whether a key press is the start of a symbol typed where no text box listens: a letter with no
// modifier but Shift.
bool startsASymbol(const QKeyEvent& key) {
    const QString text = key.text();
    if (text.size() != 1 || !text.at(0).isLetter() || text.at(0).unicode() > 0x7F) return false;
    return (key.modifiers() & ~Qt::ShiftModifier & ~Qt::KeypadModifier) == Qt::NoModifier;
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
      ticket_(new TicketPanel(model)),
      orders_(new OrdersPanel(model)),
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
    tabs_->addTab(orders_, QStringLiteral("Orders"));

    rightSplit_ = new QSplitter(Qt::Vertical);
    rightSplit_->setObjectName(QStringLiteral("rightSplit"));
    rightSplit_->setChildrenCollapsible(false);
    // The ticket stands beside the chart of the symbol it trades.
    auto* chartAndTicket = new QWidget;
    auto* beside = new QHBoxLayout(chartAndTicket);
    beside->setContentsMargins(0, 0, 0, 0);
    beside->setSpacing(10);
    beside->addWidget(chart_, 1);
    beside->addWidget(ticket_);
    rightSplit_->addWidget(chartAndTicket);
    rightSplit_->addWidget(tabs_);
    rightSplit_->setStretchFactor(0, 3);
    rightSplit_->setStretchFactor(1, 2);

    mainSplit_ = new QSplitter(Qt::Horizontal);
    mainSplit_->setObjectName(QStringLiteral("mainSplit"));
    mainSplit_->setChildrenCollapsible(false);
    mainSplit_->addWidget(watchlist_);
    mainSplit_->addWidget(rightSplit_);
    mainSplit_->setStretchFactor(0, 2);
    mainSplit_->setStretchFactor(1, 3);
    layout->addWidget(mainSplit_, 1);
    setCentralWidget(central);
    // Small enough for a laptop beside another window; large enough that the watchlist shows whole
    // symbols and the chart its price axis.
    setMinimumSize(880, 560);
    resize(1280, 800);  // the first time; afterwards the size and place the user left it at

    buildMenus();
    chainPanes();
    // The first time, the watchlist gets the room its columns need and the chart the rest.
    const int listWidth = watchlist_->sizeHint().width();
    mainSplit_->setSizes({listWidth, std::max(400, width() - listWidth)});
    memory_ = std::make_unique<WindowMemory>(*this, QList<QSplitter*>{mainSplit_, rightSplit_});
    memory_->restore();
    qApp->installEventFilter(this);

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

MainWindow::~MainWindow() {
    qApp->removeEventFilter(this);
}

void MainWindow::buildMenus() {
    QMenuBar* bar = menuBar();
    QMenu* file = bar->addMenu(QStringLiteral("&File"));
    QAction* quit = file->addAction(QStringLiteral("&Quit Tavix"));
    quit->setShortcut(Shortcuts::quit());
    quit->setMenuRole(QAction::QuitRole);
    QObject::connect(quit, &QAction::triggered, this, &QWidget::close);

    QMenu* view = bar->addMenu(QStringLiteral("&View"));
    QAction* find = view->addAction(QStringLiteral("Find or Add a Symbol"));
    find->setShortcut(Shortcuts::findSymbol());
    QObject::connect(find, &QAction::triggered, this, [this] { watchlist_->startTyping(QString()); });
    QAction* next = view->addAction(QStringLiteral("Next Symbol"));
    next->setObjectName(QStringLiteral("action-nextSymbol"));
    next->setShortcut(Shortcuts::nextSymbol());
    QObject::connect(next, &QAction::triggered, this, [this] { watchlist_->table()->selectStep(1); });
    QAction* previous = view->addAction(QStringLiteral("Previous Symbol"));
    previous->setShortcut(Shortcuts::previousSymbol());
    QObject::connect(previous, &QAction::triggered, this, [this] { watchlist_->table()->selectStep(-1); });
    view->addSeparator();
    const QList<QAbstractButton*> intervals = chart_->intervalButtons();
    for (int place = 0; place < intervals.size(); ++place) {
        QAbstractButton* button = intervals.at(place);
        QAction* choose = view->addAction(QStringLiteral("Chart in ") + button->text() + QStringLiteral(" Bars"));
        choose->setShortcut(Shortcuts::interval(place));
        QObject::connect(choose, &QAction::triggered, button, &QAbstractButton::click);
        button->setToolTip(choose->text() + QStringLiteral(" (") +
                           choose->shortcut().toString(QKeySequence::NativeText) + u')');
    }

    QMenu* trade = bar->addMenu(QStringLiteral("&Trade"));
    QAction* buy = trade->addAction(QStringLiteral("Buy…"));
    buy->setObjectName(QStringLiteral("action-buy"));
    buy->setShortcut(Shortcuts::buy());
    QObject::connect(buy, &QAction::triggered, this, [this] { ticket_->start(true); });
    QAction* sell = trade->addAction(QStringLiteral("Sell…"));
    sell->setObjectName(QStringLiteral("action-sell"));
    sell->setShortcut(Shortcuts::sell());
    QObject::connect(sell, &QAction::triggered, this, [this] { ticket_->start(false); });
    QAction* cancelOrder = trade->addAction(QStringLiteral("Cancel Selected Order"));
    cancelOrder->setShortcut(Shortcuts::cancelOrder());
    QObject::connect(cancelOrder, &QAction::triggered, this, [this] { orders_->cancelSelected(); });

    // Alpaca keys are added here and from the account menu.
    QMenu* settings = bar->addMenu(QStringLiteral("&Settings"));
    QAction* addAlpaca = settings->addAction(QStringLiteral("Add Alpaca Paper Account…"));
    QObject::connect(addAlpaca, &QAction::triggered, this, [this] { model_.setAddingAlpacaAccount(true); });

    QMenu* help = bar->addMenu(QStringLiteral("&Help"));
    QAction* keys = help->addAction(QStringLiteral("Keyboard Shortcuts"));
    keys->setObjectName(QStringLiteral("action-shortcuts"));
    keys->setShortcut(QKeySequence::HelpContents);
    QObject::connect(keys, &QAction::triggered, this, [this] { asker_(shortcutsNotice()); });
}

void MainWindow::chainPanes() {
    // Pane by pane, left to right and top to bottom; Shift+Tab goes back the same way. The hidden
    // tab's table is passed over.
    panes_ = {watchlist_->addBox(), watchlist_->table(), chart_->view()};
    for (QAbstractButton* button : chart_->intervalButtons()) panes_ << button;
    panes_ << ticket_;
    panes_ << tabs_->tabBar() << tabs_->widget(0) << tabs_->widget(1) << header_->accountMenu();
}

bool MainWindow::focusNextPrevChild(bool next) {
    QWidget* focused = QApplication::focusWidget();
    qsizetype at = -1;
    for (qsizetype i = 0; i < panes_.size() && at < 0; ++i) {
        if (focused && (focused == panes_.at(i) || panes_.at(i)->isAncestorOf(focused))) at = i;
    }
    if (at < 0) return QMainWindow::focusNextPrevChild(next);
    // Within the ticket, Tab goes field by field before it leaves.
    if (panes_.at(at) == ticket_) {
        QList<QWidget*> fields;
        for (QWidget* child : ticket_->findChildren<QWidget*>()) {
            if (child->isVisible() && child->isEnabled() && (child->focusPolicy() & Qt::TabFocus)) fields << child;
        }
        const qsizetype here = fields.indexOf(focused);
        const qsizetype then = here + (next ? 1 : -1);
        if (here >= 0 && then >= 0 && then < fields.size()) {
            fields.at(then)->setFocus(next ? Qt::TabFocusReason : Qt::BacktabFocusReason);
            return true;
        }
    }
    for (qsizetype step = 1; step <= panes_.size(); ++step) {
        const qsizetype i = (at + (next ? step : -step) + panes_.size() * 2) % panes_.size();
        QWidget* pane = panes_.at(i);
        if (!pane->isVisible() || !pane->isEnabled()) continue;
        pane->setFocus(next ? Qt::TabFocusReason : Qt::BacktabFocusReason);
        return true;
    }
    return false;
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress || !isActiveWindow()) return QMainWindow::eventFilter(watched, event);
    auto* key = static_cast<QKeyEvent*>(event);
    // Keys meant for a text box, or for another window (a dialog), are left alone.
    auto* target = qobject_cast<QWidget*>(watched);
    QWidget* focused = QApplication::focusWidget();
    const bool forText = qobject_cast<QLineEdit*>(target) != nullptr || qobject_cast<QLineEdit*>(focused) != nullptr;
    const bool elsewhere = (target && target->window() != this) || (focused && focused->window() != this);
    if (!forText && !elsewhere && startsASymbol(*key)) {
        watchlist_->startTyping(key->text());
        return true;
    }
    return QMainWindow::eventFilter(watched, event);
}

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

Question MainWindow::shortcutsNotice() {
    return {.title = QStringLiteral("Keyboard Shortcuts"),
            .text = QStringLiteral("Keyboard Shortcuts"),
            .informativeText = Shortcuts::listText(),
            .acceptButton = QStringLiteral("Done"),
            .rejectButton = QString()};
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
    memory_->save();
    Session::flush();
    event->accept();
}

}  // namespace tavix
