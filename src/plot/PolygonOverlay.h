#pragma once

#include <QPolygonF>
#include <qwt_plot_shapeitem.h>

namespace Tessaly {

/// The outline of a polygon gate. Its edges are straight on the axes shown; vertices that a logarithmic axis cannot
/// show are taken as lying far beyond its lower end.
class PolygonOverlay : public QwtPlotShapeItem {
public:
    /// @param polygon      vertices in data units, not closed
    /// @param ruleEnabled  red if the rule is in force, grey and dashed if not
    PolygonOverlay(const QPolygonF& polygon, bool ruleEnabled);

    /// Vertices at or below zero don't count along a logarithmic axis.
    QRectF boundingRect() const override;
    void draw(QPainter* painter, const QwtScaleMap& xMap, const QwtScaleMap& yMap,
              const QRectF& canvasRect) const override;

private:
    QPolygonF vertices_;
};

/// Draws nothing, but lets the axes show the whole of a gate that is hidden: they stay where they are when its edit
/// begins.
class GateRoom : public QwtPlotItem {
public:
    /// @param bounds  in data units
    explicit GateRoom(const QRectF& bounds) : bounds_(bounds) { setItemAttribute(AutoScale, true); }

    QRectF boundingRect() const override { return bounds_; }
    void draw(QPainter*, const QwtScaleMap&, const QwtScaleMap&, const QRectF&) const override {}

private:
    QRectF bounds_;
};

} // namespace Tessaly
