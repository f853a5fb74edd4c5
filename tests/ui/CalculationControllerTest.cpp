#include "ui/calculations/CalculationController.h"

#include "plot/TracePlot.h"
#include "session/CalculationRunner.h"
#include "ui/MessageBoxWatcher.h"
#include "ui/PlotFixture.h"
#include "ui/calculations/CoveragePlot.h"
#include "ui/calculations/EModQualityDialog.h"
#include "ui/datasets/DatasetController.h"
#include "ui/datasets/DatasetLoader.h"
#include "ui/datasets/DatasetsPanel.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QLabel>
#include <QPointer>
#include <QProgressBar>
#include <QSet>
#include <QTableWidget>
#include <qwt_scale_div.h>

#include <cmath>
#include <semaphore>

namespace Tessaly {

namespace {

class CalculationControllerTest : public PlotFixture {
protected:
    CalculationControllerTest() {
        conditions.resize(320, 600);
        conditions.show();
        // As the main window does.
        QObject::connect(&calculations, &CalculationController::featuresChanged, &controller, [this](Calculation kind) {
            controller.setZoomResetCheck([kind](const std::string& feature) { return isResultOf(kind, feature); });
            controller.refreshFeaturesAndPlot();
            events.reload();
            ++ended;
        });
        QObject::connect(&conditions, &CalculationsDockWidget::traceDisplayChanged, &events,
                         [this] { events.showRefinedTraces(conditions.showsRefinedTrace()); });
        QObject::connect(&controller, &PlotController::datasetShown, &events, &EventController::showCurrentEvent);
    }

    DatasetEntry& addFull(std::size_t count = 60) {
        SampleFileOptions options;
        options.events = count;
        options.textAttributes = {{"setup:medium", "water"}, {"fluorescence:channel 1 name", "525/50"}};
        options.numberAttributes = {
            {"setup:channel width", 20}, {"setup:flow rate", 0.16}, {"imaging:pixel size", 0.34}};
        return add(options, true);
    }
    void showPage(int row) { conditions.findChild<QComboBox*>("calculationCombo")->setCurrentIndex(row); }
    QAbstractButton* button(const char* name) { return conditions.findChild<QAbstractButton*>(QLatin1String(name)); }
    void click(int page, const char* name) {
        showPage(page);
        QAbstractButton* clicked = button(name);
        QTest::mouseClick(clicked, Qt::LeftButton, {}, QPoint(8, clicked->height() / 2));
    }
    bool waitForEnd(int count) {
        return QTest::qWaitFor([this, count] { return ended == count; }, 20000);
    }
    std::vector<bool> offered() {
        std::vector<bool> enabled;
        for (const char* name :
             {"refineButton", "compensateButton", "computeModulusButton", "assessQualityButton", "fourierButton"}) {
            enabled.push_back(button(name)->isEnabled());
        }
        return enabled;
    }

