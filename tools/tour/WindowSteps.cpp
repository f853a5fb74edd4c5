#include "Tour.h"
#include "TourFiles.h"
#include "TourSteps.h"

#include "core/DatasetEntry.h"
#include "plot/ScatterPlot.h"
#include "ui/MainPanels.h"
#include "ui/MainWindow.h"

#include <QLabel>
#include <QMenu>
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
    tour.expectBox([&] { tour.dropOnWindow(path); }, "Unsupported Data", "", "unsupported-file", Qt::Key_Return);
    Tour::expect(tour.window().datasets().size() == before, "A foreign file is not listed.");
}

void refuseBrokenFile(Tour& tour) {
    const QTemporaryDir folder;
    const QString path = folder.filePath("broken.vqd");
    writeBrokenFile(path.toStdString());
    const std::size_t before = tour.window().datasets().size();
    tour.expectBox([&] { tour.dropOnWindow(path); }, "Error", "Failed to open: " + path, "broken-file", Qt::Key_Return);
    Tour::expect(tour.window().datasets().size() == before, "A broken file is not listed.");
}

void refuseOtherFiles(Tour& tour) {
    const QTemporaryDir folder;
    const QString path = folder.filePath("notes.txt");
    writeBrokenFile(path.toStdString());
    tour.expectBox([&] { tour.dropOnWindow(path); }, "Invalid File",
                   "Please drop .vqd file(s) or folders containing them.", "other-file", Qt::Key_Return);
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
    tour.expectBox(choose, "Clear Session", "Unsaved changes will be lost.", "clear-question", Qt::Key_Escape);
    Tour::expect(!tour.window().datasets().empty(), "Nothing is closed on Cancel.");
    const QSize large(1400, 900);
    tour.window().resize(large);
}

} // namespace

std::vector<TourStep> windowSteps() {
    return {{"colour-map", changeColourMap},    {"after-unsupported", refuseForeignFile},
            {"after-broken", refuseBrokenFile}, {"after-other", refuseOtherFiles},
            {"small-window", smallWindow},      {"end", clearSession}};
}

} // namespace Tessaly
