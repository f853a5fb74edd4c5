#include "batch/FileRun.h"

#include "batch/GateCounts.h"
#include "batch/PlanCalculations.h"
#include "core/DatasetEntry.h"
#include "io/VQDReader.h"
#include "session/DatasetOpening.h"
#include "session/Session.h"
#include "session/export/DatasetExport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <system_error>

namespace Tessaly {

namespace {

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(Tessaly::FileRun)
};

/// Why the work on a file ends early.
struct RunEnd {
    FileOutcome outcome;
    QString problem;
};

[[noreturn]] void fail(const QString& problem) {
    throw RunEnd{FileOutcome::Failed, problem};
}

[[noreturn]] void failToWrite(const QString& path) {
    throw RunEnd{FileOutcome::NotWritten, Texts::tr("can't write %1").arg(path)};
}

/// Where results grow. What is in it when this object goes is thrown away.
class WorkFolder {
public:
    explicit WorkFolder(const ResultPlace& place) : path_(place.workPath()) {
        clear();
        if (!QDir().mkpath(path_)) {
            failToWrite(path_);
        }
    }
    ~WorkFolder() { clear(); }
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;

    /// Where the file grows that will get this name.
    QString pathFor(const QString& target) const { return path_ + '/' + QFileInfo(target).fileName(); }

    void write(const QString& target, const std::string& text) const {
        QFile file(pathFor(target));
        const auto size = static_cast<qint64>(text.size());
        // Flushed here, because closing takes no notice of what goes wrong.
        if (!file.open(QIODevice::WriteOnly) || file.write(text.data(), size) != size || !file.flush()) {
            failToWrite(target);
        }
    }

    void moveToPlace(const QString& target) const {
        if (std::rename(QFile::encodeName(pathFor(target)).constData(), QFile::encodeName(target).constData()) != 0) {
            failToWrite(target);
        }
    }

private:
    void clear() const { QDir(path_).removeRecursively(); }

    QString path_;
};

/// A session of one dataset, as the window would have it after the plan's calculations under the plan's gates.
struct OpenFile {
    Session session;
    DatasetEntry* dataset = nullptr;
    std::uint64_t failedReadings = 0;

    OpenFile(const ResultPlace& place, const BatchPlan& plan);
    /// Ends the run if a column, mask or trace couldn't be read since the file was opened.
    void requireNoFailedReading() const;
};

OpenFile::OpenFile(const ResultPlace& place, const BatchPlan& plan) {
    auto entry = session.newEntry();
    switch (openMeasurementUnprobed(place.source, *entry)) {
    case OpenOutcome::Unreadable:
        fail(Texts::tr("the file can't be opened as a measurement file"));
    case OpenOutcome::Unsupported:
        fail(Texts::tr("the file doesn't come from the instrument"));
    case OpenOutcome::Opened:
        break;
    }
    entry->featuresLoaded = true;
    entry->filter = filterOf(plan);
    dataset = &session.append(std::move(entry));
    session.setActive(dataset->id);
    if (dataset->reader->featureNames().empty()) {
        fail(Texts::tr("the file has no features"));
    }
}

void OpenFile::requireNoFailedReading() const {
    if (dataset->reader->failedReadings() != 0) {
        fail(Texts::tr("a part of the file that the plan needs can't be read"));
    }
}

void noteMissingGates(const OpenFile& file, const BatchPlan& plan, std::vector<std::string>& notes) {
    for (const std::string& feature : filterOf(plan).requiredFeatures()) {
        if (!file.dataset->reader->hasFeature(feature)) {
            notes.push_back(Texts::tr("rules on %1 take no part: the file has no such feature")
                                .arg(QString::fromStdString(feature))
                                .toStdString());
        }
    }
}

void addSummary(const OpenFile& file, const BatchPlan& plan, ResultRow& row) {
    const DatasetEntry* dataset = file.dataset;
    const std::string table = summaryTable(file.session, std::span(&dataset, 1), *plan.summary);
    const std::size_t heading = table.find('\n');
    row.heading = table.substr(0, heading);
    row.summary = table.substr(heading + 1, table.size() - heading - 2);
    for (const std::string& feature : plan.summary->features) {
        row.features.push_back(dataset->reader->hasFeature(feature));
    }
}

/// Writes table and measurement file as the plan asks, and names them in the record.
void addFiles(const OpenFile& file, const BatchPlan& plan, const ResultPlace& place, const WorkFolder& work,
              ResultRow& row) {
    const auto add = [&](const ExportConfig& config, const QString& target, const auto& write) {
        const ExportJob job = exportJobOf(file.session, *file.dataset, config.features);
        file.requireNoFailedReading();
        if (job.events.empty()) {
            row.notes.push_back(
                Texts::tr("no events pass the filter: no %1").arg(QFileInfo(target).fileName()).toStdString());
            return;
        }
        if (write(job, work.pathFor(target))) {
            file.requireNoFailedReading();
            failToWrite(target);
        }
        row.results.push_back({QFileInfo(target).fileName().toStdString(),
                               static_cast<std::uint64_t>(QFileInfo(work.pathFor(target)).size())});
    };
    if (plan.table) {
        add(*plan.table, place.tablePath(),
            [](const ExportJob& job, const QString& path) { return writeTableFile(job, path); });
    }
    if (plan.measurement) {
        add(*plan.measurement, place.measurementPath(), [&plan](const ExportJob& job, const QString& path) {
            return writeMeasurementFile(job, *plan.measurement, path);
        });
    }
}

ResultRow emptyRow(const ResultPlace& place, const PlanInUse& plan) {
    ResultRow row;
    row.source = place.source.toStdString();
    row.input = stampOf(row.source).value_or(InputStamp());
    row.plan = plan.digest;
    row.program = plan.program;
    return row;
}

/// The record that stands, of whichever run; empty if there is none.
ResultRow standingRow(const ResultPlace& place) {
    std::string text;
    readSmallFile(place.rowPath().toStdString(), text);
    return rowFrom(text).value_or(ResultRow());
}

/// Puts all results in their places, the record last, and removes those of an earlier plan.
void moveAll(const WorkFolder& folder, const ResultPlace& place, const ResultRow& row) {
    const ResultRow former = standingRow(place);
    for (const ResultRow::Result& result : row.results) {
        folder.moveToPlace(place.folder + '/' + QString::fromStdString(result.name));
    }
    folder.moveToPlace(place.rowPath());
    for (const ResultRow::Result& result : former.results) {
        if (std::ranges::find(row.results, result.name, &ResultRow::Result::name) == row.results.end()) {
            QFile::remove(place.folder + '/' + QString::fromStdString(result.name));
        }
    }
}

/// The results of a file that can be done; throws RunEnd.
void work(const ResultPlace& place, const PlanInUse& plan, EModulus& engine) {
    ResultRow row = emptyRow(place, plan);
    if (!stampOf(row.source)) {
        fail(QFileInfo::exists(place.source) ? Texts::tr("not a regular file") : Texts::tr("no such file"));
    }
    OpenFile file(place, plan.plan);
    row.notes = calculate(file.session, *file.dataset, plan.plan, engine);
    noteMissingGates(file, plan.plan, row.notes);
    if (plan.plan.summary) {
        addSummary(file, plan.plan, row);
    }
    if (plan.plan.counts) {
        const GateCounts counts = gateCounts(*file.dataset, plan.plan);
        row.countsHeading = counts.heading;
        row.counts = counts.line;
    }
    file.requireNoFailedReading();
    const WorkFolder folder(place);
    addFiles(file, plan.plan, place, folder, row);
    row.done = true;
    folder.write(place.rowPath(), rowText(row));
    moveAll(folder, place, row);
}

QString withoutSuffix(QString name) {
    const QString suffix = QStringLiteral(".vqd");
    if (name.endsWith(suffix, Qt::CaseInsensitive)) {
        name.chop(suffix.size());
    }
    return name;
}

} // namespace

