#include "support/MouseWheel.h"
#include "ui/MainWindow.h"

#include <QAbstractItemView>
#include <QAbstractSpinBox>
#include <QComboBox>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QTest>

#include <gtest/gtest.h>

#include <iterator>
#include <string>

namespace Tessaly {
namespace {

const char* const Combos[] = {"xFeatureCombo", "yFeatureCombo",    "colorFeatureCombo", "xScaleCombo",
                              "yScaleCombo",   "contourModeCombo", "datasetModeCombo"};
const char* const SpinBoxes[] = {"innerFractionSpinBox", "outerFractionSpinBox", "folderDepthSpinBox", "eventSpinBox"};
const QColor PopupSelection(0xa6, 0xd7, 0xd5);

/// The window as it stands on the screen, with more features to choose from than a list shows at once.
class ControlsTest : public testing::Test {
protected:
    void SetUp() override {
        window.show();
        window.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
        find<QComboBox>("datasetModeCombo")->setCurrentIndex(1); // brings up the depth
        for (const char* name : {"xFeatureCombo", "yFeatureCombo", "colorFeatureCombo"}) {
            auto* combo = find<QComboBox>(name);
            const QSignalBlocker blocker(combo);
            combo->setEnabled(true);
            for (int i = 0; i < 60; ++i) {
                combo->addItem(
                    QString("A feature with a name that no box of this window is wide enough for, %1").arg(i));
            }
        }
        for (const char* name : SpinBoxes) {
            auto* box = find<QSpinBox>(name);
            const QSignalBlocker blocker(box);
            box->setEnabled(true);
            box->setRange(0, 100);
        }
    }

    template <class Widget>
    Widget* find(const char* name) const {
        auto* widget = window.findChild<Widget*>(name);
        EXPECT_NE(widget, nullptr) << name;
        return widget;
    }

    MainWindow window;
};

TEST_F(ControlsTest, TheWheelOverABoxWithoutTheFocusDoesNothing) {
    int tried = 0;
    for (QComboBox* combo : window.findChildren<QComboBox*>()) {
        if (!combo->isVisible()) {
            continue; // on a page that the wheel can't reach
        }
        const std::string name = combo->objectName().toStdString();
        const int before = combo->currentIndex();
        combo->clearFocus();
        turnWheel(combo, -1);
        turnWheel(combo, -1);
        turnWheel(combo, 1);
        EXPECT_EQ(combo->currentIndex(), before) << name;
        EXPECT_FALSE(combo->hasFocus()) << name;
        ++tried;
    }
    EXPECT_GE(tried, std::ssize(Combos));
    tried = 0;
    for (QAbstractSpinBox* box : window.findChildren<QAbstractSpinBox*>()) {
        if (!box->isVisible()) {
            continue;
        }
        const std::string name = box->objectName().toStdString();
        const QString before = box->text();
        box->clearFocus();
        turnWheel(box, 1);
        turnWheel(box, 1);
        turnWheel(box, -1);
        EXPECT_EQ(box->text(), before) << name;
        EXPECT_FALSE(box->hasFocus()) << name;
        ++tried;
    }
    EXPECT_GE(tried, std::ssize(SpinBoxes));
}

TEST_F(ControlsTest, PopupsShowWholeTextsInAtMostTwentyRowsWithTheSelectionOfLists) {
    for (const char* name : Combos) {
        auto* combo = find<QComboBox>(name);
        QTest::mouseClick(combo, Qt::LeftButton);
        QAbstractItemView* view = combo->view();
        ASSERT_TRUE(view->isVisible()) << name;
        EXPECT_GE(view->viewport()->width(), view->sizeHintForColumn(0)) << name;
        const int rowHeight = view->visualRect(combo->model()->index(0, combo->modelColumn())).height();
        EXPECT_LE(view->viewport()->height(), 20 * rowHeight + 2) << name;
        EXPECT_GE(view->viewport()->height(), std::min(combo->count(), 20) * rowHeight) << name;

        const QRect entry = view->visualRect(combo->model()->index(1, combo->modelColumn()));
        QTest::mouseMove(view->viewport(), entry.center());
        ASSERT_EQ(view->currentIndex().row(), 1) << name;
        const QImage picture = view->viewport()->grab().toImage();
        // The focus frame of the style tints the entry by some two levels.
        const QColor shown = picture.pixelColor(entry.right() - 3, entry.center().y());
        EXPECT_NEAR(shown.red(), PopupSelection.red(), 3) << name;
        EXPECT_NEAR(shown.green(), PopupSelection.green(), 3) << name;
        EXPECT_NEAR(shown.blue(), PopupSelection.blue(), 3) << name;
        bool white = false;
        for (int x = entry.left(); x < entry.right(); ++x) {
            white = white || picture.pixelColor(x, entry.center().y()).lightness() > 240;
        }
        EXPECT_FALSE(white) << name << ": light text";
        combo->hidePopup();
    }
}

} // namespace
} // namespace Tessaly
