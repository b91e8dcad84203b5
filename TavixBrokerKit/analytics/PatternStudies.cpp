// Candle patterns, each a study of its own that marks the bar on which the pattern completes.
//
// Shapes follow Steve Nison, "Japanese Candlestick Charting Techniques" (1991); where Nison says
// only "small", "long" or "near", the thresholds are settings with defaults after Thomas Bulkowski's
// "Encyclopedia of Candlestick Charts" (2008) identification guidelines.
//
// Terms: the range is high - low; the body is |close - open|; the upper shadow runs from the top of
// the body to the high, the lower shadow from the bottom of the body to the low. A white bar closes
// above its open, a black one below.
//
// Choices made where the books leave room:
// - A bar with no range (open = high = low = close) is Nison's "four-price doji": a doji, and never
//   part of any other pattern. A bar with no body is a doji too, never a hammer or a star's
//   companion shape (Nison's dragonfly and gravestone doji are their own signals).
// - The trend a reversal needs is judged on the bars before the pattern's first bar: a decline when
//   the close just before it is below the close `trendLength` bars earlier, an advance when above.
// - Nison's "ideal" extras (a gap under a shooting star's body, a gap before a star's third bar, a
//   day of confirmation after a hammer) are not required: the chart marks the shape, the trader
//   judges the follow-through.
#include "analytics/StudyCatalog.h"
#include "analytics/StudyParts.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace tavix {

namespace {

// What a test says of a bar: 0 when the pattern is not there, else 2 * its bias + 1 (odd, so that
// halving gives the bias back). A number rather than an optional, and tests written with & rather
// than &&: on real prices every condition is a coin toss, so a branch per condition mispredicts bar
// after bar, while a scan with no branch on the prices runs several bars at a time. (With codes
// 1 + bias, GCC 12 turned "found ? 2 : 0" into a shift it could not vectorise; odd codes it can.)
using Seen = std::uint8_t;

constexpr Seen seenAs(bool found, PatternBias bias) {
    return found ? static_cast<Seen>(2 * static_cast<Seen>(bias) + 1) : Seen{0};
}

// The bars as shapes, with a rounding allowance so that a threshold met exactly in the candles'
// decimals is met in doubles too.
class Shapes {
public:
    explicit Shapes(const StudyBars& bars)
        : open_(bars.open.data()),
          high_(bars.high.data()),
          low_(bars.low.data()),
          close_(bars.close.data()) {}

    double open(std::size_t i) const { return open_[i]; }
    double high(std::size_t i) const { return high_[i]; }
    double low(std::size_t i) const { return low_[i]; }
    double close(std::size_t i) const { return close_[i]; }

    double range(std::size_t i) const { return high_[i] - low_[i]; }
    double body(std::size_t i) const { return std::abs(close_[i] - open_[i]); }
    double bodyTop(std::size_t i) const { return std::max(open_[i], close_[i]); }
    double bodyBottom(std::size_t i) const { return std::min(open_[i], close_[i]); }
    double upperShadow(std::size_t i) const { return high_[i] - bodyTop(i); }
    double lowerShadow(std::size_t i) const { return bodyBottom(i) - low_[i]; }

    bool traded(std::size_t i) const { return high_[i] > low_[i]; }
    bool white(std::size_t i) const { return traded(i) & (close_[i] > open_[i]); }
    bool black(std::size_t i) const { return traded(i) & (close_[i] < open_[i]); }

    // `part <= whole` and `part > whole` for lengths worked out from bar i's prices: differences of
    // decimals carry an error of a few units in the last place of the price, far below any tick.
    bool atMost(double part, double whole, std::size_t i) const { return part <= whole + slack(i); }
    bool moreThan(double part, double whole, std::size_t i) const { return part > whole + slack(i); }

