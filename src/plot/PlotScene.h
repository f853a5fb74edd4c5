#pragma once

#include "calc/density/Contours.h"
#include "calc/emodulus/EModulus.h"

#include <QPolygonF>
#include <QString>

#include <memory>
#include <vector>

namespace Tessaly {

class PlotPoints;

/// A polygon gate as a plot shows it.
struct PlotGate {
    int id = 0;
    QPolygonF polygon;   ///< vertices in data units, not closed
    bool enabled = true; ///< red if its rule is in force, grey and dashed if not
};

/// Everything that a plot shows of one dataset, as a value: see ScatterPlot::showScene(). The points are shared, not
/// copied; columns that live elsewhere can be lent to them (PlotPoints).
struct PlotScene {
    std::shared_ptr<const PlotPoints> points; ///< null or empty: a plot without points
    bool pointsVisible = true;                ///< false: only what lies over the points
    QString xLabel;                           ///< axis titles
    QString yLabel;
    QString colorLabel;
    int xScaleMode = 0; ///< ScaleMode; a change returns the axis to auto scale
    int yScaleMode = 0;
    bool wholeRange = false; ///< both axes return to auto scale; else the zoom stays
    std::vector<ContourLevel> contours;
    std::vector<IsoelasticLine> isoelastics; ///< in plot coordinates
    bool isoelasticLabels = false;
    std::vector<PlotGate> gates;
    int markedPoint = -1; ///< plot index of the selected event, -1 for none
};

} // namespace Tessaly
