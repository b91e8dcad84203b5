#include "support/LogCapture.h"

#include <algorithm>
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
    previous_ =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext& context, const QString& message) {
            LogCapture* capture = current.load();
            if (!capture) return;
            std::lock_guard lock(capture->mutex_);
            capture->lines_.push_back(
                {QString::fromUtf8(context.category ? context.category : "default"), message});
        });
}

LogCapture::~LogCapture() {
    qInstallMessageHandler(previous_);
    current.store(nullptr);
}

std::vector<LogCapture::Line> LogCapture::lines() const {
    std::lock_guard lock(mutex_);
    return lines_;
}

QStringList LogCapture::messages(const QString& category) const {
    QStringList found;
    for (const Line& line : lines()) {
        if (line.category == category) found.append(line.message);
    }
    return found;
}

bool LogCapture::mentions(const QString& text) const {
    const std::vector<Line> seen = lines();
    return std::any_of(seen.begin(), seen.end(), [&](const Line& line) {
        return line.message.contains(text) || line.category.contains(text);
    });
}

}  // namespace tavix::test
