#pragma once

#include "FeatureTable.h"

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace Tessaly {

/// Events that are made and written together. Frames and traces are empty in files without images.
struct EventBatch {
    std::size_t first = 0;
    std::vector<EventScalars> scalars;
    std::vector<std::uint8_t> images; ///< event by event, row by row
    std::vector<std::uint8_t> masks;
    std::array<std::vector<std::int16_t>, 6> traces; ///< raw and median of channel 1, of channel 2, of channel 3
};

struct FrameSize {
    int width = 0;
    int height = 0;
};

/// A measurement file under construction: attributes on the root, one dataset per column, chunked and compressed frames
/// and traces. Throws std::runtime_error when the file library fails.
class DemoFile {
public:
    /// @param frames        size of images and masks; 0 x 0 for a file without them and without traces
    /// @param traceSamples  samples of each trace
    DemoFile(const std::string& path, std::size_t events, FrameSize frames, std::size_t traceSamples);
    ~DemoFile();
    DemoFile(const DemoFile&) = delete;
    DemoFile& operator=(const DemoFile&) = delete;

    void setAttribute(const std::string& name, const std::string& value);
    void setAttribute(const std::string& name, double value);
    void setAttribute(const std::string& name, std::int64_t value);
    /// A gate of the instrument: x, y, x, y, ...
    void setPolygon(const std::string& name, const std::vector<float>& coordinates);

    void write(const EventBatch& batch);
    /// Closes the file and tells whether all of it reached the disk.
    void finish();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace Tessaly
