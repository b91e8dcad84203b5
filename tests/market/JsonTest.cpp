#include "market/Json.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using tavix::Json;
using tavix::JsonError;

namespace {

using namespace std::string_literals;

// The message of the JsonError that parsing `text` throws, or "no error".
std::string parseError(std::string_view text) {
    try {
        Json::parse(text);
    } catch (const JsonError& e) {
        return e.what();
    }
    return "no error";
}

TEST(JsonStrings, EscapesAndUnicodeRoundTrip) {
    // Quote, backslash, solidus, control characters, a Latin letter, an astral emoji, and NUL.
    Json doc = Json::parse(R"(["a\"b\\c\/d\n\t\r\b\f\u0001", "caf\u00e9 \ud83d\ude00", "\u0000x"])");
    const auto& items = doc.items();
    EXPECT_EQ(items[0].stringUtf8(), "a\"b\\c/d\n\t\r\b\f\x01");
    EXPECT_EQ(items[1].toQString(), QStringLiteral(u"café 😀"));
    EXPECT_EQ(items[2].stringUtf8(), "\0x"s);

    const std::string written = doc.serializeStd();
    EXPECT_EQ(Json::parse(written), doc);
    EXPECT_EQ(written.find('\n'), std::string::npos);  // control characters leave escaped
    EXPECT_EQ(written.find('\0'), std::string::npos);

    // Raw UTF-8 (as services send it) reads and writes back unchanged; keys too.
    const std::string utf8 =
        "{\"\xe2\x82\xac\":\"\xe6\x97\xa5\xe6\x9c\xac \xe2\x82\xac"
        "5\"}";
    EXPECT_EQ(Json::parse(utf8).serializeStd(), utf8);
    Json built(QStringLiteral(u"€ \"quoted\""));
    EXPECT_EQ(Json::parse(built.serialize()).toQString(), QStringLiteral(u"€ \"quoted\""));
}

TEST(JsonParse, RefusesMalformedDocuments) {
    const std::vector<std::string> bad = {
        "",        "   ",     "{",          "[1,]",     "{\"a\" 1}", "{\"a\":1,}", "01",
        "1.",      "-",       "+1",         ".5",       "NaN",       "Infinity",   "'a'",
        "tru",     "[1] x",   "{\"a\":1}}", "[1][2]",   "{a:1}",     "\"abc",      "\"\t\"",
        "[1e999]", "// c\n1", "\"\\x41\"",  "\"\xff\"", "\"\xc3\"",  "[1]\0[2]"s,  "\"\\ud800\"",
    };
    for (const auto& text : bad) EXPECT_THROW(Json::parse(text), JsonError) << text;
}

TEST(JsonParse, ErrorsGiveTheByteOffsetAndNeverTheContent) {
    const std::string message = parseError(R"({"password": hunter2})");
    EXPECT_EQ(message, "JSON error at byte 13: Invalid value.");
    EXPECT_EQ(message.find("hunter2"), std::string::npos);

    EXPECT_EQ(parseError("[1,2,}"), "JSON error at byte 5: Invalid value.");
    EXPECT_EQ(parseError("[1]\0secret"s),
              "JSON error at byte 3: The document root must not be followed by other values.");
}

TEST(JsonParse, RefusesNestingTooDeepButTakesReasonableDepth) {
    const std::string deep = std::string(100000, '[') + std::string(100000, ']');
    EXPECT_NE(parseError(deep).find("nested deeper than"), std::string::npos);

    const std::string fine = std::string(200, '[') + std::string(200, ']');
    EXPECT_EQ(Json::parse(fine).serializeStd(), fine);
}

}  // namespace
