#include "core/FeatureCatalogue.h"

#include <gtest/gtest.h>

namespace Tessaly {
namespace {

TEST(FeatureCatalogue, LabelsFollowTableOverrideAndFamily) {
    const struct {
        const char *key, *plain, *instrument;
    } cases[] = {
        {"area_um", "Area [µm²]", "Area [µm²]"},
        {"userdef1", "User-defined 1", "Deformation of odd FC only"},
        {"userdef5", "User-defined 5", "User-defined 5"},
        {"fl2_max_ctc", "FL-2 maximum, crosstalk-corrected [a.u.]", "FL-2 maximum, crosstalk-corrected [a.u.]"},
        {"fl01_max", "FL-01 maximum [a.u.]", "FL-01 maximum [a.u.]"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(featureLabel(c.key, false), c.plain);
        EXPECT_EQ(featureLabel(c.key, true), c.instrument);
    }
    // Unknown keys are their own labels.
    for (const char* key : {"", "fl", "fl1", "fl1_", "fl_max", "fl1max", "fl1_foo", "flx_max", "xfl1_max", "userdef",
                            "userdef10", "userdefx", "my_feature", "image", "Deform", "deform "}) {
        EXPECT_EQ(featureLabel(key, true), key);
    }
}

TEST(FeatureCatalogue, OnlyPicturesAreNotScalar) {
    for (const char* key : {"image", "mask", "contour"}) {
        EXPECT_FALSE(isScalarFeature(key));
    }
    for (const char* key : {"deform", "my_feature", "images", "Mask", "trace", ""}) {
        EXPECT_TRUE(isScalarFeature(key));
    }
}

} // namespace
} // namespace Tessaly
