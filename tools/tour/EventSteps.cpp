#include "Tour.h"
#include "TourSteps.h"

#include "core/DatasetEntry.h"
#include "io/VQDReader.h"
#include "plot/ImageViewer.h"
#include "plot/ScatterPlot.h"
#include "plot/TracePlot.h"
#include "ui/MainPanels.h"
#include "ui/MainWindow.h"
#include "ui/event/EventPanel.h"
#include "ui/event/MetadataPanel.h"

#include <QCheckBox>
#include <QLabel>
#include <QSpinBox>
#include <QTabBar>
#include <QTableWidget>
#include <QTreeWidget>

#include <algorithm>

namespace Tessaly {

namespace {

QString imageInfo(Tour& tour) {
    return tour.find<QLabel>("imageInfoLabel")->text();
}

void clickPoint(Tour& tour) {
    ScatterPlot* plot = tour.panels().plot;
    // The plot is coloured by density: this is a typical cell.
    const std::vector<double>& density = plot->colorData();
    const auto typical = static_cast<std::size_t>(std::max_element(density.begin(), density.end()) - density.begin());
    const QPoint position = plot->toCanvas({plot->xData()[typical], plot->yData()[typical]}).toPoint();
    const int nearest = plot->findNearestPoint(plot->toData(position));
    tour.clickAt(plot->canvas(), position);
    Tour::expect(plot->highlightedPoint() == nearest, "The clicked point is marked.");
    const int event = tour.panels().eventNumber->value();
    const DatasetEntry& dataset = *tour.window().session().active();
    Tour::expect(dataset.reader->getFeature("area_um")[static_cast<std::size_t>(event)] ==
                     plot->xData()[static_cast<std::size_t>(nearest)],
                 "The event is the one that was clicked.");
    Tour::expect(imageInfo(tour) == QString("Event %1 (with mask)").arg(event), "Its image is shown with the mask.");
    Tour::expect(tour.panels().event->tracePlot()->hasChannels(), "Its traces are shown.");
}

void hideMask(Tour& tour) {
    tour.click(tour.find<QCheckBox>("showMaskCheck"));
    Tour::expect(imageInfo(tour) == QString("Event %1").arg(tour.panels().eventNumber->value()),
                 "The image can be seen without the mask.");
}

void stepThroughEvents(Tour& tour) {
    tour.click(tour.find<QCheckBox>("showMaskCheck"));
    tour.typeInto(tour.panels().eventNumber, "12");
    Tour::expect(imageInfo(tour) == "Event 12 (with mask)", "An event can be chosen by its number.");
}

void showValues(Tour& tour) {
    QTabBar* tabs = tour.panels().event->tabBar();
    tour.clickAt(tabs, tabs->tabRect(1).center());
    const auto* table = tour.find<QTableWidget>("eventTable");
    Tour::expect(table->isVisible() && table->rowCount() > 10, "The table lists the event's values.");
    const DatasetEntry& dataset = *tour.window().session().active();
    for (int row = 0; row < table->rowCount(); ++row) {
        if (table->item(row, 0)->toolTip() == "area_um") {
            Tour::expect(table->item(row, 1)->text() ==
                             QString::number(dataset.reader->getFeature("area_um")[12], 'g', 6),
                         "The table shows the area of the event.");
            return;
        }
    }
    Tour::expect(false, "The table lists the area.");
}

void showConditions(Tour& tour) {
    QTabBar* tabs = tour.panels().event->tabBar();
    tour.clickAt(tabs, tabs->tabRect(0).center());
    tour.clickDockTab("Calculations");
    Tour::expect(tour.find<QLabel>("channelWidthLabel")->text().endsWith("µm"),
                 "The conditions of the measurement are listed.");
}

void showMetadata(Tour& tour) {
    tour.clickDockTab("Metadata");
    Tour::waitFor([&] { return tour.panels().metadata->topLevelItemCount() >= 3; },
                  "The metadata are listed by section.");
    Tour::expect(tour.panels().metadata->topLevelItem(0)->text(0) == "Experiment", "The experiment comes first.");
}

void compareStatistics(Tour& tour) {
    tour.clickDockTab("Filters");
    const auto* table = tour.find<QTreeWidget>("statisticsTable");
    Tour::expect(table->isVisible() && table->topLevelItemCount() == 7, "Seven figures describe the plot.");
    Tour::expect(table->topLevelItem(0)->text(1) == QString::number(tour.panels().plot->xData().size()),
                 "The statistics count the plotted events.");
}

} // namespace

std::vector<TourStep> eventSteps() {
    return {{"event", clickPoint},
            {"event-without-mask", hideMask},
            {"event-by-number", stepThroughEvents},
            {"event-data", showValues},
            {"conditions", showConditions},
            {"metadata", showMetadata},
            {"statistics", compareStatistics}};
}

} // namespace Tessaly
