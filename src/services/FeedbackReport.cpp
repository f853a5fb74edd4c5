#include "services/FeedbackReport.h"

#include "core/DatasetEntry.h"
#include "io/VQDReader.h"

#include <QDateTime>
#include <QStringList>
#include <QSysInfo>

namespace Tessaly {

namespace {

constexpr qsizetype reservedBytes = 256 * 1024;

QString yesOrNo(bool value) {
    return value ? QStringLiteral("yes") : QStringLiteral("no");
}

/// @param left  key that names a sample, or null
QString sectionText(const char* name, const VQDMetadata::Section& section, const char* left = nullptr) {
    if (section.empty()) {
        return {};
    }
    QString text = QStringLiteral("[%1]\n").arg(QLatin1String(name));
    for (const auto& [key, value] : section) {
        if (!left || key != left) {
            text += QStringLiteral("  %1: %2\n").arg(QString::fromStdString(key), QString::fromStdString(value));
        }
    }
    return text;
}

QString metadataText(const VQDMetadata& metadata) {
    return sectionText("experiment", metadata.experiment, "sample") + sectionText("setup", metadata.setup) +
           sectionText("imaging", metadata.imaging) + sectionText("online_contour", metadata.online_contour) +
           sectionText("online_filter", metadata.online_filter) + sectionText("fluorescence", metadata.fluorescence) +
           sectionText("export", metadata.exportSection, "changed sample name");
}

QString ruleText(const FilterRule& rule) {
    const QString suffix = rule.inverted ? QStringLiteral(" [inverted]") : QString();
    const QString feature = QString::fromStdString(rule.featureName);
    if (rule.type == FilterRule::Polygon) {
        return QStringLiteral("  polygon %1/%2 (%3 verts)%4\n")
            .arg(feature, QString::fromStdString(rule.featureNameY), QString::number(rule.polygonVertices.size()),
                 suffix);
    }
    return QStringLiteral("  range %1 [%2, %3]%4\n")
        .arg(feature, QString::number(rule.minValue), QString::number(rule.maxValue), suffix);
}

QString filterText(const EventFilter& filter) {
    if (filter.ruleCount() == 0) {
        return {};
    }
    QString text =
        QStringLiteral("Filter rules (%1, enabled=%2):\n").arg(filter.ruleCount()).arg(yesOrNo(filter.isEnabled()));
    for (const FilterRule& rule : filter.rules()) {
        text += ruleText(rule);
    }
    return text;
}

QString calculationsText(const DatasetEntry& dataset) {
    QStringList names;
    if (dataset.flRefinementApplied) {
        names += QStringLiteral("fl-refinement");
    }
    if (dataset.ctcApplied) {
        names += QStringLiteral("crosstalk-compensation");
    }
    if (dataset.emodApplied) {
        names += QStringLiteral("emodulus");
    }
    if (dataset.fourierApplied) {
        names += QStringLiteral("fourier-deformation");
    }
    return names.isEmpty() ? QString() : QStringLiteral("Calculations: %1\n").arg(names.join(QStringLiteral(", ")));
}

QString datasetText(const DatasetEntry& dataset) {
    QString text;
    if (dataset.reader) {
        text += QStringLiteral("Events: %1\n").arg(dataset.reader->eventCount());
    }
    text += QStringLiteral("Loaded: %1\n").arg(yesOrNo(dataset.featuresLoaded));
    return text + metadataText(dataset.metadata) + filterText(dataset.filter) + calculationsText(dataset);
}

} // namespace

QString sessionSummary(const std::vector<std::unique_ptr<DatasetEntry>>& datasets, bool plotReduced) {
    QString text = QStringLiteral("Datasets: %1\n").arg(datasets.size());
    if (plotReduced) {
        text += QStringLiteral("Global filter: active\n");
    }
    for (std::size_t i = 0; i < datasets.size(); ++i) {
        text += QStringLiteral("\n--- Dataset %1 ---\n").arg(i + 1) + datasetText(*datasets[i]);
    }
    return text;
}

QByteArray feedbackReport(const FeedbackContents& contents) {
    QByteArray report;
    report.reserve(reservedBytes);
    report += "=== Tessaly Feedback Report ===\n";
    report += "Version: " + contents.version.toUtf8() + "\n";
    report += "Timestamp: " + QDateTime::currentDateTimeUtc().toString(Qt::ISODate).toUtf8() + "\n";
    report += "OS: " + QSysInfo::prettyProductName().toUtf8() + "\n";
    report += "Arch: " + QSysInfo::currentCpuArchitecture().toUtf8() + "\n\n";
    if (!contents.errorTitle.isEmpty() || !contents.errorMessage.isEmpty()) {
        report += "=== Error ===\nTitle: " + contents.errorTitle.toUtf8() + "\n";
        report += "Message: " + contents.errorMessage.toUtf8() + "\n\n";
    }
    if (!contents.comment.isEmpty()) {
        report += "=== User Comment ===\n" + contents.comment.toUtf8() + "\n\n";
    }
    report += "=== Session ===\n";
    report += (contents.summary.isEmpty() ? QByteArray("(no datasets loaded)\n") : contents.summary.toUtf8()) + "\n\n";
    report += "=== Log ===\n";
    report += contents.log.isEmpty() ? QByteArray("(log is empty)\n") : contents.log.toUtf8();
    return report;
}

} // namespace Tessaly
