#include "ui/MainPanels.h"

#include "plot/ScatterPlot.h"
#include "plot/TracePlot.h"
#include "ui/calculations/CalculationsDockWidget.h"
#include "ui/datasets/DatasetsPanel.h"
#include "ui/event/EventPanel.h"
#include "ui/event/MetadataPanel.h"
#include "ui/filters/FilterDockWidget.h"
#include "ui/plot/PlotSettingsPanel.h"
#include "ui/plot/StatisticsDockWidget.h"
#include "widgets/ElidedLabel.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QDockWidget>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QScrollArea>
#include <QSpinBox>
#include <QSplitter>
#include <QVBoxLayout>

namespace Tessaly {

namespace {

constexpr char StatusStyle[] = "QLabel { padding: 5px; background-color: #eceef1; border: 1px solid #dcdee2; "
                               "border-radius: 5px; color: #23262e; }";

QString tr(const char* text) {
    return QCoreApplication::translate("Tessaly::MainWindow", text);
}

enum class TitleBar { Normal, None };

QDockWidget* addDock(QMainWindow& window, const char* name, const QString& title, QWidget* content,
                     Qt::DockWidgetArea area, TitleBar titleBar) {
    auto* dock = new QDockWidget(title, &window);
    dock->setObjectName(QLatin1String(name));
    dock->setAccessibleName(title);
    dock->setAllowedAreas(Qt::LeftDockWidgetArea | Qt::RightDockWidgetArea);
    dock->setFeatures(QDockWidget::DockWidgetClosable | QDockWidget::DockWidgetMovable);
    if (titleBar == TitleBar::None) {
        dock->setTitleBarWidget(new QWidget(dock));
    }
    dock->setWidget(content);
    // Docks are closed through the menu: their buttons have no picture and must not take clicks.
    for (auto* button : dock->findChildren<QAbstractButton*>(QString(), Qt::FindDirectChildrenOnly)) {
        button->setFixedSize(0, 0);
    }
    dock->toggleViewAction()->setObjectName(QLatin1String(name) + QLatin1String("Action"));
    window.addDockWidget(area, dock);
    return dock;
}

void buildDatasetsDock(QMainWindow& window, MainPanels& panels) {
    panels.datasets = new DatasetsPanel;
    panels.datasetsDock =
        addDock(window, "datasetsDock", tr("Datasets"), panels.datasets, Qt::LeftDockWidgetArea, TitleBar::Normal);
}

void buildRightDocks(QMainWindow& window, MainPanels& panels) {
    panels.filters = new FilterDockWidget;
    panels.statistics = new StatisticsDockWidget;
    panels.calculations = new CalculationsDockWidget;
    panels.metadata = new MetadataPanel;
    panels.filters->setMaximumWidth(500);

    const auto right = Qt::RightDockWidgetArea;
    panels.filtersDock = addDock(window, "filtersDock", tr("Filters"), panels.filters, right, TitleBar::None);
    panels.calculationsDock =
        addDock(window, "calculationsDock", tr("Calculations"), panels.calculations, right, TitleBar::None);
    panels.metadataDock = addDock(window, "metadataDock", tr("Metadata"), panels.metadata, right, TitleBar::None);
    panels.statisticsDock =
        addDock(window, "statisticsDock", tr("Plot Statistics"), panels.statistics, right, TitleBar::Normal);

    window.setTabPosition(right, QTabWidget::North);
    window.tabifyDockWidget(panels.filtersDock, panels.calculationsDock);
    window.tabifyDockWidget(panels.calculationsDock, panels.metadataDock);
    panels.filtersDock->raise();
    window.resizeDocks({panels.filtersDock, panels.statisticsDock}, {600, 200}, Qt::Vertical);
}

QLayout* buildRenameRow(MainPanels& panels) {
    auto* row = new QHBoxLayout;
    panels.rename = new QLineEdit;
    panels.rename->setObjectName(QStringLiteral("renameEdit"));
    panels.rename->setAccessibleName(tr("Dataset Name"));
    panels.rename->setPlaceholderText(tr("Rename dataset..."));
    panels.rename->setEnabled(false);
    row->addWidget(panels.rename);
    auto* label = new QLabel(tr("Dataset Name"));
    label->setBuddy(panels.rename);
    row->addWidget(label);
    return row;
}

QLayout* buildEventRow(MainPanels& panels) {
    auto* row = new QHBoxLayout;
    auto* label = new QLabel(tr("Event:"));
    panels.eventNumber = new QSpinBox;
    panels.eventNumber->setObjectName(QStringLiteral("eventSpinBox"));
    panels.eventNumber->setAccessibleName(tr("Event"));
    panels.eventNumber->setMinimumWidth(100);
    panels.eventNumber->setRange(0, 0);
    panels.eventNumber->setEnabled(false);
    label->setBuddy(panels.eventNumber);
    row->addWidget(label);
    row->addWidget(panels.eventNumber);
    row->addStretch();
    return row;
}

QWidget* buildCentre(MainPanels& panels) {
    auto* centre = new QWidget;
    auto* layout = new QVBoxLayout(centre);
    layout->setContentsMargins(4, 4, 4, 4);
    panels.status = new ElidedLabel;
    panels.status->setObjectName(QStringLiteral("statusLabel"));
    panels.status->setStyleSheet(QLatin1String(StatusStyle));
    layout->addWidget(panels.status);
    layout->addLayout(buildRenameRow(panels));

    panels.plotSettings = new PlotSettingsPanel;
    layout->addWidget(panels.plotSettings);
    layout->addLayout(buildEventRow(panels));

    panels.plot = new ScatterPlot;
    panels.event = new EventPanel;
    // The axes would like more, which would keep the window from fitting on a small screen.
    panels.plot->setMinimumSize(200, 150);
    panels.event->tracePlot()->setMinimumSize(150, 90);
    auto* splitter = new QSplitter(Qt::Horizontal);
    splitter->setObjectName(QStringLiteral("plotSplitter"));
    splitter->addWidget(panels.plot);
    splitter->addWidget(panels.event);
    splitter->setStretchFactor(0, 1);
    splitter->setStretchFactor(1, 0);
    splitter->setSizes({600, 260});
    splitter->setChildrenCollapsible(false);
    layout->addWidget(splitter, 1);
    return centre;
}

} // namespace

MainPanels buildMainPanels(QMainWindow& window) {
    MainPanels panels;
    // In the order of the eye, which is that of the Tab key.
    buildDatasetsDock(window, panels);
    window.setCentralWidget(buildCentre(panels));
    buildRightDocks(window, panels);
    return panels;
}

} // namespace Tessaly
