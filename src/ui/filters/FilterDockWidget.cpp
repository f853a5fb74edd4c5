#include "ui/filters/FilterDockWidget.h"

#include "core/DatasetEntry.h"
#include "plot/WrappingRow.h"
#include "ui/filters/FilterGroupWidget.h"
#include "ui/filters/RuleFeatures.h"
#include "ui/filters/RuleList.h"
#include "widgets/ElidedButton.h"

#include <QApplication>
#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

namespace Tessaly {

namespace {

constexpr int MinRowsHeight = 100;
constexpr int GroupSpacing = 4;
constexpr int RoomyWidth = 270; // two controls fit beside each other

} // namespace

FilterDockWidget::FilterDockWidget(QWidget* parent)
    : QWidget(parent),
      features_(std::make_shared<RuleFeatures>(nullptr)),
      box_(new QGroupBox(tr("Active Dataset Filter"))) {
    setObjectName(QStringLiteral("filterPanel"));
    box_->setObjectName(QStringLiteral("activeFilterBox"));
    box_->setEnabled(false);
    auto* boxLayout = new QVBoxLayout(box_);
    boxLayout->setContentsMargins(6, 4, 6, 6);
    boxLayout->setSpacing(4);
    buildSwitches(boxLayout);
    buildRows(boxLayout);
    buildButtons(boxLayout);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->addWidget(box_);
    updateButtons();
}

FilterDockWidget::~FilterDockWidget() = default;

QPushButton* FilterDockWidget::makeButton(QPushButton* button, const char* name, const QString& toolTip) {
    button->setObjectName(QLatin1String(name));
    button->setToolTip(toolTip);
    return button;
}

void FilterDockWidget::buildSwitches(QBoxLayout* layout) {
    enabled_ = new QCheckBox(tr("Filtering Enabled"));
    enabled_->setObjectName(QStringLiteral("filteringEnabledCheckBox"));
    enabled_->setChecked(true);
    enabledInAll_ = makeButton(new ElidedButton, "filteringInAllButton",
                               tr("Apply this dataset's filter-enabled state to every loaded dataset."));
    excluded_ = new QCheckBox(tr("Show Excluded Events"));
    excluded_->setObjectName(QStringLiteral("showExcludedCheckBox"));
    excluded_->setToolTip(tr("Invert the filter result so the events the rules normally reject are shown instead."));
    excludedInAll_ = makeButton(new ElidedButton, "excludedInAllButton",
                                tr("Apply this dataset's inversion state to every loaded dataset."));
    layout->addWidget(enabled_);
    layout->addWidget(enabledInAll_);
    layout->addWidget(excluded_);
    layout->addWidget(excludedInAll_);
    connect(enabled_, &QCheckBox::toggled, this, &FilterDockWidget::onDatasetFilterToggled);
    connect(excluded_, &QCheckBox::toggled, this, &FilterDockWidget::onCombineModeChanged);
    connect(enabledInAll_, &QPushButton::clicked, this, [this] { emit enabledChangedForAll(enabled_->isChecked()); });
    connect(excludedInAll_, &QPushButton::clicked, this, [this] { emit combineModeChangedForAll(combineMode()); });
}

void FilterDockWidget::buildRows(QBoxLayout* layout) {
    rules_ = new RuleList(RuleRow::Home::Dataset);
    rules_->setObjectName(QStringLiteral("ruleRows"));
    auto* content = new QWidget;
    content->setObjectName(QStringLiteral("filterRows"));
    content->setMinimumWidth(1); // the rows follow the dock's width
    auto* contentLayout = new QVBoxLayout(content);
    contentLayout->setContentsMargins(0, 0, 4, 0);
    contentLayout->setSpacing(GroupSpacing);
    contentLayout->addWidget(rules_);
    groupLayout_ = new QVBoxLayout;
    groupLayout_->setSpacing(GroupSpacing);
    contentLayout->addLayout(groupLayout_);
    contentLayout->addStretch();
    scroll_ = new QScrollArea;
    scroll_->setObjectName(QStringLiteral("filterRowsScrollArea"));
    scroll_->setWidgetResizable(true);
    scroll_->setMinimumHeight(MinRowsHeight);
    scroll_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll_->setFrameShape(QFrame::NoFrame);
    scroll_->setFocusPolicy(Qt::NoFocus); // the rows in it have the focus
    scroll_->setWidget(content);
    layout->addWidget(scroll_, 1);
    // The area itself follows the Tab key only while the focus is in it.
    connect(qApp, &QApplication::focusChanged, content, [this, content](const QWidget*, QWidget* now) {
        if (now && content->isAncestorOf(now)) {
            scroll_->ensureWidgetVisible(now, 0, 4);
        }
    });
    connectRules();
}

void FilterDockWidget::connectRules() {
    connect(rules_, &RuleList::ruleChanged, this, &FilterDockWidget::onRuleChanged);
    connect(rules_, &RuleList::removeRequested, this, [this](int index) {
        rules_->removeRow(index);
        rules_->setVisible(rules_->count() > 0);
        updateTabOrder();
        storeRules();
        emit filterChanged();
    });
    connect(rules_, &RuleList::applyRequested, this, &FilterDockWidget::applyRuleToAll);
    connect(rules_, &RuleList::updateRequested, this, &FilterDockWidget::updateRuleToAll);
    connect(rules_, &RuleList::uncheckRequested, this, &FilterDockWidget::uncheckRuleInAll);
    connect(rules_, &RuleList::checkRequested, this, &FilterDockWidget::checkRuleInAll);
    connect(rules_, &RuleList::deleteEverywhereRequested, this, &FilterDockWidget::deleteRuleFromAll);
    connect(rules_, &RuleList::editToggled, this, &FilterDockWidget::polygonEditRequested);
}

void FilterDockWidget::buildButtons(QBoxLayout* layout) {
    addRule_ =
        makeButton(new QPushButton(tr("+ Rule")), "addRuleButton", tr("Add a range rule to this dataset's filter"));
    addPolygon_ = makeButton(
        new QPushButton(tr("+ Polygon")), "addPolygonButton",
        tr("Click in the plot to place polygon vertices. Double-click to close the polygon, or press Esc to cancel."));
    addPolygon_->setCheckable(true);
    addGroup_ = makeButton(
        new QPushButton(tr("+ Group")), "addGroupButton",
        tr("Add a filter group whose rules are shared across all datasets, with per-dataset on/off toggles."));
    more_ = new QToolButton;
    more_->setObjectName(QStringLiteral("moreFilterActionsButton"));
    more_->setText(QStringLiteral("⋮"));
    more_->setToolTip(tr("More filter actions"));
    more_->setAccessibleName(tr("More filter actions"));
    more_->setPopupMode(QToolButton::InstantPopup);
    more_->setStyleSheet(QStringLiteral("QToolButton::menu-indicator { image: none; }"));
    buildMenu();
    auto* ofDataset = new QHBoxLayout;
    ofDataset->setSpacing(4);
    ofDataset->addWidget(addRule_);
    ofDataset->addWidget(addPolygon_);
    auto* ofAll = new QHBoxLayout;
    ofAll->setSpacing(4);
    ofAll->addWidget(addGroup_);
    ofAll->addStretch();
    ofAll->addWidget(more_);
    layout->addWidget(new WrappingRow(ofDataset, ofAll)); // a narrow dock has room for two buttons beside each other
    counts_ = new QLabel(tr("No filter active"));
    counts_->setObjectName(QStringLiteral("eventCountLabel"));
    counts_->setStyleSheet(QStringLiteral("QLabel { color: #6b6f76; font-style: italic; }"));
    counts_->setWordWrap(true);
    layout->addWidget(counts_);
    connect(addRule_, &QPushButton::clicked, this, &FilterDockWidget::onAddRule);
    connect(addGroup_, &QPushButton::clicked, this, &FilterDockWidget::addFilterGroupRequested);
    connect(addPolygon_, &QPushButton::toggled, this, [this](bool on) {
        if (on) {
            emit polygonDrawRequested();
        } else {
            emit polygonDrawCancelRequested();
        }
    });
}

void FilterDockWidget::buildMenu() {
    auto* menu = new QMenu(more_);
    menu->setObjectName(QStringLiteral("moreFilterActionsMenu"));
    menu->setToolTipsVisible(true);
    const auto add = [this](QMenu* to, const char* name, const QString& text, const QString& toolTip, auto told) {
        QAction* action = to->addAction(text, this, told);
        action->setObjectName(QLatin1String(name));
        action->setToolTip(toolTip);
        return action;
    };
    applyToAll_ = add(menu, "applyFilterToAllAction", tr("Apply Filter to All Datasets"),
                      tr("Copy this dataset's enabled state, combine mode, and rules onto every other dataset "
                         "(overwrites their existing rules)."),
                      [this] { emit applyToAllRequested(); });
    menu->addSeparator();
    QMenu* import = menu->addMenu(tr("Import Measurement Filters"));
    import->setToolTipsVisible(true);
    add(import, "importForActiveAction", tr("For Active Dataset"),
        tr("Import online filter settings from HDF5 metadata (soft limits only)"),
        [this] { emit importMeasurementFiltersRequested(false); });
    add(import, "importForAllAction", tr("For All Datasets"),
        tr("Import online filter settings into every loaded dataset"),
        [this] { emit importMeasurementFiltersRequested(true); });
    menu->addSeparator();
    add(menu, "importGroupsAction", tr("Import Filter Groups…"), {}, [this] { emit importGroupsRequested(); });
    add(menu, "exportGroupsAction", tr("Export Filter Groups…"), {}, [this] { emit exportGroupsRequested(); });
    more_->setMenu(menu);
}

void FilterDockWidget::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    if (const bool narrow = width() < RoomyWidth; narrow != narrow_) {
        setNarrow(narrow);
    }
}

