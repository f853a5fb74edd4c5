#pragma once

#include "session/compare/CompareSettings.h"

#include <QString>
#include <QStringList>

namespace Tessaly {

/// The tabs of the window of comparisons.
enum class CompareTab { Tests, Roc, Distributions };
/// What the distributions are shown of.
enum class DistributionMode { PerDataset, PerCategory };

/// Name of the test that the categories will get, and what speaks against it, line by line.
QString testLabelText(const Comparison& comparison);

/// What the settings mean for a tab, paragraph by paragraph.
/// @param withoutValues  names of datasets that had no values in the last run
QString guidanceText(CompareTab tab, const Comparison& comparison, DistributionMode mode,
                     const QStringList& withoutValues = {});

} // namespace Tessaly
