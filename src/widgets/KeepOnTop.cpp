#include "widgets/KeepOnTop.h"

#include <QAction>
#include <QCoreApplication>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>

namespace Tessaly {

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("Tessaly::KeepOnTop", text);
}

QMenu* viewMenu(QMainWindow& window) {
    const QString title = tr("&View");
    for (const QAction* action : window.menuBar()->actions()) {
        if (action->menu() && action->text().remove(u'&') == QString(title).remove(u'&')) {
            return action->menu();
        }
    }
    QMenu* menu = window.menuBar()->addMenu(title);
    menu->setObjectName(QStringLiteral("viewMenu"));
    return menu;
}

void keepOnTop(QMainWindow& window, bool on) {
    // Changing the flag hides the window, and the window manager would place it anew.
    const QPoint position = window.pos();
    const QSize size = window.size();
    window.setWindowFlag(Qt::WindowStaysOnTopHint, on);
    if (!window.isMaximized() && !window.isFullScreen()) {
        window.resize(size);
        window.move(position);
    }
    window.show();
}

} // namespace

QAction* installKeepOnTop(QMainWindow& window) {
    QMenu* menu = viewMenu(window);
    menu->setToolTipsVisible(true);
    QAction* action = menu->addAction(tr("Keep on &Top"));
    action->setObjectName(QStringLiteral("keepOnTopAction"));
    action->setCheckable(true);
    action->setToolTip(tr("Keep this window above the main window."));
    QObject::connect(action, &QAction::toggled, &window, [&window](bool on) { keepOnTop(window, on); });
    return action;
}

} // namespace Tessaly
