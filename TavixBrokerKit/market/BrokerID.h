#pragma once

#include <QHashFunctions>
#include <QString>

#include <functional>

namespace tavix {

// Names a brokerage: "mock" (practice), "alpaca", "schwab".
struct BrokerID {
    QString rawValue;

    static BrokerID mock() { return {QStringLiteral("mock")}; }
    static BrokerID alpaca() { return {QStringLiteral("alpaca")}; }
    static BrokerID schwab() { return {QStringLiteral("schwab")}; }

    friend bool operator==(const BrokerID&, const BrokerID&) = default;
    friend auto operator<=>(const BrokerID& a, const BrokerID& b) { return a.rawValue.compare(b.rawValue) <=> 0; }
};

}  // namespace tavix

template <>
struct std::hash<tavix::BrokerID> {
    std::size_t operator()(const tavix::BrokerID& id) const noexcept { return qHash(id.rawValue); }
};
