#pragma once

#include <qwt_plot_curve.h>

namespace Tessaly {

/// Points in one colour, drawn as the curve's symbol without a line. Round symbols of one colour are stamped on raster
/// devices, with the picture of the symbols drawn one by one; anything else draws as in the base class.
/// Points without a finite pixel are left out.
class PlainDotCurve : public QwtPlotCurve {
public:
    enum class Role {
        Points, ///< the points of the plot
        Mark    ///< marks over some of them
    };

    explicit PlainDotCurve(Role role = Role::Points);

    /// Values at or below zero don't count along a logarithmic axis. Without any other, points ask for 1 to 10 there,
    /// marks for nothing.
    QRectF boundingRect() const override;

protected:
    void drawSymbols(QPainter* painter, const QwtSymbol& symbol, const QwtScaleMap& xMap, const QwtScaleMap& yMap,
                     const QRectF& canvasRect, int from, int to) const override;

private:
    Role role_;
};

} // namespace Tessaly
