#include "Tour.h"
#include "TourSteps.h"

#include "core/DatasetEntry.h"
#include "ui/MainPanels.h"
#include "ui/MainWindow.h"
#include "ui/datasets/DatasetListWidget.h"
#include "ui/datasets/DatasetsPanel.h"

#include <QDirIterator>
#include <QLabel>

namespace Tessaly {

namespace {

int measurementFileCount(const QString& folder) {
    int count = 0;
    QDirIterator files(folder, {QStringLiteral("*.vqd")}, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        files.next();
        ++count;
    }
    return count;
}

// Loaded datasets come before those that still wait.
bool loadedInOrder(const MainWindow& window) {
    bool waiting = false;
    for (const auto& dataset : window.datasets()) {
        if (dataset->featuresLoaded && waiting) {
            return false;
        }
        waiting = waiting || !dataset->featuresLoaded;
    }
    return true;
}

void lookAtEmptyWindow(Tour& tour) {
    Tour::expect(tour.panels().status->text() == "No file loaded. Drag and drop a .vqd file or use File > Open.",
                 "The empty window says how to open a file.");
    Tour::expect(tour.window().datasets().empty(), "The window starts without datasets.");
}

void dropFolder(Tour& tour) {
    Tour::expect(measurementFileCount(tour.dataFolder()) >= 4,
                 "The data folder holds at least four measurement files.");
    tour.dropOnWindow(tour.dataFolder());
    Tour::expect(tour.panels().status->text().startsWith("Loading: "), "The status line tells what is being loaded.");
}

void waitForDatasets(Tour& tour) {
    MainWindow& window = tour.window();
    const auto expected = static_cast<std::size_t>(measurementFileCount(tour.dataFolder()));
    bool inOrder = true;
    Tour::waitFor(
        [&] {
            inOrder = inOrder && loadedInOrder(window);
            return window.datasets().size() == expected && window.datasets().back()->featuresLoaded;
        },
        "All files of the folder are loaded.", 120000);
    Tour::expect(inOrder, "Files are loaded one after the other.");
    Tour::settle();
    Tour::expect(tour.panels().datasets->list()->count() == static_cast<int>(expected), "Every dataset has its row.");
    Tour::expect(tour.panels().status->text().startsWith("Loaded: "), "The status line tells what is shown.");
}

} // namespace

std::vector<TourStep> loadingSteps() {
    return {{"empty", lookAtEmptyWindow}, {"loading", dropFolder}, {"datasets", waitForDatasets}};
}

} // namespace Tessaly
