#include "Tour.h"
#include "TourSteps.h"

#include "core/DatasetEntry.h"
#include "io/VQDReader.h"
#include "plot/ScatterPlot.h"
#include "plot/TracePlot.h"
#include "session/CalculationJobs.h"
#include "ui/MainPanels.h"
#include "ui/MainWindow.h"
#include "ui/calculations/EModQualityDialog.h"
#include "ui/datasets/DatasetListWidget.h"
#include "ui/datasets/DatasetsPanel.h"
#include "ui/event/EventPanel.h"

#include <QApplication>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSpinBox>
#include <QTableWidget>
#include <QTest>

#include <algorithm>

namespace Tessaly {

namespace {

enum Page { Modulus, Compensation, Refinement, Fourier };
constexpr int LinearRow = 0;
constexpr int PseudoLogRow = 2;

void showPage(Tour& tour, Page page) {
    tour.choose(tour.find<QComboBox>("calculationCombo"), page);
}

void clickBox(Tour& tour, const char* name) {
    auto* box = tour.find<QAbstractButton>(name);
    tour.clickAt(box, QPoint(8, box->height() / 2));
}

/// Starts a calculation for all datasets; it goes on when this returns.
void startForAll(Tour& tour, const char* applyToAll, const char* button) {
    clickBox(tour, applyToAll);
    auto* start = tour.find<QPushButton>(button);
    tour.click(start);
    // A short one may be over by now.
    Tour::expect(!start->isEnabled() || !tour.find<QProgressBar>("calculationProgress")->isVisible(),
                 "A calculation that runs can't be started again.");
}

void waitForEnd(Tour& tour) {
    const auto* progress = tour.find<QProgressBar>("calculationProgress");
    Tour::waitFor([progress] { return !progress->isVisible(); }, "The calculation comes to its end.", 120000);
    Tour::settle();
}

std::ptrdiff_t countWith(Tour& tour, bool DatasetEntry::*flag) {
    return std::ranges::count_if(tour.window().datasets(), [flag](const auto& dataset) { return (*dataset).*flag; });
}

std::ptrdiff_t datasetCount(Tour& tour) {
    return static_cast<std::ptrdiff_t>(tour.window().datasets().size());
}

void refineAll(Tour& tour) {
    tour.clickDockTab("Calculations");
    showPage(tour, Refinement);
    startForAll(tour, "refinementApplyToAll", "refineButton");
}

void showRefinedTrace(Tour& tour) {
    waitForEnd(tour);
    Tour::expect(countWith(tour, &DatasetEntry::flRefinementApplied) == datasetCount(tour),
                 "The fluorescence of every dataset is refined.");
    // The event shown whose stray light was the brightest.
    const Session& session = tour.window().session();
    const std::vector<double>& before = session.active()->reader->getFeature("fl1_max");
    const std::vector<double>& after = session.active()->reader->getFeature("fl1_max_rf");
    const std::vector<int> shown = session.passingEvents(*session.active()).value_or(std::vector<int>{0});
    const int event = *std::ranges::max_element(shown, {}, [&](int i) {
        const auto place = static_cast<std::size_t>(i);
        return before[place] - after[place];
    });
    tour.typeInto(tour.panels().eventNumber, QString::number(event));
    Tour::expect(tour.panels().event->tracePlot()->channels().front().traceName == "fl1_median_rf",
                 "Refined traces take the place of the median ones.");
}

void showMedianTrace(Tour& tour) {
    clickBox(tour, "showRefinedTraceCheckBox");
    Tour::expect(tour.panels().event->tracePlot()->channels().front().traceName == "fl1_median",
                 "The median traces can be looked at again.");
}

void typeCell(QTableWidget* table, int row, int column, const QString& text) {
    QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, table->visualItemRect(table->item(row, column)).center());
    QTest::keyClick(table, text[0].toLatin1());
    auto* editor = table->viewport()->findChild<QLineEdit*>();
    Tour::expect(editor != nullptr, "A cell of the table can be typed into.");
    QTest::keyClicks(editor, text.mid(1));
    QTest::keyClick(editor, Qt::Key_Return);
    Tour::settle();
    Tour::expect(table->item(row, column)->text() == text, "The table takes the number.");
}

void enterSpillover(Tour& tour) {
    clickBox(tour, "showRefinedTraceCheckBox");
    showPage(tour, Compensation);
    auto* table = tour.find<QTableWidget>("spilloverTable");
    Tour::expect(table->rowCount() == 3, "The table has a row for each channel.");
    // What the demo files name as the dyes' spillover.
    typeCell(table, 1, 0, "0.12");
    typeCell(table, 2, 1, "0.05");
}

void compensateAll(Tour& tour) {
    startForAll(tour, "compensationApplyToAll", "compensateButton");
    waitForEnd(tour);
    Tour::expect(countWith(tour, &DatasetEntry::ctcApplied) == datasetCount(tour), "Every dataset is compensated.");
    tour.chooseFeature("xFeatureCombo", "fl1_max_ctc");
    tour.chooseFeature("yFeatureCombo", "fl2_max_ctc");
    tour.choose(tour.find<QComboBox>("xScaleCombo"), PseudoLogRow);
    tour.choose(tour.find<QComboBox>("yScaleCombo"), PseudoLogRow);
    Tour::expect(tour.panels().plot->xData().size() > 100, "Compensated heights are plotted.");
}

void computeFourier(Tour& tour) {
    showPage(tour, Fourier);
    startForAll(tour, "fourierApplyToAll", "fourierButton");
    const auto* progress = tour.find<QProgressBar>("calculationProgress");
    Tour::waitFor([progress] { return !progress->isVisible() || progress->value() > 30; },
                  "The progress bar tells how far the calculation is.");
}

void plotFourier(Tour& tour) {
    waitForEnd(tour);
    Tour::expect(countWith(tour, &DatasetEntry::fourierApplied) == datasetCount(tour),
                 "Every dataset has Fourier deformations.");
    tour.choose(tour.find<QComboBox>("xScaleCombo"), LinearRow);
    tour.choose(tour.find<QComboBox>("yScaleCombo"), LinearRow);
    tour.chooseFeature("xFeatureCombo", "deform");
    tour.chooseFeature("yFeatureCombo", "deform_fc");
    Tour::expect(tour.panels().plot->xData().size() > 100, "The deformations are plotted against each other.");
}

void computeModuli(Tour& tour) {
    showPage(tour, Modulus);
    startForAll(tour, "modulusApplyToAll", "computeModulusButton");
    waitForEnd(tour);
    for (const auto& dataset : tour.window().datasets()) {
        Tour::expect(dataset->emodApplied != isInReservoir(*dataset),
                     "Moduli are there for every dataset but that of the reservoir.");
    }
    tour.chooseFeature("xFeatureCombo", "area_um");
    tour.chooseFeature("yFeatureCombo", "emodulus");
    Tour::expect(tour.panels().plot->xData().size() > 100, "Moduli are plotted.");
}

EModQualityDialog* qualityDialog(Tour& tour) {
    return tour.window().findChild<EModQualityDialog*>();
}

void openQuality(Tour& tour) {
    tour.click(tour.find<QPushButton>("assessQualityButton"));
    Tour::expect(qualityDialog(tour) != nullptr && qualityDialog(tour)->isVisible(),
                 "A dialog tells how far the moduli can be trusted.");
}

void closeQuality(Tour& tour) {
    QTest::keyClick(qualityDialog(tour), Qt::Key_Escape);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    Tour::expect(qualityDialog(tour) == nullptr, "Escape closes the dialog.");
}

void assessAll(Tour& tour) {
    closeQuality(tour);
    clickBox(tour, "assessFilteredCheckBox");
    openQuality(tour);
}

void setTemperature(Tour& tour) {
    closeQuality(tour);
    clickBox(tour, "assessFilteredCheckBox");
    const QString before = tour.find<QDoubleSpinBox>("viscositySpinBox")->text();
    clickBox(tour, "temperatureManual");
    tour.typeInto(tour.find<QDoubleSpinBox>("temperatureSpinBox"), "30");
    Tour::expect(tour.find<QDoubleSpinBox>("viscositySpinBox")->text() != before,
                 "The viscosity follows the temperature.");
}

void useEventTemperatures(Tour& tour) {
    clickBox(tour, "temperatureEvent");
    Tour::expect(!tour.find<QDoubleSpinBox>("temperatureSpinBox")->isVisible(),
                 "Events with their own temperatures need no other.");
}

void showReservoir(Tour& tour) {
    clickBox(tour, "temperatureMeta");
    const auto& datasets = tour.window().datasets();
    const auto reservoir = std::ranges::find_if(datasets, [](const auto& each) { return isInReservoir(*each); });
    Tour::expect(reservoir != datasets.end(), "There is a dataset of the reservoir.");
    QListWidget* list = tour.panels().datasets->list();
    tour.clickRow(list, list->visualItemRect(list->item(static_cast<int>(reservoir - datasets.begin()))));
    Tour::expect(!tour.find<QPushButton>("computeModulusButton")->isEnabled(),
                 "Cells of the reservoir aren't deformed and have no modulus.");
}

void goBack(Tour& tour) {
    QListWidget* list = tour.panels().datasets->list();
    tour.clickRow(list, list->visualItemRect(list->item(1)));
    tour.chooseFeature("yFeatureCombo", "deform");
    tour.clickDockTab("Filters");
}

} // namespace

std::vector<TourStep> calculationSteps() {
    return {{"refining", refineAll},
            {"refined-trace", showRefinedTrace},
            {"median-trace", showMedianTrace},
            {"spillover", enterSpillover},
            {"compensated", compensateAll},
            {"fourier-running", computeFourier},
            {"fourier-deformation", plotFourier},
            {"moduli", computeModuli},
            {"quality", openQuality},
            {"quality-of-all", assessAll},
            {"temperature-set", setTemperature},
            {"temperature-of-events", useEventTemperatures},
            {"reservoir", showReservoir},
            {"after-calculations", goBack}};
}

} // namespace Tessaly
