#include "session/export/ExportRun.h"

#include "core/FeatureCatalogue.h"
#include "io/VQDReader.h"
#include "io/VideoWriter.h"
#include "session/Session.h"
#include "session/export/DatasetExport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <set>

namespace Tessaly {

namespace {

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(Tessaly::ExportRun)
};

UserMessage warning(const QString& text) {
    return {UserMessage::Kind::Warning, Texts::tr("Export"), text};
}

std::optional<UserMessage> writeFilm(const ExportJob& job, const ExportConfig& config, const QString& path,
                                     const std::function<void()>& onPause) {
    if (!job.reader->hasImage()) {
        return warning(Texts::tr("No images available in: %1").arg(job.displayName));
    }
    const VideoOptions options{config.mjpeg, config.skipDuplicates, config.reanalysis};
    switch (writeVideo(path.toStdString(), *job.reader, job.events, options, onPause)) {
    case VideoOutcome::Written:
        return std::nullopt;
    case VideoOutcome::NoDimensions:
        return warning(Texts::tr("Failed to read image dimensions."));
    case VideoOutcome::NotCreated:
        return exportFailure(Texts::tr("Failed to create video file: %1").arg(path));
    case VideoOutcome::Failed:
        break;
    }
    return exportFailure(Texts::tr("Failed to write: %1").arg(path));
}

bool isTaken(const QString& path) {
    const QFileInfo file(path);
    return file.exists() || file.isSymLink();
}

} // namespace

std::vector<std::string> featuresOfAll(const std::vector<std::unique_ptr<DatasetEntry>>& datasets) {
    std::set<std::string> names;
    for (const auto& dataset : datasets) {
        if (!dataset->reader) {
            continue;
        }
        for (const std::string& name : dataset->reader->featureNames()) {
            if (isScalarFeature(name)) {
                names.insert(name);
            }
        }
    }
    return {names.begin(), names.end()};
}

QString exportPath(const DatasetEntry& dataset, const ExportConfig& config) {
    const QFileInfo source(QString::fromStdString(dataset.filePath));
    QString name = source.fileName();
    if (config.tsv || config.avi) {
        const QString ending = QStringLiteral(".vqd");
        if (name.endsWith(ending, Qt::CaseInsensitive)) {
            name.chop(ending.size());
        }
        name += config.tsv ? QStringLiteral(".tsv") : QStringLiteral(".avi");
    }
    name.prepend(QStringLiteral("TSYexport_"));
    const QDir directory(config.customDirectory ? config.directory : source.absolutePath());
    const qsizetype dot = name.lastIndexOf('.');
    const QString base = dot < 0 ? name : name.left(dot);
    const QString suffix = dot < 0 ? QString() : name.mid(dot);
    QString path = directory.filePath(name);
    for (int number = 2; isTaken(path); ++number) {
        path = directory.filePath(base + '_' + QString::number(number) + suffix);
    }
    return path;
}

ExportResult exportDataset(const Session& session, const DatasetEntry& dataset, const ExportConfig& config,
                           const std::function<void()>& onPause) {
    ExportResult result;
    if (!dataset.reader || !dataset.reader->isOpen()) {
        return result;
    }
    const ExportJob job = exportJobOf(session, dataset, config.features);
    const QString path = exportPath(dataset, config);
    if (job.filterFailed) {
        result.message = exportFailure(Texts::tr("Failed to write: %1").arg(path));
        return result;
    }
    if (job.events.empty()) {
        result.message = warning(Texts::tr("No events pass the filter for: %1").arg(job.displayName));
        return result;
    }
    result.path = path;
    result.message = config.tsv   ? writeTableFile(job, path, onPause)
                     : config.avi ? writeFilm(job, config, path, onPause)
                                  : writeMeasurementFile(job, config, path, onPause);
    result.written = !result.message;
    return result;
}

ExportRun::ExportRun(const Session& session, ExportConfig config) : session_(session), config_(std::move(config)) {
    if (!config_.allDatasets) {
        if (const DatasetEntry* active = session_.active()) {
            ids_.push_back(active->id);
        }
        return;
    }
    for (const auto& dataset : session_.datasets()) {
        ids_.push_back(dataset->id);
    }
}

std::optional<UserMessage> ExportRun::refusal(const Session& session) {
    return exportRefusal(session);
}

QString ExportRun::label() const {
    const DatasetEntry* dataset = isFinished() ? nullptr : session_.findById(ids_[static_cast<std::size_t>(index_)]);
    return Texts::tr("Exporting %1 (%2/%3)")
        .arg(dataset ? dataset->displayName : QString(), QString::number(index_ + 1), QString::number(count()));
}

ExportResult ExportRun::next(const std::function<void()>& onPause) {
    if (isFinished()) {
        return {};
    }
    const DatasetEntry* dataset = session_.findById(ids_[static_cast<std::size_t>(index_)]);
    ExportResult result = dataset ? exportDataset(session_, *dataset, config_, onPause) : ExportResult();
    ++index_;
    written_ += result.written ? 1 : 0;
    return result;
}

std::optional<UserMessage> ExportRun::closing() const {
    const QString title = Texts::tr("Export");
    if (!config_.allDatasets) {
        return written_ == 0 ? std::nullopt
                             : std::optional(UserMessage{UserMessage::Kind::Information, title,
                                                         Texts::tr("Dataset exported successfully.")});
    }
    if (written_ == count()) {
        return UserMessage{UserMessage::Kind::Information, title,
                           Texts::tr("Exported %1 dataset(s) successfully.").arg(written_)};
    }
    return UserMessage{UserMessage::Kind::Warning, title,
                       Texts::tr("Exported %1 of %2 dataset(s).").arg(written_).arg(count())};
}

} // namespace Tessaly
