// Tavix starts here: the application model on the system's keychain and network, and the main
// window on the model.
#include "analytics/SeriesMemory.h"
#include "core/AppModel.h"
#include "core/KeepAwake.h"
#include "core/Pacer.h"
#include "market/Keychain.h"
#include "screens/AppIcon.h"
#include "screens/FirstPaintLog.h"
#include "screens/MainWindow.h"
#include "screens/Theme.h"

#include <qcoro/qcorotask.h>

#include <QApplication>
#include <QNetworkAccessManager>

int main(int argc, char** argv) {
    tavix::keepFreedSeriesMemory();
    QApplication app(argc, argv);
    // No organisation name: the data folder is ".../Tavix" itself, not nested under a maker.
    QCoreApplication::setApplicationName(QStringLiteral("Tavix"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("brindlecove.com"));
    QApplication::setWindowIcon(tavix::appIcon());
    tavix::theme::apply(app);

    tavix::SystemKeychain keychain;
    tavix::DBusKeepAwake keepAwake;
    tavix::TimerPacer pacer;
    QNetworkAccessManager network;

    tavix::AppModelEnvironment environment;
    environment.keychain = &keychain;
    environment.keepAwake = &keepAwake;
    environment.pacer = &pacer;
    environment.network = &network;
    tavix::AppModel model(std::move(environment));

    tavix::MainWindow window(model);
    new tavix::FirstPaintLog(&window);
    window.show();

    // Opens the saved account (or Practice, telling why in the banner, as it does a practice
    // ledger that had to be started afresh) and starts the loops. The task is held for the run.
    QCoro::Task<void> starting = model.bootstrap();
    return QApplication::exec();
}
