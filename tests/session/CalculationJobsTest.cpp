#include "session/CalculationJobs.h"

#include "session/SessionBuilder.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace Tessaly {

namespace {

constexpr auto Active = CalculationScope::Active;
constexpr auto All = CalculationScope::All;

/// The datasets of a job, by their ids; duplicates count as the first one.
std::vector<int> idsOf(const Session& session, const CalculationJob& job) {
    std::vector<int> ids;
    for (const CalculationTask& task : job.tasks) {
        const auto owner = std::ranges::find(session.datasets(), task.reader, [](const auto& d) { return d->reader; });
        ids.push_back((*owner)->id);
    }
    return ids;
}

const std::vector<double> Three = {1, 2, 3};
const std::map<std::string, std::vector<double>> TwoChannels = {
    {"fl1_max", Three}, {"fl2_max", Three}, {"fl1_max_ctc", Three}, {"area_um", Three}, {"deform", Three}};

} // namespace

TEST(CalculationJobsTest, EachCalculationTakesTheDatasetsThatItCanBeDoneFor) {
    SessionBuilder builder;
    Session& session = builder.session;
    SampleFileOptions full;
    full.events = 3;
    const int whole = builder.add(full).id; // three channels, traces, masks
    const int plain = builder.add(TwoChannels).id;
    const int copy = session.duplicate(whole);
    SampleFileOptions reservoir = full;
    reservoir.textAttributes["setup:chip region"] = "reservoir";
    reservoir.masks = false;
    const int still = builder.add(reservoir).id;
    builder.add(full).featuresLoaded = false;
    const int lone = builder.add({{"fl3_max", Three}, {"area_um", Three}}).id;

    struct Case {
        int active;
        std::vector<int> refined, compensated, moduli, fourier; // with "all"
        bool one, two, three, four;                             // whether the active one alone has work
    };
    const Case cases[] = {{whole, {whole, still}, {whole, still}, {whole, plain}, {whole}, true, true, true, true},
                          {copy, {whole, still}, {whole, still}, {whole, plain}, {whole}, true, true, true, true},
                          {plain, {whole, still}, {plain}, {whole, plain}, {whole}, false, true, true, false},
                          {still, {whole, still}, {whole, still}, {whole, plain}, {whole}, true, true, false, false},
                          {lone, {whole, still}, {}, {whole, plain}, {whole}, false, false, false, false},
                          {-1, {whole, still}, {}, {whole, plain}, {whole}, false, false, false, false}};
    EModulus engine;
    const auto params = [](const DatasetEntry&) { return EModulusParams(); };
    for (const Case& c : cases) {
        session.setActive(c.active);
        EXPECT_EQ(idsOf(session, refinementJob(session, All, {})), c.refined) << c.active;
        EXPECT_EQ(idsOf(session, compensationJob(session, All, {})), c.compensated) << c.active;
        EXPECT_EQ(idsOf(session, modulusJob(session, All, engine, params)), c.moduli) << c.active;
        EXPECT_EQ(idsOf(session, fourierJob(session, All)), c.fourier) << c.active;
        EXPECT_EQ(refinementJob(session, Active, {}).tasks.size(), c.one ? 1U : 0U) << c.active;
        EXPECT_EQ(compensationJob(session, Active, {}).tasks.size(), c.two ? 1U : 0U) << c.active;
        EXPECT_EQ(modulusJob(session, Active, engine, params).tasks.size(), c.three ? 1U : 0U) << c.active;
        EXPECT_EQ(fourierJob(session, Active).tasks.size(), c.four ? 1U : 0U) << c.active;
    }
}

TEST(CalculationJobsTest, InputsAreThoseOfTheStartAndColumnsThoseOfTheEnd) {
    SessionBuilder builder;
    DatasetEntry& dataset = builder.add({{"fl1_max", {100, 200}}, {"fl2_max", {70, 90}}});
    builder.session.setActive(dataset.id);
    CalculationJob job = compensationJob(builder.session, Active, {{1, 0.5}, {0, 1}});
    builder.session.setActive(-1);
    // Refined meanwhile: the later values count.
    dataset.reader->setFeature("fl1_max_rf", {300, 400});
    const StepResult result = job.tasks.at(0).prepare()(StepControl());
    ASSERT_TRUE(result.done);
    // By hand: x1 = y1 - 0.5 y2, x2 = y2.
    EXPECT_EQ(result.columns[0], (ComputedColumn{"fl1_max_ctc", {265, 355}}));
    EXPECT_EQ(result.columns[1], (ComputedColumn{"fl2_max_ctc", {70, 90}}));
    job.mark(dataset);
    EXPECT_TRUE(dataset.ctcApplied);
    EXPECT_EQ(dataset.ctcChannels, (std::vector<int>{1, 2}));
    EXPECT_EQ(dataset.spilloverMatrix, (SquareMatrix{{1, 0.5}, {0, 1}}));
}

