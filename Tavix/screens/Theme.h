#pragma once

#include <QColor>
#include <QString>

class QApplication;

namespace tavix::theme {

// The calm dark look of every Tavix window: soft light text on deep slate, one blue accent, and
// green and red kept for prices that rose or fell.
QColor window();
QColor panel();
QColor text();
QColor mutedText();
QColor line();
QColor accent();
QColor rise();
QColor fall();

// Fusion style with the dark palette, so the look is the same on every desktop.
void apply(QApplication& app);

// The style sheet of the main window and what it holds.
QString windowStyleSheet();

}  // namespace tavix::theme
