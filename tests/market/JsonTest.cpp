#include "market/Json.h"

#include <gtest/gtest.h>

#include <QString>

#include <functional>
#include <random>
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
        "[1e]",    "// c\n1", "\"\\x41\"",  "\"\xff\"", "\"\xc3\"",  "[1]\0[2]"s,  "\"\\ud8\"",
        "[1e999x]", "[--1e999]", "\"\xed\xa0\x80\"",
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

// Whether every byte sequence is UTF-8 naming a character.
bool validUtf8(const std::string& text) {
    return QString::fromUtf8(text).toUtf8() == QByteArray::fromStdString(text);
}

TEST(JsonNumbers, AnyValidNumberIsKeptAsWritten) {
    const std::string mantissa(300, '7');
    const std::vector<std::string> numbers = {
        "1e309", "-1E+400", "1e-400", "0e99999", "-0", "1" + mantissa, "0." + mantissa, "-" + mantissa + "e-5",
        "123456789012345678901234567890", "1.7976931348623157e308", "4.9e-324",
    };
    for (const auto& number : numbers) {
        // Alone, among others that do fit, as a member, and after a string that looks like one.
        for (const std::string& text : {"[" + number + "]", "[1.5," + number + ",\"2e999\",-2]",
                                        "{\"a\":\"1e9\\\"\",\"n\":" + number + "}"}) {
            SCOPED_TRACE(text);
            const Json doc = Json::parse(text);
            EXPECT_EQ(doc.serializeStd(), text);
            EXPECT_EQ(Json::parse(doc.serializeStd()), doc);
        }
    }
    EXPECT_EQ(Json::parse("[1e309]").items()[0].numberText(), "1e309");
    EXPECT_THROW(Json::parse("[1e309]").items()[0].toDouble(), JsonError);  // kept, but not a double
}

TEST(JsonStrings, LoneSurrogatesReadAsReplacementAndWriteValidUtf8) {
    const std::string replacement = "\xEF\xBF\xBD";
    const std::vector<std::pair<std::string, std::string>> cases = {
        {R"("\ud800")", replacement},
        {R"("\udc00")", replacement},
        {R"("\uDBFFx")", replacement + "x"},
        {R"("\ud800\u0041")", replacement + "A"},
        {R"("\udc00\ud800")", replacement + replacement},
        {R"("\ud800\ud800\udc00")", replacement + "\xF0\x90\x80\x80"},
        {R"("\ud83d\ude00")", "\xF0\x9F\x98\x80"},
        {R"("\\ud800")", "\\ud800"},  // an escaped backslash, then plain letters
        {R"("\\\ud800")", "\\" + replacement},
    };
    for (const auto& [text, read] : cases) {
        SCOPED_TRACE(text);
        const Json doc = Json::parse(text);
        EXPECT_EQ(doc.stringUtf8(), read);
        const std::string written = doc.serializeStd();
        EXPECT_TRUE(validUtf8(written));
        EXPECT_EQ(Json::parse(written), doc);
    }
    // A key too.
    EXPECT_EQ(Json::parse(R"({"\udc01":1})").members()[0].first, replacement);

    // Bytes put in a tree by hand that are not UTF-8 never leave as such.
    Json built = Json::object();
    built.set("k\xff", Json(std::string("a\xed\xa0\x80" "b\xc3")));
    const std::string written = built.serializeStd();
    EXPECT_TRUE(validUtf8(written));
    EXPECT_EQ(Json::parse(written).members()[0].second.stringUtf8(),
              "a" + replacement + replacement + replacement + "b" + replacement);
}

// Random trees of awkward strings and numbers: what is written is valid UTF-8 and JSON, and reads
// back to the same tree.
TEST(JsonRoundTrip, RandomTreesComeBackUnchanged) {
    std::mt19937 random(20261124);
    const auto pick = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    const std::vector<std::string> pieces = {"a", "\\\"", "\\\\", "\\n", "\\u0000", "\\ud800", "\\udfff",
                                             "\\ud83d\\ude00", "\xE2\x82\xAC", "\\/", "\\u00e9", " "};
    const auto text = [&] {
        std::string s = "\"";
        for (int i = pick(6); i > 0; --i) s += pieces[static_cast<std::size_t>(pick(static_cast<int>(pieces.size())))];
        return s + "\"";
    };
    const auto number = [&] {
        std::string s = pick(2) ? "-" : "";
        s += std::to_string(pick(10));
        if (s.back() != '0') {
            for (int i = pick(3) ? pick(4) : 320; i > 0; --i) s += std::to_string(pick(10));
        }
        if (pick(2)) s += "." + std::to_string(pick(1000));
        if (pick(2)) s += (pick(2) ? "e" : "E") + std::string(pick(2) ? "-" : "+") + std::to_string(pick(2000));
        return s;
    };
    std::function<std::string(int)> value = [&](int depth) -> std::string {
        switch (depth > 3 ? pick(2) : pick(4)) {
            case 0:
                return text();
            case 1:
                return number();
            case 2: {
                std::string s = "[";
                for (int i = pick(4); i > 0; --i) s += value(depth + 1) + (i > 1 ? "," : "");
                return s + "]";
            }
            default: {
                std::string s = "{";
                for (int i = pick(4); i > 0; --i) s += text() + ":" + value(depth + 1) + (i > 1 ? "," : "");
                return s + "}";
            }
        }
    };
    for (int round = 0; round < 2000; ++round) {
        const std::string source = value(0);
        SCOPED_TRACE(source);
        const Json doc = Json::parse(source);
        const std::string written = doc.serializeStd();
        ASSERT_TRUE(validUtf8(written));
        ASSERT_EQ(Json::parse(written), doc);
        ASSERT_EQ(Json::parse(written).serializeStd(), written);
    }
}

TEST(JsonParse, RefusesNestingTooDeepButTakesReasonableDepth) {
    const std::string deep = std::string(100000, '[') + std::string(100000, ']');
    EXPECT_NE(parseError(deep).find("nested deeper than"), std::string::npos);

    const std::string fine = std::string(200, '[') + std::string(200, ']');
    EXPECT_EQ(Json::parse(fine).serializeStd(), fine);
}

}  // namespace
