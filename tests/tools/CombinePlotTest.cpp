#include "CombineFixture.h"

#include "plot/ComparePlot.h"
#include "plot/PlainDotCurve.h"
#include "plot/RoundSpectroCurve.h"
#include "support/FilterRules.h"
#include "tools/combine/CombineRefresh.h"
#include "ui/MessageBoxWatcher.h"

#include <QCheckBox>
#include <QColorDialog>
#include <QDockWidget>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QListWidget>
#include <QMenuBar>
#include <QPushButton>
#include <QScrollBar>
#include <QSpinBox>
#include <QTableWidget>
#include <QThreadPool>
#include <qwt_scale_div.h>
#include <qwt_symbol.h>
#include <qwt_text.h>

#include <random>

namespace Tessaly {
namespace {

class CombinePlotTest : public CombineFixture {
protected:
    const std::vector<ComparePlot*>& plots() const { return window->plots(); }
    static const PlainDotCurve* dotsOf(const QwtPlot& plot) {
        for (const QwtPlotItem* item : plot.itemList()) {
            if (const auto* dots = dynamic_cast<const PlainDotCurve*>(item)) {
                return dots;
            }
        }
        return nullptr;
    }
    static std::size_t pointsOf(const QwtPlot& plot) {
        const PlainDotCurve* dots = dotsOf(plot);
        return dots ? dots->dataSize() : 0;
    }
    static std::pair<double, double> bounds(const QwtPlot& plot, int axis) {
        return {plot.axisInterval(axis).minValue(), plot.axisInterval(axis).maxValue()};
    }
    bool checked(const char* name) const { return part<QCheckBox>(name)->isChecked(); }
    bool enabled(const char* name) const { return part<QWidget>(name)->isEnabled(); }
};

TEST_F(CombinePlotTest, StartsEmptyAndSaysHowToFillIt) {
    EXPECT_EQ(window->windowTitle(), "Combine Plot");
    EXPECT_EQ(window->size(), QSize(1000, 700));
    EXPECT_EQ(part<QLabel>("combineEmptyLabel")->text(), "Drag datasets here\nfrom the main window");
    EXPECT_TRUE(part<QDockWidget>("combineExportDock")->isHidden());
    EXPECT_TRUE(part<QDockWidget>("combineStatisticsDock")->isHidden());
    QStringList titles;
    for (const QAction* menu : window->menuBar()->actions()) {
        titles << menu->text();
    }
    EXPECT_EQ(titles, (QStringList{"&File", "&Export", "&View"}));
    EXPECT_EQ(window->findChildren<QAction*>("keepOnTopAction").size(), 1);
    const auto* exportAction = window->findChild<QAction*>("exportPlotsAction");
    EXPECT_EQ(exportAction->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_E));
    window->findChild<QAction*>("exportPlotsAction")->trigger(); // nothing to export, nothing asked
    window->findChild<QAction*>("exportStatisticsAction")->trigger();
    EXPECT_TRUE(plots().empty());
}

TEST_F(CombinePlotTest, DatasetsComeByDropDialogAndButton) {
    const int first = add().id;
    const int second = add().id;
    DatasetEntry& loading = add();
    loading.featuresLoaded = false;
    const std::unique_ptr<QMimeData> data(datasetMimeData(first));
    EXPECT_EQ(drop(window.get(), data.get(), {500, 300}), std::pair(true, true));
    finish();
    EXPECT_EQ(plots().size(), 1U);
    EXPECT_FALSE(window->findChild<QLabel*>("combineEmptyLabel"));
    EXPECT_EQ(drop(window.get(), data.get(), {500, 300}), std::pair(true, false)); // listed already
    QMimeData foreign;
    foreign.setText("7");
    EXPECT_EQ(drop(window.get(), &foreign, {500, 300}), std::pair(false, false));
    QMimeData garbled;
    garbled.setData(DatasetMimeType, "first");
    EXPECT_EQ(drop(window.get(), &garbled, {500, 300}), std::pair(true, false));
    click("combineAddAllButton");
    EXPECT_EQ(order(), (std::vector<int>{first, second}));
    EXPECT_EQ(plots().size(), 2U);
    // "Add..." offers what isn't there yet.
    session().setReady(loading.id);
    QTimer::singleShot(50, [&] {
        auto* list = QApplication::activeModalWidget()->findChild<QListWidget*>("addDatasetsList");
        ASSERT_TRUE(list);
        EXPECT_EQ(list->count(), 1);
        list->setFocus();
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualItemRect(list->item(0)).center());
        QTest::keyClick(list, Qt::Key_Return);
    });
    click("combineAddButton");
    EXPECT_EQ(order(), (std::vector<int>{first, second, loading.id}));
}

