// All events one after the other, against the values that were written.

#include "io/EventSeries.h"

#include "io/VQDReader.h"
#include "support/PlainFile.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>

namespace Tessaly {
namespace {

constexpr std::size_t Events = 300; ///< of 4096 pixels or samples each: several pieces
constexpr std::size_t Height = 32;
constexpr std::size_t Width = 128;

int pixelOf(std::size_t event, std::size_t place) {
    return static_cast<int>((event * 7 + place) % 251);
}

int sampleOf(std::size_t event, std::size_t place) {
    return static_cast<int>(event * 11 + place % 97) - 500;
}

struct Storage {
    const char* name;
    hsize_t chunk; ///< rows; 0 for contiguous
    bool packed;
    hid_t maskType;
    hid_t traceType;
};

class EventSeriesTest : public testing::Test {
protected:
    template <typename Value>
    static void writeRows(PlainFile& file, const std::string& name, hid_t type, const std::vector<hsize_t>& extent,
                          int (*valueOf)(std::size_t, std::size_t), const Storage& storage) {
        std::vector<Value> values;
        for (std::size_t i = 0; i < extent[0] * Height * Width; ++i) {
            values.push_back(static_cast<Value>(valueOf(i / (Height * Width), i % (Height * Width))));
        }
        std::vector<hsize_t> chunk = extent;
        chunk[0] = storage.chunk;
        const hid_t properties = storage.chunk == 0 ? H5P_DEFAULT : PlainFile::chunked(chunk);
        if (storage.packed) {
            H5Pset_shuffle(properties);
            H5Pset_deflate(properties, 1);
        }
        file.dataset(name, type, extent, values.data(), properties);
        if (properties != H5P_DEFAULT) {
            H5Pclose(properties);
        }
    }

    /// Masks and the traces fl1_raw, of 16-bit or floating-point numbers, and fl2_raw, always of 16 bits.
    void open(VQDReader& reader, const Storage& storage) {
        const std::string path = folder.file(std::string(storage.name) + ".vqd");
        {
            const std::lock_guard lock(hdf5Mutex());
            PlainFile file(path);
            file.group("/events");
            file.group("/events/trace");
            const std::vector<hsize_t> pictures{Events, Height, Width};
            const std::vector<hsize_t> traces{Events, Height * Width};
            if (H5Tget_size(storage.maskType) == 1) {
                writeRows<std::uint8_t>(file, "/events/mask", storage.maskType, pictures, pixelOf, storage);
            } else {
                writeRows<std::int32_t>(file, "/events/mask", storage.maskType, pictures, pixelOf, storage);
            }
            if (H5Tget_class(storage.traceType) == H5T_FLOAT) {
                writeRows<double>(file, "/events/trace/fl1_raw", storage.traceType, traces, sampleOf, storage);
            } else {
                writeRows<std::int16_t>(file, "/events/trace/fl1_raw", storage.traceType, traces, sampleOf, storage);
            }
            writeRows<std::int16_t>(file, "/events/trace/fl2_raw", H5T_NATIVE_INT16, traces, pixelOf, storage);
        }
        ASSERT_TRUE(reader.open(path));
    }

    static void expectMask(EventSeries& series, std::size_t event) {
        int width = 0;
        int height = 0;
        const std::vector<std::uint8_t> pixels = series.getMask(event, &width, &height);
        ASSERT_EQ(std::pair(width, height), std::pair(int{Width}, int{Height})) << event;
        ASSERT_EQ(pixels.size(), Height * Width);
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            ASSERT_EQ(pixels[i], pixelOf(event, i)) << event << ", " << i;
        }
    }

    static void expectTrace(EventSeries& series, const std::string& name, std::size_t event) {
        const std::vector<float> samples = series.getTrace(name, event);
        ASSERT_EQ(samples.size(), Height * Width) << name << ", " << event;
        for (std::size_t i = 0; i < samples.size(); ++i) {
            const int expected = name == "fl1_raw" ? sampleOf(event, i) : pixelOf(event, i);
            ASSERT_EQ(samples[i], static_cast<float>(expected)) << name << ", " << event << ", " << i;
        }
    }

