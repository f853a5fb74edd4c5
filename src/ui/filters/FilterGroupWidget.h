#pragma once

#include "core/FilterGroup.h"

#include <QFrame>

#include <memory>

class QBoxLayout;
class QCheckBox;
class QLineEdit;
class QPushButton;
class QToolButton;

namespace Tessaly {

class RuleFeatures;
class RuleList;

/// A filter group: its name, its switch for the active dataset, and its rules.
class FilterGroupWidget : public QFrame {
    Q_OBJECT

public:
    explicit FilterGroupWidget(int groupId, QWidget* parent = nullptr);

    int groupId() const { return groupId_; }
    /// Shows a group; emits nothing. A name that is being typed stays. Returns whether rows were made or removed.
    bool showGroup(const FilterGroup& group, bool enabled, const std::shared_ptr<RuleFeatures>& features);
    /// Whether there are other datasets to carry the switch to.
    void setPeersExist(bool exist);
    /// With little room the controls stand below each other.
    void setNarrow(bool narrow);
    /// Shows that the polygon of a rule is being edited, and no other; -1 for none. Emits nothing.
    void showEditing(int ruleIndex);

    /// What can have the focus, in the order of the eye.
    QList<QWidget*> controls() const;

    bool eventFilter(QObject* object, QEvent* event) override;

signals:
    void renameRequested(int groupId, const QString& newName);
    void deleteRequested(int groupId);
    void enableToggled(int groupId, bool enabled);
    void enablePropagateRequested(int groupId, bool enabled);
    void addRuleRequested(int groupId);
    void addPolygonRequested(int groupId);
    void ruleChanged(int groupId, int ruleIndex, const FilterRule& rule);
    void ruleRemoved(int groupId, int ruleIndex);
    void polygonEditToggled(int groupId, int ruleIndex, bool on);

private:
    void buildLayout();
    void connectControls();
    void onNameFinished();
    void updateTexts();

    int groupId_;
    QString name_; ///< as the group has it
    QLineEdit* nameEdit_;
    QCheckBox* enabled_;
    QToolButton* delete_;
    QPushButton* propagate_;
    QPushButton* addRule_;
    QPushButton* addPolygon_;
    RuleList* rules_;
    QBoxLayout* additions_; ///< the buttons that add rules
};

} // namespace Tessaly
