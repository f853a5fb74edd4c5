#include "session/export/ExportRun.h"

#include "session/SessionBuilder.h"
#include "support/FileSizeLimit.h"

#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <iostream>

namespace Tessaly {

namespace {

using Kind = UserMessage::Kind;

QStringList linesOf(const QString& path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return QString::fromUtf8(file.readAll()).split('\n');
}

class Export : public testing::Test {
protected:
    /// A dataset over a file of the given options, which lies in the target folder.
    DatasetEntry& add(const std::string& fileName, const SampleFileOptions& options) {
        auto entry = session_.newEntry();
        entry->filePath = folder_.file(fileName);
        writeSampleFile(entry->filePath, options);
        entry->reader = std::make_shared<VQDReader>();
        EXPECT_TRUE(entry->reader->open(entry->filePath));
        entry->metadata = entry->reader->readMetadata();
        entry->displayName = "Sample";
        entry->featuresLoaded = true;
        DatasetEntry& added = session_.append(std::move(entry));
        session_.setActive(added.id);
        return added;
    }

    static SampleFileOptions small() {
        SampleFileOptions options;
        options.events = 6;
        options.defaultColumns = false;
        options.columns = {{"area_um", {1, 2, 3, 4, 5, 6}}, {"deform", {6, 5, 4, 3, 2, 1}}};
        return options;
    }

    QString file(const char* name) const { return QString::fromStdString(folder_.file(name)); }
    ExportResult run(const DatasetEntry& dataset) { return exportDataset(session_, dataset, config_); }

