#include "calc/FourierDeform.h"

#include "calc/RadialSeries.h"
#include "core/ErrorReport.h"
#include "io/EventSeries.h"
#include "io/VQDReader.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

namespace Tessaly {

namespace {

constexpr std::size_t leastOutline = 5;

/// Bounds of the pixels that are not zero; empty if there are none.
cv::Rect boundsOf(const MaskPicture& mask) {
    const auto width = static_cast<std::size_t>(mask.width);
    std::vector<std::uint8_t> columns(width, 0);
    int top = mask.height;
    int bottom = -1;
    for (int y = 0; y < mask.height; ++y) {
        const std::uint8_t* row = mask.pixels.data() + static_cast<std::size_t>(y) * width;
        std::uint8_t any = 0;
        for (std::size_t x = 0; x < width; ++x) {
            any |= row[x];
            columns[x] |= row[x];
        }
        if (any != 0) {
            top = std::min(top, y);
            bottom = y;
        }
    }
    if (bottom < 0) {
        return {};
    }
    const auto isSet = [](std::uint8_t value) { return value != 0; };
    const auto left = std::find_if(columns.begin(), columns.end(), isSet) - columns.begin();
    const auto right = columns.rend() - std::find_if(columns.rbegin(), columns.rend(), isSet);
    return {static_cast<int>(left), top, static_cast<int>(right - left), bottom - top + 1};
}

/// Deformation of the closed polygon with these radii in these directions. Its corners are 32-bit floats.
double deformationOf(const Waves& directions, const std::vector<double>& radii) {
    std::vector<cv::Point2f> polygon;
    polygon.reserve(radii.size());
    for (std::size_t j = 0; j < radii.size(); ++j) {
        polygon.emplace_back(static_cast<float>(radii[j] * directions.cosines[j]),
                             static_cast<float>(radii[j] * directions.sines[j]));
    }
    constexpr double pi = 3.141592653589793;
    return 1.0 - 2.0 * std::sqrt(pi * cv::contourArea(polygon)) / cv::arcLength(polygon, true);
}

/// Corners of the convex hull around its centroid.
std::vector<std::pair<double, double>> centredHull(std::span<const OutlinePoint> points) {
    if (points.empty()) {
        throw std::runtime_error("the outline has no points");
    }
    std::vector<cv::Point> outline;
    outline.reserve(points.size());
    for (const OutlinePoint& point : points) {
        outline.emplace_back(point.x, point.y);
    }
    std::vector<cv::Point> hull;
    cv::convexHull(outline, hull);
    const cv::Moments moments = cv::moments(hull);
    const double x = moments.m10 / moments.m00;
    const double y = moments.m01 / moments.m00;
    std::vector<std::pair<double, double>> corners;
    corners.reserve(hull.size());
    for (const cv::Point& corner : hull) {
        corners.emplace_back(corner.x - x, corner.y - y);
    }
    return corners;
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

std::vector<OutlinePoint> cellOutline(const MaskPicture& mask) {
    if (mask.width < 1 || mask.height < 1 ||
        mask.pixels.size() < static_cast<std::size_t>(mask.width) * static_cast<std::size_t>(mask.height)) {
        return {};
    }
    // Most of a picture is empty. Without it the same outlines are found, in the same order.
    const cv::Rect bounds = boundsOf(mask);
    if (bounds.empty()) {
        return {};
    }
    // The picture is only read, and OpenCV copies it before it works on it.
    const cv::Mat whole(mask.height, mask.width, CV_8UC1, const_cast<std::uint8_t*>(mask.pixels.data()));
    std::vector<std::vector<cv::Point>> outlines;
    cv::findContours(whole(bounds), outlines, cv::RETR_EXTERNAL, cv::CHAIN_APPROX_NONE, bounds.tl());
    const std::vector<cv::Point>* largest = nullptr;
    double largestArea = 0.0;
    for (const auto& outline : outlines) {
        const double area = outline.size() < leastOutline ? 0.0 : cv::contourArea(outline);
        if (area > largestArea) {
            largest = &outline;
            largestArea = area;
        }
    }
    std::vector<OutlinePoint> result;
    if (largest != nullptr) {
        for (const cv::Point& point : *largest) {
            result.push_back({point.x, point.y});
        }
    }
    return result;
}

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
