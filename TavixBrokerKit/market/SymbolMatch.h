#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace tavix {

struct SymbolMatch {
    QString symbol;
    QString name;        // company or fund name
    bool major = false;  // a widely traded name, ranked first in search results

    friend bool operator==(const SymbolMatch&, const SymbolMatch&) = default;
};

struct RemoteWatchlist {
    std::optional<QString> id;  // absent for a list not yet created
    QString name;
    QStringList symbols;  // in the broker's order

    friend bool operator==(const RemoteWatchlist&, const RemoteWatchlist&) = default;
};

}  // namespace tavix
