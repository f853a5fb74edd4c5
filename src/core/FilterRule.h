#pragma once

#include <string>
#include <utility>
#include <vector>

namespace Tessaly {

/// One gate: a range of one feature, or a polygon over two.
struct FilterRule {
    static constexpr int Range = 0;
    static constexpr int Polygon = 1;

    int type = Range;
    std::string featureName;  ///< feature of a range rule; x feature of a polygon
    std::string featureNameY; ///< y feature of a polygon
    double minValue = 0.0;    ///< lower bound of a range, included
    double maxValue = 0.0;    ///< upper bound of a range, included
    /// Corners of a polygon in data units; the last joins the first.
    std::vector<std::pair<double, double>> polygonVertices;
    int scaleXMode = 0; ///< scale mode of the x axis on which the polygon was drawn: there its edges are straight
    int scaleYMode = 0; ///< the same for the y axis
    bool enabled = true;
    bool inverted = false;     ///< passes what the rule would otherwise reject
    std::string propagationId; ///< links copies of one rule across datasets; empty for a local rule

    bool operator==(const FilterRule&) const = default;
};

} // namespace Tessaly
