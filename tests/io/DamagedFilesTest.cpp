// Damaged and hostile files: refused, or shown as far as they can be read, within bounded time and memory.

#include "io/VQDReader.h"
#include "support/PlainFile.h"
#include "support/SampleFile.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <random>
#include <string_view>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Tessaly {

namespace {

using Bytes = std::vector<char>;

Bytes readBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void writeBytes(const std::string& path, const Bytes& bytes) {
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

/// Everything that the program asks of a file.
void readEverything(const std::string& path) {
    VQDReader reader;
    if (!reader.open(path)) {
        return;
    }
    reader.readMetadata();
    reader.cacheAllFeatures();
    int width = 0;
    int height = 0;
    for (const std::size_t index : {std::size_t{0}, std::size_t{5}, std::size_t{1} << 40}) {
        reader.getImage(index, &width, &height);
        reader.getMask(index, &width, &height);
        for (const std::string& name : reader.traceNames()) {
            reader.getTrace(name, index);
        }
    }
}

enum class Fate { Survived, Crashed, Hung, TookTooMuchMemory };

/// Reads a file in a process of its own, since the file library itself doesn't survive every damage.
/// @param heapFiller  what fresh and freed memory is filled with, 0 to leave it
Fate fateOnHeap(int heapFiller, const std::string& path) {
    const pid_t child = fork();
    if (child == 0) {
        const rlimit noCoreFile{0, 0};
        setrlimit(RLIMIT_CORE, &noCoreFile);
        alarm(60);
        mallopt(M_PERTURB, heapFiller);
        freopen("/dev/null", "w", stderr);
        readEverything(path);
        _exit(0);
    }
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    if (WIFSIGNALED(status)) {
        return WTERMSIG(status) == SIGALRM ? Fate::Hung : Fate::Crashed;
    }
    if (WEXITSTATUS(status) != 0) {
        return Fate::Crashed;
    }
#ifdef __SANITIZE_THREAD__
    constexpr long overhead = 5; // of the sanitizer's own records
#else
    constexpr long overhead = 1;
#endif
    constexpr long kilobytes = overhead * 700L << 10; // the budget for small files and the program itself
    return usage.ru_maxrss > kilobytes ? Fate::TookTooMuchMemory : Fate::Survived;
}

Fate fateOf(const std::string& path) {
    // A clean heap hides the use of memory that was never filled.
    const Fate fate = fateOnHeap(165, path);
    // Filling counts what the library reserves and never touches; people's heaps don't.
    return fate == Fate::TookTooMuchMemory ? fateOnHeap(0, path) : fate;
}

class DamagedFiles : public testing::Test {
protected:
    /// A small file with everything in it.
    Bytes soundFile(bool gzip) {
        SampleFileOptions options;
        options.events = 40;
        options.imageWidth = 16;
        options.imageHeight = 8;
        options.traceSamples = 20;
        options.gzip = gzip;
        options.polygons["online_filter:area_um,deform polygon points"] = {1, 2, 3, 4, 5, 6};
        writeSampleFile(path_, options);
        return readBytes(path_);
    }
    Fate fateOfBytes(const Bytes& bytes) {
        writeBytes(path_, bytes);
        return fateOf(path_);
    }

    TemporaryFolder folder_;
    std::string path_ = folder_.file("damaged.vqd");
    VQDReader reader_;
};

} // namespace

TEST_F(DamagedFiles, WhatIsNoFileIsRefused) {
    std::string text = "area_um\tdeform\n";
    for (int i = 0; i < 1000; ++i) {
        text += "1.5\t0.1\n";
    }
    const std::vector<Bytes> contents{{}, Bytes(5000, '\0'), Bytes(text.begin(), text.end()), Bytes(1, '\x89')};
    for (const Bytes& bytes : contents) {
        writeBytes(path_, bytes);
        testing::internal::CaptureStderr();
        EXPECT_FALSE(reader_.open(path_));
        EXPECT_EQ(testing::internal::GetCapturedStderr().find("Error opening file: "), 0U);
    }
    EXPECT_FALSE(reader_.open(folder_.path().string()));
    const std::string pipe = folder_.file("pipe.vqd");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_FALSE(reader_.open(pipe)); // and doesn't wait for a writer
}

TEST_F(DamagedFiles, CutOffAnywhere) {
    for (const bool gzip : {false, true}) {
        const Bytes sound = soundFile(gzip);
        for (std::size_t i = 0; i < 40; ++i) {
            const auto length = static_cast<std::ptrdiff_t>(sound.size() * i / 40 + i % 3);
            writeBytes(path_, Bytes(sound.begin(), sound.begin() + length));
            testing::internal::CaptureStderr();
            EXPECT_FALSE(reader_.open(path_)) << length;
            testing::internal::GetCapturedStderr();
        }
    }
}

TEST_F(DamagedFiles, AFileThatBecomesShorterIsNotReadAsZeros) {
    for (const bool gzip : {false, true}) {
        const Bytes sound = soundFile(gzip);
        VQDReader reader;
        ASSERT_TRUE(reader.open(path_));
        int width = 0;
        int height = 0;
        EXPECT_FALSE(reader.getImage(0, &width, &height).empty());
        EXPECT_EQ(reader.column("area_um")->size(), 40U);
        // Only the last byte is gone: what was asked for may be whole or not, nobody can tell.
        std::filesystem::resize_file(path_, sound.size() - 1);
        EXPECT_TRUE(reader.getImage(39, &width, &height).empty()) << gzip;
        EXPECT_TRUE(reader.getTrace("fl1_median", 39).empty()) << gzip;
        const std::uint64_t before = reader.failedReadings();
        EXPECT_TRUE(reader.column("deform")->empty()) << gzip;
        EXPECT_EQ(reader.failedReadings(), before + 1) << gzip;
    }
}

TEST_F(DamagedFiles, ZeroedBlocks) {
    for (const bool gzip : {false, true}) {
        const Bytes sound = soundFile(gzip);
        for (std::size_t begin = 0; begin < sound.size(); begin += sound.size() / 50) {
            Bytes bytes = sound;
            std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(begin),
                        std::min<std::size_t>(512, bytes.size() - begin), '\0');
            EXPECT_EQ(fateOfBytes(bytes), Fate::Survived) << "from byte " << begin;
        }
    }
}

