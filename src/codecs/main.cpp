// tessaly_codecs: coders of images and videos, loaded by the program when it first needs them.

#include "io/Codecs.h"

#include <opencv2/imgcodecs.hpp>
#include <opencv2/videoio.hpp>

#include <stdexcept>

namespace {

using namespace Tessaly;

/// Shares the pixels, which are only read.
cv::Mat matOf(const PlainPixels& pixels) {
    return {pixels.height, pixels.width, CV_8UC(pixels.channels), const_cast<std::uint8_t*>(pixels.data),
            pixels.bytesPerRow};
}

class OpenVideo final : public VideoSink {
public:
    bool open(const std::string& path, bool mjpeg, double framesPerSecond, cv::Size size) {
        const int codec = mjpeg ? cv::VideoWriter::fourcc('M', 'J', 'P', 'G') : 0;
        return writer_.open(path, cv::CAP_FFMPEG, codec, framesPerSecond, size, true) ||
               (mjpeg && writer_.open(path, cv::CAP_OPENCV_MJPEG, codec, framesPerSecond, size, true));
    }
    void write(const PlainPixels& frame) override { writer_.write(matOf(frame)); }

private:
    cv::VideoWriter writer_;
};

class OpenCvCodecs final : public Codecs {
public:
    std::unique_ptr<VideoSink> openVideo(const std::string& path, bool mjpeg, double framesPerSecond, int width,
                                         int height) const override {
        auto video = std::make_unique<OpenVideo>();
        return video->open(path, mjpeg, framesPerSecond, {width, height}) ? std::move(video) : nullptr;
    }

    bool canEncode(const std::string& fileName) const override { return cv::haveImageWriter(fileName); }

    std::vector<std::uint8_t> encode(const std::string& fileName, const PlainPixels& image) const override {
        std::vector<std::uint8_t> bytes;
        try {
            if (!cv::imencode(fileName.substr(fileName.rfind('.')), matOf(image), bytes)) {
                bytes.clear();
            }
        } catch (const cv::Exception& exception) {
            throw std::runtime_error(exception.err); // what() would tell a place in OpenCV's source
        }
        return bytes;
    }
};

} // namespace

extern "C" __attribute__((visibility("default"))) const Codecs* tessalyCodecs() {
    static const OpenCvCodecs codecs;
    return &codecs;
}
