#pragma once

#include <QString>

#include <functional>
#include <vector>

namespace Tessaly {

class Tour;

/// One thing that the user does and what is to be seen then.
struct TourStep {
    QString name; ///< of the picture that is taken at the end
    std::function<void(Tour&)> run;
};

/// The empty window and the way to loaded datasets.
std::vector<TourStep> loadingSteps();
/// Features, colours, contours, scales, zoom, isoelastics.
std::vector<TourStep> plotSteps();
/// One event: picture, mask, traces, values; metadata and statistics.
std::vector<TourStep> eventSteps();
/// The four calculations for all datasets, what they give, and how far moduli can be trusted.
std::vector<TourStep> calculationSteps();
/// Folders, order, names, copies; filters and settings for all.
std::vector<TourStep> datasetSteps();
/// Rules typed, polygons drawn and edited, carried to all datasets; filter groups and their files.
std::vector<TourStep> gateSteps();
/// Datasets side by side, over each other, and on paper.
std::vector<TourStep> combineSteps();
/// The matrix of filter groups and datasets.
std::vector<TourStep> matrixSteps();
/// Figures, tables and the summary.
std::vector<TourStep> exportSteps();
/// The plan for many files: refused in the empty window, and saved.
std::vector<TourStep> batchRefusalSteps();
std::vector<TourStep> batchSteps();
/// Pages of pictures: sizes, contrasts, cut-outs, a page in a file.
std::vector<TourStep> gallerySteps();
/// Categories of datasets, their tests, ROC analysis and distributions, on the set for statistics.
std::vector<TourStep> statisticsSteps();
/// The menu "Help": manual, about, updates, feedback; the first layout.
std::vector<TourStep> serviceSteps();
/// Colour maps, refused files, small window, and the end of the session.
std::vector<TourStep> windowSteps();
/// A session saved, loaded from where it was moved to, with files that are missing or have changed.
std::vector<TourStep> sessionSteps();

} // namespace Tessaly
