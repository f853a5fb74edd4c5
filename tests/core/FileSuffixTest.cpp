#include "core/FileSuffix.h"

#include <gtest/gtest.h>

namespace Tessaly {
namespace {

TEST(FileSuffixTest, AddsTheChosenFiltersSuffixOnlyWhereNoneIs) {
    const struct {
        const char *name, *filter, *expected;
    } cases[] = {
        {"/a/plot", "PNG Image (*.png)", "/a/plot.png"},
        {"/a/plot.svg", "PNG Image (*.png)", "/a/plot.svg"},
        {"/a.b/plot", "JPEG Images (*.jpg *.jpeg)", "/a.b/plot.jpg"},
        {"gap 0.5", "PNG Image (*.png)", "gap 0.5.png"},
        {"plot.", "PNG Image (*.png)", "plot.png"},
        {"plot", "All Files (*)", "plot"},
        {"archive", "Archives (*.tar.gz)", "archive.tar.gz"},
        {"plot", "", "plot"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(withFilterSuffix(c.name, c.filter).toStdString(), c.expected) << c.name << " " << c.filter;
    }
}

} // namespace
} // namespace Tessaly
