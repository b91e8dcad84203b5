#include "market/Json.h"

#include <rapidjson/error/en.h>
#include <rapidjson/reader.h>
#include <rapidjson/writer.h>

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>
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

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// The code unit of the four hex digits at `at`, or -1.
long hexUnit(const char* at) {
    long unit = 0;
    for (int i = 0; i < 4; ++i) {
        const int digit = hexDigit(at[i]);
        if (digit < 0) return -1;
        unit = unit * 16 + digit;
    }
    return unit;
}

bool isHighSurrogate(long unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool isLowSurrogate(long unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

// A "\uD800" that no low half follows, or a low half on its own, names no character. Both are read
// the same way, as U+FFFD, so that what is read is always text that can be written back as UTF-8.
// The escape is rewritten in place ("\ufffd" has the same length), before the parser sees it.
// Every backslash of a valid document is inside a string and starts an escape, so walking them in
// pairs from the first keeps in step.
void replaceLoneSurrogates(char* text, std::size_t size) {
    const char* end = text + size;
    char* at = static_cast<char*>(std::memchr(text, '\\', size));
    while (at && end - at >= 2) {
        if (at[1] != 'u') {
            at += 2;
        } else if (end - at < 6) {
            return;  // a cut-off escape: the parser reports it
        } else {
            const long unit = hexUnit(at + 2);
            const bool paired = isHighSurrogate(unit) && end - at >= 12 && at[6] == '\\' && at[7] == 'u' &&
                                isLowSurrogate(hexUnit(at + 8));
            if (paired) {
                at += 12;
            } else {
                if (isHighSurrogate(unit) || isLowSurrogate(unit)) std::memcpy(at + 2, "fffd", 4);
                at += 6;
            }
        }
        if (at >= end) return;
        at = static_cast<char*>(std::memchr(at, '\\', static_cast<std::size_t>(end - at)));
    }
}

// RapidJSON refuses numbers past the double range (1e309, a mantissa of hundreds of digits), though
// they are valid JSON and Tavix keeps numbers as their text. When it does, every number of the
// document is swapped for a "0" padded with spaces to the same length, its text kept by its offset,
// and the document parsed again; the builder puts the texts back.
void maskNumbers(char* text, std::size_t size, std::map<std::size_t, std::string>& numbers) {
    std::size_t i = 0;
    while (i < size) {
        const char c = text[i];
        if (c == '"') {
            for (++i; i < size && text[i] != '"'; ++i) {
                if (text[i] == '\\') ++i;
            }
            ++i;
        } else if (c == '-' || (c >= '0' && c <= '9')) {
            std::size_t end = i;
            while (end < size && std::strchr("0123456789+-.eE", text[end]) && text[end] != '\0') ++end;
            const std::string_view token(text + i, end - i);
            if (isJsonNumber(token)) {
                numbers.emplace(i, std::string(token));
                text[i] = '0';
                std::memset(text + i + 1, ' ', end - i - 1);
            }
            i = end;
        } else {
            ++i;
        }
    }
}

// Whether the bytes are UTF-8 that names only characters (no surrogates, nothing overlong).
bool isValidUtf8(std::string_view text) {
    const auto* s = reinterpret_cast<const unsigned char*>(text.data());
    const std::size_t n = text.size();
    std::size_t i = 0;
    while (i < n) {
        const unsigned char c = s[i];
        if (c < 0x80) {
            ++i;
            continue;
        }
        std::size_t length = 0;
        unsigned char low = 0x80, high = 0xBF;
        if (c >= 0xC2 && c <= 0xDF) {
            length = 2;
        } else if (c >= 0xE0 && c <= 0xEF) {
            length = 3;
            if (c == 0xE0) low = 0xA0;
            if (c == 0xED) high = 0x9F;  // no surrogates
        } else if (c >= 0xF0 && c <= 0xF4) {
            length = 4;
            if (c == 0xF0) low = 0x90;
            if (c == 0xF4) high = 0x8F;
        } else {
            return false;
        }
        if (i + length > n || s[i + 1] < low || s[i + 1] > high) return false;
        for (std::size_t k = 2; k < length; ++k) {
            if (s[i + k] < 0x80 || s[i + k] > 0xBF) return false;
        }
        i += length;
    }
    return true;
}

// The bytes with every sequence that is not UTF-8 replaced by U+FFFD, so nothing invalid is ever
// written out.
std::string repairedUtf8(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    std::size_t i = 0;
    while (i < text.size()) {
        std::size_t length = 1;
        const auto c = static_cast<unsigned char>(text[i]);
        if (c >= 0xC2 && c <= 0xDF) length = 2;
        if (c >= 0xE0 && c <= 0xEF) length = 3;
        if (c >= 0xF0 && c <= 0xF4) length = 4;
        if (c < 0x80 || (i + length <= text.size() && isValidUtf8(text.substr(i, length)))) {
            out.append(text.substr(i, c < 0x80 ? 1 : length));
            i += c < 0x80 ? 1 : length;
        } else {
            out.append("\xEF\xBF\xBD");
            ++i;
        }
    }
    return out;
}

// Plain ASCII is the common case and needs no closer look.
bool isAscii(std::string_view text) {
    for (const char c : text) {
        if (static_cast<unsigned char>(c) >= 0x80) return false;
    }
    return true;
}

template <class Writer>
void writeText(Writer& writer, const std::string& text, bool key) {
    if (isAscii(text) || isValidUtf8(text)) {
        key ? writer.Key(text.data(), static_cast<rapidjson::SizeType>(text.size()))
            : writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
        return;
    }
    const std::string repaired = repairedUtf8(text);
    key ? writer.Key(repaired.data(), static_cast<rapidjson::SizeType>(repaired.size()))
        : writer.String(repaired.data(), static_cast<rapidjson::SizeType>(repaired.size()));
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
        case Json::Type::string:
            writeText(writer, value.stringUtf8(), false);
            break;
        case Json::Type::array:
            writer.StartArray();
            for (const auto& item : value.items()) write(writer, item);
            writer.EndArray();
            break;
        case Json::Type::object:
            writer.StartObject();
            for (const auto& [key, member] : value.members()) {
                writeText(writer, key, true);
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
        if (!maskedNumbers_.empty()) {
            // Parsed in place, a number starts where it stood in the text.
            const auto found = maskedNumbers_.find(static_cast<std::size_t>(text - text_.data()));
            if (found != maskedNumbers_.end()) {
                slot().value_.emplace<Json::Number>(Json::Number{std::move(found->second)});
                return true;
            }
        }
        slot().value_.emplace<Json::Number>(Json::Number{std::string(text, length)});
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

    // The text to parse in place, in the builder's own buffer, ending in a zero byte, with lone
    // surrogate escapes read as U+FFFD and, when `maskNumbers`, every number masked.
    char* copy(std::string_view text, bool masked) {
        text_.assign(text);
        maskedNumbers_.clear();
        if (text.find("\\u") != std::string_view::npos) replaceLoneSurrogates(text_.data(), text_.size());
        if (masked) maskNumbers(text_.data(), text_.size(), maskedNumbers_);
        return text_.data();
    }

    // Empties the buffer and drops any half-built tree, keeping the buffer's memory unless one
    // document made it unusually large.
    void clear() {
        text_.clear();
        maskedNumbers_.clear();
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
    std::map<std::size_t, std::string> maskedNumbers_;  // by offset, while masked
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
    rapidjson::InsituStringStream stream(builder.copy(text, false));
    rapidjson::ParseResult result = reader.Parse<flags>(stream, builder);
    if (result.Code() == rapidjson::kParseErrorNumberTooBig) {
        builder.clear();
        stream = rapidjson::InsituStringStream(builder.copy(text, true));
        result = reader.Parse<flags>(stream, builder);
    }
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
