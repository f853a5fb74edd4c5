#include "Tour.h"
#include "TourSteps.h"

#include "core/DatasetEntry.h"
#include "plot/ComparePlot.h"
#include "session/Session.h"
#include "tools/combine/AspectRatioLabel.h"
#include "tools/combine/CombineDatasetWidget.h"
#include "tools/combine/CombinePlotWindow.h"
#include "ui/MainWindow.h"
#include "widgets/DatasetDrag.h"

#include <QApplication>
#include <QColorDialog>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QDropEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QPainter>
#include <QPushButton>
#include <QSpinBox>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <functional>
#include <memory>
#include <vector>

namespace Tessaly {

namespace {

CombinePlotWindow& combine(Tour& tour) {
    const auto& open = tour.window().toolWindows().combinePlots();
    Tour::expect(!open.empty(), "A combine window is open.");
    return *open.back();
}

template <typename T>
T* part(Tour& tour, const char* name) {
    T* found = combine(tour).findChild<T*>(name);
    Tour::expect(found != nullptr, QStringLiteral("The combine window has a part \"%1\".").arg(QLatin1String(name)));
    return found;
}

void settle(Tour& tour) {
    Tour::settle();
    Tour::waitFor([&] { return !combine(tour).isRefreshing(); }, "The plots are drawn.");
    Tour::settle();
}

void show(Tour& tour, const QString& name) {
    settle(tour);
    tour.pictureOf(combine(tour), name);
}

std::size_t plots(Tour& tour) {
    settle(tour);
    return combine(tour).plots().size();
}

void click(Tour& tour, const char* name) {
    tour.click(part<QWidget>(tour, name));
    settle(tour);
}

void choose(Tour& tour, const char* name, int row) {
    tour.choose(part<QComboBox>(tour, name), row);
    settle(tour);
}

void clickMenu(Tour& tour, const QString& title, const QString& text) {
    QMenuBar* bar = combine(tour).menuBar();
    for (QAction* action : bar->actions()) {
        if (action->text().remove(u'&') == title) {
            tour.clickAt(bar, bar->actionGeometry(action).center());
            tour.clickMenuEntry(action->menu(), text);
            return;
        }
    }
    Tour::expect(false, QStringLiteral("The combine window has a menu \"%1\".").arg(title));
}

/// Does something that brings up one dialog after the other, and acts on each once it is there.
void withDialogs(const std::function<void()>& action, const std::vector<std::function<void(QWidget&)>>& answers) {
    QTimer timer;
    std::size_t answered = 0;
    const QWidget* last = nullptr;
    QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
        QWidget* dialog = QApplication::activeModalWidget();
        if (dialog && dialog->isVisible() && dialog != last && answered < answers.size()) {
            last = dialog;
            answers[answered++](*dialog);
        }
    });
    timer.start(20);
    action();
    Tour::expect(answered == answers.size(), "The dialogs appear.");
}

template <typename Dialog>
void withDialog(const std::function<void()>& action, const std::function<void(Dialog&)>& answer) {
    withDialogs(action, {[&](QWidget& widget) {
                    if (auto* dialog = qobject_cast<Dialog*>(&widget)) {
                        answer(*dialog);
                    }
                }});
}

/// Drops a dataset of the main window's list onto the window.
bool drop(Tour& tour, int id) {
    const std::unique_ptr<QMimeData> data(datasetMimeData(id));
    CombinePlotWindow& window = combine(tour);
    QDragEnterEvent enter(window.rect().center(), Qt::CopyAction, data.get(), Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&window, &enter);
    QDropEvent drop(window.rect().center(), Qt::CopyAction, data.get(), Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&window, &drop);
    settle(tour);
    return drop.isAccepted();
}

void openEmpty(Tour& tour) {
    tour.clickMenuEntry(tour.openMenu("Tool Windows"), "New Combine Plot...");
    Tour::expect(plots(tour) == 0, "A new window has no plots.");
    show(tour, "combine-empty");
}

