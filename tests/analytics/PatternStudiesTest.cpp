#include "RandomBars.h"

#include "analytics/StudyCatalog.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

using namespace tavix;
using tavix::test::candle;

namespace {

using Bars = std::vector<Candle>;
// The bars a pattern was found on, with its lean there.
using Marks = std::vector<std::pair<std::size_t, std::string>>;

void add(Bars& bars, double open, double high, double low, double close) {
    bars.push_back(
        candle(1'700'000'000.0 + 60.0 * static_cast<double>(bars.size()), open, high, low, close, 1000));
}

// `count` black bars a dollar lower each, every one opening where the last closed: a plain decline
// into whatever comes next. Bodies of 1, shadows of 0.2.
void fall(Bars& bars, int count, double from) {
    for (int k = 0; k < count; ++k) {
        const double mid = from - k;
        add(bars, mid + 0.5, mid + 0.7, mid - 0.7, mid - 0.5);
    }
}

// The mirror: white bars a dollar higher each.
void rise(Bars& bars, int count, double from) {
    for (int k = 0; k < count; ++k) {
        const double mid = from + k;
        add(bars, mid - 0.5, mid + 0.7, mid - 0.7, mid + 0.5);
    }
}

Bars falling(int count) {
    Bars bars;
    fall(bars, count, 20);
    return bars;
}

Bars rising(int count) {
    Bars bars;
    rise(bars, count, 8);
    return bars;
}

Bars with(Bars bars, double open, double high, double low, double close) {
    add(bars, open, high, low, close);
    return bars;
}

Marks marks(const Bars& bars, const char* word,
            const std::map<QString, std::variant<double, QString>>& inputs = {}) {
    const StudyRun run = test::runStudy(bars, QString::fromLatin1(word), inputs);
    EXPECT_EQ(run.outputs.size(), 2u);
    const StudySeries& found = run.outputs.at(0);
    const StudySeries& bias = run.outputs.at(1);
    EXPECT_EQ(found.name, QStringLiteral("found"));
    EXPECT_EQ(bias.name, QStringLiteral("bias"));
    EXPECT_EQ(found.flags.size(), bars.size());
    EXPECT_EQ(bias.biases.size(), bars.size());
    Marks result;
    for (std::size_t i = 0; i < found.flags.size(); ++i) {
        if (found.flags[i] != 0) {
            result.emplace_back(i, std::string(enumName(bias.biases[i])));
        } else if (bias.biases[i] != PatternBias::neutral) {
            ADD_FAILURE() << word << " leans " << enumName(bias.biases[i]) << " on bar " << i
                          << " with no pattern";
        }
    }
    return result;
}

const Marks none;

Marks at(std::size_t bar, const char* bias) {
    return Marks{{bar, std::string(bias)}};
}

}  // namespace

TEST(PatternStudies, ListTheirWordsWithFoundAndBias) {
    const QStringList words = QStringLiteral(
                                  "doji hammer hangingMan invertedHammer shootingStar bullishEngulfing "
                                  "bearishEngulfing bullishHarami bearishHarami piercingLine darkCloudCover "
                                  "morningStar eveningStar threeWhiteSoldiers threeBlackCrows marubozu")
                                  .split(QLatin1Char(' '));
    QStringList listed;
    for (const StudyKind& kind : patternStudies()) {
        listed << kind.word;
        EXPECT_EQ(kind.group, StudyGroup::patterns) << kind.word.toStdString();
        EXPECT_EQ(kind.values, (QStringList{QStringLiteral("found"), QStringLiteral("bias")}));
        if (const StudySetting* trend = kind.setting(u"trendLength")) {
            EXPECT_EQ(trend->type, StudySetting::Type::whole);
            EXPECT_EQ(trend->defaultValue, 5);
            EXPECT_EQ(trend->min, 1);
            EXPECT_EQ(trend->max, 50);
        }
    }
    EXPECT_EQ(listed, words);
    // Trend context only where the shape means nothing without it.
    for (const char* plain : {"doji", "marubozu", "threeWhiteSoldiers", "threeBlackCrows"}) {
        EXPECT_EQ(StudyCatalog::find(QString::fromLatin1(plain))->setting(u"trendLength"), nullptr) << plain;
    }
}

TEST(PatternStudies, RefuseSettingsOutsideTheirRanges) {
    using test::refusal;
    EXPECT_TRUE(refusal(QStringLiteral("hammer"), {{QStringLiteral("trendLength"), 50.0}}).isEmpty());
    EXPECT_FALSE(refusal(QStringLiteral("hammer"), {{QStringLiteral("trendLength"), 51.0}}).isEmpty());
    EXPECT_FALSE(refusal(QStringLiteral("hammer"), {{QStringLiteral("trendLength"), 0.0}}).isEmpty());
    EXPECT_FALSE(refusal(QStringLiteral("hammer"), {{QStringLiteral("trendLength"), 2.5}}).isEmpty());
    EXPECT_FALSE(refusal(QStringLiteral("doji"), {{QStringLiteral("bodyPercent"), 60.0}}).isEmpty());
    EXPECT_FALSE(refusal(QStringLiteral("doji"), {{QStringLiteral("length"), 5.0}}).isEmpty());
    EXPECT_FALSE(
        refusal(QStringLiteral("piercingLine"), {{QStringLiteral("penetrationPercent"), 100.0}}).isEmpty());
}

TEST(PatternStudies, DojiIsABodyWithinItsShareOfTheRange) {
    Bars bars;
    add(bars, 100, 107, 100, 100.7);    // exactly a tenth in the candles' decimals
    add(bars, 100, 101, 99, 100.21);    // 10.5 %
    add(bars, 100, 100, 100, 100);      // four-price doji: no range at all
    add(bars, 100, 101, 99, 100);       // open = close
    add(bars, 100, 100.05, 99.5, 100);  // dragonfly: a doji whatever its shadows
    EXPECT_EQ(marks(bars, "doji"), (Marks{{0, "neutral"}, {2, "neutral"}, {3, "neutral"}, {4, "neutral"}}));
    EXPECT_EQ(marks(bars, "doji", {{QStringLiteral("bodyPercent"), 5.0}}),
              (Marks{{2, "neutral"}, {3, "neutral"}, {4, "neutral"}}));
    EXPECT_EQ(marks(bars, "doji", {{QStringLiteral("bodyPercent"), 11.0}}).size(), 5u);
}

TEST(PatternStudies, HammerAndHangingManAreOneShapeReadByTheTrendBefore) {
    // Body 1, lower shadow exactly twice it, upper shadow 0.3 of a 3.3 range (9 %).
    const Bars hammer = with(falling(6), 13, 14.3, 11, 14);
    EXPECT_EQ(marks(hammer, "hammer"), at(6, "bullish"));
    EXPECT_EQ(marks(hammer, "hangingMan"), none);
    EXPECT_EQ(marks(with(falling(6), 14, 14.3, 11, 13), "hammer"), at(6, "bullish"));  // either colour

    const Bars hangingMan = with(rising(6), 13, 14.3, 11, 14);
    EXPECT_EQ(marks(hangingMan, "hangingMan"), at(6, "bearish"));
    EXPECT_EQ(marks(hangingMan, "hammer"), none);

    const Bars shortShadow = with(falling(6), 13, 14.3, 11.1, 14);  // lower shadow 1.9 times the body
    EXPECT_EQ(marks(shortShadow, "hammer"), none);
    EXPECT_EQ(marks(shortShadow, "hammer", {{QStringLiteral("shadowRatio"), 1.5}}), at(6, "bullish"));

    const Bars tallTop = with(falling(6), 13, 14.4, 11, 14);  // upper shadow 12 % of the range
    EXPECT_EQ(marks(tallTop, "hammer"), none);
    EXPECT_EQ(marks(tallTop, "hammer", {{QStringLiteral("shadowPercent"), 12.0}}), at(6, "bullish"));

    // No body at all is a dragonfly doji, not a hammer.
    EXPECT_EQ(marks(with(falling(6), 14, 14, 11, 14), "hammer"), none);
}

TEST(PatternStudies, OneBarReversalsWaitForTheirTrendBars) {
    // Five bars before the hammer: the decline is measured from the close five bars before the one
    // just ahead of it, which is not there yet.
    const Bars early = with(falling(5), 13, 14.3, 11, 14);
    EXPECT_EQ(marks(early, "hammer"), none);
    EXPECT_EQ(marks(early, "hammer", {{QStringLiteral("trendLength"), 4.0}}), at(5, "bullish"));
    // A long trend setting on a short series finds nothing rather than reading before the first bar.
    EXPECT_EQ(marks(early, "hammer", {{QStringLiteral("trendLength"), 50.0}}), none);
}

TEST(PatternStudies, InvertedHammerAndShootingStarHaveTheLongShadowOnTop) {
    // Body 1, upper shadow 2.3, lower shadow 0.2 of a 3.5 range (5.7 %).
    EXPECT_EQ(marks(with(falling(6), 11, 14.3, 10.8, 12), "invertedHammer"), at(6, "bullish"));
    EXPECT_EQ(marks(with(falling(6), 11, 14.3, 10.8, 12), "shootingStar"), none);
    EXPECT_EQ(marks(with(rising(6), 11, 14.3, 10.8, 12), "shootingStar"), at(6, "bearish"));
    EXPECT_EQ(marks(with(rising(6), 11, 14.3, 10.8, 12), "invertedHammer"), none);

    EXPECT_EQ(
        marks(with(rising(6), 11, 14.3, 10.8, 12), "shootingStar", {{QStringLiteral("shadowPercent"), 5.0}}),
        none);
    EXPECT_EQ(marks(with(rising(6), 11, 13.9, 10.8, 12), "shootingStar"), none);  // upper shadow 1.9 bodies
    EXPECT_EQ(marks(with(rising(6), 12, 14.3, 10.8, 11), "shootingStar"), at(6, "bearish"));  // either colour
}

TEST(PatternStudies, EngulfingWrapsTheWholeBodyBefore) {
    // The last falling bar is black from 14.5 to 13.5.
    EXPECT_EQ(marks(with(falling(7), 13.4, 14.8, 13.2, 14.6), "bullishEngulfing"), at(7, "bullish"));
    EXPECT_EQ(marks(with(falling(7), 13.5, 14.8, 13.2, 14.6), "bullishEngulfing"),
              at(7, "bullish"));                                                           // one end
    EXPECT_EQ(marks(with(falling(7), 13.5, 14.8, 13.2, 14.5), "bullishEngulfing"), none);  // the same body
    EXPECT_EQ(marks(with(falling(7), 13.4, 14.8, 13.2, 14.4), "bullishEngulfing"), none);  // short of the top
    EXPECT_EQ(marks(with(falling(7), 13.4, 14.8, 13.2, 14.6), "bearishEngulfing"), none);

    // The last rising bar is white from 13.5 to 14.5.
    EXPECT_EQ(marks(with(rising(7), 14.6, 14.8, 13.2, 13.4), "bearishEngulfing"), at(7, "bearish"));
    EXPECT_EQ(marks(with(rising(7), 14.6, 14.8, 13.2, 13.6), "bearishEngulfing"), none);
    EXPECT_EQ(marks(with(rising(7), 14.6, 14.8, 13.2, 13.4), "bullishEngulfing"), none);

    // The trend is measured before the engulfed bar: six bars leave it one short.
    const Bars early = with(falling(6), 14.4, 15.8, 14.2, 15.6);
    EXPECT_EQ(marks(early, "bullishEngulfing"), none);
    EXPECT_EQ(marks(early, "bullishEngulfing", {{QStringLiteral("trendLength"), 4.0}}), at(6, "bullish"));
}

TEST(PatternStudies, HaramiIsASmallOppositeBodyInsideTheLastOne) {
    EXPECT_EQ(marks(with(falling(7), 13.8, 14.3, 13.7, 14.2), "bullishHarami"), at(7, "bullish"));  // 40 %
    const Bars wide = with(falling(7), 13.7, 14.4, 13.6, 14.3);                                     // 60 %
    EXPECT_EQ(marks(wide, "bullishHarami"), none);
    EXPECT_EQ(marks(wide, "bullishHarami", {{QStringLiteral("bodyPercent"), 65.0}}), at(7, "bullish"));
    EXPECT_EQ(marks(with(falling(7), 13.4, 13.9, 13.3, 13.8), "bullishHarami"), none);  // pokes out below
    EXPECT_EQ(marks(with(falling(7), 14.2, 14.3, 13.7, 13.8), "bullishHarami"), none);  // black inside black

    EXPECT_EQ(marks(with(rising(7), 14.2, 14.3, 13.7, 13.8), "bearishHarami"), at(7, "bearish"));
    EXPECT_EQ(marks(with(rising(7), 14.2, 14.3, 13.7, 13.8), "bullishHarami"), none);
    EXPECT_EQ(marks(with(rising(7), 13.8, 14.3, 13.7, 14.2), "bearishHarami"), none);  // white inside white
}

TEST(PatternStudies, PiercingLineAndDarkCloudCloseMoreThanHalfwayIn) {
    // After the black bar 14.5 -> 13.5 (low 13.3): open under its low, close 60 % up its body.
    EXPECT_EQ(marks(with(falling(7), 13.2, 14.2, 13.1, 14.1), "piercingLine"), at(7, "bullish"));
    EXPECT_EQ(marks(with(falling(7), 13.2, 14.2, 13.1, 14.0), "piercingLine"), none);  // exactly halfway
    const Bars shallow = with(falling(7), 13.2, 14.2, 13.1, 13.9);
    EXPECT_EQ(marks(shallow, "piercingLine"), none);
    EXPECT_EQ(marks(shallow, "piercingLine", {{QStringLiteral("penetrationPercent"), 30.0}}),
              at(7, "bullish"));
    EXPECT_EQ(marks(with(falling(7), 13.3, 14.2, 13.1, 14.1), "piercingLine"), none);  // opens at the low
    // Closing over the black bar's open is an engulfing, not a piercing line.
    const Bars over = with(falling(7), 13.2, 14.7, 13.1, 14.6);
    EXPECT_EQ(marks(over, "piercingLine"), none);
    EXPECT_EQ(marks(over, "bullishEngulfing"), at(7, "bullish"));

    // After the white bar 13.5 -> 14.5 (high 14.7): open over its high, close 60 % down its body.
    EXPECT_EQ(marks(with(rising(7), 14.8, 14.9, 13.8, 13.9), "darkCloudCover"), at(7, "bearish"));
    EXPECT_EQ(marks(with(rising(7), 14.8, 14.9, 13.9, 14.0), "darkCloudCover"), none);  // exactly halfway
    EXPECT_EQ(marks(with(rising(7), 14.7, 14.9, 13.8, 13.9), "darkCloudCover"), none);  // opens at the high
    EXPECT_EQ(marks(with(rising(7), 14.8, 14.9, 13.4, 13.5), "darkCloudCover"), none);  // down to the open
    EXPECT_EQ(marks(with(falling(7), 14.8, 14.9, 13.8, 13.9), "darkCloudCover"), none);
}

TEST(PatternStudies, StarsGapFromTheFirstBodyAndTheThirdBarClosesWellIntoIt) {
    // A black bar 14.5 -> 13.5, a star whose body sits under 13.5, a white bar closing 70 % back up.
    const auto morning = [](double starOpen, double starHigh, double starLow, double starClose,
                            double thirdClose, int lead = 7) {
        return with(with(falling(lead), starOpen, starHigh, starLow, starClose), 13.4, thirdClose + 0.1,
                    13.35, thirdClose);
    };
    EXPECT_EQ(marks(morning(13.2, 13.4, 13.0, 13.3, 14.2), "morningStar"), at(8, "bullish"));
    EXPECT_EQ(marks(morning(13.2, 13.4, 13.0, 13.2, 14.2), "morningStar"), at(8, "bullish"));  // a doji star
    EXPECT_EQ(marks(morning(13.4, 13.6, 13.0, 13.5, 14.2), "morningStar"), none);  // its body touches 13.5
    EXPECT_EQ(marks(morning(13.2, 13.2, 13.2, 13.2, 14.2), "morningStar"), none);  // a bar that never traded
    EXPECT_EQ(marks(morning(13.2, 13.4, 13.0, 13.3, 13.9), "morningStar"), none);  // 40 % back up
    EXPECT_EQ(marks(morning(13.2, 13.4, 13.0, 13.3, 14.2, 6), "morningStar"),
              none);                                              // trend not yet measurable
    const Bars bigStar = morning(12.95, 13.4, 12.9, 13.3, 14.2);  // star body 35 % of the first
    EXPECT_EQ(marks(bigStar, "morningStar"), none);
    EXPECT_EQ(marks(bigStar, "morningStar", {{QStringLiteral("starPercent"), 40.0}}), at(8, "bullish"));

    // A white bar 13.5 -> 14.5, a star over it, a black bar closing 70 % back down.
    Bars evening = rising(7);
    add(evening, 14.8, 15.0, 14.6, 14.7);
    add(evening, 14.6, 14.65, 13.7, 13.8);
    EXPECT_EQ(marks(evening, "eveningStar"), at(8, "bearish"));
    EXPECT_EQ(marks(evening, "morningStar"), none);
    EXPECT_EQ(marks(evening, "eveningStar", {{QStringLiteral("penetrationPercent"), 75.0}}), none);
}

TEST(PatternStudies, SoldiersAndCrowsOpenInsideTheLastBodyAndCloseNearTheirEnd) {
    Bars soldiers;
    add(soldiers, 10, 11.1, 9.9, 11);
    add(soldiers, 10.5, 11.7, 10.4, 11.6);
    const Bars three = with(soldiers, 11.2, 12.35, 11.1, 12.3);
    EXPECT_EQ(marks(three, "threeWhiteSoldiers"), at(2, "bullish"));
    EXPECT_EQ(marks(with(three, 12, 13.1, 11.9, 13), "threeWhiteSoldiers"),
              (Marks{{2, "bullish"}, {3, "bullish"}}));
    EXPECT_EQ(marks(soldiers, "threeWhiteSoldiers"), none);  // two are not three
    EXPECT_EQ(marks(with(soldiers, 11.7, 12.35, 11.65, 12.3), "threeWhiteSoldiers"),
              none);  // opens over the body
    EXPECT_EQ(marks(with(soldiers, 11.2, 11.55, 11.1, 11.5), "threeWhiteSoldiers"), none);  // closes lower
    const Bars longTop = with(soldiers, 11.2, 12.8, 11.1, 12.3);  // upper shadow 29 % of the range
    EXPECT_EQ(marks(longTop, "threeWhiteSoldiers"), none);
    EXPECT_EQ(marks(longTop, "threeWhiteSoldiers", {{QStringLiteral("shadowPercent"), 30.0}}),
              at(2, "bullish"));

    Bars crows;
    add(crows, 12, 12.1, 10.9, 11);
    add(crows, 11.5, 11.6, 10.3, 10.4);
    EXPECT_EQ(marks(with(crows, 10.8, 10.9, 9.65, 9.7), "threeBlackCrows"), at(2, "bearish"));
    EXPECT_EQ(marks(with(crows, 10.3, 10.35, 9.15, 9.2), "threeBlackCrows"), none);  // opens under the body
    EXPECT_EQ(marks(with(crows, 10.8, 10.9, 9.2, 9.7), "threeBlackCrows"), none);    // lower shadow 29 %
    EXPECT_EQ(marks(with(crows, 10.8, 10.9, 9.65, 9.7), "threeWhiteSoldiers"), none);
}

TEST(PatternStudies, MarubozuHasNoShadowsAndLeansByItsColour) {
    Bars bars;
    add(bars, 10, 11.04, 9.97, 11);  // shadows 3.7 % and 2.8 % of the range
    add(bars, 11, 11.04, 9.97, 10);
    add(bars, 10, 11.07, 9.97, 11);  // upper shadow 6.4 %
    add(bars, 10, 10, 10, 10);
    EXPECT_EQ(marks(bars, "marubozu"), (Marks{{0, "bullish"}, {1, "bearish"}}));
    EXPECT_EQ(marks(bars, "marubozu", {{QStringLiteral("shadowPercent"), 7.0}}),
              (Marks{{0, "bullish"}, {1, "bearish"}, {2, "bullish"}}));
}

TEST(PatternStudies, BarsThatNeverTradedAreOnlyDojis) {
    // Flat bars stepping down, then flat bars stepping up: trends either way, but no shapes.
    Bars bars;
    for (int k = 0; k < 10; ++k) add(bars, 20 - k, 20 - k, 20 - k, 20 - k);
    for (int k = 0; k < 10; ++k) add(bars, 11 + k, 11 + k, 11 + k, 11 + k);
    for (const StudyKind& kind : patternStudies()) {
        const Marks found = marks(bars, kind.word.toLatin1().constData());
        if (kind.word == QStringLiteral("doji")) {
            EXPECT_EQ(found.size(), bars.size());
        } else {
            EXPECT_EQ(found, none) << kind.word.toStdString();
        }
    }
}

TEST(PatternStudies, MirroredPricesTurnEachPatternIntoItsTwin) {
    // Reflecting every price about a level (high and low trading places) turns a decline into an
    // advance and a lower shadow into an upper one, so each bullish pattern must be found exactly
    // where its bearish twin is found on the reflection. Prices are in cents, so the reflection is
    // exact. The same series cut short must give the same marks on the bars it keeps: no pattern
    // looks ahead.
    const Bars bars = test::randomBars(20'000, 11);
    const Decimal level = test::price(1000);
    Bars mirrored;
    for (const Candle& c : bars) {
        mirrored.push_back(
            Candle{c.time, level - c.open, level - c.low, level - c.high, level - c.close, c.volume});
    }
    const Bars head(bars.begin(), bars.begin() + 3'000);
    const auto flipped = [](Marks found) {
        for (auto& [bar, bias] : found) {
            if (bias == "bullish") {
                bias = "bearish";
            } else if (bias == "bearish") {
                bias = "bullish";
            }
        }
        return found;
    };
    const std::vector<std::pair<const char*, const char*>> twins = {
        {"doji", "doji"},
        {"marubozu", "marubozu"},
        {"hammer", "shootingStar"},
        {"hangingMan", "invertedHammer"},
        {"bullishEngulfing", "bearishEngulfing"},
        {"bullishHarami", "bearishHarami"},
        {"piercingLine", "darkCloudCover"},
        {"morningStar", "eveningStar"},
        {"threeWhiteSoldiers", "threeBlackCrows"},
    };
    for (const auto& [word, twin] : twins) {
        for (const char* one : {word, twin}) {
            const char* other = one == word ? twin : word;
            const Marks found = marks(bars, one);
            EXPECT_GT(found.size(), 3u) << one << " is never found, so this compares nothing";
            EXPECT_EQ(flipped(marks(mirrored, other)), found) << one << " against " << other;

            Marks early;
            for (const auto& mark : found) {
                if (mark.first < head.size()) early.push_back(mark);
            }
            EXPECT_EQ(marks(head, one), early) << one << " cut short";
        }
    }
}
