#include "StatisticsFixture.h"

#include "io/VQDReader.h"
#include "tools/statistics/StatisticsPlots.h"

#include <QCheckBox>
#include <QClipboard>
#include <QDockWidget>
#include <QDoubleSpinBox>
#include <QHeaderView>
#include <QJsonArray>
#include <QMenu>
#include <QMenuBar>
#include <QProgressBar>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalSpy>
#include <QSpinBox>
#include <qwt_plot.h>
#include <qwt_plot_curve.h>
#include <qwt_plot_marker.h>
#include <qwt_plot_shapeitem.h>
#include <qwt_scale_draw.h>
#include <qwt_scale_map.h>
#include <qwt_scale_widget.h>
#include <qwt_text.h>

#include <cmath>

namespace Tessaly {
namespace {

using StatisticalEvalWindowTest = StatisticsFixture;

TEST_F(StatisticalEvalWindowTest, AtFirst) {
    open();
    EXPECT_EQ(window->windowTitle(), "Statistical Evaluation");
    EXPECT_EQ(window->size(), QSize(1000, 700));
    QTabWidget& tabs = control<QTabWidget>("statisticsTabs");
    EXPECT_EQ(tabs.tabText(0), "Statistical Comparison");
    EXPECT_EQ(tabs.tabText(1), "ROC Analysis");
    EXPECT_EQ(tabs.tabText(2), "Distribution Explorer");
    QStringList titles;
    for (const QDockWidget* dock : window->findChildren<QDockWidget*>()) {
        titles += dock->windowTitle();
    }
    EXPECT_EQ(titles, (QStringList{"Categories", "Analysis Settings"}));
    ASSERT_EQ(window->categoryPanels().size(), 2U);
    EXPECT_EQ(panel(0).category(), (Category{"Baseline", "#4682b4", false, {}}));
    EXPECT_EQ(panel(1).category(), (Category{"Condition 1", "#dc503c", true, {}}));
    EXPECT_FALSE(panel(0).findChild<QPushButton*>("deleteCategory"));
    EXPECT_EQ(panel(0).findChild<QLabel*>("categoryCount")->text(), "0 datasets");
    EXPECT_FALSE(panel(0).findChild<QPushButton*>("removeSelected")->isEnabled());
    EXPECT_EQ(control<QDoubleSpinBox>("alpha").value(), 0.05);
    EXPECT_EQ(control<QLabel>("testLabel").text(), "Test: Mann-Whitney U (independent)");
    EXPECT_TRUE(guidance().startsWith("Each dataset is summarized by its median"));
    EXPECT_EQ(control<QTableWidget>("groupTable").maximumHeight(), 200);
    QStringList entries;
    for (const QAction* action : control<QMenu>("exportMenu").actions()) {
        if (!action->isSeparator()) {
            entries += action->text();
        }
    }
    EXPECT_EQ(entries,
              (QStringList{"Export Group &Plots...", "Export Group &Table...", "Export &ROC Plots...",
                           "Export ROC Ta&ble...", "Export ROC Curve &Data...", "Export &Distribution Plots..."}));
}

TEST_F(StatisticalEvalWindowTest, CategoriesTakeDatasets) {
    open();
    const int a = addDataset("a<b>", 1).id;
    const int b = addDataset("b", 2).id;
    DatasetEntry& loading = addDataset("loading", 3);
    loading.featuresLoaded = false;
    EXPECT_TRUE(drop(a, 0));
    EXPECT_FALSE(drop(a, 0)); // a member already
    EXPECT_TRUE(drop(a, 1));  // but it may stand in several
    EXPECT_FALSE(drop(loading.id, 0));
    EXPECT_FALSE(drop(99, 0));
    EXPECT_EQ(listOf(0).item(0)->text(), "a&lt;b&gt;");
    EXPECT_EQ(panel(0).findChild<QLabel*>("categoryCount")->text(), "1 datasets");
    {
        DialogAnswers answers({[](QDialog& dialog) {
            auto* list = dialog.findChild<QListWidget*>();
            EXPECT_EQ(list->count(), 1); // neither the member nor the one that is loading
            list->selectAll();
            dialog.accept();
        }});
        clickIn(0, "addDatasets");
        EXPECT_EQ(answers.seen, QStringList("Add Datasets"));
    }
    EXPECT_EQ(namesIn(0), (QStringList{"a<b>", "b"}));
    EXPECT_GT(control<QListWidget>("featureList").count(), 1);

    // News of the session.
    builder.session.rename(b, "new name");
    EXPECT_EQ(namesIn(0), (QStringList{"a<b>", "new name"}));
    builder.session.remove(a);
    EXPECT_EQ(namesIn(0), QStringList("new name"));
    EXPECT_TRUE(namesIn(1).isEmpty());

    QTest::mouseClick(listOf(0).viewport(), Qt::LeftButton, {}, listOf(0).visualItemRect(listOf(0).item(0)).center());
    clickIn(0, "removeSelected");
    EXPECT_TRUE(namesIn(0).isEmpty());
    drop(b, 0);
    clickIn(0, "clearCategory");
    EXPECT_TRUE(namesIn(0).isEmpty());
    EXPECT_EQ(control<QListWidget>("featureList").count(), 0);
}

TEST_F(StatisticalEvalWindowTest, CategoriesComeAndGo) {
    open();
    for (int i = 0; i < 5; ++i) {
        click("addCategory");
    }
    EXPECT_EQ(panel(2).category().name, "Condition 2");
    EXPECT_EQ(panel(6).category().name, "Condition 6");
    EXPECT_EQ(panel(6).category().color, "#4682b4"); // the seventh begins anew
    EXPECT_EQ(control<QLabel>("testLabel").text(), "Test: Kruskal-Wallis (independent)");
    clickIn(2, "deleteCategory");
    EXPECT_EQ(window->categoryPanels().size(), 6U);
    EXPECT_EQ(panel(2).category().name, "Condition 3");
    click("addCategory"); // a number isn't given twice
    EXPECT_EQ(panel(6).category().name, "Condition 7");
    typeName(0, "!");
    EXPECT_EQ(panel(0).category().name, "Baseline!");
}

TEST_F(StatisticalEvalWindowTest, IdsAreDetectedAndSet) {
    open();
    drop(addDataset("s ID12 BR3", 1).id, 0);
    drop(addDataset("plain", 2).id, 1);
    EXPECT_EQ(listOf(0).item(0)->text(), "s ID12 BR3");
    click("replicates");
    EXPECT_TRUE(listOf(0).item(0)->text().contains("[#<b style=\"color:#c04040\">?</b>]"));
    {
        DialogAnswers answers;
        click("detectIds");
        EXPECT_EQ(answers.seen, QStringList("Auto-detect IDs: Detected IDs in 1 of 2 datasets. Remaining datasets need "
                                            "manual assignment or names containing ID#."));
    }
    EXPECT_TRUE(listOf(0).item(0)->text().endsWith("<span style=\"color:#3070b0\">[#12]</span>"));
    {
        DialogAnswers answers({[](QDialog& dialog) {
            auto& input = dynamic_cast<QInputDialog&>(dialog);
            EXPECT_EQ(input.labelText(), "ID for \"plain\":");
            EXPECT_EQ(input.intMaximum(), 9999);
            input.setIntValue(7);
            dialog.accept();
        }});
        const QPoint place = listOf(1).visualItemRect(listOf(1).item(0)).center();
        QTest::mouseClick(listOf(1).viewport(), Qt::LeftButton, {}, place);
        QTest::mouseDClick(listOf(1).viewport(), Qt::LeftButton, {}, place);
        EXPECT_EQ(answers.seen, QStringList("Set ID"));
    }
    EXPECT_EQ(panel(1).entries()[0].numberId, 7);
    choose("design", 1); // with matched samples and technical replicates all three
    EXPECT_TRUE(listOf(1).item(0)->text().contains("[#7.<b"));
    {
        DialogAnswers answers({[](QDialog& dialog) {
            for (int i = 0; i < 3; ++i) {
                dialog.findChild<QSpinBox*>(QStringLiteral("replicateId%1").arg(i))->setValue(i + 1);
            }
            QTest::keyClick(&dialog, Qt::Key_Return);
        }});
        listOf(1).setFocus();
        QTest::keyClick(&listOf(1), Qt::Key_F2);
        EXPECT_EQ(answers.seen, QStringList("Set Replicate IDs"));
    }
    EXPECT_TRUE(listOf(1).item(0)->text().contains("[#1.2.3]"));
    {
        DialogAnswers answers; // a refused dialog changes nothing
        QTest::keyClick(&listOf(1), Qt::Key_F2);
        EXPECT_EQ(answers.seen.size(), 1);
    }
    EXPECT_EQ(panel(1).entries()[0].techRepId, 3);
    click("replicates");
    choose("design", 0);
    DialogAnswers answers;
    QTest::keyClick(&listOf(1), Qt::Key_F2); // IDs that aren't shown can't be set
    QTest::qWait(20);
    EXPECT_TRUE(answers.seen.isEmpty());
}

TEST_F(StatisticalEvalWindowTest, ControlsByTabAndDesign) {
    open();
    const char* names[] = {"summary",   "replicates", "detectIds",   "design", "connectionLines", "alpha", "correction",
                           "testLabel", "mode",       "runAnalysis", "runRoc", "runDistribution"};
    const auto shown = [&] {
        QString marks;
        for (const char* name : names) {
            marks += control<QWidget>(name).isVisibleTo(window.get()) ? 'o' : '-';
        }
        return marks;
    };
    const QCheckBox& replicates = control<QCheckBox>("replicates");
    EXPECT_EQ(shown(), "oo-o-ooo-o--");
    EXPECT_EQ(replicates.text(), "Replicates included");
    click("replicates");
    EXPECT_EQ(shown(), "oooo-ooo-o--");
    showTab(1);
    EXPECT_EQ(shown(), "ooo-------o-");
    showTab(2);
    EXPECT_EQ(shown(), "--------o--o");
    showTab(0);
    click("replicates");
    choose("design", 1);
    EXPECT_EQ(shown(), "oooooooo-o--");
    EXPECT_EQ(replicates.text(), "Technical replicates");
    click("connectionLines");
    showTab(1); // matching says nothing to a ROC analysis
    EXPECT_EQ(shown(), "oo--------o-");
    EXPECT_EQ(replicates.text(), "Replicates included");
    showTab(0);
    choose("design", 0);
    EXPECT_FALSE(control<QCheckBox>("connectionLines").isChecked());
    EXPECT_TRUE(guidance().contains("Mann-Whitney U test"));
    showTab(2);
    choose("mode", 1);
    EXPECT_TRUE(guidance().contains("Per-category mode"));
}

TEST_F(StatisticalEvalWindowTest, GroupsAreTested) {
    open();
    {
        DialogAnswers answers;
        click("runAnalysis");
        EXPECT_EQ(answers.seen,
                  QStringList("Analysis: Category \"Baseline\" has fewer than 3 datasets. Minimum is 3."));
    }
    fillTwo();
    selectFeatures({0, 1}); // area and deformation
    run("runAnalysis");
    // SciPy: U = 0, p = 0.04953; equal samples p = 1; two tests share the level.
    QTableWidget& table = control<QTableWidget>("groupTable");
    EXPECT_EQ(rowsOf(table), (QStringList{"Area [µm²]|11 ± 1|21 ± 1|Mann-Whitney U|0.04953|ns",
                                          "Deformation|0.2 ± 0|0.2 ± 0|Mann-Whitney U|1|ns"}));
    EXPECT_EQ(table.horizontalHeaderItem(5)->text(), "Sig. (α*=0.025)");
    EXPECT_TRUE(table.item(0, 1)->textAlignment() & Qt::AlignRight);
    EXPECT_EQ(plotCount("groupPlots"), 2U);
    choose("correction", 2);
    run("runAnalysis");
    EXPECT_EQ(rowsOf(table)[0], "Area [µm²]|11 ± 1|21 ± 1|Mann-Whitney U|0.04953|*");
    // A refused run leaves the results alone.
    clickIn(1, "clearCategory");
    DialogAnswers answers;
    click("runAnalysis");
    EXPECT_EQ(rowsOf(table).size(), 2);
    EXPECT_EQ(plotCount("groupPlots"), 2U);
}

TEST_F(StatisticalEvalWindowTest, PlotsShowSamplesAndBrackets) {
    open();
    fillTwo();
    selectFeatures({0});
    run("runAnalysis");
    const QwtPlot& plot = *control<PlotStack>("groupPlots").plots().at(0);
    EXPECT_EQ(plot.axisTitle(QwtAxis::YLeft).text(), "Area [µm²]");
    EXPECT_EQ(plot.axisScaleDraw(QwtAxis::XBottom)->label(1.0).text(), "Condition 1");
    EXPECT_EQ(plot.axisInterval(QwtAxis::XBottom), QwtInterval(-0.5, 1.5));
    EXPECT_EQ(plot.itemList(QwtPlotItem::Rtti_PlotShape).size(), 2);
    const auto box = static_cast<QwtPlotShapeItem*>(plot.itemList(QwtPlotItem::Rtti_PlotShape)[1])->boundingRect();
    EXPECT_NEAR(box.top(), 20.0, 1e-9); // 21 - 1
    EXPECT_NEAR(box.width(), 0.4, 1e-9);
    const QwtPlotItemList markers = plot.itemList(QwtPlotItem::Rtti_PlotMarker);
    ASSERT_EQ(markers.size(), 1);
    EXPECT_EQ(static_cast<QwtPlotMarker*>(markers[0])->label().text(), "*");
    EXPECT_NEAR(static_cast<QwtPlotMarker*>(markers[0])->xValue(), 0.5, 1e-12);
    QStringList samples;
    for (const QwtPlotItem* item : plot.itemList(QwtPlotItem::Rtti_PlotCurve)) {
        const auto* curve = static_cast<const QwtPlotCurve*>(item);
        if (curve->symbol() && curve->dataSize() == 3) {
            for (std::size_t i = 0; i < 3; ++i) {
                samples += QStringLiteral("%1:%2")
                               .arg(curve->sample(static_cast<int>(i)).x())
                               .arg(curve->sample(static_cast<int>(i)).y());
            }
        }
    }
    EXPECT_EQ(samples, (QStringList{"-0.08:10", "-0.04:11", "0:12", "0.92:20", "0.96:21", "1:22"}));
}

TEST_F(StatisticalEvalWindowTest, SamplesStandOverTheNamesOfTheirCategories) {
    open();
    fillTwo();
    click("addCategory");
    fill(2, "C", 5, 3);
    selectFeatures({0, 1});
    const auto check = [this](const char* when) {
        QwtPlot& plot = *control<PlotStack>("groupPlots").plots().at(0);
        const QwtScaleWidget& axis = *plot.axisWidget(QwtAxis::XBottom);
        const QImage picture = plot.grab().toImage();
        for (int category = 0; category < 3; ++category) {
            // The middle sample is drawn without an offset.
            const double value = std::vector{12.0, 22.0, 7.0}[static_cast<std::size_t>(category)];
            const int x = axis.x() + static_cast<int>(std::lround(axis.scaleDraw()->scaleMap().transform(category)));
            const int y =
                plot.canvas()->y() + static_cast<int>(std::lround(plot.canvasMap(QwtAxis::YLeft).transform(value)));
            const QColor wanted(panel(static_cast<std::size_t>(category)).category().color);
            EXPECT_EQ(picture.pixelColor(x, y), wanted) << when << " " << category;
        }
    };
    run("runAnalysis");
    QTest::qWait(50); // the layout settles
    check("first");
    // An axis gets another extent while the canvas stays as large as it was.
    QwtScaleWidget& axis = *control<PlotStack>("groupPlots").plots().at(0)->axisWidget(QwtAxis::XBottom);
    axis.setGeometry(axis.geometry().adjusted(60, 0, -60, 0));
    check("narrower");
}

TEST_F(StatisticalEvalWindowTest, MatchedSamplesAskWhenTheyAreFew) {
    open();
    fillTwo();
    selectFeatures({0});
    choose("design", 1);
    {
        DialogAnswers answers;
        click("runAnalysis"); // no IDs yet
        EXPECT_TRUE(answers.seen.value(0).startsWith("Analysis: Pairing is enabled but IDs are not valid."));
    }
    click("detectIds");
    click("connectionLines");
    EXPECT_EQ(control<QLabel>("testLabel").text(), "Test: Wilcoxon signed-rank (matched)");
    {
        DialogAnswers answers;
        click("runAnalysis");
        EXPECT_TRUE(answers.seen.value(0).contains("With 3 matched observations"));
        QTest::qWait(20);
        EXPECT_EQ(plotCount("groupPlots"), 0U);
    }
    DialogAnswers answers(
        {[](QDialog& dialog) { dynamic_cast<QMessageBox&>(dialog).button(QMessageBox::Yes)->click(); }});
    run("runAnalysis");
    EXPECT_EQ(rowsOf(control<QTableWidget>("groupTable")), QStringList("Area [µm²]|11 ± 1|21 ± 1|Wilcoxon|0.1088|ns"));
    int lines = 0;
    for (const QwtPlotItem* item :
         control<PlotStack>("groupPlots").plots().at(0)->itemList(QwtPlotItem::Rtti_PlotCurve)) {
        lines += static_cast<const QwtPlotCurve*>(item)->pen().color() == QColor(150, 150, 150) ? 1 : 0;
    }
    EXPECT_EQ(lines, 3);
}

TEST_F(StatisticalEvalWindowTest, DatasetsWithoutValuesAreNamed) {
    open();
    fillTwo();
    DatasetEntry& emptied = *builder.session.datasets()[1];
    emptied.filter.addRule(rangeRule("area_um", 500, 600));
    selectFeatures({0});
    run("runAnalysis");
    EXPECT_EQ(rowsOf(control<QTableWidget>("groupTable"))[0],
              "Area [µm²]|7.333 ± 6.43|21 ± 1|Mann-Whitney U|0.04953|*");
    EXPECT_TRUE(guidance().endsWith("\n\nNo values: A ID2"));
    emit builder.session.notices().eventsChanged();
    EXPECT_FALSE(guidance().contains("No values"));
    showTab(2);
    run("runDistribution");
    EXPECT_TRUE(guidance().endsWith("\n\nNo values: A ID2"));
    const QScrollArea& settings = control<QScrollArea>("settingsScroll"); // low as the dock is, the end is in sight
    EXPECT_GT(settings.verticalScrollBar()->maximum(), 0);
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return settings.verticalScrollBar()->value() == settings.verticalScrollBar()->maximum(); }));
    selectFeatures({1});
    emptied.filter.clearRules();
    run("runDistribution");
    EXPECT_FALSE(guidance().contains("No values"));
}

