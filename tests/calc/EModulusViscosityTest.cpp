#include "calc/emodulus/EModulus.h"
#include "core/VQDMetadata.h"

#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

namespace Tessaly {
namespace {

// Values by NumPy, see tests/support/emodulus_reference.py.
TEST(EModulusViscosity, ModelsAndMedia) {
    struct Case {
        int model, medium;
        double width, flow, temperature, expected;
    };
    const Case cases[] = {
        {0, 0, 20, 0.04, 23, 5.90198316604535},
        {0, 1, 30, 0.16, 25.5, 6.51599688518196},
        {0, 0, 40, 0.32, 37, 3.91013344634797},
        {1, 2, 20, 0.04, 20, 1.002},
        {1, 2, 20, 0.04, 37, 0.691264345092565},
        {2, 1, 20, 0.04, 23, 6.33525807808612},
        {2, 3, 30, 0.16, 25, 7.55903323453416},
        {3, 4, 20, 0.04, 23, 4.2},
        {4, 0, 20, 0.04, 23, 1.0},
        {-1, 0, 20, 0.04, 23, 1.0},
    };
    for (const Case& c : cases) {
        EModulusParams params;
        params.viscosityModel = c.model;
        params.medium = c.medium;
        params.channelWidth = c.width;
        params.flowRate = c.flow;
        params.viscosity = 4.2;
        params.temperature = -100.0; // only the argument counts
        EXPECT_NEAR(viscosity(params, c.temperature), c.expected, 1e-12 * c.expected) << c.model << ' ' << c.medium;
    }
}

TEST(EModulusViscosity, PixelationCorrection) {
    struct Case {
        double deform, area, pixelSize, expected;
    };
    // The first by hand: all three exponentials are 1. Halving the pixel is quadrupling the area.
    const Case cases[] = {{0.1, 0, 0.34, 0.1 - 0.0362},
                          {0.1, 50, 0.34, 0.0918215736677198},
                          {0.05, 200, 0.34, 0.0461997331415143},
                          {0.05, 50, 0.17, 0.0461997331415143},
                          {0.02, 10, 0.68, -0.00959482553729574}};
    for (const Case& c : cases) {
        EXPECT_NEAR(pixelationCorrected(c.deform, c.area, c.pixelSize), c.expected, 1e-15) << c.area;
    }
}

TEST(EModulusParams, FromMetadata) {
    VQDMetadata metadata;
    struct Case {
        const char *medium, *temperature;
        int code, model;
        double viscosity; ///< at 30 um and 0.16 uL/s, as above
    };
    for (const Case& c :
         {Case{"SorvexB", "25.5", 1, 0, 6.51599688518196}, Case{"water", "37", 2, 1, 0.691264345092565},
          Case{"MC-PBS 0.83%", "25.5", 3, 3, 5.5}, Case{"sorvex", "", 4, 3, 5.5}, Case{"", "", 4, 3, 5.5}}) {
        metadata.setup = {
            {"medium", c.medium}, {"temperature", c.temperature}, {"channel width", "30"}, {"flow rate", "0.16"}};
        for (const bool perEvent : {false, true}) { // nothing but the source depends on it
            const EModulusParams params = emodulusParamsFor(metadata, perEvent, 5.5);
            EXPECT_EQ(std::tuple(params.medium, params.viscosityModel), std::tuple(c.code, c.model)) << c.medium;
            EXPECT_NEAR(params.viscosity, c.viscosity, 1e-12) << c.medium;
            EXPECT_EQ(params.temperatureSource, perEvent ? 1 : 2);
        }
    }
    metadata.setup = {{"channel width", "30.000000"}, {"flow rate", "0.120000"}, {"temperature", "25.500000"}};
    metadata.imaging = {{"pixel size", "0.68"}};
    EModulusParams params = emodulusParamsFor(metadata, false, 1.0);
    EXPECT_EQ(params.channelWidth, 30.0);
    EXPECT_EQ(params.flowRate, 0.12);
    EXPECT_EQ(params.pixelSize, 0.68);
    EXPECT_EQ(params.temperatureSource, 2);
    EXPECT_EQ(params.temperature, 25.5);
    EXPECT_EQ(emodulusParamsFor(metadata, true, 1.0).temperature, 25.5);

    // What is absent or no number gives the usual conditions; so does a temperature that was never measured.
    for (const char* text : {"", "wide", "nan", "20 um"}) {
        metadata.setup = {{"channel width", text}, {"flow rate", text}, {"temperature", text}};
        metadata.imaging = {{"pixel size", text}};
        params = emodulusParamsFor(metadata, false, 1.0);
        EXPECT_EQ(params.channelWidth, 20.0) << text;
        EXPECT_EQ(params.flowRate, 0.04) << text;
        EXPECT_EQ(params.pixelSize, 0.34) << text;
        EXPECT_EQ(params.temperature, 23.0) << text;
    }
    metadata.setup["temperature"] = "0.000000";
    EXPECT_EQ(emodulusParamsFor(metadata, false, 1.0).temperature, 23.0);
}

} // namespace
} // namespace Tessaly
