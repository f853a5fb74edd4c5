#include "session/DatasetOpening.h"

#include "core/DatasetEntry.h"
#include "io/VQDReader.h"
#include "support/SampleFile.h"
#include "support/TemporaryFolder.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

using namespace Tessaly;

namespace {

void touch(const QString& path) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
}

TEST(DatasetOpeningTest, PathOrderGoesFolderByFolder) {
    // In order; every pair of them is compared. As plain text, "/a/b-1/a.vqd" would come before "/a/b/c.vqd".
    const QStringList ordered{"/a/b/c.vqd", "/a/B/d/a.vqd", "//A//b/D.vqd", "/a/b-1/a.vqd", "/a/b.vqd", "/b", "/b/a"};
    for (qsizetype i = 0; i < ordered.size(); ++i) {
        for (qsizetype j = 0; j < ordered.size(); ++j) {
            EXPECT_EQ(pathComesBefore(ordered[i], ordered[j]), i < j)
                << ordered[i].toStdString() << " and " << ordered[j].toStdString();
        }
    }
    EXPECT_FALSE(pathComesBefore("/a/B.vqd", "/A/b.vqd") || pathComesBefore("/A/b.vqd", "/a/B.vqd"));
}

TEST(DatasetOpeningTest, DroppedFoldersAreSearchedAndOtherFilesPassedOver) {
    const TemporaryFolder folder;
    const QString root = QString::fromStdString(folder.path().string());
    for (const char* name : {"/drop/z.vqd", "/drop/run 2/a.vqd", "/drop/run 2/deep/b.vqd", "/drop/run 10/c.vqd",
                             "/drop/notes.txt", "/drop/run 10/c.vqd.bak", "/LOUD.VQD", "/text.txt"}) {
        touch(root + name);
    }
    std::filesystem::create_directory_symlink(folder.path() / "drop", folder.path() / "drop" / "run 2" / "loop");

    const QList<QUrl> urls{QUrl::fromLocalFile(root + "/text.txt"), QUrl::fromLocalFile(root + "/LOUD.VQD"),
                           QUrl::fromLocalFile(root + "/drop"), QUrl("https://example.org/x.vqd")};
    const QStringList expected{root + "/drop/run 10/c.vqd", root + "/drop/run 2/a.vqd", root + "/drop/run 2/deep/b.vqd",
                               root + "/drop/z.vqd", root + "/LOUD.VQD"};
    EXPECT_EQ(collectMeasurementFiles(urls), expected);
    EXPECT_TRUE(collectMeasurementFiles({urls[0], urls[3]}).isEmpty());
}

TEST(DatasetOpeningTest, OutcomesAndWhatTheEntryHolds) {
    const TemporaryFolder folder;
    SampleFileOptions options;
    options.events = 5;
    options.sample = "Blood µ";
    writeSampleFile(folder.file("good.vqd"), options);
    options.instrument = false;
    writeSampleFile(folder.file("foreign.vqd"), options);
    touch(QString::fromStdString(folder.file("empty.vqd")));

    DatasetEntry entry;
    const auto open = [&](const char* name) {
        return openMeasurement(QString::fromStdString(folder.file(name)), entry);
    };
    EXPECT_EQ(open("absent.vqd"), OpenOutcome::Unreadable);
    EXPECT_EQ(open("empty.vqd"), OpenOutcome::Unreadable);
    EXPECT_EQ(open("foreign.vqd"), OpenOutcome::Unsupported);
    EXPECT_EQ(entry.reader, nullptr);
    EXPECT_EQ(entry.filePath, "");
    ASSERT_EQ(open("good.vqd"), OpenOutcome::Opened);
    EXPECT_EQ(entry.reader->eventCount(), 5U);
    EXPECT_EQ(entry.filePath, folder.file("good.vqd"));
    EXPECT_EQ(entry.displayName, QStringLiteral("Blood µ"));
    EXPECT_EQ(entry.metadata.setup.at("chip region"), "channel");
}

TEST(DatasetOpeningTest, NamesFallBackFromExportToSampleToFile) {
    VQDMetadata metadata;
    const QString path = "/data/M001.part.vqd";
    EXPECT_EQ(initialDisplayName(metadata, path), "M001.part.vqd");
    metadata.experiment["sample"] = "Sample";
    EXPECT_EQ(initialDisplayName(metadata, path), "Sample");
    metadata.exportSection["changed sample name"] = "Changed";
    EXPECT_EQ(initialDisplayName(metadata, path), "Changed");
    EXPECT_EQ(fallbackDisplayName(metadata, path), "Sample");
}

} // namespace
