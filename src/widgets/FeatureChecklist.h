#pragma once

#include <QString>
#include <QWidget>

#include <string>
#include <vector>

class QCheckBox;
class QScrollArea;

namespace Tessaly {

/// A feature that can be checked.
struct CheckedFeature {
    std::string key;
    QString label;
    bool ofCurrent = true; ///< false if only datasets other than the current one have it
};

/// Lets the user check features: a box for each in a scrolling list, and two buttons over it. Boxes of features that
/// only other datasets have are grey, unchecked at first, and hidden unless asked for.
class FeatureChecklist : public QWidget {
    Q_OBJECT

public:
    explicit FeatureChecklist(const std::vector<CheckedFeature>& features, QWidget* parent = nullptr);

    /// The keys that are checked, in list order, hidden ones included.
    std::vector<std::string> checked() const;
    /// Checks exactly these.
    void setChecked(const std::vector<std::string>& keys);
    /// Shows or hides the features that only other datasets have.
    void showOthers(bool shown);
    /// The boxes and both buttons.
    void setBoxesEnabled(bool enabled);
    /// Checks the boxes that are not hidden.
    void checkShown();
    /// Unchecks all boxes, hidden ones too.
    void uncheckAll();
    /// Height of the list at least and at most, in pixels.
    void setListHeight(int minimum, int maximum = QWIDGETSIZE_MAX);

signals:
    void selectAllClicked();
    void deselectAllClicked();

private:
    std::vector<CheckedFeature> features_;
    std::vector<QCheckBox*> boxes_; ///< parallel to the features
    std::vector<QWidget*> buttons_;
    QScrollArea* list_ = nullptr;
};

/// Shows the text of a box in grey with a tool tip that says why, or as usual.
void markAsOfOthers(QCheckBox& box, bool marked);

} // namespace Tessaly
