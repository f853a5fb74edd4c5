#include "plot/VectorDots.h"

#include <QImage>
#include <QPaintEngine>
#include <QPainter>

#include <cmath>

namespace Tessaly {

namespace {

constexpr double PixelsPerUnit = 300.0 / 96.0;

int pixels(double length) {
    return static_cast<int>(std::ceil(length * PixelsPerUnit));
}

} // namespace

bool dotsGoAsPicture(const QPainter& painter, int count) {
    const QPaintEngine::Type type = painter.paintEngine()->type();
    return count > MaxVectorDots && (type == QPaintEngine::SVG || type == QPaintEngine::Pdf);
}

void drawDotsAsPicture(QPainter& painter, const QRectF& area, const std::function<void(QPainter&)>& draw) {
    QImage picture(pixels(area.width()), pixels(area.height()), QImage::Format_ARGB32_Premultiplied);
    if (picture.isNull()) {
        return;
    }
    picture.fill(Qt::transparent);
    {
        QPainter inPicture(&picture);
        inPicture.scale(PixelsPerUnit, PixelsPerUnit);
        inPicture.translate(-area.topLeft());
        draw(inPicture);
    }
    painter.save();
    painter.setRenderHint(QPainter::LosslessImageRendering);
    painter.drawImage(QRectF(area.topLeft(), QSizeF(picture.size()) / PixelsPerUnit), picture);
    painter.restore();
}

} // namespace Tessaly
