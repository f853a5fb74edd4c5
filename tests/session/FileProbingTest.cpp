#include "session/FileProbing.h"

#include "core/DatasetEntry.h"
#include "io/VQDReader.h"
#include "session/DatasetOpening.h"
#include "support/SampleFile.h"
#include "support/TemporaryFolder.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QStringList>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

using namespace Tessaly;

namespace {

QStringList logLines;

void keepLine(QtMsgType, const QMessageLogContext&, const QString& message) {
    logLines.append(message);
}

class FileProbingTest : public testing::Test {
protected:
    FileProbingTest() {
        logLines.clear();
        qInstallMessageHandler(keepLine);
    }
    ~FileProbingTest() override { qInstallMessageHandler(nullptr); }

    /// A helper program that does what a line of the shell says.
    FileProbing helper(const std::string& line, std::chrono::milliseconds timeLimit = std::chrono::seconds(30)) {
        const std::string path = folder_.file("helper");
        std::ofstream(path) << "#!/bin/sh\n" << line << '\n';
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        return {QString::fromStdString(path), timeLimit};
    }
    QString file(const char* name) const { return QString::fromStdString(folder_.file(name)); }

    const TemporaryFolder folder_;
};

} // namespace

TEST_F(FileProbingTest, EndsOfTheHelperDecide) {
    struct Row {
        const char* line;
        int timeLimit;
        bool opens;
        const char* logged; ///< part of the only line in the log; null for none
    };
    const Row rows[]{{"exit 0", 30'000, true, nullptr},
                     {"exit 1", 30'000, true, nullptr}, // the reader refuses in its own words
                     {"exit 127", 30'000, true, "without a look before"},
                     {"kill -SEGV $$", 30'000, false, "Damaged: \"/data/some file.vqd\" the look into it crashed"},
                     {"exec sleep 100", 50, false, "took too long"}};
    for (const Row& row : rows) {
        logLines.clear();
        EXPECT_EQ(mayBeOpened("/data/some file.vqd", helper(row.line, std::chrono::milliseconds(row.timeLimit))),
                  row.opens)
            << row.line;
        ASSERT_EQ(logLines.size(), row.logged == nullptr ? 0 : 1) << row.line;
        EXPECT_TRUE(logLines.isEmpty() || logLines[0].contains(row.logged)) << logLines[0].toStdString();
    }
}

TEST_F(FileProbingTest, WithoutAHelperFilesAreOpened) {
    writeSampleFile(folder_.file("good.vqd"));
    DatasetEntry entry;
    EXPECT_EQ(openMeasurement(file("good.vqd"), entry, {file("no helper")}), OpenOutcome::Opened);
    ASSERT_EQ(logLines.size(), 1);
    EXPECT_TRUE(logLines[0].contains("without a look before")) << logLines[0].toStdString();
}

TEST_F(FileProbingTest, TheHelperIsAskedOnceWithTheWholePath) {
    const std::string name = "-a \"file\" of $HOME.vqd";
    writeSampleFile(folder_.file(name));
    const FileProbing probing = helper("echo \"$@\" >> '" + folder_.file("asked") + "'");
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder_.path()); // a path that looks like an option
    DatasetEntry entry;
    const OpenOutcome outcome = openMeasurement(QString::fromStdString(name), entry, probing);
    std::filesystem::current_path(before);
    EXPECT_EQ(outcome, OpenOutcome::Opened);
    std::ifstream asked(folder_.file("asked"));
    const std::string lines(std::istreambuf_iterator<char>(asked), {});
    EXPECT_EQ(lines, folder_.file(name) + "\n");
}

TEST_F(FileProbingTest, ARefusedFileIsNotOpenedHere) {
    writeSampleFile(folder_.file("good.vqd"));
    DatasetEntry entry;
    EXPECT_EQ(openMeasurement(file("good.vqd"), entry, helper("kill -SEGV $$")), OpenOutcome::Unreadable);
    EXPECT_EQ(entry.reader, nullptr);
}

/// Version 1.10 of the file library divides by a length of the chunk that isn't there when it opens a dataset.
TEST_F(FileProbingTest, AFileThatCrashesTheLibraryIsRefused) {
    SampleFileOptions options;
    options.events = 777;
    options.images = options.masks = options.traces = false;
    options.gzip = true;
    const std::string path = folder_.file("damaged.vqd");
    writeSampleFile(path, options);
    const std::string chunkOfDoubles("\x09\x03\0\0\x08\0\0\0", 8); // 777 numbers of 8 bytes
    std::fstream stream(path, std::ios::binary | std::ios::in | std::ios::out);
    const std::string bytes(std::istreambuf_iterator<char>(stream), {});
    const std::size_t at = bytes.find(chunkOfDoubles);
    ASSERT_NE(at, std::string::npos);
    stream.seekp(static_cast<std::streamoff>(at) - 9); // before them an address of 8 bytes and the number of lengths
    stream.put('\0');
    stream.close();

    QProcess probe;
    probe.start(QCoreApplication::applicationDirPath() + "/../bin/tessaly_probe", {QString::fromStdString(path)});
    ASSERT_TRUE(probe.waitForFinished());
    const bool crashes = probe.exitStatus() == QProcess::CrashExit; // later versions of the library survive
    const bool refused = crashes || probe.exitCode() != 0;
    DatasetEntry entry;
    EXPECT_EQ(openMeasurement(QString::fromStdString(path), entry),
              refused ? OpenOutcome::Unreadable : OpenOutcome::Opened);
    EXPECT_EQ(logLines.filter("crashed").size(), crashes ? 1 : 0) << logLines.join('\n').toStdString();
    EXPECT_EQ(logLines.size(), refused ? 1 : 0);
}

TEST_F(FileProbingTest, TheProbeTellsWhatCanBeOpened) {
    writeSampleFile(folder_.file("good.vqd"));
    SampleFileOptions foreign;
    foreign.instrument = false;
    writeSampleFile(folder_.file("foreign.vqd"), foreign);
    std::ofstream(folder_.file("text.vqd")) << "area_um\tdeform\n";
    const std::pair<QStringList, int> rows[]{{{file("good.vqd")}, 0},
                                             {{file("foreign.vqd")}, 0}, // the reader's affair
                                             {{file("text.vqd")}, 1},
                                             {{file("absent.vqd")}, 1},
                                             {{QString::fromStdString(folder_.path().string())}, 1},
                                             {{}, 2}};
    for (const auto& [arguments, code] : rows) {
        const int result =
            QProcess::execute(QCoreApplication::applicationDirPath() + "/../bin/tessaly_probe", arguments);
        EXPECT_EQ(result, code) << arguments.join(' ').toStdString();
    }
}
