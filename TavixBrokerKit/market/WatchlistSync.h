#pragma once

#include <QStringList>

#include <optional>

namespace tavix {

// Plans how to bring the broker's own watchlist and the local one together.
class WatchlistSync {
public:
    struct Plan {
        QStringList target;        // the merged list, wanted on both sides
        QStringList addRemote;     // to add at the broker, in target order
        QStringList removeRemote;  // to remove at the broker, in the broker's order

        friend bool operator==(const Plan&, const Plan&) = default;
    };

    // A three-way merge of the local list, the broker's list and the last list both sides agreed
    // on. The rule: an addition on either side since the base is kept, and a removal on either
    // side since the base wins over the other side still having it, so a symbol is never lost
    // that someone added and never brought back that someone removed. With no base yet, nothing
    // counts as removed and the lists are united. The local order leads; the broker's additions
    // follow in the broker's order.
    static Plan plan(const QStringList& local, const QStringList& remote, const std::optional<QStringList>& base);
};

}  // namespace tavix