TEST_F(StatisticalEvalWindowTest, ControlsSayWhatTheyAreOf) {
    open();
    fillTwo(1);
    typeName(1, " & <b>");
    const std::pair<const char*, const char*> rows[] = {
        {"categoryColor", "Color of Condition 1 & <b>, #dc503c"},
        {"categoryList", "Datasets of Condition 1 & <b>"},
        {"deleteCategory", "Delete Condition 1 & <b>"},
        {"addDatasets", "Add datasets to Condition 1 & <b>"},
        {"clearCategory", "Remove all datasets from Condition 1 & <b>"},
        {"removeSelected", "Remove selected datasets from Condition 1 & <b>"},
    };
    for (const auto& [name, expected] : rows) {
        EXPECT_EQ(panel(1).findChild<QWidget*>(name)->accessibleName(), expected);
    }
    EXPECT_EQ(panel(1).findChild<QPushButton*>("removeSelected")->toolTip(), "Select datasets in the list first");
    click("replicates");
    EXPECT_EQ(listOf(1).item(0)->data(Qt::AccessibleTextRole), "B ID1, ID not set");
    for (const QPushButton* button : window->findChildren<QPushButton*>()) {
        EXPECT_FALSE(button->accessibleName().isEmpty() && button->text().isEmpty())
            << button->objectName().toStdString();
    }
    // A long name is shortened, so that the ID behind it stays in sight.
    builder.session.rename(builder.session.datasets()[1]->id, QString(200, u'n'));
    EXPECT_LE(listOf(1).sizeHintForColumn(0), listOf(1).viewport()->width());
    EXPECT_LE(listOf(1).visualItemRect(listOf(1).item(0)).width(), listOf(1).viewport()->width());
}

