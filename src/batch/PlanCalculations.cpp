#include "batch/PlanCalculations.h"

#include "core/DatasetEntry.h"
#include "io/VQDReader.h"
#include "session/CalculationJobs.h"
#include "session/Session.h"

#include <QCoreApplication>

namespace Tessaly {

namespace {

struct Texts {
    Q_DECLARE_TR_FUNCTIONS(Tessaly::PlanCalculations)
};

/// Runs a job to its end; false if there is nothing that it can be done for.
bool runJob(CalculationJob&& job, DatasetEntry& dataset) {
    bool done = false;
    for (CalculationTask& task : job.tasks) {
        StepResult result = task.prepare()({});
        installColumns(std::move(result.columns), *dataset.reader);
        if (result.done) {
            job.mark(dataset);
            done = true;
        }
    }
    return done;
}

QString whyNoModulus(const DatasetEntry& dataset) {
    return isInReservoir(dataset) ? Texts::tr("no Young's modulus: measured in the reservoir")
                                  : Texts::tr("no Young's modulus: area, deformation or the table is missing");
}

} // namespace

std::vector<std::string> calculate(const Session& session, DatasetEntry& dataset, const BatchPlan& plan,
                                   EModulus& engine) {
    std::vector<std::string> notes;
    const auto note = [&notes](const QString& text) { notes.push_back(text.toStdString()); };
    const auto scope = CalculationScope::Active;
    if (plan.refinement && !runJob(refinementJob(session, scope, *plan.refinement), dataset)) {
        note(Texts::tr("no refined peaks: the file has no fluorescence traces"));
    }
    if (plan.compensation) {
        if (channelsOf(dataset) != plan.compensation->channels) {
            note(Texts::tr("no compensation: the file has other channels"));
        } else if (!runJob(compensationJob(session, scope, plan.compensation->matrix), dataset)) {
            note(Texts::tr("no compensation: the matrix has no inverse"));
        }
    }
    if (plan.fourier && !runJob(fourierJob(session, scope), dataset)) {
        note(Texts::tr("no Fourier deformation: the file has no masks"));
    }
    if (plan.modulus) {
        const auto paramsOf = [&plan](const DatasetEntry& each) {
            return emodulusParamsFor(each.metadata, each.reader->hasFeature("temp"), *plan.modulus);
        };
        if (!runJob(modulusJob(session, scope, engine, paramsOf), dataset)) {
            note(whyNoModulus(dataset));
        }
    }
    return notes;
}

} // namespace Tessaly
