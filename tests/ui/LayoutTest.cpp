#include "plot/ScatterPlot.h"
#include "support/SampleFile.h"
#include "support/TemporaryFolder.h"
#include "ui/MainWindow.h"
#include "ui/datasets/DatasetsPanel.h"
#include "ui/event/EventPanel.h"
#include "widgets/ElidedLabel.h"

#include <QApplication>
#include <QDockWidget>
#include <QLineEdit>
#include <QSettings>
#include <QTabBar>
#include <QTest>
#include <QThreadPool>

#include <gtest/gtest.h>

#include <algorithm>

namespace Tessaly {
namespace {

/// The main window at given sizes: what gets how much room, what can be read and reached.
class LayoutTest : public testing::Test {
protected:
    void SetUp() override {
        QSettings().clear();
        window = std::make_unique<MainWindow>();
        window->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    }

    void TearDown() override {
        window.reset();
        QThreadPool::globalInstance()->waitForDone();
    }

    void open(const std::string& name) {
        SampleFileOptions options;
        options.sample = name;
        const std::string path = (folder.path() / "sample.vqd").string();
        writeSampleFile(path, options);
        window->openDataset(QString::fromStdString(path));
        ASSERT_TRUE(QTest::qWaitFor(
            [&] { return window->datasets().size() == 1 && window->datasets()[0]->featuresLoaded; }, 20000));
    }

    const MainPanels& panels() const { return window->panels(); }

    TemporaryFolder folder;
    std::unique_ptr<MainWindow> window;
};

TEST_F(LayoutTest, TheStatusLineIsOneLineWithTheWholeInItsToolTip) {
    const auto* status = qobject_cast<const ElidedLabel*>(panels().status);
    ASSERT_TRUE(status);
    EXPECT_EQ(status->shownText(), status->text());
    const int height = status->height();
    const int width = window->minimumSizeHint().width();
    open("A<b>\n" + std::string(300, 'n'));
    EXPECT_EQ(status->height(), height);
    EXPECT_EQ(window->minimumSizeHint().width(), width);
    EXPECT_TRUE(status->text().startsWith("Loaded: A<b> nnn"));
    EXPECT_TRUE(status->shownText().startsWith("Loaded: A<b> nnn") && status->shownText().endsWith(" events)"));
    EXPECT_LE(status->fontMetrics().horizontalAdvance(status->shownText()), status->contentsRect().width());
    EXPECT_TRUE(status->toolTip().contains("A&lt;b&gt; " + QString(300, 'n')));
}

} // namespace
} // namespace Tessaly
