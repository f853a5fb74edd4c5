#pragma once

#include "core/FilterRule.h"
#include "session/filters/PeerMarks.h"
#include "ui/filters/RuleRow.h"

#include <QWidget>

#include <memory>
#include <vector>

class QFrame;
class QVBoxLayout;

namespace Tessaly {

class RuleFeatures;

/// Rows of rules with lines between them, in the order of the rules. An index is that of a row.
class RuleList : public QWidget {
    Q_OBJECT

public:
    explicit RuleList(RuleRow::Home home, QWidget* parent = nullptr);

    /// Shows rules. Rows that show theirs already are left alone, so that nobody's typing is disturbed; with other
    /// features all rows are made anew. Returns whether rows were made or removed.
    bool showRules(const std::vector<FilterRule>& rules, const std::shared_ptr<RuleFeatures>& features);
    std::vector<FilterRule> rules() const;
    int count() const { return static_cast<int>(rows_.size()); }
    const FilterRule& rule(int index) const { return rows_[static_cast<std::size_t>(index)]->rule(); }

    /// Takes a row away, together with the line next to it.
    void removeRow(int index);

    void setGroupName(const QString& name);
    void setPeersExist(bool exist);
    /// With little room the rows' controls stand below each other.
    void setNarrow(bool narrow);
    /// One mark per row; rows without one lose theirs.
    void setMarks(const std::vector<RuleMarks>& marks);
    /// Shows that the polygon of a row is being edited, and no other; -1 for none. Emits nothing.
    void showEditing(int index);

    /// What can have the focus, in the order of the eye.
    QList<QWidget*> controls() const;

signals:
    void ruleChanged(int index);
    void removeRequested(int index);
    void applyRequested(int index);
    void updateRequested(int index);
    void uncheckRequested(int index);
    void checkRequested(int index);
    void deleteEverywhereRequested(int index);
    void editToggled(int index, bool on);

private:
    void addRow(const FilterRule& rule);
    void dropRow(int index);
    RuleRow* makeRow(const FilterRule& rule);
    void connectRow(RuleRow* row);
    int indexOf(const RuleRow* row) const;
    void updatePlaces();

    RuleRow::Home home_;
    QString groupName_;
    bool peersExist_ = false;
    bool narrow_ = false;
    std::shared_ptr<RuleFeatures> features_;
    QVBoxLayout* layout_;
    std::vector<RuleRow*> rows_;
    std::vector<QFrame*> lines_; ///< one between any two rows
};

} // namespace Tessaly
