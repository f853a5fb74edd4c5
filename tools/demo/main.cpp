#include "DemoSet.h"

#include "calc/emodulus/EModulus.h"
#include "io/VQDReader.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>

namespace {

using namespace Tessaly;

/// One line for people: what went in and what the program finds in the file.
void makeAndReport(const std::filesystem::path& path, const DemoRun& run, EModulus& engine) {
    std::filesystem::create_directories(path.parent_path());
    const KindMedians made = writeDemoRun(path.string(), run, engine);
    std::printf("%s: %zu events", path.string().c_str(), run.events);
    if (!run.reservoir) {
        const KindMedians found = computedMedians(path.string(), engine);
        std::printf("; median moduli made/found: %.3f/%.3f and %.3f/%.3f kPa", made[0], found[0], made[1], found[1]);
    }
    std::printf("\n");
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(
        "Writes demo measurement files: two conditions, three donors each, one reservoir run.");
    parser.addHelpOption();
    parser.addOptions(
        {{"output", "Folder to write to.", "folder", "demo-data"},
         {"events", "Write one file with that many events instead of the set.", "count"},
         {"statistics", "Write the set for statistics: three conditions, eight donors each, no pictures."},
         {"no-images", "Leave images, masks and traces out of that file."}});
    parser.process(application);
    const std::filesystem::path folder = parser.value("output").toStdString();
    bool isNumber = true;
    const qulonglong events = parser.isSet("events") ? parser.value("events").toULongLong(&isNumber) : 0;
    if (!isNumber) {
        std::fprintf(stderr, "tessaly_demo: --events needs a number\n");
        return 2;
    }
    try {
        initializeHdf5();
        EModulus engine;
        if (parser.isSet("events")) {
            const DemoRun run = benchmarkRun(events, !parser.isSet("no-images"));
            makeAndReport(folder / ("events-" + std::to_string(events) + ".vqd"), run, engine);
        } else {
            for (const DemoSetEntry& entry : parser.isSet("statistics") ? statisticsSet() : demoSet()) {
                makeAndReport(folder / entry.folder / entry.fileName, entry.run, engine);
            }
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "tessaly_demo: %s\n", error.what());
        return 1;
    }
    return 0;
}
