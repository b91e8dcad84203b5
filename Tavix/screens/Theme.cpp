#include "screens/Theme.h"

#include <QApplication>
#include <QPalette>
#include <QStyleFactory>

namespace tavix::theme {

QColor window() {
    return QColor(0x16, 0x19, 0x1e);
}
QColor panel() {
    return QColor(0x1c, 0x20, 0x26);
}
QColor text() {
    return QColor(0xd6, 0xdb, 0xe1);
}
QColor mutedText() {
    return QColor(0x8a, 0x93, 0x9e);
}
QColor line() {
    return QColor(0x2c, 0x32, 0x3a);
}
QColor accent() {
    return QColor(0x6c, 0xa6, 0xe0);
}
QColor rise() {
    return QColor(0x4c, 0xb7, 0x82);
}
QColor fall() {
    return QColor(0xe0, 0x6c, 0x6c);
}

void apply(QApplication& app) {
    if (auto* fusion = QStyleFactory::create(QStringLiteral("Fusion"))) app.setStyle(fusion);
    QPalette palette;
    palette.setColor(QPalette::Window, window());
    palette.setColor(QPalette::WindowText, text());
    palette.setColor(QPalette::Base, panel());
    palette.setColor(QPalette::AlternateBase, QColor(0x20, 0x25, 0x2c));
    palette.setColor(QPalette::Text, text());
    palette.setColor(QPalette::Button, QColor(0x23, 0x28, 0x30));
    palette.setColor(QPalette::ButtonText, text());
    palette.setColor(QPalette::Highlight, QColor(0x2a, 0x3f, 0x58));
    palette.setColor(QPalette::HighlightedText, QColor(0xf0, 0xf3, 0xf6));
    palette.setColor(QPalette::ToolTipBase, panel());
    palette.setColor(QPalette::ToolTipText, text());
    palette.setColor(QPalette::PlaceholderText, mutedText());
    palette.setColor(QPalette::Link, accent());
    palette.setColor(QPalette::Disabled, QPalette::Text, mutedText());
    palette.setColor(QPalette::Disabled, QPalette::ButtonText, mutedText());
    palette.setColor(QPalette::Disabled, QPalette::WindowText, mutedText());
    app.setPalette(palette);
}

QString windowStyleSheet() {
    return QStringLiteral(R"(
QMainWindow, #central { background: #16191e; }
#header { background: #1c2026; border: 1px solid #2c323a; border-radius: 8px; }
#accountKind {
    background: #22344a; color: #9cc4ec; border-radius: 9px; padding: 2px 10px; font-weight: 600;
}
#accountNumber, #connecting { color: #8a939e; }
#worth { color: #e6eaee; font-size: 15px; font-weight: 600; }
#health { color: #8a939e; border: 1px solid #2c323a; border-radius: 9px; padding: 1px 9px; }
#banner {
    background: #2b2519; color: #e8cf9a; border: 1px solid #4a3d22; border-radius: 6px;
    padding: 6px 10px;
}
#watchlistError { color: #e06c6c; }
#chartTitle { color: #e6eaee; font-size: 14px; font-weight: 600; }
QLineEdit {
    background: #1c2026; color: #d6dbe1; border: 1px solid #2c323a; border-radius: 6px;
    padding: 5px 8px; selection-background-color: #2a3f58;
}
QLineEdit:focus { border-color: #4a7bab; }
QTableView:focus, QListView:focus { border: 1px solid #4a7bab; }
QToolButton:focus { border: 1px solid #6ca6e0; }
QTabBar::tab:focus { color: #e6eaee; background: #22344a; }
QMenuBar { background: #16191e; color: #b8c0c8; }
QMenuBar::item:selected { background: #2a3f58; color: #e6eaee; }
QToolButton {
    background: #23282f; color: #d6dbe1; border: 1px solid #2c323a; border-radius: 6px;
    padding: 3px 10px;
}
QToolButton:hover { background: #2a3038; }
QToolButton:checked { background: #2a3f58; border-color: #4a7bab; color: #e6eaee; }
QToolButton::menu-indicator { image: none; }
QTableView, QListView {
    background: #1c2026; alternate-background-color: #20252c; color: #d6dbe1;
    border: 1px solid #2c323a; border-radius: 6px; gridline-color: #2c323a; outline: 0;
    selection-background-color: #2a3f58; selection-color: #f0f3f6;
}
QTableView::item { padding: 0 8px; border: none; }
QHeaderView::section {
    background: #1c2026; color: #8a939e; font-weight: 600; border: none;
    border-bottom: 1px solid #2c323a; padding: 6px 10px;
}
QTabWidget::pane { border: none; }
QTabBar::tab {
    background: transparent; color: #8a939e; padding: 6px 14px; border: none;
    border-bottom: 2px solid transparent;
}
QTabBar::tab:selected { color: #e6eaee; border-bottom-color: #6ca6e0; }
QSplitter::handle { background: #16191e; }
QMenu { background: #1c2026; color: #d6dbe1; border: 1px solid #2c323a; }
QMenu::item:selected { background: #2a3f58; }
QMenu::separator { height: 1px; background: #2c323a; margin: 4px 8px; }
)");
}

}  // namespace tavix::theme
