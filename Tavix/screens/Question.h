#pragma once

#include <QString>

#include <functional>

class QWidget;

namespace tavix {

// A yes-or-no question put to the user in a modal box with the application's icon.
struct Question {
    QString title;
    QString text;
    QString informativeText;
    QString acceptButton;  // the answer that goes ahead
    QString rejectButton;  // the answer that keeps things as they are; also Escape. Empty for a notice.

    friend bool operator==(const Question&, const Question&) = default;
};

// Puts a question and says whether the user went ahead. The window takes one, so tests answer
// without a modal loop.
using Asker = std::function<bool(const Question&)>;

// Asks through a QMessageBox over `parent`.
bool askWithMessageBox(QWidget* parent, const Question& question);

}  // namespace tavix
