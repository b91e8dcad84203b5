#include "market/BrokerRegistry.h"

namespace tavix {

void BrokerRegistry::registerBroker(BrokerID id, QString displayName, BrokerCapabilities capabilities,
                                    Factory make) {
    Entry entry{id, std::move(displayName), capabilities, std::move(make)};
    entries_.insert_or_assign(std::move(id), std::move(entry));
}

std::shared_ptr<Broker> BrokerRegistry::broker(const BrokerID& id) {
    if (auto found = live_.find(id); found != live_.end()) return found->second;
    auto entry = entries_.find(id);
    // An id nobody registered is a brokerage this build cannot connect to.
    if (entry == entries_.end()) throw BrokerError::notConnected();
    auto made = entry->second.make();
    if (!made) throw BrokerError::notConnected();
    live_.insert_or_assign(id, made);
    return made;
}

void BrokerRegistry::forget(const BrokerID& id) { live_.erase(id); }

}  // namespace tavix