TEST_F(StatisticalEvalWindowTest, NamesInDialogsAreShownAsTheyAre) {
    open();
    drop(addDataset("R&D <b>x</b>", 1).id, 0);
    click("replicates");
    DialogAnswers answers({[](QDialog& dialog) {
        const auto* label = dialog.findChild<QLabel*>();
        EXPECT_EQ(label->text(), "ID for \"R&&D <b>x</b>\":"); // one of the two marks a shortcut and isn't shown
        EXPECT_EQ(label->textFormat(), Qt::PlainText);
        dialog.reject();
    }});
    listOf(0).setFocus();
    QTest::keyClick(&listOf(0), Qt::Key_Down);
    QTest::keyClick(&listOf(0), Qt::Key_Return);
    EXPECT_EQ(answers.seen, QStringList("Set ID"));
    // An empty dialog tells why.
    DialogAnswers none({[](QDialog& dialog) {
        auto* list = dialog.findChild<QListWidget*>();
        EXPECT_EQ(list->count(), 0);
        EXPECT_EQ(list->findChild<QLabel*>()->text(), "All loaded datasets are in this category already.");
        dialog.reject();
    }});
    clickIn(0, "addDatasets");
}

TEST_F(StatisticalEvalWindowTest, RocOfThreeCategories) {
    open();
    fillTwo();
    click("addCategory");
    fill(2, "C", 5, 3);
    showTab(1);
    selectFeatures({0, 1});
    const auto pick = [](const char* label, const QStringList& offered, const QString& name) {
        return [=](QDialog& dialog) {
            auto& input = dynamic_cast<QInputDialog&>(dialog);
            EXPECT_EQ(input.labelText(), label);
            EXPECT_EQ(input.comboBoxItems(), offered);
            input.setTextValue(name);
            dialog.accept();
        };
    };
    const auto negative =
        pick("Select NEGATIVE class (reference):", {"Baseline", "Condition 1", "Condition 2"}, "Condition 1");
    {
        DialogAnswers answers({negative}); // the second question is cancelled
        click("runRoc");
        EXPECT_EQ(answers.seen.size(), 2);
        EXPECT_EQ(plotCount("rocPlots"), 0U);
    }
    DialogAnswers answers(
        {negative, pick("Select POSITIVE class (condition):", {"Baseline", "Condition 2"}, "Condition 2")});
    run("runRoc");
    const QStringList rows = rowsOf(control<QTableWidget>("rocTable"));
    EXPECT_EQ(rows.mid(0, 2), (QStringList{"Area [µm²]|1.000|< (lower = Condition 2)|7|1.000|1.000|3|3",
                                           "Deformation|0.500|> (higher = Condition 2)|1.2|0.000|1.000|3|3"}));
    EXPECT_TRUE(rows[2].startsWith("Combined (LDA)|1.000|"));
    EXPECT_EQ(plotCount("rocPlots"), 3U);
    EXPECT_TRUE(
        control<PlotStack>("rocPlots").plots().at(2)->title().text().startsWith("Combined (LDA)\nWeights: Area"));
}

