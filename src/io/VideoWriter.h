#pragma once

#include <functional>
#include <span>
#include <string>

namespace Tessaly {

class VQDReader;

struct VideoOptions {
    bool mjpeg = true;           ///< each frame a JPEG; otherwise not compressed
    bool skipDuplicates = false; ///< one event for each frame of the camera, by the feature "frame"
    bool prependAverage = false; ///< 100 frames of the average picture come first
};

enum class VideoOutcome {
    Written,
    NoDimensions, ///< the first event has no picture
    NotCreated,   ///< the video can't be started
    Failed        ///< it broke off: no room, or pictures that can't be read
};

/// Writes the pictures of some events as a video of 25 frames a second, of the first picture's width and height.
/// Events without a picture are passed over. Sides of odd length may lose a row or column of pixels to the codec.
///
/// The file gets its name when it is complete: all frames are there and on the disk. Memory: a batch of pictures.
/// @param onPause  called between batches of pictures, some ten times a second
VideoOutcome writeVideo(const std::string& path, VQDReader& reader, std::span<const int> events,
                        const VideoOptions& options, const std::function<void()>& onPause = {});

} // namespace Tessaly
