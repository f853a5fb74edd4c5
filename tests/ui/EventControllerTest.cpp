#include "PlotFixture.h"

#include "plot/ImageViewer.h"
#include "support/FilterRules.h"

#include <QCheckBox>
#include <QLabel>
#include <QSignalSpy>
#include <QTableWidget>

#include <limits>

namespace Tessaly {
namespace {

class EventControllerTest : public PlotFixture {
protected:
    EventControllerTest() {
        QObject::connect(&controller, &PlotController::plotted, [this] { events.placeSelection(controller.frame()); });
        QObject::connect(&controller, &PlotController::datasetShown, &events, &EventController::showCurrentEvent);
        QObject::connect(&controller, &PlotController::frameChanged,
                         [this] { filterController.showCounts(controller); });
    }

    QString pictureTitle() { return panel.imageViewer()->findChild<QLabel*>("imageInfoLabel")->text(); }
    QString counts() { return find<QLabel>("eventCountLabel")->text(); }
    /// Types a number of an event and presses Return.
    void type(int event) {
        number.selectAll();
        QTest::keyClicks(&number, QString::number(event));
        QTest::keyClick(&number, Qt::Key_Return);
    }

    const Columns four{{"area_um", {10, 20, 30, 40}}, {"deform", {0.1, 0.2, 0.3, 0.4}}};
};

TEST_F(EventControllerTest, AClickLeadsFromThePlotToTheEvent) {
    DatasetEntry& dataset = add(four);
    dataset.filter.addRule(rangeRule("area_um", 15, 100));
    session.setActive(dataset.id);
    EXPECT_EQ(dataset.currentEventIndex, 1) << "event 0 isn't plotted";
    clickPoint(40, 0.4);
    EXPECT_EQ(dataset.currentEventIndex, 3);
    EXPECT_EQ(number.value(), 3);
    EXPECT_EQ(plot.highlightedPoint(), 2);
    EXPECT_EQ(pictureTitle(), "Event 3 (with mask)");
    const auto* table = panel.findChild<QTableWidget*>();
    ASSERT_EQ(table->rowCount(), 2);
    EXPECT_EQ(table->item(0, 1)->text(), "40");
    EXPECT_EQ(table->item(1, 1)->text(), "0.4");
}

TEST_F(EventControllerTest, TheNumberChoosesAnyEventOfTheFile) {
    DatasetEntry& dataset = add(four);
    dataset.filter.addRule(rangeRule("area_um", 15, 100));
    session.setActive(dataset.id);
    EXPECT_EQ(number.maximum(), 3);
    type(2);
    EXPECT_EQ(plot.highlightedPoint(), 1);
    type(0);
    EXPECT_EQ(dataset.currentEventIndex, 0);
    EXPECT_EQ(plot.highlightedPoint(), -1) << "filtered out";
    EXPECT_EQ(pictureTitle(), "Event 0 (with mask)");
    // The next refresh leads back to what is plotted.
    QTest::mouseClick(find<QCheckBox>("showExcludedCheckBox"), Qt::LeftButton, {}, QPoint(8, 8));
    EXPECT_EQ(plot.highlightedPoint(), 0);
    EXPECT_EQ(dataset.currentEventIndex, 0);
    QTest::mouseClick(find<QCheckBox>("showExcludedCheckBox"), Qt::LeftButton, {}, QPoint(8, 8));
    EXPECT_EQ(dataset.currentEventIndex, 1);
    EXPECT_EQ(number.value(), 1);
    EXPECT_EQ(pictureTitle(), "Event 1 (with mask)");
}

TEST_F(EventControllerTest, EachDatasetKeepsItsEvent) {
    DatasetEntry& first = add(four);
    DatasetEntry& second = add({{"area_um", {1, 2}}, {"deform", {3, 4}}});
    session.setActive(first.id);
    type(3);
    session.setActive(second.id);
    EXPECT_EQ(number.value(), 0);
    EXPECT_EQ(number.maximum(), 1);
    EXPECT_EQ(pictureTitle(), "Event 0 (with mask)");
    session.setActive(first.id);
    EXPECT_EQ(number.value(), 3);
    EXPECT_EQ(plot.highlightedPoint(), 3);
    EXPECT_EQ(pictureTitle(), "Event 3 (with mask)");
    first.currentEventIndex = 9; // out of range
    session.setActive(second.id);
    session.setActive(first.id);
    EXPECT_EQ(first.currentEventIndex, 0);
}

TEST_F(EventControllerTest, NothingOfAnotherDatasetIsLeftWhileOneLoads) {
    session.setActive(add(four).id);
    type(2);
    DatasetEntry& loading = add(four, false);
    session.setActive(loading.id);
    const auto* mask = panel.imageViewer()->findChild<QCheckBox*>();
    EXPECT_FALSE(number.isEnabled() || mask->isEnabled() || panel.imageViewer()->hasImage());
    EXPECT_EQ(panel.findChild<QTableWidget*>()->rowCount(), 0);
    EXPECT_EQ(plot.highlightedPoint(), -1);
    EXPECT_EQ(counts(), "No filter active");
    session.setReady(loading.id);
    EXPECT_TRUE(number.isEnabled() && mask->isEnabled() && panel.imageViewer()->hasImage());
    EXPECT_EQ(loading.currentEventIndex, 0);
    EXPECT_EQ(counts(), "4 events (no filter active)");
    session.setActive(-1);
    EXPECT_EQ(number.maximum(), 0);
    EXPECT_FALSE(number.isEnabled() || panel.imageViewer()->hasImage());
    EXPECT_EQ(counts(), "No dataset selected");
}

TEST_F(EventControllerTest, TheMaskIsShownOnDemand) {
    session.setActive(add(four).id);
    auto* mask = panel.imageViewer()->findChild<QCheckBox*>();
    type(2);
    mask->click();
    EXPECT_EQ(pictureTitle(), "Event 2");
    mask->click();
    EXPECT_EQ(pictureTitle(), "Event 2 (with mask)");
}

TEST_F(EventControllerTest, SwitchesOfTheFilterActOnTheActiveDatasetOnce) {
    DatasetEntry& first = add(four);
    DatasetEntry& second = add(four);
    first.filter.addRule(rangeRule("area_um", 15, 100));
    second.filter = first.filter;
    session.setActive(first.id);
    EXPECT_EQ(counts(), "3 / 4 events shown (75.0%)");
    QSignalSpy refreshed(&controller, &PlotController::plotted);
    find<QCheckBox>("showExcludedCheckBox")->click();
    EXPECT_EQ(refreshed.count(), 1);
    EXPECT_EQ(counts(), "1 / 4 events shown (25.0%)");
    find<QCheckBox>("filteringEnabledCheckBox")->click();
    EXPECT_EQ(refreshed.count(), 2);
    EXPECT_EQ(counts(), "4 events (no filter active)");
    session.setActive(second.id);
    EXPECT_TRUE(find<QCheckBox>("filteringEnabledCheckBox")->isChecked());
    EXPECT_FALSE(find<QCheckBox>("showExcludedCheckBox")->isChecked());
    EXPECT_EQ(counts(), "3 / 4 events shown (75.0%)");
    EXPECT_EQ(first.filter.combineMode(), EventFilter::ShowExcluded);
    EXPECT_FALSE(first.filter.isEnabled());
}

} // namespace
} // namespace Tessaly
