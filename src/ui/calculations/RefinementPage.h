#pragma once

#include "calc/fluorescence/FLRefinement.h"

#include <QWidget>

class QCheckBox;
class QDoubleSpinBox;
class QGridLayout;
class QLabel;
class QPushButton;
class QSpinBox;

namespace Tessaly {

/// Page "FL Refinement" of the calculations dock: the filters of the traces and which trace is shown.
class RefinementPage : public QWidget {
    Q_OBJECT

public:
    explicit RefinementPage(QWidget* parent = nullptr);

    FLRefinementParams params() const;
    /// Puts half-windows below their filters.
    void setNarrow(bool narrow);

    bool appliesToAll() const;
    bool showsRefinedTrace() const;
    QPushButton* startButton() const { return start_; }

signals:
    void startRequested();
    void traceDisplayChanged();

private:
    /// A filter as shown: whether it is on, and half of its window.
    struct Filter {
        QCheckBox* on = nullptr;
        QSpinBox* halfWindow = nullptr;
        QLabel* caption = nullptr;
    };
    static Filter makeFilter(const QString& name, const char* objectName, bool on, int halfWindow);

    QGridLayout* grid_ = nullptr;
    Filter hampel1_, hampel2_, median_, rolling_, savitzkyGolay_;
    QDoubleSpinBox* flMaxThreshold_ = nullptr;
    QCheckBox* applyToAll_ = nullptr;
    QPushButton* start_ = nullptr;
    QCheckBox* showRefined_ = nullptr;
};

} // namespace Tessaly
