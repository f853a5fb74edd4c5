#include "ui/filters/FilterController.h"

#include "core/DatasetEntry.h"
#include "io/VQDReader.h"
#include "session/Session.h"
#include "session/filters/FilterGroups.h"
#include "session/filters/FilterPropagation.h"
#include "session/filters/GroupFile.h"
#include "session/filters/PeerMarks.h"
#include "session/filters/SoftLimits.h"
#include "ui/filters/FilterDockWidget.h"
#include "ui/filters/GroupSelectionDialog.h"
#include "ui/filters/RuleFeatures.h"
#include "ui/plot/PlotController.h"
#include "widgets/PlainText.h"
#include "widgets/SaveFileDialog.h"

#include <QFileDialog>

#include <cstdint>
#include <exception>

namespace Tessaly {

namespace {

/// From here on a refresh may take longer than the next key.
constexpr std::uint64_t ManyEvents = 50000;

QString groupFileFilter() {
    return FilterController::tr("Tessaly Filter Groups (*.tsyfg)");
}

} // namespace

FilterController::FilterController(Session& session, FilterDockWidget& dock, QObject* parent)
    : QObject(parent),
      session_(session),
      dock_(dock) {
    // Input that is waiting already comes first: of its changes only the last one is refreshed.
    refreshLater_.setSingleShot(true);
    refreshLater_.setInterval(0);
    connect(&refreshLater_, &QTimer::timeout, &session_.notices(), &SessionNotices::eventsChanged);
    connectDock();
    connectNews();
    onDatasetsChanged();
}

void FilterController::connectDock() {
    connect(&dock_, &FilterDockWidget::filterChanged, this, &FilterController::refresh);
    connect(&dock_, &FilterDockWidget::applyToAllRequested, this, &FilterController::onApplyFilterToAll);
    connect(&dock_, &FilterDockWidget::applyRuleToAll, this, &FilterController::onApplyRuleToAll);
    connect(&dock_, &FilterDockWidget::updateRuleToAll, this, &FilterController::onUpdateRuleToAll);
    connect(&dock_, &FilterDockWidget::uncheckRuleInAll, this, &FilterController::onUncheckRuleInAll);
    connect(&dock_, &FilterDockWidget::checkRuleInAll, this, &FilterController::onCheckRuleInAll);
    connect(&dock_, &FilterDockWidget::deleteRuleFromAll, this, &FilterController::onDeleteRuleFromAll);
    connect(&dock_, &FilterDockWidget::enabledChangedForAll, this, &FilterController::onEnabledChangedForAll);
    connect(&dock_, &FilterDockWidget::combineModeChangedForAll, this, &FilterController::onCombineModeChangedForAll);
    connect(&dock_, &FilterDockWidget::importMeasurementFiltersRequested, this,
            &FilterController::onImportMeasurementFilters);
    connect(&dock_, &FilterDockWidget::addFilterGroupRequested, this, [this] { session_.addFilterGroup({}); });
    connect(&dock_, &FilterDockWidget::renameFilterGroupRequested, this,
            [this](int id, const QString& name) { renameFilterGroup(session_, id, name.toStdString()); });
    connect(&dock_, &FilterDockWidget::deleteFilterGroupRequested, this,
            [this](int id) { session_.removeFilterGroup(id); });
    connect(&dock_, &FilterDockWidget::groupEnableChanged, this,
            [this](int id, bool on) { session_.setGroupEnabled(session_.activeId(), id, on); });
    connect(&dock_, &FilterDockWidget::groupEnablePropagateRequested, this,
            [this](int id, bool on) { setGroupEnabledInAll(session_, id, on); });
    connect(&dock_, &FilterDockWidget::addRuleToGroupRequested, this, &FilterController::onAddRuleToGroup);
    connect(&dock_, &FilterDockWidget::groupRuleChanged, this, &FilterController::onGroupRuleChanged);
    connect(&dock_, &FilterDockWidget::groupRuleRemoved, this,
            [this](int id, int ruleIndex) { removeRuleFromGroup(session_, id, ruleIndex); });
    connect(&dock_, &FilterDockWidget::importGroupsRequested, this, &FilterController::onImportGroups);
    connect(&dock_, &FilterDockWidget::exportGroupsRequested, this, &FilterController::onExportGroups);
}

void FilterController::connectNews() {
    const SessionNotices& news = session_.notices();
    connect(&news, &SessionNotices::activeChanged, this, &FilterController::onActiveChanged);
    connect(&news, &SessionNotices::datasetsChanged, this, &FilterController::onDatasetsChanged);
    connect(&news, &SessionNotices::groupsChanged, this, &FilterController::showGroups);
    connect(&news, &SessionNotices::eventsChanged, this, &FilterController::onEventsChanged);
    const auto onColumns = [this](int id) {
        if (id == session_.activeId()) {
            onActiveChanged(); // the features on offer are others
        } else {
            showMarks(); // a peer may have a rule's feature by now
        }
    };
    connect(&news, &SessionNotices::datasetReady, this, onColumns);
    connect(&news, &SessionNotices::columnsChanged, this, onColumns);
}

void FilterController::onActiveChanged() {
    dock_.setDataset(session_.active());
    showGroups();
    showMarks();
}

void FilterController::onDatasetsChanged() {
    dock_.setDatasetCount(session_.datasetCount());
    showMarks();
}

void FilterController::onEventsChanged() {
    refreshLater_.stop();
    dock_.updateRules();
    if (!groupRuleUpdating_) {
        showGroups();
    }
    showMarks();
}

void FilterController::showGroups() {
    dock_.setFilterGroups(session_.filterGroups());
}

void FilterController::showMarks() {
    dock_.setMarks(peerMarks(session_));
}

void FilterController::refresh() {
    const DatasetEntry* dataset = session_.active();
    if (dataset && dataset->reader && dataset->reader->eventCount() >= ManyEvents) {
        refreshLater_.start();
    } else {
        emit session_.notices().eventsChanged();
    }
}

void FilterController::showCounts(const PlotController& plot) {
    const DatasetEntry* dataset = session_.active();
    if (dataset && dataset->featuresLoaded && dataset->reader) {
        const int total = static_cast<int>(dataset->reader->eventCount());
        dock_.setEventCounts(plot.frame().countIfReduced().value_or(total), total);
    }
}

void FilterController::onApplyFilterToAll() {
    applyFilterToAll(session_);
}

void FilterController::onApplyRuleToAll(int ruleIndex) {
    applyRuleToAll(session_, ruleIndex);
}

void FilterController::onUpdateRuleToAll(int ruleIndex) {
    updateRuleInAll(session_, ruleIndex);
}

void FilterController::onUncheckRuleInAll(int ruleIndex) {
    setRuleEnabledInAll(session_, ruleIndex, false);
}

void FilterController::onCheckRuleInAll(int ruleIndex) {
    setRuleEnabledInAll(session_, ruleIndex, true);
}

void FilterController::onDeleteRuleFromAll(int ruleIndex) {
    deleteRuleFromAll(session_, ruleIndex);
}

void FilterController::onEnabledChangedForAll(bool enabled) {
    setFilteringEnabledInAll(session_, enabled);
}

void FilterController::onCombineModeChangedForAll(int mode) {
    setCombineModeInAll(session_, mode);
}

void FilterController::onImportMeasurementFilters(bool toAll) {
    const SoftLimitImport import = importMeasurementFilters(session_, toAll);
    if (!import.remark.isEmpty()) {
        showMessage(dock_.window(), QMessageBox::Information, tr("Import Measurement Filters"), import.remark);
    }
    if (import.failure) {
        std::rethrow_exception(import.failure);
    }
}

void FilterController::onAddRuleToGroup(int groupId) {
    if (const auto rule = RuleFeatures(session_.active()).firstRule()) {
        session_.addRuleToGroup(groupId, *rule);
    }
}

void FilterController::onGroupRuleChanged(int groupId, int ruleIndex, const FilterRule& rule) {
    groupRuleUpdating_ = true;
    if (storeRuleInGroup(session_, groupId, ruleIndex, rule)) {
        refresh();
    }
    groupRuleUpdating_ = false;
}

void FilterController::onImportGroups() {
    const QString title = tr("Import Filter Groups");
    const QString path = QFileDialog::getOpenFileName(dock_.window(), title, {},
                                                      groupFileFilter() + QStringLiteral(";;") + tr("All Files (*)"));
    if (path.isEmpty()) {
        return;
    }
    const GroupFileOutcome outcome = importFilterGroups(session_, path);
    if (!outcome.failure.isEmpty()) {
        showMessage(dock_.window(), QMessageBox::Critical, title, outcome.failure);
    } else if (!outcome.remark.isEmpty()) {
        showMessage(dock_.window(), QMessageBox::Information, title, outcome.remark);
    } else {
        emit statusChanged(outcome.status);
    }
}

void FilterController::onExportGroups() {
    const QString title = tr("Export Filter Groups");
    if (const QString remark = checkGroupsToExport(session_); !remark.isEmpty()) {
        showMessage(dock_.window(), QMessageBox::Information, title, remark);
        return;
    }
    const std::vector<int> groups = askGroupsToExport(dock_.window(), session_.filterGroups());
    if (groups.empty()) {
        return;
    }
    const QString path = askSaveFileName(dock_.window(), title, groupFileFilter());
    if (path.isEmpty()) {
        return;
    }
    const GroupFileOutcome outcome = exportFilterGroups(session_, groups, path);
    if (outcome.failure.isEmpty()) {
        emit statusChanged(outcome.status);
    } else {
        showMessage(dock_.window(), QMessageBox::Critical, title, outcome.failure);
    }
}

} // namespace Tessaly
