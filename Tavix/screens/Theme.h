#pragma once

#include <QColor>
#include <QString>

class QApplication;

namespace tavix::theme {

// The calm light look of every Tavix window: dark text on near-white, one accent, and green and
// red kept for prices that rose or fell.
QColor text();
QColor mutedText();
QColor rise();
QColor fall();

// Fusion style with the light palette, so the look is the same on every desktop.
void apply(QApplication& app);

// The style sheet of the main window and what it holds.
QString windowStyleSheet();

}  // namespace tavix::theme
