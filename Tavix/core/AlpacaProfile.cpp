#include "core/AlpacaProfile.h"

#include "market/JsonCodec.h"

#include <QTextBoundaryFinder>

namespace tavix {

namespace {

constexpr qsizetype shownNameLength = 24;

bool isLineBreak(QChar c) {
    return c == u'\n' || c == u'\r' || c == u'\v' || c == u'\f' || c == QChar(0x0085) ||
           c == QChar::LineSeparator || c == QChar::ParagraphSeparator;
}

// The first `count` characters as the user sees them, so an accented letter or an emoji is
// never cut in half.
QString firstCharacters(const QString& text, qsizetype count) {
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype taken = 0;
    while (taken < count) {
        if (finder.toNextBoundary() < 0) return text;
        ++taken;
    }
    return text.left(finder.position());
}

}  // namespace

std::optional<QString> AlpacaProfile::tidyName(const QString& name) {
    QString joined;
    joined.reserve(name.size());
    for (qsizetype i = 0; i < name.size(); ++i) {
        const QChar c = name.at(i);
        if (!isLineBreak(c)) {
            joined.append(c);
            continue;
        }
        // A Windows line end is one break, not two.
        if (c == u'\r' && i + 1 < name.size() && name.at(i + 1) == u'\n') ++i;
        joined.append(u' ');
    }
    QString tidied = firstCharacters(joined.trimmed(), shownNameLength);
    if (tidied.isEmpty()) return std::nullopt;
    return tidied;
}

std::optional<QString> AlpacaProfile::shownName() const {
    if (!name) return std::nullopt;
    QString trimmed = name->trimmed();
    if (trimmed.isEmpty()) return std::nullopt;
    return trimmed;
}

Json toJson(const AlpacaProfile& profile) {
    return JsonObjectWriter()
        .field("slot", profile.slot)
        .field("accountID", profile.accountID)
        .field("number", profile.number)
        .field("live", profile.live)
        .field("name", profile.name)
        .done();
}

void fromJson(const Json& json, AlpacaProfile& out) {
    decodeRecord(json, "AlpacaProfile", out, [](const JsonObjectReader& r, AlpacaProfile& v) {
        r.field("slot", v.slot);
        // Without a slot the profile's keys can't be found in the keychain.
        if (v.slot.trimmed().isEmpty()) r.fail("slot", "empty");
        r.field("accountID", v.accountID);
        r.field("number", v.number);
        r.fieldOr("live", v.live);
        r.field("name", v.name);
    });
}

}  // namespace tavix
