#include "screens/WindowMemory.h"

#include "core/Session.h"

#include <QGuiApplication>
#include <QMainWindow>
#include <QScreen>
#include <QSplitter>

#include <utility>

namespace tavix {

WindowMemory::WindowMemory(QMainWindow& window, QList<QSplitter*> splitters)
    : window_(window), splitters_(std::move(splitters)) {
    for (QSplitter* splitter : splitters_) {
        QObject::connect(splitter, &QSplitter::splitterMoved, &window_, [this] { save(); });
    }
}

void WindowMemory::restore() {
    const QByteArray geometry = Session::windowGeometry();
    if (!geometry.isEmpty() && window_.restoreGeometry(geometry)) {
        // restoreGeometry keeps the window on a screen that exists; a size larger than that screen
        // is brought within it too.
        if (const QScreen* screen = window_.screen()) {
            const QRect room = screen->availableGeometry();
            if (window_.width() > room.width() || window_.height() > room.height()) {
                window_.resize(std::min(window_.width(), room.width()), std::min(window_.height(), room.height()));
            }
        }
    }
    const auto sizes = Session::splitters();
    for (QSplitter* splitter : splitters_) {
        const auto found = sizes.find(splitter->objectName());
        if (found == sizes.end() || found->second.size() != splitter->count()) continue;
        splitter->setSizes(found->second);
    }
}

void WindowMemory::save() const {
    Session::setWindowGeometry(window_.saveGeometry());
    std::map<QString, QList<int>> sizes;
    for (const QSplitter* splitter : splitters_) sizes[splitter->objectName()] = splitter->sizes();
    Session::setSplitters(sizes);
}

}  // namespace tavix
