#include "io/VideoWriter.h"

#include "io/VQDReader.h"
#include "support/FileSizeLimit.h"
#include "support/PlainFile.h"
#include "support/SampleFile.h"
#include "support/TemporaryFolder.h"
#include "support/Tools.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iostream>
#include <numeric>

namespace Tessaly {

namespace {

class Video : public testing::Test {
protected:
    /// A file of pictures, each of one brightness.
    void open(const std::vector<int>& brightness, hsize_t width, hsize_t height,
              const std::vector<double>& frames = {}) {
        reader_.close();
        std::vector<unsigned char> pixels;
        for (const int value : brightness) {
            pixels.insert(pixels.end(), width * height, static_cast<unsigned char>(value));
        }
        {
            PlainFile file(source_);
            file.group("/events");
            file.column("area_um", H5T_NATIVE_DOUBLE, std::vector<double>(20, 1.0));
            if (!frames.empty()) {
                file.column("frame", H5T_NATIVE_DOUBLE, frames);
            }
            file.dataset("/events/image", H5T_NATIVE_UINT8, {brightness.size(), height, width}, pixels.data());
        }
        ASSERT_TRUE(reader_.open(source_));
    }

    VideoOutcome write(const std::vector<int>& events, const VideoOptions& options = {}) {
        return writeVideo(target_, reader_, events, options);
    }

    /// "codec,width,height,rate,frames" as ffprobe 5.1 finds them.
    std::string probed() const {
        return outputOf("ffprobe -v error -count_frames -of csv=p=0 -show_entries "
                        "stream=codec_name,width,height,r_frame_rate,nb_read_frames '" +
                        target_ + "'");
    }

    /// Brightness of each frame's middle, as ffmpeg decodes it.
    std::vector<int> brightness(std::size_t width, std::size_t height) const {
        const std::string grey = outputOf("ffmpeg -v error -i '" + target_ + "' -f rawvideo -pix_fmt gray -");
        std::vector<int> values;
        for (std::size_t at = 0; at + width * height <= grey.size(); at += width * height) {
            values.push_back(static_cast<unsigned char>(grey[at + width * height / 2 + width / 2]));
        }
        return values;
    }

    void expectBrightness(const std::vector<int>& expected) const {
        const std::vector<int> found = brightness(32, 16);
        ASSERT_EQ(found.size(), expected.size());
        for (std::size_t i = 0; i < found.size(); ++i) {
            EXPECT_NEAR(found[i], expected[i], 2) << "frame " << i; // the codecs' colours are rounded
        }
    }

    TemporaryFolder folder_;
    const std::string source_ = folder_.file("source.vqd");
    const std::string target_ = folder_.file("video.avi");
    VQDReader reader_;
};

} // namespace

TEST_F(Video, FramesOfBothCodecs) {
    open({20, 60, 100, 140, 180, 220}, 32, 16);
    VideoOptions options;
    for (const bool mjpeg : {true, false}) {
        options.mjpeg = mjpeg;
        ASSERT_EQ(write({5, 0, 17, 2}, options), VideoOutcome::Written); // event 17 has no picture
        EXPECT_EQ(probed(), std::string(mjpeg ? "mjpeg" : "rawvideo") + ",32,16,25/1,3\n");
        expectBrightness({220, 20, 100});
    }
}

TEST_F(Video, OddSides) {
    for (const hsize_t width : {2, 3, 33, 257}) {
        for (const bool mjpeg : {true, false}) {
            open({10, 200, 30}, width, width - 1 + width % 2 * 4);
            VideoOptions options;
            options.mjpeg = mjpeg;
            const VideoOutcome outcome = write({0, 1, 2}, options);
            if (outcome == VideoOutcome::NotCreated) {
                EXPECT_EQ(width, 2U); // a picture of one line is beyond the codec without compression
                EXPECT_FALSE(mjpeg);
                continue;
            }
            ASSERT_EQ(outcome, VideoOutcome::Written);
            EXPECT_TRUE(probed().ends_with(",25/1,3\n")) << width << ": " << probed();
        }
    }
}

TEST_F(Video, OneEventForEachCameraFrame) {
    const double nan = std::nan("");
    open({20, 40, 60, 80, 100, 120, 140}, 32, 16, {1.0, 1.9, 2.0, 1.5, nan, nan, 2.0});
    VideoOptions options;
    options.skipDuplicates = true;
    ASSERT_EQ(write({0, 1, 2, 3, 4, 5, 6}, options), VideoOutcome::Written);
    expectBrightness({20, 60, 100, 120});
    ASSERT_EQ(write({3, 0, 6, 2}, options), VideoOutcome::Written);
    expectBrightness({80, 140});
    open({20, 40, 60}, 32, 16); // without frame numbers nothing is skipped
    ASSERT_EQ(write({0, 0, 2}, options), VideoOutcome::Written);
    expectBrightness({20, 20, 60});
}

TEST_F(Video, AverageFirst) {
    open({10, 20, 63, 255}, 32, 16);
    VideoOptions options;
    options.prependAverage = true;
    ASSERT_EQ(write({0, 1, 2, 19}, options), VideoOutcome::Written);
    std::vector<int> expected(100, 31);
    expected.insert(expected.end(), {10, 20, 63});
    expectBrightness(expected);
}

TEST_F(Video, WhatCantBeWritten) {
    open({10, 20}, 32, 16);
    EXPECT_EQ(write({}), VideoOutcome::NoDimensions);
    EXPECT_EQ(write({5, 0}), VideoOutcome::NoDimensions); // the first event has no picture
    testing::internal::CaptureStderr();
    EXPECT_EQ(writeVideo(folder_.file("nowhere/video.avi"), reader_, std::vector<int>{0}, {}),
              VideoOutcome::NotCreated);
    EXPECT_TRUE(testing::internal::GetCapturedStderr().starts_with("Error creating video: "));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_.path()), {}), 1);
}

