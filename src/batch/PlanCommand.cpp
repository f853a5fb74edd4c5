#include "batch/BatchPlan.h"
#include "batch/CommandLine.h"
#include "batch/Commands.h"
#include "batch/PlanMaking.h"
#include "core/FileReplacement.h"

#include <QCoreApplication>

namespace Tessaly {

namespace {

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(Tessaly::Batch)
};

/// A complaint about the command line, or about a file that it names.
struct Refusal {
    QString problem;
    bool ofUsage = true;
};

CommandLine commandLine() {
    CommandLine line(QStringLiteral("plan"),
                     Texts::tr("Makes a plan from what was set up in the window, or from options alone."), {}, {});
    line.add({
        {{"s", "session"}, Texts::tr("Session file: gates and calculations of one of its datasets."), "S.TSY"},
        {"dataset", Texts::tr("Display name or number, from 1, of that dataset. Default: the selected one."), "NAME"},
        {{"g", "groups"}, Texts::tr("File of filter groups, all of which become gates. May be repeated."), "G.tsyfg"},
        {"range", Texts::tr("A gate on one feature. May be repeated."), "FEATURE,MIN,MAX"},
        {"refine", Texts::tr("Measure fluorescence peaks anew.")},
        {"fourier", Texts::tr("Compute Fourier deformations.")},
        {"modulus", Texts::tr("Compute Young's moduli.")},
        {"temperature", Texts::tr("For moduli: \"metadata\" (default), \"event\", or degrees Celsius."), "SOURCE"},
        {"viscosity", Texts::tr("For moduli in media without a model: mPa s (default 1)."), "VALUE"},
        {"features", Texts::tr("Features of the outputs. Default: of the plot, of the gates, and computed ones."),
         "A,B,..."},
        {"statistics", Texts::tr("Columns of the summary (default N,Median,IQR), or \"none\" for no summary."),
         "A,B,..."},
        {"percentile", Texts::tr("One more column of the summary."), "0..100"},
        {"table", Texts::tr("Write a table of the events that pass.")},
        {"measurement", Texts::tr("Write a measurement file of the events that pass.")},
        {"with", Texts::tr("What else goes into it: images, masks, traces."), "A,B,..."},
        {"counts", Texts::tr("Count the events that pass each gate.")},
        {{"o", "output"}, Texts::tr("Where the plan goes. Default: the standard output."), "PLAN.json"},
    });
    return line;
}

int datasetIndex(const SessionDocument& document, const CommandLine& line) {
    const int count = static_cast<int>(document.datasets.size());
    if (!line.has("dataset")) {
        return document.activeDatasetIndex < count ? document.activeDatasetIndex : 0;
    }
    const QString name = line.value("dataset");
    for (int i = 0; i < count; ++i) {
        if (document.datasets[static_cast<std::size_t>(i)].displayName == name) {
            return i;
        }
    }
    const int number = name.toInt();
    if (number < 1 || number > count) {
        throw Refusal{Texts::tr("the session has no dataset %1").arg(name)};
    }
    return number - 1;
}

/// Takes the session in; returns the settings of its dataset's plot.
PlotSettings takeSession(BatchPlan& plan, const CommandLine& line) {
    if (!line.has("session")) {
        if (line.has("dataset")) {
            throw Refusal{Texts::tr("--dataset goes with --session")};
        }
        return {};
    }
    const SessionReading reading = readSessionFile(line.value("session"));
    if (reading.error) {
        throw Refusal{line.value("session") + ": " + reading.error->text.split('\n').first(), false};
    }
    if (reading.warning) {
        tellOf(line.value("session"), QString(reading.warning->text).replace('\n', ' '));
    }
    if (reading.document.datasets.empty()) {
        throw Refusal{line.value("session") + ": " + Texts::tr("the session has no datasets"), false};
    }
    const int index = datasetIndex(reading.document, line);
    takeDataset(plan, reading.document, index);
    return reading.document.datasets[static_cast<std::size_t>(index)];
}

void takeGates(BatchPlan& plan, const CommandLine& line) {
    for (const QString& path : line.values("groups")) {
        if (const QString problem = takeGroupFile(plan, path); !problem.isEmpty()) {
            throw Refusal{path + ": " + problem, false};
        }
    }
    for (const QString& range : line.values("range")) {
        if (!takeRange(plan, range)) {
            throw Refusal{Texts::tr("--range needs FEATURE,MIN,MAX: %1").arg(range)};
        }
    }
}

double numberOf(const CommandLine& line, const QString& option) {
    bool isNumber = false;
    const double number = line.value(option).toDouble(&isNumber);
    if (!isNumber) {
        throw Refusal{Texts::tr("--%1 needs a number").arg(option)};
    }
    return number;
}

void takeCalculations(BatchPlan& plan, const CommandLine& line) {
    if (line.has("refine") && !plan.refinement) {
        plan.refinement.emplace();
    }
    plan.fourier = plan.fourier || line.has("fourier");
    if (line.has("modulus") && !plan.modulus) {
        plan.modulus.emplace();
    }
    if (!plan.modulus && (line.has("temperature") || line.has("viscosity"))) {
        throw Refusal{Texts::tr("--temperature and --viscosity go with moduli, which aren't asked for")};
    }
    if (line.has("temperature")) {
        const QString source = line.value("temperature");
        plan.modulus->temperatureSource = source == QLatin1String("metadata") ? TemperatureSource::Metadata
                                          : source == QLatin1String("event")  ? TemperatureSource::PerEvent
                                                                              : TemperatureSource::Manual;
        if (plan.modulus->temperatureSource == TemperatureSource::Manual) {
            plan.modulus->temperature = numberOf(line, QStringLiteral("temperature"));
        }
    }
    if (line.has("viscosity")) {
        plan.modulus->viscosity = numberOf(line, QStringLiteral("viscosity"));
    }
}

void takeOutputs(BatchPlan& plan, const CommandLine& line, const PlotSettings& plot) {
    std::vector<std::string> features;
    for (const QString& feature : line.list("features")) {
        features.push_back(feature.toStdString());
    }
    if (!line.has("features")) {
        features = proposedFeatures(plan, plot);
    }
    if (line.value("statistics") != QLatin1String("none")) {
        plan.summary.emplace().features = features;
        if (line.has("statistics")) {
            if (const QString unknown = chooseFigures(line.list("statistics"), *plan.summary); !unknown.isEmpty()) {
                throw Refusal{Texts::tr("unknown statistic %1").arg(unknown)};
            }
        }
        if (line.has("percentile")) {
            plan.summary->percentileOn = true;
            plan.summary->percentile = numberOf(line, QStringLiteral("percentile"));
        }
    }
    if (line.has("table")) {
        plan.table.emplace().features = features;
    }
    if (line.has("measurement")) {
        ExportConfig& config = plan.measurement.emplace();
        config.features = features;
        for (const QString& what : line.list("with")) {
            bool* const flag = what == QLatin1String("images")   ? &config.images
                               : what == QLatin1String("masks")  ? &config.masks
                               : what == QLatin1String("traces") ? &config.traces
                                                                 : nullptr;
            if (!flag) {
                throw Refusal{Texts::tr("--with knows images, masks and traces: %1").arg(what)};
            }
            *flag = true;
        }
    } else if (line.has("with")) {
        throw Refusal{Texts::tr("--with goes with --measurement")};
    }
    plan.counts = line.has("counts");
}

} // namespace

int planCommand(const QStringList& arguments) {
    CommandLine line = commandLine();
    if (const std::optional<int> end = line.read(arguments)) {
        return *end;
    }
    if (!line.operands().isEmpty()) {
        return line.complain(Texts::tr("there is nothing to be done with %1").arg(line.operands().first()));
    }
    BatchPlan plan;
    try {
        const PlotSettings plot = takeSession(plan, line);
        takeGates(plan, line);
        takeCalculations(plan, line);
        takeOutputs(plan, line, plot);
    } catch (const Refusal& refusal) {
        if (refusal.ofUsage) {
            return line.complain(refusal.problem);
        }
        tell(refusal.problem);
        return ExitCode::Failed;
    }
    const QByteArray json = planToJson(plan);
    // What can't be read again isn't written.
    if (const PlanReading again = planFromJson(json); !again.problem.isEmpty()) {
        return line.complain(again.problem);
    }
    if (!line.has("output")) {
        return say(json) ? ExitCode::Done : ExitCode::Failed;
    }
    if (!replaceFile(line.value("output"), json)) {
        tellOf(line.value("output"), Texts::tr("can't be written"));
        return ExitCode::Failed;
    }
    return ExitCode::Done;
}

} // namespace Tessaly
