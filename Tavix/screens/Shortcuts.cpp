#include "screens/Shortcuts.h"

#include <array>

namespace tavix::Shortcuts {

namespace {

const std::array<const char*, 5> intervalNames = {"1 minute", "5 minutes", "15 minutes", "1 hour", "1 day"};

}  // namespace

QKeySequence quit() {
    const QKeySequence standard(QKeySequence::Quit);
    // Some desktops name no standard quit key; Ctrl+Q is what their applications use.
    return standard.isEmpty() ? QKeySequence(Qt::CTRL | Qt::Key_Q) : standard;
}

QKeySequence interval(int place) {
    return QKeySequence(Qt::ALT | static_cast<Qt::Key>(Qt::Key_1 + place));
}

QKeySequence nextSymbol() {
    return QKeySequence(Qt::CTRL | Qt::Key_Down);
}

QKeySequence previousSymbol() {
    return QKeySequence(Qt::CTRL | Qt::Key_Up);
}

QKeySequence findSymbol() {
    return QKeySequence(QKeySequence::Find);
}

QKeySequence removeSymbol() {
    return QKeySequence(QKeySequence::Delete);
}

QKeySequence buy() {
    return QKeySequence(Qt::CTRL | Qt::Key_B);
}

QKeySequence sell() {
    return QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_B);
}

QKeySequence cancelOrder() {
    return QKeySequence(Qt::CTRL | Qt::Key_Backspace);
}

QList<Shortcut> all() {
    QList<Shortcut> list = {
        {QStringLiteral("Type a symbol anywhere to find or add it"), QKeySequence()},
        {QStringLiteral("Go to the add-a-symbol box"), findSymbol()},
        {QStringLiteral("Next symbol on the watchlist"), nextSymbol()},
        {QStringLiteral("Previous symbol on the watchlist"), previousSymbol()},
        {QStringLiteral("Take the selected symbol off the watchlist"), removeSymbol()},
        {QStringLiteral("Buy the symbol on the chart"), buy()},
        {QStringLiteral("Sell the symbol on the chart"), sell()},
        {QStringLiteral("Check the order, then send it"), QKeySequence(Qt::Key_Return)},
        {QStringLiteral("Back out of sending it"), QKeySequence(Qt::Key_Escape)},
        {QStringLiteral("Cancel the selected order"), cancelOrder()},
    };
    for (int place = 0; place < static_cast<int>(intervalNames.size()); ++place) {
        list.push_back({QStringLiteral("Chart in ") + QString::fromLatin1(intervalNames[static_cast<std::size_t>(place)]) +
                            QStringLiteral(" bars"),
                        interval(place)});
    }
    list.push_back({QStringLiteral("Move between panes"), QKeySequence(Qt::Key_Tab)});
    list.push_back({QStringLiteral("Chart: scroll, zoom, newest"), QKeySequence()});
    list.push_back({QStringLiteral("Quit Tavix"), quit()});
    return list;
}

QString listText() {
    QStringList lines;
    for (const Shortcut& shortcut : all()) {
        QString keys = shortcut.keys.toString(QKeySequence::NativeText);
        if (shortcut.what.startsWith(QStringLiteral("Type a symbol"))) keys = QStringLiteral("Letters");
        if (shortcut.what.startsWith(QStringLiteral("Chart:"))) keys = QStringLiteral("← →, + −, Home End");
        lines << keys + QStringLiteral("\t") + shortcut.what;
    }
    return lines.join(u'\n');
}

}  // namespace tavix::Shortcuts
