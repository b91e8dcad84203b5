// A plug on a loopback port with a desk that answers at once, for bench/plug_load.sh to load:
// PlugServe <port>. GET / answers the index; an authorized GET /v1/quote gets a fixed quote.
#include "bots/Plug.h"

#include <qcoro/qcorotask.h>

#include <QCoreApplication>

#include <cstdio>

namespace {

class InstantDesk : public tavix::PlugHandler {
public:
    QCoro::Task<tavix::PlugAnswer> answer(tavix::PlugRequest, QString) override {
        co_return tavix::PlugAnswer{200, QByteArrayLiteral(R"({"symbol":"AAPL","last":182.55,"bid":182.53,"ask":182.58})")};
    }
};

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const auto port = static_cast<quint16>(argc > 1 ? QByteArray(argv[1]).toUInt() : 7399);
    InstantDesk desk;
    tavix::Plug plug(&desk, port);
    QCoro::Task<void> starting = plug.start();
    std::printf("listening on %u\n", plug.port());
    std::fflush(stdout);
    return QCoreApplication::exec();
}
