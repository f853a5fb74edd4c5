#include "tools/combine/CombinePlotWindow.h"

#include "core/DatasetEntry.h"
#include "core/FileReplacement.h"
#include "core/ScaleMath.h"
#include "plot/ComparePlot.h"
#include "session/Session.h"
#include "session/SessionHost.h"
#include "session/compare/CombineJson.h"
#include "session/compare/CombineStatistics.h"
#include "tools/combine/AddDatasetsDialog.h"
#include "tools/combine/CombineDatasetWidget.h"
#include "tools/combine/CombineExport.h"
#include "tools/combine/CombineExportPanel.h"
#include "tools/combine/CombinePlots.h"
#include "tools/combine/CombineRowList.h"
#include "tools/combine/CombineScenes.h"
#include "tools/combine/CombineSettingsPanel.h"
#include "widgets/DatasetDrag.h"
#include "widgets/KeepOnTop.h"
#include "widgets/PlainText.h"
#include "widgets/SaveFileDialog.h"

#include <QAction>
#include <QDockWidget>
#include <QDragEnterEvent>
#include <QFileInfo>
#include <QHeaderView>
#include <QMenuBar>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace Tessaly {

CombinePlotWindow::CombinePlotWindow(Session& session, SessionHost& host)
    : session_(session),
      host_(host),
      model_(session) {
    setObjectName(QStringLiteral("combinePlotWindow"));
    setWindowTitle(tr("Combine Plot"));
    resize(1000, 700);
    setAcceptDrops(true);
    plots_ = new CombinePlots;
    setCentralWidget(plots_);
    buildDocks();
    buildMenus();
    installKeepOnTop(*this);
    refreshTimer_.setSingleShot(true);
    connect(&refreshTimer_, &QTimer::timeout, this, &CombinePlotWindow::startRefresh);
    connect(&refresh_, &CombineRefresh::prepared, this, &CombinePlotWindow::showData);
    connectPanels();
    listenToNews();
}

CombinePlotWindow::~CombinePlotWindow() {
    // Docks report that they are hidden while the window goes.
    statisticsDock_->disconnect(this);
    previewAction_->disconnect(this);
}

QDockWidget* CombinePlotWindow::addDock(const QString& title, const char* name, QWidget* content,
                                        Qt::DockWidgetArea area) {
    auto* dock = new QDockWidget(title, this);
    dock->setObjectName(QLatin1String(name));
    dock->setWidget(content);
    addDockWidget(area, dock);
    return dock;
}

void CombinePlotWindow::buildDocks() {
    const auto scrolling = [](QWidget* panel, const QString& name) {
        auto* area = new QScrollArea;
        area->setAccessibleName(name);
        area->setWidget(panel);
        area->setWidgetResizable(true);
        area->setFrameShape(QFrame::NoFrame);
        area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        return area;
    };
    settings_ = new CombineSettingsPanel;
    settingsDock_ =
        addDock(tr("Settings"), "combineSettingsDock", scrolling(settings_, tr("Settings")), Qt::LeftDockWidgetArea);
    datasetsDock_ = addDock(tr("Datasets"), "combineDatasetsDock", buildDatasetsPanel(), Qt::LeftDockWidgetArea);
    datasetsDock_->setMinimumWidth(280);
    resizeDocks({settingsDock_, datasetsDock_}, {310, 330}, Qt::Vertical);
    exportPanel_ = new CombineExportPanel;
    exportDock_ = addDock(tr("Export Settings"), "combineExportDock", scrolling(exportPanel_, tr("Export Settings")),
                          Qt::RightDockWidgetArea);
    exportDock_->hide();

    statistics_ = new QTableWidget;
    statistics_->setObjectName(QStringLiteral("combineStatisticsTable"));
    statistics_->setAccessibleName(tr("Plot Statistics"));
    statistics_->setAlternatingRowColors(true);
    statistics_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    statistics_->horizontalHeader()->setStretchLastSection(true);
    statistics_->verticalHeader()->hide();
    statisticsDock_ = addDock(tr("Plot Statistics"), "combineStatisticsDock", statistics_, Qt::BottomDockWidgetArea);
    statisticsDock_->hide();
}

