#include "io/MeasurementWriter.h"

#include "io/VQDReader.h"
#include "support/FileSizeLimit.h"
#include "support/FilterRules.h"
#include "support/PlainFile.h"
#include "support/SampleFile.h"
#include "support/TemporaryFolder.h"
#include "support/Tools.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <iostream>
#include <numeric>
#include <sys/wait.h>
#include <unistd.h>

namespace Tessaly {

namespace {

using Attributes = std::map<std::string, std::string>;

SampleFileOptions events(std::size_t count) {
    SampleFileOptions options;
    options.events = count;
    return options;
}

std::string listed(const std::vector<int>& events) {
    std::string text;
    for (const int event : events) {
        text.append(text.empty() ? "" : ",").append(std::to_string(event));
    }
    return text;
}

FilterRule polygonRule(const std::string& x, const std::string& y, int points = 3) {
    FilterRule rule;
    rule.type = FilterRule::Polygon;
    rule.featureName = x;
    rule.featureNameY = y;
    for (int i = 0; i < points; ++i) {
        rule.polygonVertices.emplace_back(i + 0.5, i * i);
    }
    return rule;
}

class Writer : public testing::Test {
protected:
    bool exportAll(const std::string& source, const std::string& target, const std::vector<int>& events,
                   const EventFilter& filter = {}, const std::string& changedName = {}) {
        VQDReader reader;
        EXPECT_TRUE(reader.open(source));
        MeasurementWriter writer;
        EXPECT_TRUE(writer.create(target));
        temporary_ = writer.temporaryPath();
        writer.setOnPause([this] { ++pauses_; });
        writer.copyAttributes(reader.readMetadata());
        writer.writeOfflineFilter(filter);
        writer.writeExportAttributes(events.size(), changedName);
        std::vector<std::string> columns;
        for (const std::string& name : reader.featureNames()) {
            if (name != "image" && name != "mask") {
                columns.push_back(name);
            }
        }
        writer.writeScalars(columns, events, reader);
        writer.writeImages(reader, events);
        writer.writeMasks(reader, events);
        writer.writeTraces(reader, events);
        return writer.close();
    }

    VQDMetadata metadataOf(const std::string& path) {
        VQDReader reader;
        EXPECT_TRUE(reader.open(path));
        return reader.readMetadata();
    }

    /// Attributes of a section that an export with a filter has.
    Attributes section(const std::string& name, const std::string& source, const EventFilter& filter,
                       const std::string& changedName = {}) {
        const std::string target = folder_.file("filtered.vqd");
        EXPECT_TRUE(exportAll(source, target, {0, 1}, filter, changedName));
        Attributes kept;
        for (const auto& [key, value] : metadataOf(target).allAttributes) {
            if (key.starts_with(name + ":")) {
                kept[key.substr(name.size() + 1)] = value;
            }
        }
        return kept;
    }

    std::string sample(const SampleFileOptions& options, const std::string& name = "sample.vqd") {
        const std::string path = folder_.file(name);
        writeSampleFile(path, options);
        return path;
    }

