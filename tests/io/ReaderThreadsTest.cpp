// Readers that several threads use at once. The thread sanitizer looks for races; the values are checked in any build.

#include "io/BackgroundThread.h"
#include "io/Hdf5Library.h"
#include "io/VQDReader.h"
#include "support/SampleFile.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <numeric>
#include <thread>

namespace Tessaly {

namespace {

class ReaderThreads : public testing::Test {
protected:
    ReaderThreads() {
        options_.events = 20000;
        options_.imageWidth = options_.imageHeight = 8;
        options_.gzip = true;
        const std::string path = folder_.file("sample.vqd");
        writeSampleFile(path, options_);
        EXPECT_TRUE(reader_.open(path));
    }

    TemporaryFolder folder_;
    SampleFileOptions options_;
    VQDReader reader_;
};

} // namespace

TEST_F(ReaderThreads, PreloadWhileAnotherReads) {
    const auto expected = sampleColumns(options_.events, options_.seed);
    std::thread preload([&] { reader_.cacheAllFeatures(); });
    int width = 0;
    int height = 0;
    for (auto column = expected.rbegin(); column != expected.rend(); ++column) {
        EXPECT_EQ(reader_.getFeature(column->first), column->second) << column->first;
        EXPECT_EQ(reader_.getImage(7, &width, &height).size(), 64U);
    }
    preload.join();
    for (const auto& [name, values] : expected) {
        EXPECT_EQ(reader_.getFeature(name), values) << name;
    }
    const std::thread::id here = std::this_thread::get_id();
    testing::internal::CaptureStderr();
    std::thread other([&] {
        EXPECT_NE(std::this_thread::get_id(), here);
        EXPECT_FALSE(VQDReader().open(folder_.file("missing.vqd")));
    });
    other.join();
    const std::string silent = testing::internal::GetCapturedStderr(); // our line, none of the library's
    EXPECT_EQ(std::count(silent.begin(), silent.end(), '\n'), 1) << silent;
}

TEST_F(ReaderThreads, AJobReadsColumnsWhileTheyAreReplacedAndEventsAreLookedAt) {
    const double expected = [this] {
        const auto columns = sampleColumns(options_.events, options_.seed);
        const std::vector<double>& area = columns.at("area_um");
        return std::accumulate(area.begin(), area.end(), 0.0);
    }();
    std::atomic<bool> started = false;
    std::atomic<bool> ended = false;
    std::thread job([&] {
        const SharedColumn held = reader_.column("area_um");
        started = true;
        for (int i = 0; i < 40; ++i) {
            EXPECT_DOUBLE_EQ(std::accumulate(held->begin(), held->end(), 0.0), expected);
            const SharedColumn latest = reader_.column("computed");
            // Whole or not there: every version of it holds one value only.
            EXPECT_TRUE(std::all_of(latest->begin(), latest->end(), [&](double v) { return v == latest->front(); }));
            reader_.cacheAllFeatures();
            EXPECT_TRUE(reader_.hasFeature("deform") && !reader_.featureNames().empty());
        }
        ended = true;
    });
    while (!started) {
        std::this_thread::yield();
    }
    int width = 0;
    int height = 0;
    for (int i = 0; i < 40 || !ended; ++i) {
        const auto event = static_cast<std::size_t>(i) % options_.events;
        EXPECT_EQ(reader_.getImage(event, &width, &height).size(), 64U);
        EXPECT_TRUE(reader_.valueAt("deform", event).has_value());
        reader_.setFeature("area_um", std::vector<double>(options_.events, i));
        reader_.setFeature("computed", std::vector<double>(options_.events, i));
        reader_.setFeature("computed" + std::to_string(i % 100), {1.0});
        EXPECT_EQ(reader_.getFeature("area_um").back(), i);
        EXPECT_EQ(reader_.featureNames().empty(), false);
        EXPECT_TRUE(reader_.isComputedFeature("computed"));
    }
    job.join();
}

TEST_F(ReaderThreads, ColumnsOutliveTheirReplacementAndTheReader) {
    const auto stored = sampleColumns(options_.events, options_.seed);
    SharedColumn first = reader_.column("deform");
    EXPECT_EQ(first->data(), reader_.getFeature("deform").data()); // one column, not a copy
    reader_.setFeature("deform", {1.0, 2.0});
    const SharedColumn second = reader_.column("deform");
    const SharedColumn other = reader_.column("area_um");
    reader_.close();
    EXPECT_EQ(*first, stored.at("deform"));
    EXPECT_EQ(*second, (std::vector<double>{1.0, 2.0}));
    EXPECT_EQ(*other, stored.at("area_um"));
    EXPECT_TRUE(reader_.column("deform")->empty());
    const std::weak_ptr<const std::vector<double>> watched = first;
    first.reset();
    EXPECT_TRUE(watched.expired()); // and no longer
}

TEST(BackgroundThreadTest, LeavesTheLibraryToThoseWhoWait) {
    std::atomic<int> taken = 0;
    std::jthread background([&taken](const std::stop_token& stop) {
        markBackgroundThread();
        while (!stop.stop_requested()) {
            const Hdf5Lock lock;
            const Hdf5Lock nested; // gives way to nobody: the others wait for this thread
            ++taken;
            taken.notify_all();
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    constexpr int tries = 20;
    int overtaken = 0;
    for (int i = 0; i < tries; ++i) {
        taken.wait(taken); // has it now or had it a moment ago
        const int before = taken;
        const Hdf5Lock lock;
        overtaken += taken > before + 2 ? 1 : 0;
    }
    // A busy machine may stop this thread at the wrong moment, but not every time.
    EXPECT_LE(overtaken, tries / 4);
}

} // namespace Tessaly