TEST_F(StatisticalEvalWindowTest, LabelOfTheBestPointStaysInThePlot) {
    const struct {
        double fpr;
        double sensitivity;
        Qt::Alignment side;
    } rows[] = {
        {0.0, 1.0, Qt::AlignRight | Qt::AlignBottom}, {0.25, 0.75, Qt::AlignRight | Qt::AlignTop},
        {0.5, 0.5, Qt::AlignLeft | Qt::AlignTop},     {0.125, 0.375, Qt::AlignRight | Qt::AlignBottom},
        {0.0, 0.0, Qt::AlignRight | Qt::AlignTop},
    };
    for (const auto& row : rows) {
        RocResult roc = directedRoc(std::vector<double>{1, 2}, std::vector<double>{3, 4});
        roc.specificity = 1.0 - row.fpr;
        roc.sensitivity = row.sensitivity;
        const std::unique_ptr<QwtPlot> plot(makeRocPlot(roc, "title"));
        const auto* label = static_cast<const QwtPlotMarker*>(plot->itemList(QwtPlotItem::Rtti_PlotMarker).last());
        EXPECT_EQ(label->labelAlignment(), row.side) << row.fpr << " " << row.sensitivity;
    }
}

TEST_F(StatisticalEvalWindowTest, RocOfReplicates) {
    open();
    fillTwo();
    showTab(1);
    click("replicates");
    selectFeatures({0});
    {
        DialogAnswers answers;
        click("runRoc");
        EXPECT_EQ(answers.seen,
                  QStringList("ROC Analysis: Replicates are enabled but some datasets have no ID assigned. "
                              "Double-click datasets to assign IDs."));
    }
    click("detectIds");
    showTab(0);
    showTab(1);
    run("runRoc");
    EXPECT_EQ(rowsOf(control<QTableWidget>("rocTable")),
              QStringList("Area [µm²]|1.000|> (higher = Condition 1)|20|1.000|1.000|3|3"));
    const QwtPlot& plot = *control<PlotStack>("rocPlots").plots().at(0);
    EXPECT_EQ(plot.axisInterval(QwtAxis::YLeft), QwtInterval(0, 1));
    QStringList labels;
    for (const QwtPlotItem* item : plot.itemList(QwtPlotItem::Rtti_PlotMarker)) {
        labels += static_cast<const QwtPlotMarker*>(item)->label().text();
    }
    EXPECT_EQ(labels, (QStringList{"AUC = 1.000", "Threshold > 20\nSens = 1.000, Spec = 1.000"}));
}

