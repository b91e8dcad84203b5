#pragma once

#include "market/Broker.h"

#include <functional>
#include <map>
#include <memory>

namespace tavix {

// Knows which brokerages exist and keeps at most one live broker of each.
class BrokerRegistry {
public:
    // Makes a new broker; may throw BrokerError.
    using Factory = std::function<std::shared_ptr<Broker>()>;

    struct Entry {
        BrokerID id;
        QString displayName;
        BrokerCapabilities capabilities;
        Factory make;
    };

    // Records a broker type under its id, with its name and capabilities.
    void registerBroker(BrokerID id, QString displayName, BrokerCapabilities capabilities, Factory make);

    // For a broker type that exposes staticID(), staticDisplayName() and staticCapabilities().
    template <class BrokerType>
    void registerType(Factory make) {
        registerBroker(BrokerType::staticID(), BrokerType::staticDisplayName(), BrokerType::staticCapabilities(),
                       std::move(make));
    }

    // The live broker for the id, made by its factory on first use. Throws BrokerError
    // (notConnected) for an id without an entry, or whatever the factory throws.
    std::shared_ptr<Broker> broker(const BrokerID& id);
    // Drops the live broker; the next broker(id) makes a new one.
    void forget(const BrokerID& id);

    const std::map<BrokerID, Entry>& entries() const { return entries_; }
    bool isLive(const BrokerID& id) const { return live_.contains(id); }

private:
    std::map<BrokerID, Entry> entries_;
    std::map<BrokerID, std::shared_ptr<Broker>> live_;
};

}  // namespace tavix