TEST_F(Video, TheFolderVanishes) {
    open(std::vector<int>(80, 100), 32, 16); // more than are written between two pauses
    std::vector<int> events(80);
    std::iota(events.begin(), events.end(), 0);
    const std::string folder = folder_.file("short-lived");
    std::filesystem::create_directory(folder);
    testing::internal::CaptureStderr();
    EXPECT_EQ(writeVideo(folder + "/video.avi", reader_, events, {}, [&] { std::filesystem::remove_all(folder); }),
              VideoOutcome::Failed);
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
    EXPECT_FALSE(std::filesystem::exists(folder));
}

TEST_F(Video, NoRoom) {
    SampleFileOptions sample;
    sample.events = 50;
    writeSampleFile(source_, sample);
    ASSERT_TRUE(reader_.open(source_));
    std::vector<int> events(50);
    std::iota(events.begin(), events.end(), 0);
    for (const bool mjpeg : {true, false}) {
        VideoOptions options;
        options.mjpeg = mjpeg;
        ASSERT_EQ(write(events, options), VideoOutcome::Written);
        const std::size_t whole = std::filesystem::file_size(target_);
        std::filesystem::remove(target_);
        for (const std::size_t room : {std::size_t{1000}, whole / 4, whole - 2000, whole - 900, whole - 1}) {
            testing::internal::CaptureStderr();
            VideoOutcome outcome = VideoOutcome::Written;
            {
                const FileSizeLimit limit(room);
                outcome = write(events, options);
            }
            std::cerr.clear();
            EXPECT_NE(testing::internal::GetCapturedStderr(), "") << room;
            EXPECT_NE(outcome, VideoOutcome::Written) << room << " of " << whole;
            EXPECT_FALSE(std::filesystem::exists(target_)) << room;
        }
    }
}

TEST_F(Video, PicturesThatCantBeReadAreReported) {
    {
        PlainFile file(source_);
        file.group("/events");
        const std::vector<unsigned char> pixels(4 * 64, 77);
        const hid_t properties = PlainFile::chunked({1, 8, 8});
        H5Pset_deflate(properties, 4);
        file.dataset("/events/image", H5T_NATIVE_UINT8, {4, 8, 8}, pixels.data(), properties);
        H5Pclose(properties);
        file.chunk("/events/image", 2, {1, 2, 3, 4, 5});
    }
    ASSERT_TRUE(reader_.open(source_));
    EXPECT_EQ(write({0, 1, 2, 3}), VideoOutcome::Failed);
    EXPECT_EQ(write({0, 1, 3}), VideoOutcome::Written);
}

} // namespace Tessaly
