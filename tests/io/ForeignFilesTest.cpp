// Files written by h5py, as other programs write them: what tests/support/make_foreign_files.py puts in must come out.

#include "io/VQDReader.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <numeric>
#include <sys/stat.h>

namespace Tessaly {

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();
const double twoTo53 = std::ldexp(1.0, 53);

std::string toolsFolder() {
    const char* folder = std::getenv("TESSALY_TEST_TOOLS");
    return folder != nullptr ? folder : (std::filesystem::path(__FILE__).parent_path() / "../support").string();
}

/// The first interpreter that has h5py; not every one in the path does.
std::string interpreter() {
    for (const std::string candidate : {"python3", "/usr/bin/python3"}) {
        if (std::system((candidate + " -c 'import h5py' 2>/dev/null").c_str()) == 0) {
            return candidate;
        }
    }
    return {};
}

bool sameValues(const std::vector<double>& a, const std::vector<double>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](double x, double y) { return x == y || (std::isnan(x) && std::isnan(y)); });
}

class ForeignFiles : public testing::Test {
protected:
    static void SetUpTestSuite() {
        folder_ = std::make_unique<TemporaryFolder>();
        mkfifo(folder_->file("pipe.vqd").c_str(), 0600);
        const std::string python = interpreter();
        if (!python.empty()) {
            made_ = std::system(
                        (python + " '" + toolsFolder() + "/make_foreign_files.py' '" + folder_->path().string() + "'")
                            .c_str()) == 0;
        }
    }
    static void TearDownTestSuite() { folder_.reset(); }

    void SetUp() override {
        ASSERT_TRUE(made_) << "The files of another program can't be written: no python3 with h5py was found, or the "
                              "script failed. scripts/setup.sh installs python3-h5py.";
    }

    void open(const std::string& name) { ASSERT_TRUE(reader_.open(folder_->file(name))); }
    void expectColumn(const std::string& name, const std::vector<double>& expected) {
        EXPECT_TRUE(sameValues(reader_.getFeature(name), expected))
            << name << " is " << testing::PrintToString(reader_.getFeature(name));
    }

    VQDReader reader_;
    static inline std::unique_ptr<TemporaryFolder> folder_;
    static inline bool made_ = false;
};

} // namespace

TEST_F(ForeignFiles, NumbersOfAllSizesAndByteOrders) {
    open("foreign_columns.vqd");
    for (const std::string order : {"_le", "_be"}) {
        expectColumn("int1" + order, {-128, -1, 0, 127});
        expectColumn("int2" + order, {-32768, -1, 0, 32767});
        expectColumn("int4" + order, {-2147483648.0, -1, 0, 2147483647.0});
        expectColumn("int8" + order, {-twoTo53, -1, 0, twoTo53});
        expectColumn("uint1" + order, {0, 1, 254, 255});
        expectColumn("uint2" + order, {0, 1, 65534, 65535});
        expectColumn("uint4" + order, {0, 1, 4294967294.0, 4294967295.0});
        expectColumn("uint8" + order, {0, 1, twoTo53, std::ldexp(1.0, 63)});
        for (const std::string size : {"2", "4", "8"}) {
            expectColumn("float" + size + order, {0.5, -2.0, nan, inf});
        }
    }
    expectColumn("float_tenth", {static_cast<double>(0.1F)});
    expectColumn("long_double", {0.5, -2.0});
    expectColumn("boolean", {0, 1, 1, 0});
}

TEST_F(ForeignFiles, OtherKindsOfColumnsAreZeros) {
    open("foreign_columns.vqd");
    expectColumn("texts", {0, 0});
    expectColumn("variable_texts", {0, 0});
    expectColumn("ragged", {0, 0});
    expectColumn("records", {0, 0, 0});
    expectColumn("complex", {0, 0, 0});
}

TEST_F(ForeignFiles, AllWaysOfStoringGiveTheSameColumn) {
    open("foreign_layouts.vqd");
    for (const std::string kind : {"f4", "f8", "i4"}) {
        std::vector<double> expected;
        for (int i = 0; i < 50000; ++i) {
            expected.push_back(kind == "i4" ? std::floor(0.25 * i) : 0.25 * i);
        }
        for (const std::string layout :
             {"contiguous_", "chunked_", "gzip_", "shuffle_", "checksum_", "checked_", "growing_"}) {
            EXPECT_EQ(reader_.getFeature(layout + kind), expected) << layout << kind;
        }
    }
    const std::vector<double> oneByOne = reader_.getFeature("one_by_one");
    ASSERT_EQ(oneByOne.size(), 70000U);
    for (std::size_t i = 0; i < oneByOne.size(); ++i) {
        ASSERT_EQ(oneByOne[i], static_cast<double>(i % 100)) << i;
    }
    EXPECT_TRUE(reader_.getFeature("empty_contiguous").empty());
    EXPECT_TRUE(reader_.getFeature("empty_chunked").empty());
    expectColumn("unwritten", {7, 7, 7, 7, 7});
    expectColumn("unwritten_chunked", {7, 7, 7, 7, 7});
    expectColumn("partly_written", {7, 7, 1, 2, 3});
}

