#include "plot/PolygonOutline.h"

#include "plot/PlotItems.h"

#include <QEvent>
#include <QPainter>
#include <qwt_clipper.h>

#include <cmath>

namespace Tessaly {

namespace {

constexpr double VertexSize = 8.0;
/// Beyond this the painter's arithmetic on lines ends.
constexpr double FarAway = 1e6;

QRect paintedRect(const QPolygonF& pixels, const QRect& area) {
    const QRectF reach(QPointF(area.topLeft()) - QPointF(FarAway, FarAway), QSizeF(2 * FarAway, 2 * FarAway));
    return pixels.boundingRect().intersected(reach).toAlignedRect().adjusted(-6, -6, 6, 6) & area;
}

} // namespace

PolygonOutline::PolygonOutline(QWidget* canvas) : QWidget(canvas) {
    setObjectName("polygonOutline");
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
    setGeometry(canvas->rect());
    canvas->installEventFilter(this);
    hide();
}

bool PolygonOutline::eventFilter(QObject* object, QEvent* event) {
    if (event->type() == QEvent::Resize) {
        setGeometry(parentWidget()->rect());
    }
    return QWidget::eventFilter(object, event);
}

void PolygonOutline::setPolygon(const QPolygonF& pixels, bool closed) {
    const QRect before = paintedRect(pixels_, rect());
    pixels_.clear();
    for (const QPointF& pixel : pixels) {
        if (std::isfinite(pixel.x()) && std::isfinite(pixel.y())) {
            pixels_.append(pixel);
        }
    }
    if (closed && !pixels_.isEmpty()) {
        pixels_.append(pixels_.first());
    }
    update(before | paintedRect(pixels_, rect()));
}

void PolygonOutline::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(plotPen(QColor(255, 0, 0, 200), 2.0, Qt::DashLine));
    static constexpr double Margin = 20.0;
    painter.drawPolyline(
        QwtClipper::clippedPolygonF(QRectF(rect()).adjusted(-Margin, -Margin, Margin, Margin), pixels_));
    painter.setPen(plotPen(Qt::red, 1.0));
    painter.setBrush(Qt::red);
    for (const QPointF& pixel : pixels_) {
        painter.drawEllipse(pixel, 0.5 * VertexSize, 0.5 * VertexSize);
    }
}

} // namespace Tessaly
