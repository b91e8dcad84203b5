#include "RandomBars.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <string>

namespace tavix {
namespace {

using namespace Qt::StringLiterals;
using test::Inputs;
using test::refusal;

StudyRun settled(const QString& study, const Inputs& inputs) {
    auto answer = StudyCatalog::settle({study, inputs, std::nullopt});
    if (const auto* sentence = std::get_if<QString>(&answer)) ADD_FAILURE() << sentence->toStdString();
    return std::holds_alternative<StudyRun>(answer) ? std::get<StudyRun>(answer) : StudyRun{};
}

TEST(StudyCatalog, SettleTakesInputsInEachForm) {
    // A choice takes its word, its place as a number, or its place as text (from a query string);
    // a whole number may come as text too.
    const StudyRun byWord = settled(u"simpleMovingAvg"_s, {{u"source"_s, u"hlc3"_s}, {u"length"_s, u"9"_s}});
    EXPECT_EQ(byWord.whole(u"source"), 5);
    EXPECT_EQ(byWord.whole(u"length"), 9);
    EXPECT_EQ(settled(u"simpleMovingAvg"_s, {{u"source"_s, 2.0}}).whole(u"source"), 2);
    EXPECT_EQ(settled(u"simpleMovingAvg"_s, {{u"source"_s, u"6"_s}}).whole(u"source"), 6);
    EXPECT_EQ(settled(u"bollingerBands"_s, {{u"averageType"_s, u"hull"_s}}).averageType(), AverageType::hull);
    // The range's ends are inside it.
    settled(u"bollingerBands"_s, {{u"numDevUp"_s, 0.0}, {u"numDevDn"_s, 10.0}});
}

TEST(StudyCatalog, RefusalsSayWhatIsWantedAndNeverClamp) {
    QStringList words;
    for (const StudyKind& kind : StudyCatalog::kinds()) words << kind.word;
    const QString studies = u"Studies: "_s + words.join(u", "_s) + u"."_s;
    EXPECT_TRUE(studies.startsWith(u"Studies: simpleMovingAvg, exponentialMovingAvg"_s));
    const QString length = u"length is from 1 to 1000."_s;
    const QString whole = u"length is a whole number, from 1 to 1000."_s;
    const QString source = u"source is one of close, open, high, low, hl2, hlc3, ohlc4."_s;
    const struct {
        QString study;
        Inputs inputs;
        QString sentence;
    } cases[] = {
        {u"RSI"_s, {}, u"RSI isn't a study. "_s + studies},  // words are matched exactly
        {u"simpleMovingAvg"_s, {{u"size"_s, 3.0}}, u"simpleMovingAvg has no setting called size."_s},
        {u"simpleMovingAvg"_s, {{u"length"_s, 2.5}}, whole},
        {u"simpleMovingAvg"_s, {{u"length"_s, u"nine"_s}}, whole},
        // Out of range is refused on either side; not a number at all is never in range.
        {u"simpleMovingAvg"_s, {{u"length"_s, 0.0}}, length},
        {u"simpleMovingAvg"_s, {{u"length"_s, 1001.0}}, length},
        {u"hullMovingAvg"_s, {{u"length"_s, 1.0}}, u"length is from 2 to 1000."_s},
        {u"bollingerBands"_s, {{u"numDevUp"_s, std::nan("")}}, u"numDevUp is from 0 to 10."_s},
        {u"bollingerBands"_s, {{u"numDevUp"_s, -HUGE_VAL}}, u"numDevUp is from 0 to 10."_s},
        // Numbers print shortest: 0.001, not 1e-03 or 0.0010000000000000000208.
        {u"parabolicSar"_s, {{u"step"_s, 0.0001}}, u"step is from 0.001 to 1."_s},
        {u"simpleMovingAvg"_s, {{u"source"_s, 7.0}}, source},
        {u"simpleMovingAvg"_s, {{u"source"_s, 1.5}}, source},
        {u"simpleMovingAvg"_s, {{u"source"_s, u"Close"_s}}, source},
        {u"simpleMovingAvg"_s, {{u"source"_s, u"7"_s}}, source},
        {u"bollingerBands"_s,
         {{u"averageType"_s, u"triangular"_s}},
         u"averageType is one of simple, exponential, weighted, wilders, hull."_s},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.sentence.toStdString());
        EXPECT_EQ(refusal(c.study, c.inputs), c.sentence);
    }
}

TEST(StudyCatalog, RunAnswersEachRequestInOrder) {
    const auto candles = test::randomBars(300, 1);
    const auto answers = StudyCatalog::run(candles, CandleInterval::oneMinute,
                                           {{u"exponentialMovingAvg"_s, {{u"length"_s, 10.0}}, u"ema10"_s},
                                            {u"nope"_s, {}, {}},
                                            {u"bollingerBands"_s, {}, {}},
                                            {u"rsi"_s, {{u"length"_s, 0.5}}, {}}});
    ASSERT_EQ(answers.size(), 4u);
    const auto& ema = std::get<StudyRun>(answers[0]);
    EXPECT_EQ(ema.label, u"ema10"_s);
    ASSERT_EQ(ema.outputs.size(), 1u);
    EXPECT_EQ(ema.outputs[0].size(), candles.size());
    EXPECT_TRUE(std::get<QString>(answers[1]).startsWith(u"nope isn't a study."_s));
    EXPECT_EQ(std::get<StudyRun>(answers[2]).outputs.size(), 3u);
    EXPECT_EQ(std::get<QString>(answers[3]), refusal(u"rsi"_s, {{u"length"_s, 0.5}}));
}

TEST(StudyCatalog, EveryKindSettlesItsDefaultsAndWorksOutAlignedSeries) {
    // Enough bars for the longest default warm-up (Ichimoku's 52 and 26) to pass.
    const auto candles = test::randomBars(600, 2);
    for (const StudyKind& kind : StudyCatalog::kinds()) {
        SCOPED_TRACE(kind.word.toStdString());
        EXPECT_EQ(StudyCatalog::find(kind.word), &kind) << "listed twice";
        // Every default settles as if asked for, so the catalogue never offers what it refuses.
        for (const StudySetting& s : kind.settings)
            EXPECT_EQ(refusal(kind.word, {{s.setting, s.defaultValue}}), QString())
                << s.setting.toStdString();
        const StudyRun run = test::runStudy(candles, kind.word);
        ASSERT_EQ(run.outputs.size(), static_cast<std::size_t>(kind.values.size()));
        for (std::size_t o = 0; o < run.outputs.size(); ++o) {
            const StudySeries& series = run.outputs[o];
            EXPECT_EQ(series.name, kind.values[static_cast<qsizetype>(o)]);
            ASSERT_EQ(series.size(), candles.size()) << series.name.toStdString();
            if (kind.group == StudyGroup::patterns) {
                EXPECT_EQ(series.kind, o == 0 ? StudySeries::Kind::flag : StudySeries::Kind::bias);
                continue;
            }
            EXPECT_EQ(series.kind, StudySeries::Kind::number);
            // Past the warm-up there are values (a lagging line may have none at the end), and none
            // is infinite.
            EXPECT_TRUE(std::any_of(series.numbers.begin(), series.numbers.end(), [](double v) {
                return !std::isnan(v);
            })) << series.name.toStdString();
            for (const double v : series.numbers) ASSERT_FALSE(std::isinf(v)) << series.name.toStdString();
        }
        // Too few bars for any warm-up: aligned series, no failure, and no value where one bar is not
        // enough.
        const bool oneBarIsEnough = kind.word == u"vwap"_s || kind.word == u"onBalanceVolume"_s ||
                                    kind.word == u"volume"_s || kind.group == StudyGroup::patterns;
        for (const std::size_t count : {0u, 1u}) {
            for (const StudySeries& series : test::runStudy(test::randomBars(count, 25), kind.word).outputs) {
                ASSERT_EQ(series.size(), count) << series.name.toStdString();
                if (count == 1 && !oneBarIsEnough) {
                    EXPECT_FALSE(series.value(0)) << series.name.toStdString();
                }
            }
        }
    }
}

TEST(StudyBars, EachDecimalBecomesItsNearestDouble) {
    // The nearest double is what the C library reads from the same text; the fast path must agree
    // with it for ordinary prices and hand over correctly past its limits (more than 2^53 in the
    // mantissa, powers of ten past 10^22).
    const QStringList texts = QStringLiteral(
                                  "187.34 0.1 -0.3 0 1e-7 123456.789 9007199254740993 1234567890.123456789 "
                                  "0.00000000000000000000000123 1e30 4.35 -17.015 99999999999999.99 5e-23")
                                  .split(u' ');
    std::vector<Candle> candles;
    for (const QString& text : texts) {
        const Decimal price = *Decimal::parse(text);
        candles.push_back({Date(1.7e9), price, price, price, price, 1});
    }
    const StudyBars bars(candles, CandleInterval::hourly);
    ASSERT_EQ(bars.size(), static_cast<std::size_t>(texts.size()));
    for (std::size_t i = 0; i < bars.size(); ++i) {
        const std::string text = texts[static_cast<qsizetype>(i)].toStdString();
        const double exact = std::strtod(text.c_str(), nullptr);
        for (const auto* column : {&bars.open, &bars.high, &bars.low, &bars.close})
            EXPECT_EQ((*column)[i], exact) << text;
    }
    EXPECT_FALSE(std::signbit(bars.close[3]));
}

}  // namespace
}  // namespace tavix
