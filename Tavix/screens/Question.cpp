#include "screens/Question.h"

#include <QApplication>
#include <QIcon>
#include <QMessageBox>
#include <QPushButton>

namespace tavix {

bool askWithMessageBox(QWidget* parent, const Question& question) {
    QMessageBox box(parent);
    box.setWindowTitle(question.title);
    box.setText(question.text);
    box.setInformativeText(question.informativeText);
    box.setTextFormat(Qt::PlainText);
    const QIcon icon = QApplication::windowIcon();
    if (icon.isNull()) {
        box.setIcon(QMessageBox::Question);
    } else {
        box.setIconPixmap(icon.pixmap(64, 64));
    }
    // A notice has one button and nothing to keep as it is.
    QPushButton* reject =
        question.rejectButton.isEmpty() ? nullptr : box.addButton(question.rejectButton, QMessageBox::RejectRole);
    QPushButton* accept = box.addButton(question.acceptButton, QMessageBox::AcceptRole);
    // Staying put is the safe answer, so it is what Return and Escape give.
    box.setDefaultButton(reject ? reject : accept);
    box.setEscapeButton(reject ? reject : accept);
    // A window in the background still gets the question in front of the user.
    if (parent) {
        parent->activateWindow();
        parent->raise();
    }
    box.exec();
    return box.clickedButton() == accept;
}

}  // namespace tavix
