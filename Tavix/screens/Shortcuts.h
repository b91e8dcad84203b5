#pragma once

#include <QKeySequence>
#include <QList>
#include <QString>

namespace tavix {

// Tavix's keyboard shortcuts, as the menus carry them and the Help menu lists them. Standard keys
// come from the platform (`QKeySequence::Quit`), with the usual fallback where a desktop names none.
struct Shortcut {
    QString what;
    QKeySequence keys;
};

namespace Shortcuts {

QKeySequence quit();
// The chart's intervals in the order of the interval buttons: Alt+1 … Alt+5.
QKeySequence interval(int place);
QKeySequence nextSymbol();
QKeySequence previousSymbol();
QKeySequence findSymbol();
QKeySequence removeSymbol();
QKeySequence buy();
QKeySequence sell();
QKeySequence cancelOrder();

// Every shortcut, with what it does, in the order the list shows them.
QList<Shortcut> all();
// The list as the Help menu shows it: one shortcut a line, keys in the platform's own words.
QString listText();

}  // namespace Shortcuts

}  // namespace tavix
