#include "ui/ToolWindows.h"

#include "MessageBoxWatcher.h"
#include "WindowFixture.h"

#include "plot/ScatterPlot.h"
#include "support/FilterRules.h"
#include "tools/matrix/FilterGroupsMatrixWindow.h"

#include <QCheckBox>
#include <QPointer>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTreeWidget>

#include <gtest/gtest.h>

#include <set>

namespace Tessaly {
namespace {

QString plain(const QString& title) {
    return QString(title).remove(u'&');
}

/// The main window with its tool windows, worked with the mouse.
class ToolWindowsTest : public WindowFixture {
protected:
    /// Opens a file with three cells and returns the dataset's id.
    int load(const std::string& name) {
        begin(name);
        const auto ready = [this] { return window->datasets().back()->featuresLoaded; };
        EXPECT_TRUE(QTest::qWaitFor(ready, 20000));
        return window->datasets().back()->id;
    }
    void begin(const std::string& name) {
        SampleFileOptions options;
        options.events = 3;
        options.columns = {{"area_um", {10, 20, 30}}, {"deform", {0.1, 0.2, 0.3}}};
        window->openDataset(sample(name, options));
    }

    void clickMenu(const char* menuTitle, const char* entryText) {
        QMenuBar* bar = window->menuBar();
        for (QAction* menu : bar->actions()) {
            if (plain(menu->text()) == menuTitle) {
                QTest::mouseClick(bar, Qt::LeftButton, {}, bar->actionGeometry(menu).center());
                clickEntry(*menu->menu(), entryText);
                return;
            }
        }
        FAIL() << menuTitle;
    }
    FilterGroupsMatrixWindow* openMatrix() {
        clickMenu("Tool Windows", "Filter Groups Matrix...");
        EXPECT_FALSE(matrices().empty());
        return matrices().empty() ? nullptr : matrices().back();
    }
    const std::vector<FilterGroupsMatrixWindow*>& matrices() const {
        return window->toolWindows().filterGroupsMatrices();
    }
    static QCheckBox* box(const QWidget* matrix, int row, int column) {
        auto* tree = matrix->findChild<QTreeWidget*>("matrixTree");
        return tree->itemWidget(tree->topLevelItem(row), column)->findChild<QCheckBox*>();
    }
    std::size_t plotted() const { return window->panels().plot->xData().size(); }

private:
    static void clickEntry(QMenu& menu, const char* text) {
        for (QAction* action : menu.actions()) {
            if (plain(action->text()) == text) {
                ASSERT_TRUE(menu.isVisible());
                QTest::mouseClick(&menu, Qt::LeftButton, {}, menu.actionGeometry(action).center());
                return;
            }
        }
        FAIL() << text;
    }
};

TEST_F(ToolWindowsTest, EveryChoiceInTheMenuOpensAnotherWindowThatGoesWhenClosed) {
    const QPointer<FilterGroupsMatrixWindow> first = openMatrix();
    const QPointer<FilterGroupsMatrixWindow> second = openMatrix();
    ASSERT_EQ(matrices().size(), 2U);
    EXPECT_NE(first, second);
    EXPECT_TRUE(first->isVisible() && second->isVisible());
    EXPECT_TRUE(first->isWindow() && !first->parent());
    QSignalSpy closed(first, &FilterGroupsMatrixWindow::windowClosed);
    first->close();
    EXPECT_EQ(closed.count(), 1);
    EXPECT_EQ(matrices(), std::vector<FilterGroupsMatrixWindow*>{second});
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(first.isNull());
    ASSERT_FALSE(second.isNull());
    EXPECT_TRUE(second->isVisible());
    // News still find their way, and only to who is left.
    window->addFilterGroup("cells");
    EXPECT_EQ(second->findChild<QTreeWidget*>("matrixTree")->columnCount(), 2);
}

TEST_F(ToolWindowsTest, ABoxOfAnyWindowActsOnThePlotAndOnEveryOtherWindow) {
    const int treated = load("treated");
    const int control = load("control");
    window->session().setActive(control);
    const int group = window->addFilterGroup("small");
    window->addRuleToGroup(group, rangeRule("area_um", 15, 40)); // leaves 20 and 30
    FilterGroupsMatrixWindow* first = openMatrix();
    FilterGroupsMatrixWindow* second = openMatrix();
    const auto click = [](QCheckBox* target) {
        QTest::mouseClick(target, Qt::LeftButton, {}, {8, target->height() / 2});
    };
    ASSERT_EQ(plotted(), 3U);
    click(box(first, 0, 1));
    EXPECT_EQ(plotted(), 3U); // another dataset's
    EXPECT_TRUE(window->isGroupEnabled(window->findDatasetById(treated), group));
    click(box(second, 1, 1));
    EXPECT_EQ(plotted(), 2U);
    EXPECT_TRUE(box(first, 1, 1)->isChecked());
    click(box(first, 1, 1));
    EXPECT_EQ(plotted(), 3U);
    EXPECT_FALSE(box(second, 1, 1)->isChecked());
    EXPECT_TRUE(box(second, 0, 1)->isChecked());
}

TEST_F(ToolWindowsTest, TheMainWindowTakesThemAllWithIt) {
    load("treated");
    const QPointer<FilterGroupsMatrixWindow> closed = openMatrix();
    const QPointer<FilterGroupsMatrixWindow> alsoClosed = openMatrix();
    window->close();
    EXPECT_TRUE(closed.isNull() && alsoClosed.isNull());
    EXPECT_TRUE(matrices().empty());
    EXPECT_EQ(window->datasets().size(), 1U);
    // One that ends without being closed leaves none behind either.
    window->show();
    const QPointer<FilterGroupsMatrixWindow> destroyed = openMatrix();
    window.reset();
    EXPECT_TRUE(destroyed.isNull());
}

TEST_F(ToolWindowsTest, ClearingTheSessionClosesThemOnlyWhenConfirmed) {
    const QPointer<FilterGroupsMatrixWindow> first = openMatrix();
    // Without a dataset there is nothing to clear, and no question.
    {
        const MessageBoxWatcher watcher(QMessageBox::Ok);
        clickMenu("File", "Clear Session");
        QTest::qWait(50);
        EXPECT_TRUE(watcher.seen().empty());
    }
    ASSERT_FALSE(first.isNull());
    load("treated");
    const QPointer<FilterGroupsMatrixWindow> second = openMatrix();
    {
        const MessageBoxWatcher watcher(QMessageBox::Cancel);
        clickMenu("File", "Clear Session");
        ASSERT_EQ(watcher.seen().size(), 1U);
    }
    ASSERT_EQ(matrices().size(), 2U);
    EXPECT_TRUE(first->isVisible() && second->isVisible());
    {
        const MessageBoxWatcher watcher(QMessageBox::Ok);
        clickMenu("File", "Clear Session");
        ASSERT_EQ(watcher.seen().size(), 1U);
    }
    EXPECT_TRUE(first.isNull() && second.isNull());
    EXPECT_TRUE(matrices().empty() && window->datasets().empty());
    EXPECT_NE(openMatrix(), nullptr);
}

TEST_F(ToolWindowsTest, AnEventCanBeChosenForAReadyDatasetThatHasIt) {
    const int first = load("treated");
    const int second = load("control");
    window->session().setActive(first);
    SessionHost& host = *window;
    const QSpinBox* number = window->panels().eventNumber;
    EXPECT_TRUE(host.selectEvent(second, 2));
    EXPECT_EQ(window->activeDatasetId(), second);
    EXPECT_EQ(number->value(), 2);
    EXPECT_EQ(window->findDatasetById(second)->currentEventIndex, 2);
    EXPECT_TRUE(host.selectEvent(first, 1));
    EXPECT_EQ(window->activeDatasetId(), first);
    EXPECT_EQ(window->findDatasetById(first)->currentEventIndex, 1);
    EXPECT_EQ(window->findDatasetById(second)->currentEventIndex, 2);
    for (const int event : {-1, 3}) { // of three
        EXPECT_FALSE(host.selectEvent(first, event)) << event;
        EXPECT_EQ(number->value(), 1) << event;
    }
    begin("queued");
    const int active = window->activeDatasetId();
    const int shown = number->value();
    for (const int id : {-1, 99, window->datasets().back()->id}) {
        EXPECT_FALSE(host.selectEvent(id, 0)) << id;
        EXPECT_EQ(window->activeDatasetId(), active) << id;
        EXPECT_EQ(number->value(), shown) << id;
    }
}

TEST_F(ToolWindowsTest, TheMenusHoldTheirEntriesInOrder) {
    const std::vector<std::pair<QString, QStringList>> expected{
        {"&File",
         {"&Open...", "", "&Save Session...", "&Load Session...", "", "Save &Batch Plan...", "", "&Clear Session", "",
          "E&xit"}},
        {"&Export", {"Export &Plot...", "Export &Data...", "Export Statistical &Summary..."}},
        {"&View", {"Datasets", "Filters", "Calculations", "Metadata", "Plot Statistics", "", "&Reset Layout"}},
        {"&Tool Windows",
         {"New &Combine Plot...", "New &Statistical Evaluation...", "New &Image Gallery...",
          "Filter Groups &Matrix..."}},
        {"&Settings", {"Color &Map", "", "Check for Updates on Startup"}},
        {"&Help", {"&Manual", "", "Check for &Updates...", "Send &Feedback...", "", "&About"}},
    };
    std::vector<std::pair<QString, QStringList>> found;
    for (const QAction* menu : window->menuBar()->actions()) {
        QStringList entries;
        for (const QAction* entry : menu->menu()->actions()) {
            entries << (entry->isSeparator() ? QString() : entry->text());
        }
        found.emplace_back(menu->text(), entries);
    }
    EXPECT_EQ(found, expected);
    QStringList maps;
    const QList<QAction*> mapEntries = window->findChild<QMenu*>("colorMapMenu")->actions();
    for (const QAction* entry : mapEntries) {
        EXPECT_EQ(entry->data().toInt(), maps.size());
        EXPECT_EQ(entry->isChecked(), maps.isEmpty());
        maps << entry->text();
    }
    EXPECT_EQ(maps, QStringList({"Viridis", "Jet", "Jet+", "Plasma", "Quorin", "Grayscale"}));
}

TEST_F(ToolWindowsTest, NoKeyMeansTwoThings) {
    std::set<QString> taken;
    for (const QAction* action : window->findChildren<QAction*>()) {
        for (const QKeySequence& key : action->shortcuts()) {
            EXPECT_TRUE(taken.insert(key.toString()).second) << qPrintable(key.toString() + " " + action->text());
        }
    }
    EXPECT_TRUE(taken.contains(QKeySequence(QKeySequence::Open).toString()));
    // The letters behind Alt, too: in the menu bar, and within each menu.
    QList<const QMenu*> menus;
    std::set<QChar> barLetters;
    for (const QAction* menu : window->menuBar()->actions()) {
        menus << menu->menu();
        const QString text = menu->text();
        EXPECT_TRUE(barLetters.insert(text[text.indexOf(u'&') + 1].toLower()).second) << qPrintable(text);
    }
    for (const QMenu* menu : menus) {
        std::set<QChar> letters;
        for (const QAction* entry : menu->actions()) {
            const QString text = entry->text();
            if (text.contains(u'&')) {
                EXPECT_TRUE(letters.insert(text[text.indexOf(u'&') + 1].toLower()).second) << qPrintable(text);
            }
        }
    }
}

TEST_F(ToolWindowsTest, AChosenColourMapIsToldStoredAndTickedAlone) {
    QSignalSpy told(&window->session().notices(), &SessionNotices::colorMapChanged);
    const QList<QAction*> maps = window->findChild<QMenu*>("colorMapMenu")->actions();
    maps.at(5)->trigger();
    ASSERT_EQ(told.count(), 1);
    EXPECT_EQ(told[0][0].toInt(), 5);
    EXPECT_EQ(QSettings().value("settings/colorMapIndex"), 5);
    EXPECT_EQ(std::ranges::count_if(maps, &QAction::isChecked), 1);
    for (const QVariant& broken : {QVariant(-1), QVariant(6), QVariant("plasma"), QVariant(QByteArray("\0\xff", 2))}) {
        QSettings().setValue("settings/colorMapIndex", broken);
        const MainWindow next;
        EXPECT_EQ(next.colorMapIndex(), 0) << qPrintable(broken.toString());
        EXPECT_TRUE(next.findChild<QMenu*>("colorMapMenu")->actions().at(0)->isChecked());
    }
}

} // namespace
} // namespace Tessaly
