#include "session/DatasetTexts.h"

#include "core/DatasetEntry.h"
#include "io/VQDReader.h"

#include <QCoreApplication>
#include <QStringList>

#include <cmath>

namespace Tessaly {

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("Tessaly::DatasetTexts", text);
}

/// Flow rate with its unit; empty if the metadata have no number for it.
QString flowRateText(const VQDMetadata& metadata) {
    bool parsed = false;
    const double rate = QString::fromStdString(metadataValue(metadata.setup, "flow rate")).toDouble(&parsed);
    if (!parsed || !std::isfinite(rate)) {
        return {};
    }
    return tr("%1 µL/s").arg(QString::number(rate, 'g', 4));
}

bool isReservoir(const VQDMetadata& metadata) {
    return metadataValue(metadata.setup, "chip region") == "reservoir";
}

QString runText(const VQDMetadata& metadata) {
    const std::string run = metadataValue(metadata.experiment, "run index");
    return run.empty() ? QString() : "#" + QString::fromStdString(run);
}

qulonglong eventCountOf(const DatasetEntry& entry) {
    return entry.reader ? entry.reader->eventCount() : 0;
}

QStringList withoutEmpty(QStringList parts) {
    parts.removeAll(QString());
    return parts;
}

} // namespace

QString datasetLabelHtml(const DatasetEntry& entry) {
    const QStringList details =
        withoutEmpty({isReservoir(entry.metadata) ? tr("Reservoir") : QString(), flowRateText(entry.metadata),
                      runText(entry.metadata), tr("%1 events").arg(eventCountOf(entry))});
    return QStringLiteral("<b>%1</b> (%2)").arg(entry.displayName.toHtmlEscaped(), details.join(", ").toHtmlEscaped());
}

QString plotStatusText(const DatasetEntry& entry, std::optional<int> shown) {
    const qulonglong count = eventCountOf(entry);
    QString events;
    if (shown) {
        const double percent = count > 0 ? 100.0 * *shown / static_cast<double>(count) : 0.0;
        events = tr("%1/%2 events shown (%3% pass filter)")
                     .arg(QString::number(*shown), QString::number(count), QString::number(percent, 'f', 1));
    } else {
        events = tr("%1 events").arg(count);
    }
    const QStringList details =
        withoutEmpty({flowRateText(entry.metadata), isReservoir(entry.metadata) ? tr("Reservoir") : QString(),
                      runText(entry.metadata), events});
    return tr("Loaded: %1 (%2)").arg(entry.displayName, details.join(", "));
}

} // namespace Tessaly