void addDatasets(Tour& tour) {
    const auto& datasets = tour.window().datasets();
    Tour::expect(drop(tour, datasets[0]->id), "A dataset can be dropped onto the window.");
    Tour::expect(plots(tour) == 1, "It gets a plot.");
    show(tour, "combine-one");
    Tour::expect(!drop(tour, datasets[0]->id) && plots(tour) == 1, "No dataset is listed twice.");
    withDialog<QDialog>([&] { tour.click(part<QPushButton>(tour, "combineAddButton")); },
                        [&](QDialog& dialog) {
                            auto* list = dialog.findChild<QListWidget*>("addDatasetsList");
                            QTest::mouseClick(list->viewport(), Qt::LeftButton, {},
                                              list->visualItemRect(list->item(0)).center());
                            tour.pictureOf(combine(tour), "combine-add");
                            QTest::keyClick(list, Qt::Key_Return);
                        });
    Tour::expect(plots(tour) == 2, "Another one comes from a list of those that aren't there yet.");
    show(tour, "combine-two");
    while (datasets.size() < 9) {
        tour.window().session().duplicate(datasets.back()->id);
    }
    click(tour, "combineAddAllButton");
    Tour::expect(plots(tour) == datasets.size(), "The others come all at once.");
    show(tour, "combine-nine");
    const QSize size = combine(tour).size();
    combine(tour).resize(1500, 950);
    show(tour, "combine-large");
    combine(tour).resize(combine(tour).minimumSizeHint());
    show(tour, "combine-small");
    combine(tour).resize(size);
}

void sortAndRemove(Tour& tour) {
    auto rows = combine(tour).findChildren<CombineDatasetWidget*>();
    const int first = combine(tour).model().datasets()[0].datasetId;
    QWidget* handle = rows.front()->handle();
    handle->setFocus();
    QTest::keyClick(handle, Qt::Key_Down, Qt::AltModifier);
    settle(tour);
    Tour::expect(combine(tour).model().datasets()[1].datasetId == first, "A row moves with the keys.");
    while (combine(tour).model().count() > 6) {
        Tour::settle();
        tour.click(combine(tour).findChildren<CombineDatasetWidget*>().back()->findChild<QWidget*>("removeButton"));
    }
    Tour::expect(plots(tour) == 6, "Rows are removed one by one.");
    show(tour, "combine-six");
    while (tour.window().datasets().back()->displayName.endsWith(" (copy)")) {
        tour.window().session().remove(tour.window().datasets().back()->id);
    }
}

void colors(Tour& tour) {
    choose(tour, "colorModeCombo", 0);
    show(tour, "combine-heatmap");
    choose(tour, "colorModeCombo", 2);
    show(tour, "combine-uniform");
    choose(tour, "colorModeCombo", 1);
    auto* row = combine(tour).findChildren<CombineDatasetWidget*>().front();
    withDialog<QColorDialog>([&] { tour.click(row->findChild<QWidget*>("colorButton")); },
                             [&](QColorDialog& dialog) {
                                 dialog.setCurrentColor(QColor(200, 0, 120));
                                 dialog.accept();
                             });
    Tour::expect(combine(tour).model().datasets()[0].color == QColor(200, 0, 120), "A row takes another colour.");
    show(tour, "combine-colour");
}

void axesAndContours(Tour& tour) {
    choose(tour, "contourModeCombo", 1);
    show(tour, "combine-contours");
    tour.typeInto(part<QSpinBox>(tour, "innerFractionSpinBox"), "40");
    tour.typeInto(part<QSpinBox>(tour, "outerFractionSpinBox"), "90");
    show(tour, "combine-contour-levels");
    click(tour, "syncAxesCheckBox");
    Tour::expect(part<QDoubleSpinBox>(tour, "xMaxBox")->value() > 0.0, "The boxes show the common limits.");
    show(tour, "combine-common-axes");
    click(tour, "manualLimitsCheckBox");
    tour.typeInto(part<QDoubleSpinBox>(tour, "xMinBox"), "40");
    tour.typeInto(part<QDoubleSpinBox>(tour, "xMaxBox"), "80");
    show(tour, "combine-limits");
    click(tour, "manualLimitsCheckBox");
    click(tour, "isoelasticsCheckBox");
    click(tour, "isoLabelsCheckBox");
    click(tour, "showCountCheckBox");
    show(tour, "combine-isoelastics");
    choose(tour, "contourModeCombo", 2);
    show(tour, "combine-contours-only");
    choose(tour, "contourModeCombo", 0);
}

void arrays(Tour& tour) {
    click(tour, "manualArraySizeCheckBox");
    tour.typeInto(part<QSpinBox>(tour, "arrayColsBox"), "2");
    show(tour, "combine-two-columns");
    tour.typeInto(part<QSpinBox>(tour, "arrayRowsBox"), "1");
    Tour::expect(part<QSpinBox>(tour, "arrayColsBox")->value() == 0, "Rows take the place of columns.");
    show(tour, "combine-one-row");
    click(tour, "manualArraySizeCheckBox");
}

