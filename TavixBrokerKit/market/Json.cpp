#include "market/Json.h"

#include <rapidjson/error/en.h>
#include <rapidjson/reader.h>
#include <rapidjson/writer.h>

#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

namespace tavix {
namespace {

std::string integerText(long long value) {
    char buffer[24];
    auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

// The JSON number grammar: -? (0 | [1-9][0-9]*) (. [0-9]+)? ([eE] [+-]? [0-9]+)?
bool isJsonNumber(std::string_view text) {
    std::size_t i = 0;
    const std::size_t n = text.size();
    auto digits = [&] {
        const std::size_t start = i;
        while (i < n && text[i] >= '0' && text[i] <= '9') ++i;
        return i > start;
    };
    if (i < n && text[i] == '-') ++i;
    if (i < n && text[i] == '0') {
        ++i;
    } else if (!(i < n && text[i] >= '1' && text[i] <= '9') || !digits()) {
        return false;
    }
    if (i < n && text[i] == '.') {
        ++i;
        if (!digits()) return false;
    }
    if (i < n && (text[i] == 'e' || text[i] == 'E')) {
        ++i;
        if (i < n && (text[i] == '+' || text[i] == '-')) ++i;
        if (!digits()) return false;
    }
    return i == n;
}

const char* typeWord(Json::Type type) {
    switch (type) {
        case Json::Type::null:
            return "null";
        case Json::Type::boolean:
            return "a boolean";
        case Json::Type::number:
            return "a number";
        case Json::Type::string:
            return "a string";
        case Json::Type::array:
            return "an array";
        case Json::Type::object:
            return "an object";
    }
    return "a value";
}

// Where RapidJSON's Writer puts its text: straight into the caller's buffer, without a copy.
template <class Buffer>
struct AppendStream {
    using Ch = char;
    Buffer& out;
    void Put(char c) { out.push_back(c); }
    void Flush() {}
};

template <class Writer>
void write(Writer& writer, const Json& value) {
    switch (value.type()) {
        case Json::Type::null:
            writer.Null();
            break;
        case Json::Type::boolean:
            writer.Bool(value.toBool());
            break;
        case Json::Type::number: {
            const std::string& text = value.numberText();
            // RawValue rather than RawNumber: RapidJSON 1.1 writes a RawNumber as a quoted string.
            writer.RawValue(text.data(), text.size(), rapidjson::kNumberType);
            break;
        }
        case Json::Type::string: {
            const std::string& text = value.stringUtf8();
            writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
            break;
        }
        case Json::Type::array:
            writer.StartArray();
            for (const auto& item : value.items()) write(writer, item);
            writer.EndArray();
            break;
        case Json::Type::object:
            writer.StartObject();
            for (const auto& [key, member] : value.members()) {
                writer.Key(key.data(), static_cast<rapidjson::SizeType>(key.size()));
                write(writer, member);
            }
            writer.EndObject();
            break;
    }
}

template <class Buffer>
void serializeInto(const Json& value, Buffer& out) {
    AppendStream<Buffer> stream{out};
    rapidjson::Writer<AppendStream<Buffer>> writer(stream);
    write(writer, value);
}

// Deeper documents are refused: nothing we read nests more than a few levels, and the limit keeps
// a hostile document from exhausting the stack here or in the recursive destructor.
constexpr std::size_t maxDepth = 512;

}  // namespace

// Builds a Json tree from RapidJSON's SAX events, writing each value straight into its place in
// the tree, so nothing is moved after it is made. Containers open along the current path are
// held by pointer: each is the last element of its parent, and a parent gains no new element
// while a child is open, so the pointers stay valid. One builder per thread is reused, so its
// buffer does not grow anew for every document.
class JsonBuilder {
public:
    using Ch = char;

