#include "screens/ModelTask.h"

#include <QLoggingCategory>

#include <exception>
#include <utility>

namespace tavix {

namespace {

Q_LOGGING_CATEGORY(screensLog, "com.brindlecove.tavix.screens")

// Logging macros do not compile inside a coroutine body here, so the coroutine calls this.
void logEscaped(const char* what) {
    qCWarning(screensLog, "A model action ended with an error: %s", what);
}

}  // namespace

QCoro::Task<void> guardedModelTask(QCoro::Task<void> task) {
    try {
        co_await std::move(task);
    } catch (const std::exception& error) {
        logEscaped(error.what());
    } catch (...) {
        logEscaped("an unknown exception");
    }
}

void startModelTask(QCoro::Task<void> task) {
    // A QCoro task runs on after its handle is dropped and frees itself when it ends.
    guardedModelTask(std::move(task));
}

}  // namespace tavix
