#pragma once

#include "core/AlpacaProfile.h"
#include "market/BrokerID.h"
#include "market/Date.h"
#include "market/Enums.h"
#include "market/Json.h"
#include "market/SafetyLimits.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <map>
#include <optional>
#include <vector>

class QSettings;

namespace tavix {

// The view mode: plain words and whole shares, or the full ticket. Many choices are kept per mode.
enum class Mode { easy, expert };
TAVIX_ENUM_NAMES(Mode, std::string_view("easy"), std::string_view("expert"))

// How the watchlist is sorted. Stored by name: "range", "added", "price", "volume", "biggestMoves",
// "gainers", "alphabet".
enum class WatchlistSort { range, added, price, volume, biggestMoves, gainers, alphabet };
TAVIX_ENUM_NAMES(WatchlistSort, std::string_view("range"), std::string_view("added"),
                 std::string_view("price"), std::string_view("volume"), std::string_view("biggestMoves"),
                 std::string_view("gainers"), std::string_view("alphabet"))

// The span of the statistics panel: "today", "week", "month", "threeMonths", "year", "all".
enum class StatsRange { today, week, month, threeMonths, year, all };
TAVIX_ENUM_NAMES(StatsRange, std::string_view("today"), std::string_view("week"), std::string_view("month"),
                 std::string_view("threeMonths"), std::string_view("year"), std::string_view("all"))

// Which modes and charts are switched on.
struct ViewChoice {
    bool easyMode = true;
    bool expertMode = true;
    bool easyChart = true;
    bool expertChart = true;
    bool easyOpensExpertChart = false;
    bool expertOpensExpertChart = false;

    friend bool operator==(const ViewChoice&, const ViewChoice&) = default;
};

// The terms the user accepted and when.
struct TermsAgreement {
    int version = 0;
    Date agreedAt;

    friend bool operator==(const TermsAgreement&, const TermsAgreement&) = default;
};

// Everything Tavix remembers between runs apart from secrets, each value bound to one "tavix.*"
// key of the user's settings (INI through QSettings). The store is "com.brindlecove.tavix", or
// "com.brindlecove.tavix.<suite>" when the standard store names a suite under `tavixSuite`, so a
// test run or an alternate profile keeps its own state. Developer keys are read from the standard
// store only.
//
// Records are stored as JSON bytes, plain values natively, enumerations by name. A value that is
// missing or does not decode gives the default; nothing is shown. Lists are written whole.
// Records owned by automations that are not built here (bounces, watches, alerts, studies, bots,
// shortcuts, MIDI) are kept as JSON exactly as they were written: never dropped or rewritten.
//
// Main thread only.
class Session {
public:
    Session() = delete;

    // --- the stores -----------------------------------------------------------------------------
    // The standard store, where the developer keys live.
    static QSettings& standardStore();
    // The store in use: the suite's when one is named, the standard one otherwise.
    static QSettings& store();
    // Forgets the opened stores so the next access reads `tavixSuite` again (tests change it).
    static void reopen();
    // Writes pending changes to disk; done before the application quits.
    static void flush();

    static std::optional<QString> suite();  // tavixSuite, when non-empty
    static bool isTestSuite();
    // True when an automated test run hosts the application (the environment variable
    // TAVIX_TEST_CONFIGURATION names a file): then nothing is loaded or started.
    static bool hostsTests();

    // --- developer keys (standard store only) ---------------------------------------------------
    // Seconds of artificial broker delay; read only under a test suite, zero otherwise.
    static double lag();
    static std::optional<QString> developerText(const QString& key);  // tavixFakePaper, tavixOpenSymbol …
    static bool developerFlag(const QString& key);

    // --- accounts -------------------------------------------------------------------------------
    static std::vector<AlpacaProfile> alpacaProfiles();
    static void setAlpacaProfiles(const std::vector<AlpacaProfile>& profiles);
    static std::optional<QString> alpacaSlot();
    static void setAlpacaSlot(const std::optional<QString>& slot);
    static std::optional<BrokerID> broker();
    static void setBroker(const std::optional<BrokerID>& id);

    // Nothing until the user (or the first account read) chose limits.
    static std::optional<SafetyLimits> limits();
    static void setLimits(const SafetyLimits& limits);

