#include "screens/Theme.h"

#include <QApplication>
#include <QPalette>
#include <QStyleFactory>

namespace tavix::theme {

QColor text() { return QColor(0x1f, 0x23, 0x28); }
QColor mutedText() { return QColor(0x5b, 0x63, 0x6e); }
QColor rise() { return QColor(0x1a, 0x7f, 0x37); }
QColor fall() { return QColor(0xc2, 0x2d, 0x2d); }

void apply(QApplication& app) {
    if (auto* fusion = QStyleFactory::create(QStringLiteral("Fusion"))) app.setStyle(fusion);
    QPalette palette;
    palette.setColor(QPalette::Window, QColor(0xf5, 0xf6, 0xf8));
    palette.setColor(QPalette::WindowText, text());
    palette.setColor(QPalette::Base, Qt::white);
    palette.setColor(QPalette::AlternateBase, QColor(0xf8, 0xf9, 0xfb));
    palette.setColor(QPalette::Text, text());
    palette.setColor(QPalette::Button, QColor(0xf5, 0xf6, 0xf8));
    palette.setColor(QPalette::ButtonText, text());
    palette.setColor(QPalette::Highlight, QColor(0xdd, 0xea, 0xf8));
    palette.setColor(QPalette::HighlightedText, text());
    palette.setColor(QPalette::ToolTipBase, Qt::white);
    palette.setColor(QPalette::ToolTipText, text());
    palette.setColor(QPalette::PlaceholderText, mutedText());
    app.setPalette(palette);
}

QString windowStyleSheet() {
    return QStringLiteral(R"(
QMainWindow, #central { background: #f5f6f8; }
#accountKind {
    background: #e3ecf7; color: #1d4f86; border-radius: 9px; padding: 2px 10px;
    font-weight: 600;
}
#accountNumber { color: #5b636e; }
#banner {
    background: #fff4e2; color: #6b4300; border: 1px solid #efd3a1; border-radius: 6px;
    padding: 6px 10px;
}
QTableView {
    background: #ffffff; alternate-background-color: #f8f9fb; color: #1f2328;
    border: 1px solid #dde1e6; border-radius: 6px; gridline-color: #eceef1; outline: 0;
    selection-background-color: #dde9f7; selection-color: #1f2328;
}
QTableView::item { padding: 0 10px; border: none; }
QHeaderView::section {
    background: #ffffff; color: #5b636e; font-weight: 600; border: none;
    border-bottom: 1px solid #dde1e6; padding: 6px 13px;
}
)");
}

}  // namespace tavix::theme