TEST_F(DamagedFiles, ListsOfLinksWithAWrongChecksum) {
    {
        PlainFile file(path_, true);
        file.group("/events");
        for (int i = 0; i < 30; ++i) {
            file.column("column" + std::to_string(i), H5T_NATIVE_DOUBLE, std::vector<double>{1, 2});
        }
    }
    const Bytes sound = readBytes(path_);
    const std::string_view text(sound.data(), sound.size());
    int damaged = 0;
    for (const std::string_view part : {"BTLF", "FHDB", "FRHP", "BTHD"}) { // leaves and heads of lists, heaps of names
        for (std::size_t at = text.find(part); at != std::string_view::npos; at = text.find(part, at + 1)) {
            Bytes bytes = sound;
            bytes[at + 8] ^= 1;
            EXPECT_EQ(fateOfBytes(bytes), Fate::Survived) << part << " at byte " << at;
            ++damaged;
        }
    }
    EXPECT_GE(damaged, 4);
}

/// Decoding attributes, the file library reads out of bounds on about one in 600 such files whatever is asked of it; it
/// crashes on one in 8000, with the address sanitizer on all of them. More would be ours.
TEST_F(DamagedFiles, RandomBytes) {
    std::mt19937 random(20240506);
    const std::array<Bytes, 2> sound{soundFile(false), soundFile(true)};
    int crashed = 0;
    for (std::size_t i = 0; i < 300; ++i) {
        Bytes bytes = sound[i % 2];
        for (std::size_t change = 0; change <= i % 5; ++change) {
            bytes[random() % bytes.size()] = static_cast<char>(random() % 256);
        }
        const Fate fate = fateOfBytes(bytes);
        EXPECT_TRUE(fate == Fate::Survived || fate == Fate::Crashed) << "file " << i << ": " << static_cast<int>(fate);
        crashed += fate == Fate::Crashed ? 1 : 0;
    }
    EXPECT_LE(crashed, 3);
}

