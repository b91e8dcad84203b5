#pragma once

// Encoding of values and records to Json and back. Records encode as objects whose keys are their
// field names, absent optionals are left out, enumerations are their case names, decimals exact
// JSON numbers, dates ISO 8601 UTC strings. Decoding throws JsonError naming the field.
//
// Every encodable type T has a pair of overloads:
//     Json toJson(const T& value);
//     void fromJson(const Json& json, T& out);
// and `decodeJson<T>(json)` is the convenient form of the second.

#include "market/Date.h"
#include "market/Decimal.h"
#include "market/Enums.h"
#include "market/Json.h"

#include <QString>
#include <QStringList>

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace tavix {

Json toJson(const Decimal& value);
Json toJson(Date value);
Json toJson(const QString& value);
Json toJson(bool value);
Json toJson(int value);
Json toJson(std::int64_t value);
Json toJson(long long value);  // qint64
Json toJson(double value);
Json toJson(const QStringList& value);

void fromJson(const Json& json, Decimal& out);  // a number, or a string holding one (flexible)
void fromJson(const Json& json, Date& out);
void fromJson(const Json& json, QString& out);
void fromJson(const Json& json, bool& out);
void fromJson(const Json& json, int& out);
void fromJson(const Json& json, std::int64_t& out);
void fromJson(const Json& json, long long& out);
void fromJson(const Json& json, double& out);
void fromJson(const Json& json, QStringList& out);

template <class E>
    requires std::is_enum_v<E>
Json toJson(E value) {
    auto name = enumName(value);
    return Json(std::string(name));
}

template <class E>
    requires std::is_enum_v<E>
void fromJson(const Json& json, E& out) {
    auto found = enumFromName<E>(json.stringUtf8());
    if (!found) throw JsonError("not one of the known cases");
    out = *found;
}

template <class T>
T decodeJson(const Json& json) {
    T value{};
    fromJson(json, value);
    return value;
}

template <class T>
Json toJson(const std::vector<T>& values) {
    Json array = Json::array();
    for (const auto& v : values) array.push(toJson(v));
    return array;
}

namespace detail {
// Rethrow with the failing item's place in front, so a problem in a long list can be found.
[[noreturn]] void failItem(std::size_t index, const JsonError& error);
[[noreturn]] void failMember(const std::string& key, const JsonError& error);
}  // namespace detail

// Containers decode into a fresh container and replace `out` only when every item read.
template <class T>
void fromJson(const Json& json, std::vector<T>& out) {
    const auto& items = json.items();
    std::vector<T> decoded;
    decoded.reserve(items.size());
    for (std::size_t i = 0; i < items.size(); ++i) {
        try {
            decoded.push_back(decodeJson<T>(items[i]));
        } catch (const JsonError& e) {
            detail::failItem(i, e);
        }
    }
    out = std::move(decoded);
}

template <class T>
Json toJson(const std::set<T>& values) {
    Json array = Json::array();
    for (const auto& v : values) array.push(toJson(v));
    return array;
}

template <class T>
void fromJson(const Json& json, std::set<T>& out) {
    const auto& items = json.items();
    std::set<T> decoded;
    for (std::size_t i = 0; i < items.size(); ++i) {
        try {
            decoded.insert(decodeJson<T>(items[i]));
        } catch (const JsonError& e) {
            detail::failItem(i, e);
        }
    }
    out = std::move(decoded);
}

// Maps keyed by text encode as objects.
template <class T>
Json toJson(const std::map<QString, T>& values) {
    Json object = Json::object();
    for (const auto& [key, v] : values) object.set(key.toStdString(), toJson(v));
    return object;
}

template <class T>
void fromJson(const Json& json, std::map<QString, T>& out) {
    const auto& members = json.members();
    std::map<QString, T> decoded;
    for (const auto& [key, v] : members) {
        try {
            decoded.emplace(QString::fromStdString(key), decodeJson<T>(v));
        } catch (const JsonError& e) {
            detail::failMember(key, e);
        }
    }
    out = std::move(decoded);
}

// Builds a record's object field by field.
class JsonObjectWriter {
public:
    template <class T>
    JsonObjectWriter& field(std::string key, const T& value) {
        object_.set(std::move(key), toJson(value));
        return *this;
    }
    template <class T>
    JsonObjectWriter& field(std::string key, const std::optional<T>& value) {
        if (value) object_.set(std::move(key), toJson(*value));
        return *this;
    }
    Json done() { return std::move(object_); }

private:
    Json object_ = Json::object();
};

// Reads a record's fields by key; errors name the record and the field ("Quote.last: …").
class JsonObjectReader {
public:
    JsonObjectReader(const Json& json, std::string_view record);

    template <class T>
    void field(std::string_view key, T& out) const {
        const Json* value = json_.find(key);
        if (!value || value->isNull()) fail(key, "missing");
        guarded(key, [&] { fromJson(*value, out); });
    }
    template <class T>
    void field(std::string_view key, std::optional<T>& out) const {
        const Json* value = json_.find(key);
        if (!value || value->isNull()) {
            out.reset();
            return;
        }
        T decoded{};
        guarded(key, [&] { fromJson(*value, decoded); });
        out = std::move(decoded);
    }
    // A field that may be missing and then keeps `out` as it is.
    template <class T>
    void fieldOr(std::string_view key, T& out) const {
        const Json* value = json_.find(key);
        if (!value || value->isNull()) return;
        guarded(key, [&] { fromJson(*value, out); });
    }

    [[noreturn]] void fail(std::string_view key, std::string_view problem) const;

private:
    template <class F>
    void guarded(std::string_view key, F&& read) const {
        try {
            read();
        } catch (const JsonError& e) {
            fail(key, e.what());
        }
    }

    const Json& json_;
    std::string record_;
};

// Decodes a record into a fresh value and hands it over only when every field read, so a failed
// decode leaves the caller's record as it was. `read(reader, value)` reads the fields.
template <class T, class Read>
void decodeRecord(const Json& json, std::string_view name, T& out, Read&& read) {
    JsonObjectReader reader(json, name);
    T value{};
    read(reader, value);
    out = std::move(value);
}

}  // namespace tavix
