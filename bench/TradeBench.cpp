// From the key press that confirms an order on the ticket to that order showing in the orders
// panel, on Practice with no practice lag: 200 limit buys, each checked first and then confirmed
// with Enter. The reference, in the same run, is the practice broker placing the same order on its
// own (`MockBroker::placeOrder`, awaited), without the window or the model around it.
#include "core/AppModel.h"
#include "core/KeepAwake.h"
#include "core/Pacer.h"
#include "practice/MockBroker.h"
#include "screens/MainWindow.h"
#include "screens/OrdersPanel.h"
#include "screens/OrdersTableModel.h"
#include "screens/TicketPanel.h"

#include <qcoro/qcorotask.h>

#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QNetworkAccessManager>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

using namespace tavix;

constexpr int orders = 200;

template <class Done>
void until(Done done) {
    while (!done()) QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
}

void report(const char* what, std::vector<double> ms) {
    std::sort(ms.begin(), ms.end());
    std::printf("%s: median %.2f ms, 99th percentile %.2f ms\n", what, ms[ms.size() / 2], ms[ms.size() * 99 / 100]);
}

}  // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // Throw-away settings, so the user's own are neither read nor touched.
    QTemporaryDir settings;
    qputenv("XDG_CONFIG_HOME", settings.path().toUtf8());
    QApplication app(argc, argv);
    MemoryKeychain keychain;
    RecordingKeepAwake keepAwake;
    TimerPacer pacer;
    QNetworkAccessManager network;
    AppModel model(AppModelEnvironment{.keychain = &keychain,
                                       .keepAwake = &keepAwake,
                                       .pacer = &pacer,
                                       .network = &network,
                                       .practiceStorePath = QString(),
                                       .practiceLag = std::chrono::milliseconds(0)});
    MainWindow window(model);
    window.show();
    QCoro::Task<void> starting = model.bootstrap();
    until([&] { return model.account().has_value() && !model.quotes().empty(); });
    model.stopBackground();
    model.setMode(Mode::expert);
    model.switchTo(QStringLiteral("AAPL"));
    // The form as a user fills it: one share, a limit far under the market, no exits.
    const auto box = [&](const char* name) { return window.findChild<QLineEdit*>(QString::fromLatin1(name)); };
    box("ticketQuantity")->setText(QStringLiteral("1"));
    window.findChild<QComboBox*>(QStringLiteral("ticketType"))->setCurrentIndex(1);
    box("ticketLimit")->setText(QStringLiteral("1"));
    box("ticketTarget")->clear();
    box("ticketGetOut")->clear();

    std::vector<double> confirmed;
    QElapsedTimer clock;
    for (int i = 0; i < orders; ++i) {
        window.ticket()->check();
        until([&] { return window.ticket()->confirming(); });
        const int before = window.orders()->rows()->rowCount();
        QKeyEvent enter(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
        clock.start();
        QCoreApplication::sendEvent(window.ticket(), &enter);
        until([&] { return window.orders()->rows()->rowCount() > before; });
        confirmed.push_back(static_cast<double>(clock.nsecsElapsed()) / 1e6);
    }

    std::vector<double> alone;
    MockBroker broker(std::nullopt, std::chrono::milliseconds(0), [&pacer] { return pacer.now(); });
    const QString account = [&] {
        auto task = broker.accounts();
        std::vector<BrokerAccount> found;
        QCoro::connect(std::move(task), &app, [&](std::vector<BrokerAccount> read) { found = std::move(read); });
        until([&] { return !found.empty(); });
        return found.front().id;
    }();
    for (int i = 0; i < orders; ++i) {
        const OrderRequest request{.symbol = QStringLiteral("AAPL"), .quantity = Decimal(1), .type = OrderType::limit,
                                   .limitPrice = Decimal(1), .timeInForce = TimeInForce::goodTillCancelled};
        bool placed = false;
        clock.start();
        QCoro::connect(broker.placeOrder(request, account), &app, [&](Order) { placed = true; });
        until([&] { return placed; });
        alone.push_back(static_cast<double>(clock.nsecsElapsed()) / 1e6);
    }
    report("confirming key press to the order in the orders panel", confirmed);
    report("reference: the practice broker placing the order alone", alone);
    return 0;
}
