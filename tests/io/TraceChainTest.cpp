#include "io/VQDReader.h"
#include "support/PlainFile.h"
#include "support/SampleFile.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <hdf5.h>

#include <string>
#include <vector>

namespace Tessaly {
namespace {

/// A reader on a sample file with the refined trace of channel 1 installed.
class TraceChainTest : public testing::Test {
protected:
    TraceChainTest() {
        SampleFileOptions options;
        options.events = 5;
        writeSampleFile(folder_.file("sample.vqd"), options);
        EXPECT_TRUE(reader_.open(folder_.file("sample.vqd")));
        reader_.addTraceAlias("fl1_median_rf", "fl1_raw");
    }

    TemporaryFolder folder_;
    VQDReader reader_;
};

TEST_F(TraceChainTest, AliasIsTheFilteredSource) {
    const std::vector<float> raw = reader_.getTrace("fl1_raw", 3);
    EXPECT_NE(filteredTrace(raw, {}), raw);
    EXPECT_EQ(reader_.getTrace("fl1_median_rf", 3), filteredTrace(raw, {}));
    // Names of the file are served as they are, whatever the filters.
    reader_.setTraceProcessing({.hampel1 = false, .hampel2 = false, .savitzkyGolayHalfWindow = 9});
    EXPECT_EQ(reader_.getTrace("fl1_raw", 3), raw);
    // The same event again, but not from memory.
    EXPECT_EQ(reader_.getTrace("fl1_median_rf", 3), savitzkyGolayFiltered(raw, 9));
    reader_.setTraceProcessing({.hampel1 = false, .hampel2 = false, .savitzkyGolay = false});
    EXPECT_EQ(reader_.getTrace("fl1_median_rf", 3), raw);
}

TEST_F(TraceChainTest, RemembersOneTrace) {
    reader_.addTraceAlias("fl2_median_rf", "fl2_raw");
    const auto expected = [this](const std::string& source, std::size_t index) {
        return filteredTrace(reader_.getTrace(source, index), {});
    };
    const std::vector<std::vector<float>> made{expected("fl1_raw", 0), expected("fl1_raw", 1), expected("fl2_raw", 1)};
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(reader_.getTrace("fl1_median_rf", 0), made[0]);
        EXPECT_EQ(reader_.getTrace("fl1_median_rf", 0), made[0]);
        EXPECT_EQ(reader_.getTrace("fl1_median_rf", 1), made[1]);
        EXPECT_EQ(reader_.getTrace("fl2_median_rf", 1), made[2]);
    }
}

TEST_F(TraceChainTest, NamesAreListedOnceInOrder) {
    const std::vector<std::string> names{"fl1_median", "fl1_median_rf", "fl1_raw", "fl2_median",
                                         "fl2_raw",    "fl3_median",    "fl3_raw"};
    EXPECT_EQ(reader_.traceNames(), names);
    reader_.addTraceAlias("fl1_median_rf", "fl2_raw"); // to another source
    EXPECT_EQ(reader_.traceNames(), names);
    EXPECT_EQ(reader_.getTrace("fl1_median_rf", 2), filteredTrace(reader_.getTrace("fl2_raw", 2), {}));
    // A stored trace may be hidden behind an alias, which looks for its source in the file.
    reader_.addTraceAlias("fl2_raw", "fl3_raw");
    EXPECT_EQ(reader_.getTrace("fl2_raw", 1), filteredTrace(reader_.getTrace("fl3_raw", 1), {}));
    reader_.close();
    EXPECT_TRUE(reader_.traceNames().empty());
    EXPECT_TRUE(reader_.getTrace("fl1_median_rf", 1).empty());
}

TEST_F(TraceChainTest, FailuresAreEmptyAndTellWhy) {
    EXPECT_TRUE(reader_.getTrace("fl1_median_rf", 5).empty());
    reader_.addTraceAlias("fl9_median_rf", "fl9_raw");
    for (const char* name : {"fl9_raw", "fl9_median_rf"}) {
        testing::internal::CaptureStderr();
        std::string problem;
        EXPECT_TRUE(reader_.getTrace(name, 1, &problem).empty());
        EXPECT_EQ(problem.rfind("Error reading trace 'fl9_raw' at index 1: ", 0), 0U) << problem;
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    }
    testing::internal::CaptureStderr();
    EXPECT_TRUE(reader_.getTrace("fl9_raw", 1).empty());
    EXPECT_EQ(testing::internal::GetCapturedStderr().rfind("Error reading trace 'fl9_raw' at index 1: ", 0), 0U);
}

TEST_F(TraceChainTest, MasksTellWhyToo) {
    {
        PlainFile file(folder_.file("flat.vqd"));
        file.group("/events");
        const std::vector<double> pixels(12, 1.0);
        file.dataset("/events/mask", H5T_NATIVE_DOUBLE, {3, 4}, pixels.data());
    }
    ASSERT_TRUE(reader_.open(folder_.file("flat.vqd")));
    std::string problem;
    int width = -1;
    int height = -1;
    testing::internal::CaptureStderr();
    EXPECT_TRUE(reader_.getMask(2, &width, &height, &problem).empty());
    EXPECT_EQ(problem, "Error reading mask at index 2: the dataset doesn't have three dimensions");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(width, -1);
}

} // namespace
} // namespace Tessaly
