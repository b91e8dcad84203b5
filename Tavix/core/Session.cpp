#include "core/Session.h"

#include "market/JsonCodec.h"
#include "market/RecordJson.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QSettings>
#include <QStandardPaths>

#include <algorithm>
#include <cmath>
#include <memory>

namespace tavix {

namespace {

const QString organisation = QStringLiteral("com.brindlecove.tavix");

// The opened stores, kept so that every read is a map look-up rather than a file open.
struct Stores {
    std::unique_ptr<QSettings> standard;
    std::unique_ptr<QSettings> suite;  // null while the standard store is the one in use
    bool chosen = false;               // whether `tavixSuite` was read since the last reopen
};

Stores& stores() {
    static Stores opened;
    return opened;
}

std::unique_ptr<QSettings> openStore(const QString& name) {
    // The stores are written back when the application object goes, not in static destruction
    // after it, when Qt's file machinery may already be gone.
    static const bool cleanUpRegistered = [] {
        qAddPostRoutine([] { Session::reopen(); });
        return true;
    }();
    Q_UNUSED(cleanUpRegistered)
    return std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope, name, QString());
}

// Letters, digits, '-', '_' and '.' stay; anything else (a slash, a space) becomes '_', so a
// name can't leave its folder or trip a file system.
QString fileSafe(const QString& text) {
    QString safe;
    safe.reserve(text.size());
    for (QChar c : text) {
        const bool plain = (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') ||
                           c == u'-' || c == u'_' || c == u'.';
        safe.append(plain ? c : QChar(u'_'));
    }
    return safe;
}

// --- plain values --------------------------------------------------------------------------------
// INI keeps every value as text, so each reader accepts the native type (a value set in this run)
// and its text (a value read from the file), and treats anything else as absent.

std::optional<QString> readText(const QSettings& store, const QString& key) {
    const QVariant value = store.value(key);
    if (value.typeId() != QMetaType::QString) return std::nullopt;
    QString text = value.toString();
    if (text.trimmed().isEmpty()) return std::nullopt;
    return text;
}

std::optional<bool> readBool(const QSettings& store, const QString& key) {
    const QVariant value = store.value(key);
    if (value.typeId() == QMetaType::Bool) return value.toBool();
    if (value.typeId() != QMetaType::QString) return std::nullopt;
    const QString text = value.toString().trimmed();
    if (text.compare(u"true", Qt::CaseInsensitive) == 0 || text == u"1") return true;
    if (text.compare(u"false", Qt::CaseInsensitive) == 0 || text == u"0") return false;
    return std::nullopt;
}

std::optional<double> readDouble(const QSettings& store, const QString& key) {
    const QVariant value = store.value(key);
    if (!value.isValid()) return std::nullopt;
    bool ok = false;
    const double number =
        value.typeId() == QMetaType::Double ? value.toDouble(&ok) : value.toString().trimmed().toDouble(&ok);
    if (!ok || !std::isfinite(number)) return std::nullopt;
    return number;
}

std::optional<int> readInt(const QSettings& store, const QString& key) {
    const QVariant value = store.value(key);
    if (!value.isValid()) return std::nullopt;
    bool ok = false;
    const int number =
        value.typeId() == QMetaType::Int ? value.toInt(&ok) : value.toString().trimmed().toInt(&ok);
    if (!ok) return std::nullopt;
    return number;
}

std::optional<Date> readDate(const QSettings& store, const QString& key) {
    const QVariant value = store.value(key);
    if (value.typeId() == QMetaType::QDateTime) {
        const QDateTime at = value.toDateTime();
        if (!at.isValid()) return std::nullopt;
        return Date(static_cast<double>(at.toMSecsSinceEpoch()) / 1000.0);
    }
    if (value.typeId() != QMetaType::QString) return std::nullopt;
    return Date::parseIso(value.toString().trimmed());
}

// A list of texts. INI writes an empty list as an invalid value and reads a one-item list back as
// a single text; both come back as lists here, and a key that is present always gives a list.
std::optional<QStringList> readTextList(const QSettings& store, const QString& key) {
    if (!store.contains(key)) return std::nullopt;
    const QVariant value = store.value(key);
    if (!value.isValid()) return QStringList();
    if (value.typeId() == QMetaType::QStringList) return value.toStringList();
    if (value.typeId() == QMetaType::QString) return QStringList{value.toString()};
    return std::nullopt;
}

template <class E>
std::optional<E> readEnum(const QSettings& store, const QString& key) {
    const auto text = readText(store, key);
    if (!text) return std::nullopt;
    return enumFromName<E>(text->toStdString());
}

// --- JSON records ----------------------------------------------------------------------------------

std::optional<Json> readJson(const QSettings& store, const QString& key) {
    const QVariant value = store.value(key);
    if (value.typeId() != QMetaType::QByteArray && value.typeId() != QMetaType::QString) return std::nullopt;
    const QByteArray bytes = value.toByteArray();
    if (bytes.isEmpty()) return std::nullopt;
    try {
        return Json::parse(bytes);
    } catch (const JsonError&) {
        return std::nullopt;
    }
}

void writeJson(QSettings& store, const QString& key, const Json& json) {
    store.setValue(key, json.serialize());
}

Json::Array readArray(const QSettings& store, const QString& key) {
    auto json = readJson(store, key);
    if (!json || !json->isArray()) return {};
    return std::move(json->items());
}

Json readObject(const QSettings& store, const QString& key) {
    auto json = readJson(store, key);
    if (!json || !json->isObject()) return Json::object();
    return std::move(*json);
}

QString modeKey(const char* prefix, Mode mode) {
    return QString::fromLatin1(prefix) + enumText(mode);
}

// Keys.
const QString alpacaProfilesKey = QStringLiteral("tavix.alpacaProfiles");
const QString alpacaSlotKey = QStringLiteral("tavix.alpacaSlot");
const QString brokerKey = QStringLiteral("tavix.broker");
const QString limitsKey = QStringLiteral("tavix.limits");
const QString bouncesKey = QStringLiteral("tavix.bounces");
const QString oldBounceKey = QStringLiteral("tavix.bounce");
const QString bounceOrdersKey = QStringLiteral("tavix.bounceOrders");
const QString bounceBreakUpKey = QStringLiteral("tavix.bounceBreakUp");
const QString bounceBreakDownKey = QStringLiteral("tavix.bounceBreakDown");
const QString contractWatchesKey = QStringLiteral("tavix.contractWatches");
const QString oldDeadlineSalesKey = QStringLiteral("tavix.deadlineSales");
const QString rideWatchesKey = QStringLiteral("tavix.rideWatches");
const QString priceAlertsKey = QStringLiteral("tavix.priceAlerts");
const QString studiesKey = QStringLiteral("tavix.studies");
const QString botsKey = QStringLiteral("tavix.bots");
const QString shortcutsKey = QStringLiteral("tavix.shortcuts");
const QString midiKey = QStringLiteral("tavix.midi");
const QString watchlistKey = QStringLiteral("tavix.watchlist");
const QString watchlistBasePrefix = QStringLiteral("tavix.watchlistBase.");
const QString chartNowKey = QStringLiteral("tavix.chartNow");
const QString statsRangeKey = QStringLiteral("tavix.statsRange");
const QString soundsKey = QStringLiteral("tavix.sounds");
const QString bellsKey = QStringLiteral("tavix.bells");
const QString clicksKey = QStringLiteral("tavix.clicks");
const QString termsVersionKey = QStringLiteral("tavix.terms.version");
const QString termsAgreedAtKey = QStringLiteral("tavix.terms.agreedAt");
const QString suiteKey = QStringLiteral("tavixSuite");
const QString lagKey = QStringLiteral("tavixLag");

struct ViewKey {
    const char* key;
    bool ViewChoice::*field;
};
constexpr ViewKey viewKeys[] = {
    {"tavix.view.easyMode", &ViewChoice::easyMode},
    {"tavix.view.expertMode", &ViewChoice::expertMode},
    {"tavix.view.easyChart", &ViewChoice::easyChart},
    {"tavix.view.expertChart", &ViewChoice::expertChart},
    {"tavix.view.easyOpensExpertChart", &ViewChoice::easyOpensExpertChart},
    {"tavix.view.expertOpensExpertChart", &ViewChoice::expertOpensExpertChart},
};

bool isBreakOutChoice(const QString& choice) {
    return choice == u"end" || choice == u"follow";
}

}  // namespace

// --- the stores ------------------------------------------------------------------------------------

QSettings& Session::standardStore() {
    Stores& opened = stores();
    if (!opened.standard) opened.standard = openStore(organisation);
    return *opened.standard;
}

QSettings& Session::store() {
    Stores& opened = stores();
    if (!opened.chosen) {
        opened.chosen = true;
        if (const auto name = suite()) opened.suite = openStore(organisation + u'.' + fileSafe(*name));
    }
    return opened.suite ? *opened.suite : standardStore();
}

void Session::reopen() {
    Stores& opened = stores();
    opened.suite.reset();
    opened.standard.reset();
    opened.chosen = false;
}

void Session::flush() {
    Stores& opened = stores();
    if (opened.standard) opened.standard->sync();
    if (opened.suite) opened.suite->sync();
}

std::optional<QString> Session::suite() {
    return readText(standardStore(), suiteKey);
}

bool Session::isTestSuite() {
    return suite().has_value();
}

bool Session::hostsTests() {
    return !qEnvironmentVariableIsEmpty("TAVIX_TEST_CONFIGURATION");
}

// --- developer keys --------------------------------------------------------------------------------

double Session::lag() {
    if (!isTestSuite()) return 0;
    const auto seconds = readDouble(standardStore(), lagKey);
    return seconds && *seconds > 0 ? *seconds : 0;
}

std::optional<QString> Session::developerText(const QString& key) {
    return readText(standardStore(), key);
}

bool Session::developerFlag(const QString& key) {
    return readBool(standardStore(), key).value_or(false);
}

// --- accounts --------------------------------------------------------------------------------------

std::vector<AlpacaProfile> Session::alpacaProfiles() {
    const Json::Array items = readArray(store(), alpacaProfilesKey);
    // One damaged profile must not cost the user the others.
    std::vector<AlpacaProfile> profiles;
    profiles.reserve(items.size());
    for (const Json& item : items) {
        try {
            profiles.push_back(decodeJson<AlpacaProfile>(item));
        } catch (const JsonError&) {
        }
    }
    return profiles;
}

void Session::setAlpacaProfiles(const std::vector<AlpacaProfile>& profiles) {
    writeJson(store(), alpacaProfilesKey, toJson(profiles));
}

std::optional<QString> Session::alpacaSlot() {
    return readText(store(), alpacaSlotKey);
}

void Session::setAlpacaSlot(const std::optional<QString>& slot) {
    if (slot)
        store().setValue(alpacaSlotKey, *slot);
    else
        store().remove(alpacaSlotKey);
}

std::optional<BrokerID> Session::broker() {
    const auto raw = readText(store(), brokerKey);
    if (!raw) return std::nullopt;
    return BrokerID{*raw};
}

void Session::setBroker(const std::optional<BrokerID>& id) {
    if (id)
        store().setValue(brokerKey, id->rawValue);
    else
        store().remove(brokerKey);
}

std::optional<SafetyLimits> Session::limits() {
    const auto json = readJson(store(), limitsKey);
    if (!json) return std::nullopt;
    try {
        return decodeJson<SafetyLimits>(*json);
    } catch (const JsonError&) {
        return std::nullopt;
    }
}

void Session::setLimits(const SafetyLimits& limits) {
    writeJson(store(), limitsKey, toJson(limits));
}

// --- automations' records --------------------------------------------------------------------------

// The list is what the current bounce automation wrote. An older version kept one bounce under
// "tavix.bounce"; it joins the list unless an equal record is already there, so a bounce started
// by an older version run after this one is never lost. Writing the list retires the old key.
Json::Array Session::bounces() {
    Json::Array list = readArray(store(), bouncesKey);
    auto old = readJson(store(), oldBounceKey);
    if (old && old->isObject() && std::find(list.begin(), list.end(), *old) == list.end())
        list.push_back(std::move(*old));
    return list;
}

void Session::setBounces(const Json::Array& bounces) {
    writeJson(store(), bouncesKey, Json(bounces));
    store().remove(oldBounceKey);
}

QStringList Session::bounceOrders() {
    return readTextList(store(), bounceOrdersKey).value_or(QStringList());
}

void Session::setBounceOrders(const QStringList& ids) {
    store().setValue(bounceOrdersKey, ids);
}

std::optional<QString> Session::bounceBreakUp() {
    auto choice = readText(store(), bounceBreakUpKey);
    if (!choice || !isBreakOutChoice(*choice)) return std::nullopt;
    return choice;
}

void Session::setBounceBreakUp(const QString& choice) {
    store().setValue(bounceBreakUpKey, choice);
}

std::optional<QString> Session::bounceBreakDown() {
    auto choice = readText(store(), bounceBreakDownKey);
    if (!choice || !isBreakOutChoice(*choice)) return std::nullopt;
    return choice;
}

void Session::setBounceBreakDown(const QString& choice) {
    store().setValue(bounceBreakDownKey, choice);
}

Json::Array Session::contractWatches() {
    if (store().contains(contractWatchesKey)) return readArray(store(), contractWatchesKey);
    auto old = readJson(store(), oldDeadlineSalesKey);
    if (!old || !old->isObject()) return {};
    Json::Object members = std::move(old->members());
    std::stable_sort(members.begin(), members.end(),
                     [](const Json::Member& a, const Json::Member& b) { return a.first < b.first; });
    Json::Array watches;
    watches.reserve(members.size());
    for (auto& [key, watch] : members) {
        if (!watch.isNull()) watches.push_back(std::move(watch));
    }
    return watches;
}

void Session::setContractWatches(const Json::Array& watches) {
    writeJson(store(), contractWatchesKey, Json(watches));
    store().remove(oldDeadlineSalesKey);
}

Json::Array Session::rideWatches() {
    return readArray(store(), rideWatchesKey);
}
void Session::setRideWatches(const Json::Array& watches) {
    writeJson(store(), rideWatchesKey, Json(watches));
}

Json::Array Session::priceAlerts() {
    return readArray(store(), priceAlertsKey);
}
void Session::setPriceAlerts(const Json::Array& alerts) {
    writeJson(store(), priceAlertsKey, Json(alerts));
}

Json::Array Session::studies() {
    return readArray(store(), studiesKey);
}
void Session::setStudies(const Json::Array& studies) {
    writeJson(store(), studiesKey, Json(studies));
}

Json::Array Session::bots() {
    return readArray(store(), botsKey);
}
void Session::setBots(const Json::Array& bots) {
    writeJson(store(), botsKey, Json(bots));
}

Json Session::shortcuts() {
    return readObject(store(), shortcutsKey);
}
void Session::setShortcuts(const Json& shortcuts) {
    writeJson(store(), shortcutsKey, shortcuts);
}

Json Session::midiMap() {
    return readObject(store(), midiKey);
}
void Session::setMidiMap(const Json& map) {
    writeJson(store(), midiKey, map);
}

// --- the watchlist ---------------------------------------------------------------------------------

std::optional<QStringList> Session::watchlistColumns(Mode mode) {
    return readTextList(store(), modeKey("tavix.watchlistColumns.", mode));
}
void Session::setWatchlistColumns(const QStringList& columns, Mode mode) {
    store().setValue(modeKey("tavix.watchlistColumns.", mode), columns);
}

std::optional<QString> Session::selectedSymbol() {
    return readText(store(), QStringLiteral("tavix.selectedSymbol"));
}
void Session::setSelectedSymbol(const QString& symbol) {
    store().setValue(QStringLiteral("tavix.selectedSymbol"), symbol);
}

std::optional<CandleInterval> Session::chartInterval() {
    return readEnum<CandleInterval>(store(), QStringLiteral("tavix.chartInterval"));
}
void Session::setChartInterval(CandleInterval interval) {
    store().setValue(QStringLiteral("tavix.chartInterval"), enumText(interval));
}

QByteArray Session::windowGeometry() {
    const QVariant value = store().value(QStringLiteral("tavix.windowGeometry"));
    return value.typeId() == QMetaType::QByteArray ? value.toByteArray() : QByteArray();
}
void Session::setWindowGeometry(const QByteArray& geometry) {
    store().setValue(QStringLiteral("tavix.windowGeometry"), geometry);
}

std::map<QString, QList<int>> Session::splitters() {
    std::map<QString, QList<int>> sizes;
    const Json saved = readObject(store(), QStringLiteral("tavix.splitters"));
    for (const auto& [name, list] : saved.members()) {
        if (!list.isArray()) continue;
        QList<int> pixels;
        for (const Json& item : list.items()) {
            if (!item.isNumber()) break;
            try {
                const long long value = item.toInt64();
                if (value < 0 || value > 100000) break;
                pixels << static_cast<int>(value);
            } catch (const JsonError&) {
                break;
            }
        }
        if (pixels.size() == static_cast<qsizetype>(list.items().size())) {
            sizes[QString::fromStdString(name)] = pixels;
        }
    }
    return sizes;
}
void Session::setSplitters(const std::map<QString, QList<int>>& sizes) {
    Json object = Json::object();
    for (const auto& [name, pixels] : sizes) {
        Json::Array list;
        for (const int value : pixels) list.emplace_back(value);
        object.set(name.toStdString(), Json(std::move(list)));
    }
    writeJson(store(), QStringLiteral("tavix.splitters"), object);
}

std::optional<QStringList> Session::watchlist() {
    return readTextList(store(), watchlistKey);
}
void Session::setWatchlist(const QStringList& symbols) {
    store().setValue(watchlistKey, symbols);
}

std::optional<QStringList> Session::watchlistBase(const QString& account) {
    return readTextList(store(), watchlistBasePrefix + account);
}

void Session::setWatchlistBase(const QStringList& symbols, const QString& account) {
    store().setValue(watchlistBasePrefix + account, symbols);
}

std::optional<WatchlistSort> Session::sort(Mode mode) {
    return readEnum<WatchlistSort>(store(), modeKey("tavix.sort.", mode));
}

void Session::setSort(WatchlistSort sort, Mode mode) {
    store().setValue(modeKey("tavix.sort.", mode), enumText(sort));
}

bool Session::sortReversed(Mode mode) {
    return readBool(store(), modeKey("tavix.sortReversed.", mode)).value_or(false);
}

void Session::setSortReversed(bool reversed, Mode mode) {
    store().setValue(modeKey("tavix.sortReversed.", mode), reversed);
}

// --- view, sounds, notices -------------------------------------------------------------------------

std::optional<bool> Session::chartNow() {
    return readBool(store(), chartNowKey);
}

void Session::setChartNow(std::optional<bool> now) {
    if (now)
        store().setValue(chartNowKey, *now);
    else
        store().remove(chartNowKey);
}

ViewChoice Session::viewChoice() {
    ViewChoice choice;
    for (const ViewKey& view : viewKeys) {
        const auto on = readBool(store(), QString::fromLatin1(view.key));
        if (on) choice.*view.field = *on;
    }
    return choice;
}

void Session::setViewChoice(const ViewChoice& choice) {
    for (const ViewKey& view : viewKeys) store().setValue(QString::fromLatin1(view.key), choice.*view.field);
}

std::optional<StatsRange> Session::statsRange() {
    return readEnum<StatsRange>(store(), statsRangeKey);
}
void Session::setStatsRange(StatsRange range) {
    store().setValue(statsRangeKey, enumText(range));
}

// Sounds and bells are on until switched off; key clicks are a taste, off until switched on.
bool Session::sounds() {
    return readBool(store(), soundsKey).value_or(true);
}
void Session::setSounds(bool on) {
    store().setValue(soundsKey, on);
}
bool Session::bells() {
    return readBool(store(), bellsKey).value_or(true);
}
void Session::setBells(bool on) {
    store().setValue(bellsKey, on);
}
bool Session::clicks() {
    return readBool(store(), clicksKey).value_or(false);
}
void Session::setClicks(bool on) {
    store().setValue(clicksKey, on);
}

std::optional<double> Session::soundLevel(const QString& cue) {
    return readDouble(store(), QStringLiteral("tavix.sound.") + cue + QStringLiteral(".level"));
}

void Session::setSoundLevel(const QString& cue, double level) {
    store().setValue(QStringLiteral("tavix.sound.") + cue + QStringLiteral(".level"), level);
}

bool Session::notices(const QString& kind) {
    return readBool(store(), QStringLiteral("tavix.notices.") + kind).value_or(true);
}

void Session::setNotices(const QString& kind, bool on) {
    store().setValue(QStringLiteral("tavix.notices.") + kind, on);
}

std::optional<TermsAgreement> Session::termsAgreed() {
    const auto version = readInt(store(), termsVersionKey);
    const auto agreedAt = readDate(store(), termsAgreedAtKey);
    if (!version || !agreedAt) return std::nullopt;
    return TermsAgreement{*version, *agreedAt};
}

void Session::setTermsAgreed(const TermsAgreement& terms) {
    store().setValue(termsVersionKey, terms.version);
    store().setValue(termsAgreedAtKey, terms.agreedAt.toIso());
}

// --- the practice broker's ledger ------------------------------------------------------------------

QString Session::practiceStoreURL() {
    const QDir folder(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation));
    const auto name = suite();
    if (!name) return folder.filePath(QStringLiteral("practice-ledger.json"));
    return folder.filePath(QStringLiteral("practice-ledger-") + fileSafe(*name) + QStringLiteral(".json"));
}

}  // namespace tavix