void FilterDockWidget::setNarrow(bool narrow) {
    narrow_ = narrow;
    rules_->setNarrow(narrow);
    for (FilterGroupWidget* group : groups_) {
        group->setNarrow(narrow);
    }
}

void FilterDockWidget::setDataset(DatasetEntry* dataset) {
    const bool other = dataset != dataset_;
    dataset_ = dataset;
    box_->setEnabled(dataset != nullptr);
    if (!dataset) {
        counts_->setText(tr("No dataset selected"));
    } else if (other) {
        // Until the counts come in.
        const bool filtered = dataset->filter.isEnabled() && dataset->filter.ruleCount() > 0;
        counts_->setText(filtered ? QString() : tr("No filter active"));
        features_ = std::make_shared<RuleFeatures>(dataset); // nothing of another dataset's rows stays
    }
    updateRules();
}

void FilterDockWidget::updateFeatures() {
    if (!features_->fits(dataset_)) {
        features_ = std::make_shared<RuleFeatures>(dataset_);
    }
}

void FilterDockWidget::updateRules() {
    updateFeatures();
    updateSwitches();
    const std::vector<FilterRule> rules = dataset_ ? dataset_->filter.rules() : std::vector<FilterRule>();
    rules_->setVisible(!rules.empty()); // before it has rows: these are laid out once, with all others
    if (rules_->showRules(rules, features_)) {
        updateTabOrder();
    }
    updateButtons();
}