void sharedPlots(Tour& tour) {
    const auto askedFor = [&](int row, QMessageBox::StandardButton answer) {
        withDialog<QMessageBox>([&] { tour.choose(part<QComboBox>(tour, "displayModeCombo"), row); },
                                [&](QMessageBox& box) {
                                    Tour::expect(box.windowTitle() == "Sync Features Required", "The window asks.");
                                    QTest::mouseClick(box.button(answer), Qt::LeftButton);
                                });
        settle(tour);
    };
    askedFor(1, QMessageBox::Ok);
    Tour::expect(plots(tour) == 7, "The array gets a plot of all contours.");
    click(tour, "showLegendCheckBox");
    show(tour, "combine-array-contour");
    choose(tour, "displayModeCombo", 2);
    Tour::expect(plots(tour) == 1, "All datasets share one plot.");
    show(tour, "combine-same-plot");
    choose(tour, "contourModeCombo", 2);
    show(tour, "combine-same-plot-contours");
    choose(tour, "contourModeCombo", 0);
    choose(tour, "displayModeCombo", 0);
}

void logAxes(Tour& tour) {
    auto* row = combine(tour).findChildren<CombineDatasetWidget*>().front();
    auto* feature = row->findChild<QComboBox*>("xFeatureCombo");
    tour.choose(feature, feature->findData("fl1_max"));
    tour.choose(row->findChild<QComboBox*>("xScaleCombo"), 1);
    show(tour, "combine-log");
    Tour::settle();
    row = combine(tour).findChildren<CombineDatasetWidget*>().front();
    tour.choose(row->findChild<QComboBox*>("xScaleCombo"), 2);
    show(tour, "combine-pseudo-log");
    row = combine(tour).findChildren<CombineDatasetWidget*>().front();
    tour.choose(row->findChild<QComboBox*>("xScaleCombo"), 0);
    feature = row->findChild<QComboBox*>("xFeatureCombo");
    tour.choose(feature, feature->findData("area_um"));
}

void statistics(Tour& tour) {
    clickMenu(tour, "View", "Plot Statistics");
    settle(tour);
    Tour::expect(part<QTableWidget>(tour, "combineStatisticsTable")->rowCount() == 6, "Every dataset has its figures.");
    show(tour, "combine-statistics");
    clickMenu(tour, "View", "Plot Statistics");
}

void previewAndExport(Tour& tour) {
    clickMenu(tour, "View", "Export Preview");
    settle(tour);
    const auto& labels = combine(tour).previewLabels();
    Tour::expect(labels.size() == 6, "Every plot is shown as it will be exported.");
    show(tour, "combine-preview");
    const QTemporaryDir folder;
    const QString file = folder.filePath("figure.png");
    const auto nameFile = [&](QWidget& dialog) {
        dialog.findChild<QLineEdit*>("fileNameEdit")->setText(file);
        dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Save)->click();
    };
    const auto chooseGrid = [&](QWidget& dialog) {
        tour.pictureOf(combine(tour), "combine-export-mode");
        for (QPushButton* button : dialog.findChildren<QPushButton*>()) {
            if (button->text() == "Single Grid Image") {
                QTest::mouseClick(button, Qt::LeftButton);
                return;
            }
        }
    };
    withDialogs([&] { clickMenu(tour, "Export", "Export Plots..."); }, {nameFile, chooseGrid});
    const QImage figure(file);
    Tour::expect(figure.size() == QSize(1889, 1240), "The page is as large as six plots and the gaps between them.");
    // What was exported beside what was shown.
    const QImage shown = labels.front()->pixmap(Qt::ReturnByValue).toImage();
    const QImage written = figure.copy(0, 0, shown.width(), shown.height());
    QPixmap pair(shown.width() * 2, shown.height());
    QPainter painter(&pair);
    painter.drawImage(shown.rect(), shown);
    painter.drawImage(shown.rect().translated(shown.width(), 0), written);
    painter.end();
    QLabel both;
    const QPixmap scaled = pair.scaledToWidth(700, Qt::SmoothTransformation);
    both.setPixmap(scaled);
    both.setFixedSize(scaled.size());
    both.show();
    tour.pictureOf(both, "combine-preview-and-export");
}

void closeCombine(Tour& tour) {
    combine(tour).close();
    Tour::settle();
    Tour::expect(tour.window().toolWindows().combinePlots().empty(), "The window is gone when it is closed.");
    tour.window().activateWindow();
    Tour::settle();
}

} // namespace

std::vector<TourStep> combineSteps() {
    return {{"combine-opened", openEmpty},       {"combine-filled", addDatasets},   {"combine-sorted", sortAndRemove},
            {"combine-coloured", colors},        {"combine-axes", axesAndContours}, {"combine-arrays", arrays},
            {"combine-shared", sharedPlots},     {"combine-log-axes", logAxes},     {"combine-figures", statistics},
            {"combine-paper", previewAndExport}, {"combine-closed", closeCombine}};
}

} // namespace Tessaly
