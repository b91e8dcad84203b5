#include "screens/ChartView.h"

#include "core/AppModel.h"
#include "core/PriceText.h"
#include "screens/Theme.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace tavix {

namespace {

constexpr int axisGap = 8;         // between the candles and the price labels
constexpr int margin = 10;         // around the drawing
constexpr double preferredSlot = 9;  // pixels from one candle to the next when the chart opens
constexpr int timeLabelGap = 90;   // pixels between time labels, at least
constexpr double volumeShare = 0.2;  // of the plot's height, for the volume pane

// Decimals enough to tell two axis lines `step` apart.
int decimalsFor(double step) {
    if (step >= 1) return 2;
    return std::min(8, static_cast<int>(std::ceil(-std::log10(step))) + 1);
}

QString axisLabel(double value, int decimals) {
    auto exact = Decimal::fromDouble(value);
    return exact ? exact->toFixed(decimals) : QString();
}

QColor faded(QColor colour, int alpha) {
    colour.setAlpha(alpha);
    return colour;
}

// `colour` at `alpha` over the chart's background, worked out once: opaque fills take the raster
// engine's plain path, where translucent ones are blended pixel by pixel.
QColor over(const QColor& colour, int alpha) {
    const QColor under = theme::panel();
    const auto mix = [alpha](int top, int bottom) { return (top * alpha + bottom * (255 - alpha)) / 255; };
    return QColor(mix(colour.red(), under.red()), mix(colour.green(), under.green()), mix(colour.blue(), under.blue()));
}

// A one-pixel-wide upright stroke through `x` from `top` to `bottom`, at least a pixel tall.
QRect column(double x, double top, double bottom) {
    const int y = static_cast<int>(std::floor(top));
    return QRect(static_cast<int>(std::floor(x)), y, 1, std::max(1, static_cast<int>(std::ceil(bottom)) - y));
}

}  // namespace

ChartView::ChartView(const AppModel& model, QWidget* parent) : QWidget(parent), model_(model) {
    setObjectName(QStringLiteral("chart"));
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::CrossCursor);
    QObject::connect(&model_, &AppModel::changed, this, [this](AppModel::Field field) {
        switch (field) {
            case AppModel::Field::candles:
                takeCandles();
                break;
            case AppModel::Field::selectedSymbol:
            case AppModel::Field::chartInterval:
                windowChosen_ = false;
                update();
                break;
            case AppModel::Field::chartProblem:
            case AppModel::Field::quotes:
                update();
                break;
            default:
                break;
        }
    });
    takeCandles();
}

QSize ChartView::sizeHint() const {
    return {640, 360};
}

QSize ChartView::minimumSizeHint() const {
    return {240, 160};
}

void ChartView::takeCandles() {
    const std::size_t before = frame_.bars.size();
    frame_ = ChartFrame::of(model_.candles(), model_.selectedSymbol());
    const std::size_t total = frame_.bars.size();
    if (!windowChosen_ || total < before || before == 0) {
        windowChosen_ = false;
        fitWindow();
    } else if (window_.back > 0) {
        // Looking back in time: a new bar at the end does not move what is on screen.
        window_.back += total - before;
        window_.clamp(total);
    }
    pointAt(pointer_.value_or(QPointF(-1, -1)));
    update();
}

void ChartView::fitWindow() {
    const double room = std::max(1.0, width() - 2.0 * margin - 70);
    window_.count = static_cast<std::size_t>(std::max(1.0, room / preferredSlot));
    window_.back = 0;
    window_.clamp(frame_.bars.size());
}

std::size_t ChartView::firstShown() const {
    return frame_.bars.empty() ? 0 : window_.first(frame_.bars.size());
}

std::size_t ChartView::countShown() const {
    return std::min(window_.count, frame_.bars.size());
}

std::optional<QString> ChartView::message() const {
    if (const auto& problem = model_.chartProblem()) return problem;
    if (model_.selectedSymbol().isEmpty()) return QStringLiteral("Choose a symbol on the watchlist to chart it.");
    if (frame_.bars.empty()) return QStringLiteral("No candles yet");
    return std::nullopt;
}

