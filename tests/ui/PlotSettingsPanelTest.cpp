#include "ui/PlotSettingsPanel.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
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
    QPushButton* button() const { return panel.findChild<QPushButton*>("applyToAllButton"); }

    PlotSettingsPanel panel;
};

TEST_F(PlotSettingsPanelTest, OffersFeaturesWithDefaults) {
    panel.setFeatures(features());
    const PlotSettings settings = panel.settings();
    EXPECT_EQ(settings.xFeature, "area_um");
    EXPECT_EQ(settings.yFeature, "deform");
    EXPECT_EQ(settings.colorFeature, "");
    EXPECT_EQ(settings.contourFraction1, 0.10);
    EXPECT_EQ(settings.contourFraction2, 0.67);
    QStringList texts;
    for (int i = 0; i < combo("colorFeatureCombo")->count(); ++i) {
        texts << combo("colorFeatureCombo")->itemText(i) + '|' + combo("colorFeatureCombo")->itemData(i).toString();
    }
    EXPECT_EQ(texts, QStringList({"None|", "Density (KDE)|__density_kde__", "Area [µm²]|area_um",
                                  "Brightness|bright_avg", "Deformation|deform"}));
    EXPECT_EQ(combo("xFeatureCombo")->count(), 3);
    panel.setFeatures({{"time", "Time [s]"}, {"temp", "Temperature"}});
    EXPECT_EQ(panel.settings().xFeature, "time");
    panel.clearFeatures();
    EXPECT_EQ(panel.settings().xFeature, "");
}

TEST_F(PlotSettingsPanelTest, ShowsSettingsWithoutSignals) {
    panel.setFeatures(features());
    std::vector<std::unique_ptr<QSignalSpy>> spies;
    spies.push_back(std::make_unique<QSignalSpy>(&panel, &PlotSettingsPanel::featuresChanged));
    spies.push_back(std::make_unique<QSignalSpy>(&panel, &PlotSettingsPanel::xScaleChanged));
    spies.push_back(std::make_unique<QSignalSpy>(&panel, &PlotSettingsPanel::yScaleChanged));
    spies.push_back(std::make_unique<QSignalSpy>(&panel, &PlotSettingsPanel::contoursChanged));
    PlotSettings settings;
    settings.xFeature = "bright_avg";
    settings.yFeature = "area_um";
    settings.colorFeature = DensityKde;
    settings.scaleX = 1;
    settings.scaleY = 2;
    settings.contourMode = ContourMode::Only;
    settings.contourFraction1 = 0.29; // 0.29 * 100 is a little below 29
    settings.contourFraction2 = 0.57; // 0.57 * 100 is a little below 57
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
    for (const auto& spy : spies) {
        EXPECT_EQ(spy->count(), 0);
    }
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
    EXPECT_EQ(spin("innerFractionSpinBox")->text(), "15%");
}

TEST_F(PlotSettingsPanelTest, MarksScalesThatHidePoints) {
    struct Case {
        int count;
        QString item;
        QString tip;
    };
    const QString axis = QStringLiteral("Y-axis scale mode");
    for (const Case& c :
         {Case{0, "Log", axis},
          Case{1, "Log ⚠", axis + ": 1 point with value ≤ 0 not shown (cannot be drawn on a log axis)"},
          Case{12, "Log ⚠", axis + ": 12 points with value ≤ 0 not shown (cannot be drawn on a log axis)"},
          Case{0, "Log", axis}}) {
        panel.setLogAxisProblems(0, c.count);
        EXPECT_EQ(combo("yScaleCombo")->itemText(1), c.item);
        EXPECT_EQ(combo("yScaleCombo")->toolTip(), c.tip);
        EXPECT_EQ(combo("yScaleCombo")->styleSheet(),
                  c.count ? "QComboBox { background-color: #fff8e1; border: 1px solid #f9a825; }" : "");
        EXPECT_EQ(combo("xScaleCombo")->itemText(1), "Log");
    }
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

TEST_F(PlotSettingsPanelTest, TheApplyButtonLightsUpOnlyWhenEnabled) {
    panel.setApplyButton(false, true);
    EXPECT_EQ(button()->styleSheet(), "");
    EXPECT_FALSE(button()->isEnabled());
    panel.setApplyButton(true, true);
    EXPECT_EQ(button()->styleSheet(), "QPushButton { background-color: #a6d7d5; color: #00abad; border: 1px solid "
                                      "#00abad; font-weight: bold; }");
    panel.setApplyButton(true, false);
    EXPECT_EQ(button()->styleSheet(), "");
}

TEST_F(PlotSettingsPanelTest, NothingIsClippedAtAnyWidth) {
    panel.setFeatures(features());
    panel.setIsoelasticsOffered(true);
    check("isoelasticsCheck")->setChecked(true);
    QFontMetrics metrics(combo("xFeatureCombo")->font());
    const int maxFeature = metrics.horizontalAdvance("Position along channel axis [µm]") + 60;
    const int least = panel.minimumSizeHint().width();
    for (const bool highlighted : {false, true}) {
        panel.setApplyButton(true, highlighted);
        for (const int width : {least, least + 60, 700, 800, 1000, 1500, least}) {
            panel.resize(width, 400);
            QApplication::processEvents();
            panel.resize(width, panel.minimumSizeHint().height());
            QApplication::processEvents();
            EXPECT_EQ(panel.width(), width); // no content forces it wider
            for (const char* name : {"xFeatureCombo", "yFeatureCombo"}) {
                EXPECT_GE(combo(name)->width(), 150);
                EXPECT_LE(combo(name)->width(), maxFeature);
            }
            for (const QWidget* child : panel.findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
                if (!child->isVisible() || qobject_cast<const QComboBox*>(child)) {
                    continue;
                }
                EXPECT_GE(child->width(), child->minimumSizeHint().width()) << child->objectName().toStdString();
                EXPECT_GE(child->height(), child->minimumSizeHint().height()) << child->objectName().toStdString();
                EXPECT_TRUE(panel.rect().contains(child->geometry())) << child->objectName().toStdString() << width;
            }
            QFont bold = button()->font();
            bold.setBold(true);
            const QSize text = QFontMetrics(bold).size(0, button()->text());
            EXPECT_GE(button()->width(), text.width());
            EXPECT_GE(button()->height(), text.height());
        }
    }
}

} // namespace
} // namespace Tessaly
