#pragma once

class QDockWidget;
class QLabel;
class QLineEdit;
class QMainWindow;
class QSpinBox;

namespace Tessaly {

class CalculationsDockWidget;
class DatasetsPanel;
class EventPanel;
class FilterDockWidget;
class MetadataPanel;
class PlotSettingsPanel;
class ScatterPlot;
class StatisticsDockWidget;

/// The parts of the main window. All are owned by the window through the Qt parent tree.
struct MainPanels {
    QLabel* status = nullptr;
    QLineEdit* rename = nullptr;
    PlotSettingsPanel* plotSettings = nullptr;
    QSpinBox* eventNumber = nullptr;
    ScatterPlot* plot = nullptr;
    EventPanel* event = nullptr;
    DatasetsPanel* datasets = nullptr;
    FilterDockWidget* filters = nullptr;
    CalculationsDockWidget* calculations = nullptr;
    MetadataPanel* metadata = nullptr;
    StatisticsDockWidget* statistics = nullptr;

    QDockWidget* datasetsDock = nullptr;
    QDockWidget* filtersDock = nullptr;
    QDockWidget* calculationsDock = nullptr;
    QDockWidget* metadataDock = nullptr;
    QDockWidget* statisticsDock = nullptr;
};

/// Makes all panels and lays them out: docks left and right, the plot with its controls in the middle.
MainPanels buildMainPanels(QMainWindow& window);

} // namespace Tessaly
