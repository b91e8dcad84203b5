#pragma once

#include "market/Date.h"
#include "practice/Ledger.h"

#include <QByteArray>
#include <QString>

#include <map>
#include <optional>
#include <utility>

namespace tavix {

// The practice ledger's file: the JSON object {"version": 1, "ledger": …}. Writes are atomic (a
// temporary file in the same folder renamed over the old one), so a crash or a failed write
// leaves the last good file as it was. A file that cannot be read is never overwritten: it is
// moved aside under a name that says so, and a new ledger starts.
class LedgerStore {
public:
    static constexpr int version = 1;

    explicit LedgerStore(QString path);

    const QString& path() const { return path_; }

    struct Loaded {
        Ledger ledger;
        bool found = false;             // a saved ledger was read
        std::optional<QString> keptAs;  // where an unreadable file was put aside
        std::optional<QString> notice;  // what to tell the user when a new ledger replaced theirs
    };

    // Reads the saved ledger; a missing file gives a new one. `now` names the file put aside.
    // Temporary files of saves that were cut off are removed first.
    Loaded load(Date now);

    // The file's bytes for a ledger. Orders that did not change since they were last encoded
    // reuse their text.
    QByteArray encode(const Ledger& ledger);

    // Writes the ledger; gives the problem when it could not.
    std::optional<QString> save(const Ledger& ledger);

    // Orders encoded afresh by the last encode (the others came from the cache).
    int encodedLastTime() const { return encodedLastTime_; }
    // Per order id: the record last encoded and its JSON text.
    const std::map<QString, std::pair<Working, QByteArray>>& written() const { return written_; }

    // The words shown when a saved account could not be read.
    static QString unreadableNotice(const QString& keptName);

private:
    void removeInterruptedSaves() const;
    // Moves an unreadable file out of the way; gives its new path, or nothing when it could not.
    std::optional<QString> putAside(Date now);

    QString path_;
    std::map<QString, std::pair<Working, QByteArray>> written_;
    int encodedLastTime_ = 0;
    // Set when an unreadable file could not be moved aside: saving would overwrite it.
    bool blocked_ = false;
};

}  // namespace tavix
