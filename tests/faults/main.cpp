// Saves files while something goes wrong; scripts/faults.py sees to that and looks at what is left.
//
// usage: save_files make SOURCE                       writes a measurement to export from
//        save_files repeat KIND SOURCE TARGET         says "ready" and saves two versions by turns until it is killed
//        save_files once KIND SOURCE TARGET [ACTION]  saves once; ACTION happens to source or target after a part of it
// KIND: session, measurement, table, video, group. ACTION: truncate, remove, replace, vanish.
// Exit code of once: 0 and "saved", or 1 and the message for the user.

#include "core/FileReplacement.h"
#include "io/MeasurementWriter.h"
#include "io/TsvWriter.h"
#include "io/VQDReader.h"
#include "io/VideoWriter.h"
#include "session/Session.h"
#include "session/document/SessionDocument.h"
#include "session/filters/RuleJson.h"
#include "support/SampleFile.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <map>
#include <numeric>

using namespace Tessaly;

namespace {

/// What a kind of save starts from.
struct Work {
    std::string source;
    std::string target;
    VQDReader reader;
    std::function<void()> onPause;
};

using Save = bool (*)(Work&, int version);

std::vector<int> eventsOf(Work& work, int version) {
    std::vector<int> events(work.reader.eventCount() - static_cast<std::size_t>(version));
    std::iota(events.begin(), events.end(), 0);
    return events;
}

bool saveMeasurement(Work& work, int version) {
    const std::vector<int> events = eventsOf(work, version);
    const std::vector<std::string> features{"area_um", "deform", "time", "fl1_max", "fl2_max"};
    MeasurementWriter writer;
    writer.setOnPause(work.onPause);
    if (!writer.create(work.target)) {
        return false;
    }
    writer.copyAttributes(work.reader.readMetadata());
    writer.writeExportAttributes(events.size(), {});
    writer.writeScalars(features, events, work.reader);
    writer.writeImages(work.reader, events);
    writer.writeMasks(work.reader, events);
    writer.writeTraces(work.reader, events);
    return writer.close();
}

bool saveTable(Work& work, int version) {
    const std::vector<std::string> features{"area_um", "deform", "time", "fl1_max", "fl2_max"};
    std::vector<int> events;
    for (int i = 0; i < 30; ++i) {
        const std::vector<int> all = eventsOf(work, version);
        events.insert(events.end(), all.begin(), all.end());
    }
    return writeTsv(work.target, work.reader.readMetadata(), {}, features, events, work.reader, work.onPause);
}

bool saveVideo(Work& work, int version) {
    return writeVideo(work.target, work.reader, eventsOf(work, version), {}, work.onPause) == VideoOutcome::Written;
}

std::vector<FilterRule> someRules(int count) {
    FilterRule rule;
    rule.featureName = "area_um";
    rule.maxValue = 1.0 / 3.0;
    return std::vector<FilterRule>(static_cast<std::size_t>(count), rule);
}

bool saveSession(Work& work, int version) {
    SessionDocument document;
    document.datasets.resize(static_cast<std::size_t>(200 + version));
    document.filterGroups.push_back({0, "group", someRules(1000)});
    return !writeSessionFile(QString::fromStdString(work.target), document);
}

bool saveGroup(Work& work, int version) {
    QJsonArray rules;
    for (const FilterRule& rule : someRules(2000 + version)) {
        rules.append(ruleToJson(rule));
    }
    return replaceFile(QString::fromStdString(work.target), QJsonDocument(QJsonObject{{"rules", rules}}).toJson());
}

Save saverOf(const std::string& kind) {
    const std::map<std::string, Save> savers{{"measurement", saveMeasurement},
                                             {"table", saveTable},
                                             {"video", saveVideo},
                                             {"session", saveSession},
                                             {"group", saveGroup}};
    return savers.at(kind);
}

void make(const std::string& path) {
    SampleFileOptions options;
    options.events = 500;
    writeSampleFile(path, options);
}

void act(const std::string& action, const Work& work) {
    namespace fs = std::filesystem;
    if (action == "truncate") {
        fs::resize_file(work.source, fs::file_size(work.source) / 4);
    } else if (action == "remove") {
        fs::remove(work.source);
    } else if (action == "replace") {
        fs::remove(work.source);
        make(work.source + ".new");
        fs::rename(work.source + ".new", work.source);
    } else if (action == "vanish") {
        fs::remove_all(fs::path(work.target).parent_path());
    }
}

int once(Work& work, const std::string& kind, const std::string& action) {
    bool done = action.empty();
    work.onPause = [&] {
        if (!done) {
            done = true;
            act(action, work);
        }
    };
    const bool saved = saverOf(kind)(work, 0);
    std::puts(saved ? "saved" : "failed");
    return saved ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    std::signal(SIGXFSZ, SIG_IGN); // a limit on the size of files is to look like a full disk
    const QCoreApplication application(argc, argv);
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() == 2 && arguments[0] == "make") {
        make(arguments[1]);
        return 0;
    }
    if (arguments.size() < 4) {
        std::fputs("usage: save_files make|repeat|once ...\n", stderr);
        return 2;
    }
    Work work{arguments[2], arguments[3], {}, {}};
    if (!work.reader.open(work.source)) {
        return 2;
    }
    if (arguments[0] == "once") {
        return once(work, arguments[1], arguments.size() > 4 ? arguments[4] : "");
    }
    const Save save = saverOf(arguments[1]);
    std::puts("ready");
    std::fflush(stdout);
    for (int version = 1;; version = 1 - version) {
        if (!save(work, version)) {
            return 1;
        }
    }
}
