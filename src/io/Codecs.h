#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Tessaly {

/// Pixels as they are to be coded, row by row, 8 bits each: grey, or blue, green and red.
struct PlainPixels {
    const std::uint8_t* data = nullptr;
    int width = 0;
    int height = 0;
    int channels = 1;
    std::size_t bytesPerRow = 0;
};

/// A video that is being written; it ends with this object.
class VideoSink {
public:
    virtual ~VideoSink() = default;
    /// Adds a frame of three channels in the size of the video.
    virtual void write(const PlainPixels& frame) = 0;
};

/// Coders of images and videos. They come with two hundred libraries, whose loading takes longer than everything else
/// that a start does, and so stand in a library of their own tessaly_codecs, which is loaded when first asked for
/// (about 0.1 s).
class Codecs {
public:
    virtual ~Codecs() = default;
    /// Begins a video, as plain pixels or as one JPEG picture a frame. Null if that can't be done.
    virtual std::unique_ptr<VideoSink> openVideo(const std::string& path, bool mjpeg, double framesPerSecond, int width,
                                                 int height) const = 0;
    /// Whether images can be coded in the format of a file name.
    virtual bool canEncode(const std::string& fileName) const = 0;
    /// An image in the format of a file name; empty if it can't be coded. Throws std::runtime_error with the reason if
    /// there is one.
    virtual std::vector<std::uint8_t> encode(const std::string& fileName, const PlainPixels& image) const = 0;
};

/// The coders; null, with a line on the standard error stream, if their library can't be loaded. Any thread; needs the
/// application object, which knows where the program lies.
const Codecs* codecs();

/// The name of the library's only function, and what it is.
constexpr const char* CodecsEntry = "tessalyCodecs";
using CodecsEntryFunction = const Codecs* (*)();

} // namespace Tessaly
