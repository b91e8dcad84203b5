#include "screens/ChartView.h"

#include "core/AppModel.h"
#include "screens/Theme.h"

#include <QDateTime>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace tavix {

namespace {

constexpr int axisGap = 8;      // between the candles and the price labels
constexpr int margin = 10;      // around the drawing
constexpr int minimumStep = 5;  // pixels from one candle to the next, at the narrowest
constexpr int preferredStep = 9;
constexpr int timeLabelGap = 90;  // pixels between time labels, at least

QString timeLabel(Date at, CandleInterval interval) {
    const QDateTime local =
        QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(std::llround(at.secondsSince1970() * 1000.0)))
            .toLocalTime();
    if (seconds(interval) >= seconds(CandleInterval::daily)) return local.toString(QStringLiteral("d MMM"));
    return local.toString(QStringLiteral("HH:mm"));
}

// Decimals enough to tell two axis lines `step` apart.
int decimalsFor(double step) {
    if (step >= 1) return 2;
    return std::min(8, static_cast<int>(std::ceil(-std::log10(step))) + 1);
}

QString axisLabel(double value, int decimals) {
    auto exact = Decimal::fromDouble(value);
    return exact ? exact->toFixed(decimals) : QString();
}

}  // namespace

ChartView::ChartView(const AppModel& model, QWidget* parent) : QWidget(parent), model_(model) {
    setObjectName(QStringLiteral("chart"));
    setAttribute(Qt::WA_OpaquePaintEvent);
    QObject::connect(&model_, &AppModel::changed, this, [this](AppModel::Field field) {
        if (field == AppModel::Field::candles || field == AppModel::Field::chartInterval) update();
    });
}

QSize ChartView::sizeHint() const {
    return {640, 360};
}

QSize ChartView::minimumSizeHint() const {
    return {240, 160};
}

double ChartView::axisStep(double low, double high, int wanted) {
    const double span = high - low;
    if (!(span > 0) || wanted < 1) return 0;
    const double rough = span / wanted;
    const double power = std::pow(10.0, std::floor(std::log10(rough)));
    for (double factor : {1.0, 2.0, 5.0, 10.0}) {
        if (factor * power >= rough) return factor * power;
    }
    return 10 * power;
}

void ChartView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), theme::panel());
    painter.setPen(theme::line());
    painter.drawRect(rect().adjusted(0, 0, -1, -1));

    const auto& candles = model_.candles();
    if (candles.empty()) {
        painter.setPen(theme::mutedText());
        painter.drawText(rect(), Qt::AlignCenter, QStringLiteral("No candles yet"));
        return;
    }

    const QFontMetrics metrics = fontMetrics();
    const int labelHeight = metrics.height();

    // The newest candles that fit at a comfortable width, all of them when they fit anyway.
    const int roughWidth =
        std::max(1, width() - 2 * margin - metrics.horizontalAdvance(QStringLiteral("00000.00")));
    const auto fitting = static_cast<std::size_t>(std::max(1, roughWidth / minimumStep));
    const std::size_t count = std::min(candles.size(), fitting);
    const std::size_t first = candles.size() - count;

    double low = candles[first].low.toDouble();
    double high = candles[first].high.toDouble();
    for (std::size_t i = first; i < candles.size(); ++i) {
        low = std::min(low, candles[i].low.toDouble());
        high = std::max(high, candles[i].high.toDouble());
    }
    if (high <= low) {
        // A flat stretch still gets a band to sit in.
        const double pad = std::max(std::abs(high) * 0.001, 0.01);
        low -= pad;
        high += pad;
    }
    const double pad = (high - low) * 0.05;
    low -= pad;
    high += pad;

    const int plotRows = std::max(10, height() - 2 * margin - labelHeight - 4);
    const double step = axisStep(low, high, std::max(2, plotRows / 48));
    const int decimals = decimalsFor(step);
    int axisWidth = 0;
    for (double value = std::ceil(low / step) * step; value <= high; value += step) {
        axisWidth = std::max(axisWidth, metrics.horizontalAdvance(axisLabel(value, decimals)));
    }
    const QRectF plot(margin, margin, std::max(10, width() - 2 * margin - axisWidth - axisGap), plotRows);
    auto yOf = [&](double price) { return plot.bottom() - (price - low) / (high - low) * plot.height(); };

    // Price lines and their labels on the right.
    painter.setFont(font());
    for (double value = std::ceil(low / step) * step; value <= high; value += step) {
        const double y = yOf(value);
        painter.setPen(theme::line());
        painter.drawLine(QPointF(plot.left(), y), QPointF(plot.right(), y));
        painter.setPen(theme::mutedText());
        painter.drawText(QRectF(plot.right() + axisGap, y - labelHeight / 2.0, axisWidth, labelHeight),
                         Qt::AlignRight | Qt::AlignVCenter, axisLabel(value, decimals));
    }

    const double slot = std::min<double>(preferredStep * 2, plot.width() / static_cast<double>(count));
    const double bodyWidth = std::max(1.0, slot * 0.7);
    // Candles sit against the right edge, the newest last, as a chart reads.
    const double start = plot.right() - slot * static_cast<double>(count);
    painter.setRenderHint(QPainter::Antialiasing, false);
    for (std::size_t i = 0; i < count; ++i) {
        const Candle& candle = candles[first + i];
        const double centre = start + slot * (static_cast<double>(i) + 0.5);
        const bool rose = candle.close >= candle.open;
        const QColor colour = rose ? theme::rise() : theme::fall();
        painter.setPen(colour);
        painter.drawLine(QPointF(centre, yOf(candle.high.toDouble())),
                         QPointF(centre, yOf(candle.low.toDouble())));
        const double top = yOf(std::max(candle.open, candle.close).toDouble());
        const double bottom = yOf(std::min(candle.open, candle.close).toDouble());
        painter.fillRect(QRectF(centre - bodyWidth / 2, top, bodyWidth, std::max(1.0, bottom - top)), colour);
    }

    // Time labels under the candles, far enough apart to read.
    const CandleInterval interval = model_.chartInterval();
    const auto every = static_cast<std::size_t>(std::max(1.0, std::ceil(timeLabelGap / slot)));
    painter.setPen(theme::mutedText());
    const double labelTop = plot.bottom() + 4;
    for (std::size_t i = count; i-- > 0;) {
        if ((count - 1 - i) % every != 0) continue;
        const double centre = start + slot * (static_cast<double>(i) + 0.5);
        const QString label = timeLabel(candles[first + i].time, interval);
        const double labelWidth = metrics.horizontalAdvance(label);
        if (centre - labelWidth / 2 < plot.left()) break;
        painter.drawText(QRectF(centre - labelWidth / 2, labelTop, labelWidth, labelHeight), Qt::AlignCenter,
                         label);
    }
}

}  // namespace tavix
