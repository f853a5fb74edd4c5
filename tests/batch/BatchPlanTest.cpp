#include "batch/BatchFixture.h"
#include "batch/PlanMaking.h"
#include "session/SessionBuilder.h"
#include "session/document/SessionDocument.h"
#include "session/filters/GroupFile.h"

#include <QJsonDocument>

namespace Tessaly {

namespace {

/// A plan in which nothing has its default, as it is stored.
const char* const fullJson = R"json({
    "formatVersion": 1,
    "calculations": {
        "refinement": {
            "hampel1": false, "hampel1HalfWindow": 7, "hampel1Threshold": 2.5,
            "hampel2": false, "hampel2HalfWindow": 13, "hampel2Threshold": 3.25,
            "median": true, "medianHalfWindow": 4, "rolling": true, "rollingHalfWindow": 5,
            "savitzkyGolay": false, "savitzkyGolayHalfWindow": 6, "flMaxThreshold": 123.5},
        "compensation": {"channels": [1, 3], "matrix": [[1, 0.1], [0.3333333333333333, 1]]},
        "fourier": true,
        "modulus": {"temperatureSource": "manual", "temperature": 30.1, "viscosity": 4.9, "deformation": "deform_fc"}},
    "filter": {
        "enabled": false, "combineMode": "NOT", "gates": [
            {"name": "", "rules": [
                {"type": "Range", "featureName": "area_um", "featureNameY": "", "minValue": 0.1, "maxValue": 1e9,
                 "polygonVertices": [], "scaleXMode": 0, "scaleYMode": 0, "enabled": true, "inverted": false,
                 "propagationId": ""}]},
            {"name": "Größe \"x\"", "rules": [
                {"type": "Polygon", "featureName": "area_um", "featureNameY": "deform", "minValue": 0, "maxValue": 0,
                 "polygonVertices": [[1, 2], [3, 4], [5, 1e-300]], "scaleXMode": 1, "scaleYMode": 2, "enabled": false,
                 "inverted": true, "propagationId": ""}]}]},
    "outputs": {
        "summary": {"features": ["deform", "area_um"], "percentile": 12.5, "statistics":
                    ["Q1", "Q3", "Mean", "SD", "SEM", "CV (%)", "Min", "Max", "Skewness"]},
        "table": {"features": ["deform"]},
        "measurement": {"features": ["area_um"], "images": true, "masks": true, "traces": true},
        "counts": true}
})json";

/// The same plan.
BatchPlan fullPlan() {
    BatchPlan plan;
    plan.refinement = {{false, 7, 2.5F, false, 13, 3.25F, true, 4, true, 5, false, 6}, 123.5};
    plan.compensation = PlanCompensation{{1, 3}, {{1, 0.1}, {1.0 / 3, 1}}};
    plan.fourier = true;
    plan.modulus = EModulusSettings{TemperatureSource::Manual, 30.1, 4.9, "deform_fc"};
    plan.filterEnabled = false;
    plan.combineMode = EventFilter::ShowExcluded;
    FilterRule polygon = polygonRule("area_um", "deform", {{1, 2}, {3, 4}, {5, 1e-300}});
    polygon.scaleXMode = 1;
    polygon.scaleYMode = 2;
    polygon.inverted = true;
    polygon.enabled = false;
    plan.gates = {{"", {rangeRule("area_um", 0.1, 1e9)}}, {"Größe \"x\"", {polygon}}};
    plan.summary = {{"deform", "area_um"},
                    false,
                    "",
                    false,
                    false,
                    false,
                    true,
                    true,
                    true,
                    true,
                    true,
                    true,
                    true,
                    true,
                    true,
                    true,
                    12.5};
    plan.table.emplace().features = {"deform"};
    plan.table->tsv = true;
    plan.measurement.emplace().features = {"area_um"};
    plan.measurement->images = plan.measurement->masks = plan.measurement->traces = true;
    plan.counts = true;
    return plan;
}

QString problemIn(QByteArray json) {
    return planFromJson(json.replace('\'', '"')).problem;
}

} // namespace

