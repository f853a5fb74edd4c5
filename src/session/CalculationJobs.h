#pragma once

#include "calc/CalculationStep.h"
#include "calc/LinearAlgebra.h"
#include "calc/emodulus/EModulus.h"
#include "calc/fluorescence/FLRefinement.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Tessaly {

class Session;
class VQDReader;
struct DatasetEntry;

/// The calculations that add features to datasets.
enum class Calculation { Refinement, Compensation, Modulus, Fourier };

/// The active dataset, or every one that the calculation can be done for.
enum class CalculationScope { Active, All };

/// What runs on a thread of the pool. It holds all that it needs and changes nothing that others see.
using CalculationWork = std::function<StepResult(const StepControl&)>;

/// Work on one measurement, which several datasets may share.
struct CalculationTask {
    std::shared_ptr<VQDReader> reader;
    /// Called on the interface thread when the task's turn has come: settles what others see and gives the rest.
    std::function<CalculationWork()> prepare;
};

/// A calculation for one or many measurements, each of them there once. A value: inputs are copied when it is made.
struct CalculationJob {
    Calculation kind = Calculation::Refinement;
    std::vector<CalculationTask> tasks;
    /// Notes in a dataset that the calculation was done for it.
    std::function<void(DatasetEntry&)> mark;
};

/// Whether a calculation gives this feature.
bool isResultOf(Calculation kind, const std::string& feature);

/// Whether the dataset's fluorescence can be refined: it has channels and traces.
bool canRefine(const DatasetEntry& dataset);
/// Whether the dataset was measured outside of the channel, where deformation says nothing.
bool isInReservoir(const DatasetEntry& dataset);
/// The fluorescence channels of a dataset whose file is open, rising.
std::vector<int> channelsOf(const DatasetEntry& dataset);

// Jobs over the datasets of a session that are loaded. A job without tasks has nothing to do. Interface thread.

/// Refined peaks; the filters are set for a measurement's refined traces when its turn has come.
CalculationJob refinementJob(const Session& session, CalculationScope scope, const FLRefinementParams& params);
/// Compensation for the active dataset's channels; all those that have the same ones. None below two channels.
CalculationJob compensationJob(const Session& session, CalculationScope scope, const SquareMatrix& matrix);
/// Moduli. Datasets of the reservoir and those without area or deformation are left out. One that lacks the
/// deformation feature of its parameters takes "deform".
/// @param engine    outlives the job
/// @param paramsOf  the parameters for a dataset
CalculationJob modulusJob(const Session& session, CalculationScope scope, EModulus& engine,
                          const std::function<EModulusParams(const DatasetEntry&)>& paramsOf);
/// Fourier deformations of datasets with masks.
CalculationJob fourierJob(const Session& session, CalculationScope scope);

/// What has to be computed again for a dataset whose flags say that it was done before, in this order: refined peaks
/// with default settings, compensated heights with the channels and matrix that it keeps.
std::vector<CalculationJob> rebuildJobs(const DatasetEntry& dataset);

/// Whether the channels and the matrix that a dataset keeps fit what it has.
bool keepsUsableMatrix(const DatasetEntry& dataset);

/// The events by which the moduli of a dataset are judged: those that pass its effective filter without the rules on
/// moduli themselves, or all if no filter is in force or `filtered` is false. Rising.
std::vector<std::int32_t> eventsToAssess(const Session& session, const DatasetEntry& dataset, bool filtered);

} // namespace Tessaly
