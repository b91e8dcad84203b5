#include "screens/WindowMemory.h"

#include "core/Session.h"

#include <QMainWindow>
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
    // Qt brings a window saved on a screen that is gone back onto one that is there.
    const QByteArray geometry = Session::windowGeometry();
    if (!geometry.isEmpty()) window_.restoreGeometry(geometry);
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