    std::vector<std::string> filesInFolder() const {
        std::vector<std::string> names;
        for (const auto& file : std::filesystem::directory_iterator(folder_.path())) {
            names.push_back(file.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    TemporaryFolder folder_;
    std::string temporary_;
    int pauses_ = 0;
};

} // namespace

TEST_F(Writer, EveryKindOfStorageComesThroughTwice) {
    SampleFileOptions options;
    options.events = 400; // several batches
    options.imageWidth = 37;
    options.imageHeight = 11;
    options.polygons["online_filter:area_um,deform polygon points"] = {1.0F, 0.5F, 2.0F, 0.25F, 3.5F, -1.0F};
    options.textAttributes["setup:note"] = "Grüße, 細胞";
    options.columns["userdef0"] = std::vector<double>(400, std::nan(""));
    options.columns["userdef0"][7] = HUGE_VAL;
    std::vector<int> events{3, 4, 5, 17, 19, 31, 32, 33, 200};
    for (int i = 202; i < 400; i += 1 + i % 3) {
        events.push_back(i);
    }
    for (const bool packed : {false, true}) {
        options.gzip = packed;
        const std::string source = sample(options);
        const std::string first = folder_.file("first.vqd");
        const std::string second = folder_.file("second.vqd");
        ASSERT_TRUE(exportAll(source, first, events));
        EXPECT_GT(pauses_, 10);
        // The first file holds a packed chunk for each picture: its pictures are copied as they are.
        std::vector<int> again{0, 2, 3};
        for (int i = 4; i < static_cast<int>(events.size()); ++i) {
            again.push_back(i);
        }
        ASSERT_TRUE(exportAll(first, second, again));
        std::vector<int> ofSource;
        for (const int event : again) {
            ofSource.push_back(events[static_cast<std::size_t>(event)]);
        }
        // h5py 3.7
        EXPECT_EQ(script("check_exports.py", "measurement " + source + " " + first + " " + listed(events)), "");
        EXPECT_EQ(script("check_exports.py", "measurement " + source + " " + second + " " + listed(ofSource)), "");
        EXPECT_EQ(outputOf("h5dump -H '" + second + "' > /dev/null"), "");
        EXPECT_EQ(outputOf("h5repack -f NONE '" + second + "' '" + folder_.file("plain.vqd") + "'"), "");
        std::filesystem::remove(folder_.file("plain.vqd"));
    }
}

TEST_F(Writer, ReadBackByOurReader) {
    SampleFileOptions options;
    options.events = 20;
    const std::string source = sample(options);
    const std::string target = folder_.file("out.vqd");
    ASSERT_TRUE(exportAll(source, target, {19, 2}, {}, "Renamed"));
    VQDReader before;
    VQDReader after;
    ASSERT_TRUE(before.open(source));
    ASSERT_TRUE(after.open(target));
    EXPECT_EQ(after.eventCount(), 2U);
    EXPECT_EQ(after.featureNames(), before.featureNames());
    EXPECT_EQ(after.getFeature("deform"),
              (std::vector<double>{before.getFeature("deform")[19], before.getFeature("deform")[2]}));
    int width = 0;
    int height = 0;
    EXPECT_EQ(after.getImage(0, &width, &height), before.getImage(19, &width, &height));
    EXPECT_EQ(after.getMask(1, &width, &height), before.getMask(2, &width, &height));
    EXPECT_EQ(after.traceNames(), before.traceNames());
    EXPECT_EQ(after.getTrace("fl2_raw", 0), before.getTrace("fl2_raw", 19));
    const VQDMetadata metadata = after.readMetadata();
    EXPECT_TRUE(after.isInstrumentData());
    EXPECT_EQ(metadataValue(metadata.setup, "flow rate"), "0.160000");
    EXPECT_EQ(metadataValue(metadata.exportSection, "event count"), "2");
    EXPECT_EQ(metadataValue(metadata.exportSection, "changed sample name"), "Renamed");
    EXPECT_EQ(metadataValue(metadata.exportSection, "date") + "\n", outputOf("date +%Y-%m-%d"));
}

TEST_F(Writer, RulesBecomeAttributes) {
    const std::string source = sample(events(3));
    FilterRule disabled = rangeRule("temp", 0, 1);
    disabled.enabled = false;
    FilterRule inverted = rangeRule("deform", -1.5, 1e20);
    inverted.inverted = true;
    FilterRule polygon = polygonRule("area_um", "deform");
    polygon.scaleXMode = 2;
    polygon.scaleYMode = 7;
    FilterRule second = polygonRule("area_um", "deform", 4);
    second.scaleXMode = -1;
    second.scaleYMode = 1;
    EventFilter filter;
    for (const FilterRule& rule :
         {rangeRule("deform", 0.1, 0.25), disabled, polygon, inverted, rangeRule("deform", 5, 6), second}) {
        filter.addRule(rule);
    }
    Attributes expected{
        {"deform min", "0.100000"},
        {"deform max", "0.250000"},
        {"deform #2 min", "-1.500000"},
        {"deform #2 max", "100000000000000000000.000000"},
        {"deform #2 inverted", "1"},
        {"deform #3 min", "5.000000"},
        {"deform #3 max", "6.000000"},
        {"area_um,deform polygon points", "(0.500000,0.000000), (1.500000,1.000000), (2.500000,4.000000)"},
        {"area_um,deform polygon x scale", "pseudolog"},
        {"area_um,deform polygon y scale", "pseudolog"},
        {"area_um,deform #2 polygon points",
         "(0.500000,0.000000), (1.500000,1.000000), (2.500000,4.000000), (3.500000,9.000000)"},
        {"area_um,deform #2 polygon x scale", "linear"},
        {"area_um,deform #2 polygon y scale", "log"}};
    EXPECT_EQ(section("offline_filter", source, filter), expected);
    filter.setCombineMode(EventFilter::ShowExcluded);
    expected["combine mode"] = "NOT";
    EXPECT_EQ(section("offline_filter", source, filter), expected);

    // The export keeps them when it is exported again, and its polygons stay in their section.
    const std::string first = folder_.file("first.vqd");
    std::filesystem::rename(folder_.file("filtered.vqd"), first);
    EXPECT_EQ(section("offline_filter", first, {}), expected);
    const std::vector<PolygonFilterDef> gates = metadataOf(folder_.file("filtered.vqd")).polygonFilters;
    EXPECT_EQ(gates,
              (std::vector<PolygonFilterDef>{{"area_um", "deform", polygon.polygonVertices, "offline_filter", 1},
                                             {"area_um", "deform", second.polygonVertices, "offline_filter", 2}}));

    // A new rule replaces what was copied under its name, marks that would be wrong included.
    EventFilter next;
    next.addRule(rangeRule("temp", 0, 1));
    FilterRule straight = rangeRule("deform", 7, 8);
    next.addRule(straight);
    next.addRule(straight);
    expected["temp min"] = "0.000000";
    expected["temp max"] = "1.000000";
    expected["deform min"] = expected["deform #2 min"] = "7.000000";
    expected["deform max"] = expected["deform #2 max"] = "8.000000";
    expected.erase("deform #2 inverted");
    expected.erase("combine mode");
    EXPECT_EQ(section("offline_filter", first, next), expected);

    filter.setEnabled(false);
    EXPECT_EQ(section("offline_filter", source, filter), Attributes());
    EventFilter onlyDisabled;
    onlyDisabled.addRule(disabled);
    onlyDisabled.setCombineMode(EventFilter::ShowExcluded);
    EXPECT_EQ(section("offline_filter", source, onlyDisabled), Attributes());
}

TEST_F(Writer, ExportAttributesReplaceCopiedOnes) {
    SampleFileOptions options = events(3);
    options.textAttributes = {{"export:changed sample name", "Old"}, {"export:event count", "99"}, {"free", "text"}};
    const std::string source = sample(options);
    Attributes exported = section("export", source, {}, "New");
    EXPECT_EQ(exported.erase("date"), 1U);
    EXPECT_EQ(exported, (Attributes{{"changed sample name", "New"}, {"event count", "2"}}));
    exported = section("export", source, {});
    exported.erase("date");
    EXPECT_EQ(exported, (Attributes{{"event count", "2"}}));
    EXPECT_EQ(metadataOf(folder_.file("filtered.vqd")).allAttributes.at("free"), "text");
}

TEST_F(Writer, PicturesThatAreMissing) {
    // Three pictures for five events; a column that is too short, and one that is empty.
    const std::string source = folder_.file("short.vqd");
    for (const bool packed : {false, true}) {
        {
            PlainFile file(source);
            file.group("/events");
            file.column("area_um", H5T_NATIVE_DOUBLE, std::vector<double>{1, 2, 3, 4, 5});
            file.column("deform", H5T_NATIVE_DOUBLE, std::vector<double>{10, 20});
            file.column("empty", H5T_NATIVE_DOUBLE, std::vector<double>());
            const std::vector<unsigned char> pixels{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
            hid_t properties = H5P_DEFAULT;
            if (packed) {
                properties = PlainFile::chunked({1, 2, 2});
                H5Pset_deflate(properties, 9);
            }
            file.dataset("/events/image", H5T_NATIVE_UINT8, {3, 2, 2}, pixels.data(), properties);
            if (packed) {
                H5Pclose(properties);
            }
        }
        const std::string target = folder_.file("out.vqd");
        ASSERT_TRUE(exportAll(source, target, {2, 4, 0}));
        VQDReader reader;
        ASSERT_TRUE(reader.open(target));
        int width = 0;
        int height = 0;
        EXPECT_EQ(reader.getImage(0, &width, &height), (std::vector<std::uint8_t>{9, 10, 11, 12}));
        EXPECT_EQ(reader.getImage(1, &width, &height), (std::vector<std::uint8_t>(4, 0)));
        EXPECT_EQ(reader.getImage(2, &width, &height), (std::vector<std::uint8_t>{1, 2, 3, 4}));
        EXPECT_EQ(reader.featureNames(), (std::vector<std::string>{"area_um", "deform", "image"}));
        EXPECT_TRUE(std::isnan(reader.getFeature("deform")[0]));
        EXPECT_EQ(reader.getFeature("deform")[2], 10.0);
        reader.close();
        ASSERT_TRUE(exportAll(source, target, {4, 0, 1}));
        ASSERT_TRUE(reader.open(target));
        EXPECT_FALSE(reader.hasImage()); // the first event has none
    }
}

TEST_F(Writer, UnreadablePicturesFailTheFileButOnlyTheyAreMissing) {
    for (const hsize_t rowsPerChunk : {1, 2}) {
        const std::string source = folder_.file("damaged.vqd");
        const std::string target = folder_.file("out.vqd");
        {
            PlainFile file(source);
            file.group("/events");
            const std::vector<unsigned char> pixels(6 * 16, 77);
            const hid_t properties = PlainFile::chunked({rowsPerChunk, 4, 4});
            H5Pset_deflate(properties, 4);
            file.dataset("/events/image", H5T_NATIVE_UINT8, {6, 4, 4}, pixels.data(), properties);
            H5Pclose(properties);
            file.chunk("/events/image", 2, {1, 2, 3, 4, 5});
        }
        testing::internal::CaptureStderr();
        EXPECT_FALSE(exportAll(source, target, {0, 2, 5}));
        const std::string errors = testing::internal::GetCapturedStderr();
        EXPECT_NE(errors.find("Error reading image at index 2: "), std::string::npos) << errors;
        EXPECT_FALSE(std::filesystem::exists(target));
        VQDReader reader;
        ASSERT_TRUE(reader.open(temporary_)); // what could be written is there
        int width = 0;
        int height = 0;
        EXPECT_EQ(reader.getImage(1, &width, &height), std::vector<std::uint8_t>(16, 0));
        EXPECT_EQ(reader.getImage(2, &width, &height), std::vector<std::uint8_t>(16, 77));
    }
}

TEST_F(Writer, ColumnsThatCantBeReadFailTheFile) {
    const std::string source = folder_.file("texts.vqd");
    {
        PlainFile file(source);
        file.group("/events");
        file.column("area_um", H5T_NATIVE_DOUBLE, std::vector<double>{1, 2, 3, 4, 5});
        const hid_t properties = PlainFile::chunked({5});
        H5Pset_deflate(properties, 4);
        file.dataset("/events/bad", H5T_NATIVE_DOUBLE, {5}, nullptr, properties);
        H5Pclose(properties);
        file.chunk("/events/bad", 0, {1, 2, 3});
    }
    testing::internal::CaptureStderr();
    EXPECT_FALSE(exportAll(source, folder_.file("out.vqd"), {1}));
    EXPECT_NE(testing::internal::GetCapturedStderr().find("Error reading feature 'bad': "), std::string::npos);
}

TEST_F(Writer, NoRoom) {
    // In a process of its own: the file library loses memory when it can't write.
    const pid_t child = fork();
    if (child != 0) {
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0) << "what failed is printed above";
        return;
    }
    SampleFileOptions options;
    options.events = 60;
    const std::string source = sample(options);
    const std::string target = folder_.file("out.vqd");
    // A whole file takes some 170,000 bytes.
    for (const std::size_t room : {2000U, 3000U, 20'000U, 60'000U, 100'000U, 150'000U}) {
        testing::internal::CaptureStderr(); // by way of a file, which has no more room either
        std::vector<int> events(60);
        std::iota(events.begin(), events.end(), 0);
        bool complete = true;
        {
            const FileSizeLimit limit(room);
            VQDReader reader;
            EXPECT_TRUE(reader.open(source));
            MeasurementWriter writer;
            complete = writer.create(target);
            writer.copyAttributes(reader.readMetadata());
            const std::vector<std::string> columns{"area_um", "deform"};
            writer.writeScalars(columns, events, reader);
            writer.writeImages(reader, events);
            writer.writeTraces(reader, events);
            complete = writer.close() && complete;
        }
        std::cerr.clear();
        EXPECT_NE(testing::internal::GetCapturedStderr(), "") << room;
        EXPECT_FALSE(complete) << room;
        EXPECT_FALSE(std::filesystem::exists(target)) << room;
    }
    std::fflush(stdout);
    _exit(HasFailure() ? 1 : 0);
}

TEST_F(Writer, TheTargetStaysUntilTheFileIsComplete) {
    const std::string source = sample(events(3));
    const std::string target = folder_.file("out.vqd");
    {
        MeasurementWriter writer;
        ASSERT_TRUE(writer.create(target));
        EXPECT_FALSE(std::filesystem::exists(target));
        EXPECT_EQ(std::filesystem::path(writer.temporaryPath()).parent_path(), folder_.path());
        EXPECT_TRUE(writer.close());
        EXPECT_TRUE(std::filesystem::exists(target));
        EXPECT_FALSE(writer.close());
    }
    EXPECT_EQ(filesInFolder(), (std::vector<std::string>{"out.vqd", "sample.vqd"}));
    EXPECT_EQ(outputOf("stat -c %a " + target),
              outputOf("touch " + folder_.file("new") + "; stat -c %a " + folder_.file("new")));

    MeasurementWriter writer;
    testing::internal::CaptureStderr();
    EXPECT_FALSE(writer.create(folder_.file("nowhere/out.vqd")));
    EXPECT_TRUE(testing::internal::GetCapturedStderr().starts_with("Error creating file: "));
    VQDReader reader;
    ASSERT_TRUE(reader.open(source));
    const std::vector<int> events{0};
    writer.copyAttributes(reader.readMetadata());
    writer.writeImages(reader, events); // nothing is open: nothing happens
    EXPECT_FALSE(writer.close());
}

} // namespace Tessaly