    CalculationRunner runner{session};
    CalculationController calculations{session, emodulus, runner, conditions, &window};
    int ended = 0;
};

const std::vector<double> Values = {1, 2, 3};

} // namespace

TEST_F(CalculationControllerTest, ButtonsAreForWhatTheDatasetHas) {
    using Offers = std::vector<bool>;
    EXPECT_EQ(offered(), Offers(5, false));
    EXPECT_EQ(button("fourierButton")->toolTip(), "No dataset is selected.");
    const int full = addFull().id;
    SampleFileOptions dark; // no traces, no masks, one channel
    dark.columns = {{"fl2_max", Values}, {"area_um", Values}};
    dark.events = 3;
    dark.defaultColumns = dark.traces = dark.masks = false;
    const int plain = add(dark, true).id;
    dark.columns = {{"fl1_max", Values}, {"fl2_max", Values}, {"area_um", Values}, {"deform", Values}};
    const int two = add(dark, true).id;
    dark.textAttributes["setup:chip region"] = "reservoir";
    const int reservoir = add(dark, true).id;
    const int loading = add(dark, false).id;
    session.setActive(full);
    EXPECT_EQ(offered(), (Offers{true, true, true, false, true}));
    EXPECT_EQ(button("assessQualityButton")->toolTip(), "Young's modulus has to be computed first.");
    EXPECT_EQ(conditions.findChild<QTableWidget*>("spilloverTable")->rowCount(), 3);
    session.setActive(plain);
    EXPECT_EQ(offered(), (Offers{false, false, false, false, false}));
    EXPECT_EQ(button("refineButton")->toolTip(), "The dataset has no fluorescence traces.");
    EXPECT_EQ(button("compensateButton")->toolTip(), "Crosstalk needs at least two fluorescence channels.");
    EXPECT_EQ(button("computeModulusButton")->toolTip(), "The dataset lacks area or deformation.");
    session.setActive(two);
    EXPECT_EQ(offered(), (Offers{false, true, true, false, false}));
    session.findById(two)->emodApplied = true;
    session.setActive(reservoir);
    EXPECT_EQ(offered(), (Offers{false, true, false, false, false}));
    EXPECT_TRUE(button("computeModulusButton")->toolTip().contains("reservoir"));
    session.setActive(two);
    EXPECT_EQ(offered(), (Offers{false, true, true, true, false}));
    session.setActive(loading);
    EXPECT_EQ(offered(), Offers(5, false));
    EXPECT_EQ(button("refineButton")->toolTip(), "The dataset is still loading.");
    session.setReady(loading);
    EXPECT_TRUE(button("compensateButton")->isEnabled());
    session.clear();
    EXPECT_EQ(offered(), Offers(5, false));
}

TEST_F(CalculationControllerTest, CompensatedHeightsCanBePlottedAndAreKeptWithTheDataset) {
    const int id = add({{"fl1_max", {100, 200, 300}}, {"fl2_max", {60, 70, 80}}, {"fl1_max_ctc", Values}}).id;
    const int other = add({{"fl1_max", {10, 20, 30}}, {"fl2_max", {6, 7, 8}}}).id;
    const int alien = add({{"fl1_max", {10, 20, 30}}, {"fl3_max", {6, 7, 8}}}).id;
    session.setActive(id);
    chooseFeature("yFeatureCombo", "fl1_max_ctc");
    plot.setAxisScale(QwtAxis::YLeft, 0.0, 2.0);
    plot.replot();
    const auto shown = [this] { return plot.axisScaleDiv(QwtAxis::YLeft).upperBound(); };
    EXPECT_LT(shown(), 10.0);
    showPage(1);
    auto* table = conditions.findChild<QTableWidget*>("spilloverTable");
    table->item(1, 0)->setText("0.5");
    click(1, "compensationApplyToAll");
    click(1, "compensateButton");
    EXPECT_FALSE(button("compensateButton")->isEnabled());
    EXPECT_TRUE(button("compensateButton")->toolTip().contains("running"));
    table->item(1, 0)->setText("0.9"); // too late for this job
    ASSERT_TRUE(waitForEnd(1));
    // By hand: x1 = y1, x2 = y2 - 0.5 y1.
    const auto values = [this](int dataset) { return session.findById(dataset)->reader->getFeature("fl2_max_ctc"); };
    EXPECT_EQ(values(id), (std::vector<double>{10, -30, -70}));
    EXPECT_EQ(values(other), (std::vector<double>{1, -3, -7}));
    EXPECT_TRUE(values(alien).empty()) << "it has other channels";
    EXPECT_EQ(plot.yData(), (std::vector<double>{100, 200, 300}));
    EXPECT_GE(shown(), 300.0) << "a zoom into the values before is stale";
    EXPECT_GE(find<QComboBox>("xFeatureCombo")->findData("fl2_max_ctc"), 0) << "the new feature is on offer";
    EXPECT_EQ(find<QComboBox>("yFeatureCombo")->currentData().toString(), "fl1_max_ctc");
    EXPECT_TRUE(button("compensateButton")->isEnabled());

    session.setActive(alien);
    EXPECT_EQ(table->item(1, 0)->text(), "0.0");
    session.setActive(other);
    EXPECT_EQ(table->item(1, 0)->text(), "0.5") << "the matrix that was used";
}

TEST_F(CalculationControllerTest, AZoomIntoOtherFeaturesStays) {
    session.setActive(add({{"fl1_max", {100, 200, 300}}, {"fl2_max", {60, 70, 80}}}).id);
    chooseFeature("xFeatureCombo", "fl1_max");
    chooseFeature("yFeatureCombo", "fl2_max");
    plot.setAxisScale(QwtAxis::XBottom, 100.0, 150.0);
    plot.replot();
    click(1, "compensateButton");
    ASSERT_TRUE(waitForEnd(1));
    EXPECT_LT(plot.axisScaleDiv(QwtAxis::XBottom).upperBound(), 200.0);
}

TEST_F(CalculationControllerTest, RefinedTracesTakeThePlaceOfTheMediansWhereTheUserWantsThem) {
    session.setActive(addFull().id);
    auto* traces = panel.tracePlot();
    const auto shown = [traces] { return traces->channels().front().traceName; };
    ASSERT_TRUE(traces->hasChannels());
    EXPECT_EQ(shown(), "fl1_median");
    click(2, "refineButton");
    ASSERT_TRUE(waitForEnd(1));
    EXPECT_EQ(shown(), "fl1_median_rf");
    EXPECT_TRUE(session.active()->flRefinementApplied);
    EXPECT_TRUE(session.active()->reader->isComputedFeature("fl1_width_rf"));
    click(2, "showRefinedTraceCheckBox");
    EXPECT_EQ(shown(), "fl1_median");
    click(2, "showRefinedTraceCheckBox");
    EXPECT_EQ(shown(), "fl1_median_rf");
}

TEST_F(CalculationControllerTest, FourierDeformationOfAllNamesTheDatasetAndItNeedsMasks) {
    addFull(300);
    session.setActive(addFull(300).id);
    QStringList formats;
    auto* progress = conditions.findChild<QProgressBar*>("calculationProgress");
    QObject::connect(progress, &QProgressBar::valueChanged, [&] { formats << progress->format(); });
    click(3, "fourierApplyToAll");
    click(3, "fourierButton");
    EXPECT_TRUE(progress->isVisible());
    ASSERT_TRUE(waitForEnd(1));
    EXPECT_FALSE(progress->isVisible());
    EXPECT_TRUE(formats.contains("Dataset 1 of 2 — %p%"));
    for (const auto& dataset : session.datasets()) {
        EXPECT_TRUE(dataset->fourierApplied);
        // An ellipse is as good as symmetrical: what its odd harmonics add to the circle is small.
        EXPECT_LT(dataset->reader->getFeature("deform_odd")[0], dataset->reader->getFeature("deform_fc")[0]);
    }
    session.remove(session.datasets().front()->id);
    formats.clear();
    click(3, "fourierButton");
    ASSERT_TRUE(waitForEnd(2));
    EXPECT_TRUE(formats.contains("Dataset 1 of 1 — %p%")) << "also where all are one";
    click(3, "fourierApplyToAll");
    formats.clear();
    click(3, "fourierButton");
    ASSERT_TRUE(waitForEnd(3));
    EXPECT_EQ(QSet<QString>(formats.begin(), formats.end()), QSet<QString>({"%p%"}));
    click(3, "fourierApplyToAll");
    const auto* sources = conditions.findChild<QComboBox*>("deformationSourceCombo");
    EXPECT_EQ(sources->count(), 3);
    EXPECT_FALSE(sources->isVisibleTo(&conditions));

    session.clear();
    SampleFileOptions bare;
    bare.masks = false;
    session.setActive(add(bare, true).id);
    MessageBoxWatcher boxes;
    emit conditions.computeFourierDeform(); // the button itself is disabled
    click(3, "fourierApplyToAll");
    emit conditions.computeFourierDeform();
    ASSERT_EQ(boxes.seen().size(), 2U);
    EXPECT_EQ(boxes.seen()[0].title, "Fourier Deformation");
    EXPECT_EQ(boxes.seen()[0].text, "No loaded dataset has segmentation masks.");
    EXPECT_EQ(boxes.seen()[1].text, "This dataset has no segmentation masks.");
}

TEST_F(CalculationControllerTest, ModuliAreComputedAndTheirQualityIsShownInADialog) {
    const int id = addFull().id;
    session.setActive(id);
    click(0, "computeModulusButton");
    ASSERT_TRUE(waitForEnd(1));
    EXPECT_TRUE(session.active()->emodApplied);
    EXPECT_TRUE(button("assessQualityButton")->isEnabled());
    FilterRule rule;
    rule.featureName = "area_um";
    rule.minValue = 60;
    rule.maxValue = 120;
    session.active()->filter.addRule(rule);
    const auto inRange = eventsToAssess(session, *session.active(), true).size();
    ASSERT_LT(inRange, 60U);
    const auto total = [this] {
        QPointer<EModQualityDialog> dialog = window.findChild<EModQualityDialog*>();
        if (!dialog) {
            return -1.0;
        }
        EXPECT_NE(dialog->findChild<CoveragePlot*>(), nullptr);
        double whole = 0;
        for (const QLabel* label : dialog->findChildren<QLabel*>()) {
            // "<count> (<share>%)" of the four reasons and the mapped: together they are the events assessed.
            const QString text = label->text();
            if (text.startsWith("Area too") || text.startsWith("Deform too") || text.contains("Mapped:")) {
                whole += text.section("> ", -1).section(": ", -1).section(' ', 0, 0).toDouble();
            }
        }
        QTest::keyClick(dialog, Qt::Key_Escape);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        EXPECT_TRUE(dialog.isNull()) << "it deletes itself";
        return whole;
    };
    click(0, "assessQualityButton");
    EXPECT_EQ(total(), static_cast<double>(inRange));
    click(0, "assessFilteredCheckBox");
    click(0, "assessQualityButton");
    EXPECT_EQ(total(), 60.0);
}

TEST_F(CalculationControllerTest, WhatIsBusyRefusesASecondStartAndTheRemovalOfItsDataset) {
    DatasetsPanel list;
    DatasetLoader loader(session, &window);
    DatasetController datasets(session, loader, runner, list, &window);
    const int id = addFull().id;
    const int other = addFull().id;
    session.setActive(id);
    std::counting_semaphore<> open{0};
    CalculationJob slow;
    slow.kind = Calculation::Fourier;
    slow.mark = [](DatasetEntry&) {};
    slow.tasks.push_back({session.active()->reader, [&open]() -> CalculationWork {
                              return [&open](const StepControl&) {
                                  open.acquire();
                                  return StepResult();
                              };
                          }});
    ASSERT_TRUE(runner.start(std::move(slow)));
    EXPECT_FALSE(button("fourierButton")->isEnabled());
    EXPECT_TRUE(button("compensateButton")->isEnabled());
    click(1, "compensateButton");
    EXPECT_EQ(runner.running(), Calculation::Fourier) << "dropped";
    {
        MessageBoxWatcher boxes;
        datasets.removeDataset(id);
        ASSERT_EQ(boxes.seen().size(), 1U);
        EXPECT_EQ(boxes.seen()[0].title, "Cannot Remove");
        EXPECT_EQ(boxes.seen()[0].text, "A calculation is using this dataset.");
        datasets.removeDataset(other);
        EXPECT_EQ(boxes.seen().size(), 1U);
    }
    EXPECT_EQ(session.datasetCount(), 1);
    open.release();
    ASSERT_TRUE(waitForEnd(1));
    datasets.removeDataset(id);
    EXPECT_EQ(session.datasetCount(), 0);
}

TEST_F(CalculationControllerTest, WhatASessionPromisesIsComputedAgainWhenItsDatasetIsChosen) {
    DatasetEntry& dataset = addFull();
    dataset.flRefinementApplied = dataset.ctcApplied = true;
    dataset.ctcChannels = {1, 2, 3};
    dataset.spilloverMatrix = {{1, 0, 0}, {0, 1, 0.25}, {0, 0, 1}};
    session.setActive(dataset.id);
    EXPECT_EQ(conditions.findChild<QTableWidget*>("spilloverTable")->item(1, 2)->text(), "0.25");
    ASSERT_TRUE(waitForEnd(2));
    const auto column = [&](const char* name) { return dataset.reader->getFeature(name); };
    const auto y2 = column("fl2_max_rf");
    const auto y3 = column("fl3_max_rf");
    const auto x2 = column("fl2_max_ctc");
    ASSERT_EQ(x2.size(), 60U);
    for (std::size_t i = 0; i < x2.size(); ++i) {
        // By hand, and from the refined heights, which therefore were there first.
        EXPECT_NEAR(x2[i], y2[i] - 0.25 * y3[i], 1e-9 * (1.0 + std::abs(y2[i])));
    }
    session.setActive(-1);
    session.setActive(dataset.id);
    EXPECT_FALSE(runner.isRunning()) << "once is enough";
}

} // namespace Tessaly
