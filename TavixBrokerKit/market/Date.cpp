#include "market/Date.h"

#include <QDateTime>
#include <QTimeZone>

#include <cmath>

namespace tavix {
namespace {

// ASCII digits only: QChar::isDigit would also take other scripts' digits.
bool isDigit(QStringView text, qsizetype at) {
    return at < text.size() && text[at].unicode() >= u'0' && text[at].unicode() <= u'9';
}

bool readDigits(QStringView text, qsizetype& at, int count, int& out) {
    out = 0;
    for (int i = 0; i < count; ++i, ++at) {
        if (!isDigit(text, at)) return false;
        out = out * 10 + (text[at].unicode() - u'0');
    }
    return true;
}

bool expect(QStringView text, qsizetype& at, char16_t c) {
    if (at < text.size() && text[at] == c) {
        ++at;
        return true;
    }
    return false;
}

// "Z", or "+hh:mm" / "-hhmm" / "+hh": the zone's offset east of UTC, in seconds.
bool readZone(QStringView text, qsizetype& at, int& offsetSeconds) {
    if (expect(text, at, u'Z') || expect(text, at, u'z')) {
        offsetSeconds = 0;
        return true;
    }
    if (at >= text.size() || (text[at] != u'+' && text[at] != u'-')) return false;
    const int sign = text[at] == u'-' ? -1 : 1;
    ++at;
    int hours = 0, minutes = 0;
    if (!readDigits(text, at, 2, hours)) return false;
    if (expect(text, at, u':')) {
        if (!readDigits(text, at, 2, minutes)) return false;
    } else if (at < text.size() && !readDigits(text, at, 2, minutes)) {
        return false;
    }
    if (hours > 23 || minutes > 59) return false;
    offsetSeconds = sign * (hours * 3600 + minutes * 60);
    return true;
}

}  // namespace

Date Date::now() {
    return Date(static_cast<double>(QDateTime::currentMSecsSinceEpoch()) / 1000.0);
}

std::optional<Date> Date::parseIso(QStringView text) {
    qsizetype at = 0;
    int year, month, day;
    if (!readDigits(text, at, 4, year) || !expect(text, at, u'-') || !readDigits(text, at, 2, month) ||
        !expect(text, at, u'-') || !readDigits(text, at, 2, day)) {
        return std::nullopt;
    }
    const QDate date(year, month, day);
    if (!date.isValid()) return std::nullopt;
    // Whole seconds in integers and the fraction added once, so the only rounding is the last one.
    long long seconds = (date.toJulianDay() - QDate(1970, 1, 1).toJulianDay()) * 86400;
    double fraction = 0;
    if (at < text.size()) {
        if (!expect(text, at, u'T') && !expect(text, at, u't') && !expect(text, at, u' ')) {
            return std::nullopt;
        }
        int hour = 0, minute = 0, second = 0;
        if (!readDigits(text, at, 2, hour) || !expect(text, at, u':') || !readDigits(text, at, 2, minute)) {
            return std::nullopt;
        }
        if (expect(text, at, u':')) {
            if (!readDigits(text, at, 2, second)) return std::nullopt;
            if (expect(text, at, u'.') || expect(text, at, u',')) {
                if (!isDigit(text, at)) return std::nullopt;
                long long digits = 0;
                int kept = 0;  // past 18 digits (attoseconds) nothing a double holds changes
                for (; isDigit(text, at); ++at) {
                    if (kept < 18) {
                        digits = digits * 10 + (text[at].unicode() - u'0');
                        ++kept;
                    }
                }
                fraction = static_cast<double>(digits) / std::pow(10.0, kept);
            }
        }
        if (hour > 23 || minute > 59 || second > 60) return std::nullopt;  // 60: a leap second
        int offsetSeconds = 0;
        // An instant without a zone would be a guess.
        if (!readZone(text, at, offsetSeconds) || at != text.size()) return std::nullopt;
        seconds += hour * 3600 + minute * 60 + second - offsetSeconds;
    }
    return Date(static_cast<double>(seconds) + fraction);
}

QString Date::toIso() const {
    // Outside the years 0001-9999 (or not a number) there is no ISO 8601 text to give.
    if (!(seconds_ >= -62135596800.0 && seconds_ < 253402300800.0)) return QString();
    double whole = std::floor(seconds_);
    auto micros = static_cast<long long>(std::llround((seconds_ - whole) * 1e6));
    auto secs = static_cast<long long>(whole);
    if (micros >= 1000000) {
        micros -= 1000000;
        secs += 1;
    }
    QDateTime utc = QDateTime::fromSecsSinceEpoch(secs, QTimeZone::utc());
    QString text = utc.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss"));
    if (micros != 0) {
        QString fraction = QString::number(micros).rightJustified(6, u'0');
        while (fraction.endsWith(u'0')) fraction.chop(1);
        text += u'.' + fraction;
    }
    return text + u'Z';
}

}  // namespace tavix