TEST_F(ForeignFiles, ChunksOfAnyShape) {
    open("foreign_layouts.vqd");
    ASSERT_EQ(reader_.traceNames().size(), 6U);
    for (std::size_t event = 0; event < 7; ++event) {
        std::vector<float> expected(12);
        std::iota(expected.begin(), expected.end(), static_cast<float>(event * 12));
        for (const std::string& name : reader_.traceNames()) {
            EXPECT_EQ(reader_.getTrace(name, event), expected) << name << " of event " << event;
        }
    }
    for (std::size_t event = 0; event < 3; ++event) {
        int width = 0;
        int height = 0;
        std::vector<std::uint8_t> expected(32);
        std::iota(expected.begin(), expected.end(), static_cast<std::uint8_t>(event * 32));
        EXPECT_EQ(reader_.getImage(event, &width, &height), expected) << event;
    }
}

TEST_F(ForeignFiles, AttributesOfAllKinds) {
    open("foreign_attributes.vqd");
    testing::internal::CaptureStderr();
    const VQDMetadata metadata = reader_.readMetadata();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");

    using Section = VQDMetadata::Section;
    EXPECT_EQ(metadata.experiment, (Section{{"variable utf8", "Größe 5 µm"},
                                            {"variable ascii", "plain"},
                                            {"fixed padded", "fixed"},
                                            {"fixed utf8", "Größe 5 µm"},
                                            {"empty text", ""},
                                            {"int scalar", "-7"},
                                            {"unsigned", "200"},
                                            {"big endian", "258"}}));
    EXPECT_EQ(metadata.setup, (Section{{"float32", "0.100000"},
                                       {"float64", "0.100000"},
                                       {"float16", "1.500000"},
                                       {"large", "100000000000000000000.000000"},
                                       {"boolean", "1"},
                                       {"module composition", "Cell_Flow_2, Vortiq"}}));
    EXPECT_EQ(metadata.imaging, Section()); // lists, records and attributes without a value are dropped
    EXPECT_EQ(metadata.online_filter, (Section{{"area_um,deform polygon points",
                                                "(10.000000,0.000000), (20.000000,0.500000), (30.000000,0.100000)"},
                                               {"nocomma polygon points", "(1.000000,2.000000)"}}));
    EXPECT_EQ(metadata.online_contour, (Section{{"a:b", "second colon"}}));
    EXPECT_EQ(metadata.fluorescence.size(), 20U);
    EXPECT_EQ(metadata.allAttributes.at("unknown:key"), "elsewhere");
    EXPECT_EQ(metadata.allAttributes.at("no section"), "5");
    EXPECT_EQ(metadata.allAttributes.at("setup:boolean"), "1");
    EXPECT_EQ(metadata.allAttributes.size(), 8U + 6U + 2U + 1U + 20U + 2U);

    const double tenth = static_cast<double>(0.1F); // points are read as float
    EXPECT_EQ(metadata.polygonFilters,
              (std::vector<PolygonFilterDef>{{"area_um", "deform", {{10.0, 0.0}, {20.0, 0.5}, {30.0, tenth}}}}));
    EXPECT_TRUE(reader_.isInstrumentData());
}

TEST_F(ForeignFiles, LinksLeadToFeaturesOrAreLeftOut) {
    testing::internal::CaptureStderr();
    open("foreign_events.vqd");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(reader_.featureNames(),
              (std::vector<std::string>{"Grün µ", "area_um", "deform", "external", "hard", "image", "mask", "soft"}));
    EXPECT_EQ(reader_.eventCount(), 3U);
    expectColumn("soft", {1, 2, 3});
    expectColumn("hard", {1, 2, 3});
    expectColumn("external", {0, 1, 1, 0});
    expectColumn("Grün µ", {4, 5, 6});
    expectColumn("deform", {0.1, 0.2}); // shorter than the others, served as it is

    for (const std::string name :
         {"dangling", "loop", "external_missing", "external_pipe", "plane", "scalar", "nothing", "a_type", "contour"}) {
        testing::internal::CaptureStderr();
        EXPECT_TRUE(reader_.getFeature(name).empty()) << name;
        EXPECT_EQ(testing::internal::GetCapturedStderr().find("Error reading feature '" + name + "': "), 0U) << name;
    }
}

TEST_F(ForeignFiles, PicturesAndTracesOfOtherWidths) {
    open("foreign_events.vqd");
    ASSERT_TRUE(reader_.hasImage() && reader_.hasMask() && reader_.hasTraces());
    int width = 0;
    int height = 0;
    const std::vector<std::uint8_t> image = reader_.getImage(2, &width, &height);
    EXPECT_EQ(width, 5);
    EXPECT_EQ(height, 4);
    ASSERT_EQ(image.size(), 20U);
    EXPECT_EQ(image[0], 200);  // (2 * 20) * 5
    EXPECT_EQ(image[11], 255); // (2 * 20 + 11) * 5
    EXPECT_EQ(image[19], 255); // 295 doesn't fit
    const std::vector<std::uint8_t> mask = reader_.getMask(0, &width, &height);
    ASSERT_EQ(mask.size(), 20U);
    EXPECT_EQ(mask[0], 0);
    EXPECT_EQ(mask[1], 1);

    EXPECT_EQ(reader_.traceNames(), (std::vector<std::string>{"fl1_median", "fl1_raw", "fl2_raw_x"}));
    EXPECT_EQ(reader_.traceLength(), 6U);
    EXPECT_EQ(reader_.getTrace("fl1_raw", 0), (std::vector<float>{-32768, -32767, -32766, -32765, -32764, -32763}));
    EXPECT_EQ(reader_.getTrace("fl1_median", 2), (std::vector<float>{12.5, 13.5, 14.5, 15.5, 16.5, 17.5}));
    // A 2-byte trace is read as signed, and the library clips what doesn't fit.
    EXPECT_EQ(reader_.getTrace("fl2_raw_x", 1), std::vector<float>(6, 32767));
}

} // namespace Tessaly
