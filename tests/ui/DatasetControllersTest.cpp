#include "MessageBoxWatcher.h"
#include "UserActions.h"

#include "io/VQDReader.h"
#include "session/CalculationRunner.h"
#include "session/Session.h"
#include "support/SampleFile.h"
#include "support/TemporaryFolder.h"
#include "ui/datasets/DatasetController.h"
#include "ui/datasets/DatasetListWidget.h"
#include "ui/datasets/DatasetLoader.h"
#include "ui/datasets/DatasetsPanel.h"
#include "ui/datasets/NameController.h"
#include "ui/event/MetadataController.h"
#include "ui/event/MetadataPanel.h"

#include <QDockWidget>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QSettings>
#include <QTabBar>
#include <QTest>
#include <QThreadPool>

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <mutex>

namespace Tessaly {
namespace {

class DatasetControllersTest : public testing::Test {
protected:
    DatasetControllersTest() {
        QSettings().clear();
        window.setCentralWidget(&field);
        auto* dock = new QDockWidget(&window);
        dock->setWidget(&list);
        window.addDockWidget(Qt::LeftDockWidgetArea, dock);
        window.show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
    }
    ~DatasetControllersTest() override {
        loader.stop();
        QThreadPool::globalInstance()->waitForDone();
        list.setParent(nullptr);
        window.takeCentralWidget();
    }

    QString sample(const std::string& name, bool instrument = true) {
        SampleFileOptions options;
        options.sample = name;
        options.events = 20;
        options.instrument = instrument;
        writeSampleFile(folder.file(name + ".vqd"), options);
        return QString::fromStdString(folder.file(name + ".vqd"));
    }
    QString noMeasurement(const std::string& name) {
        std::ofstream(folder.file(name)) << "this is no measurement";
        return QString::fromStdString(folder.file(name));
    }
    bool allLoaded(int count) {
        return QTest::qWaitFor(
            [&] {
                return session.datasetCount() == count && loader.preloadId() < 0 &&
                       std::ranges::all_of(session.datasets(), [](const auto& entry) { return entry->featuresLoaded; });
            },
            20000);
    }
    QStringList names() const {
        QStringList result;
        for (const auto& entry : session.datasets()) {
            result << entry->displayName;
        }
        return result;
    }
    void chooseInMenu(int row, const char* action) { chooseInContextMenu(*list.list(), row, action); }
    void clickRow(int row) { clickListRow(*list.list(), row); }

