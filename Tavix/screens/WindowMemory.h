#pragma once

#include <QList>

class QMainWindow;
class QSplitter;

namespace tavix {

// The main window's place and size and its splitters' positions, saved when they change and put
// back at the next start. A saved place on a screen that is gone is brought back onto one that is
// there; splitter sizes that do not fit the splitter are ignored.
class WindowMemory {
public:
    WindowMemory(QMainWindow& window, QList<QSplitter*> splitters);

    // Puts back what was saved; nothing saved leaves the window as it is.
    void restore();
    // Saves the window's geometry and the splitters' sizes.
    void save() const;

private:
    QMainWindow& window_;
    QList<QSplitter*> splitters_;
};

}  // namespace tavix
