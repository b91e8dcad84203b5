#include "market/Date.h"

#include <QDateTime>
#include <QTimeZone>

#include <cmath>

namespace tavix {
namespace {

bool readDigits(QStringView text, qsizetype& at, int count, int& out) {
    out = 0;
    for (int i = 0; i < count; ++i, ++at) {
        if (at >= text.size() || !text[at].isDigit() || text[at].unicode() > '9') return false;
        out = out * 10 + (text[at].unicode() - '0');
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
    QDate date(year, month, day);
    if (!date.isValid()) return std::nullopt;
    int hour = 0, minute = 0, second = 0;
    double fraction = 0;
    int offsetSeconds = 0;
    if (at < text.size()) {
        if (!expect(text, at, u'T') && !expect(text, at, u't') && !expect(text, at, u' ')) return std::nullopt;
        if (!readDigits(text, at, 2, hour) || !expect(text, at, u':') || !readDigits(text, at, 2, minute)) {
            return std::nullopt;
        }
        if (expect(text, at, u':') && !readDigits(text, at, 2, second)) return std::nullopt;
        if (expect(text, at, u'.') || expect(text, at, u',')) {
            double scale = 0.1;
            qsizetype digits = 0;
            while (at < text.size() && text[at].unicode() >= '0' && text[at].unicode() <= '9') {
                fraction += (text[at].unicode() - '0') * scale;
                scale /= 10;
                ++at;
                ++digits;
            }
            if (digits == 0) return std::nullopt;
        }
        if (hour > 23 || minute > 59 || second > 60) return std::nullopt;
        if (expect(text, at, u'Z') || expect(text, at, u'z')) {
        } else if (at < text.size() && (text[at] == u'+' || text[at] == u'-')) {
            int sign = text[at] == u'-' ? -1 : 1;
            ++at;
            int oh, om = 0;
            if (!readDigits(text, at, 2, oh)) return std::nullopt;
            if (expect(text, at, u':')) {
                if (!readDigits(text, at, 2, om)) return std::nullopt;
            } else if (at < text.size() && !readDigits(text, at, 2, om)) {
                return std::nullopt;
            }
            offsetSeconds = sign * (oh * 3600 + om * 60);
        } else {
            return std::nullopt;  // an instant without a zone would be a guess
        }
        if (at != text.size()) return std::nullopt;
    }
    const double days = static_cast<double>(date.toJulianDay() - QDate(1970, 1, 1).toJulianDay());
    return Date(days * 86400.0 + hour * 3600 + minute * 60 + second + fraction - offsetSeconds);
}

QString Date::toIso() const {
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