    TemporaryFolder folder;
    QMainWindow window;
    QLineEdit field;
    DatasetsPanel list;
    Session session;
    DatasetLoader loader{session, &window};
    CalculationRunner runner{session};
    DatasetController controller{session, loader, runner, list, &window};
    NameController nameController{session, field, nullptr};
};

TEST_F(DatasetControllersTest, BadFilesDoNotHoldUpTheGoodOnesBehindThem) {
    MessageBoxWatcher boxes;
    controller.openPaths({noMeasurement("a.vqd"), sample("b"), sample("c", false), noMeasurement("d.vqd"), sample("e"),
                          sample("f", false), sample("g")});
    ASSERT_TRUE(allLoaded(3));
    EXPECT_EQ(names(), QStringList({"b", "e", "g"}));
    EXPECT_EQ(session.active()->displayName, "g");
    QStringList texts;
    for (const auto& box : boxes.seen()) {
        texts << box.title;
    }
    EXPECT_EQ(texts, QStringList({"Error", "Unsupported Data", "Error"})) << "the second foreign file comes without";
    // Nothing is left over that would load later, out of the blue.
    controller.openPaths({sample("h")});
    ASSERT_TRUE(allLoaded(4));
    QTest::qWait(50);
    EXPECT_EQ(names(), QStringList({"b", "e", "g", "h"}));
}

TEST_F(DatasetControllersTest, PathsWithAngleBracketsAreShownAsTheyAre) {
    const QString path = noMeasurement("<b>bold<i>.vqd");
    MessageBoxWatcher boxes;
    loader.open(path);
    ASSERT_EQ(boxes.seen().size(), 1U);
    EXPECT_EQ(boxes.seen()[0].text, "Failed to open: " + path);
    EXPECT_EQ(boxes.seen()[0].format, Qt::PlainText);
}

TEST_F(DatasetControllersTest, RemovingWhatLoadsIsRefusedWithTheMenuClosedFirst) {
    controller.openPaths({sample("first")});
    ASSERT_TRUE(allLoaded(1));
    const QString loading = sample("loading");
    std::unique_lock lock(hdf5Mutex()); // holds the preload back
    loader.open(loading);
    const int id = loader.preloadId();
    ASSERT_GE(id, 0);
    MessageBoxWatcher boxes;
    chooseInMenu(1, "removeDatasetAction");
    EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
    chooseInMenu(1, "duplicateDatasetAction");
    ASSERT_EQ(boxes.seen().size(), 1U);
    EXPECT_EQ(boxes.seen()[0].title, "Cannot Remove");
    EXPECT_EQ(names(), QStringList({"first", "loading"}));
    // Others can be removed, moved and duplicated meanwhile; the preload still means its dataset.
    chooseInMenu(0, "duplicateDatasetAction");
    emit list.list()->internalReorderRequested(1, 0);
    EXPECT_EQ(names(), QStringList({"loading", "first", "first (copy)"}));
    chooseInMenu(1, "removeDatasetAction");
    EXPECT_EQ(names(), QStringList({"loading", "first (copy)"}));
    EXPECT_EQ(loader.preloadId(), id);
    EXPECT_FALSE(session.findById(id)->featuresLoaded);
    lock.unlock();
    ASSERT_TRUE(allLoaded(2));
    EXPECT_TRUE(session.findById(id)->featuresLoaded);
    chooseInMenu(0, "removeDatasetAction");
    EXPECT_EQ(names(), QStringList({"first (copy)"}));
}

TEST_F(DatasetControllersTest, ClearingDuringAPreloadLeavesNothingBehind) {
    const QString first = sample("first");
    const QString second = sample("second");
    controller.openPaths({first, second});
    loader.stop();
    session.clear();
    EXPECT_EQ(session.datasetCount(), 0);
    EXPECT_EQ(list.list()->count(), 0);
    QTest::qWait(50);
    EXPECT_EQ(session.datasetCount(), 0) << "the queued file doesn't load into the cleared session";
    EXPECT_EQ(loader.preloadId(), -1);
    controller.openPaths({second});
    ASSERT_TRUE(allLoaded(1));
    EXPECT_EQ(names(), QStringList({"second"}));
}

TEST_F(DatasetControllersTest, AClickMakesARowActive) {
    controller.openPaths({sample("a"), sample("b")});
    ASSERT_TRUE(allLoaded(2));
    clickRow(0);
    EXPECT_EQ(session.active()->displayName, "a");
    EXPECT_EQ(field.text(), "a");
    clickRow(1);
    EXPECT_EQ(session.active()->displayName, "b");
    EXPECT_EQ(field.text(), "b");
    chooseInMenu(1, "removeDatasetAction");
    EXPECT_EQ(session.active()->displayName, "a");
    EXPECT_EQ(list.currentRow(), 0);
}

TEST_F(DatasetControllersTest, TheNameFieldRenamesAndTakesBack) {
    EXPECT_FALSE(field.isEnabled());
    controller.openPaths({sample("one"), sample("two")});
    ASSERT_TRUE(allLoaded(2));
    clickRow(0);
    QTest::mouseClick(&field, Qt::LeftButton);
    field.selectAll();
    QTest::keyClicks(&field, " renamed ");
    QTest::keyClick(&field, Qt::Key_Return);
    EXPECT_EQ(names(), QStringList({"renamed", "two"}));
    EXPECT_EQ(field.text(), "renamed");
    EXPECT_TRUE(list.list()->item(0)->text().contains("renamed"));

    QTest::keyClicks(&field, " but not this");
    QTest::keyClick(&field, Qt::Key_Escape);
    EXPECT_EQ(field.text(), "renamed");
    QTest::keyClick(&field, Qt::Key_Return);
    EXPECT_EQ(names(), QStringList({"renamed", "two"}));

    field.selectAll();
    QTest::keyClicks(&field, "  ");
    QTest::keyClick(&field, Qt::Key_Return);
    EXPECT_EQ(field.text(), "one") << "nothing but blanks: the sample's name";
    session.rename(session.datasetAt(1)->id, "elsewhere");
    EXPECT_EQ(field.text(), "one");
    session.rename(session.datasetAt(0)->id, "from outside");
    EXPECT_EQ(field.text(), "from outside");
    session.setActive(-1);
    EXPECT_FALSE(field.isEnabled());
    EXPECT_EQ(field.text(), "");
}

TEST_F(DatasetControllersTest, TheMetadataTreeIsFilledWhenItComesIntoView) {
    MetadataPanel tree;
    QDockWidget front("front", &window);
    QDockWidget behind("behind", &window);
    behind.setWidget(&tree);
    window.addDockWidget(Qt::RightDockWidgetArea, &front);
    window.addDockWidget(Qt::RightDockWidgetArea, &behind);
    window.tabifyDockWidget(&front, &behind);
    front.raise();
    const MetadataController metadata(session, tree, behind, nullptr);
    QApplication::processEvents();
    controller.openPaths({sample("a"), sample("b")});
    ASSERT_TRUE(allLoaded(2));
    EXPECT_TRUE(tree.isEmpty()) << "behind another tab it costs nothing";
    auto* tabs = window.findChild<QTabBar*>();
    QTest::mouseClick(tabs, Qt::LeftButton, {}, tabs->tabRect(1).center());
    EXPECT_TRUE(QTest::qWaitFor([&] { return !tree.isEmpty(); }, 5000));
    const auto sampleName = [&] { return tree.findItems("sample", Qt::MatchRecursive).value(0)->text(1); };
    EXPECT_EQ(sampleName(), "b");
    clickRow(0);
    EXPECT_EQ(sampleName(), "a") << "in view it follows at once";
    session.setActive(-1);
    EXPECT_TRUE(tree.isEmpty());
    behind.setWidget(nullptr);
    tree.setParent(nullptr);
}

} // namespace
} // namespace Tessaly
