#include "screens/TicketPanel.h"

#include "core/AppModel.h"
#include "core/OrderWords.h"
#include "core/PriceText.h"
#include "market/CryptoPair.h"
#include "market/OptionSymbol.h"
#include "screens/ModelTask.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDateTime>
#include <QSignalBlocker>
#include <QTimeZone>
#include <QFormLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>

#include <algorithm>
#include <array>
#include <tuple>

namespace tavix {

namespace {

// The sides in the order the combo lists them, and the words each mode gives them.
const std::array<OrderSide, 4> sides = {OrderSide::buy, OrderSide::sell, OrderSide::sellShort, OrderSide::buyToCover};
const std::array<OrderType, 5> types = {OrderType::market, OrderType::limit, OrderType::stop, OrderType::stopLimit,
                                        OrderType::trailingStop};
const std::array<TimeInForce, 4> lastings = {TimeInForce::day, TimeInForce::goodTillCancelled,
                                             TimeInForce::immediateOrCancel, TimeInForce::fillOrKill};

// Exits prefilled this far from the price now: a sell price above it and a get-out price below.
const Decimal exitShare = Decimal(5) / Decimal(100);

QLineEdit* numberBox(const char* name, const QString& hint) {
    auto* box = new QLineEdit;
    box->setObjectName(QString::fromLatin1(name));
    box->setPlaceholderText(hint);
    return box;
}

}  // namespace

TicketPanel::TicketPanel(AppModel& model, QWidget* parent)
    : QWidget(parent),
      model_(model),
      title_(new QLabel),
      pages_(new QStackedWidget),
      what_(new QComboBox),
      expiry_(new QComboBox),
      right_(new QComboBox),
      strike_(new QComboBox),
      side_(new QComboBox),
      quantity_(numberBox("ticketQuantity", QStringLiteral("1"))),
      type_(new QComboBox),
      limit_(numberBox("ticketLimit", QStringLiteral("182.50"))),
      stop_(numberBox("ticketStop", QStringLiteral("175.00"))),
      trail_(numberBox("ticketTrail", QStringLiteral("1.50 or 2%"))),
      lasts_(new QComboBox),
      extended_(new QCheckBox(QStringLiteral("Extended hours"))),
      target_(numberBox("ticketTarget", QString())),
      getOut_(numberBox("ticketGetOut", QString())),
      check_(new QPushButton(QStringLiteral("Check Order"))),
      sentence_(new QLabel),
      notes_(new QLabel),
      send_(new QPushButton(QStringLiteral("Send"))),
      back_(new QPushButton(QStringLiteral("Back"))) {
    setObjectName(QStringLiteral("ticket"));
    setFocusProxy(side_);
    setMinimumWidth(230);
    setMaximumWidth(300);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    title_->setObjectName(QStringLiteral("ticketTitle"));
    title_->setTextFormat(Qt::PlainText);
    title_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    layout->addWidget(title_);

    auto* form = new QWidget;
    auto* rows = new QFormLayout(form);
    rows->setContentsMargins(0, 0, 0, 0);
    side_->setObjectName(QStringLiteral("ticketSide"));
    type_->setObjectName(QStringLiteral("ticketType"));
    lasts_->setObjectName(QStringLiteral("ticketLasts"));
    for (const char* word : {"Market", "Limit", "Stop", "Stop limit", "Trailing stop"}) type_->addItem(QString::fromLatin1(word));
    what_->setObjectName(QStringLiteral("ticketWhat"));
    expiry_->setObjectName(QStringLiteral("ticketExpiry"));
    right_->setObjectName(QStringLiteral("ticketRight"));
    strike_->setObjectName(QStringLiteral("ticketStrike"));
    what_->addItems({QStringLiteral("Shares"), QStringLiteral("Options")});
    right_->addItems({QStringLiteral("Calls"), QStringLiteral("Puts")});
    rows->addRow(QStringLiteral("Trade"), what_);
    rows->addRow(QStringLiteral("Expires"), expiry_);
    rows->addRow(QStringLiteral("Kind"), right_);
    rows->addRow(QStringLiteral("Strike"), strike_);
    rows->addRow(QStringLiteral("Side"), side_);
    rows->addRow(QStringLiteral("How much"), quantity_);
    rows->addRow(QStringLiteral("Type"), type_);
    rows->addRow(QStringLiteral("Limit price"), limit_);
    rows->addRow(QStringLiteral("Stop price"), stop_);
    rows->addRow(QStringLiteral("Trail"), trail_);
    trail_->setToolTip(QStringLiteral("Dollars behind the best price, or a percent of the price now (\"2%\")."));
    rows->addRow(QStringLiteral("Lasts"), lasts_);
    rows->addRow(QString(), extended_);
    rows->addRow(QStringLiteral("Sell price"), target_);
    rows->addRow(QStringLiteral("Get-out price"), getOut_);
    check_->setObjectName(QStringLiteral("ticketCheck"));
    check_->setDefault(true);
    rows->addRow(check_);
    pages_->addWidget(form);

    auto* confirm = new QWidget;
    auto* confirmRows = new QVBoxLayout(confirm);
    confirmRows->setContentsMargins(0, 0, 0, 0);
    for (QLabel* label : {sentence_, notes_}) {
        label->setWordWrap(true);
        label->setTextFormat(Qt::PlainText);
        label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    }
    sentence_->setObjectName(QStringLiteral("ticketSentence"));
    notes_->setObjectName(QStringLiteral("ticketNotes"));
    send_->setObjectName(QStringLiteral("ticketSend"));
    back_->setObjectName(QStringLiteral("ticketBack"));
    confirmRows->addWidget(sentence_);
    confirmRows->addWidget(notes_);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(back_);
    buttons->addWidget(send_);
    confirmRows->addLayout(buttons);
    confirmRows->addStretch(1);
    pages_->addWidget(confirm);
    layout->addWidget(pages_);
    layout->addStretch(1);

    QObject::connect(check_, &QPushButton::clicked, this, &TicketPanel::check);
    QObject::connect(send_, &QPushButton::clicked, this, &TicketPanel::send);
    QObject::connect(back_, &QPushButton::clicked, this, &TicketPanel::back);
    QObject::connect(type_, &QComboBox::currentIndexChanged, this, &TicketPanel::showType);
    QObject::connect(what_, &QComboBox::currentIndexChanged, this, &TicketPanel::showWhat);
    QObject::connect(right_, &QComboBox::currentIndexChanged, this, &TicketPanel::showChain);
    QObject::connect(expiry_, &QComboBox::activated, this, [this] {
        // Another expiry reads that expiry's contracts.
        const QVariant day = expiry_->currentData();
        if (day.isValid()) startModelTask(model_.loadOptionChain(Date(day.toDouble())));
    });
    QObject::connect(strike_, &QComboBox::currentIndexChanged, this, [this] {
        if (const OptionContract* contract = chosenContract()) limit_->setText(priceText(contract->buyPrice()));
    });
    QObject::connect(&model_, &AppModel::changed, this, [this](AppModel::Field field) {
        if (field == AppModel::Field::mode || field == AppModel::Field::brokerName) showMode();
        if (field == AppModel::Field::selectedSymbol) showSymbol();
        if (field == AppModel::Field::optionChain) showChain();
        if (field == AppModel::Field::ticket) showTicket();
        // The exits are prefilled once the first price of the symbol lands.
        if (field == AppModel::Field::quotes && target_->text().isEmpty() && getOut_->text().isEmpty()) prefill();
    });
    showMode();
    showSymbol();
}

void TicketPanel::showMode() {
    const bool easy = model_.mode() == Mode::easy;
    const int chosen = std::max(0, side_->currentIndex());
    side_->clear();
    side_->addItems(easy ? QStringList{QStringLiteral("Buy"), QStringLiteral("Sell"), QStringLiteral("Betting it goes down")}
                         : QStringList{QStringLiteral("Buy"), QStringLiteral("Sell"), QStringLiteral("Sell short"),
                                       QStringLiteral("Buy back")});
    side_->setCurrentIndex(std::min(chosen, side_->count() - 1));
    lasts_->clear();
    for (const TimeInForce lasting : lastings) lasts_->addItem(OrderWords::lasts(lasting, model_.mode()));
    auto* rows = qobject_cast<QFormLayout*>(pages_->widget(0)->layout());
    for (QWidget* expertOnly : {static_cast<QWidget*>(type_), static_cast<QWidget*>(lasts_)}) {
        rows->setRowVisible(expertOnly, !easy);
    }
    // Extended hours only where the broker trades them.
    const Broker* broker = model_.broker();
    rows->setRowVisible(extended_, !easy && broker && broker->supports(BrokerCapabilities::extendedHours()));
    if (!rows->isRowVisible(extended_)) extended_->setChecked(false);
    if (easy) type_->setCurrentIndex(0);
    qobject_cast<QLabel*>(rows->labelForField(target_))->setText(easy ? QStringLiteral("Sell price") : QStringLiteral("Take profit"));
    qobject_cast<QLabel*>(rows->labelForField(getOut_))->setText(easy ? QStringLiteral("Get-out price") : QStringLiteral("Stop loss"));
    showType();
}

void TicketPanel::showType() {
    auto* rows = qobject_cast<QFormLayout*>(pages_->widget(0)->layout());
    const OrderType type = types[static_cast<std::size_t>(std::max(0, type_->currentIndex()))];
    rows->setRowVisible(limit_, type == OrderType::limit || type == OrderType::stopLimit);
    rows->setRowVisible(stop_, type == OrderType::stop || type == OrderType::stopLimit);
    rows->setRowVisible(trail_, type == OrderType::trailingStop);
    // Coins carry no exits; Tavix places those itself once the coins are held.
    const bool coin = CryptoPair::isPair(model_.selectedSymbol());
    // Exits on a contract need Tavix to watch it; they are not offered here yet.
    const bool options = what_->currentIndex() == 1;
    rows->setRowVisible(target_, !coin && !options);
    rows->setRowVisible(getOut_, !coin && !options);
    qobject_cast<QLabel*>(rows->labelForField(quantity_))
        ->setText(coin && model_.mode() == Mode::easy ? QStringLiteral("Dollars") : QStringLiteral("How much"));
}

void TicketPanel::showWhat() {
    auto* rows = qobject_cast<QFormLayout*>(pages_->widget(0)->layout());
    const bool options = what_->currentIndex() == 1;
    for (QWidget* chainBox : {static_cast<QWidget*>(expiry_), static_cast<QWidget*>(right_), static_cast<QWidget*>(strike_)}) {
        rows->setRowVisible(chainBox, options);
    }
    if (options) {
        // Contracts are bought at a limit, from the chain's ask; exits on a contract come later.
        type_->setCurrentIndex(1);
        if (model_.optionChain().empty()) startModelTask(model_.loadOptionChain());
    }
    showType();
    qobject_cast<QLabel*>(rows->labelForField(quantity_))->setText(options ? QStringLiteral("Contracts") : QStringLiteral("How much"));
}

void TicketPanel::showChain() {
    const auto& chain = model_.optionChain();
    const QVariant keptExpiry = expiry_->currentData();
    QSignalBlocker quiet(expiry_);
    expiry_->clear();
    std::vector<double> days;
    for (const OptionContract& contract : chain) {
        const double at = contract.expiry.secondsSince1970();
        if (std::find(days.begin(), days.end(), at) == days.end()) days.push_back(at);
    }
    std::sort(days.begin(), days.end());
    for (const double at : days) {
        expiry_->addItem(QDateTime::fromSecsSinceEpoch(static_cast<qint64>(at), QTimeZone::utc()).toString(QStringLiteral("ddd d MMM yyyy")), at);
    }
    const int kept = expiry_->findData(keptExpiry);
    expiry_->setCurrentIndex(kept >= 0 ? kept : 0);
    const OptionRight right = right_->currentIndex() == 0 ? OptionRight::call : OptionRight::put;
    const QString keptStrike = strike_->currentData().toString();
    QSignalBlocker quietStrikes(strike_);
    strike_->clear();
    for (const OptionContract& contract : chain) {
        if (contract.right != right || contract.expiry.secondsSince1970() != expiry_->currentData().toDouble()) continue;
        const QString quote = (contract.bid ? priceText(*contract.bid) : QStringLiteral("—")) + QStringLiteral(" / ") +
                              (contract.ask ? priceText(*contract.ask) : QStringLiteral("—"));
        strike_->addItem(priceText(contract.strike) + QStringLiteral("   bid/ask ") + quote, contract.id);
    }
    const int again = strike_->findData(keptStrike);
    strike_->setCurrentIndex(again >= 0 ? again : strike_->count() / 2);
    if (const OptionContract* contract = chosenContract()) limit_->setText(priceText(contract->buyPrice()));
}

const OptionContract* TicketPanel::chosenContract() const {
    const QString id = strike_->currentData().toString();
    for (const OptionContract& contract : model_.optionChain()) {
        if (contract.id == id) return &contract;
    }
    return nullptr;
}

void TicketPanel::showSymbol() {
    const QString symbol = model_.selectedSymbol();
    title_->setText(symbol.isEmpty() ? QStringLiteral("Trade") : QStringLiteral("Trade ") + symbol);
    pages_->setCurrentIndex(0);
    waitingForPreview_ = false;
    setEnabled(!symbol.isEmpty());
    // Options are for stocks and funds, on brokers that list them.
    const bool stock = !symbol.isEmpty() && !CryptoPair::isPair(symbol) && !OptionSymbol::parse(symbol);
    auto* rows = qobject_cast<QFormLayout*>(pages_->widget(0)->layout());
    rows->setRowVisible(what_, stock);
    what_->setCurrentIndex(0);
    showWhat();
    if (quantity_->text().trimmed().isEmpty()) quantity_->setText(QStringLiteral("1"));
    prefill();
}

void TicketPanel::prefill() {
    const auto& quotes = model_.quotes();
    const auto quoted = quotes.find(model_.selectedSymbol());
    target_->clear();
    getOut_->clear();
    if (quoted == quotes.end()) return;
    const Decimal last = quoted->second.last;
    target_->setText(priceText((last * (Decimal(1) + exitShare)).rounded(2)));
    getOut_->setText(priceText((last * (Decimal(1) - exitShare)).rounded(2)));
    limit_->setPlaceholderText(priceText(last));
}

void TicketPanel::start(bool buy) {
    pages_->setCurrentIndex(0);
    side_->setCurrentIndex(buy ? 0 : 1);
    if (target_->text().isEmpty()) prefill();
    quantity_->setFocus(Qt::ShortcutFocusReason);
    quantity_->selectAll();
}

bool TicketPanel::confirming() const {
    return pages_->currentIndex() == 1;
}

void TicketPanel::check() {
    const QString symbol = model_.selectedSymbol();
    if (symbol.isEmpty()) return;
    const bool easy = model_.mode() == Mode::easy;
    const bool coin = CryptoPair::isPair(symbol);
    // Each box that holds text must read as a number; the first that doesn't is told.
    const std::array<std::tuple<QLineEdit*, QString, QString>, 6> boxes = {{
        {quantity_, coin && easy ? QStringLiteral("Dollars") : QStringLiteral("How much"), QStringLiteral("10")},
        {limit_, QStringLiteral("Limit price"), QStringLiteral("182.50")},
        {stop_, QStringLiteral("Stop price"), QStringLiteral("175.00")},
        {trail_, QStringLiteral("Trail"), QStringLiteral("1.50")},
        {target_, easy ? QStringLiteral("Sell price") : QStringLiteral("Take profit"), QStringLiteral("190.00")},
        {getOut_, easy ? QStringLiteral("Get-out price") : QStringLiteral("Stop loss"), QStringLiteral("170.00")},
    }};
    const auto quoted = model_.quotes().find(symbol);
    const std::optional<Decimal> priceNow =
        quoted == model_.quotes().end() ? std::nullopt : std::optional<Decimal>(quoted->second.last);
    for (const auto& [box, field, example] : boxes) {
        if (!box->isVisibleTo(this)) continue;
        QString text = box->text().trimmed();
        if (box == trail_ && text.endsWith(u'%')) text.chop(1);  // a trail may be a percent
        if (auto problem = OrderTicket::unreadableProblem(field, text, example)) {
            model_.setBanner(problem);
            box->setFocus();
            return;
        }
    }
    const auto number = [](QLineEdit* box) { return Decimal::parse(box->text().trimmed()); };
    OrderRequest request;
    request.symbol = symbol;
    request.side = sides[static_cast<std::size_t>(std::max(0, side_->currentIndex()))];
    request.type = types[static_cast<std::size_t>(std::max(0, type_->currentIndex()))];
    request.quantity = number(quantity_).value_or(Decimal());
    if (coin) {
        request.assetType = AssetType::crypto;
        request.timeInForce = TimeInForce::goodTillCancelled;
        // Easy mode buys coins by the dollar: so many dollars at the price now, to eight places.
        if (easy && quoted != model_.quotes().end() && quoted->second.last.isPositive()) {
            request.quantity = (request.quantity / quoted->second.last).rounded(8, Decimal::Rounding::down);
        }
    } else if (!easy) {
        request.timeInForce = lastings[static_cast<std::size_t>(std::max(0, lasts_->currentIndex()))];
        request.session = extended_->isChecked() ? OrderSession::extended : OrderSession::regular;
    }
    if (what_->currentIndex() == 1 && what_->isVisibleTo(this)) {
        const OptionContract* contract = chosenContract();
        if (!contract) {
            model_.setBanner(QStringLiteral("Choose an expiry and a strike first."));
            return;
        }
        request.symbol = contract->id;
        request.assetType = AssetType::option;
        request.type = OrderType::limit;
        request.timeInForce = TimeInForce::day;
        request.session = OrderSession::regular;
    }
    if (limit_->isVisibleTo(this) || request.assetType == AssetType::option) request.limitPrice = number(limit_);
    if (stop_->isVisibleTo(this)) request.stopPrice = number(stop_);
    if (trail_->isVisibleTo(this)) {
        QString trail = trail_->text().trimmed();
        if (trail.endsWith(u'%')) {
            // A percent of the price now, in whole cents: the broker takes the trail in dollars.
            trail.chop(1);
            const auto share = Decimal::parse(trail);
            if (share && priceNow) request.trailAmount = (*priceNow * *share / Decimal(100)).rounded(2);
        } else {
            request.trailAmount = Decimal::parse(trail);
        }
    }
    // Exits go with a buy (and with a short sale), not with a sale of what is held in easy mode.
    const bool opening = request.side == OrderSide::buy || request.side == OrderSide::sellShort;
    const auto target = !coin && (opening || !easy) ? number(target_) : std::nullopt;
    const auto stop = !coin && (opening || !easy) ? number(getOut_) : std::nullopt;
    model_.setTicket(request, target, stop);
    waitingForPreview_ = true;
    startModelTask(model_.buildPreview());
}

void TicketPanel::showTicket() {
    const OrderTicket& ticket = model_.ticket();
    if (waitingForPreview_ && !ticket.checking) {
        waitingForPreview_ = false;
        if (!ticket.preview) return;  // refused: the banner says why, the form stays as it was
        const auto quoted = model_.quotes().find(ticket.request.symbol);
        const std::optional<Decimal> price =
            quoted == model_.quotes().end() ? std::nullopt : std::optional<Decimal>(quoted->second.last);
        const bool open = model_.marketClock() ? model_.marketClock()->isOpen : true;
        sentence_->setText(OrderTicket::checkSentence(*ticket.preview, ticket.targetExit, ticket.stopExit, price));
        const QStringList notes = OrderTicket::checkNotes(*ticket.preview, open, price);
        notes_->setText(notes.join(u'\n'));
        notes_->setVisible(!notes.isEmpty());
        pages_->setCurrentIndex(1);
        send_->setFocus(Qt::OtherFocusReason);
    }
}

void TicketPanel::send() {
    if (!confirming()) return;
    pages_->setCurrentIndex(0);
    startModelTask(model_.submit());
}

void TicketPanel::back() {
    pages_->setCurrentIndex(0);
    quantity_->setFocus(Qt::OtherFocusReason);
}

void TicketPanel::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
        case Qt::Key_Return:
        case Qt::Key_Enter:
            confirming() ? send() : check();
            event->accept();
            return;
        case Qt::Key_Escape:
            if (confirming()) {
                back();
                event->accept();
                return;
            }
            break;
        default:
            break;
    }
    QWidget::keyPressEvent(event);
}

}  // namespace tavix
