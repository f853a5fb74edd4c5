#pragma once

#include "core/FilterGroup.h"
#include "session/filters/PeerMarks.h"

#include <QWidget>

#include <memory>
#include <vector>

class QAction;
class QBoxLayout;
class QCheckBox;
class QGroupBox;
class QLabel;
class QPushButton;
class QScrollArea;
class QToolButton;
class QVBoxLayout;

namespace Tessaly {

class FilterGroupWidget;
class RuleFeatures;
class RuleList;
struct DatasetEntry;

/// Content of the "Filters" dock: the switches and rules of the active dataset's filter, which it changes in place, the
/// filter groups, and how many events pass. What reaches beyond the active dataset is asked for by signals.
class FilterDockWidget : public QWidget {
    Q_OBJECT

public:
    explicit FilterDockWidget(QWidget* parent = nullptr);
    ~FilterDockWidget() override;

    /// Shows a dataset's filter; null for none. The entry must outlive its stay here.
    void setDataset(DatasetEntry* dataset);
    /// Shows what the dataset's filter has become by other hands. Rows that show their rule already are left alone.
    void updateRules();
    /// Number of datasets; carrying something to all takes more than one.
    void setDatasetCount(int count);
    void setEventCounts(int shown, int total);
    /// Shows the filter groups with their switches for the dataset. Widgets of groups that are there already are kept.
    void setFilterGroups(const std::vector<std::unique_ptr<FilterGroup>>& groups);
    /// Highlights what would even out a difference to other datasets.
    void setMarks(const PeerMarks& marks);

    /// Shows whether a polygon is being drawn; emits nothing.
    void showDrawing(bool on);
    /// Shows which polygon is being edited; emits nothing.
    /// @param groupId  -1 for the dataset's own rules;  @param ruleIndex  -1 for no polygon
    void showEditing(int groupId, int ruleIndex);

protected:
    void resizeEvent(QResizeEvent* event) override;

signals:
    /// The user has changed the dataset's filter.
    void filterChanged();
    void applyToAllRequested();
    void applyRuleToAll(int ruleIndex);
    void updateRuleToAll(int ruleIndex);
    void uncheckRuleInAll(int ruleIndex);
    void checkRuleInAll(int ruleIndex);
    void deleteRuleFromAll(int ruleIndex);
    void enabledChangedForAll(bool enabled);
    void combineModeChangedForAll(int mode);
    void polygonDrawRequested();
    void polygonDrawCancelRequested();
    void polygonEditRequested(int ruleIndex, bool on);
    void importMeasurementFiltersRequested(bool toAll);
    void addFilterGroupRequested();
    void renameFilterGroupRequested(int groupId, const QString& newName);
    void deleteFilterGroupRequested(int groupId);
    void groupEnableChanged(int groupId, bool enabled);
    void groupEnablePropagateRequested(int groupId, bool enabled);
    void addRuleToGroupRequested(int groupId);
    void addPolygonToGroupRequested(int groupId);
    void groupRuleChanged(int groupId, int ruleIndex, const FilterRule& rule);
    void groupRuleRemoved(int groupId, int ruleIndex);
    void groupPolygonEditRequested(int groupId, int ruleIndex, bool on);
    void importGroupsRequested();
    void exportGroupsRequested();

private slots:
    void onAddRule();
    void onRuleChanged();
    void onCombineModeChanged();
    void onDatasetFilterToggled(bool checked);

private:
    void buildSwitches(QBoxLayout* layout);
    void buildRows(QBoxLayout* layout);
    void buildButtons(QBoxLayout* layout);
    void buildMenu();
    static QPushButton* makeButton(QPushButton* button, const char* name, const QString& toolTip);
    void connectRules();
    FilterGroupWidget* makeGroup(int groupId);
    int combineMode() const;
    void updateFeatures();
    void updateSwitches();
    void updateButtons();
    void storeRules();
    void setNarrow(bool narrow);
    void updateTabOrder();
    /// Lets the rows be seen that were just added.
    void scrollTo(QWidget* row);

    DatasetEntry* dataset_ = nullptr;
    std::shared_ptr<RuleFeatures> features_;
    int datasetCount_ = 0;
    bool narrow_ = false; ///< controls stand below each other
    QGroupBox* box_;
    QCheckBox* enabled_ = nullptr;
    QPushButton* enabledInAll_ = nullptr;
    QCheckBox* excluded_ = nullptr;
    QPushButton* excludedInAll_ = nullptr;
    QScrollArea* scroll_ = nullptr;
    RuleList* rules_ = nullptr;
    QVBoxLayout* groupLayout_ = nullptr;
    std::vector<FilterGroupWidget*> groups_;
    QPushButton* addRule_ = nullptr;
    QPushButton* addPolygon_ = nullptr;
    QPushButton* addGroup_ = nullptr;
    QToolButton* more_ = nullptr;
    QAction* applyToAll_ = nullptr;
    QLabel* counts_ = nullptr;
};

} // namespace Tessaly
