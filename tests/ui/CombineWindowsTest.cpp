#include "PlotFixture.h"

#include "plot/ComparePlot.h"
#include "session/document/SessionDocument.h"
#include "tools/combine/CombinePlotWindow.h"
#include "ui/MainWindow.h"
#include "ui/ToolWindows.h"
#include "ui/datasets/DatasetListWidget.h"

#include <QMenu>
#include <QMimeData>
#include <QPointer>
#include <QSettings>
#include <QThreadPool>

#include <gtest/gtest.h>

namespace Tessaly {
namespace {

/// Combine windows as the main window opens, feeds and closes them.
class CombineWindowsTest : public testing::Test {
protected:
    void SetUp() override {
        QSettings().clear();
        window = std::make_unique<MainWindow>();
        window->show();
        for (const char* name : {"treated", "control"}) {
            SampleFileOptions options;
            options.sample = name;
            options.events = 30;
            const std::string path = folder.file(std::string(name) + ".vqd");
            writeSampleFile(path, options);
            window->openDataset(QString::fromStdString(path));
            EXPECT_TRUE(QTest::qWaitFor([this] { return window->datasets().back()->featuresLoaded; }, 20000));
        }
    }
    void TearDown() override {
        window.reset();
        QThreadPool::globalInstance()->waitForDone();
    }

    CombinePlotWindow* open() {
        window->findChild<QAction*>("combinePlotAction")->trigger();
        return windows().back();
    }
    const std::vector<CombinePlotWindow*>& windows() const { return window->toolWindows().combinePlots(); }
    int id(int row) const { return window->datasets()[static_cast<std::size_t>(row)]->id; }
    static void finish(CombinePlotWindow& combine) {
        QApplication::processEvents();
        combine.finishRefresh();
    }

    TemporaryFolder folder;
    std::unique_ptr<MainWindow> window;
};

TEST_F(CombineWindowsTest, RowsOfTheMainListCanBeDropped) {
    CombinePlotWindow* first = open();
    CombinePlotWindow* second = open();
    EXPECT_TRUE(first->isVisible() && second->isVisible() && !first->parent());
    // A new row shows what is shown in the main window.
    window->session().setActive(id(1));
    auto* combo = window->findChild<QComboBox*>("xFeatureCombo");
    combo->setCurrentIndex(combo->findData("bright_avg"));
    auto* list = window->findChild<DatasetListWidget*>();
    const std::unique_ptr<QMimeData> data(list->model()->mimeData({list->model()->index(1, 0)}));
    QDragEnterEvent enter(QPoint(500, 300), Qt::CopyAction, data.get(), Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(second, &enter);
    QDropEvent drop(QPoint(500, 300), Qt::CopyAction, data.get(), Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(second, &drop);
    EXPECT_TRUE(drop.isAccepted());
    finish(*second);
    ASSERT_EQ(second->plots().size(), 1U);
    EXPECT_EQ(second->model().datasets()[0].datasetId, id(1));
    EXPECT_EQ(second->model().datasets()[0].xFeatureName, "bright_avg");
    EXPECT_TRUE(first->plots().empty());
}

TEST_F(CombineWindowsTest, TheyComeBackWithTheSession) {
    CombinePlotWindow* first = open();
    CombinePlotWindow* second = open();
    first->addDataset(id(0));
    second->addDataset(id(1));
    second->addDataset(id(0));
    auto& tools = const_cast<ToolWindows&>(window->toolWindows()); // as who loads sessions
    EXPECT_TRUE(tools.anyForSession());
    SessionDocument document;
    tools.saveInto(document, {{id(0), 0}, {id(1), 1}});
    ASSERT_EQ(document.combineWindows.size(), 2);
    tools.closeAll();
    EXPECT_FALSE(tools.anyForSession());
    tools.reopen(document, {{0, id(0)}, {1, id(1)}});
    ASSERT_EQ(windows().size(), 2U);
    finish(*windows()[0]);
    finish(*windows()[1]);
    EXPECT_EQ(windows()[0]->plots().size(), 1U);
    ASSERT_EQ(windows()[1]->plots().size(), 2U);
    EXPECT_EQ(windows()[1]->model().datasets()[0].datasetId, id(1));
    EXPECT_TRUE(windows()[1]->isVisible());
}

TEST_F(CombineWindowsTest, TheyGoWithTheSession) {
    const QPointer<CombinePlotWindow> first = open();
    const QPointer<CombinePlotWindow> second = open();
    for (CombinePlotWindow* each : windows()) {
        each->addDataset(id(0));
        each->addDataset(id(1));
    }
    QApplication::processEvents(); // they prepare their plots
    first->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(first.isNull());
    EXPECT_EQ(windows().size(), 1U);
    window->session().remove(id(0));
    EXPECT_EQ(second->model().count(), 1);
    emit window->session().notices().eventsChanged();
    QApplication::processEvents();
    window->session().clear();
    EXPECT_TRUE(second.isNull());
    EXPECT_TRUE(windows().empty());
}

} // namespace
} // namespace Tessaly
