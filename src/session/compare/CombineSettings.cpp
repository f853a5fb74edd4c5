#include "session/compare/CombineSettings.h"

#include <algorithm>
#include <cmath>

namespace Tessaly {

namespace {

int inRange(int value, std::pair<int, int> range) {
    return std::clamp(value, range.first, range.second);
}

double inRange(double value, double lower, double upper, double otherwise) {
    return std::isnan(value) ? otherwise : std::clamp(value, lower, upper);
}

double limitShown(double value) {
    const double scale = std::pow(10.0, CombineRange::LimitDecimals);
    const double inBox = inRange(value, -CombineRange::Limit, CombineRange::Limit, 0.0);
    // Beyond this a double has no such decimals.
    return std::abs(inBox) > 1e11 ? inBox : std::round(inBox * scale) / scale;
}

double fractionShown(double fraction, double otherwise) {
    return std::isfinite(fraction) ? std::round(std::clamp(fraction, 0.01, 0.99) * 100.0) / 100.0 : otherwise;
}

int ceilDivided(int count, int by) {
    return (count + by - 1) / by;
}

} // namespace

CombineOptions clamped(CombineOptions options) {
    const CombineOptions usual;
    const auto choice = [](int index, int otherwise) { return index >= 0 && index <= 2 ? index : otherwise; };
    options.displayMode = choice(options.displayMode, usual.displayMode);
    options.colorMode = choice(options.colorMode, usual.colorMode);
    options.contourMode = choice(options.contourMode, usual.contourMode);
    options.contourFraction1 = fractionShown(options.contourFraction1, usual.contourFraction1);
    options.contourFraction2 = fractionShown(options.contourFraction2, usual.contourFraction2);
    PlotLimits& limits = options.limits;
    for (double* limit : {&limits.xMin, &limits.xMax, &limits.yMin, &limits.yMax}) {
        *limit = limitShown(*limit);
    }
    options.arrayCols = std::clamp(options.arrayCols, 0, CombineRange::MaxArray);
    options.arrayRows = std::clamp(options.arrayRows, 0, CombineRange::MaxArray);
    return options;
}

CombineExportSettings clamped(CombineExportSettings settings) {
    using namespace CombineRange;
    const CombineExportSettings usual;
    for (int* size : {&settings.tickLabelSize, &settings.axisLabelSize, &settings.titleSize}) {
        *size = inRange(*size, FontSize);
    }
    // The boxes show whole millimetres and a decimal of the width.
    settings.plotWidthMm = std::round(inRange(settings.plotWidthMm, PlotMm.first, PlotMm.second, usual.plotWidthMm));
    settings.plotHeightMm = std::round(inRange(settings.plotHeightMm, PlotMm.first, PlotMm.second, usual.plotHeightMm));
    settings.pointSize = inRange(settings.pointSize, PointSize);
    settings.axisLineWidth =
        std::round(inRange(settings.axisLineWidth, AxisWidth.first, AxisWidth.second, usual.axisLineWidth) * 10.0) /
        10.0;
    return settings;
}

const std::vector<QColor>& combinePalette() {
    static const std::vector<QColor> palette = [] {
        std::vector<QColor> colors;
        for (const unsigned rgb : {0x1f77b4U, 0xff7f0eU, 0x2ca02cU, 0xd62728U, 0x9467bdU, 0x8c564bU, 0xe377c2U,
                                   0x7f7f7fU, 0xbcbd22U, 0x17becfU, 0xaec7e8U, 0xffbb78U, 0x98df8aU, 0xff9896U,
                                   0xc5b0d5U, 0xc49c94U, 0xf7b6d2U, 0xc7c7c7U, 0xdbdb8dU, 0x9edae5U}) {
            colors.emplace_back(rgb);
        }
        return colors;
    }();
    return palette;
}

ArraySize arraySize(int plots, const CombineOptions& options) {
    if (plots <= 0) {
        return {};
    }
    if (options.manualArraySize && options.arrayCols > 0) {
        return {options.arrayCols, ceilDivided(plots, options.arrayCols)};
    }
    if (options.manualArraySize && options.arrayRows > 0) {
        return {ceilDivided(plots, options.arrayRows), options.arrayRows};
    }
    const int cols = static_cast<int>(std::ceil(std::sqrt(plots)));
    return {cols, ceilDivided(plots, cols)};
}

} // namespace Tessaly
