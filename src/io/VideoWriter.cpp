#include "io/VideoWriter.h"

#include "io/Codecs.h"
#include "io/Hdf5Library.h"
#include "io/PendingFile.h"
#include "io/VQDReader.h"

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <future>
#include <memory>
#include <optional>
#include <unordered_set>
#include <vector>

namespace Tessaly {

namespace {

constexpr double framesPerSecond = 25.0;
constexpr int averageFrames = 100;
constexpr std::size_t eventsAtOnce = 64;

/// Walks through the blocks of a video file. The library that writes it tells nothing of what went wrong.
class VideoFile {
public:
    explicit VideoFile(const std::string& path) : file_(path, std::ios::binary) {
        file_.seekg(0, std::ios::end);
        const std::streamoff end = file_.tellg(); // -1 for a file that has gone
        size_ = static_cast<std::uint64_t>(std::max<std::streamoff>(end, 0));
    }

    /// Number of frames; nothing if a block reaches beyond the end of the file.
    std::optional<std::size_t> frames() {
        std::size_t count = 0;
        return walk(0, size_, count) ? std::optional(count) : std::nullopt;
    }

private:
    bool walk(std::uint64_t begin, std::uint64_t end, std::size_t& count) {
        while (begin + 8 <= end) {
            std::array<unsigned char, 12> head{};
            file_.clear();
            file_.seekg(static_cast<std::streamoff>(begin));
            file_.read(reinterpret_cast<char*>(head.data()), head.size());
            const std::string kind(head.begin(), head.begin() + 4);
            const std::string content(head.begin() + 8, head.end());
            const std::uint64_t length = std::uint64_t{head[4]} | std::uint64_t{head[5]} << 8U |
                                         std::uint64_t{head[6]} << 16U | std::uint64_t{head[7]} << 24U;
            if (begin + 8 + length > end) {
                return false;
            }
            if (kind == "RIFF" || (kind == "LIST" && content == "movi")) {
                if (!walk(begin + 12, begin + 8 + length, count)) {
                    return false;
                }
            }
            count += (kind == "00dc" || kind == "00db") && length > 0 ? 1U : 0U;
            begin += 8 + length + length % 2;
        }
        return true;
    }

    std::ifstream file_;
    std::uint64_t size_ = 0;
};

/// The camera's frame of each event, as far as it is known.
class FrameNumbers {
public:
    explicit FrameNumbers(VQDReader& reader) {
        if (reader.hasFeature("frame")) {
            numbers_ = reader.getFeature("frame");
        }
    }
    bool isWritten(int event) const {
        const std::optional<double> frame = number(event);
        return frame && written_.contains(*frame);
    }
    void markWritten(int event) {
        if (const std::optional<double> frame = number(event)) {
            written_.insert(*frame);
        }
    }

private:
    std::optional<double> number(int event) const {
        const auto index = static_cast<std::size_t>(event);
        if (index >= numbers_.size() || !std::isfinite(numbers_[index])) {
            return std::nullopt;
        }
        return std::trunc(numbers_[index]);
    }

    std::vector<double> numbers_;
    std::unordered_set<double> written_;
};

class Video {
public:
    Video(VQDReader& reader, std::span<const int> events, cv::Size size, const std::function<void()>& onPause)
        : reader_(reader),
          events_(events),
          size_(size),
          onPause_(onPause) {}

    bool start(const std::string& path, bool mjpeg) {
        if (const Codecs* coders = codecs()) {
            sink_ = coders->openVideo(path, mjpeg, framesPerSecond, size_.width, size_.height);
        }
        return sink_ != nullptr;
    }

    void writeAverage() {
        cv::Mat sum = cv::Mat::zeros(size_, CV_64F);
        int pictures = 0;
        for (std::size_t i = 0; i < events_.size(); ++i) {
            const cv::Mat grey = picture(events_[i]);
            if (!grey.empty()) {
                cv::accumulate(grey, sum);
                ++pictures;
            }
            pauseAfter(i);
        }
        if (pictures == 0) {
            return;
        }
        cv::Mat average(size_, CV_8U);
        std::transform(sum.begin<double>(), sum.end<double>(), average.begin<std::uint8_t>(),
                       [pictures](double total) { return cv::saturate_cast<std::uint8_t>(total / pictures); });
        for (int i = 0; i < averageFrames; ++i) {
            write(average);
        }
    }

    /// While one batch of pictures is written, the next one is read.
    void writeEvents() {
        std::future<Batch> ahead = readAhead(0);
        for (std::size_t first = 0; first < events_.size(); first += eventsAtOnce) {
            Batch batch = ahead.get();
            ahead = readAhead(first + eventsAtOnce);
            for (std::vector<std::uint8_t>& pixels : batch) {
                if (!pixels.empty()) {
                    write({size_, CV_8U, pixels.data()});
                }
            }
            pauseAfter(first + eventsAtOnce - 1);
        }
    }

