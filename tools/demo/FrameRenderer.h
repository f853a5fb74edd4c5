#pragma once

#include "CellShape.h"
#include "DemoFile.h"

#include <cstdint>
#include <span>
#include <vector>

namespace Tessaly {

/// Brightness of one frame, measured the way the instrument does.
struct Brightness {
    double average = 0.0, sd = 0.0;                        ///< of the image inside the mask
    double correctedAverage = 0.0, correctedSd = 0.0;      ///< of the image less the background
    double backgroundMedian = 0.0, backgroundOffset = 0.0; ///< outside of the mask; less the run's usual background
};

/// Paints camera frames of one run: a channel with its walls and specks of dirt, cells with a dark rim and a bright
/// halo, noise of the camera.
class FrameRenderer {
public:
    FrameRenderer(FrameSize size, double channelWidthPixels, bool withWalls, std::uint64_t seed);

    /// @param gain  contrast of the cells; 1 is usual
    void render(std::span<const CellOutline> cells, double gain, DemoRandom& random, std::uint8_t* image) const;
    Brightness measure(const std::uint8_t* image, const std::uint8_t* mask) const;

private:
    void addCell(const CellOutline& cell, double gain, std::vector<float>& frame) const;

    FrameSize size_;
    std::vector<float> background_;
    std::vector<std::int8_t> noise_;
};

} // namespace Tessaly
