#pragma once

#include "market/Enums.h"

#include <QWidget>

namespace tavix {

class AppModel;

// The selected symbol's candles: a body from open to close and a wick from low to high, green
// when the candle closed at or above its open and red below, with the price axis on the right and
// times along the bottom. The newest candles that fit are shown; "No candles yet" while there are
// none.
class ChartView : public QWidget {
    Q_OBJECT

public:
    // The app model must outlive the view.
    explicit ChartView(const AppModel& model, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

    // Round steps for a price axis over [low, high] with about `wanted` lines: 1, 2 or 5 times a
    // power of ten. Nothing when the range is empty.
    static double axisStep(double low, double high, int wanted);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const AppModel& model_;
};

}  // namespace tavix
