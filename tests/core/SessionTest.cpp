#include "core/Session.h"

#include <QDateTime>
#include <QFile>
#include <QSettings>

#include <gtest/gtest.h>

#include <functional>
#include <utility>
#include <vector>

namespace tavix {
namespace {

Decimal dec(const char* text) {
    return *Decimal::parse(std::string_view(text));
}

// Every test starts from empty stores and reads through files, as the next run of the app would.
class SessionTest : public ::testing::Test {
protected:
    void SetUp() override { wipe(); }
    void TearDown() override { wipe(); }

    static void wipe() {
        Session::reopen();
        Session::store().clear();
        Session::standardStore().clear();
    }

    // Writes everything out and forgets the opened stores, as quitting and starting again does.
    // Qt keeps a file's values in memory while the file looks unchanged, so the files are made to
    // look touched: the next read parses their text, as a new run would.
    static void restart() {
        const QStringList files = {Session::standardStore().fileName(), Session::store().fileName()};
        Session::flush();
        Session::reopen();
        for (const QString& name : files) {
            QFile file(name);
            if (!file.open(QIODevice::ReadWrite)) continue;
            const QDateTime modified = file.fileTime(QFileDevice::FileModificationTime);
            ASSERT_TRUE(file.setFileTime(modified.addSecs(-60), QFileDevice::FileModificationTime));
        }
    }

