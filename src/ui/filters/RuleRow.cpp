#include "ui/filters/RuleRow.h"

#include "widgets/ElidedButton.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QPushButton>
#include <QSignalBlocker>
#include <QToolButton>

namespace Tessaly {

namespace {

constexpr int DeleteWidth = 20;
constexpr char HighlightSheet[] =
    "QPushButton { padding: 2px 8px; min-height: 16px; background-color: #a6d7d5; color: #00abad; "
    "border: 1px solid #00abad; }";

} // namespace

void highlightButton(QPushButton* button, bool on) {
    const QLatin1String sheet(on ? HighlightSheet : "");
    if (button->styleSheet() != sheet) {
        button->setStyleSheet(sheet); // not for free, even if it is the same
    }
}

RuleRow::RuleRow(Home home, QWidget* parent)
    : QWidget(parent),
      home_(home),
      enabled_(new QCheckBox),
      remove_(new QToolButton),
      inverted_(new QCheckBox(tr("Invert"))),
      head_(new QHBoxLayout),
      body_(new QHBoxLayout),
      foot_{new QHBoxLayout, new QHBoxLayout} {
    enabled_->setObjectName(QStringLiteral("ruleEnabledCheckBox"));
    enabled_->setChecked(true);
    remove_->setObjectName(QStringLiteral("removeRuleButton"));
    remove_->setText(QStringLiteral("×"));
    remove_->setToolTip(tr("Delete this rule"));
    remove_->setFixedWidth(DeleteWidth);
    inverted_->setObjectName(QStringLiteral("invertCheckBox"));
    inverted_->setToolTip(tr("Invert this rule (pass events that do NOT match)"));

    auto* first = new QHBoxLayout;
    first->setSpacing(4);
    first->addWidget(enabled_);
    head_->setSpacing(4);
    first->addLayout(head_, 1);
    first->addWidget(remove_);
    body_->setSpacing(4);
    foot_[0]->addWidget(inverted_, 1);
    if (home_ == Home::Dataset) {
        buildFoot();
    }
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 2, 0, 2);
    layout->setSpacing(2);
    layout->addLayout(first);
    layout->addLayout(body_);
    for (QBoxLayout* line : foot_) {
        line->setSpacing(4);
        layout->addLayout(line);
    }

    connect(enabled_, &QCheckBox::toggled, this, [this](bool on) { change(&FilterRule::enabled, on); });
    connect(inverted_, &QCheckBox::toggled, this, [this](bool on) { change(&FilterRule::inverted, on); });
    connect(remove_, &QToolButton::clicked, this, &RuleRow::removeRequested);
}

QPushButton* RuleRow::makeButton(const char* name, const QString& text, void (RuleRow::*clicked)()) {
    auto* button = new ElidedButton(text, this);
    button->setObjectName(QLatin1String(name));
    connect(button, &QPushButton::clicked, this, clicked);
    return button;
}

void RuleRow::buildFoot() {
    apply_ = makeButton("applyRuleToAllButton", tr("Apply to All"), &RuleRow::applyRuleToAllRequested);
    update_ = makeButton("updateRuleToAllButton", tr("Update in All"), &RuleRow::updateRuleToAllRequested);
    uncheckCheck_ = makeButton("uncheckCheckButton", QString(), &RuleRow::onUncheckCheckClicked);
    delete_ = makeButton("deleteRuleFromAllButton", tr("Delete from All"), &RuleRow::deleteRuleFromAllRequested);
    foot_[0]->addWidget(apply_, 1);
    foot_[0]->addWidget(update_, 1);
    foot_[1]->addWidget(uncheckCheck_, 1);
    foot_[1]->addWidget(delete_, 1);
    updateButtons();
}

void RuleRow::setRule(const FilterRule& rule) {
    rule_ = rule;
    const QSignalBlocker blockEnabled(enabled_);
    const QSignalBlocker blockInverted(inverted_);
    enabled_->setChecked(rule.enabled);
    inverted_->setChecked(rule.inverted);
    updateButtons();
    updateNames();
}

void RuleRow::setPlace(int number, const QString& group) {
    if (number != number_ || group != group_) {
        number_ = number;
        group_ = group;
        updateNames();
    }
}

void RuleRow::setNarrow(bool narrow) {
    for (QBoxLayout* line : foot_) {
        line->setDirection(narrow ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
    }
}

void RuleRow::setPeersExist(bool exist) {
    if (exist != peersExist_) {
        peersExist_ = exist;
        updateButtons();
    }
}

void RuleRow::setMarks(const RuleMarks& marks) {
    if (home_ == Home::Dataset) {
        highlightButton(update_, marks.parametersDiffer);
        highlightButton(uncheckCheck_, marks.enabledDiffers);
    }
}

void RuleRow::updateButtons() {
    if (home_ == Home::Group) {
        return;
    }
    const bool linked = !rule_.propagationId.empty();
    apply_->setVisible(!linked);
    for (QPushButton* button : {update_, uncheckCheck_, delete_}) {
        button->setVisible(linked);
    }
    for (QPushButton* button : {apply_, update_, uncheckCheck_, delete_}) {
        button->setEnabled(peersExist_);
    }
    uncheckCheck_->setText(rule_.enabled ? tr("Check in All") : tr("Uncheck in All"));
}

void RuleRow::onUncheckCheckClicked() {
    if (rule_.enabled) {
        emit checkRuleInAllRequested();
    } else {
        emit uncheckRuleInAllRequested();
    }
}

void RuleRow::nameControl(QWidget* control, const QString& what) const {
    // Put together in one step: names may hold what looks like a place for a number.
    const QString number = QString::number(number_);
    control->setAccessibleName(group_.isEmpty() ? tr("%1 of rule %2, %3").arg(what, number, subject())
                                                : tr("%1 of rule %2 in %4, %3").arg(what, number, subject(), group_));
}

void RuleRow::updateNames() {
    nameControl(enabled_, tr("Use"));
    nameControl(remove_, tr("Deletion"));
    nameControl(inverted_, tr("Inversion"));
    if (home_ == Home::Dataset) {
        nameControl(apply_, tr("Copies in all datasets"));
        nameControl(update_, tr("Update in all datasets"));
        nameControl(uncheckCheck_, tr("Check mark in all datasets"));
        nameControl(delete_, tr("Deletion from all datasets"));
    }
}

void RuleRow::setSwitchEnabled(bool on) {
    enabled_->setEnabled(on);
}

QList<QWidget*> RuleRow::headControls(const QList<QWidget*>& own) const {
    return QList<QWidget*>{enabled_} + own + QList<QWidget*>{remove_};
}

QList<QWidget*> RuleRow::footControls() const {
    QList<QWidget*> controls{inverted_};
    if (home_ == Home::Dataset) {
        controls << apply_ << update_ << uncheckCheck_ << delete_;
    }
    return controls;
}

} // namespace Tessaly
