#include "session/compare/CombineData.h"

#include "SessionBuilder.h"

#include "core/DatasetEntry.h"
#include "session/PlotFrame.h"
#include "session/compare/CombineModel.h"
#include "session/compare/CombineStatistics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace Tessaly {
namespace {

const double NaN = std::numeric_limits<double>::quiet_NaN();
const double Infinity = std::numeric_limits<double>::infinity();

class CombineDataTest : public testing::Test {
protected:
    /// Adds a dataset with the columns "x" and "y" to session and model.
    DatasetEntry& add(std::vector<double> x, std::vector<double> y) {
        DatasetEntry& entry = builder.add(Columns{{"x", std::move(x)}, {"y", std::move(y)}});
        entry.xFeatureName = "x";
        entry.yFeatureName = "y";
        model.add(entry.id);
        return entry;
    }
    CombineDataList prepare() const {
        CombineDataList list;
        for (const CombineSource& source : combineSources(builder.session, model)) {
            list.push_back(std::make_shared<const CombineData>(prepareCombineData(source)));
        }
        return list;
    }
    void set(int displayMode, int colorMode, int contourMode) {
        CombineOptions options = model.options();
        options.displayMode = displayMode;
        options.colorMode = colorMode;
        options.contourMode = contourMode;
        model.setOptions(options);
    }

