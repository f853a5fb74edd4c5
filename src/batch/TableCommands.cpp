#include "batch/BatchPlan.h"
#include "batch/CommandLine.h"
#include "batch/Commands.h"
#include "batch/FileListing.h"
#include "batch/RowMerge.h"
#include "core/ErrorReport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace Tessaly {

namespace {

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(Tessaly::Batch)
};

CommandLine mergeLine() {
    CommandLine line(QStringLiteral("merge"), Texts::tr("Joins the rows of many files into tables, in path order."),
                     QStringLiteral("FOLDER"), Texts::tr("Folder of the results of \"run\"."));
    line.add({{{"o", "output"}, Texts::tr("Table of the summaries."), "TABLE.tsv"},
              {"counts", Texts::tr("Table of the counts of gates."), "TABLE.tsv"},
              {"report", Texts::tr("Table of the files without a row, and of what was noted."), "TABLE.tsv"},
              {"with-paths", Texts::tr("Begin each line with the path of the measurement file.")},
              {{"p", "plan"}, Texts::tr("Take only rows that were made with this plan."), "PLAN.json"},
              {"inputs", Texts::tr("List of files that should have a row, one path a line."), "LIST"},
              {"root", Texts::tr("Folder above these, as for \"run\"."), "FOLDER"}});
    return line;
}

QByteArray stateName(ListedFile::State state) {
    return state == ListedFile::State::Readable  ? "readable"
           : state == ListedFile::State::Foreign ? "foreign"
                                                 : "unreadable";
}

} // namespace

int mergeCommand(const QStringList& arguments) {
    CommandLine line = mergeLine();
    if (const std::optional<int> end = line.read(arguments)) {
        return *end;
    }
    if (line.operands().size() != 1) {
        return line.complain(Texts::tr("one folder has to be named"));
    }
    MergeRequest request{.folder = QDir::cleanPath(line.operands().first()),
                         .output = line.value("output"),
                         .counts = line.value("counts"),
                         .report = line.value("report"),
                         .inputs = line.value("inputs"),
                         .root = line.value("root"),
                         .plan = {},
                         .paths = line.has("with-paths")};
    if (request.output.isEmpty() && request.counts.isEmpty() && request.report.isEmpty()) {
        return line.complain(Texts::tr("--output is missing"));
    }
    if (!QFileInfo(request.folder).isDir()) {
        return line.complain(Texts::tr("there is no folder %1").arg(request.folder));
    }
    if (line.has("plan")) {
        const PlanReading reading = readPlanFile(line.value("plan"));
        if (!reading.problem.isEmpty()) {
            tellOf(line.value("plan"), reading.problem);
            return ExitCode::Usage;
        }
        request.plan = planDigest(reading.plan).toStdString();
    }
    const MergeOutcome outcome = mergeRows(request, [](const QString& source, const QString& reason) {
        tellOf(source, Texts::tr("no row: %1").arg(reason));
    });
    if (!outcome.problem.isEmpty()) {
        tell(outcome.problem);
        return ExitCode::Failed;
    }
    if (outcome.withoutRow > 0) {
        tell(Texts::tr("%1 of %2 files have no row").arg(outcome.withoutRow).arg(outcome.withoutRow + outcome.rows));
    }
    return ExitCode::Done;
}

int listCommand(const QStringList& arguments) {
    CommandLine line(QStringLiteral("list"),
                     Texts::tr("Lists the measurement files that a run would take: path, events, bytes, and whether "
                               "they are readable."),
                     QStringLiteral("FOLDER..."), Texts::tr("Folders, searched through all levels, or files."));
    line.add({{"paths", Texts::tr("Only paths, without looking into the files.")}});
    if (const std::optional<int> end = line.read(arguments)) {
        return *end;
    }
    if (line.operands().isEmpty()) {
        return line.complain(Texts::tr("no folder is named"));
    }
    for (const QString& operand : line.operands()) {
        if (!QFileInfo::exists(operand)) {
            return line.complain(Texts::tr("there is no %1").arg(operand));
        }
    }
    const QStringList files = measurementFilesIn(line.operands());
    if (line.has("paths")) {
        QByteArray text;
        for (const QString& file : files) {
            text += file.toUtf8() + '\n';
        }
        return say(text) ? ExitCode::Done : ExitCode::Failed;
    }
    bool written = say("File\tEvents\tBytes\tState\n");
    setErrorPrefix("tessaly_batch: ");
    lookIntoFiles(files, [&written](const QString& path, const ListedFile& file) {
        written = written && say(path.toUtf8() + '\t' + QByteArray::number(quint64(file.events)) + '\t' +
                                 QByteArray::number(quint64(file.size)) + '\t' + stateName(file.state) + '\n');
    });
    return written ? ExitCode::Done : ExitCode::Failed;
}

int batchMain(const QStringList& arguments) {
    const QString command = arguments.value(1);
    if (command == QLatin1String("run")) {
        return runCommand(arguments);
    }
    if (command == QLatin1String("plan")) {
        return planCommand(arguments);
    }
    if (command == QLatin1String("merge")) {
        return mergeCommand(arguments);
    }
    if (command == QLatin1String("list")) {
        return listCommand(arguments);
    }
    if (command == QLatin1String("--version") || command == QLatin1String("-v")) {
        return say("tessaly_batch " + QCoreApplication::applicationVersion().toUtf8() + '\n') ? ExitCode::Done
                                                                                              : ExitCode::Failed;
    }
    const QString usage = Texts::tr("Usage: tessaly_batch COMMAND [OPTIONS]\n"
                                    "Does with many measurement files what was set up for one of them.\n\n"
                                    "  plan    makes a plan: gates, calculations, outputs\n"
                                    "  list    lists the measurement files in folders\n"
                                    "  run     does a plan for measurement files\n"
                                    "  merge   joins the rows of many files into tables\n\n"
                                    "\"tessaly_batch COMMAND --help\" tells more of each.\n");
    if (command == QLatin1String("--help") || command == QLatin1String("-h")) {
        return say(usage.toUtf8()) ? ExitCode::Done : ExitCode::Failed;
    }
    tell(command.isEmpty() ? Texts::tr("a command is missing") : Texts::tr("there is no command %1").arg(command));
    tell(Texts::tr("\"tessaly_batch --help\" tells more"));
    return ExitCode::Usage;
}

} // namespace Tessaly
