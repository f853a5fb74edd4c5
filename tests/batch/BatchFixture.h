#pragma once

#include "batch/BatchPlan.h"
#include "support/FilterRules.h"
#include "support/SampleFile.h"
#include "support/TemporaryFolder.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace Tessaly {

/// How a run of the program ended.
struct ProgramEnd {
    int code = -1;
    std::string out;
    std::string err;
};

/// Runs the real program over small files in a folder of its own.
class Batch : public testing::Test {
protected:
    static QString program() { return QCoreApplication::applicationDirPath() + "/../bin/tessaly_batch"; }

    /// @param before  what a shell does first
    static ProgramEnd run(const QStringList& arguments, const QString& before = {}, const QString& which = program()) {
        QProcess process;
        process.start("/bin/sh", QStringList{"-c", before + " exec \"$@\"", "sh", which} + arguments);
        EXPECT_TRUE(process.waitForFinished(120'000));
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
        return {process.exitCode(), process.readAllStandardOutput().toStdString(),
                process.readAllStandardError().toStdString()};
    }
    ProgramEnd runPlan(const QStringList& files, const QString& before = {}) const {
        return run(QStringList{"run", "--plan", path("plan.json"), "--root", path("in"), "--output", path("out")} +
                       files,
                   before);
    }
    ProgramEnd merge(const QStringList& options) const { return run(QStringList{"merge", path("out")} + options); }

    QString path(const std::string& name) const { return QString::fromStdString(folder_.file(name)); }
    std::string write(const std::string& name, const SampleFileOptions& options = {}) const {
        const std::string file = folder_.file("in/" + name);
        std::filesystem::create_directories(std::filesystem::path(file).parent_path());
        writeSampleFile(file, options);
        return file;
    }
    void writeText(const std::string& name, const std::string& text) const {
        std::filesystem::create_directories(std::filesystem::path(folder_.file(name)).parent_path());
        std::ofstream(folder_.file(name)) << text;
    }
    std::string text(const std::string& name) const {
        std::ifstream file(folder_.file(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    bool exists(const std::string& name) const { return std::filesystem::exists(folder_.file(name)); }
    void writePlan(const BatchPlan& plan) const { writeText("plan.json", planToJson(plan).toStdString()); }

    /// N, median and IQR of area and deformation, for areas from 50 to 150.
    static BatchPlan smallPlan() {
        BatchPlan plan;
        plan.gates = {{"Size", {rangeRule("area_um", 50, 150)}}};
        plan.summary.emplace().features = {"area_um", "deform"};
        return plan;
    }

    TemporaryFolder folder_;
};

inline FilterRule polygonRule(const std::string& x, const std::string& y,
                              std::vector<std::pair<double, double>> corners) {
    FilterRule rule;
    rule.type = FilterRule::Polygon;
    rule.featureName = x;
    rule.featureNameY = y;
    rule.polygonVertices = std::move(corners);
    return rule;
}

} // namespace Tessaly
