#include "session/SessionBuilder.h"
#include "session/compare/CompareSettings.h"
#include "session/compare/DatasetValue.h"
#include "session/compare/Distributions.h"
#include "session/compare/TaskRun.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <numeric>
#include <stdexcept>

namespace Tessaly {
namespace {

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

const std::vector<std::string> areaAndDeform{"area_um", "deform"};

Category categoryOf(const std::vector<const DatasetEntry*>& datasets) {
    Category category;
    for (const DatasetEntry* dataset : datasets) {
        category.entries.push_back(categoryEntryOf(*dataset));
    }
    return category;
}

DatasetValues valuesOf(SessionBuilder& builder, const DatasetEntry& dataset, SampleSummary summary) {
    return datasetValues(sourcesOf(std::vector{categoryOf({&dataset})}, builder.session)[0], areaAndDeform, summary);
}

TEST(DatasetValue, FilteredAndFinite) {
    SessionBuilder builder;
    DatasetEntry& dataset = builder.add({{"area_um", {1, 2, 3, 4, 100}}, {"deform", {nan, 7, inf, 9, -inf}}});
    EXPECT_EQ(valuesOf(builder, dataset, SampleSummary::Median), (DatasetValues{{3, 8}, true}));
    dataset.filter.addRule(rangeRule("area_um", 2, 4));
    EXPECT_EQ(valuesOf(builder, dataset, SampleSummary::Mean), (DatasetValues{{3, 8}, true}));
    // A group's rules count, too: only the third event is left, which has no deformation.
    const int group = builder.session.addFilterGroup("g");
    builder.session.addRuleToGroup(group, rangeRule("area_um", 3, 3.5));
    builder.session.setGroupEnabled(dataset.id, group, true);
    EXPECT_EQ(valuesOf(builder, dataset, SampleSummary::Mean), (DatasetValues{{3, 0}, false}));
    dataset.filter.setEnabled(false);
    EXPECT_EQ(valuesOf(builder, dataset, SampleSummary::Median).values.size(), 2U);
}

TEST(DatasetValue, NothingToRead) {
    SessionBuilder builder;
    DatasetEntry& lacking = builder.add({{"area_um", {5, 6}}});
    EXPECT_EQ(valuesOf(builder, lacking, SampleSummary::Mean), (DatasetValues{{5.5, 0}, false}));
    lacking.filter.addRule(rangeRule("area_um", 50, 60));
    EXPECT_EQ(valuesOf(builder, lacking, SampleSummary::Mean), (DatasetValues{{0, 0}, false}));
    lacking.reader.reset();
    EXPECT_EQ(valuesOf(builder, lacking, SampleSummary::Mean), (DatasetValues{{0, 0}, false}));
    const ValueTable table{{3, {{1.5}, true}}};
    EXPECT_EQ(valueIn(table, 3, 0), 1.5);
    EXPECT_EQ(valueIn(table, 3, 1), 0.0);
    EXPECT_EQ(valueIn(table, 4, 0), 0.0);
}

TEST(DatasetValue, NamesWithoutValues) {
    const ValueTable table{{1, {{1.5}, true}}, {2, {{0}, false}}, {4, {{}, true}}};
    EXPECT_EQ(datasetsWithValues(table), (std::set<int>{1, 4}));
    std::vector<Category> categories(2);
    for (const int id : {3, 1, 2}) {
        CategoryEntry entry;
        entry.datasetId = id;
        entry.name = QString::number(id);
        categories[0].entries.push_back(entry);
        categories[1].entries.insert(categories[1].entries.begin(), entry);
    }
    EXPECT_EQ(namesWithoutValues(categories, datasetsWithValues(table)), (QStringList{"3", "2"}));
    EXPECT_TRUE(namesWithoutValues({}, {}).isEmpty());
}

TEST(DatasetValue, SourcesAreListedOnce) {
    SessionBuilder builder;
    const DatasetEntry& a = builder.add({{"area_um", {1}}});
    const DatasetEntry& b = builder.add({{"area_um", {1}}});
    Category first = categoryOf({&b, &a});
    first.entries.push_back({});
    const std::vector<DatasetSource> sources = sourcesOf(std::vector{first, categoryOf({&a})}, builder.session);
    ASSERT_EQ(sources.size(), 2U);
    EXPECT_EQ(sources[0].datasetId, b.id);
    EXPECT_EQ(sources[1].datasetId, a.id);
}

/// All steps, one dataset after the other.
DistributionWork distributionsOf(const Comparison& comparison, const Session& session) {
    DistributionWork work(comparison, sourcesOf(comparison.categories, session));
    for (std::size_t i = 0; i < work.datasetCount(); ++i) {
        work.look(i);
    }
    work.layGrids();
    for (std::size_t i = 0; i < work.datasetCount(); ++i) {
        work.estimate(i);
    }
    return work;
}

TEST(Distributions, SeriesAndGrids) {
    SessionBuilder builder;
    DatasetEntry& a = builder.add({{"area_um", {0, 2, 4, 50}}, {"deform", {1, 1, 1, 1}}});
    DatasetEntry& b = builder.add({{"area_um", {nan, 10, 6, inf}}});
    DatasetEntry& empty = builder.add({{"area_um", {nan, nan}}});
    a.filter.addRule(rangeRule("area_um", -1, 40));
    Comparison comparison;
    comparison.features = {{"area_um", "Area"}, {"deform", "Deformation"}, {"nowhere", "Nowhere"}};
    comparison.categories = {categoryOf({&b, &empty, &a}), categoryOf({}), categoryOf({&a})};
    const DistributionWork work = distributionsOf(comparison, builder.session);
    EXPECT_TRUE(work.datasetsWithValues().empty()); // none has all three
    const std::vector<FeatureDistribution> found = work.results();
    ASSERT_EQ(found.size(), 2U); // no plot for a feature without values
    EXPECT_EQ(found[0].feature.label, "Area");
    EXPECT_EQ(found[0].grid, densityGrid(0, 10));
    ASSERT_EQ(found[0].series.size(), 3U);
    EXPECT_EQ(found[0].series[0].name, b.displayName);
    EXPECT_EQ(found[0].series[1].name, a.displayName);
    EXPECT_EQ(found[0].series[1].category, 0U);
    EXPECT_EQ(found[0].series[2].category, 2U);
    EXPECT_EQ(found[0].series[1].density, densityCurve(std::vector<double>{0, 2, 4}, found[0].grid));
    EXPECT_EQ(found[0].series[2].density, found[0].series[1].density);
    EXPECT_EQ(found[1].grid, densityGrid(1, 1));

    const std::vector<CategoryDistribution> means = categoryMeans(found[0]);
    ASSERT_EQ(means.size(), 2U);
    EXPECT_EQ(means[0].category, 0U);
    EXPECT_EQ(means[1].category, 2U);
    EXPECT_TRUE(means[1].curve.sd.empty());
    ASSERT_EQ(means[0].curve.sd.size(), CurveGrid::size);
    const double one = found[0].series[0].density[100];
    const double other = found[0].series[1].density[100];
    EXPECT_NEAR(means[0].curve.mean[100], (one + other) / 2, 1e-15);
    EXPECT_NEAR(means[0].curve.sd[100], std::fabs(one - other) / std::sqrt(2.0), 1e-15);
    comparison.features.resize(1);
    EXPECT_EQ(distributionsOf(comparison, builder.session).datasetsWithValues(), (std::set<int>{a.id, b.id}));
    EXPECT_EQ(distributionRefusal({})->text, "Select at least one feature.");
    EXPECT_FALSE(distributionRefusal(comparison));
}

TEST(CompareState, RoundTripAndDefaults) {
    SessionBuilder builder;
    SampleFileOptions options;
    const DatasetEntry& a = builder.add(options);
    const DatasetEntry& b = builder.add({{"area_um", {1}}});
    CompareState state;
    state.categories = {categoryOf({&b, &a}), categoryOf({&a})};
    state.categories[0].name = "Baseline";
    state.categories[0].removable = false;
    state.categories[0].color = "#102030";
    state.categories[0].entries[1].numberId = 4;
    state.categories[0].entries[1].bioRepId = 5;
    state.categories[0].entries[1].techRepId = 6;
    state.categories[1].color = "#A0b9f0";
    state.selectedFeatures = QStringList{"deform", "lost"};
    state.settings = {SampleSummary::Iqr, CompareDesign::Matched, true, true, 0.01, Correction::Holm};
    state.nextCategoryIndex = 7;
    state.activeTab = 2;
    const QJsonObject object = compareStateToJson(state, {{a.id, 0}, {b.id, 1}});
    EXPECT_EQ(compareStateFromJson(object, {{0, a.id}, {1, b.id}}, builder.session), state);
    EXPECT_EQ(object["correctionMethod"], "Holm-Bonferroni");
    EXPECT_EQ(object["averageMethod"], "IQR");
    EXPECT_EQ(object["pairingMode"], "Repeated measures / Matched");
    const QJsonArray saved = object["categories"].toArray();
    EXPECT_EQ(saved[0].toObject()["entries"].toArray()[1].toObject()["datasetSessionIndex"], 0);

    // A dataset that didn't come back is left out; another one may stand at another place.
    const CompareState partly = compareStateFromJson(object, {{0, b.id}}, builder.session);
    ASSERT_EQ(partly.categories[0].entries.size(), 1U);
    EXPECT_EQ(partly.categories[0].entries[0].datasetId, b.id);
    EXPECT_EQ(partly.categories[0].entries[0].name, b.displayName);

    EXPECT_EQ(compareStateFromJson({}, {}, builder.session), CompareState{});
    const QJsonObject odd = QJsonDocument::fromJson(R"({"categories": [5, {"color": "red?"}, {"name": 3, "entries": 4}],
        "selectedFeatures": [1, "deform", null], "alpha": "x", "correctionMethod": "Other", "averageMethod": 3,
        "pairingMode": null, "technicalReplicates": 1, "connectionLines": true, "nextCategoryIndex": -4,
        "activeTab": 99})")
                                .object();
    const CompareState read = compareStateFromJson(odd, {}, builder.session);
    ASSERT_EQ(read.categories.size(), 3U);
    EXPECT_EQ(read.categories[1].color, "#dc503c"); // the palette's
    EXPECT_FALSE(read.categories[0].removable);
    EXPECT_EQ(read.selectedFeatures, QStringList("deform"));
    EXPECT_EQ(read.settings, CompareSettings{}); // lines belong to matched samples
    EXPECT_EQ(read.nextCategoryIndex, 1);
    EXPECT_EQ(read.activeTab, 2);
}

TEST(TaskRun, PhasesAndProgress) {
    TaskRun run;
    std::vector<int> progress;
    QObject::connect(&run, &TaskRun::progressChanged, &run, [&](int done, int total) {
        if (total > 0) {
            EXPECT_EQ(total, 9);
            progress.push_back(done);
        }
    });
    std::atomic<int> first = 0;
    std::atomic<int> seen = -1;
    bool finished = false;
    TaskRun::Phases phases(3);
    phases[0].assign(8, [&](const std::stop_token&) { ++first; });
    phases[2] = {[&](const std::stop_token&) {
        seen = first.load();
        throw std::runtime_error("a task that fails is over all the same");
    }};
    run.start(phases, [&] { finished = true; });
    EXPECT_TRUE(run.isRunning());
    EXPECT_FALSE(finished);
    EXPECT_TRUE(QTest::qWaitFor([&] { return finished; }));
    EXPECT_FALSE(run.isRunning());
    EXPECT_EQ(seen, 8); // the last phase began when the first had ended
    std::vector<int> expected(10);
    std::iota(expected.begin(), expected.end(), 0);
    EXPECT_EQ(progress, expected);
    finished = false;
    run.start({}, [&] { finished = true; });
    EXPECT_FALSE(finished);
    EXPECT_TRUE(QTest::qWaitFor([&] { return finished; }));
}

TEST(TaskRun, DroppedRunsSayNothing) {
    std::atomic<bool> release = false;
    bool dropped = false;
    bool finished = false;
    {
        TaskRun run;
        int ended = 0;
        QObject::connect(&run, &TaskRun::ended, &run, [&] { ++ended; });
        const TaskRun::Task waiting = [&](const std::stop_token& stop) {
            while (!release && !stop.stop_requested()) {
                QThread::yieldCurrentThread();
            }
        };
        run.start({{waiting, waiting, waiting}}, [&] { dropped = true; });
        run.drop();
        EXPECT_EQ(ended, 1);
        run.drop();
        EXPECT_EQ(ended, 1);
        // Another one replaces what runs, and only its end is told.
        run.start({{waiting}}, [&] { dropped = true; });
        run.start({{[](const std::stop_token&) {}}}, [&] { finished = true; });
        EXPECT_TRUE(QTest::qWaitFor([&] { return finished; }));
        EXPECT_EQ(ended, 3);
        run.start({{waiting}}, [&] { dropped = true; });
    } // ends while it runs
    QTest::qWait(0);
    EXPECT_FALSE(dropped);
}

} // namespace
} // namespace Tessaly
