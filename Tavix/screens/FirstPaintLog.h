#pragma once

#include <QObject>

namespace tavix {

// Writes one line, "first paint at <ms since 1970>", under com.brindlecove.tavix.startup when the
// watched window is first painted, so start-up time can be measured from outside the process
// (bench/startup_idle.sh). Silent unless that category's info level is switched on.
class FirstPaintLog : public QObject {
    Q_OBJECT

public:
    // Watches `window`; the log removes itself after the first paint.
    explicit FirstPaintLog(QObject* window);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
};

}  // namespace tavix
