#include "ui/filters/PolygonController.h"

#include "core/DatasetEntry.h"
#include "io/VQDReader.h"
#include "plot/ScatterPlot.h"
#include "session/PlotChoices.h"
#include "session/Session.h"
#include "session/filters/FilterGroups.h"
#include "ui/filters/FilterDockWidget.h"
#include "ui/plot/PlotController.h"

namespace Tessaly {

namespace {

QPolygonF toPolygon(const FilterRule& rule) {
    QPolygonF polygon;
    for (const auto& [x, y] : rule.polygonVertices) {
        polygon << QPointF(x, y);
    }
    return polygon;
}

std::vector<std::pair<double, double>> toVertices(const QPolygonF& polygon) {
    std::vector<std::pair<double, double>> vertices;
    for (const QPointF& point : polygon) {
        vertices.emplace_back(point.x(), point.y());
    }
    return vertices;
}

} // namespace

PolygonController::PolygonController(Session& session, FilterDockWidget& dock, ScatterPlot& plot,
                                     const PlotController& plotted, QObject* parent)
    : QObject(parent),
      session_(session),
      dock_(dock),
      plot_(plot),
      plotted_(plotted) {
    connect(&dock_, &FilterDockWidget::polygonDrawRequested, this, [this] { startDrawing(-1); });
    connect(&dock_, &FilterDockWidget::polygonDrawCancelRequested, &plot_, &ScatterPlot::cancelPolygonDraw);
    connect(&dock_, &FilterDockWidget::addPolygonToGroupRequested, this, &PolygonController::startDrawing);
    connect(&dock_, &FilterDockWidget::polygonEditRequested, this, &PolygonController::onPolygonEditRequested);
    connect(&dock_, &FilterDockWidget::groupPolygonEditRequested, this, [this](int groupId, int ruleIndex, bool on) {
        editRequested({groupId, ruleIndex}, on);
    });
    // The session may hear of it later, the user's next click on the plot may not.
    connect(&dock_, &FilterDockWidget::filterChanged, this, &PolygonController::checkGround);

    connect(&plot_, &ScatterPlot::polygonCompleted, this, &PolygonController::onPolygonCompleted);
    connect(&plot_, &ScatterPlot::polygonEdited, this, &PolygonController::onPolygonEdited);
    connect(&plot_, &ScatterPlot::polygonEditingStopped, this, &PolygonController::onPolygonEditingStopped);
    connect(&plot_, &ScatterPlot::polygonDrawingStopped, this, [this] {
        pendingPolygonGroup_ = -1;
        dock_.showDrawing(false);
    });

    const SessionNotices& news = session_.notices();
    connect(&news, &SessionNotices::activeChanged, this, &PolygonController::stop);
    connect(&news, &SessionNotices::plotSettingsChanged, this, &PolygonController::checkGround);
    connect(&news, &SessionNotices::groupsChanged, this, &PolygonController::checkGround);
    connect(&news, &SessionNotices::eventsChanged, this, &PolygonController::checkGround);
}

PolygonController::Ground PolygonController::ground() const {
    const DatasetEntry* dataset = session_.active();
    if (!dataset) {
        return {};
    }
    Ground ground{dataset->id, {dataset->xFeatureName, dataset->yFeatureName}, {{-1, dataset->filter.rules().size()}}};
    for (const auto& group : session_.filterGroups()) {
        ground.lists.emplace_back(group->id, group->rules.size());
    }
    return ground;
}

bool PolygonController::canBegin() const {
    const DatasetEntry* dataset = session_.active();
    if (!dataset || !dataset->featuresLoaded || !dataset->reader || plotted_.plottedX().empty()) {
        return false;
    }
    const PlotSettings shown = shownSettings(*dataset, scalarFeatureNames(*dataset->reader));
    return shown.xFeatureName == plotted_.plottedX() && shown.yFeatureName == plotted_.plottedY();
}

const FilterRule* PolygonController::polygonRule(OverlayId id) const {
    const std::vector<FilterRule>* rules = nullptr;
    if (id.groupId >= 0) {
        const FilterGroup* group = session_.findFilterGroup(id.groupId);
        rules = group ? &group->rules : nullptr;
    } else if (const DatasetEntry* dataset = session_.active()) {
        rules = &dataset->filter.rules();
    }
    if (!rules || id.ruleIndex < 0 || static_cast<std::size_t>(id.ruleIndex) >= rules->size()) {
        return nullptr;
    }
    const FilterRule& rule = (*rules)[static_cast<std::size_t>(id.ruleIndex)];
    return rule.type == FilterRule::Polygon ? &rule : nullptr;
}

void PolygonController::startDrawing(int groupId) {
    plot_.cancelPolygonDraw(); // one that was begun for another list
    if (!canBegin() || (groupId >= 0 && !session_.findFilterGroup(groupId))) {
        dock_.showDrawing(false);
        return;
    }
    pendingPolygonGroup_ = groupId;
    ground_ = ground();
    dock_.showDrawing(true);
    plot_.startPolygonDraw();
}

void PolygonController::onPolygonCompleted(const QPolygonF& polygon) {
    DatasetEntry* dataset = session_.active();
    if (!dataset || ground() != ground_) {
        return;
    }
    FilterRule rule;
    rule.type = FilterRule::Polygon;
    rule.featureName = plotted_.plottedX();
    rule.featureNameY = plotted_.plottedY();
    rule.scaleXMode = dataset->scaleXMode;
    rule.scaleYMode = dataset->scaleYMode;
    rule.polygonVertices = toVertices(polygon);
    if (pendingPolygonGroup_ >= 0) {
        session_.addRuleToGroup(std::exchange(pendingPolygonGroup_, -1), rule);
    } else {
        dataset->filter.addRule(rule);
        emit session_.notices().eventsChanged();
    }
}

void PolygonController::onPolygonEditRequested(int ruleIndex, bool on) {
    editRequested({-1, ruleIndex}, on);
}

void PolygonController::editRequested(OverlayId id, bool on) {
    const FilterRule* rule = polygonRule(id);
    if (rule && on && canBegin() && rule->featureName == plotted_.plottedX() &&
        rule->featureNameY == plotted_.plottedY()) {
        plot_.stopPolygonEdit();
        ground_ = ground();
        edited_ = toPolygon(*rule);
        plot_.startPolygonEdit(id.number(), edited_);
    } else if (!on && plot_.editId() == id.number()) {
        plot_.stopPolygonEdit();
    }
    showEditing(); // a polygon can be edited only on the axes that it belongs to
}

void PolygonController::onPolygonEdited(int id, const QPolygonF& polygon) {
    if (!checkGround()) {
        return;
    }
    const OverlayId place = OverlayId::of(id);
    const FilterRule* rule = polygonRule(place);
    if (!rule) {
        return;
    }
    FilterRule changed = *rule;
    changed.polygonVertices = toVertices(polygon);
    edited_ = polygon;
    if (place.groupId >= 0) {
        updateRuleInGroup(session_, place.groupId, place.ruleIndex, changed);
    } else {
        session_.active()->filter.setRule(place.ruleIndex, changed);
        emit session_.notices().eventsChanged();
    }
}

void PolygonController::onPolygonEditingStopped(int) {
    showEditing();
}

bool PolygonController::checkGround() {
    bool holds = ground() == ground_;
    if (holds && plot_.isEditing()) {
        const FilterRule* rule = polygonRule(OverlayId::of(plot_.editId()));
        holds = rule && toPolygon(*rule) == edited_;
    }
    if (!holds) {
        stop();
    }
    return holds;
}

void PolygonController::stop() {
    plot_.cancelPolygonDraw();
    plot_.stopPolygonEdit();
}

void PolygonController::showEditing() {
    const OverlayId id = plot_.isEditing() ? OverlayId::of(plot_.editId()) : OverlayId();
    dock_.showEditing(id.groupId, id.ruleIndex);
}

} // namespace Tessaly
