#pragma once

#include <QPolygonF>
#include <qwt_plot_marker.h>

namespace Tessaly {

/// The modulus at the end of an isoelastic line. A label that would overlap an earlier one or be cut by the canvas's
/// edge moves along its line, away from the end, to the next place that is free; without one it isn't drawn.
class IsoelasticLabel : public QwtPlotMarker {
public:
    /// @param line      at least one point, in data units; the label belongs to its last
    /// @param previous  the label before, which must live as long as this one may be drawn; null for the first
    IsoelasticLabel(const QPolygonF& line, const IsoelasticLabel* previous);

    /// Where the text goes, in the painter's coordinates; empty if there is no place for it.
    /// O(labels before) places, each O(length of the line in pixels).
    QRectF placedRect(const QFont& font, const QwtScaleMap& xMap, const QwtScaleMap& yMap,
                      const QRectF& canvasRect) const;

    void draw(QPainter* painter, const QwtScaleMap& xMap, const QwtScaleMap& yMap,
              const QRectF& canvasRect) const override;

private:
    QRectF rectAt(const QPointF& position, const QSizeF& size) const;

    QPolygonF line_;
    const IsoelasticLabel* previous_;
};

} // namespace Tessaly
