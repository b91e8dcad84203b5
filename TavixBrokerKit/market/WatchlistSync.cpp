#include "market/WatchlistSync.h"

#include <QSet>

namespace tavix {

WatchlistSync::Plan WatchlistSync::plan(const QStringList& local, const QStringList& remote,
                                        const std::optional<QStringList>& base) {
    const QSet<QString> localSet(local.begin(), local.end());
    const QSet<QString> remoteSet(remote.begin(), remote.end());
    QSet<QString> removed;
    if (base) {
        for (const auto& symbol : *base) {
            if (!localSet.contains(symbol) || !remoteSet.contains(symbol)) removed.insert(symbol);
        }
    }
    Plan result;
    QSet<QString> seen;
    auto take = [&](const QString& symbol) {
        if (removed.contains(symbol) || seen.contains(symbol)) return;
        seen.insert(symbol);
        result.target << symbol;
    };
    for (const auto& symbol : local) take(symbol);
    for (const auto& symbol : remote) take(symbol);
    for (const auto& symbol : result.target) {
        if (!remoteSet.contains(symbol)) result.addRemote << symbol;
    }
    QSet<QString> removing;
    for (const auto& symbol : remote) {
        if (!seen.contains(symbol) && !removing.contains(symbol)) {
            removing.insert(symbol);
            result.removeRemote << symbol;
        }
    }
    return result;
}

}  // namespace tavix