TEST_F(StatisticalEvalWindowTest, Distributions) {
    open();
    fillTwo();
    showTab(2);
    {
        DialogAnswers answers;
        click("runDistribution");
        EXPECT_EQ(answers.seen, QStringList("Distribution Explorer: Select at least one feature."));
    }
    selectFeatures({0});
    const auto curves = [this](bool inLegend) {
        QStringList titles;
        for (const QwtPlotItem* item :
             control<PlotStack>("distributionPlots").plots().at(0)->itemList(QwtPlotItem::Rtti_PlotCurve)) {
            if (!inLegend || item->testItemAttribute(QwtPlotItem::Legend)) {
                titles += item->title().text();
            }
        }
        return titles;
    };
    run("runDistribution");
    EXPECT_EQ(curves(false), (QStringList{"A ID1", "A ID2", "A ID3", "B ID1", "B ID2", "B ID3"}));
    EXPECT_TRUE(curves(true).isEmpty());
    choose("mode", 1);
    run("runDistribution");
    EXPECT_EQ(curves(false), (QStringList{"", "", "Baseline", "Condition 1"})); // by height: bands first
    EXPECT_EQ(curves(true), (QStringList{"Baseline", "Condition 1"}));
    const auto* band = static_cast<const QwtPlotCurve*>(
        control<PlotStack>("distributionPlots").plots().at(0)->itemList(QwtPlotItem::Rtti_PlotCurve)[0]);
    EXPECT_EQ(band->dataSize(), 512U);
    EXPECT_GE(band->minYValue(), 0.0);
}