    static void putRaw(const char* key, const QVariant& value) {
        Session::store().setValue(QString::fromLatin1(key), value);
    }
    static QByteArray raw(const char* key) {
        return Session::store().value(QString::fromLatin1(key)).toByteArray();
    }
};

// INI keeps lists and flags as text: an empty list, a one-item list and a symbol with a comma must
// all come back as they went in.
TEST_F(SessionTest, ChoicesSurviveARestartAndSoDoesClearingThem) {
    const std::vector<AlpacaProfile> profiles = {
        {.slot = QStringLiteral("alpaca"),
         .accountID = QStringLiteral("a1b2"),
         .number = QStringLiteral("PA3X"),
         .live = false,
         .name = QStringLiteral("Swing, mostly")},
        {.slot = QStringLiteral("alpaca-2"), .live = true},
    };
    const QStringList coins = {QStringLiteral("BTC/USD"), QStringLiteral("A,B"), QStringLiteral("@X")};
    Session::setAlpacaProfiles(profiles);
    Session::setAlpacaSlot(QStringLiteral("alpaca-2"));
    Session::setBroker(BrokerID::alpaca());
    // Limits the user cleared are a choice of their own, not "never chosen".
    Session::setLimits(SafetyLimits{.perTrade = dec("2500.50"), .dailyLoss = std::nullopt});
    Session::setWatchlist({});
    Session::setWatchlistBase({QStringLiteral("AAPL")}, QStringLiteral("acct-1"));
    Session::setWatchlistBase(coins, QStringLiteral("acct-2"));
    Session::setBounceOrders({QStringLiteral("o-1")});
    Session::setSort(WatchlistSort::biggestMoves, Mode::easy);
    Session::setSort(WatchlistSort::alphabet, Mode::expert);
    Session::setSortReversed(true, Mode::expert);
    Session::setBounceBreakUp(QStringLiteral("follow"));
    Session::setBounceBreakDown(QStringLiteral("end"));
    restart();

    EXPECT_EQ(Session::alpacaProfiles(), profiles);
    EXPECT_EQ(Session::alpacaSlot(), QStringLiteral("alpaca-2"));
    EXPECT_EQ(Session::broker(), BrokerID::alpaca());
    EXPECT_EQ(Session::limits(), (SafetyLimits{.perTrade = dec("2500.50"), .dailyLoss = std::nullopt}));
    EXPECT_EQ(Session::watchlist(), QStringList());
    EXPECT_EQ(Session::watchlistBase(QStringLiteral("acct-1")), QStringList{QStringLiteral("AAPL")});
    EXPECT_EQ(Session::watchlistBase(QStringLiteral("acct-2")), coins);
    EXPECT_EQ(Session::bounceOrders(), QStringList{QStringLiteral("o-1")});
    EXPECT_EQ(Session::sort(Mode::easy), WatchlistSort::biggestMoves);
    EXPECT_EQ(Session::sort(Mode::expert), WatchlistSort::alphabet);
    EXPECT_FALSE(Session::sortReversed(Mode::easy));
    EXPECT_TRUE(Session::sortReversed(Mode::expert));
    EXPECT_EQ(Session::bounceBreakUp(), QStringLiteral("follow"));
    EXPECT_EQ(Session::bounceBreakDown(), QStringLiteral("end"));
    // Enumerations are kept by name, so a reordered enumeration can't change a saved choice.
    EXPECT_EQ(raw("tavix.sort.easy"), QByteArrayLiteral("biggestMoves"));

    Session::setLimits(SafetyLimits{});
    Session::setAlpacaSlot(std::nullopt);
    Session::setBroker(std::nullopt);
    restart();
    EXPECT_EQ(Session::limits(), SafetyLimits{});
    EXPECT_EQ(Session::alpacaSlot(), std::nullopt);
    EXPECT_EQ(Session::broker(), std::nullopt);
}

TEST_F(SessionTest, DamagedValuesGiveTheDefaultAndSpareTheirNeighbours) {
    const std::pair<const char*, QVariant> damaged[] = {
        {"tavix.limits", QByteArrayLiteral(R"({"perTrade":"lots"})")},
        {"tavix.bounces", QByteArrayLiteral(R"([{"symbol":)")},
        {"tavix.shortcuts", QByteArrayLiteral("[1,2]")},
        // One profile without a slot can't find its keys; the other still can.
        {"tavix.alpacaProfiles",
         QByteArrayLiteral(
             R"([{"slot":"","live":false},{"slot":"alpaca","live":"yes"},{"slot":"alpaca-x"}])")},
        {"tavix.sort.easy", QStringLiteral("sideways")},
        {"tavix.statsRange", QStringLiteral("decade")},
        {"tavix.sounds", QStringLiteral("maybe")},
        {"tavix.chartNow", QStringLiteral("perhaps")},
        {"tavix.view.easyMode", QStringLiteral("perhaps")},
        {"tavix.sound.fill.level", QStringLiteral("loud")},
        {"tavix.bounceBreakUp", QStringLiteral("sideways")},
        {"tavix.terms.version", 2},
        {"tavix.terms.agreedAt", QStringLiteral("yesterday")},
    };
    for (const auto& [key, value] : damaged) putRaw(key, value);
    restart();

    EXPECT_EQ(Session::limits(), std::nullopt);
    EXPECT_TRUE(Session::bounces().empty());
    EXPECT_EQ(Session::shortcuts(), Json::object());
    const auto profiles = Session::alpacaProfiles();
    ASSERT_EQ(profiles.size(), 1u);
    EXPECT_EQ(profiles[0].slot, QStringLiteral("alpaca-x"));
    EXPECT_EQ(Session::sort(Mode::easy), std::nullopt);
    EXPECT_EQ(Session::statsRange(), std::nullopt);
    EXPECT_TRUE(Session::sounds());
    EXPECT_EQ(Session::chartNow(), std::nullopt);
    EXPECT_TRUE(Session::viewChoice().easyMode);
    EXPECT_EQ(Session::soundLevel(QStringLiteral("fill")), std::nullopt);
    EXPECT_EQ(Session::bounceBreakUp(), std::nullopt);
    EXPECT_EQ(Session::termsAgreed(), std::nullopt);
}

// Records of automations this build does not read go back exactly as they came: exact numbers,
// unknown fields and key order included.
TEST_F(SessionTest, OpaqueRecordsAreWrittenBackByteForByte) {
    const std::vector<std::pair<const char*, std::function<void()>>> lists = {
        {"tavix.bounces", [] { Session::setBounces(Session::bounces()); }},
        {"tavix.contractWatches", [] { Session::setContractWatches(Session::contractWatches()); }},
        {"tavix.rideWatches", [] { Session::setRideWatches(Session::rideWatches()); }},
        {"tavix.priceAlerts", [] { Session::setPriceAlerts(Session::priceAlerts()); }},
        {"tavix.studies", [] { Session::setStudies(Session::studies()); }},
        {"tavix.bots", [] { Session::setBots(Session::bots()); }},
    };
    const QByteArray list = QByteArrayLiteral(
        R"([{"z":1,"a":{"price":187.50,"id":12345678901234567890123,"tiny":1e-7},"note":"caf\u00e9 \"ok\""},)"
        R"({"future":[true,null,-0.0]}])");
    const QByteArray map = QByteArrayLiteral(R"({"buy":"Ctrl+B","sell":"Ctrl+Shift+S","0x90/60":"cancelAll"})");
    for (const auto& [key, readAndWrite] : lists) putRaw(key, list);
    putRaw("tavix.shortcuts", map);
    putRaw("tavix.midi", map);
    restart();

