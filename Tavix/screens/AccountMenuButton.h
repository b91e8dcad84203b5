#pragma once

#include <qcoro/qcorotask.h>

#include <QPointer>
#include <QToolButton>

class QMenu;

namespace tavix {

class AppModel;
struct AlpacaProfile;

// The account switcher: Practice, each saved Alpaca paper account with a check on the one in use,
// "Add Alpaca Paper Account…", and a submenu to forget an Alpaca account.
class AccountMenuButton : public QToolButton {
    Q_OBJECT

public:
    // The app model must outlive the button.
    explicit AccountMenuButton(AppModel& model, QWidget* parent = nullptr);

    // How a profile is listed: its shown name, else its account number, else "Alpaca paper".
    static QString profileLabel(const AlpacaProfile& profile);

Q_SIGNALS:
    // The user asked to forget the profile in `slot`; the window confirms first.
    void forgetAsked(const QString& slot);
    // A switch chosen here has run to its end: the account is read and the watchlist synced, or
    // the model has said what went wrong.
    void switchEnded();

private:
    void switchBy(QCoro::Task<void> task);
    void rebuildSoon();
    void rebuild();

    AppModel& model_;
    QMenu* menu_;
    QPointer<QMenu> forgetMenu_;
    bool rebuildPending_ = false;
};

}  // namespace tavix
