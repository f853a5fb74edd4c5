#include "DemoSet.h"
#include "EventMaker.h"
#include "FeatureTable.h"
#include "TraceMaker.h"

#include "calc/emodulus/EModulus.h"
#include "calc/fluorescence/FLCompensation.h"
#include "calc/fluorescence/FLRefinement.h"
#include "io/VQDReader.h"
#include "support/TemporaryFolder.h"

#include <QCoreApplication>

#include <gtest/gtest.h>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>
#include <string>
#include <vector>

namespace Tessaly {
namespace {

/// A short run of the set and the reader on it.
class DemoTest : public testing::Test {
protected:
    static DemoRun runOf(std::size_t entry, std::size_t events) {
        DemoRun run = demoSet().at(entry).run;
        run.events = events;
        return run;
    }

    KindMedians write(const DemoRun& run) {
        reader_.close();
        const KindMedians made = writeDemoRun(path_, run, engine_);
        EXPECT_TRUE(reader_.open(path_));
        return made;
    }

    TemporaryFolder folder_;
    std::string path_ = folder_.file("demo.vqd");
    EModulus engine_;
    VQDReader reader_;
};

TEST_F(DemoTest, PopulationsComeBackFromTheFile) {
    for (const std::size_t entry : {std::size_t{0}, std::size_t{5}}) {
        const DemoRun run = runOf(entry, 400);
        const KindMedians made = write(run);
        const KindMedians found = computedMedians(path_, engine_);
        for (std::size_t k = 0; k < 2; ++k) {
            std::printf("%s, population %zu: made with %.3f kPa, found %.3f kPa\n", run.sample.c_str(), k + 1, made[k],
                        found[k]);
            EXPECT_NEAR(found[k] / made[k], 1.0, 0.05);
            EXPECT_NEAR(made[k] / run.kinds[k].modulus, 1.0, 0.1);
        }
    }
    const DemoRun formulas = benchmarkRun(5000, false);
    const KindMedians made = write(formulas);
    EXPECT_NEAR(computedMedians(path_, engine_)[0] / made[0], 1.0, 0.01);
    EXPECT_FALSE(reader_.hasImage() || reader_.hasMask() || reader_.hasTraces());
}

TEST_F(DemoTest, MasksTellAreaAndDeformation) {
    write(runOf(1, 60));
    for (std::size_t i = 0; i < 60; ++i) {
        int width = 0;
        int height = 0;
        std::vector<std::uint8_t> mask = reader_.getMask(i, &width, &height);
        ASSERT_EQ(mask.size(), 250U * 80U);
        std::vector<std::vector<cv::Point>> outlines;
        cv::findContours(cv::Mat(height, width, CV_8UC1, mask.data()), outlines, cv::RETR_EXTERNAL,
                         cv::CHAIN_APPROX_NONE);
        ASSERT_EQ(outlines.size(), 1U) << i;
        std::vector<cv::Point> hull;
        cv::convexHull(outlines[0], hull);
        const double area = cv::contourArea(hull);
        const double deform = 1.0 - 2.0 * std::sqrt(std::numbers::pi * area) / cv::arcLength(hull, true);
        EXPECT_NEAR(reader_.getFeature("area_um")[i], area * 0.34 * 0.34, 1e-9);
        EXPECT_NEAR(reader_.getFeature("deform")[i], deform, 1e-9);

        // The mask covers the cell: brightness inside is that of the column.
        const std::vector<std::uint8_t> image = reader_.getImage(i, &width, &height);
        double sum = 0.0;
        double count = 0.0;
        for (std::size_t p = 0; p < mask.size(); ++p) {
            sum += mask[p] != 0 ? image[p] : 0.0;
            count += mask[p] != 0 ? 1.0 : 0.0;
        }
        EXPECT_NEAR(reader_.getFeature("bright_avg")[i], sum / count, 1e-3);
    }
}

TEST_F(DemoTest, TracesTellPeaks) {
    write(runOf(2, 200));
    EXPECT_EQ(reader_.traceLength(), TraceMaker::Samples);
    EXPECT_EQ(reader_.traceNames().size(), 6U);
    std::size_t belowBaseline = 0;
    for (const int channel : {1, 2, 3}) {
        const std::string prefix = "fl" + std::to_string(channel);
        const double offset = TraceMaker::Offsets[static_cast<std::size_t>(channel - 1)];
        for (std::size_t i = 0; i < 200; ++i) {
            const double height = reader_.getFeature(prefix + "_max")[i];
            const double position = reader_.getFeature(prefix + "_pos")[i];
            belowBaseline += height <= 0.0 ? 1U : 0U;
            if (std::isnan(position)) {
                continue;
            }
            const auto sample = static_cast<std::size_t>(std::lround(position / TraceMaker::SampleTime));
            const std::vector<float> trace = reader_.getTrace(prefix + "_median", i);
            ASSERT_LT(sample, trace.size());
            EXPECT_NEAR(static_cast<double>(trace[sample]) + offset, height, 1e-3);
            if (height > 400.0) { // then it is the peak of the whole trace
                EXPECT_GE(height, static_cast<double>(*std::ranges::max_element(trace)) + offset - 1e-3);
            }
        }
    }
    EXPECT_GT(belowBaseline, 0U);
    EXPECT_LT(belowBaseline, 200U);
}

/// Cells of one population, and what two columns hold of them.
struct CellLight {
    std::vector<double> first, second;