    for (const auto& [key, readAndWrite] : lists) readAndWrite();
    Session::setShortcuts(Session::shortcuts());
    Session::setMidiMap(Session::midiMap());
    restart();

    // The one escape that may change is \u00e9, which comes back as its UTF-8 bytes.
    QByteArray expected = list;
    expected.replace(QByteArrayLiteral("\\u00e9"), QStringLiteral("\u00e9").toUtf8());
    for (const auto& [key, readAndWrite] : lists) EXPECT_EQ(raw(key), expected) << key;
    EXPECT_EQ(raw("tavix.shortcuts"), map);
    EXPECT_EQ(raw("tavix.midi"), map);
}

TEST_F(SessionTest, AnOlderSingleBounceJoinsTheListUntilTheListIsWritten) {
    const Json older = Json::parse(R"({"plan":{"symbol":"F"},"phase":"buying"})");
    putRaw("tavix.bounce", older.serialize());
    restart();
    ASSERT_EQ(Session::bounces(), Json::Array{older});

    // An older version run after a newer one: its bounce is kept beside the list, once.
    const Json newer = Json::parse(R"({"plan":{"symbol":"T"},"phase":"selling"})");
    putRaw("tavix.bounces", Json(Json::Array{newer}).serialize());
    EXPECT_EQ(Session::bounces(), (Json::Array{newer, older}));
    putRaw("tavix.bounces", Json(Json::Array{older, newer}).serialize());
    EXPECT_EQ(Session::bounces(), (Json::Array{older, newer}));

    Session::setBounces({});
    restart();
    EXPECT_FALSE(Session::store().contains(QStringLiteral("tavix.bounce")));
    EXPECT_TRUE(Session::bounces().empty());
}

TEST_F(SessionTest, OlderDeadlineSalesAreTakenOverUntilWatchesAreWritten) {
    const Json first = Json::parse(R"({"symbol":"AAPL260320C00200000","sellBy":"2026-03-19T19:00:00Z"})");
    const Json second = Json::parse(R"({"symbol":"TSLA260320P00150000"})");
    // Keyed by watch and out of order: the watches come back in key order.
    putRaw("tavix.deadlineSales", QByteArray(QByteArray(R"({"b-watch":)") + second.serialize() +
                                             R"(,"a-watch":)" + first.serialize() + "}"));
    restart();
    EXPECT_EQ(Session::contractWatches(), (Json::Array{first, second}));

    // Once the list was written, even empty, the old dictionary is gone for good.
    Session::setContractWatches({});
    restart();
    EXPECT_FALSE(Session::store().contains(QStringLiteral("tavix.deadlineSales")));
    EXPECT_TRUE(Session::contractWatches().empty());
}

}  // namespace
}  // namespace tavix
