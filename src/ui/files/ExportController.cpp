#include "ui/files/ExportController.h"

#include "core/DatasetEntry.h"
#include "plot/PlotAppearance.h"
#include "plot/PlotFiles.h"
#include "plot/ScatterPlot.h"
#include "session/Session.h"
#include "session/export/ExportRun.h"
#include "ui/UserMessageBox.h"
#include "ui/files/ExportDialog.h"
#include "ui/files/ExportProgress.h"
#include "ui/files/StatSummaryExportDialog.h"
#include "widgets/BusyCursor.h"
#include "widgets/PlainText.h"
#include "widgets/SaveFileDialog.h"

namespace Tessaly {

namespace {

constexpr QSizeF FigureSize(200.0, 150.0); ///< in millimetres

bool writeFigure(ScatterPlot& plot, const QString& fileName) {
    const int marked = plot.highlightedPoint();
    if (marked >= 0) {
        plot.clearHighlight();
    }
    bool written = false;
    {
        PlotAppearance look(plot);
        look.applyForPrint();
        written = writePlots(fileName, pageOf(plot, FigureSize));
    }
    if (marked >= 0) {
        plot.highlightPoint(marked);
    }
    return written;
}

} // namespace

ExportController::ExportController(Session& session, ScatterPlot& plot, QWidget* window)
    : QObject(window),
      session_(session),
      plot_(plot),
      window_(window) {}

void ExportController::exportData() {
    if (const std::optional<UserMessage> refusal = ExportRun::refusal(session_)) {
        showMessage(window_, *refusal);
        return;
    }
    ExportDialog dialog(*session_.active(), session_.datasets(), false, window_, lastConfig_ ? &*lastConfig_ : nullptr);
    if (dialog.exec() == QDialog::Accepted) {
        lastConfig_ = dialog.config();
        run(*lastConfig_);
    }
}

void ExportController::run(const ExportConfig& config) {
    ExportRun exports(session_, config);
    std::optional<UserMessage> closing;
    {
        ExportProgress progress(exports.count(), config.allDatasets, window_);
        while (!exports.isFinished() && !progress.isCancelRequested()) {
            progress.showNext(exports.index(), exports.label());
            const ExportResult result = exports.next([&progress] { progress.keepAlive(); });
            if (result.message) {
                showMessage(&progress, *result.message);
            }
        }
        if (!progress.isCancelRequested()) {
            closing = exports.closing();
        }
    }
    if (closing) {
        showMessage(window_, *closing);
    }
}

void ExportController::exportStatSummary() {
    if (const std::optional<UserMessage> refusal = statSummaryRefusal(session_)) {
        showMessage(window_, *refusal);
        return;
    }
    StatSummaryExportDialog dialog(*session_.active(), session_.datasets(),
                                   statSummaryRemembered_ ? &statSummary_ : nullptr, window_);
    if (dialog.exec() != QDialog::Accepted) {
        return;
    }
    const StatSummaryConfig config = dialog.config();
    if (!config.features.empty()) {
        statSummary_ = config;
        statSummaryRemembered_ = true;
    }
    UserMessage message;
    {
        const BusyCursor busy;
        message = Tessaly::exportStatSummary(session_, config);
    }
    showMessage(window_, message);
}

void ExportController::exportPlot() {
    const DatasetEntry* dataset = session_.active();
    if (!dataset || !dataset->featuresLoaded) {
        return;
    }
    const QString title = tr("Export Plot");
    const QString fileName =
        askSaveFileName(window_, title, tr("PNG Image (*.png);;SVG Vector (*.svg);;PDF Document (*.pdf)"));
    if (!fileName.isEmpty() && !writeFigure(plot_, fileName)) {
        showMessage(window_, QMessageBox::Critical, title, tr("Could not write:\n%1").arg(fileName));
    }
}

} // namespace Tessaly
