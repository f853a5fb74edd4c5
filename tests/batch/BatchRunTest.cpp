#include "batch/BatchFixture.h"
#include "batch/GuardedProcess.h"
#include "batch/ResultRow.h"
#include "core/DatasetEntry.h"
#include "io/VQDReader.h"
#include "session/CalculationRunner.h"
#include "session/DatasetOpening.h"
#include "session/Session.h"
#include "session/export/ExportRun.h"
#include "support/Tools.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <csignal>
#include <random>
#include <unistd.h>

namespace Tessaly {

namespace {

/// Waits for what a runner has begun.
void finish(CalculationRunner& runner) {
    QElapsedTimer timer;
    timer.start();
    while (runner.isRunning() && timer.elapsed() < 60'000) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
    }
    ASSERT_FALSE(runner.isRunning());
}

std::string withoutDate(const std::string& table) {
    std::istringstream lines(table);
    std::string kept;
    for (std::string line; std::getline(lines, line);) {
        kept += line.starts_with("# export:date") ? "" : line + "\n";
    }
    return kept;
}

BatchPlan planWithEverything() {
    BatchPlan plan;
    plan.refinement.emplace();
    plan.compensation = PlanCompensation{{1, 2, 3}, {{1, 0.1, 0}, {0.2, 1, 0.1}, {0, 0.3, 1}}};
    plan.fourier = true;
    plan.modulus.emplace().viscosity = 5;
    plan.gates = {{"", {rangeRule("area_um", 40, 190)}},
                  {"Shape", {polygonRule("area_um", "deform", {{30, 0}, {200, 0}, {120, 0.35}})}}};
    const std::vector<std::string> features{"area_um", "emodulus", "fl1_max_ctc", "fl2_max_rf", "deform_fc", "missing"};
    plan.summary.emplace().features = features;
    plan.summary->sd = plan.summary->skewness = plan.summary->percentileOn = true;
    plan.table.emplace().features = features;
    plan.table->tsv = true;
    plan.measurement.emplace().features = features;
    plan.measurement->images = plan.measurement->masks = plan.measurement->traces = true;
    return plan;
}

} // namespace

TEST_F(Batch, AgreesWithH5pyAndNumPy) {
    SampleFileOptions options;
    options.events = 5000;
    options.sample = "Blood 7";
    options.images = options.masks = options.traces = false;
    std::mt19937 random(3);
    for (std::size_t i = 0; i < options.events; ++i) {
        const double u = static_cast<double>(random()) / 4294967296.0;
        options.columns["deform"].push_back(i % 50 == 0 ? std::nan("") : 0.3 * u);
    }
    const std::string file = write("a.vqd", options);
    BatchPlan plan = smallPlan();
    FilterRule outside = rangeRule("deform", 0.1, 0.12);
    outside.inverted = true;
    plan.gates.push_back(
        {"Shape", {outside, polygonRule("area_um", "deform", {{30, 0}, {200, 0.05}, {150, 0.3}, {90, 0.1}})}});
    plan.summary->mean = plan.summary->sd = plan.summary->cv = plan.summary->skewness = true;
    plan.summary->percentileOn = true;
    plan.counts = true;
    writePlan(plan);
    const ProgramEnd end = runPlan({QString::fromStdString(file)});
    EXPECT_EQ(end.code, 0) << end.err;
    EXPECT_EQ(end.out + end.err, "");
    EXPECT_EQ(merge({"-o", path("t.tsv"), "--counts", path("c.tsv")}).code, 0);
    // h5py 3.7, NumPy 1.24, SciPy 1.10; six digits as written
    EXPECT_EQ(script("batch_reference.py", file + " " + folder_.file("plan.json") + " " + folder_.file("t.tsv") + " " +
                                               folder_.file("c.tsv")),
              "");
}

/// The same numbers everywhere: what the window exports after its calculations, byte by byte.
TEST_F(Batch, WritesWhatTheWindowExports) {
    SampleFileOptions options;
    options.textAttributes = {{"setup:medium", "SorvexB"}};
    options.numberAttributes = {{"setup:channel width", 20.0},
                                {"setup:flow rate", 0.04},
                                {"setup:temperature", 24.5},
                                {"imaging:pixel size", 0.34},
                                {"fluorescence:sample rate", 5e5}};
    options.sample = "control";
    std::vector<std::string> files{write("Control/a.vqd", options)};
    options.seed = 2;
    options.sample = "treated";
    options.textAttributes["export:changed sample name"] = "Treated\tanew";
    files.push_back(write("treated/B.vqd", options));
    options.seed = 3;
    options.textAttributes = {{"setup:chip region", "reservoir"}};
    options.masks = options.traces = false;
    files.push_back(write("treated/reservoir.vqd", options));
    const BatchPlan plan = planWithEverything();
    writePlan(plan);
    const ProgramEnd end =
        runPlan({path("in/treated/reservoir.vqd"), path("in/Control/a.vqd"), path("in/treated/B.vqd")});
    ASSERT_EQ(end.code, 0) << end.err;
    ASSERT_EQ(merge({"--output", path("table.tsv")}).code, 0);

    Session session;
    EModulus engine;
    CalculationRunner runner(session);
    for (const std::string& file : files) {
        auto entry = session.newEntry();
        ASSERT_EQ(openMeasurement(QString::fromStdString(file), *entry), OpenOutcome::Opened);
        entry->reader->cacheAllFeatures();
        entry->filter = filterOf(plan);
        const int id = session.append(std::move(entry)).id;
        session.setReady(id);
        session.setActive(id);
    }
    session.setActive(0);
    const auto all = CalculationScope::All;
    runner.start(refinementJob(session, all, *plan.refinement));
    finish(runner);
    runner.start(compensationJob(session, CalculationScope::Active, plan.compensation->matrix));
    finish(runner);
    session.setActive(1);
    runner.start(compensationJob(session, CalculationScope::Active, plan.compensation->matrix));
    finish(runner);
    session.setActive(2);
    runner.start(compensationJob(session, CalculationScope::Active, plan.compensation->matrix));
    finish(runner);
    runner.start(fourierJob(session, all));
    finish(runner);
    runner.start(modulusJob(session, all, engine, [&plan](const DatasetEntry& each) {
        return emodulusParamsFor(each.metadata, each.reader->hasFeature("temp"), *plan.modulus);
    }));
    finish(runner);
    StatSummaryConfig summary = *plan.summary;
    summary.allDatasets = true;
    summary.outputPath = path("window.tsv");
    exportStatSummary(session, summary);
    EXPECT_EQ(text("table.tsv"), text("window.tsv"));
    EXPECT_EQ(std::ranges::count(text("table.tsv"), '\n'), 4);

    for (const bool isTable : {true, false}) {
        ExportConfig config = isTable ? *plan.table : *plan.measurement;
        for (std::size_t i = 0; i < files.size(); ++i) {
            const ExportResult exported = exportDataset(session, *session.datasetAt(static_cast<int>(i)), config);
            ASSERT_TRUE(exported.written) << files[i];
            const auto inside = std::filesystem::relative(exported.path.toStdString(), folder_.file("in")).string();
            if (isTable) {
                EXPECT_EQ(withoutDate(text("out/" + inside)), withoutDate(text("in/" + inside))) << inside;
                EXPECT_GT(text("out/" + inside).size(), 1000U);
            } else {
                EXPECT_EQ(
                    script("same_measurement.py", folder_.file("in/" + inside) + " " + folder_.file("out/" + inside)),
                    "");
            }
        }
    }
    // What couldn't be done for the reservoir is noted.
    EXPECT_EQ(merge({"--report", path("report.tsv")}).code, 0);
    const std::string report = text("report.tsv");
    for (const char* note : {"measured in the reservoir", "no fluorescence traces", "no masks"}) {
        EXPECT_NE(report.find("reservoir.vqd\tnote\t"), std::string::npos);
        EXPECT_NE(report.find(note), std::string::npos) << report;
    }
}

TEST_F(Batch, ReadsOnlyTheColumnsOfThePlan) {
    const std::string source = write("x.vqd");
    writeUnreadableColumn(source); // area_um 1, 2, 3; deform is damaged
    ASSERT_EQ(outputOf(python() + " -c \"import h5py; h5py.File('" + source +
                       "', 'a').attrs['setup:module composition'] = 'Vortiq'\""),
              "");
    BatchPlan plan;
    plan.summary.emplace().features = {"area_um"};
    writePlan(plan);
    const QString file = path("in/x.vqd");
    ProgramEnd end = runPlan({file});
    EXPECT_EQ(end.code, 0) << end.err;
    EXPECT_EQ(merge({"-o", path("t.tsv")}).code, 0);
    EXPECT_NE(text("t.tsv").find("\t3\t2\t1\n"), std::string::npos) << text("t.tsv"); // N, median, IQR by hand
    plan.summary->features = {"area_um", "deform"};
    writePlan(plan);
    end = runPlan({file});
    EXPECT_EQ(end.code, 1);
    EXPECT_NE(end.err.find("x.vqd: a part of the file that the plan needs can't be read"), std::string::npos);
    EXPECT_EQ(merge({"-o", path("t2.tsv")}).code, 1);
}

TEST_F(Batch, AFileThatCantBeDoneCostsItsOwnRow) {
    const QString good = QString::fromStdString(write("b/good.vqd"));
    SampleFileOptions foreign;
    foreign.instrument = false;
    const QString strange = QString::fromStdString(write("b/foreign.vqd", foreign));
    writeText("in/a/empty.vqd", "");
    writeText("in/a/text.vqd", "no measurement");
    std::filesystem::copy(good.toStdString(), folder_.file("in/a/cut.vqd"));
    std::filesystem::resize_file(folder_.file("in/a/cut.vqd"), 3000);
    const struct {
        QString file;
        const char* reason;
    } bad[] = {{path("in/a/empty.vqd"), "can't be opened as a measurement file"},
               {path("in/a/text.vqd"), "can't be opened as a measurement file"},
               {path("in/a/cut.vqd"), ""},
               {strange, "doesn't come from the instrument"},
               {path("in/a/vanished.vqd"), "no such file"},
               {path("in/b"), "not a regular file"}};
    writePlan(smallPlan());
    QStringList files{good};
    for (const auto& each : bad) {
        const ProgramEnd end = runPlan({each.file});
        EXPECT_EQ(end.code, 1) << each.file.toStdString();
        EXPECT_NE(end.err.find(each.file.toStdString() + ": "), std::string::npos) << end.err;
        EXPECT_NE(end.err.find(each.reason), std::string::npos) << end.err;
        files.prepend(each.file);
    }
    EXPECT_EQ(runPlan(files).code, 1); // the good one is done after those before it failed
    const ProgramEnd merged = merge({"-o", path("t.tsv"), "--report", path("r.tsv")});
    EXPECT_EQ(merged.code, 0);
    EXPECT_NE(merged.err.find("6 of 7 files have no row"), std::string::npos) << merged.err;
    EXPECT_EQ(std::ranges::count(text("t.tsv"), '\n'), 2) << text("t.tsv");
    for (const auto& each : bad) {
        EXPECT_NE(text("r.tsv").find(each.file.toStdString() + "\tno row\t"), std::string::npos) << text("r.tsv");
        EXPECT_NE(merged.err.find(each.file.toStdString() + ": no row: "), std::string::npos);
    }
}

TEST_F(Batch, SkipsWhatIsCompleteAndUpToDate) {
    const QString file = QString::fromStdString(write("a.vqd"));
    BatchPlan plan = smallPlan();
    plan.table.emplace().features = {"area_um"};
    writePlan(plan);
    const std::string row = folder_.file("out/a.vqd.row");
    const auto isDoneAgain = [&] {
        std::filesystem::last_write_time(row, std::filesystem::file_time_type(std::chrono::hours(1)));
        const auto before = std::filesystem::last_write_time(row);
        EXPECT_EQ(runPlan({file}).code, 0);
        return std::filesystem::last_write_time(row) != before;
    };
    EXPECT_EQ(runPlan({file}).code, 0);
    EXPECT_FALSE(isDoneAgain());
    const struct {
        const char* what;
        std::function<void()> change;
        bool again;
    } changes[] = {
        {"the plan's layout", [&] { writeText("plan.json", planToJson(plan).simplified().toStdString()); }, false},
        {"the plan",
         [&] {
             plan.gates[0].rules[0].maxValue = 149;
             writePlan(plan);
         },
         true},
        {"the file's time",
         [&] { std::filesystem::last_write_time(file.toStdString(), std::filesystem::file_time_type::clock::now()); },
         true},
        {"a result is missing", [&] { std::filesystem::remove(folder_.file("out/TSYexport_a.tsv")); }, true},
        {"a result was cut", [&] { std::filesystem::resize_file(folder_.file("out/TSYexport_a.tsv"), 10); }, true},
        {"the program",
         [&] {
             std::string record = text("out/a.vqd.row");
             const std::size_t version = record.find("program\t");
             writeText("out/a.vqd.row", record.insert(version + 8, "0"));
         },
         true},
        {"the record was cut", [&] { std::filesystem::resize_file(row, 100); }, true},
        {"rubbish of a run that was killed", [&] { writeText("out/.a.vqd.part/TSYexport_a.tsv", "half"); }, false},
    };
    for (const auto& [what, change, again] : changes) {
        change();
        EXPECT_EQ(isDoneAgain(), again) << what;
        EXPECT_TRUE(exists("out/TSYexport_a.tsv"));
    }
    // Results of an earlier plan don't stay.
    plan.table.reset();
    writePlan(plan);
    EXPECT_TRUE(isDoneAgain());
    EXPECT_FALSE(exists("out/TSYexport_a.tsv"));
    EXPECT_FALSE(exists("out/.a.vqd.part"));
}

/// The mark says that nothing is left to be done, and only that.
TEST_F(Batch, MarksThatEveryFileHasItsRecord) {
    SampleFileOptions large;
    large.events = 400'000;
    large.images = large.masks = large.traces = false;
    const QString good = QString::fromStdString(write("good.vqd"));
    const QString slow = QString::fromStdString(write("slow.vqd", large));
    writeText("in/bad.vqd", "no measurement");
    BatchPlan plan = smallPlan();
    plan.table.emplace().features = {"area_um", "deform", "time"};
    writePlan(plan);
    const QStringList marking{"--mark", path("mark")};
    const struct {
        QStringList files;
        const char* before;
        int code;
        bool marked;
    } cases[] = {{{good}, "", 0, true},
                 {{path("in/bad.vqd"), good}, "", 1, true},
                 {{good}, "ulimit -f 0;", 0, true},                // up to date; an empty file fits a full disk
                 {{path("in/bad.vqd")}, "ulimit -f 0;", 1, false}, // its record can't be written
                 {{slow, good}, "ulimit -f 0;", 1, false}};
    for (const auto& [files, before, code, marked] : cases) {
        const ProgramEnd end = runPlan(marking + files, QLatin1String(before));
        EXPECT_EQ(end.code, code) << end.err;
        EXPECT_EQ(exists("mark"), marked) << files.join(' ').toStdString() << before;
    }
    EXPECT_EQ(runPlan({"--mark", path("none/mark"), good}).code, 1);

    // Work that is killed costs its own file: those behind it are done, and the run isn't through.
    QProcess process;
    std::filesystem::remove_all(folder_.file("out"));
    process.start(program(), QStringList{"run", "-p", path("plan.json"), "--root", path("in"), "-o", path("out")} +
                                 marking + QStringList{slow, good});
    ASSERT_TRUE(process.waitForStarted());
    const std::string children =
        "/proc/" + std::to_string(process.processId()) + "/task/" + std::to_string(process.processId()) + "/children";
    int worker = 0;
    QElapsedTimer timer;
    for (timer.start(); worker == 0 && timer.elapsed() < 30'000;) {
        std::ifstream(children) >> worker;
    }
    ASSERT_GT(worker, 0);
    kill(worker, SIGKILL);
    ASSERT_TRUE(process.waitForFinished());
    EXPECT_EQ(process.exitCode(), 1);
    EXPECT_TRUE(process.readAllStandardError().contains("slow.vqd: the work on it was killed"));
    EXPECT_TRUE(exists("out/good.vqd.row"));
    EXPECT_FALSE(exists("out/slow.vqd.row"));
    EXPECT_FALSE(exists("mark"));
}

/// Few plans need the module, and these say so if it is gone.
TEST_F(Batch, LoadsWhatFewPlansNeedWhenTheyNeedIt) {
    const QString file = QString::fromStdString(write("a.vqd"));
    std::filesystem::create_directories(folder_.file("alone/bin"));
    ASSERT_TRUE(QFile::copy(program(), path("alone/bin/tessaly_batch")));
    const auto code = [&](const BatchPlan& plan, ProgramEnd& end) {
        writePlan(plan);
        end = run({"run", "-p", path("plan.json"), "-o", path("out"), file}, {}, path("alone/bin/tessaly_batch"));
        return end.code;
    };
    ProgramEnd end;
    EXPECT_EQ(code(smallPlan(), end), 0) << end.err;
    BatchPlan plans[] = {smallPlan(), smallPlan(), smallPlan()};
    plans[0].fourier = true;
    plans[1].refinement.emplace();
    plans[2].compensation = PlanCompensation{{1, 2, 3}, {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    for (const BatchPlan& plan : plans) {
        EXPECT_EQ(code(plan, end), 1);
        EXPECT_NE(end.err.find("tessaly_ondemand"), std::string::npos) << end.err;
    }
}

TEST_F(Batch, AFullDiskStopsWithoutHalfOutput) {
    QStringList files;
    for (const char* name : {"a.vqd", "b.vqd"}) {
        SampleFileOptions options;
        options.events = 2000;
        options.images = options.masks = options.traces = false;
        files.append(QString::fromStdString(write(name, options)));
    }
    BatchPlan table = smallPlan();
    table.table.emplace().features = {"area_um", "deform", "time"};
    BatchPlan measurement = smallPlan();
    measurement.measurement = table.table;
    // Blocks of 512 bytes: no room for a record, for a table, for half of one, for columns.
    const struct {
        const char* blocks;
        BatchPlan plan;
    } cases[] = {{"0", smallPlan()}, {"0", table}, {"100", table}, {"8", measurement}};
    for (const auto& [blocks, plan] : cases) {
        writePlan(plan);
        const ProgramEnd end = runPlan(files, QStringLiteral("ulimit -f %1;").arg(QLatin1String(blocks)));
        EXPECT_EQ(end.code, 1) << blocks;
        EXPECT_NE(end.err.find("a.vqd: can't write "), std::string::npos) << end.err;
        EXPECT_EQ(end.err.find("b.vqd"), std::string::npos) << end.err; // it stops
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder_.file("out"))) {
            ADD_FAILURE() << blocks << " left " << entry.path();
        }
    }
    EXPECT_EQ(runPlan(files).code, 0);
    EXPECT_TRUE(exists("out/b.vqd.row"));
}

TEST_F(Batch, KilledAnywhereARunIsFinishedByRunningItAgain) {
    QStringList files;
    for (int i = 0; i < 12; ++i) {
        SampleFileOptions options;
        options.seed = static_cast<unsigned>(i);
        options.sample = "run " + std::to_string(i);
        files.append(QString::fromStdString(write("f" + std::to_string(i) + ".vqd", options)));
    }
    BatchPlan plan = smallPlan();
    plan.measurement.emplace().features = {"area_um"};
    plan.measurement->images = true;
    writePlan(plan);
    ASSERT_EQ(runPlan(files).code, 0);
    ASSERT_EQ(merge({"-o", path("whole.tsv")}).code, 0);
    std::mt19937 random(11);
    const QStringList arguments{"run", "-p", path("plan.json"), "--root", path("in"), "-o", path("out")};
    for (int i = 0; i < 10; ++i) {
        std::filesystem::remove_all(folder_.file("out"));
        QProcess process;
        process.start(program(), arguments + files);
        ASSERT_TRUE(process.waitForStarted());
        usleep(static_cast<useconds_t>(random() % 120'000));
        process.kill();
        process.waitForFinished();
        ASSERT_EQ(runPlan(files).code, 0);
        EXPECT_EQ(merge({"-o", path("again.tsv")}).err, "");
        EXPECT_EQ(text("again.tsv"), text("whole.tsv"));
    }
}

TEST(GuardedProcess, EndsOfAllKinds) {
    using std::chrono::seconds;
    EXPECT_EQ(runGuarded([] { return 7; }, seconds(60)).exitCode, 7);
    const GuardedEnd crash = runGuarded(
        [] {
            std::signal(SIGSEGV, SIG_DFL);
            return raise(SIGSEGV);
        },
        seconds(60));
    EXPECT_FALSE(crash.exitCode);
    EXPECT_EQ(crash.signal, SIGSEGV);
    const GuardedEnd stuck = runGuarded([] { return pause(); }, seconds(1));
    EXPECT_TRUE(stuck.timedOut);
    EXPECT_FALSE(stuck.exitCode);
}

} // namespace Tessaly
