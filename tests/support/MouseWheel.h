#pragma once

#include <QCoreApplication>
#include <QTest>
#include <QWheelEvent>
#include <QWidget>
#include <QWindow>

namespace Tessaly {

/// Turns the wheel by one notch over the middle of a widget, as the window system reports it: to the window.
inline void turnWheel(QWidget* over, int notches) {
    QWidget* window = over->window();
    const QPointF place = over->mapTo(window, over->rect().center());
    QWheelEvent event(place, window->mapToGlobal(place), {}, {0, 120 * notches}, Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QSpontaneKeyEvent::setSpontaneous(&event);
    qApp->notify(window->windowHandle(), &event);
}

} // namespace Tessaly