QWidget* CombinePlotWindow::buildDatasetsPanel() {
    auto* panel = new QWidget;
    auto* layout = new QVBoxLayout(panel);
    layout->setContentsMargins(8, 8, 8, 8);
    layout->setSpacing(4);
    auto* buttons = new QHBoxLayout;
    auto* add = new QPushButton(tr("Add..."));
    add->setObjectName(QStringLiteral("combineAddButton"));
    connect(add, &QPushButton::clicked, this, &CombinePlotWindow::askForDatasets);
    auto* all = new QPushButton(tr("Add All"));
    all->setObjectName(QStringLiteral("combineAddAllButton"));
    connect(all, &QPushButton::clicked, this, &CombinePlotWindow::addAll);
    buttons->addWidget(add);
    buttons->addWidget(all);
    layout->addLayout(buttons);
    rowList_ = new CombineRowList;
    layout->addWidget(rowList_, 1);
    return panel;
}

void CombinePlotWindow::buildMenus() {
    const auto addAction = [](QMenu* menu, const QString& text, const char* name, const QKeySequence& shortcut) {
        QAction* action = menu->addAction(text);
        action->setObjectName(QLatin1String(name));
        action->setShortcut(shortcut);
        return action;
    };
    QMenu* file = menuBar()->addMenu(tr("&File"));
    connect(addAction(file, tr("&Close"), "closeAction", QKeySequence::Close), &QAction::triggered, this,
            &QWidget::close);
    QMenu* exports = menuBar()->addMenu(tr("&Export"));
    connect(addAction(exports, tr("&Export Plots..."), "exportPlotsAction", QKeySequence(Qt::CTRL | Qt::Key_E)),
            &QAction::triggered, this, &CombinePlotWindow::exportPlots);
    connect(addAction(exports, tr("Export Plot &Statistics TSV..."), "exportStatisticsAction", {}), &QAction::triggered,
            this, &CombinePlotWindow::exportStatistics);
    QMenu* view = menuBar()->addMenu(tr("&View"));
    for (QDockWidget* dock : {settingsDock_, datasetsDock_, statisticsDock_}) {
        view->addAction(dock->toggleViewAction());
    }
    previewAction_ = addAction(view, tr("Export &Preview"), "exportPreviewAction", {});
    previewAction_->setCheckable(true);
    connect(previewAction_, &QAction::toggled, this, &CombinePlotWindow::setExportPreview);
}

void CombinePlotWindow::connectPanels() {
    connect(settings_, &CombineSettingsPanel::displayModeChanged, this, &CombinePlotWindow::onDisplayModeChanged);
    connect(settings_, &CombineSettingsPanel::colorModeChanged, this, &CombinePlotWindow::onColorModeChanged);
    connect(settings_, &CombineSettingsPanel::syncFeaturesToggled, this, &CombinePlotWindow::onSyncFeaturesToggled);
    connect(settings_, &CombineSettingsPanel::syncAxesToggled, this, &CombinePlotWindow::onSyncAxesToggled);
    connect(settings_, &CombineSettingsPanel::axisLimitsChanged, this, &CombinePlotWindow::onAxisLimitsChanged);
    connect(settings_, &CombineSettingsPanel::optionsChanged, this, [this] { takeOptions(settings_->options()); });
    connect(exportPanel_, &CombineExportPanel::settingsChanged, this, &CombinePlotWindow::onExportSettingsChanged);
    connect(rowList_, &CombineRowList::settingsChanged, this, &CombinePlotWindow::onDatasetSettingsChanged);
    connect(rowList_, &CombineRowList::removeRequested, this, &CombinePlotWindow::onDatasetRemoveRequested);
    connect(rowList_, &CombineRowList::dropReceived, this, &CombinePlotWindow::onDatasetReorder);
    connect(rowList_, &CombineRowList::moveRequested, this, [this](int row, int step) {
        moveRow(row, row + step, step < 0);
        const int place = std::clamp(row + step, 0, model_.count() - 1);
        rowList_->rows()[static_cast<std::size_t>(place)]->handle()->setFocus(Qt::OtherFocusReason);
    });
    connect(statisticsDock_, &QDockWidget::visibilityChanged, this, [this](bool visible) {
        if (visible) {
            updateStatistics();
        }
    });
    // The cross of the dock ends the preview as the menu does.
    connect(exportDock_->toggleViewAction(), &QAction::triggered, previewAction_, &QAction::setChecked);
}

