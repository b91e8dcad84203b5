#include "screens/AlpacaAccountDialog.h"

#include "core/AppModel.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

#include <exception>

namespace tavix {

namespace {

QLineEdit* field(const char* name, const QString& placeholder) {
    auto* edit = new QLineEdit;
    edit->setObjectName(QString::fromLatin1(name));
    edit->setPlaceholderText(placeholder);
    edit->setMinimumWidth(320);
    return edit;
}

}  // namespace

AlpacaAccountDialog::AlpacaAccountDialog(AppModel& model, QWidget* parent)
    : QDialog(parent),
      model_(model),
      key_(field("alpacaKey", QStringLiteral("PK…"))),
      secret_(field("alpacaSecret", QString())),
      name_(field("alpacaName", QStringLiteral("Optional, like \"Swing account\""))),
      message_(new QLabel),
      connect_(new QPushButton(QStringLiteral("Connect"))),
      cancel_(new QPushButton(QStringLiteral("Cancel"))) {
    setObjectName(QStringLiteral("alpacaForm"));
    setWindowTitle(QStringLiteral("Add Alpaca Paper Account"));

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(18, 16, 18, 16);
    layout->setSpacing(12);
    auto* intro = new QLabel(QStringLiteral(
        "Paste the key and secret of an Alpaca paper account. They are kept in the system's keychain."));
    intro->setWordWrap(true);
    layout->addWidget(intro);

    secret_->setEchoMode(QLineEdit::Password);
    auto* form = new QFormLayout;
    form->addRow(QStringLiteral("Key"), key_);
    form->addRow(QStringLiteral("Secret"), secret_);
    form->addRow(QStringLiteral("Name"), name_);
    layout->addLayout(form);

    message_->setObjectName(QStringLiteral("alpacaMessage"));
    message_->setWordWrap(true);
    message_->setTextFormat(Qt::PlainText);
    message_->hide();
    layout->addWidget(message_);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    cancel_->setAutoDefault(false);
    connect_->setDefault(true);
    buttons->addWidget(cancel_);
    buttons->addWidget(connect_);
    layout->addLayout(buttons);

    QObject::connect(cancel_, &QPushButton::clicked, this, &QDialog::reject);
    QObject::connect(connect_, &QPushButton::clicked, this, &AlpacaAccountDialog::connectKeys);
}

void AlpacaAccountDialog::connectKeys() {
    if (connecting_) return;
    setConnecting(true);
    message_->setText(QStringLiteral("Checking the keys with Alpaca…"));
    message_->show();
    const QString name = name_->text();
    std::optional<QString> named = name.trimmed().isEmpty() ? std::nullopt : std::optional<QString>(name);
    run(QPointer<AlpacaAccountDialog>(this), &model_, key_->text().trimmed(), secret_->text().trimmed(),
        named);
}

QCoro::Task<void> AlpacaAccountDialog::run(QPointer<AlpacaAccountDialog> form, AppModel* model, QString key,
                                           QString secret, std::optional<QString> name) {
    std::optional<QString> message;
    try {
        message = co_await model->connectAlpaca(key, secret, std::nullopt, name);
    } catch (const std::exception&) {
        message = QStringLiteral("Tavix couldn't add that account. Try again.");
    }
    // The form may have gone while Alpaca answered.
    if (form) form->finish(message);
}

void AlpacaAccountDialog::finish(const std::optional<QString>& message) {
    setConnecting(false);
    // Cancelled while Alpaca was asked: the account was added or not, and the model tells which.
    if (!isVisible()) return;
    if (message) {
        message_->setText(*message);
        message_->show();
        return;
    }
    key_->clear();
    name_->clear();
    accept();
}

void AlpacaAccountDialog::setConnecting(bool connecting) {
    connecting_ = connecting;
    connect_->setEnabled(!connecting);
    key_->setEnabled(!connecting);
    secret_->setEnabled(!connecting);
    name_->setEnabled(!connecting);
}

void AlpacaAccountDialog::done(int result) {
    // The secret never lingers in a closed form.
    secret_->clear();
    message_->clear();
    message_->hide();
    QDialog::done(result);
}

}  // namespace tavix
