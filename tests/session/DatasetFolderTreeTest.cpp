#include "session/DatasetFolderTree.h"

#include <gtest/gtest.h>

#include <string>

using namespace Tessaly;

namespace {

/// "name{children}" for a folder, the row for a dataset, parted by blanks.
std::string asText(const std::vector<DatasetFolderNode>& nodes) {
    std::string text;
    for (const DatasetFolderNode& node : nodes) {
        text += text.empty() ? "" : " ";
        text += node.datasetIndex >= 0 ? std::to_string(node.datasetIndex)
                                       : node.label.toStdString() + "{" + asText(node.children) + "}";
    }
    return text;
}

TEST(DatasetFolderTreeTest, ShowsTheDeepestLevelsOfEachBranch) {
    struct Case {
        QStringList paths;
        int depth;
        std::string expected;
    };
    const QStringList siblings{"/a/b/c/1.vqd", "/a/b/d/2.vqd"};
    const QStringList nested{"/a/b/1.vqd", "/a/b/c/2.vqd", "/a/b/3.vqd"};
    const QStringList mixed{"/x/p/q/r/1.vqd", "/x/s/2.vqd", "rel/3.vqd", "", "/root.vqd", "/x/p/q/6.vqd"};
    const std::vector<Case> cases{
        {{}, 2, ""},
        {siblings, 1, "c{0} d{1}"},
        {siblings, 2, "b{c{0} d{1}}"},
        {nested, 1, "0 c{1} 2"},
        {nested, 2, "b{0 c{1} 2}"},
        {{"/a/x/1.vqd", "/b/x/2.vqd"}, 1, "x{0} x{1}"},
        {{"/a/x/1.vqd", "/b/x/2.vqd", "/a/x/3.vqd"}, 2, "a{x{0 2}} b{x{1}}"},
        // /x/s is the deepest folder of its own branch, though /x reaches further down elsewhere.
        {mixed, 1, "r{0} s{1} 2 3 4 5"},
        {mixed, 2, "q{r{0} 5} s{1} 2 3 4"},
        {mixed, 4, "x{p{q{r{0} 5}} s{1}} 2 3 4"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(asText(buildDatasetFolderTree(c.paths, c.depth)), c.expected)
            << c.paths.join(' ').toStdString() << " at depth " << c.depth;
    }
}

} // namespace
