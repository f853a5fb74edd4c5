#include "ui/filters/FilterGroupWidget.h"

#include "ui/filters/RuleFeatures.h"
#include "ui/filters/RuleList.h"
#include "widgets/ElidedButton.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalBlocker>
#include <QToolButton>

namespace Tessaly {

namespace {

constexpr int DeleteWidth = 20;

} // namespace

FilterGroupWidget::FilterGroupWidget(int groupId, QWidget* parent)
    : QFrame(parent),
      groupId_(groupId),
      nameEdit_(new QLineEdit),
      enabled_(new QCheckBox),
      delete_(new QToolButton),
      propagate_(new ElidedButton),
      addRule_(new QPushButton(tr("+ Rule"))),
      addPolygon_(new QPushButton(tr("+ Polygon"))),
      rules_(new RuleList(RuleRow::Home::Group)) {
    setFrameShape(QFrame::StyledPanel);
    nameEdit_->setObjectName(QStringLiteral("groupNameEdit"));
    nameEdit_->setAcceptDrops(false);
    nameEdit_->installEventFilter(this);
    enabled_->setObjectName(QStringLiteral("groupEnabledCheckBox"));
    enabled_->setToolTip(tr("Enable this group for the active dataset"));
    delete_->setObjectName(QStringLiteral("deleteGroupButton"));
    delete_->setText(QStringLiteral("×"));
    delete_->setToolTip(tr("Delete this filter group"));
    delete_->setFixedWidth(DeleteWidth);
    propagate_->setObjectName(QStringLiteral("propagateGroupButton"));
    propagate_->setToolTip(tr("Apply this group's enabled/disabled state to every dataset"));
    addRule_->setObjectName(QStringLiteral("addGroupRuleButton"));
    addRule_->setToolTip(tr("Add a range rule to this group"));
    addPolygon_->setObjectName(QStringLiteral("addGroupPolygonButton"));
    addPolygon_->setToolTip(tr("Draw a polygon gate on the scatter plot and add it to this group"));
    buildLayout();
    connectControls();
}

void FilterGroupWidget::buildLayout() {
    auto* first = new QHBoxLayout;
    first->setSpacing(4);
    first->addWidget(enabled_);
    first->addWidget(nameEdit_, 1);
    first->addWidget(delete_);
    additions_ = new QHBoxLayout;
    additions_->setSpacing(4);
    additions_->addWidget(addRule_);
    additions_->addWidget(addPolygon_);
    additions_->addStretch();
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->setSpacing(4);
    layout->addLayout(first);
    layout->addWidget(propagate_);
    layout->addWidget(rules_);
    layout->addLayout(additions_);
}

void FilterGroupWidget::connectControls() {
    connect(nameEdit_, &QLineEdit::editingFinished, this, &FilterGroupWidget::onNameFinished);
    connect(enabled_, &QCheckBox::toggled, this, [this](bool on) {
        updateTexts();
        emit enableToggled(groupId_, on);
    });
    connect(delete_, &QToolButton::clicked, this, [this] { emit deleteRequested(groupId_); });
    connect(propagate_, &QPushButton::clicked, this,
            [this] { emit enablePropagateRequested(groupId_, enabled_->isChecked()); });
    connect(addRule_, &QPushButton::clicked, this, [this] { emit addRuleRequested(groupId_); });
    connect(addPolygon_, &QPushButton::clicked, this, [this] { emit addPolygonRequested(groupId_); });
    connect(rules_, &RuleList::ruleChanged, this,
            [this](int index) { emit ruleChanged(groupId_, index, FilterRule(rules_->rule(index))); });
    connect(rules_, &RuleList::removeRequested, this, [this](int index) { emit ruleRemoved(groupId_, index); });
    connect(rules_, &RuleList::editToggled, this,
            [this](int index, bool on) { emit polygonEditToggled(groupId_, index, on); });
}

bool FilterGroupWidget::showGroup(const FilterGroup& group, bool enabled,
                                  const std::shared_ptr<RuleFeatures>& features) {
    const QString name = QString::fromStdString(group.name);
    const bool typing = nameEdit_->hasFocus() && nameEdit_->isModified();
    if (name != nameEdit_->text() && !typing) {
        const QSignalBlocker blocker(nameEdit_);
        nameEdit_->setText(name);
        nameEdit_->setCursorPosition(0); // the beginning of a long name tells more than its end
    }
    name_ = name;
    {
        const QSignalBlocker blocker(enabled_);
        enabled_->setChecked(enabled);
    }
    const bool usable = features && features->isReady() && !features->isEmpty();
    addRule_->setEnabled(usable);
    addPolygon_->setEnabled(usable);
    updateTexts();
    rules_->setGroupName(name);
    rules_->setVisible(!group.rules.empty()); // before it has rows: these are laid out once, with all others
    return rules_->showRules(group.rules, features);
}

void FilterGroupWidget::updateTexts() {
    propagate_->setText(enabled_->isChecked() ? tr("Check in All Datasets") : tr("Uncheck in All Datasets"));
    nameEdit_->setAccessibleName(tr("Name of filter group %1").arg(name_));
    enabled_->setAccessibleName(tr("Use filter group %1").arg(name_));
    delete_->setAccessibleName(tr("Deletion of filter group %1").arg(name_));
    propagate_->setAccessibleName(tr("Check mark of filter group %1 in all datasets").arg(name_));
    addRule_->setAccessibleName(tr("New range rule in filter group %1").arg(name_));
    addPolygon_->setAccessibleName(tr("New polygon in filter group %1").arg(name_));
}

void FilterGroupWidget::onNameFinished() {
    const QString typed = nameEdit_->text();
    nameEdit_->setModified(false);
    if (typed.trimmed().isEmpty()) {
        nameEdit_->setText(name_); // a group without a name could not be told from others
    } else if (typed != name_) {
        emit renameRequested(groupId_, typed);
    }
}

bool FilterGroupWidget::eventFilter(QObject* object, QEvent* event) {
    if (object == nameEdit_ && event->type() == QEvent::KeyPress &&
        static_cast<const QKeyEvent*>(event)->key() == Qt::Key_Escape && nameEdit_->isModified()) {
        nameEdit_->setText(name_);
        return true;
    }
    return QFrame::eventFilter(object, event);
}

void FilterGroupWidget::setPeersExist(bool exist) {
    propagate_->setEnabled(exist);
}

void FilterGroupWidget::setNarrow(bool narrow) {
    additions_->setDirection(narrow ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
    rules_->setNarrow(narrow);
}

void FilterGroupWidget::showEditing(int ruleIndex) {
    rules_->showEditing(ruleIndex);
}

QList<QWidget*> FilterGroupWidget::controls() const {
    return QList<QWidget*>{enabled_, nameEdit_, delete_, propagate_} + rules_->controls() +
           QList<QWidget*>{addRule_, addPolygon_};
}

} // namespace Tessaly
