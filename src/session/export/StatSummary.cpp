#include "session/export/StatSummary.h"

#include "core/FileReplacement.h"
#include "io/NumberText.h"
#include "io/VQDReader.h"
#include "session/Session.h"
#include "session/export/DatasetExport.h"
#include "stats/Quantiles.h"

#include <QCoreApplication>
#include <QStringList>

#include <algorithm>
#include <cmath>
#include <utility>

namespace Tessaly {

namespace {

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(Tessaly::StatSummary)
};

UserMessage warning(const QString& text) {
    return {UserMessage::Kind::Warning, Texts::tr("Export"), text};
}

/// Sums over all values.
struct Moments {
    double mean = 0.0;
    double squares = 0.0; ///< of the distances from the mean
    double cubes = 0.0;
    double min = 0.0;
    double max = 0.0;
};

/// One pass, in which the sum takes the time and the extremes come with it.
double sumAndExtremes(std::span<const double> values, Moments& moments) {
    double sum = 0.0;
    double min = values.front();
    double max = min;
    for (const double value : values) {
        sum += value;
        min = std::min(value, min);
        max = std::max(value, max);
    }
    moments.min = min;
    moments.max = max;
    return sum;
}

// Not inlined: among calls of other functions the compiler keeps the sums in memory, and the loops wait for it.
[[gnu::noinline]] Moments momentsOf(std::span<const double> values) {
    Moments moments;
    if (values.empty()) {
        return moments;
    }
    const double sum = sumAndExtremes(values, moments);
    if (moments.min == moments.max) {
        moments.mean = moments.min; // equal values have no deviation, not even one of rounding
        return moments;
    }
    moments.mean = sum / static_cast<double>(values.size());
    for (const double value : values) {
        const double distance = value - moments.mean;
        moments.squares += distance * distance;
        moments.cubes += distance * distance * distance;
    }
    return moments;
}

/// Quantiles of one vector. What is asked for is selected at once.
class Percentiles {
public:
    Percentiles(std::span<const double> values, std::vector<double> percents) : percents_(std::move(percents)) {
        std::vector<double> fractions;
        for (const double percent : percents_) {
            fractions.push_back(std::clamp(percent / 100.0, 0.0, 1.0));
        }
        values_ = quantiles(values, fractions);
    }