TEST_F(CombinePlotTest, SharedPlotsAskForSharedFeatures) {
    show();
    {
        MessageBoxWatcher nobodyAsks;
        choose("displayModeCombo", 2); // one dataset
        EXPECT_TRUE(nobodyAsks.seen().empty());
    }
    EXPECT_FALSE(checked("syncFeaturesCheckBox"));
    choose("displayModeCombo", 0);
    show();
    {
        MessageBoxWatcher cancel(QMessageBox::Cancel);
        QTest::keyClick(part<QComboBox>("displayModeCombo"), Qt::Key_Down);
        ASSERT_EQ(cancel.seen().size(), 1U);
        EXPECT_EQ(cancel.seen()[0].title, "Sync Features Required");
        EXPECT_EQ(
            cancel.seen()[0].text,
            "\"Array + Contour\" requires all datasets to use the same features.\nFeature syncing will be enabled "
            "and all datasets will use\nthe features of the first dataset.");
    }
    EXPECT_EQ(part<QComboBox>("displayModeCombo")->currentIndex(), 0);
    EXPECT_FALSE(checked("syncFeaturesCheckBox"));
    EXPECT_FALSE(window->isRefreshing());
    {
        MessageBoxWatcher agree(QMessageBox::Ok);
        QTest::keyClick(part<QComboBox>("displayModeCombo"), Qt::Key_Down);
        finish();
    }
    EXPECT_TRUE(checked("syncFeaturesCheckBox"));
    EXPECT_EQ(plots().size(), 3U); // two datasets and the contours of both
    click("syncFeaturesCheckBox"); // snaps back
    EXPECT_TRUE(checked("syncFeaturesCheckBox"));
    choose("displayModeCombo", 2);
    EXPECT_EQ(plots().size(), 1U);
}

TEST_F(CombinePlotTest, ControlsDependOnEachOther) {
    show();
    EXPECT_FALSE(enabled("manualLimitsCheckBox"));
    EXPECT_TRUE(part<QWidget>("manualLimitsCheckBox")->toolTip().contains("Sync Axes")); // what it waits for
    EXPECT_FALSE(enabled("xMinBox"));
    EXPECT_TRUE(part<QWidget>("xMinBox")->toolTip().contains("Manual Limits"));
    EXPECT_FALSE(enabled("isoLabelsCheckBox"));
    EXPECT_FALSE(part<QWidget>("arraySizeBoxes")->isVisibleTo(window.get()));
    click("syncAxesCheckBox");
    EXPECT_TRUE(enabled("manualLimitsCheckBox"));
    // 50 to 72 and 0.05 to 0.082, with 5 % on either side, in four decimals.
    EXPECT_EQ(part<QDoubleSpinBox>("xMinBox")->value(), 48.9);
    EXPECT_EQ(part<QDoubleSpinBox>("xMaxBox")->value(), 73.1);
    EXPECT_EQ(part<QDoubleSpinBox>("yMinBox")->value(), 0.0484);
    EXPECT_EQ(part<QDoubleSpinBox>("yMaxBox")->value(), 0.0836);
    click("manualLimitsCheckBox");
    EXPECT_TRUE(enabled("yMaxBox"));
    EXPECT_EQ(part<QWidget>("yMaxBox")->toolTip(), "");
    type("xMaxBox", "100");
    EXPECT_EQ(bounds(*plots()[0], QwtAxis::XBottom), std::pair(48.9, 100.0));
    click("syncAxesCheckBox");
    EXPECT_FALSE(checked("manualLimitsCheckBox"));
    EXPECT_FALSE(enabled("manualLimitsCheckBox"));
    EXPECT_FALSE(enabled("xMinBox"));
    EXPECT_TRUE(plots()[0]->axisAutoScale(QwtAxis::XBottom));

    click("isoelasticsCheckBox");
    click("isoLabelsCheckBox");
    EXPECT_TRUE(checked("isoLabelsCheckBox"));
    click("isoelasticsCheckBox");
    EXPECT_FALSE(checked("isoLabelsCheckBox"));
    EXPECT_FALSE(enabled("isoLabelsCheckBox"));

    click("manualArraySizeCheckBox");
    EXPECT_TRUE(part<QWidget>("arraySizeBoxes")->isVisibleTo(window.get()));
    type("arrayColsBox", "3");
    type("arrayRowsBox", "2");
    EXPECT_EQ(part<QSpinBox>("arrayColsBox")->value(), 0);
    EXPECT_EQ(part<QSpinBox>("arrayColsBox")->text(), "auto");
    EXPECT_EQ(part<QSpinBox>("arrayRowsBox")->value(), 2);
    click("manualArraySizeCheckBox");
    EXPECT_EQ(part<QSpinBox>("arrayRowsBox")->value(), 0);
}

