#pragma once

#include <QString>

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace tavix {

// Every enumeration below encodes as its case name, and lists its cases in declaration order.
template <class E>
struct EnumNames;

template <class E>
constexpr std::size_t caseCount() {
    return EnumNames<E>::names.size();
}

template <class E>
constexpr std::array<E, EnumNames<E>::names.size()> allCases() {
    std::array<E, EnumNames<E>::names.size()> cases{};
    for (std::size_t i = 0; i < cases.size(); ++i) cases[i] = static_cast<E>(i);
    return cases;
}

template <class E>
constexpr std::string_view enumName(E value) {
    return EnumNames<E>::names[static_cast<std::size_t>(value)];
}

template <class E>
QString enumText(E value) {
    auto name = enumName(value);
    return QString::fromLatin1(name.data(), static_cast<qsizetype>(name.size()));
}

template <class E>
constexpr std::optional<E> enumFromName(std::string_view name) {
    const auto& names = EnumNames<E>::names;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (names[i] == name) return static_cast<E>(i);
    }
    return std::nullopt;
}

#define TAVIX_ENUM_NAMES(Type, ...)                                           \
    template <>                                                               \
    struct EnumNames<Type> {                                                  \
        static constexpr std::array names = {__VA_ARGS__};                    \
    };

enum class AssetType { equity, option, etf, mutualFund, index, future, cash, crypto, other };
TAVIX_ENUM_NAMES(AssetType, std::string_view("equity"), std::string_view("option"), std::string_view("etf"),
                 std::string_view("mutualFund"), std::string_view("index"), std::string_view("future"),
                 std::string_view("cash"), std::string_view("crypto"), std::string_view("other"))

enum class OrderSide { buy, sell, buyToOpen, sellToClose, sellToOpen, buyToClose, sellShort, buyToCover };
TAVIX_ENUM_NAMES(OrderSide, std::string_view("buy"), std::string_view("sell"), std::string_view("buyToOpen"),
                 std::string_view("sellToClose"), std::string_view("sellToOpen"), std::string_view("buyToClose"),
                 std::string_view("sellShort"), std::string_view("buyToCover"))

constexpr bool isBuy(OrderSide side) {
    return side == OrderSide::buy || side == OrderSide::buyToOpen || side == OrderSide::buyToClose ||
           side == OrderSide::buyToCover;
}
// Sides that open or add to a short position.
constexpr bool opensShort(OrderSide side) {
    return side == OrderSide::sellShort || side == OrderSide::sellToOpen;
}

enum class OrderType { market, limit, stop, stopLimit, trailingStop };
TAVIX_ENUM_NAMES(OrderType, std::string_view("market"), std::string_view("limit"), std::string_view("stop"),
                 std::string_view("stopLimit"), std::string_view("trailingStop"))

// atOpen and atClose take part only in the opening or closing auction; Alpaca reports them on
// orders placed elsewhere, and Tavix shows them, though its own tickets do not offer them.
enum class TimeInForce { day, goodTillCancelled, fillOrKill, immediateOrCancel, atOpen, atClose };
TAVIX_ENUM_NAMES(TimeInForce, std::string_view("day"), std::string_view("goodTillCancelled"),
                 std::string_view("fillOrKill"), std::string_view("immediateOrCancel"), std::string_view("atOpen"),
                 std::string_view("atClose"))

enum class OrderSession { regular, extended };
TAVIX_ENUM_NAMES(OrderSession, std::string_view("regular"), std::string_view("extended"))

enum class OrderStatus { pending, working, partiallyFilled, filled, cancelled, rejected, expired, unknown, replaced };
TAVIX_ENUM_NAMES(OrderStatus, std::string_view("pending"), std::string_view("working"),
                 std::string_view("partiallyFilled"), std::string_view("filled"), std::string_view("cancelled"),
                 std::string_view("rejected"), std::string_view("expired"), std::string_view("unknown"),
                 std::string_view("replaced"))

constexpr bool isOpenStatus(OrderStatus status) {
    return status == OrderStatus::pending || status == OrderStatus::working ||
           status == OrderStatus::partiallyFilled;
}

enum class CandleInterval { oneSecond, oneMinute, fiveMinute, fifteenMinute, thirtyMinute, hourly, daily, weekly, monthly };
TAVIX_ENUM_NAMES(CandleInterval, std::string_view("oneSecond"), std::string_view("oneMinute"),
                 std::string_view("fiveMinute"), std::string_view("fifteenMinute"),
                 std::string_view("thirtyMinute"), std::string_view("hourly"), std::string_view("daily"),
                 std::string_view("weekly"), std::string_view("monthly"))

// Length of one candle in seconds; a "month" is a fixed 30 days.
constexpr long long seconds(CandleInterval interval) {
    constexpr std::array<long long, 9> table = {1, 60, 300, 900, 1800, 3600, 86400, 604800, 2592000};
    return table[static_cast<std::size_t>(interval)];
}
// One-second candles are built by the client from trades, not fetched.
constexpr bool isBuiltFromTrades(CandleInterval interval) { return interval == CandleInterval::oneSecond; }

enum class OptionRight { call, put };
TAVIX_ENUM_NAMES(OptionRight, std::string_view("call"), std::string_view("put"))

}  // namespace tavix
