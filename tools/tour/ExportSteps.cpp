#include "Tour.h"
#include "TourSteps.h"

#include "ui/MainWindow.h"
#include "ui/files/ExportDialog.h"
#include "ui/files/ExportProgress.h"
#include "ui/files/StatSummaryExportDialog.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFileDialog>
#include <QImage>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <optional>

namespace Tessaly {

namespace {

/// Takes an entry of the menu and lets a user answer what comes up, until nothing is left of it.
void takeEntry(Tour& tour, const char* entry, const std::function<void(QWidget&)>& answer) {
    std::optional<TourFailure> failure; // must not fly through a dialog's event loop
    QTimer user;
    QObject::connect(&user, &QTimer::timeout, &user, [&] {
        QWidget* modal = QApplication::activeModalWidget();
        if (!modal || !modal->isVisible() || qobject_cast<ExportProgress*>(modal)) {
            return;
        }
        user.stop();
        Tour::settle();
        try {
            answer(*modal);
        } catch (const TourFailure& found) {
            failure = found;
            modal->close();
        }
        user.start();
    });
    user.start(50);
    tour.clickMenuEntry(tour.openMenu("Export"), entry);
    user.stop();
    Tour::settle();
    if (failure) {
        throw *failure;
    }
}

void clickIn(QWidget& dialog, const char* name) {
    auto* button = dialog.findChild<QAbstractButton*>(name);
    Tour::expect(button && button->isEnabled(), QStringLiteral("\"%1\" can be clicked.").arg(QLatin1String(name)));
    QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(8, button->height() / 2));
    Tour::settle();
}

/// Takes the picture of a box and closes it.
bool closeBox(Tour& tour, QWidget& modal, const QString& text, const QString& picture) {
    auto* box = qobject_cast<QMessageBox*>(&modal);
    if (!box) {
        return false;
    }
    Tour::expect(box->text().startsWith(text),
                 QStringLiteral("The box says \"%1\" (it was \"%2\").").arg(text, box->text()));
    tour.picture(picture);
    QTest::mouseClick(box->button(QMessageBox::Ok), Qt::LeftButton);
    return true;
}

void showMenu(Tour& tour) {
    QMenu* menu = tour.openMenu("Export");
    tour.picture("export-menu");
    QTest::keyClick(menu, Qt::Key_Escape);
}

void exportFigure(Tour& tour) {
    const QTemporaryDir folder;
    for (const char* name : {"figure.png", "figure.svg", "figure.pdf"}) {
        const QString path = folder.filePath(name);
        takeEntry(tour, "Export Plot...", [&](QWidget& modal) {
            auto* dialog = qobject_cast<QFileDialog*>(&modal);
            Tour::expect(dialog != nullptr, "The program asks for a file.");
            dialog->findChild<QLineEdit*>("fileNameEdit")->setText(path);
            QMetaObject::invokeMethod(dialog, "accept");
        });
        Tour::expect(QFileInfo(path).size() > 1000, QStringLiteral("The plot is written as %1.").arg(name));
    }
    Tour::expect(QImage(folder.filePath("figure.png")).size() == QSize(1181, 886), "The figure has its size.");
}

void exportTables(Tour& tour) {
    const QTemporaryDir folder;
    const auto count = tour.window().datasets().size();
    takeEntry(tour, "Export Data...", [&](QWidget& modal) {
        const QString done = QStringLiteral("Exported %1 dataset(s) successfully.").arg(count);
        if (closeBox(tour, modal, done, "export-done")) {
            return;
        }
        Tour::expect(qobject_cast<ExportDialog*>(&modal) != nullptr, "The program asks what to export.");
        clickIn(modal, "aviRadio");
        tour.picture("export-video");
        clickIn(modal, "vqdRadio");
        clickIn(modal, "imagesBox");
        tour.picture("export-data");
        for (const char* choice : {"allDatasetsRadio", "tsvRadio", "customDirectoryBox"}) {
            clickIn(modal, choice);
        }
        auto* field = modal.findChild<QLineEdit*>("directoryEdit");
        field->setFocus();
        QTest::keyClicks(field, folder.path());
        clickIn(modal, "exportButton");
    });
    const auto files = static_cast<std::size_t>(QDir(folder.path()).entryList({"TSYexport_*.tsv"}).size());
    Tour::expect(files == count, "There is a table for every dataset.");
}

void exportSummary(Tour& tour) {
    const QTemporaryDir folder;
    const QString path = folder.filePath("summary.tsv");
    takeEntry(tour, "Export Statistical Summary...", [&](QWidget& modal) {
        if (closeBox(tour, modal, "Statistical summary exported to:", "summary-done")) {
            return;
        }
        Tour::expect(qobject_cast<StatSummaryExportDialog*>(&modal) != nullptr, "The program asks what to write.");
        for (const char* choice : {"allDatasetsRadio", "percentileBox", "meanBox", "sdBox"}) {
            clickIn(modal, choice);
        }
        tour.picture("summary-dialog");
        auto* field = modal.findChild<QLineEdit*>("outputEdit");
        field->setFocus();
        field->selectAll();
        QTest::keyClicks(field, path);
        clickIn(modal, "exportButton");
    });
    QFile table(path);
    Tour::expect(table.open(QIODevice::ReadOnly), "The summary is written.");
    const auto lines = static_cast<std::size_t>(table.readAll().count('\n'));
    Tour::expect(lines == tour.window().datasets().size() + 1, "It has a line for every dataset.");
}

} // namespace

std::vector<TourStep> exportSteps() {
    return {{"export-menu-closed", showMenu},
            {"figures-exported", exportFigure},
            {"tables-exported", exportTables},
            {"summary-exported", exportSummary}};
}

} // namespace Tessaly