TEST_F(CombinePlotTest, RowsFollowEachOther) {
    show();
    show();
    choose(row(1)->findChild<QComboBox*>("xScaleCombo"), 2);
    finish();
    click("syncFeaturesCheckBox");
    choose(row(1)->findChild<QComboBox*>("xFeatureCombo"), 1); // deform
    finish();
    EXPECT_EQ(row(0)->findChild<QComboBox*>("xFeatureCombo")->currentData(), "deform");
    EXPECT_EQ(row(0)->findChild<QComboBox*>("xScaleCombo")->currentIndex(), 0);
    click("syncAxesCheckBox");
    EXPECT_EQ(row(1)->findChild<QComboBox*>("xScaleCombo")->currentIndex(), 0);
    choose(row(1)->findChild<QComboBox*>("yScaleCombo"), 1);
    finish();
    EXPECT_EQ(row(0)->findChild<QComboBox*>("yScaleCombo")->currentIndex(), 1);
    EXPECT_FALSE(row(0)->findChild<QComboBox*>("xFeatureCombo")->accessibleName().isEmpty());
}

TEST_F(CombinePlotTest, LogAxesTellWhatTheyCannotShow) {
    builder.add(Columns{{"a", {1, 2, 3, 4, -5}}, {"b", {0, 0, -1, 4, 5}}});
    window->addDataset(0);
    finish();
    auto* x = row(0)->findChild<QComboBox*>("xScaleCombo");
    auto* y = row(0)->findChild<QComboBox*>("yScaleCombo");
    choose(x, 1);
    finish();
    EXPECT_EQ(x->itemText(1), "Log ⚠");
    EXPECT_EQ(x->toolTip(), "1 point with value ≤ 0 not shown (cannot be drawn on a log axis)");
    EXPECT_EQ(y->itemText(1), "Log");
    choose(row(0)->findChild<QComboBox*>("yFeatureCombo"), 1);
    choose(y, 1);
    finish();
    EXPECT_EQ(y->toolTip(), "3 points with value ≤ 0 not shown (cannot be drawn on a log axis)");
    // Common limits go below 0 in the boxes, not on the axis: from the smallest value above 0.
    click("syncAxesCheckBox");
    EXPECT_LT(part<QDoubleSpinBox>("xMinBox")->value(), 0.0);
    EXPECT_EQ(bounds(*plots()[0], QwtAxis::XBottom).first, 1.0);
    choose(x, 0);
    choose(y, 0);
    finish();
    EXPECT_EQ(x->itemText(1), "Log");
    EXPECT_EQ(x->toolTip(), "");
    // With shared features the first row's scales decide what is told.
    click("syncAxesCheckBox");
    window->addDataset(builder.add(Columns{{"a", {1, 2, 3, 4, -5}}, {"b", {1, 1, 1, 4, 5}}}).id);
    finish();
    auto* second = row(1)->findChild<QComboBox*>("xScaleCombo");
    choose(second, 1);
    finish();
    EXPECT_EQ(second->itemText(1), "Log ⚠");
    click("syncFeaturesCheckBox");
    EXPECT_EQ(row(1)->findChild<QComboBox*>("xScaleCombo")->itemText(1), "Log");
}

