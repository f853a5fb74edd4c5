#include "core/VQDMetadata.h"
#include "ui/calculations/CalculationsDockWidget.h"
#include "ui/calculations/CoveragePlot.h"
#include "ui/calculations/EModQualityDialog.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPainterPath>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QTableWidget>
#include <QTest>
#include <qwt_plot_curve.h>
#include <qwt_plot_shapeitem.h>
#include <qwt_text.h>

#include <gtest/gtest.h>

namespace Tessaly {

namespace {

class CalculationsDockTest : public testing::Test {
protected:
    CalculationsDockTest() {
        dock.resize(320, 600);
        dock.show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&dock));
    }

    template <typename T>
    T* find(const char* name) {
        T* found = dock.findChild<T*>(QLatin1String(name));
        EXPECT_NE(found, nullptr) << name;
        return found;
    }
    void showPage(int row) {
        auto* combo = find<QComboBox>("calculationCombo");
        while (combo->currentIndex() != row) {
            QTest::keyClick(combo, combo->currentIndex() < row ? Qt::Key_Down : Qt::Key_Up);
        }
    }
    void click(const char* name) {
        auto* button = find<QAbstractButton>(name);
        QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(8, button->height() / 2));
    }
    QStringList labels() {
        QStringList texts;
        for (const char* name : {"mediumLabel", "channelWidthLabel", "flowRateLabel", "pixelSizeLabel"}) {
            texts << find<QLabel>(name)->text();
        }
        return texts;
    }
    static VQDMetadata conditions(const char* medium) {
        VQDMetadata metadata;
        metadata.setup = {{"medium", medium}, {"channel width", "30"}, {"flow rate", "0.16"}, {"temperature", "20"}};
        metadata.imaging = {{"pixel size", "0.34"}};
        return metadata;
    }

    CalculationsDockWidget dock;
};

} // namespace

TEST_F(CalculationsDockTest, EachMediumHasItsNameItsCodeAndItsModel) {
    struct Case {
        const char* text;
        const char* shown;
        int code;
        const char* model;
        int modelNumber;
    };
    const Case cases[] = {
        {"Sorvex", "Sorvex", 0, "Herold-2017", 0},        {"SorvexB", "SorvexB", 1, "Herold-2017", 0},
        {"Water", "Water", 2, "Kestin-1978", 1},          {"water", "Water", 2, "Kestin-1978", 1},
        {"0.83% MC-PBS", "0.83% MC-PBS", 3, "Manual", 3}, {"MC-PBS 0.83%", "0.83% MC-PBS", 3, "Manual", 3},
        {"SORVEX", "SORVEX (unknown)", 4, "Manual", 3},   {"", "— (unknown)", 4, "Manual", 3}};
    for (const Case& c : cases) {
        const VQDMetadata metadata = conditions(c.text);
        dock.setDatasetMetadata(&metadata);
        EXPECT_EQ(labels(), QStringList({c.shown, "30 µm", "0.16 µL/s", "0.34 µm"}));
        const auto* model = find<QComboBox>("viscosityModelCombo");
        EXPECT_EQ(model->count(), 1);
        EXPECT_EQ(model->currentText(), c.model);
        const auto* viscosity = find<QDoubleSpinBox>("viscositySpinBox");
        EXPECT_EQ(viscosity->isReadOnly(), c.modelNumber != 3) << c.text;
        for (const EModulusParams& params : {dock.emodulusParams(), dock.emodulusParamsFor(metadata)}) {
            EXPECT_EQ(params.medium, c.code) << c.text;
            EXPECT_EQ(params.viscosityModel, c.modelNumber) << c.text;
        }
    }
    dock.setDatasetMetadata(nullptr);
    EXPECT_EQ(labels(), QStringList(4, "—"));
}

