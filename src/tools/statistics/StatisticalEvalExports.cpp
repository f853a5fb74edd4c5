#include "core/FileReplacement.h"
#include "session/Session.h"
#include "tools/statistics/AnalysisSettings.h"
#include "tools/statistics/PlotStack.h"
#include "tools/statistics/ResultTableView.h"
#include "tools/statistics/StatisticalEvalWindow.h"
#include "widgets/PlainText.h"
#include "widgets/SaveFileDialog.h"

#include <QFileDialog>
#include <QMessageBox>
#include <QPointer>

// What the window writes into files.
namespace Tessaly {

namespace {

constexpr QSizeF DocumentSize(200.0, 150.0); // millimetres
constexpr int DocumentResolution = 300;

QString tableFilters() {
    return StatisticalEvalWindow::tr("Tab-separated values (*.tsv);;CSV (*.csv)");
}

} // namespace

void StatisticalEvalWindow::tellNothingToExport(const QString& text) {
    showMessage(this, QMessageBox::Information, tr("Export"), text);
}

void StatisticalEvalWindow::exportStack(const PlotStack& stack, const QString& title, const QString& nothing) {
    if (stack.plots().empty()) {
        tellNothingToExport(nothing);
        return;
    }
    const QString fileName = askSaveFileName(this, title, plotFileFilters());
    // Plots may have gone while the dialog was open.
    if (!fileName.isEmpty() && !stack.plots().empty() && !stack.write(fileName)) {
        tellNotWritten(this, fileName);
    }
}

void StatisticalEvalWindow::exportTableOf(const ResultTableView& table, const QString& title, const QString& nothing) {
    if (table.table().rows.empty()) {
        tellNothingToExport(nothing);
        return;
    }
    const QString path = askSaveFileName(this, title, tableFilters());
    if (!path.isEmpty()) {
        writeText(path, tableText(table.table(), separatorFor(path)));
    }
}

void StatisticalEvalWindow::writeText(const QString& path, const QByteArray& text) {
    if (!replaceFile(path, text)) {
        tellNotWritten(this, path);
    }
}

void StatisticalEvalWindow::exportPlots() {
    exportStack(*groupPlots_, tr("Export Plots"), tr("No plots to export. Run analysis first."));
}

void StatisticalEvalWindow::exportTable() {
    exportTableOf(*groupTable_, tr("Export Table"), tr("No results to export. Run analysis first."));
}

void StatisticalEvalWindow::exportROCPlots() {
    exportStack(*rocPlots_, tr("Export ROC Plots"), tr("No ROC plots to export. Run ROC analysis first."));
}

void StatisticalEvalWindow::exportROCTable() {
    exportTableOf(*rocTable_, tr("Export ROC Table"), tr("No ROC results to export. Run ROC analysis first."));
}

void StatisticalEvalWindow::exportROCData() {
    if (rocPlots_->plots().empty()) {
        tellNothingToExport(tr("No ROC data to export. Run ROC analysis first."));
        return;
    }
    const QString path = askSaveFileName(this, tr("Export ROC Curve Data"), tableFilters());
    Comparison what = comparison();
    if (path.isEmpty() || refused(rocRefusal(what))) {
        return;
    }
    what.categories.resize(2);
    runValues(what, [this, what, path](const ValueTable& values) {
        writeText(path, rocCurveText(what, values, separatorFor(path)));
    });
}

void StatisticalEvalWindow::exportDistributionPlots() {
    if (distributionPlots_->plots().empty()) {
        tellNothingToExport(tr("No distribution plots to export. Run distribution explorer first."));
        return;
    }
    const QString folder = QFileDialog::getExistingDirectory(this, tr("Export Distribution Plots"));
    if (folder.isEmpty()) {
        return;
    }
    const std::vector<QwtPlot*>& plots = distributionPlots_->plots();
    for (std::size_t i = 0; i < plots.size(); ++i) {
        const QString fileName = QStringLiteral("%1/distribution_%2.svg").arg(folder).arg(i + 1);
        if (!writePlotAsDocument(*plots[i], fileName, DocumentSize, DocumentResolution)) {
            tellNotWritten(this, fileName);
            return;
        }
    }
    showMessage(this, QMessageBox::Information, tr("Export"),
                tr("Exported %1 distribution plot(s) to %2").arg(plots.size()).arg(folder));
}

} // namespace Tessaly