TEST_F(DamagedFiles, DeclaredSizesWithoutDataAreNotAllocated) {
    constexpr hsize_t trillion = 1'000'000'000'000;
    {
        PlainFile file(path_);
        file.group("/events");
        file.group("/events/trace");
        const hid_t small = PlainFile::chunked({1024});
        file.dataset("/events/a_trillion", H5T_NATIVE_FLOAT, {trillion}, nullptr, small);
        file.dataset("/events/contiguous", H5T_NATIVE_DOUBLE, {trillion});
        file.dataset("/events/billion", H5T_NATIVE_UINT8, {1'000'000'000}, nullptr, small);
        file.dataset("/events/believable", H5T_NATIVE_UINT8, {5000}, nullptr, small);
        const hid_t single = PlainFile::chunked({1});
        file.dataset("/events/pieces", H5T_NATIVE_UINT8, {8'000'000}, nullptr, single);
        file.dataset("/events/unwritten", H5T_NATIVE_UINT8, {500'000}, nullptr, single);
        const hid_t large = PlainFile::chunked({900'000'000});
        file.dataset("/events/large_chunk", H5T_NATIVE_FLOAT, {1'000'000'000}, nullptr, large);
        const hid_t pictures = PlainFile::chunked({1, 1024, 1024});
        file.dataset("/events/image", H5T_NATIVE_UINT8, {10, 2'000'000'000, 2'000'000'000}, nullptr, pictures);
        file.dataset("/events/mask", H5T_NATIVE_UINT8, {10, 100'000, 100'000}, nullptr, pictures);
        const hid_t samples = PlainFile::chunked({1, 1024});
        file.dataset("/events/trace/fl1_raw", H5T_NATIVE_INT16, {10, trillion}, nullptr, samples);
        for (const hid_t list : {small, single, large, pictures, samples}) {
            H5Pclose(list);
        }
    }
    testing::internal::CaptureStderr();
    ASSERT_TRUE(reader_.open(path_));
    EXPECT_EQ(reader_.eventCount(), 5000U); // of the first column that may be believed
    EXPECT_EQ(testing::internal::GetCapturedStderr().find("Error determining event count: 'a_trillion': "), 0U);
    testing::internal::CaptureStderr();
    for (const std::string name : {"a_trillion", "contiguous", "billion", "pieces", "unwritten", "large_chunk"}) {
        EXPECT_TRUE(reader_.getFeature(name).empty()) << name;
    }
    int width = -1;
    EXPECT_TRUE(reader_.getImage(0, &width, &width).empty());
    EXPECT_TRUE(reader_.getMask(0, &width, &width).empty());
    EXPECT_EQ(width, -1);
    EXPECT_TRUE(reader_.getTrace("fl1_raw", 0).empty());
    const std::string errors = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 9) << errors;
    EXPECT_EQ(reader_.getFeature("believable"), std::vector<double>(5000, 0.0));
    EXPECT_EQ(fateOf(path_), Fate::Survived);
}

TEST_F(DamagedFiles, ManyUnwrittenColumnsStayWithinABudget) {
    {
        PlainFile file(path_);
        file.group("/events");
        for (int i = 0; i < 100; ++i) {
            file.dataset("/events/column" + std::to_string(i), H5T_NATIVE_UINT8, {4'000'000});
        }
    }
    EXPECT_EQ(fateOf(path_), Fate::Survived); // all of them would take 3.2 GB
}

TEST_F(DamagedFiles, EvenDataAreReadHoweverWellTheyCompress) {
    const std::vector<double> zeros(500'000, 0.0);
    {
        PlainFile file(path_);
        file.group("/events");
        const hid_t list = PlainFile::chunked({500'000});
        H5Pset_shuffle(list);
        H5Pset_deflate(list, 9);
        for (int i = 0; i < 80; ++i) {
            file.dataset("/events/column" + std::to_string(i), H5T_NATIVE_DOUBLE, {zeros.size()}, zeros.data(), list);
        }
        H5Pclose(list);
    }
    EXPECT_LT(std::filesystem::file_size(path_), 1'000'000U); // for 320 MB of columns
    ASSERT_TRUE(reader_.open(path_));
    for (int i = 0; i < 80; ++i) {
        ASSERT_EQ(reader_.getFeature("column" + std::to_string(i)).size(), zeros.size()) << i;
    }
}

/// Empty fluorescence channels look like that: a thousandth of their size in the file, an eighth of it in memory.
TEST_F(DamagedFiles, ConstantColumnsOfNarrowTypesAreReadInFull) {
    constexpr std::size_t manyEvents = 9'000'000;
    constexpr std::size_t events = 2'000'000;
    {
        PlainFile file(path_);
        file.group("/events");
        const hid_t list = PlainFile::chunked({500'000});
        H5Pset_shuffle(list);
        H5Pset_deflate(list, 9);
        const hid_t boolean = H5Tenum_create(H5T_NATIVE_INT8);
        for (const std::int8_t value : {std::int8_t{0}, std::int8_t{1}}) {
            H5Tenum_insert(boolean, value == 0 ? "FALSE" : "TRUE", &value);
        }
        const std::vector<std::int8_t> flags(manyEvents, 1);
        file.dataset("/events/a_flag", boolean, {manyEvents}, flags.data(), list);
        H5Tclose(boolean);
        const std::vector<float> zeros(events, 0.0F);
        for (int i = 0; i < 20; ++i) {
            file.dataset("/events/fl" + std::to_string(i), H5T_NATIVE_FLOAT, {events}, zeros.data(), list);
        }
        H5Pclose(list);
    }
    ASSERT_TRUE(reader_.open(path_));
    EXPECT_EQ(reader_.eventCount(), manyEvents);
    EXPECT_EQ(reader_.valueAt("a_flag", manyEvents - 1), 1.0);
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(reader_.getFeature("fl" + std::to_string(i)).size(), events) << i;
    }
}

TEST_F(DamagedFiles, ChunksOfAnotherLengthThanDeclaredAreRefused) {
    const std::vector<unsigned char> fortyBytes(40, 1);
    const std::vector<unsigned char> eightZeros{0x78, 0x9c, 0x63, 0x60, 0x80, 0, 0, 0, 8, 0, 1}; // packed by zlib
    {
        PlainFile file(path_);
        file.group("/events");
        const hid_t packed = PlainFile::chunked({100});
        const hid_t tiles = PlainFile::chunked({1, 8, 8});
        H5Pset_deflate(packed, 1);
        H5Pset_deflate(tiles, 1);
        file.dataset("/events/plain", H5T_NATIVE_DOUBLE, {100}, nullptr, packed);
        file.chunk("/events/plain", 0, fortyBytes, 1);
        file.dataset("/events/packed", H5T_NATIVE_DOUBLE, {100}, nullptr, packed);
        file.chunk("/events/packed", 0, eightZeros);
        file.dataset("/events/swapped", H5T_STD_I32BE, {100}, nullptr, packed);
        file.chunk("/events/swapped", 0, eightZeros);
        file.dataset("/events/behind_unwritten", H5T_NATIVE_DOUBLE, {200}, nullptr, packed);
        file.chunk("/events/behind_unwritten", 100, eightZeros);
        file.dataset("/events/image", H5T_NATIVE_UINT8, {3, 16, 16}, nullptr, tiles);
        file.chunk("/events/image", 2, eightZeros);
        H5Pset_fletcher32(packed);
        // The sums of the words 789c 6360 8000 0000 0800 0100, modulo 65535: 64fd, and d58e for the sums of sums.
        std::vector<unsigned char> checked = eightZeros;
        checked.insert(checked.end(), {0xfd, 0x64, 0x8e, 0xd5});
        file.dataset("/events/checked", H5T_NATIVE_DOUBLE, {100}, nullptr, packed);
        file.chunk("/events/checked", 0, checked);
        checked.back() = 0xd4;
        file.dataset("/events/wrong_sum", H5T_NATIVE_DOUBLE, {100}, nullptr, packed);
        file.chunk("/events/wrong_sum", 0, checked);
        for (const hid_t list : {packed, tiles}) {
            H5Pclose(list);
        }
    }
    ASSERT_TRUE(reader_.open(path_));
    testing::internal::CaptureStderr();
    for (const std::string name : {"plain", "packed", "swapped", "behind_unwritten", "checked", "wrong_sum"}) {
        EXPECT_TRUE(reader_.getFeature(name).empty()) << name;
    }
    int side = 0;
    EXPECT_EQ(reader_.getImage(1, &side, &side), std::vector<std::uint8_t>(256, 0)); // never written
    EXPECT_TRUE(reader_.getImage(2, &side, &side).empty());
    const std::string errors = testing::internal::GetCapturedStderr();
    EXPECT_NE(errors.find("feature 'plain': a chunk isn't of its declared length"), std::string::npos);
    // The right sum is believed, as the words of the failure tell.
    EXPECT_NE(errors.find("feature 'checked': a chunk can't be unpacked to its declared length"), std::string::npos);
    EXPECT_NE(errors.find("feature 'wrong_sum': the checksum of a chunk is wrong"), std::string::npos);
}

/// A filter that only this process knows while it writes.
TEST_F(DamagedFiles, MissingFilter) {
    constexpr H5Z_filter_t number = 300;
    const H5Z_class2_t identity{
        H5Z_CLASS_T_VERS,
        number,
        1,
        1,
        "identity",
        nullptr,
        nullptr,
        [](unsigned, std::size_t, const unsigned*, std::size_t bytes, std::size_t*, void**) { return bytes; }};
    ASSERT_GE(H5Zregister(&identity), 0);
    {
        PlainFile file(path_);
        file.group("/events");
        const hid_t list = PlainFile::chunked({2});
        PlainFile::checked(H5Pset_filter(list, number, H5Z_FLAG_MANDATORY, 0, nullptr));
        const std::vector<double> values{1, 2};
        file.dataset("/events/filtered", H5T_NATIVE_DOUBLE, {2}, values.data(), list);
        file.column("plain", H5T_NATIVE_DOUBLE, values);
        H5Pclose(list);
    }
    ASSERT_GE(H5Zunregister(number), 0);
    ASSERT_TRUE(reader_.open(path_));
    EXPECT_EQ(reader_.eventCount(), 2U);
    for (int attempt = 0; attempt < 2; ++attempt) { // a failure isn't cached
        testing::internal::CaptureStderr();
        EXPECT_TRUE(reader_.getFeature("filtered").empty());
        EXPECT_EQ(testing::internal::GetCapturedStderr().find("Error reading feature 'filtered': "), 0U);
    }
    EXPECT_EQ(reader_.getFeature("plain"), (std::vector<double>{1, 2}));
}

TEST_F(DamagedFiles, WrongRanksAndKinds) {
    {
        PlainFile file(path_);
        file.group("/events");
        file.group("/events/trace");
        const std::vector<std::uint8_t> bytes(24, 1);
        file.dataset("/events/image", H5T_NATIVE_UINT8, {4, 6}, bytes.data());
        const hid_t text = H5Tcopy(H5T_C_S1);
        H5Tset_size(text, H5T_VARIABLE);
        const std::vector<const char*> texts(8, "text");
        file.dataset("/events/mask", text, {2, 2, 2}, texts.data());
        file.dataset("/events/trace/fl1_raw", H5T_NATIVE_UINT8, {24}, bytes.data());
        file.dataset("/events/trace/fl2_raw", text, {4, 2}, texts.data());
        file.dataset("/events/trace/fl3_raw", H5T_NATIVE_UINT8, {4, 0});
        H5Tclose(text);
    }
    ASSERT_TRUE(reader_.open(path_));
    EXPECT_TRUE(reader_.hasImage() && reader_.hasMask() && reader_.hasTraces());
    EXPECT_EQ(reader_.eventCount(), 4U);
    int width = -1;
    testing::internal::CaptureStderr();
    EXPECT_TRUE(reader_.getImage(1, &width, &width).empty());
    EXPECT_TRUE(reader_.getMask(1, &width, &width).empty());
    for (const std::string name : {"fl1_raw", "fl2_raw", "fl3_raw"}) {
        EXPECT_TRUE(reader_.getTrace(name, 1).empty()) << name;
    }
    EXPECT_TRUE(reader_.getFeature("image").empty());
    EXPECT_TRUE(reader_.getFeature("").empty());
    EXPECT_TRUE(reader_.getFeature(".").empty());
    EXPECT_TRUE(reader_.getFeature("trace/fl1_raw").empty());
    EXPECT_EQ(testing::internal::GetCapturedStderr().find("Error reading image at index 1: "), 0U);
}

TEST_F(DamagedFiles, EventsMayBeADataset) {
    const double value = 1.0;
    PlainFile(path_).dataset("/events", H5T_NATIVE_DOUBLE, {1}, &value);
    testing::internal::CaptureStderr();
    EXPECT_TRUE(reader_.open(path_));
    EXPECT_EQ(testing::internal::GetCapturedStderr().find("Error caching features: "), 0U);
    EXPECT_TRUE(reader_.featureNames().empty());
}

TEST_F(DamagedFiles, ManyAttributesAndFeaturesAreQuick) {
    {
        PlainFile file(path_);
        file.group("/events");
        const double value = 1.0;
        for (int i = 0; i < 3000; ++i) {
            file.dataset("/events/c" + std::to_string(i), H5T_NATIVE_DOUBLE, {1}, &value);
            if (i < 1000) {
                file.attribute("setup:a" + std::to_string(i), H5T_NATIVE_DOUBLE, &value);
            }
        }
    }
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(reader_.open(path_));
    EXPECT_EQ(reader_.featureNames().size(), 3000U);
    EXPECT_EQ(reader_.readMetadata().setup.size(), 1000U);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

} // namespace Tessaly