TEST(CalculationJobsTest, RebuildingIsForWhatTheFlagsPromiseAndTheReaderLacks) {
    SessionBuilder builder;
    SampleFileOptions options;
    options.events = 4;
    DatasetEntry& dataset = builder.add(options);
    const auto kinds = [&dataset] {
        std::vector<Calculation> found;
        for (const CalculationJob& job : rebuildJobs(dataset)) {
            found.push_back(job.kind);
        }
        return found;
    };
    using Kinds = std::vector<Calculation>;
    EXPECT_EQ(kinds(), Kinds());
    dataset.flRefinementApplied = dataset.ctcApplied = true;
    EXPECT_EQ(kinds(), Kinds{Calculation::Refinement}) << "no matrix is kept";
    dataset.ctcChannels = {1, 2, 3};
    dataset.spilloverMatrix = {{1, 0, 0}, {0, 1, 0}};
    EXPECT_EQ(kinds(), Kinds{Calculation::Refinement}) << "a row is missing";
    dataset.spilloverMatrix.push_back({0, 0});
    EXPECT_EQ(kinds(), Kinds{Calculation::Refinement}) << "a column is missing";
    dataset.spilloverMatrix.back().push_back(1);
    EXPECT_EQ(kinds(), (Kinds{Calculation::Refinement, Calculation::Compensation}));
    dataset.reader->setFeature("fl1_max_rf", {1, 2, 3, 4});
    dataset.reader->setFeature("fl1_max_ctc", {1, 2, 3, 4});
    EXPECT_EQ(kinds(), Kinds{Calculation::Compensation}) << "one of three channels is there";
    dataset.ctcChannels = {1, 2, 4};
    EXPECT_EQ(kinds(), Kinds()) << "the file has other channels";
    dataset.ctcChannels = {1, 2, 3};
    dataset.featuresLoaded = false;
    EXPECT_EQ(kinds(), Kinds());
}

TEST(CalculationJobsTest, ModuliTakeTheDeformationThatIsThere) {
    SessionBuilder builder;
    DatasetEntry& dataset = builder.add({{"area_um", {100}}, {"deform_fc", {0.02}}});
    DatasetEntry& other = builder.add({{"area_um", {100}}, {"deform", {0.02}}});
    EModulus engine;
    const auto job = [&](const char* feature) {
        return idsOf(builder.session, modulusJob(builder.session, All, engine, [feature](const DatasetEntry&) {
                         EModulusParams params;
                         params.deformFeature = feature;
                         return params;
                     }));
    };
    EXPECT_EQ(job("deform"), std::vector<int>{other.id});
    EXPECT_EQ(job("deform_fc"), (std::vector<int>{dataset.id, other.id}));
}

TEST(CalculationJobsTest, RulesOnModuliDoNotDecideHowModuliAreJudged) {
    SessionBuilder builder;
    DatasetEntry& dataset =
        builder.add({{"deform", {1, 2, 3, 4}}, {"emodulus", {9, 9, 1, 1}}, {"area_um", {1, 1, 1, 1}}});
    const auto range = [](const char* feature, double low, double high, bool enabled = true) {
        FilterRule rule;
        rule.featureName = feature;
        rule.minValue = low;
        rule.maxValue = high;
        rule.enabled = enabled;
        return rule;
    };
    FilterRule gate;
    gate.type = FilterRule::Polygon;
    gate.featureName = "deform";
    gate.featureNameY = "emodulus";
    gate.polygonVertices = {{0, 0}, {1.5, 0}, {1.5, 10}};
    dataset.filter.addRule(range("emodulus", 0, 2));
    dataset.filter.addRule(gate);
    dataset.filter.addRule(range("area_um", 5, 6, false));
    using Events = std::vector<std::int32_t>;
    EXPECT_EQ(eventsToAssess(builder.session, dataset, true), (Events{0, 1, 2, 3}));
    dataset.filter.addRule(range("deform", 2, 3));
    EXPECT_EQ(eventsToAssess(builder.session, dataset, true), (Events{1, 2}));
    EXPECT_EQ(eventsToAssess(builder.session, dataset, false), (Events{0, 1, 2, 3}));
    dataset.filter.setCombineMode(EventFilter::ShowExcluded);
    EXPECT_EQ(eventsToAssess(builder.session, dataset, true), (Events{0, 3}));
    dataset.filter.setEnabled(false);
    EXPECT_EQ(eventsToAssess(builder.session, dataset, true), (Events{0, 1, 2, 3}));
}

} // namespace Tessaly
