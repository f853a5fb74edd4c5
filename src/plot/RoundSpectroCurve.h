#pragma once

#include <qwt_plot_spectrocurve.h>

namespace Tessaly {

/// Points coloured by value, drawn as round antialiased dots of the pen's width, later points over earlier ones.
/// On raster devices the dots come from prepared masks; in SVG and PDF they stay vector shapes up to MaxVectorDots.
/// A NaN value has the colour of the smallest value; points without a finite pixel are left out.
class RoundSpectroCurve : public QwtPlotSpectroCurve {
public:
    explicit RoundSpectroCurve(const QString& title = QString());

    /// Values at or below zero don't count along a logarithmic axis.
    QRectF boundingRect() const override;

protected:
    void drawDots(QPainter* painter, const QwtScaleMap& xMap, const QwtScaleMap& yMap, const QRectF& canvasRect,
                  int from, int to) const override;
};

} // namespace Tessaly
