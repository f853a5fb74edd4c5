#include "session/compare/CombineModel.h"

#include "SessionBuilder.h"

#include "core/DatasetEntry.h"
#include "session/compare/CombineJson.h"

#include <QJsonArray>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

namespace Tessaly {
namespace {

/// Three datasets: the first has all features, the second lacks "bright_avg", the third lacks "deform" and "area_um".
class CombineModelTest : public testing::Test {
protected:
    CombineModelTest() {
        builder.add(Columns{{"area_um", {1, 2}}, {"bright_avg", {1, 2}}, {"deform", {1, 2}}});
        builder.add(Columns{{"area_um", {1, 2}}, {"deform", {1, 2}}, {"time", {1, 2}}});
        builder.add(Columns{{"bright_avg", {1, 2}}, {"time", {1, 2}}});
    }

    void addAll() {
        for (const int id : model.addable()) {
            EXPECT_TRUE(model.add(id));
        }
    }
    void addAllWithFirst(const char* x, const char* y) {
        addAll();
        CombineDatasetSettings first = model.datasets()[0];
        first.xFeatureName = x;
        first.yFeatureName = y;
        model.setRow(0, first);
    }
    CombineOptions with(const std::function<void(CombineOptions&)>& change) const {
        CombineOptions options = model.options();
        change(options);
        return options;
    }
    CombineChange set(const std::function<void(CombineOptions&)>& change) { return model.setOptions(with(change)); }
    std::vector<int> order() const {
        std::vector<int> ids;
        for (const auto& row : model.datasets()) {
            ids.push_back(row.datasetId);
        }
        return ids;
    }
    /// "x/y" of each row.
    std::vector<std::string> features() const {
        std::vector<std::string> pairs;
        for (const auto& row : model.datasets()) {
            pairs.push_back(row.xFeatureName + "/" + row.yFeatureName);
        }
        return pairs;
    }
    std::vector<int> scales() const {
        std::vector<int> pairs;
        for (const auto& row : model.datasets()) {
            pairs.push_back(row.scaleXMode * 10 + row.scaleYMode);
        }
        return pairs;
    }

