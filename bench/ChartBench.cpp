// The chart's repaint with 5,000 candles, their volume and the crosshair moving, offscreen: the time
// of one frame as the widget paints it into an image, crosshair moved one bar between frames. The
// reference, in the same run, is the plainest frame of the same size: QPainter filling 5,000
// rectangles and drawing 5,000 lines into the same image.
#include "core/AppModel.h"
#include "core/KeepAwake.h"
#include "core/Pacer.h"
#include "practice/MockBroker.h"
#include "screens/ChartView.h"
#include "screens/Theme.h"

#include <qcoro/qcorotask.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QImage>
#include <QMouseEvent>
#include <QNetworkAccessManager>
#include <QPainter>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

using namespace tavix;

constexpr std::size_t candleCount = 5000;
const int frames = qEnvironmentVariableIsSet("TAVIX_BENCH_FRAMES") ? qEnvironmentVariableIntValue("TAVIX_BENCH_FRAMES") : 600;

// The practice broker, its chart read answered with 5,000 five-minute candles of a random walk.
class ManyCandles : public MockBroker {
public:
    using MockBroker::MockBroker;
    QCoro::Task<std::vector<Candle>> candles(QString, CandleInterval, DateRange range) override {
        std::vector<Candle> made;
        long long cents = 15000;
        unsigned seed = 20261124;
        for (std::size_t i = 0; i < candleCount; ++i) {
            seed = seed * 1103515245 + 12345;
            const long long open = cents;
            cents = std::max(100LL, cents + static_cast<long long>((seed >> 16) % 61) - 30);
            const long long high = std::max(open, cents) + (seed >> 8) % 20, low = std::min(open, cents) - (seed >> 4) % 20;
            made.push_back(Candle{range.end - 300.0 * static_cast<double>(candleCount - i), Decimal(open) / Decimal(100),
                                  Decimal(high) / Decimal(100), Decimal(low) / Decimal(100),
                                  Decimal(cents) / Decimal(100), Decimal(static_cast<long long>(1000 + seed % 90000))});
        }
        co_return made;
    }
};

struct Figures {
    double median = 0, p99 = 0;
};

template <class Frame>
Figures time(Frame frame) {
    std::vector<double> ms;
    QElapsedTimer clock;
    for (int i = 0; i < frames; ++i) {
        clock.start();
        frame(i);
        ms.push_back(static_cast<double>(clock.nsecsElapsed()) / 1e6);
    }
    std::sort(ms.begin(), ms.end());
    return {ms[ms.size() / 2], ms[ms.size() * 99 / 100]};
}

}  // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    MemoryKeychain keychain;
    RecordingKeepAwake keepAwake;
    TimerPacer pacer;
    QNetworkAccessManager network;
    AppModelEnvironment environment{.keychain = &keychain,
                                    .keepAwake = &keepAwake,
                                    .pacer = &pacer,
                                    .network = &network,
                                    .practiceStorePath = QString(),
                                    .practiceLag = std::chrono::milliseconds(0)};
    environment.makePractice = [&](std::optional<QString> path, std::chrono::milliseconds lag) {
        return std::make_shared<ManyCandles>(std::move(path), lag, [&pacer] { return pacer.now(); });
    };
    AppModel model(std::move(environment));
    QCoro::Task<void> starting = model.bootstrap();
    while (model.candles().size() < candleCount) QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    model.stopBackground();

    ChartView chart(model);
    chart.resize(1280, 720);
    chart.zoomBy(100);  // every one of the 5,000 candles on screen
    QImage image(chart.size(), QImage::Format_ARGB32_Premultiplied);
    const auto pointer = [&](int i) {
        const QPointF at(40 + (i * 7) % (chart.width() - 160), 200 + (i * 3) % 200);
        QMouseEvent move(QEvent::MouseMove, at, chart.mapToGlobal(at), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&chart, &move);
    };
    // Warm up, then the frames measured.
    for (int i = 0; i < 50; ++i) {
        pointer(i);
        chart.render(&image);
    }
    const Figures whole = time([&](int i) {
        pointer(i);
        chart.render(&image);
    });
    chart.zoomBy(0.05);  // the view the chart opens with: a few hundred bars
    const Figures opened = time([&](int i) {
        pointer(i);
        chart.render(&image);
    });
    const Figures reference = time([&](int i) {
        QPainter painter(&image);
        painter.fillRect(image.rect(), theme::panel());
        for (std::size_t k = 0; k < candleCount; ++k) {
            const double x = 10 + static_cast<double>(k) * 0.24;
            painter.setPen(k % 2 ? theme::rise() : theme::fall());
            painter.drawLine(QPointF(x, static_cast<double>(100 + (k + static_cast<std::size_t>(i)) % 300)), QPointF(x, 500));
            painter.fillRect(QRectF(x, 560, 0.2, 100), theme::rise());
        }
    });
    std::printf("chart frame, 5000 candles shown, volume and crosshair: median %.2f ms, 99th percentile %.2f ms\n",
                whole.median, whole.p99);
    std::printf("chart frame, %zu candles shown (as opened), volume and crosshair: median %.2f ms, 99th percentile %.2f ms\n",
                chart.countShown(), opened.median, opened.p99);
    std::printf("reference, 5000 lines and 5000 rectangles: median %.2f ms, 99th percentile %.2f ms\n",
                reference.median, reference.p99);
    return 0;
}
