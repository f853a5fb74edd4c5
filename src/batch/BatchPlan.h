#pragma once

#include "calc/LinearAlgebra.h"
#include "calc/emodulus/EModulus.h"
#include "calc/fluorescence/FLRefinement.h"
#include "core/EventFilter.h"
#include "session/export/ExportConfig.h"
#include "session/export/StatSummary.h"

#include <QByteArray>
#include <QString>

#include <optional>
#include <string>
#include <vector>

namespace Tessaly {

/// Rules that belong together: those of a dataset, which have no name, or those of a filter group.
struct PlanGate {
    std::string name;
    std::vector<FilterRule> rules;

    bool operator==(const PlanGate&) const = default;
};

/// Crosstalk compensation for files with exactly these channels.
struct PlanCompensation {
    std::vector<int> channels; ///< rising
    SquareMatrix matrix;       ///< one row and one column for each channel

    bool operator==(const PlanCompensation&) const = default;
};

/// What is to be done with every file of a study: calculations, gates, outputs. A value.
struct BatchPlan {
    static constexpr int currentVersion = 1;

    // In the order in which they are done: compensation takes refined heights, moduli may take a Fourier deformation.
    std::optional<FLRefinementParams> refinement;
    std::optional<PlanCompensation> compensation;
    bool fourier = false;
    std::optional<EModulusSettings> modulus;

    bool filterEnabled = true;
    int combineMode = EventFilter::ShowPassing;
    std::vector<PlanGate> gates;

    std::optional<StatSummaryConfig> summary; ///< features, figures, percentile; nothing else of it counts
    std::optional<ExportConfig> table;        ///< features
    std::optional<ExportConfig> measurement;  ///< features, pictures, traces
    bool counts = false;

    bool operator==(const BatchPlan&) const = default;
};

/// The rules of all gates under the plan's switches, as a dataset with these groups would have them.
EventFilter filterOf(const BatchPlan& plan);

/// Why a plan asks for nothing that can be written; empty if it is fine.
QString problemOf(const BatchPlan& plan);

/// The plan as indented JSON, ended by a line break. All keys are described in the manual.
QByteArray planToJson(const BatchPlan& plan);

/// A plan that was read, or why it can't be used.
struct PlanReading {
    BatchPlan plan;
    QString problem; ///< empty if the plan is fine
};

/// Reads JSON strictly: an unknown key, a value of the wrong type or a rule that could never take part is a problem,
/// named with its place, for a gate that is silently left out would spoil a whole study.
PlanReading planFromJson(const QByteArray& json);
PlanReading readPlanFile(const QString& path);

/// Tells plans apart that differ in anything but their layout: SHA-256 in hexadecimal.
QByteArray planDigest(const BatchPlan& plan);

/// Names of figures in plans and their places in the summary's configuration, in the order of the columns. The
/// percentile has a key of its own.
struct NamedFigure {
    const char* name;
    bool StatSummaryConfig::*field;
};
const std::vector<NamedFigure>& namedFigures();
/// Switches the figures of these names on and all others off. Returns the first unknown name; empty if there is none.
QString chooseFigures(const QStringList& names, StatSummaryConfig& config);

} // namespace Tessaly
