#include "widgets/FocusEdge.h"

#include <QEvent>
#include <QPainter>

namespace Tessaly {

namespace {

constexpr int EdgeWidth = 2;
const QColor EdgeColor(0, 171, 173);

} // namespace

FocusEdge::FocusEdge(QWidget* focused) : QWidget(focused) {
    setObjectName("focusEdge");
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
    focused->installEventFilter(this);
    follow();
}

bool FocusEdge::eventFilter(QObject* object, QEvent* event) {
    switch (event->type()) {
    case QEvent::FocusIn:
    case QEvent::FocusOut:
    case QEvent::Resize:
        follow();
        break;
    default:
        break;
    }
    return QWidget::eventFilter(object, event);
}

void FocusEdge::follow() {
    const QWidget* focused = parentWidget();
    setGeometry(focused->rect());
    // Only the edge is a part of the window, so that the middle isn't painted again for it.
    setMask(QRegion(rect()) - QRegion(rect().adjusted(EdgeWidth, EdgeWidth, -EdgeWidth, -EdgeWidth)));
    setVisible(focused->hasFocus());
    raise();
}

void FocusEdge::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), EdgeColor);
}

} // namespace Tessaly