TEST_F(CombinePlotTest, ColoursOnlyRestyle) {
    show();
    show();
    ComparePlot* before = plots()[0];
    QSignalSpy refreshes(window->findChild<CombineRefresh*>(), &CombineRefresh::prepared);
    QTimer::singleShot(50, [] {
        auto* dialog = qobject_cast<QColorDialog*>(QApplication::activeModalWidget());
        ASSERT_TRUE(dialog);
        EXPECT_EQ(dialog->windowTitle(), "Dataset Color");
        EXPECT_EQ(QColorDialog::customColor(15), QColor("#c49c94"));
        dialog->setCurrentColor(QColor(200, 10, 20));
        dialog->accept();
    });
    QTest::mouseClick(row(0)->findChild<QWidget*>("colorButton"), Qt::LeftButton);
    finish();
    EXPECT_EQ(plots()[0], before);
    EXPECT_EQ(dotsOf(*before)->symbol()->pen().color(), QColor(200, 10, 20));
    EXPECT_EQ(dotsOf(*before)->symbol()->brush().color(), QColor(200, 10, 20, 100));
    EXPECT_EQ(before->title().color(), QColor(200, 10, 20));
    EXPECT_EQ(dotsOf(*plots()[1])->symbol()->pen().color(), QColor("#ff7f0e"));
    host.colorMap = 3;
    emit session().notices().colorMapChanged(3);
    EXPECT_TRUE(refreshes.isEmpty());
    EXPECT_EQ(plots()[0], before);
    choose("colorModeCombo", 2);
    EXPECT_EQ(dotsOf(*plots()[1])->symbol()->pen().color(), QColor(Qt::black));
    EXPECT_TRUE(part<QComboBox>("uniformColorCombo")->isVisibleTo(part<QWidget>("combineExportPanel")));
    choose("uniformColorCombo", 3);
    EXPECT_EQ(dotsOf(*plots()[1])->symbol()->pen().color(), QColor(Qt::red));
    EXPECT_EQ(refreshes.count(), 1); // of the mode
    choose("colorModeCombo", 1);
    EXPECT_FALSE(part<QComboBox>("uniformColorCombo")->isVisibleTo(part<QWidget>("combineExportPanel")));
}

TEST_F(CombinePlotTest, FollowsTheSession) {
    const int first = show();
    const int second = show(30);
    QSignalSpy refreshes(window->findChild<CombineRefresh*>(), &CombineRefresh::prepared);
    session().findById(first)->filter.addRule(rangeRule("area_um", 50, 60));
    for (int i = 0; i < 20; ++i) {
        emit session().notices().eventsChanged(); // a gate that is being dragged
    }
    EXPECT_TRUE(window->isRefreshing());
    finish();
    EXPECT_EQ(refreshes.count(), 1);
    EXPECT_LT(pointsOf(*plots()[0]), 40U);
    EXPECT_EQ(pointsOf(*plots()[1]), 30U);

    session().rename(second, "<b>other</b>");
    finish();
    EXPECT_EQ(plots()[1]->title().text(), "<b>other</b>");
    // As it is written, not as markup.
    const QwtText title = plots()[1]->title();
    EXPECT_GE(title.textSize().width(), QFontMetrics(title.font()).horizontalAdvance("<b>other</b>") - 1);
    EXPECT_EQ(row(1)->findChild<QLabel*>("datasetNameLabel")->text(), "<b>other</b>");

    session().findById(second)->reader->setFeature("emodulus", std::vector<double>(30, 1.0));
    emit session().notices().columnsChanged(second);
    EXPECT_GE(row(1)->findChild<QComboBox*>("xFeatureCombo")->findData("emodulus"), 0);
    EXPECT_LT(row(0)->findChild<QComboBox*>("xFeatureCombo")->findData("emodulus"), 0);

    session().remove(first);
    finish();
    EXPECT_EQ(order(), std::vector<int>{second});
    EXPECT_EQ(plots().size(), 1U);
    session().remove(second);
    finish();
    EXPECT_TRUE(plots().empty());
    EXPECT_TRUE(part<QLabel>("combineEmptyLabel"));
}

