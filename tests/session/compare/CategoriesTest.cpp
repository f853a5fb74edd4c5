#include "session/compare/Categories.h"

#include "session/compare/CompareBuilder.h"

#include <gtest/gtest.h>

namespace Tessaly {
namespace {

CategoryEntry entryNamed(const QString& name, const std::string& sample = {}) {
    CategoryEntry entry;
    entry.name = name;
    entry.sampleName = sample;
    return entry;
}

TEST(Categories, DetectIds) {
    const struct {
        const char* name;
        const char* sample;
        bool detected;
        Ids expected;
    } rows[] = {
        {"s ID12 BR3", "", true, {12, 3, 0}},
        {"Sample ID1 BR2 TR1", "", true, {1, 2, 1}},
        {"id12", "", false, {0, 0, 0}},
        {"ID", "ID4 TR2", true, {4, 0, 2}},
        {"plain BR2", "x_ID7", true, {7, 0, 0}}, // the others come from where the ID was found
        {"ID5", "ID6 BR9", true, {5, 0, 0}},
        {"IDID ID ID3x ID4", "", true, {3, 0, 0}},
        {"BR1 TR2", "", false, {0, 0, 0}},
        {"ID0 BR1", "", true, {0, 1, 0}},
        {"ID007", "", true, {7, 0, 0}},
        {"ID99999999999 BR99999999999 TR2", "", false, {0, 0, 2}},
        {"ID2147483647", "", true, {2147483647, 0, 0}},
        {"ID\u0661", "", false, {0, 0, 0}}, // a digit, but not one of ours
        {"", "", false, {0, 0, 0}},
    };
    for (const auto& row : rows) {
        CategoryEntry entry = entryNamed(QString::fromUtf8(row.name), row.sample);
        EXPECT_EQ(detectIds(entry), row.detected) << row.name;
        EXPECT_EQ(entry.numberId, row.expected.number) << row.name;
        EXPECT_EQ(entry.bioRepId, row.expected.biological) << row.name;
        EXPECT_EQ(entry.techRepId, row.expected.technical) << row.name;
    }
    // What isn't found stays.
    CategoryEntry set = entryNamed("ID4");
    set.numberId = 1;
    set.bioRepId = 2;
    set.techRepId = 3;
    EXPECT_TRUE(detectIds(set));
    EXPECT_EQ(set.numberId, 4);
    EXPECT_EQ(set.bioRepId, 2);
    EXPECT_EQ(set.techRepId, 3);
}

TEST(Categories, DetectionMessages) {
    EXPECT_EQ(detectionMessage(3, 3), "");
    EXPECT_EQ(detectionMessage(0, 0), "");
    EXPECT_EQ(detectionMessage(5, 2), "Detected IDs in 2 of 5 datasets. Remaining datasets need manual assignment or "
                                      "names containing ID#.");
    EXPECT_EQ(detectionMessage(1, 0),
              "No IDs detected. Use the naming convention ID#, BR#, TR# in dataset names (e.g. \"Sample ID1 BR2 "
              "TR1\").\n\nID = subject/sample identifier\nBR = biological replicate (optional)\nTR = technical "
              "replicate (optional)");
}

TEST(Categories, TextsOfEntries) {
    CategoryEntry entry = entryNamed("a <b> & c");
    entry.numberId = 12;
    entry.bioRepId = 3;
    EXPECT_EQ(entryHtml(entry, false, true), "a &lt;b&gt; &amp; c");
    EXPECT_EQ(entryHtml(entry, true, false), "a &lt;b&gt; &amp; c  <span style=\"color:#3070b0\">[#12]</span>");
    EXPECT_EQ(entryHtml(entry, true, true), "a &lt;b&gt; &amp; c  <span style=\"color:#a0a0a0\">[#12.3.<b "
                                            "style=\"color:#c04040\">?</b>]</span>");
    EXPECT_EQ(entryText(entry, false, true), "a <b> & c");
    EXPECT_EQ(entryText(entry, true, false), "a <b> & c, ID 12");
    EXPECT_EQ(entryText(entry, true, true), "a <b> & c, ID 12, biological replicate 3, technical replicate not set");
    entry.techRepId = 1;
    EXPECT_EQ(entryHtml(entry, true, true), "a &lt;b&gt; &amp; c  <span style=\"color:#3070b0\">[#12.3.1]</span>");
    EXPECT_EQ(entryHtml(entryNamed("x"), true, false),
              "x  <span style=\"color:#a0a0a0\">[#<b style=\"color:#c04040\">?</b>]</span>");
    EXPECT_EQ(datasetCountText(0), "0 datasets");
    EXPECT_EQ(categoryColor(0), "#4682b4");
    EXPECT_EQ(categoryColor(11), "#8c564b");
}

TEST(Categories, PairedIds) {
    const struct {
        const char* what;
        std::vector<std::vector<int>> ids;
        bool paired;
        std::size_t matched;
    } rows[] = {
        {"none", {}, false, 0},
        {"one category", {{1, 2}}, false, 2},
        {"an empty one", {{1}, {}}, false, 1},
        {"both empty", {{}, {}}, false, 0},
        {"same", {{1, 2, 3}, {3, 1, 2}}, true, 3},
        {"replicates", {{1, 1, 2}, {2, 1}}, true, 2},
        {"one more", {{1, 2}, {1, 2, 3}}, false, 2},
        {"others", {{1, 2}, {1, 3}}, false, 2},
        {"without", {{1, 0}, {1, 0}}, false, 1},
        {"three", {{4}, {4}, {4}}, true, 1},
        {"last differs", {{4}, {4}, {5}}, false, 1},
        {"one has none", {{0, 0}, {1, 2}}, false, 2},
    };
    for (const auto& row : rows) {
        CompareBuilder builder;
        for (const std::vector<int>& numbers : row.ids) {
            std::vector<Ids> ids;
            for (const int number : numbers) {
                ids.push_back({number});
            }
            builder.add("x", std::vector<double>(ids.size()), ids);
        }
        EXPECT_EQ(idsArePaired(builder.comparison.categories), row.paired) << row.what;
        EXPECT_EQ(matchedCount(builder.comparison.categories), row.matched) << row.what;
    }
}

} // namespace
} // namespace Tessaly