    CellLight(VQDReader& reader, double kind, const std::string& firstColumn, const std::string& secondColumn) {
        for (std::size_t i = 0; i < reader.eventCount(); ++i) {
            if (reader.getFeature("userdef9")[i] == kind) {
                first.push_back(reader.getFeature(firstColumn)[i]);
                second.push_back(reader.getFeature(secondColumn)[i]);
            }
        }
    }

    /// How much the second rises with the first, by least squares.
    double slope() const {
        const double n = static_cast<double>(first.size());
        const double meanFirst = std::accumulate(first.begin(), first.end(), 0.0) / n;
        const double meanSecond = std::accumulate(second.begin(), second.end(), 0.0) / n;
        double covariance = 0.0;
        double variance = 0.0;
        for (std::size_t i = 0; i < first.size(); ++i) {
            covariance += (first[i] - meanFirst) * (second[i] - meanSecond);
            variance += (first[i] - meanFirst) * (first[i] - meanFirst);
        }
        return covariance / variance;
    }
};

TEST_F(DemoTest, RefinementRemovesStrayLightAndCompensationCrosstalk) {
    write(runOf(0, 1500));
    FLRefinement refinement;
    ASSERT_TRUE(refinement.refine(&reader_, reader_.readMetadata(), {}));
    // Cells of the first population don't shine in the first channel: what is bright there is light of something else.
    const CellLight dark(reader_, 1.0, "fl1_max", "fl1_max_rf");
    const auto bright = [](const std::vector<double>& heights) {
        return static_cast<double>(std::ranges::count_if(heights, [](double height) { return height > 300.0; })) /
               static_cast<double>(heights.size());
    };
    std::printf("stray light: %.3f of the dark cells before, %.3f after\n", bright(dark.first), bright(dark.second));
    EXPECT_NEAR(bright(dark.first), TraceMaker::BurstShare, 0.03);
    EXPECT_LT(bright(dark.second), 0.005);

    SquareMatrix matrix;
    for (const auto& row : EventMaker::Spillover) {
        matrix.emplace_back(row.begin(), row.end());
    }
    FLCompensation compensation;
    ASSERT_TRUE(compensation.compensate(&reader_, {1, 2, 3}, matrix));
    const double before = CellLight(reader_, 2.0, "fl1_max_rf", "fl2_max_rf").slope();
    const double after = CellLight(reader_, 2.0, "fl1_max_ctc", "fl2_max_ctc").slope();
    std::printf("light of the first channel in the second: %.4f before, %.4f after\n", before, after);
    EXPECT_NEAR(before, EventMaker::Spillover[1][0], 0.02);
    EXPECT_NEAR(after, 0.0, 0.1 * before);
}

TEST_F(DemoTest, FileLooksLikeOneOfTheInstrument) {
    write(runOf(5, 20));
    const VQDMetadata metadata = reader_.readMetadata();
    EXPECT_TRUE(reader_.isInstrumentData());
    EXPECT_EQ(metadataValue(metadata.experiment, "sample"), "Treated donor ID3 BR1 TR1");
    EXPECT_EQ(metadataValue(metadata.online_filter, "area_um soft limit"), "1");
    EXPECT_EQ(metadataValue(metadata.fluorescence, "channel 1 name"), "525/50");
    for (const auto* section :
         {&metadata.experiment, &metadata.setup, &metadata.imaging, &metadata.online_contour, &metadata.online_filter,
          &metadata.offline_filter, &metadata.fluorescence, &metadata.exportSection}) {
        EXPECT_FALSE(section->empty());
    }
    ASSERT_EQ(metadata.polygonFilters.size(), 1U);
    EXPECT_EQ(metadata.polygonFilters[0].yFeature, "deform");
    for (const FeatureColumn& column : featureTable) {
        EXPECT_EQ(reader_.getFeature(column.name).size(), 20U) << column.name;
    }
    const EModulusParams params = emodulusParamsFor(metadata, false, 0.0);
    EXPECT_EQ(params.medium, 1);
    EXPECT_EQ(params.temperature, 23.5);
}

TEST_F(DemoTest, EventsDependOnTheirNumberOnly) {
    write(runOf(0, 40));
    std::vector<std::vector<double>> before;
    for (const FeatureColumn& column : featureTable) {
        before.push_back(reader_.getFeature(column.name));
    }
    write(runOf(0, 150));
    for (std::size_t k = 0; k < FeatureCount; ++k) {
        const std::vector<double>& after = reader_.getFeature(featureTable[k].name);
        ASSERT_EQ(after.size(), 150U);
        for (std::size_t i = 0; i < 40; ++i) {
            EXPECT_TRUE(after[i] == before[k][i] || (std::isnan(after[i]) && std::isnan(before[k][i])))
                << featureTable[k].name << ' ' << i;
        }
    }
}

TEST_F(DemoTest, CellsInTheReservoirAreRound) {
    const DemoSetEntry reservoir = demoSet().back();
    ASSERT_TRUE(reservoir.run.reservoir);
    write(runOf(6, 100));
    std::vector<double> deform = reader_.getFeature("deform");
    std::ranges::nth_element(deform, deform.begin() + 50);
    EXPECT_LT(deform[50], 0.015);
    EXPECT_EQ(metadataValue(reader_.readMetadata().setup, "chip region"), "reservoir");
}

TEST_F(DemoTest, NoEventsMakeAFileToo) {
    for (const bool images : {false, true}) {
        write(benchmarkRun(0, images));
        EXPECT_EQ(reader_.eventCount(), 0U);
    }
}

} // namespace
} // namespace Tessaly

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