TEST_F(StatisticalEvalWindowTest, ARunIsDroppedWhenSomethingChanges) {
    open();
    fillTwo();
    selectFeatures({0});
    const auto expectDropped = [this] {
        EXPECT_TRUE(control<QLabel>("runDropped").isVisible());
        EXPECT_FALSE(control<QProgressBar>("runProgress").isVisible());
        QTest::qWait(30);
        EXPECT_EQ(plotCount("groupPlots"), 0U);
    };
    click("runAnalysis");
    EXPECT_FALSE(control<QPushButton>("runAnalysis").isEnabled());
    EXPECT_TRUE(control<QProgressBar>("runProgress").isVisible());
    EXPECT_FALSE(control<QAction>("exportRocData").isEnabled()); // which computes, too
    emit builder.session.notices().groupsChanged();
    expectDropped();
    click("runAnalysis");
    builder.session.remove(builder.session.datasets()[0]->id);
    expectDropped();
    drop(addDataset("one more", 3).id, 0);
    click("runAnalysis");
    click("addCategory");
    expectDropped();
    clickIn(2, "deleteCategory");
    EXPECT_TRUE(control<QAction>("exportRocData").isEnabled());
    // Columns of a dataset that isn't compared don't matter.
    click("runAnalysis");
    emit builder.session.notices().columnsChanged(addDataset("other", 1).id);
    EXPECT_TRUE(QTest::qWaitFor([&] { return plotCount("groupPlots") == 1; }));
    click("runAnalysis");
    QSignalSpy closed(window.get(), &StatisticalEvalWindow::windowClosed);
    window->close();
    EXPECT_EQ(closed.size(), 1);
    click("runAnalysis");
    window.reset(); // with a run under way
    QTest::qWait(20);
}

