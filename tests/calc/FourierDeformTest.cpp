#include "calc/FourierDeform.h"

#include "io/VQDReader.h"
#include "support/PlainFile.h"
#include "support/SampleFile.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <hdf5.h>

#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <stop_token>
#include <string>
#include <vector>

namespace Tessaly {
namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

struct Wave {
    int order;
    double amplitude, phase;
};

struct Blob {
    double x, y, radius;
    std::vector<Wave> waves;
};

MaskPicture maskOf(int width, int height, const std::vector<Blob>& blobs) {
    MaskPicture mask{std::vector<std::uint8_t>(static_cast<std::size_t>(width * height), 0), width, height};
    for (const Blob& blob : blobs) {
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                const double angle = std::atan2(y - blob.y, x - blob.x);
                double limit = 1.0;
                for (const Wave& wave : blob.waves) {
                    limit += wave.amplitude * std::cos(wave.order * angle + wave.phase);
                }
                if (std::hypot(x - blob.x, y - blob.y) < blob.radius * limit) {
                    mask.pixels[static_cast<std::size_t>(y * width + x)] = 255;
                }
            }
        }
    }
    return mask;
}

std::vector<double> valuesOf(const FourierResult& result) {
    return {result.deformOdd, result.deformEven, result.deformFc};
}

void expectSame(const std::vector<double>& actual, const std::vector<double>& expected, double tolerance) {
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < actual.size(); ++i) {
        if (std::isnan(expected[i])) {
            EXPECT_TRUE(std::isnan(actual[i])) << i << ": " << actual[i];
        } else {
            EXPECT_NEAR(actual[i], expected[i], tolerance) << i;
        }
    }
}