    SessionBuilder builder;
    CombineModel model{builder.session};
};

TEST_F(CombineModelTest, NewRowsPlotWhatTheDatasetPlots) {
    DatasetEntry& own = builder.add(Columns{{"a", {1}}, {"b", {1}}});
    own.xFeatureName = "b";
    own.yFeatureName = "a";
    own.scaleXMode = 1;
    own.scaleYMode = 2;
    DatasetEntry& half = builder.add(Columns{{"a", {1}}, {"deform", {1}}});
    half.xFeatureName = "deform";
    DatasetEntry& loading = builder.add(Columns{{"a", {1}}});
    loading.featuresLoaded = false;

    EXPECT_EQ(model.addable(), (std::vector<int>{0, 1, 2, 3, 4}));
    EXPECT_FALSE(model.add(loading.id));
    EXPECT_FALSE(model.add(99));
    addAll();
    EXPECT_FALSE(model.add(0));
    EXPECT_EQ(features(), (std::vector<std::string>{"area_um/deform", "area_um/deform", "bright_avg/bright_avg", "b/a",
                                                    "deform/deform"}));
    EXPECT_EQ(scales(), (std::vector<int>{0, 0, 0, 12, 0}));
}

TEST_F(CombineModelTest, ColoursFollowTheNumberOfRows) {
    for (int i = 0; i < 21; ++i) {
        model.add(builder.add(Columns{{"a", {1}}}).id);
    }
    EXPECT_EQ(model.datasets()[0].color, QColor("#1f77b4"));
    EXPECT_EQ(model.datasets()[10].color, QColor("#aec7e8"));
    EXPECT_EQ(model.datasets()[19].color, QColor("#9edae5"));
    EXPECT_EQ(model.datasets()[20].color, QColor("#1f77b4"));
    ASSERT_TRUE(model.remove(model.datasets()[3].datasetId));
    EXPECT_FALSE(model.remove(99));
    model.add(0);
    EXPECT_EQ(model.datasets()[20].color, QColor("#1f77b4")); // 20 rows were left
}

TEST_F(CombineModelTest, RowsMoveNextToOthers) {
    const struct {
        int row, target;
        bool above, moves;
        std::vector<int> after;
    } table[] = {
        {0, 2, true, true, {1, 0, 2}},   {0, 2, false, true, {1, 2, 0}},  {2, 0, true, true, {2, 0, 1}},
        {2, 0, false, true, {0, 2, 1}},  {1, 0, false, false, {0, 1, 2}}, // below its predecessor
        {0, 1, true, false, {0, 1, 2}},  {1, 1, true, false, {0, 1, 2}},  {-1, 0, true, false, {0, 1, 2}},
        {0, 3, false, false, {0, 1, 2}},
    };
    for (const auto& row : table) {
        model.restore({}, {}, {});
        addAll();
        EXPECT_EQ(model.move(row.row, row.target, row.above), row.moves) << row.row << row.target;
        EXPECT_EQ(order(), row.after) << row.row << row.target;
    }
}

TEST_F(CombineModelTest, SynchronisedRowsFollow) {
    const std::vector<std::string> apart{"bright_avg/deform", "area_um/deform", "bright_avg/bright_avg"};
    // What a dataset lacks stays as it was, feature by feature.
    const std::vector<std::string> synced{"bright_avg/deform", "area_um/deform", "bright_avg/bright_avg"};
    addAllWithFirst("bright_avg", "deform");
    EXPECT_EQ(features(), apart);
    CombineDatasetSettings second = model.datasets()[1];
    second.xFeatureName = "time";
    EXPECT_EQ(model.setRow(1, second), CombineChange::Plots);
    EXPECT_EQ(set([](auto& options) { options.syncFeatures = true; }), CombineChange::Plots);
    EXPECT_EQ(features()[0], "bright_avg/deform");
    EXPECT_EQ(features()[1], "time/deform");
    EXPECT_EQ(features()[2], "bright_avg/bright_avg");

    // From whichever row is changed.
    CombineDatasetSettings third = model.datasets()[2];
    third.yFeatureName = "time";
    third.scaleYMode = 1;
    EXPECT_EQ(model.setRow(2, third), CombineChange::Plots);
    EXPECT_EQ(features(), (std::vector<std::string>{"bright_avg/deform", "time/time", "bright_avg/time"}));
    EXPECT_EQ(scales(), (std::vector<int>{0, 0, 1}));

    CombineDatasetSettings first = model.datasets()[0];
    first.scaleXMode = 2;
    model.setRow(0, first);
    EXPECT_EQ(set([](auto& options) { options.syncAxes = true; }), CombineChange::Plots);
    EXPECT_EQ(scales(), (std::vector<int>{20, 20, 20}));
    third = model.datasets()[2];
    third.scaleYMode = 1;
    model.setRow(2, third);
    EXPECT_EQ(scales(), (std::vector<int>{21, 21, 21}));
    set([](auto& options) { options.syncFeatures = options.syncAxes = false; });
    EXPECT_EQ(features()[1], "time/time"); // nothing goes back
    EXPECT_EQ(scales(), (std::vector<int>{21, 21, 21}));
}

TEST_F(CombineModelTest, ColoursAloneOnlyRestyle) {
    addAll();
    CombineDatasetSettings row = model.datasets()[0];
    EXPECT_EQ(model.setRow(0, row), CombineChange::None);
    row.color = Qt::red;
    row.datasetId = 77; // not a row's to change
    EXPECT_EQ(model.setRow(0, row), CombineChange::Style);
    EXPECT_EQ(model.datasets()[0].datasetId, 0);
    EXPECT_EQ(model.datasets()[0].color, QColor(Qt::red));
    EXPECT_EQ(model.setRow(5, row), CombineChange::None);
    CombineExportSettings paper;
    paper.uniformColor = Qt::blue;
    EXPECT_EQ(model.setExportSettings(paper), CombineChange::Style);
    EXPECT_EQ(model.setExportSettings(paper), CombineChange::None);
}

TEST_F(CombineModelTest, OptionsObeyTheirRules) {
    using Options = CombineOptions;
    const struct {
        const char* what;
        std::function<void(Options&)> before, change;
        std::function<bool(const Options&)> holds;
    } table[] = {
        {"features stay in step in an array with contours",
         [](Options& o) { o.displayMode = 1, o.syncFeatures = true; }, [](Options& o) { o.syncFeatures = false; },
         [](const Options& o) { return o.syncFeatures; }},
        {"and in the same plot", [](Options& o) { o.displayMode = 2, o.syncFeatures = true; },
         [](Options& o) { o.syncFeatures = false; }, [](const Options& o) { return o.syncFeatures; }},
        {"not in an array", [](Options& o) { o.syncFeatures = true; }, [](Options& o) { o.syncFeatures = false; },
         [](const Options& o) { return !o.syncFeatures; }},
        {"axes apart have no limits of their own", [](Options& o) { o.syncAxes = o.manualLimits = true; },
         [](Options& o) { o.syncAxes = false; }, [](const Options& o) { return !o.manualLimits; }},
        {"no labels without lines", [](Options& o) { o.isoelasticity = o.isoLabels = true; },
         [](Options& o) { o.isoelasticity = false; }, [](const Options& o) { return !o.isoLabels; }},
        {"rows take the place of columns", [](Options& o) { o.manualArraySize = true, o.arrayCols = 3; },
         [](Options& o) { o.arrayRows = 2; }, [](const Options& o) { return o.arrayCols == 0 && o.arrayRows == 2; }},
        {"columns take the place of rows", [](Options& o) { o.manualArraySize = true, o.arrayRows = 3; },
         [](Options& o) { o.arrayCols = 2; }, [](const Options& o) { return o.arrayCols == 2 && o.arrayRows == 0; }},
        {"0 leaves the other alone", [](Options& o) { o.manualArraySize = true, o.arrayRows = 3; },
         [](Options& o) { o.arrayCols = 0; }, [](const Options& o) { return o.arrayRows == 3; }},
        {"an array of its own size no more", [](Options& o) { o.manualArraySize = true, o.arrayRows = 3; },
         [](Options& o) { o.manualArraySize = false; }, [](const Options& o) { return o.arrayRows == 0; }},
    };
    for (const auto& row : table) {
        model.restore({}, {}, {});
        set(row.before);
        set(row.change);
        EXPECT_TRUE(row.holds(model.options())) << row.what;
    }
    EXPECT_EQ(model.setOptions(model.options()), CombineChange::None);
}

TEST_F(CombineModelTest, SharedPlotsAskForSharedFeatures) {
    model.add(0);
    EXPECT_FALSE(model.asksForSync(CombineDisplay::SamePlot)); // one dataset
    model.add(1);
    EXPECT_TRUE(model.asksForSync(CombineDisplay::ArrayAndContour));
    EXPECT_TRUE(model.asksForSync(CombineDisplay::SamePlot));
    EXPECT_FALSE(model.asksForSync(CombineDisplay::Array));
    set([](auto& options) { options.syncFeatures = true; });
    EXPECT_FALSE(model.asksForSync(CombineDisplay::SamePlot));
}

TEST(CombineArraySize, IsSquareOrAsAsked) {
    const struct {
        int plots;
        bool manual;
        int cols, rows;
        ArraySize size;
    } table[] = {
        {0, false, 0, 0, {0, 0}}, {-1, true, 2, 0, {0, 0}}, {1, false, 0, 0, {1, 1}},  {2, false, 0, 0, {2, 1}},
        {3, false, 0, 0, {2, 2}}, {4, false, 0, 0, {2, 2}}, {5, false, 0, 0, {3, 2}},  {6, false, 0, 0, {3, 2}},
        {7, false, 0, 0, {3, 3}}, {9, false, 0, 0, {3, 3}}, {10, false, 0, 0, {4, 3}}, {13, false, 0, 0, {4, 4}},
        {5, true, 2, 0, {2, 3}},  {5, true, 0, 2, {3, 2}},  {5, true, 0, 0, {3, 2}},   {5, false, 2, 0, {3, 2}},
        {2, true, 4, 0, {4, 1}},  {30, true, 0, 4, {8, 4}},
    };
    for (const auto& row : table) {
        CombineOptions options;
        options.manualArraySize = row.manual;
        options.arrayCols = row.cols;
        options.arrayRows = row.rows;
        EXPECT_EQ(arraySize(row.plots, options), row.size) << row.plots << " " << row.cols << " " << row.rows;
    }
}

TEST(CombineSettings, ValuesAreThoseThatControlsCanShow) {
    const double NaN = std::nan("");
    const struct {
        double stored, limit, fraction, millimetres, width;
    } table[] = {
        {0.126, 0.126, 0.13, 50, 0.5},
        {1.26, 1.26, 0.99, 50, 1.3},
        {99.96, 99.96, 0.99, 100, 5},
        {0.00004, 0, 0.01, 50, 0.5},
        {0.00006, 0.0001, 0.01, 50, 0.5},
        {123456.789012, 123456.789, 0.99, 600, 5},
        {3.0e11 + 0.12, 3.0e11 + 0.12, 0.99, 600, 5}, // beyond what four decimals can be rounded to
        {-2e12, -1e12, 0.01, 50, 0.5},
        {NaN, 0, 0.1, 100, 1},
    };
    for (const auto& row : table) {
        CombineOptions options;
        options.limits = {row.stored, row.stored, row.stored, row.stored};
        options.contourFraction1 = row.stored;
        CombineExportSettings paper;
        paper.plotWidthMm = paper.plotHeightMm = paper.axisLineWidth = row.stored;
        options = clamped(options);
        paper = clamped(paper);
        EXPECT_EQ(options.limits, (PlotLimits{row.limit, row.limit, row.limit, row.limit})) << row.stored;
        EXPECT_EQ(options.contourFraction1, row.fraction) << row.stored;
        EXPECT_EQ(paper.plotWidthMm, row.millimetres) << row.stored;
        EXPECT_EQ(paper.plotHeightMm, row.millimetres) << row.stored;
        EXPECT_EQ(paper.axisLineWidth, row.width) << row.stored;
    }
    for (const auto& [index, shown] : {std::pair(-1, 0), {0, 0}, {2, 2}, {3, 0}}) {
        CombineOptions options;
        options.displayMode = options.contourMode = index;
        EXPECT_EQ(clamped(options).displayMode, shown) << index;
        EXPECT_EQ(clamped(options).contourMode, shown) << index;
    }
}

CombineState fullState() {
    CombineState state;
    CombineOptions& options = state.options;
    options.displayMode = 2;
    options.colorMode = 0;
    options.syncFeatures = options.syncAxes = options.manualLimits = options.showLegend = true;
    options.contourMode = 1;
    options.contourFraction1 = 0.25;
    options.contourFraction2 = 0.95;
    options.isoelasticity = options.isoLabels = options.manualArraySize = options.showCount = true;
    options.limits = {-1.5, 2.25, -1e12, 1e12};
    options.arrayCols = 3;
    CombineExportSettings& paper = state.exportSettings;
    paper = {8, 9, false, 10, true, false, 120.0, 80.0, 7, 2.5, false, false, QColor("#8000ff")};
    state.datasets = {{7, "area_um", "deform", QColor(1, 2, 3, 40), 1, 2}, {5, "x", "", QColor("#ff0000"), 0, 0}};
    state.showStats = true;
    return state;
}

TEST(CombineJson, ComesBackAsItWasStored) {
    const CombineState state = fullState();
    const QJsonObject object = combineToJson(state, {{5, 0}, {7, 1}});
    EXPECT_EQ(object.value("datasets").toArray()[0].toObject().value("color").toString(), "#010203");
    EXPECT_EQ(object.value("datasets").toArray()[0].toObject().value("colorAlpha").toInt(), 40);
    EXPECT_EQ(object.keys().size(), 22);
    EXPECT_EQ(combineFromJson(object, {{0, 5}, {1, 7}}), state);
    // A dataset that isn't there takes its row along.
    CombineState rest = state;
    rest.datasets.pop_back();
    EXPECT_EQ(combineFromJson(object, {{1, 7}}), rest);
}

TEST(CombineJson, MissingAndWrongValuesGetTheirDefaults) {
    EXPECT_EQ(combineFromJson({}, {}), CombineState());
    const QJsonObject odd{
        {"displayMode", "two"},
        {"colorMode", 9},
        {"contourFraction1", 0.0},
        {"contourFraction2", 7.0},
        {"xMin", -1e300},
        {"xMax", 0.123456},
        {"arrayCols", 1000},
        {"arrayRows", -4},
        {"showLegend", 1},
        {"exportSettings",
         QJsonObject{{"tickLabelSize", 99}, {"plotWidthMm", 1}, {"axisLineWidth", 9}, {"uniformColor", ""}}},
        {"datasets",
         QJsonArray{QJsonObject{{"datasetSessionIndex", 3}, {"color", "no colour"}, {"colorAlpha", 999}}, 42}}};
    const CombineState state = combineFromJson(odd, {{3, 30}});
    EXPECT_EQ(state.options.displayMode, 0);
    EXPECT_EQ(state.options.colorMode, 1);
    EXPECT_EQ(state.options.contourFraction1, 0.01);
    EXPECT_EQ(state.options.contourFraction2, 0.99);
    EXPECT_EQ(state.options.limits.xMin, -1e12);
    EXPECT_EQ(state.options.limits.xMax, 0.1235);
    EXPECT_EQ(state.options.arrayCols, 50);
    EXPECT_EQ(state.options.arrayRows, 0);
    EXPECT_FALSE(state.options.showLegend);
    EXPECT_EQ(state.exportSettings.tickLabelSize, 24);
    EXPECT_EQ(state.exportSettings.plotWidthMm, 50.0);
    EXPECT_EQ(state.exportSettings.axisLineWidth, 5.0);
    EXPECT_EQ(state.exportSettings.uniformColor, QColor(Qt::black));
    ASSERT_EQ(state.datasets.size(), 1U);
    EXPECT_EQ(state.datasets[0].color, QColor("#1f77b4"));
}

TEST_F(CombineModelTest, RestoresWithoutRulesAndWithoutStrangers) {
    CombineDatasetSettings known{1, "gone", "deform", Qt::red, 9, 2};
    CombineOptions options;
    options.displayMode = 2; // more than one row would ask for synchronised features
    model.restore({{99, "a", "b", Qt::red, 0, 0}, known, {0, "area_um", "deform", Qt::blue, 0, 1}, known}, options, {});
    EXPECT_EQ(order(), (std::vector<int>{1, 0}));
    EXPECT_EQ(features()[0], "gone/deform"); // kept until its column arrives
    EXPECT_EQ(scales(), (std::vector<int>{2, 1}));
    EXPECT_EQ(model.options(), options);
}

} // namespace
} // namespace Tessaly