TEST_F(CalculationsDockTest, ViscosityFollowsTheTemperatureUnlessItIsSetByHand) {
    VQDMetadata metadata = conditions("water");
    dock.setDatasetMetadata(&metadata, true);
    auto* viscosity = find<QDoubleSpinBox>("viscositySpinBox");
    auto* temperature = find<QDoubleSpinBox>("temperatureSpinBox");
    // Water at 20 degrees, the reference point of the formula, and at 25 by hand: d = -5, exponent
    // (1.2364 + 0.00685 + 0.0001425) * -5 / 121 = -0.051380, 1.002 * 10^-0.051380 = 0.8902.
    EXPECT_EQ(viscosity->value(), 1.002);
    EXPECT_TRUE(temperature->isReadOnly());
    EXPECT_EQ(dock.emodulusParams().temperatureSource, TemperatureSource::Metadata);
    QSignalSpy changed(&dock, &CalculationsDockWidget::conditionsChanged);
    click("temperatureManual");
    EXPECT_FALSE(temperature->isReadOnly());
    temperature->setFocus();
    temperature->selectAll();
    QTest::keyClicks(temperature, "25");
    QTest::keyClick(temperature, Qt::Key_Return);
    EXPECT_EQ(viscosity->value(), 0.890);
    EXPECT_GE(changed.size(), 2);
    EXPECT_EQ(dock.emodulusParams().temperature, 25.0);
    EXPECT_EQ(dock.emodulusParamsFor(metadata, true).temperature, 25.0);
    click("temperatureMeta");
    EXPECT_EQ(temperature->value(), 20.0);
    EXPECT_EQ(viscosity->value(), 1.002);
    click("temperatureEvent");
    EXPECT_FALSE(temperature->isVisible());
    EXPECT_EQ(dock.emodulusParams().temperatureSource, TemperatureSource::PerEvent);
    EXPECT_EQ(dock.emodulusParamsFor(metadata, true).temperatureSource, TemperatureSource::PerEvent);
    EXPECT_EQ(dock.emodulusParamsFor(metadata, false).temperatureSource, TemperatureSource::Manual);
    // A dataset without a temperature of each event takes the choice back.
    metadata.setup["temperature"] = "-1";
    metadata.setup["medium"] = "0.83% MC-PBS";
    dock.setDatasetMetadata(&metadata, false);
    EXPECT_FALSE(find<QRadioButton>("temperatureEvent")->isEnabled());
    EXPECT_TRUE(find<QRadioButton>("temperatureMeta")->isChecked());
    EXPECT_TRUE(temperature->isVisible());
    EXPECT_EQ(temperature->value(), 23.0) << "the file's temperature makes no sense";
    viscosity->setFocus();
    viscosity->selectAll();
    QTest::keyClicks(viscosity, "7.5");
    QTest::keyClick(viscosity, Qt::Key_Return);
    EXPECT_EQ(dock.emodulusParams().viscosity, 7.5);
    EXPECT_EQ(dock.emodulusParamsFor(metadata).viscosity, 7.5);
    const VQDMetadata water = conditions("water");
    EXPECT_NEAR(dock.emodulusParamsFor(water).viscosity, 1.002, 1e-12) << "water needs no number of the user";
}

TEST_F(CalculationsDockTest, WhatAFileDoesNotStateIsSaidAndCountsAsNothingForTheDatasetShown) {
    VQDMetadata metadata = conditions("Sorvex");
    dock.setDatasetMetadata(&metadata);
    const auto* missing = find<QLabel>("missingConditionsLabel");
    EXPECT_FALSE(missing->isVisible());
    metadata.setup["flow rate"] = "fast";
    metadata.setup["channel width"] = "0";
    metadata.imaging.clear();
    dock.setDatasetMetadata(&metadata);
    EXPECT_TRUE(missing->isVisible());
    EXPECT_EQ(missing->text(), "⚠ The file doesn't state: channel width, flow rate, pixel size.");
    const EModulusParams shown = dock.emodulusParams();
    EXPECT_EQ(shown.channelWidth, 0.0);
    EXPECT_EQ(shown.flowRate, 0.0);
    EXPECT_EQ(shown.pixelSize, 0.0);
    const EModulusParams batch = dock.emodulusParamsFor(metadata);
    EXPECT_EQ(batch.flowRate, 0.04);
    EXPECT_EQ(batch.pixelSize, 0.34);
    dock.setDatasetMetadata(nullptr);
    EXPECT_FALSE(missing->isVisible());
}

