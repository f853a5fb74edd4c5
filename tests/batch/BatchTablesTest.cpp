#include "batch/BatchFixture.h"
#include "batch/ResultRow.h"
#include "batch/RowWalk.h"
#include "support/Tools.h"

#include <algorithm>

namespace Tessaly {

namespace {

/// A record with a summary of two features, of which the file has some.
ResultRow rowOf(const std::string& source, bool hasFirst, bool hasSecond) {
    ResultRow row;
    row.source = source;
    row.plan = "p1";
    row.program = "1.0";
    row.done = true;
    row.features = {hasFirst, hasSecond};
    row.heading = std::string("Dataset\t") + (hasFirst ? "First" : "a") + " N\t" + (hasSecond ? "Second" : "b") + " N";
    row.summary = source + (hasFirst ? "\t1" : "\t") + (hasSecond ? "\t2" : "\t");
    row.countsHeading = "Dataset\tEvents";
    row.counts = source + "\t5";
    return row;
}

} // namespace

TEST(ResultRow, ComesBackAsItWas) {
    ResultRow row = rowOf("a", true, false);
    row.source = "/a\tb/c\\n\n.vqd";
    row.input = {18446744073709551615ULL, -5};
    row.message = "line\nbreak";
    row.notes = {"one", "two\t"};
    row.results = {{"TSYexport_\t.tsv", 12}};
    const std::string text = rowText(row);
    EXPECT_EQ(rowFrom(text), row);
    for (std::size_t length = 0; length < text.size(); ++length) {
        EXPECT_FALSE(rowFrom(std::string_view(text).substr(0, length))) << length; // cut anywhere
    }
}

TEST(RowWalk, OrderOfNames) {
    const std::vector<std::string> ordered{"2", "A", "a", "B.vqd", "b.vqd", "b.vqd1", "c", "É", "é", "z_"};
    std::vector<std::string> names(ordered.rbegin(), ordered.rend());
    std::ranges::sort(names, componentComesBefore);
    std::vector<std::string> expected = ordered;
    // Letters beyond ASCII come by their code, behind "z".
    std::ranges::rotate(expected.begin() + 7, expected.begin() + 9, expected.end());
    EXPECT_EQ(names, expected);
}

TEST_F(Batch, MergeJoinsRowsInPathOrder) {
    const struct {
        const char* name;
        bool first;
        bool second;
    } rows[] = {{"b.vqd", false, true}, {"A/z.vqd", false, false}, {"a10/x.vqd", true, false}, {"C.vqd", true, true}};
    for (const auto& row : rows) {
        writeText(std::string("out/") + row.name + ".row", rowText(rowOf(row.name, row.first, row.second)));
    }
    writeText("out/.c.vqd.part/c.vqd.row", rowText(rowOf("growing", true, true)));
    writeText("out/TSYexport_b.tsv", "a table");
    ProgramEnd end = merge({"-o", path("t.tsv"), "--counts", path("c.tsv")});
    EXPECT_EQ(end.code, 0) << end.err;
    EXPECT_EQ(text("t.tsv"), "Dataset\tFirst N\tSecond N\nA/z.vqd\t\t\na10/x.vqd\t1\t\nb.vqd\t\t2\nC.vqd\t1\t2\n");
    EXPECT_EQ(text("c.tsv"), "Dataset\tEvents\nA/z.vqd\t5\na10/x.vqd\t5\nb.vqd\t5\nC.vqd\t5\n");

    // A file without a row: its record is damaged, or there is none at all.
    writeText("out/b.vqd.row", "rubbish\n");
    writeText("list", (path("in/C.vqd") + '\n' + path("in/never.vqd") + '\n').toStdString());
    end = merge({"-o", path("t.tsv"), "--with-paths", "--inputs", path("list"), "--root", path("in"), "--report",
                 path("r.tsv")});
    EXPECT_EQ(end.code, 0);
    EXPECT_EQ(text("t.tsv"), "File\tDataset\tFirst N\tSecond N\nA/z.vqd\tA/z.vqd\t\t\na10/x.vqd\ta10/x.vqd\t1\t\n"
                             "C.vqd\tC.vqd\t1\t2\n");
    EXPECT_EQ(text("r.tsv"), "File\tState\tReason\n" + path("out/b.vqd").toStdString() +
                                 "\tno row\tits record can't be read\n" + path("in/never.vqd").toStdString() +
                                 "\tno row\tit was never done\n");

    // Rows of another plan are never mixed in; what stands is left alone.
    ResultRow other = rowOf("other", true, true);
    other.plan = "p2";
    writeText("out/b.vqd.row", rowText(other));
    const std::string before = text("t.tsv");
    end = merge({"-o", path("t.tsv")});
    EXPECT_EQ(end.code, 1);
    EXPECT_NE(end.err.find("rows of different plans"), std::string::npos);
    EXPECT_EQ(text("t.tsv"), before);
}

TEST_F(Batch, ListsFilesWithEventsAndState) {
    SampleFileOptions options;
    options.events = 17;
    write("b/one.vqd", options);
    options.instrument = false;
    write("A/two.VQD", options);
    write("A/foreign.vqd", options);
    writeText("in/empty.vqd", "");
    writeText("in/notes.txt", "");
    const std::string in = folder_.file("in");
    ProgramEnd end = run({"list", path("in")});
    EXPECT_EQ(end.code, 0);
    const auto size = [&in](const char* name) { return std::to_string(std::filesystem::file_size(in + name)); };
    EXPECT_EQ(end.out, "File\tEvents\tBytes\tState\n" + in + "/A/foreign.vqd\t0\t" + size("/A/foreign.vqd") +
                           "\tforeign\n" + in + "/A/two.VQD\t0\t" + size("/A/two.VQD") + "\tforeign\n" + in +
                           "/b/one.vqd\t17\t" + size("/b/one.vqd") + "\treadable\n" + in +
                           "/empty.vqd\t0\t0\tunreadable\n");
    end = run({"list", "--paths", path("in/b"), path("in/A")});
    EXPECT_EQ(end.out, in + "/A/foreign.vqd\n" + in + "/A/two.VQD\n" + in + "/b/one.vqd\n");
}

TEST_F(Batch, WrongUsage) {
    writePlan(smallPlan());
    writeText("bad.json", "{}");
    write("a.vqd");
    write("d/a.vqd");
    ASSERT_EQ(runPlan({path("in/a.vqd")}).code, 0);
    const QString plan = path("plan.json");
    const QString file = path("in/a.vqd");
    const QString out = path("out");
    const struct {
        QStringList arguments;
        const char* complaint;
    } cases[] = {
        {{}, "a command is missing"},
        {{"walk"}, "no command walk"},
        {{"run"}, "--plan is missing"},
        {{"run", "-p", plan, file}, "--output is missing"},
        {{"run", "-p", plan, "-o", out}, "no file is named"},
        {{"run", "-p", plan, "-o", out, "--jobs", "3", file}, "jobs"},
        {{"run", "-p", path("none.json"), "-o", out, file}, "none.json: no such file"},
        {{"run", "-p", path("bad.json"), "-o", out, file}, "bad.json: formatVersion"},
        {{"run", "-p", plan, "-o", out, "--root", out, file}, "doesn't lie below"},
        {{"run", "-p", plan, "-o", out, path("in/d/a.vqd")}, "would replace those of"},
        {{"run", "-p", plan, "-o", out, "--time-limit", "0", file}, "--time-limit"},
        {{"run", "-p", plan, "-o", out, "--time-limit", "1h", file}, "--time-limit"},
        {{"plan"}, "at least one feature"},
        {{"plan", "--features", "a", "--range", "a,1"}, "--range needs"},
        {{"plan", "--features", "a", "--statistics", "Mode"}, "Mode"},
        {{"plan", "--features", "a", "--with", "images"}, "--measurement"},
        {{"plan", "--features", "a", "--temperature", "20"}, "moduli"},
        {{"plan", "--features", "a", "more"}, "more"},
        {{"merge", out}, "--output is missing"},
        {{"merge", path("none"), "-o", "t"}, "there is no folder"},
        {{"merge", out, "-o", path("t"), "-p", path("bad.json")}, "bad.json"},
        {{"list"}, "no folder is named"},
        {{"list", path("none")}, "there is no"},
    };
    for (const auto& [arguments, complaint] : cases) {
        const ProgramEnd end = run(arguments);
        EXPECT_EQ(end.code, 2) << arguments.join(' ').toStdString();
        EXPECT_EQ(end.out, "");
        EXPECT_NE(end.err.find(complaint), std::string::npos) << end.err;
        EXPECT_TRUE(end.err.starts_with("tessaly_batch: ")) << end.err;
    }
    for (const QStringList& arguments : {QStringList{"--help"}, {"--version"}, {"run", "--help"}, {"plan", "-h"}}) {
        const ProgramEnd end = run(arguments);
        EXPECT_EQ(end.code, 0);
        EXPECT_EQ(end.err, "");
        EXPECT_NE(end.out.find("tessaly_batch"), std::string::npos) << end.out;
    }
    // Files that are asked for and can't be had are a failure, not wrong usage.
    EXPECT_EQ(run({"plan", "-s", path("none.TSY")}).code, 1);
    EXPECT_EQ(run({"plan", "--features", "a", "-g", path("none.tsyfg")}).code, 1);
    EXPECT_EQ(run({"plan", "--features", "a", "-o", path("none/p.json")}).code, 1);
    EXPECT_EQ(run({"merge", out, "-o", path("none/t.tsv")}).code, 1);
}

TEST_F(Batch, NeedsNoWindows) {
    const std::string libraries = outputOf("ldd '" + program().toStdString() + "'");
    EXPECT_NE(libraries.find("libQt6Core"), std::string::npos) << libraries;
    // Nor libraries that take longer to load than a small file takes.
    for (const char* library : {"libQt6Gui", "libQt6Widgets", "qwt", "opencv", "armadillo", "blas"}) {
        EXPECT_EQ(libraries.find(library), std::string::npos) << library;
    }
    // Not even a locale.
    write("ä.vqd");
    writePlan(smallPlan());
    EXPECT_EQ(runPlan({path("in/ä.vqd")}, "LC_ALL=C; export LC_ALL; unset DISPLAY;").err, "");
    EXPECT_TRUE(exists("out/ä.vqd.row"));
}

} // namespace Tessaly
