#include "support/MouseWheel.h"
#include "widgets/ContourControls.h"
#include "widgets/FeatureCombo.h"
#include "widgets/ScaleModeCombo.h"
#include "widgets/WheelGuard.h"

#include <QApplication>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalSpy>
#include <QSpinBox>
#include <QVBoxLayout>

#include <gtest/gtest.h>

#include <limits>

namespace Tessaly {
namespace {

TEST(FeatureCombo, ProgramChoosesSilentlyAndTheUserIsHeard) {
    FeatureCombo combo;
    QSignalSpy changed(&combo, &QComboBox::currentIndexChanged);
    combo.setFeatures({{"", "None"}, {"area_um", "Area [µm²]"}, {"deform", "Deformation"}});
    EXPECT_EQ(combo.key(), "");
    combo.select("area_um");
    EXPECT_EQ(combo.key(), "area_um");
    EXPECT_EQ(combo.toolTip(), "Area [µm²]");
    for (const char* notListed : {"", "gone"}) {
        combo.select(notListed);
        EXPECT_EQ(combo.key(), "area_um") << notListed;
    }
    EXPECT_EQ(changed.count(), 0);
    QTest::keyClick(&combo, Qt::Key_Down);
    EXPECT_EQ(combo.key(), "deform");
    EXPECT_EQ(combo.toolTip(), "Deformation");
    EXPECT_EQ(changed.count(), 1);
    combo.setFeatures({});
    EXPECT_EQ(combo.key(), "");
    EXPECT_EQ(combo.toolTip(), "");
}

TEST(ScaleModeCombo, MarksPointsThatALogAxisCannotShow) {
    ScaleModeCombo combo("Y-axis scale mode");
    QSignalSpy changed(&combo, &QComboBox::currentIndexChanged);
    combo.setMode(1);
    const struct {
        int count;
        const char* item;
        const char* toolTip;
    } rows[] = {
        {1, "Log ⚠", "Y-axis scale mode: 1 point with value ≤ 0 not shown (cannot be drawn on a log axis)"},
        {12, "Log ⚠", "Y-axis scale mode: 12 points with value ≤ 0 not shown (cannot be drawn on a log axis)"},
        {0, "Log", "Y-axis scale mode"},
    };
    for (const auto& row : rows) {
        combo.markLogAxisProblem(row.count);
        EXPECT_EQ(combo.itemText(1), row.item);
        EXPECT_EQ(combo.toolTip(), row.toolTip);
        EXPECT_EQ(combo.styleSheet().contains("#f9a825"), row.count > 0) << row.count;
        EXPECT_EQ(combo.mode(), 1);
    }
    combo.setMode(3);
    EXPECT_EQ(combo.mode(), 0);
    EXPECT_EQ(changed.count(), 0);
}

TEST(ContourControls, KeepModeAndLevelsAndReportTheUser) {
    QWidget parent;
    ContourControls controls(&parent, ":");
    auto* layout = new QVBoxLayout(&parent);
    for (const ContourControls::Row& row : controls.rows()) {
        EXPECT_TRUE(row.label->text().endsWith(':'));
        EXPECT_EQ(row.label->buddy(), row.control);
        layout->addWidget(row.label);
        layout->addWidget(row.control);
    }
    int reports = 0;
    QObject::connect(&controls, &ContourControls::changed, [&] { ++reports; });
    EXPECT_EQ(controls.innerFraction(), 0.10);
    EXPECT_EQ(controls.outerFraction(), 0.67);
    controls.setChoice(2, 0.29, 1.4);
    EXPECT_EQ(controls.mode(), 2);
    EXPECT_EQ(controls.innerFraction(), 0.29); // 0.29 * 100 is a little below 29
    EXPECT_EQ(controls.outerFraction(), 0.99);
    controls.setChoice(-1, std::numeric_limits<double>::quiet_NaN(), 0.5);
    EXPECT_EQ(controls.mode(), 0);
    EXPECT_EQ(controls.innerFraction(), 0.29);
    EXPECT_EQ(reports, 0);
    QTest::keyClick(controls.rows()[0].control, Qt::Key_Down);
    QTest::keyClick(controls.rows()[1].control, Qt::Key_Up);
    QTest::keyClick(controls.rows()[2].control, Qt::Key_Down);
    EXPECT_EQ(reports, 3);
    EXPECT_EQ(controls.mode(), 1);
    EXPECT_EQ(controls.innerFraction(), 0.34);
    EXPECT_EQ(controls.outerFraction(), 0.45);
}

TEST(WheelGuard, ABoxWithoutTheFocusLetsItsPanelScroll) {
    WheelGuard::install(*qApp);
    WheelGuard::install(*qApp);
    QScrollArea area;
    auto* content = new QWidget;
    auto* layout = new QVBoxLayout(content);
    auto* combo = new WideCombo;
    combo->addItems({"a", "b", "c"});
    combo->setCurrentIndex(1);
    auto* whole = new QSpinBox;
    auto* broken = new QDoubleSpinBox;
    auto* elsewhere = new QSpinBox;
    for (QWidget* box : std::initializer_list<QWidget*>{elsewhere, combo, whole, broken}) {
        layout->addWidget(box);
    }
    content->setMinimumHeight(2000);
    layout->addStretch();
    whole->setValue(5);
    broken->setValue(5.0);
    area.setWidget(content);
    area.resize(300, 300);
    area.show();
    area.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&area));
    QScrollBar* bar = area.verticalScrollBar();
    for (QWidget* box : std::initializer_list<QWidget*>{combo, whole, broken}) {
        bar->setValue(0);
        elsewhere->setFocus();
        turnWheel(box, -1);
        EXPECT_GT(bar->value(), 0) << box->metaObject()->className();
        EXPECT_FALSE(box->hasFocus());
        EXPECT_TRUE(combo->currentIndex() == 1 && whole->value() == 5 && broken->value() == 5.0);
    }
    // With the focus each reacts as usual.
    for (QWidget* box : std::initializer_list<QWidget*>{combo, whole, broken}) {
        bar->setValue(0);
        QTest::mouseClick(box, Qt::LeftButton, Qt::NoModifier, QPoint(8, box->height() / 2));
        combo->hidePopup();
        ASSERT_TRUE(box->hasFocus()) << box->metaObject()->className();
        turnWheel(box, -1);
        EXPECT_EQ(bar->value(), 0) << box->metaObject()->className();
    }
    EXPECT_TRUE(combo->currentIndex() == 2 && whole->value() == 4 && broken->value() == 4.0);
}

} // namespace
} // namespace Tessaly