ChartView::Layout ChartView::layout() const {
    Layout l;
    const std::size_t first = firstShown(), count = countShown();
    const QFontMetrics metrics = fontMetrics();
    double low = frame_.bars[first].low, high = frame_.bars[first].high, volumeHigh = 0;
    for (std::size_t i = first; i < first + count; ++i) {
        const auto& bar = frame_.bars[i];
        low = std::min(low, bar.low);
        high = std::max(high, bar.high);
        volumeHigh = std::max(volumeHigh, bar.volume);
    }
    if (high <= low) {
        // A flat stretch still gets a band to sit in.
        const double pad = std::max(std::abs(high) * 0.001, 0.01);
        low -= pad;
        high += pad;
    }
    const double pad = (high - low) * 0.05;
    l.low = low - pad;
    l.high = high + pad;
    l.volumeHigh = volumeHigh > 0 ? volumeHigh : 1;

    const double top = margin + metrics.height() + 6;  // room for the readout line
    const double bottom = height() - margin - metrics.height() - 4;
    const double plotHeight = std::max(20.0, bottom - top);
    const double volumeHeight = std::floor(plotHeight * volumeShare);
    l.step = axisStep(l.low, l.high, std::max(2, static_cast<int>((plotHeight - volumeHeight) / 48)));
    l.decimals = decimalsFor(l.step);
    l.axisWidth = metrics.horizontalAdvance(axisLabel(l.high, l.decimals)) + 12;
    const double plotWidth = std::max(10.0, width() - 2.0 * margin - l.axisWidth - axisGap);
    l.prices = QRectF(margin, top, plotWidth, plotHeight - volumeHeight - 4);
    l.volume = QRectF(margin, top + plotHeight - volumeHeight, plotWidth, volumeHeight);
    l.slot = plotWidth / static_cast<double>(std::max<std::size_t>(count, 1));
    return l;
}

std::optional<double> ChartView::barCentre(std::size_t index) const {
    if (message() || index < firstShown() || index >= firstShown() + countShown()) return std::nullopt;
    const Layout l = layout();
    return l.prices.left() + l.slot * (static_cast<double>(index - firstShown()) + 0.5);
}

std::optional<std::size_t> ChartView::barAt(double x) const {
    if (message()) return std::nullopt;
    const Layout l = layout();
    if (x < l.prices.left() || x >= l.prices.right()) return std::nullopt;
    const auto offset = static_cast<std::size_t>((x - l.prices.left()) / l.slot);
    return std::min(firstShown() + offset, firstShown() + countShown() - 1);
}

std::vector<std::size_t> ChartView::dayStarts() const {
    std::vector<std::size_t> starts;
    const std::size_t first = firstShown(), end = first + countShown();
    for (std::size_t i = std::max<std::size_t>(first, 1); i < end; ++i) {
        if (frame_.bars[i].day != frame_.bars[i - 1].day) starts.push_back(i);
    }
    return starts;
}

void ChartView::pointAt(const QPointF& at) {
    const auto bar = barAt(at.x());
    const bool inside = bar && at.y() >= 0 && at.y() < height();
    pointer_ = inside ? std::optional<QPointF>(at) : std::nullopt;
    QString next;
    if (inside) {
        const auto& candles = model_.candles();
        const std::size_t i = *bar;
        if (i < candles.size()) {
            const QString when = frame_.dayLabel(frame_.bars[i].time) + u' ' +
                                 frame_.timeLabel(frame_.bars[i].time, CandleInterval::oneMinute);
            next = ChartFrame::readout(candles[i], when);
        }
    }
    readout_ = next;
}

void ChartView::scrollBars(long long bars) {
    window_.scroll(bars, frame_.bars.size());
    windowChosen_ = true;
    update();
}

void ChartView::zoomBy(double factor, double anchor) {
    window_.zoom(factor, anchor, frame_.bars.size());
    windowChosen_ = true;
    update();
}

void ChartView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    if (!windowChosen_) fitWindow();
}

void ChartView::mouseMoveEvent(QMouseEvent* event) {
    if (dragFrom_ && !message()) {
        const double slot = layout().slot;
        const auto moved = std::llround((event->position().x() - dragFrom_->x()) / slot);
        window_.back = static_cast<std::size_t>(std::max<long long>(0, dragBack_ + moved));
        window_.clamp(frame_.bars.size());
        windowChosen_ = true;
    }
    pointAt(event->position());
    update();
}

void ChartView::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        dragFrom_ = event->position();
        dragBack_ = static_cast<long long>(window_.back);
        setCursor(Qt::ClosedHandCursor);
    }
    QWidget::mousePressEvent(event);
}

void ChartView::mouseReleaseEvent(QMouseEvent* event) {
    dragFrom_.reset();
    setCursor(Qt::CrossCursor);
    QWidget::mouseReleaseEvent(event);
}

void ChartView::leaveEvent(QEvent* event) {
    pointer_.reset();
    readout_.clear();
    update();
    QWidget::leaveEvent(event);
}

void ChartView::wheelEvent(QWheelEvent* event) {
    if (message()) return;
    const QPoint turn = event->angleDelta();
    const Layout l = layout();
    if (turn.x() != 0 || (event->modifiers() & Qt::ShiftModifier)) {
        const int amount = turn.x() != 0 ? turn.x() : turn.y();
        scrollBars(std::llround(amount / 120.0 * 5));
    } else if (turn.y() != 0) {
        const double anchor = (event->position().x() - l.prices.left()) / std::max(1.0, l.prices.width());
        zoomBy(std::pow(0.85, turn.y() / 120.0), anchor);
    }
    pointAt(event->position());
    event->accept();
}

