#include "screens/ChartFrame.h"

#include "core/PriceText.h"
#include "core/MoneyText.h"

#include <QDateTime>
#include <QLocale>

#include <algorithm>
#include <cmath>

namespace tavix {

namespace {

QDateTime inZone(double seconds, const QTimeZone& zone) {
    return QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(std::llround(seconds * 1000.0)), zone);
}

}  // namespace

ChartFrame ChartFrame::of(const std::vector<Candle>& candles, const QString& symbol) {
    ChartFrame frame;
    frame.marketTime = !symbol.contains(u'/');
    frame.zone = frame.marketTime ? QTimeZone(QByteArrayLiteral("America/New_York")) : QTimeZone::systemTimeZone();
    if (!frame.zone.isValid()) frame.zone = QTimeZone::utc();
    frame.bars.reserve(candles.size());
    // The zone's offset is looked up once a day, not once a bar.
    qint64 dayStart = 0, dayEnd = -1, day = 0;
    for (const Candle& candle : candles) {
        Bar bar{.open = candle.open.toDouble(),
                .high = candle.high.toDouble(),
                .low = candle.low.toDouble(),
                .close = candle.close.toDouble(),
                .volume = candle.volume.toDouble(),
                .time = candle.time.secondsSince1970(),
                .rose = candle.close >= candle.open};
        const auto at = static_cast<qint64>(std::floor(bar.time));
        if (at < dayStart || at >= dayEnd) {
            const QDateTime local = inZone(bar.time, frame.zone);
            day = local.date().toJulianDay();
            dayStart = QDateTime(local.date(), QTime(0, 0), frame.zone).toSecsSinceEpoch();
            dayEnd = QDateTime(local.date().addDays(1), QTime(0, 0), frame.zone).toSecsSinceEpoch();
        }
        bar.day = day;
        frame.bars.push_back(bar);
    }
    return frame;
}

QString ChartFrame::zoneWords() const {
    return marketTime ? QStringLiteral("New York time") : QStringLiteral("Your time");
}

QString ChartFrame::timeLabel(double seconds, CandleInterval interval) const {
    const QDateTime local = inZone(seconds, zone);
    if (tavix::seconds(interval) >= tavix::seconds(CandleInterval::daily)) {
        return QLocale::c().toString(local, QStringLiteral("d MMM"));
    }
    return QLocale::c().toString(local, QStringLiteral("HH:mm"));
}

QString ChartFrame::dayLabel(double seconds) const {
    return QLocale::c().toString(inZone(seconds, zone), QStringLiteral("ddd d MMM"));
}

QString ChartFrame::readout(const Candle& candle, const QString& when) {
    return when + QStringLiteral("   O ") + priceText(candle.open) + QStringLiteral("   H ") + priceText(candle.high) +
           QStringLiteral("   L ") + priceText(candle.low) + QStringLiteral("   C ") + priceText(candle.close) +
           QStringLiteral("   V ") + quantityText(candle.volume);
}

std::size_t ChartWindow::first(std::size_t total) const {
    const std::size_t shown = std::min(count, total);
    const std::size_t end = total - std::min(back, total - shown);
    return end - shown;
}

void ChartWindow::clamp(std::size_t total) {
    count = std::clamp<std::size_t>(count, std::min(fewest, total), std::max<std::size_t>(total, 1));
    back = std::min(back, total > count ? total - count : 0);
}

void ChartWindow::scroll(long long bars, std::size_t total) {
    const long long moved = static_cast<long long>(back) + bars;
    back = static_cast<std::size_t>(std::max<long long>(0, moved));
    clamp(total);
}

void ChartWindow::zoom(double factor, double anchor, std::size_t total) {
    if (total == 0) return;
    clamp(total);
    const double before = static_cast<double>(count);
    const auto after = static_cast<std::size_t>(
        std::clamp(std::llround(before * factor), static_cast<long long>(std::min(fewest, total)),
                   static_cast<long long>(total)));
    // The bar under the anchor stays under it: bars to its right change in proportion.
    const double right = (1 - std::clamp(anchor, 0.0, 1.0)) * before;
    const double newRight = (1 - std::clamp(anchor, 0.0, 1.0)) * static_cast<double>(after);
    const long long shift = std::llround(right - newRight);
    count = after;
    scroll(shift, total);
}

double axisStep(double low, double high, int wanted) {
    const double span = high - low;
    if (!(span > 0) || wanted < 1) return 0;
    const double rough = span / wanted;
    const double power = std::pow(10.0, std::floor(std::log10(rough)));
    for (double factor : {1.0, 2.0, 5.0, 10.0}) {
        if (factor * power >= rough) return factor * power;
    }
    return 10 * power;
}

}  // namespace tavix
