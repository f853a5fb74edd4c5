#include "WindowFixture.h"

#include "plot/ScatterPlot.h"
#include "ui/datasets/DatasetsPanel.h"
#include "ui/event/EventPanel.h"
#include "widgets/ElidedLabel.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QDockWidget>
#include <QLabel>
#include <QLineEdit>
#include <QTabBar>

#include <gtest/gtest.h>

#include <algorithm>

namespace Tessaly {
namespace {

/// The main window at given sizes: what gets how much room, what can be read and reached.
class LayoutTest : public WindowFixture {
protected:
    void open(const std::string& name) {
        SampleFileOptions options;
        options.sample = name; // which a file can't always be called
        writeSampleFile(folder.file("sample.vqd"), options);
        openAndWait(path("sample.vqd"));
    }

    const MainPanels& panels() const { return window->panels(); }
};

TEST_F(LayoutTest, TheStatusLineIsOneLineWithTheWholeInItsToolTip) {
    const auto* status = qobject_cast<const ElidedLabel*>(panels().status);
    ASSERT_TRUE(status);
    EXPECT_EQ(status->shownText(), status->text());
    const int height = status->height();
    const int width = window->minimumSizeHint().width();
    open(("A<b>\n" + QString(300, 'n')).toStdString());
    EXPECT_EQ(status->height(), height);
    EXPECT_EQ(window->minimumSizeHint().width(), width);
    EXPECT_TRUE(status->text().startsWith("Loaded: A<b> nnn"));
    EXPECT_TRUE(status->shownText().startsWith("Loaded: A<b> nnn") && status->shownText().endsWith(" events)"));
    EXPECT_LE(status->fontMetrics().horizontalAdvance(status->shownText()), status->contentsRect().width());
    EXPECT_TRUE(status->toolTip().contains("A&lt;b&gt; " + QString(300, 'n')));
}

TEST_F(LayoutTest, TheCanvasGetsTwoFifthsOfTheWidth) {
    open("sample");
    const QWidget* canvas = panels().plot->canvas();
    for (const QSize& size :
         {QSize(1024, 700), QSize(1366, 700), QSize(1200, 800), QSize(1920, 1000), QSize(1024, 700)}) {
        window->resize(size);
        EXPECT_TRUE(QTest::qWaitFor([&] { return canvas->width() >= 0.4 * window->width(); }, 2000))
            << canvas->width() << " of " << window->width();
        EXPECT_EQ(window->size(), size) << "the window fits";
    }
    // Given room again, the docks take it.
    const int narrow = panels().filtersDock->width();
    window->resize(1600, 900);
    EXPECT_TRUE(QTest::qWaitFor([&] { return panels().filtersDock->width() >= 300; }, 2000));
    EXPECT_LT(narrow, 300);
    // What the user has dragged holds: the separator left of the filters, 60 pixels to the left.
    const QPoint grip(panels().filtersDock->x() - 3, 400);
    QTest::mousePress(window.get(), Qt::LeftButton, {}, grip);
    QTest::mouseMove(window.get(), grip - QPoint(60, 0));
    QTest::qWait(20);
    QTest::mouseRelease(window.get(), Qt::LeftButton, {}, grip - QPoint(60, 0));
    const int dragged = panels().filtersDock->width();
    EXPECT_NEAR(dragged, 360, 3);
    window->resize(1024, 700);
    EXPECT_TRUE(QTest::qWaitFor([&] { return panels().filtersDock->width() < 300; }, 2000));
    window->resize(1600, 900);
    EXPECT_TRUE(QTest::qWaitFor([&] { return panels().filtersDock->width() == dragged; }, 2000));
}

TEST_F(LayoutTest, HiddenDocksComeBackAsLargeAsTheyWere) {
    window->resize(1400, 900);
    const QDockWidget* docks[] = {panels().datasetsDock, panels().filtersDock, panels().calculationsDock,
                                  panels().metadataDock, panels().statisticsDock};
    QTest::qWait(50);
    const QSize statistics = panels().statisticsDock->size();
    const int datasets = panels().datasetsDock->width();
    for (const bool visible : {false, true}) {
        for (const QDockWidget* dock : docks) {
            dock->toggleViewAction()->trigger();
            QTest::qWait(10);
            EXPECT_EQ(dock->isVisible(), visible);
        }
    }
    EXPECT_TRUE(QTest::qWaitFor([&] { return panels().statisticsDock->size() == statistics; }, 2000))
        << panels().statisticsDock->width() << " x " << panels().statisticsDock->height() << ", was "
        << statistics.width() << " x " << statistics.height();
    EXPECT_EQ(panels().datasetsDock->width(), datasets);
}

TEST_F(LayoutTest, TheTabKeyFollowsTheEyeAndMeetsNothingOutOfSight) {
    open("sample");
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    auto* first = window->findChild<QWidget*>("datasetModeCombo");
    first->setFocus();
    QStringList names;
    QWidget* at = first;
    do {
        names << (at->objectName().isEmpty() ? QString(at->metaObject()->className()) : at->objectName());
        EXPECT_FALSE(at->visibleRegion().isEmpty()) << qPrintable(names.last());
        QTest::keyClick(at, Qt::Key_Tab);
        at = QApplication::focusWidget();
    } while (at && at != first && names.size() < 60);
    ASSERT_EQ(at, first) << "all round";
    int last = -1;
    for (const char* name :
         {"datasetModeCombo", "datasetList", "renameEdit", "xFeatureCombo", "xScaleCombo", "yFeatureCombo",
          "colorFeatureCombo", "contourModeCombo", "eventSpinBox", "scatterPlotCanvas", "qt_tabwidget_tabbar",
          "zoomInButton", "QTabBar", "filteringEnabledCheckBox", "statisticsTable"}) {
        const int place = static_cast<int>(names.indexOf(QLatin1String(name)));
        EXPECT_GT(place, last) << name;
        last = place;
    }
    // And back, over the docks behind the tabs.
    QTest::keyClick(first, Qt::Key_Backtab);
    EXPECT_EQ(QApplication::focusWidget()->objectName(), "statisticsTable");
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backtab);
    EXPECT_EQ(QApplication::focusWidget()->objectName(), "moreFilterActionsButton");
}

TEST_F(LayoutTest, AnEmptyPlotSaysSo) {
    const auto* hint = panels().plot->canvas()->findChild<QLabel*>("emptyHint");
    ASSERT_TRUE(hint);
    EXPECT_TRUE(hint->isVisible());
    open("sample");
    EXPECT_FALSE(hint->isVisible());
    window->session().remove(window->activeDatasetId());
    EXPECT_TRUE(hint->isVisible());
}

TEST_F(LayoutTest, FitsTheScreen) {
    const struct {
        QSize minimum;
        QSize available;
        QSize size;
    } cases[] = {{{840, 600}, {1912, 1040}, {1400, 900}},
                 {{840, 600}, {1358, 700}, {1358, 700}},
                 {{840, 600}, {2000, 700}, {1400, 700}},
                 {{840, 600}, {840, 600}, {840, 600}},
                 {{840, 600}, {800, 800}, {1400, 900}}};
    for (const auto& c : cases) {
        EXPECT_EQ(sizeOnScreen({1400, 900}, c.minimum, c.available), c.size) << c.available.width();
    }
    open("sample");
    window->resize(1024, 700);
    QTest::qWait(20);
    // A screen of 1366 x 768 with a panel and a title bar, and half of 1920 x 1200.
    EXPECT_LE(window->minimumSizeHint().width(), 960);
    EXPECT_LE(window->minimumSizeHint().height(), 620);
}

TEST_F(LayoutTest, TheCloseButtonsOfDocksHaveNoSize) {
    for (const QDockWidget* dock : {panels().datasetsDock, panels().statisticsDock}) {
        for (const auto* button : dock->findChildren<QAbstractButton*>(QString(), Qt::FindDirectChildrenOnly)) {
            EXPECT_TRUE(button->isHidden() || button->visibleRegion().isEmpty()) << qPrintable(button->objectName());
        }
        EXPECT_TRUE(dock->features() & QDockWidget::DockWidgetClosable);
    }
}

} // namespace
} // namespace Tessaly
