#pragma once

#include <QFrame>

class QLabel;

namespace tavix {

class AccountMenuButton;
class AppModel;

// The top of the window: the kind of account (Practice, Paper, Live), its number and the profile's
// name, what it is worth and its change today, the link's health, "connecting" while a connect
// runs, and the account menu.
class AccountHeader : public QFrame {
    Q_OBJECT

public:
    // The app model must outlive the header.
    explicit AccountHeader(AppModel& model, QWidget* parent = nullptr);

    AccountMenuButton* accountMenu() const { return menuButton_; }

private:
    void showAccount();
    void showWorth();
    void showLink();

    AppModel& model_;
    QLabel* kind_;
    QLabel* number_;
    QLabel* worth_;
    QLabel* dayChange_;
    QLabel* health_;
    QLabel* connecting_;
    AccountMenuButton* menuButton_;
};

}  // namespace tavix
