#include "practice/LedgerStore.h"

#include "market/JsonCodec.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QTimeZone>

#include <algorithm>
#include <exception>

namespace tavix {

LedgerStore::LedgerStore(QString path) : path_(std::move(path)) {}

QString LedgerStore::unreadableNotice(const QString& keptName) {
    return QStringLiteral(
               "Tavix couldn't read your saved practice account, so it started a new one. "
               "The old file is kept as ") +
           keptName + u'.';
}

void LedgerStore::removeInterruptedSaves() const {
    // A save writes a temporary file beside the ledger, named after it with a dot and six
    // letters or digits, and renames it over the ledger; one cut off before the rename stays
    // behind. Files put aside (".unreadable-…") and everything else are left alone.
    const QFileInfo info(path_);
    const QDir folder = info.absoluteDir();
    const QString stem = info.fileName() + u'.';
    for (const QString& name : folder.entryList({stem + QStringLiteral("??????")}, QDir::Files | QDir::Hidden)) {
        const QString tail = name.mid(stem.size());
        const bool temporary = std::all_of(tail.begin(), tail.end(), [](QChar c) {
            return c.isDigit() || (c.toLatin1() >= 'a' && c.toLatin1() <= 'z') ||
                   (c.toLatin1() >= 'A' && c.toLatin1() <= 'Z');
        });
        if (temporary) QFile::remove(folder.filePath(name));
    }
}

LedgerStore::Loaded LedgerStore::load(Date now) {
    removeInterruptedSaves();
    Loaded loaded{.ledger = Ledger::opening()};
    QFile file(path_);
    if (!file.exists()) return loaded;

    std::optional<Ledger> read;
    if (file.open(QIODevice::ReadOnly)) {
        const QByteArray bytes = file.readAll();
        file.close();
        try {
            const Json document = Json::parse(bytes);
            JsonObjectReader reader(document, "PracticeFile");
            long long savedVersion = 0;
            reader.field("version", savedVersion);
            // A file from a newer Tavix may hold what this one can't keep: leave it whole.
            if (savedVersion >= 1 && savedVersion <= version) {
                Ledger ledger;
                reader.field("ledger", ledger);
                if (!ledger.problem()) read = std::move(ledger);
            }
        } catch (const std::exception&) {
            // Not JSON, not our shape, or a number out of range: falls through to putting it aside.
        }
    }
    if (read) {
        loaded.ledger = std::move(*read);
        loaded.found = true;
        return loaded;
    }

    loaded.keptAs = putAside(now);
    if (!loaded.keptAs) {
        // It stays where it is; nothing may be written over it.
        blocked_ = true;
        loaded.keptAs = path_;
    }
    loaded.notice = unreadableNotice(QFileInfo(*loaded.keptAs).fileName());
    return loaded;
}

std::optional<QString> LedgerStore::putAside(Date now) {
    const auto stamp =
        QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(now.secondsSince1970() * 1000.0), QTimeZone::utc())
            .toString(QStringLiteral("yyyyMMdd-HHmmss"));
    const QString base = path_ + QStringLiteral(".unreadable-") + stamp;
    QString target = base;
    for (int n = 2; QFile::exists(target); ++n) target = base + u'-' + QString::number(n);
    if (QFile::rename(path_, target)) return target;
    if (QFile::copy(path_, target) && QFile::remove(path_)) return target;
    return std::nullopt;
}

QByteArray LedgerStore::encode(const Ledger& ledger) {
    // Written by hand around the cached texts; the result is the same bytes as serialising
    // {"version", "ledger": toJson(ledger)} in one go.
    encodedLastTime_ = 0;
    QByteArray out;
    out += "{\"version\":";
    out += QByteArray::number(version);
    out += ",\"ledger\":{\"cash\":";
    out += toJson(ledger.cash).serialize();
    out += ",\"holdings\":";
    out += toJson(ledger.holdings).serialize();
    out += ",\"book\":{";
    bool first = true;
    for (const auto& [id, working] : ledger.book) {
        auto cached = written_.find(id);
        if (cached == written_.end() || !(cached->second.first == working)) {
            cached =
                written_.insert_or_assign(id, std::make_pair(working, toJson(working).serialize())).first;
            ++encodedLastTime_;
        }
        if (!first) out += ',';
        first = false;
        out += Json(id).serialize();
        out += ':';
        out += cached->second.second;
    }
    out += "},\"parents\":";
    out += toJson(ledger.parents).serialize();
    out += ",\"sequence\":";
    out += toJson(ledger.sequence).serialize();
    if (ledger.dayRealized) {
        out += ",\"dayRealized\":";
        out += toJson(*ledger.dayRealized).serialize();
    }
    out += "}}";
    // Orders that left the book leave the cache too.
    std::erase_if(written_, [&](const auto& entry) { return !ledger.book.contains(entry.first); });
    return out;
}

std::optional<QString> LedgerStore::save(const Ledger& ledger) {
    if (blocked_) {
        return QStringLiteral("the saved practice account at ") + path_ +
               QStringLiteral(" couldn't be read or moved aside, so nothing is written over it");
    }
    const QByteArray bytes = encode(ledger);
    const QFileInfo info(path_);
    if (!QDir().mkpath(info.absolutePath())) {
        return QStringLiteral("couldn't make the folder ") + info.absolutePath();
    }
    QSaveFile file(path_);
    if (!file.open(QIODevice::WriteOnly)) return file.errorString();
    // Flushed here and checked: a flush that fails inside commit() (a full disk, a size limit)
    // is not counted as a write error there, and the cut-short file would replace the good one.
    if (file.write(bytes) != bytes.size() || !file.flush()) {
        const QString problem = file.errorString();
        file.cancelWriting();
        return problem;
    }
    if (!file.commit()) return file.errorString();
    return std::nullopt;
}

}  // namespace tavix
