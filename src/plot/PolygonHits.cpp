#include "plot/PolygonHits.h"

#include <qwt_scale_map.h>
#include <qwt_transform.h>

#include <cmath>

namespace Tessaly {

namespace {

double squaredLength(const QPointF& vector) {
    return QPointF::dotProduct(vector, vector);
}

double boundedTransform(const QwtScaleMap& map, double value) {
    const QwtTransform* transform = map.transformation();
    return map.transform(transform ? transform->bounded(value) : value);
}

} // namespace

int vertexAt(const QPolygonF& pixels, const QPointF& place) {
    int nearest = -1;
    double smallest = VertexReach * VertexReach;
    for (qsizetype i = 0; i < pixels.size(); ++i) {
        const double distance2 = squaredLength(pixels[i] - place); // NaN is never below
        if (distance2 < smallest) {
            smallest = distance2;
            nearest = static_cast<int>(i);
        }
    }
    return nearest;
}

int edgeAt(const QPolygonF& pixels, const QPointF& place) {
    int nearest = -1;
    if (pixels.size() < 2) {
        return nearest;
    }
    double smallest = EdgeReach * EdgeReach;
    for (qsizetype i = 0; i < pixels.size(); ++i) {
        const QPointF from = pixels[i];
        const QPointF along = pixels[(i + 1) % pixels.size()] - from;
        const double length2 = squaredLength(along);
        if (!(length2 > 0.0)) {
            continue;
        }
        const double share = QPointF::dotProduct(place - from, along) / length2;
        if (!(share >= 0.0 && share <= 1.0)) {
            continue;
        }
        const double distance2 = squaredLength(from + share * along - place);
        if (distance2 < smallest) {
            smallest = distance2;
            nearest = static_cast<int>(i);
        }
    }
    return nearest;
}

QPointF boundedPixel(const QwtScaleMap& xMap, const QwtScaleMap& yMap, const QPointF& dataPos) {
    return {boundedTransform(xMap, dataPos.x()), boundedTransform(yMap, dataPos.y())};
}

} // namespace Tessaly
