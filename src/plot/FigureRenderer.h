#pragma once

#include <QByteArray>
#include <qwt_plot_renderer.h>

namespace Tessaly {

/// Renders plots for files, without the backgrounds of window and canvas: the page is white or none.
class FigureRenderer : public QwtPlotRenderer {
public:
    /// @param framedByScales  a closed frame about the canvas in place of the axes' own lines
    explicit FigureRenderer(bool framedByScales = true);

protected:
    void renderCanvas(const QwtPlot* plot, QPainter* painter, const QRectF& canvasRect,
                      const QwtScaleMap* maps) const override;
};

/// The SVG generator writes whatever lies beyond a painter's clip. The renderer leaves marks around the contents of
/// each canvas; this puts clip paths in their place. Also gives the picture its size as stated, which the generator
/// rounds.
/// @param size  of the picture in millimetres
QByteArray finishSvg(const QByteArray& svg, const QSizeF& size);

} // namespace Tessaly
