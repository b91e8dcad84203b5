#include "screens/AccountHeader.h"

#include "core/AccountKind.h"
#include "core/AppModel.h"
#include "screens/AccountMenuButton.h"
#include "core/MoneyText.h"
#include "screens/Theme.h"

#include <QHBoxLayout>
#include <QLabel>

namespace tavix {

namespace {

QLabel* label(const char* name) {
    auto* made = new QLabel;
    made->setObjectName(QString::fromLatin1(name));
    made->setTextFormat(Qt::PlainText);
    return made;
}

// The account's own label: the Alpaca profile's name when it has one, else the broker's nickname.
std::optional<QString> accountLabel(const AppModel& model) {
    const Broker* broker = model.broker();
    if (broker && broker->id() == BrokerID::alpaca()) {
        for (const AlpacaProfile& profile : model.alpacaProfiles()) {
            if (profile.slot == model.alpacaSlot()) return profile.shownName();
        }
        return std::nullopt;
    }
    const auto& account = model.account();
    if (account && account->nickname && !account->nickname->trimmed().isEmpty())
        return account->nickname->trimmed();
    return std::nullopt;
}

}  // namespace

AccountHeader::AccountHeader(AppModel& model, QWidget* parent)
    : QFrame(parent),
      model_(model),
      kind_(label("accountKind")),
      number_(label("accountNumber")),
      worth_(label("worth")),
      dayChange_(label("dayChange")),
      health_(label("health")),
      connecting_(label("connecting")),
      menuButton_(new AccountMenuButton(model)) {
    setObjectName(QStringLiteral("header"));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(12, 8, 12, 8);
    layout->setSpacing(12);
    layout->addWidget(kind_);
    layout->addWidget(number_);
    layout->addSpacing(8);
    layout->addWidget(worth_);
    layout->addWidget(dayChange_);
    layout->addStretch(1);
    connecting_->setText(QStringLiteral("connecting"));
    layout->addWidget(connecting_);
    health_->setToolTip(QStringLiteral("How the link to the broker is doing"));
    layout->addWidget(health_);
    layout->addWidget(menuButton_);

    QObject::connect(&model_, &AppModel::changed, this, [this](AppModel::Field field) {
        switch (field) {
            case AppModel::Field::account:
            case AppModel::Field::brokerName:
            case AppModel::Field::alpacaProfiles:
            case AppModel::Field::alpacaSlot:
                showAccount();
                break;
            case AppModel::Field::balance:
                showWorth();
                break;
            case AppModel::Field::connectingCount:
            case AppModel::Field::isConnected:
            case AppModel::Field::linkShaky:
            case AppModel::Field::linkSlow:
                showLink();
                break;
            default:
                break;
        }
    });
    showAccount();
    showWorth();
    showLink();
}

void AccountHeader::showAccount() {
    kind_->setText(accountKindWord(model_.accountKind()));
    QString number = model_.account() ? model_.account()->displayNumber : QString();
    if (auto named = accountLabel(model_)) {
        number = number.isEmpty() ? *named : number + QStringLiteral("  ·  ") + *named;
    }
    number_->setText(number);
    number_->setVisible(!number.isEmpty());
}

void AccountHeader::showWorth() {
    const auto& balance = model_.balance();
    worth_->setVisible(balance.has_value());
    dayChange_->setVisible(balance && balance->dayChange);
    if (!balance) return;
    worth_->setText(moneyText(balance->equity));
    if (!balance->dayChange) return;
    const Decimal change = *balance->dayChange;
    QString text = signedMoneyText(change) + QStringLiteral(" today");
    if (balance->dayChangePercent) {
        const Decimal percent = balance->dayChangePercent->rounded(2);
        const QString sign = percent.isPositive() ? QStringLiteral("+") : QString();
        text = signedMoneyText(change) + QStringLiteral(" (") + sign + percent.toFixed(2) +
               QStringLiteral("%) today");
    }
    dayChange_->setText(text);
    const QColor colour = change.rounded(2).isZero() ? theme::mutedText()
                          : change.isPositive()      ? theme::rise()
                                                     : theme::fall();
    dayChange_->setStyleSheet(QStringLiteral("color: %1;").arg(colour.name()));
}

void AccountHeader::showLink() {
    health_->setText(AppModel::healthWord(model_.health()));
    connecting_->setVisible(model_.connectingCount() > 0);
}

}  // namespace tavix
