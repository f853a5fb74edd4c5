#include "session/PlotFrame.h"

#include "SessionBuilder.h"

#include "core/ScaleMath.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>

using namespace Tessaly;

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();
using Values = std::vector<double>;
using Indices = std::vector<int>;

PlotFrame frameOf(const SessionBuilder& builder, const PlotSettings& settings) {
    auto frame = buildPlotFrame(builder.session, *builder.session.datasetAt(0), settings);
    EXPECT_TRUE(frame.has_value());
    if (!frame) {
        return {};
    }
    return std::move(*frame);
}

PlotSettings xy(const std::string& color = {}) {
    return {.xFeatureName = "area_um", .yFeatureName = "deform", .colorFeatureName = color};
}

TEST(PlotFrameTest, AllEventsInFileOrder) {
    SessionBuilder builder;
    builder.add({{"area_um", {3, 1, 2}}, {"deform", {-1, 0, 1}}, {"bright_avg", {7, 8, 9}}});
    const PlotFrame frame = frameOf(builder, xy("bright_avg"));
    EXPECT_EQ(frame.x, (Values{3, 1, 2}));
    EXPECT_EQ(frame.y, (Values{-1, 0, 1}));
    EXPECT_EQ(frame.color, (Values{7, 8, 9}));
    EXPECT_TRUE(frame.visibleIndices.empty());
    EXPECT_FALSE(frame.someLeftOut);
    EXPECT_EQ(frame.eventAt(2), 2);
    EXPECT_EQ(frame.eventAt(3), -1);
    EXPECT_EQ(frame.eventAt(-1), -1);
    EXPECT_EQ(frame.plotIndexOf(1), 1);
    EXPECT_EQ(frame.plotIndexOf(3), -1);
    EXPECT_EQ(frame.plotIndexOf(-1), -1);
}

TEST(PlotFrameTest, FilterThenCleaningKeepTheWayBackToEvents) {
    SessionBuilder builder;
    DatasetEntry& dataset = builder.add({{"area_um", {10, 20, nan, 40, 50, 60}},
                                         {"deform", {1, 2, 3, infinity, 5, 6}},
                                         {"bright_avg", {0, 1, 2, 3, -infinity, 5}}});
    PlotFrame frame = frameOf(builder, xy());
    EXPECT_EQ(frame.visibleIndices, (Indices{0, 1, 4, 5})) << "no rule, yet points without a place are left out";
    EXPECT_TRUE(frame.someLeftOut);

    dataset.filter.addRule(rangeRule("bright_avg", -infinity, 4));
    frame = frameOf(builder, xy("bright_avg"));
    EXPECT_EQ(frame.visibleIndices, (Indices{0, 1}));
    EXPECT_EQ(frame.x, (Values{10, 20}));
    EXPECT_EQ(frame.y, (Values{1, 2}));
    EXPECT_EQ(frame.color, (Values{0, 1}));

    dataset.filter.setCombineMode(1);
    frame = frameOf(builder, xy());
    EXPECT_EQ(frame.visibleIndices, Indices{5});
    EXPECT_EQ(frame.x, Values{60});
    EXPECT_EQ(frame.eventAt(0), 5);
    EXPECT_EQ(frame.plotIndexOf(5), 0);
    EXPECT_EQ(frame.plotIndexOf(4), -1);
}

TEST(PlotFrameTest, AFilterThatPassesAllOrNoneIsStillInForce) {
    SessionBuilder builder;
    DatasetEntry& dataset = builder.add({{"area_um", {1, 2}}, {"deform", {1, 2}}});
    dataset.filter.addRule(rangeRule("deform", 0, 9));
    PlotFrame frame = frameOf(builder, xy());
    EXPECT_EQ(frame.visibleIndices, (Indices{0, 1}));
    EXPECT_TRUE(frame.someLeftOut);
    dataset.filter.setCombineMode(1);
    frame = frameOf(builder, xy("__density_kde__"));
    EXPECT_TRUE(frame.x.empty() && frame.visibleIndices.empty());
    EXPECT_TRUE(frame.someLeftOut);
    EXPECT_EQ(frame.eventAt(0), -1);
}

