#include "MessageBoxWatcher.h"
#include "UserActions.h"
#include "WindowFixture.h"

#include "io/VQDReader.h"
#include "plot/ImageViewer.h"
#include "plot/ScatterPlot.h"
#include "services/HelpPages.h"
#include "support/FilterRules.h"
#include "support/ModalUser.h"
#include "ui/datasets/DatasetListWidget.h"
#include "ui/datasets/DatasetsPanel.h"
#include "ui/event/EventPanel.h"
#include "ui/filters/FilterDockWidget.h"
#include "ui/plot/PlotSettingsPanel.h"

#include <QAccessible>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDockWidget>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTabBar>
#include <QTableWidget>
#include <QTextBrowser>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <limits>
#include <map>

namespace Tessaly {
namespace {

class MainWindowTest : public WindowFixture {
protected:
    using WindowFixture::sample;
    QString sample(const std::string& name, std::map<std::string, std::vector<double>> columns) {
        SampleFileOptions options;
        options.events = columns.begin()->second.size();
        options.columns = std::move(columns);
        return sample(name, options);
    }

    const MainPanels& panels() const { return window->panels(); }
    PlotSettings settings() const { return panels().plotSettings->settings(); }
    /// Sets the controls as a user would, one by one.
    void set(const PlotSettings& value) {
        const auto choose = [this](const char* name, int index) {
            auto* combo = window->findChild<QComboBox*>(name);
            ASSERT_GE(index, 0) << name;
            while (combo->currentIndex() != index) {
                QTest::keyClick(combo, combo->currentIndex() < index ? Qt::Key_Down : Qt::Key_Up);
            }
        };
        const auto feature = [&](const char* name, const std::string& key) {
            choose(name, window->findChild<QComboBox*>(name)->findData(QString::fromStdString(key)));
        };
        const auto percent = [this](const char* name, double fraction) {
            auto* box = window->findChild<QSpinBox*>(name);
            box->selectAll();
            QTest::keyClicks(box, QString::number(std::lround(100 * fraction)));
            QTest::keyClick(box, Qt::Key_Return);
        };
        feature("xFeatureCombo", value.xFeatureName);
        feature("yFeatureCombo", value.yFeatureName);
        feature("colorFeatureCombo", value.colorFeatureName);
        choose("xScaleCombo", value.scaleXMode);
        choose("yScaleCombo", value.scaleYMode);
        choose("contourModeCombo", value.contourMode);
        percent("innerFractionSpinBox", value.contourFraction1);
        percent("outerFractionSpinBox", value.contourFraction2);
    }
    QString status() const { return panels().status->text(); }

