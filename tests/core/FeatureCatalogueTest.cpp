#include "core/FeatureCatalogue.h"

#include <gtest/gtest.h>

namespace Tessaly {
namespace {

TEST(FeatureCatalogue, LabelsFollowTableOverrideAndFamily) {
    struct Case {
        const char* key;
        const char* plain;
        const char* instrument;
    };
    const Case cases[] = {
        {"deform", "Deformation", "Deformation"},
        {"area_um", "Area [µm²]", "Area [µm²]"},
        {"emodulus", "Young's modulus [kPa]", "Young's modulus [kPa]"},
        {"flow_rate", "Flow rate [µL/s]", "Flow rate [µL/s]"},
        {"temp", "Chip temperature [°C]", "Chip temperature [°C]"},
        {"volume", "Volume [µm³]", "Volume [µm³]"},
        {"userdef0", "User-defined 0", "Velocity [mm/s]"},
        {"userdef1", "User-defined 1", "Deformation of odd FC only"},
        {"userdef5", "User-defined 5", "User-defined 5"},
        {"userdef9", "User-defined 9", "Cell Type ID"},
        {"fl2_max_ctc", "FL-2 maximum, crosstalk-corrected [a.u.]", "FL-2 maximum, crosstalk-corrected [a.u.]"},
        {"fl1_npeaks", "FL-1 number of peaks", "FL-1 number of peaks"},
        {"fl7_width", "FL-7 width [µs]", "FL-7 width [µs]"},
        {"fl01_max", "FL-01 maximum [a.u.]", "FL-01 maximum [a.u.]"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(featureLabel(c.key, false), c.plain);
        EXPECT_EQ(featureLabel(c.key, true), c.instrument);
    }
}

TEST(FeatureCatalogue, UnknownKeysAreTheirOwnLabel) {
    for (const char* key : {"", "fl", "fl1", "fl1_", "fl_max", "fl1max", "fl1_foo", "flx_max", "xfl1_max", "userdef",
                            "userdef10", "userdefx", "my_feature", "image", "Deform", "deform "})
        EXPECT_EQ(featureLabel(key, true), key);
}

TEST(FeatureCatalogue, OnlyPicturesAreNotScalar) {
    for (const char* key : {"image", "mask", "contour"})
        EXPECT_FALSE(isScalarFeature(key));
    for (const char* key : {"deform", "my_feature", "images", "Mask", "trace", ""})
        EXPECT_TRUE(isScalarFeature(key));
}

} // namespace
} // namespace Tessaly
