// Columns whose data lie in other datasets or files, and the count of events beside columns that are refused.

#include "io/VQDReader.h"
#include "support/PlainFile.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <sys/stat.h>

namespace Tessaly {

namespace {

std::vector<double> ramp(std::size_t count, double first) {
    std::vector<double> values(count);
    std::iota(values.begin(), values.end(), first);
    return values;
}

class OutsideData : public testing::Test {
protected:
    OutsideData() {
        PlainFile other(folder_.file("other.vqd"));
        other.group("/events");
        other.column("part", H5T_NATIVE_DOUBLE, ramp(6, 0.0));
        const std::vector<double> raw = ramp(12, 100.0);
        std::ofstream(folder_.file("raw.bin"), std::ios::binary)
            .write(reinterpret_cast<const char*>(raw.data()),
                   static_cast<std::streamsize>(raw.size() * sizeof(double)));
        EXPECT_EQ(mkfifo(folder_.file("pipe").c_str(), 0600), 0);
        std::filesystem::create_directory(folder_.file("folder"));
    }

    struct Part {
        hsize_t length;
        std::string file, dataset;
    };
    /// A column made of parts of other datasets, each from its beginning.
    static void spread(PlainFile& file, const std::string& name, const std::vector<Part>& parts) {
        const hid_t list = PlainFile::checked(H5Pcreate(H5P_DATASET_CREATE));
        hsize_t total = 0;
        for (const Part& part : parts) {
            total += part.length;
        }
        const hid_t space = H5Screate_simple(1, &total, nullptr);
        hsize_t begin = 0;
        for (const Part& part : parts) {
            const hid_t source = H5Screate_simple(1, &part.length, nullptr);
            H5Sselect_hyperslab(space, H5S_SELECT_SET, &begin, nullptr, &part.length, nullptr);
            PlainFile::checked(H5Pset_virtual(list, space, part.file.c_str(), part.dataset.c_str(), source));
            H5Sclose(source);
            begin += part.length;
        }
        H5Sclose(space);
        file.dataset("/events/" + name, H5T_NATIVE_DOUBLE, {total}, nullptr, list);
        H5Pclose(list);
    }
    static void raw(PlainFile& file, const std::string& name, const std::string& target, off_t offset = 0) {
        const hid_t list = PlainFile::checked(H5Pcreate(H5P_DATASET_CREATE));
        PlainFile::checked(H5Pset_external(list, target.c_str(), offset, 80));
        file.dataset("/events/" + name, H5T_NATIVE_DOUBLE, {10}, nullptr, list);
        H5Pclose(list);
    }
    std::string open(bool expected = true) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(reader_.open(path_), expected);
        return testing::internal::GetCapturedStderr();
    }

    TemporaryFolder folder_;
    std::string path_ = folder_.file("file.vqd");
    VQDReader reader_;
};

} // namespace

TEST_F(OutsideData, RegularFilesAndTheFileItselfAreRead) {
    {
        PlainFile file(path_);
        file.group("/events");
        file.column("plain", H5T_NATIVE_DOUBLE, ramp(10, 50.0));
        spread(file, "a_first", {{6, "other.vqd", "/events/part"}, {4, ".", "/events/plain"}});
        spread(file, "absolute", {{6, folder_.file("other.vqd"), "/events/part"}});
        spread(file, "twice", {{6, ".", "/events/a_first"}});
        raw(file, "raw", "raw.bin", 16);
        raw(file, "raw_absolute", folder_.file("raw.bin"));
    }
    EXPECT_EQ(open(), "");
    EXPECT_EQ(reader_.eventCount(), 10U);
    EXPECT_EQ(reader_.getFeature("a_first"), (std::vector<double>{0, 1, 2, 3, 4, 5, 50, 51, 52, 53}));
    EXPECT_EQ(reader_.getFeature("absolute"), ramp(6, 0.0));
    EXPECT_EQ(reader_.getFeature("twice"), ramp(6, 0.0));
    EXPECT_EQ(reader_.getFeature("raw"), ramp(10, 102.0));
    EXPECT_EQ(reader_.getFeature("raw_absolute"), ramp(10, 100.0));
}

TEST_F(OutsideData, AnythingElseIsRefusedAndDoesNotCount) {
    {
        PlainFile nested(folder_.file("nested.vqd"));
        nested.group("/events");
        spread(nested, "piped", {{6, "pipe", "/events/part"}});
    }
    {
        PlainFile file(path_);
        file.group("/events");
        spread(file, "a_pipe", {{6, "pipe", "/events/part"}});
        spread(file, "b_folder", {{6, "folder", "/events/part"}});
        spread(file, "c_missing", {{6, "missing.vqd", "/events/part"}});
        spread(file, "d_no_dataset", {{6, "other.vqd", "/events/none"}});
        spread(file, "e_nested", {{6, "nested.vqd", "/events/piped"}});
        spread(file, "f_itself", {{6, ".", "/events/f_itself"}});
        spread(file, "h_no_file", {{6, "raw.bin", "/events/part"}});
        raw(file, "i_pipe", "pipe");
        raw(file, "j_folder", "folder");
        raw(file, "k_missing", "missing.bin");
        raw(file, "l_short", "raw.bin", 24); // 72 bytes are left
        raw(file, "m_behind", "raw.bin", 1000);
        file.column("n_plain", H5T_NATIVE_DOUBLE, ramp(7, 0.0));
        file.column("o_plain", H5T_NATIVE_DOUBLE, ramp(9, 0.0));
    }
    const std::string errors = open();
    EXPECT_EQ(errors.find("Error determining event count: "), 0U);
    EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 12) << errors;
    EXPECT_EQ(reader_.eventCount(), 7U);
    const std::vector<std::string> names = reader_.featureNames();
    ASSERT_EQ(names.size(), 14U);
    for (std::size_t i = 0; i < 12; ++i) {
        testing::internal::CaptureStderr();
        EXPECT_TRUE(reader_.getFeature(names[i]).empty()) << names[i];
        EXPECT_EQ(testing::internal::GetCapturedStderr().find("Error reading feature '" + names[i] + "': "), 0U);
    }
    EXPECT_EQ(reader_.getFeature("n_plain"), ramp(7, 0.0));
}

TEST_F(OutsideData, TheNextColumnCountsIfTheFirstCannotBeUnpacked) {
    {
        PlainFile file(path_);
        file.group("/events");
        const hid_t packed = PlainFile::chunked({100});
        H5Pset_deflate(packed, 1);
        file.dataset("/events/area_um", H5T_NATIVE_DOUBLE, {100}, nullptr, packed);
        file.chunk("/events/area_um", 0, std::vector<unsigned char>(40, 7));
        H5Pclose(packed);
        file.column("deform", H5T_NATIVE_FLOAT, std::vector<float>(12, 0.5F));
    }
    EXPECT_EQ(open().find("Error determining event count: 'area_um': "), 0U);
    EXPECT_EQ(reader_.eventCount(), 12U);
}

} // namespace Tessaly