    TemporaryFolder folder;
};

TEST_F(EventSeriesTest, GivesWhatWasWrittenHoweverItIsStoredAndInWhateverOrder) {
    const Storage cases[] = {{"contiguous", 0, false, H5T_NATIVE_UINT8, H5T_NATIVE_INT16},
                             {"chunks", 16, false, H5T_NATIVE_UINT8, H5T_NATIVE_DOUBLE},
                             {"packed", 7, true, H5T_NATIVE_UINT8, H5T_NATIVE_INT16},
                             {"packed in one", Events, true, H5T_NATIVE_INT32, H5T_NATIVE_DOUBLE}};
    for (const Storage& storage : cases) {
        SCOPED_TRACE(storage.name);
        VQDReader reader;
        open(reader, storage);
        EventSeries series(reader);
        for (std::size_t event = 0; event < Events; ++event) {
            expectMask(series, event);
        }
        for (const std::size_t event : {0, 1, 299, 127, 128, 5}) {
            expectTrace(series, "fl1_raw", event);
            expectTrace(series, "fl2_raw", event);
            expectMask(series, event);
        }
        int width = -1;
        EXPECT_TRUE(series.getMask(Events, &width, &width).empty());
        EXPECT_EQ(width, -1);
        EXPECT_TRUE(series.getTrace("fl1_raw", Events).empty());
        EXPECT_EQ(reader.failedReadings(), 0U);
    }
}

TEST_F(EventSeriesTest, NeighboursComeWithoutTheFileLibrary) {
    VQDReader reader;
    open(reader, {"packed", 7, true, H5T_NATIVE_UINT8, H5T_NATIVE_INT16});
    EventSeries series(reader);
    expectMask(series, 0);
    std::unique_lock lock(hdf5Mutex());
    auto neighbour = std::async(std::launch::async, [&series] { expectMask(series, 1); });
    EXPECT_EQ(neighbour.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    lock.unlock();
    neighbour.get();
}

TEST_F(EventSeriesTest, ADamagedPlaceCostsItsOwnEventsOnly) {
    const std::string path = folder.file("damaged.vqd");
    {
        const std::lock_guard lock(hdf5Mutex());
        PlainFile file(path);
        file.group("/events");
        file.group("/events/trace");
        for (const std::string name : {"/events/mask", "/events/trace/fl1_raw"}) {
            const bool pictures = name == "/events/mask";
            const std::vector<hsize_t> extent = pictures ? std::vector<hsize_t>{8, 5, 6} : std::vector<hsize_t>{8, 30};
            const hid_t properties =
                PlainFile::chunked(pictures ? std::vector<hsize_t>{2, 5, 6} : std::vector<hsize_t>{2, 30});
            H5Pset_deflate(properties, 4);
            const std::vector<std::uint8_t> values(8 * 30, 99);
            file.dataset(name, H5T_NATIVE_UINT8, extent, values.data(), properties);
            H5Pclose(properties);
            file.chunk(name, 2, {1, 2, 3});
        }
    }
    VQDReader reader;
    ASSERT_TRUE(reader.open(path));
    EventSeries series(reader);
    for (std::size_t event = 0; event < 8; ++event) {
        const bool damaged = event == 2 || event == 3;
        int width = 0;
        int height = 0;
        std::string problem;
        std::string place = " at index ";
        place += std::to_string(event);
        EXPECT_EQ(series.getMask(event, &width, &height, &problem).size(), damaged ? 0U : 30U) << event;
        EXPECT_EQ(problem.find("reading mask" + place) != std::string::npos, damaged) << problem;
        problem.clear();
        EXPECT_EQ(series.getTrace("fl1_raw", event, &problem), std::vector<float>(damaged ? 0 : 30, 99.0F)) << event;
        EXPECT_EQ(problem.find("reading trace 'fl1_raw'" + place) != std::string::npos, damaged) << problem;
    }
    EXPECT_EQ(reader.failedReadings(), 4U);
}

TEST_F(EventSeriesTest, WhatTheFileDoesNotHoldIsEmpty) {
    VQDReader closed;
    EventSeries ofNothing(closed);
    int size = -1;
    EXPECT_TRUE(ofNothing.getMask(0, &size, &size).empty());
    EXPECT_EQ(size, -1);

    VQDReader reader;
    open(reader, {"plain", 0, false, H5T_NATIVE_UINT8, H5T_NATIVE_INT16});
    EventSeries series(reader);
    std::string problem;
    EXPECT_TRUE(series.getTrace("fl9_raw", 0, &problem).empty());
    EXPECT_NE(problem.find("'fl9_raw'"), std::string::npos) << problem;
    expectTrace(series, "fl2_raw", 3);
}

} // namespace
} // namespace Tessaly