TEST(BatchPlan, IsStoredAsDescribed) {
    const PlanReading reading = planFromJson(fullJson);
    EXPECT_EQ(reading.problem, "");
    EXPECT_EQ(reading.plan, fullPlan());
    EXPECT_EQ(QJsonDocument::fromJson(planToJson(fullPlan())), QJsonDocument::fromJson(fullJson));
    // The layout of the file makes no difference, anything else does.
    EXPECT_EQ(planDigest(reading.plan), planDigest(planFromJson(planToJson(fullPlan()).simplified()).plan));
    BatchPlan other = fullPlan();
    other.gates[0].rules[0].maxValue *= 1 + 1e-15;
    EXPECT_NE(planDigest(other), planDigest(fullPlan()));
}

TEST(BatchPlan, RefusesWhatItWouldMisunderstand) {
    const struct {
        const char* json;
        const char* problem; ///< a part of it
    } cases[] = {
        {"", "not a plan"},
        {"[]", "must be an object"},
        {"{}", "formatVersion must be a number"},
        {"{'formatVersion': 2, 'outputs': {'counts': true}}", "format version 2"},
        {"{'formatVersion': 1}", "outputs must be an object"},
        {"{'formatVersion': 1, 'outputs': {}}", "no output"},
        {"{'formatVersion': 1, 'outputs': {'counts': true}, 'gates': []}", "unknown key gates"},
        {"{'formatVersion': 1, 'outputs': {'counts': 1}}", "outputs.counts must be true or false"},
        {"{'formatVersion': 1, 'outputs': {'summary': {'features': [], 'statistics': ['N']}}}", "at least one feature"},
        {"{'formatVersion': 1, 'outputs': {'summary': {'features': ['a'], 'statistics': ['Mode']}}}", "Mode"},
        {"{'formatVersion': 1, 'outputs': {'summary': {'features': ['a'], 'statistics': ['N'], 'percentile': 101}}}",
         "from 0 to 100"},
        {"{'formatVersion': 1, 'outputs': {'table': {'features': [3]}}}", "outputs.table.features"},
        {"{'formatVersion': 1, 'outputs': {'counts': true}, 'calculations': {'modulus': {'temperatureSource': 'x'}}}",
         "calculations.modulus.temperatureSource"},
        {"{'formatVersion': 1, 'outputs': {'counts': true}, 'calculations': {'compensation': {'channels': [1, 2], "
         "'matrix': [[1, 0]]}}}",
         "calculations.compensation.matrix"},
        {"{'formatVersion': 1, 'outputs': {'counts': true}, 'filter': {'gates': [{'rules': [{'type': 'Range', "
         "'featureName': 'a', 'minValue': 1}]}]}}",
         "filter.gates[0].rules[0].maxValue"},
        {"{'formatVersion': 1, 'outputs': {'counts': true}, 'filter': {'gates': [{'rules': [{'type': 'Polygon', "
         "'featureName': 'a', 'featureNameY': 'b', 'polygonVertices': [[1, 2], [3, 4]]}]}]}}",
         "polygonVertices"},
        {"{'formatVersion': 1, 'outputs': {'counts': true}, 'filter': {'gates': [{'rules': [{'type': 'Range', "
         "'featureName': 'a', 'minValue': 1, 'maxvalue': 2, 'maxValue': 2}]}]}}",
         "unknown key filter.gates[0].rules[0].maxvalue"},
    };
    for (const auto& each : cases) {
        EXPECT_TRUE(problemIn(each.json).contains(each.problem))
            << each.json << ": " << problemIn(each.json).toStdString();
    }
    EXPECT_EQ(problemIn("{'formatVersion': 1, 'outputs': {'counts': true}, 'filter': {'gates': [{'rules': [{'type': "
                        "'Range', 'featureName': 'a', 'minValue': 1, 'maxValue': 2}]}]}}"),
              "");
}

