// Tavix starts here: the practice broker, the watchlist on it and the main window.
#include "core/AccountSummary.h"
#include "core/WatchlistModel.h"
#include "practice/MockBroker.h"
#include "screens/MainWindow.h"
#include "screens/Theme.h"

#include <QApplication>
#include <QDir>
#include <QStandardPaths>

namespace {

// Where the practice ledger lives: the application's own data folder ("…/Tavix" on every desktop).
QString practiceLedgerPath() {
    return QDir(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation))
        .filePath(QStringLiteral("practice-ledger.json"));
}

const QStringList startingWatchlist = {
    QStringLiteral("AAPL"), QStringLiteral("MSFT"),    QStringLiteral("NVDA"),
    QStringLiteral("SPY"),  QStringLiteral("BTC/USD"), QStringLiteral("ETH/USD"),
};

}  // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    // No organisation name: the data folder is ".../Tavix" itself, not nested under a maker.
    QCoreApplication::setApplicationName(QStringLiteral("Tavix"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("brindlecove.com"));
    tavix::theme::apply(app);

    tavix::MockBroker broker(practiceLedgerPath());
    tavix::WatchlistModel watchlist(broker, startingWatchlist);
    tavix::AccountSummary account(broker);
    tavix::MainWindow window(account, watchlist);
    window.setNotice(broker.notice());
    window.resize(window.sizeHint().expandedTo(QSize(760, 0)));
    window.show();

    account.load();
    watchlist.start();
    return QApplication::exec();
}
