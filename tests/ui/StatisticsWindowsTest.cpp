#include "DialogUser.h"
#include "WindowFixture.h"

#include "tools/statistics/CategoryPanel.h"
#include "tools/statistics/PlotStack.h"
#include "tools/statistics/StatisticalEvalWindow.h"
#include "ui/ToolWindows.h"
#include "ui/datasets/DatasetListWidget.h"

#include <QComboBox>
#include <QJsonObject>
#include <QListWidget>
#include <QPointer>
#include <QTabWidget>

#include <gtest/gtest.h>

namespace Tessaly {
namespace {

/// Windows of statistics as the main window opens, feeds, saves and closes them: six datasets in two categories.
class StatisticsWindowsTest : public WindowFixture {
protected:
    static constexpr int DatasetCount = 6;

    void SetUp() override {
        WindowFixture::SetUp();
        for (int i = 0; i < DatasetCount; ++i) {
            SampleFileOptions options;
            options.sample = QStringLiteral("sample ID%1").arg(i % 3 + 1).toStdString();
            options.events = 3;
            options.images = options.masks = false;
            const double area = i < 3 ? 10 + i : 20 + i;
            options.columns = {{"area_um", {area - 1, area, area + 1}}, {"deform", {0.1, 0.2, 0.3}}};
            writeSampleFile(folder.file(std::to_string(i) + ".vqd"), options);
            window->openDataset(path(QString::number(i) + ".vqd"));
        }
        ASSERT_TRUE(waitUntilLoaded());
    }
    bool waitUntilLoaded() {
        return QTest::qWaitFor(
            [this] {
                const auto& datasets = window->datasets();
                return datasets.size() == DatasetCount && !window->sessionLoading() &&
                       std::ranges::all_of(datasets, [](const auto& dataset) { return dataset->featuresLoaded; });
            },
            30000);
    }
    const std::vector<StatisticalEvalWindow*>& windows() const { return window->toolWindows().statisticalEvals(); }
    /// A new window with three datasets in each category, dragged from the main window's list, and a feature chosen.
    StatisticalEvalWindow& openFilled() {
        choose("statisticalEvalAction");
        StatisticalEvalWindow& made = *windows().back();
        auto* list = window->findChild<DatasetListWidget*>();
        for (int row = 0; row < DatasetCount; ++row) {
            const std::unique_ptr<QMimeData> data(list->model()->mimeData({list->model()->index(row, 0)}));
            CategoryPanel* panel = made.categoryPanels()[row < 3 ? 0 : 1];
            QDragEnterEvent enter(QPoint(9, 9), Qt::CopyAction, data.get(), Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(panel, &enter);
            QDropEvent drop(QPoint(9, 9), Qt::CopyAction, data.get(), Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(panel, &drop);
            EXPECT_TRUE(drop.isAccepted()) << row;
        }
        auto* features = made.findChild<QListWidget*>("featureList");
        for (QListWidgetItem* item : features->findItems("Area [µm²]", Qt::MatchExactly)) {
            features->scrollToItem(item);
            QTest::mouseClick(features->viewport(), Qt::LeftButton, {}, features->visualItemRect(item).center());
        }
        return made;
    }
    static void start(const StatisticalEvalWindow& window, const char* button = "runAnalysis") {
        QTest::mouseClick(window.findChild<QPushButton*>(button), Qt::LeftButton);
    }
    static std::size_t plotCount(const StatisticalEvalWindow& window) {
        return window.findChild<PlotStack*>("groupPlots")->plots().size();
    }

    DialogUser user;
};

TEST_F(StatisticsWindowsTest, TwoWindowsComeBackWithTheSession) {
    StatisticalEvalWindow& first = openFilled();
    QTest::mouseClick(first.findChild<QPushButton*>("addCategory"), Qt::LeftButton);
    QTest::keyClick(first.findChild<QComboBox*>("summary"), Qt::Key_Down);
    StatisticalEvalWindow& second = openFilled();
    QTest::keyClick(second.findChild<QComboBox*>("design"), Qt::Key_Down);
    QTest::mouseClick(second.findChild<QPushButton*>("detectIds"), Qt::LeftButton);
    QTabBar* tabs = second.findChild<QTabWidget*>("statisticsTabs")->tabBar();
    QTest::mouseClick(tabs, Qt::LeftButton, {}, tabs->tabRect(2).center());
    DatasetNumbers places;
    for (int i = 0; i < DatasetCount; ++i) {
        places[window->datasets()[static_cast<std::size_t>(i)]->id] = i;
    }
    const QJsonObject states[] = {first.sessionState(places), second.sessionState(places)};
    user.file(QString::fromStdString(folder.file("two.tsy")));
    choose("saveSessionAction");
    user.takeSeen();

    window.reset();
    makeWindow();
    user.file(QString::fromStdString(folder.file("two.tsy")));
    choose("loadSessionAction");
    ASSERT_TRUE(waitUntilLoaded()) << user.takeSeen().join(u'\n').toStdString();
    ASSERT_EQ(windows().size(), 2U);
    places.clear();
    for (int i = 0; i < DatasetCount; ++i) {
        places[window->datasets()[static_cast<std::size_t>(i)]->id] = i;
    }
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_TRUE(windows()[i]->isVisible());
        EXPECT_EQ(windows()[i]->sessionState(places), states[i]);
        EXPECT_EQ(windows()[i]->findChild<QListWidget*>("featureList")->selectedItems().size(), 1);
    }
    EXPECT_EQ(windows()[0]->categoryPanels().size(), 3U);
    EXPECT_EQ(windows()[1]->categoryPanels()[1]->entries()[2].numberId, 3); // read from the sample's name
    // What came back can be used at once.
    windows()[1]->findChild<QTabWidget*>("statisticsTabs")->setCurrentIndex(1);
    start(*windows()[1], "runRoc");
    EXPECT_TRUE(
        QTest::qWaitFor([this] { return windows()[1]->findChild<PlotStack*>("rocPlots")->plots().size() == 1; }));
}

TEST_F(StatisticsWindowsTest, RunsEndWithTheirWindowAndWithTheirDatasets) {
    QPointer<StatisticalEvalWindow> closed = &openFilled();
    StatisticalEvalWindow& other = openFilled();
    start(*closed);
    start(other);
    closed->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(closed.isNull());
    EXPECT_EQ(windows(), std::vector<StatisticalEvalWindow*>{&other});
    EXPECT_TRUE(QTest::qWaitFor([&] { return plotCount(other) == 1; })); // which goes its own way

    // The last row of the main window goes while its values are computed.
    start(other, "runAnalysis");
    EXPECT_FALSE(other.findChild<QPushButton*>("runAnalysis")->isEnabled());
    window->session().remove(window->datasets().back()->id);
    EXPECT_TRUE(other.findChild<QPushButton*>("runAnalysis")->isEnabled());
    EXPECT_TRUE(other.findChild<QWidget*>("runDropped")->isVisible());
    EXPECT_EQ(other.categoryPanels()[1]->entries().size(), 2U);
    EXPECT_EQ(plotCount(other), 1U); // those of the run before

    // A new session closes all, whatever they do.
    QPointer<StatisticalEvalWindow> last = &other;
    QTest::mouseClick(other.findChild<QPushButton*>("addCategory"), Qt::LeftButton);
    window->session().clear();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(last.isNull());
    EXPECT_TRUE(windows().empty());
}

} // namespace
} // namespace Tessaly