    void chooseInMenu(int row, const char* action) { chooseInContextMenu(*panels().datasets->list(), row, action); }
    void clickRow(int row) { clickListRow(*panels().datasets->list(), row); }
};

TEST_F(MainWindowTest, StartsEmptyAndEveryMenuEntryIsHarmlessThen) {
    EXPECT_EQ(status(), "No file loaded. Drag and drop a .vqd file or use File > Open.");
    EXPECT_FALSE(panels().rename->isEnabled() || panels().eventNumber->isEnabled());
    EXPECT_EQ(window->activeDatasetId(), -1);
    // Enough room for every dock at the size that the window asks for itself.
    EXPECT_EQ(window->size(), QSize(1400, 900));
    QStringList shortcuts;
    QList<QAction*> actions;
    for (QAction* menu : window->menuBar()->actions()) {
        EXPECT_FALSE(menu->menu()->isEmpty()) << menu->text().toStdString();
        actions << menu->menu()->actions();
    }
    for (QAction* action : actions) {
        if (!action->shortcut().isEmpty()) {
            EXPECT_FALSE(shortcuts.contains(action->shortcut().toString()));
            shortcuts << action->shortcut().toString();
        }
    }
    EXPECT_TRUE(shortcuts.contains(QKeySequence(QKeySequence::Open).toString()));
    MessageBoxWatcher boxes;
    window->findChild<QAction*>("clearSessionAction")->trigger();
    EXPECT_TRUE(boxes.seen().empty());
    for (QDockWidget* dock : window->findChildren<QDockWidget*>()) {
        dock->toggleViewAction()->trigger();
        dock->toggleViewAction()->trigger();
        EXPECT_TRUE(dock->toggleViewAction()->isChecked()) << dock->windowTitle().toStdString();
    }
}

TEST_F(MainWindowTest, TheHelpMenuSaysThatNoServerIsConfiguredAndOpensItsDialogs) {
    const auto choose = [this](const char* name) {
        auto* action = window->findChild<QAction*>(name);
        ASSERT_TRUE(action) << name;
        action->trigger();
        QApplication::processEvents();
    };
    // The silent check of the start says nothing.
    QTest::qWait(20);
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
    {
        MessageBoxWatcher boxes;
        choose("checkUpdatesAction");
        ASSERT_TRUE(QTest::qWaitFor([&] { return boxes.seen().size() == 1; }));
        EXPECT_EQ(boxes.seen()[0].title, "Check for Updates");
        EXPECT_EQ(boxes.seen()[0].text,
                  "Could not check for updates.\n\nNo update server is configured in this build.");
    }
    QString title;
    ModalUser<QDialog> about([&](QDialog& dialog) {
        title = dialog.windowTitle();
        QTest::keyClick(&dialog, Qt::Key_Escape);
    });
    choose("aboutAction");
    EXPECT_EQ(title, "About Tessaly");
    ModalUser<QDialog> feedback([&](QDialog& dialog) {
        title = dialog.windowTitle();
        QTest::keyClick(&dialog, Qt::Key_Escape);
    });
    choose("sendFeedbackAction");
    EXPECT_EQ(title, "Send Feedback to Orvane Support");

    auto* startup = window->findChild<QAction*>("checkOnStartupAction");
    ASSERT_TRUE(startup);
    EXPECT_TRUE(startup->isChecked());
    choose("checkOnStartupAction");
    EXPECT_EQ(QSettings().value("updates/checkOnStartup"), false);
    EXPECT_FALSE(MainWindow().findChild<QAction*>("checkOnStartupAction")->isChecked());
}

TEST_F(MainWindowTest, F1OpensThePageOfTheDockWithTheFocus) {
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    const auto page = [this] {
        const auto manuals = window->findChildren<QTextBrowser*>("helpBrowser");
        return manuals.isEmpty() ? QString() : manuals.last()->source().toString().section('/', -1);
    };
    auto* list = window->findChild<QListWidget*>();
    QTest::keyClick(list, Qt::Key_F1);
    EXPECT_EQ(page(), "opening.html#list");
    QTest::keyClick(panels().filters->findChild<QAbstractButton*>(), Qt::Key_F1);
    EXPECT_EQ(page(), "filters.html");
    QTest::keyClick(window.get(), Qt::Key_F1);
    EXPECT_EQ(page(), "index.html");
    // Every dock has a page of its own.
    for (const QDockWidget* dock : window->findChildren<QDockWidget*>()) {
        EXPECT_NE(helpPageFor(dock), "index.html") << dock->objectName().toStdString();
    }
}

TEST_F(MainWindowTest, ResetLayoutBringsTheFirstLayoutBack) {
    QApplication::processEvents();
    const std::vector<QDockWidget*> inView = {panels().datasetsDock, panels().filtersDock, panels().statisticsDock};
    std::vector<QRect> first;
    for (const QDockWidget* dock : inView) {
        first.push_back(dock->geometry());
    }
    panels().datasetsDock->close();
    panels().statisticsDock->close();
    window->addDockWidget(Qt::LeftDockWidgetArea, panels().metadataDock);
    panels().calculationsDock->raise();
    QApplication::processEvents();
    window->findChild<QAction*>("resetLayoutAction")->trigger();
    const auto isFirst = [&] {
        for (std::size_t i = 0; i < inView.size(); ++i) {
            if (!inView[i]->isVisible() || inView[i]->geometry() != first[i]) {
                return false;
            }
        }
        return true;
    };
    EXPECT_TRUE(QTest::qWaitFor(isFirst));
    EXPECT_FALSE(panels().filters->visibleRegion().isEmpty()) << "the first tab is on top";
    // The others lie behind it.
    for (QDockWidget* dock : {panels().metadataDock, panels().calculationsDock}) {
        EXPECT_TRUE(window->tabifiedDockWidgets(panels().filtersDock).contains(dock));
    }
}

TEST_F(MainWindowTest, ShowsAnOpenedFile) {
    openAndWait(sample("First"));
    EXPECT_EQ(settings().xFeatureName, "area_um");
    EXPECT_EQ(settings().yFeatureName, "deform");
    EXPECT_EQ(panels().plot->xData(), window->datasets()[0]->reader->getFeature("area_um"));
    EXPECT_TRUE(status().startsWith("Loaded: First (")) << status().toStdString();
    EXPECT_TRUE(status().endsWith("100 events)")) << status().toStdString();
    EXPECT_EQ(panels().rename->text(), "First");
    EXPECT_EQ(panels().eventNumber->maximum(), 99);
    EXPECT_EQ(panels().plot->highlightedPoint(), 0);
    const auto* info = panels().event->imageViewer()->findChild<QLabel*>("imageInfoLabel");
    EXPECT_EQ(info->text(), "Event 0 (with mask)");
}

TEST_F(MainWindowTest, LoadsADroppedFolderOneFileAfterTheOther) {
    for (const char* name : {"b", "a", "c"}) {
        sample(name);
    }
    std::filesystem::create_directories(folder.path() / "aa");
    std::filesystem::rename(folder.path() / "c.vqd", folder.path() / "aa" / "c.VQD");
    std::ofstream(folder.path() / "note.txt") << "text";
    QObject::connect(&window->session().notices(), &SessionNotices::datasetsChanged, [this] {
        for (std::size_t i = 0; i + 1 < window->datasets().size(); ++i) {
            EXPECT_TRUE(window->datasets()[i]->featuresLoaded) << "a file is opened when the one before has loaded";
        }
    });
    drop({QString::fromStdString(folder.path().string()), QString::fromStdString(folder.file("a.vqd"))});
    ASSERT_TRUE(waitUntilLoaded(3)); // the file that comes twice doesn't hold up those behind it
    QStringList names;
    for (const auto& entry : window->datasets()) {
        names << entry->displayName;
    }
    EXPECT_EQ(names, QStringList({"a", "c", "b"}));
    EXPECT_EQ(window->activeDatasetId(), window->datasets().back()->id);
    EXPECT_EQ(panels().datasets->currentRow(), 2);
}

TEST_F(MainWindowTest, AFileDroppedOnAFieldIsOpened) {
    openAndWait(sample("first"));
    for (const QLineEdit* field : window->findChildren<QLineEdit*>()) {
        EXPECT_FALSE(field->acceptDrops()) << field->parentWidget()->objectName().toStdString();
    }
    QMimeData data;
    const QString path = sample("second");
    data.setUrls({QUrl::fromLocalFile(path)});
    data.setText(path);
    QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(panels().rename, &enter);
    QDropEvent event(QPointF(5, 5), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(panels().rename, &event);
    ASSERT_TRUE(waitUntilLoaded(2));
    EXPECT_EQ(window->datasets()[0]->displayName, "first");
}

TEST_F(MainWindowTest, RefusesForeignAndBrokenFiles) {
    SampleFileOptions foreign;
    foreign.instrument = false;
    const QString foreignPath = sample("foreign", foreign);
    const QString broken = QString::fromStdString(folder.file("broken.vqd"));
    std::ofstream(broken.toStdString()) << "this is no measurement";
    MessageBoxWatcher boxes;
    window->openDataset(foreignPath);
    window->openDataset(foreignPath);
    window->openDataset(broken);
    drop({QString::fromStdString(folder.file("missing.txt"))});
    ASSERT_EQ(boxes.seen().size(), 3U); // the second foreign file is refused without a word
    EXPECT_EQ(boxes.seen()[0].title, "Unsupported Data");
    EXPECT_EQ(boxes.seen()[1].title, "Error");
    EXPECT_EQ(boxes.seen()[1].text, "Failed to open: " + broken);
    EXPECT_EQ(boxes.seen()[2].title, "Invalid File");
    EXPECT_TRUE(window->datasets().empty());

    openAndWait(sample("good"));
    EXPECT_EQ(window->datasets()[0]->id, 3); // the refused files have spent their ids
}

TEST_F(MainWindowTest, KeepsSettingsPerDataset) {
    openAndWait(sample("first"));
    openAndWait(sample("second"));
    PlotSettings changed = settings();
    changed.xFeatureName = "bright_avg";
    changed.colorFeatureName = DensityKde;
    changed.scaleXMode = 1;
    changed.contourMode = ContourMode::Overlay;
    changed.contourFraction1 = 0.25;
    set(changed);
    auto* apply = window->findChild<QPushButton*>("applyToAllButton");
    EXPECT_TRUE(apply->isEnabled());
    EXPECT_FALSE(apply->styleSheet().isEmpty()); // the datasets disagree

    window->openDataset(QString::fromStdString(window->datasets()[0]->filePath));
    EXPECT_EQ(window->datasets().size(), 2U) << "an open file is chosen, not opened again";
    EXPECT_EQ(settings().xFeatureName, "area_um");
    EXPECT_EQ(panels().plot->contourCurveCount(), 0);
    window->openDataset(QString::fromStdString(window->datasets()[1]->filePath));
    EXPECT_TRUE(settings() == changed);
    EXPECT_GT(panels().plot->contourCurveCount(), 0);

    QTest::mouseClick(apply, Qt::LeftButton);
    EXPECT_TRUE(window->datasets()[0]->plotSettings() == changed);
    EXPECT_TRUE(apply->styleSheet().isEmpty());
}

TEST_F(MainWindowTest, AFilterReducesThePlotAndMovesTheSelection) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    openAndWait(sample("small", {{"area_um", {10, 20, 30, 40}}, {"deform", {0.1, 0.2, nan, 0.4}}}));
    // The event with the missing value is left out though no rule exists.
    EXPECT_TRUE(status().endsWith("3/4 events shown (75.0% pass filter))")) << status().toStdString();

    DatasetEntry& dataset = *window->datasets()[0];
    dataset.filter.addRule(rangeRule("area_um", 15, 100));
    window->onFilterChanged();
    EXPECT_EQ(panels().plot->xData(), (std::vector<double>{20, 40}));
    EXPECT_TRUE(status().endsWith("2/4 events shown (50.0% pass filter))")) << status().toStdString();
    EXPECT_EQ(dataset.currentEventIndex, 1); // event 0 has dropped out
    EXPECT_EQ(panels().eventNumber->value(), 1);
    EXPECT_EQ(panels().plot->highlightedPoint(), 0);

    // An event that is filtered out can still be looked at.
    panels().eventNumber->setValue(2);
    EXPECT_EQ(dataset.currentEventIndex, 2);
    EXPECT_EQ(panels().plot->highlightedPoint(), -1);

    dataset.filter.setCombineMode(EventFilter::ShowExcluded);
    window->onFilterChanged();
    EXPECT_EQ(panels().plot->xData(), (std::vector<double>{10}));

    const int group = window->session().addFilterGroup("");
    window->session().addRuleToGroup(group, rangeRule("area_um", 35, 100));
    window->session().setGroupEnabled(dataset.id, group, true);
    dataset.filter.setCombineMode(EventFilter::ShowPassing);
    window->onFilterChanged();
    EXPECT_EQ(panels().plot->xData(), (std::vector<double>{40}));

    dataset.filter.setEnabled(false);
    window->onFilterChanged();
    EXPECT_EQ(panels().plot->xData().size(), 3U);
}

TEST_F(MainWindowTest, WithoutPicturesTheValuesOfTheChosenEventAreShown) {
    SampleFileOptions options;
    options.images = options.masks = options.traces = false;
    options.events = 3;
    options.columns = {{"area_um", {std::numeric_limits<double>::quiet_NaN(), 20, 30}}};
    openAndWait(sample("pictures"));
    openAndWait(sample("numbers", options));
    EXPECT_EQ(window->datasets()[1]->currentEventIndex, 1); // event 0 can't be plotted
    const auto* table = panels().event->findChild<QTableWidget*>();
    ASSERT_GT(table->rowCount(), 0);
    EXPECT_EQ(table->item(0, table->columnCount() - 1)->text(), "20"); // area_um is the first by name
}

TEST_F(MainWindowTest, DuplicatesReordersAndRemoves) {
    openAndWait(sample("first"));
    openAndWait(sample("second"));
    chooseInMenu(1, "duplicateDatasetAction");
    ASSERT_EQ(window->datasets().size(), 3U);
    EXPECT_EQ(window->datasets()[2]->displayName, "second (copy)");
    EXPECT_EQ(window->datasets()[2]->reader, window->datasets()[1]->reader);
    EXPECT_EQ(panels().datasets->currentRow(), 2);
    const int copy = window->activeDatasetId();

    emit panels().datasets->list()->internalReorderRequested(2, 0);
    EXPECT_EQ(window->datasets()[0]->id, copy);
    EXPECT_EQ(window->activeDatasetId(), copy);
    EXPECT_EQ(panels().datasets->currentRow(), 0);

    chooseInMenu(0, "removeDatasetAction");
    EXPECT_EQ(window->datasets().size(), 2U);
    EXPECT_EQ(window->activeDatasetId(), window->datasets()[0]->id);
    chooseInMenu(0, "removeDatasetAction");
    chooseInMenu(0, "removeDatasetAction");
    EXPECT_TRUE(window->datasets().empty());
    EXPECT_EQ(status(), "No file loaded.");
    EXPECT_TRUE(panels().plot->xData().empty());
    EXPECT_EQ(settings().xFeatureName, "");
}

TEST_F(MainWindowTest, TheStatusLineTellsWhatLoadsAndWhatIsShown) {
    openAndWait(sample("shown"));
    const QString first = sample("first");
    const QString second = sample("second");
    std::unique_lock lock(hdf5Mutex()); // holds the preload back
    window->openDataset(first);
    EXPECT_EQ(status(), "Loading: first...");
    clickRow(0);
    EXPECT_TRUE(status().startsWith("Loaded: shown (")) << status().toStdString();
    window->openDataset(second); // waits
    EXPECT_TRUE(status().startsWith("Loaded: shown (")) << status().toStdString();
    clickRow(1);
    EXPECT_EQ(status(), "Loading: first...");
    lock.unlock();
    ASSERT_TRUE(waitUntilLoaded(3));
    EXPECT_TRUE(status().startsWith("Loaded: second (")) << status().toStdString();
    QLineEdit* edit = panels().rename;
    edit->setFocus();
    edit->selectAll();
    QTest::keyClicks(edit, "<b>New");
    QTest::keyClick(edit, Qt::Key_Return);
    EXPECT_TRUE(status().startsWith("Loaded: <b>New (")) << status().toStdString();
}

TEST_F(MainWindowTest, AChoicePutOffDuringAPreloadIsNotAppliedToAnotherDataset) {
    const QString first = sample("first", {{"only_here", std::vector<double>(100, 1.0)}});
    const QString second = sample("second");
    openAndWait(first);
    MessageBoxWatcher boxes;
    std::unique_lock lock(hdf5Mutex());
    window->openDataset(second);
    window->openDataset(first);
    auto* combo = window->findChild<QComboBox*>("xFeatureCombo");
    combo->setCurrentIndex(combo->findData("only_here"));
    EXPECT_EQ(panels().plot->xData(), window->datasets()[0]->reader->getFeature("area_um"));
    window->openDataset(second);
    EXPECT_EQ(status(), "Loading: second...");
    lock.unlock();
    ASSERT_TRUE(waitUntilLoaded(2));
    EXPECT_TRUE(boxes.seen().empty());
    EXPECT_EQ(settings().xFeatureName, "area_um");
    EXPECT_EQ(window->datasets()[0]->xFeatureName, "only_here");
}

TEST_F(MainWindowTest, AFileOfPicturesOnlyCanBeLookedThrough) {
    openAndWait(sample("plotted"));
    SampleFileOptions options;
    options.defaultColumns = false;
    const QString pictures = sample("pictures", options);
    openAndWait(pictures);
    const auto looksRight = [&] {
        EXPECT_TRUE(status().startsWith("Loaded: pictures (")) << status().toStdString();
        EXPECT_TRUE(panels().plot->xData().empty());
        EXPECT_FALSE(window->findChild<QCheckBox*>("isoelasticsCheck")->isVisible());
        panels().eventNumber->setValue(panels().eventNumber->value() + 3);
        const auto* info = panels().event->imageViewer()->findChild<QLabel*>("imageInfoLabel");
        EXPECT_EQ(info->text(), QString("Event %1 (with mask)").arg(panels().eventNumber->value()));
    };
    looksRight();
    window->openDataset(QString::fromStdString(window->datasets()[0]->filePath));
    EXPECT_FALSE(panels().plot->xData().empty());
    window->openDataset(pictures);
    looksRight();
    EXPECT_EQ(window->datasets()[1]->currentEventIndex, 6);
}

TEST_F(MainWindowTest, EveryControlHasANameForProgramsAndPeople) {
    openAndWait(sample("named"));
    for (QWidget* widget : window->findChildren<QWidget*>()) {
        const bool partOfAnother = widget->objectName().startsWith("qt_") || widget->window() != window.get() ||
                                   !(widget->focusPolicy() & Qt::TabFocus) ||
                                   qobject_cast<QAbstractSpinBox*>(widget->parentWidget()) ||
                                   qobject_cast<QTabBar*>(widget);
        if (partOfAnother) {
            continue;
        }
        const std::string what = widget->metaObject()->className() + (" " + widget->objectName().toStdString());
        EXPECT_FALSE(widget->objectName().isEmpty()) << what;
        const QAccessibleInterface* interface = QAccessible::queryAccessibleInterface(widget);
        ASSERT_TRUE(interface) << what;
        EXPECT_FALSE(interface->text(QAccessible::Name).isEmpty()) << what;
    }
    for (const QAction* action : window->findChildren<QAction*>()) {
        const bool ours = !action->isSeparator() && action->associatedObjects().size() > 0 &&
                          qobject_cast<QMenu*>(action->associatedObjects().first());
        EXPECT_FALSE(ours && action->objectName().isEmpty() && !action->menu()) << action->text().toStdString();
    }
}

TEST_F(MainWindowTest, ClosesWhileAPreloadRuns) {
    SampleFileOptions options;
    options.events = 50000;
    options.images = options.masks = options.traces = false;
    for (char name = 'a'; name <= 'z'; ++name) {
        options.columns[std::string("zz_") + name] = std::vector<double>(options.events, 1.0);
    }
    const QString path = sample("closing", options);
    std::unique_lock lock(hdf5Mutex()); // holds the preload back
    window->openDataset(path);
    window->openDataset(sample("queued"));
    const std::shared_ptr<VQDReader> reader = window->datasets()[0]->reader;
    window->close();
    window.reset();
    lock.unlock();
    ASSERT_TRUE(QThreadPool::globalInstance()->waitForDone(20000));
    // What the preload has left alone can't be had any more once the file is cut.
    std::filesystem::resize_file(path.toStdString(), 1024);
    EXPECT_NE(reader->getFeature("zz_z"), options.columns["zz_z"]) << "the preload ends with the column that it is at";
}

TEST_F(MainWindowTest, ClearsTheSessionOnlyWhenConfirmed) {
    openAndWait(sample("cleared"));
    {
        MessageBoxWatcher boxes(QMessageBox::Cancel);
        window->findChild<QAction*>("clearSessionAction")->trigger();
        ASSERT_EQ(boxes.seen().size(), 1U);
        EXPECT_EQ(window->datasets().size(), 1U);
    }
    const int group = window->session().addFilterGroup("gates");
    EXPECT_EQ(group, 0);
    MessageBoxWatcher boxes(QMessageBox::Ok);
    window->findChild<QAction*>("clearSessionAction")->trigger();
    EXPECT_TRUE(window->datasets().empty());
    EXPECT_EQ(window->session().addFilterGroup("again"), 0);
    openAndWait(sample("next"));
    EXPECT_EQ(window->datasets()[0]->id, 1);
}

TEST_F(MainWindowTest, TheColourMapIsKeptInTheSettings) {
    const QList<QAction*> maps = window->findChild<QMenu*>("colorMapMenu")->actions();
    ASSERT_EQ(maps.size(), 6);
    maps[4]->trigger();
    EXPECT_EQ(panels().plot->colorMapIndex(), 4);
    EXPECT_EQ(MainWindow().colorMapIndex(), 4);
    QSettings().setValue("settings/colorMapIndex", 17);
    EXPECT_EQ(MainWindow().colorMapIndex(), 0);
}

} // namespace
} // namespace Tessaly
