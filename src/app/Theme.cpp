#include "app/Theme.h"

#include <QApplication>
#include <QFile>
#include <QStyleFactory>

namespace Tessaly {

QPalette applicationPalette() {
    const QColor text(35, 38, 46);
    const QColor accent(0, 171, 173);
    const QColor dark(160, 164, 170);
    QPalette palette;
    palette.setColor(QPalette::Window, {245, 246, 248});
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText}) {
        palette.setColor(role, text);
    }
    for (const auto role : {QPalette::Base, QPalette::HighlightedText, QPalette::ToolTipBase, QPalette::Light}) {
        palette.setColor(role, {255, 255, 255});
    }
    palette.setColor(QPalette::AlternateBase, {240, 242, 245});
    palette.setColor(QPalette::Button, {238, 240, 243});
    palette.setColor(QPalette::BrightText, {210, 60, 60});
    palette.setColor(QPalette::Link, accent);
    palette.setColor(QPalette::Highlight, accent);
    palette.setColor(QPalette::Midlight, {235, 237, 240});
    palette.setColor(QPalette::Mid, {200, 203, 208});
    palette.setColor(QPalette::Dark, dark);
    palette.setColor(QPalette::Shadow, {120, 124, 130});
    // What is left would come from the desktop, which may be dark.
    palette.setColor(QPalette::LinkVisited, accent);
    palette.setColor(QPalette::PlaceholderText, {text.red(), text.green(), text.blue(), 128});
    for (const auto role : {QPalette::Text, QPalette::ButtonText, QPalette::WindowText}) {
        palette.setColor(QPalette::Disabled, role, dark);
    }
    return palette;
}

QString applicationStyleSheet() {
    QFile file(QStringLiteral(":/theme.qss"));
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return QString::fromUtf8(file.readAll());
}

void applyTheme(QApplication& application) {
    application.setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    application.setPalette(applicationPalette());
    application.setStyleSheet(applicationStyleSheet());
}

} // namespace Tessaly