void FilterDockWidget::updateSwitches() {
    const QSignalBlocker blockEnabled(enabled_);
    const QSignalBlocker blockExcluded(excluded_);
    enabled_->setChecked(!dataset_ || dataset_->filter.isEnabled());
    excluded_->setChecked(dataset_ && dataset_->filter.combineMode() == EventFilter::ShowExcluded);
}

void FilterDockWidget::updateButtons() {
    const bool usable = dataset_ && features_->isReady() && !features_->isEmpty();
    const bool peers = datasetCount_ > 1;
    enabledInAll_->setText(enabled_->isChecked() ? tr("Enable in All Datasets") : tr("Disable in All Datasets"));
    excludedInAll_->setText(excluded_->isChecked() ? tr("Show Excluded in All Datasets")
                                                   : tr("Hide Excluded in All Datasets"));
    enabledInAll_->setEnabled(peers);
    excludedInAll_->setEnabled(peers);
    applyToAll_->setEnabled(peers);
    addRule_->setEnabled(usable);
    addPolygon_->setEnabled(usable);
}

void FilterDockWidget::setDatasetCount(int count) {
    datasetCount_ = count;
    rules_->setPeersExist(count > 1);
    for (FilterGroupWidget* group : groups_) {
        group->setPeersExist(count > 1);
    }
    updateButtons();
}

void FilterDockWidget::setEventCounts(int shown, int total) {
    if (total == 0) {
        counts_->setText(tr("No events"));
    } else if (shown != total) {
        counts_->setText(tr("%1 / %2 events shown (%3%)").arg(shown).arg(total).arg(100.0 * shown / total, 0, 'f', 1));
    } else {
        counts_->setText(tr("%1 events (no filter active)").arg(total));
    }
}

FilterGroupWidget* FilterDockWidget::makeGroup(int groupId) {
    auto* group = new FilterGroupWidget(groupId, scroll_->widget());
    group->setObjectName(QStringLiteral("filterGroup%1").arg(groupId));
    group->setPeersExist(datasetCount_ > 1);
    group->setNarrow(narrow_);
    connect(group, &FilterGroupWidget::renameRequested, this, &FilterDockWidget::renameFilterGroupRequested);
    connect(group, &FilterGroupWidget::deleteRequested, this, &FilterDockWidget::deleteFilterGroupRequested);
    connect(group, &FilterGroupWidget::enableToggled, this, &FilterDockWidget::groupEnableChanged);
    connect(group, &FilterGroupWidget::enablePropagateRequested, this,
            &FilterDockWidget::groupEnablePropagateRequested);
    connect(group, &FilterGroupWidget::addRuleRequested, this, &FilterDockWidget::addRuleToGroupRequested);
    connect(group, &FilterGroupWidget::addPolygonRequested, this, &FilterDockWidget::addPolygonToGroupRequested);
    connect(group, &FilterGroupWidget::ruleChanged, this, &FilterDockWidget::groupRuleChanged);
    connect(group, &FilterGroupWidget::ruleRemoved, this, &FilterDockWidget::groupRuleRemoved);
    connect(group, &FilterGroupWidget::polygonEditToggled, this, &FilterDockWidget::groupPolygonEditRequested);
    return group;
}

