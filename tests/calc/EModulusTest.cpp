#include "calc/emodulus/EModulus.h"

#include "calc/SyntheticLut.h"
#include "calc/emodulus/Lut.h"
#include "calc/emodulus/Mesh.h"
#include "io/VQDReader.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <tuple>
#include <vector>

namespace Tessaly {
namespace {

namespace fs = std::filesystem;

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

void expectSame(const std::vector<double>& actual, const std::vector<double>& expected, double tolerance = 1e-12) {
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < actual.size(); ++i) {
        if (std::isnan(expected[i])) {
            EXPECT_TRUE(std::isnan(actual[i])) << i << ": " << actual[i];
        } else {
            EXPECT_NEAR(actual[i], expected[i], tolerance * std::fabs(expected[i])) << i;
        }
    }
}

/// An engine with the synthetic table and a reader with three events inside of the table and one outside.
class EModulusTest : public testing::Test {
protected:
    EModulusTest() {
        installLut(folder_.path().string(), lutText(syntheticLut()));
        engine_.setSearchDirectory(folder_.path().string());
        reader_.setFeature("area_um", {90.0, 150.0, 200.0, 5.0});
        reader_.setFeature("deform", {0.06, 0.11, 0.15, 0.1});
        // As water at 20 degrees, with the conditions of the table: factors of 1.
        reference_.viscosityModel = 1;
        reference_.temperature = 20.0;
        reference_.flowRate = 0.16;
        reference_.pixelationCorrection = false;
    }

    std::vector<double> compute(const EModulusParams& params) {
        EXPECT_TRUE(engine_.compute(&reader_, params));
        return reader_.getFeature("emodulus");
    }

