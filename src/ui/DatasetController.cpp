#include "ui/DatasetController.h"

#include "core/DatasetEntry.h"
#include "io/VQDReader.h"
#include "session/DatasetOpening.h"
#include "session/DatasetTexts.h"
#include "session/Session.h"
#include "ui/DatasetLoader.h"
#include "ui/DatasetsPanel.h"
#include "ui/FilterDockWidget.h"
#include "ui/MainPanels.h"
#include "ui/PlotController.h"
#include "ui/PlotSettingsPanel.h"

#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QSignalBlocker>

#include <algorithm>

namespace Tessaly {

DatasetController::DatasetController(Session& session, DatasetLoader& loader, PlotController& plot,
                                     const MainPanels& panels, QWidget* window)
    : QObject(window),
      session_(session),
      loader_(loader),
      plot_(plot),
      panels_(panels),
      window_(window) {
    connect(&loader_, &DatasetLoader::datasetAppended, this, &DatasetController::onDatasetAppended);
    connect(&loader_, &DatasetLoader::currentRowRequested, this, &DatasetController::onDatasetSelected);
    connect(&loader_, &DatasetLoader::preloadStarted, this, &DatasetController::onPreloadStarted);
    connect(&loader_, &DatasetLoader::preloadFinished, this, &DatasetController::onPreloadFinished);
    const DatasetsPanel* list = panels_.datasets;
    connect(list, &DatasetsPanel::datasetChosen, this, [this](int id) { onDatasetSelected(session_.rowOf(id)); });
    connect(list, &DatasetsPanel::duplicateRequested, this, &DatasetController::duplicateDataset);
    connect(list, &DatasetsPanel::removeRequested, this, &DatasetController::removeDataset);
    connect(list, &DatasetsPanel::reorderRequested, this, &DatasetController::moveDataset);
    connect(panels_.rename, &QLineEdit::editingFinished, this, &DatasetController::onRenameFinished);
}

void DatasetController::openFile() {
    openPaths(QFileDialog::getOpenFileNames(window_, tr("Open VQD File(s)"), QString(),
                                            tr("VQD Files (*.vqd);;All Files (*)")));
}

void DatasetController::openPaths(QStringList paths) {
    std::stable_sort(paths.begin(), paths.end(), pathComesBefore);
    for (const QString& path : std::as_const(paths)) {
        loader_.open(path);
    }
}

void DatasetController::onDatasetAppended(int row) {
    plot_.saveCurrentDatasetState();
    session_.inheritPeerSettings(*session_.datasetAt(row), panels_.plotSettings->settings());
    showRows();
}

void DatasetController::onPreloadStarted(const QString& displayName) {
    plot_.setPreloadRunning(true);
    panels_.status->setText(tr("Loading: %1 - Caching features...").arg(displayName));
}

void DatasetController::onPreloadFinished(int row) {
    plot_.setPreloadRunning(false);
    if (row == session_.activeRow()) {
        plot_.showActiveDataset();
    } else {
        plot_.updatePlotStatus();
    }
    plot_.updateApplyPlotButton();
}

void DatasetController::onDatasetSelected(int row) {
    const DatasetEntry* dataset = session_.datasetAt(row);
    if (!dataset || row == session_.activeRow()) {
        return;
    }
    plot_.saveCurrentDatasetState();
    session_.setActiveRow(row);
    panels_.datasets->setCurrentId(dataset->id);
    if (dataset->featuresLoaded) {
        plot_.showActiveDataset();
    } else {
        plot_.showLoading();
    }
}

void DatasetController::duplicateDataset() {
    const int row = panels_.datasets->currentRow();
    plot_.saveCurrentDatasetState();
    const int copy = session_.duplicate(row);
    if (copy < 0) {
        return;
    }
    showRows();
    onDatasetSelected(copy);
}

void DatasetController::removeDataset() {
    const int row = panels_.datasets->currentRow();
    if (!session_.datasetAt(row)) {
        return;
    }
    if (row == loader_.preloadRow()) {
        QMessageBox::warning(window_, tr("Cannot Remove"), tr("This dataset is still loading."));
        return;
    }
    if (row == session_.activeRow()) {
        panels_.filters->setDataset(nullptr); // it points into the entry
    }
    session_.remove(row);
    loader_.rowRemoved(row);
    showRows();
    if (session_.datasetCount() == 0) {
        plot_.showNothing();
    } else if (session_.activeRow() < 0) {
        onDatasetSelected(std::min(row, session_.datasetCount() - 1));
    }
    plot_.updateApplyPlotButton();
}

void DatasetController::moveDataset(int fromRow, int toRow) {
    const DatasetEntry* moved = session_.datasetAt(fromRow);
    if (!moved || !session_.move(fromRow, toRow)) {
        return;
    }
    loader_.rowMoved(fromRow, session_.rowOf(moved->id));
    showRows();
    plot_.updateApplyPlotButton();
}

void DatasetController::onRenameFinished() {
    DatasetEntry* dataset = session_.active();
    if (!dataset || !panels_.rename->isEnabled()) {
        return;
    }
    QString name = panels_.rename->text().trimmed();
    if (name.isEmpty()) {
        name = fallbackDisplayName(dataset->metadata, QString::fromStdString(dataset->filePath));
    }
    const bool changed = name != dataset->displayName;
    dataset->displayName = name;
    {
        const QSignalBlocker blocker(panels_.rename);
        panels_.rename->setText(name);
    }
    if (changed) {
        panels_.datasets->setRowText(dataset->id, datasetLabelHtml(*dataset));
        plot_.updatePlotStatus();
    }
}

void DatasetController::clearSession() {
    if (session_.datasetCount() == 0) {
        return;
    }
    const auto answer = QMessageBox::question(
        window_, tr("Clear Session"),
        tr("This will close all datasets and combine plot windows.\nUnsaved changes will be lost.\n\nContinue?"),
        QMessageBox::Ok | QMessageBox::Cancel, QMessageBox::Cancel);
    if (answer != QMessageBox::Ok) {
        return;
    }
    loader_.stop();
    panels_.filters->setDataset(nullptr); // it points into an entry
    session_.clear();
    showRows();
    plot_.showNothing();
    plot_.setPreloadRunning(false);
}

void DatasetController::showRows() {
    std::vector<DatasetRow> rows;
    for (const auto& dataset : session_.datasets()) {
        rows.push_back({dataset->id, datasetLabelHtml(*dataset), QString::fromStdString(dataset->filePath)});
    }
    panels_.datasets->setRows(rows);
    panels_.datasets->setCurrentId(session_.activeId());
}

} // namespace Tessaly
