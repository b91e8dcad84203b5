#pragma once

#include "market/Enums.h"
#include "market/Quote.h"

#include <QString>
#include <QTimeZone>

#include <cstddef>
#include <vector>

namespace tavix {

// What the chart draws from, worked out once whenever the candles change rather than on every
// frame: each candle's prices and volume as doubles, the day it falls on in the chart's time zone,
// and that zone itself (New York for stocks and options, the computer's own for coins).
struct ChartFrame {
    struct Bar {
        double open = 0, high = 0, low = 0, close = 0, volume = 0;
        double time = 0;   // seconds since 1970
        qint64 day = 0;    // the calendar day in the chart's zone, as a Julian day
        bool rose = true;  // closed at or above its open (decided on the exact prices)
    };

    std::vector<Bar> bars;
    QTimeZone zone;
    bool marketTime = true;  // New York time, for stocks; false for coins

    // The frame of `candles` of `symbol`: coins ("BTC/USD") keep the computer's time.
    static ChartFrame of(const std::vector<Candle>& candles, const QString& symbol);

    // The words naming the zone on the time axis.
    QString zoneWords() const;
    // A time on the axis: "10:35" within a day, "24 Nov" for daily bars and longer.
    QString timeLabel(double seconds, CandleInterval interval) const;
    // The day where days meet: "Tue 24 Nov".
    QString dayLabel(double seconds) const;
    // The readout line: the bar's time, then O, H, L, C and V with the candle's exact figures.
    static QString readout(const Candle& candle, const QString& when);
};

// The window of bars the chart shows: `count` bars ending `back` bars before the newest. Zooming
// keeps the bar under the pointer where it is; nothing scrolls past either end.
struct ChartWindow {
    std::size_t count = 0;
    std::size_t back = 0;

    static constexpr std::size_t fewest = 10;

    // The first bar shown, out of `total`.
    std::size_t first(std::size_t total) const;
    // Keeps the window inside `total` bars.
    void clamp(std::size_t total);
    // Scrolls `bars` older (positive) or newer (negative).
    void scroll(long long bars, std::size_t total);
    // Shows `factor` times as many bars, keeping the bar at `anchor` (0 left edge, 1 right edge)
    // where it is.
    void zoom(double factor, double anchor, std::size_t total);
};

// Round steps for a price axis over [low, high] with about `wanted` lines: 1, 2 or 5 times a power
// of ten. Nothing when the range is empty.
double axisStep(double low, double high, int wanted);

}  // namespace tavix
