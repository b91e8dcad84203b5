#include "RandomBars.h"

#include "analytics/StudyCatalog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

using namespace tavix;
using namespace Qt::StringLiterals;
using tavix::test::candle;

namespace {

using Bars = std::vector<Candle>;
// The bars a pattern was found on, with its lean there.
using Marks = std::vector<std::pair<std::size_t, std::string>>;

void add(Bars& bars, double open, double high, double low, double close) {
    bars.push_back(
        candle(1'700'000'000.0 + 60.0 * static_cast<double>(bars.size()), open, high, low, close, 1000));
}

// `count` bars a dollar apart, each opening where the last closed: a plain decline (black bars from
// 20 down) or advance (white bars from 8 up) into whatever comes next. Bodies of 1, shadows of 0.2.
Bars falling(int count, int step = -1) {
    Bars bars;
    for (int k = 0; k < count; ++k) {
        const double mid = (step < 0 ? 20 : 8) + step * k;
        add(bars, mid - 0.5 * step, mid + 0.7, mid - 0.7, mid + 0.5 * step);
    }
    return bars;
}

Bars rising(int count) {
    return falling(count, 1);
}

Bars with(Bars bars, double open, double high, double low, double close) {
    add(bars, open, high, low, close);
    return bars;
}

Marks marks(const Bars& bars, const char* word, const test::Inputs& inputs = {}) {
    const StudyRun run = test::runStudy(bars, QString::fromLatin1(word), inputs);
    const StudySeries& found = run.outputs.at(0);
    const StudySeries& bias = run.outputs.at(1);
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

// A black bar 14.5 -> 13.5 after a decline, a star whose body sits under 13.5, a white bar
// closing 70 % back up.
Bars morning(double starOpen, double starHigh, double starLow, double starClose, double thirdClose,
             int lead = 7) {
    return with(with(falling(lead), starOpen, starHigh, starLow, starClose), 13.4, thirdClose + 0.1, 13.35,
                thirdClose);
}

}  // namespace

TEST(PatternStudies, FindEachShapeAndMissItsNearMisses) {
    Bars doji;
    add(doji, 100, 107, 100, 100.7);    // exactly a tenth in the candles' decimals
    add(doji, 100, 101, 99, 100.21);    // 10.5 %
    add(doji, 100, 100, 100, 100);      // four-price doji: no range at all
    add(doji, 100, 101, 99, 100);       // open = close
    add(doji, 100, 100.05, 99.5, 100);  // dragonfly: a doji whatever its shadows
    Bars marubozu;
    add(marubozu, 10, 11.04, 9.97, 11);  // shadows 3.7 % and 2.8 % of the range
    add(marubozu, 11, 11.04, 9.97, 10);
    add(marubozu, 10, 11.07, 9.97, 11);  // upper shadow 6.4 %
    Bars soldiers;
    add(soldiers, 10, 11.1, 9.9, 11);
    add(soldiers, 10.5, 11.7, 10.4, 11.6);

    const struct {
        Bars bars;
        const char* word;
        Marks expected;
        test::Inputs inputs = {};
    } cases[] = {
        {doji, "doji", (Marks{{0, "neutral"}, {2, "neutral"}, {3, "neutral"}, {4, "neutral"}})},
        {marubozu, "marubozu", (Marks{{0, "bullish"}, {1, "bearish"}})},

        // Hammer: body 1, lower shadow exactly twice it, upper shadow 0.3 of a 3.3 range (9 %); the
        // same shape after a rise is a hanging man.
        {with(falling(6), 13, 14.3, 11, 14), "hammer", at(6, "bullish")},
        {with(rising(6), 13, 14.3, 11, 14), "hangingMan", at(6, "bearish")},
        {with(rising(6), 13, 14.3, 11, 14), "hammer", none},
        {with(falling(6), 13, 14.3, 11.1, 14), "hammer", none},  // lower shadow 1.9 times the body
        {with(falling(6), 13, 14.4, 11, 14), "hammer", none},    // upper shadow 12 % of the range
        {with(falling(6), 14, 14, 11, 14), "hammer", none},      // no body: a dragonfly doji
        // Five bars before: the decline is measured from the close five bars before the one just
        // ahead of it, which is not there yet; a long trend setting never reads before the first bar.
        {with(falling(5), 13, 14.3, 11, 14), "hammer", none},
        {with(falling(5), 13, 14.3, 11, 14), "hammer", none, {{u"trendLength"_s, 50.0}}},
        // Body 1, upper shadow 2.3, lower shadow 0.2 of a 3.5 range (5.7 %); its thresholds mirror
        // the hammer's.
        {with(rising(6), 11, 14.3, 10.8, 12), "shootingStar", at(6, "bearish")},

        // The last falling bar is black from 14.5 to 13.5; the last rising one white from 13.5 to 14.5.
        {with(falling(7), 13.5, 14.8, 13.2, 14.6), "bullishEngulfing", at(7, "bullish")},  // one end
        {with(falling(7), 13.5, 14.8, 13.2, 14.5), "bullishEngulfing", none},              // the same body
        // The trend is measured before the engulfed bar: six bars leave it one short.
        {with(falling(6), 14.4, 15.8, 14.2, 15.6), "bullishEngulfing", none},
        {with(falling(7), 13.8, 14.3, 13.7, 14.2), "bullishHarami", at(7, "bullish")},  // 40 %
        {with(falling(7), 13.7, 14.4, 13.6, 14.3), "bullishHarami", none},              // 60 %
        {with(falling(7), 13.4, 13.9, 13.3, 13.8), "bullishHarami", none},              // pokes out below
        {with(falling(7), 14.2, 14.3, 13.7, 13.8), "bullishHarami", none},              // black inside black

        // Open under the last bar's low, close 60 % up its body.
        {with(falling(7), 13.2, 14.2, 13.1, 14.1), "piercingLine", at(7, "bullish")},
        {with(falling(7), 13.2, 14.2, 13.1, 14.0), "piercingLine", none},  // exactly halfway
        {with(falling(7), 13.3, 14.2, 13.1, 14.1), "piercingLine", none},  // opens at the low
        // Closing over the black bar's open is an engulfing, not a piercing line.
        {with(falling(7), 13.2, 14.7, 13.1, 14.6), "piercingLine", none},

        {morning(13.2, 13.4, 13.0, 13.2, 14.2), "morningStar", at(8, "bullish")},  // a doji star
        {morning(13.4, 13.6, 13.0, 13.5, 14.2), "morningStar", none},              // its body touches 13.5
        {morning(13.2, 13.2, 13.2, 13.2, 14.2), "morningStar", none},              // a bar that never traded
        {morning(13.2, 13.4, 13.0, 13.3, 13.9), "morningStar", none},              // 40 % back up
        {morning(13.2, 13.4, 13.0, 13.3, 14.2, 6), "morningStar", none},           // trend not yet measurable
        {morning(12.95, 13.4, 12.9, 13.3, 14.2), "morningStar", none},  // star body 35 % of the first

        // Each opens inside the last body and closes near its high.
        // Three from bar 2, four from bar 3.
        {with(with(soldiers, 11.2, 12.35, 11.1, 12.3), 12, 13.1, 11.9, 13), "threeWhiteSoldiers",
         (Marks{{2, "bullish"}, {3, "bullish"}})},
        {soldiers, "threeWhiteSoldiers", none},                                  // two are not three
        {with(soldiers, 11.7, 12.35, 11.65, 12.3), "threeWhiteSoldiers", none},  // opens over the body
        {with(soldiers, 11.2, 11.55, 11.1, 11.5), "threeWhiteSoldiers", none},   // closes lower
        {with(soldiers, 11.2, 12.8, 11.1, 12.3), "threeWhiteSoldiers", none},    // upper shadow 29 %
    };
    for (std::size_t k = 0; k < std::size(cases); ++k) {
        SCOPED_TRACE(testing::Message() << "case " << k << ", " << cases[k].word);
        EXPECT_EQ(marks(cases[k].bars, cases[k].word, cases[k].inputs), cases[k].expected);
    }
}

TEST(PatternStudies, BarsThatNeverTradedAreOnlyDojis) {
    // Flat bars stepping down, then flat bars stepping up: trends either way, but no shapes.
    Bars bars;
    for (int k = 0; k < 10; ++k) add(bars, 20 - k, 20 - k, 20 - k, 20 - k);
    for (int k = 0; k < 10; ++k) add(bars, 11 + k, 11 + k, 11 + k, 11 + k);
    for (const StudyKind& kind : patternStudies()) {
        const Marks found = marks(bars, kind.word.toLatin1().constData());
        if (kind.word == u"doji"_s) {
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
            if (bias != "neutral") bias = bias == "bullish" ? "bearish" : "bullish";
        }
        return found;
    };
    // Twins side by side; the doji and the marubozu are their own.
    const QStringList twins =
        QStringLiteral(
            "doji doji marubozu marubozu hammer shootingStar hangingMan invertedHammer "
            "bullishEngulfing bearishEngulfing bullishHarami bearishHarami piercingLine "
            "darkCloudCover morningStar eveningStar threeWhiteSoldiers threeBlackCrows")
            .split(u' ');
    for (qsizetype k = 0; k < twins.size(); ++k) {
        const std::string oneWord = twins[k].toStdString(), otherWord = twins[k ^ 1].toStdString();
        const char *one = oneWord.c_str(), *other = otherWord.c_str();
        const Marks found = marks(bars, one);
        EXPECT_GT(found.size(), 3u) << one << " is never found, so this compares nothing";
        EXPECT_EQ(flipped(marks(mirrored, other)), found) << one << " against " << other;
        Marks early;
        std::copy_if(found.begin(), found.end(), std::back_inserter(early),
                     [&](const auto& mark) { return mark.first < head.size(); });
        EXPECT_EQ(marks(head, one), early) << one << " cut short";
    }
}
