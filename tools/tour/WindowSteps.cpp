#include "Tour.h"
#include "TourFiles.h"
#include "TourSteps.h"

#include "core/DatasetEntry.h"
#include "plot/ScatterPlot.h"
#include "ui/MainPanels.h"
#include "ui/MainWindow.h"

#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QTemporaryDir>

namespace Tessaly {

namespace {

constexpr int PlasmaIndex = 3;

void changeColourMap(Tour& tour) {
    QMenu* settings = tour.openMenu("Settings");
    tour.clickMenuEntry(settings, "Color Map");
    auto* maps = tour.window().findChild<QMenu*>("colorMapMenu");
    Tour::waitFor([&] { return maps->isVisible(); }, "The list of colour maps opens.", 3000);
    tour.picture("colour-map-menu");
    tour.clickMenuEntry(maps, "Plasma");
    Tour::expect(tour.window().colorMapIndex() == PlasmaIndex, "The chosen colour map is in use.");
    Tour::expect(tour.panels().plot->colorMapIndex() == PlasmaIndex, "The plot follows.");
}

void refuseForeignFile(Tour& tour) {
    const QTemporaryDir folder;
    const QString path = folder.filePath("foreign.vqd");
    writeForeignFile(path.toStdString());
    const std::size_t before = tour.window().datasets().size();
    tour.expectBox([&] { tour.dropOnWindow(path); }, "Unsupported Data", "", "unsupported-file", QMessageBox::Ok);
    Tour::expect(tour.window().datasets().size() == before, "A foreign file is not listed.");
}

void refuseBrokenFile(Tour& tour) {
    const QTemporaryDir folder;
    const QString path = folder.filePath("broken.vqd");
    writeBrokenFile(path.toStdString());
    const std::size_t before = tour.window().datasets().size();
    tour.expectBox([&] { tour.dropOnWindow(path); }, "Error", "Failed to open: " + path, "broken-file",
                   QMessageBox::Ok);
    Tour::expect(tour.window().datasets().size() == before, "A broken file is not listed.");
}

void refuseOtherFiles(Tour& tour) {
    const QTemporaryDir folder;
    const QString path = folder.filePath("notes.txt");
    writeBrokenFile(path.toStdString());
    tour.expectBox([&] { tour.dropOnWindow(path); }, "Invalid File",
                   "Please drop .vqd file(s) or folders containing them.", "other-file", QMessageBox::Ok);
}

void smallWindow(Tour& tour) {
    const QSize small(1024, 700);
    tour.window().resize(small);
    Tour::settle();
    Tour::expect(tour.window().size() == small,
                 QStringLiteral("The window fits on a screen of 1024 x 700 (it is %1 x %2).")
                     .arg(tour.window().width())
                     .arg(tour.window().height()));
}

void clearSession(Tour& tour) {
    // Changing one's mind keeps everything.
    const auto choose = [&] { tour.clickMenuEntry(tour.openMenu("File"), "Clear Session"); };
    tour.expectBox(choose, "Clear Session", "Unsaved changes will be lost.", "clear-question", QMessageBox::Cancel);
    Tour::expect(!tour.window().datasets().empty(), "Nothing is closed on Cancel.");
    tour.expectBox(choose, "Clear Session", "Continue?", "clear-confirmed", QMessageBox::Ok);
    Tour::expect(tour.window().datasets().empty(), "The session is empty on OK.");
    Tour::expect(tour.panels().status->text() == "No file loaded.", "The status line says so.");
    Tour::expect(tour.panels().plot->xData().empty(), "The plot is empty.");
}

} // namespace

std::vector<TourStep> windowSteps() {
    return {{"colour-map", changeColourMap},    {"after-unsupported", refuseForeignFile},
            {"after-broken", refuseBrokenFile}, {"after-other", refuseOtherFiles},
            {"small-window", smallWindow},      {"cleared", clearSession}};
}

} // namespace Tessaly
