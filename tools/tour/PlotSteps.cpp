#include "Tour.h"
#include "TourSteps.h"

#include "core/DatasetEntry.h"
#include "io/VQDReader.h"
#include "plot/ScatterPlot.h"
#include "ui/MainPanels.h"
#include "ui/MainWindow.h"
#include "ui/datasets/DatasetListWidget.h"
#include "ui/datasets/DatasetsPanel.h"
#include "ui/plot/PlotSettingsPanel.h"

#include <QCheckBox>
#include <QComboBox>
#include <QTest>
#include <QWheelEvent>
#include <qwt_scale_div.h>

#include <algorithm>
#include <cmath>

namespace Tessaly {

namespace {

constexpr int LinearRow = 0;
constexpr int LogRow = 1;
constexpr int PseudoLogRow = 2;

// A feature some of whose values a logarithmic axis can't show.
std::string partlyNegativeFeature(VQDReader& reader) {
    for (const std::string& name : reader.featureNames()) {
        const std::vector<double>& values = reader.getFeature(name);
        const auto low = std::count_if(values.begin(), values.end(), [](double v) { return v <= 0.0; });
        if (low > 0 && low < static_cast<std::ptrdiff_t>(values.size()) / 2 && name.starts_with("fl")) {
            return name;
        }
    }
    return {};
}

double shownWidth(const ScatterPlot& plot) {
    return std::abs(plot.axisScaleDiv(QwtAxis::XBottom).range());
}

void showFirstDataset(Tour& tour) {
    DatasetListWidget* list = tour.panels().datasets->list();
    tour.clickRow(list, list->visualItemRect(list->item(0)));
    Tour::expect(tour.window().activeDatasetId() == tour.window().datasets().front()->id,
                 "A click in the list shows the dataset.");
    const PlotSettings settings = tour.panels().plotSettings->settings();
    Tour::expect(settings.xFeatureName == "area_um" && settings.yFeatureName == "deform",
                 "Area against deformation is what is plotted first.");
    Tour::expect(tour.panels().plot->xData().size() > 100, "The plot shows the events.");
}

void colourByDensity(Tour& tour) {
    tour.chooseFeature("colorFeatureCombo", std::string(DensityKde));
    Tour::expect(tour.panels().plot->colorData().size() == tour.panels().plot->xData().size(),
                 "Every point has a density.");
}

void overlayContours(Tour& tour) {
    tour.choose(tour.find<QComboBox>("contourModeCombo"), ContourMode::Overlay);
    Tour::expect(tour.panels().plot->contourCurveCount() >= 2, "Two contour levels are drawn.");
    Tour::expect(tour.panels().plot->isDataVisible(), "Contours lie over the points.");
}

void contoursOnly(Tour& tour) {
    tour.choose(tour.find<QComboBox>("contourModeCombo"), ContourMode::Only);
    Tour::expect(!tour.panels().plot->isDataVisible(), "Contours can stand alone.");
}

void logAxis(Tour& tour) {
    tour.choose(tour.find<QComboBox>("contourModeCombo"), ContourMode::Off);
    const std::string feature = partlyNegativeFeature(*tour.window().datasets().front()->reader);
    Tour::expect(!feature.empty(), "The demo data hold a fluorescence feature with values at or below zero.");
    tour.chooseFeature("xFeatureCombo", feature);
    auto* scale = tour.find<QComboBox>("xScaleCombo");
    tour.choose(scale, LogRow);
    Tour::expect(scale->itemText(LogRow) == QString::fromUtf8("Log ⚠"), "The scale warns of points that it hides.");
    Tour::expect(scale->toolTip().contains("not shown"), "The tool tip counts the points.");
}

void pseudoLogAxis(Tour& tour) {
    auto* scale = tour.find<QComboBox>("xScaleCombo");
    tour.choose(scale, PseudoLogRow);
    Tour::expect(scale->itemText(LogRow) == "Log", "A pseudo-logarithmic axis shows all points.");
    Tour::expect(shownWidth(*tour.panels().plot) > 0, "The axis has a range.");
}

void colourByFeature(Tour& tour) {
    tour.choose(tour.find<QComboBox>("xScaleCombo"), LinearRow);
    tour.chooseFeature("xFeatureCombo", "area_um");
    tour.chooseFeature("colorFeatureCombo", "bright_avg");
    Tour::expect(tour.panels().plot->colorData().size() == tour.panels().plot->xData().size(),
                 "Every point has the colour of its value.");
}

void showIsoelastics(Tour& tour) {
    tour.chooseFeature("colorFeatureCombo", std::string(DensityKde));
    tour.click(tour.find<QCheckBox>("isoelasticsCheck"));
    Tour::expect(tour.panels().plot->isoLineCount() > 0, "Lines of equal stiffness are drawn.");
    tour.click(tour.find<QCheckBox>("isoelasticLabelsCheck"));
    Tour::expect(!tour.panels().plot->isoLabelTexts().isEmpty(), "The lines bear their moduli.");
}

void showWholeIsoelastics(Tour& tour) {
    ScatterPlot* plot = tour.panels().plot;
    QWidget* canvas = plot->canvas();
    const QPoint middle = canvas->rect().center();
    const double before = shownWidth(*plot);
    constexpr QPoint oneNotchBack(0, -120);
    QWheelEvent wheel(middle, canvas->mapToGlobal(middle), {}, oneNotchBack, Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(canvas, &wheel);
    Tour::expect(shownWidth(*plot) > before, "The wheel shows more than the events.");
    const QPoint corner = plot->toCanvas({360.0, -0.003}).toPoint();
    tour.dragTo(canvas, plot->toCanvas({-25.0, 0.18}).toPoint(), corner);
    tour.release(canvas, corner);
    Tour::expect(plot->isoLabelTexts().size() == 11, "The lines are seen from end to end, each with its modulus.");
}

void drawZoomBand(Tour& tour) {
    QWidget* canvas = tour.panels().plot->canvas();
    tour.dragTo(canvas, {canvas->width() / 5, canvas->height() / 3}, {canvas->width() / 2, canvas->height() * 9 / 10});
    Tour::expect(canvas->findChild<QWidget*>("zoomBand")->isVisible(), "A band shows what will be seen.");
}

void zoom(Tour& tour) {
    ScatterPlot* plot = tour.panels().plot;
    QWidget* canvas = plot->canvas();
    const double before = shownWidth(*plot);
    tour.release(canvas, {canvas->width() / 2, canvas->height() * 9 / 10});
    const double share = shownWidth(*plot) / before;
    Tour::expect(share > 0.25 && share < 0.35, "The plot shows three tenths of the width.");
}

void resetZoom(Tour& tour) {
    ScatterPlot* plot = tour.panels().plot;
    QTest::mouseClick(plot->canvas(), Qt::RightButton);
    Tour::settle();
    Tour::expect(plot->axisAutoScale(QwtAxis::XBottom) && plot->axisAutoScale(QwtAxis::YLeft),
                 "A right click shows everything again.");
}

} // namespace

std::vector<TourStep> plotSteps() {
    return {{"area-deformation", showFirstDataset},
            {"density", colourByDensity},
            {"contour-overlay", overlayContours},
            {"contours-only", contoursOnly},
            {"log-axis", logAxis},
            {"pseudo-log-axis", pseudoLogAxis},
            {"colour-by-feature", colourByFeature},
            {"isoelastics", showIsoelastics},
            {"isoelastics-whole", showWholeIsoelastics},
            {"zoom-band", drawZoomBand},
            {"zoomed", zoom},
            {"zoom-reset", resetZoom}};
}

} // namespace Tessaly