void FilterDockWidget::setFilterGroups(const std::vector<std::unique_ptr<FilterGroup>>& groups) {
    updateFeatures();
    bool changed = std::erase_if(groups_, [&groups](FilterGroupWidget* widget) {
                       const bool gone = std::ranges::none_of(
                           groups, [widget](const auto& group) { return group->id == widget->groupId(); });
                       if (gone) {
                           widget->disconnect();
                           widget->hide();
                           widget->deleteLater(); // it may be the one whose button was clicked
                       }
                       return gone;
                   }) > 0;
    // Both lists are in the order of creation: what is new stands behind what is there.
    for (std::size_t i = 0; i < groups.size(); ++i) {
        if (i == groups_.size()) {
            groups_.push_back(makeGroup(groups[i]->id));
            groupLayout_->addWidget(groups_.back());
            changed = true;
        }
        bool on = false;
        if (dataset_) {
            const auto found = dataset_->groupEnabled.find(groups[i]->id);
            on = found != dataset_->groupEnabled.end() && found->second;
        }
        changed = groups_[i]->showGroup(*groups[i], on, features_) || changed;
    }
    if (changed) {
        updateTabOrder();
    }
}

void FilterDockWidget::setMarks(const PeerMarks& marks) {
    highlightButton(enabledInAll_, marks.filteringDiffers);
    highlightButton(excludedInAll_, marks.combineModeDiffers);
    rules_->setMarks(marks.rules);
}

void FilterDockWidget::showDrawing(bool on) {
    const QSignalBlocker blocker(addPolygon_);
    addPolygon_->setChecked(on);
}

void FilterDockWidget::showEditing(int groupId, int ruleIndex) {
    rules_->showEditing(groupId < 0 ? ruleIndex : -1);
    for (FilterGroupWidget* group : groups_) {
        group->showEditing(group->groupId() == groupId ? ruleIndex : -1);
    }
}

int FilterDockWidget::combineMode() const {
    return excluded_->isChecked() ? EventFilter::ShowExcluded : EventFilter::ShowPassing;
}

void FilterDockWidget::onDatasetFilterToggled(bool checked) {
    updateButtons();
    if (dataset_) {
        dataset_->filter.setEnabled(checked);
        emit filterChanged();
    }
}

void FilterDockWidget::onCombineModeChanged() {
    updateButtons();
    if (dataset_) {
        dataset_->filter.setCombineMode(combineMode());
        emit filterChanged();
    }
}

void FilterDockWidget::onAddRule() {
    if (!dataset_ || !dataset_->reader) {
        return;
    }
    if (const auto rule = features_->firstRule()) {
        dataset_->filter.addRule(*rule);
        updateRules();
        scrollTo(rules_);
        emit filterChanged();
    }
}

void FilterDockWidget::onRuleChanged() {
    storeRules();
    emit filterChanged();
}

void FilterDockWidget::storeRules() {
    if (!dataset_) {
        return;
    }
    dataset_->filter.clearRules();
    for (const FilterRule& rule : rules_->rules()) {
        dataset_->filter.addRule(rule);
    }
    updateButtons();
}

void FilterDockWidget::updateTabOrder() {
    QList<QWidget*> order{enabled_, enabledInAll_, excluded_, excludedInAll_};
    order << rules_->controls();
    for (const FilterGroupWidget* group : groups_) {
        order << group->controls();
    }
    order << addRule_ << addPolygon_ << addGroup_ << more_;
    for (qsizetype i = 1; i < order.size(); ++i) {
        QWidget::setTabOrder(order[i - 1], order[i]);
    }
}

void FilterDockWidget::scrollTo(QWidget* row) {
    // The rows get their places with the next round of layouting, the room to scroll with the one after.
    QTimer::singleShot(0, row, [this, row] {
        QTimer::singleShot(0, row, [this, row] { scroll_->ensureVisible(0, row->geometry().bottom(), 0, 0); });
    });
}

} // namespace Tessaly
