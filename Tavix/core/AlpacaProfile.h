#pragma once

#include "market/Json.h"

#include <QString>

#include <optional>

namespace tavix {

// An Alpaca paper account the user added. Its keys live in the keychain under `slot`; nothing
// secret is kept here.
struct AlpacaProfile {
    // The profile's key: the first profile's slot is "alpaca" itself, later ones "alpaca-" + a
    // suffix.
    QString slot;
    std::optional<QString> accountID;
    std::optional<QString> number;  // the account number shown
    bool live = false;
    std::optional<QString> name;  // the user's label, tidied

    // Line breaks become single spaces, surrounding white space goes, and the first 24 characters
    // are kept; an empty result is no name.
    static std::optional<QString> tidyName(const QString& name);
    // The name trimmed, or nothing when that is empty.
    std::optional<QString> shownName() const;

    friend bool operator==(const AlpacaProfile&, const AlpacaProfile&) = default;
};

Json toJson(const AlpacaProfile& profile);
void fromJson(const Json& json, AlpacaProfile& out);

}  // namespace tavix
