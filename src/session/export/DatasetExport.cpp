#include "session/export/DatasetExport.h"

#include "core/FeatureCatalogue.h"
#include "io/MeasurementWriter.h"
#include "io/TsvWriter.h"
#include "io/VQDReader.h"
#include "session/Session.h"

#include <QCoreApplication>

#include <numeric>

namespace Tessaly {

namespace {

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(Tessaly::ExportRun)
};

} // namespace

ExportJob exportJobOf(const Session& session, const DatasetEntry& dataset, const std::vector<std::string>& features) {
    ExportJob job;
    job.reader = dataset.reader;
    job.metadata = dataset.metadata;
    job.displayName = dataset.displayName;
    job.filter = session.buildEffectiveFilter(&dataset);
    const std::uint64_t failedReadings = job.reader->failedReadings();
    if (std::optional<std::vector<int>> passing = session.passingEvents(dataset)) {
        job.events = *std::move(passing);
    } else {
        job.events.resize(job.reader->eventCount());
        std::iota(job.events.begin(), job.events.end(), 0);
    }
    job.filterFailed = job.reader->failedReadings() != failedReadings;
    for (const std::string& feature : features) {
        if (isScalarFeature(feature) && job.reader->hasFeature(feature)) {
            job.features.push_back(feature);
        }
    }
    const std::string name = job.displayName.toStdString();
    if (name != metadataValue(job.metadata.experiment, "sample")) {
        job.changedSampleName = name;
    }
    return job;
}

std::optional<UserMessage> writeMeasurementFile(const ExportJob& job, const ExportConfig& config, const QString& path,
                                                const std::function<void()>& onPause) {
    MeasurementWriter writer;
    writer.setOnPause(onPause);
    if (!writer.create(path.toStdString())) {
        return exportFailure(Texts::tr("Failed to create: %1").arg(path));
    }
    writer.copyAttributes(job.metadata);
    writer.writeOfflineFilter(job.filter);
    writer.writeExportAttributes(job.events.size(), job.changedSampleName.value_or(std::string()));
    writer.writeScalars(job.features, job.events, *job.reader);
    if (config.images && job.reader->hasImage()) {
        writer.writeImages(*job.reader, job.events);
    }
    if (config.masks && job.reader->hasMask()) {
        writer.writeMasks(*job.reader, job.events);
    }
    if (config.traces && job.reader->hasTraces()) {
        writer.writeTraces(*job.reader, job.events);
    }
    if (!writer.close()) {
        return exportFailure(Texts::tr("Failed to write: %1").arg(path));
    }
    return std::nullopt;
}

std::optional<UserMessage> writeTableFile(const ExportJob& job, const QString& path,
                                          const std::function<void()>& onPause) {
    if (!writeTsv(path.toStdString(), job.metadata, job.changedSampleName, job.features, job.events, *job.reader,
                  onPause)) {
        return exportFailure(Texts::tr("Failed to create: %1").arg(path));
    }
    return std::nullopt;
}

std::optional<UserMessage> exportRefusal(const Session& session) {
    const DatasetEntry* active = session.active();
    if (active && active->featuresLoaded) {
        return std::nullopt;
    }
    return UserMessage{UserMessage::Kind::Warning, Texts::tr("Export"),
                       Texts::tr("No loaded dataset available for export.")};
}

UserMessage exportFailure(const QString& text) {
    return {UserMessage::Kind::Critical, Texts::tr("Export Error"), text};
}

} // namespace Tessaly
