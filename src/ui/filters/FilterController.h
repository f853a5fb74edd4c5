#pragma once

#include "core/FilterRule.h"

#include <QObject>
#include <QTimer>

namespace Tessaly {

class FilterDockWidget;
class PlotController;
class Session;

/// The "Filters" dock: shows the active dataset's filter, the groups and how many events pass, and carries what the
/// user asks for to the session. Each of these ends in one eventsChanged().
class FilterController : public QObject {
    Q_OBJECT

public:
    FilterController(Session& session, FilterDockWidget& dock, QObject* parent);

    /// Shows the counts of what is plotted.
    void showCounts(const PlotController& plot);

signals:
    /// What an action on a file of groups has done, for the status line.
    void statusChanged(const QString& text);

private slots:
    void onApplyFilterToAll();
    void onApplyRuleToAll(int ruleIndex);
    void onUpdateRuleToAll(int ruleIndex);
    void onUncheckRuleInAll(int ruleIndex);
    void onCheckRuleInAll(int ruleIndex);
    void onDeleteRuleFromAll(int ruleIndex);
    void onEnabledChangedForAll(bool enabled);
    void onCombineModeChangedForAll(int mode);
    void onImportMeasurementFilters(bool toAll);
    void onAddRuleToGroup(int groupId);
    void onGroupRuleChanged(int groupId, int ruleIndex, const FilterRule& rule);
    void onImportGroups();
    void onExportGroups();

private:
    void connectDock();
    void connectNews();
    void onActiveChanged();
    void onEventsChanged();
    void onDatasetsChanged();
    void showGroups();
    void showMarks();
    /// Tells that other events may pass: at once, or, with many events, when the user's next change isn't there yet.
    void refresh();

    Session& session_;
    FilterDockWidget& dock_;
    QTimer refreshLater_;
    bool groupRuleUpdating_ = false; ///< a row of a group has changed its rule and shows it already
};

} // namespace Tessaly
