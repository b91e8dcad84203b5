#include "core/ModelLog.h"

#include <QLoggingCategory>

namespace tavix {

namespace {
Q_LOGGING_CATEGORY(modelLog, "com.brindlecove.tavix.model")
}  // namespace

void logModelInfo(const QString& line) {
    qCInfo(modelLog).noquote() << line;
}

void logModelWarning(const QString& line) {
    qCWarning(modelLog).noquote() << line;
}

}  // namespace tavix
