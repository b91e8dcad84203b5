#pragma once

#include <QString>

#include <cstdint>

namespace tavix {

// What a brokerage can do, as a set of flags.
class BrokerCapabilities {
public:
    constexpr BrokerCapabilities() = default;
    constexpr explicit BrokerCapabilities(std::int64_t rawValue) : rawValue_(rawValue) {}

    static constexpr BrokerCapabilities readAccounts() { return BrokerCapabilities(1); }
    static constexpr BrokerCapabilities quotes() { return BrokerCapabilities(2); }
    static constexpr BrokerCapabilities priceHistory() { return BrokerCapabilities(4); }
    static constexpr BrokerCapabilities trading() { return BrokerCapabilities(8); }
    static constexpr BrokerCapabilities options() { return BrokerCapabilities(16); }
    static constexpr BrokerCapabilities optionChains() { return BrokerCapabilities(32); }
    static constexpr BrokerCapabilities orderPreview() { return BrokerCapabilities(64); }
    static constexpr BrokerCapabilities extendedHours() { return BrokerCapabilities(128); }
    static constexpr BrokerCapabilities streaming() { return BrokerCapabilities(256); }
    static constexpr BrokerCapabilities transactions() { return BrokerCapabilities(512); }
    static constexpr BrokerCapabilities optionBrackets() { return BrokerCapabilities(1024); }
    static constexpr BrokerCapabilities replaceOrders() { return BrokerCapabilities(2048); }

    constexpr std::int64_t rawValue() const { return rawValue_; }
    constexpr bool contains(BrokerCapabilities other) const { return (rawValue_ & other.rawValue_) == other.rawValue_; }
    constexpr bool isEmpty() const { return rawValue_ == 0; }
    constexpr BrokerCapabilities united(BrokerCapabilities other) const {
        return BrokerCapabilities(rawValue_ | other.rawValue_);
    }
    constexpr BrokerCapabilities intersection(BrokerCapabilities other) const {
        return BrokerCapabilities(rawValue_ & other.rawValue_);
    }
    constexpr BrokerCapabilities subtracting(BrokerCapabilities other) const {
        return BrokerCapabilities(rawValue_ & ~other.rawValue_);
    }
    friend constexpr BrokerCapabilities operator|(BrokerCapabilities a, BrokerCapabilities b) { return a.united(b); }
    friend constexpr bool operator==(BrokerCapabilities, BrokerCapabilities) = default;

    // The flag names it contains, in flag order, joined by ", ": "trading, replaceOrders".
    QString text() const;

private:
    std::int64_t rawValue_ = 0;
};

}  // namespace tavix
