#include "screens/AppIcon.h"

#include "screens/Theme.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

namespace tavix {

namespace {

QPixmap drawn(int size) {
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal s = size;
    QPainterPath square;
    square.addRoundedRect(QRectF(0, 0, s, s), s * 0.22, s * 0.22);
    painter.fillPath(square, QColor(0x1f, 0x2a, 0x38));

    // Two candles, the second taller and rising: a wick, then a body over it.
    auto candle = [&](qreal x, qreal wickTop, qreal bodyTop, qreal bodyBottom, qreal wickBottom,
                      QColor colour) {
        const qreal width = s * 0.18;
        painter.fillRect(QRectF(x + width / 2 - s * 0.02, s * wickTop, s * 0.04, s * (wickBottom - wickTop)),
                         colour);
        painter.fillRect(QRectF(x, s * bodyTop, width, s * (bodyBottom - bodyTop)), colour);
    };
    candle(s * 0.24, 0.38, 0.46, 0.70, 0.80, theme::fall());
    candle(s * 0.56, 0.16, 0.24, 0.62, 0.72, theme::rise());
    return pixmap;
}

}  // namespace

QIcon appIcon() {
    QIcon icon;
    for (int size : {16, 32, 64, 128, 256}) icon.addPixmap(drawn(size));
    return icon;
}

}  // namespace tavix
