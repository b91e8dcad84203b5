// The reference for the start-up figure: an empty Qt Widgets main window of the same size, with
// nothing to read, that logs its first paint the way Tavix does. What Tavix takes beyond this is
// its own start-up. Built and run by bench/startup_idle.sh.
#include <QApplication>
#include <QDateTime>
#include <QMainWindow>
#include <QPaintEvent>

#include <cstdio>

namespace {

class Window : public QMainWindow {
protected:
    void paintEvent(QPaintEvent* event) override {
        QMainWindow::paintEvent(event);
        if (painted_) return;
        painted_ = true;
        std::printf("first paint at %lld\n", static_cast<long long>(QDateTime::currentMSecsSinceEpoch()));
        std::fflush(stdout);
    }

private:
    bool painted_ = false;
};

}  // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    Window window;
    window.resize(1280, 800);
    window.show();
    return QApplication::exec();
}