TEST_F(StatisticalEvalWindowTest, SelectedFeaturesComeBack) {
    open();
    const std::vector<int> ids = fill(0, "A", 10, 1);
    const QListWidget& list = control<QListWidget>("featureList");
    const DatasetEntry& dataset = *builder.session.findById(ids[0]);
    dataset.reader->setFeature("emodulus", {1, 2, 3});
    emit builder.session.notices().columnsChanged(ids[0]);
    EXPECT_EQ(list.count(), 3);
    selectFeatures({2});
    ASSERT_EQ(list.selectedItems().size(), 1);
    const QString label = list.selectedItems()[0]->text();
    const DatasetEntry& lacking = addDataset("lacks it", 1);
    drop(lacking.id, 0);
    builder.session.remove(ids[0]);
    EXPECT_EQ(list.count(), 2);
    EXPECT_TRUE(list.selectedItems().isEmpty());
    EXPECT_EQ(window->sessionState({})["selectedFeatures"].toArray(), QJsonArray({"emodulus"}));
    lacking.reader->setFeature("emodulus", {1, 2, 3});
    emit builder.session.notices().columnsChanged(lacking.id);
    ASSERT_EQ(list.selectedItems().size(), 1);
    EXPECT_EQ(list.selectedItems()[0]->text(), label);
}