    SessionBuilder builder;
    CombineModel model{builder.session};
};

TEST_F(CombineDataTest, FilteredAndFinitePairsArePlotted) {
    DatasetEntry& entry = add({1, NaN, 3, -4, 0, 6}, {10, 20, Infinity, 40, -50, 60});
    auto data = prepare();
    EXPECT_EQ(data[0]->x, (std::vector<double>{1, -4, 0, 6}));
    EXPECT_EQ(data[0]->y, (std::vector<double>{10, 40, -50, 60}));
    EXPECT_EQ(data[0]->xLabel, "x");
    EXPECT_EQ(data[0]->xSurvey.range, (ValueRange{-4, 6}));
    EXPECT_EQ(data[0]->ySurvey.range, (ValueRange{-50, 60}));
    EXPECT_EQ(data[0]->xSurvey.notPositive, 2);
    EXPECT_EQ(data[0]->ySurvey.notPositive, 1);
    EXPECT_EQ(data[0]->xSurvey.smallestPositive, 1.0);

    FilterRule rule;
    rule.featureName = "y";
    rule.minValue = 0;
    rule.maxValue = 50;
    entry.filter.addRule(rule);
    EXPECT_EQ(prepare()[0]->x, (std::vector<double>{1, -4}));
    entry.filter.setEnabled(false);
    EXPECT_EQ(prepare()[0]->x.size(), 4U);
    CombineDatasetSettings row = model.datasets()[0];
    for (const char* feature : {"image", "mask", "no such", ""}) {
        row.xFeatureName = feature;
        model.setRow(0, row);
        EXPECT_TRUE(prepare()[0]->x.empty()) << feature;
        EXPECT_TRUE(prepare()[0]->xSurvey.range.isEmpty()) << feature;
    }
    entry.featuresLoaded = false;
    EXPECT_TRUE(prepare()[0]->x.empty());
}

TEST_F(CombineDataTest, FewEventsHaveNoDensity) {
    const struct {
        std::vector<double> x;
        std::size_t plotted, colored;
    } table[] = {
        {{1, 2, 3}, 3, 0},      // too few to begin with: plotted, not coloured
        {{1, 2, 3, NaN}, 0, 0}, // an estimate was asked for, and none of them has one
        {{1, 2, 3, 5}, 4, 4},   {{1, 2, 3, NaN, 5}, 4, 4}, {{2, 2, 2, 2}, 4, 4},
    };
    set(CombineDisplay::Array, CombineColor::Heatmap, ContourMode::Overlay);
    for (const auto& row : table) {
        add(row.x, std::vector<double>(row.x.size(), 1.0));
        const auto data = prepare().back();
        EXPECT_EQ(data->x.size(), row.plotted);
        EXPECT_EQ(data->density.size(), row.colored);
        EXPECT_EQ(data->contours.empty(), row.plotted < 4);
    }
}

TEST_F(CombineDataTest, AgreesWithTheMainPlot) {
    std::vector<double> x;
    std::vector<double> y;
    for (int i = 0; i < 400; ++i) {
        x.push_back(10.0 + std::sin(i) * (1.0 + i % 7) + i % 13);
        y.push_back(1.0 + std::cos(i * 0.7) * (i % 5) + i % 3);
    }
    DatasetEntry& entry = add(x, y);
    for (const int scaleY : {0, 1, 2}) {
        CombineDatasetSettings row = model.datasets()[0];
        row.scaleYMode = scaleY;
        model.setRow(0, row);
        PlotSettings settings;
        settings.xFeatureName = "x";
        settings.yFeatureName = "y";
        settings.scaleYMode = scaleY;
        settings.contourMode = ContourMode::Overlay;
        for (const bool density : {true, false}) {
            settings.colorFeatureName = density ? DensityKde : "";
            set(CombineDisplay::ArrayAndContour, density ? CombineColor::Heatmap : CombineColor::Uniform,
                ContourMode::Overlay);
            const auto data = prepare()[0];
            const auto frame = buildPlotFrame(builder.session, entry, settings);
            ASSERT_TRUE(frame);
            EXPECT_EQ(data->x, frame->x);
            EXPECT_EQ(data->density, frame->color);
            const auto contours = contoursOf(*frame, settings);
            ASSERT_EQ(data->contours.size(), contours.size());
            for (std::size_t i = 0; i < contours.size(); ++i) {
                EXPECT_EQ(data->contours[i].polylines, contours[i].polylines);
                EXPECT_EQ(data->overlayContours[i].polylines, contours[i].polylines);
            }
        }
    }
}

TEST_F(CombineDataTest, TheOverlayHasTheFirstRowsScalesOnSharedAxes) {
    std::vector<double> x(50);
    std::vector<double> y(50);
    for (std::size_t i = 0; i < x.size(); ++i) {
        x[i] = 1.0 + static_cast<double>(i * i % 37);
        y[i] = 1.0 + static_cast<double>(i * 7 % 23);
    }
    add(x, y);
    add(x, y);
    CombineDatasetSettings row = model.datasets()[1];
    row.scaleXMode = 1;
    model.setRow(1, row);
    set(CombineDisplay::ArrayAndContour, CombineColor::Dataset, ContourMode::Overlay);
    EXPECT_EQ(combineSources(builder.session, model)[1].overlayScales, (std::array{1, 0}));
    // Restored windows may have shared axes over rows of different scales.
    CombineOptions options = model.options();
    options.syncAxes = true;
    model.restore(model.datasets(), options, {});
    EXPECT_EQ(combineSources(builder.session, model)[1].overlayScales, (std::array{0, 0}));
    const auto data = prepare();
    EXPECT_EQ(data[0]->contours[0].polylines, data[0]->overlayContours[0].polylines);
    EXPECT_EQ(data[1]->overlayContours[0].polylines, data[0]->overlayContours[0].polylines);
    EXPECT_NE(data[1]->contours[0].polylines, data[1]->overlayContours[0].polylines);
}

TEST_F(CombineDataTest, TheLowerLevelComesFirst) {
    add({1, 2, 3, 4, 5, 9}, {1, 3, 2, 4, 6, 5});
    set(CombineDisplay::Array, CombineColor::Dataset, ContourMode::Only);
    CombineOptions options = model.options();
    options.contourFraction1 = 0.8;
    options.contourFraction2 = 0.3;
    model.setOptions(options);
    EXPECT_EQ(combineSources(builder.session, model)[0].fractions, (std::array{0.3, 0.8}));
    const auto contours = prepare()[0]->contours;
    ASSERT_EQ(contours.size(), 2U);
    EXPECT_LT(contours[0].level, contours[1].level);
}

TEST_F(CombineDataTest, LimitsHoldAllData) {
    const auto none = automaticLimits({});
    EXPECT_EQ(none.xMin, Infinity);
    EXPECT_EQ(none.xMax, -Infinity);
    add({0, 10}, {5, 5});
    EXPECT_EQ(automaticLimits(prepare()), (PlotLimits{-0.5, 10.5, 4, 6}));
    add({-10, NaN, 2}, {1, 2, 9});
    EXPECT_EQ(automaticLimits(prepare()), (PlotLimits{-11, 11, 0.6, 9.4}));
}

TEST(CombineLogAxis, LimitsStayAboveZero) {
    using Pair = std::pair<double, double>;
    EXPECT_EQ(drawableOnLogAxis(1, 10, 0.5), Pair(1, 10));
    EXPECT_EQ(drawableOnLogAxis(-1, 10, 0.5), Pair(0.5, 10));
    EXPECT_EQ(drawableOnLogAxis(0, 10, Infinity), Pair(1, 10));
    EXPECT_EQ(drawableOnLogAxis(-3, -2, 0.5), Pair(0.5, 5));
}

// Mean, deviation and quartiles of 1, 2, 4, 8: 3.75, sqrt(28.75 / 3) = 3.095696, 1.75, 3, 5, 3.25.
TEST_F(CombineDataTest, StatisticsTable) {
    add({1, 2, 4, 8}, {7, 7, 7, 7});
    DatasetEntry& empty = add({NaN, NaN}, {1, 1});
    DatasetEntry& other = builder.add(Columns{{"a", {3}}, {"y", {1234567.0}}});
    other.xFeatureName = "a";
    other.yFeatureName = "y";
    other.displayName = "tab\there";
    model.add(other.id);
    const CombineTable table = combineStatistics(builder.session, model, prepare());
    ASSERT_EQ(table.headings.size(), 2 + 3 * 6);
    EXPECT_EQ(table.headings.mid(0, 9),
              (QStringList{"Dataset", "N", "x Mean", "x SD", "x Q1", "x Median", "x Q3", "x IQR", "y Mean"}));
    ASSERT_EQ(table.rows.size(), 3U);
    EXPECT_EQ(table.rows[0].mid(1, 13),
              (QStringList{"4", "3.75", "3.0957", "1.75", "3", "5", "3.25", "7", "0", "7", "7", "7", "0"}));
    EXPECT_EQ(table.rows[0].mid(14).join(""), "");
    EXPECT_EQ(table.rows[1][0], empty.displayName);
    EXPECT_EQ(table.rows[1].mid(1).join(""), "0");
    EXPECT_EQ(table.rows[2].mid(8, 2), (QStringList{"1.23457e+06", "0"}));
    EXPECT_EQ(table.rows[2][14], "3");
    // A feature that is plotted twice has its figures once, under the label of the first dataset that has it.
    CombineDatasetSettings twice = model.datasets()[0];
    twice.xFeatureName = twice.yFeatureName = "a";
    model.setRow(0, twice);
    const CombineTable again = combineStatistics(builder.session, model, prepare());
    EXPECT_EQ(again.headings.size(), 2 + 3 * 6);
    EXPECT_EQ(again.headings[2], "a Mean");
    EXPECT_EQ(again.rows[0].mid(1).join(""), "0");
    EXPECT_EQ(again.rows[2][2], "3");
    const QByteArray text = tableToTsv(table);
    EXPECT_EQ(text.count('\n'), 4);
    EXPECT_EQ(text.count('\t'), 4 * 19);
    EXPECT_TRUE(text.startsWith("Dataset\tN\tx Mean\t"));
}

TEST_F(CombineDataTest, AStoppedJobEndsEarly) {
    add({1, 2, 3, 4}, {1, 2, 3, 4});
    std::stop_source stop;
    stop.request_stop();
    EXPECT_TRUE(prepareCombineData(combineSources(builder.session, model)[0], stop.get_token()).x.empty());
}

} // namespace
} // namespace Tessaly