    bool Null() {
        slot();
        return true;
    }
    bool Bool(bool value) {
        slot().value_.emplace<bool>(value);
        return true;
    }
    // Numbers arrive as text (kParseNumbersAsStringsFlag); these are never called then.
    bool Int(int) { return false; }
    bool Uint(unsigned) { return false; }
    bool Int64(std::int64_t) { return false; }
    bool Uint64(std::uint64_t) { return false; }
    bool Double(double) { return false; }
    bool RawNumber(const char* text, rapidjson::SizeType length, bool) {
        slot().value_.emplace<Json::Number>(std::string(text, length));
        return true;
    }
    bool String(const char* text, rapidjson::SizeType length, bool) {
        slot().value_.emplace<std::string>(text, length);
        return true;
    }
    bool Key(const char* text, rapidjson::SizeType length, bool) {
        auto& members = std::get<Json::Object>(open_.back()->value_);
        if (members.empty()) members.reserve(firstCapacity);
        members.emplace_back(std::piecewise_construct, std::forward_as_tuple(text, length), std::tuple<>());
        return true;
    }
    bool StartObject() {
        Json& object = slot();
        object.value_.emplace<Json::Object>();
        open_.push_back(&object);
        return open_.size() <= maxDepth;
    }
    bool StartArray() {
        Json& array = slot();
        array.value_.emplace<Json::Array>();
        open_.push_back(&array);
        return open_.size() <= maxDepth;
    }
    bool EndObject(rapidjson::SizeType) {
        open_.pop_back();
        return true;
    }
    bool EndArray(rapidjson::SizeType) {
        open_.pop_back();
        return true;
    }

    bool tooDeep() const { return open_.size() > maxDepth; }

    Json take() {
        Json root = std::move(root_);
        clear();
        return root;
    }

    // The text to parse in place, in the builder's own buffer, ending in a zero byte.
    char* copy(std::string_view text) {
        text_.assign(text);
        return text_.data();
    }

    // Empties the buffer and drops any half-built tree, keeping the buffer's memory unless one
    // document made it unusually large.
    void clear() {
        text_.clear();
        root_ = Json();
        open_.clear();
        constexpr std::size_t keepBytes = 1 << 20;
        if (text_.capacity() > keepBytes) text_.shrink_to_fit();
    }

private:
    // Most objects and arrays hold a handful of values: room for these from the first one saves
    // the 1, 2, 4, 8 growth steps.
    static constexpr std::size_t firstCapacity = 8;

    // Where the next value goes: the root, a new item of the open array, or the member of the open
    // object whose key came last.
    Json& slot() {
        if (open_.empty()) return root_;
        Json& container = *open_.back();
        if (auto* items = std::get_if<Json::Array>(&container.value_)) {
            if (items->empty()) items->reserve(firstCapacity);
            return items->emplace_back();
        }
        return std::get<Json::Object>(container.value_).back().second;
    }

