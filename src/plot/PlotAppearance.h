#pragma once

#include <QBrush>
#include <QPalette>
#include <qwt_axis.h>
#include <qwt_scale_draw.h>

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

    /// The look on paper: white, without the canvas's frame and margins, with axes on all four sides. Those that were
    /// hidden have neither numbers nor ticks.
    void applyForPrint();

private:
    struct Axis {
        bool visible;
        int margin;   ///< of the canvas on that side
        bool aligned; ///< canvas to scale
        bool hasTicks;
        bool hasLabels;
    };

    QwtPlot& plot_;
    QBrush canvasBackground_;
    QPalette palette_;
    bool autoFill_;
    int frameStyle_ = 0;
    std::array<Axis, QwtAxis::AxisPositions> axes_;
};

} // namespace Tessaly