TEST(PlotFrameTest, UnreadableColumns) {
    SessionBuilder builder;
    DatasetEntry& dataset = builder.add({{"area_um", {1, 2}}, {"deform", {1, 2}}, {"empty", {}}});
    for (const std::string missing : {"", "volume", "empty", "image"}) {
        EXPECT_FALSE(buildPlotFrame(builder.session, dataset, {missing, "deform", {}}));
        EXPECT_FALSE(buildPlotFrame(builder.session, dataset, {"deform", missing, {}}));
        const PlotFrame frame = frameOf(builder, xy(missing));
        EXPECT_EQ(frame.x.size(), 2U);
        EXPECT_TRUE(frame.color.empty() && frame.colorLabel.isEmpty());
    }
    EXPECT_FALSE(buildPlotFrame(builder.session, DatasetEntry(), xy()));
}

TEST(PlotFrameTest, WhatAShortColumnDoesNotReachIsNotPlotted) {
    const Values four{1, 2, 3, 4};
    struct Case {
        Columns columns;
        Indices filtered;   ///< events left by a rule that takes out event 0
        Indices unfiltered; ///< empty: all, as in the file
    };
    // "a" is first by name and gives the event count; "rule" is the column of the filter.
    const Values rule{0, 1, 1, 1};
    const std::vector<Case> cases{
        {{{"a", four}, {"x", {1, 2}}, {"y", four}, {"c", four}, {"rule", rule}}, {1}, {0, 1}},
        {{{"a", four}, {"x", four}, {"y", {1, 2, 3}}, {"c", four}, {"rule", rule}}, {1, 2}, {0, 1, 2}},
        {{{"a", four}, {"x", four}, {"y", four}, {"c", {5}}, {"rule", rule}}, {}, {0}},
        {{{"a", four}, {"x", four}, {"y", four}, {"c", {5, 6, 7, 8, 9}}, {"rule", rule}}, {1, 2, 3}, {}},
        {{{"a", four}, {"x", {1, 2}}, {"y", {1, 2}}, {"c", {1, 2, 3}}, {"rule", rule}}, {1}, {}},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        SessionBuilder builder;
        DatasetEntry& dataset = builder.add(cases[i].columns);
        const PlotSettings settings{.xFeatureName = "x", .yFeatureName = "y", .colorFeatureName = "c"};
        PlotFrame frame = frameOf(builder, settings);
        EXPECT_EQ(frame.visibleIndices, cases[i].unfiltered) << "case " << i;
        EXPECT_EQ(frame.someLeftOut, !cases[i].unfiltered.empty()) << "case " << i;
        dataset.filter.addRule(rangeRule("rule", 1, 1));
        frame = frameOf(builder, settings);
        EXPECT_EQ(frame.visibleIndices, cases[i].filtered) << "case " << i;
        EXPECT_TRUE(frame.x.size() == frame.y.size() && frame.x.size() == frame.color.size()) << "case " << i;
        EXPECT_EQ(frame.x.size(), frame.visibleIndices.size()) << "case " << i;
    }
}

TEST(PlotFrameTest, DensityIsTakenInAxisSpaceBeforeCleaning) {
    SessionBuilder builder;
    const Values x{1, 10, 100, 1000, nan, 20, 30};
    const Values y{1, 2, 3, 4, 5, infinity, 6};
    builder.add({{"area_um", x}, {"deform", y}});
    for (const char* selector : {"__density_kde__", "__density_hist__", "__density_knn__"}) {
        PlotSettings settings = xy(selector);
        settings.scaleXMode = ScaleMode::Log;
        const PlotFrame frame = frameOf(builder, settings);
        const Values all = computeDensity(transformValues(x, ScaleMode::Log), y, densityMethodOf(selector));
        EXPECT_EQ(frame.visibleIndices, (Indices{0, 1, 2, 3, 6}));
        EXPECT_EQ(frame.color, (Values{all[0], all[1], all[2], all[3], all[6]})) << selector;
        EXPECT_EQ(frame.colorLabel, "Density");
    }
    // Fewer than four points have no density, and with that no place.
    builder.session.datasetAt(0)->filter.addRule(rangeRule("area_um", 1, 15));
    EXPECT_EQ(frameOf(builder, xy()).x.size(), 2U);
    EXPECT_EQ(frameOf(builder, xy("__density_kde__")).x.size(), 0U);
}

