#pragma once

#include <QString>

#include <string>
#include <vector>

namespace Tessaly {

/// What "Export Data" was asked to do.
struct ExportConfig {
    std::vector<std::string> features; ///< chosen scalar features
    bool images = false;               ///< for measurement files only, as are masks and traces
    bool masks = false;
    bool traces = false;
    bool tsv = false; ///< a table; with neither this nor a video, a measurement file is written
    bool avi = false; ///< a video
    bool mjpeg = true;
    bool skipDuplicates = false;  ///< video: one event for each frame of the camera
    bool reanalysis = false;      ///< video: the average picture comes first
    bool customDirectory = false; ///< into `directory`, not beside the dataset's file
    QString directory;
    bool allDatasets = false;

    bool operator==(const ExportConfig&) const = default;
};

} // namespace Tessaly