    // The trend into a pattern whose first bar is `first`; scans start late enough for both bars.
    bool declineBefore(std::size_t first, std::size_t length) const {
        return close_[first - 1] < close_[first - 1 - length];
    }
    bool advanceBefore(std::size_t first, std::size_t length) const {
        return close_[first - 1] > close_[first - 1 - length];
    }

private:
    double slack(std::size_t i) const { return 1e-9 * std::abs(close_[i]); }

    const double* open_;
    const double* high_;
    const double* low_;
    const double* close_;
};

// Fills the run's "found" and "bias" series: `seen(shapes, i)` tells whether the pattern completes on
// bar i and its lean. Bars before `first` cannot hold the pattern (too few bars for it and its trend).
template <typename Test>
void mark(const StudyBars& bars, StudyRun& run, std::size_t first, Test seen) {
    const std::size_t n = bars.size();
    StudySeries found = StudySeries::flagSeries(QStringLiteral("found"), n);
    StudySeries bias = StudySeries::biasSeries(QStringLiteral("bias"), n);
    const Shapes shapes(bars);
    std::uint8_t* flags = found.flags.data();
    PatternBias* biases = bias.biases.data();
    // Two passes: the tests' codes go into the bias column first, whose element type cannot stand for
    // a double, so the compiler may run the tests several bars at a time; the flags (plain bytes,
    // which may stand for anything) are split off after.
    for (std::size_t i = first; i < n; ++i) biases[i] = static_cast<PatternBias>(seen(shapes, i));
    for (std::size_t i = first; i < n; ++i) {
        const auto code = static_cast<Seen>(biases[i]);
        const bool there = code != 0;
        flags[i] = there;
        biases[i] = static_cast<PatternBias>(code >> 1);
    }
    setOutputs(run, std::move(found), std::move(bias));
}

std::size_t trendLength(const StudyRun& run) {
    return static_cast<std::size_t>(run.whole(u"trendLength"));
}
double fraction(const StudyRun& run, QStringView setting) {
    return run.number(setting) / 100;
}

// The first bar on which a pattern of `span` bars can complete, and the first after the `trend`
// bars it needs before it plus the one its trend is measured from.
std::size_t firstBar(std::size_t span) {
    return span - 1;
}
std::size_t firstBarAfterTrend(std::size_t span, std::size_t trend) {
    return span + trend;
}

// Doji (Nison ch. 8): open and close the same or nearly so - the body at most `bodyPercent` of the
// range. Bulkowski's guideline for "nearly" is a tenth of the range, the default here.
void doji(const StudyBars& bars, StudyRun& run) {
    const double most = fraction(run, u"bodyPercent");
    mark(bars, run, firstBar(1), [most](const Shapes& s, std::size_t i) {
        return seenAs(s.atMost(s.body(i), most * s.range(i), i), PatternBias::neutral);
    });
}

// Hammer and hanging man (Nison ch. 4): a body at the top of the range, of either colour; a lower
// shadow at least twice the body (`shadowRatio`); no or a very short upper shadow (`shadowPercent`
// of the range). After a decline it is a hammer, after an advance a hanging man.
bool hammerShape(const Shapes& s, std::size_t i, double ratio, double shortest) {
    return (s.body(i) > 0) & s.atMost(ratio * s.body(i), s.lowerShadow(i), i) &
           s.atMost(s.upperShadow(i), shortest * s.range(i), i);
}

// Inverted hammer and shooting star (Nison ch. 4): the hammer upside down - a long upper shadow and
// little or no lower one. After a decline an inverted hammer, after an advance a shooting star.
bool invertedShape(const Shapes& s, std::size_t i, double ratio, double shortest) {
    return (s.body(i) > 0) & s.atMost(ratio * s.body(i), s.upperShadow(i), i) &
           s.atMost(s.lowerShadow(i), shortest * s.range(i), i);
}

template <bool (*shape)(const Shapes&, std::size_t, double, double), bool afterDecline>
void oneBarReversal(const StudyBars& bars, StudyRun& run) {
    const std::size_t trend = trendLength(run);
    const double ratio = run.number(u"shadowRatio");
    const double shortest = fraction(run, u"shadowPercent");
    mark(bars, run, firstBarAfterTrend(1, trend), [=](const Shapes& s, std::size_t i) {
        if constexpr (afterDecline)
            return seenAs(shape(s, i, ratio, shortest) & s.declineBefore(i, trend), PatternBias::bullish);
        else
            return seenAs(shape(s, i, ratio, shortest) & s.advanceBefore(i, trend), PatternBias::bearish);
    });
}

// Engulfing (Nison ch. 4): in a decline a black body, then a white body that wraps it whole (the
// shadows need not be engulfed); bearish is the mirror after an advance. One end of the bodies may
// match, not both.
void bullishEngulfing(const StudyBars& bars, StudyRun& run) {
    const std::size_t trend = trendLength(run);
    mark(bars, run, firstBarAfterTrend(2, trend), [trend](const Shapes& s, std::size_t i) {
        const std::size_t f = i - 1;
        const bool wraps = (s.open(i) <= s.close(f)) & (s.close(i) >= s.open(f)) &
                           ((s.open(i) < s.close(f)) | (s.close(i) > s.open(f)));
        return seenAs(s.black(f) & s.white(i) & wraps & s.declineBefore(f, trend), PatternBias::bullish);
    });
}

void bearishEngulfing(const StudyBars& bars, StudyRun& run) {
    const std::size_t trend = trendLength(run);
    mark(bars, run, firstBarAfterTrend(2, trend), [trend](const Shapes& s, std::size_t i) {
        const std::size_t f = i - 1;
        const bool wraps = (s.open(i) >= s.close(f)) & (s.close(i) <= s.open(f)) &
                           ((s.open(i) > s.close(f)) | (s.close(i) < s.open(f)));
        return seenAs(s.white(f) & s.black(i) & wraps & s.advanceBefore(f, trend), PatternBias::bearish);
    });
}

// Harami (Nison ch. 6): a long body, then a small body of the other colour inside it - at most
// `bodyPercent` of the first (Bulkowski: the second body "inside" and small against the first).
// Bullish after a decline (black then white), bearish after an advance (white then black).
void bullishHarami(const StudyBars& bars, StudyRun& run) {
    const std::size_t trend = trendLength(run);
    const double most = fraction(run, u"bodyPercent");
    mark(bars, run, firstBarAfterTrend(2, trend), [trend, most](const Shapes& s, std::size_t i) {
        const std::size_t f = i - 1;
        const bool inside = (s.open(i) >= s.close(f)) & (s.close(i) <= s.open(f));
        return seenAs(s.black(f) & s.white(i) & inside & s.atMost(s.body(i), most * s.body(f), i) &
                          s.declineBefore(f, trend),
                      PatternBias::bullish);
    });
}

void bearishHarami(const StudyBars& bars, StudyRun& run) {
    const std::size_t trend = trendLength(run);
    const double most = fraction(run, u"bodyPercent");
    mark(bars, run, firstBarAfterTrend(2, trend), [trend, most](const Shapes& s, std::size_t i) {
        const std::size_t f = i - 1;
        const bool inside = (s.open(i) <= s.close(f)) & (s.close(i) >= s.open(f));
        return seenAs(s.white(f) & s.black(i) & inside & s.atMost(s.body(i), most * s.body(f), i) &
                          s.advanceBefore(f, trend),
                      PatternBias::bearish);
    });
}

// Piercing line (Nison ch. 4): in a decline a black bar, then a white bar that opens below the black
// bar's low and closes more than halfway (`penetrationPercent`) up its body, but not above its open
// (that would be an engulfing).
void piercingLine(const StudyBars& bars, StudyRun& run) {
    const std::size_t trend = trendLength(run);
    const double into = fraction(run, u"penetrationPercent");
    mark(bars, run, firstBarAfterTrend(2, trend), [trend, into](const Shapes& s, std::size_t i) {
        const std::size_t f = i - 1;
        return seenAs(s.black(f) & s.white(i) & (s.open(i) < s.low(f)) & (s.close(i) < s.open(f)) &
                          s.moreThan(s.close(i) - s.close(f), into * s.body(f), i) &
                          s.declineBefore(f, trend),
                      PatternBias::bullish);
    });
}

// Dark cloud cover (Nison ch. 4): the mirror of the piercing line after an advance - a white bar,
// then a black bar opening above its high and closing more than halfway down its body, not below
// its open.
void darkCloudCover(const StudyBars& bars, StudyRun& run) {
    const std::size_t trend = trendLength(run);
    const double into = fraction(run, u"penetrationPercent");
    mark(bars, run, firstBarAfterTrend(2, trend), [trend, into](const Shapes& s, std::size_t i) {
        const std::size_t f = i - 1;
        return seenAs(s.white(f) & s.black(i) & (s.open(i) > s.high(f)) & (s.close(i) > s.open(f)) &
                          s.moreThan(s.close(f) - s.close(i), into * s.body(f), i) &
                          s.advanceBefore(f, trend),
                      PatternBias::bearish);
    });
}

// Morning star (Nison ch. 5): in a decline a long black body; a small body (`starPercent` of the
// first at most, a doji will do) whose body gaps below the black body; then a white bar closing
// well into the black body - more than `penetrationPercent` of it.
void morningStar(const StudyBars& bars, StudyRun& run) {
    const std::size_t trend = trendLength(run);
    const double star = fraction(run, u"starPercent");
    const double into = fraction(run, u"penetrationPercent");
    mark(bars, run, firstBarAfterTrend(3, trend), [=](const Shapes& s, std::size_t i) {
        const std::size_t f = i - 2;
        const std::size_t m = i - 1;
        return seenAs(s.black(f) & s.traded(m) & s.white(i) & (s.bodyTop(m) < s.close(f)) &
                          s.atMost(s.body(m), star * s.body(f), m) &
                          s.moreThan(s.close(i) - s.close(f), into * s.body(f), i) &
                          s.declineBefore(f, trend),
                      PatternBias::bullish);
    });
}

// Evening star (Nison ch. 5): the mirror after an advance - a long white body, a small body gapping
// above it, then a black bar closing well down into the white body.
void eveningStar(const StudyBars& bars, StudyRun& run) {
    const std::size_t trend = trendLength(run);
    const double star = fraction(run, u"starPercent");
    const double into = fraction(run, u"penetrationPercent");
    mark(bars, run, firstBarAfterTrend(3, trend), [=](const Shapes& s, std::size_t i) {
        const std::size_t f = i - 2;
        const std::size_t m = i - 1;
        return seenAs(s.white(f) & s.traded(m) & s.black(i) & (s.bodyBottom(m) > s.close(f)) &
                          s.atMost(s.body(m), star * s.body(f), m) &
                          s.moreThan(s.close(f) - s.close(i), into * s.body(f), i) &
                          s.advanceBefore(f, trend),
                      PatternBias::bearish);
    });
}

// Fills "found" and "bias" for a pattern of three bars in a row, each passing `alone(shapes, k)` and
// the second and third also `afterLast(shapes, k)` against the bar before. Each bar's tests run once
// rather than once for every pattern it could belong to: their answers go into the bias column as
// bits (alone, afterLast), and a walk from the end joins each bar with the two before it while
// those are still unwritten.
template <typename Alone, typename AfterLast>
void markThreeInARow(const StudyBars& bars, StudyRun& run, PatternBias lean, Alone alone,
                     AfterLast afterLast) {
    const std::size_t n = bars.size();
    StudySeries found = StudySeries::flagSeries(QStringLiteral("found"), n);
    StudySeries bias = StudySeries::biasSeries(QStringLiteral("bias"), n);
    const Shapes shapes(bars);
    std::uint8_t* flags = found.flags.data();
    PatternBias* bits = bias.biases.data();
    constexpr std::uint8_t aloneBit = 1;
    constexpr std::uint8_t bothBits = 3;
    for (std::size_t k = 1; k < n; ++k) {
        const auto both = static_cast<std::uint8_t>(alone(shapes, k) | (afterLast(shapes, k) << 1));
        bits[k] = static_cast<PatternBias>(both);
    }
    if (n > 0) bits[0] = static_cast<PatternBias>(alone(shapes, 0) ? aloneBit : 0);
    for (std::size_t i = n; i-- > 2;) {
        const auto first = static_cast<std::uint8_t>(bits[i - 2]);
        const auto second = static_cast<std::uint8_t>(bits[i - 1]);
        const auto third = static_cast<std::uint8_t>(bits[i]);
        const bool there = (first & aloneBit) & ((second & third & bothBits) == bothBits);
        flags[i] = there;
        bits[i] = there ? lean : PatternBias::neutral;
    }
    for (std::size_t i = 0; i < std::min<std::size_t>(n, 2); ++i) bits[i] = PatternBias::neutral;
    setOutputs(run, std::move(found), std::move(bias));
}

// Three white soldiers (Nison ch. 7): three white bars, each closing higher, each opening within the
// body before it, each closing at or near its high - the upper shadow at most `shadowPercent` of the
// range (Bulkowski: "each closing near the high").
void threeWhiteSoldiers(const StudyBars& bars, StudyRun& run) {
    const double shortest = fraction(run, u"shadowPercent");
    markThreeInARow(
        bars, run, PatternBias::bullish,
        [shortest](const Shapes& s, std::size_t k) {
            return s.white(k) & s.atMost(s.upperShadow(k), shortest * s.range(k), k);
        },
        [](const Shapes& s, std::size_t k) {
            return (s.open(k) >= s.open(k - 1)) & (s.open(k) <= s.close(k - 1)) &
                   (s.close(k) > s.close(k - 1));
        });
}

// Three black crows (Nison ch. 7): three black bars, each closing lower, each opening within the body
// before it, each closing at or near its low.
void threeBlackCrows(const StudyBars& bars, StudyRun& run) {
    const double shortest = fraction(run, u"shadowPercent");
    markThreeInARow(
        bars, run, PatternBias::bearish,
        [shortest](const Shapes& s, std::size_t k) {
            return s.black(k) & s.atMost(s.lowerShadow(k), shortest * s.range(k), k);
        },
        [](const Shapes& s, std::size_t k) {
            return (s.open(k) <= s.open(k - 1)) & (s.open(k) >= s.close(k - 1)) &
                   (s.close(k) < s.close(k - 1));
        });
}

// Marubozu (Nison ch. 3): a body with no shadow at either end - each shadow at most `shadowPercent`
// of the range. A white one leans bullish, a black one bearish.
void marubozu(const StudyBars& bars, StudyRun& run) {
    const double shortest = fraction(run, u"shadowPercent");
    mark(bars, run, firstBar(1), [shortest](const Shapes& s, std::size_t i) {
        const bool bare = s.atMost(s.upperShadow(i), shortest * s.range(i), i) &
                          s.atMost(s.lowerShadow(i), shortest * s.range(i), i);
        return static_cast<Seen>(seenAs(bare & s.white(i), PatternBias::bullish) |
                                 seenAs(bare & s.black(i), PatternBias::bearish));
    });
}

StudySetting trendSetting() {
    return StudySetting::whole(QStringLiteral("trendLength"), QStringLiteral("Trend length"), 5, 1, 50);
}

StudySetting percentSetting(const char* name, const char* label, double byDefault, double min, double max) {
    return StudySetting::number(QString::fromLatin1(name), QString::fromLatin1(label), byDefault, min, max,
                                1);
}

StudySetting shadowRatioSetting(const char* label) {
    return StudySetting::number(QStringLiteral("shadowRatio"), QString::fromLatin1(label), 2, 1, 10, 0.5);
}

StudySetting penetrationSetting(const char* label) {
    return percentSetting("penetrationPercent", label, 50, 1, 99);
}

StudyKind pattern(const char* word, const char* title, std::vector<StudySetting> settings,
                  void (*compute)(const StudyBars&, StudyRun&)) {
    StudyKind kind;
    kind.word = QString::fromLatin1(word);
    kind.title = QString::fromLatin1(title);
    kind.group = StudyGroup::patterns;
    kind.settings = std::move(settings);
    kind.values = QStringList{QStringLiteral("found"), QStringLiteral("bias")};
    kind.compute = compute;
    return kind;
}

}  // namespace

