#include "session/export/StatSummary.h"

#include "session/SessionBuilder.h"
#include "support/Tools.h"

#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace Tessaly {

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

StatSummaryConfig allFigures(std::vector<std::string> features) {
    StatSummaryConfig config;
    config.features = std::move(features);
    config.mean = config.sd = config.sem = config.q1 = config.q3 = config.min = config.max = config.cv = true;
    config.skewness = config.percentileOn = true;
    return config;
}

/// All figures of some values.
std::vector<double> figuresOf(const std::vector<double>& values, double percentile) {
    return computeSummary(values, summaryFigures(allFigures({})), percentile);
}

std::string tableOf(SessionBuilder& builder, const StatSummaryConfig& config) {
    std::vector<const DatasetEntry*> datasets;
    for (const auto& dataset : builder.session.datasets()) {
        datasets.push_back(dataset.get());
    }
    return summaryTable(builder.session, datasets, config);
}

} // namespace

TEST(StatSummary, AgreesWithNumPyAndSciPy) {
    std::mt19937 random(5);
    Columns columns;
    std::string listed;
    for (int i = 0; i < 2001; ++i) {
        const double u = static_cast<double>(random()) / 4294967296.0;
        columns["deform"].push_back(i % 17 == 0 ? nan : u * u - 0.2);
        columns["area_um"].push_back(i % 19 == 0 ? HUGE_VAL : 1e5 + u);
        columns["time"].push_back(i);
        if (i >= 100) {
            listed.append(listed.empty() ? "" : ",").append(std::to_string(i));
        }
    }
    SessionBuilder builder;
    DatasetEntry& dataset = builder.add(columns);
    dataset.filter.addRule(rangeRule("time", 100, 1e9));
    StatSummaryConfig config = allFigures({"area_um", "deform", "time"});
    config.percentile = 12.3;
    config.allDatasets = true;
    TemporaryFolder folder;
    config.outputPath = QString::fromStdString(folder.file("summary.tsv"));
    EXPECT_EQ(exportStatSummary(builder.session, config),
              (UserMessage{UserMessage::Kind::Information, "Export",
                           "Statistical summary exported to:\n" + config.outputPath}));
    // NumPy 1.24, SciPy 1.10
    EXPECT_EQ(script("check_exports.py",
                     "summary " + dataset.filePath + " " + folder.file("summary.tsv") + " 12.3 " + listed),
              "");
}

TEST(StatSummary, SmallAndSpecialSamples) {
    //   N Median IQR Q1 Q3 P Mean SD SEM CV Min Max Skewness, by hand
    EXPECT_EQ(figuresOf({}, 50), std::vector<double>(13, 0.0));
    EXPECT_EQ(figuresOf({-7}, 50), (std::vector<double>{1, -7, 0, -7, -7, -7, -7, 0, 0, 0, -7, -7, 0}));
    // Two values have a deviation but no skewness; a mean of 0 has no coefficient of variation.
    EXPECT_EQ(figuresOf({1, -1}, 100), (std::vector<double>{2, 0, 1, -0.5, 0.5, 1, 0, std::sqrt(2.0), 1, 0, -1, 1, 0}));
    // Deviations 0, -3, -2, 5: squares 38, cubes 90.
    const double sd = std::sqrt(38.0 / 3);
    const std::vector<double> four{4, 3, 3.5, 1.75, 5.25, 1, 4, sd, sd / 2, sd * 25, 1, 9, 22.5 / std::pow(9.5, 1.5)};
    const std::vector<double> found = figuresOf({4, 1, 2, 9}, 0);
    for (std::size_t i = 0; i < four.size(); ++i) {
        EXPECT_NEAR(found[i], four[i], 1e-13) << i;
    }
    // A tenth isn't exact, and neither is the sum of many.
    const std::vector<double> equal = figuresOf(std::vector<double>(1001, 0.1), 95);
    EXPECT_EQ(equal, (std::vector<double>{1001, 0.1, 0, 0.1, 0.1, 0.1, 0.1, 0, 0, 0, 0.1, 0.1, 0}));
    EXPECT_LT(figuresOf({-4, -1, -2, -9}, 0)[12], 0.0);
    EXPECT_GT(figuresOf({-4, -1, -2, -9}, 0)[9], 0.0);
}

TEST(StatSummary, TableAsItStands) {
    SessionBuilder builder;
    builder.add({{"area_um", {1, 2, 4}}, {"deform", {nan, 1e-7, 123456789}}}).displayName = "first\tone";
    DatasetEntry& second = builder.add({{"area_um", {1, 2, 4}}, {"userdef7", {1, 2, 3}}});
    second.displayName = "second";
    second.filter.addRule(rangeRule("area_um", 50, 60));
    StatSummaryConfig config;
    config.features = {"area_um", "userdef7", "deform", "nowhere"};
    config.iqr = false;
    config.percentileOn = true;
    config.percentile = 100;
    EXPECT_EQ(tableOf(builder, config),
              "Dataset\tArea [µm²] N\tArea [µm²] Median\tArea [µm²] P100.0\tUser-defined 7 N\tUser-defined 7 Median\t"
              "User-defined 7 P100.0\tDeformation N\tDeformation Median\tDeformation P100.0\tnowhere N\tnowhere Median"
              "\tnowhere P100.0\n"
              "first one\t3\t2\t4\t\t\t\t2\t6.17284e+07\t1.23457e+08\t\t\t\n"
              "second\t0\t\t\t0\t\t\t\t\t\t\t\t\n");
    QStringList names;
    for (const SummaryFigure figure : summaryFigures(allFigures({}))) {
        names += summaryFigureName(figure, 95.0);
    }
    EXPECT_EQ(names, (QStringList{"N", "Median", "IQR", "Q1", "Q3", "P95.0", "Mean", "SD", "SEM", "CV (%)", "Min",
                                  "Max", "Skewness"}));
}

TEST(StatSummary, WhatTheUserIsTold) {
    SessionBuilder builder;
    const auto told = [&](const StatSummaryConfig& config) { return exportStatSummary(builder.session, config); };
    const auto warning = [](const QString& text) { return UserMessage{UserMessage::Kind::Warning, "Export", text}; };
    EXPECT_EQ(statSummaryRefusal(builder.session), warning("No loaded dataset available for export."));
    builder.add({{"area_um", {1, 2, 4}}});
    builder.add({{"area_um", {5}}}).featuresLoaded = false;
    builder.session.setActive(builder.session.datasetAt(0)->id);
    StatSummaryConfig config;
    EXPECT_EQ(told(config), warning("No features selected."));
    config.features = {"area_um"};
    config.count = config.median = config.iqr = false;
    EXPECT_EQ(told(config), warning("No statistics selected."));
    config.max = true;
    config.outputPath = "/nowhere/at/all.tsv";
    EXPECT_EQ(told(config), warning("Could not open file for writing:\n/nowhere/at/all.tsv"));
    TemporaryFolder folder;
    config.outputPath = QString::fromStdString(folder.file("s.tsv"));
    for (const bool all : {false, true}) { // the second dataset isn't loaded yet
        config.allDatasets = all;
        EXPECT_EQ(told(config).kind, UserMessage::Kind::Information);
        QFile file(config.outputPath);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        EXPECT_EQ(file.readAll().toStdString(), "Dataset\tArea [µm²] Max\ndataset 0\t4\n");
    }
}

} // namespace Tessaly