    TemporaryFolder folder_;
    EModulus engine_;
    VQDReader reader_;
    EModulusParams reference_;
};

TEST_F(EModulusTest, TableValuesScaleWithFlowViscosityAndWidth) {
    const EModulusMesh mesh = buildMesh(syntheticLut());
    const std::vector<double> reference = compute(reference_);
    expectSame(reference,
               {interpolate(mesh, 90.0, 0.06), interpolate(mesh, 150.0, 0.11), interpolate(mesh, 200.0, 0.15), NaN});
    // The surface that the table samples, to a few per cent.
    EXPECT_NEAR(reference[1], 0.0005 * std::pow(150.0, 1.5) / 0.12, 0.3);
    const auto times = [&reference](double factor) {
        return std::vector<double>{factor * reference[0], factor * reference[1], factor * reference[2], NaN};
    };
    EModulusParams params = reference_;
    params.flowRate *= 2.0;
    params.viscosityModel = 3;
    params.viscosity = 3 * 1.002;
    expectSame(compute(params), times(6.0));

    // Twice the channel: the same cell shapes at four times the area are an eighth as stiff.
    params = reference_;
    params.channelWidth = 40.0;
    reader_.setFeature("area_um", {360.0, 600.0, 800.0, 20.0});
    expectSame(compute(params), times(0.125));
}

TEST_F(EModulusTest, CorrectsPixelationOfTheUnscaledArea) {
    EModulusParams params = reference_;
    params.pixelSize = 0.68;
    params.channelWidth = 25.0;
    const double s = 20.0 / 25.0;
    std::vector<double> expected;
    const EModulusMesh mesh = buildMesh(syntheticLut());
    for (std::size_t i = 0; i < 4; ++i) {
        const double area = reader_.getFeature("area_um")[i];
        const double deform = reader_.getFeature("deform")[i];
        const double u = -0.25 * area; // twice the pixel
        const double shift = 0.02 * std::exp(u / 7.1) + 0.0012 + 0.01 * std::exp(u / 38.6) + 0.005 * std::exp(u / 296);
        expected.push_back(interpolate(mesh, area * s * s, deform - shift) * s * s * s);
    }
    params.pixelationCorrection = true;
    expectSame(compute(params), expected);
}

TEST_F(EModulusTest, OtherDeformationFeatureIsLookedUpRaw) {
    const std::vector<double> reference = compute(reference_);
    reader_.setFeature("deform_fc", {0.06, 0.11, 0.15, 0.1});
    reader_.setFeature("deform", {NaN, NaN, NaN, NaN});
    EModulusParams params = reference_;
    params.deformFeature = "deform_fc";
    expectSame(compute(params), reference);
    params.deformFeature = "deform_odd";
    EXPECT_FALSE(engine_.compute(&reader_, params));
}

TEST_F(EModulusTest, TemperatureOfEachEvent) {
    const std::vector<double> reference = compute(reference_);
    EModulusParams params = reference_;
    params.temperatureSource = 1;
    // Without a usable column the one temperature counts.
    expectSame(compute(params), reference);
    reader_.setFeature("temp", {20.0, 37.0});
    expectSame(compute(params), reference);
    reader_.setFeature("temp", {20.0, 37.0, NaN, 20.0});
    expectSame(compute(params), {reference[0], reference[1] * 0.691264345092565 / 1.002, NaN, NaN});
    params.temperatureSource = 2;
    expectSame(compute(params), reference);
}

TEST_F(EModulusTest, AJobComputesValuesFromColumnsThatItHolds) {
    const std::vector<double> expected = compute(reference_);
    const std::optional<EModulusInput> input = emodulusInput(reader_, reference_);
    ASSERT_TRUE(input);
    EXPECT_EQ(input->temperatures, nullptr);
    reader_.setFeature("deform", {NaN, NaN, NaN, NaN});
    reader_.setFeature("emodulus", {1.0});
    const std::vector<std::string> names = reader_.featureNames();
    std::optional<ComputedColumns> columns = engine_.computeColumns(*input, reference_);
    ASSERT_TRUE(columns && columns->size() == 1);
    expectSame(columns->front().values, expected);
    EXPECT_EQ(reader_.featureNames(), names);
    EXPECT_EQ(reader_.getFeature("emodulus"), std::vector<double>{1.0}); // until it is installed
    columns->push_back({"another", {2.0}});
    installColumns(*std::move(columns), reader_);
    expectSame(reader_.getFeature("emodulus"), expected);
    EXPECT_EQ(reader_.getFeature("another"), std::vector<double>{2.0});

    std::stop_source stop;
    int reports = 0;
    QObject::connect(&engine_, &EModulus::progressChanged, [&] { reports += stop.request_stop() ? 1 : 0; });
    reader_.setFeature("area_um", std::vector<double>(1000, 90.0));
    reader_.setFeature("deform", std::vector<double>(1000, 0.06));
    EXPECT_FALSE(engine_.computeColumns(*emodulusInput(reader_, reference_), reference_, stop.get_token()));
    EXPECT_EQ(reports, 1); // it had begun
}

TEST_F(EModulusTest, RefusesWhatCannotBeComputed) {
    EXPECT_FALSE(engine_.compute(nullptr, reference_));
    VQDReader bad;
    EXPECT_FALSE(engine_.compute(&bad, reference_));
    for (const std::size_t areas : {0U, 2U}) { // none, or more than deformations
        bad.setFeature("area_um", std::vector<double>(areas, 100.0));
        bad.setFeature("deform", std::vector<double>(areas / 2, 0.1));
        EXPECT_FALSE(engine_.compute(&bad, reference_));
        EXPECT_FALSE(bad.hasFeature("emodulus"));
    }
    EModulusParams other = reference_;
    other.lutId = 1;
    testing::internal::CaptureStderr();
    EXPECT_FALSE(engine_.compute(&reader_, other));
    EXPECT_NE(testing::internal::GetCapturedStderr().find("EModulus: failed to build LUT triangulation\n"),
              std::string::npos);
    // A channel of no width maps nothing, but that is no failure.
    other = reference_;
    other.channelWidth = 0.0;
    expectSame(compute(other), {NaN, NaN, NaN, NaN});
    EXPECT_TRUE(engine_.isoelastics(other).empty());
}

TEST_F(EModulusTest, IsoelasticPointsLieAtTheirLevel) {
    for (const auto& [pixelSize, width] : {std::pair{0.34, 20.0}, {0.6, 28.0}}) {
        EModulusParams params;
        params.pixelSize = pixelSize;
        params.channelWidth = width;
        params.viscosityModel = 3;
        params.viscosity = 7.5;
        params.pixelationCorrection = false; // lines are of measured deformation all the same
        const std::vector<IsoelasticLine> lines = engine_.isoelastics(params);
        ASSERT_GE(lines.size(), 3U);
        const double factor = std::pow(20.0 / width, 3) * 0.04 / 0.16 * 7.5 / 1.002;
        EModulusParams corrected = params;
        corrected.pixelationCorrection = true;
        double previous = 0.0;
        for (const IsoelasticLine& line : lines) {
            EXPECT_GT(line.value, previous);
            previous = line.value;
            EXPECT_NEAR(std::remainder(line.value / factor, 0.1), 0.0, 1e-9);
            ASSERT_GE(line.points.size(), 2U);
            std::vector<double> area;
            std::vector<double> deform;
            for (const auto& [a, d] : line.points) {
                area.push_back(a);
                deform.push_back(d);
            }
            for (std::size_t i = 1; i < area.size(); ++i) {
                EXPECT_GT(area[i], area[i - 1]);
            }
            reader_.setFeature("area_um", std::move(area));
            reader_.setFeature("deform", std::move(deform));
            for (const double modulus : compute(corrected)) {
                EXPECT_NEAR(modulus, line.value, 1e-3 * line.value);
            }
        }
    }
}

TEST(EModulusLutFile, SearchOrder) {
    const TemporaryFolder folder;
    const fs::path directory = folder.path() / "a" / "b" / "bin";
    fs::create_directories(directory);
    const std::string directoryName = directory.string();
    EXPECT_EQ(findLutFile(directoryName, "LUT_LE_2D_FEM.txt"), "");

    EModulus engine;
    engine.setSearchDirectory(directoryName);
    testing::internal::CaptureStderr();
    engine.triangulate(0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "EModulus: LUT file not found: LUT_LE_2D_FEM.txt (searched from " + directoryName + ")\n");
    EXPECT_EQ(engine.lut(0), nullptr);
    EXPECT_TRUE(engine.isoelastics({}).empty());

    // From the last place to the first: each new one takes precedence over those before it.
    for (const char* place : {"/../../../data/", "/../../data/", "/../data/", "/../Resources/data/", "/data/"}) {
        fs::create_directories(directoryName + place);
        std::ofstream(directoryName + place + "LUT_LE_2D_FEM.txt") << "1 2 3\n";
        EXPECT_EQ(findLutFile(directoryName, "LUT_LE_2D_FEM.txt"), directoryName + place + "LUT_LE_2D_FEM.txt");
    }
    EXPECT_EQ(findLutFile(directoryName, ""), "");
}

/// Rows of a former table, from another program (FreeFEM; flow and solid in turn, another mesh for each shape).
TEST(EModulusLutFile, TheTableThatIsDeliveredAgreesWithAnotherSolver) {
    EModulus engine;
    engine.setSearchDirectory(fs::read_symlink("/proc/self/exe").parent_path().string());
    engine.triangulate(0);
    const EModulusMesh* mesh = engine.mesh(0);
    ASSERT_NE(mesh, nullptr);
    constexpr std::tuple<double, double, double> rows[] = {
        {21.2453, 0.030357, 0.272609}, {55.8223, 0.049515, 0.365196},  {64.2461, 0.069937, 0.345276},
        {136.4854, 0.049957, 0.59064}, {182.6321, 0.028583, 0.979187}, {205.0006, 0.059955, 0.693245},
        {289.6938, 0.054406, 0.99868}, {300.5487, 0.025947, 1.95809}};
    for (const auto& [area, deform, modulus] : rows) {
        EXPECT_NEAR(interpolate(*mesh, area, deform) / modulus, 1.0, 0.005) << area << " " << deform;
    }
    // Soft cells of all sizes have a modulus, the lower the more they deform.
    constexpr double deforms[] = {0.08, 0.095, 0.11, 0.125, 0.14};
    for (double area = 10.0; area < 340.0; area += 7.0) {
        for (std::size_t i = 1; i < std::size(deforms); ++i) {
            EXPECT_GT(interpolate(*mesh, area, deforms[i - 1]), interpolate(*mesh, area, deforms[i])) << area;
        }
    }
    // The softest of middling size turn back before small and large ones do.
    EXPECT_FALSE(std::isnan(interpolate(*mesh, 20.0, 0.148)));
    EXPECT_FALSE(std::isnan(interpolate(*mesh, 330.0, 0.165)));
    EXPECT_TRUE(std::isnan(interpolate(*mesh, 125.0, 0.146)));
}

TEST(EModulusLutFile, TableThatAppearsLaterIsPickedUpAndKept) {
    const TemporaryFolder folder;
    EModulus engine;
    engine.setSearchDirectory(folder.path().string());
    engine.triangulate(0);
    EXPECT_EQ(engine.mesh(0), nullptr);

    // Two rows are a table, but make no mesh.
    EModulus small;
    small.setSearchDirectory(folder.path().string());
    installLut(folder.path().string(), "1 2 3\n4 5 6\n");
    small.triangulate(0);
    EXPECT_NE(small.lut(0), nullptr);
    EXPECT_EQ(small.mesh(0), nullptr);
    EXPECT_TRUE(small.isoelastics({}).empty());

    installLut(folder.path().string(), lutText(syntheticLut()));
    engine.loadLut(0);
    ASSERT_NE(engine.lut(0), nullptr);
    EXPECT_EQ(engine.mesh(0), nullptr);
    engine.triangulate(0);
    const EModulusMesh* mesh = engine.mesh(0);
    ASSERT_NE(mesh, nullptr);
    EXPECT_EQ(engine.lut(0)->area, syntheticLut().area);

    installLut(folder.path().string(), "1 2 3\n");
    engine.triangulate(0);
    EXPECT_EQ(engine.mesh(0), mesh);
    EXPECT_EQ(engine.lut(0)->area.size(), 108U);
    engine.loadLut(3);
    EXPECT_EQ(engine.lut(3), nullptr);
}

TEST(EModulusLutFile, FormatAndDamage) {
    struct Case {
        const char* what;
        std::string text;
        std::size_t rows;
        double width = 20.0, flow = 0.16, viscosity = 1.002;
    };
    const std::string block = "# - BEGIN METADATA\n#{\"channel_width\": 30, \"flow_rate\": 0.5,\n"
                              "# \"fluid_viscosity\": 2.5}\n# - END METADATA\n";
    const Case cases[] = {
        {"empty", "", 0},
        {"no metadata, no header", "1 2 3\n4 5 6\n", 2},
        {"metadata", block + "area deform E\n1 2 3\n", 1, 30, 0.5, 2.5},
        {"metadata behind the rows", "1 2 3\n" + block, 1, 30, 0.5, 2.5},
        {"a part of the keys", "# BEGIN METADATA\n# {\"flow_rate\": 0.04}\n# END METADATA\n", 0, 20, 0.04},
        {"broken metadata", "# BEGIN METADATA\n# {\"flow_rate\": 0.04\n# END METADATA\n1 2 3\n", 1},
        {"metadata of another kind", "# BEGIN METADATA\n# [1, 2]\n# END METADATA\n1 2 3\n", 1},
        {"text for a number", "# BEGIN METADATA\n# {\"flow_rate\": \"fast\"}\n# END METADATA\n", 0},
        {"a second mark of comment", "# BEGIN METADATA\n## {\"flow_rate\": 1}\n## END METADATA\n", 0, 20, 1.0},
        {"a block without end swallows the rest", "# BEGIN METADATA\n1 2 3\n4 5 6\n", 0},
        {"no rows in a block", "# BEGIN METADATA\n1 2 3\n# END METADATA\n4 5 6\n", 1},
        {"comment with a header's words", "# area deform\n1 2 3\nsome deform\n4 5 6\n", 2},
        {"only one header", "area 1 2 3\n1 2 3\ndeform 5 6\n4 area 6\n", 1},
        {"columns missing", "1 2\n3\n\n   \n4 5 6\n", 1},
        {"columns too many", "1 2 3 4 x\n", 1},
        {"text", "one two three\n1 2 x\n1,5 2 3\n", 0},
        {"no finite numbers", "nan 1 2\n1 nan 2\n1 inf 2\n1 2 -inf\n1 1e999 2\n", 0},
        {"no modulus", "1 2 nan\n", 1},
        {"line ends and blanks", "\t 1\t2   3 \r\n4 5 6\r\n7 8 9", 3},
        {"zero bytes", std::string("\0\0\0\n1 2 3\n", 10), 1},
    };
    const TemporaryFolder folder;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        std::ofstream(folder.file("table.txt"), std::ios::binary) << c.text;
        const auto lut = readLutFile(folder.file("table.txt"));
        ASSERT_TRUE(lut);
        for (const auto* column : {&lut->area, &lut->deform, &lut->emodulus}) {
            EXPECT_EQ(column->size(), c.rows);
        }
        EXPECT_EQ(std::tie(lut->channelWidth, lut->flowRate, lut->viscosity), std::tie(c.width, c.flow, c.viscosity));
    }
    EXPECT_FALSE(readLutFile(folder.path().string()));
    EXPECT_FALSE(readLutFile(folder.file("missing.txt")));
}

} // namespace
} // namespace Tessaly