// Named as the window's exports are.

QString ResultPlace::tablePath() const {
    return folder + QStringLiteral("/TSYexport_") + withoutSuffix(name) + QStringLiteral(".tsv");
}

QString ResultPlace::measurementPath() const {
    return folder + QStringLiteral("/TSYexport_") + name;
}

std::optional<ResultPlace> resultPlace(const QString& file, const QString& root, const QString& output) {
    const QString source = QDir::cleanPath(QFileInfo(file).absoluteFilePath());
    const QString base = QDir::cleanPath(QFileInfo(root).absoluteFilePath());
    const QString prefix = base.endsWith('/') ? base : base + '/';
    if (!source.startsWith(prefix)) {
        return std::nullopt;
    }
    const QString inside = source.mid(prefix.size());
    const qsizetype slash = inside.lastIndexOf('/');
    QString folder = QDir::cleanPath(QFileInfo(output).absoluteFilePath());
    if (slash >= 0) {
        folder += '/' + inside.left(slash);
    }
    return ResultPlace{source, folder, inside.mid(slash + 1)};
}

bool isUpToDate(const ResultPlace& place, const PlanInUse& plan) {
    const ResultRow row = standingRow(place);
    if (!row.done || row.source != place.source.toStdString() || row.plan != plan.digest ||
        row.program != plan.program || stampOf(row.source) != row.input) {
        return false;
    }
    return std::ranges::all_of(row.results, [&place](const ResultRow::Result& result) {
        const auto stamp = stampOf((place.folder + '/' + QString::fromStdString(result.name)).toStdString());
        return stamp && stamp->size == result.size;
    });
}

QString otherSource(const ResultPlace& place) {
    const QString source = QString::fromStdString(standingRow(place).source);
    return source != place.source && QFileInfo::exists(source) ? source : QString();
}

FileOutcome runFile(const ResultPlace& place, const PlanInUse& plan, EModulus& engine, QString& problem) {
    try {
        work(place, plan, engine);
        return FileOutcome::Done;
    } catch (const RunEnd& end) {
        problem = end.problem;
        if (end.outcome != FileOutcome::Failed) {
            return end.outcome;
        }
    } catch (const std::exception& error) {
        problem = Texts::tr("the work on it broke off: %1").arg(QString::fromUtf8(error.what()));
    }
    return writeFailure(place, plan, problem) ? FileOutcome::Failed : FileOutcome::NotWritten;
}

bool writeFailure(const ResultPlace& place, const PlanInUse& plan, const QString& message) {
    try {
        ResultRow row = emptyRow(place, plan);
        row.message = message.toStdString();
        const WorkFolder folder(place);
        folder.write(place.rowPath(), rowText(row));
        moveAll(folder, place, row);
        return true;
    } catch (const RunEnd&) {
        return false;
    }
}

} // namespace Tessaly