TEST_F(CombinePlotTest, RowsMoveByMouseAndKeys) {
    const int a = show();
    const int b = show();
    const int c = show();
    const auto dropRow = [this](int from, int onto, double height) {
        const std::unique_ptr<QMimeData> data(row(from)->makeDragData());
        CombineDatasetWidget* target = row(onto);
        const auto result = drop(target, data.get(), {20, static_cast<int>(target->height() * height)});
        finish();
        return result;
    };
    EXPECT_EQ(dropRow(0, 2, 0.9), std::pair(true, true));
    EXPECT_EQ(order(), (std::vector<int>{b, c, a}));
    EXPECT_EQ(plots()[2]->fullTitle(), session().findById(a)->displayName);
    EXPECT_EQ(dropRow(2, 0, 0.1), std::pair(true, true));
    EXPECT_EQ(order(), (std::vector<int>{a, b, c}));
    EXPECT_EQ(dropRow(1, 0, 0.9), std::pair(true, true)); // below its predecessor: where it is
    EXPECT_EQ(order(), (std::vector<int>{a, b, c}));
    EXPECT_FALSE(dropRow(1, 1, 0.9).second); // on itself
    // Onto a handle.
    const std::unique_ptr<QMimeData> data(row(2)->makeDragData());
    EXPECT_EQ(drop(row(0)->handle(), data.get(), {5, 2}), std::pair(true, true));
    finish();
    EXPECT_EQ(order(), (std::vector<int>{c, a, b}));
    QTest::keyClick(row(0)->handle(), Qt::Key_Down, Qt::AltModifier);
    finish();
    EXPECT_EQ(order(), (std::vector<int>{a, c, b}));
    EXPECT_EQ(window->focusWidget(), row(1)->handle());
    QTest::keyClick(row(0)->handle(), Qt::Key_Up, Qt::AltModifier);
    finish();
    EXPECT_EQ(order(), (std::vector<int>{a, c, b}));
    QTest::keyClick(row(2)->handle(), Qt::Key_Down, Qt::AltModifier); // the last one
    finish();
    EXPECT_EQ(order(), (std::vector<int>{a, c, b}));
    EXPECT_EQ(window->focusWidget(), row(2)->handle());
    // A row of another window isn't taken, nor one whose rows were made anew meanwhile.
    CombinePlotWindow other(session(), host);
    other.addDataset(b);
    const std::unique_ptr<QMimeData> foreign(other.findChild<CombineRowList*>()->rows()[0]->makeDragData());
    EXPECT_FALSE(drop(row(0), foreign.get(), {5, 2}).second);
    const std::unique_ptr<QMimeData> stale(row(2)->makeDragData());
    session().rename(b, "anew");
    finish();
    EXPECT_FALSE(drop(row(0), stale.get(), {5, 2}).second);
    finish();
    EXPECT_EQ(order(), (std::vector<int>{a, c, b}));
}

