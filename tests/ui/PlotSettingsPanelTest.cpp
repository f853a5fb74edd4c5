#include "ui/plot/PlotSettingsPanel.h"

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
    EXPECT_EQ(settings.xFeatureName, "area_um");
    EXPECT_EQ(settings.yFeatureName, "deform");
    EXPECT_EQ(settings.colorFeatureName, "");
    EXPECT_EQ(combo("xFeatureCombo")->count(), 3);
    EXPECT_EQ(combo("colorFeatureCombo")->findData("__density_kde__"), 1);
    EXPECT_EQ(combo("colorFeatureCombo")->findData("area_um"), 2);
    panel.setFeatures({{"time", "Time [s]"}, {"temp", "Temperature"}});
    EXPECT_EQ(panel.settings().xFeatureName, "time");
    panel.clearFeatures();
    EXPECT_EQ(panel.settings().xFeatureName, "");
}

TEST_F(PlotSettingsPanelTest, ShowsSettingsWithoutSignals) {
    panel.setFeatures(features());
    QSignalSpy changed(&panel, &PlotSettingsPanel::settingsChanged);
    // 0.29 * 100 is a little below 29, and 0.57 * 100 a little below 57.
    const PlotSettings settings{"bright_avg", "area_um", std::string(DensityKde), 1, 2, ContourMode::Only, 0.29, 0.57};
    panel.setSettings(settings);
    EXPECT_TRUE(panel.settings() == settings);
    EXPECT_EQ(combo("yFeatureCombo")->toolTip(), "Area [µm²]"); // the box may cut it

    PlotSettings partial = settings;
    partial.xFeatureName = "gone";
    partial.yFeatureName = "";
    partial.scaleXMode = 7;
    partial.contourFraction1 = std::numeric_limits<double>::quiet_NaN();
    partial.contourFraction2 = 1.4;
    panel.setSettings(partial);
    EXPECT_EQ(panel.settings().xFeatureName, "bright_avg");
    EXPECT_EQ(panel.settings().yFeatureName, "area_um");
    EXPECT_EQ(panel.settings().scaleXMode, 0);
    EXPECT_EQ(panel.settings().contourFraction1, 0.29);
    EXPECT_EQ(panel.settings().contourFraction2, 0.99);
    panel.setFeatures(features());
    panel.clearFeatures();
    EXPECT_EQ(changed.count(), 0);
}

TEST_F(PlotSettingsPanelTest, ReportsWhatTheUserChanges) {
    panel.setFeatures(features());
    PlotSettings expected{"area_um", "deform", "", 0, 0, 0, 0.1, 0.67};
    panel.setSettings(expected);
    PlotSettings reported;
    int reports = 0;
    QObject::connect(&panel, &PlotSettingsPanel::settingsChanged, [&](const PlotSettings& settings) {
        reported = settings;
        ++reports;
    });
    const auto press = [&](QWidget* control, Qt::Key key, const char* what) {
        const int before = reports;
        QTest::keyClick(control, key);
        EXPECT_EQ(reports, before + 1) << what;
        EXPECT_TRUE(reported == expected) << what;
        EXPECT_TRUE(panel.settings() == expected) << what;
    };
    expected.xFeatureName = "bright_avg";
    press(combo("xFeatureCombo"), Qt::Key_Down, "x feature");
    expected.yFeatureName = "bright_avg";
    press(combo("yFeatureCombo"), Qt::Key_Up, "y feature");
    expected.colorFeatureName = DensityKde;
    press(combo("colorFeatureCombo"), Qt::Key_Down, "colour");
    expected.scaleXMode = 1;
    press(combo("xScaleCombo"), Qt::Key_Down, "x scale");
    expected.scaleYMode = 2;
    press(combo("yScaleCombo"), Qt::Key_End, "y scale");
    expected.contourMode = ContourMode::Overlay;
    press(combo("contourModeCombo"), Qt::Key_Down, "contours");
    expected.contourFraction1 = 0.15;
    press(spin("innerFractionSpinBox"), Qt::Key_Up, "inner level");
    expected.contourFraction2 = 0.62;
    press(spin("outerFractionSpinBox"), Qt::Key_Down, "outer level");
}

TEST_F(PlotSettingsPanelTest, AFeatureThatIsNotListedKeepsItsNameUntilAnotherIsPicked) {
    panel.setFeatures(features());
    const PlotSettings stored{"volume", "emodulus", "fl1_max", 0, 0, 0, 0.1, 0.67};
    panel.setSettings(stored);
    EXPECT_EQ(panel.settings().xFeatureName, "area_um") << "the box shows what is plotted instead";
    PlotSettings reported;
    QObject::connect(&panel, &PlotSettingsPanel::settingsChanged, [&](const PlotSettings& now) { reported = now; });
    PlotSettings expected = stored;
    expected.scaleXMode = 1;
    QTest::keyClick(combo("xScaleCombo"), Qt::Key_Down);
    EXPECT_TRUE(reported == expected);
    expected.xFeatureName = "bright_avg";
    QTest::keyClick(combo("xFeatureCombo"), Qt::Key_Down);
    EXPECT_TRUE(reported == expected);
    expected.yFeatureName = "bright_avg";
    QTest::keyClick(combo("yFeatureCombo"), Qt::Key_Up);
    EXPECT_TRUE(reported == expected);
    expected.colorFeatureName = DensityKde;
    QTest::keyClick(combo("colorFeatureCombo"), Qt::Key_Down);
    EXPECT_TRUE(reported == expected);
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