TEST(PlotFrameTest, CountsWhatALogarithmicAxisCanNotShow) {
    SessionBuilder builder;
    builder.add({{"area_um", {-1, 0, 5, -2, -3}}, {"deform", {0, 1, 2, 3, nan}}});
    PlotSettings settings = xy();
    PlotFrame frame = frameOf(builder, settings);
    EXPECT_EQ(frame.xNotOnLogAxis, 0);
    settings.scaleXMode = ScaleMode::Log;
    settings.scaleYMode = ScaleMode::PseudoLog;
    frame = frameOf(builder, settings);
    EXPECT_EQ(frame.xNotOnLogAxis, 3) << "the last point was left out before";
    EXPECT_EQ(frame.yNotOnLogAxis, 0);
    EXPECT_EQ(frame.x.size(), 4U) << "they stay, though they can't be drawn";
    settings.scaleYMode = ScaleMode::Log;
    EXPECT_EQ(frameOf(builder, settings).yNotOnLogAxis, 1);
}

TEST(PlotFrameTest, ContoursOrderTheirFractions) {
    SessionBuilder builder;
    const auto columns = sampleColumns(500, 7);
    builder.add({{"area_um", columns.at("area_um")}, {"deform", columns.at("deform")}});
    PlotSettings settings = xy();
    settings.contourFraction1 = 0.8;
    settings.contourFraction2 = 0.3;
    PlotFrame frame = frameOf(builder, settings);
    EXPECT_TRUE(contoursOf(frame, settings).empty()) << "off";
    settings.contourMode = ContourMode::Only;
    const auto lines = contoursOf(frame, settings);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[0].fraction, 0.3);
    EXPECT_EQ(lines[1].fraction, 0.8);
    EXPECT_LT(lines[0].level, lines[1].level);
    EXPECT_FALSE(lines[0].polylines.empty());
    frame.x.resize(3);
    frame.y.resize(3);
    EXPECT_TRUE(contoursOf(frame, settings).empty());
}

TEST(PlotFrameTest, ContoursAreTheSameWhetherTheDensityIsKnownOrNot) {
    auto columns = sampleColumns(400, 3);
    for (const auto& [spoiled, knownDensity] : {std::pair{50.0, true}, {-5.0, true}, {nan, false}}) {
        columns["area_um"][10] = spoiled;
        SessionBuilder builder;
        builder.add({{"area_um", columns.at("area_um")}, {"deform", columns.at("deform")}});
        PlotSettings settings = xy(std::string(DensityKde));
        settings.contourMode = ContourMode::Overlay;
        settings.scaleXMode = ScaleMode::Log;
        const PlotFrame frame = frameOf(builder, settings);
        EXPECT_EQ(frame.density.has_value(), knownDensity) << spoiled;
        const std::array fractions{0.1, 0.67};
        const auto direct = computeContours(frame.x, frame.y, fractions, ScaleMode::Log, ScaleMode::Linear);
        const auto lines = contoursOf(frame, settings);
        ASSERT_EQ(lines.size(), direct.size());
        for (std::size_t i = 0; i < lines.size(); ++i) {
            EXPECT_EQ(lines[i].level, direct[i].level) << spoiled;
            EXPECT_EQ(lines[i].polylines, direct[i].polylines) << spoiled;
        }
        settings.scaleXMode = ScaleMode::Linear; // the plot's scale has changed since the frame was made
        EXPECT_EQ(contoursOf(frame, settings)[0].level, computeContours(frame.x, frame.y, fractions, 0, 0)[0].level);
    }
}

} // namespace