TEST_F(CalculationsDockTest, TheChoiceOfDeformationIsKeptAndCountsOnlyWhenOffered) {
    auto* source = find<QComboBox>("deformationSourceCombo");
    dock.fillDeformationSources(true, false, false);
    EXPECT_FALSE(source->isVisible());
    dock.fillDeformationSources(true, true, true);
    EXPECT_TRUE(source->isVisible());
    QTest::keyClick(source, Qt::Key_End);
    EXPECT_EQ(dock.emodulusParams().deformFeature, "deform_odd");
    EXPECT_FALSE(dock.emodulusParams().pixelationCorrection);
    dock.fillDeformationSources(true, false, true);
    EXPECT_EQ(dock.emodulusParamsFor({}).deformFeature, "deform_odd");
    dock.fillDeformationSources(false, false, true);
    EXPECT_FALSE(source->isVisible());
    EXPECT_EQ(dock.emodulusParams().deformFeature, "deform");
    EXPECT_TRUE(dock.emodulusParams().pixelationCorrection);
    dock.fillDeformationSources(true, true, false);
    EXPECT_EQ(dock.emodulusParams().deformFeature, "deform") << "the former choice is gone";
}

TEST_F(CalculationsDockTest, TheTableHoldsTheSpilloverMatrix) {
    showPage(1);
    auto* table = find<QTableWidget>("spilloverTable");
    dock.setChannels({1, 3});
    EXPECT_EQ(table->horizontalHeaderItem(1)->text(), "FL-3");
    EXPECT_EQ(table->verticalHeaderItem(0)->text(), "FL-1");
    EXPECT_EQ(table->item(0, 0)->text(), "1.0");
    EXPECT_EQ(table->item(0, 0)->background().color(), QColor(230, 230, 230));
    EXPECT_EQ(table->item(0, 1)->text(), "0.0");
    EXPECT_EQ(dock.spilloverMatrix(), (SquareMatrix{{1, 0}, {0, 1}}));
    const auto type = [&](int row, int column, const char* text) {
        const QRect cell = table->visualItemRect(table->item(row, column));
        QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, cell.center());
        QTest::keyClick(table, text[0]);
        if (auto* editor = table->viewport()->findChild<QLineEdit*>()) {
            QTest::keyClicks(editor, text + 1);
            QTest::keyClick(editor, Qt::Key_Return);
        }
        QApplication::processEvents(); // an editor commits when the key has been dealt with
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    };
    type(1, 0, "0.25");
    type(0, 1, "lots");
    type(1, 1, "7"); // can't be edited
    EXPECT_EQ(dock.spilloverMatrix(), (SquareMatrix{{1, 0}, {0.25, 1}}));
    const auto struckOut = [table](int row, int column) { return table->item(row, column)->font().strikeOut(); };
    EXPECT_TRUE(struckOut(0, 1));
    EXPECT_TRUE(table->item(0, 1)->toolTip().contains("counts as 0"));
    EXPECT_FALSE(struckOut(1, 0));
    type(0, 1, "0,5"); // a comma doesn't part decimals
    EXPECT_TRUE(struckOut(0, 1));
    type(0, 1, "0.5");
    EXPECT_FALSE(struckOut(0, 1));
    EXPECT_EQ(dock.spilloverMatrix(), (SquareMatrix{{1, 0.5}, {0.25, 1}}));
    type(1, 0, "inf");
    EXPECT_TRUE(struckOut(1, 0));
    dock.setSpilloverMatrix({{1, 0.123456789}, {-2e-7, 1}});
    EXPECT_EQ(table->item(0, 1)->text(), "0.123457");
    EXPECT_EQ(table->item(1, 0)->text(), "-2e-07");
    EXPECT_FALSE(struckOut(1, 0));
    dock.setSpilloverMatrix({{1, 1, 1}, {1, 1, 1}, {1, 1, 1}}); // of other channels
    EXPECT_EQ(table->item(0, 1)->text(), "0.123457");
    dock.setChannels({1, 2, 3, 4});
    EXPECT_EQ(table->item(0, 1)->text(), "0.0");
    EXPECT_EQ(table->viewport()->height(), table->verticalHeader()->length() + 2) << "no row is cut, nor has to scroll";
}