    /// Only the first event of each frame of the camera that has a picture; others aren't read.
    void writeFirstOfFrames() {
        FrameNumbers frames(reader_);
        for (std::size_t i = 0; i < events_.size(); ++i) {
            pauseAfter(i);
            if (frames.isWritten(events_[i])) {
                continue;
            }
            const cv::Mat grey = picture(events_[i]);
            if (!grey.empty()) {
                write(grey);
                frames.markWritten(events_[i]);
            }
        }
    }

    /// Ends the video and returns how many frames were handed over.
    std::size_t finish() {
        sink_.reset();
        return written_;
    }

private:
    using Batch = std::vector<std::vector<std::uint8_t>>;

    /// Empty if there is none, or one of another size.
    std::vector<std::uint8_t> pixelsOf(int event) const {
        int width = 0;
        int height = 0;
        std::vector<std::uint8_t> pixels = reader_.getImage(static_cast<std::size_t>(event), &width, &height);
        if (width != size_.width || height != size_.height) {
            pixels.clear();
        }
        return pixels;
    }

    std::future<Batch> readAhead(std::size_t first) const {
        return std::async(std::launch::async, [this, first] {
            Batch batch;
            for (std::size_t i = first; i < std::min(first + eventsAtOnce, events_.size()); ++i) {
                batch.push_back(pixelsOf(events_[i]));
            }
            return batch;
        });
    }

    cv::Mat picture(int event) {
        pixels_ = pixelsOf(event);
        return pixels_.empty() ? cv::Mat() : cv::Mat(size_, CV_8U, pixels_.data());
    }

    void write(const cv::Mat& grey) {
        cv::cvtColor(grey, colour_, cv::COLOR_GRAY2BGR);
        sink_->write({colour_.data, colour_.cols, colour_.rows, colour_.channels(), colour_.step});
        ++written_;
    }

    void pauseAfter(std::size_t i) const {
        if (onPause_ && i % eventsAtOnce == eventsAtOnce - 1) {
            onPause_();
        }
    }

    VQDReader& reader_;
    std::span<const int> events_;
    cv::Size size_;
    const std::function<void()>& onPause_;
    std::unique_ptr<VideoSink> sink_;
    std::vector<std::uint8_t> pixels_;
    cv::Mat colour_;
    std::size_t written_ = 0;
};

VideoOutcome writeTo(PendingFile& pending, VQDReader& reader, std::span<const int> events, cv::Size size,
                     const VideoOptions& options, const std::function<void()>& onPause) {
    const std::uint64_t failedReadings = reader.failedReadings();
    Video video(reader, events, size, onPause);
    if (!video.start(pending.temporaryPath(), options.mjpeg)) {
        reportError("Error creating video '" + pending.target() + "'");
        return VideoOutcome::NotCreated;
    }
    if (options.prependAverage) {
        video.writeAverage();
    }
    if (options.skipDuplicates) {
        video.writeFirstOfFrames();
    } else {
        video.writeEvents();
    }
    const std::size_t frames = video.finish();
    if (VideoFile(pending.temporaryPath()).frames() != frames) {
        throw FileError("not all frames reached the file");
    }
    if (reader.failedReadings() != failedReadings) {
        throw FileError("a picture can't be read");
    }
    pending.commit();
    return VideoOutcome::Written;
}

} // namespace

VideoOutcome writeVideo(const std::string& path, VQDReader& reader, std::span<const int> events,
                        const VideoOptions& options, const std::function<void()>& onPause) {
    int width = 0;
    int height = 0;
    if (events.empty() || reader.getImage(static_cast<std::size_t>(events[0]), &width, &height).empty() || width < 1 ||
        height < 1) {
        return VideoOutcome::NoDimensions;
    }
    std::optional<PendingFile> pending;
    try {
        // The library chooses the kind of file by its ending.
        pending.emplace(path, ".part.avi");
    } catch (const std::exception& error) {
        reportError(std::string("Error creating video: ") + error.what());
        return VideoOutcome::NotCreated;
    }
    VideoOutcome outcome = VideoOutcome::Failed;
    try {
        outcome = writeTo(*pending, reader, events, {width, height}, options, onPause);
    } catch (const std::exception& error) {
        reportError("Error writing video '" + path + "': " + error.what());
    }
    if (outcome != VideoOutcome::Written) {
        pending->discard();
    }
    return outcome;
}

} // namespace Tessaly