    TemporaryFolder folder_;
    Session session_;
    ExportConfig config_;
};

} // namespace

TEST_F(Export, NamesOfFiles) {
    const struct {
        const char* source;
        const char* measurement;
        const char* table;
        const char* video;
    } cases[] = {{"a.vqd", "TSYexport_a.vqd", "TSYexport_a.tsv", "TSYexport_a.avi"},
                 {"b.c.VQD", "TSYexport_b.c.VQD", "TSYexport_b.c.tsv", "TSYexport_b.c.avi"},
                 {"d.h5", "TSYexport_d.h5", "TSYexport_d.h5.tsv", "TSYexport_d.h5.avi"},
                 {"plain", "TSYexport_plain", "TSYexport_plain.tsv", "TSYexport_plain.avi"}};
    for (const auto& one : cases) {
        DatasetEntry dataset;
        dataset.filePath = folder_.file(one.source);
        ExportConfig config;
        EXPECT_EQ(exportPath(dataset, config), file(one.measurement));
        config.tsv = true;
        EXPECT_EQ(exportPath(dataset, config), file(one.table));
        config.tsv = false;
        config.avi = true;
        EXPECT_EQ(exportPath(dataset, config), file(one.video));
        config.customDirectory = true;
        config.directory = "/elsewhere";
        EXPECT_EQ(exportPath(dataset, config), QString("/elsewhere/") + one.video);
    }
    DatasetEntry dataset;
    dataset.filePath = folder_.file("a.b%2.vqd"); // what looks like a place for a number isn't one
    for (const char* expected : {"TSYexport_a.b%2.vqd", "TSYexport_a.b%2_2.vqd", "TSYexport_a.b%2_3.vqd"}) {
        const QString path = exportPath(dataset, {});
        EXPECT_EQ(path, file(expected));
        QFile(path).open(QIODevice::WriteOnly);
    }
    dataset.filePath = folder_.file("plain");
    QFile::link(folder_.file("nowhere").c_str(), file("TSYexport_plain")); // leads nowhere, but is there
    EXPECT_EQ(exportPath(dataset, {}), file("TSYexport_plain_2"));
}

TEST_F(Export, EventsFeaturesAndChosenParts) {
    DatasetEntry& dataset = add("a.vqd", small());
    dataset.filter.addRule(rangeRule("area_um", 2, 4));
    config_.features = {"deform", "nothing", "image", "area_um"};
    config_.masks = config_.traces = true;
    const ExportResult result = run(dataset);
    EXPECT_TRUE(result.written);
    EXPECT_EQ(result.message, std::nullopt);
    EXPECT_EQ(result.path, file("TSYexport_a.vqd"));
    VQDReader reader;
    ASSERT_TRUE(reader.open(result.path.toStdString()));
    EXPECT_EQ(reader.getFeature("deform"), (std::vector<double>{5, 4, 3}));
    EXPECT_EQ(reader.featureNames(), (std::vector<std::string>{"area_um", "deform", "mask"}));
    EXPECT_TRUE(reader.hasTraces());
    VQDMetadata metadata = reader.readMetadata();
    EXPECT_EQ(metadata.offline_filter.at("area_um min"), "2.000000");
    EXPECT_EQ(metadata.exportSection.at("event count"), "3");
    EXPECT_FALSE(metadata.exportSection.contains("changed sample name"));

    dataset.filter.setEnabled(false); // all events, and no word of the filter
    dataset.displayName = "Grün";
    config_ = {};
    config_.images = true;
    ASSERT_TRUE(run(dataset).written);
    ASSERT_TRUE(reader.open(file("TSYexport_a_2.vqd").toStdString()));
    EXPECT_EQ(reader.featureNames(), (std::vector<std::string>{"image"}));
    EXPECT_EQ(reader.eventCount(), 6U);
    EXPECT_FALSE(reader.hasTraces());
    metadata = reader.readMetadata();
    EXPECT_EQ(metadata.exportSection.at("changed sample name"), "Grün");
    EXPECT_TRUE(metadata.offline_filter.empty());
}

TEST_F(Export, TablesTellChangedNames) {
    DatasetEntry& dataset = add("a.vqd", small());
    config_.tsv = true;
    config_.features = {"area_um"};
    dataset.filter.addRule(rangeRule("deform", 6, 6));
    ASSERT_TRUE(run(dataset).written);
    const QStringList plain = linesOf(file("TSYexport_a.tsv"));
    EXPECT_TRUE(plain.filter("changed sample name").isEmpty());
    EXPECT_EQ(plain.mid(plain.size() - 3), (QStringList{"Area [µm²]", "1", ""}));
    dataset.displayName = "Other";
    ASSERT_TRUE(run(dataset).written);
    EXPECT_EQ(linesOf(file("TSYexport_a_2.tsv")).value(3), "# export:changed sample name = Other");
}

TEST_F(Export, WhatTheUserIsTold) {
    DatasetEntry& dataset = add("a.vqd", small());
    const auto expectTold = [&](Kind kind, const char* title, const QString& text) {
        const ExportResult result = run(dataset);
        EXPECT_FALSE(result.written);
        EXPECT_EQ(result.message, (UserMessage{kind, title, text}));
    };
    dataset.filter.addRule(rangeRule("area_um", 100, 200));
    expectTold(Kind::Warning, "Export", "No events pass the filter for: Sample");
    EXPECT_FALSE(QFileInfo::exists(file("TSYexport_a.vqd")));
    dataset.filter.clearRules();

    config_.customDirectory = true;
    config_.directory = file("missing");
    expectTold(Kind::Critical, "Export Error", "Failed to create: " + file("missing/TSYexport_a.vqd"));
    config_.tsv = true;
    expectTold(Kind::Critical, "Export Error", "Failed to create: " + file("missing/TSYexport_a.tsv"));
    config_.tsv = false;
    config_.avi = true;
    expectTold(Kind::Critical, "Export Error", "Failed to create video file: " + file("missing/TSYexport_a.avi"));
    config_.customDirectory = false;
    EXPECT_TRUE(run(dataset).written);

    SampleFileOptions options = small();
    options.images = false;
    DatasetEntry& without = add("b.vqd", options);
    EXPECT_EQ(run(without).message, (UserMessage{Kind::Warning, "Export", "No images available in: Sample"}));
    dataset.reader->close();
    const ExportResult nothing = run(dataset);
    EXPECT_FALSE(nothing.written || nothing.message);
}

TEST_F(Export, AFullDiskIsTold) {
    SampleFileOptions options = small();
    options.events = 200;
    options.columns = sampleColumns(200, 1);
    DatasetEntry& dataset = add("a.vqd", options);
    config_.images = true;
    config_.features = {"area_um", "deform", "time"};
    for (const char* ending : {"vqd", "tsv", "avi"}) {
        config_.tsv = ending == std::string("tsv");
        config_.avi = ending == std::string("avi");
        ExportResult result;
        testing::internal::CaptureStderr();
        {
            const FileSizeLimit limit(6000);
            result = run(dataset);
        }
        std::cerr.clear();
        testing::internal::GetCapturedStderr();
        const QString path = file("TSYexport_a.") + ending;
        EXPECT_EQ(result.message, (UserMessage{Kind::Critical, "Export Error",
                                               (config_.tsv ? "Failed to create: " : "Failed to write: ") + path}));
        EXPECT_FALSE(QFileInfo::exists(path));
    }
}

TEST_F(Export, AFilterWhoseColumnCantBeReadExportsNothing) {
    DatasetEntry& dataset = add("a.vqd", small());
    dataset.reader->close();
    writeUnreadableColumn(dataset.filePath);
    ASSERT_TRUE(dataset.reader->open(dataset.filePath));
    dataset.filter.addRule(rangeRule("deform", 0, 1));
    config_.features = {"area_um"};
    EXPECT_EQ(run(dataset).message,
              (UserMessage{Kind::Critical, "Export Error", "Failed to write: " + file("TSYexport_a.vqd")}));
}

TEST_F(Export, ABatchGoesOn) {
    add("a.vqd", small()).displayName = "first";
    add("b.vqd", small()).filter.addRule(rangeRule("area_um", 100, 200));
    const int third = add("c.vqd", small()).id;
    add("d.vqd", small()).displayName = "last";
    config_.features = {"area_um"};
    config_.allDatasets = true;
    ExportRun run(session_, config_);
    EXPECT_EQ(run.count(), 4);
    EXPECT_EQ(run.label(), "Exporting first (1/4)");
    int pauses = 0;
    EXPECT_TRUE(run.next([&] {
                       // While it is painted, other things happen.
                       if (++pauses == 1) {
                           session_.remove(third);
                           session_.remove(session_.datasetAt(0)->id);
                       }
                   })
                    .written);
    EXPECT_GT(pauses, 0);
    EXPECT_EQ(run.next().message, (UserMessage{Kind::Warning, "Export", "No events pass the filter for: Sample"}));
    EXPECT_FALSE(run.next().message);
    EXPECT_EQ(run.label(), "Exporting last (4/4)");
    EXPECT_FALSE(run.isFinished());
    EXPECT_TRUE(run.next().written);
    EXPECT_TRUE(run.isFinished());
    EXPECT_FALSE(run.next().written);
    EXPECT_EQ(run.index(), 4);
    EXPECT_EQ(run.closing(), (UserMessage{Kind::Warning, "Export", "Exported 2 of 4 dataset(s)."}));
}

TEST_F(Export, ClosingBoxes) {
    EXPECT_EQ(ExportRun::refusal(session_),
              (UserMessage{Kind::Warning, "Export", "No loaded dataset available for export."}));
    add("a.vqd", small()).featuresLoaded = false;
    EXPECT_TRUE(ExportRun::refusal(session_));
    session_.active()->featuresLoaded = true;
    EXPECT_FALSE(ExportRun::refusal(session_));
    ExportRun one(session_, config_);
    EXPECT_EQ(one.closing(), std::nullopt);
    EXPECT_TRUE(one.next().written);
    EXPECT_EQ(one.closing(), (UserMessage{Kind::Information, "Export", "Dataset exported successfully."}));
    add("b.vqd", small());
    config_.allDatasets = true;
    ExportRun all(session_, config_);
    while (!all.isFinished()) {
        all.next();
    }
    EXPECT_EQ(all.closing(), (UserMessage{Kind::Information, "Export", "Exported 2 dataset(s) successfully."}));
    EXPECT_EQ(featuresOfAll(session_.datasets()), (std::vector<std::string>{"area_um", "deform"}));
}

} // namespace Tessaly
