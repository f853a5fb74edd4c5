#include "core/DatasetEntry.h"
#include "ui/event/MetadataPanel.h"
#include "ui/filters/FilterDockWidget.h"
#include "ui/plot/StatisticsDockWidget.h"

#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QSignalSpy>

#include <gtest/gtest.h>

namespace Tessaly {
namespace {

TEST(MetadataPanelTest, GroupsBySectionInOrder) {
    VQDMetadata metadata;
    metadata.exportSection["software"] = "x";
    metadata.setup["flow rate"] = "0.06";
    metadata.setup["channel width"] = "20";
    metadata.experiment["sample"] = "<b>S</b>";
    metadata.allAttributes = {{"setup:flow rate", "0.06"},
                              {"setup:channel width", "20"},
                              {"experiment:sample", "S"},
                              {"export:software", "x"},
                              {"user:note", "a:b"},
                              {"plain", "1"},
                              {"setupx:y", "2"}};
    MetadataPanel panel;
    EXPECT_TRUE(panel.isEmpty());
    panel.showMetadata(metadata);
    QStringList lines;
    for (int i = 0; i < panel.topLevelItemCount(); ++i) {
        const QTreeWidgetItem* section = panel.topLevelItem(i);
        lines << section->text(0);
        for (int j = 0; j < section->childCount(); ++j) {
            lines << section->child(j)->text(0) + "=" + section->child(j)->text(1);
        }
    }
    EXPECT_EQ(lines, QStringList({"Experiment", "sample=<b>S</b>", "Setup", "channel width=20", "flow rate=0.06",
                                  "Export", "software=x", "Other", "plain=1", "setupx:y=2", "user:note=a:b"}));
    panel.showMetadata(VQDMetadata());
    EXPECT_TRUE(panel.isEmpty());
}

TEST(MetadataPanelTest, ALongKeyLeavesRoomForTheValues) {
    VQDMetadata metadata;
    metadata.setup[std::string(200, 'k')] = "<b>" + std::string(200, 'v');
    metadata.setup["short"] = "1";
    MetadataPanel panel;
    panel.show();
    const auto* hint = panel.findChild<QLabel*>("emptyHint");
    EXPECT_TRUE(hint->isVisible());
    for (const int width : {300, 200, 500}) {
        panel.resize(width, 300);
        panel.showMetadata(metadata);
        const int room = panel.viewport()->width();
        EXPECT_NEAR(panel.columnWidth(0), room / 2, 2);
        EXPECT_EQ(panel.columnWidth(0) + panel.columnWidth(1), room) << "nothing scrolls sideways";
        panel.resize(width - 40, 300);
        EXPECT_NEAR(panel.columnWidth(0), panel.viewport()->width() / 2, 2);
    }
    EXPECT_FALSE(hint->isVisible());
    const QTreeWidgetItem* item = panel.topLevelItem(0)->child(0);
    EXPECT_EQ(item->toolTip(0), QString(200, 'k'));
    EXPECT_TRUE(item->toolTip(1).contains("&lt;b&gt;v")) << "not as markup";
    // A short key gets what it needs and no more.
    metadata.setup.erase(std::string(200, 'k'));
    panel.showMetadata(metadata);
    EXPECT_LT(panel.columnWidth(0), panel.viewport()->width() / 3);
}

TEST(StatisticsDockWidgetTest, ListsTheFiguresOfBothAxes) {
    StatisticsDockWidget panel;
    const auto* table = panel.findChild<QTreeWidget*>();
    const auto column = [table](int index) {
        QStringList texts(table->headerItem()->text(index));
        for (int i = 0; i < table->topLevelItemCount(); ++i) {
            texts << table->topLevelItem(i)->text(index);
        }
        return texts;
    };
    panel.updateStatistics({1, 2}, {1000000, 4}, "Area", "Deformation");
    EXPECT_EQ(column(1), QStringList({"Area", "2", "1.5", "0.707107", "1.25", "1.5", "1.75", "0.5"}));
    // Deviations from the mean are 499998: SD is that times the root of 2.
    EXPECT_EQ(column(2), QStringList({"Deformation", "2", "500002", "707104", "250003", "500002", "750001", "499998"}));
    panel.clearStatistics();
    EXPECT_EQ(column(1), QStringList({"X"}));
    EXPECT_EQ(panel.findChild<QTreeWidget*>()->headerItem()->toolTip(1), "X");
}

TEST(FilterDockWidgetTest, EditsTheDatasetsFilter) {
    FilterDockWidget panel;
    auto* enabled = panel.findChild<QCheckBox*>("filteringEnabledCheckBox");
    auto* excluded = panel.findChild<QCheckBox*>("showExcludedCheckBox");
    const auto* box = panel.findChild<QGroupBox*>();
    QSignalSpy changed(&panel, &FilterDockWidget::filterChanged);
    EXPECT_FALSE(box->isEnabled());
    EXPECT_TRUE(enabled->isChecked());
    DatasetEntry dataset;
    dataset.filter.setEnabled(false);
    dataset.filter.setCombineMode(EventFilter::ShowExcluded);
    panel.setDataset(&dataset);
    EXPECT_TRUE(box->isEnabled());
    EXPECT_FALSE(enabled->isChecked());
    EXPECT_TRUE(excluded->isChecked());
    EXPECT_EQ(changed.count(), 0);
    enabled->click();
    EXPECT_TRUE(dataset.filter.isEnabled());
    excluded->click();
    EXPECT_EQ(dataset.filter.combineMode(), EventFilter::ShowPassing);
    EXPECT_EQ(changed.count(), 2);
    const auto* label = panel.findChild<QLabel*>("eventCountLabel");
    for (const auto& [shown, total, text] :
         {std::tuple{0, 0, "No events"}, {2, 3, "2 / 3 events shown (66.7%)"}, {7, 7, "7 events (no filter active)"}}) {
        panel.setEventCounts(shown, total);
        EXPECT_EQ(label->text(), text);
    }
    panel.setDataset(nullptr);
    EXPECT_EQ(label->text(), "No dataset selected");
    EXPECT_FALSE(box->isEnabled());
    enabled->click(); // disabled: reaches nothing
    EXPECT_TRUE(dataset.filter.isEnabled());
    EXPECT_EQ(changed.count(), 2);
}

} // namespace
} // namespace Tessaly
