#include "io/VQDReader.h"

#include "core/FeatureCatalogue.h"
#include "support/PlainFile.h"
#include "support/SampleFile.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <clocale>
#include <cmath>
#include <dlfcn.h>
#include <numeric>

namespace {

std::atomic<bool> pretendOtherLibrary = false;

} // namespace

/// Stands before the library's own function, so that a test can pretend that another version was loaded.
extern "C" herr_t H5get_libversion(unsigned* major, unsigned* minor, unsigned* release) {
    using Function = herr_t (*)(unsigned*, unsigned*, unsigned*);
    static const auto original = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "H5get_libversion"));
    const herr_t status = original(major, minor, release);
    if (pretendOtherLibrary) {
        ++*release;
    }
    return status;
}

namespace Tessaly {

namespace {

/// What the calls in `action` write to the standard error stream, our lines and the library's.
template <typename Action>
std::string errorsOf(Action action) {
    testing::internal::CaptureStderr();
    action();
    return testing::internal::GetCapturedStderr();
}

class Reader : public testing::Test {
protected:
    std::string sample(const SampleFileOptions& options = {}) {
        reader_.close(); // an open file can't be written anew
        const std::string path = folder_.file("sample.vqd");
        writeSampleFile(path, options);
        return path;
    }

    TemporaryFolder folder_;
    VQDReader reader_;
};

} // namespace

TEST_F(Reader, ThreeByteIntegersAndWideEnumerations) {
    const std::string path = folder_.file("odd.vqd");
    {
        PlainFile file(path);
        file.group("/events");
        const hid_t three = H5Tcopy(H5T_STD_I32LE);
        H5Tset_size(three, 3);
        const std::vector<std::uint8_t> bytes(12, 1);
        file.dataset("/events/three", three, {4}, bytes.data());
        H5Tclose(three);
        const hid_t wide = H5Tenum_create(H5T_NATIVE_INT32);
        for (const int value : {-5, 7, 100000}) {
            H5Tenum_insert(wide, std::to_string(value).c_str(), &value);
        }
        file.column("wide", wide, std::vector<std::int32_t>{-5, 7, 100000});
        H5Tclose(wide);
        file.column("huge", H5T_NATIVE_UINT64, std::vector<std::uint64_t>{5, ~0ULL});
        file.column("bits", H5T_NATIVE_B16, std::vector<std::uint16_t>{1, 2});
    }
    ASSERT_TRUE(reader_.open(path));
    EXPECT_EQ(reader_.getFeature("three"), std::vector<double>(4, 0.0));
    // Read as signed 8-bit: the library clips to its limits.
    EXPECT_EQ(reader_.getFeature("wide"), (std::vector<double>{-5, 7, 127}));
    EXPECT_EQ(reader_.getFeature("huge"), (std::vector<double>{5, -1})); // beyond the signed range they wrap
    EXPECT_EQ(reader_.getFeature("bits"), std::vector<double>(2, 0.0));
}

TEST_F(Reader, FixedTextsLoseTheirPaddingOnly) {
    const struct {
        const char* name;
        H5T_str_t padding;
        std::string stored, expected;
    } cases[] = {{"setup:terminated", H5T_STR_NULLTERM, std::string("ab\0cd\0", 6), "ab"},
                 {"setup:null padded", H5T_STR_NULLPAD, std::string("ab \0\0\0", 6), "ab "},
                 {"setup:full", H5T_STR_NULLPAD, "abcdef", "abcdef"},
                 {"setup:space padded", H5T_STR_SPACEPAD, " ab   ", " ab"},
                 {"setup:all nulls", H5T_STR_NULLPAD, std::string(6, '\0'), ""}};
    const std::string path = folder_.file("texts.vqd");
    {
        PlainFile file(path);
        const hid_t type = H5Tcopy(H5T_C_S1);
        H5Tset_size(type, 6);
        for (const auto& one : cases) {
            H5Tset_strpad(type, one.padding);
            file.attribute(one.name, type, one.stored.data());
        }
        H5Tclose(type);
        const hid_t variable = H5Tcopy(H5T_C_S1);
        H5Tset_size(variable, H5T_VARIABLE);
        const char* none = nullptr;
        file.attribute("setup:no pointer", variable, &none);
        H5Tclose(variable);
    }
    ASSERT_TRUE(reader_.open(path));
    VQDMetadata metadata;
    EXPECT_EQ(errorsOf([&] { metadata = reader_.readMetadata(); }), "");
    for (const auto& one : cases) {
        EXPECT_EQ(metadata.allAttributes.at(one.name), one.expected) << one.name;
    }
    EXPECT_EQ(metadata.allAttributes.at("setup:no pointer"), "");
}

TEST_F(Reader, NumbersInMetadataDoNotDependOnTheLocale) {
    SampleFileOptions options;
    options.numberAttributes["setup:tenth"] = 0.1;
    options.numberAttributes["setup:negative"] = -1.0 / 3.0;
    options.numberAttributes["setup:nothing"] = std::nan("");
    ASSERT_TRUE(reader_.open(sample(options)));
    const std::string before = std::setlocale(LC_NUMERIC, nullptr);
    std::setlocale(LC_NUMERIC, "de_DE.UTF-8"); // where it is installed, numbers have a comma
    const VQDMetadata metadata = reader_.readMetadata();
    std::setlocale(LC_NUMERIC, before.c_str());
    EXPECT_EQ(metadata.setup.at("tenth"), "0.100000");
    EXPECT_EQ(metadata.setup.at("negative"), "-0.333333");
    EXPECT_EQ(metadata.setup.at("nothing"), "nan");
    EXPECT_EQ(metadataValue(metadata.setup, "absent"), "");
}

TEST_F(Reader, PolygonAttributes) {
    SampleFileOptions options;
    options.polygons = {{"offline_filter:a,b,c polygon points", {0, 1, 2, 3}},
                        {"online_filter: polygon points", {1, 2}},
                        {"online_filter:, polygon points", {1, 2}},
                        {"online_filter:a,b polygon point", {1, 2}},
                        {"online_filter:x,y #12 polygon points", {3, 4}},
                        {"no colon,x polygon points", {1, 2}}};
    ASSERT_TRUE(reader_.open(sample(options)));
    const VQDMetadata metadata = reader_.readMetadata();
    // In attribute order, which for this kind of file is the order of writing, here alphabetical.
    EXPECT_EQ(metadata.polygonFilters,
              (std::vector<PolygonFilterDef>{{"a", "b,c", {{0, 1}, {2, 3}}, "offline_filter", 1},
                                             {"", "", {{1, 2}}, "online_filter", 1},
                                             {"x", "y", {{3, 4}}, "online_filter", 12}}));
    EXPECT_EQ(metadata.online_filter, (VQDMetadata::Section{{" polygon points", "(1.000000,2.000000)"},
                                                            {", polygon points", "(1.000000,2.000000)"},
                                                            {"a,b polygon point", "(1.000000,2.000000)"},
                                                            {"x,y #12 polygon points", "(3.000000,4.000000)"}}));
    EXPECT_FALSE(metadata.allAttributes.contains("no colon,x polygon points"));
}

TEST_F(Reader, InstrumentTestLooksForTheWordAsItStands) {
    const std::vector<std::pair<std::string, bool>> cases{
        {"Vortiq", true}, {"Cell_Flow_2, XVortiqX", true}, {"cell, vortiq", false}, {"", false}};
    for (const auto& [composition, expected] : cases) {
        SampleFileOptions options;
        options.events = 1;
        options.textAttributes["setup:module composition"] = composition;
        ASSERT_TRUE(reader_.open(sample(options)));
        EXPECT_FALSE(reader_.isInstrumentData());
        reader_.readMetadata();
        EXPECT_EQ(reader_.isInstrumentData(), expected) << composition;
        EXPECT_EQ(reader_.featureLabel("userdef1"), featureLabel("userdef1", expected));
    }
}

TEST_F(Reader, ImagesMasksAndTracesOneEventAtATime) {
    for (const bool gzip : {false, true}) {
        SampleFileOptions options;
        options.events = 20;
        options.imageWidth = 40;
        options.imageHeight = 30;
        options.gzip = gzip;
        ASSERT_TRUE(reader_.open(sample(options)));
        int width = 0;
        int height = 0;
        const std::vector<std::uint8_t> image = reader_.getImage(19, &width, &height);
        const std::vector<std::uint8_t> mask = reader_.getMask(19, &width, &height);
        EXPECT_EQ(std::pair(width, height), std::pair(40, 30));
        ASSERT_EQ(image.size(), 1200U);
        ASSERT_EQ(mask.size(), 1200U);
        // The file says so itself: bright exactly where the mask is. A wrong row or event would break it.
        for (std::size_t i = 0; i < image.size(); ++i) {
            ASSERT_EQ(image[i] >= 160, mask[i] == 255) << i;
        }
        EXPECT_NE(reader_.getMask(18, &width, &height), mask);
        EXPECT_EQ(reader_.getTrace("fl1_raw", 19).size(), 50U);

        width = height = -1;
        EXPECT_EQ(errorsOf([&] {
                      EXPECT_TRUE(reader_.getImage(20, &width, &height).empty());
                      EXPECT_TRUE(reader_.getMask(20, &width, &height).empty());
                      EXPECT_TRUE(reader_.getTrace("fl1_raw", 20).empty());
                  }),
                  "");
        EXPECT_EQ(std::pair(width, height), std::pair(-1, -1));
        EXPECT_EQ(
            errorsOf([&] { reader_.getTrace("none_raw", 3); }).find("Error reading trace 'none_raw' at index 3: "), 0U);
    }
}

TEST_F(Reader, LastChunksMayBeStoredWithoutFilters) {
    std::vector<double> ramp(150);
    std::iota(ramp.begin(), ramp.end(), 0.5);
    const std::string path = folder_.file("edges.vqd");
    {
        PlainFile file(path);
        file.group("/events");
        const hid_t list = PlainFile::chunked({100});
        H5Pset_chunk_opts(list, H5D_CHUNK_DONT_FILTER_PARTIAL_CHUNKS);
        H5Pset_shuffle(list);
        file.dataset("/events/shuffled", H5T_NATIVE_DOUBLE, {150}, ramp.data(), list);
        H5Pset_deflate(list, 6);
        file.dataset("/events/packed", H5T_NATIVE_DOUBLE, {150}, ramp.data(), list);
        H5Pclose(list);
    }
    ASSERT_TRUE(reader_.open(path));
    EXPECT_EQ(reader_.getFeature("shuffled"), ramp);
    EXPECT_EQ(reader_.getFeature("packed"), ramp);
}

TEST_F(Reader, FileWithoutEvents) {
    const std::string path = folder_.file("bare.vqd");
    { PlainFile file(path); }
    EXPECT_EQ(errorsOf([&] { EXPECT_TRUE(reader_.open(path)); }), "");
    EXPECT_TRUE(reader_.featureNames().empty());
    EXPECT_EQ(reader_.eventCount(), 0U);
    EXPECT_FALSE(reader_.hasImage() || reader_.hasMask() || reader_.hasTraces());
    const std::vector<double>& first = reader_.getFeature("a");
    EXPECT_TRUE(first.empty());
    EXPECT_EQ(&first, &reader_.getFeature("b"));
    EXPECT_EQ(reader_.readMetadata(), VQDMetadata());
}

TEST_F(Reader, ComputedFeatures) {
    ASSERT_TRUE(reader_.open(sample()));
    const std::size_t stored = reader_.featureNames().size();
    std::vector<double> values{3, 2, 1};
    reader_.setFeature("b_new", std::move(values));
    reader_.setFeature("deform", {7});
    EXPECT_TRUE(reader_.isComputedFeature("b_new") && reader_.isComputedFeature("deform"));
    EXPECT_FALSE(reader_.isComputedFeature("area_um"));
    const std::vector<std::string>& names = reader_.featureNames();
    EXPECT_EQ(names.size(), stored + 1);
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
    reader_.cacheAllFeatures();
    EXPECT_EQ(reader_.getFeature("b_new"), (std::vector<double>{3, 2, 1}));
    EXPECT_EQ(reader_.getFeature("deform"), std::vector<double>{7});
    EXPECT_EQ(reader_.eventCount(), 100U);

    reader_.open(reader_.path());
    EXPECT_FALSE(reader_.hasFeature("b_new"));
    EXPECT_EQ(reader_.getFeature("deform").size(), 100U);
}

TEST_F(Reader, CloseForgetsEverything) {
    ASSERT_TRUE(reader_.open(sample()));
    reader_.readMetadata();
    reader_.getFeature("deform");
    reader_.close();
    EXPECT_FALSE(reader_.isOpen() || reader_.hasImage() || reader_.hasMask() || reader_.hasTraces());
    EXPECT_FALSE(reader_.isInstrumentData());
    EXPECT_EQ(reader_.eventCount() + reader_.traceLength(), 0U);
    EXPECT_TRUE(reader_.featureNames().empty() && reader_.traceNames().empty());
    EXPECT_TRUE(reader_.getFeature("deform").empty());
    EXPECT_EQ(reader_.readMetadata(), VQDMetadata());
}

TEST_F(Reader, FailedOpensSayWhy) {
    ASSERT_TRUE(reader_.open(sample()));
    const std::string missing = errorsOf([&] { EXPECT_FALSE(reader_.open(folder_.file("missing.vqd"))); });
    EXPECT_EQ(missing.find("Error opening file: "), 0U);
    EXPECT_EQ(std::count(missing.begin(), missing.end(), '\n'), 1) << missing;
    EXPECT_FALSE(reader_.isOpen());
    EXPECT_TRUE(reader_.featureNames().empty());

    // Another version of the library than the one that this was built with.
    const std::string path = sample();
    pretendOtherLibrary = true;
    const std::string errors = errorsOf([&] { EXPECT_FALSE(reader_.open(path)); });
    pretendOtherLibrary = false;
    EXPECT_EQ(errors.find("Error opening file: "), 0U);
    EXPECT_FALSE(reader_.isOpen());
    EXPECT_TRUE(reader_.open(path));
}

TEST_F(Reader, SingleValuesAreThoseOfTheColumn) {
    const std::string path = folder_.file("values.vqd");
    const std::vector<std::pair<std::string, std::vector<double>>> expected{
        {"bits", {0, 0}},       {"double", {-0.1, 1e300}}, {"float", {0.5, -3.25}}, {"int16", {-32768, 7}},
        {"int32", {-70000, 1}}, {"int8", {-128, 127}},     {"uint16", {65535, 0}},  {"uint32", {4294967295.0, 1}},
        {"uint64", {5, -1}},    {"uint8", {255, 1}}};
    {
        PlainFile file(path);
        file.group("/events");
        file.column("bits", H5T_NATIVE_B16, std::vector<std::uint16_t>{1, 2});
        file.column("double", H5T_NATIVE_DOUBLE, std::vector<double>{-0.1, 1e300});
        file.column("float", H5T_NATIVE_FLOAT, std::vector<float>{0.5F, -3.25F});
        file.column("int16", H5T_NATIVE_INT16, std::vector<std::int16_t>{-32768, 7});
        file.column("int32", H5T_NATIVE_INT32, std::vector<std::int32_t>{-70000, 1});
        file.column("int8", H5T_NATIVE_INT8, std::vector<std::int8_t>{-128, 127});
        file.column("uint16", H5T_NATIVE_UINT16, std::vector<std::uint16_t>{65535, 0});
        file.column("uint32", H5T_NATIVE_UINT32, std::vector<std::uint32_t>{4294967295U, 1});
        file.column("uint64", H5T_NATIVE_UINT64, std::vector<std::uint64_t>{5, ~0ULL});
        file.column("uint8", H5T_NATIVE_UINT8, std::vector<std::uint8_t>{255, 1});
    }
    ASSERT_TRUE(reader_.open(path));
    // As stored first, then as doubles.
    for (const bool widened : {false, true}) {
        for (const auto& [name, values] : expected) {
            if (widened) {
                EXPECT_EQ(reader_.getFeature(name), values) << name;
            }
            EXPECT_EQ(reader_.valueAt(name, 0), values[0]) << name;
            EXPECT_EQ(reader_.valueAt(name, 1), values[1]) << name;
            EXPECT_EQ(reader_.valueAt(name, 2), std::nullopt) << name;
        }
    }
    EXPECT_EQ(reader_.valueAt("none", 0), std::nullopt);
    reader_.setFeature("uint8", {1.5});
    EXPECT_EQ(reader_.valueAt("uint8", 0), 1.5);
}

} // namespace Tessaly
