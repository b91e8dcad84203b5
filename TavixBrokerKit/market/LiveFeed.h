#pragma once

#include "market/Tick.h"

#include <QObject>
#include <QStringList>

namespace tavix {

// A broker's stream of live prices. The application subscribes symbols and receives ticks.
class LiveFeed : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;
    ~LiveFeed() override = default;

    virtual void subscribe(const QStringList& symbols) = 0;
    virtual void unsubscribe(const QStringList& symbols) = 0;

Q_SIGNALS:
    void ticked(const tavix::Tick& tick);
};

}  // namespace tavix