void ChartView::keyPressEvent(QKeyEvent* event) {
    const long long many = (event->modifiers() & Qt::ShiftModifier) ? 10 : 1;
    switch (event->key()) {
        case Qt::Key_Left:
            scrollBars(many);
            break;
        case Qt::Key_Right:
            scrollBars(-many);
            break;
        case Qt::Key_Plus:
        case Qt::Key_Equal:
            zoomBy(0.8);
            break;
        case Qt::Key_Minus:
        case Qt::Key_Underscore:
            zoomBy(1.25);
            break;
        case Qt::Key_Home:
            scrollBars(static_cast<long long>(frame_.bars.size()));
            break;
        case Qt::Key_End:
            window_.back = 0;
            update();
            break;
        default:
            QWidget::keyPressEvent(event);
            return;
    }
    event->accept();
}

void ChartView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), theme::panel());
    painter.setPen(hasFocus() ? theme::accent() : theme::line());
    painter.drawRect(rect().adjusted(0, 0, -1, -1));

    if (const auto words = message()) {
        painter.setPen(theme::mutedText());
        painter.drawText(rect().adjusted(20, 20, -20, -20), Qt::AlignCenter | Qt::TextWordWrap, *words);
        return;
    }

    const Layout l = layout();
    const QFontMetrics metrics = fontMetrics();
    const double labelHeight = metrics.height();
    const std::size_t first = firstShown(), count = countShown();
    const auto yOf = [&](double price) {
        return l.prices.bottom() - (price - l.low) / (l.high - l.low) * l.prices.height();
    };
    const auto volumeY = [&](double volume) { return l.volume.bottom() - volume / l.volumeHigh * l.volume.height(); };
    const double axisLeft = l.prices.right() + axisGap;

    // Price lines and their labels on the right.
    for (double value = std::ceil(l.low / l.step) * l.step; value <= l.high; value += l.step) {
        const double y = yOf(value);
        painter.setPen(theme::line());
        painter.drawLine(QPointF(l.prices.left(), y), QPointF(l.prices.right(), y));
        painter.setPen(theme::mutedText());
        painter.drawText(QRectF(axisLeft, y - labelHeight / 2, l.axisWidth, labelHeight),
                         Qt::AlignLeft | Qt::AlignVCenter, axisLabel(value, l.decimals));
    }
    painter.setPen(theme::line());
    painter.drawLine(QPointF(l.volume.left(), l.volume.top() - 2), QPointF(l.volume.right(), l.volume.top() - 2));

    // Where days meet: a faint line through both panes.
    const auto starts = dayStarts();
    const bool intraday = seconds(model_.chartInterval()) < seconds(CandleInterval::daily);
    if (intraday) {
        const QColor dayLine = over(theme::mutedText(), 60);
        for (const std::size_t i : starts) {
            const double x = l.prices.left() + l.slot * static_cast<double>(i - first);
            painter.fillRect(column(x, l.prices.top(), l.volume.bottom()), dayLine);
        }
    }

    // Wicks and volume bars are one-pixel rectangles: filled, they take the raster engine's fastest
    // path, where lines with fractional ends go through its stroker.
    painter.setRenderHint(QPainter::Antialiasing, false);
    const QColor rise = theme::rise(), fall = theme::fall();
    const QColor riseVolume = over(rise, 110), fallVolume = over(fall, 110);
    if (l.slot >= 2) {
        const double bodyWidth = std::max(1.0, l.slot * 0.7);
        for (std::size_t k = 0; k < count; ++k) {
            const auto& bar = frame_.bars[first + k];
            const double centre = l.prices.left() + l.slot * (static_cast<double>(k) + 0.5);
            const QColor& colour = bar.rose ? rise : fall;
            painter.fillRect(column(centre, yOf(bar.high), yOf(bar.low)), colour);
            const double top = yOf(std::max(bar.open, bar.close));
            const double bottom = yOf(std::min(bar.open, bar.close));
            painter.fillRect(QRectF(centre - bodyWidth / 2, top, bodyWidth, std::max(1.0, bottom - top)).toRect(),
                             colour);
            const double volumeTop = volumeY(bar.volume);
            painter.fillRect(QRectF(centre - bodyWidth / 2, volumeTop, bodyWidth, l.volume.bottom() - volumeTop).toRect(),
                             bar.rose ? riseVolume : fallVolume);
        }
    } else {
        // More bars than pixels: each pixel column draws the range and the volume of its bars.
        const auto columns = static_cast<int>(std::ceil(l.prices.width()));
        std::size_t k = 0;
        for (int at = 0; at < columns && k < count; ++at) {
            double low = frame_.bars[first + k].low, high = frame_.bars[first + k].high, volume = 0;
            bool rose = frame_.bars[first + k].rose;
            const double end = static_cast<double>(at + 1);
            for (; k < count && (static_cast<double>(k) + 0.5) * l.slot < end; ++k) {
                const auto& bar = frame_.bars[first + k];
                low = std::min(low, bar.low);
                high = std::max(high, bar.high);
                volume = std::max(volume, bar.volume);
                rose = bar.rose;
            }
            const double x = l.prices.left() + at + 0.5;
            painter.fillRect(column(x, yOf(high), yOf(low)), rose ? rise : fall);
            painter.fillRect(column(x, volumeY(volume), l.volume.bottom()), rose ? riseVolume : fallVolume);
        }
    }

    // Time labels under the candles, far enough apart to read, the zone named at the right end.
    painter.setPen(theme::mutedText());
    const double labelTop = l.volume.bottom() + 4;
    const QString zone = frame_.zoneWords();
    const double zoneWidth = metrics.horizontalAdvance(zone);
    painter.drawText(QRectF(l.prices.right() - zoneWidth, labelTop, zoneWidth, labelHeight), Qt::AlignRight, zone);
    const auto every = static_cast<std::size_t>(std::max(1.0, std::ceil(timeLabelGap / l.slot)));
    double leftmostLabel = l.prices.right() - zoneWidth - 12;
    for (std::size_t k = count; k-- > 0;) {
        if ((count - 1 - k) % every != 0) continue;
        const double centre = l.prices.left() + l.slot * (static_cast<double>(k) + 0.5);
        const QString label = frame_.timeLabel(frame_.bars[first + k].time, model_.chartInterval());
        const double labelWidth = metrics.horizontalAdvance(label);
        if (centre - labelWidth / 2 < l.prices.left() || centre + labelWidth / 2 > leftmostLabel) continue;
        painter.drawText(QRectF(centre - labelWidth / 2, labelTop, labelWidth, labelHeight), Qt::AlignCenter, label);
        leftmostLabel = centre - labelWidth / 2 - 8;
    }
    // The date where each day begins, at the top of its line.
    if (intraday) {
        for (const std::size_t i : starts) {
            const double x = l.prices.left() + l.slot * static_cast<double>(i - first) + 3;
            painter.drawText(QPointF(x, l.prices.top() + labelHeight), frame_.dayLabel(frame_.bars[i].time));
        }
    }

    // The last price, marked on the axis: the quote's when there is one, else the last close.
    const auto& quotes = model_.quotes();
    const auto quoted = quotes.find(model_.selectedSymbol());
    const Decimal last = quoted != quotes.end() ? quoted->second.last : model_.candles().back().close;
    const double lastY = std::clamp(yOf(last.toDouble()), l.prices.top(), l.prices.bottom());
    const QString lastText = priceText(last);
    const QRectF tag(axisLeft - 2, lastY - labelHeight / 2 - 2, metrics.horizontalAdvance(lastText) + 10,
                     labelHeight + 4);
    const bool lastRose = frame_.bars.back().rose;
    painter.setPen(QPen(faded(lastRose ? rise : fall, 160), 1, Qt::DotLine));
    painter.drawLine(QPointF(l.prices.left(), lastY), QPointF(l.prices.right(), lastY));
    painter.fillRect(tag, lastRose ? rise : fall);
    painter.setPen(theme::window());
    painter.drawText(tag, Qt::AlignCenter, lastText);

    // The crosshair with its price on the axis and the bar's figures above the chart.
    if (pointer_) {
        const double x = pointer_->x(), y = pointer_->y();
        painter.setPen(QPen(faded(theme::text(), 120), 1, Qt::DashLine));
        painter.drawLine(QPointF(x, l.prices.top()), QPointF(x, l.volume.bottom()));
        if (y >= l.prices.top() && y <= l.prices.bottom()) {
            painter.drawLine(QPointF(l.prices.left(), y), QPointF(l.prices.right(), y));
            const double price = l.low + (l.prices.bottom() - y) / l.prices.height() * (l.high - l.low);
            const QString text = axisLabel(price, l.decimals);
            const QRectF box(axisLeft - 2, y - labelHeight / 2 - 2, metrics.horizontalAdvance(text) + 10,
                             labelHeight + 4);
            painter.fillRect(box, theme::line());
            painter.setPen(theme::text());
            painter.drawText(box, Qt::AlignCenter, text);
        }
    }
    painter.setPen(theme::text());
    painter.drawText(QRectF(margin, margin, width() - 2.0 * margin, labelHeight), Qt::AlignLeft | Qt::AlignVCenter,
                     metrics.elidedText(readout_, Qt::ElideRight, width() - 2 * margin));
}

}  // namespace tavix
