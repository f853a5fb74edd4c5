// Many pictures at once, compared with those that are read one by one, whose values have tests of their own.

#include "io/VQDReader.h"
#include "support/PlainFile.h"
#include "support/SampleFile.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <numeric>
#include <thread>

namespace Tessaly {
namespace {

struct Taken {
    std::atomic<int> calls = 0;
    std::vector<std::uint8_t> pixels;
    int width = 0;
    int height = 0;
};

class PictureFetchTest : public testing::Test {
protected:
    /// A file with nothing but pictures of 6 x 5 whose pixels tell event and place.
    std::string writeStack(hid_t type, std::size_t events, const std::vector<hsize_t>& chunk, bool packed,
                           bool written = true) {
        std::string path = folder.file("stack" + std::to_string(++files) + ".vqd");
        const std::lock_guard lock(hdf5Mutex());
        std::vector<std::uint16_t> wide(events * 30);
        for (std::size_t i = 0; i < wide.size(); ++i) {
            wide[i] = static_cast<std::uint16_t>((i / 30 * 7 + i % 30) % 256);
        }
        const std::vector<std::uint8_t> bytes(wide.begin(), wide.end());
        const void* data = type == H5T_NATIVE_UINT8 ? static_cast<const void*>(bytes.data()) : wide.data();
        PlainFile file(path);
        file.group("/events");
        const hid_t properties = chunk.empty() ? H5P_DEFAULT : PlainFile::chunked(chunk);
        if (packed) {
            H5Pset_shuffle(properties);
            H5Pset_deflate(properties, 4);
        }
        file.dataset("/events/image", type, {events, 5, 6}, written ? data : nullptr, properties);
        if (properties != H5P_DEFAULT) {
            H5Pclose(properties);
        }
        return path;
    }

    static std::vector<Taken> take(VQDReader& reader, const std::vector<int>& events) {
        std::vector<Taken> taken(events.size());
        reader.readImages(events, [&taken](std::size_t place, const PictureView& picture) {
            ++taken[place].calls;
            taken[place].pixels.assign(picture.pixels.begin(), picture.pixels.end());
            taken[place].width = picture.width;
            taken[place].height = picture.height;
        });
        return taken;
    }

    static void expectAsOneByOne(VQDReader& reader, const std::vector<int>& events) {
        const std::vector<Taken> taken = take(reader, events);
        for (std::size_t i = 0; i < events.size(); ++i) {
            int width = 0;
            int height = 0;
            const auto expected = events[i] < 0 ? std::vector<std::uint8_t>()
                                                : reader.getImage(static_cast<std::size_t>(events[i]), &width, &height);
            ASSERT_EQ(taken[i].calls, expected.empty() ? 0 : 1) << "event " << events[i];
            ASSERT_EQ(taken[i].pixels, expected) << "event " << events[i];
            ASSERT_EQ(taken[i].width, width);
            ASSERT_EQ(taken[i].height, height);
        }
    }