void CombinePlotWindow::listenToNews() {
    const SessionNotices& news = session_.notices();
    const auto isListed = [this](int id) { return model_.rowOf(id) >= 0; };
    const auto rebuildIfListed = [this, isListed](int id) {
        if (isListed(id)) {
            rebuildRows();
            scheduleRefresh();
        }
    };
    connect(&news, &SessionNotices::eventsChanged, this, &CombinePlotWindow::scheduleRefresh);
    connect(&news, &SessionNotices::columnsChanged, this, rebuildIfListed);
    connect(&news, &SessionNotices::datasetRenamed, this, rebuildIfListed);
    connect(&news, &SessionNotices::datasetReady, this, rebuildIfListed);
    connect(&news, &SessionNotices::datasetRemoved, this, [this](int id) {
        if (model_.remove(id)) {
            rebuildRows();
            scheduleRefresh();
        }
    });
    connect(&news, &SessionNotices::colorMapChanged, this, &CombinePlotWindow::restyle);
    connect(&news, &SessionNotices::conditionsChanged, this, [this] {
        if (model_.options().isoelasticity) {
            scheduleRefresh();
        }
    });
}

void CombinePlotWindow::addDataset(int id) {
    if (model_.add(id)) {
        rebuildRows();
        scheduleRefresh();
    }
}

void CombinePlotWindow::addAll() {
    bool added = false;
    for (const int id : model_.addable()) {
        added = model_.add(id) || added;
    }
    if (added) {
        rebuildRows();
        scheduleRefresh();
    }
}

void CombinePlotWindow::askForDatasets() {
    const QPointer<CombinePlotWindow> self(this);
    const std::vector<int> chosen =
        askForDatasetsToAdd(this, session_, model_.addable(), tr("All loaded datasets are in this window already."));
    if (!self) {
        return;
    }
    for (const int id : chosen) {
        addDataset(id);
    }
}

void CombinePlotWindow::onDisplayModeChanged(int index) {
    CombineOptions options = settings_->options();
    if (model_.asksForSync(index)) {
        const QString mode = index == CombineDisplay::SamePlot ? tr("\"Same Plot\"") : tr("\"Array + Contour\"");
        QMessageBox box(QMessageBox::Question, tr("Sync Features Required"),
                        mode + tr(" requires all datasets to use the same features.\nFeature syncing will be enabled "
                                  "and all datasets will use\nthe features of the first dataset."),
                        QMessageBox::Ok | QMessageBox::Cancel, this);
        const QPointer<CombinePlotWindow> self(this);
        const bool agreed = box.exec() == QMessageBox::Ok;
        if (!self) {
            return;
        }
        if (!agreed) {
            settings_->showOptions(model_.options());
            return;
        }
        options = settings_->options();
        options.syncFeatures = true;
    }
    options.displayMode = index;
    takeOptions(options);
}

void CombinePlotWindow::onColorModeChanged(int /*index*/) {
    takeOptions(settings_->options());
    exportPanel_->setUniformColorVisible(model_.options().colorMode == CombineColor::Uniform);
}

void CombinePlotWindow::onSyncFeaturesToggled(bool /*checked*/) {
    takeOptions(settings_->options());
}

void CombinePlotWindow::onSyncAxesToggled(bool checked) {
    limitsWanted_ = checked;
    takeOptions(settings_->options());
}

void CombinePlotWindow::onAxisLimitsChanged() {
    limitsWanted_ = false;
    takeOptions(settings_->options());
}

void CombinePlotWindow::takeOptions(const CombineOptions& options) {
    const CombineChange change = model_.setOptions(options);
    settings_->showOptions(model_.options());
    rowList_->showSettings(model_);
    apply(change);
}

void CombinePlotWindow::apply(CombineChange change) {
    if (change == CombineChange::Plots) {
        scheduleRefresh();
    } else if (change == CombineChange::Style) {
        restyle();
    }
}

void CombinePlotWindow::onDatasetSettingsChanged(int row) {
    if (row < 0) {
        return;
    }
    const CombineChange change = model_.setRow(row, rowList_->rows()[static_cast<std::size_t>(row)]->settings());
    rowList_->showSettings(model_);
    apply(change);
}

void CombinePlotWindow::onDatasetRemoveRequested(int row) {
    if (row >= 0 && row < model_.count() && model_.remove(model_.datasets()[static_cast<std::size_t>(row)].datasetId)) {
        rebuildRows();
        scheduleRefresh();
    }
}

void CombinePlotWindow::onDatasetReorder(CombineDatasetWidget* source, CombineDatasetWidget* target, bool above) {
    const int from = rowList_->indexOf(source);
    const int to = rowList_->indexOf(target);
    if (from < 0 || to < 0 || from == to) {
        return;
    }
    // The rows are made anew, which must not happen while the drag still runs on them. Until then they may have
    // changed.
    const int fromId = model_.datasets()[static_cast<std::size_t>(from)].datasetId;
    const int toId = model_.datasets()[static_cast<std::size_t>(to)].datasetId;
    QTimer::singleShot(0, this,
                       [this, fromId, toId, above] { moveRow(model_.rowOf(fromId), model_.rowOf(toId), above); });
}