TEST_F(StatisticalEvalWindowTest, SessionRoundTrip) {
    open();
    fillTwo();
    click("addCategory");
    choose("design", 1);
    click("replicates");
    click("connectionLines");
    choose("summary", 4);
    choose("correction", 1);
    click("detectIds");
    selectFeatures({1});
    showTab(2);
    DatasetNumbers idToIndex;
    DatasetNumbers indexToId;
    for (int i = 0; i < 6; ++i) {
        const int id = builder.session.datasets()[static_cast<std::size_t>(i)]->id;
        idToIndex[id] = 5 - i;
        indexToId[5 - i] = id;
    }
    const QJsonObject state = window->sessionState(idToIndex);
    StatisticalEvalWindow other(builder.session, host);
    other.restoreSessionState(state, indexToId);
    EXPECT_EQ(other.sessionState(idToIndex), state);
    EXPECT_EQ(other.categoryPanels().size(), 3U);
    EXPECT_EQ(other.categoryPanels()[1]->entries()[2].numberId, 3);
    EXPECT_EQ(other.findChild<QTabWidget*>("statisticsTabs")->currentIndex(), 2);
    EXPECT_EQ(other.findChild<QListWidget*>("featureList")->selectedItems().size(), 1);
    other.restoreSessionState({}, {});
    EXPECT_TRUE(other.categoryPanels().empty());
}

TEST_F(StatisticalEvalWindowTest, ResultTableSortsAndCopies) {
    ResultTableView view;
    ResultTable table;
    table.headings = {"Feature", "p"};
    table.rightAligned = {false, true};
    for (const double p : {0.5, 10.0, 0.0625}) {
        ResultRow row;
        row.append(QStringLiteral("f%1").arg(p));
        row.append(QString::number(p), p);
        table.rows.push_back(row);
    }
    table.rows[1].isDetail = true;
    view.setTable(table);
    view.resize(400, 300);
    view.show();
    const auto clickHeading = [&] {
        QTest::mouseClick(view.horizontalHeader()->viewport(), Qt::LeftButton, {},
                          {view.columnViewportPosition(1) + 5, 5});
    };
    clickHeading();
    EXPECT_EQ(rowsOf(view), (QStringList{"f0.0625|0.0625", "f0.5|0.5", "f10|10"}));
    clickHeading();
    EXPECT_EQ(rowsOf(view), (QStringList{"f0.5|0.5", "f10|10", "f0.0625|0.0625"}));
    clickHeading(); // as it was
    EXPECT_EQ(rowsOf(view), (QStringList{"f0.5|0.5", "f10|10", "f0.0625|0.0625"}));
    view.selectRow(1);
    QTest::keySequence(&view, QKeySequence::Copy);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "f10\t10\n");
    EXPECT_EQ(view.table().rows[0].cells[0], "f0.5"); // what is exported keeps its order
}

} // namespace
} // namespace Tessaly
