#include "market/JsonCodec.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace tavix {

Json toJson(const Decimal& value) {
    return Json(value);
}
Json toJson(Date value) {
    return Json(value.toIso());
}
Json toJson(const QString& value) {
    return Json(value);
}
Json toJson(bool value) {
    return Json(value);
}
Json toJson(int value) {
    return Json(value);
}
Json toJson(std::int64_t value) {
    return Json(value);
}
Json toJson(long long value) {
    return Json(value);
}

Json toJson(double value) {
    // JSON has no infinities or NaN; writing null would lose the value without a word.
    if (!std::isfinite(value)) throw JsonError("a number that is not finite has no JSON form");
    char buffer[32];
    auto result = std::to_chars(buffer, buffer + sizeof buffer, value);  // shortest round-trip text
    return Json::numberFromText(std::string(buffer, result.ptr));
}

Json toJson(const QStringList& value) {
    Json::Array items;
    items.reserve(static_cast<std::size_t>(value.size()));
    for (const auto& text : value) items.emplace_back(text);
    return Json(std::move(items));
}

void fromJson(const Json& json, Decimal& out) {
    // Some services send prices as strings ("123.45"); either form is read exactly.
    if (json.isString()) {
        auto value = Decimal::parse(std::string_view(json.stringUtf8()));
        if (!value) throw JsonError("expected a decimal number in the string");
        out = *value;
        return;
    }
    out = json.toDecimal();
}

void fromJson(const Json& json, Date& out) {
    auto value = Date::parseIso(json.toQString());
    if (!value) throw JsonError("expected an ISO 8601 date");
    out = *value;
}

void fromJson(const Json& json, QString& out) {
    out = json.toQString();
}
void fromJson(const Json& json, bool& out) {
    out = json.toBool();
}

void fromJson(const Json& json, int& out) {
    const long long value = json.toInt64();
    if (value < std::numeric_limits<int>::min() || value > std::numeric_limits<int>::max()) {
        throw JsonError("a whole number out of the 32-bit range");
    }
    out = static_cast<int>(value);
}

void fromJson(const Json& json, std::int64_t& out) {
    out = json.toInt64();
}
void fromJson(const Json& json, long long& out) {
    out = json.toInt64();
}
void fromJson(const Json& json, double& out) {
    out = json.toDouble();
}

void fromJson(const Json& json, QStringList& out) {
    const auto& items = json.items();
    QStringList list;
    list.reserve(static_cast<qsizetype>(items.size()));
    for (std::size_t i = 0; i < items.size(); ++i) {
        try {
            list.append(items[i].toQString());
        } catch (const JsonError& e) {
            detail::failItem(i, e);
        }
    }
    out = std::move(list);
}

void detail::failItem(std::size_t index, const JsonError& error) {
    throw JsonError("[" + std::to_string(index) + "] " + error.what());
}

void detail::failMember(const std::string& key, const JsonError& error) {
    throw JsonError("[\"" + key + "\"] " + error.what());
}

JsonObjectReader::JsonObjectReader(const Json& json, std::string_view record) : json_(json), record_(record) {
    if (!json.isObject()) throw JsonError(record_ + ": expected an object");
}

void JsonObjectReader::fail(std::string_view key, std::string_view problem) const {
    std::string message;
    message.reserve(record_.size() + key.size() + problem.size() + 3);
    message.append(record_).append(".").append(key).append(": ").append(problem);
    throw JsonError(message);
}

}  // namespace tavix