void CombinePlotWindow::moveRow(int row, int target, bool above) {
    if (!model_.move(row, target, above)) {
        return;
    }
    rebuildRows();
    scheduleRefresh();
}

void CombinePlotWindow::rebuildRows() {
    rowList_->rebuild(session_, model_);
    updateLogAxisWarnings();
}

void CombinePlotWindow::scheduleRefresh() {
    // What is under way has been overtaken.
    refresh_.abandon();
    if (!refreshTimer_.isActive()) {
        refreshTimer_.start(0);
    }
}

void CombinePlotWindow::startRefresh() {
    refreshTimer_.stop();
    if (model_.count() == 0) {
        refresh_.abandon();
        showData({});
        return;
    }
    refresh_.start(combineSources(session_, model_));
}

bool CombinePlotWindow::isRefreshing() const {
    return refreshTimer_.isActive() || refresh_.isRunning();
}

void CombinePlotWindow::finishRefresh() {
    if (refreshTimer_.isActive()) {
        startRefresh();
    }
    refresh_.wait();
}

void CombinePlotWindow::showData(const CombineDataList& prepared) {
    data_ = prepared;
    if (limitsWanted_) {
        limitsWanted_ = false;
        CombineOptions options = model_.options();
        options.limits = automaticLimits(data_);
        model_.setOptions(options);
        settings_->showOptions(model_.options());
    }
    const std::vector<CompareScene> scenes = combineScenes(session_, host_, model_, data_);
    const bool samePlot = model_.options().displayMode == CombineDisplay::SamePlot;
    plots_->showScenes(scenes,
                       samePlot ? ArraySize{1, 1} : arraySize(static_cast<int>(scenes.size()), model_.options()));
    updatePreview();
    updateLogAxisWarnings();
    updateStatistics();
}

void CombinePlotWindow::restyle() {
    if (isRefreshing() || static_cast<int>(data_.size()) != model_.count()) {
        return; // the plots to come have the new colours
    }
    for (std::size_t i = 0; i < plots().size(); ++i) {
        plots_->setColors(i, combineColors(model_, i), host_.colorMapIndex());
    }
    updatePreview();
}

void CombinePlotWindow::updatePreview() {
    if (previewAction_->isChecked()) {
        plots_->showPreview(model_.exportSettings());
    }
}

void CombinePlotWindow::setExportPreview(bool on) {
    exportDock_->setVisible(on);
    if (on) {
        updatePreview();
    } else {
        plots_->hidePreview();
        scheduleRefresh();
    }
}

void CombinePlotWindow::onExportSettingsChanged() {
    const QColor uniform = model_.exportSettings().uniformColor;
    if (model_.setExportSettings(exportPanel_->settings()) == CombineChange::None) {
        return;
    }
    if (uniform != model_.exportSettings().uniformColor) {
        restyle();
    } else {
        updatePreview();
    }
}

void CombinePlotWindow::updateLogAxisWarnings() {
    const std::vector<CombineDatasetWidget*>& rows = rowList_->rows();
    if (data_.size() != rows.size() || isRefreshing()) {
        return;
    }
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const CombineDatasetSettings& scales = model_.datasets()[model_.options().syncFeatures ? 0 : i];
        rows[i]->markLogAxes(scales.scaleXMode == ScaleMode::Log ? data_[i]->xSurvey.notPositive : 0,
                             scales.scaleYMode == ScaleMode::Log ? data_[i]->ySurvey.notPositive : 0);
    }
}

void CombinePlotWindow::updateStatistics() {
    if (statisticsDock_->isHidden() || static_cast<int>(data_.size()) != model_.count()) {
        return;
    }
    const CombineTable table = combineStatistics(session_, model_, data_);
    statistics_->setRowCount(static_cast<int>(table.rows.size()));
    statistics_->setColumnCount(static_cast<int>(table.headings.size()));
    statistics_->setHorizontalHeaderLabels(table.headings);
    for (int row = 0; row < statistics_->rowCount(); ++row) {
        for (int column = 0; column < statistics_->columnCount(); ++column) {
            const QString& text = table.rows[static_cast<std::size_t>(row)][column];
            auto* item = new QTableWidgetItem(column == 0 ? singleLine(text) : text);
            item->setTextAlignment(column == 0 ? Qt::AlignVCenter | Qt::AlignLeft : Qt::AlignVCenter | Qt::AlignRight);
            statistics_->setItem(row, column, item);
        }
    }
    statistics_->resizeColumnsToContents();
}