TEST_F(CombinePlotTest, ADragNearTheEdgeScrolls) {
    for (int i = 0; i < 8; ++i) {
        window->addDataset(add().id);
    }
    finish();
    auto* list = window->findChild<CombineRowList*>();
    QTRY_VERIFY(list->verticalScrollBar()->maximum() > 0);
    const std::unique_ptr<QMimeData> data(row(0)->makeDragData());
    const auto enter = [&](QWidget* widget, const QPoint& position) {
        QDragEnterEvent event(position, Qt::MoveAction, data.get(), Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(widget, &event);
    };
    enter(list->viewport(), {20, 100});
    const auto moveAt = [&](int y) {
        QDragMoveEvent move({20, y}, Qt::MoveAction, data.get(), Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(list->viewport(), &move);
        return list->scrollStep();
    };
    const int height = list->viewport()->height();
    EXPECT_EQ(moveAt(height / 2), 0);
    EXPECT_EQ(moveAt(39), -6);
    EXPECT_EQ(moveAt(40), 0);
    EXPECT_EQ(moveAt(height - 41), 0);
    EXPECT_EQ(moveAt(height - 40), 6);
    QTRY_VERIFY(list->verticalScrollBar()->value() >= 6);
    QDragLeaveEvent leave;
    QApplication::sendEvent(list->viewport(), &leave);
    EXPECT_EQ(list->scrollStep(), 0);
    // Over a row, too.
    const QPoint bottom(20, height - 5);
    auto* under = row(7);
    list->verticalScrollBar()->setValue(list->verticalScrollBar()->maximum());
    enter(under, {20, 20});
    QDragMoveEvent move(under->mapFrom(list->viewport(), bottom), Qt::MoveAction, data.get(), Qt::LeftButton,
                        Qt::NoModifier);
    QApplication::sendEvent(under, &move);
    EXPECT_EQ(list->scrollStep(), 6);
}

TEST_F(CombinePlotTest, StatisticsFollowTheVisibleDock) {
    show(4);
    auto* table = part<QTableWidget>("combineStatisticsTable");
    EXPECT_EQ(table->rowCount(), 0); // not before it is seen
    part<QDockWidget>("combineStatisticsDock")->show();
    QTRY_COMPARE(table->rowCount(), 1);
    EXPECT_EQ(table->columnCount(), 14);
    EXPECT_EQ(table->item(0, 1)->text(), "4");
    EXPECT_EQ(table->item(0, 5)->text(), "60.5"); // of 50, 57, 64, 71
    session().findById(0)->filter.addRule(rangeRule("area_um", 50, 60));
    emit session().notices().eventsChanged();
    finish();
    EXPECT_EQ(table->item(0, 1)->text(), "2");
}

TEST_F(CombinePlotTest, ComesBackWithTheSession) {
    const int first = show();
    show(30);
    click("syncAxesCheckBox");
    click("showCountCheckBox");
    choose("contourModeCombo", 1);
    choose("colorModeCombo", 2);
    type("plotWidthBox", "120");
    part<QDockWidget>("combineStatisticsDock")->show();
    CombineDatasetSettings changed = row(1)->settings();
    choose(row(1)->findChild<QComboBox*>("yScaleCombo"), 2);
    finish();
    const QJsonObject state = window->sessionState({{first, 0}, {first + 1, 1}});
    CombinePlotWindow other(session(), host);
    other.restoreSessionState(state, {{0, first}, {1, first + 1}});
    other.show();
    other.finishRefresh();
    EXPECT_EQ(other.sessionState({{first, 0}, {first + 1, 1}}), state);
    EXPECT_EQ(other.plots().size(), 2U);
    EXPECT_EQ(other.model().options(), window->model().options());
    EXPECT_EQ(other.model().datasets(), window->model().datasets());
    EXPECT_EQ(other.findChild<QSpinBox*>("plotWidthBox")->value(), 120);
    EXPECT_TRUE(other.findChild<QWidget*>("manualLimitsCheckBox")->isEnabled());
    // A session without one of the datasets.
    CombinePlotWindow partly(session(), host);
    partly.restoreSessionState(state, {{1, first + 1}});
    partly.finishRefresh();
    EXPECT_EQ(partly.plots().size(), 1U);
    CombinePlotWindow broken(session(), host);
    broken.restoreSessionState(QJsonObject{{"datasets", 3}, {"displayMode", 99}}, {});
    EXPECT_EQ(broken.model().options(), CombineOptions());
}

TEST_F(CombinePlotTest, AMissingFeatureIsKeptUntilItArrives) {
    const int id = add().id;
    const QJsonObject row0{{"datasetSessionIndex", 0}, {"xFeatureName", "emodulus"}, {"yFeatureName", "deform"}};
    window->restoreSessionState(QJsonObject{{"datasets", QJsonArray{row0}}}, {{0, id}});
    finish();
    EXPECT_EQ(row(0)->findChild<QComboBox*>("xFeatureCombo")->currentText(), "emodulus (n/a)");
    EXPECT_EQ(pointsOf(*plots()[0]), 0U);
    EXPECT_EQ(window->sessionState({{id, 0}})["datasets"].toArray()[0].toObject()["xFeatureName"], "emodulus");
    session().findById(id)->reader->setFeature("emodulus", std::vector<double>(40, 1.0));
    emit session().notices().columnsChanged(id);
    finish();
    EXPECT_FALSE(row(0)->findChild<QComboBox*>("xFeatureCombo")->currentText().contains("n/a"));
    EXPECT_EQ(pointsOf(*plots()[0]), 40U);
}

TEST_F(CombinePlotTest, RefreshesMayBeOvertaken) {
    std::mt19937 random(1);
    std::normal_distribution<double> normal;
    std::vector<double> x(60000);
    std::vector<double> y(x.size());
    for (std::size_t i = 0; i < x.size(); ++i) {
        x[i] = normal(random);
        y[i] = normal(random);
    }
    for (int i = 0; i < 6; ++i) {
        window->addDataset(builder.add(Columns{{"x", x}, {"y", y}}).id);
    }
    choose("colorModeCombo", 0);
    choose("contourModeCombo", 1);
    CombinePlotWindow second(session(), host);
    for (const auto& entry : session().datasets()) {
        second.addDataset(entry->id);
    }
    const auto startOver = [&] {
        emit session().notices().eventsChanged();
        QApplication::processEvents(); // both windows prepare their data
    };
    for (int i = 0; i < 5; ++i) {
        startOver();
    }
    EXPECT_TRUE(window->isRefreshing());
    session().remove(2);
    startOver();
    session().remove(0);
    EXPECT_LT(plots().size(), 7U);
    finish();
    second.finishRefresh();
    EXPECT_EQ(plots().size(), 4U);
    EXPECT_EQ(second.plots().size(), 4U);
    EXPECT_EQ(plots()[0]->fullTitle(), "dataset 1");
    // Windows close while they refresh; a page is rendered while a dataset goes.
    window->findChild<QAction*>("exportPreviewAction")->trigger();
    startOver();
    session().remove(1);
    window->close();
    window.reset();
    startOver();
    session().remove(3);
    second.finishRefresh();
    EXPECT_EQ(second.plots().size(), 2U);
    QThreadPool::globalInstance()->waitForDone();
}

} // namespace
} // namespace Tessaly