// Values by OpenCV and NumPy, see tests/support/calculation_reference.py. Rounding to 32-bit floats allows for 2e-7.
TEST(FourierDeform, AgreesWithOpenCV) {
    struct Case {
        const char* what;
        MaskPicture mask;
        std::size_t outline;
        std::vector<double> expected; ///< resampled: odd, even, all; not resampled
    };
    const Case cases[] = {
        {"circle",
         maskOf(64, 48, {{31.3, 23.6, 18.2, {}}}),
         101,
         {0.000517970878, 0.00186605085, 0.00221822413, 0.000365603952, 0.0018084741, 0.00217015989}},
        {"ellipse",
         maskOf(64, 48, {{30.1, 24.2, 17.3, {{2, 0.2, 0.1}}}}),
         102,
         {0.000595269727, 0.0298915293, 0.0302690268, 0.0004454216, 0.029916572, 0.0303002365}},
        {"egg",
         maskOf(64, 48, {{30.1, 24.2, 16.3, {{1, 0.1, 0.3}, {3, 0.1, 0.7}}}}),
         93,
         {0.0182939879, 0.00221884993, 0.019967313, 0.0182825226, 0.00214923383, 0.0200329829}},
        {"bullet",
         maskOf(96, 64, {{50.4, 30.7, 22.1, {{1, 0.08, 0.0}, {2, 0.12, 0.2}, {3, 0.05, 0.0}, {5, 0.03, 1.0}}}}),
         128,
         {0.00789526751, 0.0114884916, 0.0183226848, 0.00784385633, 0.0113475114, 0.0182778998}},
        {"dents are not seen",
         maskOf(64, 64, {{30.1, 33.2, 20.3, {{4, 0.2, 0.5}}}}),
         125,
         {0.000187687238, 0.0479315501, 0.0479485086, 3.74458277e-05, 0.0490757351, 0.0490930869}},
        {"cut off by the edges",
         maskOf(40, 30, {{3.2, 28.1, 14.7, {{2, 0.1, 0.0}}}}),
         57,
         {0.0480320872, 0.0574074888, 0.0884497365, 0.0496459779, 0.0582629497, 0.0901754743}},
        {"the larger of two",
         maskOf(90, 40, {{16.2, 18.4, 9.1, {}}, {60.7, 19.3, 14.2, {{2, 0.15, 0.0}}}}),
         81,
         {0.000819143221, 0.0196268939, 0.0201961017, 0.000705947851, 0.0196684393, 0.0202753844}},
        {"a few pixels",
         maskOf(8, 6, {{3.0, 3.0, 1.6, {}}}),
         8,
         {0.000164522251, 0.0808610923, 0.0808610923, 4.62181362e-05, 0.0831758232, 0.0831758232}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const std::vector<OutlinePoint> outline = cellOutline(c.mask);
        EXPECT_EQ(outline.size(), c.outline);
        std::vector<double> actual = valuesOf(FourierDeform::analyzeContour(outline));
        const std::vector<double> fine = valuesOf(FourierDeform::analyzeContour(outline, 11, false));
        actual.insert(actual.end(), fine.begin(), fine.end());
        expectSame(actual, c.expected, 3e-7);
    }
}

TEST(FourierDeform, CircleHasNone) {
    std::vector<OutlinePoint> circle;
    for (int i = 0; i < 2000; ++i) {
        const double angle = 2.0 * std::numbers::pi * i / 2000;
        circle.push_back({static_cast<int>(std::lround(5000.0 * std::cos(angle))),
                          static_cast<int>(std::lround(5000.0 * std::sin(angle)))});
    }
    expectSame(valuesOf(FourierDeform::analyzeContour(circle)), {0.0, 0.0, 0.0}, 2e-4); // of a polygon with 100 corners
    // Order 0 alone is a circle whatever the outline.
    const std::vector<OutlinePoint> square{{0, 0}, {100, 0}, {100, 100}, {0, 100}};
    expectSame(valuesOf(FourierDeform::analyzeContour(square, 1)), {0.0, 0.0, 0.0}, 2e-4);
}

TEST(FourierDeform, OutlinesWithoutAnInsideAreNaNAndSaySo) {
    const std::vector<OutlinePoint> line{{1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}};
    for (const auto& outline : {std::vector<OutlinePoint>{}, line}) {
        testing::internal::CaptureStderr();
        expectSame(valuesOf(FourierDeform::analyzeContour(outline)), {NaN, NaN, NaN}, 0.0);
        const std::string message = testing::internal::GetCapturedStderr();
        EXPECT_EQ(message.rfind("[FCA] ", 0), 0U) << message;
        EXPECT_GT(message.size(), 10U);
    }
}

TEST(FourierDeform, OutlinesThatAreTakenAndPassedOver) {
    const auto outlineOf = [](int width, int height, const std::string& picture) {
        MaskPicture mask{{}, width, height};
        for (const char pixel : picture) {
            mask.pixels.push_back(pixel == '.' ? 0 : static_cast<std::uint8_t>(pixel)); // any other value is inside
        }
        return cellOutline(mask).size();
    };
    EXPECT_EQ(outlineOf(4, 4, "................"), 0U);
    EXPECT_EQ(outlineOf(4, 4, ".....##..##....."), 0U); // 4 points
    EXPECT_EQ(outlineOf(5, 3, "#.............."), 0U);
    EXPECT_EQ(outlineOf(5, 3, ".....#####....."), 0U); // a line encloses no area
    EXPECT_EQ(outlineOf(4, 4, ".....1#.###....."), 5U);
    EXPECT_EQ(outlineOf(3, 3, "#########"), 8U); // up to the picture's edges, the hole in the middle filled or not
    EXPECT_EQ(outlineOf(3, 3, "####.####"), 8U);
    EXPECT_EQ(cellOutline({{255, 255, 255, 255}, 0, 4}).size(), 0U);
    EXPECT_EQ(cellOutline({{255, 255, 255, 255}, 3, 4}).size(), 0U); // fewer pixels than declared
    // Of two that are alike one is taken as a whole.
    const MaskPicture twins = maskOf(60, 30, {{12, 12, 6, {}}, {44, 14, 6, {}}});
    const MaskPicture one = maskOf(60, 30, {{12, 12, 6, {}}});
    EXPECT_EQ(cellOutline(twins).size(), cellOutline(one).size());
}

TEST(FourierDeform, BadEventsCostThemselvesOnly) {
    const MaskPicture good = maskOf(64, 48, {{30.1, 24.2, 16.3, {{1, 0.1, 0.3}, {3, 0.1, 0.7}}}});
    std::vector<int> percents;
    const StepResult result =
        fourierDeformations(250,
                            [&good](std::size_t event, std::string& problem) {
                                if (event == 7 || event == 9) {
                                    problem = "unreadable " + std::to_string(event);
                                    return MaskPicture{};
                                }
                                if (event == 8) {
                                    throw std::runtime_error("worse");
                                }
                                return event == 10 ? MaskPicture{std::vector<std::uint8_t>(100, 0), 10, 10} : good;
                            },
                            {{}, [&percents](int percent) { percents.push_back(percent); }});
    ASSERT_TRUE(result.done);
    EXPECT_EQ(percents, (std::vector<int>{0, 40, 80, 100}));
    EXPECT_EQ(result.unreadable, 3U);
    EXPECT_EQ(result.firstProblem, "unreadable 7");
    const std::array<std::string, 3> names{"deform_odd", "deform_even", "deform_fc"};
    const std::array<double, 3> expected{0.0182939879, 0.00221884993, 0.019967313};
    ASSERT_EQ(result.columns.size(), 3U);
    for (std::size_t c = 0; c < 3; ++c) {
        EXPECT_EQ(result.columns[c].name, names[c]);
        for (std::size_t i = 0; i < 250; ++i) {
            const double value = result.columns[c].values[i];
            EXPECT_TRUE(i >= 7 && i <= 10 ? std::isnan(value) : std::fabs(value - expected[c]) < 3e-7) << i;
        }
    }
}

TEST(FourierDeform, StopsAtTheNextEvent) {
    std::stop_source stop;
    std::size_t asked = 0;
    const StepResult result = fourierDeformations(100,
                                                  [&](std::size_t, std::string&) {
                                                      if (++asked == 3) {
                                                          stop.request_stop();
                                                      }
                                                      return MaskPicture{};
                                                  },
                                                  {stop.get_token(), {}});
    EXPECT_EQ(asked, 3U);
    EXPECT_FALSE(result.done);
    EXPECT_TRUE(result.columns.empty());
}

TEST(FourierDeform, FileWithADamagedMask) {
    const TemporaryFolder folder;
    const MaskPicture good = maskOf(40, 30, {{20, 15, 9, {{2, 0.1, 0.0}}}});
    {
        PlainFile file(folder.file("masks.vqd"));
        file.group("/events");
        const hid_t properties = PlainFile::chunked({1, 30, 40});
        H5Pset_deflate(properties, 1);
        std::vector<std::uint8_t> pixels;
        for (int i = 0; i < 4; ++i) {
            pixels.insert(pixels.end(), good.pixels.begin(), good.pixels.end());
        }
        file.dataset("/events/mask", H5T_NATIVE_UINT8, {4, 30, 40}, pixels.data(), properties);
        file.column("deform", H5T_NATIVE_DOUBLE, std::vector<double>(4, 0.1));
        H5Pclose(properties);
        file.chunk("/events/mask", 2, {1, 2, 3, 4});
    }
    VQDReader reader;
    ASSERT_TRUE(reader.open(folder.file("masks.vqd")));
    FourierDeform engine;
    testing::internal::CaptureStderr();
    EXPECT_TRUE(engine.compute(&reader));
    const std::string message = testing::internal::GetCapturedStderr();
    EXPECT_EQ(message.rfind("FourierDeform: 1 masks of " + reader.path() +
                                " could not be used, the first one: Error reading mask at index 2: ",
                            0),
              0U)
        << message;
    EXPECT_EQ(std::count(message.begin(), message.end(), '\n'), 1);
    const std::vector<double> expected = valuesOf(FourierDeform::analyzeContour(cellOutline(good)));
    expectSame(reader.getFeature("deform_odd"), {expected[0], expected[0], NaN, expected[0]}, 0.0);
    expectSame(reader.getFeature("deform_fc"), {expected[2], expected[2], NaN, expected[2]}, 0.0);

    EXPECT_FALSE(engine.compute(nullptr));
    SampleFileOptions options;
    options.masks = false;
    writeSampleFile(folder.file("none.vqd"), options);
    ASSERT_TRUE(reader.open(folder.file("none.vqd")));
    EXPECT_FALSE(engine.compute(&reader));
    EXPECT_FALSE(reader.hasFeature("deform_fc"));
}

} // namespace
} // namespace Tessaly
