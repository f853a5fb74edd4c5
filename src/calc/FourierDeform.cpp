#include "calc/FourierDeform.h"

#include "calc/Outlines.h"
#include "calc/RadialSeries.h"
#include "core/ErrorReport.h"
#include "io/EventSeries.h"
#include "io/VQDReader.h"

#include <array>
#include <cmath>
#include <stdexcept>
#include <utility>

namespace Tessaly {

namespace {

/// Deformation of the closed polygon with these radii in these directions. Its corners are 32-bit floats.
double deformationOf(const Waves& directions, const std::vector<double>& radii) {
    std::vector<std::array<float, 2>> polygon(radii.size());
    for (std::size_t j = 0; j < radii.size(); ++j) {
        polygon[j] = {static_cast<float>(radii[j] * directions.cosines[j]),
                      static_cast<float>(radii[j] * directions.sines[j])};
    }
    constexpr double pi = 3.141592653589793;
    const PolygonSize size = polygonSize(polygon);
    return 1.0 - 2.0 * std::sqrt(pi * size.area) / size.circumference;
}

/// Throws std::exception for an outline that can't be described.
FourierResult analyze(std::span<const OutlinePoint> points, int harmonics, bool resample) {
    constexpr std::size_t parts = 10;
    constexpr std::size_t fineParts = 50;
    RadialCurve curve = polarCurve(centredHull(points), resample ? parts : fineParts);
    if (resample) {
        curve = resampled(curve);
    } else {
        weighByGaps(curve);
    }
    const RebuiltRadii radii = rebuilt(curve, harmonics);
    return {deformationOf(radii.directions, radii.odd), deformationOf(radii.directions, radii.even),
            deformationOf(radii.directions, radii.all)};
}

} // namespace

StepResult fourierDeformations(std::size_t events, const MaskSource& masks, const StepControl& control) {
    constexpr std::size_t progressStep = 100;
    constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
    StepResult result;
    const std::vector<double> none(events, NaN);
    std::vector<double> odd = none;
    std::vector<double> even = none;
    std::vector<double> all = none;
    for (std::size_t i = 0; i < events; ++i) {
        if (control.isStopped()) {
            return result;
        }
        if (i % progressStep == 0) {
            control.report(i * 100 / events);
        }
        std::string problem;
        try {
            const std::vector<OutlinePoint> outline = cellOutline(masks(i, problem));
            if (!outline.empty()) {
                const FourierResult found = analyze(outline, FourierDeform::Harmonics, true);
                if (std::isfinite(found.deformOdd) && std::isfinite(found.deformEven)) {
                    odd[i] = found.deformOdd;
                    even[i] = found.deformEven;
                }
                all[i] = std::isfinite(found.deformFc) ? found.deformFc : NaN;
            }
        } catch (const std::exception& error) {
            problem = error.what();
        }
        if (!problem.empty() && result.unreadable++ == 0) {
            result.firstProblem = std::move(problem);
        }
    }
    result.columns = {{"deform_odd", std::move(odd)}, {"deform_even", std::move(even)}, {"deform_fc", std::move(all)}};
    result.done = true;
    control.report(100);
    return result;
}

StepResult fourierDeformations(VQDReader& reader, const StepControl& control) {
    if (!reader.hasMask()) {
        return {};
    }
    EventSeries series(reader);
    StepResult result = fourierDeformations(
        reader.eventCount(),
        [&series](std::size_t event, std::string& problem) {
            MaskPicture mask;
            mask.pixels = series.getMask(event, &mask.width, &mask.height, &problem);
            return mask;
        },
        control);
    reportUnreadable("FourierDeform", "masks", result, reader.path());
    return result;
}

bool FourierDeform::compute(VQDReader* reader) {
    if (reader == nullptr) {
        return false;
    }
    StepResult result = fourierDeformations(*reader, {{}, [this](int percent) { emit progressChanged(percent); }});
    installColumns(std::move(result.columns), *reader);
    return result.done;
}

FourierResult FourierDeform::analyzeContour(std::span<const OutlinePoint> points, int harmonics, bool resample) {
    try {
        return analyze(points, harmonics, resample);
    } catch (const std::exception& error) {
        reportError(std::string("[FCA] ") + error.what());
    } catch (...) {
        // Told by the values alone.
    }
    return {};
}

} // namespace Tessaly