TEST_F(CalculationsDockTest, FiltersOfTheRefinementAreWhatTheBoxesSay) {
    showPage(2);
    EXPECT_EQ(dock.fluorescenceParams(), FLRefinementParams());
    for (const char* name :
         {"hampel1CheckBox", "hampel2CheckBox", "medianCheckBox", "rollingCheckBox", "savitzkyGolayCheckBox"}) {
        click(name);
    }
    int value = 7;
    for (const char* name :
         {"hampel1SpinBox", "hampel2SpinBox", "medianSpinBox", "rollingSpinBox", "savitzkyGolaySpinBox"}) {
        auto* box = find<QSpinBox>(name);
        box->selectAll();
        QTest::keyClicks(box, QString::number(value++));
    }
    auto* threshold = find<QDoubleSpinBox>("flMaxThresholdSpinBox");
    threshold->selectAll();
    QTest::keyClicks(threshold, "120");
    FLRefinementParams expected;
    expected.hampel1 = expected.hampel2 = expected.savitzkyGolay = false;
    expected.median = expected.rolling = true;
    expected.hampel1HalfWindow = 7;
    expected.hampel2HalfWindow = 8;
    expected.medianHalfWindow = 9;
    expected.rollingHalfWindow = 10;
    expected.savitzkyGolayHalfWindow = 11;
    expected.flMaxThreshold = 120;
    EXPECT_EQ(dock.fluorescenceParams(), expected);
    EXPECT_EQ(find<QSpinBox>("hampel1SpinBox")->maximum(), 50);
    EXPECT_EQ(find<QSpinBox>("savitzkyGolaySpinBox")->maximum(), 20);
    QSignalSpy display(&dock, &CalculationsDockWidget::traceDisplayChanged);
    EXPECT_TRUE(dock.showsRefinedTrace());
    click("showRefinedTraceCheckBox");
    EXPECT_FALSE(dock.showsRefinedTrace());
    EXPECT_EQ(display.size(), 1);
}

