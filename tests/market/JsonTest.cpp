#include "market/Json.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using tavix::Decimal;
using tavix::Json;
using tavix::JsonError;

namespace {

using namespace std::string_literals;

Decimal dec(std::string_view text) {
    return Decimal::parse(text).value();
}

// The message of the JsonError that parsing `text` throws, or "no error".
std::string parseError(std::string_view text) {
    try {
        Json::parse(text);
    } catch (const JsonError& e) {
        return e.what();
    }
    return "no error";
}

TEST(JsonNumbers, KeepTheirExactTextThroughParseAndSerialize) {
    const std::string text =
        R"({"price":123.45,"id":12345678901234567890123,"tiny":1e-7,"scaled":2.50E+3,"neg":-0.0001,"zero":0})";
    Json doc = Json::parse(text);
    EXPECT_EQ(doc.at("id").numberText(), "12345678901234567890123");
    EXPECT_EQ(doc.at("scaled").numberText(), "2.50E+3");
    EXPECT_EQ(doc.serializeStd(), text);
}

TEST(JsonNumbers, ConvertExactlyToDecimal) {
    Json doc = Json::parse(R"([123.45, 12345678901234567890123, 1e-7, 0.1, -2.50E+3])");
    const auto& items = doc.items();
    EXPECT_EQ(items[1].toDecimal().toStdString(), "12345678901234567890123");
    EXPECT_EQ(items[2].toDecimal(), Decimal::fromParts(1, -7, false));
    EXPECT_EQ(items[3].toDecimal() * Decimal(3), dec("0.3"));  // no binary rounding on the way
    EXPECT_EQ(items[4].toDecimal(), Decimal(-2500));

    EXPECT_THROW(Json::parse("1e200").toDecimal(), JsonError);  // past the decimal's exponent range
}

TEST(JsonNumbers, WholeAndFloatingReads) {
    EXPECT_EQ(Json::parse("-9223372036854775808").toInt64(), std::numeric_limits<long long>::min());
    EXPECT_EQ(Json::parse("9223372036854775807").toInt64(), std::numeric_limits<long long>::max());
    EXPECT_EQ(Json::parse("100.00").toInt64(), 100);
    EXPECT_THROW(Json::parse("9223372036854775808").toInt64(), JsonError);
    EXPECT_THROW(Json::parse("1.5").toInt64(), JsonError);

    EXPECT_EQ(Json::parse("0.1").toDouble(), 0.1);
    EXPECT_EQ(Json::parse("-2.5e-3").toDouble(), -0.0025);
}

TEST(JsonNumbers, BuiltNumbersWriteAsNumbers) {
    Json doc = Json::object();
    doc.set("qty", Json(Decimal::fromParts(1, -7, false)))
        .set("big", Json(std::numeric_limits<long long>::min()))
        .set("n", Json(42))
        .set("raw", Json::numberFromText("6.02e23"));
    EXPECT_EQ(doc.serializeStd(), R"({"qty":0.0000001,"big":-9223372036854775808,"n":42,"raw":6.02e23})");

    for (const char* bad : {"", "1.", ".5", "01", "+1", "1e", "NaN", "1 ", "0x10"}) {
        EXPECT_THROW(Json::numberFromText(bad), JsonError) << bad;
    }
}

TEST(JsonTypes, NumbersStringsAndLiteralsStayApart) {
    Json doc = Json::parse(R"([1, "1", true, "true", null, "null", [], {}])");
    const auto& items = doc.items();
    std::vector<Json::Type> types;
    for (const auto& item : items) types.push_back(item.type());
    EXPECT_EQ(types, (std::vector<Json::Type>{Json::Type::number, Json::Type::string, Json::Type::boolean,
                                              Json::Type::string, Json::Type::null, Json::Type::string,
                                              Json::Type::array, Json::Type::object}));

    EXPECT_THROW(items[0].stringUtf8(), JsonError);
    EXPECT_THROW(items[1].toDecimal(), JsonError);
    EXPECT_THROW(items[3].toBool(), JsonError);
    EXPECT_THROW(items[7].items(), JsonError);
    EXPECT_NE(items[0], items[1]);
    EXPECT_EQ(doc.serializeStd(), R"([1,"1",true,"true",null,"null",[],{}])");
}

TEST(JsonObjects, KeepKeyOrderAndLookUpByKey) {
    Json doc = Json::parse(R"({"z":1,"a":{"y":2,"b":3},"m":[]})");
    std::vector<std::string> keys;
    for (const auto& member : doc.members()) keys.push_back(member.first);
    EXPECT_EQ(keys, (std::vector<std::string>{"z", "a", "m"}));
    EXPECT_EQ(doc.serializeStd(), R"({"z":1,"a":{"y":2,"b":3},"m":[]})");

    EXPECT_EQ(doc.at("a").at("b").numberText(), "3");
    EXPECT_EQ(doc.find("missing"), nullptr);
    EXPECT_EQ(Json::parse(R"({"lastPrice":1,"la":2})").find("last"), nullptr);  // whole keys only
    EXPECT_FALSE(doc.contains("y"));                                            // only direct members
    EXPECT_EQ(doc.at("z").find("z"), nullptr);                                  // not an object
    EXPECT_THROW(doc.at("missing"), JsonError);
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

TEST(JsonValues, CopiesAreIndependent) {
    const Json original = Json::parse(R"({"legs":[{"qty":1}],"name":"a"})");
    Json copy = original;
    copy.members()[0].second.items()[0].set("price", Json(dec("9.5")));
    copy.members()[0].second.push(Json("extra"));
    copy.set("more", Json(true));

    EXPECT_EQ(original.serializeStd(), R"({"legs":[{"qty":1}],"name":"a"})");
    EXPECT_EQ(copy.serializeStd(), R"({"legs":[{"qty":1,"price":9.5},"extra"],"name":"a","more":true})");
    EXPECT_NE(copy, original);

    Json assigned;
    assigned = copy;
    copy = Json();
    EXPECT_EQ(assigned.at("legs").size(), 2u);
    EXPECT_TRUE(copy.isNull());
}

TEST(JsonValues, EqualityComparesTypeTextAndOrder) {
    EXPECT_EQ(Json::parse(R"({"a":[1,"x",null]})"), Json::parse(R"( { "a" : [ 1 , "x" , null ] } )"));
    EXPECT_NE(Json::parse(R"({"a":1,"b":2})"), Json::parse(R"({"b":2,"a":1})"));
    EXPECT_NE(Json::parse("1.50"), Json::parse("1.5"));  // the text is what is kept
}

}  // namespace
