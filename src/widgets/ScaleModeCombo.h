#pragma once

#include "widgets/WideCombo.h"

namespace Tessaly {

/// Lets the user choose how an axis is scaled: linear (0), logarithmic (1) or pseudo-log (2).
class ScaleModeCombo : public WideCombo {
    Q_OBJECT

public:
    /// @param axisName  what the tool tip says, such as "X-axis scale mode"; without one, only problems have a tip
    explicit ScaleModeCombo(const QString& axisName, QWidget* parent = nullptr);

    /// Shows a mode without a signal; an unknown one counts as linear.
    void setMode(int mode);
    int mode() const;

    /// Marks the box with the number of points that a logarithmic axis can't show; 0 takes the mark away. The choice
    /// stays, and nothing is emitted.
    void markLogAxisProblem(int count);

private:
    QString axisName_;
};

} // namespace Tessaly