    TemporaryFolder folder;
    int files = 0;
};

TEST_F(PictureFetchTest, GivesWhatIsReadOneByOneHoweverItIsStored) {
    struct Case {
        const char* name;
        hid_t type;
        std::vector<hsize_t> chunk;
        bool packed;
        bool written = true;
    };
    const std::vector<Case> cases{{"contiguous", H5T_NATIVE_UINT8, {}, false},
                                  {"chunks", H5T_NATIVE_UINT8, {4, 5, 6}, false},
                                  {"a chunk each", H5T_NATIVE_UINT8, {1, 5, 6}, true},
                                  {"packed chunks", H5T_NATIVE_UINT8, {16, 5, 6}, true},
                                  {"chunks of parts", H5T_NATIVE_UINT8, {7, 2, 4}, true},
                                  {"wide numbers", H5T_NATIVE_UINT16, {16, 5, 6}, true},
                                  {"never written", H5T_NATIVE_UINT8, {16, 5, 6}, true, false}};
    std::vector<int> all(100);
    std::iota(all.begin(), all.end(), 0);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        VQDReader reader;
        ASSERT_TRUE(reader.open(writeStack(c.type, 100, c.chunk, c.packed, c.written)));
        for (const auto& events : {all, std::vector<int>{99, 3, 3, 50, 0, 99, 17},
                                   std::vector<int>{100, -1, 5, 1 << 30}, std::vector<int>{}}) {
            expectAsOneByOne(reader, events);
        }
        EXPECT_EQ(reader.failedReadings(), 0U);
    }
}

TEST_F(PictureFetchTest, ManyBatchesOnTwoThreadsGiveEachPlaceOnce) {
    // Pictures of 64 kB that don't pack well: more than one batch, each shared by two threads.
    SampleFileOptions options;
    options.events = 150;
    options.imageWidth = options.imageHeight = 256;
    options.masks = options.traces = false;
    options.gzip = true;
    writeSampleFile(folder.file("large.vqd"), options);
    VQDReader reader;
    ASSERT_TRUE(reader.open(folder.file("large.vqd")));
    std::vector<int> events;
    for (int i = 0; i < 400; ++i) {
        events.push_back(i * 67 % 150);
    }
    expectAsOneByOne(reader, events);
}

TEST_F(PictureFetchTest, TheLockIsFreeWhilePicturesAreUnpacked) {
    VQDReader reader;
    ASSERT_TRUE(reader.open(writeStack(H5T_NATIVE_UINT8, 40, {1, 5, 6}, true)));
    bool free = false;
    reader.readImages(std::vector<int>{7}, [&free](std::size_t, const PictureView&) {
        free = std::async(std::launch::async, [] {
                   const std::unique_lock lock(hdf5Mutex(), std::try_to_lock);
                   return lock.owns_lock();
               }).get();
    });
    EXPECT_TRUE(free);
}

TEST_F(PictureFetchTest, WhatIsDamagedIsLeftOutAndTold) {
    const std::string path = folder.file("damaged.vqd");
    {
        const std::lock_guard lock(hdf5Mutex());
        PlainFile file(path);
        file.group("/events");
        const hid_t properties = PlainFile::chunked({2, 5, 6});
        H5Pset_deflate(properties, 4);
        const std::vector<std::uint8_t> pixels(8 * 30, 99);
        file.dataset("/events/image", H5T_NATIVE_UINT8, {8, 5, 6}, pixels.data(), properties);
        H5Pclose(properties);
        file.chunk("/events/image", 2, {1, 2, 3});
    }
    VQDReader reader;
    ASSERT_TRUE(reader.open(path));
    testing::internal::CaptureStderr();
    const std::vector<Taken> taken = take(reader, {0, 1, 2, 3, 4});
    const std::string told = testing::internal::GetCapturedStderr();
    for (const std::size_t place : {0U, 1U, 4U}) {
        EXPECT_EQ(taken[place].pixels, std::vector<std::uint8_t>(30, 99)) << place;
    }
    EXPECT_EQ(taken[2].calls + taken[3].calls, 0);
    EXPECT_EQ(reader.failedReadings(), 2U);
    EXPECT_NE(told.find("Error reading image at index 2: "), std::string::npos) << told;
    EXPECT_NE(told.find("Error reading image at index 3: "), std::string::npos) << told;
    EXPECT_EQ(std::ranges::count(told, '\n'), 2) << told;
}

TEST_F(PictureFetchTest, WithoutPicturesNobodyIsCalled) {
    SampleFileOptions options;
    options.images = false;
    writeSampleFile(folder.file("none.vqd"), options);
    VQDReader reader;
    EXPECT_EQ(take(reader, {0})[0].calls, 0); // not open
    ASSERT_TRUE(reader.open(folder.file("none.vqd")));
    EXPECT_EQ(take(reader, {0, 1})[0].calls, 0);
    EXPECT_EQ(reader.failedReadings(), 0U);
}

} // namespace
} // namespace Tessaly
