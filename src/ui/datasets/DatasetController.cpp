#include "ui/datasets/DatasetController.h"

#include "core/DatasetEntry.h"
#include "session/CalculationRunner.h"
#include "session/DatasetOpening.h"
#include "session/DatasetTexts.h"
#include "session/Session.h"
#include "ui/datasets/DatasetLoader.h"
#include "ui/datasets/DatasetsPanel.h"

#include <QFileDialog>
#include <QMessageBox>

#include <algorithm>

namespace Tessaly {

DatasetController::DatasetController(Session& session, DatasetLoader& loader, const CalculationRunner& runner,
                                     DatasetsPanel& list, QWidget* window)
    : QObject(window),
      session_(session),
      loader_(loader),
      runner_(runner),
      list_(list),
      window_(window) {
    connect(&list_, &DatasetsPanel::datasetChosen, this, [this](int id) { session_.setActive(id); });
    connect(&list_, &DatasetsPanel::duplicateRequested, this, &DatasetController::duplicateDataset);
    connect(&list_, &DatasetsPanel::removeRequested, this, &DatasetController::removeDataset);
    connect(&list_, &DatasetsPanel::reorderRequested, this, [this](int id, int toRow) { session_.move(id, toRow); });
    SessionNotices& news = session_.notices();
    connect(&list_, &DatasetsPanel::folderViewChanged, &news, &SessionNotices::folderViewChanged);
    connect(&news, &SessionNotices::datasetsChanged, this, &DatasetController::showRows);
    connect(&news, &SessionNotices::datasetRenamed, this, &DatasetController::showName);
    connect(&news, &SessionNotices::activeChanged, &list_, &DatasetsPanel::setCurrentId);
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

void DatasetController::duplicateDataset(int id) {
    const int copy = session_.duplicate(id);
    if (copy >= 0) {
        session_.setActive(copy);
    }
}

void DatasetController::removeDataset(int id) {
    if (session_.findById(id) && id == loader_.preloadId()) {
        QMessageBox::warning(window_, tr("Cannot Remove"), tr("This dataset is still loading."));
        return;
    }
    if (runner_.uses(id)) {
        QMessageBox::warning(window_, tr("Cannot Remove"), tr("A calculation is using this dataset."));
        return;
    }
    session_.remove(id);
}

void DatasetController::showRows() {
    std::vector<DatasetRow> rows;
    for (const auto& dataset : session_.datasets()) {
        rows.push_back({dataset->id, datasetLabelHtml(*dataset), QString::fromStdString(dataset->filePath),
                        datasetNarrowLabels(*dataset)});
    }
    list_.setRows(rows);
    list_.setCurrentId(session_.activeId());
}

void DatasetController::showName(int id) {
    if (const DatasetEntry* dataset = session_.findById(id)) {
        list_.setRowText(id, datasetLabelHtml(*dataset), datasetNarrowLabels(*dataset));
    }
}

} // namespace Tessaly
