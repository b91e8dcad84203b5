#include "support/LogCapture.h"

#include <atomic>
#include <stdexcept>

namespace tavix::test {

namespace {
std::atomic<LogCapture*> current{nullptr};
}

LogCapture::LogCapture() {
    LogCapture* none = nullptr;
    if (!current.compare_exchange_strong(none, this))
        throw std::logic_error("a log capture is already running");
    previous_ = qInstallMessageHandler(&LogCapture::handle);
}

LogCapture::~LogCapture() {
    qInstallMessageHandler(previous_);
    current.store(nullptr);
}

void LogCapture::handle(QtMsgType, const QMessageLogContext& context, const QString& message) {
    LogCapture* capture = current.load();
    if (!capture) return;
    std::lock_guard lock(capture->mutex_);
    capture->lines_.push_back({QString::fromUtf8(context.category ? context.category : "default"), message});
}

std::vector<LogCapture::Line> LogCapture::lines() const {
    std::lock_guard lock(mutex_);
    return lines_;
}

QStringList LogCapture::messages(const QString& category) const {
    std::lock_guard lock(mutex_);
    QStringList found;
    for (const Line& line : lines_) {
        if (line.category == category) found.append(line.message);
    }
    return found;
}

bool LogCapture::mentions(const QString& text) const {
    std::lock_guard lock(mutex_);
    for (const Line& line : lines_) {
        if (line.message.contains(text) || line.category.contains(text)) return true;
    }
    return false;
}

}  // namespace tavix::test
