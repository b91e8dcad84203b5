#pragma once

#include "screens/ChartFrame.h"

#include <QWidget>

#include <optional>

namespace tavix {

class AppModel;

// The selected symbol's candles: a body from open to close and a wick from low to high, green when
// the candle closed at or above its open and red below, with volume in a pane beneath, the price
// axis on the right with the last price marked on it, and times along the bottom in New York time
// for stocks (in the computer's own for coins), the zone named and the date marked where days
// meet. A crosshair follows the pointer with its time and price and the bar's exact open, high,
// low, close and volume above the chart. The wheel zooms around the pointer, dragging scrolls, and
// with the focus on the chart Left and Right scroll, + and - zoom, Home and End go to the oldest
// and newest bars.
class ChartView : public QWidget {
    Q_OBJECT

public:
    // The app model must outlive the view.
    explicit ChartView(const AppModel& model, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

    // The bars shown: the first one's index and how many.
    std::size_t firstShown() const;
    std::size_t countShown() const;
    // The crosshair's readout, empty while the pointer is off the bars.
    const QString& readout() const { return readout_; }
    // Where a bar's centre is drawn, in the view's coordinates; nothing when it isn't shown.
    std::optional<double> barCentre(std::size_t index) const;
    // The words naming the time zone on the axis.
    QString zoneWords() const { return frame_.zoneWords(); }
    // The indexes of shown bars that begin a new day.
    std::vector<std::size_t> dayStarts() const;
    // What the view says in place of candles, or nothing when it draws them.
    std::optional<QString> message() const;

    void scrollBars(long long bars);
    void zoomBy(double factor, double anchor = 1.0);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    struct Layout {
        QRectF prices;  // the candles
        QRectF volume;  // the volume pane under them
        double slot = 1;
        double low = 0, high = 1, volumeHigh = 1;
        double step = 0;
        int decimals = 2;
        double axisWidth = 0;
    };

    void takeCandles();
    void fitWindow();
    Layout layout() const;
    void pointAt(const QPointF& at);
    std::optional<std::size_t> barAt(double x) const;

    const AppModel& model_;
    ChartFrame frame_;
    ChartWindow window_;
    bool windowChosen_ = false;  // the user zoomed or scrolled; new bars keep that view
    std::optional<QPointF> pointer_;
    std::optional<QPointF> dragFrom_;
    long long dragBack_ = 0;
    QString readout_;
};

}  // namespace tavix