    std::string text_;
    Json root_;
    std::vector<Json*> open_;
};

Json::Json(bool value) : value_(value) {}
Json::Json(int value) : Json(static_cast<long long>(value)) {}
Json::Json(long value) : Json(static_cast<long long>(value)) {}
Json::Json(long long value) : value_(Number{integerText(value)}) {}
Json::Json(const Decimal& value) : value_(Number{value.toStdString()}) {}
Json::Json(const char* utf8) {
    if (utf8) value_.emplace<std::string>(utf8);  // a null pointer stays JSON null
}
Json::Json(std::string utf8) : value_(std::move(utf8)) {}
Json::Json(const QString& text) : value_(text.toStdString()) {}
Json::Json(Array items) : value_(std::move(items)) {}
Json::Json(Object members) : value_(std::move(members)) {}

Json Json::numberFromText(std::string text) {
    if (!isJsonNumber(text)) throw JsonError("not a JSON number");
    return Json(Number{std::move(text)});
}

Json Json::parse(std::string_view text) {
    // Numbers as text keep them exact; encoding validation refuses bytes that are not UTF-8.
    // Parsing in place, in a private copy of the text, spares RapidJSON a second copy of every
    // string and number: its part runs about twice as fast, the copy included, as from the
    // caller's bytes.
    constexpr unsigned flags = rapidjson::kParseInsituFlag | rapidjson::kParseNumbersAsStringsFlag |
                               rapidjson::kParseValidateEncodingFlag;
    thread_local JsonBuilder builder;
    thread_local rapidjson::Reader reader;
    builder.clear();
    rapidjson::InsituStringStream stream(builder.copy(text));
    rapidjson::ParseResult result = reader.Parse<flags>(stream, builder);
    auto fail = [&](std::size_t offset, std::string_view problem) {
        builder.clear();
        throw JsonError("JSON error at byte " + std::to_string(offset) + ": " + std::string(problem));
    };
    if (result.IsError()) {
        if (result.Code() == rapidjson::kParseErrorTermination && builder.tooDeep()) {
            fail(result.Offset(), "nested deeper than " + std::to_string(maxDepth) + " levels.");
        }
        fail(result.Offset(), rapidjson::GetParseError_En(result.Code()));
    }
    // The stream reads a zero byte as the end of the text; anything after one is not JSON.
    if (stream.Tell() != text.size()) {
        fail(stream.Tell(), rapidjson::GetParseError_En(rapidjson::kParseErrorDocumentRootNotSingular));
    }
    return builder.take();
}

QByteArray Json::serialize() const {
    QByteArray out;
    serializeInto(*this, out);
    return out;
}

std::string Json::serializeStd() const {
    std::string out;
    serializeInto(*this, out);
    return out;
}

void Json::wrongType(const char* expected) const {
    throw JsonError(std::string("expected ") + expected + ", found " + typeWord(type()));
}

bool Json::toBool() const {
    if (const bool* value = std::get_if<bool>(&value_)) return *value;
    wrongType("a boolean");
}

const std::string& Json::numberText() const {
    if (const Number* number = std::get_if<Number>(&value_)) return number->text;
    wrongType("a number");
}

Decimal Json::toDecimal() const {
    if (auto value = Decimal::parse(numberText())) return *value;
    throw JsonError("a number out of the decimal range");
}

long long Json::toInt64() const {
    const std::string& text = numberText();
    long long value = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc() && end == text.data() + text.size()) return value;
    // Whole numbers may still be written with a fraction or an exponent: 100.0, 1e3.
    if (error != std::errc::result_out_of_range) {
        if (auto exact = Decimal::parse(text)) {
            if (!exact->isWhole()) throw JsonError("expected a whole number");
            if (auto whole = exact->toInt64()) return *whole;
        }
    }
    throw JsonError("a whole number out of the 64-bit range");
}

double Json::toDouble() const {
    const std::string& text = numberText();
    double value = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) {
        throw JsonError("a number out of the double range");
    }
    return value;
}

const std::string& Json::stringUtf8() const {
    if (const std::string* text = std::get_if<std::string>(&value_)) return *text;
    wrongType("a string");
}

QString Json::toQString() const {
    const std::string& text = stringUtf8();
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

const Json::Array& Json::items() const {
    if (const Array* items = std::get_if<Array>(&value_)) return *items;
    wrongType("an array");
}

Json::Array& Json::items() {
    if (Array* items = std::get_if<Array>(&value_)) return *items;
    wrongType("an array");
}

const Json::Object& Json::members() const {
    if (const Object* members = std::get_if<Object>(&value_)) return *members;
    wrongType("an object");
}

Json::Object& Json::members() {
    if (Object* members = std::get_if<Object>(&value_)) return *members;
    wrongType("an object");
}

const Json* Json::find(std::string_view key) const {
    const Object* members = std::get_if<Object>(&value_);
    if (!members) return nullptr;
    for (const auto& [name, value] : *members) {
        if (name == key) return &value;
    }
    return nullptr;
}

const Json& Json::at(std::string_view key) const {
    if (const Json* value = find(key)) return *value;
    if (!isObject()) wrongType("an object");
    throw JsonError("no member \"" + std::string(key) + "\"");
}

Json& Json::set(std::string key, Json value) {
    members().emplace_back(std::move(key), std::move(value));
    return *this;
}

Json& Json::push(Json value) {
    items().push_back(std::move(value));
    return *this;
}

std::size_t Json::size() const {
    if (const Array* items = std::get_if<Array>(&value_)) return items->size();
    if (const Object* members = std::get_if<Object>(&value_)) return members->size();
    return 0;
}

bool operator==(const Json& a, const Json& b) {
    return a.value_ == b.value_;
}

}  // namespace tavix
