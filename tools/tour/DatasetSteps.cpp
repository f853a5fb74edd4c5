#include "Tour.h"
#include "TourSteps.h"

#include "core/DatasetEntry.h"
#include "plot/ScatterPlot.h"
#include "ui/MainPanels.h"
#include "ui/MainWindow.h"
#include "ui/datasets/DatasetListWidget.h"
#include "ui/datasets/DatasetTreeWidget.h"
#include "ui/datasets/DatasetsPanel.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>

namespace Tessaly {

namespace {

void showFolders(Tour& tour) {
    tour.choose(tour.find<QComboBox>("datasetModeCombo"), 1);
    DatasetTreeWidget* tree = tour.panels().datasets->tree();
    Tour::expect(tree->isVisible() && tree->topLevelItemCount() > 0 && tree->topLevelItem(0)->childCount() > 0,
                 "The datasets are shown in their folders.");
    QTreeWidgetItem* second = tree->itemOfId(tour.window().datasets()[1]->id);
    tour.clickRow(tree, tree->visualItemRect(second));
    Tour::expect(tour.window().activeDatasetId() == tour.window().datasets()[1]->id,
                 "A click in the tree shows the dataset.");
}

void reorder(Tour& tour) {
    tour.choose(tour.find<QComboBox>("datasetModeCombo"), 0);
    DatasetsPanel* panel = tour.panels().datasets;
    DatasetListWidget* list = panel->list();
    tour.clickRow(list, list->visualItemRect(list->item(0)));
    const int first = tour.window().activeDatasetId();
    // Without a window system nothing can be dragged out of a list: this is what a drop asks for.
    emit list->internalReorderRequested(0, 3);
    Tour::settle();
    Tour::expect(tour.window().datasets()[2]->id == first, "The dataset has moved down by two.");
    Tour::expect(tour.window().activeDatasetId() == first && panel->currentRow() == 2, "It is still the active one.");
}

void rename(Tour& tour) {
    tour.typeInto(tour.panels().rename, "Healthy <donor 1>");
    const DatasetListWidget* list = tour.panels().datasets->list();
    Tour::expect(list->item(2)->text().contains("Healthy &lt;donor 1&gt;"), "The list shows the new name.");
    Tour::expect(tour.panels().status->text().startsWith("Loaded: Healthy <donor 1> ("),
                 "The status line shows the new name.");
}

void duplicate(Tour& tour) {
    DatasetListWidget* list = tour.panels().datasets->list();
    const std::size_t before = tour.window().datasets().size();
    QMenu* menu = tour.openContextMenu(list, list->visualItemRect(list->item(2)));
    tour.picture("dataset-menu");
    tour.clickMenuEntry(menu, "Duplicate Dataset");
    Tour::expect(tour.window().datasets().size() == before + 1, "There is one dataset more.");
    Tour::expect(tour.window().datasets().back()->displayName == "Healthy <donor 1> (copy)",
                 "The copy is named after its source.");
}

void remove(Tour& tour) {
    DatasetListWidget* list = tour.panels().datasets->list();
    const std::size_t before = tour.window().datasets().size();
    const int last = list->count() - 1;
    QMenu* menu = tour.openContextMenu(list, list->visualItemRect(list->item(last)));
    tour.clickMenuEntry(menu, "Remove Dataset");
    Tour::expect(tour.window().datasets().size() == before - 1, "The copy is gone.");
    tour.clickRow(list, list->visualItemRect(list->item(2)));
}

void filter(Tour& tour) {
    FilterRule rule;
    rule.featureName = "area_um";
    rule.minValue = 40.0;
    rule.maxValue = 90.0;
    const std::size_t before = tour.panels().plot->xData().size();
    tour.window().session().active()->filter.addRule(rule);
    tour.window().onFilterChanged();
    Tour::settle();
    const std::size_t shown = tour.panels().plot->xData().size();
    Tour::expect(shown > 0 && shown < before, "The filter lets a part of the events pass.");
    Tour::expect(tour.panels().status->text().contains("pass filter"), "The status line tells how many pass.");
    Tour::expect(tour.find<QLabel>("eventCountLabel")->text().contains(" events shown ("),
                 "The filter dock tells how many pass.");
}

void showExcluded(Tour& tour) {
    tour.click(tour.find<QCheckBox>("showExcludedCheckBox"));
    for (const double area : tour.panels().plot->xData()) {
        Tour::expect(area < 40.0 || area > 90.0, "Only events that the filter rejects are shown.");
    }
    Tour::expect(!tour.panels().plot->xData().empty(), "Rejected events are shown.");
}

void switchFilterOff(Tour& tour) {
    tour.click(tour.find<QCheckBox>("showExcludedCheckBox"));
    const std::size_t filtered = tour.panels().plot->xData().size();
    tour.click(tour.find<QCheckBox>("filteringEnabledCheckBox"));
    Tour::expect(tour.panels().plot->xData().size() > filtered, "Without filtering there are more events.");
}

void applyToAll(Tour& tour) {
    auto* button = tour.find<QPushButton>("applyToAllButton");
    tour.choose(tour.find<QComboBox>("contourModeCombo"), ContourMode::Overlay);
    Tour::expect(!button->styleSheet().isEmpty(), "The button lights up when datasets are plotted differently.");
    tour.picture("settings-differ");
    tour.click(button);
    Tour::expect(button->styleSheet().isEmpty(), "All datasets are plotted alike.");
    for (const auto& dataset : tour.window().datasets()) {
        Tour::expect(dataset->contourMode == ContourMode::Overlay, "Every dataset has got the contours.");
    }
}

} // namespace

std::vector<TourStep> datasetSteps() {
    return {{"folders", showFolders},
            {"reordered", reorder},
            {"renamed", rename},
            {"duplicated", duplicate},
            {"removed", remove},
            {"filtered", filter},
            {"excluded", showExcluded},
            {"filter-off", switchFilterOff},
            {"settings-for-all", applyToAll}};
}

} // namespace Tessaly