    // --- automations' records, kept as JSON ----------------------------------------------------
    // The bounce list. An older single bounce under "tavix.bounce" is read into the list, and its
    // key removed when the list is next written.
    static Json::Array bounces();
    static void setBounces(const Json::Array& bounces);
    static QStringList bounceOrders();
    static void setBounceOrders(const QStringList& ids);
    static std::optional<QString> bounceBreakUp();  // "end" or "follow"
    static void setBounceBreakUp(const QString& choice);
    static std::optional<QString> bounceBreakDown();
    static void setBounceBreakDown(const QString& choice);
    // Contract watches. When the list was never written, the watches kept under the older
    // "tavix.deadlineSales" dictionary (its values, in key order) are taken over; that key is
    // removed when the list is next written.
    static Json::Array contractWatches();
    static void setContractWatches(const Json::Array& watches);
    static Json::Array rideWatches();
    static void setRideWatches(const Json::Array& watches);
    static Json::Array priceAlerts();
    static void setPriceAlerts(const Json::Array& alerts);
    static Json::Array studies();
    static void setStudies(const Json::Array& studies);
    static Json::Array bots();
    static void setBots(const Json::Array& bots);
    static Json shortcuts();  // an object, action to key combination
    static void setShortcuts(const Json& shortcuts);
    static Json midiMap();  // an object, trigger to action
    static void setMidiMap(const Json& map);

    // --- the watchlist --------------------------------------------------------------------------
    static std::optional<QStringList> watchlist();
    static void setWatchlist(const QStringList& symbols);
    // The list last agreed with the broker's own list for that account.
    static std::optional<QStringList> watchlistBase(const QString& account);
    static void setWatchlistBase(const QStringList& symbols, const QString& account);
    static std::optional<WatchlistSort> sort(Mode mode);
    static void setSort(WatchlistSort sort, Mode mode);
    static bool sortReversed(Mode mode);
    static void setSortReversed(bool reversed, Mode mode);

    // Which columns the watchlist shows in a mode, by name; "tavix.watchlistColumns.<mode>".
    static std::optional<QStringList> watchlistColumns(Mode mode);
    static void setWatchlistColumns(const QStringList& columns, Mode mode);

    // --- the window -----------------------------------------------------------------------------
    // The symbol on the chart ("tavix.selectedSymbol") and its interval by name
    // ("tavix.chartInterval").
    static std::optional<QString> selectedSymbol();
    static void setSelectedSymbol(const QString& symbol);
    static std::optional<CandleInterval> chartInterval();
    static void setChartInterval(CandleInterval interval);
    // The main window's place and size, as Qt saves it ("tavix.windowGeometry").
    static QByteArray windowGeometry();
    static void setWindowGeometry(const QByteArray& geometry);
    // Each splitter's sizes by its name, as a JSON object of lists of pixels ("tavix.splitters").
    static std::map<QString, QList<int>> splitters();
    static void setSplitters(const std::map<QString, QList<int>>& sizes);

    // --- view, sounds, notices ------------------------------------------------------------------
    static std::optional<bool> chartNow();
    static void setChartNow(std::optional<bool> now);
    static ViewChoice viewChoice();
    static void setViewChoice(const ViewChoice& choice);
    static std::optional<StatsRange> statsRange();
    static void setStatsRange(StatsRange range);
    static bool sounds();
    static void setSounds(bool on);
    static bool bells();
    static void setBells(bool on);
    static bool clicks();
    static void setClicks(bool on);
    static std::optional<double> soundLevel(const QString& cue);  // "tavix.sound.<cue>.level"
    static void setSoundLevel(const QString& cue, double level);
    // Notices per kind ("exits", "bounces", "fills", "watches", "trouble", "connection",
    // "alerts"), on unless switched off; "tavix.notices.<kind>".
    static bool notices(const QString& kind);
    static void setNotices(const QString& kind, bool on);
    static std::optional<TermsAgreement> termsAgreed();
    static void setTermsAgreed(const TermsAgreement& terms);

    // --- the practice broker's ledger -----------------------------------------------------------
    // A file in the application's data folder, one per suite.
    static QString practiceStoreURL();
};

}  // namespace tavix
