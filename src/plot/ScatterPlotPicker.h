#pragma once

#include <qwt_plot_picker.h>

namespace Tessaly {

/// Picker on a scatter plot's canvas, without tracker or rubber band. The plot finds the points itself; the picker only
/// carries the signal.
class ScatterPlotPicker : public QwtPlotPicker {
    Q_OBJECT

public:
    explicit ScatterPlotPicker(QWidget* canvas);

signals:
    /// A point was chosen by its plot index.
    void pointSelected(int index);
};

} // namespace Tessaly
