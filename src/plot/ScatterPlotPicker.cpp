#include "plot/ScatterPlotPicker.h"

#include <qwt_picker_machine.h>

namespace Tessaly {

ScatterPlotPicker::ScatterPlotPicker(QWidget* canvas) : QwtPlotPicker(canvas) {
    setTrackerMode(AlwaysOff);
    setRubberBand(NoRubberBand);
    setStateMachine(new QwtPickerClickPointMachine);
}

} // namespace Tessaly
