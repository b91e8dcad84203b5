#include "screens/AccountMenuButton.h"

#include "core/AppModel.h"
#include "screens/ModelTask.h"

#include <QActionGroup>
#include <QMenu>
#include <QPointer>

namespace tavix {

AccountMenuButton::AccountMenuButton(AppModel& model, QWidget* parent)
    : QToolButton(parent), model_(model), menu_(new QMenu(this)) {
    setObjectName(QStringLiteral("accountMenu"));
    setText(QStringLiteral("Accounts"));
    setToolTip(QStringLiteral("Switch account or add one"));
    setPopupMode(QToolButton::InstantPopup);
    setFocusPolicy(Qt::StrongFocus);
    setMenu(menu_);
    QObject::connect(&model_, &AppModel::changed, this, [this](AppModel::Field field) {
        switch (field) {
            case AppModel::Field::alpacaProfiles:
            case AppModel::Field::alpacaSlot:
            case AppModel::Field::brokerName:
            case AppModel::Field::account:
                rebuildSoon();
                break;
            default:
                break;
        }
    });
    // Read afresh on opening too: which broker is in use is not a field of its own.
    QObject::connect(menu_, &QMenu::aboutToShow, this, &AccountMenuButton::rebuild);
    rebuild();
}

QString AccountMenuButton::profileLabel(const AlpacaProfile& profile) {
    if (auto name = profile.shownName()) return *name;
    if (profile.number && !profile.number->trimmed().isEmpty()) return profile.number->trimmed();
    return QStringLiteral("Alpaca paper");
}

void AccountMenuButton::switchBy(QCoro::Task<void> task) {
    QCoro::connect(guardedModelTask(std::move(task)), this, [this] { Q_EMIT switchEnded(); });
}

void AccountMenuButton::rebuildSoon() {
    // A switch chosen from this menu changes the model while the chosen action is still firing,
    // so the actions are replaced on the next pass of the event loop, never under it.
    if (rebuildPending_) return;
    rebuildPending_ = true;
    QMetaObject::invokeMethod(this, &AccountMenuButton::rebuild, Qt::QueuedConnection);
}

void AccountMenuButton::rebuild() {
    rebuildPending_ = false;
    delete forgetMenu_;  // a submenu is not an action: clearing the menu would leave it behind
    menu_->clear();
    const Broker* broker = model_.broker();
    const bool onPractice = broker && broker->id() == BrokerID::mock();
    const bool onAlpaca = broker && broker->id() == BrokerID::alpaca();

    auto* group = new QActionGroup(menu_);
    group->setExclusive(true);
    QAction* practice = menu_->addAction(QStringLiteral("Practice"));
    practice->setObjectName(QStringLiteral("account-practice"));
    practice->setCheckable(true);
    practice->setChecked(onPractice);
    group->addAction(practice);
    QObject::connect(practice, &QAction::triggered, this, [this] {
        const Broker* current = model_.broker();
        if (current && current->id() == BrokerID::mock()) return;
        switchBy(model_.useAccount(BrokerID::mock()));
    });

    const auto& profiles = model_.alpacaProfiles();
    for (const AlpacaProfile& profile : profiles) {
        QAction* use = menu_->addAction(profileLabel(profile));
        use->setObjectName(QStringLiteral("account-") + profile.slot);
        use->setCheckable(true);
        use->setChecked(onAlpaca && model_.alpacaSlot() == profile.slot);
        group->addAction(use);
        const QString slot = profile.slot;
        QObject::connect(use, &QAction::triggered, this, [this, slot] {
            const Broker* current = model_.broker();
            if (current && current->id() == BrokerID::alpaca() && model_.alpacaSlot() == slot) return;
            switchBy(model_.useAlpaca(slot));
        });
    }

    menu_->addSeparator();
    QAction* add = menu_->addAction(QStringLiteral("Add Alpaca Paper Account…"));
    add->setObjectName(QStringLiteral("account-add"));
    QObject::connect(add, &QAction::triggered, this, [this] { model_.setAddingAlpacaAccount(true); });

    if (!profiles.empty()) {
        forgetMenu_ = menu_->addMenu(QStringLiteral("Forget Alpaca Account"));
        forgetMenu_->setObjectName(QStringLiteral("account-forget"));
        for (const AlpacaProfile& profile : profiles) {
            QAction* item = forgetMenu_->addAction(profileLabel(profile) + QStringLiteral("…"));
            item->setObjectName(QStringLiteral("forget-") + profile.slot);
            const QString slot = profile.slot;
            QObject::connect(item, &QAction::triggered, this, [this, slot] { Q_EMIT forgetAsked(slot); });
        }
    }
}

}  // namespace tavix
