#include "ui/PlotSettingsPanel.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTest>

#include <gtest/gtest.h>

#include <limits>

namespace Tessaly {
namespace {

class PlotSettingsPanelTest : public testing::Test {
protected:
    void SetUp() override {
        panel.resize(900, panel.sizeHint().height());
        panel.show();
    }

    static std::vector<FeatureItem> features() {
        return {{"area_um", "Area [µm²]"}, {"bright_avg", "Brightness"}, {"deform", "Deformation"}};
    }
    QComboBox* combo(const char* name) const { return panel.findChild<QComboBox*>(name); }
    QSpinBox* spin(const char* name) const { return panel.findChild<QSpinBox*>(name); }
    QCheckBox* check(const char* name) const { return panel.findChild<QCheckBox*>(name); }

    PlotSettingsPanel panel;
};

TEST_F(PlotSettingsPanelTest, OffersFeaturesWithDefaults) {
    panel.setFeatures(features());
    const PlotSettings settings = panel.settings();
    EXPECT_EQ(settings.xFeature, "area_um");
    EXPECT_EQ(settings.yFeature, "deform");
    EXPECT_EQ(settings.colorFeature, "");
    EXPECT_EQ(combo("xFeatureCombo")->count(), 3);
    EXPECT_EQ(combo("colorFeatureCombo")->findData("__density_kde__"), 1);
    EXPECT_EQ(combo("colorFeatureCombo")->findData("area_um"), 2);
    panel.setFeatures({{"time", "Time [s]"}, {"temp", "Temperature"}});
    EXPECT_EQ(panel.settings().xFeature, "time");
    panel.clearFeatures();
    EXPECT_EQ(panel.settings().xFeature, "");
}

TEST_F(PlotSettingsPanelTest, ShowsSettingsWithoutSignals) {
    panel.setFeatures(features());
    QSignalSpy changed(&panel, &PlotSettingsPanel::featuresChanged);
    QSignalSpy xScale(&panel, &PlotSettingsPanel::xScaleChanged);
    QSignalSpy yScale(&panel, &PlotSettingsPanel::yScaleChanged);
    QSignalSpy contours(&panel, &PlotSettingsPanel::contoursChanged);
    // 0.29 * 100 is a little below 29, and 0.57 * 100 a little below 57.
    const PlotSettings settings{"bright_avg", "area_um", std::string(DensityKde), 1, 2, ContourMode::Only, 0.29, 0.57};
    panel.setSettings(settings);
    EXPECT_TRUE(panel.settings() == settings);
    EXPECT_EQ(combo("yFeatureCombo")->toolTip(), "Area [µm²]"); // the box may cut it

    PlotSettings partial = settings;
    partial.xFeature = "gone";
    partial.yFeature = "";
    partial.scaleX = 7;
    partial.contourFraction1 = std::numeric_limits<double>::quiet_NaN();
    partial.contourFraction2 = 1.4;
    panel.setSettings(partial);
    EXPECT_EQ(panel.settings().xFeature, "bright_avg");
    EXPECT_EQ(panel.settings().yFeature, "area_um");
    EXPECT_EQ(panel.settings().scaleX, 0);
    EXPECT_EQ(panel.settings().contourFraction1, 0.29);
    EXPECT_EQ(panel.settings().contourFraction2, 0.99);
    panel.setFeatures(features());
    panel.clearFeatures();
    EXPECT_EQ(changed.count() + xScale.count() + yScale.count() + contours.count(), 0);
}

TEST_F(PlotSettingsPanelTest, ReportsWhatTheUserChanges) {
    panel.setFeatures(features());
    QSignalSpy changed(&panel, &PlotSettingsPanel::featuresChanged);
    QSignalSpy xScale(&panel, &PlotSettingsPanel::xScaleChanged);
    QSignalSpy yScale(&panel, &PlotSettingsPanel::yScaleChanged);
    QSignalSpy contours(&panel, &PlotSettingsPanel::contoursChanged);
    for (const char* name : {"xFeatureCombo", "yFeatureCombo", "colorFeatureCombo"}) {
        QTest::keyClick(combo(name), name[0] == 'y' ? Qt::Key_Up : Qt::Key_Down);
    }
    EXPECT_EQ(changed.count(), 3);
    QTest::keyClick(combo("xScaleCombo"), Qt::Key_Down);
    QTest::keyClick(combo("yScaleCombo"), Qt::Key_End);
    EXPECT_EQ(xScale.at(0).at(0).toInt(), 1);
    EXPECT_EQ(yScale.at(0).at(0).toInt(), 2);
    QTest::keyClick(combo("contourModeCombo"), Qt::Key_Down);
    QTest::keyClick(spin("innerFractionSpinBox"), Qt::Key_Up);
    QTest::keyClick(spin("outerFractionSpinBox"), Qt::Key_Down);
    EXPECT_EQ(contours.count(), 3);
    EXPECT_EQ(panel.settings().contourFraction1, 0.15);
    EXPECT_EQ(panel.settings().contourFraction2, 0.62);
}

TEST_F(PlotSettingsPanelTest, IsoelasticBoxesComeAndGo) {
    QSignalSpy changed(&panel, &PlotSettingsPanel::isoelasticsChanged);
    QCheckBox* lines = check("isoelasticsCheck");
    QCheckBox* labels = check("isoelasticLabelsCheck");
    EXPECT_FALSE(lines->isVisible());
    panel.setIsoelasticsOffered(true);
    EXPECT_TRUE(lines->isVisible());
    EXPECT_FALSE(labels->isVisible());
    lines->click();
    EXPECT_TRUE(labels->isVisible());
    labels->click();
    EXPECT_EQ(changed.count(), 2);
    EXPECT_TRUE(panel.isoelasticsChecked() && panel.isoelasticLabelsChecked());
    panel.setIsoelasticsOffered(false);
    EXPECT_FALSE(lines->isVisible() || labels->isVisible());
    panel.setIsoelasticsOffered(true);
    EXPECT_TRUE(labels->isVisible()); // the choice is remembered
}

TEST_F(PlotSettingsPanelTest, NothingIsClippedAtAnyWidth) {
    panel.setFeatures(features());
    panel.setIsoelasticsOffered(true);
    check("isoelasticsCheck")->setChecked(true);
    const int least = panel.minimumSizeHint().width();
    for (const bool highlighted : {false, true}) {
        panel.setApplyButton(true, highlighted);
        for (const int width : {least, 700, 1500}) {
            panel.resize(width, 400);
            QApplication::processEvents();
            panel.resize(width, panel.minimumSizeHint().height());
            QApplication::processEvents();
            EXPECT_EQ(panel.width(), width); // no content forces it wider
            for (const QWidget* child : panel.findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
                if (!child->isVisible() || qobject_cast<const QComboBox*>(child)) {
                    continue;
                }
                EXPECT_GE(child->width(), child->minimumSizeHint().width()) << child->objectName().toStdString();
                EXPECT_TRUE(panel.rect().contains(child->geometry())) << child->objectName().toStdString() << width;
            }
        }
    }
}

} // namespace
} // namespace Tessaly