    /// 0 without values.
    double at(double percent) const {
        const auto found = static_cast<std::size_t>(std::ranges::find(percents_, percent) - percents_.begin());
        return found < values_.size() ? values_[found] : 0.0;
    }

private:
    std::vector<double> percents_;
    std::vector<double> values_;
};

std::vector<double> percentsOf(std::span<const SummaryFigure> figures, double percentile) {
    std::vector<double> percents;
    const auto add = [&percents](std::initializer_list<double> more) {
        for (const double percent : more) {
            if (std::ranges::find(percents, percent) == percents.end()) {
                percents.push_back(percent);
            }
        }
    };
    for (const SummaryFigure figure : figures) {
        switch (figure) {
        case SummaryFigure::Median:
            add({50.0});
            break;
        case SummaryFigure::Iqr:
            add({25.0, 75.0});
            break;
        case SummaryFigure::Q1:
            add({25.0});
            break;
        case SummaryFigure::Q3:
            add({75.0});
            break;
        case SummaryFigure::Percentile:
            add({percentile});
            break;
        default:
            break;
        }
    }
    return percents;
}

double skewnessOf(const Moments& moments, double n) {
    const double deviation = std::sqrt(moments.squares / n);
    const double cube = deviation * deviation * deviation;
    return n < 3.0 || cube == 0.0 ? 0.0 : moments.cubes / n / cube;
}

/// The finite values of a feature at the events; nothing if there is no such feature or it can't be read.
std::optional<std::vector<double>> valuesOf(const DatasetEntry& dataset, const std::string& feature,
                                            const std::optional<std::vector<int>>& events) {
    VQDReader& reader = *dataset.reader;
    if (!reader.hasFeature(feature)) {
        return std::nullopt;
    }
    const std::uint64_t failedReadings = reader.failedReadings();
    const SharedColumn column = reader.column(feature);
    if (reader.failedReadings() != failedReadings) {
        return std::nullopt;
    }
    std::vector<double> values(events ? events->size() : std::min<std::size_t>(column->size(), reader.eventCount()));
    std::size_t taken = 0;
    const auto take = [&](double value) {
        values[taken] = value; // what isn't finite, the next one replaces
        taken += std::isfinite(value) ? 1U : 0U;
    };
    if (!events) {
        std::for_each_n(column->begin(), values.size(), take);
    } else {
        for (const int event : *events) {
            if (static_cast<std::size_t>(event) < column->size()) {
                take((*column)[static_cast<std::size_t>(event)]);
            }
        }
    }
    values.resize(taken);
    return values;
}

void appendCells(std::string& text, const std::optional<std::vector<double>>& values,
                 std::span<const SummaryFigure> figures, double percentile) {
    if (!values) {
        text.append(figures.size(), '\t');
        return;
    }
    const std::vector<double> results = computeSummary(*values, figures, percentile);
    for (std::size_t i = 0; i < figures.size(); ++i) {
        text += '\t';
        if (figures[i] == SummaryFigure::Count) {
            text += std::to_string(values->size());
        } else if (!values->empty()) {
            appendShort(text, results[i]);
        }
    }
}

std::string labelOf(const std::string& feature, std::span<const DatasetEntry* const> datasets) {
    for (const DatasetEntry* dataset : datasets) {
        if (dataset->reader && dataset->reader->hasFeature(feature)) {
            if (std::string label = dataset->reader->featureLabel(feature); !label.empty()) {
                return label;
            }
        }
    }
    return feature;
}

/// A text that may break neither its line nor its cell.
std::string inOneCell(std::string text) {
    std::ranges::replace_if(
        text, [](char c) { return c == '\t' || c == '\n' || c == '\r'; }, ' ');
    return text;
}

void appendLine(std::string& text, const Session& session, const DatasetEntry& dataset, const StatSummaryConfig& config,
                std::span<const SummaryFigure> figures) {
    text += inOneCell(dataset.displayName.toStdString());
    const std::uint64_t failedReadings = dataset.reader ? dataset.reader->failedReadings() : 0;
    const std::optional<std::vector<int>> events = session.passingEvents(dataset);
    const bool known = dataset.reader && dataset.reader->failedReadings() == failedReadings;
    for (const std::string& feature : config.features) {
        appendCells(text, known ? valuesOf(dataset, feature, events) : std::nullopt, figures, config.percentile);
    }
    text += '\n';
}

} // namespace

std::vector<SummaryFigure> summaryFigures(const StatSummaryConfig& config) {
    const std::initializer_list<std::pair<bool, SummaryFigure>> all{{config.count, SummaryFigure::Count},
                                                                    {config.median, SummaryFigure::Median},
                                                                    {config.iqr, SummaryFigure::Iqr},
                                                                    {config.q1, SummaryFigure::Q1},
                                                                    {config.q3, SummaryFigure::Q3},
                                                                    {config.percentileOn, SummaryFigure::Percentile},
                                                                    {config.mean, SummaryFigure::Mean},
                                                                    {config.sd, SummaryFigure::Sd},
                                                                    {config.sem, SummaryFigure::Sem},
                                                                    {config.cv, SummaryFigure::Cv},
                                                                    {config.min, SummaryFigure::Min},
                                                                    {config.max, SummaryFigure::Max},
                                                                    {config.skewness, SummaryFigure::Skewness}};
    std::vector<SummaryFigure> figures;
    for (const auto& [on, figure] : all) {
        if (on) {
            figures.push_back(figure);
        }
    }
    return figures;
}

