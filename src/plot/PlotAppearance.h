#pragma once

#include <QBrush>
#include <QPalette>
#include <qwt_axis.h>

#include <array>

class QwtPlot;

namespace Tessaly {

/// What of a plot's look is changed for printing, as it was when this object was made. Ends with the plot looking the
/// same again, to the pixel. The plot must outlive it; nothing may be painted meanwhile. Interface thread only.
class PlotAppearance {
public:
    explicit PlotAppearance(QwtPlot& plot);
    ~PlotAppearance();
    PlotAppearance(const PlotAppearance&) = delete;
    PlotAppearance& operator=(const PlotAppearance&) = delete;

    /// The look on paper: white, without the canvas's frame and margins. The frame about the canvas comes from the
    /// renderer, which draws all four sides, so that hidden axes needn't be shown for it: that would lay out the window
    /// anew.
    void applyForPrint();

private:
    struct Axis {
        bool visible;
        int margin;   ///< of the canvas on that side
        bool aligned; ///< canvas to scale
    };

    QwtPlot& plot_;
    QBrush canvasBackground_;
    QPalette palette_;
    bool autoFill_;
    int frameStyle_ = 0;
    std::array<Axis, QwtAxis::AxisPositions> axes_;
};

} // namespace Tessaly