/// The program makes the same plan of a session file as the window does of the session itself.
TEST_F(Batch, PlanOfASession) {
    SessionBuilder builder;
    builder.add({{"area_um", {1, 2}}});
    DatasetEntry& dataset = builder.add({{"area_um", {1, 2}}, {"deform", {3, 4}}});
    dataset.displayName = "treated";
    dataset.xFeatureName = "area_um";
    dataset.yFeatureName = "deform";
    dataset.filter.addRule(rangeRule("area_um", 1, 5));
    dataset.filter.addRule(polygonRule("area_um", "deform", {{1, 2}, {3, 4}})); // still being drawn
    dataset.filter.setCombineMode(EventFilter::ShowExcluded);
    dataset.flRefinementApplied = dataset.ctcApplied = dataset.emodApplied = true;
    dataset.ctcChannels = {1, 2};
    dataset.spilloverMatrix = {{1, 0.25}, {0.5, 1}};
    for (const char* name : {"on", "off"}) {
        const int group = builder.session.addFilterGroup(name);
        builder.session.addRuleToGroup(group, rangeRule("time", 0, group + 1));
        builder.session.setGroupEnabled(dataset.id, group, std::string(name) == "on");
    }
    builder.session.setActive(dataset.id);
    const QString session = path("s.TSY");
    ASSERT_FALSE(writeSessionFile(session, captureSession(builder.session, session, 0)));
    ASSERT_EQ(exportFilterGroups(builder.session, std::vector<int>{1}, path("g.tsyfg")).failure, "");

    BatchPlan wanted;
    wanted.refinement.emplace();
    wanted.compensation = PlanCompensation{{1, 2}, {{1, 0.25}, {0.5, 1}}};
    wanted.modulus = EModulusSettings{TemperatureSource::Manual, 25.5, 1.0, "deform"};
    wanted.combineMode = EventFilter::ShowExcluded;
    wanted.gates = {{"", {rangeRule("area_um", 1, 5)}}, {"on", {rangeRule("time", 0, 1)}}};
    wanted.summary.emplace().features = {"area_um", "deform", "time", "emodulus"};
    ProgramEnd end = run({"plan", "-s", session, "--temperature", "25.5"});
    EXPECT_EQ(end.code, 0) << end.err;
    EXPECT_EQ(end.out, planToJson(wanted).toStdString());
    for (const char* same : {"2", "treated"}) {
        EXPECT_EQ(run({"plan", "-s", session, "--temperature", "25.5", "--dataset", same}).out, end.out) << same;
    }

    BatchPlan fromWindow;
    takeDataset(fromWindow, builder.session, dataset, {}, *wanted.modulus);
    fromWindow.summary = wanted.summary;
    EXPECT_EQ(fromWindow, wanted);

    // Another dataset, with more gates, and outputs of all kinds.
    BatchPlan other;
    other.fourier = true;
    other.gates = {{"", {rangeRule("bright_avg", -1, 100)}}, {"off", {rangeRule("time", 0, 2)}}};
    other.summary.emplace().features = {"deform"};
    other.summary->count = other.summary->median = other.summary->iqr = false;
    other.summary->cv = other.summary->percentileOn = true;
    other.summary->percentile = 5;
    other.table.emplace().features = {"deform"};
    other.measurement.emplace().features = {"deform"};
    other.measurement->images = other.measurement->traces = true;
    other.counts = true;
    end = run({"plan",
               "-s",
               session,
               "--dataset",
               "1",
               "--groups",
               path("g.tsyfg"),
               "--range",
               "bright_avg,-1,100",
               "--fourier",
               "--features",
               "deform",
               "--statistics",
               "cv (%)",
               "--percentile",
               "5",
               "--table",
               "--measurement",
               "--with",
               "images,traces",
               "--counts",
               "-o",
               path("p.json")});
    EXPECT_EQ(end.code, 0) << end.err;
    EXPECT_EQ(text("p.json"), planToJson(other).toStdString());

    const SessionBuilder empty;
    ASSERT_FALSE(writeSessionFile(path("empty.TSY"), captureSession(empty.session, path("empty.TSY"), 0)));
    writeText("rubbish.tsyfg", "{");
    const struct {
        QStringList options;
        int code;
        const char* complaint;
    } refused[] = {{{"-s", path("empty.TSY")}, 1, "empty.TSY: the session has no datasets"},
                   {{"-s", path("g.tsyfg")}, 1, "g.tsyfg: "},
                   {{"-s", session, "-g", path("rubbish.tsyfg")}, 1, "rubbish.tsyfg: "},
                   {{"-s", session, "--dataset", "0"}, 2, "no dataset 0"},
                   {{"-s", session, "--dataset", "3"}, 2, "no dataset 3"},
                   {{"--dataset", "1", "--features", "a"}, 2, "--dataset"}};
    for (const auto& [options, code, complaint] : refused) {
        end = run(QStringList{"plan"} + options);
        EXPECT_EQ(end.code, code) << options.join(' ').toStdString();
        EXPECT_EQ(end.out, "");
        EXPECT_NE(end.err.find(complaint), std::string::npos) << end.err;
    }
}

} // namespace Tessaly