TEST_F(CalculationsDockTest, ButtonsAskForTheirCalculationAndSayWhyTheyCannot) {
    struct Case {
        int page;
        const char* button;
        void (CalculationsDockWidget::*request)();
        const char* applyToAll;
        Calculation kind;
    };
    const Case cases[] = {
        {0, "computeModulusButton", &CalculationsDockWidget::computeEmodulus, "modulusApplyToAll",
         Calculation::Modulus},
        {1, "compensateButton", &CalculationsDockWidget::compensateCrosstalk, "compensationApplyToAll",
         Calculation::Compensation},
        {2, "refineButton", &CalculationsDockWidget::refineFluorescence, "refinementApplyToAll",
         Calculation::Refinement},
        {3, "fourierButton", &CalculationsDockWidget::computeFourierDeform, "fourierApplyToAll", Calculation::Fourier}};
    const auto* progress = find<QProgressBar>("calculationProgress");
    dock.setRefused({"no light", "one light", "no cell", "not yet", "no mask"});
    EXPECT_EQ(find<QPushButton>("assessQualityButton")->toolTip(), "not yet");
    EXPECT_EQ(find<QPushButton>("fourierButton")->toolTip(), "no mask");
    for (const Case& c : cases) {
        showPage(c.page);
        dock.setRefused({"a", "b", "c", "d", "e"});
        QSignalSpy asked(&dock, c.request);
        click(c.button);
        EXPECT_EQ(asked.size(), 0) << c.button;
        dock.setRefused({});
        EXPECT_EQ(find<QPushButton>(c.button)->toolTip(), QString());
        click(c.button);
        EXPECT_EQ(asked.size(), 1) << c.button;
        click(c.applyToAll);
        EXPECT_TRUE(dock.appliesToAll(c.kind));
        EXPECT_FALSE(progress->isVisible());
        dock.setRunning(c.kind);
        EXPECT_TRUE(progress->isVisible());
        for (const Case& other : cases) {
            EXPECT_EQ(find<QPushButton>(other.button)->isEnabled(), other.kind != c.kind) << other.button;
        }
        EXPECT_EQ(find<QPushButton>(c.button)->toolTip(), "This calculation is running.");
        dock.setProgress(40, "Dataset 2 of 3 — %p%");
        EXPECT_EQ(progress->text(), "Dataset 2 of 3 — 40%");
        dock.setRunning(std::nullopt);
        EXPECT_FALSE(progress->isVisible());
        EXPECT_EQ(progress->value(), 0);
        EXPECT_TRUE(find<QPushButton>(c.button)->isEnabled());
    }
    EXPECT_EQ(find<QPushButton>("assessQualityButton")->toolTip(),
              "Evaluate how well the YM mapping works for this dataset");
}

TEST_F(CalculationsDockTest, NothingIsCutWhereThereIsLittleRoom) {
    const VQDMetadata metadata = conditions("0.83% MC-PBS");
    dock.setDatasetMetadata(&metadata, true);
    dock.setChannels({1, 2, 3});
    for (const QSize size : {QSize(180, 400), QSize(240, 400), QSize(180, 900)}) {
        dock.resize(size);
        for (int page = 0; page < 4; ++page) {
            showPage(page);
            QApplication::processEvents();
            const auto* area = qobject_cast<QScrollArea*>(dock.findChild<QStackedWidget*>()->currentWidget());
            ASSERT_NE(area, nullptr);
            EXPECT_LE(area->widget()->width(), area->viewport()->width()) << size.width() << ", page " << page;
            for (const QWidget* control : area->widget()->findChildren<QWidget*>()) {
                const QString name = control->objectName();
                if (control->isVisible() && !name.isEmpty() && !name.startsWith("qt_")) {
                    const int right = control->mapTo(area->widget(), QPoint(control->width(), 0)).x();
                    EXPECT_LE(right, area->viewport()->width()) << control->objectName().toStdString();
                    EXPECT_GE(control->width(), control->minimumSizeHint().width())
                        << size.width() << ' ' << control->objectName().toStdString();
                }
            }
        }
    }
}

namespace {

QStringList textsOf(const QDialog& dialog) {
    QStringList texts;
    for (const QLabel* label : dialog.findChildren<QLabel*>()) {
        texts << label->text();
    }
    return texts;
}

QString lightOf(const char* colour) {
    return QStringLiteral("<span style=\"color: %1; font-size: 16px;\">&#x25CF;</span>").arg(QLatin1String(colour));
}

} // namespace

