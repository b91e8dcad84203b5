#pragma once

// Collects what the code logs while it lives, instead of printing it, so a test can check a line
// was written (or that nothing secret was). One capture at a time.

#include <QString>
#include <QStringList>

#include <mutex>
#include <vector>

namespace tavix::test {

class LogCapture {
public:
    struct Line {
        QString category, message;
    };

    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<Line> lines() const;
    // The messages logged under a category ("com.brindlecove.tavix.budget").
    QStringList messages(const QString& category) const;
    // True when any message (or category) contains the text.
    bool mentions(const QString& text) const;

private:
    mutable std::mutex mutex_;
    std::vector<Line> lines_;
    QtMessageHandler previous_ = nullptr;
};

}  // namespace tavix::test
