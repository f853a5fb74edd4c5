#pragma once

#include "session/compare/Distributions.h"
#include "session/compare/GroupComparison.h"
#include "session/compare/Guidance.h"
#include "session/compare/RocComparison.h"

class QwtPlot;

namespace Tessaly {

// The plots of statistics, each a new one without a parent, finished: nothing is added later. Their points tell their
// names in tool tips. Interface thread only.

/// The samples of each category with mean and deviation, marks over those that differ, and lines between matched
/// samples if wanted.
QwtPlot* makeGroupPlot(const GroupComparison& comparison, const FeatureComparison& feature);

/// The curve of one score with its best point.
/// @param title  of the plot, may have two lines
QwtPlot* makeRocPlot(const RocResult& roc, const QString& title);
/// Title of the plot of a combination of features.
QString combinedTitle(const LdaResult& combined);

/// The distributions of one feature, one curve for each dataset or the mean of each category.
QwtPlot* makeDistributionPlot(const FeatureDistribution& distribution, const std::vector<Category>& categories,
                              DistributionMode mode);

} // namespace Tessaly
