#include "session/compare/RocComparison.h"

#include "io/NumberText.h"
#include "session/compare/ReplicateFolding.h"
#include "stats/Discriminant.h"

#include <QCoreApplication>

#include <algorithm>
#include <array>
#include <utility>

namespace Tessaly {

namespace {

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(Tessaly::RocComparison)
};

constexpr std::size_t leastSamples = 3;

UserMessage warning(const QString& text) {
    return {UserMessage::Kind::Warning, Texts::tr("ROC Analysis"), text};
}

/// Samples of one category, feature by feature.
std::vector<std::vector<double>> samplesByFeature(const Comparison& comparison, std::size_t category,
                                                  const ValueTable& table) {
    const Category& members = comparison.categories[category];
    std::vector<std::vector<double>> samples;
    for (std::size_t feature = 0; feature < comparison.features.size(); ++feature) {
        std::vector<double> values;
        for (const CategoryEntry& entry : members.entries) {
            values.push_back(valueIn(table, entry.datasetId, feature));
        }
        samples.push_back(independentSamples(members, values, comparison.settings).values);
    }
    return samples;
}

std::size_t sampleCount(const Category& category, const CompareSettings& settings) {
    return independentSamples(category, std::vector<double>(category.entries.size()), settings).values.size();
}

ResultRow rocRow(const QString& name, const RocResult& roc, const QString& positive) {
    ResultRow row;
    row.append(name);
    if (!roc.valid) {
        for (int i = 0; i < 7; ++i) {
            row.append(Texts::tr("n/a"));
        }
        return row;
    }
    const auto append = [&row](double value, char format, int digits) {
        row.append(QString::number(value, format, digits), value);
    };
    append(roc.auc, 'f', 3);
    row.append(roc.higherIsPositive ? Texts::tr("> (higher = %1)").arg(positive)
                                    : Texts::tr("< (lower = %1)").arg(positive));
    append(roc.optimalThreshold, 'g', 4);
    append(roc.sensitivity, 'f', 3);
    append(roc.specificity, 'f', 3);
    row.append(QString::number(roc.nNegative), roc.nNegative);
    row.append(QString::number(roc.nPositive), roc.nPositive);
    return row;
}

void appendNumbers(std::string& text, const std::array<double, 3>& numbers, char separator) {
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        appendShort(text, numbers[i]);
        text += i + 1 < numbers.size() ? separator : '\n';
    }
}

} // namespace

std::optional<UserMessage> rocRefusal(const Comparison& comparison) {
    return comparison.categories.size() < 2 ? std::optional(warning(Texts::tr("Need at least 2 categories.")))
                                            : std::nullopt;
}

std::optional<UserMessage> rocRefusal(const Comparison& comparison, std::size_t negative, std::size_t positive) {
    if (comparison.features.empty()) {
        return warning(Texts::tr("Select at least one feature."));
    }
    const CompareSettings& settings = comparison.settings;
    const Category& first = comparison.categories[negative];
    const Category& second = comparison.categories[positive];
    if (settings.replicates && (anyIdMissing(std::span(&first, 1)) || anyIdMissing(std::span(&second, 1)))) {
        return warning(
            Texts::tr("Replicates are enabled but some datasets have no ID assigned. Double-click datasets to "
                      "assign IDs."));
    }
    const std::size_t negatives = sampleCount(first, settings);
    const std::size_t positives = sampleCount(second, settings);
    if (negatives >= leastSamples && positives >= leastSamples) {
        return std::nullopt;
    }
    QString text = Texts::tr("Each category needs at least 3 samples for ROC analysis. ");
    if (settings.replicates) {
        text += Texts::tr("After replicate aggregation, there are %1 and %2 samples.").arg(negatives).arg(positives);
    }
    return warning(text);
}

RocComparison compareByRoc(const Comparison& comparison, std::size_t negative, std::size_t positive,
                           const ValueTable& values) {
    const std::vector<std::vector<double>> negatives = samplesByFeature(comparison, negative, values);
    const std::vector<std::vector<double>> positives = samplesByFeature(comparison, positive, values);
    RocComparison result;
    result.negative = comparison.categories[negative].name;
    result.positive = comparison.categories[positive].name;
    for (std::size_t i = 0; i < comparison.features.size(); ++i) {
        result.features.push_back({comparison.features[i], directedRoc(negatives[i], positives[i])});
    }
    if (comparison.features.size() >= 2) {
        Discriminant discriminant = linearDiscriminant(negatives, positives);
        result.combined = {std::move(discriminant.roc), std::move(discriminant.weights), comparison.features};
    }
    return result;
}

QString combinedName() {
    return Texts::tr("Combined (LDA)");
}

ResultTable rocTable(const RocComparison& comparison) {
    ResultTable table;
    table.headings = {Texts::tr("Feature"),
                      Texts::tr("AUC"),
                      Texts::tr("Direction"),
                      Texts::tr("Optimal Threshold"),
                      Texts::tr("Sensitivity"),
                      Texts::tr("Specificity"),
                      Texts::tr("N %1").arg(comparison.negative),
                      Texts::tr("N %1").arg(comparison.positive)};
    table.rightAligned.assign(8, true);
    table.rightAligned[0] = false;
    for (const RocFeatureResult& feature : comparison.features) {
        table.rows.push_back(rocRow(feature.feature.label, feature.roc, comparison.positive));
    }
    if (comparison.combined) {
        table.rows.push_back(rocRow(combinedName(), comparison.combined->roc, comparison.positive));
    }
    return table;
}

QByteArray rocCurveText(const Comparison& comparison, const ValueTable& values, char separator) {
    Comparison plain = comparison;
    plain.settings.replicates = false;
    const std::vector<std::vector<double>> negatives = samplesByFeature(plain, 0, values);
    const std::vector<std::vector<double>> positives = samplesByFeature(plain, 1, values);
    std::string text;
    for (std::size_t i = 0; i < plain.features.size(); ++i) {
        const RocResult roc = directedRoc(negatives[i], positives[i]);
        text += "# " + plain.features[i].label.toStdString() + "\n";
        text += std::string("FPR") + separator + "TPR" + separator + "Threshold\n";
        for (std::size_t point = 0; point < roc.fpr.size(); ++point) {
            appendNumbers(text, {roc.fpr[point], roc.tpr[point], roc.thresholds[point]}, separator);
        }
        text += "\n";
    }
    return QByteArray::fromStdString(text);
}

} // namespace Tessaly
