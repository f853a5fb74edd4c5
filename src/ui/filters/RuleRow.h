#pragma once

#include "core/FilterRule.h"
#include "session/filters/PeerMarks.h"

#include <QWidget>

class QBoxLayout;
class QCheckBox;
class QHBoxLayout;
class QPushButton;
class QToolButton;

namespace Tessaly {

/// What the rows of all kinds of rules have in common: the switch in front, the button that deletes the row, inversion,
/// and the buttons that carry the rule to other datasets.
///
/// The row keeps the whole rule; a control writes its own field and nothing else. What the row doesn't show, or shows
/// with fewer digits, stays as it was.
class RuleRow : public QWidget {
    Q_OBJECT

public:
    /// Whose list the row stands in. A group's rules have no copies to be carried to other datasets.
    enum class Home { Dataset, Group };

    const FilterRule& rule() const { return rule_; }
    /// Shows a rule; emits nothing.
    virtual void setRule(const FilterRule& rule);
    /// Where the row stands, for those who can't see it.
    /// @param number  in the list, from 1;  @param group  name of the group, empty in a dataset's list
    void setPlace(int number, const QString& group);
    /// Whether there are other datasets to carry the rule to.
    void setPeersExist(bool exist);
    void setMarks(const RuleMarks& marks);

    /// With little room the controls stand below each other.
    virtual void setNarrow(bool narrow);

    /// What can have the focus, in the order of the eye.
    virtual QList<QWidget*> controls() const = 0;

signals:
    /// The user has changed rule().
    void ruleChanged();
    void removeRequested();
    void applyRuleToAllRequested();
    void updateRuleToAllRequested();
    void uncheckRuleInAllRequested();
    void checkRuleInAllRequested();
    void deleteRuleFromAllRequested();

public slots:
    void onUncheckCheckClicked();

protected:
    RuleRow(Home home, QWidget* parent);

    /// Changes the rule by the user's hand.
    template <typename T>
    void change(T FilterRule::*field, const T& value) {
        rule_.*field = value;
        updateButtons();
        emit ruleChanged();
    }
    virtual void updateNames();
    /// Names a control such as "Minimum of rule 2, Area".
    void nameControl(QWidget* control, const QString& what) const;
    /// What the rule is on, for names.
    virtual QString subject() const = 0;
    /// The first line, between switch and delete button.
    QHBoxLayout* head() const { return head_; }
    /// The lines below.
    QBoxLayout* body() const { return body_; }
    /// Whether the rule can be switched.
    void setSwitchEnabled(bool on);
    QList<QWidget*> headControls(const QList<QWidget*>& own) const;
    QList<QWidget*> footControls() const;

    FilterRule rule_;

private:
    QPushButton* makeButton(const char* name, const QString& text, void (RuleRow::*clicked)());
    void buildFoot();
    void updateButtons();

    Home home_;
    int number_ = 1;
    QString group_;
    bool peersExist_ = false;
    QCheckBox* enabled_;
    QToolButton* remove_;
    QCheckBox* inverted_;
    QHBoxLayout* head_;
    QBoxLayout* body_;
    QBoxLayout* foot_[2];          ///< two lines, so that three buttons fit the usual dock
    QPushButton* apply_ = nullptr; ///< this and the next ones are null in a group
    QPushButton* update_ = nullptr;
    QPushButton* uncheckCheck_ = nullptr;
    QPushButton* delete_ = nullptr;
};

/// Marks a button as the one with something to do.
void highlightButton(QPushButton* button, bool on);

} // namespace Tessaly
