#include "session/DatasetTexts.h"

#include "core/DatasetEntry.h"
#include "io/VQDReader.h"

#include <QCoreApplication>
#include <QRegularExpression>
#include <QStringList>

namespace Tessaly {

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("Tessaly::DatasetTexts", text);
}

/// Flow rate with its unit; empty if the metadata have no number for it.
QString flowRateText(const VQDMetadata& metadata) {
    const std::optional<double> rate = metadataNumber(metadata.setup, "flow rate");
    return rate ? tr("%1 µL/s").arg(QString::number(*rate, 'g', 4)) : QString();
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

QString eventsText(const DatasetEntry& entry) {
    return tr("%1 events").arg(eventCountOf(entry));
}

QStringList labelDetails(const DatasetEntry& entry) {
    return withoutEmpty({isReservoir(entry.metadata) ? tr("Reservoir") : QString(), flowRateText(entry.metadata),
                         runText(entry.metadata), eventsText(entry)});
}

} // namespace

QString inOneLine(QString name) {
    static const QRegularExpression lineBreak(QStringLiteral("\\r\\n|[\\n\\v\\f\\r\\x{85}\\x{2028}\\x{2029}]"));
    return name.replace(lineBreak, QStringLiteral(" "));
}

QString datasetLabelHtml(const DatasetEntry& entry) {
    return QStringLiteral("<b>%1</b> (%2)")
        .arg(inOneLine(entry.displayName).toHtmlEscaped(), labelDetails(entry).join(", ").toHtmlEscaped());
}

QStringList datasetNarrowLabels(const DatasetEntry& entry) {
    const QString name = inOneLine(entry.displayName).toHtmlEscaped();
    QStringList labels;
    for (const QStringList& details :
         {labelDetails(entry), withoutEmpty({flowRateText(entry.metadata), eventsText(entry)})}) {
        labels << QStringLiteral("<b>%1</b><br><small>%2</small>").arg(name, details.join(", ").toHtmlEscaped());
    }
    // Flow rate and count one below the other, for deep folders in a narrow tree.
    labels << QStringLiteral("<b>%1</b><br><small>%2</small>")
                  .arg(name,
                       withoutEmpty({flowRateText(entry.metadata), eventsText(entry)}).join(QLatin1String("<br>")));
    return labels;
}

QString plotStatusText(const DatasetEntry& entry, std::optional<int> shown) {
    const qulonglong count = eventCountOf(entry);
    QString events;
    if (shown) {
        const double percent = count > 0 ? 100.0 * *shown / static_cast<double>(count) : 0.0;
        events = tr("%1/%2 events shown (%3% pass filter)")
                     .arg(QString::number(*shown), QString::number(count), QString::number(percent, 'f', 1));
    } else {
        events = eventsText(entry);
    }
    const QStringList details =
        withoutEmpty({flowRateText(entry.metadata), isReservoir(entry.metadata) ? tr("Reservoir") : QString(),
                      runText(entry.metadata), events});
    return tr("Loaded: %1 (%2)").arg(inOneLine(entry.displayName), details.join(", "));
}

} // namespace Tessaly
