#include "Tour.h"
#include "TourSteps.h"

#include "core/DatasetEntry.h"
#include "plot/ScatterPlot.h"
#include "session/Session.h"
#include "ui/MainPanels.h"
#include "ui/MainWindow.h"
#include "ui/datasets/DatasetListWidget.h"
#include "ui/datasets/DatasetsPanel.h"

#include <QApplication>
#include <QDirIterator>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <memory>

namespace Tessaly {

namespace {

/// Two measurements of one's own, with their session, in a folder that may move.
struct Place {
    QTemporaryDir folder;
    QString name = "Monday";

    QString path(const QString& file) const { return folder.filePath(name + "/" + file); }
    QString session() const { return path("gates.TSY"); }
};

/// Answers the file dialog that an action brings up.
void withFile(const QString& path, const std::function<void()>& action) {
    QTimer user;
    QObject::connect(&user, &QTimer::timeout, &user, [&] {
        if (auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget())) {
            user.stop();
            dialog->findChild<QLineEdit*>("fileNameEdit")->setText(path);
            QMetaObject::invokeMethod(dialog, "accept", Qt::QueuedConnection);
        }
    });
    user.start(50);
    action();
}

void chooseInFileMenu(Tour& tour, const char* entry) {
    tour.clickMenuEntry(tour.openMenu("File"), QString::fromUtf8(entry));
}

void load(Tour& tour, const Place& place) {
    withFile(place.session(), [&] { chooseInFileMenu(tour, "Load Session..."); });
}

void waitUntilRestored(Tour& tour, int datasets) {
    Tour::waitFor([&] { return !tour.window().sessionLoading(); }, "The session is restored.");
    Tour::settle();
    Tour::expect(tour.panels().status->text() == QString("Session loaded: %1 dataset(s)").arg(datasets),
                 "The status line tells how many datasets have come back.");
}

void clear(Tour& tour) {
    QTimer user;
    QObject::connect(&user, &QTimer::timeout, &user, [] {
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
            QTest::mouseClick(box->button(QMessageBox::Ok), Qt::LeftButton);
        }
    });
    user.start(20);
    chooseInFileMenu(tour, "Clear Session");
    Tour::expect(tour.window().datasets().empty(), "The session is empty.");
}

void arrange(Tour& tour, const Place& place) {
    QDir().mkpath(place.folder.filePath(place.name));
    QDirIterator files(tour.dataFolder(), {"*.vqd"}, QDir::Files, QDirIterator::Subdirectories);
    for (const char* copy : {"control.vqd", "treated.vqd"}) {
        Tour::expect(files.hasNext() && QFile::copy(files.next(), place.path(copy)), "A measurement is copied.");
    }
    tour.dropOnWindow(place.folder.filePath(place.name));
    const auto& datasets = tour.window().datasets();
    Tour::waitFor([&] { return datasets.size() == 2 && datasets[1]->featuresLoaded; }, "Both files are loaded.");
    Tour::settle();
    tour.typeInto(tour.panels().rename, "Treated, first donor");
    tour.chooseFeature("xFeatureCombo", "bright_avg");
    const int group = tour.window().addFilterGroup("Single cells");
    FilterRule rule;
    rule.featureName = "area_um";
    rule.minValue = 40.0;
    rule.maxValue = 70.0;
    tour.window().addRuleToGroup(group, rule);
    tour.window().setGroupEnabled(tour.window().activeDatasetId(), group, true);
    tour.typeInto(tour.panels().eventNumber, "7");
}

void save(Tour& tour, const Place& place) {
    tour.openMenu("File");
    tour.picture("file-menu");
    QTest::keyClick(QApplication::activePopupWidget(), Qt::Key_Escape);
    withFile(place.path("gates"), [&] { chooseInFileMenu(tour, "Save Session..."); });
    Tour::settle();
    Tour::expect(tour.panels().status->text() == "Session saved: gates.TSY", "The status line names the file.");
    Tour::expect(QFile::exists(place.session()), "The file is there.");
}

void loadMoved(Tour& tour, Place& place) {
    const auto shown = tour.panels().plot->xData();
    const int event = tour.panels().eventNumber->value();
    clear(tour);
    const QString old = place.folder.filePath(place.name);
    place.name = "Archive of the week";
    Tour::expect(QDir().rename(old, place.folder.filePath(place.name)), "The folder goes elsewhere.");
    load(tour, place);
    waitUntilRestored(tour, 2);
    const auto& datasets = tour.window().datasets();
    Tour::expect(datasets[1]->displayName == "Treated, first donor", "The name has come back.");
    Tour::expect(tour.window().activeDatasetId() == datasets[1]->id, "The same dataset is selected.");
    Tour::expect(tour.panels().plot->xData() == shown, "The same events are plotted.");
    Tour::expect(tour.panels().eventNumber->value() == event, "The same event is looked at.");
    Tour::expect(tour.window().filterGroups().size() == 1, "The group has come back.");
}

void leaveOutMissing(Tour& tour, const Place& place) {
    clear(tour);
    Tour::expect(QFile::rename(place.path("control.vqd"), place.path("control of Monday.vqd")), "A file is renamed.");
    tour.expectBox([&] { load(tour, place); }, "Dataset Not Found", "Would you like to locate it manually?",
                   "dataset-not-found", QMessageBox::No);
    waitUntilRestored(tour, 1);
    Tour::expect(QFile::rename(place.path("control of Monday.vqd"), place.path("control.vqd")), "It is named back.");
}

void goOnWithChanged(Tour& tour, const Place& place) {
    clear(tour);
    QFile changed(place.path("treated.vqd"));
    Tour::expect(changed.open(QIODevice::Append) && changed.write("x") == 1 && changed.flush(), "A file grows.");
    tour.expectBox([&] { load(tour, place); }, "Dataset Changed", "Continue loading this dataset?", "dataset-changed",
                   QMessageBox::Yes);
    waitUntilRestored(tour, 2);
    clear(tour);
}

} // namespace

std::vector<TourStep> sessionSteps() {
    const auto place = std::make_shared<Place>();
    return {{"session-arranged", [place](Tour& tour) { arrange(tour, *place); }},
            {"session-saved", [place](Tour& tour) { save(tour, *place); }},
            {"session-loaded-elsewhere", [place](Tour& tour) { loadMoved(tour, *place); }},
            {"session-without-a-file", [place](Tour& tour) { leaveOutMissing(tour, *place); }},
            {"session-over", [place](Tour& tour) { goOnWithChanged(tour, *place); }}};
}

} // namespace Tessaly
