#include "widgets/WheelGuard.h"

#include <QAbstractSpinBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QEvent>

namespace Tessaly {

void WheelGuard::install(QCoreApplication& application) {
    if (!application.findChild<WheelGuard*>(QString(), Qt::FindDirectChildrenOnly)) {
        application.installEventFilter(new WheelGuard(&application));
    }
}

bool WheelGuard::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::Wheel && event->type() != QEvent::Polish) {
        return false;
    }
    auto* box = qobject_cast<QWidget*>(watched);
    if (!qobject_cast<QComboBox*>(box) && !qobject_cast<QAbstractSpinBox*>(box)) {
        return false;
    }
    if (event->type() == QEvent::Polish) {
        if (box->focusPolicy() == Qt::WheelFocus) {
            box->setFocusPolicy(Qt::StrongFocus);
        }
        return false;
    }
    if (box->hasFocus()) {
        return false;
    }
    event->ignore(); // so that the parent gets it
    return true;
}

} // namespace Tessaly