std::vector<StudyKind> patternStudies() {
    const auto shortUpper = [] {
        return percentSetting("shadowPercent", "Upper shadow, at most % of the range", 10, 0, 50);
    };
    const auto shortLower = [] {
        return percentSetting("shadowPercent", "Lower shadow, at most % of the range", 10, 0, 50);
    };
    const auto harami = [] {
        return percentSetting("bodyPercent", "Second body, at most % of the first", 50, 1, 100);
    };
    const auto stars = [] {
        return std::vector<StudySetting>{
            trendSetting(), percentSetting("starPercent", "Star body, at most % of the first", 30, 1, 100),
            penetrationSetting("Third close into the first body, more than %")};
    };
    return {
        pattern("doji", "Doji", {percentSetting("bodyPercent", "Body, at most % of the range", 10, 0, 50)},
                doji),
        pattern("hammer", "Hammer",
                {trendSetting(), shadowRatioSetting("Lower shadow, at least times the body"), shortUpper()},
                oneBarReversal<hammerShape, true>),
        pattern("hangingMan", "Hanging Man",
                {trendSetting(), shadowRatioSetting("Lower shadow, at least times the body"), shortUpper()},
                oneBarReversal<hammerShape, false>),
        pattern("invertedHammer", "Inverted Hammer",
                {trendSetting(), shadowRatioSetting("Upper shadow, at least times the body"), shortLower()},
                oneBarReversal<invertedShape, true>),
        pattern("shootingStar", "Shooting Star",
                {trendSetting(), shadowRatioSetting("Upper shadow, at least times the body"), shortLower()},
                oneBarReversal<invertedShape, false>),
        pattern("bullishEngulfing", "Bullish Engulfing", {trendSetting()}, bullishEngulfing),
        pattern("bearishEngulfing", "Bearish Engulfing", {trendSetting()}, bearishEngulfing),
        pattern("bullishHarami", "Bullish Harami", {trendSetting(), harami()}, bullishHarami),
        pattern("bearishHarami", "Bearish Harami", {trendSetting(), harami()}, bearishHarami),
        pattern("piercingLine", "Piercing Line",
                {trendSetting(), penetrationSetting("Close into the black body, more than %")}, piercingLine),
        pattern("darkCloudCover", "Dark Cloud Cover",
                {trendSetting(), penetrationSetting("Close into the white body, more than %")},
                darkCloudCover),
        pattern("morningStar", "Morning Star", stars(), morningStar),
        pattern("eveningStar", "Evening Star", stars(), eveningStar),
        pattern("threeWhiteSoldiers", "Three White Soldiers",
                {percentSetting("shadowPercent", "Upper shadow, at most % of the range", 25, 0, 50)},
                threeWhiteSoldiers),
        pattern("threeBlackCrows", "Three Black Crows",
                {percentSetting("shadowPercent", "Lower shadow, at most % of the range", 25, 0, 50)},
                threeBlackCrows),
        pattern("marubozu", "Marubozu",
                {percentSetting("shadowPercent", "Each shadow, at most % of the range", 5, 0, 25)}, marubozu),
    };
}

}  // namespace tavix