void CombinePlotWindow::exportStatistics() {
    const auto table = [this] {
        finishRefresh();
        return combineStatistics(session_, model_, data_);
    };
    if (table().rows.empty()) {
        return;
    }
    const DatasetEntry* first = session_.findById(model_.datasets().front().datasetId);
    const QString folder = first ? QFileInfo(QString::fromStdString(first->filePath)).path() : QString();
    const QPointer<CombinePlotWindow> self(this);
    const QString file =
        askSaveFileName(this, tr("Export Plot Statistics"), tr("Tab-Separated Values (*.tsv);;All Files (*)"),
                        folder + QStringLiteral("/plot_statistical_summary.tsv"));
    if (self && !file.isEmpty() && !replaceFile(file, tableToTsv(table()))) {
        showMessage(this, QMessageBox::Warning, tr("Export Plot Statistics"), tr("Could not write:\n%1").arg(file));
    }
}

void CombinePlotWindow::exportPlots() {
    finishRefresh();
    if (plots().empty()) {
        return;
    }
    const QPointer<CombinePlotWindow> self(this); // dialogs let the program run
    const QString file =
        askSaveFileName(this, tr("Export Plots"), tr("PNG Image (*.png);;SVG Vector (*.svg);;PDF Document (*.pdf)"));
    if (!self || file.isEmpty()) {
        return;
    }
    bool grid = false;
    if (plots().size() > 1) {
        QMessageBox box(QMessageBox::Question, tr("Export Mode"), tr("How would you like to export?"),
                        QMessageBox::Cancel, this);
        const QAbstractButton* single = box.addButton(tr("Single Grid Image"), QMessageBox::AcceptRole);
        const QAbstractButton* each = box.addButton(tr("Individual Plots"), QMessageBox::AcceptRole);
        box.exec();
        if (!self || (box.clickedButton() != single && box.clickedButton() != each)) {
            return;
        }
        grid = box.clickedButton() == single;
    }
    finishRefresh();
    const CombineExportSettings& paper = model_.exportSettings();
    QStringList failed;
    if (grid && !writeGrid(file, plots(), plots_->columns(), paper)) {
        failed << file;
    } else if (!grid && plots().size() > 1) {
        failed = writeEach(file, plots(), paper);
    } else if (!grid && plots().size() == 1 && !writePlot(file, *plots().front(), paper)) {
        failed << file;
    }
    reportUnwritten(failed);
}

void CombinePlotWindow::reportUnwritten(const QStringList& files) {
    if (!files.isEmpty()) {
        showMessage(this, QMessageBox::Warning, tr("Export Plots"), tr("Could not write:\n%1").arg(files.join(u'\n')));
    }
}

QJsonObject CombinePlotWindow::sessionState(const DatasetNumbers& idToIndex) const {
    CombineState state;
    state.options = model_.options();
    state.exportSettings = model_.exportSettings();
    state.datasets = model_.datasets();
    state.showStats = !statisticsDock_->isHidden();
    return combineToJson(state, idToIndex);
}

void CombinePlotWindow::restoreSessionState(const QJsonObject& object, const DatasetNumbers& indexToId) {
    const CombineState state = combineFromJson(object, indexToId);
    model_.restore(state.datasets, state.options, state.exportSettings);
    settings_->showOptions(model_.options());
    exportPanel_->showSettings(model_.exportSettings());
    exportPanel_->setUniformColorVisible(model_.options().colorMode == CombineColor::Uniform);
    limitsWanted_ = false;
    if (state.showStats) {
        statisticsDock_->show();
    }
    rebuildRows();
    scheduleRefresh();
}

const std::vector<ComparePlot*>& CombinePlotWindow::plots() const {
    return plots_->plots();
}

const std::vector<AspectRatioLabel*>& CombinePlotWindow::previewLabels() const {
    return plots_->previewLabels();
}

void CombinePlotWindow::closeEvent(QCloseEvent* event) {
    emit windowClosed(this);
    QMainWindow::closeEvent(event);
}

void CombinePlotWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasFormat(QLatin1String(DatasetMimeType))) {
        event->acceptProposedAction();
    }
}

void CombinePlotWindow::dropEvent(QDropEvent* event) {
    const std::optional<int> id = datasetIdOf(event->mimeData());
    if (!id || model_.rowOf(*id) >= 0) {
        event->ignore();
        return;
    }
    addDataset(*id);
    event->acceptProposedAction();
}

} // namespace Tessaly