TEST(EModQualityDialogTest, FiguresAreSharesWithLights) {
    EModulusQuality quality;
    quality.total = 200;
    quality.areaTooSmall = 1;
    quality.areaTooLarge = 2;
    quality.deformTooLow = 3;
    quality.deformTooHigh = 4;
    quality.mapped = 190;
    quality.nearBoundary = 57; // 30 % of the mapped: red
    quality.medianSensitivity = 0.69999;
    quality.highSensitivity = 19;
    quality.medianAll = 1.234;
    quality.medianInterior = 1.3;
    quality.bias = 0.0499;
    quality.valid = true;
    const EModQualityDialog dialog(quality, "a <b> & c");
    EXPECT_EQ(dialog.windowTitle(), "YM Quality Assessment");
    EXPECT_FALSE(dialog.isModal());
    EXPECT_TRUE(dialog.testAttribute(Qt::WA_DeleteOnClose));
    EXPECT_GE(dialog.minimumWidth(), 420);
    const QString green = lightOf("#2e7d32");
    const QString amber = lightOf("#f9a825");
    const QString red = lightOf("#c62828");
    EXPECT_EQ(textsOf(dialog),
              QStringList({"<b>Dataset:</b> a &lt;b&gt; &amp; c", amber + " <b>Mapped:</b> 190 (95.0%)",
                           "Area too small: 1 (0.5%)", "Area too large: 2 (1.0%)", "Deform too low: 3 (1.5%)",
                           "Deform too high: 4 (2.0%)",
                           red + " <b>Near low-deformation edge:</b> 57 (30.0%) of mapped events",
                           "Events within 10% of the local lower LUT boundary at their cell size",
                           "These events yield less reliable (lower-bound) YM estimates",
                           amber + " <b>Median sensitivity:</b> 0.700",
                           "|dE/dd| * MAD(deform) / E — ratio of propagated deformation uncertainty to YM value",
                           "High sensitivity events (>1.0): 19 (10.0%)", green + " <b>Bias:</b> 5.0%",
                           "Median YM (all mapped): 1.23 kPa", "Median YM (interior only): 1.30 kPa"}));
    QStringList grades;
    for (const QGroupBox* group : dialog.findChildren<QGroupBox*>()) {
        grades << group->toolTip();
    }
    EXPECT_EQ(grades, QStringList({"Amber: take care", "Red: don't rely on it", "Amber: take care", "Green: good"}));

    quality.mapped = quality.nearBoundary = quality.highSensitivity = 0;
    EXPECT_TRUE(textsOf(EModQualityDialog(quality, "x"))
                    .contains(green + " <b>Near low-deformation edge:</b> 0 (0.0%) of "
                                      "mapped events"));
    for (const bool valid : {true, false}) {
        EModulusQuality nothing;
        nothing.valid = valid;
        EXPECT_EQ(textsOf(EModQualityDialog(nothing, "x")),
                  QStringList({"<b>Dataset:</b> x", "No data available for quality assessment."}));
    }
}

TEST(EModQualityDialogTest, ThePictureHasTheOutlineAndACurveForEachFate) {
    EModulusCoverage coverage;
    coverage.outline = {{0, 0, 100, 0}, {100, 0, 0, 0.1}, {0, 0.1, 0, 0}};
    coverage.events = {
        {10, 0.01, EModulusFate::Mapped}, {20, 0.01, EModulusFate::Mapped}, {4000, 0.01, EModulusFate::AreaTooLarge}};
    EModQualityDialog dialog({}, "x");
    dialog.setCoverage({});
    EXPECT_EQ(dialog.findChild<CoveragePlot*>(), nullptr);
    dialog.setCoverage(coverage);
    const auto* plot = dialog.findChild<CoveragePlot*>();
    ASSERT_NE(plot, nullptr);
    const auto outline = plot->itemList(QwtPlotItem::Rtti_PlotShape);
    ASSERT_EQ(outline.size(), 1);
    EXPECT_EQ(static_cast<QwtPlotShapeItem*>(outline[0])->shape().boundingRect(), QRectF(0, 0, 100, 0.1));
    const auto curves = plot->itemList(QwtPlotItem::Rtti_PlotCurve);
    ASSERT_EQ(curves.size(), 2);
    EXPECT_EQ(curves[0]->title().text(), "Mapped");
    EXPECT_EQ(static_cast<QwtPlotCurve*>(curves[0])->dataSize(), 2U);
    EXPECT_EQ(curves[1]->title().text(), "Area too large");
    // Far away: at the border of the picture, 15 % beyond the table.
    EXPECT_NEAR(static_cast<QwtPlotCurve*>(curves[1])->sample(0).x(), 115.0, 1e-9);
}

} // namespace Tessaly
