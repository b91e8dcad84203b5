#include "analytics/StudyCatalog.h"

#include <gtest/gtest.h>

#include <QRegularExpression>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <set>
#include <string>

namespace tavix {
namespace {

std::vector<Candle> walkCandles(std::size_t count) {
    std::vector<Candle> candles;
    std::uint64_t state = 42;
    long long cents = 10000;
    for (std::size_t i = 0; i < count; ++i) {
        state = state * 6364136223846793005ull + 1442695040888963407ull;
        const auto move = static_cast<long long>((state >> 33) % 41) - 20;
        const long long open = cents;
        cents = std::max(100LL, cents + move);
        const long long high = std::max(open, cents) + static_cast<long long>((state >> 20) % 15);
        const long long low = std::min(open, cents) - static_cast<long long>((state >> 40) % 15);
        candles.push_back(
            {Date(1.7e9 + 60.0 * static_cast<double>(i)), Decimal::fromParts(UInt128(open), -2, false),
             Decimal::fromParts(UInt128(high), -2, false), Decimal::fromParts(UInt128(low), -2, false),
             Decimal::fromParts(UInt128(cents), -2, false),
             static_cast<std::int64_t>((state >> 13) % 5000) * 10});
    }
    return candles;
}

QString sentenceOf(const StudyRequest& request) {
    auto settled = StudyCatalog::settle(request);
    if (const auto* sentence = std::get_if<QString>(&settled)) return *sentence;
    return QStringLiteral("(settled)");
}

StudyRequest ask(const char* study, std::map<QString, std::variant<double, QString>> inputs = {}) {
    return {QString::fromLatin1(study), std::move(inputs), std::nullopt};
}

// --- Settling requests ---------------------------------------------------------------------------

TEST(StudyCatalog, SettleFillsDefaultsAndTakesInputs) {
    auto settled = StudyCatalog::settle(ask("simpleMovingAvg", {{QStringLiteral("length"), 50.0}}));
    ASSERT_TRUE(std::holds_alternative<StudyRun>(settled)) << std::get<QString>(settled).toStdString();
    const StudyRun& run = std::get<StudyRun>(settled);
    EXPECT_EQ(run.kind, StudyCatalog::find(u"simpleMovingAvg"));
    EXPECT_EQ(run.label, QStringLiteral("simpleMovingAvg"));  // no label asked for: the word
    EXPECT_EQ(run.whole(u"length"), 50);
    EXPECT_EQ(run.whole(u"source"), 0);  // the default, close
    EXPECT_THROW(run.number(u"nothing"), std::logic_error);

    // A choice takes its word, its place as a number, or its place as text (from a query string);
    // a whole number may come as text too.
    StudyRequest labelled = ask("simpleMovingAvg", {{QStringLiteral("source"), QStringLiteral("hlc3")},
                                                    {QStringLiteral("length"), QStringLiteral("9")}});
    labelled.label = QStringLiteral("sma9");
    const auto byWord = std::get<StudyRun>(StudyCatalog::settle(labelled));
    EXPECT_EQ(byWord.label, QStringLiteral("sma9"));
    EXPECT_EQ(byWord.whole(u"source"), 5);
    EXPECT_EQ(byWord.whole(u"length"), 9);
    EXPECT_EQ(
        std::get<StudyRun>(StudyCatalog::settle(ask("simpleMovingAvg", {{QStringLiteral("source"), 2.0}})))
            .whole(u"source"),
        2);
    EXPECT_EQ(std::get<StudyRun>(StudyCatalog::settle(ask("simpleMovingAvg",
                                                          {{QStringLiteral("source"), QStringLiteral("6")}})))
                  .whole(u"source"),
              6);

    // The average type reads through the choice's word.
    const auto bands = std::get<StudyRun>(StudyCatalog::settle(
        ask("bollingerBands", {{QStringLiteral("averageType"), QStringLiteral("hull")}})));
    EXPECT_EQ(bands.averageType(), AverageType::hull);
    // The range's ends are inside it.
    EXPECT_TRUE(std::holds_alternative<StudyRun>(StudyCatalog::settle(
        ask("bollingerBands", {{QStringLiteral("numDevUp"), 0.0}, {QStringLiteral("numDevDn"), 10.0}}))));
}

TEST(StudyCatalog, RefusalsSayWhatIsWanted) {
    QStringList words;
    for (const StudyKind& kind : StudyCatalog::kinds()) words << kind.word;
    EXPECT_EQ(sentenceOf(ask("bollinger")), QStringLiteral("bollinger isn't a study. Studies: ") +
                                                words.join(QStringLiteral(", ")) + QStringLiteral("."));
    EXPECT_TRUE(sentenceOf(ask("bollinger"))
                    .contains(QStringLiteral("Studies: simpleMovingAvg, exponentialMovingAvg")));
    // Words are matched exactly.
    EXPECT_TRUE(sentenceOf(ask("RSI")).startsWith(QStringLiteral("RSI isn't a study.")));

    EXPECT_EQ(sentenceOf(ask("simpleMovingAvg", {{QStringLiteral("size"), 3.0}})),
              QStringLiteral("simpleMovingAvg has no setting called size."));
    EXPECT_EQ(sentenceOf(ask("simpleMovingAvg", {{QStringLiteral("length"), 2.5}})),
              QStringLiteral("length is a whole number, from 1 to 1000."));
    EXPECT_EQ(sentenceOf(ask("simpleMovingAvg", {{QStringLiteral("length"), QStringLiteral("nine")}})),
              QStringLiteral("length is a whole number, from 1 to 1000."));
    // Out of range is refused, never clamped, on either side.
    for (const double length : {0.0, -5.0, 1001.0}) {
        EXPECT_EQ(sentenceOf(ask("simpleMovingAvg", {{QStringLiteral("length"), length}})),
                  QStringLiteral("length is from 1 to 1000."))
            << length;
    }
    EXPECT_EQ(sentenceOf(ask("hullMovingAvg", {{QStringLiteral("length"), 1.0}})),
              QStringLiteral("length is from 2 to 1000."));
    // Not a number at all is never in range.
    for (const double bad : {std::nan(""), HUGE_VAL, -HUGE_VAL}) {
        EXPECT_EQ(sentenceOf(ask("bollingerBands", {{QStringLiteral("numDevUp"), bad}})),
                  QStringLiteral("numDevUp is from 0 to 10."));
    }
    // Numbers print shortest: 0.001, not 1e-03 or 0.0010000000000000000208.
    EXPECT_EQ(sentenceOf(ask("parabolicSar", {{QStringLiteral("step"), 0.0001}})),
              QStringLiteral("step is from 0.001 to 1."));

    const QString notASource = QStringLiteral("source is one of close, open, high, low, hl2, hlc3, ohlc4.");
    for (const auto& bad :
         {std::variant<double, QString>(7.0), std::variant<double, QString>(-1.0),
          std::variant<double, QString>(1.5), std::variant<double, QString>(QStringLiteral("median")),
          std::variant<double, QString>(QStringLiteral("Close")),
          std::variant<double, QString>(QStringLiteral("7"))}) {
        EXPECT_EQ(sentenceOf(ask("simpleMovingAvg", {{QStringLiteral("source"), bad}})), notASource);
    }
}

TEST(StudyCatalog, RunAnswersEachRequestInOrder) {
    const auto candles = walkCandles(300);
    StudyRequest fast = ask("exponentialMovingAvg", {{QStringLiteral("length"), 10.0}});
    fast.label = QStringLiteral("ema10");
    const auto answers = StudyCatalog::run(
        candles, CandleInterval::oneMinute,
        {fast, ask("nope"), ask("bollingerBands"), ask("rsi", {{QStringLiteral("length"), 0.5}})});
    ASSERT_EQ(answers.size(), 4u);
    const auto& ema = std::get<StudyRun>(answers[0]);
    EXPECT_EQ(ema.label, QStringLiteral("ema10"));
    ASSERT_EQ(ema.outputs.size(), 1u);
    ASSERT_EQ(ema.outputs[0].size(), candles.size());
    EXPECT_FALSE(ema.outputs[0].value(8).has_value());
    // The tenth bar holds the mean of the first ten closes.
    double sum = 0;
    for (std::size_t i = 0; i < 10; ++i) sum += candles[i].close.toDouble();
    EXPECT_NEAR(*ema.outputs[0].value(9), sum / 10, 1e-12);
    EXPECT_TRUE(std::get<QString>(answers[1]).startsWith(QStringLiteral("nope isn't a study.")));
    EXPECT_EQ(std::get<StudyRun>(answers[2]).outputs.size(), 3u);
    EXPECT_EQ(std::get<QString>(answers[3]), sentenceOf(ask("rsi", {{QStringLiteral("length"), 0.5}})));

    // No candles: every series is empty, nothing fails.
    const auto none = StudyCatalog::run({}, CandleInterval::daily, {ask("bollingerBands")});
    for (const auto& series : std::get<StudyRun>(none.at(0)).outputs) EXPECT_EQ(series.size(), 0u);
}

// --- The catalogue itself ------------------------------------------------------------------------

TEST(StudyCatalog, HoldsEveryStudyTradersExpect) {
    const char* expected[] = {"simpleMovingAvg",
                              "exponentialMovingAvg",
                              "weightedMovingAvg",
                              "hullMovingAvg",
                              "volumeWeightedMovingAvg",
                              "bollingerBands",
                              "keltnerChannels",
                              "donchianChannels",
                              "macd",
                              "adx",
                              "parabolicSar",
                              "ichimoku",
                              "rsi",
                              "stochastic",
                              "stochasticRsi",
                              "cci",
                              "williamsR",
                              "rateOfChange",
                              "momentum",
                              "vwap",
                              "onBalanceVolume",
                              "volume",
                              "moneyFlowIndex",
                              "averageTrueRange",
                              "standardDeviation",
                              "historicalVolatility",
                              "doji",
                              "hammer",
                              "hangingMan",
                              "invertedHammer",
                              "shootingStar",
                              "bullishEngulfing",
                              "bearishEngulfing",
                              "bullishHarami",
                              "bearishHarami",
                              "piercingLine",
                              "darkCloudCover",
                              "morningStar",
                              "eveningStar",
                              "threeWhiteSoldiers",
                              "threeBlackCrows",
                              "marubozu"};
    for (const char* word : expected)
        EXPECT_NE(StudyCatalog::find(QString::fromLatin1(word)), nullptr) << word;
    EXPECT_EQ(StudyCatalog::find(u"simpleMovingAvg"), &StudyCatalog::kinds().front());
}

TEST(StudyCatalog, EveryKindIsWellFormed) {
    const QRegularExpression lowerCamel(QStringLiteral("^[a-z][A-Za-z0-9]*$"));
    std::set<QString> words;
    int previousGroup = 0;
    for (const StudyKind& kind : StudyCatalog::kinds()) {
        SCOPED_TRACE(kind.word.toStdString());
        EXPECT_TRUE(words.insert(kind.word).second) << "listed twice";
        EXPECT_TRUE(lowerCamel.match(kind.word).hasMatch());
        EXPECT_FALSE(kind.title.isEmpty());
        EXPECT_NE(kind.compute, nullptr);
        EXPECT_FALSE(kind.values.isEmpty());
        // Groups come together, in the menu's order.
        EXPECT_GE(static_cast<int>(kind.group), previousGroup);
        previousGroup = static_cast<int>(kind.group);

        std::set<QString> names;
        for (const QString& value : kind.values) {
            EXPECT_TRUE(lowerCamel.match(value).hasMatch()) << value.toStdString();
            EXPECT_TRUE(names.insert(value).second) << value.toStdString() << " twice";
        }
        std::set<QString> settings;
        for (const StudySetting& s : kind.settings) {
            SCOPED_TRACE(s.setting.toStdString());
            EXPECT_TRUE(settings.insert(s.setting).second) << "setting twice";
            EXPECT_TRUE(lowerCamel.match(s.setting).hasMatch());
            EXPECT_FALSE(s.label.isEmpty());
            EXPECT_LE(s.min, s.defaultValue);
            EXPECT_LE(s.defaultValue, s.max);
            EXPECT_GT(s.step, 0);
            if (s.type == StudySetting::Type::choice) {
                EXPECT_FALSE(s.choices.isEmpty());
                EXPECT_EQ(s.max, static_cast<double>(s.choices.size() - 1));
            } else {
                EXPECT_TRUE(s.choices.isEmpty());
            }
            if (s.type != StudySetting::Type::number) {
                EXPECT_EQ(s.defaultValue, std::floor(s.defaultValue));
            }
            // Every default settles as if asked for, so the catalogue never offers what it refuses.
            auto settled = StudyCatalog::settle({kind.word, {{s.setting, s.defaultValue}}, std::nullopt});
            EXPECT_TRUE(std::holds_alternative<StudyRun>(settled));
        }
        if (kind.group == StudyGroup::patterns) {
            EXPECT_EQ(kind.values, (QStringList{QStringLiteral("found"), QStringLiteral("bias")}));
        }
    }
}

TEST(StudyCatalog, EveryKindWorksOutAlignedSeries) {
    // Enough bars for the longest default warm-up (Ichimoku's 52 and 26) to pass.
    const auto candles = walkCandles(600);
    std::vector<StudyRequest> requests;
    for (const StudyKind& kind : StudyCatalog::kinds()) requests.push_back({kind.word, {}, std::nullopt});
    const auto answers = StudyCatalog::run(candles, CandleInterval::oneMinute, requests);
    ASSERT_EQ(answers.size(), StudyCatalog::kinds().size());
    for (std::size_t k = 0; k < answers.size(); ++k) {
        const StudyKind& kind = StudyCatalog::kinds()[k];
        SCOPED_TRACE(kind.word.toStdString());
        ASSERT_TRUE(std::holds_alternative<StudyRun>(answers[k]))
            << std::get<QString>(answers[k]).toStdString();
        const StudyRun& run = std::get<StudyRun>(answers[k]);
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
    }
}

// --- Candles to columns --------------------------------------------------------------------------

TEST(StudyBars, EachDecimalBecomesItsNearestDouble) {
    // The nearest double is what the C library reads from the same text; the fast path must agree
    // with it for ordinary prices and hand over correctly past its limits (more than 2^53 in the
    // mantissa, powers of ten past 10^22).
    const char* texts[] = {"187.34",
                           "0.1",
                           "-0.3",
                           "0",
                           "1e-7",
                           "123456.789",
                           "9007199254740993",
                           "1234567890.123456789",
                           "0.00000000000000000000000123",
                           "1e30",
                           "4.35",
                           "-17.015",
                           "99999999999999.99",
                           "5e-23"};
    std::vector<Candle> candles;
    for (const char* text : texts) {
        const Decimal price = *Decimal::parse(text);
        candles.push_back({Date(1.7e9), price, price, price, price, 123456789012LL});
    }
    const StudyBars bars(candles, CandleInterval::hourly);
    ASSERT_EQ(bars.size(), std::size(texts));
    EXPECT_EQ(bars.interval, CandleInterval::hourly);
    for (std::size_t i = 0; i < bars.size(); ++i) {
        const double exact = std::strtod(texts[i], nullptr);
        EXPECT_EQ(bars.close[i], exact) << texts[i];
        EXPECT_EQ(bars.open[i], exact) << texts[i];
        EXPECT_EQ(bars.high[i], exact) << texts[i];
        EXPECT_EQ(bars.low[i], exact) << texts[i];
        EXPECT_EQ(bars.volume[i], 123456789012.0);
        EXPECT_EQ(bars.time[i], 1.7e9);
    }
    EXPECT_FALSE(std::signbit(bars.close[3]));
}

}  // namespace
}  // namespace tavix
