#include "batch/BatchPlan.h"

#include "ExportFixture.h"

#include <QDoubleSpinBox>
#include <QFile>
#include <QLabel>
#include <QRadioButton>

namespace Tessaly {
namespace {

class BatchPlanOfWindow : public ExportFixture {
protected:
    /// Takes the entry of the menu "File" with the mouse; a file dialog is answered with a name.
    void savePlan(const QString& name) {
        answerFileDialogs(name, [this] {
            QMenuBar* bar = window->menuBar();
            auto* menu = window->findChild<QMenu*>("fileMenu");
            QTest::mouseClick(bar, Qt::LeftButton, {}, bar->actionGeometry(menu->menuAction()).center());
            auto* action = window->findChild<QAction*>("saveBatchPlanAction");
            ASSERT_TRUE(menu->isVisible() && action && action->text() == "Save &Batch Plan...");
            QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(action).center());
        });
    }
};

} // namespace

TEST_F(BatchPlanOfWindow, HoldsWhatIsSetUp) {
    savePlan(path("none.json"));
    EXPECT_EQ(told(), "Save Batch Plan | No loaded dataset to take the plan from.");

    SampleFileOptions options;
    options.textAttributes = {{"setup:medium", "SorvexB"}};
    load("first");
    DatasetEntry& dataset = load("second", options);
    dataset.xFeatureName = "area_um";
    dataset.yFeatureName = "deform";
    dataset.filter.addRule(rangeRule("area_um", 50, 150));
    for (const char* name : {"on", "off"}) {
        const int group = window->addFilterGroup(name);
        window->addRuleToGroup(group, rangeRule("time", 0, group + 1));
        window->setGroupEnabled(dataset.id, group, std::string(name) == "on");
    }
    savePlan("");
    EXPECT_FALSE(QFile::exists(path("p.json")));
    savePlan(path("p")); // the suffix is the dialog's to add
    const auto* status = window->panels().status;
    EXPECT_EQ(status->text(), "Batch plan saved: p.json");
    BatchPlan wanted;
    wanted.gates = {{"", {rangeRule("area_um", 50, 150)}}, {"on", {rangeRule("time", 0, 1)}}};
    wanted.summary.emplace().features = {"area_um", "deform", "time"};
    wanted.counts = true;
    EXPECT_EQ(readPlanFile(path("p.json")).problem, "");
    EXPECT_EQ(readPlanFile(path("p.json")).plan, wanted);

    // After a calculation with a temperature of one's own, and a summary.
    auto* manual = window->findChild<QRadioButton*>("temperatureManual");
    auto* temperature = window->findChild<QDoubleSpinBox*>("temperatureSpinBox");
    manual->setChecked(true);
    temperature->setValue(21.5);
    dataset.emodApplied = true;
    inSummary = [](StatSummaryExportDialog& dialog) {
        click(dialog, "deselectAllButton");
        click(dialog, "feature:deform");
        click(dialog, "medianBox");
        click(dialog, "sdBox");
    };
    choose("exportSummaryAction");
    told();
    savePlan(path("p2.json"));
    const BatchPlan plan = readPlanFile(path("p2.json")).plan;
    ASSERT_TRUE(plan.modulus && plan.summary);
    EXPECT_EQ(plan.modulus->temperatureSource, TemperatureSource::Manual);
    EXPECT_EQ(plan.modulus->temperature, 21.5);
    EXPECT_EQ(plan.summary->features, std::vector<std::string>{"deform"});
    EXPECT_EQ(summaryFigures(*plan.summary),
              (std::vector{SummaryFigure::Count, SummaryFigure::Iqr, SummaryFigure::Sd}));

    savePlan(path("none/p.json"));
    EXPECT_NE(told().find("Could not write:"), std::string::npos);
}

} // namespace Tessaly
