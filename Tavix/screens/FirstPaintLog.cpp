#include "screens/FirstPaintLog.h"

#include <QDateTime>
#include <QEvent>
#include <QLoggingCategory>

namespace tavix {

namespace {
Q_LOGGING_CATEGORY(startupLog, "com.brindlecove.tavix.startup", QtWarningMsg)
}

FirstPaintLog::FirstPaintLog(QObject* window) : QObject(window) { window->installEventFilter(this); }

bool FirstPaintLog::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Paint) {
        qCInfo(startupLog).noquote() << QStringLiteral("first paint at %1").arg(QDateTime::currentMSecsSinceEpoch());
        watched->removeEventFilter(this);
        deleteLater();
    }
    return false;
}

}  // namespace tavix
