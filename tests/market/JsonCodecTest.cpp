#include "market/JsonCodec.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <string>
#include <vector>

using namespace tavix;

namespace {

Decimal dec(std::string_view text) {
    return Decimal::parse(text).value();
}

std::string decodeError(const Json& json, auto& out) {
    try {
        fromJson(json, out);
    } catch (const JsonError& e) {
        return e.what();
    }
    return "no error";
}

TEST(JsonCodecDecimal, WritesExactNumbersAndReadsNumbersOrStrings) {
    EXPECT_EQ(toJson(dec("123.45")).serializeStd(), "123.45");
    EXPECT_EQ(toJson(dec("-0.00000001")).serializeStd(), "-0.00000001");
    EXPECT_EQ(toJson(dec("12345678901234567890123")).serializeStd(), "12345678901234567890123");

    // A flexible decimal: services send prices both ways.
    EXPECT_EQ(decodeJson<Decimal>(Json::parse("123.45")), dec("123.45"));
    EXPECT_EQ(decodeJson<Decimal>(Json::parse(R"("123.45")")), dec("123.45"));
    EXPECT_EQ(decodeJson<Decimal>(Json::parse(R"("0.000000001")")), Decimal::fromParts(1, -9, false));

    Decimal kept = dec("7");
    EXPECT_EQ(decodeError(Json::parse(R"("12,5")"), kept), "expected a decimal number in the string");
    EXPECT_NE(decodeError(Json::parse(R"("")"), kept), "no error");
    EXPECT_NE(decodeError(Json::parse("true"), kept), "no error");
    EXPECT_NE(decodeError(Json::parse("null"), kept), "no error");
    EXPECT_EQ(kept, dec("7"));
}

TEST(JsonCodecDate, IsoTextBothWays) {
    const Date date = Date::fromSeconds(1772461800.25);  // 2026-03-02T14:30:00.25Z
    const Json json = toJson(date);
    EXPECT_EQ(json.stringUtf8(), "2026-03-02T14:30:00.25Z");
    EXPECT_EQ(decodeJson<Date>(json), date);
    EXPECT_EQ(decodeJson<Date>(Json("2026-03-02T09:30:00-05:00")), Date::fromSeconds(1772461800));

    Date out;
    EXPECT_EQ(decodeError(Json("yesterday"), out), "expected an ISO 8601 date");
    EXPECT_NE(decodeError(Json(1772461800), out), "no error");  // seconds are not a date here
}

TEST(JsonCodecPlain, WholeNumbersBooleansTextAndLists) {
    EXPECT_EQ(decodeJson<int>(Json::parse("-2147483648")), std::numeric_limits<int>::min());
    int small = 0;
    EXPECT_EQ(decodeError(Json::parse("2147483648"), small), "a whole number out of the 32-bit range");
    EXPECT_EQ(decodeJson<std::int64_t>(toJson(std::int64_t{9007199254740993})), 9007199254740993);
    EXPECT_EQ(decodeJson<long long>(toJson(std::numeric_limits<long long>::max())),
              std::numeric_limits<long long>::max());

    EXPECT_EQ(toJson(0.1).serializeStd(), "0.1");
    EXPECT_EQ(decodeJson<double>(toJson(1e-300)), 1e-300);
    EXPECT_THROW(toJson(std::numeric_limits<double>::quiet_NaN()), JsonError);
    EXPECT_THROW(toJson(std::numeric_limits<double>::infinity()), JsonError);

    bool flag = false;
    EXPECT_NE(decodeError(Json("true"), flag), "no error");
    EXPECT_TRUE(decodeJson<bool>(toJson(true)));

    const QStringList list = {QStringLiteral("AAPL"), QStringLiteral(u"BRK.B"), QStringLiteral(u"ü")};
    EXPECT_EQ(decodeJson<QStringList>(Json::parse(toJson(list).serialize())), list);
    QStringList out;
    EXPECT_EQ(decodeError(Json::parse(R"(["a", 1])"), out), "[1] expected a string, found a number");
}

TEST(JsonCodecContainers, EnumsVectorsSetsAndMaps) {
    EXPECT_EQ(toJson(OrderSide::buyToCover).stringUtf8(), "buyToCover");
    EXPECT_EQ(decodeJson<OrderStatus>(Json("partiallyFilled")), OrderStatus::partiallyFilled);
    OrderType type = OrderType::limit;
    EXPECT_EQ(decodeError(Json("LIMIT"), type), "not one of the known cases");
    EXPECT_EQ(type, OrderType::limit);

    const std::vector<Decimal> prices = {dec("1.5"), dec("0.0001")};
    EXPECT_EQ(toJson(prices).serializeStd(), "[1.5,0.0001]");
    EXPECT_EQ(decodeJson<std::vector<Decimal>>(toJson(prices)), prices);
    std::vector<Decimal> kept = prices;
    EXPECT_EQ(decodeError(Json::parse(R"([2, "x", 3])"), kept),
              "[1] expected a decimal number in the string");
    EXPECT_EQ(kept, prices);  // a failed read replaces nothing

    const std::set<QString> names = {QStringLiteral("b"), QStringLiteral("a")};
    EXPECT_EQ(toJson(names).serializeStd(), R"(["a","b"])");
    EXPECT_EQ(decodeJson<std::set<QString>>(toJson(names)), names);

    const std::map<QString, Decimal> marks = {{QStringLiteral("MSFT"), dec("410.2")},
                                              {QStringLiteral("AAPL"), dec("1")}};
    EXPECT_EQ(toJson(marks).serializeStd(), R"({"AAPL":1,"MSFT":410.2})");
    EXPECT_EQ((decodeJson<std::map<QString, Decimal>>(toJson(marks))), marks);
    std::map<QString, Decimal> outMarks;
    EXPECT_EQ(decodeError(Json::parse(R"({"AAPL":1,"MSFT":"x"})"), outMarks),
              R"(["MSFT"] expected a decimal number in the string)");
}

TEST(JsonObjectReader, NamesTheRecordAndFieldInErrors) {
    const Json json = Json::parse(R"({"price":"abc","count":3,"note":null})");
    JsonObjectReader reader(json, "Thing");

    Decimal price;
    try {
        reader.field("price", price);
        FAIL() << "no error";
    } catch (const JsonError& e) {
        EXPECT_STREQ(e.what(), "Thing.price: expected a decimal number in the string");
    }
    QString missing;
    EXPECT_THROW(reader.field("name", missing), JsonError);
    try {
        reader.field("note", missing);  // null counts as missing
        FAIL() << "no error";
    } catch (const JsonError& e) {
        EXPECT_STREQ(e.what(), "Thing.note: missing");
    }

    std::optional<QString> note = QStringLiteral("old");
    reader.field("note", note);
    EXPECT_FALSE(note.has_value());
    int count = 0, absent = 5;
    reader.fieldOr("count", count);
    reader.fieldOr("absent", absent);
    EXPECT_EQ(count, 3);
    EXPECT_EQ(absent, 5);

    EXPECT_THROW(JsonObjectReader(Json::parse("[]"), "Thing"), JsonError);
}

}  // namespace
