#include "batch/CommandLine.h"
#include "batch/Commands.h"
#include "batch/FileRun.h"
#include "batch/GuardedProcess.h"
#include "core/ErrorReport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <csignal>
#include <exception>

namespace Tessaly {

namespace {

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(Tessaly::Batch)
};

/// Exit codes of the process that works on one file.
namespace Work {
constexpr int Failed = 1;
constexpr int NotWritten = 3;
} // namespace Work

constexpr int defaultTimeLimit = 3600;

/// Says how the process for a file ended that wasn't asked to, and notes it as the file's own failure.
FileOutcome outcomeOfCrash(const ResultPlace& place, const PlanInUse& plan, const GuardedEnd& end) {
    if (end.notStarted) {
        tellOf(place.source, Texts::tr("no process could be started for it"));
        return FileOutcome::NotWritten;
    }
    if (end.signal == SIGKILL && !end.timedOut) {
        // Not the file's doing: the machine is out of memory, or somebody ended it.
        tellOf(place.source, Texts::tr("the work on it was killed"));
        return FileOutcome::Killed;
    }
    const QString problem = end.timedOut
                                ? Texts::tr("the work on it took too long")
                                : Texts::tr("the file is damaged: the work on it ended with signal %1").arg(end.signal);
    tellOf(place.source, problem);
    return writeFailure(place, plan, problem) ? FileOutcome::Failed : FileOutcome::NotWritten;
}

FileOutcome doFile(const ResultPlace& place, const PlanInUse& plan, EModulus& engine, std::chrono::seconds timeLimit) {
    const GuardedEnd end = runGuarded(
        [&] {
            setErrorPrefix("tessaly_batch: " + place.source.toStdString() + ": ");
            QString problem;
            const FileOutcome outcome = runFile(place, plan, engine, problem);
            if (!problem.isEmpty()) {
                tellOf(place.source, problem);
            }
            return outcome == FileOutcome::Done     ? ExitCode::Done
                   : outcome == FileOutcome::Failed ? Work::Failed
                                                    : Work::NotWritten;
        },
        timeLimit);
    if (!end.exitCode) {
        return outcomeOfCrash(place, plan, end);
    }
    return *end.exitCode == ExitCode::Done ? FileOutcome::Done
           : *end.exitCode == Work::Failed ? FileOutcome::Failed
                                           : FileOutcome::NotWritten;
}

CommandLine commandLine() {
    CommandLine line(QStringLiteral("run"),
                     Texts::tr("Does the calculations, gates and outputs of a plan for measurement files."),
                     QStringLiteral("FILE..."), Texts::tr("Measurement files (.vqd)."));
    line.add(
        {{{"p", "plan"}, Texts::tr("The plan, as \"plan\" or the window writes it."), "PLAN.json"},
         {{"o", "output"}, Texts::tr("Folder for the results; made if there is none."), "FOLDER"},
         {"root", Texts::tr("Folder above all files, whose folders the results mirror. Default: each file's own."),
          "FOLDER"},
         {"force", Texts::tr("Do files again whose results are complete and up to date.")},
         {"mark", Texts::tr("Make this empty file when every file is done or its record says why it isn't."), "FILE"},
         {"time-limit", Texts::tr("Give a file up after so many seconds (default %1).").arg(defaultTimeLimit),
          "SECONDS"}});
    return line;
}

/// The places of the results of all files; a complaint instead if they can't have one each.
QString findPlaces(const CommandLine& line, std::vector<ResultPlace>& places) {
    for (const QString& file : line.operands()) {
        const QString root = line.has("root") ? line.value("root") : QFileInfo(file).absolutePath();
        const std::optional<ResultPlace> place = resultPlace(file, root, line.value("output"));
        if (!place) {
            return Texts::tr("%1 doesn't lie below %2").arg(file, root);
        }
        if (const QString other = otherSource(*place); !other.isEmpty()) {
            return Texts::tr("the results of %1 would replace those of %2; --root keeps them apart").arg(file, other);
        }
        places.push_back(*place);
    }
    return {};
}

/// Gets what the work on every file needs, once for the copies of this process. False if a part of the program is
/// missing.
bool prepare(const BatchPlan& plan, EModulus& engine) {
    if (plan.modulus) {
        engine.triangulate(0);
    }
    try {
        if (plan.fourier || plan.refinement || plan.compensation) {
            inverseOf({{1.0}}); // loads what stands behind it
        }
        return true;
    } catch (const std::exception& error) {
        tell(QString::fromUtf8(error.what()));
        return false;
    }
}

/// Does one file after the other. Returns the worst that happened: the outcomes stand in this order.
FileOutcome doFiles(const std::vector<ResultPlace>& places, const PlanInUse& plan, bool force,
                    std::chrono::seconds timeLimit) {
    std::optional<EModulus> engine;
    FileOutcome worst = FileOutcome::Done;
    for (const ResultPlace& place : places) {
        if (!force && isUpToDate(place, plan)) {
            continue;
        }
        if (!engine && !prepare(plan.plan, engine.emplace())) {
            return FileOutcome::NotWritten;
        }
        worst = std::max(worst, doFile(place, plan, *engine, timeLimit));
        if (worst == FileOutcome::NotWritten) {
            break; // the next file would fare no better
        }
    }
    return worst;
}

} // namespace

int runCommand(const QStringList& arguments) {
    CommandLine line = commandLine();
    if (const std::optional<int> end = line.read(arguments)) {
        return *end;
    }
    for (const char* needed : {"plan", "output"}) {
        if (line.value(needed).isEmpty()) {
            return line.complain(Texts::tr("--%1 is missing").arg(QLatin1String(needed)));
        }
    }
    if (line.operands().isEmpty()) {
        return line.complain(Texts::tr("no file is named"));
    }
    bool isNumber = true;
    const int seconds = line.has("time-limit") ? line.value("time-limit").toInt(&isNumber) : defaultTimeLimit;
    if (!isNumber || seconds < 1) {
        return line.complain(Texts::tr("--time-limit needs a number of seconds"));
    }
    PlanReading reading = readPlanFile(line.value("plan"));
    if (!reading.problem.isEmpty()) {
        tellOf(line.value("plan"), reading.problem);
        return ExitCode::Usage;
    }
    const PlanInUse plan{reading.plan, planDigest(reading.plan).toStdString(),
                         QCoreApplication::applicationVersion().toStdString()};
    std::vector<ResultPlace> places;
    if (const QString problem = findPlaces(line, places); !problem.isEmpty()) {
        return line.complain(problem);
    }
    const QString mark = line.value("mark");
    if (!mark.isEmpty()) {
        QFile::remove(mark);
    }
    const FileOutcome worst = doFiles(places, plan, line.has("force"), std::chrono::seconds(seconds));
    const bool isThrough = worst == FileOutcome::Done || worst == FileOutcome::Failed;
    if (isThrough && !mark.isEmpty() && !QFile(mark).open(QIODevice::WriteOnly)) {
        tellOf(mark, Texts::tr("can't be written"));
        return ExitCode::Failed;
    }
    return worst == FileOutcome::Done ? ExitCode::Done : ExitCode::Failed;
}

} // namespace Tessaly
