#include "ui/filters/RuleList.h"

#include "ui/filters/FilterRuleWidget.h"
#include "ui/filters/PolygonRuleWidget.h"
#include "ui/filters/RuleFeatures.h"

#include <QFrame>
#include <QVBoxLayout>

#include <algorithm>
#include <bit>
#include <cstdint>

namespace Tessaly {

namespace {

constexpr int RowSpacing = 2;

std::pair<std::uint64_t, std::uint64_t> bits(const std::pair<double, double>& values) {
    return {std::bit_cast<std::uint64_t>(values.first), std::bit_cast<std::uint64_t>(values.second)};
}

/// Bit for bit: NaN is what it is, too.
bool isSame(const FilterRule& a, const FilterRule& b) {
    return a.type == b.type && a.featureName == b.featureName && a.featureNameY == b.featureNameY &&
           bits({a.minValue, a.maxValue}) == bits({b.minValue, b.maxValue}) && a.scaleXMode == b.scaleXMode &&
           a.scaleYMode == b.scaleYMode && a.enabled == b.enabled && a.inverted == b.inverted &&
           a.propagationId == b.propagationId &&
           std::ranges::equal(a.polygonVertices, b.polygonVertices, {}, bits, bits);
}

bool isPolygon(const FilterRule& rule) {
    return rule.type == FilterRule::Polygon;
}

} // namespace

RuleList::RuleList(RuleRow::Home home, QWidget* parent) : QWidget(parent), home_(home), layout_(new QVBoxLayout(this)) {
    layout_->setContentsMargins(0, 0, 0, 0);
    layout_->setSpacing(RowSpacing);
}

bool RuleList::showRules(const std::vector<FilterRule>& rules, const std::shared_ptr<RuleFeatures>& features) {
    bool changed = false;
    if (features != features_) {
        changed = !rows_.empty();
        while (!rows_.empty()) {
            dropRow(count() - 1);
        }
        features_ = features;
    }
    const auto differs = [this, &rules](std::size_t i) {
        return i >= rules.size() || !isSame(rows_[i]->rule(), rules[i]);
    };
    // One rule that is gone takes its row with it; the rows behind it stay what they are.
    if (rows_.size() == rules.size() + 1) {
        std::size_t gone = 0;
        while (!differs(gone)) {
            ++gone;
        }
        dropRow(static_cast<int>(gone));
        changed = true;
    }
    for (std::size_t i = 0; i < std::min(rows_.size(), rules.size()); ++i) {
        if (isPolygon(rows_[i]->rule()) != isPolygon(rules[i])) {
            while (rows_.size() > i) {
                dropRow(count() - 1);
            }
            changed = true;
        } else if (differs(i)) {
            rows_[i]->setRule(rules[i]);
        }
    }
    while (rows_.size() > rules.size()) {
        dropRow(count() - 1);
        changed = true;
    }
    while (rows_.size() < rules.size()) {
        addRow(rules[rows_.size()]);
        changed = true;
    }
    if (changed) {
        updatePlaces();
    }
    return changed;
}

RuleRow* RuleList::makeRow(const FilterRule& rule) {
    if (!isPolygon(rule)) {
        return new FilterRuleWidget(features_, home_, this);
    }
    auto* row = new PolygonRuleWidget(features_, home_, this);
    connect(row, &PolygonRuleWidget::editToggled, this, [this, row](bool on) { emit editToggled(indexOf(row), on); });
    return row;
}

void RuleList::addRow(const FilterRule& rule) {
    if (!rows_.empty()) {
        auto* line = new QFrame(this);
        line->setFrameShape(QFrame::HLine);
        line->setFrameShadow(QFrame::Plain);
        line->setFixedHeight(1);
        QPalette palette = line->palette();
        palette.setColor(QPalette::WindowText, QColor(0xc8, 0xc8, 0xc8));
        line->setPalette(palette);
        layout_->addWidget(line);
        lines_.push_back(line);
    }
    RuleRow* row = makeRow(rule);
    row->setPeersExist(peersExist_);
    row->setNarrow(narrow_);
    rows_.push_back(row);
    row->setPlace(count(), groupName_);
    row->setRule(rule);
    connectRow(row);
    layout_->addWidget(row);
}

void RuleList::connectRow(RuleRow* row) {
    using Told = void (RuleList::*)(int);
    const auto pass = [this, row](void (RuleRow::*told)(), Told passed) {
        connect(row, told, this, [this, row, passed] { emit(this->*passed)(indexOf(row)); });
    };
    pass(&RuleRow::ruleChanged, &RuleList::ruleChanged);
    pass(&RuleRow::removeRequested, &RuleList::removeRequested);
    pass(&RuleRow::applyRuleToAllRequested, &RuleList::applyRequested);
    pass(&RuleRow::updateRuleToAllRequested, &RuleList::updateRequested);
    pass(&RuleRow::uncheckRuleInAllRequested, &RuleList::uncheckRequested);
    pass(&RuleRow::checkRuleInAllRequested, &RuleList::checkRequested);
    pass(&RuleRow::deleteRuleFromAllRequested, &RuleList::deleteEverywhereRequested);
}

int RuleList::indexOf(const RuleRow* row) const {
    return static_cast<int>(std::ranges::find(rows_, row) - rows_.begin());
}

void RuleList::removeRow(int index) {
    dropRow(index);
    updatePlaces();
}

void RuleList::dropRow(int index) {
    const auto place = static_cast<std::size_t>(index);
    const auto drop = [this](auto& list, std::size_t at) {
        QWidget* widget = list[at];
        list.erase(list.begin() + static_cast<std::ptrdiff_t>(at));
        widget->disconnect(this);
        layout_->removeWidget(widget);
        widget->hide();
        widget->deleteLater(); // it may be the one whose button was clicked
    };
    drop(rows_, place);
    if (!lines_.empty()) {
        drop(lines_, place == 0 ? 0 : place - 1);
    }
}

std::vector<FilterRule> RuleList::rules() const {
    std::vector<FilterRule> rules;
    for (const RuleRow* row : rows_) {
        rules.push_back(row->rule());
    }
    return rules;
}

void RuleList::updatePlaces() {
    for (int i = 0; i < count(); ++i) {
        rows_[static_cast<std::size_t>(i)]->setPlace(i + 1, groupName_);
    }
}

void RuleList::setGroupName(const QString& name) {
    groupName_ = name;
    updatePlaces();
}

void RuleList::setPeersExist(bool exist) {
    peersExist_ = exist;
    for (RuleRow* row : rows_) {
        row->setPeersExist(exist);
    }
}

void RuleList::setNarrow(bool narrow) {
    narrow_ = narrow;
    for (RuleRow* row : rows_) {
        row->setNarrow(narrow);
    }
}

void RuleList::setMarks(const std::vector<RuleMarks>& marks) {
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        rows_[i]->setMarks(i < marks.size() ? marks[i] : RuleMarks());
    }
}

void RuleList::showEditing(int index) {
    for (int i = 0; i < count(); ++i) {
        if (auto* row = qobject_cast<PolygonRuleWidget*>(rows_[static_cast<std::size_t>(i)])) {
            row->setEditing(i == index);
        }
    }
}

QList<QWidget*> RuleList::controls() const {
    QList<QWidget*> controls;
    for (const RuleRow* row : rows_) {
        controls << row->controls();
    }
    return controls;
}

} // namespace Tessaly
