#include "io/TsvWriter.h"

#include "io/VQDReader.h"
#include "support/FileSizeLimit.h"
#include "support/PlainFile.h"
#include "support/SampleFile.h"
#include "support/TemporaryFolder.h"
#include "support/Tools.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <iostream>
#include <sstream>

namespace Tessaly {

namespace {

std::string contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

class Table : public testing::Test {
protected:
    TemporaryFolder folder_;
    const std::string source_ = folder_.file("source.vqd");
    const std::string target_ = folder_.file("table.tsv");
    VQDReader reader_;
};

} // namespace

TEST_F(Table, ReadByAnotherProgram) {
    SampleFileOptions options;
    options.events = 9000; // several batches
    options.images = options.masks = options.traces = false;
    options.columns["userdef3"] = std::vector<double>(9000, 1e-300);
    options.columns["userdef3"][4] = std::nan("");
    options.columns["userdef3"][5] = -HUGE_VAL;
    options.polygons["online_filter:area_um,deform polygon points"] = {1.0F, 0.5F, 2.0F, 0.25F};
    writeSampleFile(source_, options);
    ASSERT_TRUE(reader_.open(source_));
    std::vector<int> events{4, 5, 6};
    std::string listed = "4,5,6";
    for (int i = 10; i < 9000; i += 2) {
        events.push_back(i);
        listed.append(",").append(std::to_string(i));
    }
    int pauses = 0;
    const std::vector<std::string> features{"time", "userdef3", "deform"};
    ASSERT_TRUE(writeTsv(target_, reader_.readMetadata(), std::nullopt, features, events, reader_, [&] { ++pauses; }));
    EXPECT_GE(pauses, 2);
    EXPECT_EQ(script("check_exports.py", "table " + source_ + " " + target_ + " " + listed + " time,userdef3,deform"),
              "");
}

TEST_F(Table, LinesAsTheyStand) {
    {
        PlainFile file(source_);
        file.group("/events");
        file.column("area_um", H5T_NATIVE_DOUBLE, std::vector<double>{0.1, 2.5, 3});
        file.column("odd\tname", H5T_NATIVE_DOUBLE, std::vector<double>{7});
        const int count = 5;
        file.attribute("setup:two\nlines", H5T_NATIVE_INT, &count);
    }
    ASSERT_TRUE(reader_.open(source_));
    const std::vector<std::string> features{"odd\tname", "area_um"};
    const std::vector<int> events{0, 2};
    ASSERT_TRUE(writeTsv(target_, reader_.readMetadata(), "New\nname", features, events, reader_));
    EXPECT_EQ(contents(target_), "# Tessaly TSV Export\n# export:date = " + exportDate() +
                                     "\n# export:event count = 2\n# export:changed sample name = New name\n"
                                     "# setup:two lines = 5\n#\nodd name\tArea [µm²]\n"
                                     "7\t0.10000000000000001\n\t3\n");
    EXPECT_EQ(exportDate() + "\n", outputOf("date +%Y-%m-%d"));
}

TEST_F(Table, WhatFailsLeavesTheOldFile) {
    SampleFileOptions options;
    options.events = 5000;
    options.images = options.masks = options.traces = false;
    writeSampleFile(source_, options);
    ASSERT_TRUE(reader_.open(source_));
    const VQDMetadata metadata = reader_.readMetadata();
    const std::vector<std::string> features{"time", "deform"};
    std::vector<int> events(5000, 1);
    ASSERT_TRUE(writeTsv(target_, metadata, {}, features, events, reader_));
    const auto whole = static_cast<unsigned>(std::filesystem::file_size(target_));
    std::ofstream(target_) << "old";
    // Some 200,000 bytes, and a table so short that all of it waits for the end.
    for (const auto& [room, rows] :
         {std::pair(600U, 5000U), {5000U, 5000U}, {100'000U, 5000U}, {whole - 1, 5000U}, {100U, 5U}}) {
        testing::internal::CaptureStderr();
        bool written = true;
        {
            const FileSizeLimit limit(room);
            written = writeTsv(target_, metadata, {}, features, std::span(events).first(rows), reader_);
        }
        std::cerr.clear();
        EXPECT_TRUE(testing::internal::GetCapturedStderr().starts_with("Error writing table '")) << room;
        EXPECT_FALSE(written);
        EXPECT_EQ(contents(target_), "old");
    }
    EXPECT_FALSE(writeTsv(folder_.file("nowhere/table.tsv"), metadata, {}, features, events, reader_));
    reader_.close();
    {
        PlainFile file(source_);
        file.group("/events");
        const hid_t properties = PlainFile::chunked({5});
        H5Pset_deflate(properties, 4);
        file.dataset("/events/time", H5T_NATIVE_DOUBLE, {5}, nullptr, properties);
        H5Pclose(properties);
        file.chunk("/events/time", 0, {1, 2, 3});
    }
    ASSERT_TRUE(reader_.open(source_));
    EXPECT_FALSE(writeTsv(target_, metadata, {}, features, {}, reader_) &&
                 writeTsv(target_, metadata, {}, features, std::vector<int>{0}, reader_));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_.path()), {}), 2); // nothing else is left
}

} // namespace Tessaly
