#pragma once

#include <qcoro/qcorotask.h>

#include <QDialog>
#include <QPointer>
#include <QString>

#include <optional>

class QLabel;
class QLineEdit;
class QPushButton;

namespace tavix {

class AppModel;

// The form that adds an Alpaca paper account: key, secret and an optional name. Connect checks
// the keys with Alpaca through the model; a refusal is shown in the form, success closes it. The
// secret is wiped whenever the form closes.
class AlpacaAccountDialog : public QDialog {
    Q_OBJECT

public:
    // The app model must outlive the dialog.
    explicit AlpacaAccountDialog(AppModel& model, QWidget* parent = nullptr);

    // Whether a connect is under way.
    bool isConnecting() const { return connecting_; }

    void done(int result) override;

private:
    void connectKeys();
    static QCoro::Task<void> run(QPointer<AlpacaAccountDialog> form, AppModel* model, QString key,
                                 QString secret, std::optional<QString> name);
    void finish(const std::optional<QString>& message);
    void setConnecting(bool connecting);

    AppModel& model_;
    QLineEdit* key_;
    QLineEdit* secret_;
    QLineEdit* name_;
    QLabel* message_;
    QPushButton* connect_;
    QPushButton* cancel_;
    bool connecting_ = false;
};

}  // namespace tavix
