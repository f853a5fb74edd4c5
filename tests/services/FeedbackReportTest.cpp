#include "services/FeedbackReport.h"

#include "core/DatasetEntry.h"
#include "io/VQDReader.h"
#include "services/PrivateTexts.h"
#include "services/UploadKey.h"
#include "support/FilterRules.h"
#include "support/SampleFile.h"
#include "support/TemporaryFolder.h"

#include <QDateTime>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <array>

namespace Tessaly {
namespace {

using Datasets = std::vector<std::unique_ptr<DatasetEntry>>;

TEST(FeedbackReport, TheSummaryTellsCountsSettingsRulesAndCalculations) {
    const TemporaryFolder folder;
    SampleFileOptions options;
    options.events = 7;
    writeSampleFile(folder.file("a.vqd"), options);
    Datasets datasets;
    datasets.push_back(std::make_unique<DatasetEntry>());
    datasets.push_back(std::make_unique<DatasetEntry>());
    DatasetEntry& first = *datasets[0];
    first.reader = std::make_shared<VQDReader>();
    ASSERT_TRUE(first.reader->open(folder.file("a.vqd")));
    first.featuresLoaded = true;
    first.metadata.experiment = {{"sample", "HeLa"}, {"run index", "3"}};
    first.metadata.setup = {{"medium", "100% water"}, {"sample", "stays"}};
    first.metadata.online_filter = {{"target event count", "5"}};
    first.metadata.offline_filter = {{"x", "y"}}; // not told
    first.metadata.exportSection = {{"changed sample name", "HeLa 2"}, {"software", "Tessaly"}};
    FilterRule polygon = rangeRule("area_um", 0, 0);
    polygon.type = FilterRule::Polygon;
    polygon.featureNameY = "deform";
    polygon.polygonVertices = {{0, 0}, {1, 0}, {1, 1}};
    FilterRule range = rangeRule("bright%2", 10.5, 2000000);
    range.inverted = true;
    first.filter.addRule(polygon);
    first.filter.addRule(range);
    first.filter.setEnabled(false);
    first.flRefinementApplied = first.ctcApplied = first.emodApplied = first.fourierApplied = true;
    datasets[1]->emodApplied = true;
    datasets[1]->metadata.experiment = {{"sample", "HeLa"}};

    EXPECT_EQ(sessionSummary(datasets, true).toStdString(), R"(Datasets: 2
Global filter: active

--- Dataset 1 ---
Events: 7
Loaded: yes
[experiment]
  run index: 3
[setup]
  medium: 100% water
  sample: stays
[online_filter]
  target event count: 5
[export]
  software: Tessaly
Filter rules (2, enabled=no):
  polygon area_um/deform (3 verts)
  range bright%2 [10.5, 2e+06] [inverted]
Calculations: fl-refinement, crosstalk-compensation, emodulus, fourier-deformation

--- Dataset 2 ---
Loaded: no
[experiment]
Calculations: emodulus
)");
    EXPECT_EQ(sessionSummary({}, false), "Datasets: 0\n");
}

TEST(FeedbackReport, HasTheSectionsThatHaveContents) {
    const QDateTime before = QDateTime::currentDateTimeUtc().addSecs(-1);
    QString text = QString::fromUtf8(feedbackReport({"3.1.93", "", "", "", "", ""}));
    const QRegularExpression head("^=== Tessaly Feedback Report ===\nVersion: 3\\.1\\.93\nTimestamp: (\\S+Z)\n"
                                  "OS: .+\nArch: \\w+\n\n");
    const QRegularExpressionMatch match = head.match(text);
    ASSERT_TRUE(match.hasMatch()) << text.toStdString();
    const QDateTime stamp = QDateTime::fromString(match.captured(1), Qt::ISODate);
    EXPECT_TRUE(stamp >= before && stamp <= QDateTime::currentDateTimeUtc());
    EXPECT_EQ(text.mid(match.capturedEnd()),
              "=== Session ===\n(no datasets loaded)\n\n\n=== Log ===\n(log is empty)\n");

    text = QString::fromUtf8(feedbackReport({"3.1.93", "Datasets: 0\n", "Oops", "it\nbroke", "mü", "line\n"}));
    EXPECT_EQ(text.mid(head.match(text).capturedEnd()),
              "=== Error ===\nTitle: Oops\nMessage: it\nbroke\n\n=== User Comment ===\nmü\n\n"
              "=== Session ===\nDatasets: 0\n\n\n=== Log ===\nline\n");
    text = QString::fromUtf8(feedbackReport({"3.1.93", "", "", "only this", "", ""}));
    EXPECT_TRUE(text.contains("=== Error ===\nTitle: \nMessage: only this\n\n=== Session ==="));
}

TEST(PrivateTexts, KnownPathsAndNamesAreHiddenTheLongestFirst) {
    PrivateTexts texts;
    texts.addPath("/data/my runs/donor 1.vqd");
    texts.addPath("/data/my runs");
    texts.addPath("C:\\Users\\x y\\a \"b\".vqd");
    texts.addName("HeLa");
    texts.addName("HeLa day 2");
    texts.addName("path");
    texts.addName("50%");
    texts.addName("  "); // says nothing, and blanks stand everywhere
    texts.addPath("");
    const struct {
        const char* text;
        const char* expected;
    } cases[] = {
        {"Failed to open \"/data/my runs/donor 1.vqd\"", "Failed to open \"<path>\""},
        {"see /data/my runs for more", "see <path> for more"},
        {"the file donor 1.vqd is damaged", "the file <path> is damaged"},
        {"of HeLa day 2, of HeLa.", "of <name>, of <name>."},
        {"HeLaX and xHeLa stay", "HeLaX and xHeLa stay"}, // other words
        {"a 50% share", "a <name> share"},
        {"bad path", "bad <name>"},
        {"a  b", "a  b"},
        {R"(open "C:\\Users\\x y\\a \"b\".vqd" failed)", "open \"<path>\" failed"},
        {R"(open C:\Users\x y\a "b".vqd failed)", "open <path> failed"},
        {"two\n/data/my runs\nlines", "two\n<path>\nlines"},
        {"", ""},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(texts.hidden(row.text).toStdString(), row.expected) << row.text;
    }
}

TEST(PrivateTexts, PathsThatNobodyToldOfAreHiddenWithTheirBlanks) {
    PrivateTexts texts;
    texts.addPath("/data/known");
    const struct {
        const char* text;
        const char* expected;
    } cases[] = {
        {R"(Damaged: "/home/a b/SECRET one.vqd" "no superblock")", R"(Damaged: "<path>" "no superblock")"},
        {"Error writing table '/home/a b/SECRET one': no room", "Error writing table '<path>': no room"},
        {"cannot read /home/a b/SECRET one.VQD", "cannot read <path>"},
        {"cannot read /home/a b/SECRET: no such file", "cannot read <path> no such file"},
        {"opening:/home/SECRET", "opening:<path>"},
        {"~/SECRET is gone", "<path> is gone"},
        {"../SECRET/x is gone", "<path> is gone"},
        {"file:///home/SECRET/a.vqd", "<path>"},
        {"D:\\SECRET\\a b.tsv: full", "<path>: full"},
        {"\\\\server\\SECRET x\\b", "<path>"},
        {"/data/known/SECRET too.vqd", "<path>"},
        {"/data/known-SECRET", "<path>"},
        // No paths
        {"12 events/s at 1/2 <b>speed</b> and/or less", "12 events/s at 1/2 <b>speed</b> and/or less"},
        {"see https://www.example.org/help for more", "see https://www.example.org/help for more"},
        {"2026-11-21T12:00:00Z [WARN ] a: b. c", "2026-11-21T12:00:00Z [WARN ] a: b. c"},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(texts.hidden(row.text).toStdString(), row.expected) << row.text;
    }
}

TEST(UploadKey, IsPutTogetherFromTheTableThatTheBuildWrites) {
    // Written by cmake/UploadKey.cmake for this key while the tests are configured.
    constexpr auto Table = std::to_array<std::uint8_t>({
#include "TestKeyTable.inc"
    });
    const QByteArray key = "0123456789-abcdefghijklmnopqrstuvwxyz_ABCDE";
    EXPECT_EQ(unscrambledKey(Table), key);
    // The table doesn't hold the key as text, not even three characters of it.
    const QByteArray stored(reinterpret_cast<const char*>(Table.data()), static_cast<qsizetype>(Table.size()));
    for (qsizetype i = 0; i + 3 <= key.size(); ++i) {
        EXPECT_FALSE(stored.contains(key.mid(i, 3))) << i;
    }
    EXPECT_EQ(unscrambledKey(std::to_array<std::uint8_t>({0, 0})), "");
}

} // namespace
} // namespace Tessaly
