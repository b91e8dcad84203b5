#pragma once

#include "market/Decimal.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace tavix {

// Thrown when JSON text does not parse, or a value does not have the shape a reader expects.
// The message names the place ("Quote.last: expected a number") and never contains a value.
class JsonError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A JSON value that keeps what the text said: every number keeps its exact text (so 123.45 never
// becomes 123.4500000000001 and big ids stay exact), strings and numbers stay apart, and object
// keys keep their order.
class Json {
public:
    enum class Type { null, boolean, number, string, array, object };
    using Array = std::vector<Json>;
    using Member = std::pair<std::string, Json>;
    using Object = std::vector<Member>;

    Json() = default;  // null
    Json(std::nullptr_t) {}
    Json(bool value);
    Json(int value);
    Json(long value);
    Json(long long value);
    Json(const Decimal& value);
    Json(const char* utf8);
    Json(std::string utf8);
    Json(const QString& text);
    Json(Array items);
    Json(Object members);

    // A number from its JSON text; the text must already be a valid JSON number.
    static Json numberFromText(std::string text);
    static Json array() { return Json(Array{}); }
    static Json object() { return Json(Object{}); }

    // Parses a whole document. Throws JsonError on malformed text, with the byte offset.
    static Json parse(std::string_view text);
    static Json parse(const char* text) { return parse(std::string_view(text)); }
    static Json parse(const std::string& text) { return parse(std::string_view(text)); }
    static Json parse(const QByteArray& text) {
        return parse(std::string_view(text.constData(), static_cast<std::size_t>(text.size())));
    }
    // Compact JSON text.
    QByteArray serialize() const;
    std::string serializeStd() const;

    Type type() const { return static_cast<Type>(value_.index()); }
    bool isNull() const { return type() == Type::null; }
    bool isBool() const { return type() == Type::boolean; }
    bool isNumber() const { return type() == Type::number; }
    bool isString() const { return type() == Type::string; }
    bool isArray() const { return type() == Type::array; }
    bool isObject() const { return type() == Type::object; }

    // Typed reads; each throws JsonError when the value is of another type.
    bool toBool() const;
    const std::string& numberText() const;  // a number's exact text
    Decimal toDecimal() const;              // a number (exactly); JsonError if out of range
    long long toInt64() const;              // a whole number that fits in 64 bits
    double toDouble() const;
    const std::string& stringUtf8() const;
    QString toQString() const;
    const Array& items() const;
    Array& items();
    const Object& members() const;
    Object& members();

    // Object access. `find` gives nothing for a missing key (or a non-object); `at` throws.
    const Json* find(std::string_view key) const;
    const Json& at(std::string_view key) const;
    bool contains(std::string_view key) const { return find(key) != nullptr; }
    // Appends a member to an object (keeps order; does not look for duplicates).
    Json& set(std::string key, Json value);
    // Appends an item to an array.
    Json& push(Json value);

    std::size_t size() const;  // items of an array, members of an object, 0 otherwise

    friend bool operator==(const Json& a, const Json& b);

private:
    friend class JsonBuilder;

    // A number's exact text, kept apart from a string's bytes so the two never mix.
    struct Number {
        std::string text;
        friend bool operator==(const Number&, const Number&) = default;
    };
    // Alternatives in the order of Type, so the index is the type.
    using Value = std::variant<std::monostate, bool, Number, std::string, Array, Object>;

    explicit Json(Number number) : value_(std::move(number)) {}
    [[noreturn]] void wrongType(const char* expected) const;

    Value value_;
};

}  // namespace tavix
