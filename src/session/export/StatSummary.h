#pragma once

#include "session/UserMessage.h"

#include <QString>

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Tessaly {

class Session;
struct DatasetEntry;

/// What "Export Statistical Summary" was asked to do.
struct StatSummaryConfig {
    std::vector<std::string> features; ///< in list order
    bool allDatasets = false;
    QString outputPath;
    bool count = true;
    bool median = true;
    bool iqr = true;
    bool mean = false;
    bool sd = false;
    bool sem = false;
    bool q1 = false;
    bool q3 = false;
    bool min = false;
    bool max = false;
    bool cv = false;
    bool skewness = false;
    bool percentileOn = false;
    double percentile = 95.0; ///< in percent

    bool operator==(const StatSummaryConfig&) const = default;
};

/// Columns of the summary, in their fixed order.
enum class SummaryFigure { Count, Median, Iqr, Q1, Q3, Percentile, Mean, Sd, Sem, Cv, Min, Max, Skewness };

/// The figures that are switched on.
std::vector<SummaryFigure> summaryFigures(const StatSummaryConfig& config);
/// Heading of a figure, e.g. "Median", "P95.0".
QString summaryFigureName(SummaryFigure figure, double percentile);

/// Figures of finite values, in the order asked for. Quantiles interpolate linearly at (n - 1) p / 100; deviations have
/// the divisor n - 1, the skewness is that of the population. Too few values give 0, equal values no deviation.
/// O(n), any thread.
std::vector<double> computeSummary(std::span<const double> values, std::span<const SummaryFigure> figures,
                                   double percentile);

/// The whole table: a heading and a line for each dataset with the figures of its events that pass, six digits each.
/// Cells stay empty for a feature that a dataset lacks or that can't be read, and, but for the count, without values.
std::string summaryTable(const Session& session, std::span<const DatasetEntry* const> datasets,
                         const StatSummaryConfig& config);

/// Warning if the active dataset can't be exported; nothing if it can.
std::optional<UserMessage> statSummaryRefusal(const Session& session);

/// Writes the summary of the active dataset or of all that are loaded. The target is as it was or complete.
/// @return what to tell the user: where it went, or why not. A configuration without features must not be remembered.
UserMessage exportStatSummary(const Session& session, const StatSummaryConfig& config);

} // namespace Tessaly
