#include "session/CalculationJobs.h"

#include "calc/FourierDeform.h"
#include "calc/fluorescence/FLChannels.h"
#include "calc/fluorescence/FLCompensation.h"
#include "core/DatasetEntry.h"
#include "io/VQDReader.h"
#include "session/Session.h"

#include <algorithm>
#include <numeric>
#include <thread>
#include <utility>

namespace Tessaly {

namespace {

bool isLoaded(const DatasetEntry& dataset) {
    return dataset.featuresLoaded && dataset.reader && dataset.reader->isOpen();
}

/// The loaded datasets of a scope that `fits` accepts, one for each measurement.
template <typename Fits>
std::vector<const DatasetEntry*> measurementsOf(const Session& session, CalculationScope scope, const Fits& fits) {
    std::vector<const DatasetEntry*> found;
    for (const auto& entry : session.datasets()) {
        const bool inScope = scope == CalculationScope::All || entry->id == session.activeId();
        const auto sharesReader = [&entry](const DatasetEntry* other) { return other->reader == entry->reader; };
        if (inScope && isLoaded(*entry) && fits(*entry) && std::ranges::none_of(found, sharesReader)) {
            found.push_back(entry.get());
        }
    }
    return found;
}

/// Work that leaves nothing to settle on the interface thread.
CalculationTask plainTask(const std::shared_ptr<VQDReader>& reader, CalculationWork work) {
    return {reader, [work = std::move(work)] { return work; }};
}

CalculationTask refinementTask(const DatasetEntry& dataset, const FLRefinementParams& params) {
    return {dataset.reader, [reader = dataset.reader, metadata = dataset.metadata, params]() -> CalculationWork {
                const FLRefinementPlan plan = planRefinement(*reader, metadata, params);
                installRefinedTraces(*reader, plan);
                return
                    [reader, plan](const StepControl& control) { return refineFluorescence(*reader, plan, control); };
            }};
}

CalculationJob compensationOf(const std::vector<const DatasetEntry*>& datasets, const std::vector<int>& channels,
                              const SquareMatrix& matrix) {
    CalculationJob job{Calculation::Compensation, {}, [channels, matrix](DatasetEntry& dataset) {
                           dataset.ctcApplied = true;
                           dataset.ctcChannels = channels;
                           dataset.spilloverMatrix = matrix;
                       }};
    for (const DatasetEntry* dataset : datasets) {
        job.tasks.push_back(
            plainTask(dataset->reader, [reader = dataset->reader, channels, matrix](const StepControl& control) {
                return compensateCrosstalk(*reader, channels, matrix, control);
            }));
    }
    return job;
}

/// Moduli of one measurement; the engine speaks of its progress to all, so that only the calls of this thread count.
StepResult computeModuli(EModulus& engine, VQDReader& reader, const EModulusParams& params,
                         const StepControl& control) {
    StepResult result;
    const std::optional<EModulusInput> input = emodulusInput(reader, params);
    if (!input) {
        return result;
    }
    const auto own = std::this_thread::get_id();
    const QMetaObject::Connection progress =
        QObject::connect(&engine, &EModulus::progressChanged, [&control, own](int percent) {
            if (std::this_thread::get_id() == own) {
                control.report(static_cast<std::size_t>(percent));
            }
        });
    std::optional<ComputedColumns> columns = engine.computeColumns(*input, params, control.stop);
    QObject::disconnect(progress);
    if (columns) {
        result.columns = *std::move(columns);
        result.done = true;
    }
    return result;
}

/// The parameters with a deformation feature that the measurement has.
EModulusParams fittingParams(EModulusParams params, const VQDReader& reader) {
    if (!reader.hasFeature(params.deformFeature)) {
        params.deformFeature = "deform";
    }
    params.pixelationCorrection = params.deformFeature == "deform";
    return params;
}

bool isOnModulus(const FilterRule& rule) {
    return rule.featureName == "emodulus" || (rule.type == FilterRule::Polygon && rule.featureNameY == "emodulus");
}

} // namespace

bool isResultOf(Calculation kind, const std::string& feature) {
    switch (kind) {
    case Calculation::Refinement:
        return feature.ends_with("_rf");
    case Calculation::Compensation:
        return feature.ends_with("_max_ctc");
    case Calculation::Modulus:
        return feature == "emodulus";
    case Calculation::Fourier:
        return feature == "deform_odd" || feature == "deform_even" || feature == "deform_fc";
    }
    return false;
}

std::vector<int> channelsOf(const DatasetEntry& dataset) {
    return dataset.reader ? fluorescenceChannels(dataset.reader->featureNames()) : std::vector<int>();
}

bool canRefine(const DatasetEntry& dataset) {
    return dataset.reader && dataset.reader->hasTraces() && !channelsOf(dataset).empty();
}

bool isInReservoir(const DatasetEntry& dataset) {
    return metadataValue(dataset.metadata.setup, "chip region") == "reservoir";
}

CalculationJob refinementJob(const Session& session, CalculationScope scope, const FLRefinementParams& params) {
    CalculationJob job{Calculation::Refinement, {}, [](DatasetEntry& dataset) { dataset.flRefinementApplied = true; }};
    for (const DatasetEntry* dataset : measurementsOf(session, scope, canRefine)) {
        job.tasks.push_back(refinementTask(*dataset, params));
    }
    return job;
}

CalculationJob compensationJob(const Session& session, CalculationScope scope, const SquareMatrix& matrix) {
    const DatasetEntry* model = session.active();
    const std::vector<int> channels = model ? channelsOf(*model) : std::vector<int>();
    const auto fits = [&channels](const DatasetEntry& dataset) {
        return channels.size() >= 2 && channelsOf(dataset) == channels;
    };
    return compensationOf(measurementsOf(session, scope, fits), channels, matrix);
}

CalculationJob modulusJob(const Session& session, CalculationScope scope, EModulus& engine,
                          const std::function<EModulusParams(const DatasetEntry&)>& paramsOf) {
    CalculationJob job{Calculation::Modulus, {}, [](DatasetEntry& dataset) { dataset.emodApplied = true; }};
    const auto fits = [](const DatasetEntry& dataset) {
        return !isInReservoir(dataset) && dataset.reader->hasFeature("area_um");
    };
    for (const DatasetEntry* dataset : measurementsOf(session, scope, fits)) {
        const EModulusParams params = fittingParams(paramsOf(*dataset), *dataset->reader);
        if (dataset->reader->hasFeature(params.deformFeature)) {
            job.tasks.push_back(
                plainTask(dataset->reader, [&engine, reader = dataset->reader, params](const StepControl& control) {
                    return computeModuli(engine, *reader, params, control);
                }));
        }
    }
    return job;
}

CalculationJob fourierJob(const Session& session, CalculationScope scope) {
    CalculationJob job{Calculation::Fourier, {}, [](DatasetEntry& dataset) { dataset.fourierApplied = true; }};
    const auto fits = [](const DatasetEntry& dataset) { return dataset.reader->hasMask(); };
    for (const DatasetEntry* dataset : measurementsOf(session, scope, fits)) {
        job.tasks.push_back(plainTask(dataset->reader, [reader = dataset->reader](const StepControl& control) {
            return fourierDeformations(*reader, control);
        }));
    }
    return job;
}

bool keepsUsableMatrix(const DatasetEntry& dataset) {
    const std::size_t count = dataset.ctcChannels.size();
    return count >= 2 && channelsOf(dataset) == dataset.ctcChannels && dataset.spilloverMatrix.size() == count &&
           std::ranges::all_of(dataset.spilloverMatrix, [count](const auto& row) { return row.size() == count; });
}

std::vector<CalculationJob> rebuildJobs(const DatasetEntry& dataset) {
    std::vector<CalculationJob> jobs;
    if (!isLoaded(dataset)) {
        return jobs;
    }
    // The dataset is marked already, and a copy of it may not be.
    const auto nothingNew = [](DatasetEntry&) {};
    const VQDReader& reader = *dataset.reader;
    const std::vector<std::string> features = reader.featureNames();
    const auto isRefined = [&reader](const std::string& feature) {
        return isResultOf(Calculation::Refinement, feature) && reader.isComputedFeature(feature);
    };
    if (dataset.flRefinementApplied && std::ranges::none_of(features, isRefined)) {
        jobs.push_back({Calculation::Refinement, {refinementTask(dataset, {})}, nothingNew});
    }
    const auto isThere = [&reader](int channel) {
        return reader.isComputedFeature("fl" + std::to_string(channel) + "_max_ctc");
    };
    if (dataset.ctcApplied && keepsUsableMatrix(dataset) && !std::ranges::all_of(dataset.ctcChannels, isThere)) {
        jobs.push_back(compensationOf({&dataset}, dataset.ctcChannels, dataset.spilloverMatrix));
        jobs.back().mark = nothingNew;
    }
    return jobs;
}

std::vector<std::int32_t> eventsToAssess(const Session& session, const DatasetEntry& dataset, bool filtered) {
    EventFilter filter;
    const EventFilter effective = session.buildEffectiveFilter(&dataset);
    if (filtered && effective.isEnabled()) {
        filter.setCombineMode(effective.combineMode());
        for (const FilterRule& rule : effective.rules()) {
            if (rule.enabled && !isOnModulus(rule)) {
                filter.addRule(rule);
            }
        }
    }
    if (std::optional<std::vector<int>> events = Session::passingEvents(dataset, filter)) {
        return *std::move(events);
    }
    std::vector<std::int32_t> all(dataset.reader ? dataset.reader->eventCount() : 0);
    std::iota(all.begin(), all.end(), 0);
    return all;
}

} // namespace Tessaly
