#include "plot/PolygonTool.h"

#include "plot/PolygonHits.h"
#include "plot/PolygonOutline.h"

#include <qwt_plot.h>
#include <qwt_scale_map.h>

namespace Tessaly {

PolygonTool::PolygonTool(QwtPlot& plot) : plot_(plot), outline_(new PolygonOutline(plot.canvas())) {}

void PolygonTool::begin(Shape shape, const QPolygonF& vertices) {
    shape_ = shape;
    vertices_ = vertices;
    dragged_ = -1;
    updateOutline();
    outline_->show();
    outline_->raise();
}

void PolygonTool::end() {
    vertices_.clear();
    dragged_ = -1;
    updateOutline();
    outline_->hide();
}

void PolygonTool::insert(int index, const QPointF& dataPos) {
    vertices_.insert(index, dataPos);
    updateOutline();
}

void PolygonTool::remove(int index) {
    vertices_.remove(index);
    updateOutline();
}

void PolygonTool::moveDragged(const QPointF& dataPos) {
    if (dragged_ >= 0 && dragged_ < vertices_.size()) {
        vertices_[dragged_] = dataPos;
        updateOutline();
    }
}

QPolygonF PolygonTool::pixels() const {
    const QwtScaleMap xMap = plot_.canvasMap(QwtAxis::XBottom);
    const QwtScaleMap yMap = plot_.canvasMap(QwtAxis::YLeft);
    QPolygonF pixels;
    for (const QPointF& vertex : vertices_) {
        pixels.append(boundedPixel(xMap, yMap, vertex));
    }
    return pixels;
}

int PolygonTool::vertexAt(const QPointF& canvasPos) const {
    return Tessaly::vertexAt(pixels(), canvasPos);
}

int PolygonTool::edgeAt(const QPointF& canvasPos) const {
    return Tessaly::edgeAt(pixels(), canvasPos);
}

void PolygonTool::updateOutline() {
    outline_->setPolygon(pixels(), shape_ == Shape::Closed);
}

} // namespace Tessaly
