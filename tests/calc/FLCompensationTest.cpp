#include "calc/fluorescence/FLCompensation.h"

#include "io/VQDReader.h"
#include "support/SampleFile.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stop_token>
#include <string>
#include <vector>

namespace Tessaly {
namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
const SquareMatrix identity{{1, 0}, {0, 1}};

// Values by NumPy, see tests/support/calculation_reference.py.
TEST(FLCompensation, SolvesForTheTrueHeights) {
    std::vector<std::vector<double>> measured(3);
    for (int e = 0; e < 5; ++e) {
        for (int c = 0; c < 3; ++c) {
            measured[static_cast<std::size_t>(c)].push_back(1000.0 + 600.0 * std::sin(12.9898 * (3 * e + c)));
        }
    }
    const StepResult result = compensateCrosstalk({{1, measured[0]}, {2, measured[1]}, {5, measured[2]}}, 5,
                                                  {{1.0, 0.02, 0.3}, {0.12, 1.0, 0.0}, {0.04, 0.25, 1.0}});
    const std::vector<std::vector<double>> expected{
        {637.143285472519, 1213.6195248867, 1150.13618434622, 536.077091023486, 236.030519636196},
        {1170.07643569543, 1449.83847407337, 967.976654589843, 402.94698203303, 550.304859901268},
        {1131.51728604524, 1101.65140140263, 565.976281238983, 278.716450502534, 644.330509599656}};
    const std::vector<std::string> names{"fl1_max_ctc", "fl2_max_ctc", "fl5_max_ctc"};
    ASSERT_TRUE(result.done);
    ASSERT_EQ(result.columns.size(), 3U);
    for (std::size_t c = 0; c < 3; ++c) {
        EXPECT_EQ(result.columns[c].name, names[c]);
        ASSERT_EQ(result.columns[c].values.size(), 5U);
        for (std::size_t e = 0; e < 5; ++e) {
            EXPECT_NEAR(result.columns[c].values[e], expected[c][e], 1e-10 * expected[c][e]);
        }
    }
}

TEST(FLCompensation, BlocksNaNAndShortColumns) {
    // Longer than some blocks; the second column ends early.
    std::vector<double> first;
    for (int i = 0; i < 700; ++i) {
        first.push_back(i == 300 ? NaN : i);
    }
    const std::vector<double> second(600, 10.0);
    std::vector<int> percents;
    const StepResult result = compensateCrosstalk({{1, first}, {2, second}}, 700, {{1, 0.5}, {0, 1}},
                                                  {{}, [&percents](int percent) { percents.push_back(percent); }});
    ASSERT_TRUE(result.done);
    EXPECT_EQ(percents, (std::vector<int>{0, 36, 73, 100}));
    for (std::size_t i = 0; i < 700; ++i) {
        const bool known = i != 300 && i < 600;
        for (const std::size_t c : {0U, 1U}) {
            const double value = result.columns[c].values[i];
            EXPECT_EQ(std::isnan(value), !known) << i;
            if (known) {
                EXPECT_EQ(value, c == 0 ? static_cast<double>(i) - 5.0 : 10.0);
            }
        }
    }
}

TEST(FLCompensation, RefusesMatricesThatDoNotFit) {
    const std::vector<double> heights{1, 2};
    const std::vector<CompensationChannel> two{{1, heights}, {2, heights}};
    const std::vector<CompensationChannel> three{{1, heights}, {2, heights}, {3, heights}};
    EXPECT_FALSE(compensateCrosstalk({two[0]}, 2, {{1}}).done);
    EXPECT_FALSE(compensateCrosstalk(two, 0, identity).done);
    EXPECT_FALSE(compensateCrosstalk(two, 2, {{1, 0}}).done);
    EXPECT_FALSE(compensateCrosstalk(two, 2, {{1, 0}, {0}}).done);
    EXPECT_FALSE(compensateCrosstalk(three, 2, identity).done);

    const SquareMatrix equalRows{{1, 1, 0.25}, {1, 1, 0.25}, {0.3, 0.1, 1}};
    // Row 3 is 0.1 times row 1 plus 0.3 times row 2, to rounding.
    const SquareMatrix dependent{{1, 0.3, 0.7}, {0.2, 1, 0.9}, {0.16, 0.33, 0.34}};
    const SquareMatrix unknown{{1, NaN, 0}, {0, 1, 0}, {0, 0, 1}};
    for (const SquareMatrix& matrix : {equalRows, dependent, unknown}) {
        testing::internal::CaptureStderr();
        EXPECT_FALSE(compensateCrosstalk(three, 2, matrix).done);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "FLCompensation: spillover matrix is singular\n");
    }
    std::stop_source stop;
    stop.request_stop();
    const StepResult stopped = compensateCrosstalk(two, 2, identity, {stop.get_token(), {}});
    EXPECT_FALSE(stopped.done);
    EXPECT_TRUE(stopped.columns.empty());
}

TEST(FLCompensation, PrefersComputedRefinedHeights) {
    const TemporaryFolder folder;
    SampleFileOptions options;
    options.events = 4;
    options.columns["fl2_max_rf"] = {1, 1, 1, 1}; // stored, not computed
    writeSampleFile(folder.file("sample.vqd"), options);
    VQDReader reader;
    ASSERT_TRUE(reader.open(folder.file("sample.vqd")));
    reader.setFeature("fl1_max_rf", {10, 20, 30, 40});

    FLCompensation engine;
    EXPECT_TRUE(engine.compensate(&reader, {1, 2}, identity));
    EXPECT_EQ(reader.getFeature("fl1_max_ctc"), reader.getFeature("fl1_max_rf"));
    EXPECT_EQ(reader.getFeature("fl2_max_ctc"), reader.getFeature("fl2_max"));
    EXPECT_TRUE(reader.isComputedFeature("fl2_max_ctc"));
    EXPECT_FALSE(engine.compensate(nullptr, {1, 2}, identity));
    testing::internal::CaptureStderr();
    EXPECT_FALSE(engine.compensate(&reader, {1, 3}, {{1, 1}, {1, 1}}));
    testing::internal::GetCapturedStderr();
    EXPECT_FALSE(reader.hasFeature("fl3_max_ctc"));
}

} // namespace
} // namespace Tessaly