QString summaryFigureName(SummaryFigure figure, double percentile) {
    if (figure == SummaryFigure::Percentile) {
        return QStringLiteral("P%1").arg(percentile, 0, 'f', 1);
    }
    static const QStringList names{"N",  "Median", "IQR",    "Q1",  "Q3",  "",        "Mean",
                                   "SD", "SEM",    "CV (%)", "Min", "Max", "Skewness"};
    return names[static_cast<int>(figure)];
}

std::vector<double> computeSummary(std::span<const double> values, std::span<const SummaryFigure> figures,
                                   double percentile) {
    const auto n = static_cast<double>(values.size());
    const Moments moments = momentsOf(values);
    const Percentiles percentiles(values, percentsOf(figures, percentile));
    const double sd = values.size() < 2 ? 0.0 : std::sqrt(moments.squares / (n - 1.0));
    std::vector<double> results;
    for (const SummaryFigure figure : figures) {
        const double result = [&] {
            switch (figure) {
            case SummaryFigure::Count:
                return n;
            case SummaryFigure::Median:
                return percentiles.at(50.0);
            case SummaryFigure::Iqr:
                return percentiles.at(75.0) - percentiles.at(25.0);
            case SummaryFigure::Q1:
                return percentiles.at(25.0);
            case SummaryFigure::Q3:
                return percentiles.at(75.0);
            case SummaryFigure::Percentile:
                return percentiles.at(percentile);
            case SummaryFigure::Mean:
                return moments.mean;
            case SummaryFigure::Sd:
                return sd;
            case SummaryFigure::Sem:
                return values.empty() ? 0.0 : sd / std::sqrt(n);
            case SummaryFigure::Cv:
                return moments.mean == 0.0 ? 0.0 : sd * 100.0 / std::fabs(moments.mean);
            case SummaryFigure::Min:
                return moments.min;
            case SummaryFigure::Max:
                return moments.max;
            case SummaryFigure::Skewness:
                return skewnessOf(moments, n);
            }
            return 0.0;
        }();
        results.push_back(result);
    }
    return results;
}

std::string summaryTable(const Session& session, std::span<const DatasetEntry* const> datasets,
                         const StatSummaryConfig& config) {
    const std::vector<SummaryFigure> figures = summaryFigures(config);
    std::string text = "Dataset";
    for (const std::string& feature : config.features) {
        const std::string label = inOneCell(labelOf(feature, datasets));
        for (const SummaryFigure figure : figures) {
            text.append("\t").append(label).append(" ").append(
                summaryFigureName(figure, config.percentile).toStdString());
        }
    }
    text += '\n';
    for (const DatasetEntry* dataset : datasets) {
        appendLine(text, session, *dataset, config, figures);
    }
    return text;
}

std::optional<UserMessage> statSummaryRefusal(const Session& session) {
    return exportRefusal(session);
}

UserMessage exportStatSummary(const Session& session, const StatSummaryConfig& config) {
    if (config.features.empty()) {
        return warning(Texts::tr("No features selected."));
    }
    if (summaryFigures(config).empty()) {
        return warning(Texts::tr("No statistics selected."));
    }
    std::vector<const DatasetEntry*> datasets;
    if (!config.allDatasets) {
        if (session.active()) {
            datasets.push_back(session.active());
        }
    } else {
        for (const auto& dataset : session.datasets()) {
            if (dataset->featuresLoaded) {
                datasets.push_back(dataset.get());
            }
        }
    }
    if (!replaceFile(config.outputPath, QByteArray::fromStdString(summaryTable(session, datasets, config)))) {
        return warning(Texts::tr("Could not open file for writing:\n%1").arg(config.outputPath));
    }
    return {UserMessage::Kind::Information, Texts::tr("Export"),
            Texts::tr("Statistical summary exported to:\n%1").arg(config.outputPath)};
}

} // namespace Tessaly
