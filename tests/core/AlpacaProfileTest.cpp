#include "core/AlpacaProfile.h"

#include "market/JsonCodec.h"

#include <gtest/gtest.h>

namespace tavix {
namespace {

TEST(AlpacaProfile, NamesAreTidiedToOneShortLine) {
    // 30 characters with a line break: the break becomes a space and 24 characters stay.
    const QString thirty = QStringLiteral("Long-term holds\nfor my kids'");
    ASSERT_EQ(thirty.size(), 28);
    EXPECT_EQ(AlpacaProfile::tidyName(thirty + QStringLiteral("XY")),
              QStringLiteral("Long-term holds for my k"));
    EXPECT_EQ(AlpacaProfile::tidyName(QStringLiteral("  Day\r\ntrades\u2028only \n")),
              QStringLiteral("Day trades only"));
    EXPECT_EQ(AlpacaProfile::tidyName(QStringLiteral(" \n\t\r\n ")), std::nullopt);
    EXPECT_EQ(AlpacaProfile::tidyName(QString()), std::nullopt);
    // White space in front doesn't count against the 24.
    EXPECT_EQ(AlpacaProfile::tidyName(QStringLiteral("      ABCDEFGHIJKLMNOPQRSTUVWXYZ")),
              QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWX"));
    // A character the user sees as one is never cut in half.
    const QString thumb = QStringLiteral("\U0001F44D\U0001F3FD");  // thumbs up, medium skin tone
    const QString name = QString(23, u'a') + thumb + QStringLiteral("bc");
    EXPECT_EQ(AlpacaProfile::tidyName(name), QString(23, u'a') + thumb);
}

TEST(AlpacaProfile, ShownNameIsTheTrimmedNameOrNone) {
    AlpacaProfile profile{.slot = QStringLiteral("alpaca")};
    EXPECT_EQ(profile.shownName(), std::nullopt);
    profile.name = QStringLiteral("   ");
    EXPECT_EQ(profile.shownName(), std::nullopt);
    profile.name = QStringLiteral(" Swing ");
    EXPECT_EQ(profile.shownName(), QStringLiteral("Swing"));
}

TEST(AlpacaProfile, JsonLeavesOutWhatIsAbsentAndNeedsASlot) {
    const AlpacaProfile bare{.slot = QStringLiteral("alpaca-7f3a")};
    EXPECT_EQ(toJson(bare).serialize(), QByteArrayLiteral(R"({"slot":"alpaca-7f3a","live":false})"));
    EXPECT_EQ(decodeJson<AlpacaProfile>(toJson(bare)), bare);

    AlpacaProfile profile;
    EXPECT_THROW(fromJson(Json::parse(R"({"slot":"  ","live":true})"), profile), JsonError);
    EXPECT_THROW(fromJson(Json::parse(R"({"accountID":"x"})"), profile), JsonError);
    EXPECT_EQ(profile, AlpacaProfile()) << "a failed read leaves the profile as it was";
}

}  // namespace
}  // namespace tavix
