#include "ui/files/BatchPlanController.h"

#include "batch/PlanMaking.h"
#include "core/DatasetEntry.h"
#include "core/FileReplacement.h"
#include "session/Session.h"
#include "ui/calculations/CalculationsDockWidget.h"
#include "ui/files/ExportController.h"
#include "widgets/PlainText.h"
#include "widgets/SaveFileDialog.h"

#include <QFileInfo>

namespace Tessaly {

BatchPlanController::BatchPlanController(const Session& session, const CalculationsDockWidget& calculations,
                                         const ExportController& exports, QWidget* window)
    : QObject(window),
      session_(session),
      calculations_(calculations),
      exports_(exports),
      window_(window) {}

void BatchPlanController::saveBatchPlan() {
    const QString title = tr("Save Batch Plan");
    const DatasetEntry* dataset = session_.active();
    if (!dataset || !dataset->featuresLoaded) {
        showMessage(window_, QMessageBox::Information, title, tr("No loaded dataset to take the plan from."));
        return;
    }
    BatchPlan plan;
    takeDataset(plan, session_, *dataset, calculations_.fluorescenceParams(), calculations_.emodulusSettings());
    plan.summary = exports_.lastSummary();
    if (!plan.summary) {
        plan.summary.emplace().features = proposedFeatures(plan, *dataset);
    }
    plan.counts = true;
    if (const QString problem = problemOf(plan); !problem.isEmpty()) {
        showMessage(window_, QMessageBox::Warning, title, tr("No plan was saved: %1.").arg(problem));
        return;
    }
    const QString path = askSaveFileName(window_, title, tr("Batch Plan (*.json)"), path_);
    if (path.isEmpty()) {
        return;
    }
    if (!replaceFile(path, planToJson(plan))) {
        showMessage(window_, QMessageBox::Critical, title, tr("Could not write:\n%1").arg(path));
        return;
    }
    path_ = path;
    emit statusChanged(tr("Batch plan saved: %1").arg(QFileInfo(path).fileName()));
}

} // namespace Tessaly
