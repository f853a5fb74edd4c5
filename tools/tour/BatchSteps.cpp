#include "Tour.h"
#include "TourSteps.h"

#include "batch/BatchPlan.h"
#include "ui/MainPanels.h"
#include "ui/MainWindow.h"

#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

namespace Tessaly {

namespace {

constexpr const char* entry = "Save Batch Plan...";

/// Takes the entry, types a name into the file dialog, and ends it with a key; takes its picture before.
void savePlan(Tour& tour, const QString& path, Qt::Key key, const QString& picture) {
    bool asked = false;
    QTimer user;
    QObject::connect(&user, &QTimer::timeout, &user, [&] {
        auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
        if (dialog == nullptr || !dialog->isVisible()) {
            return;
        }
        user.stop();
        asked = true;
        auto* field = dialog->findChild<QLineEdit*>("fileNameEdit");
        field->selectAll();
        QTest::keyClicks(field, path);
        Tour::settle();
        tour.picture(picture);
        // The list of names that fit would take the key.
        if (QWidget* list = QApplication::activePopupWidget()) {
            list->close();
        }
        QTest::keyClick(key == Qt::Key_Escape ? static_cast<QWidget*>(dialog) : field, key);
    });
    user.start(50);
    tour.clickMenuEntry(tour.openMenu("File"), QLatin1String(entry));
    Tour::settle();
    Tour::expect(asked, "The program asks for a file.");
}

void refuseWithoutData(Tour& tour) {
    const auto choose = [&] { tour.clickMenuEntry(tour.openMenu("File"), QLatin1String(entry)); };
    tour.expectBox(choose, "Save Batch Plan", "No loaded dataset to take the plan from.", "batch-no-data",
                   QMessageBox::Ok);
}

void showEntry(Tour& tour) {
    QMenu* menu = tour.openMenu("File");
    for (QAction* action : menu->actions()) {
        if (action->text().remove('&') == QLatin1String(entry)) {
            QTest::mouseMove(menu, menu->actionGeometry(action).center());
            menu->setActiveAction(action);
        }
    }
    Tour::settle();
    tour.picture("batch-menu");
    QTest::keyClick(menu, Qt::Key_Escape);
}

void savePlans(Tour& tour) {
    const QTemporaryDir folder;
    const QString path = folder.filePath("plan.json");
    savePlan(tour, path, Qt::Key_Escape, "batch-not-saved");
    Tour::expect(!QFile::exists(path), "Nothing is written on Cancel.");
    savePlan(tour, folder.filePath("plan"), Qt::Key_Return, "batch-file");
    Tour::expect(tour.panels().status->text() == "Batch plan saved: plan.json", "The status line tells its name.");
    const PlanReading reading = readPlanFile(path);
    Tour::expect(reading.problem.isEmpty(), QStringLiteral("The plan can be used (%1).").arg(reading.problem));
    Tour::expect(reading.plan.counts && reading.plan.summary && !reading.plan.summary->features.empty(),
                 "It asks for a summary and counts.");
    Tour::expect(reading.plan.modulus && reading.plan.fourier, "It holds the calculations that were done.");
}

void failToSave(Tour& tour) {
    const QTemporaryDir folder;
    const QString nowhere = folder.filePath("missing/plan.json");
    const auto save = [&] {
        QTimer user;
        QObject::connect(&user, &QTimer::timeout, &user, [&] {
            if (auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget())) {
                user.stop();
                dialog->findChild<QLineEdit*>("fileNameEdit")->setText(nowhere);
                QMetaObject::invokeMethod(dialog, "accept", Qt::QueuedConnection);
            }
        });
        user.start(50);
        tour.clickMenuEntry(tour.openMenu("File"), QLatin1String(entry));
    };
    tour.expectBox(save, "Save Batch Plan", "Could not write:", "batch-not-written", QMessageBox::Ok);
}

} // namespace

std::vector<TourStep> batchRefusalSteps() {
    return {{"batch-refused", refuseWithoutData}};
}

std::vector<TourStep> batchSteps() {
    return {{"batch-menu-closed", showEntry}, {"batch-saved", savePlans}, {"batch-failed", failToSave}};
}

} // namespace Tessaly
